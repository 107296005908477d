// Form fields made from scanned page elements: accepted values, marks,
// defaults, body strings and the groups of radio and submit buttons.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "FormTestSupport.h"
#include "webstep/forms/FileField.h"
#include "webstep/forms/HiddenField.h"
#include "webstep/forms/SelectField.h"
#include "webstep/forms/TextAreaField.h"
#include "webstep/platform/Registry.h"

namespace {

using webstep::test::AttachFirst;
using webstep::test::FormOnPage;
using webstep::test::Item;

// The first field of the form of a page holding the given controls.
struct OneForm {
    FormOnPage f;
    explicit OneForm(const std::string& controls)
        : f(AttachFirst("<html><body><form action=\"/go\">" + controls + "</form></body></html>")) {
    }
    CFormField* field(std::size_t i = 0) const {
        auto it = f.form->GetFields().begin();
        for (std::size_t k = 0; k < i && it != f.form->GetFields().end(); ++k) {
            ++it;
        }
        return it == f.form->GetFields().end() ? nullptr : *it;
    }
    template <typename T>
    T* as(std::size_t i = 0) const {
        return dynamic_cast<T*>(field(i));
    }
};

bool Accepts(const CFormField* f, const std::string& value,
             CData::RegexType regex = CData::RT_LITERAL) {
    std::unique_ptr<CData> item(Item(f->GetName(), value, CData::RT_LITERAL, regex));
    return f->TryValue(item.get());
}

std::string Strings(const CFormField* f, ENCTYPE e = ENCTYPE_URLENCODED) {
    std::vector<std::string> out;
    f->GetParamStrings(out, e);
    std::string joined;
    for (const auto& s : out) {
        joined += s + "|";
    }
    return joined;
}

// ---- text fields

TEST(TextField, MaxLengthFiveRefusesLongerValueButAcceptsDefault) {
    OneForm p("<input name=t maxlength=5>");
    auto* t = p.as<CTextField>();
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->GetMaxLength(), 5);
    EXPECT_TRUE(Accepts(t, "abcde"));
    EXPECT_FALSE(Accepts(t, "abcdef"));
    EXPECT_TRUE(Accepts(t, "_DEFAULT_"));  // 9 bytes, yet accepted
}

TEST(TextField, MaxLengthOfLettersOnlyAcceptsOnlyEmptyValueAndDefault) {
    OneForm p("<input name=t maxlength=abc>");
    auto* t = p.as<CTextField>();
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->GetMaxLength(), 0);
    EXPECT_TRUE(Accepts(t, ""));
    EXPECT_TRUE(Accepts(t, "_DEFAULT_"));
    EXPECT_FALSE(Accepts(t, "a"));
}

TEST(TextField, MaxLengthReadsLeadingDigitsOnly) {
    EXPECT_EQ(CTextField::ParseMaxLength("12px"), 12);
    EXPECT_EQ(CTextField::ParseMaxLength(" 12"), 0);
    EXPECT_EQ(CTextField::ParseMaxLength(""), 0);
    EXPECT_EQ(CTextField::ParseMaxLength(nullptr), CTextField::NoLimit);
    EXPECT_EQ(CTextField::ParseMaxLength("99999999999999999999999"), CTextField::NoLimit);
}

TEST(TextField, WithoutMaxLengthAcceptsHugeValue) {
    OneForm p("<input name=t>");
    EXPECT_TRUE(Accepts(p.field(), std::string(1 << 20, 'x')));
}

TEST(TextField, RegularExpressionValueIsNeverAccepted) {
    OneForm p("<input name=t value=abc><textarea name=a>abc</textarea>");
    EXPECT_FALSE(Accepts(p.field(0), "abc", CData::RT_REGEX));
    EXPECT_FALSE(Accepts(p.field(1), ".*", CData::RT_REGEX));
}

TEST(TextField, MarkedFieldRefusesFurtherValues) {
    OneForm p("<input name=t>");
    CFormField* t = p.field();
    EXPECT_TRUE(Accepts(t, "a"));
    t->Mark("a");
    EXPECT_FALSE(Accepts(t, "b"));
    t->Unmark();
    EXPECT_TRUE(Accepts(t, "b"));
}

TEST(TextField, SetValueDefaultKeepsPageValue) {
    OneForm p("<input name=t value=page>");
    auto* t = p.as<CTextField>();
    std::unique_ptr<CData> v(Item("t", "new"));
    ASSERT_TRUE(t->SetValue(v.get()));
    EXPECT_EQ(t->GetCurrentValue(), "new");
    EXPECT_TRUE(t->IsMarked());
    t->Unmark();
    std::unique_ptr<CData> d(Item("t", "_DEFAULT_"));
    ASSERT_TRUE(t->SetValue(d.get()));
    EXPECT_EQ(t->GetCurrentValue(), "page");
}

TEST(TextField, RevertAndMakeEmpty) {
    OneForm p("<input name=t value=page>");
    auto* t = p.as<CTextField>();
    t->MakeEmpty();
    EXPECT_EQ(Strings(t), "t=|");
    t->RevertToDefault();
    EXPECT_EQ(Strings(t), "t=page|");
}

TEST(TextField, ParamStringsAreUrlEncodedWithAtSignKept) {
    OneForm p("<input name=\"e mail\" value=\"a@b.c&d=1\">");
    EXPECT_EQ(Strings(p.field()), "e+mail=a@b.c%26d%3D1|");
}

TEST(TextField, MultipartStringIsOnePart) {
    OneForm p("<input name=t value=\"x y\">");
    EXPECT_EQ(Strings(p.field(), ENCTYPE_MULTIPART),
              "Content-Disposition: form-data; name=\"t\"\r\n\r\nx y\r\n|");
}

TEST(TextField, ReadOnlyAttributeAnyValue) {
    OneForm p("<input name=a readonly><input name=b readonly=no><input name=c>");
    EXPECT_TRUE(p.field(0)->IsReadOnly());
    EXPECT_TRUE(p.field(1)->IsReadOnly());
    EXPECT_FALSE(p.field(2)->IsReadOnly());
}

TEST(TextField, DataTypesAndSubmissionRules) {
    OneForm p("<input name=t><input type=password name=p><textarea name=a></textarea>");
    EXPECT_EQ(p.field(0)->GetDataType(), CData::DT_TEXT);
    EXPECT_EQ(p.field(1)->GetDataType(), CData::DT_PASSWORD);
    EXPECT_EQ(p.field(2)->GetDataType(), CData::DT_TEXTAREA);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(p.field(i)->MustBeSubmitted());
        EXPECT_TRUE(p.field(i)->SingleValue());
    }
}

TEST(TextAreaField, TakesItsTextAsPageValueAndHasNoLengthLimit) {
    OneForm p("<textarea name=a maxlength=2>hello</textarea>");
    auto* a = p.as<CTextAreaField>();
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->GetPageValue(), "hello");
    EXPECT_TRUE(Accepts(a, "longer than two"));
}

// ---- name matching

TEST(FormField, NameMatchIsExactWithCase) {
    OneForm p("<input name=User>");
    std::unique_ptr<CData> same(Item("User", "x"));
    std::unique_ptr<CData> lower(Item("user", "x"));
    EXPECT_TRUE(p.field()->MakesMatch(same.get()));
    EXPECT_FALSE(p.field()->MakesMatch(lower.get()));
}

TEST(FormField, RegexNameMustMatchWholeNameIgnoringCase) {
    OneForm p("<input name=UserName>");
    std::unique_ptr<CData> whole(Item("user.*", "x", CData::RT_REGEX));
    std::unique_ptr<CData> part(Item("user", "x", CData::RT_REGEX));
    std::unique_ptr<CData> tail(Item("name", "x", CData::RT_REGEX));
    EXPECT_TRUE(p.field()->MakesMatch(whole.get()));
    EXPECT_FALSE(p.field()->MakesMatch(part.get()));
    EXPECT_FALSE(p.field()->MakesMatch(tail.get()));
}

TEST(FormField, RegexThatDoesNotCompileRefusesTheItem) {
    OneForm p("<input name=a><input type=checkbox name=c value=v>");
    std::unique_ptr<CData> badName(Item("a(", "x", CData::RT_REGEX));
    EXPECT_FALSE(p.field(0)->MakesMatch(badName.get()));
    EXPECT_FALSE(Accepts(p.field(1), "[v", CData::RT_REGEX));
}

TEST(FormRegexMatch, WholeTextAlternativesAndCase) {
    EXPECT_TRUE(FormRegexMatch("a|ab", "ab"));
    EXPECT_TRUE(FormRegexMatch("A+", "aaa"));
    EXPECT_FALSE(FormRegexMatch("A+", "aaa", true));
    EXPECT_FALSE(FormRegexMatch("b", "abc"));
    EXPECT_TRUE(FormRegexMatch("", ""));
    EXPECT_FALSE(FormRegexMatch("", "x"));
    // A NUL byte inside the value does not end it early.
    EXPECT_FALSE(FormRegexMatch("a", std::string("a\0b", 3)));
    EXPECT_FALSE(FormRegexMatch(std::string("a\0", 2), "a"));
    EXPECT_FALSE(FormRegexMatch("(", "("));
}

// ---- check boxes and radios

TEST(CheckboxField, AcceptsOnAndOffWhateverItsPageValue) {
    OneForm p("<input type=checkbox name=c value=yes>");
    EXPECT_TRUE(Accepts(p.field(), "<ON>"));
    EXPECT_TRUE(Accepts(p.field(), "<OFF>"));
    EXPECT_TRUE(Accepts(p.field(), "yes"));
    EXPECT_TRUE(Accepts(p.field(), "_DEFAULT_"));
    EXPECT_FALSE(Accepts(p.field(), "no"));
    EXPECT_FALSE(Accepts(p.field(), "YES"));
}

TEST(CheckboxField, RegexMustMatchWholePageValue) {
    OneForm p("<input type=checkbox name=c value=yes>");
    EXPECT_TRUE(Accepts(p.field(), "Y.S", CData::RT_REGEX));
    EXPECT_FALSE(Accepts(p.field(), "ye", CData::RT_REGEX));
}

TEST(CheckboxField, WritesOnlyWhenCheckedAndOnWithoutValue) {
    OneForm p("<input type=checkbox name=a checked><input type=checkbox name=b value=1>");
    EXPECT_EQ(Strings(p.field(0)), "a=on|");
    EXPECT_EQ(Strings(p.field(1)), "");
    EXPECT_FALSE(p.field(0)->MustBeSubmitted());
}

TEST(CheckboxField, SetValueOnOffDefaultAndPageValue) {
    OneForm p("<input type=checkbox name=c value=v checked>");
    auto* c = p.as<CCheckboxField>();
    std::unique_ptr<CData> off(Item("c", "<OFF>"));
    ASSERT_TRUE(c->SetValue(off.get()));
    EXPECT_FALSE(c->IsChecked());
    EXPECT_FALSE(c->SetValue(off.get()));  // marked now
    c->Unmark();
    std::unique_ptr<CData> def(Item("c", "_DEFAULT_"));
    ASSERT_TRUE(c->SetValue(def.get()));
    EXPECT_TRUE(c->IsChecked());
    c->Unmark();
    c->MakeEmpty();
    std::unique_ptr<CData> val(Item("c", "v"));
    ASSERT_TRUE(c->SetValue(val.get()));
    EXPECT_TRUE(c->IsChecked());
}

TEST(RadioField, AfterOneRadioOfGroupIsMarkedEveryRadioOfThatGroupRefuses) {
    OneForm p(
        "<input type=radio name=r value=a><input type=radio name=r value=b>"
        "<input type=radio name=s value=a>");
    ASSERT_EQ(p.f.form->GetFields().size(), 3u);
    EXPECT_TRUE(Accepts(p.field(1), "b"));
    p.field(0)->Mark("a");
    EXPECT_FALSE(Accepts(p.field(0), "a"));
    EXPECT_FALSE(Accepts(p.field(1), "b"));
    EXPECT_FALSE(Accepts(p.field(1), "<ON>"));
    EXPECT_TRUE(Accepts(p.field(2), "a"));  // another group
    p.field(0)->Unmark();
    EXPECT_TRUE(Accepts(p.field(1), "b"));
}

TEST(RadioField, CheckingOneUnchecksTheOthersOfItsGroup) {
    OneForm p("<input type=radio name=r value=a checked><input type=radio name=r value=b>");
    auto* a = p.as<CRadioField>(0);
    auto* b = p.as<CRadioField>(1);
    ASSERT_TRUE(a && b);
    EXPECT_TRUE(a->IsChecked());
    std::unique_ptr<CData> item(Item("r", "b"));
    ASSERT_TRUE(b->SetValue(item.get()));
    EXPECT_TRUE(b->IsChecked());
    EXPECT_FALSE(a->IsChecked());
    EXPECT_TRUE(b->GetGroup()->IsMarked());
    a->RevertToDefault();
    b->RevertToDefault();
    EXPECT_TRUE(a->IsChecked());
    EXPECT_FALSE(b->IsChecked());
}

TEST(RadioField, LaterCheckedRadioWinsOnThePage) {
    OneForm p("<input type=radio name=r value=a checked><input type=radio name=r value=b checked>");
    EXPECT_FALSE(p.as<CRadioField>(0)->IsChecked());
    EXPECT_TRUE(p.as<CRadioField>(1)->IsChecked());
    EXPECT_EQ(p.field(0)->GetDataType(), CData::DT_RADIO);
}

// ---- hidden

TEST(HiddenField, AcceptsOnlyItsPageValueOrDefault) {
    OneForm p("<input type=hidden name=h value=tok>");
    auto* h = p.as<CHiddenField>();
    ASSERT_NE(h, nullptr);
    EXPECT_TRUE(Accepts(h, "tok"));
    EXPECT_TRUE(Accepts(h, "_DEFAULT_"));
    EXPECT_TRUE(Accepts(h, "t.k", CData::RT_REGEX));
    EXPECT_FALSE(Accepts(h, "to", CData::RT_REGEX));
    EXPECT_FALSE(Accepts(h, "other"));
    h->Mark("tok");
    EXPECT_FALSE(Accepts(h, "tok"));
    EXPECT_EQ(Strings(h), "h=tok|");
    EXPECT_EQ(h->GetDataType(), CData::DT_HIDDEN);
}

// ---- submit and image buttons

TEST(SubmitField, ButtonWithoutValueAcceptsSubmitQuery) {
    OneForm p("<input type=submit name=go>");
    EXPECT_TRUE(Accepts(p.field(), "Submit Query"));
    EXPECT_TRUE(Accepts(p.field(), "Submit"));
    EXPECT_TRUE(Accepts(p.field(), ""));
}

TEST(SubmitField, ButtonWithValueGoDoesNotAcceptSubmitQuery) {
    OneForm p("<input type=submit name=go value=Go>");
    EXPECT_FALSE(Accepts(p.field(), "Submit Query"));
    EXPECT_FALSE(Accepts(p.field(), "Submit"));
    EXPECT_TRUE(Accepts(p.field(), "Go"));
    EXPECT_TRUE(Accepts(p.field(), "<OFF>"));
    EXPECT_TRUE(Accepts(p.field(), "_DEFAULT_"));
    EXPECT_TRUE(Accepts(p.field(), "g.", CData::RT_REGEX));
}

TEST(SubmitField, WritesOnlyWhenChosenAndOneButtonOfGroupAtATime) {
    OneForm p("<input type=submit name=a value=A><input type=submit name=b value=B>");
    auto* a = p.as<CSubmitField>(0);
    auto* b = p.as<CSubmitField>(1);
    EXPECT_EQ(Strings(a), "");
    a->Invoke();
    EXPECT_EQ(Strings(a), "a=A|");
    b->Invoke();
    EXPECT_EQ(Strings(a), "");
    EXPECT_EQ(Strings(b), "b=B|");
    b->Mark("B");
    EXPECT_FALSE(Accepts(a, "A"));  // the group is chosen
    EXPECT_EQ(a->GetDataType(), CData::DT_SUBMIT);
}

TEST(SubmitField, CaptionTakenByButtonWithoutValueIsSent) {
    OneForm p("<input type=submit name=go>");
    auto* s = p.as<CSubmitField>();
    std::unique_ptr<CData> item(Item("go", "Submit Query"));
    ASSERT_TRUE(s->SetValue(item.get()));
    EXPECT_EQ(Strings(s), "go=Submit+Query|");
}

TEST(ImageField, UnnamedImageButtonOnceChosenWritesPairsNamedXAndY) {
    OneForm p("<input type=image src=b.gif>");
    auto* img = p.as<CImageField>();
    ASSERT_NE(img, nullptr);
    EXPECT_EQ(Strings(img), "");
    ASSERT_TRUE(img->SetValue("12", "34"));
    EXPECT_EQ(Strings(img), "x=12|y=34|");
    EXPECT_EQ(img->GetName(0), "x");
    EXPECT_EQ(img->GetName(1), "y");
    EXPECT_EQ(img->GetDataType(), CData::DT_IMAGE);
}

TEST(ImageField, NamedImageButtonWritesNameDotXAndY) {
    OneForm p("<input type=image name=btn src=b.gif>");
    auto* img = p.as<CImageField>();
    img->Invoke();
    EXPECT_EQ(Strings(img), "btn.x=0|btn.y=0|");
    EXPECT_EQ(img->GetName(7), "btn.y");
}

TEST(ImageField, MakesMatchNeedsXThenYOfItsOwnName) {
    OneForm p("<input type=image name=btn src=b.gif>");
    auto* img = p.as<CImageField>();
    std::unique_ptr<CData> x(Item("btn.x", "1")), y(Item("btn.y", "2"));
    std::unique_ptr<CData> ox(Item("other.x", "1")), oy(Item("other.y", "2"));
    std::unique_ptr<CData> rx(Item("b.n\\.x", "1", CData::RT_REGEX));
    EXPECT_TRUE(img->MakesMatch(x.get(), y.get()));
    EXPECT_FALSE(img->MakesMatch(y.get(), x.get()));
    EXPECT_FALSE(img->MakesMatch(ox.get(), oy.get()));
    EXPECT_FALSE(img->MakesMatch(x.get(), oy.get()));
    EXPECT_FALSE(img->MakesMatch(x.get(), nullptr));
    img->Mark("");
    EXPECT_FALSE(img->MakesMatch(x.get(), y.get()));
}

TEST(ImageField, DisabledOrUnnamedImageStillTakesPart) {
    OneForm p("<input type=image disabled name=i src=a.gif><input type=image src=b.gif>");
    EXPECT_EQ(p.f.form->GetFields().size(), 2u);
    EXPECT_TRUE(p.f.form->HasSubmit());
}

// ---- selection lists

TEST(SelectField, OptionTextsCarryValueAfterCarets) {
    OneForm p("<select name=s><option value=1>One<option>Two</select>");
    auto* s = p.as<CSelectField>();
    ASSERT_NE(s, nullptr);
    ASSERT_EQ(s->GetOptions().size(), 2u);
    EXPECT_EQ(s->GetOptions()[0].text, "One^^1");
    EXPECT_EQ(s->GetOptions()[1].text, "Two");
    EXPECT_TRUE(s->IsDropDown());
    EXPECT_TRUE(s->SingleValue());
    EXPECT_FALSE(s->MustBeSubmitted());
}

TEST(SelectField, DropDownWithoutSelectionSelectsFirstOption) {
    OneForm p("<select name=s><option value=1>One<option value=2>Two</select>");
    EXPECT_EQ(Strings(p.field()), "s=1|");
}

TEST(SelectField, ListWithSizeAndNoSelectionSendsNothing) {
    OneForm p("<select name=s size=3><option value=1>One</select>");
    EXPECT_FALSE(p.as<CSelectField>()->IsDropDown());
    EXPECT_EQ(Strings(p.field()), "");
}

TEST(SelectField, LaterSelectedOptionClearsEarlierInSingleList) {
    OneForm p("<select name=s><option selected>A<option selected>B<option>C</select>");
    EXPECT_EQ(Strings(p.field()), "s=B|");
}

TEST(SelectField, MultipleListWritesEachSelectedOptionInOptionOrder) {
    OneForm p(
        "<select name=m multiple><option value=a selected>A<option value=b>B"
        "<option value=c selected>C</select>");
    auto* s = p.as<CSelectField>();
    EXPECT_TRUE(s->IsMultiple());
    EXPECT_FALSE(s->SingleValue());
    EXPECT_EQ(Strings(p.field()), "m=a|m=c|");
    std::unique_ptr<CData> c(Item("m", "C")), b(Item("m", "b"));
    ASSERT_TRUE(s->SetValue(c.get()));
    ASSERT_TRUE(s->SetValue(b.get()));
    EXPECT_EQ(Strings(p.field()), "m=b|m=c|");
    std::unique_ptr<CData> again(Item("m", "c"));
    EXPECT_FALSE(s->TryValue(again.get()));  // that option is taken
    s->Unmark();
    EXPECT_TRUE(s->TryValue(again.get()));
}

TEST(SelectField, ValueComparedWithDisplayTextThenValuePart) {
    OneForm p("<select name=s><option value=x>Alpha<option value=Alpha>Beta</select>");
    auto* s = p.as<CSelectField>();
    std::unique_ptr<CData> item(Item("s", "Alpha"));
    ASSERT_TRUE(s->SetValue(item.get()));
    EXPECT_EQ(Strings(s), "s=x|");  // display text of the first option wins
    s->Unmark();
    std::unique_ptr<CData> beta(Item("s", "B.*", CData::RT_LITERAL, CData::RT_REGEX));
    ASSERT_TRUE(s->SetValue(beta.get()));
    EXPECT_EQ(Strings(s), "s=Alpha|");
    EXPECT_FALSE(Accepts(s, "^^x"));
}

TEST(SelectField, OffIsAcceptedAtOnceOnlyByListsThatAreNotDropDowns) {
    OneForm p("<select name=d><option>A</select><select name=l size=4><option selected>A</select>");
    EXPECT_FALSE(Accepts(p.field(0), "<OFF>"));
    EXPECT_TRUE(Accepts(p.field(1), "<OFF>"));
    std::unique_ptr<CData> off(Item("l", "<OFF>"));
    ASSERT_TRUE(p.field(1)->SetValue(off.get()));
    EXPECT_EQ(Strings(p.field(1)), "");
}

TEST(SelectField, DropDownComparesOffLikeAnyOtherValue) {
    OneForm p("<select name=d><option>A<option>&lt;OFF&gt;</select>");
    EXPECT_TRUE(Accepts(p.field(), "<OFF>"));
}

TEST(SelectField, DefaultAcceptedAtOnceAndRestoresPageSelection) {
    OneForm p("<select name=s><option>A<option selected>B</select>");
    auto* s = p.as<CSelectField>();
    std::unique_ptr<CData> a(Item("s", "A"));
    ASSERT_TRUE(s->SetValue(a.get()));
    EXPECT_EQ(Strings(s), "s=A|");
    s->Unmark();
    std::unique_ptr<CData> d(Item("s", "_DEFAULT_"));
    ASSERT_TRUE(s->SetValue(d.get()));
    EXPECT_EQ(Strings(s), "s=B|");
    s->MakeEmpty();
    EXPECT_EQ(Strings(s), "");
    s->RevertToDefault();
    EXPECT_EQ(Strings(s), "s=B|");
}

TEST(SelectField, SingleListTakesOneItemPerCheck) {
    OneForm p("<select name=s><option>A<option>B</select>");
    auto* s = p.as<CSelectField>();
    s->Mark("A");
    EXPECT_FALSE(Accepts(s, "B"));
}

TEST(SelectField, EmptyListAcceptsOnlyDefault) {
    OneForm p("<select name=s></select>");
    EXPECT_TRUE(Accepts(p.field(), "_DEFAULT_"));
    EXPECT_FALSE(Accepts(p.field(), ""));
    EXPECT_EQ(Strings(p.field()), "");
}

// ---- file fields

class FileFieldTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir = ::testing::TempDir() + "/forms_file_" + std::to_string(::getpid());
        std::system(("mkdir -p '" + dir + "'").c_str());
        std::ofstream(dir + "/mime.types") << "text/plain txt\nimage/png png\n";
        webstep::platform::SetMimeTypesPath((dir + "/mime.types").c_str());
        webstep::platform::SetRegistryPath((dir + "/registry.ini").c_str());
    }
    void TearDown() override {
        webstep::platform::SetMimeTypesPath(nullptr);
        webstep::platform::SetRegistryPath(nullptr);
        std::system(("rm -rf '" + dir + "'").c_str());
    }
    std::string dir;
};

TEST_F(FileFieldTest, PartCarriesFileNameContentTypeAndEscapedBytes) {
    const std::string path = dir + "/a.txt";
    std::ofstream(path, std::ios::binary) << std::string("hi\x01\\", 4);
    EXPECT_EQ(CFileField::MakeMultipartArgument("up", path),
              "Content-Disposition: form-data; name=\"up\"; filename=\"" + path +
                  "\"\r\nContent-Type: text/plain\r\n\r\nhi\\x01\\\\\r\n");
}

TEST_F(FileFieldTest, UnknownExtensionHasNoContentTypeLine) {
    const std::string path = dir + "/a.zzq";
    std::ofstream(path) << "z";
    EXPECT_EQ(CFileField::MakeMultipartArgument("f", path),
              "Content-Disposition: form-data; name=\"f\"; filename=\"" + path + "\"\r\n\r\nz\r\n");
}

TEST_F(FileFieldTest, RegisteredClassWithoutContentTypeGetsUnknownPrefix) {
    ASSERT_TRUE(webstep::platform::RegistrySetString("HKEY_CLASSES_ROOT\\.qqq", "", "qqqfile"));
    MString type;
    ASSERT_TRUE(CFileField::LookupContentType("/x/y.qqq", type));
    EXPECT_EQ(type, "application/x-unknown-content-type-qqqfile");
    ASSERT_TRUE(
        webstep::platform::RegistrySetString("HKEY_CLASSES_ROOT\\.qqq", "Content Type", "a/b"));
    ASSERT_TRUE(CFileField::LookupContentType("/x/y.qqq", type));
    EXPECT_EQ(type, "a/b");
    EXPECT_FALSE(CFileField::LookupContentType("/x/noextension", type));
}

TEST_F(FileFieldTest, MissingFileContributesNoContent) {
    EXPECT_EQ(CFileField::MakeMultipartArgument("f", dir + "/absent.png"),
              "Content-Disposition: form-data; name=\"f\"; filename=\"" + dir +
                  "/absent.png\"\r\nContent-Type: image/png\r\n\r\n\r\n");
}

TEST_F(FileFieldTest, LargeFileIsReadWholeAcrossChunks) {
    const std::string path = dir + "/big.bin";
    std::string data;
    for (int i = 0; i < 200000; ++i) {
        data += static_cast<char>('a' + i % 26);
    }
    std::ofstream(path, std::ios::binary) << data;
    const MString part = CFileField::MakeMultipartArgument("f", path);
    const auto start = part.find("\r\n\r\n") + 4;
    EXPECT_EQ(part.substr(start, part.size() - start - 2), data);
}

TEST_F(FileFieldTest, FieldAcceptsLiteralOnceAndWritesFileName) {
    OneForm p("<input type=file name=up>");
    auto* f = p.as<CFileField>();
    ASSERT_NE(f, nullptr);
    EXPECT_FALSE(Accepts(f, ".*", CData::RT_REGEX));
    std::unique_ptr<CData> item(Item("up", "c:\\a b.txt"));
    ASSERT_TRUE(f->SetValue(item.get()));
    EXPECT_FALSE(f->TryValue(item.get()));
    EXPECT_EQ(Strings(f), "up=c%3A%5Ca+b.txt|");
    EXPECT_TRUE(f->MustBeSubmitted());
    EXPECT_EQ(f->GetDataType(), CData::DT_FILE);
    f->MakeEmpty();
    EXPECT_EQ(f->GetFileName(), "");
}

TEST(FormField, MakeMultipartArgumentFormat) {
    EXPECT_EQ(CFormField::MakeMultipartArgument("n", "v"),
              "Content-Disposition: form-data; name=\"n\"\r\n\r\nv\r\n");
    EXPECT_EQ(CFormField::MakeMultipartArgument("", ""),
              "Content-Disposition: form-data; name=\"\"\r\n\r\n\r\n");
}

}  // namespace

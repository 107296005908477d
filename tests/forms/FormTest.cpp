// Forms attached to scanned page forms: attributes, matching data sets in
// any order and in recorded order, and the request bodies they build.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>

#include "FormTestSupport.h"
#include "webstep/forms/TextAreaField.h"
#include "webstep/html/HTMLPage.h"
#include "webstep/platform/Tick.h"

namespace {

using webstep::test::AttachFirst;
using webstep::test::Describe;
using webstep::test::FormOnPage;
using webstep::test::Item;
using webstep::test::Items;

FormOnPage Page(const std::string& formTag, const std::string& controls) {
    return AttachFirst("<html><body>" + formTag + controls + "</form></body></html>");
}

std::string Body(const CForm& form) {
    MString body, boundary;
    form.GetSubmitArgs(body, boundary);
    return body;
}

std::string DefaultBody(CForm& form) {
    MString body, boundary;
    form.GetDefaultArgs(body, boundary);
    return body;
}

// ---- attributes and method

TEST(Form, AttributesInOrderWithHiddenFields) {
    auto p = Page("<form action=\"/a.cgi\" name=f method=post target=main>",
                  "<input type=hidden name=sid value=7><input name=t>");
    CForm form(nullptr, p.page->form(0), false, "frame1");
    EXPECT_EQ(form.GetAttributes().GetAttributeString(),
              "Step attributes:\r\naction : /a.cgi\nname : f\nmethod : POST\n"
              "targetframe : main\nframe : frame1\nsid : 7\n");
    EXPECT_EQ(form.GetHiddenAttributes().size(), 1u);
    EXPECT_EQ(form.GetName(), "f");
    EXPECT_EQ(form.GetActionUrl(), "/a.cgi");
    EXPECT_EQ(form.GetTree(), nullptr);
    EXPECT_EQ(form.GetNode(), nullptr);
}

TEST(Form, KeepsPageAndNodeOnlyWhenAsked) {
    auto p = Page("<form>", "");
    std::unique_ptr<CHTMLPage> facade(p.page->scanner->CreateObject());
    CForm kept(facade.get(), p.page->form(0), true, "");
    EXPECT_EQ(kept.GetTree(), facade.get());
    EXPECT_EQ(kept.GetNode(), p.page->form(0));
}

TEST(Form, FormWithoutMethodAttributeUsesGet) {
    auto p = Page("<form action=/x>", "");
    EXPECT_TRUE(p.form->UseGetMethod());
}

TEST(Form, MethodAttributeGetInLowerCaseIsNotGet) {
    auto lower = Page("<form action=/x method=get>", "");
    EXPECT_FALSE(lower.form->UseGetMethod());
    auto upper = Page("<form action=/x method=GET>", "");
    EXPECT_TRUE(upper.form->UseGetMethod());
    auto post = Page("<form action=/x method=POST>", "");
    EXPECT_FALSE(post.form->UseGetMethod());
}

TEST(Form, MatchAttributesByActionAndHiddenField) {
    auto p = Page("<form action=\"/a.cgi\" name=f>", "<input type=hidden name=sid value=7>");
    CHtmlAttributeSet wanted;
    wanted.AddAttribute(new CStringAttribute("action", "/a.cgi"));
    wanted.AddAttribute(new CHiddenAttribute("sid", "7"));
    EXPECT_TRUE(p.form->MatchAttributes(wanted));
    wanted.AddAttribute(new CStringAttribute("name", "g"));
    EXPECT_FALSE(p.form->MatchAttributes(wanted));
}

TEST(Form, NoSubmitNoResetFlags) {
    auto p = Page("<form>", "<input type=reset name=r><input name=t>");
    EXPECT_TRUE(p.form->HasReset());
    EXPECT_FALSE(p.form->HasSubmit());
    EXPECT_EQ(p.form->GetFields().size(), 1u);  // a reset button makes no field
}

TEST(Form, UnnamedAndDisabledElementsAreSkipped) {
    auto p = Page("<form>",
                  "<input value=a><input name=\"\" value=b><input name=c disabled>"
                  "<input name=d value=ok><input type=button name=e value=x>");
    EXPECT_EQ(p.form->GetFields().size(), 1u);
    EXPECT_EQ(DefaultBody(*p.form), "d=ok");
}

TEST(Form, NullPageFormGivesEmptyForm) {
    CForm form(nullptr, nullptr, true, "");
    EXPECT_TRUE(form.GetFields().empty());
    EXPECT_EQ(Body(form), "");
    EXPECT_TRUE(form.UseGetMethod());
    EXPECT_EQ(form.GetActionUrl(), "");
}

// ---- encoding

TEST(Form, FormWithFileInputSendsMultipartWhenEnctypeIsAbsent) {
    auto p = Page("<form action=/up method=post>", "<input type=file name=f>");
    EXPECT_EQ(p.form->GetEncoding(), ENCTYPE_MULTIPART);
}

TEST(Form, FormWithFileInputSendsMultipartWhenEnctypeIsDifferent) {
    auto p = Page("<form action=/up enctype=text/plain>", "<input type=file name=f>");
    EXPECT_EQ(p.form->GetEncoding(), ENCTYPE_MULTIPART);
}

TEST(Form, EnctypeComparedWithCase) {
    auto exact = Page("<form enctype=multipart/form-data>", "");
    EXPECT_EQ(exact.form->GetEncoding(), ENCTYPE_MULTIPART);
    auto upper = Page("<form enctype=Multipart/Form-Data>", "");
    EXPECT_EQ(upper.form->GetEncoding(), ENCTYPE_URLENCODED);
}

TEST(Form, UrlEncodedBodyLeavesBoundaryAlone) {
    auto p = Page("<form>", "<input name=a value=1>");
    MString body, boundary = "keep";
    p.form->GetSubmitArgs(body, boundary);
    EXPECT_EQ(boundary, "keep");
    EXPECT_EQ(body, "a=1");
}

TEST(Form, MultipartBoundaryIsTwoDecimalNumbersFromTheTickCount) {
    auto p = Page("<form enctype=multipart/form-data>", "<input name=a value=1>");
    MString body, boundary;
    p.form->GetSubmitArgs(body, boundary);
    ASSERT_FALSE(boundary.empty());
    EXPECT_EQ(boundary.find_first_not_of("0123456789"), MString::npos);
    EXPECT_LE(boundary.size(), 20u);
    EXPECT_EQ(body, "--" + boundary +
                        "\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n--" + boundary +
                        "--\r\n");
}

TEST(Form, MultipartBoundaryIsSecondTickReadingFollowedByComplementOfFirst) {
    auto p = Page("<form enctype=multipart/form-data>", "");
    const unsigned before = webstep::platform::GetTickCount();
    MString body, boundary;
    p.form->GetSubmitArgs(body, boundary);
    const unsigned after = webstep::platform::GetTickCount();
    bool found = false;
    for (unsigned first = before; first - before <= after - before && !found; ++first) {
        for (unsigned second = first; second - first <= after - first && !found; ++second) {
            found = boundary == std::to_string(second) + std::to_string(~first);
        }
    }
    EXPECT_TRUE(found) << boundary;
}

TEST(Form, MultipartBodyReadsBackIntoTheSameItems) {
    auto p =
        Page("<form enctype=multipart/form-data>",
             "<input name=a value=\"x y\"><textarea name=b>line1\r\nline2</textarea>"
             "<input type=checkbox name=c value=v checked><input type=submit name=s value=Go>");
    MString body, boundary;
    p.form->GetDefaultArgs(body, boundary);
    CDataSet back;
    bool roundTrip = false, at = false;
    back.AddDataFromString(body, boundary, false, false, roundTrip, at, false, false);
    EXPECT_EQ(Describe(back), "a=x y\nb=line1\r\nline2\nc=v\ns=Go\n");
}

TEST(Form, EmptyMultipartFormHoldsOnlyClosingDelimiter) {
    auto p = Page("<form enctype=multipart/form-data>", "");
    MString body, boundary;
    p.form->GetSubmitArgs(body, boundary);
    EXPECT_EQ(body, "--" + boundary + "--\r\n");
}

// ---- matching in any order

TEST(Form, TwoItemsOfSameNameFillTwoTextFieldsInPageOrder) {
    auto p = Page("<form>", "<input name=n><input name=other><input name=n>");
    auto set = Items({{"n", "first"}, {"n", "second"}});
    EXPECT_TRUE(p.form->CheckAgainstDataSet(set.get()));
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "n=first&other=&n=second");
}

TEST(Form, ThirdItemOfSameNameMakesCheckFalse) {
    auto p = Page("<form>", "<input name=n><input name=n>");
    auto set = Items({{"n", "1"}, {"n", "2"}, {"n", "3"}});
    EXPECT_FALSE(p.form->CheckAgainstDataSet(set.get()));
}

TEST(Form, ChecksCanBeRepeated) {
    auto p = Page("<form>", "<input name=n>");
    auto set = Items({{"n", "1"}});
    EXPECT_TRUE(p.form->CheckAgainstDataSet(set.get()));
    EXPECT_TRUE(p.form->CheckAgainstDataSet(set.get()));
    EXPECT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_TRUE(p.form->SetToDataSet(set.get()));
}

TEST(Form, UnknownItemMakesCheckFalse) {
    auto p = Page("<form>", "<input name=n>");
    auto set = Items({{"n", "1"}, {"zz", "2"}});
    EXPECT_FALSE(p.form->CheckAgainstDataSet(set.get()));
    EXPECT_TRUE(p.form->CheckAgainstDataSet(nullptr));
    CDataSet empty;
    EXPECT_TRUE(p.form->CheckAgainstDataSet(&empty));
}

TEST(Form, ImageButtonWithItemsXAndYMatchesAsOneButtonAndBodyEndsWithCoordinates) {
    auto p = Page("<form>",
                  "<input name=a><input type=image name=img src=i.gif><input name=b>"
                  "<input type=submit name=s value=S>");
    auto set = Items({{"img.x", "5"}, {"img.y", "9"}, {"a", "1"}, {"b", "2"}});
    EXPECT_TRUE(p.form->CheckAgainstDataSet(set.get()));
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "a=1&b=2&img.x=5&img.y=9");
}

TEST(Form, UrlEncodedBodyOfFormWhoseOnlyOutputIsImageButtonHasNoAmpersand) {
    auto p = Page("<form>", "<input type=image src=i.gif>");
    auto set = Items({{"x", "3"}, {"y", "4"}});
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "x=3y=4");
}

TEST(Form, MultipartImageCoordinatesComeLastAsParts) {
    auto p = Page("<form enctype=multipart/form-data>",
                  "<input type=image name=i src=i.gif><input name=a value=1>");
    auto set = Items({{"i.x", "3"}, {"i.y", "4"}});
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    MString body, boundary;
    p.form->GetSubmitArgs(body, boundary);
    CDataSet back;
    bool rt = false, at = false;
    back.AddDataFromString(body, boundary, false, false, rt, at, false, false);
    EXPECT_EQ(Describe(back), "a=1\ni.x=3\ni.y=4\n");
}

TEST(Form, SecondButtonItemFindsNoFieldOnceOneIsChosen) {
    auto p = Page("<form>", "<input type=submit name=a value=A><input type=submit name=b value=B>");
    auto set = Items({{"a", "A"}, {"b", "B"}});
    EXPECT_FALSE(p.form->CheckAgainstDataSet(set.get()));
}

TEST(Form, SetToDataSetChoosesTheNamedButton) {
    auto p = Page("<form>",
                  "<input name=q><input type=submit name=a value=A>"
                  "<input type=submit name=b value=B>");
    auto set = Items({{"q", "z"}, {"b", "B"}});
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "q=z&b=B");
}

TEST(Form, RadioItemChecksTheMatchingButton) {
    auto p = Page("<form>",
                  "<input type=radio name=r value=a checked><input type=radio name=r value=b>");
    auto set = Items({{"r", "b"}});
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "r=b");
    auto two = Items({{"r", "a"}, {"r", "b"}});
    EXPECT_FALSE(p.form->CheckAgainstDataSet(two.get()));
}

TEST(Form, RadiosOfSameNameComparedWithCaseMakeTwoGroups) {
    auto p = Page("<form>", "<input type=radio name=r value=a><input type=radio name=R value=b>");
    EXPECT_EQ(p.form->GetRadioGroups().size(), 2u);
    auto set = Items({{"r", "a"}, {"R", "b"}});
    EXPECT_TRUE(p.form->CheckAgainstDataSet(set.get()));
}

TEST(Form, MultipleSelectTakesSeveralItems) {
    auto p = Page("<form>",
                  "<select name=m multiple><option>A<option>B<option>C</select>"
                  "<input name=t>");
    auto set = Items({{"m", "C"}, {"t", "x"}, {"m", "A"}});
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "m=A&m=C&t=x");
}

TEST(Form, RegexItemsTakeDistinctOptionsOfMultipleListWhenChecking) {
    auto p =
        Page("<form>", "<select name=m multiple><option>Alpha<option>Alpine<option>Beta</select>");
    auto set = std::make_unique<CDataSet>();
    set->AddData(Item("m", "al.*", CData::RT_LITERAL, CData::RT_REGEX));
    set->AddData(Item("m", "al.*", CData::RT_LITERAL, CData::RT_REGEX));
    EXPECT_TRUE(p.form->CheckAgainstDataSet(set.get()));
    EXPECT_TRUE(p.form->CheckAgainstRecordedDataSet(set.get()));
    set->AddData(Item("m", "al.*", CData::RT_LITERAL, CData::RT_REGEX));
    EXPECT_FALSE(p.form->CheckAgainstDataSet(set.get()));
    ASSERT_FALSE(p.form->SetToDataSet(set.get()));
}

TEST(Form, RegexItemsChooseFieldsByPattern) {
    auto p = Page("<form>", "<input name=user_17><input type=checkbox name=c value=abc>");
    auto set = std::make_unique<CDataSet>();
    set->AddData(Item("user_[0-9]+", "bob", CData::RT_REGEX));
    set->AddData(Item("c", "A.C", CData::RT_LITERAL, CData::RT_REGEX));
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "user_17=bob&c=abc");
}

// ---- recorded order

TEST(Form, RecordedDataSetEndingWithSubmitButtonItemMatches) {
    auto p = Page("<form>",
                  "<input name=a><input type=checkbox name=c value=1>"
                  "<input type=submit name=s value=Go>");
    auto set = Items({{"a", "x"}, {"s", "Go"}});
    EXPECT_TRUE(p.form->CheckAgainstRecordedDataSet(set.get()));
    ASSERT_TRUE(p.form->SetToRecordedDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "a=x&s=Go");
}

TEST(Form, RecordedDataSetEndingWithThreeUnplacedItemsDoesNotMatch) {
    auto p = Page("<form>", "<input name=a><input type=submit name=s value=Go>");
    // a is placed; the three items after it find no field and are not a
    // button's one or two items
    auto three = Items({{"a", "x"}, {"u", "1"}, {"v", "2"}, {"w", "3"}});
    EXPECT_FALSE(p.form->CheckAgainstRecordedDataSet(three.get()));
    auto two = Items({{"a", "x"}, {"u", "1"}, {"v", "2"}});
    EXPECT_FALSE(p.form->CheckAgainstRecordedDataSet(two.get()));  // not a button's items
}

TEST(Form, RecordedItemsAfterChosenButtonAreIgnored) {
    auto p = Page("<form>", "<input type=submit name=s value=Go><input name=a>");
    // a is a text field after the button: its item is consumed in order,
    // then the extra items stand after a chosen button and are ignored
    auto set = Items({{"s", "Go"}, {"a", "x"}, {"late", "1"}, {"later", "2"}, {"last", "3"}});
    EXPECT_TRUE(p.form->CheckAgainstRecordedDataSet(set.get()));
}

TEST(Form, RecordedMissingTextFieldFails) {
    auto p = Page("<form>", "<input name=a><input name=b>");
    auto set = Items({{"b", "1"}});
    EXPECT_FALSE(p.form->CheckAgainstRecordedDataSet(set.get()));
    auto full = Items({{"a", "0"}, {"b", "1"}});
    EXPECT_TRUE(p.form->CheckAgainstRecordedDataSet(full.get()));
    auto swapped = Items({{"b", "1"}, {"a", "0"}});
    EXPECT_FALSE(p.form->CheckAgainstRecordedDataSet(swapped.get()));
}

TEST(Form, RecordedImageCoordinatesAtTheEnd) {
    auto p = Page("<form>", "<input name=a><input type=image name=go src=g.gif>");
    auto set = Items({{"a", "1"}, {"go.x", "7"}, {"go.y", "8"}});
    EXPECT_TRUE(p.form->CheckAgainstRecordedDataSet(set.get()));
    ASSERT_TRUE(p.form->SetToRecordedDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "a=1&go.x=7&go.y=8");
}

TEST(Form, RecordedMultipleSelectStaysForFurtherItems) {
    auto p = Page("<form>", "<select name=m multiple><option>A<option>B</select><input name=t>");
    auto set = Items({{"m", "A"}, {"m", "B"}, {"t", "z"}});
    ASSERT_TRUE(p.form->SetToRecordedDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "m=A&m=B&t=z");
}

TEST(Form, SetToRecordedDataSetClearsFieldsNotNamed) {
    auto p = Page("<form>", "<input name=a value=page><input type=checkbox name=c checked>");
    auto set = Items({{"a", "x"}});
    ASSERT_TRUE(p.form->SetToRecordedDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "a=x");
}

// ---- default bodies

TEST(Form, DefaultArgsClickFirstButtonAndRestoreDefaults) {
    auto p = Page("<form>",
                  "<input name=a value=1><input type=submit name=s1 value=One>"
                  "<input type=submit name=s2 value=Two>");
    auto set = Items({{"a", "changed"}, {"s2", "Two"}});
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    EXPECT_EQ(Body(*p.form), "a=changed&s2=Two");
    EXPECT_EQ(DefaultBody(*p.form), "a=1&s1=One");
}

TEST(Form, DefaultArgsWithImageAsFirstButtonSendsZeroCoordinatesLast) {
    // A browser writes the submitter in tree order; here the coordinates
    // always go last.
    auto p = Page("<form>", "<input type=image name=i src=a.gif><input name=a value=1>");
    EXPECT_EQ(DefaultBody(*p.form), "a=1&i.x=0&i.y=0");
}

// ---- copies, data sets and annotations

TEST(Form, CopyHasItsOwnFieldsAndGroups) {
    auto p = Page("<form action=/c>",
                  "<input type=radio name=r value=a checked><input type=radio name=r value=b>"
                  "<input type=submit name=s value=S><input type=hidden name=h value=v>");
    CForm copy(*p.form);
    auto set = Items({{"r", "b"}, {"s", "S"}});
    ASSERT_TRUE(copy.SetToDataSet(set.get()));
    EXPECT_EQ(Body(copy), "r=b&s=S&h=v");
    EXPECT_EQ(Body(*p.form), "r=a&h=v");
    EXPECT_EQ(copy.GetHiddenAttributes().size(), 1u);
    EXPECT_EQ(copy.GetActionUrl(), "/c");
    CForm assigned;
    assigned = copy;
    EXPECT_EQ(Body(assigned), "r=b&s=S&h=v");
    auto two = Items({{"r", "a"}, {"r", "b"}});
    EXPECT_FALSE(
        assigned.CheckAgainstDataSet(two.get()));  // the group is shared by the copy's radios
}

TEST(Form, GetDataSetBuildsItemsThatMakeTheSameBody) {
    auto p = Page("<form action=/ds>",
                  "<input name=a value=\"1 2\"><input type=hidden name=h value=z>"
                  "<input name=ro value=r readonly><input type=image name=i src=x.gif>"
                  "<select name=m multiple><option selected>A<option selected>B</select>");
    auto set = Items({{"i.x", "1"}, {"i.y", "2"}});
    ASSERT_TRUE(p.form->SetToDataSet(set.get()));
    CDataSet data;
    data.AddData(Item("stale", "x"));
    p.form->GetDataSet(data);
    EXPECT_EQ(data.GetActionUrl(), "/ds");
    MString built;
    data.CreateArgumentsFromData("", false, built);
    EXPECT_EQ(built, Body(*p.form));
    ASSERT_EQ(data.GetNumElements(), 7u);
    auto it = data.DataElements().GetList().begin();
    EXPECT_EQ((*it)->GetType(), CData::DT_TEXT);
    EXPECT_EQ((*++it)->GetType(), CData::DT_HIDDEN);
    EXPECT_TRUE((*++it)->IsReadOnly());
    data.EliminateHiddens();
    data.EliminateReadOnlyArgs();
    EXPECT_EQ(Describe(data), "a=1 2\nm=A\nm=B\ni.x=1\ni.y=2\n");
}

class MarkingForm : public CForm {
public:
    using CForm::CForm;
    using CForm::ClearAllFields;
    using CForm::UmarkAllFields;
};

TEST(Form, UmarkAllFieldsUnmarksFieldsAndRadioGroupsButKeepsValues) {
    auto p = Page("<form>", "<input name=t value=v><input type=radio name=r value=a>");
    MarkingForm form(nullptr, p.page->form(0), false, "");
    auto set = Items({{"t", "x"}, {"r", "a"}});
    ASSERT_TRUE(form.SetToDataSet(set.get()));
    EXPECT_TRUE(form.GetFields().front()->IsMarked());
    EXPECT_TRUE(form.GetRadioGroups().front()->IsMarked());
    form.UmarkAllFields();
    EXPECT_FALSE(form.GetFields().front()->IsMarked());
    EXPECT_FALSE(form.GetRadioGroups().front()->IsMarked());
    EXPECT_EQ(Body(form), "t=x&r=a");
    form.ClearAllFields();
    EXPECT_EQ(Body(form), "t=");
}

class AnnotatingPage : public CHTMLPage {
public:
    explicit AnnotatingPage(const CHTMLScanner* s) : CHTMLPage(s) {}
    ~AnnotatingPage() override {
        for (auto& [k, v] : notes) {
            std::free(v);
        }
    }
    void* getData(CHTMLObject* o) override {
        auto it = notes.find(o);
        return it == notes.end() ? nullptr : it->second;
    }
    void setData(CHTMLObject* o, void* d) override {
        std::free(notes[o]);
        notes[o] = static_cast<char*>(d);
    }
    std::map<CHTMLObject*, char*> notes;
};

class AnnotatedForm : public CForm {
public:
    using CForm::Annotate;
    using CForm::CForm;
};

TEST(Form, AnnotateAppendsMarkedUpLinesToThePage) {
    auto p = Page("<form>", "");
    AnnotatingPage page(p.page->scanner.get());
    AnnotatedForm form(&page, p.page->form(0), true, "");
    form.Annotate("first");
    form.Annotate("second");
    form.Annotate(nullptr);
    const char* note = static_cast<const char*>(page.getData(p.page->form(0)));
    ASSERT_NE(note, nullptr);
    EXPECT_STREQ(note,
                 "<I><strong><font color=#AF0000>first</font></strong></I>\r\n"
                 "<I><strong><font color=#AF0000>second</font></strong></I>");
}

TEST(Form, AnnotateWithoutKeptPageDoesNothing) {
    auto p = Page("<form>", "");
    AnnotatingPage page(p.page->scanner.get());
    AnnotatedForm form(&page, p.page->form(0), false, "");
    form.Annotate("x");
    EXPECT_TRUE(page.notes.empty());
    // A facade that keeps no annotations loses the text without leaking it.
    std::unique_ptr<CHTMLPage> plain(p.page->scanner->CreateObject());
    AnnotatedForm other(plain.get(), p.page->form(0), true, "");
    other.Annotate("x");
}

// ---- huge and hostile input

TEST(Form, FormWithThousandFieldsBuildsItsBody) {
    std::string controls;
    for (int i = 0; i < 1000; ++i) {
        controls += "<input name=f" + std::to_string(i) + " value=" + std::to_string(i) + ">";
    }
    auto p = Page("<form>", controls);
    const std::string body = DefaultBody(*p.form);
    EXPECT_EQ(body.substr(0, 12), "f0=0&f1=1&f2");
    EXPECT_EQ(body.substr(body.size() - 9), "&f999=999");
    CDataSet back;
    bool rt = false, at = false;
    back.AddDataFromString(body, "", false, false, rt, at, false, false);
    EXPECT_EQ(back.GetNumElements(), 1000u);
    EXPECT_TRUE(rt);
}

TEST(Form, UrlEncodedDefaultBodyRoundTripsThroughTheReader) {
    auto p = Page("<form>",
                  "<input name=\"a b\" value=\"1+1=2&x\"><input name=c value=\"\xC3\xA9@%\">"
                  "<textarea name=t>multi\nline</textarea>");
    const std::string body = DefaultBody(*p.form);
    EXPECT_EQ(body, "a+b=1%2B1%3D2%26x&c=%C3%A9@%25&t=multi%0Aline");
    CDataSet back;
    bool rt = false, at = true;
    back.AddDataFromString(body, "", false, false, rt, at, false, false);
    EXPECT_TRUE(rt);
    EXPECT_FALSE(at);
    EXPECT_EQ(Describe(back), "a b=1+1=2&x\nc=\xC3\xA9@%\nt=multi\nline\n");
}

}  // namespace

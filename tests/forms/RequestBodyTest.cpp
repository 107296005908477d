// Data sets turned into request bodies without a page form, and trimmed of
// hidden and read-only items: members of the data set itself.
#include <gtest/gtest.h>

#include <fstream>
#include <type_traits>

#include "FormTestSupport.h"
#include "webstep/forms/DataSet.h"
#include "webstep/platform/Registry.h"

namespace {

using webstep::test::Describe;
using webstep::test::Item;
using webstep::test::Items;

std::string UrlBody(const CDataSet& set) {
    MString body;
    set.CreateArgumentsFromData("", false, body);
    return body;
}

// The value as the skip-parameters body writes it: one item "n" holding text.
MString SkipParams(const MString& open, const MString& close, const MString& text) {
    CDataSet set;
    set.AddData(Item("n", text));
    MString body;
    set.CreateArgumentsFromDataSkipParams(open, close, body);
    EXPECT_EQ(body.substr(0, 2), "n=");
    return body.substr(2);
}

TEST(DataSetBody, UrlEncodedBodyOfSpaceAndAmpersandValues) {
    auto set = Items({{"a", "x y"}, {"b", "1&2"}});
    EXPECT_EQ(UrlBody(*set), "a=x+y&b=1%262");
}

TEST(DataSetBody, DataSetWithoutItemsYieldsEmptyUrlEncodedBody) {
    CDataSet empty;
    EXPECT_EQ(UrlBody(empty), "");
}

TEST(DataSetBody, DataSetWithoutItemsYieldsMultipartBodyWithOnlyClosingDelimiter) {
    CDataSet empty;
    MString body;
    empty.CreateArgumentsFromData("B0UND", false, body);
    EXPECT_EQ(body, "--B0UND--\r\n");
}

TEST(DataSetBody, BodyIsAppendedToWhatTheCallerHolds) {
    auto set = Items({{"a", "1"}});
    MString body = "prefix:";
    set->CreateArgumentsFromData("", true, body);
    EXPECT_EQ(body, "prefix:a=1");
}

TEST(DataSetBody, FlagDoesNotChangeTheOutput) {
    auto set = Items({{"a", "1"}, {"b", "@"}});
    MString off, on;
    set->CreateArgumentsFromData("bd", false, off);
    set->CreateArgumentsFromData("bd", true, on);
    EXPECT_EQ(off, on);
}

TEST(DataSetBody, AtSignKeptAndOtherBytesEscaped) {
    auto set = Items({{"m@il", "a@b.c/~"}, {"k", "*-._"}});
    EXPECT_EQ(UrlBody(*set), "m@il=a@b.c%2F%7E&k=*-._");
}

TEST(DataSetBody, ItemsAreWrittenWhateverTheirSentFlag) {
    auto set = Items({{"a", "1"}});
    set->DataElements().GetList().front()->SetSent(false);
    EXPECT_EQ(UrlBody(*set), "a=1");
}

TEST(DataSetBody, UrlEncodedRoundTripThroughTheReader) {
    auto set = Items({{"a b", "c=d&e"}, {"", ""}, {"\xFF\x01", "%41"}, {"z", "+"}});
    const std::string body = UrlBody(*set);
    CDataSet back;
    bool rt = false, at = false;
    back.AddDataFromString(body, "", false, false, rt, at, false, false);
    EXPECT_TRUE(rt);
    EXPECT_EQ(Describe(back), Describe(*set));
}

TEST(DataSetBody, MultipartRoundTripThroughTheReader) {
    auto set = Items({{"a", "x y"}, {"b", "line1\r\nline2"}, {"c", ""}, {"d", "\r\n"}});
    MString body;
    set->CreateArgumentsFromData("1234567", false, body);
    EXPECT_EQ(body.substr(0, 11), "--1234567\r\n");
    CDataSet back;
    bool rt = false, at = false;
    back.AddDataFromString(body, "1234567", false, false, rt, at, false, false);
    EXPECT_EQ(Describe(back), Describe(*set));
}

class DataSetBodyFile : public ::testing::Test {
protected:
    void SetUp() override {
        dir = ::testing::TempDir() + "/forms_body_" + std::to_string(::getpid());
        std::system(("mkdir -p '" + dir + "'").c_str());
        std::ofstream(dir + "/mime.types") << "text/plain txt\n";
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

TEST_F(DataSetBodyFile, FileItemBecomesFilePartAndReadsBackAsFileItem) {
    const std::string path = dir + "/note.txt";
    std::ofstream(path) << "content";
    CDataSet set;
    set.AddData(Item("t", "v"));
    set.AddData(Item("up", path, CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_FILE));
    MString body;
    set.CreateArgumentsFromData("XyZ", false, body);
    EXPECT_NE(body.find("Content-Disposition: form-data; name=\"up\"; filename=\"" + path +
                        "\"\r\nContent-Type: text/plain\r\n\r\ncontent\r\n--XyZ--\r\n"),
              std::string::npos);
    CDataSet back;
    bool rt = false, at = false;
    back.AddDataFromString(body, "XyZ", false, false, rt, at, false, false);
    ASSERT_EQ(back.GetNumElements(), 2u);
    EXPECT_EQ(back.DataElements().GetList().back()->GetType(), CData::DT_FILE);
    EXPECT_EQ(back.DataElements().GetList().back()->GetValue(), path);
}

TEST(DataSetBody, SkipParamsKeepsParameterReferenceUnescaped) {
    MString text = "{P} a";
    text = SkipParams("{", "}", text);
    EXPECT_EQ(text, "{P}+a");
}

TEST(DataSetBody, SkipParamsEncodesAroundSeveralReferences) {
    MString text = "a&{One Two}/{x}=";
    text = SkipParams("{", "}", text);
    EXPECT_EQ(text, "a%26{One Two}%2F{x}%3D");
}

TEST(DataSetBody, SkipParamsOpenWithoutCloseEncodesTheRestWithoutLosingIt) {
    MString text = "a {b} c {d e";
    text = SkipParams("{", "}", text);
    EXPECT_EQ(text, "a+{b}+c+%7Bd+e");
}

TEST(DataSetBody, SkipParamsWithMultiByteMarkers) {
    MString text = "<<P Q>> x";
    text = SkipParams("<<", ">>", text);
    EXPECT_EQ(text, "<<P Q>>+x");
    MString same = "%%a b%% c";
    same = SkipParams("%%", "%%", same);
    EXPECT_EQ(same, "%%a b%%+c");
}

TEST(DataSetBody, SkipParamsWithEmptyMarkersEncodesEverything) {
    MString text = "{a b}";
    text = SkipParams("", "}", text);
    EXPECT_EQ(text, "%7Ba+b%7D");
    MString empty;
    empty = SkipParams("{", "}", empty);
    EXPECT_EQ(empty, "");
}

TEST(DataSetBody, CreateArgumentsFromDataSkipParamsJoinsItemsWithAmpersand) {
    auto set = Items({{"user", "{User Name}"}, {"q", "a b"}, {"{N}", "1"}});
    MString body;
    set->CreateArgumentsFromDataSkipParams("{", "}", body);
    EXPECT_EQ(body, "user={User Name}&q=a+b&{N}=1");
    CDataSet empty;
    MString none;
    empty.CreateArgumentsFromDataSkipParams("{", "}", none);
    EXPECT_EQ(none, "");
}

TEST(DataSetBody, EliminateHiddensKeepsOrderOfTheOthers) {
    CDataSet set;
    set.AddData(Item("a", "1"));
    set.AddData(Item("h1", "x", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_HIDDEN));
    set.AddData(Item("b", "2"));
    set.AddData(Item("h2", "y", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_HIDDEN));
    set.EliminateHiddens();
    EXPECT_EQ(Describe(set), "a=1\nb=2\n");
}

TEST(DataSetBody, EliminateReadOnlyArgsKeepsOrderOfTheOthers) {
    CDataSet set;
    set.AddData(Item("r", "1", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_TEXT, true));
    set.AddData(Item("a", "2"));
    set.AddData(Item("h", "3", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_HIDDEN));
    set.AddData(Item("r2", "4", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_TEXT, true));
    set.EliminateReadOnlyArgs();
    EXPECT_EQ(Describe(set), "a=2\nh=3\n");
    set.EliminateHiddens();
    set.EliminateReadOnlyArgs();
    EXPECT_EQ(Describe(set), "a=2\n");
    CDataSet empty;
    empty.EliminateHiddens();
    EXPECT_EQ(empty.GetNumElements(), 0u);
}

TEST(DataSetBody, HugeValueIsEncodedWhole) {
    auto set = Items({{"big", std::string(1 << 20, ' ')}});
    const std::string body = UrlBody(*set);
    EXPECT_EQ(body.size(), 4u + (1u << 20));
    EXPECT_EQ(body.find_first_not_of('+', 4), std::string::npos);
}

// A caller written against the data set's class interface: the body writers
// are const members with these parameters, the trimmers plain members.
static_assert(std::is_same_v<decltype(&CDataSet::CreateArgumentsFromData),
                             void (CDataSet::*)(const MString&, bool, MString&) const>);
static_assert(std::is_same_v<decltype(&CDataSet::CreateArgumentsFromDataSkipParams),
                             void (CDataSet::*)(const MString&, const MString&, MString&) const>);
static_assert(std::is_same_v<decltype(&CDataSet::EliminateHiddens), void (CDataSet::*)()>);
static_assert(std::is_same_v<decltype(&CDataSet::EliminateReadOnlyArgs), void (CDataSet::*)()>);

TEST(DataSetBody, MembersWorkThroughAConstReferenceAndAfterTrimming) {
    CDataSet set("/post");
    set.AddData(Item("h", "x", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_HIDDEN));
    set.AddData(Item("q", "{P} 1"));
    set.AddData(Item("r", "2", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_TEXT, true));
    const CDataSet& view = set;
    MString all;
    view.CreateArgumentsFromData("", false, all);
    EXPECT_EQ(all, "h=x&q=%7BP%7D+1&r=2");
    set.EliminateHiddens();
    set.EliminateReadOnlyArgs();
    MString kept;
    view.CreateArgumentsFromDataSkipParams("{", "}", kept);
    EXPECT_EQ(kept, "q={P}+1");
    EXPECT_EQ(set.GetActionUrl(), "/post");
}
}  // namespace

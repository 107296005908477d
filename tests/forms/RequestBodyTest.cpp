// Data sets turned into request bodies without a page form, and trimmed of
// hidden and read-only items.
#include <gtest/gtest.h>

#include <fstream>

#include "FormTestSupport.h"
#include "webstep/forms/RequestBody.h"
#include "webstep/platform/Registry.h"

namespace {

using webstep::test::Describe;
using webstep::test::Item;
using webstep::test::Items;

std::string UrlBody(const CDataSet& set) {
    MString body;
    CRequestBody::CreateArgumentsFromData(set, "", false, body);
    return body;
}

TEST(RequestBody, UrlEncodedBodyOfSpaceAndAmpersandValues) {
    auto set = Items({{"a", "x y"}, {"b", "1&2"}});
    EXPECT_EQ(UrlBody(*set), "a=x+y&b=1%262");
}

TEST(RequestBody, DataSetWithoutItemsYieldsEmptyUrlEncodedBody) {
    CDataSet empty;
    EXPECT_EQ(UrlBody(empty), "");
}

TEST(RequestBody, DataSetWithoutItemsYieldsMultipartBodyWithOnlyClosingDelimiter) {
    CDataSet empty;
    MString body;
    CRequestBody::CreateArgumentsFromData(empty, "B0UND", false, body);
    EXPECT_EQ(body, "--B0UND--\r\n");
}

TEST(RequestBody, BodyIsAppendedToWhatTheCallerHolds) {
    auto set = Items({{"a", "1"}});
    MString body = "prefix:";
    CRequestBody::CreateArgumentsFromData(*set, "", true, body);
    EXPECT_EQ(body, "prefix:a=1");
}

TEST(RequestBody, FlagDoesNotChangeTheOutput) {
    auto set = Items({{"a", "1"}, {"b", "@"}});
    MString off, on;
    CRequestBody::CreateArgumentsFromData(*set, "bd", false, off);
    CRequestBody::CreateArgumentsFromData(*set, "bd", true, on);
    EXPECT_EQ(off, on);
}

TEST(RequestBody, AtSignKeptAndOtherBytesEscaped) {
    auto set = Items({{"m@il", "a@b.c/~"}, {"k", "*-._"}});
    EXPECT_EQ(UrlBody(*set), "m@il=a@b.c%2F%7E&k=*-._");
}

TEST(RequestBody, ItemsAreWrittenWhateverTheirSentFlag) {
    auto set = Items({{"a", "1"}});
    set->DataElements().GetList().front()->SetSent(false);
    EXPECT_EQ(UrlBody(*set), "a=1");
}

TEST(RequestBody, UrlEncodedRoundTripThroughTheReader) {
    auto set = Items({{"a b", "c=d&e"}, {"", ""}, {"\xFF\x01", "%41"}, {"z", "+"}});
    const std::string body = UrlBody(*set);
    CDataSet back;
    bool rt = false, at = false;
    back.AddDataFromString(body, "", false, false, rt, at, false, false);
    EXPECT_TRUE(rt);
    EXPECT_EQ(Describe(back), Describe(*set));
}

TEST(RequestBody, MultipartRoundTripThroughTheReader) {
    auto set = Items({{"a", "x y"}, {"b", "line1\r\nline2"}, {"c", ""}, {"d", "\r\n"}});
    MString body;
    CRequestBody::CreateArgumentsFromData(*set, "1234567", false, body);
    EXPECT_EQ(body.substr(0, 11), "--1234567\r\n");
    CDataSet back;
    bool rt = false, at = false;
    back.AddDataFromString(body, "1234567", false, false, rt, at, false, false);
    EXPECT_EQ(Describe(back), Describe(*set));
}

class RequestBodyFile : public ::testing::Test {
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

TEST_F(RequestBodyFile, FileItemBecomesFilePartAndReadsBackAsFileItem) {
    const std::string path = dir + "/note.txt";
    std::ofstream(path) << "content";
    CDataSet set;
    set.AddData(Item("t", "v"));
    set.AddData(Item("up", path, CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_FILE));
    MString body;
    CRequestBody::CreateArgumentsFromData(set, "XyZ", false, body);
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

TEST(RequestBody, SkipParamsKeepsParameterReferenceUnescaped) {
    MString text = "{P} a";
    CRequestBody::EscArgsSkipParams("{", "}", text);
    EXPECT_EQ(text, "{P}+a");
}

TEST(RequestBody, SkipParamsEncodesAroundSeveralReferences) {
    MString text = "a&{One Two}/{x}=";
    CRequestBody::EscArgsSkipParams("{", "}", text);
    EXPECT_EQ(text, "a%26{One Two}%2F{x}%3D");
}

TEST(RequestBody, SkipParamsOpenWithoutCloseEncodesTheRestWithoutLosingIt) {
    MString text = "a {b} c {d e";
    CRequestBody::EscArgsSkipParams("{", "}", text);
    EXPECT_EQ(text, "a+{b}+c+%7Bd+e");
}

TEST(RequestBody, SkipParamsWithMultiByteMarkers) {
    MString text = "<<P Q>> x";
    CRequestBody::EscArgsSkipParams("<<", ">>", text);
    EXPECT_EQ(text, "<<P Q>>+x");
    MString same = "%%a b%% c";
    CRequestBody::EscArgsSkipParams("%%", "%%", same);
    EXPECT_EQ(same, "%%a b%%+c");
}

TEST(RequestBody, SkipParamsWithEmptyMarkersEncodesEverything) {
    MString text = "{a b}";
    CRequestBody::EscArgsSkipParams("", "}", text);
    EXPECT_EQ(text, "%7Ba+b%7D");
    MString empty;
    CRequestBody::EscArgsSkipParams("{", "}", empty);
    EXPECT_EQ(empty, "");
}

TEST(RequestBody, CreateArgumentsFromDataSkipParamsJoinsItemsWithAmpersand) {
    auto set = Items({{"user", "{User Name}"}, {"q", "a b"}, {"{N}", "1"}});
    MString body;
    CRequestBody::CreateArgumentsFromDataSkipParams(*set, "{", "}", body);
    EXPECT_EQ(body, "user={User Name}&q=a+b&{N}=1");
    CDataSet empty;
    MString none;
    CRequestBody::CreateArgumentsFromDataSkipParams(empty, "{", "}", none);
    EXPECT_EQ(none, "");
}

TEST(RequestBody, EliminateHiddensKeepsOrderOfTheOthers) {
    CDataSet set;
    set.AddData(Item("a", "1"));
    set.AddData(Item("h1", "x", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_HIDDEN));
    set.AddData(Item("b", "2"));
    set.AddData(Item("h2", "y", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_HIDDEN));
    CRequestBody::EliminateHiddens(set);
    EXPECT_EQ(Describe(set), "a=1\nb=2\n");
}

TEST(RequestBody, EliminateReadOnlyArgsKeepsOrderOfTheOthers) {
    CDataSet set;
    set.AddData(Item("r", "1", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_TEXT, true));
    set.AddData(Item("a", "2"));
    set.AddData(Item("h", "3", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_HIDDEN));
    set.AddData(Item("r2", "4", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_TEXT, true));
    CRequestBody::EliminateReadOnlyArgs(set);
    EXPECT_EQ(Describe(set), "a=2\nh=3\n");
    CRequestBody::EliminateHiddens(set);
    CRequestBody::EliminateReadOnlyArgs(set);
    EXPECT_EQ(Describe(set), "a=2\n");
    CDataSet empty;
    CRequestBody::EliminateHiddens(empty);
    EXPECT_EQ(empty.GetNumElements(), 0u);
}

TEST(RequestBody, HugeValueIsEncodedWhole) {
    auto set = Items({{"big", std::string(1 << 20, ' ')}});
    const std::string body = UrlBody(*set);
    EXPECT_EQ(body.size(), 4u + (1u << 20));
    EXPECT_EQ(body.find_first_not_of('+', 4), std::string::npos);
}

}  // namespace

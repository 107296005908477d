// Data sets: shallow copies, identity equality, reading recorded bodies, and
// the URL encoding of names and values.
#include "webstep/forms/DataSet.h"

#include <gtest/gtest.h>

#include <string>

#include "webstep/context/Context.h"
#include "webstep/forms/EscArgs.h"
#include "webstep/platform/CodePage.h"

namespace {

CData* Item(const MString& name, const MString& value) {
    return new CData(name, value, CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_UNSPECIFIED, true,
                     "", "", false, "", "", "");
}

struct Read {
    bool roundTripOk = false;
    bool atWasEscaped = true;
};

Read ReadBody(CDataSet& set, const MString& body, const MString& boundary = "",
              bool binaryEscaped = false, bool skipRoundTrip = false, bool fromUtf8 = false) {
    Read r;
    set.AddDataFromString(body, boundary, binaryEscaped, skipRoundTrip, r.roundTripOk,
                          r.atWasEscaped, fromUtf8, false);
    return r;
}

std::string Items(const CDataSet& set) {
    std::string out;
    for (const CData* item : set.DataElements().GetList())
        out += item->GetName() + "=" + item->GetValue() + "(" +
               std::to_string(static_cast<int>(item->GetType())) + ");";
    return out;
}

class CFailAll : public CContext {
public:
    int calls = 0;
    bool Parametrize(const MString&, MString&, bool isDataDriven) override {
        ++calls;
        return !isDataDriven;
    }
};

}  // namespace

TEST(DataSet, CopySharesItemsAndClearDataReferencesReleasesIt) {
    CDataSet original("http://host/act");
    original.AddData(Item("a", "1"));
    original.AddData(Item("b", "2"));
    CDataSet* copy = new CDataSet(original);
    EXPECT_EQ(copy->GetActionUrl(), "http://host/act");
    EXPECT_EQ(copy->DataElements().GetList().front(), original.DataElements().GetList().front());
    EXPECT_TRUE(*copy == original);
    copy->ClearDataReferences();
    EXPECT_EQ(copy->GetNumElements(), 0u);
    delete copy;  // the original's items survive
    ASSERT_EQ(original.GetNumElements(), 2u);
    EXPECT_EQ(original.DataElements().GetList().front()->GetValue(), "1");
}

TEST(DataSet, AssignmentSharesItemsAndCopiesTheActionUrl) {
    CDataSet original("act");
    original.AddData(Item("a", "1"));
    CDataSet target;
    target.AddData(Item("old", "x"));
    target = original;
    EXPECT_EQ(target.GetActionUrl(), "act");
    EXPECT_TRUE(target == original);
    target.ClearDataReferences();
}

TEST(DataSet, EqualityIsByIdentityOfTheItems) {
    CDataSet a;
    CDataSet b;
    a.AddData(Item("n", "v"));
    b.AddData(Item("n", "v"));
    EXPECT_FALSE(a == b);  // equal contents, different items
    CDataSet empty1, empty2;
    EXPECT_TRUE(empty1 == empty2);
    CDataSet c(a);
    EXPECT_TRUE(c == a);
    c.SetActionUrl("other");
    EXPECT_FALSE(c == a);
    c.SetActionUrl("");
    c.AddData(Item("extra", ""));
    EXPECT_FALSE(c == a);  // one list longer
    CData* extra = c.DataElements().GetList().back();
    c.RemoveData(extra);
    delete extra;
    c.ClearDataReferences();
}

TEST(DataSet, ParametrizeVisitsEveryItem) {
    CDataSet set;
    set.AddData(Item("{A}", "1"));
    set.AddData(Item("{B}", "2"));
    CFailAll ctx;
    EXPECT_FALSE(set.Parametrize(&ctx));
    EXPECT_EQ(ctx.calls, 2);  // the first failure does not stop the walk
    CDataSet literal;
    literal.AddData(Item("a", "1"));
    EXPECT_TRUE(literal.Parametrize(nullptr));
}

TEST(DataSetFromString, UrlEncodedBodyDropsTheTrailingNameWithoutValue) {
    CDataSet set;
    Read r = ReadBody(set, "a=1&b=x%3Dy&c");
    EXPECT_EQ(Items(set), "a=1(0);b=x=y(0);");
    EXPECT_TRUE(r.roundTripOk);  // "=" is escaped back to %3D
}

TEST(DataSetFromString, EscapedAtSignIsReportedAndRoundTrips) {
    CDataSet set;
    Read r = ReadBody(set, "a=%40");
    EXPECT_EQ(Items(set), "a=@(0);");
    EXPECT_TRUE(r.atWasEscaped);
    EXPECT_TRUE(r.roundTripOk);
}

TEST(DataSetFromString, EscapedAsteriskDecodesButFailsTheRoundTrip) {
    CDataSet set;
    Read r = ReadBody(set, "a=%2a");
    EXPECT_EQ(Items(set), "a=*(0);");
    EXPECT_FALSE(r.roundTripOk);
    EXPECT_FALSE(r.atWasEscaped);
}

TEST(DataSetFromString, SkippingTheRoundTripCheckLeavesItTrue) {
    CDataSet set;
    Read r = ReadBody(set, "a=%2a", "", false, true);
    EXPECT_TRUE(r.roundTripOk);
}

TEST(DataSetFromString, PlainBodyRoundTrips) {
    CDataSet set;
    Read r = ReadBody(set, "user=john+doe&pass=a%26b&x=");
    EXPECT_EQ(Items(set), "user=john doe(0);pass=a&b(0);x=(0);");
    EXPECT_TRUE(r.roundTripOk);
    EXPECT_FALSE(r.atWasEscaped);
}

TEST(DataSetFromString, ValueMayHoldAnEqualsSign) {
    CDataSet set;
    ReadBody(set, "a=b=c&d=e");
    EXPECT_EQ(Items(set), "a=b=c(0);d=e(0);");
}

TEST(DataSetFromString, ReadingReplacesEveryPreviousItem) {
    CDataSet set;
    set.AddData(Item("old", "x"));
    ReadBody(set, "n=v");
    EXPECT_EQ(Items(set), "n=v(0);");
    ReadBody(set, "no pairs here");
    EXPECT_EQ(set.GetNumElements(), 0u);
}

TEST(DataSetFromString, EmptyBodyYieldsNothingAndRoundTrips) {
    CDataSet set;
    Read r = ReadBody(set, "");
    EXPECT_EQ(set.GetNumElements(), 0u);
    EXPECT_TRUE(r.roundTripOk);
    EXPECT_FALSE(r.atWasEscaped);
}

TEST(DataSetFromString, MalformedEscapeStaysAsWritten) {
    CDataSet set;
    Read r = ReadBody(set, "a=%zz%4&b=%");
    EXPECT_EQ(Items(set), "a=%zz%4(0);b=%(0);");
    EXPECT_FALSE(r.roundTripOk);
}

TEST(DataSetFromString, HugeUrlEncodedBody) {
    std::string body;
    for (int i = 0; i < 20000; ++i)
        body += "field" + std::to_string(i) + "=value+" + std::to_string(i) + "&";
    CDataSet set;
    Read r = ReadBody(set, body);
    EXPECT_EQ(set.GetNumElements(), 20000u);
    EXPECT_EQ(set.DataElements().GetList().back()->GetValue(), "value 19999");
    EXPECT_TRUE(r.roundTripOk);
}

namespace {

const char* kMultipart =
    "--XYZ\r\n"
    "Content-Disposition: form-data; name=\"first\"\r\n\r\n"
    "one\r\n"
    "--XYZ\r\n"
    "Content-Disposition: form-data; name=\"upload\"; filename=\"c:\\dir\\a.txt\"\r\n"
    "Content-Type: text/plain\r\n\r\n"
    "file content here\r\n"
    "--XYZ\r\n"
    "Content-Disposition: form-data; name=\"multi\"\r\n\r\n"
    "line1\r\nline2\r\n"
    "--XYZ--\r\n";

}  // namespace

TEST(DataSetFromString, MultipartPartsBecomeItems) {
    CDataSet set;
    Read r = ReadBody(set, kMultipart, "XYZ");
    EXPECT_EQ(Items(set), "first=one(0);upload=c:\\dir\\a.txt(9);multi=line1\r\nline2(0);");
    EXPECT_TRUE(r.roundTripOk);
}

TEST(DataSetFromString, MultipartFilePartYieldsTypeNineWithTheFileName) {
    CDataSet set;
    ReadBody(set,
             "--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x.bin\"\r\n\r\n"
             "\x01\x02 content\r\n--B--",
             "B");
    ASSERT_EQ(set.GetNumElements(), 1u);
    const CData* item = set.DataElements().GetList().front();
    EXPECT_EQ(item->GetType(), CData::DT_FILE);
    EXPECT_EQ(item->GetValue(), "x.bin");
}

TEST(DataSetFromString, MultipartFilenameBeforeNameGivesTheFileNameAsName) {
    CDataSet set;
    ReadBody(set,
             "--B\r\nContent-Disposition: form-data; filename=\"up.txt\"; name=\"f\"\r\n\r\n"
             "data\r\n--B--",
             "B");
    ASSERT_EQ(set.GetNumElements(), 1u);
    EXPECT_EQ(set.DataElements().GetList().front()->GetName(), "up.txt");
    EXPECT_EQ(set.DataElements().GetList().front()->GetType(), CData::DT_FILE);
}

TEST(DataSetFromString, MultipartStopsAtAPartWithoutName) {
    CDataSet set;
    ReadBody(set,
             "--B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n"
             "--B\r\nContent-Disposition: form-data\r\n\r\n2\r\n"
             "--B\r\nContent-Disposition: form-data; name=\"c\"\r\n\r\n3\r\n--B--",
             "B");
    EXPECT_EQ(Items(set), "a=1(0);");
}

TEST(DataSetFromString, MultipartWithoutClosingDelimiterDropsTheLastPart) {
    CDataSet set;
    ReadBody(set,
             "--B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n"
             "--B\r\nContent-Disposition: form-data; name=\"b\"\r\n\r\n2\r\n",
             "B");
    EXPECT_EQ(Items(set), "a=1(0);");
}

TEST(DataSetFromString, MultipartKeepsAValueShorterThanTwoBytes) {
    CDataSet set;
    ReadBody(set, "--B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\nx--B--", "B");
    EXPECT_EQ(Items(set), "a=x(0);");
}

TEST(DataSetFromString, MultipartBinaryEscapedNamesAndValuesAreDecoded) {
    CDataSet set;
    bool ok = false, at = false;
    set.AddDataFromString(
        "--B\r\nContent-Disposition: form-data; name=\"n\\x41\"\r\n\r\nv\\x42\\\\\r\n--B--", "B",
        true, false, ok, at, false, true);
    EXPECT_EQ(Items(set), "nA=vB\\(0);");
}

TEST(DataSetFromString, MultipartWithoutAnyDelimiterYieldsNothing) {
    CDataSet set;
    ReadBody(set, "a=1&b=2", "B");
    EXPECT_EQ(set.GetNumElements(), 0u);
}

TEST(DataSetFromString, Utf8BodyIsConvertedToTheProcessCodePage) {
    webstep::platform::SetProcessCodePage(1251);
    CDataSet set;
    // "%D0%AF" is the Cyrillic capital letter Ya in UTF-8; 0xDF in cp1251.
    ReadBody(set, "n=%D0%AF", "", false, false, true);
    ASSERT_EQ(set.GetNumElements(), 1u);
    EXPECT_EQ(set.DataElements().GetList().front()->GetValue(), std::string("\xDF"));
    webstep::platform::SetProcessCodePage(0);
}

TEST(ExtractRequestAttribute, ValueUpToSemicolonOrLineEndTrimmedAndUnquoted) {
    MString out = "x";
    EXPECT_TRUE(CDataSet::ExtractRequestAttributeEx("form-data; name=\" a b \" ; x", "name=", out));
    EXPECT_EQ(out, "a b");
    EXPECT_EQ(CDataSet::ExtractRequestAttribute("name=plain\r\nrest", "name="), "plain");
    EXPECT_FALSE(CDataSet::ExtractRequestAttributeEx("nothing", "name=", out));
    EXPECT_EQ(out, "");
    EXPECT_EQ(CDataSet::ExtractRequestAttribute("name=\"", "name="), "\"");
    EXPECT_EQ(CDataSet::ExtractRequestAttribute("Name=a", "name="), "");  // case-sensitive
}

TEST(EscArgs, KeepsUnreservedBytesAndEscapesTheRest) {
    MString text = "aZ09-._* @/~\xFF";
    EscArgs(text, false);
    EXPECT_EQ(text, "aZ09-._*+@%2F%7E%FF");
    text = "a@b";
    EscArgs(text, true);
    EXPECT_EQ(text, "a%40b");
    text = "";
    EscArgs(text, true);
    EXPECT_EQ(text, "");
}

TEST(EscArgs, LongTextBeyondTheStackBuffer) {
    MString text(5000, '/');
    EscArgs(text, false);
    EXPECT_EQ(text.size(), 15000u);
    EXPECT_EQ(text.substr(0, 6), "%2F%2F");
}

TEST(UnEscArgs, DecodesPlusAndHexAndReportsTheAtSign) {
    MString text = "a+b%41%4a%40";
    bool saw = false;
    UnEscArgs(text, &saw);
    EXPECT_EQ(text, "a bAJ@");
    EXPECT_TRUE(saw);
    text = "%4";
    saw = false;
    UnEscArgs(text, &saw);
    EXPECT_EQ(text, "%4");
    EXPECT_FALSE(saw);
    text = "%40";
    UnEscArgs(text, nullptr);
    EXPECT_EQ(text, "@");
}

TEST(UnEscArgs, RoundTripOfEveryByte) {
    MString all;
    for (int c = 0; c < 256; ++c)
        all.push_back(static_cast<char>(c));
    MString encoded = all;
    EscArgs(encoded, true);
    MString decoded = encoded;
    bool saw = false;
    UnEscArgs(decoded, &saw);
    EXPECT_EQ(decoded, all);
    EXPECT_TRUE(saw);
}

TEST(DataSets, DoesNotOwnItsDataSets) {
    CDataSet set;
    set.AddData(Item("a", "1"));
    {
        CDataSets sets;
        sets.AddDataSet(&set);
        CDataSets copy(sets);
        EXPECT_EQ(copy.GetList().front(), &set);
    }
    EXPECT_EQ(set.GetNumElements(), 1u);
}

TEST(DataSetFromString, Utf8BodyStaysUtf8InAUtf8CodePage) {
    webstep::platform::SetProcessCodePage(webstep::platform::CP_UTF8);
    CDataSet set;
    ReadBody(
        set,
        "--B\r\nContent-Disposition: form-data; name=\"\xD0\xAF\"\r\n\r\n\xE4\xB8\xAD\r\n--B--",
        "B", false, false, true);
    ASSERT_EQ(set.GetNumElements(), 1u);
    EXPECT_EQ(set.DataElements().GetList().front()->GetName(), "\xD0\xAF");
    EXPECT_EQ(set.DataElements().GetList().front()->GetValue(), "\xE4\xB8\xAD");
    webstep::platform::SetProcessCodePage(0);
}

TEST(DataSetFromString, CodePageConversionDoesNotAffectTheRoundTrip) {
    webstep::platform::SetProcessCodePage(1251);
    CDataSet set;
    Read r = ReadBody(set, "n=%D0%AF", "", false, false, true);
    EXPECT_TRUE(r.roundTripOk);
    webstep::platform::SetProcessCodePage(0);
}

// The parsers of the extended function set: a call written as scripts write
// it, and the refusals of missing required attributes, values outside their
// tables, misplaced sections and unknown names.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ServiceParseSupport.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebSteps.h"

namespace {

using Outcome = ParseOutcome;

Outcome Parse(const char* function, std::vector<const char*> args) {
    return ParseCallIn(ExtendedParsers(), function, std::move(args));
}

std::string Error(const char* function, std::vector<const char*> args) {
    return Parse(function, std::move(args)).error;
}

}  // namespace

// ----- registration -----

TEST(ExtendedRepository, RegistersEveryExtendedNameAndLeavesTheFortyNineAlone) {
    CObjectRepository standard, both;
    CWebStepParse::UpdateRepository(standard);
    CWebStepParse::UpdateRepository(both);
    CWebStepParse::UpdateRepositoryExtended(both);
    size_t count = 0;
    for (const char* const* name = CWebStepParse::GetExtendedFunctionNames(); *name; ++name) {
        ++count;
        EXPECT_EQ(standard.CreateObject(*name), nullptr) << *name;
        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(both.CreateObject(*name)));
        EXPECT_NE(parser, nullptr) << *name;
    }
    EXPECT_EQ(count, 27u);
    EXPECT_EQ(standard.GetCount(), 49u);
    EXPECT_EQ(both.GetCount(), 49u + 27u);
}

// ----- web_reg_save_param_ex -----

TEST(ExtendedRegSaveParamEx, RecordedCallWithFiltersFillsTheStep) {
    Outcome o = Parse("web_reg_save_param_ex",
                      {"ParamName=Csrf", "LB/IC=name=\"csrf\" value=\"", "RB/IC=\"", "Ordinal=2",
                       "NotFound=warning", "SEARCH_FILTERS", "Scope=Body", "RequestUrl=*/login*",
                       "IgnoreRedirections=Yes", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegSaveParamEx>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(o.stepName, "web_reg_save_param_ex Csrf");
    EXPECT_EQ(step->GetParamName(), "Csrf");
    EXPECT_EQ(step->GetLeft(), "name=\"csrf\" value=\"");
    EXPECT_EQ(step->GetRight(), "\"");
    EXPECT_EQ(step->GetLeftBoundFlags(), RSPF_IGNORE_CASE);
    EXPECT_EQ(step->GetRightBoundFlags(), RSPF_IGNORE_CASE);
    EXPECT_EQ(step->GetOrdinal(), "2");
    EXPECT_EQ(step->GetNotFound(), "warning");
    EXPECT_EQ(step->GetSearchFilter("Scope"), "Body");
    EXPECT_EQ(step->GetSearchFilter("RequestUrl"), "*/login*");
    EXPECT_EQ(step->GetSearchFilter("IgnoreRedirections"), "Yes");
}

TEST(ExtendedRegSaveParamEx, NamesIgnoreLetterCaseAndOrdinalTakesAllOrLast) {
    EXPECT_EQ(
        Error("web_reg_save_param_ex", {"paramname=A", "lb=x", "rb=y", "ordinal=ALL", "LAST"}), "");
    EXPECT_EQ(
        Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "Ordinal=LAST", "LAST"}),
        "");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=", "RB=", "LAST"}), "");
    EXPECT_EQ(Error("web_reg_save_param_ex",
                    {"ParamName=A", "LB/BIN/DIG=x", "RB=y", "SaveLen=-1", "SaveOffset=3", "LAST"}),
              "");
}

TEST(ExtendedRegSaveParamEx, EachRequiredAttributeIsRequired) {
    EXPECT_EQ(Error("web_reg_save_param_ex", {"LB=x", "RB=y", "LAST"}), "1000|text=ParamName");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "RB=y", "LAST"}), "1000|text=LB");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "LAST"}), "1000|text=RB");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=", "LB=x", "RB=y", "LAST"}),
              "1003|attribute=ParamName|text=");
    EXPECT_EQ(Error("web_reg_save_param_ex", {}), "1009");
}

TEST(ExtendedRegSaveParamEx, ValuesOutsideTheirTablesAreRefused) {
    EXPECT_EQ(
        Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "NotFound=ignore", "LAST"}),
        "1003|attribute=NotFound|text=ignore");
    EXPECT_EQ(
        Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "Ordinal=second", "LAST"}),
        "1002|text=second");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "Ordinal=0", "LAST"}),
              "1003|attribute=Ordinal|text=0");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB/XYZ=x", "RB=y", "LAST"}),
              "1002|text=LB/XYZ");
    EXPECT_EQ(
        Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "SaveLen=ten", "LAST"}),
        "1006|text=ten");
    EXPECT_EQ(Error("web_reg_save_param_ex",
                    {"ParamName=A", "LB=x", "RB=y", "SEARCH_FILTERS", "Scope=Page", "LAST"}),
              "1003|attribute=Scope|text=Page");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "SEARCH_FILTERS",
                                              "IgnoreRedirections=maybe", "LAST"}),
              "1005|text=maybe");
}

TEST(ExtendedRegSaveParamEx, HeaderNamesNeedTheHeaderScope) {
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "SEARCH_FILTERS",
                                              "Scope=Headers", "HeaderNames=Location", "LAST"}),
              "");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "SEARCH_FILTERS",
                                              "Scope=Body", "HeaderNames=Location", "LAST"}),
              "1003|attribute=HeaderNames|text=Location");
}

TEST(ExtendedRegSaveParamEx, AllFramesNeedAllOrdinals) {
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "Ordinal=All",
                                              "SEARCH_FILTERS", "RelFrameID=ALL", "LAST"}),
              "");
    EXPECT_EQ(Error("web_reg_save_param_ex",
                    {"ParamName=A", "LB=x", "RB=y", "SEARCH_FILTERS", "RelFrameID=1.2", "LAST"}),
              "");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "Ordinal=2",
                                              "SEARCH_FILTERS", "RelFrameID=ALL", "LAST"}),
              "1003|attribute=Ordinal|text=2");
    EXPECT_EQ(Error("web_reg_save_param_ex",
                    {"ParamName=A", "LB=x", "RB=y", "SEARCH_FILTERS", "RelFrameID=top", "LAST"}),
              "1003|attribute=RelFrameID|text=top");
}

TEST(ExtendedRegSaveParamEx, MisplacedAndUnknownNamesAreRefused) {
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "Ordnial=2", "LAST"}),
              "1001|text=Ordnial");
    EXPECT_EQ(Error("web_reg_save_param_ex",
                    {"ParamName=A", "LB=x", "RB=y", "SEARCH_FILTERS", "Ordinal=2", "LAST"}),
              "1001|text=Ordinal|argument=5");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "RB=y", "HEADERS", "LAST"}),
              "1001|text=HEADERS|argument=4");
    EXPECT_EQ(Error("web_reg_save_param_ex",
                    {"ParamName=A", "LB=x", "RB=y", "SEARCH_FILTERS", "SEARCH_FILTERS", "LAST"}),
              "1001|text=SEARCH_FILTERS|argument=5");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "LB/IC=z", "RB=y", "LAST"}),
              "1012|attribute=LB/IC");
    EXPECT_EQ(Error("web_reg_save_param_ex", {"ParamName=A", "LB=x", "lb=z", "RB=y", "LAST"}),
              "1012|attribute=lb|argument=3");
}

// ----- web_reg_save_param_regexp -----

TEST(ExtendedRegSaveParamRegexp, RecordedCallFillsTheStep) {
    Outcome o = Parse("web_reg_save_param_regexp",
                      {"ParamName=EventId", "RegExp=name=\"eventid\" value=\"([^\"]+)\"", "Group=1",
                       "Ordinal=All", "SEARCH_FILTERS", "Scope=Body", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegSaveParamRegexp>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetParamName(), "EventId");
    EXPECT_EQ(step->GetRegExp(), "name=\"eventid\" value=\"([^\"]+)\"");
    EXPECT_EQ(step->GetGroup(), "1");
    EXPECT_EQ(step->GetOrdinal(), "All");
    EXPECT_EQ(step->GetSearchFilter("Scope"), "Body");
}

TEST(ExtendedRegSaveParamRegexp, RequiredAttributesGroupRangeAndForeignOptions) {
    EXPECT_EQ(Error("web_reg_save_param_regexp", {"RegExp=(a)", "LAST"}), "1000|text=ParamName");
    EXPECT_EQ(Error("web_reg_save_param_regexp", {"ParamName=A", "LAST"}), "1000|text=RegExp");
    EXPECT_EQ(Error("web_reg_save_param_regexp", {"ParamName=A", "RegExp=(a)", "Group=0", "LAST"}),
              "");
    EXPECT_EQ(Error("web_reg_save_param_regexp", {"ParamName=A", "RegExp=(a)", "Group=10", "LAST"}),
              "");
    EXPECT_EQ(Error("web_reg_save_param_regexp", {"ParamName=A", "RegExp=(a)", "Group=11", "LAST"}),
              "1003|attribute=Group|text=11");
    EXPECT_EQ(
        Error("web_reg_save_param_regexp", {"ParamName=A", "RegExp=(a)", "Group=one", "LAST"}),
        "1006|text=one");
    EXPECT_EQ(
        Error("web_reg_save_param_regexp", {"ParamName=A", "RegExp=(a)", "SaveLen=2", "LAST"}),
        "1001|text=SaveLen");
    EXPECT_EQ(
        Error("web_reg_save_param_regexp", {"ParamName=A", "RegExp=(a)", "NotFound=no", "LAST"}),
        "1003|attribute=NotFound|text=no");
    EXPECT_EQ(Error("web_reg_save_param_regexp",
                    {"ParamName=A", "RegExp=(a)", "SEARCH_FILTERS", "Scope=Everything", "LAST"}),
              "1003|attribute=Scope|text=Everything");
}

// ----- web_reg_save_param_json and _xpath -----

TEST(ExtendedRegSaveParamJson, RecordedCallFillsTheStep) {
    Outcome o = Parse("web_reg_save_param_json",
                      {"ParamName=NextCursor", "QueryString=$.paging.next", "SelectAll=Yes",
                       "NotFound=Warning", "SEARCH_FILTERS", "Scope=Body", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegSaveParamJson>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetQueryString(), "$.paging.next");
    EXPECT_EQ(step->GetSelectAll(), "Yes");
    EXPECT_EQ(step->GetNotFound(), "Warning");
}

TEST(ExtendedRegSaveParamJson, RequiredAttributesAndValueTables) {
    EXPECT_EQ(Error("web_reg_save_param_json", {"QueryString=$.a", "LAST"}), "1000|text=ParamName");
    EXPECT_EQ(Error("web_reg_save_param_json", {"ParamName=A", "LAST"}), "1000|text=QueryString");
    EXPECT_EQ(Error("web_reg_save_param_json", {"ParamName=A", "QueryString=paging.next", "LAST"}),
              "1003|attribute=QueryString|text=paging.next");
    EXPECT_EQ(Error("web_reg_save_param_json", {"ParamName=A", "QueryString={Path}", "LAST"}), "");
    EXPECT_EQ(Error("web_reg_save_param_json",
                    {"ParamName=A", "QueryString=$.a", "SelectAll=All", "LAST"}),
              "1005|text=All");
    EXPECT_EQ(
        Error("web_reg_save_param_json", {"ParamName=A", "QueryString=$.a", "Ordinal=1", "LAST"}),
        "1001|text=Ordinal");
    EXPECT_EQ(
        Error("web_reg_save_param_json", {"ParamName=A", "QueryString=$.a", "NotFound=x", "LAST"}),
        "1003|attribute=NotFound|text=x");
}

TEST(ExtendedRegSaveParamXpath, RecordedCallFillsTheStepAndChecksItsFlags) {
    Outcome o = Parse("web_reg_save_param_xpath",
                      {"ParamName=PageTitle", "QueryString=//*[local-name()='level']/text()",
                       "SelectAll=No", "ReturnXML=Yes", "SEARCH_FILTERS", "Scope=Body", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegSaveParamXpath>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetQueryString(), "//*[local-name()='level']/text()");
    EXPECT_EQ(step->GetReturnXML(), "Yes");
    EXPECT_EQ(Error("web_reg_save_param_xpath", {"QueryString=/a", "LAST"}), "1000|text=ParamName");
    EXPECT_EQ(Error("web_reg_save_param_xpath", {"ParamName=A", "LAST"}), "1000|text=QueryString");
    EXPECT_EQ(
        Error("web_reg_save_param_xpath", {"ParamName=A", "QueryString=/a", "ReturnXML=1", "LAST"}),
        "1005|text=1");
    EXPECT_EQ(
        Error("web_reg_save_param_xpath", {"ParamName=A", "QueryString=/a", "SelectAll=x", "LAST"}),
        "1005|text=x");
}

// ----- web_reg_save_param_attrib -----

TEST(ExtendedRegSaveParamAttrib, SelectingAttributesAreKeptBesideTheRequiredOnes) {
    Outcome o = Parse("web_reg_save_param_attrib",
                      {"ParamName=FormAction", "TagName=form", "Extract=action", "Name=token",
                       "Type=hidden", "SEARCH_FILTERS", "IgnoreRedirections=No", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegSaveParamAttrib>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetTagName(), "form");
    EXPECT_EQ(step->GetExtract(), "action");
    MString name;
    EXPECT_TRUE(step->GetAttributes().GetAttribute("Type", name));
    EXPECT_EQ(name, "hidden");
    EXPECT_EQ(step->GetSearchFilter("IgnoreRedirections"), "No");
}

TEST(ExtendedRegSaveParamAttrib, EachRequiredAttributeIsRequired) {
    EXPECT_EQ(Error("web_reg_save_param_attrib", {"TagName=a", "Extract=href", "LAST"}),
              "1000|text=ParamName");
    EXPECT_EQ(Error("web_reg_save_param_attrib", {"ParamName=A", "Extract=href", "LAST"}),
              "1000|text=TagName");
    EXPECT_EQ(Error("web_reg_save_param_attrib", {"ParamName=A", "TagName=a", "LAST"}),
              "1000|text=Extract");
    EXPECT_EQ(Error("web_reg_save_param_attrib",
                    {"ParamName=A", "TagName=a", "Extract=href", "NotFound=skip", "LAST"}),
              "1003|attribute=NotFound|text=skip");
}

// ----- web_rest -----

TEST(ExtendedRest, RecordedCallWithHeadersFillsTheStep) {
    Outcome o = Parse(
        "web_rest", {"quote", "URL=https://tickets.example.com/api/checkout/quote", "Method=POST",
                     "EncType=raw", "Snapshot=t27.inf", "Body={\"cartId\":\"{CartId}\"}", "HEADERS",
                     "Name=Content-Type", "Value=application/json", "ENDHEADER", "Name=Accept",
                     "Value=application/json", "ENDHEADER", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRest>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(o.stepName, "quote");
    EXPECT_EQ(step->GetUrl(), "https://tickets.example.com/api/checkout/quote");
    EXPECT_EQ(step->GetMethod(), "POST");
    EXPECT_EQ(step->GetBody(), "{\"cartId\":\"{CartId}\"}");
    ASSERT_EQ(step->GetHeaders().size(), 2u);
    EXPECT_EQ(step->GetHeaders()[1].first, "Accept");
    EXPECT_EQ(step->GetHeaders()[1].second, "application/json");
}

TEST(ExtendedRest, RequiredAttributesMethodTableAndHeaderItems) {
    EXPECT_EQ(Error("web_rest", {"s", "Method=GET", "LAST"}), "1000|text=URL");
    EXPECT_EQ(Error("web_rest", {"s", "URL=http://a/", "LAST"}), "1000|text=Method");
    EXPECT_EQ(Error("web_rest", {"s", "URL=http://a/", "Method=FETCH", "LAST"}),
              "1003|attribute=Method|text=FETCH");
    EXPECT_EQ(Error("web_rest", {"s", "URL=http://a/", "Method=get", "LAST"}), "");
    EXPECT_EQ(Error("web_rest",
                    {"s", "URL=http://a/", "Method=GET", "HEADERS", "Name=A", "ENDHEADER", "LAST"}),
              "1000|text=Value|argument=6");
    EXPECT_EQ(Error("web_rest",
                    {"s", "URL=http://a/", "Method=GET", "HEADERS", "Name=A", "Value=1", "LAST"}),
              "1011|text=ENDHEADER|argument=7");
    EXPECT_EQ(
        Error("web_rest", {"s", "URL=http://a/", "Method=GET", "HEADERS", "Header=A", "LAST"}),
        "1001|text=Header|argument=5");
    EXPECT_EQ(Error("web_rest", {"s", "URL=http://a/", "Method=GET", "ENDHEADER", "LAST"}),
              "1001|text=ENDHEADER|argument=4");
}

// ----- parameters written by the script -----

TEST(ExtendedSaveTimestampParam, TheParameterNameComesFirst) {
    Outcome o = Parse("web_save_timestamp_param", {"TimeStamp", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    ASSERT_NE(o.As<CWebStepSaveTimestampParam>(), nullptr);
    EXPECT_EQ(o.As<CWebStepSaveTimestampParam>()->GetParamName(), "TimeStamp");
    EXPECT_EQ(o.stepName, "web_save_timestamp_param TimeStamp");
    EXPECT_EQ(Error("web_save_timestamp_param", {"LAST"}), "1008");
    EXPECT_EQ(Error("web_save_timestamp_param", {}), "1009");
    EXPECT_EQ(Error("web_save_timestamp_param", {"ts", "Base=10", "LAST"}), "1001|text=Base");
}

TEST(ExtendedSaveParamLength, BaseIsDecimalOrHexadecimal) {
    Outcome o = Parse("web_save_param_length", {"Token", "Base=Hexadecimal", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepSaveParamLengthEx>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetParamName(), "Token");
    EXPECT_EQ(step->GetConversionBase(), "Hexadecimal");
    Outcome plain = Parse("web_save_param_length", {"Token", "LAST"});
    ASSERT_TRUE(plain.ok);
    EXPECT_EQ(plain.As<CWebStepSaveParamLengthEx>()->GetConversionBase(), "Decimal");
    EXPECT_EQ(Error("web_save_param_length", {"Token", "Base=Octal", "LAST"}),
              "1003|attribute=Base|text=Octal");
    EXPECT_EQ(Error("web_save_param_length", {"LAST"}), "1008");
}

TEST(ExtendedConvertDateParam, BothFormatsAreRequired) {
    Outcome o = Parse("web_convert_date_param",
                      {"HireDate", "SourceFormat=%Y-%m-%d", "TargetFormat=%d/%m/%Y",
                       "TargetParameter=HireDateUk", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepConvertDateParam>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetParamName(), "HireDate");
    EXPECT_EQ(step->GetSourceFormat(), "%Y-%m-%d");
    EXPECT_EQ(step->GetTargetFormat(), "%d/%m/%Y");
    EXPECT_EQ(step->GetTargetParameterName(), "HireDateUk");
    EXPECT_EQ(Error("web_convert_date_param", {"D", "TargetFormat=%Y", "LAST"}),
              "1000|text=SourceFormat");
    EXPECT_EQ(Error("web_convert_date_param", {"D", "SourceFormat=%Y", "LAST"}),
              "1000|text=TargetFormat");
}

// ----- asynchronous conversations -----

TEST(ExtendedRegAsyncAttributes, RecordedCallKeepsCallbacksAndUrlOptions) {
    Outcome o = Parse("web_reg_async_attributes",
                      {"ID=Poll_0", "Pattern=Poll", "URL/RE/IC=https://tickets.example.com/api/.*",
                       "PollIntervalMs=5000", "RequestCB=Poll_0_RequestCB",
                       "ResponseCB=Poll_0_ResponseCB", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegAsyncAttributes>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(o.stepName, "web_reg_async_attributes Poll_0");
    EXPECT_EQ(step->GetUrl(), "https://tickets.example.com/api/.*");
    EXPECT_EQ(step->GetUrlFlags(), AUF_REGULAR_EXPRESSION | AUF_IGNORE_CASE);
    EXPECT_EQ(step->GetPattern(), "Poll");
    MString callback;
    EXPECT_TRUE(step->GetAttributes().GetAttribute("ResponseCB", callback));
    EXPECT_EQ(callback, "Poll_0_ResponseCB");
}

TEST(ExtendedRegAsyncAttributes, RequiredAttributesAndValueTables) {
    EXPECT_EQ(Error("web_reg_async_attributes", {"Pattern=Push", "URL=http://a/", "LAST"}),
              "1000|text=ID");
    EXPECT_EQ(Error("web_reg_async_attributes", {"ID=A", "Pattern=Push", "LAST"}), "1000|text=URL");
    EXPECT_EQ(Error("web_reg_async_attributes", {"ID=A", "URL=http://a/", "LAST"}),
              "1000|text=Pattern");
    EXPECT_EQ(
        Error("web_reg_async_attributes", {"ID=A", "URL=http://a/", "Pattern=Stream", "LAST"}),
        "1003|attribute=Pattern|text=Stream");
    EXPECT_EQ(Error("web_reg_async_attributes",
                    {"ID=A", "URL=http://a/", "Pattern=Poll", "PollIntervalMs=5s", "LAST"}),
              "1006|text=5s");
    EXPECT_EQ(Error("web_reg_async_attributes",
                    {"ID=A", "URL=http://a/", "Pattern=Poll", "CrossStep=1", "LAST"}),
              "1005|text=1");
    EXPECT_EQ(
        Error("web_reg_async_attributes", {"ID=A", "URL/X=http://a/", "Pattern=Poll", "LAST"}),
        "1002|text=URL/X");
    EXPECT_EQ(Error("web_reg_async_attributes",
                    {"ID=A", "URL=http://a/", "Pattern=Poll", "Callback=f", "LAST"}),
              "1001|text=Callback");
}

TEST(ExtendedStopAsync, TheIdIsRequired) {
    Outcome o = Parse("web_stop_async", {"ID=Poll_1", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.As<CWebStepStopAsync>()->GetID(), "Poll_1");
    EXPECT_EQ(Error("web_stop_async", {"LAST"}), "1000|text=ID");
    EXPECT_EQ(Error("web_stop_async", {"ID=", "LAST"}), "1003|attribute=ID|text=");
    EXPECT_EQ(Error("web_stop_async", {"ID=1", "URL=x", "LAST"}), "1001|text=URL");
}

TEST(ExtendedSync, ExactlyOneConditionIsRequired) {
    Outcome o = Parse("web_sync",
                      {"ParamExists=Token", "RetryIntervalMs=100", "RetryTimeoutMs=5000", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.As<CWebStepSync>()->GetParamExists(), "Token");
    EXPECT_EQ(Error("web_sync", {"RetryIntervalMs=100", "LAST"}),
              "1000|text=ParamExists|ParamNotExists");
    EXPECT_EQ(Error("web_sync", {"ParamExists=A", "ParamNotExists=B", "LAST"}),
              "1003|attribute=ParamNotExists|text=B");
    EXPECT_EQ(Error("web_sync", {"ParamExists=A", "RetryTimeoutMs=long", "LAST"}),
              "1006|text=long");
}

// ----- JavaScript -----

TEST(ExtendedJsRun, RecordedCallWithSources) {
    Outcome o =
        Parse("web_js_run", {"Code=calcChecksum('{CartId}')", "ResultParam=Signature", "SOURCES",
                             "File=helpers.js", "ENDITEM", "File=sign.js", "ENDITEM", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepJsRun>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetCode(), "calcChecksum('{CartId}')");
    EXPECT_EQ(step->GetResultParam(), "Signature");
    EXPECT_EQ(step->GetSources(), (std::list<MString>{"helpers.js", "sign.js"}));
}

TEST(ExtendedJsRun, CodeOrFileIsRequiredAndItemsAreClosed) {
    EXPECT_EQ(Error("web_js_run", {"File=main.js", "LAST"}), "");
    EXPECT_EQ(Error("web_js_run", {"ResultParam=R", "LAST"}), "1000|text=Code|File");
    EXPECT_EQ(Error("web_js_run", {"Code=1", "File=a.js", "LAST"}),
              "1003|attribute=File|text=a.js");
    EXPECT_EQ(Error("web_js_run", {"Code=1", "SOURCES", "File=a.js", "LAST"}),
              "1011|text=ENDITEM|argument=4");
    EXPECT_EQ(Error("web_js_run", {"Code=1", "SOURCES", "Path=a.js", "ENDITEM", "LAST"}),
              "1001|text=Path|argument=3");
    EXPECT_EQ(Error("web_js_run", {"Code=1", "SOURCES", "ENDITEM", "LAST"}),
              "1001|text=ENDITEM|argument=3");
}

TEST(ExtendedJsReset, TakesNoArguments) {
    Outcome o = Parse("web_js_reset", {});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_NE(o.As<CWebStepJsReset>(), nullptr);
    EXPECT_EQ(Error("web_js_reset", {"LAST"}), "1010");
}

// ----- filters and run-time keys -----

TEST(ExtendedFilters, ActionAndExactlyOneCriterion) {
    Outcome o = Parse("web_add_auto_filter", {"Action=Exclude", "Host=ads.example.com", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepAddAutoFilter>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetAction(), "Exclude");
    EXPECT_EQ(step->GetCriterion(), "Host");
    EXPECT_EQ(step->GetCriterionValue(), "ads.example.com");
    EXPECT_NE(Parse("web_add_filter", {"Action=Include", "UrlPrefix=https://a/", "LAST"})
                  .As<CWebStepAddFilter>(),
              nullptr);
    EXPECT_NE(Parse("web_remove_auto_filter", {"Action=Exclude", "Host=ads.example.com", "LAST"})
                  .As<CWebStepRemoveAutoFilter>(),
              nullptr);
    for (const char* function :
         {"web_add_filter", "web_add_auto_filter", "web_remove_auto_filter"}) {
        EXPECT_EQ(Error(function, {"Host=a", "LAST"}), "1000|text=Action") << function;
        EXPECT_EQ(Error(function, {"Action=Drop", "Host=a", "LAST"}),
                  "1003|attribute=Action|text=Drop")
            << function;
        EXPECT_EQ(Error(function, {"Action=Include", "LAST"}),
                  "1000|text=Url|UrlPrefix|Host|Path|Port|Scheme|Query")
            << function;
        EXPECT_EQ(Error(function, {"Action=Include", "Host=a", "Path=/b", "LAST"}),
                  "1003|attribute=Path|text=/b")
            << function;
        EXPECT_EQ(Error(function, {"Action=Include", "Port=http", "LAST"}), "1006|text=http")
            << function;
    }
}

TEST(ExtendedSetRtsKey, KeyAndValueAreRequired) {
    Outcome o = Parse("web_set_rts_key", {"Key=HttpVer", "Value=1.1", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.As<CWebStepSetRtsKey>()->GetKey(), "HttpVer");
    EXPECT_EQ(Error("web_set_rts_key", {"Key=A", "Value=", "LAST"}), "");
    EXPECT_EQ(Error("web_set_rts_key", {"Value=1", "LAST"}), "1000|text=Key");
    EXPECT_EQ(Error("web_set_rts_key", {"Key=A", "LAST"}), "1000|text=Value");
}

// ----- conversions -----

TEST(ExtendedConvertFormatted, BothDirectionsRequireDataAndTarget) {
    Outcome to = Parse("web_convert_to_formatted",
                       {"RawData={Raw}", "TargetParam=Readable", "ChainName=Base64", "LAST"});
    ASSERT_TRUE(to.ok) << to.error;
    EXPECT_EQ(to.As<CWebStepConvertToFormatted>()->GetChainName(), "Base64");
    Outcome from =
        Parse("web_convert_from_formatted",
              {"FormattedData={Readable}", "TargetParam=Raw", "Extensions=gzip", "LAST"});
    ASSERT_TRUE(from.ok) << from.error;
    EXPECT_EQ(from.As<CWebStepConvertFromFormatted>()->GetExtensions(), "gzip");
    EXPECT_EQ(Error("web_convert_to_formatted", {"TargetParam=R", "LAST"}), "1000|text=RawData");
    EXPECT_EQ(Error("web_convert_to_formatted", {"RawData=x", "LAST"}), "1000|text=TargetParam");
    EXPECT_EQ(Error("web_convert_from_formatted", {"TargetParam=R", "LAST"}),
              "1000|text=FormattedData");
    EXPECT_EQ(Error("web_convert_from_formatted", {"FormattedData=x", "LAST"}),
              "1000|text=TargetParam");
}

// ----- service calls -----

TEST(ExtendedServiceCall, ArgumentAndResultSections) {
    Outcome o = Parse(
        "web_service_call",
        {"StepName=GetQuote", "SOAPMethod=QuoteService.QuoteSoap.GetQuote",
         "ResponseParam=response", "ExpectedResponse=SoapResult", "BEGIN_ARGUMENTS", "symbol=ACME",
         "END_ARGUMENTS", "BEGIN_RESULT", "GetQuoteResult/price=Price", "END_RESULT", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepServiceCall>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(o.stepName, "web_service_call GetQuote");
    MString value;
    EXPECT_TRUE(step->GetArguments().GetAttribute("symbol", value));
    EXPECT_EQ(value, "ACME");
    EXPECT_TRUE(step->GetResults().GetAttribute("GetQuoteResult/price", value));
    EXPECT_EQ(value, "Price");
    EXPECT_EQ(Error("web_service_call", {"SOAPMethod=a.b", "LAST"}), "1000|text=StepName");
    EXPECT_EQ(Error("web_service_call", {"StepName=s", "LAST"}), "1000|text=SOAPMethod");
    EXPECT_EQ(
        Error("web_service_call", {"StepName=s", "SOAPMethod=a.b", "ExpectedResponse=Any", "LAST"}),
        "1003|attribute=ExpectedResponse|text=Any");
    EXPECT_EQ(Error("web_service_call",
                    {"StepName=s", "SOAPMethod=a.b", "BEGIN_ARGUMENTS", "x=1", "LAST"}),
              "1011|text=END_ARGUMENTS|argument=5");
}

// ----- WebSockets -----

TEST(ExtendedWebSocket, ConnectSendAndClose) {
    Outcome c = Parse("web_websocket_connect",
                      {"ID=0", "URI=wss://echo.example.org/", "Origin=https://example.org",
                       "OnOpenCB=OnOpenCB0", "OnMessageCB=OnMessageCB0", "LAST"});
    ASSERT_TRUE(c.ok) << c.error;
    EXPECT_EQ(c.As<CWebStepWebSocketConnect>()->GetURI(), "wss://echo.example.org/");
    EXPECT_EQ(Error("web_websocket_connect", {"URI=ws://a/", "LAST"}), "1000|text=ID");
    EXPECT_EQ(Error("web_websocket_connect", {"ID=0", "LAST"}), "1000|text=URI");
    EXPECT_EQ(Error("web_websocket_connect", {"ID=0", "URI=http://a/", "LAST"}),
              "1007|text=http://a/");

    Outcome s =
        Parse("web_websocket_send", {"ID=0", "Buffer={\"op\":\"ping\"}", "IsBinary=0", "LAST"});
    ASSERT_TRUE(s.ok) << s.error;
    EXPECT_EQ(s.As<CWebStepWebSocketSend>()->GetBuffer(), "{\"op\":\"ping\"}");
    EXPECT_EQ(Error("web_websocket_send", {"Buffer=x", "LAST"}), "1000|text=ID");
    EXPECT_EQ(Error("web_websocket_send", {"ID=0", "LAST"}), "1000|text=Buffer");
    EXPECT_EQ(Error("web_websocket_send", {"ID=0", "Buffer=x", "IsBinary=yes", "LAST"}),
              "1004|text=yes");

    Outcome x = Parse("web_websocket_close", {"ID=0", "Code=1000", "Reason=done", "LAST"});
    ASSERT_TRUE(x.ok) << x.error;
    EXPECT_EQ(x.As<CWebStepWebSocketClose>()->GetReason(), "done");
    EXPECT_EQ(Error("web_websocket_close", {"Code=1000", "LAST"}), "1000|text=ID");
    EXPECT_EQ(Error("web_websocket_close", {"ID=0", "Code=normal", "LAST"}), "1006|text=normal");
}

// ----- cache and cross-step downloads -----

TEST(ExtendedCache, DumpAndLoadNeedAFileName) {
    Outcome d =
        Parse("web_dump_cache", {"CacheFile", "FileName=c:\\temp\\cache", "Replace=yes", "LAST"});
    ASSERT_TRUE(d.ok) << d.error;
    EXPECT_EQ(d.As<CWebStepDumpCache>()->GetParamName(), "CacheFile");
    EXPECT_EQ(d.As<CWebStepDumpCache>()->GetFileName(), "c:\\temp\\cache");
    EXPECT_EQ(Error("web_dump_cache", {"P", "LAST"}), "1000|text=FileName");
    EXPECT_EQ(Error("web_dump_cache", {"P", "FileName=f", "Replace=always", "LAST"}),
              "1005|text=always");
    Outcome l = Parse("web_load_cache", {"CacheFile", "FileName=cache", "LAST"});
    ASSERT_TRUE(l.ok) << l.error;
    EXPECT_EQ(l.As<CWebStepLoadCache>()->GetFileName(), "cache");
    EXPECT_EQ(Error("web_load_cache", {"P", "LAST"}), "1000|text=FileName");
}

TEST(ExtendedRegCrossStepDownload, TheUrlIsRequired) {
    Outcome o =
        Parse("web_reg_cross_step_download", {"URL/RE=.*\\.mp4", "ContentType=video/mp4", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.As<CWebStepRegCrossStepDownload>()->GetUrl(), ".*\\.mp4");
    EXPECT_EQ(Error("web_reg_cross_step_download", {"ContentType=video/mp4", "LAST"}),
              "1000|text=URL");
}

// ----- the frame -----

TEST(ExtendedFrame, TheCallersStepIsFilledWithoutCreation) {
    auto parser = std::unique_ptr<CWebStepParse>(static_cast<CWebStepParse*>([] {
        CObjectRepository r;
        CWebStepParse::UpdateRepositoryExtended(r);
        return r.CreateObject("web_stop_async");
    }()));
    CWebStepStopAsync step;
    parser->SetDataStep(&step);
    std::vector<const char*> args = {"ID=7", "LAST"};
    EXPECT_TRUE(parser->ParseArguments(2, args.data(), WPF_NONE));
    parser->SetDataStep(nullptr);
    EXPECT_EQ(step.GetID(), "7");
}

TEST(ExtendedFrame, VariableArgumentListsEndAtLast) {
    CObjectRepository r;
    CWebStepParse::UpdateRepositoryExtended(r);
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(r.CreateObject("web_reg_save_param_ex")));
    EXPECT_TRUE(parser->ParseArgumentList(WPF_CREATE_STEP, "ParamName=A", "LB=x", "RB=y",
                                          "SEARCH_FILTERS", "Scope=Body", "LAST"));
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    EXPECT_NE(dynamic_cast<CWebStepRegSaveParamEx*>(step.get()), nullptr);
}

TEST(ExtendedValueTables, OrdinalNotFoundScopeAndFlagsOfEveryRuleThatHasThem) {
    EXPECT_EQ(
        Error("web_reg_save_param_regexp", {"ParamName=A", "RegExp=(a)", "Ordinal=any", "LAST"}),
        "1002|text=any");
    EXPECT_EQ(
        Error("web_reg_save_param_xpath", {"ParamName=A", "QueryString=/a", "NotFound=0", "LAST"}),
        "1003|attribute=NotFound|text=0");
    EXPECT_EQ(Error("web_reg_save_param_xpath",
                    {"ParamName=A", "QueryString=/a", "SEARCH_FILTERS", "Scope=Head", "LAST"}),
              "1003|attribute=Scope|text=Head");
    EXPECT_EQ(Error("web_reg_save_param_json",
                    {"ParamName=A", "QueryString=$.a", "SEARCH_FILTERS", "Scope=Json", "LAST"}),
              "1003|attribute=Scope|text=Json");
    EXPECT_EQ(Error("web_reg_save_param_attrib",
                    {"ParamName=A", "TagName=a", "Extract=href", "Ordinal=first", "LAST"}),
              "1002|text=first");
    EXPECT_EQ(
        Error("web_reg_save_param_attrib", {"ParamName=A", "TagName=a", "Extract=href",
                                            "SEARCH_FILTERS", "IgnoreRedirections=2", "LAST"}),
        "1005|text=2");
    EXPECT_EQ(Error("web_reg_async_attributes",
                    {"ID=A", "URL=http://a/", "Pattern=Poll", "XMLHttpRequest=true", "LAST"}),
              "1005|text=true");
}

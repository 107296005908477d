// The creators of the extended function set: each name makes an empty step
// of exactly its class, the 49 names stay as they are, and the extended step
// classes copy every field.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeinfo>

#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebStepCreate.h"
#include "webstep/steps/WebSteps.h"

namespace {

std::unique_ptr<CWebStepData> Create(CObjectRepository& repository, const char* name) {
    std::unique_ptr<CWebStepCreate> creator(
        static_cast<CWebStepCreate*>(repository.CreateObject(name)));
    if (!creator)
        return nullptr;
    return std::unique_ptr<CWebStepData>(creator->CreateStep());
}

}  // namespace

TEST(ExtendedCreators, EachNameMakesExactlyItsClass) {
    CObjectRepository repository;
    CWebStepCreate::UpdateRepositoryExtended(repository);
    const struct {
        const char* name;
        const std::type_info& type;
    } table[] = {
        {"web_reg_save_param_ex", typeid(CWebStepRegSaveParamEx)},
        {"web_reg_save_param_regexp", typeid(CWebStepRegSaveParamRegexp)},
        {"web_reg_save_param_json", typeid(CWebStepRegSaveParamJson)},
        {"web_reg_save_param_xpath", typeid(CWebStepRegSaveParamXpath)},
        {"web_reg_save_param_attrib", typeid(CWebStepRegSaveParamAttrib)},
        {"web_rest", typeid(CWebStepRest)},
        {"web_save_timestamp_param", typeid(CWebStepSaveTimestampParam)},
        {"web_save_param_length", typeid(CWebStepSaveParamLengthEx)},
        {"web_convert_date_param", typeid(CWebStepConvertDateParam)},
        {"web_reg_async_attributes", typeid(CWebStepRegAsyncAttributes)},
        {"web_stop_async", typeid(CWebStepStopAsync)},
        {"web_sync", typeid(CWebStepSync)},
        {"web_js_run", typeid(CWebStepJsRun)},
        {"web_js_reset", typeid(CWebStepJsReset)},
        {"web_add_filter", typeid(CWebStepAddFilter)},
        {"web_add_auto_filter", typeid(CWebStepAddAutoFilter)},
        {"web_remove_auto_filter", typeid(CWebStepRemoveAutoFilter)},
        {"web_set_rts_key", typeid(CWebStepSetRtsKey)},
        {"web_convert_to_formatted", typeid(CWebStepConvertToFormatted)},
        {"web_convert_from_formatted", typeid(CWebStepConvertFromFormatted)},
        {"web_service_call", typeid(CWebStepServiceCall)},
        {"web_websocket_connect", typeid(CWebStepWebSocketConnect)},
        {"web_websocket_send", typeid(CWebStepWebSocketSend)},
        {"web_websocket_close", typeid(CWebStepWebSocketClose)},
        {"web_reg_cross_step_download", typeid(CWebStepRegCrossStepDownload)},
        {"web_dump_cache", typeid(CWebStepDumpCache)},
        {"web_load_cache", typeid(CWebStepLoadCache)},
    };
    for (const auto& row : table) {
        std::unique_ptr<CWebStepData> step = Create(repository, row.name);
        ASSERT_NE(step, nullptr) << row.name;
        const CWebStepData& object = *step;
        EXPECT_EQ(typeid(object), row.type) << row.name;
    }
    EXPECT_EQ(repository.GetCount(), sizeof table / sizeof table[0]);
}

TEST(ExtendedCreators, CreatorAndParserSetsHaveTheSameNames) {
    CObjectRepository creators;
    CWebStepCreate::UpdateRepositoryExtended(creators);
    size_t count = 0;
    for (const char* const* name = CWebStepParse::GetExtendedFunctionNames(); *name; ++name) {
        ++count;
        EXPECT_NE(Create(creators, *name), nullptr) << *name;
    }
    EXPECT_EQ(count, creators.GetCount());
}

TEST(ExtendedCreators, TheFortyNineStayWithoutTheExtendedNames) {
    CObjectRepository standard;
    CWebStepCreate::UpdateRepository(standard);
    EXPECT_EQ(standard.GetCount(), 49u);
    EXPECT_EQ(standard.CreateObject("web_reg_save_param_ex"), nullptr);
    EXPECT_EQ(standard.CreateObject("web_rest"), nullptr);
    CObjectRepository both = standard;
    CWebStepCreate::UpdateRepositoryExtended(both);
    EXPECT_EQ(both.GetCount(), 49u + 27u);
}

TEST(ExtendedStepCopies, CopiesKeepEveryField) {
    CWebStepRegSaveParamEx rule;
    rule.SetParamName("Csrf");
    rule.SetLeft("a");
    rule.SetLeftBoundFlags(RSPF_IGNORE_CASE);
    rule.GetSearchFilters().AddAttribute("Scope", "Body", false);
    rule.SetEscapeingString(true);
    CWebStepRegSaveParamEx ruleCopy(rule);
    EXPECT_EQ(ruleCopy.GetParamName(), "Csrf");
    EXPECT_EQ(ruleCopy.GetLeft(), "a");
    EXPECT_EQ(ruleCopy.GetLeftBoundFlags(), RSPF_IGNORE_CASE);
    EXPECT_EQ(ruleCopy.GetSearchFilter("Scope"), "Body");
    EXPECT_TRUE(ruleCopy.GetEscapeingString());

    CWebStepRest rest;
    rest.SetUrl("http://a/");
    rest.AddHeader("Accept", "text/plain");
    CWebStepRest restCopy;
    restCopy = rest;
    EXPECT_EQ(restCopy.GetUrl(), "http://a/");
    ASSERT_EQ(restCopy.GetHeaders().size(), 1u);
    EXPECT_EQ(restCopy.GetHeaders()[0].second, "text/plain");

    CWebStepJsRun js;
    js.AddSource("a.js");
    EXPECT_EQ(CWebStepJsRun(js).GetSources().size(), 1u);

    CWebStepServiceCall service;
    service.GetArguments().AddAttribute("x", "1", false);
    CWebStepServiceCall serviceCopy(service);
    EXPECT_EQ(serviceCopy.GetArguments().GetNumItems(), 1u);

    CWebStepSaveParamLengthEx length;
    length.SetParamName("P");
    length.SetConversionBase("Decimal");
    CWebStepSaveParamLengthEx lengthCopy(length);
    EXPECT_EQ(lengthCopy.GetParamName(), "P");
    EXPECT_EQ(lengthCopy.GetConversionBase(), "Decimal");

    CWebStepAddAutoFilter filter;
    filter.SetCriterion("Host", "a");
    EXPECT_EQ(CWebStepAddAutoFilter(filter).GetCriterionValue(), "a");
}

TEST(ExtendedStepFields, AbsentAttributesReadAsEmptyAndNullTextsAsEmpty) {
    CWebStepSetRtsKey key;
    EXPECT_EQ(key.GetKey(), "");
    key.SetValue(nullptr);
    EXPECT_EQ(key.GetValue(), "");
    CWebStepDumpCache dump;
    dump.SetParamName(nullptr);
    EXPECT_EQ(dump.GetParamName(), "");
}

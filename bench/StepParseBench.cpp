// Parsing typical step calls through the parser repository, reading field
// lists into data sets, reading a recorded URL-encoded body, and decoding
// script tokens.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "webstep/forms/DataSet.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/script/WebStepScript.h"
#include "webstep/steps/WebStepData.h"

namespace {

CObjectRepository& Repository() {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        CWebStepParse::UpdateRepositoryExtended(r);
        return r;
    }();
    return repository;
}

struct Call {
    std::vector<std::string> storage;
    std::vector<const char*> args;
    void Add(std::string text) { storage.push_back(std::move(text)); }
    void Seal() {
        args.clear();
        for (const std::string& s : storage)
            args.push_back(s.c_str());
    }
};

Call WebUrlCall() {
    Call call;
    for (const char* a :
         {"home", "URL=https://catalogue.library.example.net/patron/login",
          "TargetFrame=", "Resource=0", "RecContentType=text/html",
          "Referer=https://catalogue.library.example.net/", "Snapshot=t1.inf", "Mode=HTML", "LAST"})
        call.Add(a);
    call.Seal();
    return call;
}

void AddSubmitDataItems(Call& call, int items) {
    for (int i = 0; i < items; ++i) {
        call.Add("Name=field" + std::to_string(i));
        call.Add("Value={Value" + std::to_string(i) + "}");
        call.Add("ENDITEM");
    }
}

Call WebSubmitDataCall(int items) {
    Call call;
    for (const char* a :
         {"login", "Action=https://catalogue.library.example.net/patron/login", "Method=POST",
          "RecContentType=text/html", "Referer=https://catalogue.library.example.net/patron/login",
          "Snapshot=t3.inf", "Mode=HTTP", "ITEMDATA"})
        call.Add(a);
    AddSubmitDataItems(call, items);
    call.Add("LAST");
    call.Seal();
    return call;
}

void ParseThroughRepository(benchmark::State& state, const char* function, Call& call) {
    for (auto _ : state) {
        std::unique_ptr<CWebStepParse> parser(
            static_cast<CWebStepParse*>(Repository().CreateObject(function)));
        bool ok = parser->ParseArguments(static_cast<unsigned int>(call.args.size()),
                                         call.args.data(), WPF_CREATE_STEP);
        delete parser->GetDataStep();
        benchmark::DoNotOptimize(ok);
    }
}

void BM_WebUrlThroughRepository(benchmark::State& state) {
    Call call = WebUrlCall();
    ParseThroughRepository(state, "web_url", call);
}
BENCHMARK(BM_WebUrlThroughRepository);

void BM_WebSubmitData30ItemsThroughRepository(benchmark::State& state) {
    Call call = WebSubmitDataCall(30);
    ParseThroughRepository(state, "web_submit_data", call);
}
BENCHMARK(BM_WebSubmitData30ItemsThroughRepository);

// The most frequent call of current script versions: a boundary rule with
// options and a filter section.
void BM_WebRegSaveParamExThroughRepository(benchmark::State& state) {
    Call call;
    for (const char* a : {"ParamName=Csrf", "LB/IC=name=\"csrf\" value=\"", "RB/IC=\"", "Ordinal=2",
                          "NotFound=warning", "SEARCH_FILTERS", "Scope=Body", "RequestUrl=*/login*",
                          "IgnoreRedirections=Yes", "LAST"})
        call.Add(a);
    call.Seal();
    ParseThroughRepository(state, "web_reg_save_param_ex", call);
}
BENCHMARK(BM_WebRegSaveParamExThroughRepository);

// The reading a submit-data step does: attributes up to ITEMDATA, then the
// item list into a data set.
class CSubmitDataReader : public CWebStepParse {
public:
    CAttributeSet attributes;
    CDataSet dataSet;

protected:
    bool __ParseArguments() override {
        static const char* attributeEnd[] = {KeyWord_ItemData, KeyWord_StartRes, KeyWord_LastItem,
                                             nullptr};
        static const char* itemEnd[] = {KeyWord_StartRes, KeyWord_LastItem, nullptr};
        int index = -1;
        GetWebStep().SetName(GetNextArgument());
        if (!BuildAttrSetFromArgList(attributes, attributeEnd, &index, false))
            return false;
        return index != 0 || BuildDataSetFromFieldList(dataSet, itemEnd, &index);
    }
};

void BM_SubmitData30ItemsAttributesAndFieldList(benchmark::State& state) {
    Call call = WebSubmitDataCall(30);
    for (auto _ : state) {
        CSubmitDataReader reader;
        bool ok = reader.ParseArguments(static_cast<unsigned int>(call.args.size()),
                                        call.args.data(), WPF_NONE);
        benchmark::DoNotOptimize(ok);
        if (reader.dataSet.GetNumElements() != 30)
            state.SkipWithError("items not read");
    }
}
BENCHMARK(BM_SubmitData30ItemsAttributesAndFieldList);

void BM_AddDataFromString100Fields(benchmark::State& state) {
    std::string body;
    for (int i = 0; i < 100; ++i) {
        if (i)
            body += "&";
        body += "field" + std::to_string(i) + "=some+value%2C+" + std::to_string(i) + "%40x";
    }
    CDataSet set;
    for (auto _ : state) {
        bool roundTripOk = false, atWasEscaped = false;
        set.AddDataFromString(body, "", false, false, roundTripOk, atWasEscaped, false, false);
        benchmark::DoNotOptimize(roundTripOk);
        if (set.GetNumElements() != 100)
            state.SkipWithError("fields not read");
    }
}
BENCHMARK(BM_AddDataFromString100Fields);

void BM_SetTokenValue(benchmark::State& state) {
    const char* token = "\"Body={\\\"user\\\":\\\"john\\\",\\\"pin\\\":\\\"{Pin}\\\"}\\r\\n\\x41\"";
    MString value;
    for (auto _ : state) {
        CWebStepScript::SetTokenValue(token, value);
        benchmark::DoNotOptimize(value.data());
    }
}
BENCHMARK(BM_SetTokenValue);

}  // namespace

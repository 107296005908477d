// The script reader hands each step call's arguments to the parser that the
// repository registers under the call's name.
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <set>
#include <string>

#include "webstep/platform/CodePage.h"
#include "webstep/script/ObjectRepository.h"
#include "webstep/script/ScriptReader.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/steps/WebSteps.h"

namespace {

CObjectRepository& Repository() {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        return r;
    }();
    return repository;
}

std::unique_ptr<CWebStepParse> Parser(const MString& function) {
    return std::unique_ptr<CWebStepParse>(
        static_cast<CWebStepParse*>(Repository().CreateObject(function.c_str())));
}

TEST(ScriptReaderParse, BuiltInStepNamesAreExactlyTheRepositoryNames) {
    std::vector<MString> names = CScriptReader::GetStepFunctionNames();
    EXPECT_EQ(names.size(), 49u);
    EXPECT_EQ(std::set<MString>(names.begin(), names.end()).size(), names.size());
    EXPECT_EQ(Repository().GetCount(), names.size());
    for (const MString& name : names) {
        EXPECT_TRUE(CScriptReader::IsRegisteredStepFunction(name)) << name;
        EXPECT_NE(Parser(name), nullptr) << name;
    }
}

TEST(ScriptReaderParse, RecordedScriptStepsParseThroughTheRepository) {
    webstep::platform::SetProcessCodePage(webstep::platform::CP_LATIN1);
    const std::string script =
        "Action()\r\n{\r\n"
        "\tweb_add_auto_header(\"Accept-Language\", \"en\");\r\n"
        "\tweb_reg_save_param(\"Token\", \"LB=name=\\\"t\\\" value=\\\"\", \"RB=\\\"\", LAST);\r\n"
        "\tweb_url(\"home\", \r\n\t\t\"URL=http://x.example/\", \r\n\t\t\"Resource=0\", \r\n"
        "\t\t\"Snapshot=t1.inf\", \r\n\t\tEXTRARES, \r\n\t\t\"Url=/a.gif\", ENDITEM, \r\n"
        "\t\tLAST);\r\n"
        "\tweb_submit_data(\"login\", \r\n\t\t\"Action=http://x.example/login\", \r\n"
        "\t\t\"Method=POST\", \r\n\t\tITEMDATA, \r\n"
        "\t\t\"Name=user\", \"Value={User}\", ENDITEM, \r\n"
        "\t\tLAST);\r\n"
        "\tweb_custom_request(\"bin\", \"URL=http://x.example/b\", \"Method=POST\",\r\n"
        "\t\t\"BodyBinary=\\\\x01\\\\x02abc\", LAST);\r\n"
        "\tweb_cleanup_cookies();\r\n"
        "\treturn 0;\r\n}\r\n";
    CScriptReader reader;
    ScriptReadResult result;
    ASSERT_TRUE(reader.Read(script, result));
    EXPECT_TRUE(result.diagnostics.empty());
    ASSERT_EQ(result.calls.size(), 6u);
    for (const ScriptCall& call : result.calls) {
        ASSERT_EQ(call.kind, EScriptCallKind::Step) << call.function;
        std::unique_ptr<CWebStepParse> parser = Parser(call.function);
        ASSERT_NE(parser, nullptr) << call.function;
        EXPECT_TRUE(parser->ParseArguments(call.GetArgumentList(), WPF_CREATE_STEP))
            << call.function << " at line " << call.line << " error "
            << parser->GetLastErrorInfo().GetCode();
        std::unique_ptr<CWebStepData> step(parser->GetDataStep());
        EXPECT_NE(step, nullptr) << call.function;
    }
    webstep::platform::SetProcessCodePage(0);
}

TEST(ScriptReaderParse, OpaqueArgumentIsHandedOverAsItsSourceText) {
    CScriptReader reader;
    ScriptReadResult result;
    ASSERT_TRUE(reader.Read(
        MString("web_url(\"shop.css\", \"URL=\" BASE_URL \"/status\", \"Resource=1\", LAST);"),
        result));
    ASSERT_EQ(result.calls.size(), 1u);
    ASSERT_TRUE(result.calls[0].HasOpaqueArguments());
    EXPECT_EQ(result.calls[0].arguments[1].value, "\"URL=\" BASE_URL \"/status\"");
    std::list<MString> list = result.calls[0].GetArgumentList();
    EXPECT_EQ(list, (std::list<MString>{"shop.css", "\"URL=\" BASE_URL \"/status\"", "Resource=1",
                                        "LAST"}));
}

}  // namespace

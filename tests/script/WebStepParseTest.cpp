// The parser frame: the three ways of receiving arguments, the cursor, the
// flags, and the frame that every registered parser applies.
#include "webstep/script/WebStepParse.h"

#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ParserProbe.h"
#include "webstep/script/WebParsers.h"
#include "webstep/steps/WebSteps.h"

namespace {

std::unique_ptr<CWebStepParse> Parser(const char* function) {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        return r;
    }();
    return std::unique_ptr<CWebStepParse>(
        static_cast<CWebStepParse*>(repository.CreateObject(function)));
}

bool ParseArray(CWebStepParse& parser, std::vector<const char*> args, WebParserFlags flags) {
    return parser.ParseArguments(static_cast<unsigned int>(args.size()), args.data(), flags);
}

}  // namespace

TEST(ParserCursor, FreshParserIsInArrayModeWithNothingToRead) {
    CProbeParser p;
    EXPECT_TRUE(p.IsArrayMode());
    EXPECT_EQ(p.GetArgumentCount(), 0u);
    EXPECT_EQ(p.GetArgumentIndex(), 0u);
    EXPECT_EQ(p.GetFlags(), WPF_NONE);
    EXPECT_EQ(p.GetNextArgument(), nullptr);
    EXPECT_EQ(ErrorText(p), "0");
    EXPECT_EQ(p.GetDataStep(), nullptr);
}

TEST(ParserCursor, ArrayModeReadsInOrderAndEndsWithNull) {
    CProbeParser p;
    std::vector<std::string> seen;
    p.body = [&](CProbeParser& self) {
        while (const char* a = self.GetNextArgument())
            seen.push_back(a);
        return true;
    };
    std::vector<const char*> args = {"a", "b", "LAST", "c"};
    ASSERT_TRUE(ParseArray(p, args, WPF_NONE));
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "b", "LAST", "c"}));
    EXPECT_EQ(p.GetArgumentIndex(), 4u);
}

TEST(ParserCursor, NullArrayReadsNothing) {
    CProbeParser p;
    int reads = 0;
    p.body = [&](CProbeParser& self) {
        while (self.GetNextArgument())
            ++reads;
        return true;
    };
    ASSERT_TRUE(p.ParseArguments(5, nullptr, WPF_NONE));
    EXPECT_EQ(reads, 0);
}

TEST(ParserCursor, VariableArgumentListIsReadUpToTheTerminator) {
    CProbeParser p;
    std::vector<std::string> seen;
    p.body = [&](CProbeParser& self) {
        EXPECT_FALSE(self.IsArrayMode());
        EXPECT_EQ(self.GetArgumentIndex(), 0u);
        return CProbeParser::ReadAll(self, seen);
    };
    ASSERT_TRUE(p.ParseArgumentList(WPF_CREATE_STEP, "step", "A=1", "Last"));
    EXPECT_EQ(seen, (std::vector<std::string>{"step", "A=1", "Last"}));
    EXPECT_EQ(p.GetFlags(), WPF_CREATE_STEP);
}

TEST(ParserCursor, ListFormBehavesAsTheArrayForm) {
    CProbeParser p;
    std::vector<std::string> seen;
    p.body = [&](CProbeParser& self) {
        EXPECT_TRUE(self.IsArrayMode());
        EXPECT_EQ(self.GetArgumentCount(), 3u);
        return CProbeParser::ReadAll(self, seen);
    };
    std::list<MString> args = {"x", "Y=2", "LAST"};
    ASSERT_TRUE(p.ParseArguments(args, WPF_NO_STEP_NAME));
    EXPECT_EQ(seen, (std::vector<std::string>{"x", "Y=2", "LAST"}));
    EXPECT_EQ(p.GetFlags(), WPF_NO_STEP_NAME);
}

TEST(ParserCursor, CopyArgumentsHandsOutDuplicates) {
    CProbeParser p;
    const char* original = "A=1";
    const char* fetched = nullptr;
    std::string text;
    p.body = [&](CProbeParser& self) {
        fetched = self.GetNextArgument();
        text = fetched;
        return true;
    };
    std::vector<const char*> args = {original};
    ASSERT_TRUE(ParseArray(p, args, WPF_COPY_ARGUMENTS));
    EXPECT_NE(fetched, original);
    EXPECT_EQ(text, "A=1");
    ASSERT_TRUE(ParseArray(p, args, WPF_NONE));
    EXPECT_EQ(fetched, original);
}

TEST(ParserCursor, ResultOfTheParseIsReturned) {
    CProbeParser p;
    p.body = [](CProbeParser&) { return false; };
    std::vector<const char*> args = {"a"};
    EXPECT_FALSE(ParseArray(p, args, WPF_NONE));
}

TEST(ParserCursor, EachParseStartsWithoutAnError) {
    auto parser = Parser("web_add_header");
    ASSERT_FALSE(ParseArray(*parser, {"a"}, WPF_NONE));
    EXPECT_EQ(parser->GetLastErrorInfo().GetCode(), 1008u);
    ASSERT_TRUE(ParseArray(*parser, {"a", "b"}, WPF_NONE));
    EXPECT_EQ(parser->GetLastErrorInfo().GetCode(), 0u);
}

TEST(ParserCursor, CopyOfAParserKeepsStepAndCursor) {
    CProbeParser p;
    std::vector<const char*> args = {"a", "b"};
    p.Feed(args, WPF_COPY_ARGUMENTS);
    p.GetNextArgument();
    CWebStepUrl step;
    p.SetDataStep(&step);
    CProbeParser copy(p);
    EXPECT_EQ(copy.GetDataStep(), &step);
    EXPECT_EQ(copy.GetArgumentIndex(), 1u);
    EXPECT_EQ(copy.GetFlags(), WPF_COPY_ARGUMENTS);
    EXPECT_STREQ(copy.GetNextArgument(), "b");
    CProbeParser assigned;
    assigned = p;
    EXPECT_EQ(assigned.GetArgumentCount(), 2u);
}

TEST(ParserRepository, RegistersAllFortyNineNames) {
    CObjectRepository repository;
    CWebStepParse::UpdateRepository(repository);
    EXPECT_EQ(repository.GetCount(), 49u);
}

TEST(ParserRepository, NamesAreCaseSensitive) {
    CObjectRepository repository;
    CWebStepParse::UpdateRepository(repository);
    EXPECT_EQ(repository.CreateObject("WEB_URL"), nullptr);
    EXPECT_EQ(repository.CreateObject("web_reg_save_param_ex"), nullptr);
    void* url = repository.CreateObject("web_url");
    ASSERT_NE(url, nullptr);
    CWebStepParse* parser = static_cast<CWebStepParse*>(url);
    EXPECT_NE(dynamic_cast<CWebParseUrl*>(parser), nullptr);
    delete parser;
}

TEST(ParserRepository, EachNameCreatesItsOwnParserClass) {
    auto parser = Parser("silverlight_web_request");
    EXPECT_NE(dynamic_cast<CWebParseSilverlightCustomRequest*>(parser.get()), nullptr);
    parser = Parser("web_global_verification_resume");
    EXPECT_NE(dynamic_cast<CWebParseGlobalVerificationResume*>(parser.get()), nullptr);
}

TEST(ParserFrame, ParameterlessStepWithOneArgumentFailsWith1010) {
    auto parser = Parser("web_cleanup_cookies");
    EXPECT_FALSE(ParseArray(*parser, {"x"}, WPF_CREATE_STEP));
    EXPECT_EQ(ErrorText(*parser), "1010");
    EXPECT_EQ(parser->GetDataStep(), nullptr);
}

TEST(ParserFrame, ParameterlessStepWithoutArgumentsYieldsAnEmptyStep) {
    auto parser = Parser("web_cleanup_cookies");
    ASSERT_TRUE(ParseArray(*parser, {}, WPF_CREATE_STEP));
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    EXPECT_NE(dynamic_cast<CWebStepCleanupCookies*>(step.get()), nullptr);
}

TEST(ParserFrame, MaxHtmlParamLenWithoutArgumentFailsWith1008AndWithTwoWith1010) {
    auto parser = Parser("web_set_max_html_param_len");
    EXPECT_FALSE(ParseArray(*parser, {}, WPF_NONE));
    EXPECT_EQ(ErrorText(*parser), "1008");
    EXPECT_FALSE(ParseArray(*parser, {"1", "2"}, WPF_NONE));
    EXPECT_EQ(ErrorText(*parser), "1010");
    EXPECT_TRUE(ParseArray(*parser, {"1024"}, WPF_NONE));
}

TEST(ParserFrame, AddHeaderWithOneArgumentRecords1008AndWithThree1010) {
    auto parser = Parser("web_add_header");
    EXPECT_FALSE(ParseArray(*parser, {"a"}, WPF_NONE));
    EXPECT_EQ(ErrorText(*parser), "1008");
    EXPECT_FALSE(ParseArray(*parser, {"a", "b", "c"}, WPF_NONE));
    EXPECT_EQ(ErrorText(*parser), "1010");
}

TEST(ParserFrame, EnableKeepAliveWithAnyArgumentRecords1010) {
    auto parser = Parser("web_enable_keep_alive");
    EXPECT_FALSE(ParseArray(*parser, {"LAST"}, WPF_NONE));
    EXPECT_EQ(ErrorText(*parser), "1010");
}

TEST(ParserFrame, AttributeStepWithEmptyArrayFailsWith1009) {
    auto parser = Parser("web_url");
    EXPECT_FALSE(ParseArray(*parser, {}, WPF_CREATE_STEP));
    EXPECT_EQ(ErrorText(*parser), "1009");
}

TEST(ParserFrame, CountsAreNotCheckedInVariableArgumentMode) {
    auto parser = Parser("web_set_max_html_param_len");
    // A fixed-count step reads its one value and stops.
    ASSERT_TRUE(parser->ParseArgumentList(WPF_NONE, "1024"));
    auto url = Parser("web_url");
    ASSERT_TRUE(url->ParseArgumentList(WPF_NONE, "home", "URL=http://x/", "LAST"));
    EXPECT_EQ(url->GetWebStep().GetName(), "home");
}

TEST(ParserFrame, StepNameIsTheFirstArgumentUnlessFlagged) {
    auto parser = Parser("web_submit_data");
    ASSERT_TRUE(ParseArray(*parser, {"login", "Action=x", "LAST"}, WPF_NONE));
    EXPECT_EQ(parser->GetWebStep().GetName(), "login");
    auto unnamed = Parser("web_submit_data");
    ASSERT_TRUE(ParseArray(*unnamed, {"Action=x", "LAST"}, WPF_NO_STEP_NAME));
    EXPECT_EQ(unnamed->GetWebStep().GetName(), "");
}

TEST(ParserFrame, SaveParamNamesTheStepAfterItsParameterWhateverTheFlags) {
    auto parser = Parser("web_reg_save_param");
    ASSERT_TRUE(ParseArray(*parser, {"SessionId", "LB=a", "RB=b", "LAST"}, WPF_NO_STEP_NAME));
    EXPECT_EQ(parser->GetWebStep().GetName(), "web_reg_save_param SessionId");
}

TEST(ParserFrame, CreatedStepHasTheParsersClassAndGoesToTheSlot) {
    auto parser = Parser("flex_web_request");
    ASSERT_TRUE(ParseArray(*parser, {"amf", "URL=x", "Method=POST", "LAST"}, WPF_CREATE_STEP));
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    EXPECT_NE(dynamic_cast<CWebStepFlexCustomRequest*>(step.get()), nullptr);
}

TEST(ParserFrame, WithoutCreationTheCallersStepStaysInTheSlot) {
    auto parser = Parser("web_link");
    CWebStepLink step;
    parser->SetDataStep(&step);
    ASSERT_TRUE(ParseArray(*parser, {"go", "Text=Next", "LAST"}, WPF_NONE));
    EXPECT_EQ(parser->GetDataStep(), &step);
}

TEST(ParserFrame, FailedParseCreatesNoStep) {
    auto parser = Parser("web_set_timeout");
    EXPECT_FALSE(ParseArray(*parser, {"CONNECT"}, WPF_CREATE_STEP));
    EXPECT_EQ(parser->GetDataStep(), nullptr);
}

TEST(ParserFrame, CopyArgumentsGivesTheSameResult) {
    auto parser = Parser("web_url");
    ASSERT_TRUE(ParseArray(*parser, {"home", "URL=http://x/", "LAST"},
                           WPF_CREATE_STEP | WPF_COPY_ARGUMENTS));
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    EXPECT_EQ(parser->GetWebStep().GetName(), "home");
}

namespace {

// The argument layout of each function: 'A' attribute list (an empty array
// records 1009), 'N' no arguments, a digit: exactly that many values (fewer
// record 1008, more 1010), 'S' plus a digit: exactly that many, any other
// count records 1008.
struct Layout {
    const char* function;
    const char* shape;
};

const Layout kLayouts[] = {
    {"web_url", "A"},
    {"web_link", "A"},
    {"web_image", "A"},
    {"web_submit_form", "A"},
    {"web_submit_data", "A"},
    {"web_custom_request", "A"},
    {"web_find", "A"},
    {"web_image_check", "A"},
    {"web_java_check", "A"},
    {"web_set_proxy", "1"},
    {"web_set_secure_proxy", "1"},
    {"web_set_user", "3"},
    {"web_add_header", "2"},
    {"web_add_auto_header", "2"},
    {"web_cleanup_auto_headers", "N"},
    {"web_set_proxy_bypass", "1"},
    {"web_set_connections_limit", "1"},
    {"web_enable_keep_alive", "N"},
    {"web_disable_keep_alive", "N"},
    {"web_set_timeout", "2"},
    {"web_create_html_param", "3"},
    {"web_set_max_html_param_len", "1"},
    {"web_add_cookie", "1"},
    {"web_remove_cookie", "1"},
    {"web_cleanup_cookies", "N"},
    {"web_set_certificate", "1"},
    {"web_get_int_property", "1"},
    {"web_save_header", "2"},
    {"web_create_html_param_ex", "4"},
    {"web_set_proxy_bypass_local", "1"},
    {"web_cache_cleanup", "N"},
    {"web_concurrent_start", "1"},
    {"web_concurrent_end", "1"},
    {"web_reg_save_param", "A"},
    {"web_set_max_retries", "1"},
    {"web_set_certificate_ex", "A"},
    {"web_set_sockets_option", "2"},
    {"web_reg_find", "A"},
    {"web_remove_auto_header", "S3"},
    {"web_revert_auto_header", "1"},
    {"web_sjis_to_euc_param", "2"},
    {"web_global_verification", "A"},
    {"web_reg_add_cookie", "3"},
    {"web_convert_param", "A"},
    {"web_add_cookie_ex", "S3"},
    {"web_global_verification_pause", "A"},
    {"web_global_verification_resume", "A"},
    {"flex_web_request", "A"},
    {"silverlight_web_request", "A"},
};

// Functions whose parsers read their own grammar beyond the frame: neutral
// values are not valid calls of theirs, so only the empty array is checked
// here (their own tests cover the rest).
bool HasOwnGrammar(const std::string& function) {
    static const std::set<std::string> functions = {
        "web_url",         "web_link",           "web_image",        "web_submit_form",
        "web_submit_data", "web_custom_request", "flex_web_request", "silverlight_web_request"};
    return functions.count(function) != 0;
}

unsigned int Code(CWebStepParse& parser, unsigned int count) {
    // Neutral values: pass the frame of every function.
    std::vector<std::string> storage;
    for (unsigned int i = 0; i < count; ++i)
        storage.push_back("{P" + std::to_string(i) + "}");
    std::vector<const char*> args;
    for (const std::string& s : storage)
        args.push_back(s.c_str());
    parser.ParseArguments(count, args.data(), WPF_CREATE_STEP);
    delete parser.GetDataStep();
    parser.SetDataStep(nullptr);
    return parser.GetLastErrorInfo().GetCode();
}

// Parsers with a grammar of their own may refuse the neutral values for
// another reason; only the count errors belong to the frame.
bool IsCountError(unsigned int code) {
    return code == 1008 || code == 1009 || code == 1010;
}

}  // namespace

TEST(ParserFrame, EveryFunctionChecksItsArgumentCountInArrayMode) {
    ASSERT_EQ(sizeof kLayouts / sizeof kLayouts[0], 49u);
    for (const Layout& layout : kLayouts) {
        SCOPED_TRACE(layout.function);
        auto parser = Parser(layout.function);
        ASSERT_NE(parser, nullptr);
        const std::string shape = layout.shape;
        if (shape == "A" && HasOwnGrammar(layout.function)) {
            EXPECT_EQ(Code(*parser, 0), 1009u);
        } else if (shape == "A") {
            EXPECT_EQ(Code(*parser, 0), 1009u);
            EXPECT_FALSE(IsCountError(Code(*parser, 1)));
            EXPECT_FALSE(IsCountError(Code(*parser, 7)));
        } else if (shape == "N") {
            EXPECT_EQ(Code(*parser, 0), 0u);
            EXPECT_EQ(Code(*parser, 1), 1010u);
            EXPECT_EQ(Code(*parser, 2), 1010u);
        } else if (shape[0] == 'S') {
            const unsigned int n = static_cast<unsigned int>(shape[1] - '0');
            EXPECT_FALSE(IsCountError(Code(*parser, n)));
            EXPECT_EQ(Code(*parser, 0), 1008u);
            EXPECT_EQ(Code(*parser, n - 1), 1008u);
            EXPECT_EQ(Code(*parser, n + 1), 1008u);
        } else {
            const unsigned int n = static_cast<unsigned int>(shape[0] - '0');
            EXPECT_FALSE(IsCountError(Code(*parser, n)));
            EXPECT_EQ(Code(*parser, 0), 1008u);
            EXPECT_EQ(Code(*parser, n - 1), 1008u);
            EXPECT_EQ(Code(*parser, n + 1), 1010u);
            EXPECT_EQ(Code(*parser, n + 5), 1010u);
        }
    }
}

TEST(ParserFrame, EveryFunctionCreatesAStepWhenTheCountIsRight) {
    for (const Layout& layout : kLayouts) {
        SCOPED_TRACE(layout.function);
        if (HasOwnGrammar(layout.function))
            continue;
        auto parser = Parser(layout.function);
        const std::string shape = layout.shape;
        unsigned int n = shape == "A" ? 2 : shape == "N" ? 0 : shape.back() - '0';
        std::vector<const char*> args(n, "LAST");
        if (shape == "A")
            args[0] = "name";
        const bool ok = parser->ParseArguments(n, args.data(), WPF_CREATE_STEP);
        std::unique_ptr<CWebStepData> step(parser->GetDataStep());
        // A grammar of its own may refuse these texts, but never for their count.
        if (ok)
            EXPECT_NE(step, nullptr);
        else
            EXPECT_FALSE(IsCountError(parser->GetLastErrorInfo().GetCode()));
    }
}

TEST(ParserFrame, WithoutCreationAStepOfAnotherClassIsLeftUntouched) {
    auto parser = Parser("web_link");
    CWebStepSubmitData other;
    parser->SetDataStep(&other);
    ASSERT_TRUE(ParseArray(*parser, {"go", "Text=Next", "LAST"}, WPF_NONE));
    EXPECT_EQ(parser->GetDataStep(), &other);
}

TEST(ParserFrame, CreationReplacesTheSlotWithoutDeletingTheCallersStep) {
    auto parser = Parser("web_image");
    CWebStepImage callers;
    parser->SetDataStep(&callers);
    ASSERT_TRUE(ParseArray(*parser, {"img", "Src=a.gif", "LAST"}, WPF_CREATE_STEP));
    std::unique_ptr<CWebStepData> created(parser->GetDataStep());
    EXPECT_NE(created.get(), &callers);
    EXPECT_NE(dynamic_cast<CWebStepImage*>(created.get()), nullptr);
}

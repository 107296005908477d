// Hostile script text, step calls, URLs, INI files and escaped data: a step
// call with a million arguments, a 1 MB URL, an INI file with a 10 MB line,
// very long tokens, and broken multi-byte text in every code page. Each is
// read without a crash, keeps its content, and costs time in proportion to
// its size.
#include <malloc.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "HostileSupport.h"
#include "webstep/foundation/BinaryDataHandler.h"
#include "webstep/platform/CodePage.h"
#include "webstep/platform/PrivateProfile.h"
#include "webstep/script/ObjectRepository.h"
#include "webstep/script/ScriptReader.h"
#include "webstep/script/WebStepParse.h"
#include "webstep/script/WebStepScript.h"
#include "webstep/settings/RunTimeSettings.h"
#include "webstep/steps/WebSteps.h"
#include "webstep/url/URLParser.h"

using webstep::test::MeasureScaling;
using webstep::test::PeakResidentBytes;
using webstep::test::Repeat;
using webstep::test::Sized;
namespace wp = webstep::platform;

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

// web_submit_data with items of three arguments each, up to the count.
std::vector<std::string> SubmitDataArguments(std::size_t count) {
    std::vector<std::string> args = {"s", "Action=http://example.org/post", "Method=POST",
                                     "ITEMDATA"};
    for (std::size_t i = 0; args.size() + 3 < count; ++i) {
        args.push_back("Name=n" + std::to_string(i));
        args.push_back("Value=v");
        args.push_back("ENDITEM");
    }
    args.push_back("LAST");
    return args;
}

// Parses the call; returns the number of data items of the step it built.
std::size_t ParseSubmitData(const std::vector<std::string>& args) {
    std::vector<const char*> pointers;
    pointers.reserve(args.size());
    for (const std::string& a : args)
        pointers.push_back(a.c_str());
    auto parser = Parser("web_submit_data");
    if (!parser->ParseArguments(static_cast<unsigned int>(pointers.size()), pointers.data(),
                                WPF_CREATE_STEP))
        return 0;
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    auto* submit = dynamic_cast<CWebStepSubmitData*>(step.get());
    return submit != nullptr ? submit->GetDataSet().GetNumElements() : 0;
}

std::string CallText(const std::vector<std::string>& args) {
    std::string text = "Action()\n{\n\tweb_submit_data(";
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (i != 0)
            text += ",\n\t\t";
        const bool marker = args[i] == "ITEMDATA" || args[i] == "ENDITEM" || args[i] == "LAST";
        text += marker ? args[i] : "\"" + args[i] + "\"";
    }
    return text + ");\n\treturn 0;\n}\n";
}

class ScratchFile {
public:
    explicit ScratchFile(const std::string& name) {
        m_dir = std::filesystem::temp_directory_path() /
                ("webstep-hostile-" + std::to_string(::getpid()) + "-" + name);
        std::filesystem::create_directories(m_dir);
        m_path = (m_dir / name).string();
    }
    ~ScratchFile() {
        std::error_code ec;
        std::filesystem::remove_all(m_dir, ec);
    }
    const std::string& path() const { return m_path; }
    void Write(const std::string& content) const {
        std::ofstream(m_path, std::ios::binary | std::ios::trunc) << content;
    }

private:
    std::filesystem::path m_dir;
    std::string m_path;
};

}  // namespace

// The named count is 1,000,000; under a sanitizer the call has 200,000.
TEST(HostileText, StepCallWithAMillionArgumentsIsParsedInLinearTime) {
    const std::size_t count = Sized(1000000, 200000);
    const auto args = SubmitDataArguments(count);
    const std::size_t items = (args.size() - 5) / 3;
    EXPECT_EQ(ParseSubmitData(args), items);

    const auto scaling = MeasureScaling(
        [&](std::size_t n) { ParseSubmitData(SubmitDataArguments(n)); }, Sized(30000, 10000), 10);
    EXPECT_LT(scaling.ratio(), 10 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

TEST(HostileText, ScriptWithAMillionArgumentCallIsReadInLinearTime) {
    const std::size_t count = Sized(1000000, 200000);
    const auto args = SubmitDataArguments(count);
    const std::string text = CallText(args);
    CScriptReader reader;
    ScriptReadResult result;
    ASSERT_TRUE(reader.Read(text, result));
    ASSERT_EQ(result.calls.size(), 1u);
    EXPECT_EQ(result.calls[0].arguments.size(), args.size());
    EXPECT_EQ(result.GetErrorCount(), 0u);
    auto parser = Parser("web_submit_data");
    EXPECT_TRUE(parser->ParseArguments(result.calls[0].GetArgumentList(), WPF_CREATE_STEP));
    delete parser->GetDataStep();

    const auto scaling = MeasureScaling(
        [&](std::size_t n) {
            ScriptReadResult r;
            reader.Read(CallText(SubmitDataArguments(n)), r);
        },
        Sized(30000, 10000), 10);
    EXPECT_LT(scaling.ratio(), 10 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

TEST(HostileText, ExtraResourceListOfAMillionArgumentsIsKept) {
    const std::size_t count = Sized(1000000, 200000);
    std::vector<std::string> args = {"home", "URL=http://example.org/", "EXTRARES"};
    while (args.size() + 2 < count) {
        args.push_back("Url=/r" + std::to_string(args.size()) + ".gif");
        args.push_back("ENDITEM");
    }
    args.push_back("LAST");
    std::vector<const char*> pointers;
    for (const std::string& a : args)
        pointers.push_back(a.c_str());
    auto parser = Parser("web_url");
    ASSERT_TRUE(parser->ParseArguments(static_cast<unsigned int>(pointers.size()), pointers.data(),
                                       WPF_CREATE_STEP));
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    auto* action = dynamic_cast<CWebActionStep*>(step.get());
    ASSERT_NE(action, nullptr);
    EXPECT_EQ(action->GetOutOfContextResources().GetNumElements(), (args.size() - 4) / 2);
}

TEST(HostileText, MillionArgumentsToAFixedCountFunctionAreRefusedQuickly) {
    std::vector<const char*> pointers(1000000, "x");
    auto parser = Parser("web_add_header");
    EXPECT_FALSE(parser->ParseArguments(static_cast<unsigned int>(pointers.size()), pointers.data(),
                                        WPF_CREATE_STEP));
    EXPECT_EQ(parser->GetLastErrorInfo().GetCode(), 1010u);
}

TEST(HostileText, OneMegabyteUrlIsSplitCombinedAndPrintedWhole) {
    const std::size_t size = 1u << 20;
    const std::string path = "/" + Repeat("segment/", size - 64).substr(0, size - 64) + "file.html";
    const std::string url = "http://example.org" + path + "?q=" + std::string(32, 'a') + "#frag";
    CURLParser parser;
    ASSERT_TRUE(parser.CreateFromAbsoluteURL(url.c_str()));
    EXPECT_EQ(parser.GetFullURLWithLabelAndSearch(), url);
    EXPECT_EQ(parser.GetFile(), "file.html");
    CURLParser relative;
    ASSERT_TRUE(relative.CreateFromRelativeURL(parser, ("x" + path).c_str()));
    EXPECT_GT(relative.GetFullURL().size(), size);

    // Dot segments by the thousand and a host of a megabyte.
    const std::string dots = "http://example.org/" + Repeat("a/./b/../", size) + "end";
    CURLParser dotted;
    ASSERT_TRUE(dotted.CreateFromAbsoluteURL(dots.c_str()));
    EXPECT_EQ(dotted.GetFile(), "end");
    CURLParser host;
    host.CreateFromAbsoluteURL(("http://" + std::string(size, 'h') + ".org/").c_str());
    EXPECT_LE(host.GetFullURL().size(), size + 32);

    const auto scaling = MeasureScaling(
        [&](std::size_t n) {
            const std::string url =
                "http://example.org/" + Repeat("a/./b/../", n) + "end?" + std::string(n, 'q');
            CURLParser p(url.c_str());
            MString text;
            p.ToStringRep(text, 3);
        },
        Sized(64u << 10, 16u << 10), 16);
    EXPECT_LT(scaling.ratio(), 16 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

TEST(HostileText, IniFileWithATenMegabyteLineIsReadAndRewrittenWhole) {
    ScratchFile file("long.ini");
    const std::size_t size = 10u << 20;
    const std::string value(size, 'v');
    file.Write("[WEB]\r\nHttpVer=1.1\r\nLong=" + value + "\r\n[Other]\r\nk=1\r\n");
    std::vector<char> buffer(size + 16);
    EXPECT_EQ(
        wp::GetPrivateProfileStringA("WEB", "Long", "", buffer.data(),
                                     static_cast<wp::DWORD>(buffer.size()), file.path().c_str()),
        size);
    EXPECT_EQ(std::string(buffer.data()), value);
    // A buffer too small takes the beginning of the value.
    char small[16];
    EXPECT_EQ(
        wp::GetPrivateProfileStringA("WEB", "Long", "", small, sizeof small, file.path().c_str()),
        15u);
    ASSERT_TRUE(wp::WritePrivateProfileStringA("Other", "k", "2", file.path().c_str()));
    EXPECT_EQ(
        wp::GetPrivateProfileStringA("WEB", "Long", "", buffer.data(),
                                     static_cast<wp::DWORD>(buffer.size()), file.path().c_str()),
        size);
    CRunTimeSettings settings;
    settings.ReadFromFile(file.path());
    EXPECT_EQ(settings.GetHttpVer(), "1.1");

    // A line of one key with no line end at all, and a section header that
    // long.
    file.Write("[" + std::string(size, 's') + "]\nk=" + value);
    EXPECT_EQ(
        wp::GetPrivateProfileStringA(std::string(size, 's').c_str(), "k", "", buffer.data(),
                                     static_cast<wp::DWORD>(buffer.size()), file.path().c_str()),
        size);

    // Large blocks are kept in the heap between runs, so that the kernel's
    // clearing of fresh pages, which grows faster than the size on this
    // machine, does not count as the reader's or writer's cost.
    ::mallopt(M_MMAP_THRESHOLD, 256 << 20);
    ::mallopt(M_TRIM_THRESHOLD, 512 << 20);
    const auto scaling = MeasureScaling(
        [&](std::size_t n) {
            file.Write("[s]\nk=" + std::string(n, 'v') + "\n");
            std::vector<char> b(n + 16);
            wp::GetPrivateProfileStringA("s", "k", "", b.data(), static_cast<wp::DWORD>(b.size()),
                                         file.path().c_str());
            wp::WritePrivateProfileStringA("s", "j", "1", file.path().c_str());
        },
        Sized(1u << 20, 256u << 10), 8);
    EXPECT_LT(scaling.ratio(), 8 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

TEST(HostileText, LongTokensAndEscapesDecodeInLinearTime) {
    const std::size_t size = Sized(10u << 20, 2u << 20);
    // A run of hexadecimal digits after one \x gives one byte.
    MString value;
    CWebStepScript::SetTokenValue(("\"\\x" + std::string(size, 'f') + "\"").c_str(), value);
    EXPECT_EQ(value.size(), 1u);
    CWebStepScript::SetTokenValue(("\"\\1" + std::string(size, '7') + "\"").c_str(), value);
    EXPECT_EQ(value.size(), 1u);
    CWebStepScript::SetTokenValue(std::string(size, '\\').c_str(), value);
    EXPECT_LE(value.size(), size / 2);

    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 131);
    MString escaped;
    CBinaryDataHandler::ConvertBinaryToAscii(reinterpret_cast<const unsigned char*>(bytes.data()),
                                             static_cast<unsigned int>(bytes.size()), escaped,
                                             false);
    char* decoded = nullptr;
    ASSERT_EQ(CBinaryDataHandler::ConvertAsciiToBinary(escaped.c_str(), &decoded, true),
              static_cast<int>(size));
    EXPECT_EQ(std::string(decoded, size), bytes);
    std::free(decoded);

    const auto scaling = MeasureScaling(
        [&](std::size_t n) {
            MString v;
            CWebStepScript::SetTokenValue(("\"" + Repeat("\\x41\\101\\n", n) + "\"").c_str(), v);
        },
        Sized(1u << 20, 256u << 10), 8);
    EXPECT_LT(scaling.ratio(), 8 * 4.0) << scaling.small << " s, " << scaling.large << " s";
}

TEST(HostileText, BrokenMultiByteTextInEveryCodePageIsReadWithoutHarm) {
    const std::vector<std::string> broken = {"\x81",     "\x83\"",       "\x83\\",       "\xFE",
                                             "\xFF\xFF", "\xE2\x82",     "\xF0\x9D\x84", "\xC0\xAF",
                                             "\x8F\xA1", "\x81\x30\x81", "\x80"};
    const unsigned int pages[] = {1252, 932, 936, 949, 950, 65001, 51932, 54936, 1251, 28591};
    CScriptReader reader;
    for (unsigned int codePage : pages) {
        wp::SetProcessCodePage(codePage);
        for (const std::string& bad : broken) {
            SCOPED_TRACE(std::to_string(codePage) + " " + ::testing::PrintToString(bad));
            const std::string text = "web_url(\"a" + bad + "\", \"URL=http://x/" + bad +
                                     "\", LAST);\nweb_link(\"b\", \"Text=" + bad + "\", LAST);\n" +
                                     "web_add_header(\"h\", \"" + bad;
            ScriptReadResult result;
            ASSERT_TRUE(reader.Read(text, result));
            // A quote or backslash among the bytes may break the C text, so
            // the calls are not counted; those read point into the text.
            for (const ScriptCall& call : result.calls)
                EXPECT_EQ(text.compare(call.offset, call.function.size(), call.function), 0);
            if (bad.find_first_of("\"\\") == std::string::npos) {
                EXPECT_GE(result.calls.size(), 2u);
            }
            MString value;
            CWebStepScript::SetTokenValue(("\"" + bad + "\"").c_str(), value);
            CWebStepScript::SetTokenValue(bad.c_str(), value);
            EXPECT_LE(value.size(), bad.size());
            MString escaped;
            CBinaryDataHandler::ConvertBinaryToAsciiEx(
                reinterpret_cast<const unsigned char*>(bad.data()),
                static_cast<unsigned int>(bad.size()), escaped, false, true);
            CURLParser url(("http://x/" + bad + "/./" + bad).c_str());
            MString path = "/a/" + bad;
            CURLParser::NormalizePath(path);
        }
    }
    wp::SetProcessCodePage(0);
}

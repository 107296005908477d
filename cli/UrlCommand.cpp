#include "UrlCommand.h"

#include "webstep/platform/WinInet.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

using namespace webstep::platform;

struct UrlOptions {
    std::string url;
    std::string base;
    std::string relative;
    bool json = false;
};

const char* SchemeName(INTERNET_SCHEME scheme) {
    switch (scheme) {
        case INTERNET_SCHEME_FTP:
            return "ftp";
        case INTERNET_SCHEME_GOPHER:
            return "gopher";
        case INTERNET_SCHEME_HTTP:
            return "http";
        case INTERNET_SCHEME_HTTPS:
            return "https";
        case INTERNET_SCHEME_FILE:
            return "file";
        case INTERNET_SCHEME_NEWS:
            return "news";
        case INTERNET_SCHEME_MAILTO:
            return "mailto";
        case INTERNET_SCHEME_SOCKS:
            return "socks";
        case INTERNET_SCHEME_JAVASCRIPT:
            return "javascript";
        case INTERNET_SCHEME_VBSCRIPT:
            return "vbscript";
        case INTERNET_SCHEME_RES:
            return "res";
        default:
            return "unknown";
    }
}

std::string ErrorText(DWORD error) {
    switch (error) {
        case ERROR_INTERNET_UNRECOGNIZED_SCHEME:
            return "unrecognized scheme: give an absolute URL such as http://host/path";
        case ERROR_INVALID_PARAMETER:
            return "invalid parameter: give a non-empty URL";
        case ERROR_INSUFFICIENT_BUFFER:
            return "insufficient buffer";
        default:
            return "error " + std::to_string(error);
    }
}

int Fail(const char* command, const char* verb, const std::string& input) {
    DWORD error = GetLastError();
    std::cerr << "webstep url " << command << ": cannot " << verb << " \"" << input << "\" ("
              << ErrorText(error) << ", code " << error << ")\n";
    return 1;
}

// Calls a canonicalise or combine function with a 256-byte buffer and, when
// that is too small, again with the size it asked for.
template <typename Call>
bool CallWithRetry(Call call, std::string& result) {
    std::vector<char> buffer(256);
    DWORD length = static_cast<DWORD>(buffer.size());
    if (!call(buffer.data(), &length)) {
        if (length <= buffer.size())
            return false;
        buffer.resize(length + 1);
        length = static_cast<DWORD>(buffer.size());
        if (!call(buffer.data(), &length))
            return false;
    }
    result.assign(buffer.data(), length);
    return true;
}

int RunCrack(const UrlOptions& options) {
    URL_COMPONENTSA parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwSchemeLength = parts.dwHostNameLength = parts.dwUserNameLength =
        parts.dwPasswordLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = DWORD(-1);
    if (!InternetCrackUrlA(options.url.c_str(), 0, 0, &parts))
        return Fail("crack", "split", options.url);
    auto text = [](const char* p, DWORD n) { return p ? std::string(p, n) : std::string(); };
    nlohmann::ordered_json out;
    out["scheme"] = text(parts.lpszScheme, parts.dwSchemeLength);
    out["scheme_number"] = static_cast<int>(parts.nScheme);
    out["scheme_name"] = SchemeName(parts.nScheme);
    out["host"] = text(parts.lpszHostName, parts.dwHostNameLength);
    out["port"] = parts.nPort;
    out["user"] = text(parts.lpszUserName, parts.dwUserNameLength);
    out["password"] = text(parts.lpszPassword, parts.dwPasswordLength);
    out["path"] = text(parts.lpszUrlPath, parts.dwUrlPathLength);
    out["extra"] = text(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    if (options.json) {
        std::cout << out.dump(2) << '\n';
    } else {
        for (auto& [key, value] : out.items()) {
            std::cout << key << ": "
                      << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
        }
    }
    return 0;
}

int PrintResult(const char* key, const std::string& result, bool json) {
    if (json) {
        std::cout << nlohmann::ordered_json{{key, result}}.dump(2) << '\n';
    } else {
        std::cout << result << '\n';
    }
    return 0;
}

int RunCanon(const UrlOptions& options) {
    std::string result;
    bool ok = CallWithRetry(
        [&](char* buffer, DWORD* length) {
            return InternetCanonicalizeUrlA(options.url.c_str(), buffer, length, ICU_NO_ENCODE);
        },
        result);
    if (!ok)
        return Fail("canon", "canonicalise", options.url);
    return PrintResult("canonical", result, options.json);
}

int RunCombine(const UrlOptions& options) {
    std::string result;
    bool ok = CallWithRetry(
        [&](char* buffer, DWORD* length) {
            return InternetCombineUrlA(options.base.c_str(), options.relative.c_str(), buffer,
                                       length, ICU_NO_ENCODE);
        },
        result);
    if (!ok)
        return Fail("combine", "combine", options.base + "\" and \"" + options.relative);
    return PrintResult("combined", result, options.json);
}

}  // namespace

void AddUrlCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<UrlOptions>();
    CLI::App* url =
        app.add_subcommand("url", "Split, combine and canonicalise URLs the way a replay does");
    url->require_subcommand(1, 1);
    url->footer(
        "Examples:\n"
        "  webstep url crack 'http://user:pw@example.com:8080/a/b?q=1#top'\n"
        "  webstep url combine http://example.com/a/b/c ../d?x=1\n"
        "  webstep url canon 'http://example.com/a/./b/../c'\n"
        "Each command's --help lists its options.");

    CLI::App* crack = url->add_subcommand(
        "crack",
        "Split a URL into scheme, host, port, user, password, path and extra information.\n"
        "  example: webstep url crack 'http://user:pw@example.com:8080/a/b?q=1#top'");
    crack->add_option("URL", options->url, "The URL to split")->required();
    crack->add_flag("--json", options->json, "Print the parts as a JSON object");
    crack->footer(
        "Examples:\n"
        "  webstep url crack 'http://user:pw@example.com:8080/a/b?q=1#top'\n"
        "  webstep url crack --json https://example.com/");
    crack->callback([options, exitCode] { *exitCode = RunCrack(*options); });

    CLI::App* combine =
        url->add_subcommand("combine",
                            "Resolve a relative URL against a base URL.\n"
                            "  example: webstep url combine http://example.com/a/b/c ../d?x=1");
    combine->add_option("BASE", options->base, "The base URL")->required();
    combine->add_option("REL", options->relative, "The relative URL")->required();
    combine->add_flag("--json", options->json, "Print the result as a JSON object");
    combine->footer(
        "Examples:\n"
        "  webstep url combine http://example.com/a/b/c ../d?x=1\n"
        "  webstep url combine --json http://example.com/a/ 'e f.html'");
    combine->callback([options, exitCode] { *exitCode = RunCombine(*options); });

    CLI::App* canon =
        url->add_subcommand("canon",
                            "Canonicalise a URL (dot segments, backslashes) without encoding it.\n"
                            "  example: webstep url canon 'http://example.com/a/./b/../c'");
    canon->add_option("URL", options->url, "The URL to canonicalise")->required();
    canon->add_flag("--json", options->json, "Print the result as a JSON object");
    canon->footer(
        "Examples:\n"
        "  webstep url canon 'http://example.com/a/./b/../c'\n"
        "  webstep url canon --json 'http://example.com/a\\b'");
    canon->callback([options, exitCode] { *exitCode = RunCanon(*options); });
}

}  // namespace webstep::cli

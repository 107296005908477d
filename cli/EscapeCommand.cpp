#include "EscapeCommand.h"

#include "webstep/foundation/BinaryDataHandler.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <string>

namespace webstep::cli {
namespace {

std::string ReadAll(std::istream& in) {
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool WriteAll(const char* data, size_t size) {
    return std::fwrite(data, 1, size, stdout) == size && std::fflush(stdout) == 0;
}

struct EscapeOptions {
    bool check = false;
    bool keepText = true;
};

// Exit codes of --check follow grep's habit inverted for "is it plain?":
// 0 when the input can stand in a script as it is, 1 when it needs escapes.
int RunEscape(const EscapeOptions& options) {
    std::string input = ReadAll(std::cin);
    const auto* bytes = reinterpret_cast<const unsigned char*>(input.data());
    MString out;
    bool needed = CBinaryDataHandler::ConvertBinaryToAsciiEx(
        bytes, static_cast<unsigned int>(input.size()), out, options.check, options.keepText);
    if (options.check) {
        std::cout << (needed ? "escaping needed" : "no escaping needed") << '\n';
        return needed ? 1 : 0;
    }
    if (!WriteAll(out.data(), out.size())) {
        std::cerr << "webstep escape: cannot write to standard output\n";
        return 2;
    }
    return 0;
}

int RunUnescape(bool unescapeBackslash) {
    std::string input = ReadAll(std::cin);
    if (input.find('\0') != std::string::npos) {
        std::cerr << "webstep unescape: the input holds a NUL byte; escaped script text never "
                     "does (escape the data first)\n";
        return 2;
    }
    char* result = nullptr;
    int length =
        CBinaryDataHandler::ConvertAsciiToBinary(input.c_str(), &result, unescapeBackslash);
    if (length < 0) {
        std::cerr << "webstep unescape: out of memory\n";
        return 2;
    }
    bool written = WriteAll(result, static_cast<size_t>(length));
    std::free(result);
    if (!written) {
        std::cerr << "webstep unescape: cannot write to standard output\n";
        return 2;
    }
    return 0;
}

}  // namespace

void AddEscapeCommands(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<EscapeOptions>();
    CLI::App* escape = app.add_subcommand(
        "escape",
        "Write standard input as script text: bytes that cannot stand in a script string become "
        "\\xHH, a backslash is doubled.\n"
        "  example: webstep escape < body.bin > body.txt\n"
        "  example: webstep escape --check < body.bin   (exit 0: plain text, 1: needs escapes)");
    escape->add_flag("--check", options->check,
                     "Only tell whether the input needs escapes; exit 0 when it does not, 1 when "
                     "it does");
    escape->add_flag("--keep-text,!--no-keep-text", options->keepText,
                     "Keep printable characters as they are (default); --no-keep-text escapes "
                     "every single-byte character");
    escape->footer(
        "Examples:\n"
        "  webstep escape < body.bin > body.txt        bytes to script text\n"
        "  webstep escape --check < body.bin           only the answer: exit 0 or 1\n"
        "  webstep escape --keep-text < body.bin       printable characters kept (default)\n"
        "  webstep escape --no-keep-text < body.bin    every single-byte character as \\xHH");
    escape->callback([options, exitCode] { *exitCode = RunEscape(*options); });

    auto unescapeBackslash = std::make_shared<bool>(true);
    CLI::App* unescape = app.add_subcommand(
        "unescape",
        "Turn script text on standard input back into bytes: \\xHH becomes the byte, a doubled "
        "backslash one backslash.\n"
        "  example: webstep unescape < body.txt > body.bin");
    unescape->add_flag("!--keep-double-backslash", *unescapeBackslash,
                       "Leave a doubled backslash as two backslashes");
    unescape->footer(
        "Examples:\n"
        "  webstep unescape < body.txt > body.bin\n"
        "  webstep unescape --keep-double-backslash < body.txt > body.bin");
    unescape->callback(
        [unescapeBackslash, exitCode] { *exitCode = RunUnescape(*unescapeBackslash); });
}

}  // namespace webstep::cli

#include "ScriptCheck.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "webstep/script/WebStepParse.h"

namespace webstep::cli {
namespace {

namespace fs = std::filesystem;

bool IsActionFile(const fs::path& path) {
    return path.extension() == ".c";
}

}  // namespace

bool IsValidUtf8(const MString& text, bool allowNul) {
    size_t i = 0;
    const size_t n = text.size();
    while (i < n) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == 0 && !allowNul)
            return false;
        size_t extra = 0;
        unsigned int cp = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            extra = 1;
            cp = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            extra = 2;
            cp = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            extra = 3;
            cp = c & 0x07;
        } else {
            return false;
        }
        if (i + extra >= n)
            return false;
        for (size_t k = 1; k <= extra; ++k) {
            const unsigned char t = static_cast<unsigned char>(text[i + k]);
            if ((t & 0xC0) != 0x80)
                return false;
            cp = (cp << 6) | (t & 0x3F);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
        if ((extra == 1 && cp < 0x80) || (extra == 2 && cp < 0x800) ||
            (extra == 3 && (cp < 0x10000 || cp > 0x10FFFF)) || (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += extra + 1;
    }
    return true;
}

namespace {

std::string Escaped(const MString& text, size_t limit, bool quote) {
    static const char hex[] = "0123456789abcdef";
    std::string out;
    if (quote)
        out += '"';
    const size_t n = limit != 0 ? std::min(limit, text.size()) : text.size();
    for (size_t i = 0; i < n; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        switch (c) {
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            case '"':
                out += quote ? "\\\"" : "\"";
                break;
            case '\\':
                out += quote ? "\\\\" : "\\";
                break;
            default:
                if (c < 0x20 || c == 0x7F) {
                    out += "\\x";
                    out += hex[c >> 4];
                    out += hex[c & 15];
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    if (quote)
        out += '"';
    if (n < text.size())
        out += "...";
    return out;
}

}  // namespace

void CollectActionFiles(const std::vector<std::string>& paths, std::vector<std::string>& files,
                        std::vector<std::string>& problems) {
    for (const std::string& given : paths) {
        std::error_code ec;
        const fs::path path(given);
        const fs::file_status status = fs::status(path, ec);
        if (ec || !fs::exists(status)) {
            problems.push_back("cannot read \"" + given + "\": no such file or folder");
            continue;
        }
        if (!fs::is_directory(status)) {
            files.push_back(given);
            continue;
        }
        std::vector<std::string> found;
        fs::recursive_directory_iterator it(path, fs::directory_options::skip_permission_denied,
                                            ec);
        if (ec) {
            problems.push_back("cannot list \"" + given + "\": " + ec.message());
            continue;
        }
        for (; it != fs::recursive_directory_iterator(); it.increment(ec)) {
            if (ec)
                break;
            std::error_code fileEc;
            if (it->is_regular_file(fileEc) && IsActionFile(it->path()))
                found.push_back(it->path().string());
        }
        if (ec)
            problems.push_back("cannot list \"" + given + "\": " + ec.message());
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    }
}

CScriptReader CStepRunner::MakeReader() const {
    const CStepParser* parser = &m_Parser;
    return CScriptReader([parser](const MString& name) { return parser->IsKnown(name); });
}

ParsedStep CStepRunner::Parse(const ScriptCall& call) {
    std::vector<const char*> args;
    args.reserve(call.arguments.size());
    for (const ScriptArgument& argument : call.arguments)
        args.push_back(argument.value.c_str());
    return m_Parser.Parse(call.function, args);
}

int ErrorArgumentIndex(const ParsedStep& parsed) {
    for (const auto& [name, value] : parsed.errorAttributes) {
        if (name != "argument")
            continue;
        char* end = nullptr;
        const long index = std::strtol(value.c_str(), &end, 10);
        if (end != value.c_str() && *end == '\0' && index >= 1 && index < 1000000)
            return static_cast<int>(index - 1);
    }
    return -1;
}

std::string DisplayText(const MString& text, size_t limit) {
    bool plain = !text.empty();
    for (unsigned char c : text)
        if (c < 0x21 || c == 0x7F || c == '"' || c == '\\' || c == ']') {
            plain = false;
            break;
        }
    return Escaped(text, limit, !plain);
}

std::string QuotedText(const MString& text, size_t limit) {
    return Escaped(text, limit, true);
}

OrderedJson JsonText(const MString& text) {
    if (IsValidUtf8(text))
        return text;
    static const char hex[] = "0123456789abcdef";
    std::string digits;
    digits.reserve(text.size() * 2);
    for (unsigned char c : text) {
        digits += hex[c >> 4];
        digits += hex[c & 15];
    }
    return OrderedJson{{"hex", digits}};
}

std::string DumpJson(const OrderedJson& value) {
    return value.dump(2, ' ', false, OrderedJson::error_handler_t::replace);
}

}  // namespace webstep::cli

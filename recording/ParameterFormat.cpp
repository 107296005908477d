#include "webstep/recording/ParameterFormat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr unsigned kMaxWidth = 64;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads a decimal number at text[pos], capped at kMaxWidth.
unsigned ReadCapped(std::string_view text, std::size_t& pos) {
    unsigned n = 0;
    while (pos < text.size() && IsDigit(text[pos])) {
        n = n * 10 + static_cast<unsigned>(text[pos] - '0');
        if (n > kMaxWidth)
            n = kMaxWidth;
        ++pos;
    }
    return n;
}

}  // namespace

std::string CParameterFormat::FormatInteger(std::string_view format, long long value) {
    if (format.empty())
        return std::to_string(value);
    std::string out;
    std::size_t i = 0;
    while (i < format.size()) {
        char c = format[i];
        if (c != '%') {
            out += c;
            ++i;
            continue;
        }
        std::size_t start = i;
        std::size_t pos = i + 1;
        if (pos < format.size() && format[pos] == '%') {
            out += '%';
            i = pos + 1;
            continue;
        }
        std::string flags;
        while (pos < format.size() && std::strchr("-+ #0", format[pos]) != nullptr &&
               format[pos] != '\0') {
            if (flags.find(format[pos]) == std::string::npos)
                flags += format[pos];
            ++pos;
        }
        bool hasWidth = pos < format.size() && IsDigit(format[pos]);
        unsigned width = ReadCapped(format, pos);
        bool hasPrecision = false;
        unsigned precision = 0;
        if (pos < format.size() && format[pos] == '.') {
            ++pos;
            hasPrecision = true;
            precision = ReadCapped(format, pos);
        }
        while (pos < format.size() && std::strchr("hljztL", format[pos]) != nullptr &&
               format[pos] != '\0')
            ++pos;
        if (pos >= format.size() || std::strchr("diuxXo", format[pos]) == nullptr ||
            format[pos] == '\0') {
            // Not an integer conversion: keep the text as written.
            std::size_t end = pos < format.size() ? pos + 1 : pos;
            out.append(format.substr(start, end - start));
            i = end;
            continue;
        }
        char conversion = format[pos];
        std::string conversionText = "%" + flags;
        if (hasWidth)
            conversionText += std::to_string(width);
        if (hasPrecision)
            conversionText += "." + std::to_string(precision);
        char buffer[2 * kMaxWidth + 32];
        int n;
        if (conversion == 'd' || conversion == 'i') {
            conversionText += "lld";
            n = std::snprintf(buffer, sizeof buffer, conversionText.c_str(), value);
        } else {
            conversionText += "ll";
            conversionText += conversion;
            n = std::snprintf(buffer, sizeof buffer, conversionText.c_str(),
                              static_cast<unsigned long long>(value));
        }
        if (n > 0)
            out.append(buffer,
                       std::min<std::size_t>(static_cast<std::size_t>(n), sizeof buffer - 1));
        i = pos + 1;
    }
    return out;
}

std::string CParameterFormat::FormatTime(std::string_view format, const std::tm& time) {
    if (format.empty())
        format = "%Y-%m-%d %H:%M:%S";
    static const char kCodes[] = "aAbBcdDeFHIjmMnprRStTuwyYzZ";
    std::string out;
    std::size_t i = 0;
    while (i < format.size()) {
        char c = format[i];
        if (c != '%' || i + 1 >= format.size()) {
            out += c;
            ++i;
            continue;
        }
        char code = format[i + 1];
        if (code == '%') {
            out += '%';
        } else if (code != '\0' && std::strchr(kCodes, code) != nullptr) {
            char conversionText[3] = {'%', code, '\0'};
            char buffer[128];
            std::size_t n = std::strftime(buffer, sizeof buffer, conversionText, &time);
            out.append(buffer, n);
        } else {
            out += '%';
            out += code;
        }
        i += 2;
    }
    return out;
}

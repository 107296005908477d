#include "webstep/resources/StringTable.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstring>
#include <string>

#include "webstep/platform/CharacterServices.h"
#include "webstep/platform/CodePage.h"

namespace webstep::resources {

namespace {

struct StringEntry {
    unsigned int id;
    const char* text;     // UTF-8
    const char* english;  // ASCII
};

// The table proper: exactly the sixteen messages, identifiers 22 to 37.
const StringEntry kStrings[] = {
    {22, "缺少请求的属性", "A required attribute is missing"},
    {23, "无法识别的关键字", "Unrecognized keyword"},
    {24, "属性中的语句错误", "Syntax error in an attribute"},
    {25, "为属性指定的值无效", "Invalid value specified for an attribute"},
    {26, "布尔值中的语句错误", "Syntax error in a boolean value"},
    {27, "数字中的语句错误", "Syntax error in a number"},
    {28, "“是/否”值中的语句错误", "Syntax error in a Yes/No value"},
    {29, "URL 规格中的语句错误", "Syntax error in a URL specification"},
    {30, "缺少请求的参数", "A required argument is missing"},
    {31, "语句指定错误，未提供参数", "Statement specified incorrectly, no arguments supplied"},
    {32, "遇到非预期参数", "Unexpected argument encountered"},
    {33, "遇到语句非预期的结束", "Unexpected end of statement encountered"},
    {34, "遇到重复属性值指定", "Attribute value specified more than once"},
    {35, "在语句中未找到有效的终止符", "No valid terminator found in the statement"},
    {36, "在 SUBMIT 指令中指定的方法无效", "Invalid method specified in the SUBMIT directive"},
    {37, "只为“Text”或同时为“TextPfx”和“TextSfx”指定非空值",
     "Specify a non-empty value either for \"Text\" alone or for both \"TextPfx\" and "
     "\"TextSfx\""},
};

const StringEntry* Find(unsigned int id) {
    for (const StringEntry& entry : kStrings) {
        if (entry.id == id) {
            return &entry;
        }
    }
    return nullptr;
}

// Converts UTF-8 text to the code page; false when ICU has no converter for
// it (the caller then falls back to the UTF-8 bytes).
bool ConvertFromUtf8(const char* utf8, unsigned int codePage, std::string& out) {
    if (codePage == platform::CP_UTF8) {
        out = utf8;
        return true;
    }
    const std::string name = platform::IcuConverterNameForCodePage(codePage);
    if (name.empty()) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name.c_str(), &status);
    if (U_FAILURE(status) || converter == nullptr) {
        return false;
    }
    // As the platform's wide-to-multibyte conversion does, unmappable
    // characters become a question mark.
    ucnv_setSubstChars(converter, "?", 1, &status);
    status = U_ZERO_ERROR;
    const int32_t utf8Length = static_cast<int32_t>(std::strlen(utf8));
    std::u16string wide(static_cast<std::size_t>(utf8Length) + 1, u'\0');
    int32_t wideLength = 0;
    u_strFromUTF8(wide.data(), static_cast<int32_t>(wide.size()), &wideLength, utf8, utf8Length,
                  &status);
    if (U_FAILURE(status)) {
        ucnv_close(converter);
        return false;
    }
    out.assign(static_cast<std::size_t>(wideLength) * 4 + 4, '\0');
    const int32_t length = ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()),
                                           wide.data(), wideLength, &status);
    ucnv_close(converter);
    if (U_FAILURE(status)) {
        return false;
    }
    out.resize(static_cast<std::size_t>(length));
    return true;
}

// Length in bytes of the character that starts at text[i] in the code page;
// an invalid or cut sequence counts as one byte.
std::size_t CharLength(const std::string& text, std::size_t i, unsigned int codePage) {
    const int n = platform::CharLength(codePage, text.data() + i, text.size() - i);
    return n > 0 ? static_cast<std::size_t>(n) : 1;
}

}  // namespace

const char* FindStringUtf8(unsigned int id) {
    const StringEntry* entry = Find(id);
    return entry != nullptr ? entry->text : nullptr;
}

const char* FindEnglishString(unsigned int id) {
    const StringEntry* entry = Find(id);
    return entry != nullptr ? entry->english : nullptr;
}

std::size_t LoadStringA(unsigned int id, char* buffer, unsigned long size, unsigned int codePage) {
    const StringEntry* entry = Find(id);
    if (entry == nullptr || buffer == nullptr || size == 0) {
        return 0;
    }
    if (codePage == 0) {
        codePage = platform::GetProcessCodePage();
    }
    std::string text;
    if (!ConvertFromUtf8(entry->text, codePage, text)) {
        // No converter for this code page: deliver the stored UTF-8 bytes.
        text = entry->text;
        codePage = platform::CP_UTF8;
    }
    std::size_t used = 0;
    while (used < text.size()) {
        const std::size_t n = CharLength(text, used, codePage);
        if (used + n > size - 1) {
            break;
        }
        used += n;
    }
    std::memcpy(buffer, text.data(), used);
    buffer[used] = '\0';
    return used;
}

}  // namespace webstep::resources

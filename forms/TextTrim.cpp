#include "webstep/forms/TextTrim.h"

#include "webstep/platform/CodePage.h"

namespace {

// Byte length of the character at text[i] (1 for an invalid or cut sequence).
size_t CharLength(const MString& text, size_t i) {
    int length = webstep::platform::mblen(text.data() + i, text.size() - i);
    return length > 1 ? static_cast<size_t>(length) : 1;
}

bool IsSpaceChar(const MString& text, size_t i, size_t length) {
    unsigned int packed = 0;
    for (size_t k = 0; k < length && k < 4; ++k)
        packed = (packed << 8) | static_cast<unsigned char>(text[i + k]);
    return webstep::platform::_ismbcspace(packed) != 0;
}

}  // namespace

MString MbTrim(const MString& text) {
    size_t i = 0;
    size_t begin = text.size();
    size_t end = 0;
    while (i < text.size()) {
        size_t length = CharLength(text, i);
        if (i + length > text.size())
            length = text.size() - i;
        if (!IsSpaceChar(text, i, length)) {
            if (begin == text.size())
                begin = i;
            end = i + length;
        }
        i += length;
    }
    if (begin >= end)
        return MString();
    return text.substr(begin, end - begin);
}

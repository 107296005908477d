#include "webstep/platform/Utf8Converter.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <string>

#include "webstep/platform/CharacterServices.h"
#include "webstep/platform/CodePage.h"

namespace webstep::platform {

namespace {

void ToUnicodeQuestionMark(const void*, UConverterToUnicodeArgs* args, const char*, int32_t,
                           UConverterCallbackReason reason, UErrorCode* status) {
    if (reason > UCNV_IRREGULAR)
        return;
    *status = U_ZERO_ERROR;
    const UChar question = u'?';
    ucnv_cbToUWriteUChars(args, &question, 1, 0, status);
}

// The converter to the process code page, one per thread, reopened when the
// code page changes.
class TargetConverter {
public:
    ~TargetConverter() { Close(); }

    UConverter* Get() {
        const unsigned int cp = GetProcessCodePage();
        if (m_converter && cp == m_codePage)
            return m_converter;
        Close();
        m_codePage = cp;
        const std::string name = IcuConverterNameForCodePage(cp);
        if (name.empty())
            return nullptr;
        UErrorCode status = U_ZERO_ERROR;
        m_converter = ucnv_open(name.c_str(), &status);
        if (U_FAILURE(status)) {
            m_converter = nullptr;
            return nullptr;
        }
        // Unrepresentable characters show as "?", as on the system where
        // this text was recorded, rather than as the converter's SUB byte.
        ucnv_setSubstChars(m_converter, "?", 1, &status);
        return m_converter;
    }

private:
    void Close() {
        if (m_converter)
            ucnv_close(m_converter);
        m_converter = nullptr;
    }

    unsigned int m_codePage = 0;
    UConverter* m_converter = nullptr;
};

thread_local TargetConverter t_target;

bool Convert(UConverter* converter, const char* data, std::size_t size, bool flush, MString& out) {
    out.clear();
    if (!converter)
        return false;
    UConverter* target = t_target.Get();
    if (!target)
        return false;
    if (size > static_cast<std::size_t>(INT32_MAX / 4))
        return false;

    // Each UTF-8 byte gives at most one UTF-16 unit; bytes held from the
    // previous chunk add at most two. The loop grows the buffer if a
    // converter other than UTF-8 was handed in and needs more.
    std::u16string wide(size + 8, u'\0');
    std::size_t produced = 0;
    const char* source = data;
    const char* sourceLimit = data + size;
    while (true) {
        UChar* target16 = reinterpret_cast<UChar*>(wide.data()) + produced;
        UChar* const start = target16;
        UChar* const limit = reinterpret_cast<UChar*>(wide.data()) + wide.size();
        UErrorCode status = U_ZERO_ERROR;
        ucnv_toUnicode(converter, &target16, limit, &source, sourceLimit, nullptr, flush, &status);
        produced += static_cast<std::size_t>(target16 - start);
        if (status == U_BUFFER_OVERFLOW_ERROR) {
            wide.resize(wide.size() * 2);
            continue;
        }
        if (U_FAILURE(status)) {
            ucnv_resetToUnicode(converter);
            return false;
        }
        break;
    }
    if (flush)
        ucnv_resetToUnicode(converter);
    if (produced == 0)
        return true;

    const std::size_t capacity =
        produced * static_cast<std::size_t>(ucnv_getMaxCharSize(target)) + 16;
    out.resize(capacity);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t bytes = ucnv_fromUChars(target, out.data(), static_cast<int32_t>(capacity),
                                          reinterpret_cast<const UChar*>(wide.data()),
                                          static_cast<int32_t>(produced), &status);
    if (U_FAILURE(status)) {
        out.clear();
        return false;
    }
    out.resize(static_cast<std::size_t>(bytes));
    return true;
}

}  // namespace

UConverter* WrUtilsGetUTF8Converter() {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open("utf-8", &status);
    if (U_FAILURE(status))
        return nullptr;
    ucnv_setToUCallBack(converter, ToUnicodeQuestionMark, nullptr, nullptr, nullptr, &status);
    if (U_FAILURE(status)) {
        ucnv_close(converter);
        return nullptr;
    }
    return converter;
}

bool WrUtilsUtf8ToMb_Statefull(UConverter* converter, const MString& in, MString& out) {
    return Convert(converter, in.data(), in.size(), false, out);
}

bool WrUtilsUtf8ToMb_Flush(UConverter* converter, MString& out) {
    static const char kEmpty[] = "";
    return Convert(converter, kEmpty, 0, true, out);
}

void WrUtilsCloseUTF8Converter(UConverter* converter) {
    if (converter)
        ucnv_close(converter);
}

}  // namespace webstep::platform

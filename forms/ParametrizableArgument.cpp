#include "webstep/forms/ParametrizableArgument.h"

#include "webstep/context/Context.h"
#include "webstep/platform/CodePage.h"

CParametrizableArgument::CParametrizableArgument() : isDataDriven(false) {}

CParametrizableArgument::CParametrizableArgument(const MString& text) : isDataDriven(false) {
    SetValue(text);
}

CParametrizableArgument::CParametrizableArgument(bool isDataDriven, const MString& text)
    : isDataDriven(isDataDriven), parametrizableValue(text), value(text) {}

void CParametrizableArgument::Set(bool dataDriven, const MString& text) {
    isDataDriven = dataDriven;
    parametrizableValue = text;
    value = text;
}

namespace {

// Whether the last byte of text is a character of its own, not the trail byte
// of a double-byte character (walks the text from its start).
bool LastByteIsWholeCharacter(const MString& text) {
    size_t i = 0;
    size_t lastStart = 0;
    while (i < text.size()) {
        lastStart = i;
        if (webstep::platform::IsLeadByte(static_cast<unsigned char>(text[i])) &&
            i + 1 < text.size())
            i += 2;
        else
            i += 1;
    }
    return lastStart == text.size() - 1;
}

unsigned char FoldAscii(unsigned char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

// ASCII case folding, whole texts (embedded zero bytes included).
bool EqualNoCase(const MString& a, const MString& b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (FoldAscii(static_cast<unsigned char>(a[i])) !=
            FoldAscii(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

}  // namespace

void CParametrizableArgument::SetValue(const MString& text) {
    isDataDriven = text.size() >= 2 && text.front() == '{' && text.back() == '}' &&
                   LastByteIsWholeCharacter(text);
    if (isDataDriven)
        parametrizableValue = text.substr(1, text.size() - 2);
    else
        parametrizableValue = text;
    value = text;
}

void CParametrizableArgument::SetRealValue(const MString& text) {
    if (isDataDriven)
        value = text;
    else
        SetValue(text);
}

void CParametrizableArgument::Empty() {
    isDataDriven = false;
    parametrizableValue.clear();
    value.clear();
}

MString CParametrizableArgument::GetScriptForm() const {
    if (isDataDriven)
        return "{" + parametrizableValue + "}";
    return parametrizableValue;
}

bool CParametrizableArgument::Parametrize(CContext* ctx) const {
    if (ctx == nullptr)
        return !isDataDriven;
    return ctx->Parametrize(parametrizableValue, value, isDataDriven);
}

bool CParametrizableArgument::AssignToParameter(CContext* ctx) const {
    if (!isDataDriven)
        return true;
    // A context is required; without one the assignment cannot happen.
    if (ctx == nullptr)
        return false;
    return ctx->AssignToParameter(parametrizableValue, value);
}

bool CParametrizableArgument::SrcMatches(const CParametrizableArgument& other) const {
    if (EqualNoCase(value, other.value))
        return true;
    size_t slash = value.rfind('/');
    if (slash == MString::npos)
        return false;
    return EqualNoCase(value.substr(slash + 1), other.value);
}

#include "webstep/forms/TextAreaField.h"

#include "webstep/html/HTMLFormElement.h"

void CTextAreaField::GetValues(std::vector<std::pair<MString, MString>>& out) const {
    out.clear();
    out.emplace_back(name, currentValue);
}

void CTextAreaField::Attach(CHTMLFormElement* e) {
    CFormField::Attach(e);
    const char* v = e != nullptr ? e->value() : nullptr;
    pageValue = v != nullptr ? v : "";
    currentValue = pageValue;
}

bool CTextAreaField::TryValue(const CData* item) const {
    return item != nullptr && !marked && item->GetValueRegexType() == CData::RT_LITERAL;
}

bool CTextAreaField::SetValue(const CData* item) {
    if (!TryValue(item)) {
        return false;
    }
    currentValue = item->IsFieldDefault() ? pageValue : item->GetValue();
    Mark(item->GetValue());
    return true;
}

long long CTextField::ParseMaxLength(const char* text) {
    if (text == nullptr) {
        return NoLimit;
    }
    long long limit = 0;
    for (const char* p = text; *p >= '0' && *p <= '9'; ++p) {
        limit = limit * 10 + (*p - '0');
        if (limit > NoLimit) {
            return NoLimit;
        }
    }
    return limit;
}

void CTextField::Attach(CHTMLFormElement* e) {
    CTextAreaField::Attach(e);
    maxLength = ParseMaxLength(e != nullptr ? e->attr("maxlength") : nullptr);
}

bool CTextField::TryValue(const CData* item) const {
    if (!CTextAreaField::TryValue(item)) {
        return false;
    }
    if (item->IsFieldDefault()) {
        return true;
    }
    return static_cast<long long>(item->GetValue().size()) <= maxLength;
}

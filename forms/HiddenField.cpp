#include "webstep/forms/HiddenField.h"

#include "webstep/html/HTMLFormElement.h"

void CHiddenField::GetValues(std::vector<std::pair<MString, MString>>& out) const {
    out.clear();
    out.emplace_back(name, currentValue);
}

void CHiddenField::Attach(CHTMLFormElement* e) {
    CFormField::Attach(e);
    const char* v = e != nullptr ? e->value() : nullptr;
    pageValue = v != nullptr ? v : "";
    currentValue = pageValue;
}

bool CHiddenField::TryValue(const CData* item) const {
    if (item == nullptr || marked) {
        return false;
    }
    return item->IsFieldDefault() || ValueMatches(item, pageValue);
}

bool CHiddenField::SetValue(const CData* item) {
    if (!TryValue(item)) {
        return false;
    }
    currentValue = pageValue;
    Mark(item->GetValue());
    return true;
}

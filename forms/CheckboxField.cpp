#include "webstep/forms/CheckboxField.h"

#include "webstep/html/HTMLFormElement.h"

const char* const CCheckboxField::ImplicitValue = "on";

void CCheckboxField::GetValues(std::vector<std::pair<MString, MString>>& out) const {
    out.clear();
    if (checked) {
        out.emplace_back(name, pageValue);
    }
}

void CCheckboxField::Attach(CHTMLFormElement* e) {
    CFormField::Attach(e);
    // A box without "value" sends "on", as browsers do.
    const char* v = e != nullptr ? e->attr("value") : nullptr;
    pageValue = v != nullptr ? v : ImplicitValue;
    defaultChecked = e != nullptr && e->attr("checked") != nullptr;
    checked = defaultChecked;
}

bool CCheckboxField::AcceptsValue(const CData* item) const {
    if (item == nullptr) {
        return false;
    }
    if (item->GetValueRegexType() == CData::RT_REGEX) {
        return FormRegexMatch(item->GetValue(), pageValue);
    }
    const MString& v = item->GetValue();
    return v == pageValue || v == ValueOff || v == ValueDefault || v == ValueOn;
}

bool CCheckboxField::TryValue(const CData* item) const {
    return !marked && AcceptsValue(item);
}

bool CCheckboxField::SetValue(const CData* item) {
    if (!TryValue(item)) {
        return false;
    }
    const MString& v = item->GetValue();
    if (item->GetValueRegexType() == CData::RT_LITERAL && v == ValueOff) {
        SetChecked(false);
    } else if (item->GetValueRegexType() == CData::RT_LITERAL && v == ValueDefault) {
        RevertToDefault();
    } else {
        SetChecked(true);
    }
    Mark(v);
    return true;
}

void CRadioButtonGroup::UncheckOthers(const CRadioField* keep) {
    for (CRadioField* r : members) {
        if (r != keep && r->IsChecked()) {
            r->CCheckboxField::SetChecked(false);
        }
    }
}

void CRadioField::Mark(MString value) {
    if (group != nullptr) {
        group->SetMarked(true);
    } else {
        CCheckboxField::Mark(std::move(value));
    }
}

void CRadioField::Unmark() {
    CCheckboxField::Unmark();
    if (group != nullptr) {
        group->SetMarked(false);
    }
}

void CRadioField::Attach(CHTMLFormElement* e) {
    CCheckboxField::Attach(e);
    if (checked) {
        SetChecked(true);
    }
}

bool CRadioField::TryValue(const CData* item) const {
    if (group != nullptr ? group->IsMarked() : marked) {
        return false;
    }
    return AcceptsValue(item);
}

bool CRadioField::SetValue(const CData* item) {
    return CCheckboxField::SetValue(item);
}

void CRadioField::RevertToDefault() {
    // Only a default-checked radio changes its group's other members.
    if (defaultChecked) {
        SetChecked(true);
    } else {
        CCheckboxField::SetChecked(false);
    }
}

void CRadioField::SetChecked(bool on) {
    CCheckboxField::SetChecked(on);
    if (on && group != nullptr) {
        group->UncheckOthers(this);
    }
}

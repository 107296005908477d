#include "webstep/forms/SelectField.h"

#include "webstep/html/HTMLFormElement.h"

const char* const CSelectField::OptionSeparator = "^^";

void CSelectField::GetValues(std::vector<std::pair<MString, MString>>& out) const {
    out.clear();
    for (const Option& o : options) {
        if (o.selected) {
            out.emplace_back(name, o.hasValue ? o.value : o.display);
        }
    }
}

void CSelectField::Attach(CHTMLFormElement* e) {
    CFormField::Attach(e);
    options.clear();
    multiple = e != nullptr && e->attr("multiple") != nullptr;
    const char* size = e != nullptr ? e->attr("size") : nullptr;
    dropDown = !multiple && (size == nullptr || MString(size) == "1");
    auto* menu = dynamic_cast<CHTMLMenu*>(e);
    if (menu == nullptr) {
        return;
    }
    for (int i = 0; i < menu->nItems(); ++i) {
        const CHTMLMenuItem* item = menu->item(i);
        if (item == nullptr) {
            continue;
        }
        Option o;
        o.display = item->text() != nullptr ? item->text() : "";
        o.text = o.display;
        if (const char* v = item->value()) {
            o.hasValue = true;
            o.value = v;
            o.text += OptionSeparator;
            o.text += o.value;
        }
        o.defaultSelected = item->selected();
        if (o.defaultSelected && !multiple) {
            for (Option& earlier : options) {
                earlier.defaultSelected = false;
            }
        }
        options.push_back(std::move(o));
    }
    if (dropDown && !options.empty() && !AnyTaken()) {
        bool any = false;
        for (const Option& o : options) {
            any = any || o.defaultSelected;
        }
        if (!any) {
            options.front().defaultSelected = true;
        }
    }
    RevertToDefault();
}

bool CSelectField::AnyTaken() const {
    for (const Option& o : options) {
        if (o.taken) {
            return true;
        }
    }
    return false;
}

int CSelectField::FindOption(const CData* item) const {
    for (std::size_t i = 0; i < options.size(); ++i) {
        const Option& o = options[i];
        if (o.taken) {
            continue;
        }
        if (ValueMatches(item, o.display) || (o.hasValue && ValueMatches(item, o.value))) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

bool CSelectField::TryValue(const CData* item) const {
    if (item == nullptr) {
        return false;
    }
    if (!multiple && marked) {
        return false;
    }
    const bool literal = item->GetValueRegexType() == CData::RT_LITERAL;
    if (literal && item->IsFieldDefault()) {
        return true;
    }
    if (literal && item->GetValue() == ValueOff && !dropDown) {
        return true;
    }
    return FindOption(item) >= 0;
}

void CSelectField::Mark(MString value) {
    marked = true;
    CData probe(value, value, CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_SELECT, true, "", "",
                false, "", "", "");
    const int i = FindOption(&probe);
    if (i >= 0) {
        options[static_cast<std::size_t>(i)].taken = true;
    }
}

void CSelectField::MarkItem(const CData* item) {
    marked = true;
    const int i = item != nullptr ? FindOption(item) : -1;
    if (i >= 0) {
        options[static_cast<std::size_t>(i)].taken = true;
    }
}

void CSelectField::Unmark() {
    marked = false;
    for (Option& o : options) {
        o.taken = false;
    }
}

void CSelectField::RevertToDefault() {
    for (Option& o : options) {
        o.selected = o.defaultSelected;
    }
}

void CSelectField::MakeEmpty() {
    for (Option& o : options) {
        o.selected = false;
    }
}

bool CSelectField::SetValue(const CData* item) {
    if (!TryValue(item)) {
        return false;
    }
    const bool literal = item->GetValueRegexType() == CData::RT_LITERAL;
    if (literal && item->IsFieldDefault()) {
        RevertToDefault();
        marked = true;
        return true;
    }
    const int i = FindOption(item);
    if (literal && item->GetValue() == ValueOff && !dropDown) {
        MakeEmpty();
        marked = true;
        return true;
    }
    if (i < 0) {
        return false;
    }
    if (!multiple || !AnyTaken()) {
        MakeEmpty();
    }
    options[static_cast<std::size_t>(i)].selected = true;
    options[static_cast<std::size_t>(i)].taken = true;
    marked = true;
    return true;
}

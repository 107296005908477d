#include "webstep/forms/SubmitField.h"

#include "webstep/html/HTMLFormElement.h"

const char* const CSubmitField::SubmitQueryCaption = "Submit Query";
const char* const CSubmitField::SubmitCaption = "Submit";

void CSubmitGroup::UnchooseOthers(const CSubmitField* keep) {
    for (CSubmitField* b : members) {
        if (b != keep) {
            b->SetChosen(false);
        }
    }
}

void CSubmitField::GetValues(std::vector<std::pair<MString, MString>>& out) const {
    out.clear();
    if (chosen) {
        out.emplace_back(name, sentValue);
    }
}

void CSubmitField::Attach(CHTMLFormElement* e) {
    CFormField::Attach(e);
    const char* v = e != nullptr ? e->value() : nullptr;
    pageValue = v != nullptr ? v : "";
    sentValue = pageValue;
    chosen = false;
}

void CSubmitField::Mark(MString value) {
    if (group != nullptr) {
        group->SetMarked(true);
    } else {
        CFormField::Mark(std::move(value));
    }
}

void CSubmitField::Unmark() {
    CFormField::Unmark();
    if (group != nullptr) {
        group->SetMarked(false);
    }
}

void CSubmitField::RevertToDefault() {
    chosen = false;
    sentValue = pageValue;
}

void CSubmitField::MakeEmpty() {
    chosen = false;
    sentValue = pageValue;
}

bool CSubmitField::TryValue(const CData* item) const {
    if (item == nullptr || GroupChosen()) {
        return false;
    }
    if (item->GetValueRegexType() == CData::RT_REGEX) {
        return FormRegexMatch(item->GetValue(), pageValue);
    }
    const MString& v = item->GetValue();
    if (v == pageValue || v == ValueDefault || v == ValueOff) {
        return true;
    }
    return pageValue.empty() && (v == SubmitQueryCaption || v == SubmitCaption);
}

bool CSubmitField::SetValue(const CData* item) {
    if (!TryValue(item)) {
        return false;
    }
    const MString& v = item->GetValue();
    const bool caption = item->GetValueRegexType() == CData::RT_LITERAL && pageValue.empty() &&
                         (v == SubmitQueryCaption || v == SubmitCaption);
    Invoke();
    sentValue = caption ? v : pageValue;
    Mark(v);
    return true;
}

void CSubmitField::Invoke() {
    if (group != nullptr) {
        group->UnchooseOthers(this);
    }
    chosen = true;
    sentValue = pageValue;
}

MString CImageField::GetName(int which) const {
    const char* coordinate = which == 0 ? "x" : "y";
    return name.empty() ? MString(coordinate) : name + "." + coordinate;
}

void CImageField::GetValues(std::vector<std::pair<MString, MString>>& out) const {
    out.clear();
    if (chosen) {
        out.emplace_back(GetName(0), x);
        out.emplace_back(GetName(1), y);
    }
}

void CImageField::RevertToDefault() {
    CSubmitField::RevertToDefault();
    x = "0";
    y = "0";
}

bool CImageField::SetValue(MString newX, MString newY) {
    if (GroupChosen()) {
        return false;
    }
    Invoke();
    x = std::move(newX);
    y = std::move(newY);
    Mark(MString());
    return true;
}

namespace {
// Splits at the last full stop: the base name and the coordinate letter.
void SplitCoordinate(const MString& full, MString& base, MString& coordinate) {
    const auto dot = full.rfind('.');
    if (dot == MString::npos) {
        base.clear();
        coordinate = full;
    } else {
        base = full.substr(0, dot);
        coordinate = full.substr(dot + 1);
    }
}
}  // namespace

bool CImageField::MakesMatch(const CData* first, const CData* second) const {
    if (first == nullptr || second == nullptr || GroupChosen()) {
        return false;
    }
    MString base1, c1, base2, c2;
    SplitCoordinate(first->GetName(), base1, c1);
    SplitCoordinate(second->GetName(), base2, c2);
    if (c1 != "x" || c2 != "y" || base1 != base2) {
        return false;
    }
    CData probe(base1, "", first->GetNameRegexType(), CData::RT_LITERAL, CData::DT_IMAGE, true, "",
                "", false, "", "", "");
    return MatchName(&probe);
}

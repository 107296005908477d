#pragma once
// Check boxes, radio buttons and the groups that radio buttons of one name
// form (at most one member of a group takes a value per check).
#include <vector>

#include "webstep/forms/FormField.h"
#include "webstep/foundation/Export.h"

class CRadioField;

/// A check box of a page form: sends its value when checked. An item fits it
/// when it names the box's value (or "on" for a box without value); a
/// non-fitting item makes the form's check fail.
class WEBSTEP_API CCheckboxField : public CFormField {
public:
    CFormField* Clone() const override { return new CCheckboxField(*this); }
    /// The value a browser sends for a box without a "value" attribute.
    static const char* const ImplicitValue;  // "on"

    /// Writes its pair only when checked.
    void GetValues(std::vector<std::pair<MString, MString>>& out) const override;
    /// Page value from "value" ("on" without one); checked from "checked".
    void Attach(CHTMLFormElement* element) override;
    CData::DataType GetDataType() const override { return CData::DT_CHECKBOX; }
    bool MustBeSubmitted() const override { return false; }
    void RevertToDefault() override { checked = defaultChecked; }
    void MakeEmpty() override { checked = false; }
    /// Refused when marked; then as AcceptsValue.
    bool TryValue(const CData* item) const override;
    /// "<OFF>" unchecks, "_DEFAULT_" restores the page state, anything else
    /// accepted checks.
    bool SetValue(const CData* item) override;

    const MString& GetPageValue() const { return pageValue; }
    bool IsChecked() const { return checked; }
    bool IsDefaultChecked() const { return defaultChecked; }
    virtual void SetChecked(bool on) { checked = on; }

protected:
    /// A regular expression must match the whole page value; a literal must
    /// equal it or be "<OFF>", "_DEFAULT_" or "<ON>".
    bool AcceptsValue(const CData* item) const;

    MString pageValue;
    bool checked = false;
    bool defaultChecked = false;
};

/// The radio buttons of one name; the form owns the group, the form's field
/// list owns the members.
class WEBSTEP_API CRadioButtonGroup {
public:
    explicit CRadioButtonGroup(const MString& name) : marked(false), name(name) {}
    CRadioButtonGroup(const CRadioButtonGroup&) = delete;
    CRadioButtonGroup& operator=(const CRadioButtonGroup&) = delete;

    bool IsMarked() const { return marked; }
    void SetMarked(bool on) { marked = on; }
    const MString& GetName() const { return name; }
    void AddMember(CRadioField* radio) { members.push_back(radio); }
    const std::vector<CRadioField*>& GetMembers() const { return members; }
    /// Unchecks every member but one.
    void UncheckOthers(const CRadioField* keep);

private:
    bool marked;
    MString name;
    std::vector<CRadioField*> members;
};

/// One radio button; its group ensures that one button of a name at most is
/// chosen per check. Owned by the form's field list.
class WEBSTEP_API CRadioField : public CCheckboxField {
public:
    CFormField* Clone() const override { return new CRadioField(*this); }
    explicit CRadioField(CRadioButtonGroup* group = nullptr) : group(group) {}

    CData::DataType GetDataType() const override { return CData::DT_RADIO; }
    /// A checked radio unchecks the earlier checked ones of its group.
    void Attach(CHTMLFormElement* element) override;
    /// Chooses the group instead of the button.
    void Mark(MString value) override;
    void Unmark() override;
    /// Refused once the group is chosen; then as a check box's value.
    bool TryValue(const CData* item) const override;
    /// Checking a radio unchecks the others of its group.
    bool SetValue(const CData* item) override;
    void RevertToDefault() override;
    void SetChecked(bool on) override;

    CRadioButtonGroup* GetGroup() const { return group; }
    void SetGroup(CRadioButtonGroup* g) { group = g; }

private:
    CRadioButtonGroup* group;
};

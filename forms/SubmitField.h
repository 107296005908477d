#pragma once
// Submit and image buttons and the form's submit group, in which one button
// at most is chosen (the clicked one).
#include <vector>

#include "webstep/forms/FormField.h"
#include "webstep/foundation/Export.h"

class CSubmitField;

/// The form's buttons; the form's field list owns them.
class WEBSTEP_API CSubmitGroup {
public:
    CSubmitGroup() = default;
    CSubmitGroup(const CSubmitGroup&) = delete;
    CSubmitGroup& operator=(const CSubmitGroup&) = delete;

    bool IsMarked() const { return marked; }
    void SetMarked(bool on) { marked = on; }
    void AddMember(CSubmitField* button) { members.push_back(button); }
    const std::vector<CSubmitField*>& GetMembers() const { return members; }
    /// Null when the group is empty.
    CSubmitField* GetFirst() const { return members.empty() ? nullptr : members.front(); }
    void RemoveAll() { members.clear(); }
    /// Clears the chosen flag of every member but one.
    void UnchooseOthers(const CSubmitField* keep);

private:
    bool marked = false;
    std::vector<CSubmitField*> members;
};

/// A submit button; sends its name and value when it is the clicked one.
/// Owned by the form's field list.
class WEBSTEP_API CSubmitField : public CFormField {
public:
    CFormField* Clone() const override { return new CSubmitField(*this); }
    /// Captions a browser shows for a button without a value.
    static const char* const SubmitQueryCaption;  // "Submit Query"
    static const char* const SubmitCaption;       // "Submit"

    explicit CSubmitField(CSubmitGroup* group = nullptr) : group(group) {}

    /// Writes (name, value) only when chosen.
    void GetValues(std::vector<std::pair<MString, MString>>& out) const override;
    void Attach(CHTMLFormElement* element) override;
    CData::DataType GetDataType() const override { return CData::DT_SUBMIT; }
    bool MustBeSubmitted() const override { return false; }
    /// Marks the group instead of the button.
    void Mark(MString value) override;
    void Unmark() override;
    /// No button is chosen by default.
    void RevertToDefault() override;
    void MakeEmpty() override;
    bool TryValue(const CData* item) const override;
    /// Chooses the button. A caption taken by a button without a value is what
    /// the button then sends; any other accepted value sends the page value.
    bool SetValue(const CData* item) override;
    /// Chooses this button (the click).
    virtual void Invoke();

    bool IsChosen() const { return chosen; }
    const MString& GetPageValue() const { return pageValue; }
    CSubmitGroup* GetGroup() const { return group; }
    void SetGroup(CSubmitGroup* g) { group = g; }
    void SetChosen(bool on) { chosen = on; }

protected:
    bool GroupChosen() const { return group != nullptr ? group->IsMarked() : marked; }

    CSubmitGroup* group;
    MString pageValue;
    MString sentValue;
    bool chosen = false;
};

/// An image button; when clicked it sends its click coordinates (name.x and
/// name.y), last in the body. Owned by the form's field list.
class WEBSTEP_API CImageField : public CSubmitField {
public:
    CFormField* Clone() const override { return new CImageField(*this); }
    explicit CImageField(CSubmitGroup* group = nullptr) : CSubmitField(group) {}

    /// "name.x" / "name.y", or "x" / "y" for a button without a name.
    MString GetName(int which = 0) const override;
    /// Two pairs, x then y, when chosen.
    void GetValues(std::vector<std::pair<MString, MString>>& out) const override;
    CData::DataType GetDataType() const override { return CData::DT_IMAGE; }
    void RevertToDefault() override;
    using CSubmitField::SetValue;
    /// Chooses the button with the given coordinates.
    bool SetValue(MString x, MString y);
    using CSubmitField::MakesMatch;
    /// The two items are this button's x and y: the text after their last full
    /// stop is "x" and "y" and the text before it names this button (as a
    /// regular expression when the first item's name is one). Refused once a
    /// button of the group is chosen.
    bool MakesMatch(const CData* first, const CData* second) const;

    const MString& GetX() const { return x; }
    const MString& GetY() const { return y; }

private:
    MString x = "0";
    MString y = "0";
};

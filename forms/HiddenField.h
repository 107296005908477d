#pragma once
// A hidden field: it sends its page value, and an item fits it only when it
// names that value (or keeps the default).
#include "webstep/forms/FormField.h"
#include "webstep/foundation/Export.h"

/// A hidden field: sends its page value; an item fits only when it names that
/// value or keeps the default. Owned by the form's field list.
class WEBSTEP_API CHiddenField : public CFormField {
public:
    CFormField* Clone() const override { return new CHiddenField(*this); }
    void GetValues(std::vector<std::pair<MString, MString>>& out) const override;
    void Attach(CHTMLFormElement* element) override;
    CData::DataType GetDataType() const override { return CData::DT_HIDDEN; }
    bool MustBeSubmitted() const override { return true; }
    void RevertToDefault() override { currentValue = pageValue; }
    void MakeEmpty() override { currentValue.clear(); }
    bool TryValue(const CData* item) const override;
    /// The value sent stays the page value (the item only confirms it).
    bool SetValue(const CData* item) override;

    const MString& GetPageValue() const { return pageValue; }

private:
    MString pageValue;
    MString currentValue;
};

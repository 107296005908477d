#pragma once
// Free-text fields: text areas, one-line text fields (with their length
// limit) and password fields.
#include "webstep/forms/FormField.h"
#include "webstep/foundation/Export.h"

/// A text area: takes any value. Owned by the form's field list.
class WEBSTEP_API CTextAreaField : public CFormField {
public:
    CFormField* Clone() const override { return new CTextAreaField(*this); }
    CTextAreaField() = default;

    void GetValues(std::vector<std::pair<MString, MString>>& out) const override;
    /// Page and current value from the element's value (a text area's text).
    void Attach(CHTMLFormElement* element) override;
    CData::DataType GetDataType() const override { return CData::DT_TEXTAREA; }
    bool MustBeSubmitted() const override { return true; }
    void RevertToDefault() override { currentValue = pageValue; }
    void MakeEmpty() override { currentValue.clear(); }
    /// Not marked, and a literal value (a regular expression never fits).
    bool TryValue(const CData* item) const override;
    /// "_DEFAULT_" keeps the page value.
    bool SetValue(const CData* item) override;

    const MString& GetPageValue() const { return pageValue; }
    const MString& GetCurrentValue() const { return currentValue; }

protected:
    MString pageValue;
    MString currentValue;
};

/// A one-line text field: takes a value up to its length limit, when it has
/// one.
class WEBSTEP_API CTextField : public CTextAreaField {
public:
    CFormField* Clone() const override { return new CTextField(*this); }
    static constexpr long long NoLimit = 2147483647;

    CTextField() = default;

    /// Also reads "maxlength": its leading decimal digits; no attribute means
    /// no limit, an attribute without leading digits a limit of 0.
    void Attach(CHTMLFormElement* element) override;
    CData::DataType GetDataType() const override { return CData::DT_TEXT; }
    /// A value longer than the limit (in bytes) is refused, "_DEFAULT_" never.
    bool TryValue(const CData* item) const override;

    long long GetMaxLength() const { return maxLength; }
    /// The limit that a "maxlength" text stands for.
    static long long ParseMaxLength(const char* text);

protected:
    long long maxLength = NoLimit;
};

/// A password field: a text field whose items carry the password data type.
/// Owned by the form's field list.
class WEBSTEP_API CPasswordField : public CTextField {
public:
    CFormField* Clone() const override { return new CPasswordField(*this); }
    CData::DataType GetDataType() const override { return CData::DT_PASSWORD; }
};

#pragma once
// A selection list: its options ("display text^^value" when the option has
// a value attribute), their selected, default and taken flags.
#include <vector>

#include "webstep/forms/FormField.h"
#include "webstep/foundation/Export.h"

/// A selection list: its options with their selected, default and taken
/// flags. An item fits when it names an option (or, as a regular expression,
/// matches one not yet taken). Owned by the form's field list.
class WEBSTEP_API CSelectField : public CFormField {
public:
    CFormField* Clone() const override { return new CSelectField(*this); }
    /// Separates an option's display text from its value attribute.
    static const char* const OptionSeparator;  // "^^"

    struct Option {
        MString text;     // display text, then "^^" and the value when present
        MString display;  // display text
        MString value;    // value attribute
        bool hasValue = false;
        bool selected = false;
        bool defaultSelected = false;
        bool taken = false;  // matched an item in the current check
    };

    /// Each selected option writes one pair, in option order: its value
    /// attribute, or its display text when it has none.
    void GetValues(std::vector<std::pair<MString, MString>>& out) const override;
    /// Options from the menu items; in a list that is not multiple a later
    /// selected option clears the earlier ones; a drop-down list with
    /// options and none selected selects its first.
    void Attach(CHTMLFormElement* element) override;
    CData::DataType GetDataType() const override { return CData::DT_SELECT; }
    bool MustBeSubmitted() const override { return false; }
    bool SingleValue() const override { return !multiple; }
    void Mark(MString value) override;
    /// Marks as Mark does, finding the option the way TryValue does (so a
    /// regular-expression item takes the option it matched).
    void MarkItem(const CData* item);
    void Unmark() override;
    void RevertToDefault() override;
    void MakeEmpty() override;
    /// "_DEFAULT_" at once; "<OFF>" at once unless a drop-down; otherwise the
    /// first option not yet taken whose display text or value matches. A list
    /// that is not multiple takes one item per check.
    bool TryValue(const CData* item) const override;
    /// A list that is not multiple selects the matched option alone; a
    /// multiple list drops its previous selection at the first item of a
    /// check and then adds one option per item.
    bool SetValue(const CData* item) override;

    bool IsMultiple() const { return multiple; }
    bool IsDropDown() const { return dropDown; }
    const std::vector<Option>& GetOptions() const { return options; }

private:
    /// Index of the first option not yet taken that matches, or -1.
    int FindOption(const CData* item) const;
    bool AnyTaken() const;

    std::vector<Option> options;
    bool multiple = false;
    bool dropDown = false;
};

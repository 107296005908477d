#pragma once
// Form elements of the page model: inputs, radio values and their groups,
// check boxes, text areas, menus and their items. The classes without a
// trailing underscore are what callers see; the scanner builds the
// underscore classes, which own their implementation objects.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/TextBuffer.h"
#include "webstep/html/HTMLObject.h"

/// An element of a page form (input, button, text area, selection list) with
/// its type, name and value, computed from the tag and its attributes on the
/// first call; name and value are null when absent. Owned by its form.
class WEBSTEP_API CHTMLFormElement : public CHTMLObject {
public:
    /// 12 for "button" after 11 for area is deliberate and kept.
    enum ElementType {
        ELEMENT_NONE = 0,  // also textarea
        ELEMENT_TEXT = 1,  // no type, "text" or any type not listed here
        ELEMENT_PASSWORD = 2,
        ELEMENT_CHECKBOX = 3,
        ELEMENT_RADIO = 4,
        ELEMENT_SUBMIT = 5,
        ELEMENT_RESET = 6,
        ELEMENT_FILE = 7,
        ELEMENT_HIDDEN = 8,
        ELEMENT_IMAGE = 9,
        ELEMENT_SELECT = 10,
        ELEMENT_AREA = 11,
        ELEMENT_BUTTON = 12,
    };

    explicit CHTMLFormElement(CHTMLObjectImpl* impl = nullptr);

    /// Computed on the first call from the tag and the "type" attribute
    /// (compared ignoring case).
    ElementType type() const;
    /// "name" and "value", computed on the first call; null when absent.
    const char* name() const;
    virtual const char* value() const;

    /// Changing an attribute through the element also forgets the cached
    /// name, value and type, so that they never go stale.
    void setAttr(const char* name, const char* value) override;

    /// The element type that a tag and a "type" value stand for.
    static ElementType TypeOf(HTMLTag tag, const char* typeValue);

private:
    mutable int m_type;  // 0: not yet computed
    mutable bool m_nameComputed;
    mutable bool m_nameDefined;
    mutable MString m_name;
    mutable bool m_valueComputed;
    mutable bool m_valueDefined;
    mutable MString m_value;
};

/// One radio button of a radio group: its value and whether it is checked.
/// Owned by its group.
class WEBSTEP_API CHTMLRadioValue : public CHTMLFormElement {
public:
    explicit CHTMLRadioValue(CHTMLObjectImpl* impl = nullptr) : CHTMLFormElement(impl) {}
    /// Has an attribute "checked", with or without a value.
    bool checked() const { return attr("checked") != nullptr; }
};

/// A group of radio values sharing one name. It owns its values and shows
/// the attributes of its first value (whose implementation object it points
/// at without owning it).
class WEBSTEP_API CHTMLRadio : public CHTMLFormElement {
public:
    explicit CHTMLRadio(CHTMLRadioValue* first);
    ~CHTMLRadio() override;

    int nValues() const { return m_values.size(); }
    /// Null when out of range.
    CHTMLRadioValue* value(int i) const;
    /// Takes ownership.
    void addValue(CHTMLRadioValue* value);
    /// The "value" attribute of the group's first value.
    const char* value() const override { return CHTMLFormElement::value(); }

private:
    ArrayOfPointers<CHTMLRadioValue> m_values;
};

/// A check box of a page form with its checked flag. Owned by its form.
class WEBSTEP_API CHTMLCheckbox : public CHTMLFormElement {
public:
    explicit CHTMLCheckbox(CHTMLObjectImpl* impl = nullptr) : CHTMLFormElement(impl) {}
    bool checked() const { return attr("checked") != nullptr; }
};

/// A text area; its value is its content. Owned by its form.
class WEBSTEP_API CHTMLTextArea : public CHTMLFormElement {
public:
    explicit CHTMLTextArea(CHTMLObjectImpl* impl = nullptr) : CHTMLFormElement(impl) {}
    /// The text between the start and end tags (null when none was given).
    const char* value() const override { return content(); }
};

/// One option of a selection list: value (null without a value attribute),
/// text and selected flag. Owned by its menu.
class WEBSTEP_API CHTMLMenuItem : public CHTMLObject {
public:
    explicit CHTMLMenuItem(CHTMLObjectImpl* impl = nullptr);
    ~CHTMLMenuItem() override;

    /// "value", computed on the first call; null when absent.
    const char* value() const;
    /// Has an attribute "selected"; computed on the first call.
    bool selected() const;
    /// The text of the item as the scanner collected it; null before.
    const char* text() const { return m_text; }
    void setItemText(const char* text);

    void setAttr(const char* name, const char* value) override;

private:
    mutable bool m_valueComputed;
    mutable bool m_valueDefined;
    mutable MString m_value;
    mutable int m_selected;  // -1: not yet computed
    char* m_text;
};

/// A selection list with its options in page order; item(i) gives null for an
/// index out of range. Owned by its form.
class WEBSTEP_API CHTMLMenu : public CHTMLFormElement {
public:
    explicit CHTMLMenu(CHTMLObjectImpl* impl = nullptr) : CHTMLFormElement(impl) {}

    int nItems() const { return m_items.size(); }
    /// Null when out of range.
    CHTMLMenuItem* item(int i) const;
    /// Takes ownership.
    void addItem(CHTMLMenuItem* item) { m_items.add(item); }

private:
    ArrayOfPointers<CHTMLMenuItem> m_items;
};

/// The scanner's elements: each owns its implementation object.
class WEBSTEP_API CHTMLFormElement_ : public CHTMLFormElement {
public:
    explicit CHTMLFormElement_(CHTMLObjectImpl* impl) : CHTMLFormElement(impl) {}
    ~CHTMLFormElement_() override;
};

/// The scanner-built radio value; owns its implementation object.
class WEBSTEP_API CHTMLRadioValue_ : public CHTMLRadioValue {
public:
    explicit CHTMLRadioValue_(CHTMLObjectImpl* impl) : CHTMLRadioValue(impl) {}
    ~CHTMLRadioValue_() override;
};

/// The group points at its first value's implementation object; the value
/// owns it, so the group has nothing of its own to delete.
class WEBSTEP_API CHTMLRadio_ : public CHTMLRadio {
public:
    explicit CHTMLRadio_(CHTMLRadioValue* first) : CHTMLRadio(first) {}
};

/// The scanner-built check box; owns its implementation object.
class WEBSTEP_API CHTMLCheckbox_ : public CHTMLCheckbox {
public:
    explicit CHTMLCheckbox_(CHTMLObjectImpl* impl) : CHTMLCheckbox(impl) {}
    ~CHTMLCheckbox_() override;
};

/// The scanner-built text area; owns its implementation object.
class WEBSTEP_API CHTMLTextArea_ : public CHTMLTextArea {
public:
    explicit CHTMLTextArea_(CHTMLObjectImpl* impl) : CHTMLTextArea(impl) {}
    ~CHTMLTextArea_() override;
};

/// The scanner-built selection list; owns its implementation object and its
/// items.
class WEBSTEP_API CHTMLMenu_ : public CHTMLMenu {
public:
    explicit CHTMLMenu_(CHTMLObjectImpl* impl) : CHTMLMenu(impl) {}
    ~CHTMLMenu_() override;
};

/// The scanner-built option; owns its implementation object.
class WEBSTEP_API CHTMLMenuItem_ : public CHTMLMenuItem {
public:
    explicit CHTMLMenuItem_(CHTMLObjectImpl* impl) : CHTMLMenuItem(impl) {}
    ~CHTMLMenuItem_() override;
};

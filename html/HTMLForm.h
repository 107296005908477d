#pragma once
// A form of the page model with its elements; radio values are gathered into
// groups by name.
#include "webstep/foundation/Export.h"
#include "webstep/html/HTMLFormElement.h"

/// A form of the page model: action, name, method, base and its elements in
/// page order. Owned by the scanner's results; element(i) gives null for an
/// index out of range.
class WEBSTEP_API CHTMLForm : public CHTMLObject {
public:
    enum FormMethod { METHOD_GET = 1, METHOD_POST = 2 };

    /// base: the base element in force when the form began (not owned; null
    /// when none).
    explicit CHTMLForm(CHTMLObjectImpl* impl = nullptr, CHTMLObjectImpl* base = nullptr);
    ~CHTMLForm() override;

    /// "action" (the scanner makes sure it exists), "name".
    const char* action() const { return attr("action"); }
    const char* name() const { return attr("name"); }
    /// POST when "method" is "post" (ignoring case); GET otherwise. Only an
    /// explicit GET or POST is cached, the default is not.
    FormMethod method() const;
    /// "href" and "target" of the base element; null without one.
    const char* base() const;
    const char* baseTarget() const;
    CHTMLObjectImpl* baseElement() const { return m_base; }

    int nElements() const { return m_elements.size(); }
    /// Null when out of range.
    CHTMLFormElement* element(int i) const;
    /// Takes ownership. A radio value (type 4) goes to its group (addRadio_).
    void addElement(CHTMLFormElement* element);
    /// Appends the value to the last radio group whose name equals its name
    /// ignoring case; otherwise (also without a name) starts a new group.
    void addRadio_(CHTMLRadioValue* value);
    /// Deletes every element.
    void cleanup() { m_elements.cleanup(); }

    void setAttr(const char* name, const char* value) override;

protected:
    /// Makes a new radio group from its first value.
    virtual CHTMLRadio* newRadio(CHTMLRadioValue* first);

private:
    ArrayOfPointers<CHTMLFormElement> m_elements;
    CHTMLObjectImpl* m_base;
    mutable int m_method;  // 0: not yet computed
};

/// The scanner's form: owns its implementation object and makes owning
/// groups.
class WEBSTEP_API CHTMLForm_ : public CHTMLForm {
public:
    CHTMLForm_(CHTMLObjectImpl* impl, CHTMLObjectImpl* base) : CHTMLForm(impl, base) {}
    ~CHTMLForm_() override;

protected:
    CHTMLRadio* newRadio(CHTMLRadioValue* first) override;
};

#include "webstep/html/HTMLForm.h"

CHTMLForm::CHTMLForm(CHTMLObjectImpl* impl, CHTMLObjectImpl* base)
    : CHTMLObject(impl), m_base(base), m_method(0) {}

CHTMLForm::~CHTMLForm() = default;

CHTMLForm::FormMethod CHTMLForm::method() const {
    if (m_method != 0) {
        return static_cast<FormMethod>(m_method);
    }
    const char* m = attr("method");
    if (htmlpage::EqualsNoCase(m, "post")) {
        m_method = METHOD_POST;
    } else if (htmlpage::EqualsNoCase(m, "get")) {
        m_method = METHOD_GET;
    }
    return m_method == METHOD_POST ? METHOD_POST : METHOD_GET;
}

void CHTMLForm::setAttr(const char* name, const char* value) {
    CHTMLObject::setAttr(name, value);
    m_method = 0;
}

const char* CHTMLForm::base() const {
    return m_base != nullptr ? m_base->attr("href") : nullptr;
}

const char* CHTMLForm::baseTarget() const {
    return m_base != nullptr ? m_base->attr("target") : nullptr;
}

CHTMLFormElement* CHTMLForm::element(int i) const {
    return i >= 0 && i < m_elements.size() ? m_elements[i] : nullptr;
}

void CHTMLForm::addElement(CHTMLFormElement* element) {
    if (element == nullptr) {
        return;
    }
    if (element->type() == CHTMLFormElement::ELEMENT_RADIO) {
        if (auto* value = dynamic_cast<CHTMLRadioValue*>(element)) {
            addRadio_(value);
            return;
        }
    }
    m_elements.add(element);
}

void CHTMLForm::addRadio_(CHTMLRadioValue* value) {
    if (value == nullptr) {
        return;
    }
    const char* name = value->name();
    if (name != nullptr) {
        for (int i = m_elements.size() - 1; i >= 0; --i) {
            auto* group = dynamic_cast<CHTMLRadio*>(m_elements[i]);
            if (group != nullptr && group->type() == CHTMLFormElement::ELEMENT_RADIO &&
                htmlpage::EqualsNoCase(group->name(), name)) {
                group->addValue(value);
                return;
            }
        }
    }
    m_elements.add(newRadio(value));
}

CHTMLRadio* CHTMLForm::newRadio(CHTMLRadioValue* first) {
    return new CHTMLRadio(first);
}

CHTMLForm_::~CHTMLForm_() {
    // The elements go before the form's own attributes.
    cleanup();
    delete m_impl;
}

CHTMLRadio* CHTMLForm_::newRadio(CHTMLRadioValue* first) {
    return new CHTMLRadio_(first);
}

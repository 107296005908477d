#include "webstep/html/HTMLFormElement.h"

#include <cstdlib>

namespace {

// Caches an attribute's value as a copy, so that a later change of the
// attribute cannot leave a dangling pointer behind.
const char* Cached(const CHTMLObject& object, const char* name, bool& computed, bool& defined,
                   MString& store) {
    if (!computed) {
        const char* v = object.attr(name);
        defined = v != nullptr;
        store = defined ? v : "";
        computed = true;
    }
    return defined ? store.c_str() : nullptr;
}

}  // namespace

CHTMLFormElement::CHTMLFormElement(CHTMLObjectImpl* impl)
    : CHTMLObject(impl),
      m_type(0),
      m_nameComputed(false),
      m_nameDefined(false),
      m_valueComputed(false),
      m_valueDefined(false) {}

CHTMLFormElement::ElementType CHTMLFormElement::TypeOf(HTMLTag tag, const char* typeValue) {
    switch (tag) {
        case HTML_SELECT:
            return ELEMENT_SELECT;
        case HTML_AREA:
            return ELEMENT_AREA;
        case HTML_INPUT:
            break;
        default:
            return ELEMENT_NONE;
    }
    static const struct {
        const char* name;
        ElementType type;
    } kTypes[] = {
        {"text", ELEMENT_TEXT},     {"password", ELEMENT_PASSWORD}, {"checkbox", ELEMENT_CHECKBOX},
        {"radio", ELEMENT_RADIO},   {"submit", ELEMENT_SUBMIT},     {"reset", ELEMENT_RESET},
        {"file", ELEMENT_FILE},     {"hidden", ELEMENT_HIDDEN},     {"image", ELEMENT_IMAGE},
        {"button", ELEMENT_BUTTON},
    };
    if (typeValue != nullptr) {
        for (const auto& t : kTypes) {
            if (htmlpage::EqualsNoCase(typeValue, t.name)) {
                return t.type;
            }
        }
    }
    return ELEMENT_TEXT;
}

CHTMLFormElement::ElementType CHTMLFormElement::type() const {
    if (m_type == 0) {
        m_type = TypeOf(tag(), attr("type"));
    }
    return static_cast<ElementType>(m_type);
}

const char* CHTMLFormElement::name() const {
    return Cached(*this, "name", m_nameComputed, m_nameDefined, m_name);
}

const char* CHTMLFormElement::value() const {
    return Cached(*this, "value", m_valueComputed, m_valueDefined, m_value);
}

void CHTMLFormElement::setAttr(const char* name, const char* value) {
    CHTMLObject::setAttr(name, value);
    m_type = 0;
    m_nameComputed = false;
    m_valueComputed = false;
}

CHTMLRadio::CHTMLRadio(CHTMLRadioValue* first)
    : CHTMLFormElement(first != nullptr ? first->GetImpl() : nullptr) {
    if (first != nullptr) {
        m_values.add(first);
    }
}

CHTMLRadio::~CHTMLRadio() = default;

CHTMLRadioValue* CHTMLRadio::value(int i) const {
    return i >= 0 && i < m_values.size() ? m_values[i] : nullptr;
}

void CHTMLRadio::addValue(CHTMLRadioValue* value) {
    if (value == nullptr) {
        return;
    }
    if (m_impl == nullptr) {
        m_impl = value->GetImpl();
    }
    m_values.add(value);
}

CHTMLMenuItem::CHTMLMenuItem(CHTMLObjectImpl* impl)
    : CHTMLObject(impl),
      m_valueComputed(false),
      m_valueDefined(false),
      m_selected(-1),
      m_text(nullptr) {}

CHTMLMenuItem::~CHTMLMenuItem() {
    std::free(m_text);
}

const char* CHTMLMenuItem::value() const {
    return Cached(*this, "value", m_valueComputed, m_valueDefined, m_value);
}

bool CHTMLMenuItem::selected() const {
    if (m_selected < 0) {
        m_selected = attr("selected") != nullptr ? 1 : 0;
    }
    return m_selected == 1;
}

void CHTMLMenuItem::setItemText(const char* text) {
    char* copy = htmlpage::Duplicate(text);
    std::free(m_text);
    m_text = copy;
}

void CHTMLMenuItem::setAttr(const char* name, const char* value) {
    CHTMLObject::setAttr(name, value);
    m_valueComputed = false;
    m_selected = -1;
}

CHTMLMenuItem* CHTMLMenu::item(int i) const {
    return i >= 0 && i < m_items.size() ? m_items[i] : nullptr;
}

CHTMLFormElement_::~CHTMLFormElement_() {
    delete m_impl;
}
CHTMLRadioValue_::~CHTMLRadioValue_() {
    delete m_impl;
}
CHTMLCheckbox_::~CHTMLCheckbox_() {
    delete m_impl;
}
CHTMLTextArea_::~CHTMLTextArea_() {
    delete m_impl;
}
CHTMLMenu_::~CHTMLMenu_() {
    delete m_impl;
}
CHTMLMenuItem_::~CHTMLMenuItem_() {
    delete m_impl;
}

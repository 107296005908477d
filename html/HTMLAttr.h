#pragma once
// Attributes of a start tag as the lexer delivers them: names lower-cased,
// values with references decoded; an attribute without a value has a null
// value.
#include "webstep/foundation/Export.h"

/// One attribute of a start tag: the lower-cased name and the decoded value
/// (null for an attribute written without one). Owned by the attribute list
/// of its tag.
class WEBSTEP_API CHTMLAttr {
public:
    /// Both texts are copied; a null stays null.
    CHTMLAttr(const char* name, const char* value);
    CHTMLAttr(const CHTMLAttr& other);
    CHTMLAttr& operator=(const CHTMLAttr& other);
    ~CHTMLAttr();

    const char* name() const { return m_name; }
    const char* value() const { return m_value; }
    bool hasAValue() const { return m_value != nullptr; }
    /// Stores a copy; a null argument stores an empty string.
    void setValue(const char* value);

private:
    char* m_name;
    char* m_value;
};

/// An owning list of attributes in the order of the tag; an attribute written
/// twice is listed twice.
class WEBSTEP_API CHTMLAttrs {
public:
    CHTMLAttrs();
    CHTMLAttrs(const CHTMLAttrs& other);
    CHTMLAttrs& operator=(const CHTMLAttrs& other);
    ~CHTMLAttrs();

    /// Takes ownership; a null pointer is ignored.
    void add(CHTMLAttr* attr);
    void add(const char* name, const char* value);
    /// No bounds check.
    CHTMLAttr* operator[](unsigned i) const { return m_items[i]; }
    int size() const { return m_count; }
    int capacity() const { return m_capacity; }
    void removeAll();
    /// The first attribute whose name equals name byte for byte.
    bool find(const char* name, CHTMLAttr*& out) const;

private:
    CHTMLAttr** m_items;
    int m_capacity;
    int m_count;
};

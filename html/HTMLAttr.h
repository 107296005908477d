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
    const char* value() const { return m_hasValue ? m_value : nullptr; }
    bool hasAValue() const { return m_hasValue; }
    /// Bytes of storage the attribute holds for its texts.
    unsigned storage() const { return m_nameCapacity + m_valueCapacity; }
    /// Stores a copy; a null argument stores an empty string.
    void setValue(const char* value);
    /// Makes the attribute name[0, nameLength) with value[0, valueLength),
    /// or without a value when value is null, reusing its own storage when
    /// the texts fit. The texts need no terminating NUL.
    void assign(const char* name, unsigned nameLength, const char* value, unsigned valueLength);

private:
    static void Store(char*& buffer, unsigned& capacity, const char* text, unsigned length);

    char* m_name;
    char* m_value;
    unsigned m_nameCapacity;
    unsigned m_valueCapacity;
    bool m_hasValue;
    /// The value's storage is the tail of the name's block (one allocation
    /// for both), freed with the name.
    bool m_valueInName;
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
    /// Removes the last attribute and hands it to the caller (who then owns
    /// it, for instance to reuse it); null when the list is empty.
    CHTMLAttr* takeLast() { return m_count > 0 ? m_items[--m_count] : nullptr; }
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

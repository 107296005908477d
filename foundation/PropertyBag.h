#pragma once
// Ordered name/value bags with case-insensitive names (ASCII folding). Step
// attributes and error attributes live in them.
#include <list>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// One name/value pair of a property bag.
struct WEBSTEP_API PropertyRecord {
    MString name;
    MString value;
};

class CPropertyBagIterator;
class CAttributeSet;

/// Records stay in insertion order and names may repeat; every lookup finds
/// the first record in list order. A null name or value counts as "".
class WEBSTEP_API CPropertyBag {
public:
    using RecordList = std::list<PropertyRecord>;

    CPropertyBag() = default;
    CPropertyBag(const CPropertyBag& other) = default;
    CPropertyBag& operator=(const CPropertyBag& other);
    virtual ~CPropertyBag() = default;

    /// Refuses (false) an existing name unless allowDuplicate; else appends.
    bool AddProperty(const char* name, const char* value, bool allowDuplicate);
    /// Replaces the first record's value in place, or appends; always true.
    bool SafeAddProperty(const char* name, const char* value);
    bool SafeSetProperty(const char* name, const char* value);
    /// Replaces the first record's value; never creates (false when absent).
    bool SetProperty(const char* name, const char* value);
    /// Leaves value untouched when the name is absent.
    bool GetProperty(const char* name, MString& value) const;
    /// Removes the first record of that name; later duplicates stay.
    bool RemoveProperty(const char* name);
    void RemoveAll();
    unsigned int GetNumItems() const;

protected:
    RecordList& getMap() { return m_records; }
    const RecordList& getMap() const { return m_records; }

private:
    friend class CPropertyBagIterator;

    bool propExists(const char* name, RecordList::const_iterator& where) const;
    bool setProperty(const char* name, const char* value, RecordList::const_iterator where);

    RecordList m_records;
};

/// The attribute set of a step: one bag reached only through these
/// operations, plus a name-overlap match.
class WEBSTEP_API CAttributeSet : private CPropertyBag {
public:
    CAttributeSet() = default;
    explicit CAttributeSet(const CPropertyBag& bag) : CPropertyBag(bag) {}
    CAttributeSet(const CAttributeSet& other) = default;
    CAttributeSet& operator=(const CAttributeSet& other);
    ~CAttributeSet() override = default;

    bool AddAttribute(const char* name, const char* value, bool allowDuplicate) {
        return AddProperty(name, value, allowDuplicate);
    }
    bool GetAttribute(const char* name, MString& value) const { return GetProperty(name, value); }
    /// Replaces only; never creates.
    bool SetAttribute(const char* name, const char* value) { return SetProperty(name, value); }
    bool RemoveAttribute(const char* name) { return RemoveProperty(name); }
    void RemoveAll() { CPropertyBag::RemoveAll(); }
    unsigned int GetNumItems() const { return CPropertyBag::GetNumItems(); }

    /// True when this set holds at least one name of other; values are not
    /// compared. An empty other never matches.
    virtual bool Match(const CAttributeSet& other);

private:
    friend class CPropertyBagIterator;
};

/// Walks a bag forwards and backwards. The bag must outlive the iterator and
/// must not change while it is used.
class WEBSTEP_API CPropertyBagIterator {
public:
    explicit CPropertyBagIterator(const CPropertyBag& bag);
    explicit CPropertyBagIterator(const CAttributeSet& set);
    CPropertyBagIterator(const CPropertyBagIterator& other) = default;
    CPropertyBagIterator& operator=(const CPropertyBagIterator& other) = default;

    bool GetFirst(MString& name, MString& value);
    /// False when the step reaches the end; the iterator then stands there.
    bool GetNext(MString& name, MString& value);
    /// From the end position it yields the last record.
    bool GetPrevious(MString& name, MString& value);

private:
    using Position = CPropertyBag::RecordList::const_iterator;

    CPropertyBagIterator();
    bool retrieveNameAndValue(MString& name, MString& value) const;

    Position m_current;
    Position m_first;
    Position m_end;
    bool m_valid;
};

#include "webstep/foundation/PropertyBag.h"

namespace {

unsigned char FoldAscii(unsigned char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c - 'A' + 'a') : c;
}

// Byte comparison with ASCII case folding only (bytes >= 0x80 compare as
// they are, so multi-byte names are never folded half-way).
bool NamesEqual(const MString& stored, const char* name) {
    if (name == nullptr) {
        name = "";
    }
    std::size_t i = 0;
    for (; i < stored.size(); ++i) {
        if (name[i] == '\0' || FoldAscii(static_cast<unsigned char>(stored[i])) !=
                                   FoldAscii(static_cast<unsigned char>(name[i]))) {
            return false;
        }
    }
    return name[i] == '\0';
}

const char* OrEmpty(const char* s) {
    return s != nullptr ? s : "";
}

}  // namespace

CPropertyBag& CPropertyBag::operator=(const CPropertyBag& other) {
    if (this != &other) {
        m_records.clear();
        for (const PropertyRecord& record : other.m_records) {
            m_records.push_back(record);
        }
    }
    return *this;
}

bool CPropertyBag::propExists(const char* name, RecordList::const_iterator& where) const {
    for (auto it = m_records.begin(); it != m_records.end(); ++it) {
        if (NamesEqual(it->name, name)) {
            where = it;
            return true;
        }
    }
    return false;
}

bool CPropertyBag::setProperty(const char* name, const char* value,
                               RecordList::const_iterator where) {
    if (where == m_records.end()) {
        m_records.push_back(PropertyRecord{OrEmpty(name), OrEmpty(value)});
    } else {
        // A const_iterator names the record; erase of an empty range turns it
        // into a mutable iterator without touching the list.
        m_records.erase(where, where)->value = OrEmpty(value);
    }
    return true;
}

bool CPropertyBag::AddProperty(const char* name, const char* value, bool allowDuplicate) {
    RecordList::const_iterator where = m_records.end();
    if (!allowDuplicate && propExists(name, where)) {
        return false;
    }
    return setProperty(name, value, m_records.end());
}

bool CPropertyBag::SafeAddProperty(const char* name, const char* value) {
    RecordList::const_iterator where = m_records.end();
    propExists(name, where);
    return setProperty(name, value, where);
}

bool CPropertyBag::SafeSetProperty(const char* name, const char* value) {
    return SafeAddProperty(name, value);
}

bool CPropertyBag::SetProperty(const char* name, const char* value) {
    RecordList::const_iterator where = m_records.end();
    if (!propExists(name, where)) {
        return false;
    }
    return setProperty(name, value, where);
}

bool CPropertyBag::GetProperty(const char* name, MString& value) const {
    RecordList::const_iterator where = m_records.end();
    if (!propExists(name, where)) {
        return false;
    }
    value = where->value;
    return true;
}

bool CPropertyBag::RemoveProperty(const char* name) {
    RecordList::const_iterator where = m_records.end();
    if (!propExists(name, where)) {
        return false;
    }
    m_records.erase(where);
    return true;
}

void CPropertyBag::RemoveAll() {
    m_records.clear();
}

unsigned int CPropertyBag::GetNumItems() const {
    return static_cast<unsigned int>(m_records.size());
}

CAttributeSet& CAttributeSet::operator=(const CAttributeSet& other) {
    CPropertyBag::operator=(other);
    return *this;
}

bool CAttributeSet::Match(const CAttributeSet& other) {
    MString ignored;
    for (const PropertyRecord& record : other.getMap()) {
        if (GetProperty(record.name.c_str(), ignored)) {
            return true;
        }
    }
    return false;
}

CPropertyBagIterator::CPropertyBagIterator() : m_current(), m_first(), m_end(), m_valid(false) {}

CPropertyBagIterator::CPropertyBagIterator(const CPropertyBag& bag)
    : m_current(bag.getMap().begin()),
      m_first(bag.getMap().begin()),
      m_end(bag.getMap().end()),
      m_valid(true) {}

CPropertyBagIterator::CPropertyBagIterator(const CAttributeSet& set)
    : CPropertyBagIterator(static_cast<const CPropertyBag&>(set)) {}

bool CPropertyBagIterator::retrieveNameAndValue(MString& name, MString& value) const {
    name = m_current->name;
    value = m_current->value;
    return true;
}

bool CPropertyBagIterator::GetFirst(MString& name, MString& value) {
    if (!m_valid || m_first == m_end) {
        return false;
    }
    m_current = m_first;
    return retrieveNameAndValue(name, value);
}

bool CPropertyBagIterator::GetNext(MString& name, MString& value) {
    if (!m_valid || m_current == m_end) {
        return false;
    }
    ++m_current;
    if (m_current == m_end) {
        return false;
    }
    return retrieveNameAndValue(name, value);
}

bool CPropertyBagIterator::GetPrevious(MString& name, MString& value) {
    if (!m_valid || m_current == m_first) {
        return false;
    }
    --m_current;
    return retrieveNameAndValue(name, value);
}

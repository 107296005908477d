#include "webstep/forms/Resource.h"

CResourceElements::CResourceElements(const CResourceElements& other) : m_List(other.m_List) {}

CResourceElements& CResourceElements::operator=(const CResourceElements& other) {
    if (this == &other)
        return *this;
    PurgeResource();
    for (CResource* item : other.m_List)
        m_List.push_back(item);
    return *this;
}

CResourceElements::~CResourceElements() {
    PurgeResource();
}

void CResourceElements::AddResourceBefore(CResource* item, iterator& where) {
    if (where != m_List.end())
        where = m_List.insert(where, item);
    else
        m_List.push_back(item);
}

void CResourceElements::AddResourceAfter(CResource* item, iterator& where) {
    if (where != m_List.end()) {
        iterator next = where;
        ++next;
        if (next != m_List.end()) {
            where = m_List.insert(next, item);
            return;
        }
    }
    m_List.push_back(item);
}

bool CResourceElements::RemoveResource(CResource* item) {
    for (auto it = m_List.begin(); it != m_List.end(); ++it) {
        if (*it == item) {
            m_List.erase(it);
            break;
        }
    }
    return true;
}

void CResourceElements::PurgeResource() {
    for (CResource* item : m_List)
        delete item;
    m_List.clear();
}

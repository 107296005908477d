#include "webstep/forms/Resource.h"

#include "webstep/forms/internal/OwningList.h"

CResourceElements::CResourceElements(const CResourceElements& other) : m_List(other.m_List) {}

CResourceElements& CResourceElements::operator=(const CResourceElements& other) {
    webstep::forms::AssignShared(m_List, other.m_List);
    return *this;
}

CResourceElements::~CResourceElements() {
    PurgeResource();
}

void CResourceElements::AddResourceBefore(CResource* item, iterator& where) {
    webstep::forms::InsertBefore(m_List, item, where);
}

void CResourceElements::AddResourceAfter(CResource* item, iterator& where) {
    webstep::forms::InsertAfter(m_List, item, where);
}

bool CResourceElements::RemoveResource(CResource* item) {
    webstep::forms::RemoveFirst(m_List, item);
    return true;
}

void CResourceElements::PurgeResource() {
    webstep::forms::DeleteAll(m_List);
}

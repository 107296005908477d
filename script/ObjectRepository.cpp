#include "webstep/script/ObjectRepository.h"

bool CObjectRepository::RegisterObject(const char* name, Factory factory) {
    // A null name is kept as the empty name rather than refused.
    m_factories.emplace(MString(name ? name : ""), factory);
    return true;
}

void* CObjectRepository::CreateObject(const char* name) {
    if (name == nullptr)
        return nullptr;
    auto it = m_factories.find(MString(name));
    if (it == m_factories.end() || it->second == nullptr)
        return nullptr;
    return it->second();
}

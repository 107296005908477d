#pragma once
// Name-to-factory registry: exact, case-sensitive names in byte order; the
// first registration of a name wins.
#include <map>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// A name-to-factory registry: exact, case-sensitive names; the first
/// registration of a name wins. CreateObject gives a new object owned by the
/// caller, or null for an unknown name. A value class.
class WEBSTEP_API CObjectRepository {
public:
    using Factory = void* (*)();

    CObjectRepository() = default;
    CObjectRepository(const CObjectRepository&) = default;
    CObjectRepository& operator=(const CObjectRepository&) = default;
    ~CObjectRepository() = default;

    /// Inserts the pair unless the name is already there. Always true.
    bool RegisterObject(const char* name, Factory factory);
    /// A new object from the named factory (owned by the caller), or null when
    /// the name is unknown.
    void* CreateObject(const char* name);

    /// Number of registered names (not part of the registration contract; for
    /// callers that list what is known).
    size_t GetCount() const { return m_factories.size(); }

private:
    std::map<MString, Factory> m_factories;
};

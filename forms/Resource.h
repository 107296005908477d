#pragma once
// One extra resource of a navigation step and the owning list of resources.
#include <list>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/ParametrizableArgument.h"

/// One extra resource (EXTRARES) of a navigation step: URL, referer and
/// related attributes. A value class owned by its CResourceElements list.
class WEBSTEP_API CResource {
public:
    CResource(const MString& url, const MString& referer) : url(url), referer(referer) {}
    CResource(const CResource&) = default;
    CResource& operator=(const CResource&) = default;
    ~CResource() = default;

    const MString& GetUrl() const { return url.GetValue(); }
    const MString& GetReferer() const { return referer.GetValue(); }
    const CParametrizableArgument& GetUrlArgument() const { return url; }
    const CParametrizableArgument& GetRefererArgument() const { return referer; }
    void SetUrl(const MString& text) { url.SetValue(text); }
    void SetReferer(const MString& text) { referer.SetValue(text); }

    bool operator==(const CResource& other) const {
        return url == other.url && referer == other.referer;
    }
    bool operator!=(const CResource& other) const { return !(*this == other); }

private:
    CParametrizableArgument url;
    CParametrizableArgument referer;
};

/// Owning list of resources; copies share the pointers (see CDataElements).
/// Its destructor is deliberately not virtual.
class WEBSTEP_API CResourceElements {
public:
    using iterator = std::list<CResource*>::iterator;

    CResourceElements() = default;
    CResourceElements(const CResourceElements& other);
    CResourceElements& operator=(const CResourceElements& other);
    ~CResourceElements();

    virtual const std::list<CResource*>& GetList() const { return m_List; }
    virtual std::list<CResource*>& GetList() { return m_List; }

    void AddTail(CResource* item) { m_List.push_back(item); }
    void AddResourceBefore(CResource* item, iterator& where);
    void AddResourceAfter(CResource* item, iterator& where);
    bool RemoveResource(CResource* item);
    void PurgeResource();
    /// Empties the list without deleting the resources.
    void ClearResourceReferences() { m_List.clear(); }
    unsigned int GetNumElements() const { return static_cast<unsigned int>(m_List.size()); }

private:
    std::list<CResource*> m_List;
};

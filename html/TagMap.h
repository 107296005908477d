#pragma once
// The tables that tell the page scanner what to do with a start tag: which
// tags build page objects (and with which operation of the scanner) and which
// attribute of which tag holds a URL, with the kind of that URL.
#include <map>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/TextBuffer.h"
#include "webstep/html/HTMLTag.h"

class CHTMLScannerImpl;
class CHTMLObjectImpl;

/// An operation of the scanner that receives the page object built for a tag;
/// it may adopt the object and set the pointer to null.
typedef void (CHTMLScannerImpl::*ProcessTagFunc)(CHTMLObjectImpl*&);

/// One row of the tag table; a row with tag 0 ends a table.
struct WEBSTEP_API TagSpec {
    HTMLTag tag;
    bool pickAllAttrs;
    ProcessTagFunc processTagFunc;
};

/// One row of a link table; a row with tag 0 ends a table.
struct WEBSTEP_API LinkSpec {
    HTMLTag tag;
    const char* attribute;  // lower case
    bool isResource;
    bool isFollowable;
    bool hasObject;
};

/// The URL-carrying attributes of one tag.
class WEBSTEP_API CLinkMapInfo {
public:
    class Attr {
    public:
        Attr(const char* name, bool isResource, bool isFollowable, bool hasObject);
        Attr(const Attr& other);
        Attr& operator=(const Attr& other);
        virtual ~Attr();

        const char* name() const { return m_name; }
        bool isResource() const { return m_isResource; }
        bool isFollowable() const { return m_isFollowable; }
        bool hasObject() const { return m_hasObject; }
        void setFlags(bool isResource, bool isFollowable, bool hasObject);

    private:
        char* m_name;
        bool m_isResource;
        bool m_isFollowable;
        bool m_hasObject;
    };

    explicit CLinkMapInfo(HTMLTag tag);
    explicit CLinkMapInfo(const LinkSpec& entry);
    CLinkMapInfo(const CLinkMapInfo& other);
    CLinkMapInfo& operator=(const CLinkMapInfo& other);
    virtual ~CLinkMapInfo();

    HTMLTag tag() const { return m_tag; }
    int size() const { return m_attributes.size(); }
    /// Index of the first attribute with exactly this name; -1 when absent.
    int find(const char* name) const;
    /// Appends the row's attribute, or replaces the flags of the attribute
    /// already there (its name stays the first one's).
    void setSpec(const LinkSpec& entry);
    /// false when i is out of range.
    bool getAt(unsigned i, LinkSpec& out) const;

private:
    void copyFrom(const CLinkMapInfo& other);

    HTMLTag m_tag;
    ArrayOfPointers<Attr> m_attributes;
};

/// What the map knows about one tag.
class WEBSTEP_API CTagMapInfo {
public:
    CTagMapInfo(const TagSpec& entry, const CLinkMapInfo* links);
    explicit CTagMapInfo(const LinkSpec& entry);
    CTagMapInfo(const CTagMapInfo& other);
    CTagMapInfo& operator=(const CTagMapInfo& other);
    ~CTagMapInfo();

    bool isLink() const { return m_linkInfo != nullptr; }
    HTMLTag tag() const { return m_tag; }
    CLinkMapInfo* linkInfo() const { return m_linkInfo; }
    bool pickAllAttrs() const { return m_pickAllAttrs; }
    ProcessTagFunc processTagFunc() const { return m_processTagFunc; }
    /// Takes ownership and deletes the link information held before.
    void setLinkInfo(CLinkMapInfo* info);
    void setProcessing(const TagSpec& entry);
    bool isLinkAttr(const char* name, unsigned& index) const;

private:
    HTMLTag m_tag;
    CLinkMapInfo* m_linkInfo;
    ProcessTagFunc m_processTagFunc;
    bool m_pickAllAttrs;
};

class CTagMapIterator;

/// Tags in ascending number, each with its owned information.
class WEBSTEP_API CTagMap {
public:
    CTagMap();
    /// addTag for every row up to the terminating row.
    explicit CTagMap(const TagSpec* table);
    CTagMap(const CTagMap& other);
    CTagMap& operator=(const CTagMap& other);
    ~CTagMap();

    void addTag(const TagSpec& entry);
    void addLink(const LinkSpec& entry);
    /// addLink for every row up to the terminating row.
    void addLinks(const LinkSpec* table);
    bool getInfo(HTMLTag tag, CTagMapInfo*& out) const;
    void removeAllLinks();
    void cleanup();
    int size() const { return static_cast<int>(m_map.size()); }

private:
    friend class CTagMapIterator;
    typedef std::map<int, CTagMapInfo*> Map;

    void copyFrom(const CTagMap& other);

    Map m_map;
};

/// Walks the entries of a tag map; compares equal to 0 at the end.
class WEBSTEP_API CTagMapIterator {
public:
    CTagMapIterator();
    explicit CTagMapIterator(const CTagMap* map);
    CTagMapIterator& operator=(const CTagMap* map);

    CTagMapIterator& operator++();
    CTagMapIterator operator++(int);
    HTMLTag tag() const;
    CTagMapInfo* info() const;

    bool operator==(const CTagMapIterator& other) const;
    bool operator!=(const CTagMapIterator& other) const { return !(*this == other); }
    /// Only 0 compares: equal when the iterator is at the end.
    bool operator==(int n) const;
    bool operator!=(int n) const { return !(*this == n); }

private:
    bool atEnd() const;

    const CTagMap* m_map;
    CTagMap::Map::const_iterator m_position;
};

#include "webstep/html/TagMap.h"

#include <cstdlib>
#include <cstring>

namespace {

char* Duplicate(const char* s) {
    if (s == nullptr) {
        s = "";
    }
    const std::size_t n = std::strlen(s) + 1;
    char* copy = static_cast<char*>(std::malloc(n));
    if (copy != nullptr) {
        std::memcpy(copy, s, n);
    }
    return copy;
}

}  // namespace

CLinkMapInfo::Attr::Attr(const char* name, bool isResource, bool isFollowable, bool hasObject)
    : m_name(Duplicate(name)),
      m_isResource(isResource),
      m_isFollowable(isFollowable),
      m_hasObject(hasObject) {}

CLinkMapInfo::Attr::Attr(const Attr& other)
    : m_name(Duplicate(other.m_name)),
      m_isResource(other.m_isResource),
      m_isFollowable(other.m_isFollowable),
      m_hasObject(other.m_hasObject) {}

CLinkMapInfo::Attr& CLinkMapInfo::Attr::operator=(const Attr& other) {
    if (this != &other) {
        char* name = Duplicate(other.m_name);
        std::free(m_name);
        m_name = name;
        m_isResource = other.m_isResource;
        m_isFollowable = other.m_isFollowable;
        m_hasObject = other.m_hasObject;
    }
    return *this;
}

CLinkMapInfo::Attr::~Attr() {
    std::free(m_name);
}

void CLinkMapInfo::Attr::setFlags(bool isResource, bool isFollowable, bool hasObject) {
    m_isResource = isResource;
    m_isFollowable = isFollowable;
    m_hasObject = hasObject;
}

CLinkMapInfo::CLinkMapInfo(HTMLTag tag) : m_tag(tag), m_attributes(100, 10) {}

CLinkMapInfo::CLinkMapInfo(const LinkSpec& entry) : m_tag(entry.tag), m_attributes(100, 10) {
    setSpec(entry);
}

CLinkMapInfo::CLinkMapInfo(const CLinkMapInfo& other) : m_tag(other.m_tag), m_attributes(100, 10) {
    copyFrom(other);
}

CLinkMapInfo& CLinkMapInfo::operator=(const CLinkMapInfo& other) {
    if (this != &other) {
        m_attributes.cleanup();
        m_tag = other.m_tag;
        copyFrom(other);
    }
    return *this;
}

CLinkMapInfo::~CLinkMapInfo() = default;

void CLinkMapInfo::copyFrom(const CLinkMapInfo& other) {
    for (int i = 0; i < other.m_attributes.size(); ++i) {
        m_attributes.add(new Attr(*other.m_attributes[i]));
    }
}

int CLinkMapInfo::find(const char* name) const {
    if (name == nullptr) {
        return -1;
    }
    for (int i = 0; i < m_attributes.size(); ++i) {
        if (std::strcmp(m_attributes[i]->name(), name) == 0) {
            return i;
        }
    }
    return -1;
}

void CLinkMapInfo::setSpec(const LinkSpec& entry) {
    if (entry.attribute == nullptr) {
        return;
    }
    const int at = find(entry.attribute);
    if (at < 0) {
        m_attributes.add(
            new Attr(entry.attribute, entry.isResource, entry.isFollowable, entry.hasObject));
    } else {
        m_attributes[at]->setFlags(entry.isResource, entry.isFollowable, entry.hasObject);
    }
}

bool CLinkMapInfo::getAt(unsigned i, LinkSpec& out) const {
    if (i >= static_cast<unsigned>(m_attributes.size())) {
        return false;
    }
    const Attr* attr = m_attributes[static_cast<int>(i)];
    out.tag = m_tag;
    out.attribute = attr->name();
    out.isResource = attr->isResource();
    out.isFollowable = attr->isFollowable();
    out.hasObject = attr->hasObject();
    return true;
}

CTagMapInfo::CTagMapInfo(const TagSpec& entry, const CLinkMapInfo* links)
    : m_tag(entry.tag),
      m_linkInfo(links != nullptr ? new CLinkMapInfo(*links) : nullptr),
      m_processTagFunc(entry.processTagFunc),
      m_pickAllAttrs(entry.pickAllAttrs) {}

CTagMapInfo::CTagMapInfo(const LinkSpec& entry)
    : m_tag(entry.tag),
      m_linkInfo(new CLinkMapInfo(entry)),
      m_processTagFunc(nullptr),
      m_pickAllAttrs(false) {}

CTagMapInfo::CTagMapInfo(const CTagMapInfo& other)
    : m_tag(other.m_tag),
      m_linkInfo(other.m_linkInfo != nullptr ? new CLinkMapInfo(*other.m_linkInfo) : nullptr),
      m_processTagFunc(other.m_processTagFunc),
      m_pickAllAttrs(other.m_pickAllAttrs) {}

CTagMapInfo& CTagMapInfo::operator=(const CTagMapInfo& other) {
    if (this != &other) {
        CLinkMapInfo* links =
            other.m_linkInfo != nullptr ? new CLinkMapInfo(*other.m_linkInfo) : nullptr;
        delete m_linkInfo;
        m_linkInfo = links;
        m_tag = other.m_tag;
        m_processTagFunc = other.m_processTagFunc;
        m_pickAllAttrs = other.m_pickAllAttrs;
    }
    return *this;
}

CTagMapInfo::~CTagMapInfo() {
    delete m_linkInfo;
}

void CTagMapInfo::setLinkInfo(CLinkMapInfo* info) {
    if (info != m_linkInfo) {
        delete m_linkInfo;
        m_linkInfo = info;
    }
}

void CTagMapInfo::setProcessing(const TagSpec& entry) {
    m_processTagFunc = entry.processTagFunc;
    m_pickAllAttrs = entry.pickAllAttrs;
}

bool CTagMapInfo::isLinkAttr(const char* name, unsigned& index) const {
    if (m_linkInfo == nullptr) {
        return false;
    }
    const int at = m_linkInfo->find(name);
    if (at < 0) {
        return false;
    }
    index = static_cast<unsigned>(at);
    return true;
}

CTagMap::CTagMap() = default;

CTagMap::CTagMap(const TagSpec* table) {
    if (table == nullptr) {
        return;
    }
    for (const TagSpec* row = table; row->tag != 0; ++row) {
        addTag(*row);
    }
}

CTagMap::CTagMap(const CTagMap& other) {
    copyFrom(other);
}

CTagMap& CTagMap::operator=(const CTagMap& other) {
    if (this != &other) {
        cleanup();
        copyFrom(other);
    }
    return *this;
}

CTagMap::~CTagMap() {
    cleanup();
}

void CTagMap::copyFrom(const CTagMap& other) {
    for (const auto& entry : other.m_map) {
        m_map[entry.first] = new CTagMapInfo(*entry.second);
    }
}

void CTagMap::addTag(const TagSpec& entry) {
    auto found = m_map.find(entry.tag);
    if (found != m_map.end()) {
        found->second->setProcessing(entry);
        return;
    }
    m_map[entry.tag] = new CTagMapInfo(entry, nullptr);
}

void CTagMap::addLink(const LinkSpec& entry) {
    auto found = m_map.find(entry.tag);
    if (found == m_map.end()) {
        m_map[entry.tag] = new CTagMapInfo(entry);
        return;
    }
    CTagMapInfo* info = found->second;
    if (info->linkInfo() == nullptr) {
        info->setLinkInfo(new CLinkMapInfo(entry));
    } else {
        info->linkInfo()->setSpec(entry);
    }
}

void CTagMap::addLinks(const LinkSpec* table) {
    if (table == nullptr) {
        return;
    }
    for (const LinkSpec* row = table; row->tag != 0; ++row) {
        addLink(*row);
    }
}

bool CTagMap::getInfo(HTMLTag tag, CTagMapInfo*& out) const {
    auto found = m_map.find(tag);
    if (found == m_map.end()) {
        out = nullptr;
        return false;
    }
    out = found->second;
    return true;
}

void CTagMap::removeAllLinks() {
    for (auto& entry : m_map) {
        entry.second->setLinkInfo(nullptr);
    }
}

void CTagMap::cleanup() {
    for (auto& entry : m_map) {
        delete entry.second;
    }
    m_map.clear();
}

CTagMapIterator::CTagMapIterator() : m_map(nullptr) {}

CTagMapIterator::CTagMapIterator(const CTagMap* map) : m_map(nullptr) {
    *this = map;
}

CTagMapIterator& CTagMapIterator::operator=(const CTagMap* map) {
    m_map = map;
    if (m_map != nullptr) {
        m_position = m_map->m_map.begin();
    } else {
        m_position = CTagMap::Map::const_iterator();
    }
    return *this;
}

bool CTagMapIterator::atEnd() const {
    return m_map == nullptr || m_position == m_map->m_map.end();
}

CTagMapIterator& CTagMapIterator::operator++() {
    if (!atEnd()) {
        ++m_position;
    }
    return *this;
}

CTagMapIterator CTagMapIterator::operator++(int) {
    CTagMapIterator before = *this;
    ++*this;
    return before;
}

HTMLTag CTagMapIterator::tag() const {
    return atEnd() ? HTML_UNKNOWN_TAG : static_cast<HTMLTag>(m_position->first);
}

CTagMapInfo* CTagMapIterator::info() const {
    return atEnd() ? nullptr : m_position->second;
}

bool CTagMapIterator::operator==(const CTagMapIterator& other) const {
    if (m_map != other.m_map) {
        return false;
    }
    if (m_map == nullptr) {
        return true;
    }
    return m_position == other.m_position;
}

bool CTagMapIterator::operator==(int n) const {
    return n == 0 && atEnd();
}

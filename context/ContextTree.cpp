#include "webstep/context/ContextTree.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "webstep/html/HTMLVParser.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/platform/Registry.h"

namespace wp = webstep::platform;

namespace {

// The registry's "Extension" value is read into a buffer of this many bytes,
// its terminating zero included.
constexpr std::size_t kExtensionBuffer = 10;

MString UrlKey(const CURLParser& url) {
    return url.IsValid() ? url.GetFullURLWithSearch() : MString();
}

// The link's URL made absolute: against its base element's href (itself
// resolved against the node's URL when relative), else against the node's
// URL.
CURLParser ResolveLink(const CHTMLLink& link, const CURLParser& nodeUrl) {
    const char* target = link.url() != nullptr ? link.url() : "";
    if (const char* base = link.base()) {
        CURLParser baseUrl(nodeUrl, base);
        return CURLParser(baseUrl, target);
    }
    return CURLParser(nodeUrl, target);
}

}  // namespace

CContextTree::CContextTree() : m_Lock(wp::CreateMutexA(nullptr, 0, nullptr)) {}

CContextTree::~CContextTree() {
    delete m_pTree;
    m_pTree = nullptr;
    PurgeChildren();
    wp::CloseHandle(m_Lock);
}

void CContextTree::SetTree(CHTMLVParser* page) {
    if (m_pTree != page) {
        delete m_pTree;
    }
    m_pTree = nullptr;
    PurgeChildren();
    m_pTree = page;
}

CHTMLVParser* CContextTree::DetachTree() {
    return std::exchange(m_pTree, nullptr);
}

bool CContextTree::LockTree() {
    wp::DWORD result = wp::WaitForSingleObject(m_Lock, wp::INFINITE);
    // An abandoned lock is held by the caller all the same.
    return result == wp::WAIT_OBJECT_0 || result == wp::WAIT_ABANDONED;
}

bool CContextTree::UnlockTree() {
    return wp::ReleaseMutex(m_Lock) != 0;
}

bool CContextTree::IsFrameSet() const {
    return m_pTree == nullptr || m_pTree->isFrameSet();
}

bool CContextTree::IsFrame() const {
    return m_pTree == nullptr || m_pTree->isFrame();
}

CContextTree* CContextTree::GetTopContextTree() {
    CContextTree* node = this;
    while (node->m_pParent != nullptr && !node->m_pParent->IsDummy()) {
        node = node->m_pParent;
    }
    return node;
}

bool CContextTree::ReplaceChild(const CContextTree* old, CContextTree* replacement) {
    if (old == nullptr || replacement == nullptr) {
        return false;
    }
    auto found = std::find(m_Children.begin(), m_Children.end(), old);
    if (found == m_Children.end()) {
        return false;
    }
    *found = replacement;
    replacement->SetOrdinal(static_cast<std::uint32_t>(found - m_Children.begin()));
    replacement->SetLevel(old->GetLevel());
    replacement->SetParent(this);
    return true;
}

void CContextTree::PurgeChildren() {
    // Taken out first so that a child's Delete or destructor never sees a
    // half-purged array.
    std::vector<CContextTree*> children;
    children.swap(m_Children);
    for (CContextTree* child : children) {
        if (child == nullptr) {
            continue;
        }
        if (!child->CanDelete()) {
            child->Delete();
        } else {
            delete child;
        }
    }
}

bool CContextTree::AddChild(CContextTree* child, const CURLParser& url, bool anyResource) {
    if (child == nullptr || child == this ||
        std::find(m_Children.begin(), m_Children.end(), child) != m_Children.end()) {
        return false;
    }
    if (m_pTree != nullptr && !m_pTree->isEmpty()) {
        const MString wanted = UrlKey(url);
        if (wanted.empty()) {
            return false;
        }
        std::size_t slot = 0;
        const int count = m_pTree->nLinks();
        for (int i = 0; i < count; ++i) {
            const CHTMLLink* link = m_pTree->link(i);
            if (link == nullptr || !link->isResource() || !(link->isFollowable() || anyResource)) {
                continue;
            }
            if (UrlKey(ResolveLink(*link, m_Url)) == wanted &&
                (slot >= m_Children.size() || m_Children[slot] == nullptr)) {
                if (slot >= m_Children.size()) {
                    m_Children.resize(slot + 1, nullptr);
                }
                m_Children[slot] = child;
                child->SetParent(this);
                child->SetOrdinal(static_cast<std::uint32_t>(slot));
                child->SetLevel(m_Level + 1);
                child->UpdateRelFrameId(m_RelFrameId.c_str());
                return true;
            }
            ++slot;
        }
        return false;
    }
    m_Children.push_back(child);
    child->SetParent(this);
    // Deliberately the count after appending, one more than the index.
    child->SetOrdinal(static_cast<std::uint32_t>(m_Children.size()));
    child->SetLevel(m_Level + 1);
    return true;
}

void CContextTree::UpdateRelFrameId(const char* parentId) {
    // Iterative, so that a deep chain of frames cannot exhaust the stack.
    std::vector<std::pair<CContextTree*, const MString*>> pending;
    const MString top = parentId != nullptr ? MString(parentId) : MString();
    pending.emplace_back(this, &top);
    while (!pending.empty()) {
        auto [node, parent] = pending.back();
        pending.pop_back();
        if (parent->empty()) {
            node->m_RelFrameId = "1";
        } else {
            char number[16];
            std::snprintf(number, sizeof number, "%d", static_cast<int>(node->m_Ordinal + 1));
            node->m_RelFrameId = *parent + "." + number;
        }
        for (CContextTree* child : node->m_Children) {
            if (child != nullptr) {
                pending.emplace_back(child, &node->m_RelFrameId);
            }
        }
    }
}

MString CContextTree::GetHierarchicalName() const {
    std::vector<std::uint32_t> ordinals;
    for (const CContextTree* node = this;
         node->m_pParent != nullptr && !node->m_pParent->GetUrl().GetFullURL().empty();
         node = node->m_pParent) {
        ordinals.push_back(node->m_Ordinal);
    }
    MString name;
    char part[16];
    for (auto it = ordinals.rbegin(); it != ordinals.rend(); ++it) {
        // Deliberately the ordinal as it is, counting from 0.
        std::snprintf(part, sizeof part, "f%d", static_cast<int>(*it));
        name += part;
    }
    return name;
}

MString CContextTree::ComputeSnapshotFileName(const MString& pathPrefix, const MString& contentType,
                                              const MString& baseName, bool forceHierarchical) {
    MString extension = ".html";
    MString registered;
    if (wp::GetExtensionFromContentType(contentType.c_str(), registered) &&
        registered.size() + 1 <= kExtensionBuffer) {
        extension = registered;
    }
    MString name = baseName;
    if (m_Resource || forceHierarchical) {
        name += GetHierarchicalName();
    }
    if (m_Resource) {
        const MString file = m_Url.GetFile();
        if (!file.empty()) {
            const std::size_t dot = file.rfind('.');
            name += "_";
            name += dot == MString::npos ? file : file.substr(0, dot);
        }
    }
    name += extension;
    m_SnapshotFileName = name;
    return pathPrefix + name;
}

CContextTreeIterator::CContextTreeIterator(CContextTree* root) : m_pRoot(root) {}

void CContextTreeIterator::Reset() {
    m_Started = false;
    m_Stack.clear();
}

CContextTree* CContextTreeIterator::GetNext() {
    if (!m_Started) {
        m_Started = true;
        if (m_pRoot != nullptr) {
            m_Stack.push_back({m_pRoot, 0});
        }
        return m_pRoot;
    }
    while (!m_Stack.empty()) {
        Position& top = m_Stack.back();
        const auto& children = top.node->GetChildrenArray();
        while (top.next < children.size() && children[top.next] == nullptr) {
            ++top.next;
        }
        if (top.next < children.size()) {
            CContextTree* child = children[top.next++];
            m_Stack.push_back({child, 0});
            return child;
        }
        m_Stack.pop_back();
    }
    return nullptr;
}

CContextTreeChildIterator::CContextTreeChildIterator(CContextTree* node) : m_pNode(node) {}

CContextTree* CContextTreeChildIterator::GetNext() {
    if (m_pNode == nullptr) {
        return nullptr;
    }
    const auto& children = m_pNode->GetChildrenArray();
    while (m_Next < children.size()) {
        CContextTree* child = children[m_Next++];
        if (child != nullptr) {
            return child;
        }
    }
    return nullptr;
}

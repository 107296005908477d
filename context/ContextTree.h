#pragma once
// The tree of browser contexts of a virtual user: the top document, its
// frames (and their frames) and its resources. Each node holds the URL it
// was loaded from, its scanned page (when it is an HTML document), its
// children, its place among its siblings, its relative frame id ("1.2.1") and
// the name of its snapshot file.
//
// Each node owns a lock of its own. The tree operations take no lock; the
// callers take LockTree/UnlockTree around the parts they share between
// threads.
#include <cstdint>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/platform/Mutex.h"
#include "webstep/url/URLParser.h"

class CHTMLVParser;

/// One node of the context tree: a document, frame or resource with its URL,
/// page, children, level, ordinal, relative frame id and snapshot file name.
/// A node owns its page and its children (deleting it deletes the subtree);
/// AddChild returns false and leaves the child with the caller when no slot
/// of the page fits. Lock calls return false on failure.
class WEBSTEP_API CContextTree {
public:
    CContextTree();
    /// A tree owns its children and its lock: it is copied only through
    /// CContext::CreateTreeCopy (a single node).
    CContextTree(const CContextTree&) = delete;
    CContextTree& operator=(const CContextTree&) = delete;
    /// Destroys the page and purges the children (see PurgeChildren), one
    /// level of recursion per level of the tree.
    virtual ~CContextTree();

    const MString& GetRelFrameId() const { return m_RelFrameId; }
    const CURLParser& GetUrl() const { return m_Url; }
    void SetUrl(const CURLParser& url) { m_Url = url; }

    /// The page, owned by the node; null when the node has none. The tree
    /// asks it only through the page facade (isEmpty, nLinks/link,
    /// isFrameSet, isFrame, clone).
    CHTMLVParser* GetTree() const { return m_pTree; }
    /// Destroys the old page (unless it is the new one), purges the children,
    /// then keeps page.
    void SetTree(CHTMLVParser* page);
    void RemoveTree() { SetTree(nullptr); }
    /// Hands the page over to the caller; the children stay.
    CHTMLVParser* DetachTree();

    /// The children in slot order; an entry may be null (a counted link that
    /// has no child yet).
    const std::vector<CContextTree*>& GetChildrenArray() const { return m_Children; }
    std::vector<CContextTree*>& GetChildrenArray() { return m_Children; }
    CContextTree* GetParent() const { return m_pParent; }
    void SetParent(CContextTree* parent) { m_pParent = parent; }

    const MString& GetFrameName() const { return m_FrameName; }
    void SetFrameName(const MString& name) { m_FrameName = name; }
    const MString& GetFileName() const { return m_FileName; }
    void SetFileName(const MString& name) { m_FileName = name; }
    const MString& GetFileExt() const { return m_FileExt; }
    void SetFileExt(const MString& ext) { m_FileExt = ext; }
    std::uint32_t GetLevel() const { return m_Level; }
    void SetLevel(std::uint32_t level) { m_Level = level; }
    std::uint32_t GetOrdinal() const { return m_Ordinal; }
    void SetOrdinal(std::uint32_t ordinal) { m_Ordinal = ordinal; }
    bool IsDummy() const { return m_Dummy; }
    void SetDummy(bool dummy) { m_Dummy = dummy; }
    const MString& GetSnapshotFileName() const { return m_SnapshotFileName; }
    bool IsResource() const { return m_Resource; }
    void SetResource(bool resource) { m_Resource = resource; }

    /// Waits without time limit for the node's lock; true once it is held
    /// (also when its previous owner ended without releasing it). The lock is
    /// recursive: the owner may take it again and releases it as often.
    bool LockTree();
    /// False when the calling thread does not hold the lock.
    bool UnlockTree();

    /// Subclasses keep children alive by answering false and handling Delete.
    virtual bool CanDelete() { return true; }
    virtual void Delete() {}
    /// A new, empty node of the same class.
    virtual CContextTree* CreateObject() { return new CContextTree(); }

    /// The page's answers; a node without a page answers true to both. A
    /// page scanned to its end answers IsFrameSet() false once its framesets
    /// are closed again, while IsFrame() stays true when it had frames.
    bool IsFrameSet() const;
    bool IsFrame() const;

    /// Walks up the parents and stops below the first dummy parent or at the
    /// root.
    CContextTree* GetTopContextTree();

    /// The replacement takes old's place, index (as ordinal), level and
    /// parent; old is not deleted and is left as it was. False (nothing
    /// changed) when old is not a child, or old or replacement is null.
    bool ReplaceChild(const CContextTree* old, CContextTree* replacement);
    /// Every child: destroyed, or Delete() called when CanDelete() is false;
    /// then the children array is emptied. A kept child is not touched after
    /// its Delete (which may destroy it): it still names this node as its
    /// parent until its owner re-homes it.
    void PurgeChildren();

    /// Places a document, frame or resource under this node.
    /// With a non-empty page, the counted links (resources that are
    /// followable, or any resource with anyResource) are slots in page order:
    /// the child takes the first free slot whose link resolves to url (both
    /// compared with their query, without fragment; an invalid URL matches
    /// nothing), gets the slot as ordinal, this level + 1, this node as parent
    /// and fresh relative frame ids; false (the child is not taken) when no
    /// free slot matches. Without a page or with an empty page the child is
    /// appended, deliberately with the ordinal one more than its index, and
    /// its relative frame ids are left as they were. True when the child was
    /// placed (the tree then owns it).
    bool AddChild(CContextTree* child, const CURLParser& url, bool anyResource);

    /// "1" for a null or empty parentId, else parentId "." ordinal + 1; then
    /// the same for every descendant.
    void UpdateRelFrameId(const char* parentId);
    /// Empty for a node without parent or whose parent has no URL, else the
    /// parent's name followed by "f" and the ordinal, deliberately counted
    /// from 0 ("f0f1").
    MString GetHierarchicalName() const;
    /// baseName, the hierarchical name (for a resource, or when forced), for a
    /// resource "_" and its URL's file name without its last extension, and
    /// the content type's extension (".html" when unknown or longer than 9
    /// bytes). Kept as the snapshot file name; returns pathPrefix followed by
    /// it.
    MString ComputeSnapshotFileName(const MString& pathPrefix, const MString& contentType,
                                    const MString& baseName, bool forceHierarchical);

private:
    MString m_RelFrameId;
    CURLParser m_Url;
    CHTMLVParser* m_pTree = nullptr;
    std::vector<CContextTree*> m_Children;
    CContextTree* m_pParent = nullptr;
    MString m_FrameName;
    MString m_FileName;
    MString m_FileExt;
    std::uint32_t m_Level = 0;
    std::uint32_t m_Ordinal = 0;
    webstep::platform::HANDLE m_Lock;
    bool m_Dummy = false;
    MString m_SnapshotFileName;
    bool m_Resource = false;
};

/// Walks a whole tree depth first in pre-order: the start node, then each
/// child's subtree in slot order (null slots are skipped). GetNext returns
/// null after the last node. The tree must not change during the walk.
class WEBSTEP_API CContextTreeIterator {
public:
    explicit CContextTreeIterator(CContextTree* root);
    CContextTree* GetNext();
    /// Starts again from the root.
    void Reset();

private:
    struct Position {
        CContextTree* node;
        std::size_t next;
    };
    CContextTree* m_pRoot;
    bool m_Started = false;
    std::vector<Position> m_Stack;
};

/// Walks the children of one node in slot order, skipping null slots.
class WEBSTEP_API CContextTreeChildIterator {
public:
    explicit CContextTreeChildIterator(CContextTree* node);
    CContextTree* GetNext();
    void Reset() { m_Next = 0; }

private:
    CContextTree* m_pNode;
    std::size_t m_Next = 0;
};

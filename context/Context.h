#pragma once
// The replaying caller's browser context: the current and the previous
// context tree, and the parameter hooks through which script parameter
// references are resolved. In this class the hooks do nothing and succeed;
// callers that keep parameters derive from it and override them.
//
// The context does not own its trees: whoever builds them deletes them.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/url/URLParser.h"

class CContextTree;

/// The browser context of one virtual user: its current and previous context
/// tree and the parameter hooks. It does not own its trees. The hooks succeed
/// without doing anything here; derived classes resolve parameters. LockTree
/// and UnlockTree return true when there is no current tree.
class WEBSTEP_API CContext {
public:
    CContext() = default;
    CContext(const CContext&) = default;
    CContext& operator=(const CContext&) = default;
    virtual ~CContext() = default;

    CContextTree* GetContextTree() const { return m_pContextTree; }
    void SetContextTree(CContextTree* tree) { m_pContextTree = tree; }
    /// Hands the current tree over to the caller and clears the field.
    CContextTree* DetachContextTree() {
        CContextTree* tree = m_pContextTree;
        m_pContextTree = nullptr;
        return tree;
    }
    CContextTree* GetPrevContextTree() const { return m_pPrevContextTree; }
    void SetPrevContextTree(CContextTree* tree) { m_pPrevContextTree = tree; }

    /// The current tree's URL; without a current tree an empty, invalid URL.
    const CURLParser& GetUrl() const;
    /// Assigns the current tree's URL; false (nothing done) without one.
    bool SetUrl(const CURLParser& url);

    /// Lock or unlock the current tree's node (waiting without limit); true
    /// without a current tree.
    bool LockTree();
    bool UnlockTree();

    /// A single new node made by the current tree's CreateObject, with its URL
    /// and a copy of its page (when the page can be copied); no children.
    /// Null without a current tree. The caller owns it.
    CContextTree* CreateTreeCopy() const;

    /// Writes the current value of the parameter named by value into result.
    virtual bool Parametrize(const MString& value, MString& result, bool isDataDriven) {
        return true;
    }
    /// Stores value as the current value of the named parameter.
    virtual bool AssignToParameter(const MString& name, const MString& value) { return true; }
    /// Forgets the previous tree (without deleting it).
    virtual void Reset() { m_pPrevContextTree = nullptr; }

private:
    CContextTree* m_pContextTree = nullptr;
    CContextTree* m_pPrevContextTree = nullptr;
};

#pragma once
// The replaying caller's browser context: the current and the previous
// context tree, and the parameter hooks through which script parameter
// references are resolved. In this class the hooks do nothing and succeed;
// callers that keep parameters derive from it and override them.
#include "webstep/foundation/MString.h"

class CContextTree;

class CContext {
public:
    CContext() = default;
    CContext(const CContext&) = default;
    CContext& operator=(const CContext&) = default;
    virtual ~CContext() = default;

    CContextTree* GetContextTree() const { return m_pContextTree; }
    void SetContextTree(CContextTree* tree) { m_pContextTree = tree; }
    // Hands the current tree over to the caller and clears the field.
    CContextTree* DetachContextTree() {
        CContextTree* tree = m_pContextTree;
        m_pContextTree = nullptr;
        return tree;
    }
    CContextTree* GetPrevContextTree() const { return m_pPrevContextTree; }
    void SetPrevContextTree(CContextTree* tree) { m_pPrevContextTree = tree; }

    // Writes the current value of the parameter named by value into result.
    virtual bool Parametrize(const MString& value, MString& result, bool isDataDriven) {
        return true;
    }
    // Stores value as the current value of the named parameter.
    virtual bool AssignToParameter(const MString& name, const MString& value) { return true; }
    virtual void Reset() { m_pPrevContextTree = nullptr; }

private:
    CContextTree* m_pContextTree = nullptr;
    CContextTree* m_pPrevContextTree = nullptr;
};

#pragma once
// The data items of a step with the action URL they go to; reading a recorded
// request body back into items, turning the items into a request body without
// a page form; and the non-owning list of data sets.
#include <list>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/Data.h"

class CContext;

/// The data items of a step with the action URL they go to. It owns its items
/// through its CDataElements; copies share them, so a copy is released with
/// ClearDataReferences before it is destroyed. Readers of a recorded body add
/// what they can read and skip the rest; the body writers append to the
/// caller's text and report no failure (a file part whose file cannot be read
/// carries no bytes).
class WEBSTEP_API CDataSet {
public:
    using iterator = CDataElements::iterator;

    CDataSet() = default;
    explicit CDataSet(const MString& actionUrl) : actionUrl(actionUrl) {}
    /// Copies share the items (see CDataElements).
    CDataSet(const CDataSet& other) = default;
    CDataSet& operator=(const CDataSet& other) = default;
    ~CDataSet() = default;

    void AddData(CData* item) { elements.AddTail(item); }
    void AddDataBefore(CData* item, iterator& where) { elements.AddDataBefore(item, where); }
    void AddDataAfter(CData* item, iterator& where) { elements.AddDataAfter(item, where); }
    bool RemoveData(CData* item) { return elements.RemoveData(item); }

    const CDataElements& DataElements() const { return elements; }
    CDataElements& DataElements() { return elements; }
    unsigned int GetNumElements() const { return elements.GetNumElements(); }
    const MString& GetActionUrl() const { return actionUrl; }
    void SetActionUrl(const MString& url) { actionUrl = url; }

    /// Drops the item references without deleting the items.
    void ClearDataReferences() { elements.GetList().clear(); }

    /// True only when both sets hold the very same items in the same order
    /// (recognises a shallow copy) and the same action URL.
    bool operator==(CDataSet& other) const;

    /// Every item is visited; true when all succeeded.
    bool Parametrize(CContext* ctx) const;

    /// Replaces the items by those of a recorded body: multipart when boundary
    /// is given, URL-encoded otherwise.
    void AddDataFromString(const MString& body, MString boundary, bool binaryEscaped,
                           bool skipRoundTripCheck, bool& roundTripOk, bool& atWasEscaped,
                           bool fromUtf8, bool binaryFlag);

    /// The value of a header attribute such as name= (empty when absent).
    static MString ExtractRequestAttribute(MString text, MString attribute);
    static bool ExtractRequestAttributeEx(const MString& text, const MString& attribute,
                                          MString& out);

    /// Appends the body of every item (whatever its "sent" flag) to body:
    /// multipart when boundary is not empty (a file item's part carries the
    /// file named by its value), URL-encoded otherwise (at sign kept). The
    /// flag is accepted for the interface's sake and changes nothing.
    void CreateArgumentsFromData(const MString& boundary, bool flag, MString& body) const;
    /// Appends a URL-encoded body in which the text from each open up to and
    /// including the next close (a parameter reference such as {UserId})
    /// stays unencoded; items are joined by "&".
    void CreateArgumentsFromDataSkipParams(const MString& open, const MString& close,
                                           MString& body) const;
    /// Removes and deletes the hidden-field items (type 8), keeping the order
    /// of the others.
    void EliminateHiddens();
    /// Removes and deletes the items marked read-only, keeping the order of
    /// the others.
    void EliminateReadOnlyArgs();

private:
    /// URL-encodes text except the runs from open to close. An open without a
    /// following close, and everything after it, is encoded (nothing is lost);
    /// an empty open or close leaves nothing unencoded.
    static void EscArgsSkipParams(const MString& open, const MString& close, MString& text);

    MString actionUrl;
    CDataElements elements;
};

/// Non-owning list of data sets.
class WEBSTEP_API CDataSets {
public:
    CDataSets() = default;
    CDataSets(const CDataSets&) = default;
    CDataSets& operator=(const CDataSets&) = default;
    ~CDataSets() { m_List.clear(); }

    void AddDataSet(CDataSet* dataSet) { m_List.push_back(dataSet); }
    virtual const std::list<CDataSet*>& GetList() const { return m_List; }
    virtual std::list<CDataSet*>& GetList() { return m_List; }

private:
    std::list<CDataSet*> m_List;
};

#pragma once
// An owning, ordered set of HTML attributes: the page side (a form, a link)
// and the script side (what a step requires) of a comparison.
#include <list>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/HtmlAttribute.h"

class CContext;

/// An ordered set of HTML attributes that owns its elements; copies are deep.
/// Match is false when a wanted attribute finds no partner here.
class WEBSTEP_API CHtmlAttributeSet {
public:
    using iterator = std::list<CHtmlAttribute*>::iterator;
    using const_iterator = std::list<CHtmlAttribute*>::const_iterator;

    CHtmlAttributeSet() = default;
    /// Copies every attribute.
    CHtmlAttributeSet(const CHtmlAttributeSet& other);
    CHtmlAttributeSet& operator=(const CHtmlAttributeSet& other);
    virtual ~CHtmlAttributeSet();

    virtual std::list<CHtmlAttribute*>& GetList() { return m_List; }
    virtual const std::list<CHtmlAttribute*>& GetList() const { return m_List; }

    /// Appends; the set takes ownership (null is ignored).
    void AddAttribute(CHtmlAttribute* const attr);
    /// Every wanted attribute has a partner here whose Match accepts it; one
    /// partner may serve several wanted attributes. An empty wanted set matches.
    bool Match(const CHtmlAttributeSet& wanted) const;
    /// Stops after the first failure.
    bool Parametrize(CContext* ctx) const;
    /// "Step attributes:\r\n" followed by every attribute's string; empty when
    /// there is nothing to show.
    MString GetAttributeString() const;
    /// One entry per attribute, in order, joined by "; ": "key=report", and for
    /// a hidden attribute "hidden(name)=report".
    MString Report(bool b) const;
    /// The report of the first attribute with that key; empty when none.
    MString ReportByKey(const MString& key, bool b) const;
    /// Nothing happens for "hidden" or a key that is absent.
    void RemoveByKey(const MString& key);
    /// False for "hidden", a missing key or an attribute that is not a string
    /// attribute.
    bool GetParamByKey(const MString& key, CParametrizableArgument& out) const;
    /// Replaces the attribute with attr's own key (deleting the old one) and
    /// appends attr; a hidden attribute is always appended.
    void SetByKey(const MString& key, CHtmlAttribute* const attr);
    /// References to the hidden attributes, in order.
    void BuildHiddenAttrList(std::list<CHiddenAttribute*>& out) const;
    /// Merges copies of the given hidden attributes: a hidden attribute of the
    /// same name (exact comparison) takes the given name and value arguments;
    /// a name not yet present is appended. The list's attributes stay the
    /// caller's. Returns the number of attributes appended.
    unsigned int MergeHiddenAttrList(const std::list<CHiddenAttribute*>& hiddens);
    /// The parameter names that the attributes require, in order, without
    /// repeats.
    void GetRequiredDataColumns(std::list<std::string>& out) const;
    unsigned int GetNumItems() const { return static_cast<unsigned int>(m_List.size()); }
    void PurgeData();

private:
    iterator GetPositionByKey(const MString& key);
    const_iterator GetPositionByKey(const MString& key) const;

    std::list<CHtmlAttribute*> m_List;
};

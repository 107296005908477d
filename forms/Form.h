#pragma once
// The run-time model of one form of a scanned page: its fields, the
// attributes by which a step picks it, matching a step's data set against
// it, and the request body that the browser would send.
#include <list>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/CheckboxField.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/FormField.h"
#include "webstep/forms/HtmlAttributeSet.h"
#include "webstep/forms/SubmitField.h"

class CHTMLForm;
class CHTMLVParser;

/// One page form at run time: its fields, the attributes that a step selects
/// it by, the check and setting of a step's data set, and the body the
/// browser would send. It owns its fields and groups and reads the page
/// through the facade it is attached to, which must outlive it. The checks
/// return false, changing nothing, when an item finds no field or a value its
/// field refuses.
class WEBSTEP_API CForm {
public:
    /// The key texts of the form's own attributes.
    static const char* const KeyAction;       // "action"
    static const char* const KeyName;         // "name"
    static const char* const KeyMethod;       // "method"
    static const char* const KeyTargetFrame;  // "targetframe"
    static const char* const KeyFrame;        // "frame"

    CForm();
    /// Keeps tree and node only when keepPage; attaches to node in any case
    /// (a null node gives a form without fields).
    CForm(CHTMLVParser* tree, CHTMLForm* node, bool keepPage, const MString& frame);
    /// Copies fields, groups, attributes and state.
    CForm(const CForm& other);
    CForm& operator=(const CForm& other);
    virtual ~CForm();

    /// Rebuilds fields, groups and attributes from a page form.
    virtual void Attach(CHTMLForm* node, const MString& frame);

    /// The action or name attribute's value; empty when absent.
    MString GetName() const;
    MString GetActionUrl() const;
    /// True without a "method" attribute on the page form, otherwise whether
    /// its text is exactly "GET" (so "get" is not GET).
    bool UseGetMethod() const;
    bool HasSubmit() const { return hasSubmit; }
    bool HasReset() const { return hasReset; }
    CHTMLVParser* GetTree() const { return tree; }
    CHTMLForm* GetNode() const { return node; }
    ENCTYPE GetEncoding() const { return encoding; }
    const CHtmlAttributeSet& GetAttributes() const { return attributes; }
    const std::list<CHiddenAttribute*>& GetHiddenAttributes() const { return hiddens; }
    const std::list<CFormField*>& GetFields() const { return fields.GetList(); }
    const CSubmitGroup& GetSubmitGroup() const { return submitGroup; }
    const std::vector<CRadioButtonGroup*>& GetRadioGroups() const { return radioGroups; }

    /// This form's attributes hold every wanted attribute.
    bool MatchAttributes(const CHtmlAttributeSet& wanted) const;
    /// Every item finds a field, in any order (the first accepting field
    /// wins; an image button takes an x and a following y item).
    bool CheckAgainstDataSet(CDataSet* const set) const { return _CheckAgainstDataSet(set, false); }
    bool SetToDataSet(CDataSet* const set) const { return _CheckAgainstDataSet(set, true); }
    /// The items come in field order, a clicked button possibly last.
    bool CheckAgainstRecordedDataSet(CDataSet* const set) const {
        return _CheckAgainstRecordedDataSet(set, false);
    }
    bool SetToRecordedDataSet(CDataSet* const set) const {
        return _CheckAgainstRecordedDataSet(set, true);
    }

    /// The body of the fields' current state. Multipart: boundary is made from
    /// the tick count; URL-encoded: boundary is left untouched. The clicked
    /// image's coordinates always come last.
    void GetSubmitArgs(MString& body, MString& boundary) const;
    /// The body of the page defaults with the first button clicked.
    void GetDefaultArgs(MString& body, MString& boundary);
    /// Replaces the set's items by what the form would send now (one item per
    /// name/value pair, the clicked image's coordinates last), with the
    /// fields' data types and read-only marks; a file item also carries its
    /// file name as file path. The action URL is the form's.
    void GetDataSet(CDataSet& set);

    /// The text of the annotation that Annotate hands to the page.
    static MString MakeAnnotation(const char* previous, const char* text);

protected:
    bool _CheckAgainstDataSet(CDataSet* const set, bool doSet) const;
    bool _CheckAgainstRecordedDataSet(CDataSet* const set, bool doSet) const;
    void UmarkAllFields() const;
    void ClearAllFields() const;
    void UnmarkRadioGroups() const;
    /// Adds a marked-up line to the page's annotation of this form: the page
    /// facade keeps it through getData/setData of the form's
    /// node as a malloc'ed NUL-terminated text that the page owns (setData
    /// hands over a new text; the page frees the old one).
    void Annotate(const char* text);

private:
    void Clear();
    void CopyFrom(const CForm& other);
    void FindAttributePointers();

    CFormFields fields;
    CHtmlAttributeSet attributes;
    CStringAttribute* actionAttr = nullptr;
    CStringAttribute* methodAttr = nullptr;
    CStringAttribute* nameAttr = nullptr;
    CStringAttribute* unusedAttr = nullptr;
    CStringAttribute* frameAttr = nullptr;
    CStringAttribute* targetFrameAttr = nullptr;
    std::list<CHiddenAttribute*> hiddens;
    bool hasSubmit = false;
    bool hasReset = false;
    CHTMLVParser* tree = nullptr;
    CHTMLForm* node = nullptr;
    /// The fields and groups are changed by the const checks (marks only).
    mutable CSubmitGroup submitGroup;
    std::vector<CRadioButtonGroup*> radioGroups;
    ENCTYPE encoding = ENCTYPE_URLENCODED;
    /// The page form's "method" text as written, for UseGetMethod.
    bool hasMethodText = false;
    MString methodText;
};

#pragma once
// The run-time model of one element of a page form: its name, its page
// (default) value and current value, whether a data item fits it, and its
// share of the request body.
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/Data.h"

class CHTMLFormElement;

/// The encoding of a request body.
enum ENCTYPE { ENCTYPE_URLENCODED = 0, ENCTYPE_MULTIPART = 1 };

/// Whole-text match of a POSIX extended regular expression (GNU semantics),
/// letter case ignored unless caseSensitive. A pattern that does not compile
/// (or holds a NUL byte) matches nothing.
WEBSTEP_API bool FormRegexMatch(const MString& pattern, const MString& text,
                                bool caseSensitive = false);

/// Base of the form fields: name, page (default) value, current value, the
/// test whether a data item fits, and the field's share of the body. Fields
/// are owned by their form's field list; checks return false for an item that
/// does not fit.
class WEBSTEP_API CFormField {
public:
    /// The values with a meaning of their own in an item.
    static const char* const ValueOn;       // "<ON>"
    static const char* const ValueOff;      // "<OFF>"
    static const char* const ValueDefault;  // "_DEFAULT_"

    CFormField();
    CFormField(const CFormField&) = default;
    CFormField& operator=(const CFormField&) = default;
    virtual ~CFormField();

    /// The field name (which: the coordinate of an image button).
    virtual MString GetName(int which = 0) const;
    virtual bool IsReadOnly() const { return readOnly; }
    /// Records that the field took a value in the current check.
    virtual void Mark(MString value);
    virtual void Unmark();
    /// Replaces out by one string per name/value pair the field sends now
    /// (URL-encoded "name=value", or a multipart part); returns their count.
    virtual unsigned short GetParamStrings(std::vector<std::string>& out, ENCTYPE encoding) const;
    /// Replaces out by the name/value pairs the field sends now (unencoded).
    virtual void GetValues(std::vector<std::pair<MString, MString>>& out) const = 0;
    /// Reads name, read-only flag and the page value from the element.
    virtual void Attach(CHTMLFormElement* element);
    virtual CData::DataType GetDataType() const = 0;
    virtual bool MustBeSubmitted() const = 0;
    virtual bool SingleValue() const { return true; }
    virtual void RevertToDefault() = 0;
    virtual void MakeEmpty() = 0;
    /// Whether the item's value is accepted (the name is not looked at).
    virtual bool TryValue(const CData* item) const = 0;
    /// Takes the item's value when TryValue accepts it, and marks the field.
    virtual bool SetValue(const CData* item) = 0;
    virtual MString GetMultipartArgument(MString name, MString value) const;
    /// A copy of the same class; group pointers still name the source's groups.
    virtual CFormField* Clone() const = 0;

    /// The item's name fits this field and the field accepts its value.
    bool MakesMatch(const CData* const item) const;
    bool IsMarked() const { return marked; }
    CHTMLFormElement* GetElement() const { return element; }

    /// "Content-Disposition: form-data; name=\"<name>\"\r\n\r\n<value>\r\n"
    static MString MakeMultipartArgument(MString name, MString value);

protected:
    /// Whole-name regular expression, or exact equality with case.
    bool MatchName(const CData* const item) const;
    /// The item's value against a page value: whole-match regular
    /// expression, or exact equality.
    static bool ValueMatches(const CData* item, const MString& pageValue);

    MString name;
    bool marked;
    bool readOnly;
    CHTMLFormElement* element;
};

/// The fields of a form; the form owns them.
class WEBSTEP_API CFormFields {
public:
    CFormFields() = default;
    CFormFields(const CFormFields&) = delete;
    CFormFields& operator=(const CFormFields&) = delete;
    virtual ~CFormFields() = default;
    virtual const std::list<CFormField*>& GetList() const { return m_List; }
    virtual std::list<CFormField*>& GetList() { return m_List; }

private:
    std::list<CFormField*> m_List;
};

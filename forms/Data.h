#pragma once
// One data item of a step (a form field name and value with its matching
// options) and the owning list of items.
#include <list>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/ParametrizableArgument.h"

class CContext;

/// One data item of a step: name and value (literal or regular expression),
/// optional name prefix and suffix, type, file path, content type and flags.
/// A value class; the lists that hold items (CDataElements) own them.
class WEBSTEP_API CData {
public:
    enum DataType {
        DT_UNSPECIFIED = 0,
        DT_TEXT = 1,
        DT_TEXTAREA = 2,
        DT_RADIO = 3,
        DT_CHECKBOX = 4,
        DT_SELECT = 5,
        DT_SUBMIT = 6,
        DT_IMAGE = 7,
        DT_HIDDEN = 8,
        DT_FILE = 9,
        DT_PASSWORD = 10,
    };
    enum RegexType {
        RT_LITERAL = 0,
        RT_REGEX = 1,
    };

    /// The value that keeps a field's default.
    static const char* const DefaultValue;

    CData(const MString& name, const MString& value, RegexType nameRegexType,
          RegexType valueRegexType, DataType type, bool sent, const MString& namePfx,
          const MString& nameSfx, bool readOnly, const MString& contentType,
          const MString& filePath, const MString& contentTransferEncoding);
    CData(const CData&) = default;
    CData& operator=(const CData&) = default;
    ~CData() = default;

    const MString& GetScriptName() const { return name.GetParametrizableValue(); }
    const MString& GetScriptValue() const { return value.GetParametrizableValue(); }
    const MString& GetScriptNamePfx() const { return namePfx.GetParametrizableValue(); }
    const MString& GetScriptNameSfx() const { return nameSfx.GetParametrizableValue(); }

    const MString& GetName() const { return name.GetValue(); }
    const MString& GetValue() const { return value.GetValue(); }
    const MString& GetNamePfx() const { return namePfx.GetValue(); }
    const MString& GetNameSfx() const { return nameSfx.GetValue(); }
    const MString& GetContentType() const { return contentType.GetValue(); }
    const MString& GetFilePath() const { return filePath.GetValue(); }
    const MString& GetContentTransferEncoding() const { return contentTransferEncoding.GetValue(); }

    const CParametrizableArgument& GetNameArgument() const { return name; }
    const CParametrizableArgument& GetValueArgument() const { return value; }
    const CParametrizableArgument& GetNamePfxArgument() const { return namePfx; }
    const CParametrizableArgument& GetNameSfxArgument() const { return nameSfx; }

    bool IsNameDataDriven() const { return name.IsDataDriven(); }
    bool IsValueDataDriven() const { return value.IsDataDriven(); }
    DataType GetType() const { return type; }
    RegexType GetNameRegexType() const { return nameRegexType; }
    RegexType GetValueRegexType() const { return valueRegexType; }
    bool IsSent() const { return sent; }
    bool IsReadOnly() const { return readOnly; }

    void SetName(MString text) { name.SetValue(text); }
    void SetValue(const MString& text) { value.SetValue(text); }
    void SetNamePfx(const MString& text) { namePfx.SetValue(text); }
    void SetNameSfx(const MString& text) { nameSfx.SetValue(text); }
    void SetContentType(const MString& text) { contentType.SetValue(text); }
    void SetFilePath(const MString& text) { filePath.SetValue(text); }
    void SetContentTransferEncoding(const MString& text) { contentTransferEncoding.SetValue(text); }
    void SetType(DataType t) { type = t; }
    void SetNameRegexType(RegexType t) { nameRegexType = t; }
    void SetValueRegexType(RegexType t) { valueRegexType = t; }
    void SetSent(bool b) { sent = b; }
    void SetIsReadOnly(bool b) { readOnly = b; }

    bool IsFieldDefault() const { return value.GetValue() == DefaultValue; }
    void SetDefault() { value.SetValue(DefaultValue); }

    /// Name, value, prefix, suffix in this order; stops at the first failure.
    bool Parametrize(CContext* ctx) const;

    bool operator==(const CData& other) const;
    bool operator!=(const CData& other) const { return !(*this == other); }

    MString Report(bool) const { return value.GetValue(); }

private:
    CParametrizableArgument name;
    CParametrizableArgument value;
    CParametrizableArgument namePfx;
    CParametrizableArgument nameSfx;
    DataType type;
    RegexType nameRegexType;
    RegexType valueRegexType;
    bool sent;
    bool readOnly;
    CParametrizableArgument contentType;
    CParametrizableArgument filePath;
    CParametrizableArgument contentTransferEncoding;
};

/// Owning list of items in insertion order. Copies share the item pointers
/// (shallow on purpose: steps hand data sets around by copy and the copy's
/// owner drops its references before destruction).
class WEBSTEP_API CDataElements {
public:
    using iterator = std::list<CData*>::iterator;

    CDataElements() = default;
    CDataElements(const CDataElements& other);
    /// Deletes this list's own items, then shares the source's.
    CDataElements& operator=(const CDataElements& other);
    virtual ~CDataElements();

    virtual const std::list<CData*>& GetList() const { return m_List; }
    virtual std::list<CData*>& GetList() { return m_List; }

    void AddTail(CData* item) { m_List.push_back(item); }
    void AddDataBefore(CData* item, iterator& where);
    void AddDataAfter(CData* item, iterator& where);
    /// Unlinks the first element holding this very pointer; always true.
    bool RemoveData(CData* item);
    void PurgeData();
    unsigned int GetNumElements() const { return static_cast<unsigned int>(m_List.size()); }

private:
    std::list<CData*> m_List;
};

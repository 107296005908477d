#pragma once
// A file upload field; its multipart part carries the file's bytes in the
// binary-escaped script form.
#include "webstep/forms/FormField.h"
#include "webstep/foundation/Export.h"

/// A file upload field; its multipart part names the file and carries its
/// bytes. Owned by the form's field list.
class WEBSTEP_API CFileField : public CFormField {
public:
    CFormField* Clone() const override { return new CFileField(*this); }
    /// Prefix of a content type made from an extension's registered class.
    static const char* const UnknownContentTypePrefix;  // "application/x-unknown-content-type-"
    static constexpr unsigned int ChunkSize = 65536;

    /// Writes (name, file name) always.
    void GetValues(std::vector<std::pair<MString, MString>>& out) const override;
    /// Default file name from the element's "value" (usually none).
    void Attach(CHTMLFormElement* element) override;
    CData::DataType GetDataType() const override { return CData::DT_FILE; }
    bool MustBeSubmitted() const override { return true; }
    void RevertToDefault() override { currentFile = defaultFile; }
    void MakeEmpty() override { currentFile.clear(); }
    /// Not marked and a literal value.
    bool TryValue(const CData* item) const override;
    /// "_DEFAULT_" keeps the default file name.
    bool SetValue(const CData* item) override;
    MString GetMultipartArgument(MString name, MString value) const override;

    const MString& GetFileName() const { return currentFile; }
    const MString& GetDefaultFileName() const { return defaultFile; }

    /// The file part: disposition with the file name, the content type when
    /// one is known, a blank line, the escaped bytes (nothing when the file
    /// cannot be read) and a final CR LF.
    static MString MakeMultipartArgument(MString name, MString filePath);
    /// The content type for the extension of a file path (from its last full
    /// stop): the MIME database's type; else the registry value "Content Type"
    /// of HKEY_CLASSES_ROOT\<ext>; else that key's default value after
    /// UnknownContentTypePrefix. False when none is known.
    static bool LookupContentType(const MString& filePath, MString& contentType);

private:
    MString currentFile;
    MString defaultFile;
};

#include "webstep/forms/FileField.h"

#include <cstdio>
#include <vector>

#include "webstep/foundation/BinaryDataHandler.h"
#include "webstep/html/HTMLFormElement.h"
#include "webstep/platform/Registry.h"

const char* const CFileField::UnknownContentTypePrefix = "application/x-unknown-content-type-";

void CFileField::GetValues(std::vector<std::pair<MString, MString>>& out) const {
    out.clear();
    out.emplace_back(name, currentFile);
}

void CFileField::Attach(CHTMLFormElement* e) {
    CFormField::Attach(e);
    const char* v = e != nullptr ? e->value() : nullptr;
    defaultFile = v != nullptr ? v : "";
    currentFile = defaultFile;
}

bool CFileField::TryValue(const CData* item) const {
    return item != nullptr && !marked && item->GetValueRegexType() == CData::RT_LITERAL;
}

bool CFileField::SetValue(const CData* item) {
    if (!TryValue(item)) {
        return false;
    }
    currentFile = item->IsFieldDefault() ? defaultFile : item->GetValue();
    Mark(item->GetValue());
    return true;
}

MString CFileField::GetMultipartArgument(MString n, MString v) const {
    return MakeMultipartArgument(std::move(n), std::move(v));
}

bool CFileField::LookupContentType(const MString& filePath, MString& contentType) {
    const auto dot = filePath.rfind('.');
    if (dot == MString::npos || filePath.find('\0') != MString::npos) {
        return false;
    }
    const MString extension = filePath.substr(dot);
    if (extension.size() < 2) {
        return false;
    }
    if (webstep::platform::GetContentTypeFromExtension(extension.c_str(), contentType)) {
        return true;
    }
    const MString key = "HKEY_CLASSES_ROOT\\" + extension;
    if (webstep::platform::RegistryGetString(key.c_str(), "Content Type", contentType)) {
        return true;
    }
    MString className;
    if (webstep::platform::RegistryGetString(key.c_str(), "", className)) {
        contentType = UnknownContentTypePrefix + className;
        return true;
    }
    return false;
}

MString CFileField::MakeMultipartArgument(MString n, MString filePath) {
    MString part =
        "Content-Disposition: form-data; name=\"" + n + "\"; filename=\"" + filePath + "\"\r\n";
    MString contentType;
    if (LookupContentType(filePath, contentType)) {
        part += "Content-Type: " + contentType + "\r\n";
    }
    part += "\r\n";
    std::FILE* f = filePath.empty() || filePath.find('\0') != MString::npos
                       ? nullptr
                       : std::fopen(filePath.c_str(), "rb");
    if (f != nullptr) {
        std::vector<unsigned char> chunk(ChunkSize);
        MString escaped;
        for (;;) {
            const std::size_t got = std::fread(chunk.data(), 1, chunk.size(), f);
            if (got == 0) {
                break;
            }
            CBinaryDataHandler::ConvertBinaryToAscii(chunk.data(), static_cast<unsigned int>(got),
                                                     escaped, false);
            part += escaped;
            if (got < chunk.size()) {
                break;
            }
        }
        std::fclose(f);
    }
    part += "\r\n";
    return part;
}

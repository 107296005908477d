#include "webstep/forms/Data.h"

#include "webstep/forms/internal/OwningList.h"

const char* const CData::DefaultValue = "_DEFAULT_";

CData::CData(const MString& name, const MString& value, RegexType nameRegexType,
             RegexType valueRegexType, DataType type, bool sent, const MString& namePfx,
             const MString& nameSfx, bool readOnly, const MString& contentType,
             const MString& filePath, const MString& contentTransferEncoding)
    : name(name),
      value(value),
      namePfx(namePfx),
      nameSfx(nameSfx),
      type(type),
      nameRegexType(nameRegexType),
      valueRegexType(valueRegexType),
      sent(sent),
      readOnly(readOnly),
      contentType(contentType),
      filePath(filePath),
      contentTransferEncoding(contentTransferEncoding) {}

bool CData::Parametrize(CContext* ctx) const {
    // The file upload attributes are deliberately left as written.
    return name.Parametrize(ctx) && value.Parametrize(ctx) && namePfx.Parametrize(ctx) &&
           nameSfx.Parametrize(ctx);
}

bool CData::operator==(const CData& other) const {
    return name == other.name && value == other.value && nameRegexType == other.nameRegexType &&
           valueRegexType == other.valueRegexType && type == other.type && sent == other.sent &&
           namePfx == other.namePfx && nameSfx == other.nameSfx && readOnly == other.readOnly &&
           contentType == other.contentType && filePath == other.filePath &&
           contentTransferEncoding == other.contentTransferEncoding;
}

CDataElements::CDataElements(const CDataElements& other) : m_List(other.m_List) {}

CDataElements& CDataElements::operator=(const CDataElements& other) {
    webstep::forms::AssignShared(m_List, other.m_List);
    return *this;
}

CDataElements::~CDataElements() {
    PurgeData();
}

void CDataElements::AddDataBefore(CData* item, iterator& where) {
    webstep::forms::InsertBefore(m_List, item, where);
}

void CDataElements::AddDataAfter(CData* item, iterator& where) {
    webstep::forms::InsertAfter(m_List, item, where);
}

bool CDataElements::RemoveData(CData* item) {
    webstep::forms::RemoveFirst(m_List, item);
    return true;
}

void CDataElements::PurgeData() {
    webstep::forms::DeleteAll(m_List);
}

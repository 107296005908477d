#include "webstep/forms/Data.h"

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
    if (this == &other)
        return *this;
    PurgeData();
    for (CData* item : other.m_List)
        m_List.push_back(item);
    return *this;
}

CDataElements::~CDataElements() {
    PurgeData();
}

void CDataElements::AddDataBefore(CData* item, iterator& where) {
    if (where != m_List.end())
        where = m_List.insert(where, item);
    else
        m_List.push_back(item);
}

void CDataElements::AddDataAfter(CData* item, iterator& where) {
    if (where != m_List.end()) {
        iterator next = where;
        ++next;
        if (next != m_List.end()) {
            where = m_List.insert(next, item);
            return;
        }
    }
    m_List.push_back(item);
}

bool CDataElements::RemoveData(CData* item) {
    for (auto it = m_List.begin(); it != m_List.end(); ++it) {
        if (*it == item) {
            m_List.erase(it);
            break;
        }
    }
    return true;
}

void CDataElements::PurgeData() {
    for (CData* item : m_List)
        delete item;
    m_List.clear();
}

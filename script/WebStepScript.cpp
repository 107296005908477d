#include "webstep/script/WebStepScript.h"

#include <cstring>

#include "webstep/platform/CodePage.h"

const char* const CWebStepScript::KeyWord_Url = "URL";
const char* const CWebStepScript::KeyWord_LinkText = "Text";
const char* const CWebStepScript::KeyWord_ImageAlt = "Alt";
const char* const CWebStepScript::KeyWord_ImageSrc = "Src";
const char* const CWebStepScript::KeyWord_ImageMapName = "MapName";
const char* const CWebStepScript::KeyWord_ImageAreaAlt = "AreaAlt";
const char* const CWebStepScript::KeyWord_ImageAreaOrdinal = "AreaOrdinal";
const char* const CWebStepScript::KeyWord_Binary = "Binary";
const char* const CWebStepScript::KeyWord_Action = "Action";
const char* const CWebStepScript::KeyWord_Method = "Method";
const char* const CWebStepScript::KeyWord_EncType = "EncType";
const char* const CWebStepScript::KeyWord_TargetFrame = "TargetFrame";
const char* const CWebStepScript::KeyWord_Frame = "Frame";
const char* const CWebStepScript::KeyWord_Ordinal = "Ordinal";
const char* const CWebStepScript::KeyWord_Body = "Body";
const char* const CWebStepScript::KeyWord_BodyBinary = "BodyBinary";
const char* const CWebStepScript::KeyWord_BodyUnicode = "BodyUnicode";
const char* const CWebStepScript::KeyWord_FtpAscii = "FtpAscii";
// The recorded content type of a step, not the form field's "ContentType".
const char* const CWebStepScript::KeyWord_ContentType = "RecContentType";
const char* const CWebStepScript::KeyWord_Resource = "Resource";
const char* const CWebStepScript::KeyWord_Snapshot = "Snapshot";
const char* const CWebStepScript::KeyWord_Referer = "Referer";
const char* const CWebStepScript::KeyWord_Mode = "Mode";
const char* const CWebStepScript::KeyWord_LastItem = "LAST";
const char* const CWebStepScript::KeyWord_EndItem = "ENDITEM";
const char* const CWebStepScript::KeyWord_ItemData = "ITEMDATA";
const char* const CWebStepScript::KeyWord_StartHiddens = "STARTHIDDENS";
const char* const CWebStepScript::KeyWord_EndHiddens = "ENDHIDDENS";
const char* const CWebStepScript::KeyWord_BodyVariablePrefix = "body";
const char* const CWebStepScript::KeyWord_ContentEncoding = "ContentEncoding";
const char* const CWebStepScript::KeyWord_UserAgent = "UserAgent";
const char* const CWebStepScript::KeyWord_ResourceByteLimit = "ResourceByteLimit";
const char* const CWebStepScript::KeyWord_StartRes = "EXTRARES";
const char* const CWebStepScript::KeyWord_NameRegExp = "NameRegExp";
const char* const CWebStepScript::KeyWord_ValueRegExp = "ValueRegExp";
const char* const CWebStepScript::KeyWord_True = "1";
const char* const CWebStepScript::KeyWord_False = "0";
const char* const CWebStepScript::KeyWord_Yes = "yes";
const char* const CWebStepScript::KeyWord_No = "no";
const char* const CWebStepScript::KeyWord_FormFieldName = "Name";
const char* const CWebStepScript::KeyWord_FormFieldNamePfx = "NamePfx";
const char* const CWebStepScript::KeyWord_FormFieldNameSfx = "NameSfx";
const char* const CWebStepScript::KeyWord_FormFieldValue = "Value";
const char* const CWebStepScript::KeyWord_FormFieldFile = "File";
const char* const CWebStepScript::KeyWord_FormFieldSent = "Sent";
const char* const CWebStepScript::KeyWord_FormFieldContentType = "ContentType";
const char* const CWebStepScript::KeyWord_FormFieldFilePath = "FilePath";
const char* const CWebStepScript::KeyWord_FormFieldContentTransferEncoding =
    "ContentTransferEncoding";
const char* const CWebStepScript::KeyWord_ImageMapXCoord = "XCoord";
const char* const CWebStepScript::KeyWord_ImageMapYCoord = "YCoord";
const char* const CWebStepScript::KeyWord_ParamName = "ParamName";
const char* const CWebStepScript::KeyWord_LeftBound = "LB";
const char* const CWebStepScript::KeyWord_RightBound = "RB";
const char* const CWebStepScript::KeyWord_BoundIgnoreCase = "IC";
const char* const CWebStepScript::KeyWord_BoundBinary = "BIN";
const char* const CWebStepScript::KeyWord_BoundUseNum = "DIG";
const char* const CWebStepScript::KeyWord_Instance = "Ord";
const char* const CWebStepScript::KeyWord_NotFound = "NotFound";
const char* const CWebStepScript::KeyWord_SearchScope = "Search";
const char* const CWebStepScript::KeyWord_ScopeHeader = "Headers";
const char* const CWebStepScript::KeyWord_ScopeBody = "Body";
const char* const CWebStepScript::KeyWord_ScopeAll = "All";
const char* const CWebStepScript::KeyWord_Text = "Text";
const char* const CWebStepScript::KeyWord_SaveCount = "SaveCount";
const char* const CWebStepScript::KeyWord_Fail = "Fail";
const char* const CWebStepScript::KeyWord_RelFrameId = "RelFrameId";
const char* const CWebStepScript::KeyWord_CallbackName = "AutoCorrelationFunction";
const char* const CWebStepScript::KeyWord_CallbackDLLName = "AutoCorrelationDll";
const char* const CWebStepScript::KeyWord_TextSfx = "TextSfx";
const char* const CWebStepScript::KeyWord_TextPfx = "TextPfx";
const char* const CWebStepScript::KeyWord_ImplicitGeneration = "ImplicitGen";
const char* const CWebStepScript::KeyWord_CustomReq_RawBodyStart = "RAW_BODY_START";
const char* const CWebStepScript::KeyWord_EncodeAtSign = "EncodeAtSign";
const char* const CWebStepScript::KeyWord_Cookie = "Cookie";
const char* const CWebStepScript::KeyWord_Insert = "Insert";
const char* const CWebStepScript::KeyWord_ID = "ID";
const char* const CWebStepScript::KeyWord_IgnoreRedirections = "IgnoreRedirections";
const char* const CWebStepScript::KeyWord_ClassName = "ClassName";
const char* const CWebStepScript::KeyWord_FindRightOf = "RightOf";
const char* const CWebStepScript::KeyWord_FindLeftOf = "LeftOf";
const char* const CWebStepScript::KeyWord_FindInside = "inside";
const char* const CWebStepScript::KeyWord_FindWhat = "what";
const char* const CWebStepScript::KeyWord_FindType = "type";
const char* const CWebStepScript::KeyWord_Expect = "Expect";
const char* const CWebStepScript::KeyWord_MatchCase = "MatchCase";
const char* const CWebStepScript::KeyWord_Repeat = "Repeat";
const char* const CWebStepScript::KeyWord_Report = "Report";
const char* const CWebStepScript::KeyWord_AbortOnFailure = "onfailure";

const char* const CWebStepScript::m_paramLeftBrace = "{";
const char* const CWebStepScript::m_paramRightBrace = "}";

const CWebStepScript::AttrTableEntry CWebStepScript::m_valuesExpect[] = {
    {"found", 1}, {"notfound", 0}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry CWebStepScript::m_valuesReport[] = {
    {"success", 2}, {"failure", 1}, {"always", 0}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry CWebStepScript::m_valuesOnFailure[] = {
    {"abort", 1}, {"continue", 0}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry CWebStepScript::m_valuesInside[] = {
    {"list", 0}, {"link", 1}, {"table", 2}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry CWebStepScript::m_valuesAction[] = {
    {"CONNECT", 2}, {"RESOLVE", 1}, {"STEP", 4}, {"RECEIVE", 3}, {nullptr, 0}};
const CWebStepScript::AttrTableEntry CWebStepScript::m_valuesHttpInfoType[] = {
    {"HTTP_INFO_RETURN_CODE", 1},
    {"HTTP_INFO_DOWNLOAD_SIZE", 2},
    {"HTTP_INFO_DOWNLOAD_TIME", 3},
    {nullptr, 0}};
const CWebStepScript::AttrTableEntry CWebStepScript::m_valuesSaveHeader[] = {
    {"REQUEST", 1}, {"RESPONSE", 2}, {nullptr, 0}};

const bool CWebStepScript::bDefaultExpect = true;
const bool CWebStepScript::bDefaultMatchCase = false;
const bool CWebStepScript::bDefaultRepeat = true;
const bool CWebStepScript::bDefaultAbort = false;
const CWebCheckStep::ReportOption CWebStepScript::DefaultReport = CWebCheckStep::REPORT_ALWAYS;

// Copies the keyword's pointer, so the entry is set by dynamic initialisation
// (same translation unit as the keyword, hence after it).
const char* CWebStepScript::DefaultTerminators[2] = {CWebStepScript::KeyWord_LastItem, nullptr};

namespace {

bool IsHexDigit(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

int HexValue(unsigned char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c - 'A' + 10;
}

}  // namespace

void CWebStepScript::SetTokenValue(const char* token, MString& value) {
    value.clear();
    if (token == nullptr)
        return;
    const char* text = token;
    size_t length = std::strlen(token);
    if (length > 0 && text[0] == '"') {
        // The last byte goes as well, whatever it is.
        ++text;
        length = length >= 2 ? length - 2 : 0;
    }
    value.reserve(length);
    if (length < 1)
        return;

    size_t i = 0;
    while (i < length) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (webstep::platform::IsLeadByte(c)) {
            value.push_back(static_cast<char>(c));
            if (i + 1 < length)
                value.push_back(text[i + 1]);
            i += 2;
            continue;
        }
        if (c != '\\') {
            value.push_back(static_cast<char>(c));
            ++i;
            continue;
        }
        // A backslash as the last byte of the working text: nothing is appended.
        if (i + 1 >= length)
            break;
        unsigned char e = static_cast<unsigned char>(text[i + 1]);
        i += 2;
        switch (e) {
            case 'b':
                value.push_back('\b');
                break;
            case 'a':
                value.push_back('\a');
                break;
            case '\\':
                value.push_back('\\');
                break;
            case '?':
                value.push_back('?');
                break;
            case '"':
                value.push_back('"');
                break;
            case '\'':
                value.push_back('\'');
                break;
            case 'f':
                value.push_back('\f');
                break;
            case 'n':
                value.push_back('\n');
                break;
            case 'r':
                value.push_back('\r');
                break;
            case 't':
                value.push_back('\t');
                break;
            case 'v':
                value.push_back('\v');
                break;
            case 'x':
            case 'X': {
                // Any number of hexadecimal digits; the low byte of their value
                // is kept, as a "%x" scan stored into one byte keeps it.
                size_t start = i;
                unsigned int number = 0;
                while (i < length && IsHexDigit(static_cast<unsigned char>(text[i]))) {
                    number = (number << 4) | static_cast<unsigned int>(
                                                 HexValue(static_cast<unsigned char>(text[i])));
                    ++i;
                }
                if (i == start)
                    value.push_back(static_cast<char>(e));
                else
                    value.push_back(static_cast<char>(number & 0xFF));
                break;
            }
            case '0':
            case '1':
            case '2':
            case '3':
            case '4':
            case '5':
            case '6':
            case '7': {
                // The first octal digit is not part of the number: kept so for
                // compatibility with existing scripts (\101 yields the byte 1).
                size_t start = i;
                unsigned int number = 0;
                while (i < length && text[i] >= '0' && text[i] <= '7') {
                    number = (number << 3) | static_cast<unsigned int>(text[i] - '0');
                    ++i;
                }
                if (i == start)
                    value.push_back(static_cast<char>(e));
                else
                    value.push_back(static_cast<char>(number & 0xFF));
                break;
            }
            default:
                value.push_back(static_cast<char>(e));
                break;
        }
    }
}

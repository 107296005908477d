#pragma once
// The script vocabulary: keyword spellings, enumerated value tables, check
// defaults, parameter braces, the default terminator list and the decoding of
// a quoted script token. Every parser compares against these constants only.
#include <cstdint>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// The script vocabulary: keyword texts, value tables, defaults, parameter
/// braces and terminators, all exported static data, and SetTokenValue,
/// which decodes a C string literal. Stateless: copies carry nothing.
class WEBSTEP_API CWebStepScript {
public:
    /// One row of an enumerated-value table; a table ends with a null name.
    struct AttrTableEntry {
        const char* name;
        int32_t value;
    };

    static const char* const KeyWord_Url;
    static const char* const KeyWord_LinkText;
    static const char* const KeyWord_ImageAlt;
    static const char* const KeyWord_ImageSrc;
    static const char* const KeyWord_ImageMapName;
    static const char* const KeyWord_ImageAreaAlt;
    static const char* const KeyWord_ImageAreaOrdinal;
    static const char* const KeyWord_Binary;
    static const char* const KeyWord_Action;
    static const char* const KeyWord_Method;
    static const char* const KeyWord_EncType;
    static const char* const KeyWord_TargetFrame;
    static const char* const KeyWord_Frame;
    static const char* const KeyWord_Ordinal;
    static const char* const KeyWord_Body;
    static const char* const KeyWord_BodyBinary;
    static const char* const KeyWord_BodyUnicode;
    static const char* const KeyWord_FtpAscii;
    static const char* const KeyWord_ContentType;
    static const char* const KeyWord_Resource;
    static const char* const KeyWord_Snapshot;
    static const char* const KeyWord_Referer;
    static const char* const KeyWord_Mode;
    static const char* const KeyWord_LastItem;
    static const char* const KeyWord_EndItem;
    static const char* const KeyWord_ItemData;
    static const char* const KeyWord_StartHiddens;
    static const char* const KeyWord_EndHiddens;
    static const char* const KeyWord_BodyVariablePrefix;
    static const char* const KeyWord_ContentEncoding;
    static const char* const KeyWord_UserAgent;
    static const char* const KeyWord_ResourceByteLimit;
    static const char* const KeyWord_StartRes;
    static const char* const KeyWord_NameRegExp;
    static const char* const KeyWord_ValueRegExp;
    static const char* const KeyWord_True;
    static const char* const KeyWord_False;
    static const char* const KeyWord_Yes;
    static const char* const KeyWord_No;
    static const char* const KeyWord_FormFieldName;
    static const char* const KeyWord_FormFieldNamePfx;
    static const char* const KeyWord_FormFieldNameSfx;
    static const char* const KeyWord_FormFieldValue;
    static const char* const KeyWord_FormFieldFile;
    static const char* const KeyWord_FormFieldSent;
    static const char* const KeyWord_FormFieldContentType;
    static const char* const KeyWord_FormFieldFilePath;
    static const char* const KeyWord_FormFieldContentTransferEncoding;
    static const char* const KeyWord_ImageMapXCoord;
    static const char* const KeyWord_ImageMapYCoord;
    static const char* const KeyWord_ParamName;
    static const char* const KeyWord_LeftBound;
    static const char* const KeyWord_RightBound;
    static const char* const KeyWord_BoundIgnoreCase;
    static const char* const KeyWord_BoundBinary;
    static const char* const KeyWord_BoundUseNum;
    static const char* const KeyWord_Instance;
    static const char* const KeyWord_NotFound;
    static const char* const KeyWord_SearchScope;
    static const char* const KeyWord_ScopeHeader;
    static const char* const KeyWord_ScopeBody;
    static const char* const KeyWord_ScopeAll;
    static const char* const KeyWord_Text;
    static const char* const KeyWord_SaveCount;
    static const char* const KeyWord_Fail;
    static const char* const KeyWord_RelFrameId;
    static const char* const KeyWord_CallbackName;
    static const char* const KeyWord_CallbackDLLName;
    static const char* const KeyWord_TextSfx;
    static const char* const KeyWord_TextPfx;
    static const char* const KeyWord_ImplicitGeneration;
    static const char* const KeyWord_CustomReq_RawBodyStart;
    static const char* const KeyWord_EncodeAtSign;
    static const char* const KeyWord_Cookie;
    static const char* const KeyWord_Insert;
    static const char* const KeyWord_ID;
    static const char* const KeyWord_IgnoreRedirections;
    static const char* const KeyWord_ClassName;
    static const char* const KeyWord_FindRightOf;
    static const char* const KeyWord_FindLeftOf;
    static const char* const KeyWord_FindInside;
    static const char* const KeyWord_FindWhat;
    static const char* const KeyWord_FindType;
    static const char* const KeyWord_Expect;
    static const char* const KeyWord_MatchCase;
    static const char* const KeyWord_Repeat;
    static const char* const KeyWord_Report;
    static const char* const KeyWord_AbortOnFailure;

    static const char* const m_paramLeftBrace;
    static const char* const m_paramRightBrace;

    static const AttrTableEntry m_valuesExpect[];
    static const AttrTableEntry m_valuesReport[];
    static const AttrTableEntry m_valuesOnFailure[];
    static const AttrTableEntry m_valuesInside[];
    static const AttrTableEntry m_valuesAction[];
    static const AttrTableEntry m_valuesHttpInfoType[];
    static const AttrTableEntry m_valuesSaveHeader[];

    static const bool bDefaultExpect;
    static const bool bDefaultMatchCase;
    static const bool bDefaultRepeat;
    static const bool bDefaultAbort;
    /// "always".
    static const CWebCheckStep::ReportOption DefaultReport;

    /// Null-terminated; its one entry is KeyWord_LastItem. Filled during static
    /// initialisation because it copies that constant's pointer.
    static const char* DefaultTerminators[2];

    /// Decodes a script string token (optionally in double quotes) into bytes.
    static void SetTokenValue(const char* token, MString& value);

    CWebStepScript& operator=(const CWebStepScript&) { return *this; }
};

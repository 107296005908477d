#pragma once
// Parameters taken from pages and headers, their conversions and properties of the last response.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

/// web_create_html_param: a parameter saved from the text between a left
/// and a right boundary of the next page.
class WEBSTEP_API CWebStepCreateHtmlParam : public CWebStepData {
public:
    CWebStepCreateHtmlParam();
    CWebStepCreateHtmlParam(const CWebStepCreateHtmlParam& other);
    CWebStepCreateHtmlParam& operator=(const CWebStepCreateHtmlParam& other);
    ~CWebStepCreateHtmlParam() override;

    const MString& GetName() const { return m_Name; }
    void SetName(const char* text);
    const MString& GetLeft() const { return m_Left; }
    void SetLeft(const char* text);
    const MString& GetRight() const { return m_Right; }
    void SetRight(const char* text);

private:
    MString m_Name;
    MString m_Left;
    MString m_Right;
};

/// web_create_html_param_ex: the same with the occurrence to take.
class WEBSTEP_API CWebStepCreateHtmlParamEx : public CWebStepCreateHtmlParam {
public:
    CWebStepCreateHtmlParamEx();
    CWebStepCreateHtmlParamEx(const CWebStepCreateHtmlParamEx& other);
    CWebStepCreateHtmlParamEx& operator=(const CWebStepCreateHtmlParamEx& other);
    ~CWebStepCreateHtmlParamEx() override;

    /// Stored as unsigned.
    unsigned int GetInstance() const { return m_Instance; }
    void SetInstance(int value) { m_Instance = static_cast<unsigned int>(value); }

private:
    unsigned int m_Instance;
};

/// web_set_max_html_param_len: the longest value a saved parameter takes.
class WEBSTEP_API CWebStepSetMaxHtmlParamLen : public CWebStepData {
public:
    CWebStepSetMaxHtmlParamLen();
    CWebStepSetMaxHtmlParamLen(const CWebStepSetMaxHtmlParamLen& other);
    CWebStepSetMaxHtmlParamLen& operator=(const CWebStepSetMaxHtmlParamLen& other);
    ~CWebStepSetMaxHtmlParamLen() override;

    unsigned int GetLen() const { return m_Len; }
    void SetLen(unsigned int value) { m_Len = value; }

private:
    unsigned int m_Len;
};

/// web_sjis_to_euc_param: a parameter converted from Shift-JIS to EUC.
class WEBSTEP_API CWebStepSjisToEucParam : public CWebStepData {
public:
    CWebStepSjisToEucParam();
    CWebStepSjisToEucParam(const CWebStepSjisToEucParam& other);
    CWebStepSjisToEucParam& operator=(const CWebStepSjisToEucParam& other);
    ~CWebStepSjisToEucParam() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* text);
    const MString& GetParamValue() const { return m_ParamValue; }
    void SetParamValue(const char* text);

private:
    MString m_ParamName;
    MString m_ParamValue;
};

/// A parameter's length saved into another parameter, in a conversion base.
class WEBSTEP_API CWebStepSaveParamLength : public CWebStepData {
public:
    CWebStepSaveParamLength();
    CWebStepSaveParamLength(const CWebStepSaveParamLength& other);
    CWebStepSaveParamLength& operator=(const CWebStepSaveParamLength& other);
    ~CWebStepSaveParamLength() override;

    const MString& GetConversionBase() const { return m_ConversionBase; }
    void SetConversionBase(const char* text);

private:
    MString m_ConversionBase;
};

/// web_save_header: the request or response headers saved into a parameter.
class WEBSTEP_API CWebStepSaveHeader : public CWebStepData {
public:
    /// Which headers are saved (the numbers of the script's value table).
    enum SaveHeaderOption {
        SAVE_HEADER_NONE = 0,
        SAVE_HEADER_REQUEST = 1,
        SAVE_HEADER_RESPONSE = 2,
    };

    CWebStepSaveHeader();
    CWebStepSaveHeader(const CWebStepSaveHeader& other);
    CWebStepSaveHeader& operator=(const CWebStepSaveHeader& other);
    ~CWebStepSaveHeader() override;

    SaveHeaderOption GetOption() const { return m_Option; }
    void SetOption(SaveHeaderOption value) { m_Option = value; }
    /// Returned as a copy.
    MString GetHeader() const { return m_Header; }
    void SetHeader(const char* text);

private:
    SaveHeaderOption m_Option;
    MString m_Header;
};

/// web_get_int_property: a numeric property of the last response (status
/// code, sizes, times).
class WEBSTEP_API CWebStepGetIntProperty : public CWebStepData {
public:
    /// The property asked for (the numbers of the script's value table).
    enum HttpInfoTypeOption {
        HTTP_INFO_NONE = 0,
        HTTP_INFO_RETURN_CODE = 1,
        HTTP_INFO_DOWNLOAD_SIZE = 2,
        HTTP_INFO_DOWNLOAD_TIME = 3,
        /// Header-plus-body size of the request (current script versions).
        HTTP_INFO_TOTAL_REQUEST_STAT = 4,
        /// Header-plus-body size of the response (current script versions).
        HTTP_INFO_TOTAL_RESPONSE_STAT = 5,
    };

    CWebStepGetIntProperty();
    CWebStepGetIntProperty(const CWebStepGetIntProperty& other);
    CWebStepGetIntProperty& operator=(const CWebStepGetIntProperty& other);
    ~CWebStepGetIntProperty() override;

    HttpInfoTypeOption GetHttpInfoType() const { return m_HttpInfoType; }
    void SetHttpInfoType(HttpInfoTypeOption value) { m_HttpInfoType = value; }

private:
    HttpInfoTypeOption m_HttpInfoType;
};

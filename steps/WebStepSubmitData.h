#pragma once
// web_submit_data: a request whose body is built from a data set, without a
// page form.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/DataSet.h"
#include "webstep/steps/WebActionStep.h"

/// A copy shares the data items with its source (see CDataSet); the owner of
/// one of the two calls GetDataSet().ClearDataReferences() before destroying it.
class WEBSTEP_API CWebStepSubmitData : public CWebContextlessStep {
public:
    CWebStepSubmitData();
    CWebStepSubmitData(const CWebStepSubmitData& other);
    CWebStepSubmitData& operator=(const CWebStepSubmitData& other);
    ~CWebStepSubmitData() override;

    const MString& GetAction() const { return m_Action; }
    void SetAction(const char* text);
    const MString& GetMethod() const { return m_Method; }
    void SetMethod(const char* text);
    const MString& GetEncType() const { return m_EncType; }
    void SetEncType(const char* text);
    const MString& GetContentEncoding() const { return m_ContentEncoding; }
    void SetContentEncoding(const char* text);
    const CDataSet& GetDataSet() const { return m_DataSet; }
    CDataSet& GetDataSet() { return m_DataSet; }
    bool GetUseEncType() const { return m_UseEncType; }
    void SetUseEncType(bool use) { m_UseEncType = use; }
    bool GetEncodeAtSign() const { return m_EncodeAtSign; }
    void SetEncodeAtSign(bool encode) { m_EncodeAtSign = encode; }
    bool IsRedirectedToSubmit() const { return m_RedirectedToSubmit; }
    void SetRedirectedToSubmit(bool redirected) { m_RedirectedToSubmit = redirected; }

private:
    MString m_Action;
    MString m_Method;
    MString m_EncType;
    MString m_ContentEncoding;
    CDataSet m_DataSet;
    bool m_UseEncType;
    bool m_EncodeAtSign;
    bool m_RedirectedToSubmit;
};

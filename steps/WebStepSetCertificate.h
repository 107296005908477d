#pragma once
// Client certificates: by index (web_set_certificate) or by files
// (web_set_certificate_ex).
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// web_set_certificate: the client certificate chosen by its index.
class WEBSTEP_API CWebStepSetCertificate : public CWebStepData {
public:
    CWebStepSetCertificate();
    CWebStepSetCertificate(const CWebStepSetCertificate& other);
    CWebStepSetCertificate& operator=(const CWebStepSetCertificate& other);
    ~CWebStepSetCertificate() override;

    unsigned int GetIndex() const { return m_Index; }
    void SetIndex(unsigned int index) { m_Index = index; }

private:
    unsigned int m_Index;
};

/// Attribute-backed; getters share one scratch string.
class WEBSTEP_API CWebStepSetCertificateEx : public CWebStepWithAttributes {
public:
    CWebStepSetCertificateEx();
    CWebStepSetCertificateEx(const CWebStepSetCertificateEx& other);
    CWebStepSetCertificateEx& operator=(const CWebStepSetCertificateEx& other);
    ~CWebStepSetCertificateEx() override;

    /// "CertFilePath"
    const MString& GetCertFilePath() const;
    void SetCertFilePath(const char* text);
    /// "CertFormat"
    const MString& GetCertFormat() const;
    void SetCertFormat(const char* text);
    /// "CertIndex", kept as text
    const MString& GetCertIndex() const;
    void SetCertIndex(const char* text);
    /// "KeyFilePath"
    const MString& GetKeyFilePath() const;
    void SetKeyFilePath(const char* text);
    /// "KeyFormat"
    const MString& GetKeyFormat() const;
    void SetKeyFormat(const char* text);
    /// "Password"
    const MString& GetPassword() const;
    void SetPassword(const char* text);

    /// Writes the certificate of "CertIndex" as "certificate<index>.pem" into
    /// the directory through the certificate exporter module and records the
    /// file name in the exported files list. Returns 0, or 0x80004005 when
    /// the module or its function is missing or the export fails (nothing is
    /// recorded then).
    long ExportCertificate(const MString& directory) const;

private:
    mutable MString m_Scratch;
};

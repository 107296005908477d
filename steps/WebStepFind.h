#pragma once
// Content checks of the current page: finding texts, checking an image,
// checking a Java applet. Their options are in the inherited attribute set.
#include "webstep/forms/DataSet.h"
#include "webstep/foundation/Export.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// A copy shares the data items with its source (see CDataSet).
class WEBSTEP_API CWebStepFind : public CWebCheckStep {
public:
    CWebStepFind();
    explicit CWebStepFind(const CAttributeSet& attributes);
    CWebStepFind(const CWebStepFind& other);
    CWebStepFind& operator=(const CWebStepFind& other);
    ~CWebStepFind() override;

    /// The texts to find.
    const CDataSet& GetDataSet() const { return m_DataSet; }
    CDataSet& GetDataSet() { return m_DataSet; }

private:
    CDataSet m_DataSet;
};

/// web_image_check: a check that the page holds an image (options in the
/// attribute set).
class WEBSTEP_API CWebStepImageCheck : public CWebCheckStep {
public:
    CWebStepImageCheck();
    explicit CWebStepImageCheck(const CAttributeSet& attributes);
    CWebStepImageCheck(const CWebStepImageCheck& other);
    CWebStepImageCheck& operator=(const CWebStepImageCheck& other);
    ~CWebStepImageCheck() override;
};

/// A copy shares the applet parameters with its source (see CDataSet).
class WEBSTEP_API CWebStepJavaCheck : public CWebCheckStep {
public:
    CWebStepJavaCheck();
    explicit CWebStepJavaCheck(const CAttributeSet& attributes);
    CWebStepJavaCheck(const CWebStepJavaCheck& other);
    CWebStepJavaCheck& operator=(const CWebStepJavaCheck& other);
    ~CWebStepJavaCheck() override;

    const CDataSet& GetAppletParams() const { return m_AppletParams; }
    CDataSet& GetAppletParams() { return m_AppletParams; }

private:
    CDataSet m_AppletParams;
};

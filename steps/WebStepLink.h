#pragma once
// Navigations resolved against the current page: following a link, clicking
// an image, submitting a page form. The page element to act on is described by
// the inherited attribute set.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/DataSet.h"
#include "webstep/steps/WebActionStep.h"

/// web_link: following a link of the current page, named by the inherited
/// attribute set (text, ordinal, frame, ...).
class WEBSTEP_API CWebStepLink : public CWebContextStep {
public:
    CWebStepLink();
    explicit CWebStepLink(const CAttributeSet& attributes);
    CWebStepLink(const CWebStepLink& other);
    CWebStepLink& operator=(const CWebStepLink& other);
    ~CWebStepLink() override;
};

/// web_image: clicking an image of the current page, named by the inherited
/// attribute set (source, alternative text, map area, ...).
class WEBSTEP_API CWebStepImage : public CWebContextStep {
public:
    CWebStepImage();
    explicit CWebStepImage(const CAttributeSet& attributes);
    CWebStepImage(const CWebStepImage& other);
    CWebStepImage& operator=(const CWebStepImage& other);
    ~CWebStepImage() override;

    /// Click coordinates, kept as written.
    const MString& GetX() const { return m_X; }
    void SetX(const char* text);
    const MString& GetY() const { return m_Y; }
    void SetY(const char* text);

private:
    MString m_X;
    MString m_Y;
};

/// A copy shares the data and hidden items with its source (see CDataSet).
class WEBSTEP_API CWebStepSubmitForm : public CWebContextStep {
public:
    CWebStepSubmitForm();
    explicit CWebStepSubmitForm(const CAttributeSet& attributes);
    CWebStepSubmitForm(const CWebStepSubmitForm& other);
    CWebStepSubmitForm& operator=(const CWebStepSubmitForm& other);
    ~CWebStepSubmitForm() override;

    const CDataSet& GetDataSet() const { return m_DataSet; }
    CDataSet& GetDataSet() { return m_DataSet; }
    const CDataSet& GetHiddens() const { return m_Hiddens; }
    CDataSet& GetHiddens() { return m_Hiddens; }
    const MString& GetContentEncoding() const { return m_ContentEncoding; }
    void SetContentEncoding(const char* text);

private:
    CDataSet m_DataSet;
    CDataSet m_Hiddens;
    MString m_ContentEncoding;
};

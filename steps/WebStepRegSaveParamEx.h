#pragma once
// Correlation rules of current script versions: a parameter saved from the
// next response by boundaries (web_reg_save_param_ex), a regular expression
// (web_reg_save_param_regexp), a JSON path (web_reg_save_param_json), an
// XPath (web_reg_save_param_xpath) or a tag attribute
// (web_reg_save_param_attrib), each limited by an optional filter section.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/PropertyBag.h"
#include "webstep/steps/AttributeField.h"
#include "webstep/steps/WebStepRegSaveParam.h"
#include "webstep/steps/WebStepWithAttributes.h"

/// The part every saving rule shares: the parameter name, the "NotFound"
/// handling and the search filters (the attributes after SEARCH_FILTERS,
/// kept in their own set under the names as written). The other options live
/// in the inherited attribute set; getters of attribute-backed fields share
/// one scratch string, so the next getter call overwrites an earlier result.
class WEBSTEP_API CWebStepSaveParamRule : public CWebStepWithAttributes {
public:
    CWebStepSaveParamRule() = default;
    CWebStepSaveParamRule(const CWebStepSaveParamRule& other) = default;
    CWebStepSaveParamRule& operator=(const CWebStepSaveParamRule& other) = default;
    ~CWebStepSaveParamRule() override;

    const MString& GetParamName() const { return m_ParamName; }
    void SetParamName(const char* name);
    WEBSTEP_ATTRIBUTE_FIELD(NotFound, "NotFound")
    WEBSTEP_ATTRIBUTE_FIELD(DFEs, "DFEs")

    CAttributeSet& GetSearchFilters() { return m_SearchFilters; }
    const CAttributeSet& GetSearchFilters() const { return m_SearchFilters; }
    /// One filter's value ("Scope", "HeaderNames", "ContentType", "RequestUrl",
    /// "IgnoreRedirections", "RelFrameID"); empty when the filter is absent.
    const MString& GetSearchFilter(const char* name) const;

protected:
    mutable MString m_Scratch;

private:
    MString m_ParamName;
    CAttributeSet m_SearchFilters;
};

/// web_reg_save_param_ex: the text between a left ("LB") and a right ("RB")
/// boundary; the options written after each boundary name ("LB/IC/BIN") are
/// kept as flags, the boundary texts under the plain names "LB" and "RB".
class WEBSTEP_API CWebStepRegSaveParamEx : public CWebStepSaveParamRule {
public:
    CWebStepRegSaveParamEx() = default;
    CWebStepRegSaveParamEx(const CWebStepRegSaveParamEx& other) = default;
    CWebStepRegSaveParamEx& operator=(const CWebStepRegSaveParamEx& other) = default;
    ~CWebStepRegSaveParamEx() override;

    RegSaveParamFlags GetLeftBoundFlags() const { return m_LeftBoundFlags; }
    void SetLeftBoundFlags(RegSaveParamFlags flags) { m_LeftBoundFlags = flags; }
    RegSaveParamFlags GetRightBoundFlags() const { return m_RightBoundFlags; }
    void SetRightBoundFlags(RegSaveParamFlags flags) { m_RightBoundFlags = flags; }
    WEBSTEP_ATTRIBUTE_FIELD(Left, "LB")
    WEBSTEP_ATTRIBUTE_FIELD(Right, "RB")
    /// A number, "All" or "LAST", as written.
    WEBSTEP_ATTRIBUTE_FIELD(Ordinal, "Ordinal")
    WEBSTEP_ATTRIBUTE_FIELD(SaveLen, "SaveLen")
    WEBSTEP_ATTRIBUTE_FIELD(SaveOffset, "SaveOffset")

private:
    RegSaveParamFlags m_LeftBoundFlags = RSPF_NONE;
    RegSaveParamFlags m_RightBoundFlags = RSPF_NONE;
};

/// web_reg_save_param_regexp: the text that a group of a regular expression
/// matched.
class WEBSTEP_API CWebStepRegSaveParamRegexp : public CWebStepSaveParamRule {
public:
    CWebStepRegSaveParamRegexp() = default;
    CWebStepRegSaveParamRegexp(const CWebStepRegSaveParamRegexp& other) = default;
    CWebStepRegSaveParamRegexp& operator=(const CWebStepRegSaveParamRegexp& other) = default;
    ~CWebStepRegSaveParamRegexp() override;

    WEBSTEP_ATTRIBUTE_FIELD(RegExp, "RegExp")
    /// "0" to "10"; absent means group 1.
    WEBSTEP_ATTRIBUTE_FIELD(Group, "Group")
    WEBSTEP_ATTRIBUTE_FIELD(Ordinal, "Ordinal")
};

/// web_reg_save_param_json: the values a JSON path selects.
class WEBSTEP_API CWebStepRegSaveParamJson : public CWebStepSaveParamRule {
public:
    CWebStepRegSaveParamJson() = default;
    CWebStepRegSaveParamJson(const CWebStepRegSaveParamJson& other) = default;
    CWebStepRegSaveParamJson& operator=(const CWebStepRegSaveParamJson& other) = default;
    ~CWebStepRegSaveParamJson() override;

    WEBSTEP_ATTRIBUTE_FIELD(QueryString, "QueryString")
    WEBSTEP_ATTRIBUTE_FIELD(SelectAll, "SelectAll")
};

/// web_reg_save_param_xpath: the nodes an XPath selects.
class WEBSTEP_API CWebStepRegSaveParamXpath : public CWebStepSaveParamRule {
public:
    CWebStepRegSaveParamXpath() = default;
    CWebStepRegSaveParamXpath(const CWebStepRegSaveParamXpath& other) = default;
    CWebStepRegSaveParamXpath& operator=(const CWebStepRegSaveParamXpath& other) = default;
    ~CWebStepRegSaveParamXpath() override;

    WEBSTEP_ATTRIBUTE_FIELD(QueryString, "QueryString")
    WEBSTEP_ATTRIBUTE_FIELD(SelectAll, "SelectAll")
    WEBSTEP_ATTRIBUTE_FIELD(ReturnXML, "ReturnXML")
};

/// web_reg_save_param_attrib: one attribute ("Extract") of the tag
/// ("TagName") that the remaining attributes of the set select.
class WEBSTEP_API CWebStepRegSaveParamAttrib : public CWebStepSaveParamRule {
public:
    CWebStepRegSaveParamAttrib() = default;
    CWebStepRegSaveParamAttrib(const CWebStepRegSaveParamAttrib& other) = default;
    CWebStepRegSaveParamAttrib& operator=(const CWebStepRegSaveParamAttrib& other) = default;
    ~CWebStepRegSaveParamAttrib() override;

    WEBSTEP_ATTRIBUTE_FIELD(TagName, "TagName")
    WEBSTEP_ATTRIBUTE_FIELD(Extract, "Extract")
};

#pragma once
// What a step parser hands back: the step being built (its name and a pointer
// to the step object) and the last error of the parse.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/PropertyBag.h"
#include "webstep/steps/WebStepError.h"

class CWebStepData;

/// The step's name and the step object; the object is never owned.
class WEBSTEP_API CWebStepDesign {
public:
    CWebStepDesign();
    CWebStepDesign(const CWebStepDesign& other);
    const CWebStepDesign& operator=(const CWebStepDesign& other);
    ~CWebStepDesign();

    const MString& GetName() const { return m_Name; }
    void SetName(const MString& name) { m_Name = name; }
    CWebStepData* GetDataStep() const { return m_DataStep; }
    void SetDataStep(CWebStepData* step) { m_DataStep = step; }

private:
    MString m_Name;
    CWebStepData* m_DataStep;
};

/// Base of the step parsers: the current step (not owned; copies share it) and
/// the last error.
class WEBSTEP_API CWebStepBase {
public:
    CWebStepBase();
    /// Copies name and step pointer; no error.
    explicit CWebStepBase(const CWebStepDesign& design);
    CWebStepBase(const CWebStepBase& other);
    CWebStepBase& operator=(const CWebStepBase& other);
    ~CWebStepBase();

    void SetWebStep(const CWebStepDesign& design) { m_WebStep = design; }
    CWebStepDesign& GetWebStep() { return m_WebStep; }
    const CWebStepDesign& GetWebStep() const { return m_WebStep; }
    /// The current step (not owned).
    CWebStepData* GetDataStep() const { return m_WebStep.GetDataStep(); }
    /// Takes no ownership.
    void SetDataStep(CWebStepData* step) { m_WebStep.SetDataStep(step); }
    const CWebStepError& GetLastErrorInfo() const { return m_LastError; }

    /// Appends a detail to the last error; the code is kept.
    void AddErrorAttribute(const char* name, const char* value);
    /// Appends the value as signed decimal text (4294967295 gives "-1").
    void AddErrorAttribute(const char* name, unsigned int value);

protected:
    /// Replaces the last error (code and a copy of the attributes).
    void SetErrorInfo(unsigned int code, const CAttributeSet& attributes);
    /// Replaces the last error with the code and the const char* pairs name,
    /// value, ... that follow, closed by a null pointer; a name without a
    /// value is dropped.
    void SetErrorInfo(unsigned int code, ...) __attribute__((sentinel));

private:
    CWebStepDesign m_WebStep;
    CWebStepError m_LastError;
};

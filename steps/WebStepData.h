#pragma once
// Root of every step object. Steps are plain data; the only virtual operation
// in the whole step model is the destructor, and a step is recognised by its
// dynamic type.
#include "webstep/foundation/Export.h"

/// Root of every step object. Steps are plain values (copyable, no failure
/// modes) recognised by their dynamic type. A step belongs to whoever takes it
/// from a parser (GetDataStep) or a creator (CreateStep) and is deleted
/// through this class.
class WEBSTEP_API CWebStepData {
public:
    CWebStepData(const CWebStepData& other);
    CWebStepData& operator=(const CWebStepData& other);
    virtual ~CWebStepData();

    /// A mark for the step's clients (whether its strings are written
    /// escaped); the step model itself never reads it.
    bool GetEscapeingString() const { return m_EscapeingString; }
    void SetEscapeingString(bool escape) { m_EscapeingString = escape; }

protected:
    CWebStepData();

private:
    bool m_EscapeingString;
};

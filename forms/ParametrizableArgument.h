#pragma once
// A script text that may be a parameter reference ({Name}): keeps the script
// form and the value that is current at run time.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

class CContext;

/// A script text that may be a parameter reference ("{Name}", at least two
/// bytes): the text as written and its current run-time value. A value class;
/// Parametrize returns false when the context cannot resolve the reference.
class WEBSTEP_API CParametrizableArgument {
public:
    CParametrizableArgument();
    CParametrizableArgument(const MString& text);
    /// Stores the flag as given and text into both texts; braces are not looked at.
    CParametrizableArgument(bool isDataDriven, const MString& text);
    CParametrizableArgument(const CParametrizableArgument&) = default;
    CParametrizableArgument& operator=(const CParametrizableArgument&) = default;
    ~CParametrizableArgument() = default;

    void Set(bool isDataDriven, const MString& text);
    /// Recognises a parameter reference: at least 2 bytes, "{" first and a
    /// closing brace as the last character (not a trail byte).
    void SetValue(const MString& text);
    CParametrizableArgument& operator=(const MString& text) {
        SetValue(text);
        return *this;
    }
    /// A data-driven argument takes the run-time value only; a literal is reset.
    void SetRealValue(const MString& text);

    bool IsDataDriven() const { return isDataDriven; }
    const MString& GetParametrizableValue() const { return parametrizableValue; }
    const MString& GetValue() const { return value; }
    void Empty();
    bool IsEmpty() const { return parametrizableValue.empty() && value.empty(); }
    MString GetScriptForm() const;

    /// Resolves the reference through the context, overwriting the run-time value.
    bool Parametrize(CContext* ctx) const;
    bool AssignToParameter(CContext* ctx) const;
    MString Report(bool, bool, const MString&) const { return value; }
    /// Case-insensitive match of a recorded source against a script's short form.
    bool SrcMatches(const CParametrizableArgument& other) const;

    /// Only the run-time values take part, exactly and with case.
    bool operator==(const CParametrizableArgument& other) const { return value == other.value; }
    bool operator!=(const CParametrizableArgument& other) const { return value != other.value; }
    bool operator==(const MString& other) const { return value == other; }
    bool operator!=(const MString& other) const { return value != other; }

private:
    bool isDataDriven;
    MString parametrizableValue;
    /// Overwritten by Parametrize through a const object.
    mutable MString value;
};

#pragma once
// The error record that a step parser leaves behind, the error codes it uses,
// and the mapping of each code to its readable message.
#include <cstdint>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/PropertyBag.h"

/// Error codes recorded by the step parsers (1000 to 1015).
enum WebStepErrorCode : unsigned int {
    WSE_NONE = 0,
    WSE_MISSING_ATTRIBUTE = 1000,        // a required attribute is missing
    WSE_UNKNOWN_KEYWORD = 1001,          // unrecognised keyword
    WSE_ATTRIBUTE_SYNTAX = 1002,         // syntax error in an attribute
    WSE_INVALID_ATTRIBUTE_VALUE = 1003,  // invalid value given for an attribute
    WSE_BOOLEAN_SYNTAX = 1004,           // syntax error in a boolean value
    WSE_YESNO_SYNTAX = 1005,             // syntax error in a yes/no value
    WSE_NUMBER_SYNTAX = 1006,            // syntax error in a number
    WSE_URL_SYNTAX = 1007,               // syntax error in a URL specification
    WSE_MISSING_ARGUMENT = 1008,         // a required argument is missing
    WSE_NO_ARGUMENTS = 1009,             // the call has no arguments at all
    WSE_UNEXPECTED_ARGUMENT = 1010,      // an unexpected argument was met
    WSE_UNEXPECTED_END = 1011,           // the statement ended unexpectedly
    WSE_DUPLICATE_ATTRIBUTE = 1012,      // an attribute value was given twice
    WSE_NO_TERMINATOR = 1013,            // no valid terminator in the statement
    WSE_INVALID_SUBMIT_METHOD = 1014,    // invalid method in a submit directive
    WSE_TEXT_OR_PREFIX_SUFFIX = 1015,    // give "Text" alone or both "TextPfx" and "TextSfx"
};

/// One error: a code (0 when there is none) and named details; the parsers use
/// the single name "text" for the offending piece of script.
class WEBSTEP_API CWebStepError {
public:
    CWebStepError();
    CWebStepError(unsigned int code, const CAttributeSet& attributes);
    CWebStepError(const CWebStepError& other);
    CWebStepError& operator=(const CWebStepError& other);
    ~CWebStepError();

    unsigned int GetCode() const { return m_Code; }
    void SetCode(unsigned int code) { m_Code = code; }
    const CAttributeSet& GetAttributes() const { return m_Attributes; }
    CAttributeSet& GetAttributes() { return m_Attributes; }

private:
    unsigned int m_Code;
    CAttributeSet m_Attributes;
};

/// Maps error codes to the library's message strings (Simplified Chinese,
/// delivered in the process code page).
class WEBSTEP_API CWebStepErrMsg {
public:
    struct ErrMsgMapEntry {
        std::uint32_t code;
        std::uint32_t resourceId;
    };

    /// The sixteen codes and their string identifiers, in lookup order; the
    /// number message (1006) precedes the yes/no message (1005) on purpose.
    static const ErrMsgMapEntry m_MessageTable[16];

    /// The string identifier of the code, 0 when the code is unknown.
    static unsigned int GetMessageStringID(unsigned int code);
    /// Loads the code's message into buffer (at most size bytes, zero
    /// included, never half a character); false when the code is unknown, the
    /// buffer is null or too small for one character. An unknown code leaves
    /// the buffer untouched.
    static bool GetMessageString(unsigned int code, char* buffer, unsigned long size);
    /// The English rendering of the code's message (plain ASCII), or null when
    /// the code is unknown; for tools that want an English text.
    static const char* GetEnglishMessage(unsigned int code);
};

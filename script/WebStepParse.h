#pragma once
// The abstract step parser: receives a step call's arguments (an array, a
// variable argument list or a list of strings), walks them with a cursor and
// offers the primitives that take one argument apart and that read field
// lists into data sets. Errors are recorded on the step base, never thrown.
#include <cstdarg>
#include <cstdint>
#include <deque>
#include <list>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/PropertyBag.h"
#include "webstep/script/ObjectRepository.h"
#include "webstep/script/WebStepScript.h"
#include "webstep/steps/WebStepBase.h"
#include "webstep/steps/WebStepGlobalVerification.h"
#include "webstep/steps/WebStepRegFind.h"
#include "webstep/steps/WebStepRegSaveParam.h"

class CDataSet;
class CResourceElements;
class CWebContextlessStep;
class CWebStepCustomRequest;

enum WebParserFlags : uint32_t {
    WPF_NONE = 0,
    /// Allocate a new step object of the parser's class in the current-step slot.
    WPF_CREATE_STEP = 1,
    /// The argument list has no leading step name.
    WPF_NO_STEP_NAME = 2,
    /// Each fetched argument is duplicated into storage the parser owns.
    WPF_COPY_ARGUMENTS = 4,
    /// Value tables of current script versions beyond the grammar's: for
    /// web_get_int_property also HTTP_INFO_TOTAL_REQUEST_STAT and
    /// HTTP_INFO_TOTAL_RESPONSE_STAT.
    WPF_EXTENDED_VALUES = 8,
};

inline WebParserFlags operator|(WebParserFlags a, WebParserFlags b) {
    return static_cast<WebParserFlags>(static_cast<uint32_t>(a) | static_cast<uint32_t>(b));
}
inline WebParserFlags operator&(WebParserFlags a, WebParserFlags b) {
    return static_cast<WebParserFlags>(static_cast<uint32_t>(a) & static_cast<uint32_t>(b));
}

/// Base of the step parsers: one parser per script function, made by the
/// repository that UpdateRepository fills, owned by the caller.
/// ParseArguments returns false on a wrong call and records the error code
/// (1000 to 1015) with its details on the step base; nothing is thrown. The
/// step object it builds belongs to whoever takes it with GetDataStep.
class WEBSTEP_API CWebStepParse : public CWebStepBase, public CWebStepScript {
public:
    CWebStepParse();
    CWebStepParse(const CWebStepParse& other);
    CWebStepParse& operator=(const CWebStepParse& other);
    virtual ~CWebStepParse();

    /// Registers the parser factory of every script function name.
    static void UpdateRepository(CObjectRepository& repository);
    /// Registers the parsers of the functions that current script versions
    /// call beyond those (web_reg_save_param_ex, web_rest, web_js_run, ...);
    /// a caller that wants both sets calls both.
    static void UpdateRepositoryExtended(CObjectRepository& repository);
    /// The function names UpdateRepositoryExtended registers, in its order.
    static const char* const* GetExtendedFunctionNames();

    /// Array mode: count elements, read from index 0.
    bool ParseArguments(unsigned int count, const char** args, WebParserFlags flags);
    /// Variable-argument mode: a list of const char* with no count; it must be
    /// closed by a terminator ("LAST"), or it is read past its end.
    bool ParseArguments(va_list args, WebParserFlags flags);
    /// Convenience form of the variable-argument mode: the const char*
    /// arguments follow the flags and must end with a terminator.
    bool ParseArgumentList(WebParserFlags flags, ...);
    /// The list's texts in order, then as the array form.
    bool ParseArguments(const std::list<MString>& args, WebParserFlags flags);

protected:
    virtual bool __ParseArguments() = 0;

    /// The layout of a function's argument list, for the frame that every
    /// parser applies before its own reading.
    enum ArgumentShape {
        AS_NONE,           // no arguments: any argument records 1010
        AS_FIXED,          // exactly the count: fewer record 1008, more 1010
        AS_FIXED_OR_1008,  // exactly the count: any other count records 1008
        AS_ATTRIBUTES,     // arguments up to "LAST": an empty array records 1009
    };
    enum LeadingArgument {
        LA_NONE,            // the list starts with its attributes or values
        LA_STEP_NAME,       // the step name, unless WPF_NO_STEP_NAME
        LA_PARAMETER_NAME,  // always a parameter name; the step name becomes
                            // the function name, a space and the parameter name
    };
    struct FrameRule {
        const char* function;
        ArgumentShape shape;
        unsigned int count;
        LeadingArgument leading;
    };
    /// Argument-count check (array mode only), leading argument, and the walk
    /// over the remaining arguments: up to a terminator or the array's end for
    /// attribute lists, the fixed number of values otherwise. Records 1008,
    /// 1009 or 1010 and fails on a wrong count.
    bool ApplyFrame(const FrameRule& rule);

    /// The next argument, or null when an array is exhausted. Variable-argument
    /// lists have no end test.
    const char* GetNextArgument();
    WebParserFlags GetFlags() const { return m_Flags; }
    bool IsArrayMode() const { return m_bArrayMode; }
    /// Number of array elements (0 in variable-argument mode).
    unsigned int GetArgumentCount() const { return m_nArgCount; }
    /// Index of the next array element (0 in variable-argument mode).
    unsigned int GetArgumentIndex() const { return m_bArrayMode ? m_nArgIndex : 0; }

    static bool IsTerminator(const MString& argument, const char** terminators, int* index);

    /// Argument primitives.
    bool IsParameter(const MString& text);
    bool IsBodyVariable(const MString& text);
    bool ParseAttribute(const MString& argument, MString& name, MString& value);
    bool ParseUrlArgument(const MString& argument, MString& urlPart, MString& rest,
                          MString& parameter);
    bool ParseNumericArgument(const MString& text, unsigned int& value);
    bool ParseNumericSignedArgument(const MString& text, long& value);
    bool ParseNumericArgumentOrAll(const MString& text);
    bool ParseYesNoArgument(const MString& text, bool& value);
    bool ParseBooleanArgument(const MString& text, bool& value);
    bool ValidateAttribute(const MString& name, const MString& value,
                           const CWebStepScript::AttrTableEntry* table, bool allowEmpty,
                           int* result);
    bool BuildAttrSetFromArgList(CAttributeSet& attributes, const char** terminators,
                                 int* terminatorIndex, bool allowDuplicate);
    bool BuildFreeText(std::list<MString>& texts, const char** terminators, int* terminatorIndex);

    /// Field lists to data sets.
    bool BuildDataSetFromFieldList(CDataSet& dataSet, const char** terminators,
                                   int* terminatorIndex);
    bool BuildResourceDataSetFromFieldList(CResourceElements& resources, const char** terminators,
                                           int* terminatorIndex);

    /// Readers of the navigation and custom-request steps.
    /// Which of the three custom-request functions is parsed: it picks the
    /// step class that is built. Any other value builds the plain request.
    enum ProtocolIdentifierType {
        PROTOCOL_HTTP = 0,         // "web_custom_request"
        PROTOCOL_FLEX = 1,         // "flex_web_request"
        PROTOCOL_SILVERLIGHT = 2,  // "silverlight_web_request"
    };
    /// Copies TargetFrame, RecContentType, Resource, Snapshot, Referer,
    /// UserAgent, Mode and ResourceByteLimit; false (1004) on a bad Resource.
    bool GetContextlessAttributes(const CAttributeSet& attributes, CWebContextlessStep& step);
    /// The grammar shared by the three custom-request functions; step is the
    /// object to fill when the caller placed one (null otherwise).
    bool ParseCustomRequestFunction(CWebStepCustomRequest* step, ProtocolIdentifierType protocol);
    /// Empty array (1009), step name, then the attribute run up to one of the
    /// terminators; the index of the terminator found (-1 when none).
    bool ReadStepStart(CAttributeSet& attributes, const char** terminators, int* terminatorIndex,
                       bool allowDuplicate);
    /// The resource items after "EXTRARES", up to "LAST"; a failure names the
    /// resource table as its context.
    bool ReadExtraResources(CResourceElements& resources, int* terminatorIndex);

    /// Readers of the correlation, verification and service steps.
    /// Options written after a boundary name ("LB/IC/BIN"): each segment is a
    /// prefix of an option name, resolved in table order; 1002 ("text", the
    /// whole name) on an empty or unknown segment.
    bool ParseParamBoundary(const MString& attributeName, RegSaveParamFlags& flags);
    /// The same grammar for a find text; the error carries the given label.
    bool ParseFindText(const MString& label, const MString& attributeName, RegFindFlags& flags);
    /// The same grammar with "IC" and "BIN" only.
    bool ParseGlobalVerificationText(const MString& label, const MString& attributeName,
                                     GlobalVerificationFlags& flags);
    /// Frame, Expect, MatchCase, Repeat, onfailure and Report of a check step,
    /// starting from the defaults; false with 1003 or 1005 on a bad value.
    bool GetCheckAttributes(const CAttributeSet& attributes, MString& frame, bool& expectFound,
                            bool& matchCase, bool& repeat, bool& abortOnFailure,
                            CWebCheckStep::ReportOption& report);
    /// "what"/"type" items closed by "ENDITEM" up to a terminator; records no
    /// error of its own.
    bool BuildDataSetFromFindFields(CDataSet& dataSet, const char** terminators,
                                    int* terminatorIndex);
    /// The reader shared by the pause and resume forms of the global
    /// verification: "ID=..." attributes up to "LAST", each adding one
    /// identifier to the step when there is one.
    bool ReadGlobalVerificationIDs(CWebStepGlobalVerificationPauseResumeBase* step);

private:
    bool Run(WebParserFlags flags);

    /// The argument cursor.
    bool m_bArrayMode;
    va_list* m_pArgList;  // valid only while a variable-argument parse runs
    const char** m_ppArgs;
    uint32_t m_nArgIndex;
    uint32_t m_nArgCount;
    WebParserFlags m_Flags;
    bool m_bCopyArguments;
    /// Duplicated arguments of the running parse (stable addresses), freed
    /// when the parse ends.
    std::deque<MString> m_CopiedArguments;
};

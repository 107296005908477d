#pragma once
// Parsing step calls as a replaying program does: the parser and creator
// repositories filled once (the script grammar's functions and, by default,
// the extended set of current script versions), each call handed to a fresh
// parser of its function with its arguments in array form.
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/script/ObjectRepository.h"
#include "webstep/steps/WebStepData.h"

/// The outcome of one step call handed to its parser.
struct WEBSTEP_API ParsedStep {
    /// The repository has a parser for the function.
    bool known = false;
    bool ok = false;
    unsigned int errorCode = 0;
    /// The error's details in recording order.
    std::vector<std::pair<MString, MString>> errorAttributes;
    /// The step object on success; the caller owns it.
    std::unique_ptr<CWebStepData> step;
};

/// A parser repository and the parsing of single calls. One object is used
/// by one thread at a time.
class WEBSTEP_API CStepParser {
public:
    /// extended: also the functions of current script versions beyond the
    /// script grammar's 49, and their longer value tables.
    explicit CStepParser(bool extended = true);
    CStepParser(const CStepParser&) = delete;
    CStepParser& operator=(const CStepParser&) = delete;

    /// Parses a call; the first argument is the step name (as scripts write
    /// it) and the markers ("LAST", "ITEMDATA", ...) are texts of their own.
    ParsedStep Parse(const MString& function, const std::vector<const char*>& arguments);

    bool IsExtended() const { return m_extended; }
    /// Whether the repository has a parser for the function.
    bool IsKnown(const MString& function) const { return m_names.count(function) != 0; }
    /// Whether the function belongs to the extended set (known here or not).
    static bool IsExtendedFunction(const MString& function);
    /// The names the repository knows.
    const std::set<MString>& Names() const { return m_names; }

private:
    CObjectRepository m_repository;
    std::set<MString> m_names;
    bool m_extended;
};

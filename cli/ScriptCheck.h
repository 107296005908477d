#pragma once
// Shared ground of the script commands (lint, steps): finding the action
// files of the paths a user names, parsing each step call through the parser
// repository, and printing script bytes readably as text or JSON.
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "webstep/replay/StepParser.h"
#include "webstep/script/ScriptReader.h"
#include "webstep/steps/WebStepData.h"

namespace webstep::cli {

using OrderedJson = nlohmann::ordered_json;

// The .c files of the paths: a file is taken as it is (whatever its name); a
// folder gives every .c file below it, folders included, in name order.
// Paths that do not exist or cannot be listed are reported in problems.
void CollectActionFiles(const std::vector<std::string>& paths, std::vector<std::string>& files,
                        std::vector<std::string>& problems);

// Parses step calls as the tool's programs do, through the library's step
// parser (the repository filled once, a fresh parser per call, the arguments
// in array mode with the step-creation flag), and makes script readers that
// know the repository's functions. By default the repository holds the 49
// step functions of the script grammar and the extended set that current
// script versions call; spec-only keeps the 49.
class CStepRunner {
public:
    explicit CStepRunner(bool extended = true) : m_Parser(extended) {}
    // Readers made by MakeReader point at the runner: it stays in place.
    CStepRunner(const CStepRunner&) = delete;
    CStepRunner& operator=(const CStepRunner&) = delete;
    ParsedStep Parse(const ScriptCall& call);

    bool IsExtended() const { return m_Parser.IsExtended(); }
    // Whether the repository has a parser for the function.
    bool IsKnown(const MString& function) const { return m_Parser.IsKnown(function); }
    // Whether the function belongs to the extended set (known or not here).
    static bool IsExtendedFunction(const MString& function) {
        return CStepParser::IsExtendedFunction(function);
    }
    // A script reader that takes the repository's functions for step calls
    // (other web_ names are unknown functions). It asks this runner, which
    // must outlive it and stay where it is.
    CScriptReader MakeReader() const;

private:
    CStepParser m_Parser;
};

// The 0-based index of the argument an error points at, from its "argument"
// detail (the index after the offending argument), or -1.
int ErrorArgumentIndex(const ParsedStep& parsed);

// Whether text is UTF-8 (no overlong forms, surrogates or values beyond
// U+10FFFF), and without NUL bytes unless allowNul.
bool IsValidUtf8(const MString& text, bool allowNul = false);

// Script bytes for a terminal line: kept as they are when printable (bytes
// from 0x80 pass unchanged, being text of the process code page), otherwise
// quoted with C escapes; cut after limit bytes (0: no limit) with "...".
std::string DisplayText(const MString& text, size_t limit);
// The same, always quoted.
std::string QuotedText(const MString& text, size_t limit);
// A JSON value for script bytes: a string when they are valid UTF-8 without
// NUL bytes, otherwise {"hex": "..."}.
OrderedJson JsonText(const MString& text);
// Serialises JSON whatever bytes the strings hold (invalid UTF-8 replaced).
std::string DumpJson(const OrderedJson& value);

}  // namespace webstep::cli

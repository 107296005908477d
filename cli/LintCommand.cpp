#include "LintCommand.h"

#include "ScriptCheck.h"

#include "webstep/resources/StringTable.h"
#include "webstep/steps/WebStepError.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

struct LintOptions {
    // Only the 49 step functions of the script grammar; the extended set
    // (web_reg_save_param_ex, web_rest, ...) is then reported as unknown.
    bool specOnly = false;
    std::vector<std::string> paths;
    bool json = false;
    std::string lang = "zh";
};

// One reported problem. Severity "error" is a step the parser refused;
// "warning" is a reader diagnostic or an unknown web_ function; "note" says
// that an argument was not a literal and went to the parser as source text,
// or that a refusal comes from such an argument ("run-time-value": the value
// that counts exists only at run time).
struct Finding {
    std::string file;
    unsigned int line = 0;
    unsigned int column = 0;
    std::string severity;
    std::string code;
    std::string message;
    // The message for JSON, which is UTF-8 whatever the process code page.
    std::string jsonMessage;
    std::string function;
    std::vector<std::pair<MString, MString>> labels;
};

// Long values (a body of many kilobytes) are cut in the one-line form.
constexpr size_t kLabelLimit = 160;

std::string ErrorMessage(unsigned int code, bool english) {
    if (english) {
        const char* text = CWebStepErrMsg::GetEnglishMessage(code);
        return text ? text : "unknown error code";
    }
    char buffer[512];
    if (CWebStepErrMsg::GetMessageString(code, buffer, sizeof buffer))
        return buffer;
    return "unknown error code";
}

std::string FormatLine(const Finding& finding) {
    std::string line = finding.file + ":" + std::to_string(finding.line) + ":" +
                       std::to_string(finding.column) + ": " + finding.severity + " " +
                       finding.code + ": " + finding.message;
    if (!finding.labels.empty()) {
        line += " [";
        bool first = true;
        for (const auto& [label, value] : finding.labels) {
            if (!first)
                line += ' ';
            first = false;
            line += label + "=" + DisplayText(value, kLabelLimit);
        }
        line += ']';
    }
    return line;
}

OrderedJson FindingJson(const Finding& finding) {
    OrderedJson labels = OrderedJson::array();
    for (const auto& [label, value] : finding.labels)
        labels.push_back(OrderedJson{{"label", label}, {"value", JsonText(value)}});
    return OrderedJson{{"file", finding.file},
                       {"line", finding.line},
                       {"column", finding.column},
                       {"severity", finding.severity},
                       {"code", finding.code},
                       {"message", finding.jsonMessage.empty() ? JsonText(finding.message)
                                                               : OrderedJson(finding.jsonMessage)},
                       {"function", finding.function},
                       {"labels", labels}};
}

bool IsSectionKeyword(const MString& text) {
    static const char* const keywords[] = {"SEARCH_FILTERS", "HEADERS",         "ENDHEADER",
                                           "SOURCES",        "BEGIN_ARGUMENTS", "END_ARGUMENTS",
                                           "BEGIN_RESULT",   "END_RESULT"};
    for (const char* keyword : keywords)
        if (text == keyword)
            return true;
    return false;
}

// An argument that is not a literal and whose value only the run time knows.
// Excepted are macros, whose value is fixed and which scripts write as bare
// names: the section keywords of the extended set and the HTTP_INFO_ property
// names of web_get_int_property.
bool IsCheckableOpaque(const ScriptCall& call, size_t i, const CStepRunner& runner) {
    const ScriptArgument& argument = call.arguments[i];
    if (!argument.IsOpaque())
        return false;
    if (runner.IsExtended() && CStepRunner::IsExtendedFunction(call.function) &&
        IsSectionKeyword(argument.value))
        return false;
    if (call.function == "web_get_int_property" && argument.value.rfind("HTTP_INFO_", 0) == 0 &&
        argument.value.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") == MString::npos)
        return false;
    return true;
}

// Whether a refusal may be caused by an argument that is not a literal. Its
// source text reached the parser in place of a value only known at run time,
// so the refusal need not be the step's. Decided in this order:
// 1. the error points at such an argument (its "argument" detail, or a
//    "text" detail that holds the argument's source text): the parser
//    refused the source text. The step is parsed again without those
//    arguments, so that a literal refused behind them still shows (rule 3);
//    otherwise run time.
// 2. the error points at a literal argument: that literal was refused, an
//    error.
// 3. the step is parsed again without those arguments (the first one, the
//    step name or a fixed argument, is kept): accepted, or refused for a
//    missing attribute (1000) or argument (1008) that the run-time value may
//    well supply: run time. Refused otherwise: an error on the literals alone,
//    reported as that parse gives it (its argument index mapped back).
struct RunTimeVerdict {
    bool runTime = false;
    std::optional<ParsedStep> literalRefusal;  // set when rule 3 found one
};

RunTimeVerdict JudgeRefusal(const ScriptCall& call, ParsedStep& parsed, CStepRunner& runner) {
    RunTimeVerdict verdict;
    std::vector<size_t> kept;  // indices of the call's arguments in the re-parse
    bool anyOpaque = false;
    for (size_t i = 0; i < call.arguments.size(); ++i) {
        if (i != 0 && IsCheckableOpaque(call, i, runner))
            anyOpaque = true;
        else
            kept.push_back(i);
    }
    const bool nameOpaque = !call.arguments.empty() && IsCheckableOpaque(call, 0, runner);
    if (!anyOpaque && !nameOpaque)
        return verdict;
    const int index = ErrorArgumentIndex(parsed);
    bool pointsAtOpaque = false;
    for (size_t i = 0; i < call.arguments.size(); ++i) {
        if (!IsCheckableOpaque(call, i, runner))
            continue;
        if (index >= 0 && static_cast<size_t>(index) == i)
            pointsAtOpaque = true;
        const MString& source = call.arguments[i].value;
        for (const auto& [name, value] : parsed.errorAttributes)
            if (name == "text" && !source.empty() && value.find(source) != MString::npos)
                pointsAtOpaque = true;
    }
    if (!pointsAtOpaque && index >= 0 && static_cast<size_t>(index) < call.arguments.size())
        return verdict;
    if (!anyOpaque) {
        // Only the first argument is not a literal and the error points at it.
        verdict.runTime = pointsAtOpaque;
        return verdict;
    }
    ScriptCall literalsOnly = call;
    literalsOnly.arguments.clear();
    for (size_t i : kept)
        literalsOnly.arguments.push_back(call.arguments[i]);
    ParsedStep again = runner.Parse(literalsOnly);
    if (again.ok || again.errorCode == WSE_MISSING_ATTRIBUTE ||
        again.errorCode == WSE_MISSING_ARGUMENT) {
        verdict.runTime = true;
        return verdict;
    }
    // Refused on the literals alone: point at the call's own argument.
    for (auto& [name, value] : again.errorAttributes) {
        const int at = name == "argument" ? ErrorArgumentIndex(again) : -1;
        if (at >= 0 && static_cast<size_t>(at) < kept.size())
            value = std::to_string(kept[static_cast<size_t>(at)] + 1);
    }
    verdict.literalRefusal = std::move(again);
    return verdict;
}

void CheckCall(const std::string& file, const ScriptCall& call, CStepRunner& runner, bool english,
               std::vector<Finding>& findings, size_t& calls) {
    if (call.kind == EScriptCallKind::UnknownFunction) {
        findings.push_back({file,
                            call.line,
                            call.column,
                            "warning",
                            "unknown-function",
                            "unknown function " + call.function + ", not checked",
                            "",
                            call.function,
                            {}});
        return;
    }
    if (call.kind != EScriptCallKind::Step)
        return;
    ++calls;
    if (call.returnValueUsed)
        findings.push_back({file,
                            call.line,
                            call.column,
                            "warning",
                            "return-value-used",
                            "the value of " + call.function +
                                " is used (assigned, compared, tested or passed on); only the step "
                                "is checked",
                            "",
                            call.function,
                            {}});
    for (size_t i = 0; i < call.arguments.size(); ++i) {
        const ScriptArgument& argument = call.arguments[i];
        if (argument.mergedLine != 0)
            findings.push_back({file,
                                argument.mergedLine,
                                argument.mergedColumn,
                                "warning",
                                "merged-attributes",
                                "argument " + std::to_string(i) +
                                    " joins adjacent literals that each look like Name=Value; a "
                                    "comma may be missing",
                                "",
                                call.function,
                                {{"text", argument.value}}});
        if (!IsCheckableOpaque(call, i, runner))
            continue;
        findings.push_back(
            {file,
             argument.line,
             argument.column,
             "note",
             "not-a-literal",
             "argument " + std::to_string(i) + " is not a literal; checked as its source text",
             "",
             call.function,
             {{"text", argument.value}}});
    }
    ParsedStep parsed = runner.Parse(call);
    if (!parsed.known) {
        // A name the reader took for a step but the repository does not know.
        findings.push_back({file,
                            call.line,
                            call.column,
                            "warning",
                            "unknown-function",
                            "unknown function " + call.function + ", not checked",
                            "",
                            call.function,
                            {}});
        return;
    }
    if (parsed.ok)
        return;
    RunTimeVerdict verdict = JudgeRefusal(call, parsed, runner);
    if (verdict.literalRefusal)
        parsed = std::move(*verdict.literalRefusal);
    Finding finding{file,
                    call.line,
                    call.column,
                    "error",
                    std::to_string(parsed.errorCode),
                    ErrorMessage(parsed.errorCode, english),
                    "",
                    call.function,
                    parsed.errorAttributes};
    if (!english) {
        const char* utf8 =
            resources::FindStringUtf8(CWebStepErrMsg::GetMessageStringID(parsed.errorCode));
        finding.jsonMessage = utf8 ? utf8 : "unknown error code";
    }
    if (verdict.runTime) {
        // Reported, but as what it is: the parser's word on a source text.
        static const std::string prefix = "cannot be checked before run time: ";
        finding.severity = "note";
        finding.labels.emplace_back("error", finding.code);
        finding.code = "run-time-value";
        finding.message = prefix + finding.message;
        if (!finding.jsonMessage.empty())
            finding.jsonMessage = prefix + finding.jsonMessage;
    }
    // Point at the offending argument when the error names it.
    const int index = ErrorArgumentIndex(parsed);
    if (index >= 0 && static_cast<size_t>(index) < call.arguments.size()) {
        finding.line = call.arguments[index].line;
        finding.column = call.arguments[index].column;
    }
    findings.push_back(std::move(finding));
}

int RunLint(const LintOptions& options) {
    const bool english = options.lang == "en";
    std::vector<std::string> files;
    std::vector<std::string> problems;
    CollectActionFiles(options.paths, files, problems);

    CStepRunner runner(!options.specOnly);
    const CScriptReader reader = runner.MakeReader();
    std::vector<Finding> findings;
    size_t calls = 0;
    size_t filesRead = 0;
    ScriptReadResult result;
    for (const std::string& file : files) {
        if (!reader.ReadFile(file.c_str(), result)) {
            problems.push_back("cannot read \"" + file + "\"");
            continue;
        }
        ++filesRead;
        std::vector<Finding> local;
        for (const ScriptDiagnostic& diagnostic : result.diagnostics) {
            Finding finding{file,
                            diagnostic.line,
                            diagnostic.column,
                            "warning",
                            CScriptReader::GetDiagnosticName(diagnostic.code),
                            diagnostic.message,
                            "",
                            diagnostic.function,
                            {}};
            if (!diagnostic.function.empty())
                finding.labels.emplace_back("call", diagnostic.function + " at " +
                                                        std::to_string(diagnostic.callLine) + ":" +
                                                        std::to_string(diagnostic.callColumn));
            local.push_back(std::move(finding));
        }
        for (const ScriptCall& call : result.calls)
            CheckCall(file, call, runner, english, local, calls);
        std::stable_sort(local.begin(), local.end(), [](const Finding& a, const Finding& b) {
            return a.line != b.line ? a.line < b.line : a.column < b.column;
        });
        findings.insert(findings.end(), local.begin(), local.end());
    }

    size_t errors = 0, warnings = 0, notes = 0;
    for (const Finding& finding : findings) {
        if (finding.severity == "error")
            ++errors;
        else if (finding.severity == "warning")
            ++warnings;
        else
            ++notes;
    }
    for (const std::string& problem : problems)
        std::cerr << "webstep lint: " << problem << '\n';

    if (options.json) {
        OrderedJson out;
        OrderedJson list = OrderedJson::array();
        for (const Finding& finding : findings)
            list.push_back(FindingJson(finding));
        out["diagnostics"] = list;
        out["io_errors"] = problems;
        out["summary"] = OrderedJson{{"files", filesRead},
                                     {"calls", calls},
                                     {"errors", errors},
                                     {"warnings", warnings},
                                     {"notes", notes}};
        std::cout << DumpJson(out) << '\n';
    } else {
        for (const Finding& finding : findings)
            std::cout << FormatLine(finding) << '\n';
        std::cout << filesRead << (filesRead == 1 ? " file, " : " files, ") << calls
                  << (calls == 1 ? " call: " : " calls: ") << errors
                  << (errors == 1 ? " error, " : " errors, ") << warnings
                  << (warnings == 1 ? " warning, " : " warnings, ") << notes
                  << (notes == 1 ? " note" : " notes") << '\n';
    }
    std::cout.flush();
    if (!problems.empty())
        return 2;
    return errors != 0 ? 1 : 0;
}

}  // namespace

void AddLintCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<LintOptions>();
    CLI::App* lint = app.add_subcommand(
        "lint",
        "Parse every step call of action files (folders: every .c file below them) and report "
        "each problem as file:line:column: error|warning|note CODE: MESSAGE [label=value ...]; "
        "exit status 0 when clean, 1 when errors were found, 2 on usage or I/O errors");
    lint->add_option("paths", options->paths, "Action files or script folders")->required();
    lint->add_flag("--json", options->json, "Print the findings and the summary as JSON");
    lint->add_flag("--spec-only", options->specOnly,
                   "Check with the 49 step functions of the script grammar only; calls of the "
                   "extended set (web_reg_save_param_ex, web_rest, web_js_run, ...) are then "
                   "reported as unknown functions");
    lint->add_option("--lang", options->lang,
                     "Language of the error messages: zh (the message table, in the process code "
                     "page) or en")
        ->check(CLI::IsMember({"zh", "en"}));
    lint->footer(
        "Examples:\n"
        "  webstep lint examples/library-loans         every .c file below the folder\n"
        "  webstep lint --lang en init.c action.c      English messages\n"
        "  webstep lint --json scripts/ > lint.json\n"
        "  webstep lint --spec-only scripts/          only the 49 step functions");
    lint->callback([options, exitCode]() { *exitCode = RunLint(*options); });
}

}  // namespace webstep::cli

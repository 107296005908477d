#include "StepsCommand.h"

#include "ScriptCheck.h"
#include "StepFields.h"

#include "webstep/steps/WebStepError.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

struct StepsOptions {
    // Only the 49 step functions of the script grammar; the extended set
    // (web_reg_save_param_ex, web_rest, ...) is then reported as unknown.
    bool specOnly = false;
    std::vector<std::string> paths;
    bool json = false;
};

const char* EntryKind(EScriptCallKind kind) {
    switch (kind) {
        case EScriptCallKind::Step:
            return "step";
        case EScriptCallKind::UnknownFunction:
            return "unknown-function";
        case EScriptCallKind::StartTransaction:
            return "start-transaction";
        case EScriptCallKind::EndTransaction:
            return "end-transaction";
        case EScriptCallKind::ThinkTime:
            return "think-time";
    }
    return "unknown";
}

MString HexToBytes(const std::string& hex) {
    MString bytes;
    auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(digit(hex[i]) * 16 + digit(hex[i + 1]));
    return bytes;
}

// Script bytes back from their JSON form, for the text rendering.
MString JsonBytes(const OrderedJson& value) {
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_object() && value.contains("hex"))
        return HexToBytes(value["hex"].get<std::string>());
    return value.dump();
}

bool IsText(const OrderedJson& value) {
    return value.is_string() || (value.is_object() && value.size() == 1 && value.contains("hex"));
}

// The text form leaves out empty texts, empty lists and false switches; the
// JSON form has every field.
void PrintFields(const OrderedJson& object, int indent, std::ostream& out) {
    const std::string pad(static_cast<size_t>(indent), ' ');
    for (const auto& [key, value] : object.items()) {
        if (key == "class")
            continue;
        if (IsText(value)) {
            const MString bytes = JsonBytes(value);
            if (!bytes.empty())
                out << pad << key << ": " << QuotedText(bytes, 0) << '\n';
        } else if (value.is_boolean()) {
            if (value.get<bool>())
                out << pad << key << ": yes\n";
        } else if (value.is_number()) {
            out << pad << key << ": " << value.dump() << '\n';
        } else if (value.is_array()) {
            if (value.empty())
                continue;
            out << pad << key << ":\n";
            for (const OrderedJson& element : value) {
                if (IsText(element)) {
                    out << pad << "  - " << QuotedText(JsonBytes(element), 0) << '\n';
                } else if (element.is_object() && element.size() == 2 && element.contains("name") &&
                           element.contains("value")) {
                    // An attribute: Name=Value as scripts write it.
                    out << pad << "  - " << QuotedText(JsonBytes(element["name"]), 0) << " = "
                        << QuotedText(JsonBytes(element["value"]), 0) << '\n';
                } else if (element.is_object()) {
                    out << pad << "  -\n";
                    PrintFields(element, indent + 4, out);
                } else {
                    out << pad << "  - " << element.dump() << '\n';
                }
            }
        } else if (value.is_object()) {
            // A data set: shown when it has an action URL or items.
            const bool hasItems = value.contains("items") && !value["items"].empty();
            const bool hasUrl =
                value.contains("action_url") && !JsonBytes(value["action_url"]).empty();
            if (!hasItems && !hasUrl)
                continue;
            out << pad << key << ":\n";
            PrintFields(value, indent + 2, out);
        }
    }
}

OrderedJson ArgumentsJson(const ScriptCall& call) {
    OrderedJson list = OrderedJson::array();
    for (const ScriptArgument& argument : call.arguments)
        list.push_back(OrderedJson{{"kind", CScriptReader::GetArgumentKindName(argument.kind)},
                                   {"value", JsonText(argument.value)}});
    return list;
}

std::string ArgumentsText(const ScriptCall& call) {
    std::string text;
    for (size_t i = 0; i < call.arguments.size(); ++i) {
        if (i)
            text += ", ";
        const ScriptArgument& argument = call.arguments[i];
        text += argument.IsLiteral() ? QuotedText(argument.value, 80) : argument.value;
    }
    return text;
}

int RunSteps(const StepsOptions& options) {
    std::vector<std::string> files;
    std::vector<std::string> problems;
    CollectActionFiles(options.paths, files, problems);
    CStepRunner runner(!options.specOnly);
    const CScriptReader reader = runner.MakeReader();
    ScriptReadResult result;
    OrderedJson jsonFiles = OrderedJson::array();
    bool failed = false;
    for (const std::string& file : files) {
        if (!reader.ReadFile(file.c_str(), result)) {
            problems.push_back("cannot read \"" + file + "\"");
            continue;
        }
        OrderedJson entries = OrderedJson::array();
        if (!options.json)
            std::cout << "== " << file << " (" << result.calls.size() << " calls)\n";
        for (const ScriptCall& call : result.calls) {
            const std::string where =
                file + ":" + std::to_string(call.line) + ":" + std::to_string(call.column);
            OrderedJson entry{{"kind", EntryKind(call.kind)},
                              {"function", call.function},
                              {"line", call.line},
                              {"column", call.column}};
            if (call.kind != EScriptCallKind::Step) {
                entry["arguments"] = ArgumentsJson(call);
                if (!options.json)
                    std::cout << where << ": " << call.function << "(" << ArgumentsText(call) << ")"
                              << (call.kind == EScriptCallKind::UnknownFunction
                                      ? "  [unknown function, not parsed]"
                                      : "")
                              << '\n';
                entries.push_back(entry);
                continue;
            }
            ParsedStep parsed = runner.Parse(call);
            const MString name = call.arguments.empty() ? MString() : call.arguments[0].value;
            entry["name"] = JsonText(name);
            if (!parsed.ok) {
                failed = true;
                OrderedJson labels = OrderedJson::array();
                for (const auto& [label, value] : parsed.errorAttributes)
                    labels.push_back(OrderedJson{{"label", label}, {"value", JsonText(value)}});
                const char* english = CWebStepErrMsg::GetEnglishMessage(parsed.errorCode);
                entry["error"] = OrderedJson{
                    {"code", parsed.known ? parsed.errorCode : 0},
                    {"message", parsed.known ? (english ? english : "unknown error code")
                                             : "unknown function"},
                    {"labels", labels}};
                if (!options.json) {
                    std::cout << where << ": " << call.function << " " << QuotedText(name, 80)
                              << ": not parsed: ";
                    if (parsed.known)
                        std::cout << "error " << parsed.errorCode << ": "
                                  << (english ? english : "unknown error code");
                    else
                        std::cout << "unknown function";
                    for (const auto& [label, value] : parsed.errorAttributes)
                        std::cout << " " << label << "=" << DisplayText(value, 160);
                    std::cout << '\n';
                }
                entries.push_back(entry);
                continue;
            }
            OrderedJson fields = StepFields(*parsed.step);
            entry["class"] = fields["class"];
            entry["fields"] = fields;
            if (!options.json) {
                std::cout << where << ": " << call.function << " " << QuotedText(name, 80) << " ("
                          << fields["class"].get<std::string>() << ")\n";
                PrintFields(fields, 4, std::cout);
            }
            entries.push_back(entry);
        }
        jsonFiles.push_back(OrderedJson{{"file", file}, {"entries", entries}});
    }
    for (const std::string& problem : problems)
        std::cerr << "webstep steps: " << problem << '\n';
    if (options.json)
        std::cout << DumpJson(OrderedJson{{"files", jsonFiles}, {"io_errors", problems}}) << '\n';
    std::cout.flush();
    if (!problems.empty())
        return 2;
    return failed ? 1 : 0;
}

}  // namespace

void AddStepsCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<StepsOptions>();
    CLI::App* steps = app.add_subcommand(
        "steps",
        "Show every step call of action files (folders: every .c file below them) parsed into its "
        "step object: class, attributes, data sets, resources and body parts, in script order; "
        "exit status 1 when a step does not parse, 2 on usage or I/O errors");
    steps->add_option("paths", options->paths, "Action files or script folders")->required();
    steps->add_flag("--json", options->json, "Print the steps as JSON");
    steps->add_flag("--spec-only", options->specOnly,
                    "Parse with the 49 step functions of the script grammar only; the extended "
                    "set (web_reg_save_param_ex, web_rest, web_js_run, ...) is then unknown");
    steps->footer(
        "Examples:\n"
        "  webstep steps examples/library-loans/init.c\n"
        "  webstep steps --json examples/library-loans > steps.json\n"
        "  webstep steps --spec-only examples/library-loans");
    steps->callback([options, exitCode]() { *exitCode = RunSteps(*options); });
}

}  // namespace webstep::cli

#include "InspectCommand.h"

#include "ScriptCheck.h"

#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/FolderInspection.h"
#include "webstep/settings/RunTimeSettings.h"
#include "webstep/steps/WebStepError.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace webstep::cli {
namespace {

namespace fs = std::filesystem;

struct InspectOptions {
    std::string folder;
    bool json = false;
    std::string settings;
    std::vector<std::string> order;
    // Parse with the 49 functions of the step grammar only; by default the
    // extended set that current script versions call is known too.
    bool specOnly = false;
    // Compare each planned request with the request the recording holds.
    bool compare = false;
};

// The text output cuts bodies here; --json always has them whole.
constexpr size_t kBodyLimit = 4000;
// A progress line is worth it only for folders of this many steps or more.
constexpr size_t kProgressThreshold = 50;

OrderedJson Pairs(const std::vector<std::pair<std::string, std::string>>& pairs) {
    OrderedJson list = OrderedJson::array();
    for (const auto& [name, value] : pairs)
        list.push_back(OrderedJson{{"name", JsonText(name)}, {"value", JsonText(value)}});
    return list;
}

OrderedJson TargetJson(const StepTargetRecord& target) {
    OrderedJson json{{"kind", target.kind}, {"text", JsonText(target.text)}};
    if (!target.href.empty())
        json["href"] = JsonText(target.href);
    json["document"] = JsonText(target.document);
    if (target.inFrame) {
        json["frame_id"] = JsonText(target.frameId);
        json["frame"] = JsonText(target.frameName);
    }
    if (target.kind == "form") {
        json["index"] = target.formIndex;
        json["action"] = JsonText(target.action);
    }
    return json;
}

OrderedJson PageJson(const PageRecord& page) {
    OrderedJson json{{"changes", page.changes}};
    if (!page.changes)
        return json;
    if (page.intoFrame) {
        json["frame"] = JsonText(page.frameName);
        json["frame_id"] = JsonText(page.frameId);
    }
    json["file"] = JsonText(page.file);
    json["loaded"] = page.loaded;
    if (!page.loaded)
        return json;
    json["url"] = JsonText(page.url);
    json["title"] = page.hasTitle ? JsonText(page.title) : OrderedJson();
    json["forms"] = page.forms;
    json["links"] = page.links;
    if (!page.intoFrame) {
        OrderedJson frames = OrderedJson::array();
        for (const PageRecord::Frame& frame : page.frames)
            frames.push_back(
                OrderedJson{{"id", JsonText(frame.id)},
                            {"name", JsonText(frame.name)},
                            {"file", JsonText(frame.file)},
                            {"loaded", frame.loaded},
                            {"url", frame.url.empty() ? OrderedJson() : JsonText(frame.url)}});
        json["frames"] = frames;
    }
    return json;
}

// One call of the listing as JSON: what the replay's user planned for it.
OrderedJson EntryJson(const InspectedCall& call, bool compare) {
    OrderedJson entry{{"line", call.line}, {"column", call.column}, {"function", call.function}};
    auto arguments = [&call]() {
        OrderedJson list = OrderedJson::array();
        for (const std::string& argument : call.arguments)
            list.push_back(JsonText(argument));
        return list;
    };
    using Kind = InspectedCall::Kind;
    switch (call.kind) {
        case Kind::StartTransaction:
            entry["kind"] = "start-transaction";
            entry["arguments"] = arguments();
            return entry;
        case Kind::EndTransaction:
            entry["kind"] = "end-transaction";
            entry["arguments"] = arguments();
            return entry;
        case Kind::ThinkTime:
            entry["kind"] = "think-time";
            entry["arguments"] = arguments();
            return entry;
        case Kind::UnknownFunction:
            entry["kind"] = "unknown-function";
            return entry;
        default:
            break;
    }
    const StepRecord& step = call.step;
    entry["kind"] = "step";
    entry["name"] = JsonText(call.arguments.empty() ? std::string() : call.arguments[0]);
    if (call.kind == Kind::NotParsed) {
        OrderedJson labels = OrderedJson::array();
        for (const auto& [label, value] : step.errorAttributes)
            labels.push_back(OrderedJson{{"label", label}, {"value", JsonText(value)}});
        const char* english =
            CWebStepErrMsg::GetEnglishMessage(static_cast<unsigned>(step.errorCode));
        entry["error"] = OrderedJson{{"code", step.errorCode},
                                     {"message", english ? english : "unknown error code"},
                                     {"labels", labels}};
        return entry;
    }
    if (call.kind == Kind::Service) {
        entry["kind"] = "service";
        return entry;
    }
    entry["kind"] = "navigation";
    for (const std::string& argument : call.arguments)
        if (argument.rfind("Snapshot=", 0) == 0)
            entry["snapshot"] = JsonText(argument.substr(9));
    if (!step.target.kind.empty()) {
        entry["target"] = TargetJson(step.target);
        if (step.target.kind == "form") {
            OrderedJson data{{"items", step.target.items}, {"fits", step.target.fits}};
            if (!step.target.fits && step.target.misfitItem != 0)
                data["misfit"] = OrderedJson{{"item", step.target.misfitItem},
                                             {"name", JsonText(step.target.misfitName)},
                                             {"value", JsonText(step.target.misfitValue)},
                                             {"reason", JsonText(step.target.misfitReason)}};
            entry["data"] = data;
        }
    }
    if (call.hasRequest) {
        OrderedJson request{{"method", call.method}, {"url", JsonText(call.url)}};
        if (!call.resolvedUrl.empty())
            request["resolved_url"] = JsonText(call.resolvedUrl);
        if (!call.contentType.empty())
            request["content_type"] = JsonText(call.contentType);
        if (!call.body.empty())
            request["body"] = JsonText(call.body);
        entry["request"] = request;
    }
    if (!step.parameters.empty())
        entry["parameters"] =
            OrderedJson{{"user", 1}, {"iteration", 1}, {"values", Pairs(step.parameters)}};
    if (compare) {
        OrderedJson recorded{{"recorded", call.recorded}};
        if (!call.recorded) {
            recorded["why"] = call.notRecordedWhy;
        } else {
            const RecordedRequestCheck& check = call.check;
            recorded["same"] = check.Same();
            recorded["method"] = JsonText(check.recordedMethod);
            recorded["url"] = JsonText(check.recordedUrl);
            if (!check.Same()) {
                recorded["part"] = check.comparison.part;
                recorded["difference"] = JsonText(check.comparison.difference);
            }
            recorded["references"] = Pairs(check.comparison.references);
        }
        entry["recorded"] = recorded;
    }
    if (!step.extraResources.empty()) {
        OrderedJson list = OrderedJson::array();
        for (const std::string& url : step.extraResources)
            list.push_back(JsonText(url));
        entry["resources"] = list;
    }
    if (!step.planned) {
        entry["unresolved"] = OrderedJson::array({JsonText(step.message)});
        return entry;
    }
    entry["page"] = PageJson(step.pageLoaded);
    return entry;
}

OrderedJson SettingsJson(const CFolderInspection& inspection) {
    OrderedJson json;
    json["file"] =
        inspection.SettingsFile().empty() ? OrderedJson() : OrderedJson(inspection.SettingsFile());
    const CRunTimeSettings& settings = inspection.Folder().Settings().Web();
    const CProxyInfo& proxy = settings.GetProxyInfo();
    json["browser"] = JsonText(settings.GetBrowserId());
    json["user_agent"] = JsonText(settings.GetActualBrowserIdString());
    json["http_version"] = JsonText(settings.GetActualHTTPVerString());
    json["keep_alive"] = settings.GetKeepAlive();
    json["reset_context"] = settings.GetResetContext();
    MString proxyText;
    if (proxy.GetUseProxyServer() != 0 && !proxy.GetHTTPHost().empty())
        proxyText = proxy.GetHTTPHost() + ":" + std::to_string(proxy.GetHTTPPort());
    else if (proxy.GetUseAutoConfigScript() != 0)
        proxyText = "auto-configuration " + proxy.GetAutoConfigScriptURL();
    else if (settings.GetProxyUseBrowser())
        proxyText = "the browser's";
    json["proxy"] = proxyText.empty() ? OrderedJson() : JsonText(proxyText);
    return json;
}

// ---- text rendering of the JSON result -------------------------------------

MString Bytes(const OrderedJson& value) {
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_object() && value.contains("hex")) {
        const std::string hex = value["hex"].get<std::string>();
        MString bytes;
        auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
        for (size_t i = 0; i + 1 < hex.size(); i += 2)
            bytes += static_cast<char>(digit(hex[i]) * 16 + digit(hex[i + 1]));
        return bytes;
    }
    return value.is_null() ? MString() : value.dump();
}

// A body shown line by line under its step: line breaks kept, other control
// bytes as \xHH, cut after kBodyLimit bytes.
void PrintBody(const MString& body, const std::string& pad, std::ostream& out) {
    static const char hex[] = "0123456789abcdef";
    const size_t n = std::min(body.size(), kBodyLimit);
    std::string line;
    auto flush = [&]() {
        out << pad << line << '\n';
        line.clear();
    };
    for (size_t i = 0; i < n; ++i) {
        const unsigned char c = static_cast<unsigned char>(body[i]);
        if (c == '\r' && i + 1 < n && body[i + 1] == '\n') {
            ++i;
            flush();
        } else if (c == '\n') {
            flush();
        } else if ((c < 0x20 && c != '\t') || c == 0x7F) {
            line += "\\x";
            line += hex[c >> 4];
            line += hex[c & 15];
        } else {
            line += static_cast<char>(c);
        }
    }
    if (!line.empty())
        flush();
    if (n < body.size())
        out << pad << "... (" << body.size() << " bytes in all)\n";
}

void PrintEntry(const std::string& file, const OrderedJson& entry, std::ostream& out) {
    const std::string where = file + ":" + std::to_string(entry["line"].get<unsigned>());
    const std::string kind = entry["kind"].get<std::string>();
    const std::string function = entry["function"].get<std::string>();
    auto joined = [&](const char* key) {
        std::string text;
        if (entry.contains(key))
            for (const OrderedJson& argument : entry[key]) {
                if (!text.empty())
                    text += ", ";
                text += DisplayText(Bytes(argument), 80);
            }
        return text;
    };
    if (kind == "start-transaction") {
        out << where << "  transaction " << joined("arguments") << " starts\n";
        return;
    }
    if (kind == "end-transaction") {
        out << where << "  transaction " << joined("arguments") << " ends\n";
        return;
    }
    if (kind == "think-time") {
        out << where << "  think time " << joined("arguments") << " s\n";
        return;
    }
    if (kind == "unknown-function") {
        out << where << "  " << function << ": not a step function this tool knows, skipped\n";
        return;
    }
    const std::string name = QuotedText(Bytes(entry["name"]), 80);
    out << where << "  " << function << " " << name;
    if (entry.contains("snapshot"))
        out << "  [" << Bytes(entry["snapshot"]) << "]";
    out << '\n';
    const std::string pad = "      ";
    if (entry.contains("error")) {
        const OrderedJson& error = entry["error"];
        out << pad << "does not parse: error " << error["code"].get<unsigned>() << ": "
            << error["message"].get<std::string>();
        for (const OrderedJson& label : error["labels"])
            out << " " << label["label"].get<std::string>() << "="
                << DisplayText(Bytes(label["value"]), 160);
        out << '\n';
        return;
    }
    if (kind == "service")
        return;
    if (entry.contains("target")) {
        const OrderedJson& target = entry["target"];
        const std::string what = target["kind"].get<std::string>();
        out << pad << what << " " << QuotedText(Bytes(target["text"]), 80);
        if (what == "form")
            out << " (form " << target["index"].get<int>() << ", action "
                << QuotedText(Bytes(target["action"]), 160) << ")";
        else if (target.contains("href"))
            out << " -> " << DisplayText(Bytes(target["href"]), 160);
        out << " in " << Bytes(target["document"]);
        if (target.contains("frame_id"))
            out << " (frame " << Bytes(target["frame_id"]) << " "
                << QuotedText(Bytes(target["frame"]), 60) << ")";
        out << '\n';
    }
    if (entry.contains("data")) {
        const OrderedJson& data = entry["data"];
        const unsigned items = data["items"].get<unsigned>();
        const bool fits = data["fits"].get<bool>();
        out << pad << "data: " << items << (items == 1 ? " item " : " items ")
            << (fits ? (items == 1 ? "fits" : "fit") : (items == 1 ? "does not fit" : "do not fit"))
            << " the form\n";
    }
    if (entry.contains("request")) {
        const OrderedJson& request = entry["request"];
        out << pad << Bytes(request["method"]) << " "
            << (request["url"].is_null() ? std::string("(no address)")
                                         : DisplayText(Bytes(request["url"]), 0))
            << '\n';
        if (request.contains("content_type"))
            out << pad << "Content-Type: " << Bytes(request["content_type"]) << '\n';
        if (request.contains("body")) {
            const MString body = Bytes(request["body"]);
            out << pad << "body (" << body.size() << " bytes):\n";
            PrintBody(body, pad + "  ", out);
        }
    }
    if (entry.contains("parameters")) {
        out << pad << "parameters (user 1, iteration 1):";
        for (const OrderedJson& value : entry["parameters"]["values"])
            out << " " << Bytes(value["name"]) << "=" << DisplayText(Bytes(value["value"]), 80);
        out << '\n';
        if (entry["request"].contains("resolved_url"))
            out << pad << "  resolved: " << DisplayText(Bytes(entry["request"]["resolved_url"]), 0)
                << '\n';
    }
    if (entry.contains("recorded")) {
        const OrderedJson& recorded = entry["recorded"];
        if (!recorded["recorded"].get<bool>()) {
            out << pad << "recorded: no request to compare (" << recorded["why"].get<std::string>()
                << ")\n";
        } else if (recorded["same"].get<bool>()) {
            out << pad << "recorded: the same request";
            for (const OrderedJson& reference : recorded["references"])
                out << " " << Bytes(reference["name"]) << "="
                    << QuotedText(Bytes(reference["value"]), 60);
            out << '\n';
        } else {
            out << pad << "recorded: DIFFERENT: " << Bytes(recorded["difference"]) << '\n'
                << pad << "  recorded " << Bytes(recorded["method"]) << " "
                << DisplayText(Bytes(recorded["url"]), 0) << '\n';
        }
    }
    if (entry.contains("resources")) {
        const OrderedJson& resources = entry["resources"];
        out << pad << "extra resources (" << resources.size() << "):\n";
        size_t shown = 0;
        for (const OrderedJson& resource : resources) {
            if (++shown > 10) {
                out << pad << "  ...\n";
                break;
            }
            out << pad << "  " << DisplayText(Bytes(resource), 0) << '\n';
        }
    }
    if (entry.contains("unresolved"))
        for (const OrderedJson& why : entry["unresolved"])
            out << pad << "NOT RESOLVED: " << Bytes(why) << '\n';
    if (entry.contains("page")) {
        const OrderedJson& page = entry["page"];
        const std::string into = page.contains("frame")
                                     ? " into frame " + Bytes(page["frame_id"]) + " " +
                                           QuotedText(Bytes(page["frame"]), 60)
                                     : std::string();
        if (!page["changes"].get<bool>()) {
            out << pad << "page unchanged (a resource or a response that is not HTML)\n";
        } else if (!page.contains("file")) {
            out << pad << "page" << into << ": no Snapshot, not recorded\n";
        } else if (!page["loaded"].get<bool>()) {
            out << pad << "page" << into << ": " << Bytes(page["file"])
                << " not recorded (no such file)\n";
        } else {
            out << pad << "page" << into << ": " << Bytes(page["file"]);
            if (!page["title"].is_null())
                out << " " << QuotedText(Bytes(page["title"]), 80);
            const int forms = page["forms"].get<int>();
            const int links = page["links"].get<int>();
            out << " (" << forms << (forms == 1 ? " form, " : " forms, ") << links
                << (links == 1 ? " link)" : " links)") << '\n';
            const OrderedJson frames =
                page.contains("frames") ? page["frames"] : OrderedJson::array();
            for (const OrderedJson& frame : frames) {
                out << pad << "  frame " << Bytes(frame["id"]) << " "
                    << QuotedText(Bytes(frame["name"]), 60) << ": " << Bytes(frame["file"])
                    << (frame["loaded"].get<bool>() ? "" : " (not recorded)") << " <- "
                    << (frame["url"].is_null() ? std::string("?") : Bytes(frame["url"])) << '\n';
            }
        }
    }
}

int RunInspect(const InspectOptions& options) {
    const fs::path folder(options.folder);
    CFolderInspection inspection;
    InspectionOptions how;
    how.order = options.order;
    how.settingsFile = options.settings;
    how.extended = !options.specOnly;
    bool progressShown = false;
    if (isatty(STDERR_FILENO) != 0)
        how.progress = [&progressShown](size_t done, size_t total) {
            if (total <= kProgressThreshold || (done % 10 != 0 && done != total))
                return;
            std::cerr << "\rwebstep inspect: " << done << " of " << total << " steps" << std::flush;
            progressShown = true;
            if (done == total)
                std::cerr << '\n';
        };
    if (!inspection.Run(folder.string(), how)) {
        for (const std::string& problem : inspection.Problems())
            std::cerr << "webstep inspect: " << problem << '\n';
        return 2;
    }
    const InspectionSummary& counts = inspection.Summary();
    OrderedJson settings = SettingsJson(inspection);
    OrderedJson jsonFiles = OrderedJson::array();
    for (const InspectedFile& file : inspection.Files()) {
        OrderedJson fileJson{{"file", file.name}};
        if (!file.readable) {
            fileJson["readable"] = false;
            jsonFiles.push_back(fileJson);
            continue;
        }
        OrderedJson entries = OrderedJson::array();
        for (const InspectedCall& call : file.calls) {
            OrderedJson entry = EntryJson(call, options.compare);
            // A step without a Snapshot names no page file.
            if (entry.contains("page") && !entry.contains("snapshot") &&
                entry["page"]["changes"].get<bool>())
                entry["page"].erase("file");
            entries.push_back(entry);
        }
        OrderedJson warnings = OrderedJson::array();
        for (const ScriptDiagnostic& diagnostic : file.warnings)
            warnings.push_back(OrderedJson{{"line", diagnostic.line},
                                           {"column", diagnostic.column},
                                           {"message", JsonText(diagnostic.message)}});
        fileJson["entries"] = entries;
        fileJson["warnings"] = warnings;
        jsonFiles.push_back(fileJson);
    }
    OrderedJson summary{{"files", counts.files},
                        {"navigation_steps", counts.navigations},
                        {"resolved", counts.resolved},
                        {"unresolved", counts.unresolved},
                        {"not_parsed", counts.notParsed}};
    if (options.compare) {
        summary["recorded_requests"] = counts.recorded;
        summary["planned_exactly"] = counts.recordedSame;
    }
    OrderedJson messages = OrderedJson::array();
    for (const FolderMessage& message : inspection.Messages()) {
        if (!options.json)
            std::cerr << "webstep inspect: " << message.Format() << '\n';
        messages.push_back(
            OrderedJson{{"kind", message.kind == FolderMessage::Kind::Note ? "note" : "warning"},
                        {"file", JsonText(message.file)},
                        {"line", message.line},
                        {"message", JsonText(message.text)}});
    }
    for (const std::string& problem : inspection.Problems())
        std::cerr << "webstep inspect: " << problem << '\n';
    if (options.json) {
        std::cout << DumpJson(OrderedJson{{"folder", folder.string()},
                                          {"settings", settings},
                                          {"files", jsonFiles},
                                          {"summary", summary},
                                          {"messages", messages},
                                          {"io_errors", inspection.Problems()}})
                  << '\n';
    } else {
        std::cout << "== " << folder.string() << '\n';
        std::cout << "settings: "
                  << (settings["file"].is_null() ? std::string("(none found: defaults)")
                                                 : settings["file"].get<std::string>())
                  << '\n';
        const MString agent = Bytes(settings["user_agent"]);
        std::cout << "  user agent: " << (agent.empty() ? MString("(empty)") : agent) << '\n'
                  << "  " << Bytes(settings["http_version"]) << ", keep-alive "
                  << (settings["keep_alive"].get<bool>() ? "on" : "off") << ", proxy "
                  << (settings["proxy"].is_null() ? std::string("none") : Bytes(settings["proxy"]))
                  << '\n';
        for (const OrderedJson& fileJson : jsonFiles) {
            const std::string file = fileJson["file"].get<std::string>();
            if (!fileJson.contains("entries"))
                continue;
            std::cout << "\n== " << file << '\n';
            // Reader warnings and steps in line order.
            const OrderedJson& warnings = fileJson["warnings"];
            size_t w = 0;
            auto printWarningsUpTo = [&](unsigned int line) {
                for (; w < warnings.size() && warnings[w]["line"].get<unsigned>() <= line; ++w)
                    std::cout << file << ":" << warnings[w]["line"].get<unsigned>()
                              << "  warning: " << Bytes(warnings[w]["message"]) << '\n';
            };
            for (const OrderedJson& entry : fileJson["entries"]) {
                printWarningsUpTo(entry["line"].get<unsigned>());
                PrintEntry(file, entry, std::cout);
            }
            printWarningsUpTo(~0u);
        }
        std::cout << "\n"
                  << counts.navigations << " navigation steps: " << counts.resolved << " resolved, "
                  << counts.unresolved << " not resolved; " << counts.notParsed
                  << (counts.notParsed == 1 ? " step does" : " steps do") << " not parse\n";
        if (options.compare)
            std::cout << counts.recorded
                      << " steps with a recorded request: " << counts.recordedSame
                      << " planned exactly as recorded, " << (counts.recorded - counts.recordedSame)
                      << " different\n";
    }
    std::cout.flush();
    if (!inspection.Problems().empty())
        return 2;
    const bool differs = options.compare && counts.recordedSame != counts.recorded;
    return counts.unresolved != 0 || counts.notParsed != 0 || differs ? 1 : 0;
}

std::vector<std::string> SplitOrder(const std::vector<std::string>& given) {
    std::vector<std::string> names;
    for (const std::string& item : given) {
        size_t start = 0;
        while (start <= item.size()) {
            const size_t comma = item.find(',', start);
            const std::string name =
                item.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
            if (!name.empty())
                names.push_back(name);
            if (comma == std::string::npos)
                break;
            start = comma + 1;
        }
    }
    return names;
}

}  // namespace

void AddInspectCommand(CLI::App& app, int* exitCode) {
    auto options = std::make_shared<InspectOptions>();
    CLI::App* inspect = app.add_subcommand(
        "inspect",
        "The main job: read a script folder (its settings file with a [WEB] section, its action "
        "files, the recorded pages under data/) and show for every navigation step the request a "
        "replay would send: method, absolute URL and body; the link, image or form the step "
        "picks in the page of the previous navigation step; the frames of each page; and, in "
        "plain words, what the recording does not tell. Exit status 0 when every step resolved, "
        "1 when some did not or did not parse, 2 on usage or I/O errors");
    inspect
        ->add_option("DIR", options->folder,
                     "The script folder.\n  example: webstep inspect examples/library-loans")
        ->required();
    inspect->add_flag("--json", options->json,
                      "Print the same as JSON.\n  example: webstep inspect --json "
                      "examples/library-loans | jq '.summary'");
    inspect
        ->add_option("--settings", options->settings,
                     "Read the run-time settings from FILE instead of the folder's settings "
                     "file.\n  example: webstep inspect --settings other.cfg "
                     "examples/library-loans")
        ->type_name("FILE");
    inspect
        ->add_option("--order", options->order,
                     "The action files to read, in this order (names in the folder, comma "
                     "separated or repeated); by default names holding \"init\" first, names "
                     "holding \"end\" last, the rest by name.\n  example: webstep inspect "
                     "--order init.c,loans.c,end.c examples/library-loans")
        ->type_name("FILES");
    inspect->add_flag("--compare", options->compare,
                      "For each step whose recording holds the request that was sent (the "
                      "primary exchange of its snapshot XML file), say whether the planned "
                      "request is that request: method, absolute URL and body; a parameter "
                      "reference matches the recorded text and shows it. Exit status 1 when a "
                      "request differs.\n  example: webstep inspect --compare "
                      "examples/library-loans");
    inspect->add_flag("--spec-only", options->specOnly,
                      "Parse with the 49 step functions of the script grammar only, reporting "
                      "other web_ functions as unknown.\n  example: webstep inspect --spec-only "
                      "examples/library-loans");
    inspect->footer(
        "Examples:\n"
        "  webstep inspect examples/library-loans\n"
        "  webstep inspect --json examples/library-loans > inspection.json\n"
        "  webstep inspect --order init.c,loans.c examples/library-loans\n"
        "  webstep inspect --settings default.cfg --spec-only examples/library-loans");
    inspect->callback([options, exitCode]() {
        InspectOptions effective = *options;
        effective.order = SplitOrder(options->order);
        *exitCode = RunInspect(effective);
    });
}

}  // namespace webstep::cli

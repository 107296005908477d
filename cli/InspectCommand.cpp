#include "InspectCommand.h"

#include "ScriptCheck.h"

#include "webstep/context/ContextPage.h"
#include "webstep/context/ContextTree.h"
#include "webstep/forms/Data.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Resource.h"
#include "webstep/forms/StepResolver.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/recording/ParameterContext.h"
#include "webstep/recording/ParameterSet.h"
#include "webstep/recording/Recording.h"
#include "webstep/recording/RequestComparison.h"
#include "webstep/recording/ScriptFolder.h"
#include "webstep/replay/RequestPlanner.h"
#include "webstep/settings/RunTimeSettings.h"
#include "webstep/steps/WebStepCustomRequest.h"
#include "webstep/steps/WebStepError.h"
#include "webstep/steps/WebStepLink.h"
#include "webstep/steps/WebStepSubmitData.h"

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
// Frames of frames are followed this deep.
constexpr unsigned int kFrameDepth = 8;
// A progress line is worth it only for folders of this many steps or more.
constexpr size_t kProgressThreshold = 50;

bool ReadWholeFile(const fs::path& path, std::string& text) {
    std::error_code ec;
    if (!fs::is_regular_file(path, ec))
        return false;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// "t5.inf" gives "t5": the snapshot's base name, from which the page files
// are named.
MString SnapshotBase(const MString& snapshot) {
    MString base = snapshot;
    const size_t slash = base.find_last_of("/\\");
    if (slash != MString::npos)
        base.erase(0, slash + 1);
    const size_t dot = base.rfind('.');
    if (dot != MString::npos && dot != 0)
        base.erase(dot);
    return base;
}

bool IsParameter(const MString& text) {
    return text.size() >= 2 && text.front() == '{' && text.back() == '}';
}

bool IsHtmlContentType(const MString& type) {
    const std::string lower = Lower(type);
    return lower.empty() || lower.find("html") != std::string::npos;
}

// The page the steps act on: the document tree of the last navigation step.
struct PageState {
    std::unique_ptr<CContextTree> tree;  // null before the first navigation
    MString snapshot;                    // the step's "Snapshot" value
    std::string file;                    // the top page file looked for
    std::string where;                   // the top page file and the frames loaded since
    bool loaded = false;                 // some document of the tree has its page
};

// Names a window rather than a frame: the page replaces the whole window.
bool IsWindowTarget(const MString& target) {
    static const char* const windows[] = {"_top", "_self", "_parent", "_blank"};
    if (target.empty())
        return true;
    for (const char* window : windows)
        if (strcasecmp(target.c_str(), window) == 0)
            return true;
    return false;
}

OrderedJson UrlJson(const CURLParser& url) {
    return url.IsValid() ? OrderedJson(JsonText(url.GetFullURLWithSearch())) : OrderedJson();
}

MString Bytes(const OrderedJson& value);

class CInspector {
public:
    CInspector(const InspectOptions& options, fs::path folder)
        : m_Options(options), m_Folder(std::move(folder)), m_Runner(!options.specOnly) {}

    int Run();

private:
    OrderedJson SettingsJson();
    void InspectFile(const std::string& name, OrderedJson& fileJson);
    OrderedJson InspectCall(const ScriptCall& call);
    void Navigate(CWebActionStep& step, const CURLParser& url, OrderedJson& entry);
    void LoadIntoFrame(CContextTree& frame, const MString& snapshot, const CURLParser& url,
                       OrderedJson& entry);
    bool PageReady(OrderedJson& entry);
    void RequestOfCustomRequest(const CWebStepCustomRequest& step, bool isUrlStep,
                                OrderedJson& entry, CURLParser& url);
    void RequestOfSubmitData(CWebStepSubmitData& step, OrderedJson& entry, CURLParser& url);
    bool ResolveLinkOrImage(CWebContextStep& step, bool image, OrderedJson& entry, CURLParser& url);
    bool ResolveForm(CWebStepSubmitForm& step, OrderedJson& entry, CURLParser& url);
    CURLParser Absolute(const MString& text, bool& relative) const;
    CHTMLVParser* LoadPage(const MString& snapshot, const MString& name);
    MString ShownFile(const MString& name) const;
    void Progress();
    void CompareWithRecording(const MString& snapshot, OrderedJson& entry);
    void ShowParameters(OrderedJson& entry);

    const InspectOptions& m_Options;
    fs::path m_Folder;
    CStepRunner m_Runner;
    PageState m_Page;
    CScriptFolder m_Script;
    FolderMessages m_Messages;
    CRecording m_Recording;
    CParameterSet m_ParameterSet;
    // The values of user 1 in iteration 1 resolve addresses that need a
    // parameter to be absolute.
    std::unique_ptr<CParameterContext> m_Parameters;
    // Per step: the parameter values an address took, the address as
    // written when it needed them, and the body's bytes as they go on the
    // wire when they differ from the body shown (binary parts).
    CParameterContext::UsedValues m_UsedValues;
    MString m_WrittenUrl, m_ResolvedUrl;
    std::optional<MString> m_WireBody;
    // Page files by the name the context tree gives them (t4f0.html) as the
    // recording names them (t4f0.htm).
    std::map<MString, MString> m_ShownFiles;
    size_t m_Recorded = 0, m_RecordedSame = 0;
    size_t m_TotalSteps = 0;
    size_t m_DoneSteps = 0;
    bool m_ShowProgress = false;
    size_t m_Navigations = 0, m_Resolved = 0, m_Unresolved = 0, m_NotParsed = 0;
    std::vector<std::string> m_Problems;
};

void Unresolved(OrderedJson& entry, const std::string& why) {
    if (!entry.contains("unresolved"))
        entry["unresolved"] = OrderedJson::array();
    entry["unresolved"].push_back(JsonText(why));
}

// A page of a snapshot: the file its tN.inf names for that place (the
// document, or the frame whose file has the same base name), else the file
// named as the context tree names it, in data/, as .html or .htm.
CHTMLVParser* CInspector::LoadPage(const MString& snapshot, const MString& name) {
    const MString stem = SnapshotBase(name);
    std::string bytes;
    if (const CSnapshotInfo* info = m_Recording.Snapshot(SnapshotBase(snapshot), m_Messages)) {
        for (const SnapshotPage& page : info->Pages()) {
            if (page.kind == SnapshotPage::Kind::Resource || page.file.missing ||
                Lower(SnapshotBase(page.file.name)) != Lower(stem))
                continue;
            if (m_Recording.ReadPage(page, bytes, m_Messages)) {
                m_ShownFiles[name] = page.file.name;
                return CContextPage::Scan(bytes);
            }
        }
    }
    for (const MString& candidate : {name, stem + ".htm", stem + ".html"}) {
        if (std::optional<std::string> found = m_Recording.FindFile(candidate)) {
            if (ReadWholeFile(m_Folder / "data" / *found, bytes)) {
                m_ShownFiles[name] = *found;
                return CContextPage::Scan(bytes);
            }
        }
    }
    return nullptr;
}

MString CInspector::ShownFile(const MString& name) const {
    auto found = m_ShownFiles.find(name);
    return "data/" + (found != m_ShownFiles.end() ? found->second : name);
}

CURLParser CInspector::Absolute(const MString& text, bool& relative) const {
    relative = false;
    CURLParser url(text.c_str());
    if (url.IsValid() && url.IsWellKnownScheme())
        return url;
    // An address that needs a parameter to be absolute ("{BaseUrl}/list")
    // takes the parameter's value for user 1 in iteration 1; the request
    // shown keeps the reference as written.
    if (m_Parameters) {
        CParameterContext::UsedValues used;
        const MString substituted = m_Parameters->Substitute(text, &used);
        if (!used.empty() && substituted != text) {
            CURLParser resolved(substituted.c_str());
            if (!(resolved.IsValid() && resolved.IsWellKnownScheme()) && m_Page.tree &&
                m_Page.tree->GetUrl().IsValid()) {
                resolved = CURLParser(m_Page.tree->GetUrl(), substituted.c_str());
                relative = resolved.IsValid();
            }
            if (resolved.IsValid()) {
                auto* self = const_cast<CInspector*>(this);
                self->m_UsedValues.insert(self->m_UsedValues.end(), used.begin(), used.end());
                self->m_WrittenUrl = text;
                self->m_ResolvedUrl = resolved.GetFullURLWithSearch();
                return resolved;
            }
        }
    }
    // A relative address is taken against the current page, as a browser does.
    if (m_Page.tree && m_Page.tree->GetUrl().IsValid()) {
        CURLParser combined(m_Page.tree->GetUrl(), text.c_str());
        if (combined.IsValid()) {
            relative = true;
            return combined;
        }
    }
    return url;
}

bool CInspector::PageReady(OrderedJson& entry) {
    if (!m_Page.tree) {
        Unresolved(entry, "no navigation step before this one, so there is no page to act on");
        return false;
    }
    if (!m_Page.loaded) {
        if (m_Page.snapshot.empty())
            Unresolved(entry,
                       "the previous navigation step has no Snapshot, so its page is not "
                       "recorded");
        else
            Unresolved(entry, "the page of the previous navigation step is not recorded (" +
                                  m_Page.file + " not found)");
        return false;
    }
    return true;
}

// After a navigation step: its recorded page becomes the page the next
// context step acts on. A resource request or a response that is not HTML
// (an API call) leaves the page as it was, as in a browser.
void CInspector::Navigate(CWebActionStep& step, const CURLParser& url, OrderedJson& entry) {
    auto* contextless = dynamic_cast<CWebContextlessStep*>(&step);
    if (contextless != nullptr &&
        (contextless->GetResource() || !IsHtmlContentType(contextless->GetContentType()))) {
        entry["page"] = OrderedJson{{"changes", false}};
        return;
    }
    // A step aimed at a frame of the current frameset loads its page into
    // that frame; the rest of the frameset stays.
    MString targetFrame;
    if (contextless != nullptr)
        targetFrame = contextless->GetTargetFrame();
    else if (auto* context = dynamic_cast<CWebContextStep*>(&step))
        context->GetAttributes().GetAttribute("TargetFrame", targetFrame);
    CContextTree* frame = nullptr;
    if (m_Page.tree && !IsWindowTarget(targetFrame))
        frame = CStepResolver::FindFrame(*m_Page.tree, targetFrame);
    if (frame != nullptr) {
        LoadIntoFrame(*frame, step.GetSnapshot(), url, entry);
        return;
    }
    m_Page = PageState();
    m_Page.tree = std::make_unique<CContextTree>();
    m_Page.tree->SetUrl(url);
    m_Page.snapshot = step.GetSnapshot();
    OrderedJson page{{"changes", true}, {"snapshot", JsonText(m_Page.snapshot)}};
    if (m_Page.snapshot.empty()) {
        page["loaded"] = false;
        entry["page"] = page;
        return;
    }
    const MString base = SnapshotBase(m_Page.snapshot);
    const MString fileName = m_Page.tree->ComputeSnapshotFileName("", "text/html", base, false);
    CHTMLVParser* html = LoadPage(m_Page.snapshot, fileName);
    m_Page.file = ShownFile(fileName);
    m_Page.where = m_Page.file;
    page["file"] = JsonText(m_Page.file);
    m_Page.loaded = html != nullptr;
    page["loaded"] = m_Page.loaded;
    if (html == nullptr) {
        entry["page"] = page;
        return;
    }
    m_Page.tree->SetTree(html);
    const MString snapshot = m_Page.snapshot;
    CStepResolver::PlaceFrames(
        *m_Page.tree, base,
        [this, snapshot](const MString& name) { return LoadPage(snapshot, name); }, kFrameDepth);
    m_Page.tree->UpdateRelFrameId(nullptr);
    page["title"] = html->title() != nullptr ? JsonText(html->title()) : OrderedJson();
    page["forms"] = html->nForms();
    page["links"] = html->nLinks();
    OrderedJson frames = OrderedJson::array();
    CContextTreeIterator it(m_Page.tree.get());
    for (CContextTree* node = it.GetNext(); node != nullptr; node = it.GetNext()) {
        if (node == m_Page.tree.get())
            continue;
        frames.push_back(OrderedJson{{"id", JsonText(node->GetRelFrameId())},
                                     {"name", JsonText(node->GetFrameName())},
                                     {"file", JsonText(ShownFile(node->GetSnapshotFileName()))},
                                     {"loaded", node->GetTree() != nullptr},
                                     {"url", UrlJson(node->GetUrl())}});
    }
    page["frames"] = frames;
    entry["page"] = page;
}

void CInspector::LoadIntoFrame(CContextTree& frame, const MString& snapshot, const CURLParser& url,
                               OrderedJson& entry) {
    OrderedJson page{{"changes", true},
                     {"snapshot", JsonText(snapshot)},
                     {"frame", JsonText(frame.GetFrameName())},
                     {"frame_id", JsonText(frame.GetRelFrameId())}};
    if (url.IsValid())
        frame.SetUrl(url);
    frame.RemoveTree();
    if (snapshot.empty()) {
        page["loaded"] = false;
        entry["page"] = page;
        return;
    }
    const MString base = SnapshotBase(snapshot);
    // The step recorded the frame's document as a page of its own: tN.html.
    const MString fileName = frame.ComputeSnapshotFileName("", "text/html", base, false);
    CHTMLVParser* html = LoadPage(snapshot, fileName);
    page["file"] = JsonText(ShownFile(fileName));
    page["loaded"] = html != nullptr;
    if (html != nullptr) {
        frame.SetTree(html);
        CStepResolver::PlaceFrames(
            frame, base, [this, snapshot](const MString& name) { return LoadPage(snapshot, name); },
            kFrameDepth);
        m_Page.tree->UpdateRelFrameId(nullptr);
        page["title"] = html->title() != nullptr ? JsonText(html->title()) : OrderedJson();
        page["forms"] = html->nForms();
        page["links"] = html->nLinks();
        m_Page.where += " (frame " + frame.GetFrameName() + ": " + ShownFile(fileName) + ")";
    }
    std::vector<CContextTree*> documents;
    CStepResolver::Documents(*m_Page.tree, documents);
    m_Page.loaded = !documents.empty();
    entry["page"] = page;
}

void CInspector::RequestOfCustomRequest(const CWebStepCustomRequest& step, bool isUrlStep,
                                        OrderedJson& entry, CURLParser& url) {
    bool relative = false;
    url = Absolute(step.GetUrl(), relative);
    OrderedJson request{
        {"method", JsonText(isUrlStep ? MString("GET") : step.GetMethod())},
        {"url", url.IsValid() ? JsonText(url.GetFullURLWithSearch()) : JsonText(step.GetUrl())}};
    if (!url.IsValid())
        Unresolved(entry, "the URL \"" + step.GetUrl() + "\" is not a valid address");
    else if (relative)
        request["relative_to"] = JsonText(m_Page.tree->GetUrl().GetFullURLWithSearch());
    if (step.GetUseEncType() || !step.GetEncType().empty())
        request["content_type"] = JsonText(step.GetEncType());
    // The body as the parts are written, in order: texts as they are, binary
    // parts in their escaped script form, body variables by name; beside it
    // the bytes they send, for the comparison with the recording.
    OrderedJson parts = OrderedJson::array();
    for (const auto& part : step.GetBody()) {
        const char* kind = "text";
        if (part.encoding == CWebStepCustomRequest::BODY_BINARY)
            kind = "binary";
        else if (part.encoding == CWebStepCustomRequest::BODY_UNICODE)
            kind = "unicode";
        else if (part.encoding == CWebStepCustomRequest::BODY_VARIABLE)
            kind = "variable";
        parts.push_back(OrderedJson{{"kind", kind},
                                    {"attribute", JsonText(part.attributeName)},
                                    {"value", JsonText(part.value)}});
    }
    const MString body = CRequestPlanner::CustomRequestShownBody(step);
    bool exact = true;
    const MString wire = CRequestPlanner::CustomRequestBody(step, m_Folder.string(), exact);
    if (wire != body)
        m_WireBody = wire;
    if (!step.GetRawBodyStartEnd().empty())
        request["raw_body"] = true;
    if (!parts.empty()) {
        request["body"] = JsonText(body);
        request["body_parts"] = parts;
    }
    entry["request"] = request;
}

void CInspector::RequestOfSubmitData(CWebStepSubmitData& step, OrderedJson& entry,
                                     CURLParser& url) {
    bool relative = false;
    url = Absolute(step.GetAction(), relative);
    const bool get = strcasecmp(step.GetMethod().c_str(), "GET") == 0;
    // A fixed boundary keeps the shown body stable from run to run.
    PlanOptions options;
    options.keepReferences = true;
    options.leftBrace = m_Script.Description().LeftBrace();
    options.rightBrace = m_Script.Description().RightBrace();
    options.boundary = "----webstepBoundary";
    std::mt19937_64 unused;
    const PlannedRequest planned = CRequestPlanner::SubmitData(
        step, url.IsValid() ? MString(url.GetFullURLWithSearch()) : MString(), options, unused);
    OrderedJson request{{"method", planned.method}};
    if (!url.IsValid()) {
        Unresolved(entry, "the Action \"" + step.GetAction() + "\" is not a valid address");
        request["url"] = JsonText(step.GetAction());
    } else {
        if (get) {
            CURLParser queried(planned.url.c_str());
            if (queried.IsValid())
                url = queried;
        }
        request["url"] = JsonText(planned.url);
        if (relative)
            request["relative_to"] = JsonText(m_Page.tree->GetUrl().GetFullURLWithSearch());
    }
    if (!get) {
        request["content_type"] = JsonText(planned.contentType);
        request["body"] = JsonText(planned.body);
    }
    request["items"] = step.GetDataSet().GetNumElements();
    entry["request"] = request;
}

OrderedJson TargetJson(const StepTarget& target, const char* kind, const MString& document) {
    OrderedJson json{{"kind", kind}, {"text", JsonText(target.text)}};
    if (target.link != nullptr && target.link->url() != nullptr)
        json["href"] = JsonText(target.link->url());
    if (target.node != nullptr) {
        json["document"] = JsonText(target.node->GetParent() != nullptr ? document : MString());
        if (target.node->GetParent() != nullptr) {
            json["frame_id"] = JsonText(target.node->GetRelFrameId());
            json["frame"] = JsonText(target.node->GetFrameName());
        }
    }
    return json;
}

bool CInspector::ResolveLinkOrImage(CWebContextStep& step, bool image, OrderedJson& entry,
                                    CURLParser& url) {
    if (!PageReady(entry))
        return false;
    StepTarget target;
    MString why;
    bool found = false;
    if (image) {
        const auto& imageStep = static_cast<CWebStepImage&>(step);
        found = CStepResolver::FindImage(*m_Page.tree, step.GetAttributes(), imageStep.GetX(),
                                         imageStep.GetY(), target, why);
    } else {
        found = CStepResolver::FindLink(*m_Page.tree, step.GetAttributes(), target, why);
    }
    if (!found) {
        Unresolved(entry, why + " in " + m_Page.where);
        return false;
    }
    OrderedJson json =
        TargetJson(target, image ? "image" : "link",
                   target.node ? ShownFile(target.node->GetSnapshotFileName()) : MString());
    if (json["document"].is_string() && json["document"].get<std::string>().empty())
        json["document"] = JsonText(MString(m_Page.file));
    entry["target"] = json;
    url = target.url;
    if (!url.IsValid()) {
        Unresolved(entry, "the link's address \"" +
                              MString(target.link && target.link->url() ? target.link->url() : "") +
                              "\" gives no absolute URL");
        entry["request"] = OrderedJson{{"method", "GET"}, {"url", nullptr}};
        return false;
    }
    entry["request"] = OrderedJson{{"method", "GET"}, {"url", UrlJson(url)}};
    return true;
}

bool CInspector::ResolveForm(CWebStepSubmitForm& step, OrderedJson& entry, CURLParser& url) {
    // Without the form, the step's own Action still tells where the page
    // that follows comes from, so that its relative links can be followed.
    auto fallBack = [&]() {
        MString action;
        bool relative = false;
        if (step.GetAttributes().GetAttribute("Action", action) && !IsParameter(action))
            url = Absolute(action, relative);
    };
    if (!PageReady(entry)) {
        fallBack();
        return false;
    }
    PlanOptions options;
    options.keepReferences = true;
    const FormPlan plan = CRequestPlanner::SubmitForm(step, *m_Page.tree, options);
    if (!plan.found) {
        Unresolved(entry, plan.why + " in " + m_Page.where);
        fallBack();
        return false;
    }
    const StepTarget& target = plan.target;
    OrderedJson json = TargetJson(target, "form", ShownFile(target.node->GetSnapshotFileName()));
    if (json["document"].get<std::string>().empty())
        json["document"] = JsonText(MString(m_Page.file));
    json["index"] = target.formIndex + 1;
    json["action"] = JsonText(plan.action);
    entry["target"] = json;

    OrderedJson dataJson{{"items", plan.items}, {"fits", plan.fits}};
    if (!plan.fits) {
        if (plan.misfitItem != 0) {
            dataJson["misfit"] = OrderedJson{{"item", plan.misfitItem},
                                             {"name", JsonText(plan.misfitName)},
                                             {"value", JsonText(plan.misfitValue)},
                                             {"reason", JsonText(plan.reason)}};
            Unresolved(entry,
                       "item " + std::to_string(plan.misfitItem) + " does not fit: " + plan.reason);
        } else {
            Unresolved(entry, plan.reason);
        }
    }
    entry["data"] = dataJson;
    url = target.url;
    OrderedJson request{{"method", plan.request.method}};
    if (plan.fits && url.IsValid()) {
        if (plan.request.method == "GET") {
            CURLParser queried(plan.request.url.c_str());
            if (queried.IsValid())
                url = queried;
            request["url"] = JsonText(plan.request.url);
        } else {
            request["url"] = UrlJson(url);
            request["content_type"] = JsonText(plan.request.contentType);
            request["body"] = JsonText(plan.request.body);
        }
    } else {
        request["url"] = UrlJson(url);
    }
    entry["request"] = request;
    if (!url.IsValid())
        Unresolved(entry, "the form's action \"" + plan.action + "\" gives no absolute URL");
    return plan.fits && url.IsValid();
}

OrderedJson CInspector::InspectCall(const ScriptCall& call) {
    OrderedJson entry{{"line", call.line}, {"column", call.column}, {"function", call.function}};
    auto arguments = [&call]() {
        OrderedJson list = OrderedJson::array();
        for (const ScriptArgument& argument : call.arguments)
            list.push_back(JsonText(argument.value));
        return list;
    };
    switch (call.kind) {
        case EScriptCallKind::StartTransaction:
            entry["kind"] = "start-transaction";
            entry["arguments"] = arguments();
            return entry;
        case EScriptCallKind::EndTransaction:
            entry["kind"] = "end-transaction";
            entry["arguments"] = arguments();
            return entry;
        case EScriptCallKind::ThinkTime:
            entry["kind"] = "think-time";
            entry["arguments"] = arguments();
            return entry;
        case EScriptCallKind::UnknownFunction:
            entry["kind"] = "unknown-function";
            return entry;
        case EScriptCallKind::Step:
            break;
    }
    ++m_DoneSteps;
    Progress();
    entry["kind"] = "step";
    entry["name"] = JsonText(call.arguments.empty() ? MString() : call.arguments[0].value);
    ParsedStep parsed = m_Runner.Parse(call);
    if (!parsed.known) {
        entry["kind"] = "unknown-function";
        return entry;
    }
    if (!parsed.ok) {
        ++m_NotParsed;
        OrderedJson labels = OrderedJson::array();
        for (const auto& [label, value] : parsed.errorAttributes)
            labels.push_back(OrderedJson{{"label", label}, {"value", JsonText(value)}});
        const char* english = CWebStepErrMsg::GetEnglishMessage(parsed.errorCode);
        entry["error"] = OrderedJson{{"code", parsed.errorCode},
                                     {"message", english ? english : "unknown error code"},
                                     {"labels", labels}};
        return entry;
    }
    CWebStepData* step = parsed.step.get();
    auto* action = dynamic_cast<CWebActionStep*>(step);
    if (action == nullptr) {
        entry["kind"] = "service";
        return entry;
    }
    ++m_Navigations;
    entry["kind"] = "navigation";
    m_UsedValues.clear();
    m_WrittenUrl.clear();
    m_ResolvedUrl.clear();
    m_WireBody.reset();
    if (!action->GetSnapshot().empty())
        entry["snapshot"] = JsonText(action->GetSnapshot());
    CURLParser url;
    bool resolved = false;
    if (auto* data = dynamic_cast<CWebStepSubmitData*>(step)) {
        RequestOfSubmitData(*data, entry, url);
        resolved = url.IsValid();
    } else if (auto* custom = dynamic_cast<CWebStepCustomRequest*>(step)) {
        RequestOfCustomRequest(*custom, dynamic_cast<CWebStepUrl*>(step) != nullptr, entry, url);
        resolved = url.IsValid();
    } else if (auto* form = dynamic_cast<CWebStepSubmitForm*>(step)) {
        resolved = ResolveForm(*form, entry, url);
    } else if (auto* image = dynamic_cast<CWebStepImage*>(step)) {
        resolved = ResolveLinkOrImage(*image, true, entry, url);
    } else if (auto* link = dynamic_cast<CWebStepLink*>(step)) {
        resolved = ResolveLinkOrImage(*link, false, entry, url);
    } else {
        Unresolved(entry, "this kind of step is not inspected");
    }
    const unsigned int resources = action->GetOutOfContextResources().GetNumElements();
    if (resources != 0) {
        OrderedJson list = OrderedJson::array();
        for (const CResource* resource : action->GetOutOfContextResources().GetList()) {
            // Resources are loaded by the step's own page.
            bool relative = false;
            const CURLParser absolute = url.IsValid() ? CURLParser(url, resource->GetUrl().c_str())
                                                      : Absolute(resource->GetUrl(), relative);
            list.push_back(absolute.IsValid() && !IsParameter(resource->GetUrl())
                               ? JsonText(absolute.GetFullURLWithSearch())
                               : JsonText(resource->GetUrl()));
        }
        entry["resources"] = list;
    }
    if (resolved)
        ++m_Resolved;
    else
        ++m_Unresolved;
    ShowParameters(entry);
    if (m_Options.compare)
        CompareWithRecording(action->GetSnapshot(), entry);
    Navigate(*action, url, entry);
    return entry;
}

// An address that needed parameters: the request shows it as written, with
// the address it resolved to and the values used beside it.
void CInspector::ShowParameters(OrderedJson& entry) {
    if (m_UsedValues.empty())
        return;
    if (!m_WrittenUrl.empty() && entry.contains("request") && entry["request"]["url"].is_string()) {
        OrderedJson& request = entry["request"];
        const MString shown = Bytes(request["url"]);
        if (shown.compare(0, m_ResolvedUrl.size(), m_ResolvedUrl) == 0) {
            request["resolved_url"] = JsonText(shown);
            request["url"] = JsonText(m_WrittenUrl + shown.substr(m_ResolvedUrl.size()));
        }
    }
    OrderedJson values = OrderedJson::array();
    for (const auto& [name, value] : m_UsedValues)
        values.push_back(OrderedJson{{"name", JsonText(name)}, {"value", JsonText(value)}});
    entry["parameters"] = OrderedJson{{"user", 1}, {"iteration", 1}, {"values", values}};
}

// The request the recording holds for the step: the primary exchange of its
// snapshot XML file.
void CInspector::CompareWithRecording(const MString& snapshot, OrderedJson& entry) {
    OrderedJson recorded{{"recorded", false}};
    std::optional<HttpExchange> exchange;
    if (!snapshot.empty())
        exchange = m_Recording.PrimaryRequest(SnapshotBase(snapshot), m_Messages);
    if (!exchange || !entry.contains("request")) {
        recorded["why"] = snapshot.empty() ? "the step has no Snapshot"
                          : !exchange      ? "the recording holds no request for this step"
                                           : "nothing was planned";
        entry["recorded"] = recorded;
        return;
    }
    const OrderedJson& request = entry["request"];
    RequestText planned;
    planned.method = Bytes(request["method"]);
    planned.url = request["url"].is_null() ? MString() : Bytes(request["url"]);
    planned.body =
        m_WireBody ? *m_WireBody : (request.contains("body") ? Bytes(request["body"]) : MString());
    if (request.contains("content_type"))
        planned.contentType = Bytes(request["content_type"]);
    RequestText actual;
    actual.method = exchange->method;
    actual.url = exchange->url;
    actual.body = exchange->requestBody;
    if (const std::string* type = exchange->RequestHeader("Content-Type"))
        actual.contentType = *type;
    const RequestComparison comparison = CompareRequests(
        planned, actual, m_Script.Description().LeftBrace(), m_Script.Description().RightBrace());
    ++m_Recorded;
    m_RecordedSame += comparison.same ? 1 : 0;
    recorded["recorded"] = true;
    recorded["same"] = comparison.same;
    recorded["method"] = JsonText(exchange->method);
    recorded["url"] = JsonText(exchange->url);
    if (!comparison.same) {
        recorded["part"] = comparison.part;
        recorded["difference"] = JsonText(comparison.difference);
    }
    OrderedJson references = OrderedJson::array();
    for (const auto& [name, value] : comparison.references)
        references.push_back(OrderedJson{{"name", JsonText(name)}, {"value", JsonText(value)}});
    recorded["references"] = references;
    entry["recorded"] = recorded;
}

void CInspector::Progress() {
    if (!m_ShowProgress)
        return;
    if (m_DoneSteps % 10 != 0 && m_DoneSteps != m_TotalSteps)
        return;
    std::cerr << "\rwebstep inspect: " << m_DoneSteps << " of " << m_TotalSteps << " steps"
              << std::flush;
    if (m_DoneSteps == m_TotalSteps)
        std::cerr << '\n';
}

OrderedJson CInspector::SettingsJson() {
    OrderedJson json;
    if (!m_Options.settings.empty()) {
        std::error_code ec;
        if (!fs::is_regular_file(m_Options.settings, ec))
            m_Problems.push_back("cannot read the settings file \"" + m_Options.settings + "\"");
        else
            m_Script.UseSettingsFile(m_Options.settings, m_Messages);
        json["file"] = m_Options.settings;
    } else {
        json["file"] =
            m_Script.SettingsPath().empty() ? OrderedJson() : OrderedJson(m_Script.SettingsPath());
    }
    const CRunTimeSettings& settings = m_Script.Settings().Web();
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

void CInspector::InspectFile(const std::string& name, OrderedJson& fileJson) {
    const std::string path = (m_Folder / name).string();
    const CScriptReader reader = m_Runner.MakeReader();
    ScriptReadResult result;
    fileJson = OrderedJson{{"file", name}};
    if (!reader.ReadFile(path.c_str(), result)) {
        m_Problems.push_back("cannot read \"" + path + "\"");
        fileJson["readable"] = false;
        return;
    }
    OrderedJson warnings = OrderedJson::array();
    for (const ScriptDiagnostic& diagnostic : result.diagnostics)
        warnings.push_back(OrderedJson{{"line", diagnostic.line},
                                       {"column", diagnostic.column},
                                       {"message", JsonText(diagnostic.message)}});
    OrderedJson entries = OrderedJson::array();
    for (const ScriptCall& call : result.calls)
        entries.push_back(InspectCall(call));
    fileJson["entries"] = entries;
    fileJson["warnings"] = warnings;
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
        if (request.contains("relative_to"))
            out << pad << "  (relative to " << Bytes(request["relative_to"]) << ")\n";
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

int CInspector::Run() {
    std::error_code ec;
    if (!fs::is_directory(m_Folder, ec)) {
        std::cerr << "webstep inspect: \"" << m_Folder.string() << "\" is not a folder\n";
        return 2;
    }
    m_Script.Open(m_Folder.string(), m_Messages);
    m_Recording.Open(m_Script.DataDir(), m_Messages);
    if (m_Script.HasDescription()) {
        m_ParameterSet.Load(m_Script.ParameterPath(), m_Folder.string(), m_Messages);
        m_Parameters = std::make_unique<CParameterContext>(m_ParameterSet, 1, 1,
                                                           m_Script.Description().LeftBrace(),
                                                           m_Script.Description().RightBrace());
        m_Parameters->BeginIteration(1);
    }
    OrderedJson settings = SettingsJson();
    std::vector<std::string> files = m_Options.order;
    if (files.empty())
        for (const FolderAction& action : m_Script.InspectionOrder())
            files.push_back(action.file);
    // Count the steps first, for the progress line.
    std::vector<std::string> readable;
    for (const std::string& name : files) {
        std::error_code fileEc;
        if (!fs::is_regular_file(m_Folder / name, fileEc)) {
            m_Problems.push_back("no action file \"" + name + "\" in " + m_Folder.string());
            continue;
        }
        readable.push_back(name);
    }
    if (isatty(STDERR_FILENO) != 0) {
        const CScriptReader reader = m_Runner.MakeReader();
        ScriptReadResult result;
        for (const std::string& name : readable)
            if (reader.ReadFile((m_Folder / name).string().c_str(), result))
                for (const ScriptCall& call : result.calls)
                    m_TotalSteps += call.kind == EScriptCallKind::Step ? 1 : 0;
        m_ShowProgress = m_TotalSteps > kProgressThreshold;
    }
    OrderedJson jsonFiles = OrderedJson::array();
    for (const std::string& name : readable) {
        OrderedJson fileJson;
        InspectFile(name, fileJson);
        jsonFiles.push_back(fileJson);
    }
    OrderedJson summary{{"files", readable.size()},
                        {"navigation_steps", m_Navigations},
                        {"resolved", m_Resolved},
                        {"unresolved", m_Unresolved},
                        {"not_parsed", m_NotParsed}};
    if (m_Options.compare) {
        summary["recorded_requests"] = m_Recorded;
        summary["planned_exactly"] = m_RecordedSame;
    }
    if (m_Parameters)
        for (const FolderMessage& message : m_Parameters->Messages())
            m_Messages.push_back(message);
    OrderedJson messages = OrderedJson::array();
    for (const FolderMessage& message : m_Messages) {
        if (!m_Options.json)
            std::cerr << "webstep inspect: " << message.Format() << '\n';
        messages.push_back(
            OrderedJson{{"kind", message.kind == FolderMessage::Kind::Note ? "note" : "warning"},
                        {"file", JsonText(message.file)},
                        {"line", message.line},
                        {"message", JsonText(message.text)}});
    }
    for (const std::string& problem : m_Problems)
        std::cerr << "webstep inspect: " << problem << '\n';
    if (m_Options.json) {
        std::cout << DumpJson(OrderedJson{{"folder", m_Folder.string()},
                                          {"settings", settings},
                                          {"files", jsonFiles},
                                          {"summary", summary},
                                          {"messages", messages},
                                          {"io_errors", m_Problems}})
                  << '\n';
    } else {
        std::cout << "== " << m_Folder.string() << '\n';
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
                  << m_Navigations << " navigation steps: " << m_Resolved << " resolved, "
                  << m_Unresolved << " not resolved; " << m_NotParsed
                  << (m_NotParsed == 1 ? " step does" : " steps do") << " not parse\n";
        if (m_Options.compare)
            std::cout << m_Recorded << " steps with a recorded request: " << m_RecordedSame
                      << " planned exactly as recorded, " << (m_Recorded - m_RecordedSame)
                      << " different\n";
    }
    std::cout.flush();
    if (!m_Problems.empty())
        return 2;
    const bool differs = m_Options.compare && m_RecordedSame != m_Recorded;
    return m_Unresolved != 0 || m_NotParsed != 0 || differs ? 1 : 0;
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
        CInspector inspector(effective, fs::path(effective.folder));
        *exitCode = inspector.Run();
    });
}

}  // namespace webstep::cli

#pragma once
// The request a navigation step sends, decided from the step and the page it
// acts on: one planner for the virtual user (which then sends it) and for
// the listing of a folder's plan (which shows it). It does no I/O but
// reading a body file a step names.
#include <cstddef>
#include <random>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/forms/StepResolver.h"

class CContextTree;
class CWebStepCustomRequest;
class CWebStepSubmitData;
class CWebStepSubmitForm;

/// How requests are planned.
struct WEBSTEP_API PlanOptions {
    /// Keep parameter references in bodies as the script writes them (a
    /// listing shows the script's form; a replay substitutes them first).
    bool keepReferences = false;
    std::string leftBrace = "{";
    std::string rightBrace = "}";
    /// The multipart boundary of web_submit_data; empty: a random one.
    std::string boundary;
    /// The script folder, where "BodyFilePath" files are read.
    std::string folder;
};

/// A planned request: method, absolute URL (with the query of a GET
/// submission), body bytes and content type.
struct WEBSTEP_API PlannedRequest {
    std::string method = "GET";
    std::string url;
    std::string body;
    /// Empty when the request carries no Content-Type.
    std::string contentType;
};

/// The form a web_submit_form step fills on a page, and how its items fit.
struct WEBSTEP_API FormPlan {
    /// The form was found; why not otherwise.
    bool found = false;
    std::string why;
    StepTarget target;
    /// The form's action as written.
    std::string action;
    std::size_t items = 0;
    bool fits = false;
    /// When the items do not fit: the first item (1-based) a growing prefix
    /// of them cannot place, its name and value, and why, in words.
    std::size_t misfitItem = 0;
    std::string misfitName;
    std::string misfitValue;
    std::string reason;
    /// The request, when the items fit (the URL also when they do not).
    PlannedRequest request;
};

/// Plans the requests of navigation steps.
class WEBSTEP_API CRequestPlanner {
public:
    /// The bytes a custom request's body parts send, in order: texts as they
    /// are, binary parts decoded from their escapes, Unicode parts as
    /// UTF-16LE, a "BodyFilePath" file's bytes. exact is false when a part
    /// cannot be known here (another body variable); it then counts as empty.
    static std::string CustomRequestBody(const CWebStepCustomRequest& step,
                                         const std::string& folder, bool& exact);
    /// The body as the script writes it: binary parts in their escaped form,
    /// body variables by name.
    static std::string CustomRequestShownBody(const CWebStepCustomRequest& step);
    /// The request of a custom request (web_url is one: GET, no body) to an
    /// absolute URL.
    static PlannedRequest CustomRequest(const CWebStepCustomRequest& step, const std::string& url,
                                        const std::string& folder, bool& exact);

    /// web_submit_data to an absolute action URL: a GET puts the data in the
    /// query; a POST sends it URL-encoded or, with a multipart EncType, as
    /// multipart form data.
    static PlannedRequest SubmitData(const CWebStepSubmitData& step, const std::string& actionUrl,
                                     const PlanOptions& options, std::mt19937_64& random);

    /// web_submit_form on a page: the form the step's attributes and hidden
    /// fields pick, filled with its items (so hidden fields carry the page's
    /// values), and the request it sends.
    static FormPlan SubmitForm(CWebStepSubmitForm& step, CContextTree& page,
                               const PlanOptions& options);

    /// A body whose parameter references were URL-encoded with their braces
    /// ("%7Bname%7D"), with the references as the script writes them.
    static std::string KeepReferences(const std::string& body);
};

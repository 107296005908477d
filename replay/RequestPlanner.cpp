#include "webstep/replay/RequestPlanner.h"

#include <strings.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "webstep/context/ContextTree.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Form.h"
#include "webstep/forms/FormField.h"
#include "webstep/foundation/BinaryDataHandler.h"
#include "webstep/steps/WebStepCustomRequest.h"
#include "webstep/steps/WebStepLink.h"
#include "webstep/steps/WebStepSubmitData.h"

namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool IsParameter(const std::string& text) {
    return text.size() >= 2 && text.front() == '{' && text.back() == '}';
}

std::string Utf16Le(const std::string& in) {
    std::string out;
    auto unit = [&out](unsigned u) {
        out += static_cast<char>(u & 0xFF);
        out += static_cast<char>((u >> 8) & 0xFF);
    };
    for (std::size_t i = 0; i < in.size();) {
        const unsigned char c = static_cast<unsigned char>(in[i]);
        std::size_t extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : 3;
        unsigned cp = extra == 0 ? c : c & (0x3Fu >> extra);
        for (std::size_t k = 1; k <= extra && i + k < in.size(); ++k)
            cp = (cp << 6) | (static_cast<unsigned char>(in[i + k]) & 0x3F);
        i += extra + 1;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            unit(0xD800 + (cp >> 10));
            unit(0xDC00 + (cp & 0x3FF));
        } else {
            unit(cp);
        }
    }
    return out;
}

std::string RandomBoundary(std::mt19937_64& random) {
    static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::string boundary = "----webstep";
    for (int i = 0; i < 16; ++i)
        boundary += digits[random() % 36];
    return boundary;
}

}  // namespace

std::string CRequestPlanner::KeepReferences(const std::string& body) {
    std::string out;
    std::size_t i = 0;
    while (i < body.size()) {
        if (body.compare(i, 3, "%7B") == 0) {
            std::size_t j = i + 3;
            while (j < body.size() && (std::isalnum(static_cast<unsigned char>(body[j])) ||
                                       body[j] == '_' || body[j] == '-' || body[j] == '.'))
                ++j;
            if (j > i + 3 && body.compare(j, 3, "%7D") == 0) {
                out += '{';
                out.append(body, i + 3, j - i - 3);
                out += '}';
                i = j + 3;
                continue;
            }
        }
        out += body[i++];
    }
    return out;
}

std::string CRequestPlanner::CustomRequestBody(const CWebStepCustomRequest& step,
                                               const std::string& folder, bool& exact) {
    exact = true;
    std::string body;
    for (const auto& part : step.GetBody()) {
        switch (part.encoding) {
            case CWebStepCustomRequest::BODY_BINARY: {
                char* bytes = nullptr;
                const int length =
                    CBinaryDataHandler::ConvertAsciiToBinary(part.value.c_str(), &bytes, true);
                body += length >= 0 && bytes ? std::string(bytes, static_cast<size_t>(length))
                                             : part.value;
                free(bytes);
                break;
            }
            case CWebStepCustomRequest::BODY_UNICODE:
                body += Utf16Le(part.value);
                break;
            case CWebStepCustomRequest::BODY_VARIABLE: {
                // A body file is read from the folder; other body variables
                // come from a header file this planner does not read.
                std::ifstream in;
                if (strcasecmp(part.attributeName.c_str(), "BodyFilePath") == 0)
                    in.open(std::filesystem::path(folder) / part.value, std::ios::binary);
                if (in)
                    body.append(std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>());
                else
                    exact = false;
                break;
            }
            default:
                body += part.value;
        }
    }
    return body;
}

std::string CRequestPlanner::CustomRequestShownBody(const CWebStepCustomRequest& step) {
    std::string body;
    for (const auto& part : step.GetBody())
        body += part.encoding == CWebStepCustomRequest::BODY_VARIABLE
                    ? "<" + part.attributeName + " from qzw_custom_body.h>"
                    : part.value;
    return body;
}

PlannedRequest CRequestPlanner::CustomRequest(const CWebStepCustomRequest& step,
                                              const std::string& url, const std::string& folder,
                                              bool& exact) {
    PlannedRequest request;
    request.url = url;
    const bool isUrl = dynamic_cast<const CWebStepUrl*>(&step) != nullptr;
    request.method = isUrl ? std::string("GET") : step.GetMethod();
    request.body = CustomRequestBody(step, folder, exact);
    if (step.GetUseEncType() || !step.GetEncType().empty())
        request.contentType = step.GetEncType();
    else if (!request.body.empty())
        request.contentType = "application/x-www-form-urlencoded";
    return request;
}

PlannedRequest CRequestPlanner::SubmitData(const CWebStepSubmitData& step,
                                           const std::string& actionUrl, const PlanOptions& options,
                                           std::mt19937_64& random) {
    PlannedRequest request;
    const bool get = strcasecmp(step.GetMethod().c_str(), "GET") == 0;
    const bool multipart = Lower(step.GetEncType()).find("multipart/form-data") == 0;
    request.method = get ? "GET" : "POST";
    std::string body;
    if (multipart && !get) {
        const std::string boundary =
            options.boundary.empty() ? RandomBoundary(random) : options.boundary;
        step.GetDataSet().CreateArgumentsFromData(boundary, false, body);
        request.contentType = "multipart/form-data; boundary=" + boundary;
    } else if (options.keepReferences) {
        step.GetDataSet().CreateArgumentsFromDataSkipParams(options.leftBrace, options.rightBrace,
                                                            body);
    } else {
        step.GetDataSet().CreateArgumentsFromData("", false, body);
    }
    request.url = actionUrl;
    if (get) {
        // A GET submission sends its data in the query.
        if (!body.empty())
            request.url += (request.url.find('?') == std::string::npos ? "?" : "&") + body;
    } else {
        if (!multipart)
            request.contentType = "application/x-www-form-urlencoded";
        request.body = body;
    }
    return request;
}

FormPlan CRequestPlanner::SubmitForm(CWebStepSubmitForm& step, CContextTree& page,
                                     const PlanOptions& options) {
    FormPlan plan;
    if (!CStepResolver::FindForm(page, step.GetAttributes(), step.GetHiddens(), plan.target,
                                 plan.why))
        return plan;
    plan.found = true;
    const StepTarget& target = plan.target;
    CForm form(target.node->GetTree(), target.form, true, target.node->GetFrameName());
    plan.action = form.GetActionUrl();
    CDataSet& data = step.GetDataSet();
    plan.items = data.GetNumElements();
    plan.fits = form.CheckAgainstDataSet(&data);
    if (!plan.fits) {
        // The first item that a growing prefix of the data cannot place.
        CDataSet prefix;
        const CData* misfit = nullptr;
        std::size_t index = 0;
        for (CData* item : data.DataElements().GetList()) {
            ++index;
            prefix.AddData(item);
            if (!form.CheckAgainstDataSet(&prefix)) {
                misfit = item;
                break;
            }
        }
        prefix.ClearDataReferences();
        if (misfit != nullptr) {
            std::size_t named = 0;
            for (const CFormField* field : form.GetFields())
                if (field->GetName() == misfit->GetName())
                    ++named;
            plan.misfitItem = index;
            plan.misfitName = misfit->GetName();
            plan.misfitValue = misfit->GetValue();
            if (named == 0)
                plan.reason = "the form has no field named \"" + misfit->GetName() + "\"";
            else if (IsParameter(misfit->GetValue()))
                plan.reason = "the field \"" + misfit->GetName() + "\" accepts only some values; " +
                              misfit->GetValue() + " is a parameter, decided at run time";
            else
                plan.reason = "the field \"" + misfit->GetName() + "\" refuses the value \"" +
                              misfit->GetValue() + "\"" +
                              (named > 1 ? " (or has no further field of that name)" : "");
        } else {
            plan.reason = "the data does not fit the form";
        }
    }
    const bool post = form.GetAttributes().ReportByKey(CForm::KeyMethod, false) == "POST";
    plan.request.method = post ? "POST" : "GET";
    if (!target.url.IsValid())
        return plan;
    plan.request.url = target.url.GetFullURLWithSearch();
    if (!plan.fits)
        return plan;
    form.SetToDataSet(&data);
    std::string body, boundary;
    form.GetSubmitArgs(body, boundary);
    if (options.keepReferences && form.GetEncoding() != ENCTYPE_MULTIPART)
        body = KeepReferences(body);
    if (post) {
        plan.request.body = body;
        plan.request.contentType = boundary.empty()
                                       ? std::string("application/x-www-form-urlencoded")
                                       : "multipart/form-data; boundary=" + boundary;
    } else {
        plan.request.url = target.url.GetFullURL() + "?" + body;
    }
    return plan;
}

#include "webstep/forms/RequestBody.h"

#include "webstep/forms/EscArgs.h"
#include "webstep/forms/FileField.h"
#include "webstep/forms/FormField.h"

void CRequestBody::CreateArgumentsFromData(const CDataSet& set, const MString& boundary, bool,
                                           MString& body) {
    const std::list<CData*>& items = set.DataElements().GetList();
    const bool multipart = !boundary.empty();
    for (auto it = items.begin(); it != items.end(); ++it) {
        const CData* item = *it;
        if (multipart) {
            body += "--";
            body += boundary;
            body += "\r\n";
            if (item->GetType() == CData::DT_FILE) {
                body += CFileField::MakeMultipartArgument(item->GetName(), item->GetValue());
            } else {
                body += CFormField::MakeMultipartArgument(item->GetName(), item->GetValue());
            }
        } else {
            MString name = item->GetName();
            MString value = item->GetValue();
            EscArgs(name, false);
            EscArgs(value, false);
            body += name;
            body += "=";
            body += value;
            if (std::next(it) != items.end()) {
                body += "&";
            }
        }
    }
    if (multipart) {
        body += "--";
        body += boundary;
        body += "--\r\n";
    }
}

void CRequestBody::CreateArgumentsFromDataSkipParams(const CDataSet& set, const MString& open,
                                                     const MString& close, MString& body) {
    bool first = true;
    for (const CData* item : set.DataElements().GetList()) {
        MString name = item->GetName();
        MString value = item->GetValue();
        EscArgsSkipParams(open, close, name);
        EscArgsSkipParams(open, close, value);
        if (!first) {
            body += "&";
        }
        first = false;
        body += name;
        body += "=";
        body += value;
    }
}

void CRequestBody::EscArgsSkipParams(const MString& open, const MString& close, MString& text) {
    if (open.empty() || close.empty()) {
        EscArgs(text, false);
        return;
    }
    MString result;
    std::size_t pos = 0;
    for (;;) {
        const std::size_t at = text.find(open, pos);
        const std::size_t end =
            at == MString::npos ? MString::npos : text.find(close, at + open.size());
        if (at == MString::npos || end == MString::npos) {
            MString rest = text.substr(pos);
            EscArgs(rest, false);
            result += rest;
            break;
        }
        MString before = text.substr(pos, at - pos);
        EscArgs(before, false);
        result += before;
        result.append(text, at, end + close.size() - at);
        pos = end + close.size();
    }
    text.swap(result);
}

namespace {
template <typename Pred>
void Eliminate(CDataSet& set, Pred drop) {
    std::list<CData*>& items = set.DataElements().GetList();
    for (auto it = items.begin(); it != items.end();) {
        if (drop(*it)) {
            delete *it;
            it = items.erase(it);
        } else {
            ++it;
        }
    }
}
}  // namespace

void CRequestBody::EliminateHiddens(CDataSet& set) {
    Eliminate(set, [](const CData* d) { return d->GetType() == CData::DT_HIDDEN; });
}

void CRequestBody::EliminateReadOnlyArgs(CDataSet& set) {
    Eliminate(set, [](const CData* d) { return d->IsReadOnly(); });
}

#include "webstep/forms/DataSet.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "webstep/forms/EscArgs.h"
#include "webstep/forms/FileField.h"
#include "webstep/forms/FormField.h"
#include "webstep/forms/TextTrim.h"
#include "webstep/foundation/BinaryDataHandler.h"
#include "webstep/platform/Utf8Converter.h"

using webstep::platform::WrUtilsCloseUTF8Converter;
using webstep::platform::WrUtilsGetUTF8Converter;
using webstep::platform::WrUtilsUtf8ToMb_Flush;
using webstep::platform::WrUtilsUtf8ToMb_Statefull;

namespace {

void Trim(MString& text) {
    text = MbTrim(text);
}

// UTF-8 to the process code page, one whole text at a time; the text is
// left as it is when the code page has no converter.
void Utf8ToProcessCodePage(UConverter* converter, MString& text) {
    MString out;
    MString tail;
    if (converter == nullptr || !WrUtilsUtf8ToMb_Statefull(converter, text, out))
        return;
    WrUtilsUtf8ToMb_Flush(converter, tail);
    text = out + tail;
}

// Decodes the script form of escaped bytes (\xHH) in place.
void DecodeEscaped(MString& text, bool binaryFlag) {
    char* result = nullptr;
    int length = CBinaryDataHandler::ConvertAsciiToBinary(text.c_str(), &result, binaryFlag);
    if (length >= 0 && result != nullptr)
        text.assign(result, static_cast<size_t>(length));
    std::free(result);
}

CData* NewItem(const MString& name, const MString& value, CData::DataType type) {
    return new CData(name, value, CData::RT_LITERAL, CData::RT_LITERAL, type, true, MString(),
                     MString(), false, MString(), MString(), MString());
}

}  // namespace

bool CDataSet::operator==(CDataSet& other) const {
    if (actionUrl != other.actionUrl)
        return false;
    const auto& mine = elements.GetList();
    const auto& theirs = other.elements.GetList();
    auto a = mine.begin();
    auto b = theirs.begin();
    for (; a != mine.end() && b != theirs.end(); ++a, ++b) {
        if (*a != *b)
            return false;
    }
    return a == mine.end() && b == theirs.end();
}

bool CDataSet::Parametrize(CContext* ctx) const {
    bool ok = true;
    for (const CData* item : elements.GetList()) {
        if (!item->Parametrize(ctx))
            ok = false;
    }
    return ok;
}

bool CDataSet::ExtractRequestAttributeEx(const MString& text, const MString& attribute,
                                         MString& out) {
    out.clear();
    size_t at = text.find(attribute);
    if (at == MString::npos)
        return false;
    size_t start = at + attribute.size();
    size_t end = text.find_first_of("\r\n;", start);
    out = text.substr(start, end == MString::npos ? MString::npos : end - start);
    Trim(out);
    if (out.size() >= 2 && out.front() == '"' && out.back() == '"') {
        out = out.substr(1, out.size() - 2);
        Trim(out);
    }
    return true;
}

MString CDataSet::ExtractRequestAttribute(MString text, MString attribute) {
    MString out;
    ExtractRequestAttributeEx(text, attribute, out);
    return out;
}

void CDataSet::AddDataFromString(const MString& body, MString boundary, bool binaryEscaped,
                                 bool skipRoundTripCheck, bool& roundTripOk, bool& atWasEscaped,
                                 bool fromUtf8, bool binaryFlag) {
    roundTripOk = true;
    atWasEscaped = false;
    elements.PurgeData();
    UConverter* converter = fromUtf8 ? WrUtilsGetUTF8Converter() : nullptr;

    if (!boundary.empty()) {
        const MString delimiter = "--" + boundary;
        size_t current = body.find(delimiter);
        while (current != MString::npos) {
            size_t headerEnd = body.find("\r\n\r\n", current);
            size_t next = body.find(delimiter, current + delimiter.size());
            if (headerEnd == MString::npos || next == MString::npos)
                break;
            size_t headerStart = current + delimiter.size();
            size_t contentStart = headerEnd + 4;
            // A header that runs past the next delimiter leaves no part to
            // read: treated as an incomplete part.
            if (contentStart > next)
                break;
            MString header = body.substr(headerStart, contentStart - headerStart);
            MString name;
            if (!ExtractRequestAttributeEx(header, "name=", name))
                break;
            if (binaryEscaped)
                DecodeEscaped(name, binaryFlag);

            MString value;
            CData::DataType type = CData::DT_UNSPECIFIED;
            MString fileName;
            if (ExtractRequestAttributeEx(header, "filename=", fileName)) {
                // A file part: the file name stands for the content.
                type = CData::DT_FILE;
                value = fileName;
                if (binaryEscaped && !value.empty())
                    DecodeEscaped(value, binaryFlag);
            } else {
                value = body.substr(contentStart, next - contentStart);
                if (value.size() >= 2 && value.compare(value.size() - 2, 2, "\r\n") == 0)
                    value.resize(value.size() - 2);
                if (binaryEscaped)
                    DecodeEscaped(value, binaryFlag);
            }
            if (fromUtf8) {
                Utf8ToProcessCodePage(converter, name);
                Utf8ToProcessCodePage(converter, value);
            }
            elements.AddTail(NewItem(name, value, type));
            current = next;
        }
        WrUtilsCloseUTF8Converter(converter);
        return;
    }

    // Walks the body with a cursor instead of copying the remaining text.
    size_t position = 0;
    while (position < body.size()) {
        size_t equals = body.find('=', position);
        if (equals == MString::npos)
            break;
        MString rawName = body.substr(position, equals - position);
        size_t amp = body.find('&', equals + 1);
        MString rawValue;
        if (amp == MString::npos) {
            rawValue = body.substr(equals + 1);
            position = body.size();
        } else {
            rawValue = body.substr(equals + 1, amp - equals - 1);
            position = amp + 1;
        }
        MString name = rawName;
        MString value = rawValue;
        UnEscArgs(name, &atWasEscaped);
        UnEscArgs(value, &atWasEscaped);
        MString itemName = name;
        MString itemValue = value;
        if (fromUtf8) {
            Utf8ToProcessCodePage(converter, itemName);
            Utf8ToProcessCodePage(converter, itemValue);
        }
        elements.AddTail(NewItem(itemName, itemValue, CData::DT_UNSPECIFIED));
        if (!skipRoundTripCheck && roundTripOk) {
            EscArgs(name, atWasEscaped);
            EscArgs(value, atWasEscaped);
            roundTripOk = name == rawName && value == rawValue;
        }
    }
    WrUtilsCloseUTF8Converter(converter);
}

// ----- request bodies without a page form -----

void CDataSet::CreateArgumentsFromData(const MString& boundary, bool, MString& body) const {
    const std::list<CData*>& items = elements.GetList();
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

void CDataSet::CreateArgumentsFromDataSkipParams(const MString& open, const MString& close,
                                                 MString& body) const {
    bool first = true;
    for (const CData* item : elements.GetList()) {
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

void CDataSet::EscArgsSkipParams(const MString& open, const MString& close, MString& text) {
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
void Eliminate(CDataElements& elements, Pred drop) {
    std::list<CData*>& items = elements.GetList();
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

void CDataSet::EliminateHiddens() {
    Eliminate(elements, [](const CData* d) { return d->GetType() == CData::DT_HIDDEN; });
}

void CDataSet::EliminateReadOnlyArgs() {
    Eliminate(elements, [](const CData* d) { return d->IsReadOnly(); });
}

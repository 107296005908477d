#include "webstep/forms/FormField.h"

#include <regex.h>

#include "webstep/forms/EscArgs.h"
#include "webstep/html/HTMLFormElement.h"

const char* const CFormField::ValueOn = "<ON>";
const char* const CFormField::ValueOff = "<OFF>";
const char* const CFormField::ValueDefault = "_DEFAULT_";

bool FormRegexMatch(const MString& pattern, const MString& text, bool caseSensitive) {
    if (pattern.find('\0') != MString::npos) {
        return false;
    }
    regex_t re;
    int flags = REG_EXTENDED;
    if (!caseSensitive) {
        flags |= REG_ICASE;
    }
    if (regcomp(&re, pattern.c_str(), flags) != 0) {
        return false;
    }
    // REG_STARTEND lets a value hold NUL bytes; the longest match from the
    // leftmost start covers the whole text whenever any whole match exists.
    regmatch_t m[1];
    m[0].rm_so = 0;
    m[0].rm_eo = static_cast<regoff_t>(text.size());
    const bool found = regexec(&re, text.c_str(), 1, m, REG_STARTEND) == 0;
    regfree(&re);
    return found && m[0].rm_so == 0 && static_cast<std::size_t>(m[0].rm_eo) == text.size();
}

CFormField::CFormField() : marked(false), readOnly(false), element(nullptr) {}

CFormField::~CFormField() = default;

MString CFormField::GetName(int) const {
    return name;
}

void CFormField::Mark(MString) {
    marked = true;
}

void CFormField::Unmark() {
    marked = false;
}

unsigned short CFormField::GetParamStrings(std::vector<std::string>& out, ENCTYPE encoding) const {
    out.clear();
    std::vector<std::pair<MString, MString>> pairs;
    GetValues(pairs);
    for (auto& [n, v] : pairs) {
        if (encoding == ENCTYPE_MULTIPART) {
            out.push_back(GetMultipartArgument(n, v));
        } else {
            EscArgs(n, false);
            EscArgs(v, false);
            out.push_back(n + "=" + v);
        }
    }
    return static_cast<unsigned short>(out.size());
}

void CFormField::Attach(CHTMLFormElement* e) {
    element = e;
    marked = false;
    readOnly = false;
    name.clear();
    if (e != nullptr) {
        const char* n = e->name();
        name = n != nullptr ? n : "";
        readOnly = e->attr("readonly") != nullptr;
    }
}

MString CFormField::GetMultipartArgument(MString n, MString v) const {
    return MakeMultipartArgument(std::move(n), std::move(v));
}

bool CFormField::MakesMatch(const CData* const item) const {
    return item != nullptr && MatchName(item) && TryValue(item);
}

MString CFormField::MakeMultipartArgument(MString n, MString v) {
    MString part;
    part.reserve(n.size() + v.size() + 48);
    part += "Content-Disposition: form-data; name=\"";
    part += n;
    part += "\"\r\n\r\n";
    part += v;
    part += "\r\n";
    return part;
}

bool CFormField::MatchName(const CData* const item) const {
    if (item == nullptr) {
        return false;
    }
    if (item->GetNameRegexType() == CData::RT_REGEX) {
        return FormRegexMatch(item->GetName(), name);
    }
    return item->GetName() == name;
}

bool CFormField::ValueMatches(const CData* item, const MString& pageValue) {
    if (item->GetValueRegexType() == CData::RT_REGEX) {
        return FormRegexMatch(item->GetValue(), pageValue);
    }
    return item->GetValue() == pageValue;
}

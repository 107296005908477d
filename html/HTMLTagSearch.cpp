#include "webstep/html/HTMLTagSearch.h"

#include <cstring>
#include <vector>

namespace {

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool IsAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool SameNoCase(const char* s, unsigned long n, const MString& name) {
    if (n != name.size()) {
        return false;
    }
    for (unsigned long i = 0; i < n; ++i) {
        if (Lower(s[i]) != Lower(name[i])) {
            return false;
        }
    }
    return true;
}

struct Attr {
    unsigned long nameStart;
    unsigned long nameEnd;
    bool hasValue;
    unsigned long valueStart;
    unsigned long valueEnd;
    char quote;
};

// Offset just past the first occurrence of what at or after from; length
// when absent.
unsigned long SkipPast(const char* t, unsigned long n, unsigned long from, const char* what) {
    const unsigned long w = std::strlen(what);
    for (unsigned long i = from; i + w <= n; ++i) {
        if (std::memcmp(t + i, what, w) == 0) {
            return i + w;
        }
    }
    return n;
}

// Reads the attributes of a start tag from pos (just after its name) to its
// end; returns the offset just past the tag.
unsigned long ReadAttrs(const char* t, unsigned long n, unsigned long pos,
                        std::vector<Attr>& attrs) {
    while (pos < n) {
        while (pos < n && (IsSpace(t[pos]) || t[pos] == '/')) {
            ++pos;
        }
        if (pos >= n) {
            return n;
        }
        if (t[pos] == '>') {
            return pos + 1;
        }
        if (t[pos] == '<') {
            return pos;  // an unclosed tag ends where the next one starts
        }
        Attr a{pos, pos, false, 0, 0, '\0'};
        while (pos < n && !IsSpace(t[pos]) && t[pos] != '=' && t[pos] != '>' && t[pos] != '<') {
            ++pos;
        }
        a.nameEnd = pos;
        if (a.nameEnd == a.nameStart) {
            ++pos;  // a stray byte such as a lone quote
            continue;
        }
        unsigned long look = pos;
        while (look < n && IsSpace(t[look])) {
            ++look;
        }
        if (look < n && t[look] == '=') {
            pos = look + 1;
            while (pos < n && IsSpace(t[pos])) {
                ++pos;
            }
            a.hasValue = true;
            if (pos < n && (t[pos] == '"' || t[pos] == '\'')) {
                a.quote = t[pos];
                a.valueStart = ++pos;
                while (pos < n && t[pos] != a.quote) {
                    ++pos;
                }
                a.valueEnd = pos;
                if (pos < n) {
                    ++pos;
                }
            } else {
                a.valueStart = pos;
                while (pos < n && !IsSpace(t[pos]) && t[pos] != '>' && t[pos] != '<') {
                    ++pos;
                }
                a.valueEnd = pos;
            }
        }
        attrs.push_back(a);
    }
    return n;
}

const Attr* FindAttr(const char* t, const std::vector<Attr>& attrs, const MString& name) {
    for (const Attr& a : attrs) {
        if (SameNoCase(t + a.nameStart, a.nameEnd - a.nameStart, name)) {
            return &a;
        }
    }
    return nullptr;
}

}  // namespace

bool CHTMLTagSearch::FindTag(char* text, unsigned long length, const MString& tagName,
                             const MString& attrName, const MString& attrValue,
                             const MString& reportAttr, unsigned int occurrence,
                             TagPositionData& result) {
    if (text == nullptr || tagName.empty()) {
        return false;
    }
    const char* t = text;
    const unsigned long n = length;
    unsigned int wanted = occurrence == 0 ? 1 : occurrence;
    std::vector<Attr> attrs;
    unsigned long pos = 0;
    while (pos < n) {
        if (t[pos] != '<') {
            ++pos;
            continue;
        }
        const unsigned long start = pos;
        if (pos + 1 >= n) {
            break;
        }
        const char next = t[pos + 1];
        if (next == '!') {
            pos = (pos + 3 < n && t[pos + 2] == '-' && t[pos + 3] == '-')
                      ? SkipPast(t, n, pos + 4, "-->")
                      : SkipPast(t, n, pos + 2, ">");
            continue;
        }
        if (next == '?' || next == '/') {
            pos = SkipPast(t, n, pos + 2, ">");
            continue;
        }
        if (!IsAlpha(next)) {
            ++pos;
            continue;
        }
        unsigned long nameEnd = pos + 1;
        while (nameEnd < n && !IsSpace(t[nameEnd]) && t[nameEnd] != '>' && t[nameEnd] != '/' &&
               t[nameEnd] != '<') {
            ++nameEnd;
        }
        attrs.clear();
        const unsigned long end = ReadAttrs(t, n, nameEnd, attrs);
        pos = end > start ? end : start + 1;
        if (!SameNoCase(t + start + 1, nameEnd - start - 1, tagName)) {
            continue;
        }
        if (!attrName.empty()) {
            const Attr* a = FindAttr(t, attrs, attrName);
            if (a == nullptr) {
                continue;
            }
            if (!attrValue.empty()) {
                const unsigned long len = a->hasValue ? a->valueEnd - a->valueStart : 0;
                if (len != attrValue.size() ||
                    std::memcmp(t + a->valueStart, attrValue.data(), len) != 0) {
                    continue;
                }
            }
        }
        if (--wanted > 0) {
            continue;
        }
        TagPositionData found;
        found.tagStart = start;
        found.tagEnd = end;
        const MString& report = reportAttr.empty() ? attrName : reportAttr;
        if (!report.empty()) {
            if (const Attr* r = FindAttr(t, attrs, report)) {
                found.attrFound = true;
                found.attrHasValue = r->hasValue;
                found.valueStart = r->hasValue ? r->valueStart : r->nameEnd;
                found.valueEnd = r->hasValue ? r->valueEnd : r->nameEnd;
                found.quote = r->quote;
            }
        }
        result = found;
        return true;
    }
    return false;
}

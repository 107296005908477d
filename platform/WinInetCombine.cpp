// Resolving a relative URL against a base URL, then canonicalising the
// result in the URL form (file URLs as "file:///C:/dir/x").
#include <string>

#include "webstep/platform/internal/WinInetInternal.h"

namespace webstep::platform {

namespace {

bool IsSep(char c) {
    return c == '/' || c == '\\';
}
bool IsAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z')
            x = char(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z')
            y = char(y - 'A' + 'a');
        if (x != y)
            return false;
    }
    return true;
}

// Position of the colon ending a scheme, or npos when the text has none.
std::size_t SchemeEnd(std::string_view s) {
    std::size_t colon = s.find(':');
    if (colon == std::string_view::npos)
        return colon;
    for (std::size_t i = 0; i < colon; ++i)
        if (!IsSchemeChar(s[i]))
            return std::string_view::npos;
    return colon;
}

bool IsOpaqueScheme(std::string_view scheme) {
    static const char* const kOpaque[] = {"mailto", "javascript", "vbscript", "about", "shell"};
    for (const char* o : kOpaque)
        if (EqualsNoCase(scheme, o))
            return true;
    return false;
}

// The directory of a path: up to and including its last "/".
std::string_view Directory(std::string_view path) {
    std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash + 1);
}

// With backslashRelative, a leading backslash does not root the path.
std::string Merge(const std::string& base, std::string_view rel, bool backslashRelative) {
    std::size_t colon = base.find(':');
    std::string_view scheme = std::string_view(base).substr(0, colon);
    std::string_view rest = std::string_view(base).substr(colon + 1);
    std::string_view withoutFragment = std::string_view(base).substr(0, base.find('#'));
    if (!rel.empty() && rel[0] == '#')
        return std::string(withoutFragment) + std::string(rel);

    // A compiled-help moniker: paths are relative to what follows "::".
    std::size_t storage = rest.find("::");
    if (EqualsNoCase(scheme, "mk") && storage != std::string_view::npos) {
        std::string root = "mk:" + std::string(rest.substr(0, storage + 2));
        std::string_view inner = rest.substr(storage + 2);
        inner = inner.substr(0, inner.find_first_of("?#"));
        if (!rel.empty() && IsSep(rel[0]))
            return root + std::string(rel);
        return root + std::string(Directory(inner)) + std::string(rel);
    }

    // Opaque bases ("mailto:x", "sc:sd"): the relative text replaces the rest.
    if (IsOpaqueScheme(scheme) || rest.empty() || rest[0] != '/')
        return std::string(scheme) + ":" + std::string(rel);

    std::string prefix = std::string(scheme) + ":";
    std::string_view path = rest;
    if (rest.size() >= 2 && rest[1] == '/') {
        std::size_t end = rest.find_first_of("/?#", 2);
        if (end == std::string_view::npos)
            end = rest.size();
        prefix += std::string(rest.substr(0, end));
        path = rest.substr(end);
    }
    path = path.substr(0, path.find_first_of("?#"));
    std::string dir(Directory(path));
    if (dir.empty())
        dir = "/";

    if (rel.empty())
        return prefix + dir;
    if (backslashRelative && rel[0] == '\\')
        return prefix + dir + std::string(rel);
    if (rel.size() >= 2 && IsSep(rel[0]) && IsSep(rel[1]))
        return std::string(scheme) + ":" + std::string(rel);
    if (IsSep(rel[0]))
        return prefix + std::string(rel);
    return prefix + dir + std::string(rel);
}

}  // namespace

std::string CombineUrl(std::string_view baseUrl, std::string_view relativeUrl, DWORD flags) {
    (void)flags;
    // Tabs and line ends go; trailing blanks go; leading blanks of the
    // relative part stay (they make it a path, never a scheme).
    std::string rel;
    for (char c : relativeUrl)
        if (c != '\t' && c != '\r' && c != '\n')
            rel += c;
    while (!rel.empty() && static_cast<unsigned char>(rel.back()) <= 0x20)
        rel.pop_back();

    std::size_t relScheme = SchemeEnd(rel);
    if (rel.size() >= 1 && rel[0] == ':')
        return CanonicalizeUrlForm(rel, true);

    std::string base = CanonicalizeUrlForm(baseUrl, true);
    std::size_t baseScheme = SchemeEnd(base);
    bool backslashRelative = false;
    if (relScheme != std::string::npos) {
        bool drive = relScheme == 1 && IsAlpha(rel[0]);
        std::string_view relRest = std::string_view(rel).substr(relScheme + 1);
        bool sameScheme = !drive && baseScheme != std::string::npos &&
                          EqualsNoCase(std::string_view(rel).substr(0, relScheme),
                                       std::string_view(base).substr(0, baseScheme));
        if (!sameScheme || (relRest.size() >= 2 && relRest[0] == '/' && relRest[1] == '/'))
            return CanonicalizeUrlForm(rel, true);
        // The base's own scheme without an authority: the rest is relative.
        rel = std::string(relRest);
        backslashRelative = true;
    }
    if (baseScheme == std::string::npos || baseScheme == 0)
        return CanonicalizeUrlForm(rel, true);
    return CanonicalizeUrlForm(Merge(base, rel, backslashRelative), true);
}

BOOL InternetCombineUrlA(LPCSTR lpszBaseUrl, LPCSTR lpszRelativeUrl, LPSTR lpszBuffer,
                         LPDWORD lpdwBufferLength, DWORD dwFlags) {
    if (lpszBaseUrl == nullptr || lpszRelativeUrl == nullptr || lpdwBufferLength == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    // A buffer that is too small reports ERROR_INSUFFICIENT_BUFFER, as the
    // Windows documentation states.
    return CopyResult(CombineUrl(lpszBaseUrl, lpszRelativeUrl, dwFlags), lpszBuffer,
                      lpdwBufferLength, true);
}

}  // namespace webstep::platform

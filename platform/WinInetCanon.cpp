// Canonicalising a URL as the Windows service does without encoding:
// whitespace clean-up, lower-case scheme, dot segments, separators and the
// file-URL forms. How far each step goes depends on the class of the scheme.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "webstep/platform/internal/WinInetInternal.h"

namespace webstep::platform {

namespace {

bool IsSep(char c) {
    return c == '/' || c == '\\';
}
bool IsAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
char Lower(char c) {
    return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
}
std::string LowerCopy(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        c = Lower(c);
    return out;
}
bool EqualsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && LowerCopy(a) == LowerCopy(b);
}

// "X:" or "X|" at the start.
bool StartsWithDrive(std::string_view s) {
    return s.size() >= 2 && IsAlpha(s[0]) && (s[1] == ':' || s[1] == '|');
}

enum class SchemeClass {
    Web,      // backslashes become slashes; a path starting with a dot
              // segment is left alone; excess ".." disappear
    Plain,    // like Web but backslashes are kept (they separate segments)
    Unknown,  // only "/" separates; excess ".." are kept
    Opaque,   // left as it stands
    Moniker   // "mk:" monikers
};

SchemeClass Classify(const std::string& scheme) {
    static const char* const kWeb[] = {"http", "https",  "gopher", "news",
                                       "nntp", "telnet", "snews"};
    static const char* const kPlain[] = {"ftp", "wais", "local", "res"};
    static const char* const kOpaque[] = {"mailto", "javascript", "vbscript", "about", "shell"};
    for (const char* s : kWeb)
        if (scheme == s)
            return SchemeClass::Web;
    for (const char* s : kPlain)
        if (scheme == s)
            return SchemeClass::Plain;
    for (const char* s : kOpaque)
        if (scheme == s)
            return SchemeClass::Opaque;
    if (scheme == "mk")
        return SchemeClass::Moniker;
    return SchemeClass::Unknown;
}

struct PathRules {
    bool backslashSeparates = false;  // "\" ends a segment as "/" does
    char outSep = 0;                  // every separator becomes this (0: kept)
    bool keepExcessDotDot = false;    // ".." with nothing before it stays
    bool rootPoppable = false;        // a leading separator can be removed by ".."
    bool slashWhenEmpty = false;      // a path that dot segments emptied is "/"
    bool dotNeedsSlash = false;       // a dot segment must end in "/" (or the end)
    bool leaveIfFirstIsDot = false;   // a path whose first segment is a dot segment is kept
};

struct Segment {
    std::string_view name;
    char sep;  // the separator after it, 0 at the end
};

bool IsDotName(std::string_view n) {
    return n == "." || n == "..";
}

std::string ProcessPath(std::string_view path, const PathRules& rules) {
    auto isSep = [&](char c) { return c == '/' || (rules.backslashSeparates && c == '\\'); };
    auto conv = [&](char c) {
        return (rules.outSep && IsSep(c) && (c == '/' || rules.backslashSeparates)) ? rules.outSep
                                                                                    : c;
    };
    // Most paths have no dot segment: only their separators may change.
    bool hasDotSegment = false;
    for (const void* dot = path.empty() ? nullptr : std::memchr(path.data(), '.', path.size());
         dot != nullptr && !hasDotSegment;) {
        const std::size_t k = static_cast<std::size_t>(static_cast<const char*>(dot) - path.data());
        if (k == 0 || isSep(path[k - 1])) {
            std::size_t e = k + 1 < path.size() && path[k + 1] == '.' ? k + 2 : k + 1;
            hasDotSegment = e == path.size() || isSep(path[e]);
        }
        dot = std::memchr(path.data() + k + 1, '.', path.size() - k - 1);
    }
    if (!hasDotSegment) {
        std::string out(path);
        if (rules.outSep)
            for (char& c : out)
                c = conv(c);
        return out;
    }
    std::string root;
    std::size_t i = 0;
    if (!path.empty() && isSep(path[0]) && !rules.rootPoppable) {
        root.assign(1, conv(path[0]));
        i = 1;
    }
    std::vector<Segment> segments;
    while (i <= path.size()) {
        std::size_t j = i;
        while (j < path.size() && !isSep(path[j]))
            ++j;
        segments.push_back({path.substr(i, j - i), j < path.size() ? path[j] : char(0)});
        if (j >= path.size())
            break;
        i = j + 1;
        if (i == path.size()) {
            segments.push_back({std::string_view(), 0});
            break;
        }
    }
    if (segments.size() == 1 && segments[0].name.empty() && segments[0].sep == 0)
        segments.clear();
    if (rules.leaveIfFirstIsDot && !segments.empty() && IsDotName(segments[0].name)) {
        std::string out(path);
        for (char& c : out)
            c = conv(c);
        return out;
    }
    std::vector<Segment> out;
    bool lastWasDot = false;
    for (const Segment& s : segments) {
        bool dot = IsDotName(s.name) && (!rules.dotNeedsSlash || s.sep != '\\');
        if (!dot) {
            out.push_back(s);
            lastWasDot = false;
            continue;
        }
        lastWasDot = true;
        if (s.name == ".")
            continue;
        if (!out.empty() && out.back().name != "..")
            out.pop_back();
        else if (rules.keepExcessDotDot)
            out.push_back(s);
    }
    std::string result = root;
    for (const Segment& s : out) {
        result.append(s.name);
        if (s.sep)
            result += conv(s.sep);
    }
    // A path that ended in a dot segment ends in a separator.
    char slash = rules.outSep ? rules.outSep : '/';
    if (lastWasDot && !result.empty() && !IsSep(result.back()))
        result += slash;
    if (result.empty() && rules.slashWhenEmpty && !path.empty())
        result += slash;
    return result;
}

// Splits at the query and fragment. With reorder, a fragment that comes
// before the query is moved behind it ("a#f?q" gives "a?q#f").
struct Tail {
    std::string_view body;
    std::string suffix;
};

Tail SplitTail(std::string_view s, bool reorder) {
    std::size_t q = s.find('?');
    std::size_t h = s.find('#');
    Tail t;
    if (q == std::string_view::npos && h == std::string_view::npos) {
        t.body = s;
        return t;
    }
    if (reorder && h != std::string_view::npos && q != std::string_view::npos && h < q) {
        t.body = s.substr(0, h);
        t.suffix = std::string(s.substr(q)) + std::string(s.substr(h, q - h));
        return t;
    }
    std::size_t cut = std::min(q, h);
    t.body = s.substr(0, cut);
    t.suffix = std::string(s.substr(cut));
    return t;
}

// ---------------------------------------------------------------------------
// file: URLs and DOS paths

PathRules FileRules() {
    PathRules r;
    r.backslashSeparates = true;
    r.outSep = '\\';
    r.keepExcessDotDot = true;
    return r;
}

bool EndsWithHtml(std::string_view s) {
    std::string l = LowerCopy(s);
    return (l.size() >= 4 && l.compare(l.size() - 4, 4, ".htm") == 0) ||
           (l.size() >= 5 && l.compare(l.size() - 5, 5, ".html") == 0);
}

bool HasDotDotSegment(std::string_view s) {
    for (std::size_t i = 0; i + 1 < s.size(); ++i) {
        if (s[i] == '.' && s[i + 1] == '.' && (i == 0 || IsSep(s[i - 1])) &&
            (i + 2 == s.size() || IsSep(s[i + 2])))
            return true;
    }
    return false;
}

// Query and fragment of a file path. After an HTML file name a "#" starts a
// fragment that is kept as it stands (and goes behind a query); elsewhere
// it starts one only when no ".." segment follows, and that fragment has
// its dot segments resolved with "/" separators. Otherwise "#" is an
// ordinary path character.
Tail SplitFileTail(std::string_view s, bool serverOnly) {
    Tail t;
    std::size_t q = s.find('?');
    std::string_view head = s.substr(0, q);
    std::string query = q == std::string_view::npos ? std::string() : std::string(s.substr(q));
    std::size_t h = head.find('#');
    if (h != std::string_view::npos) {
        std::string_view fragment = head.substr(h);
        std::string_view before = head.substr(0, h);
        bool afterDotSegment =
            (before.size() >= 2 && before.back() == '.' && IsSep(before[before.size() - 2])) ||
            (before.size() >= 3 && before.compare(before.size() - 2, 2, "..") == 0 &&
             IsSep(before[before.size() - 3]));
        if (!serverOnly && EndsWithHtml(before)) {
            t.body = head.substr(0, h);
            t.suffix = query + std::string(fragment);
            return t;
        }
        if (serverOnly || (!afterDotSegment && !HasDotDotSegment(fragment))) {
            std::string converted(fragment.substr(1));
            for (char& c : converted)
                if (c == '\\')
                    c = '/';
            PathRules r;
            r.keepExcessDotDot = true;
            t.body = head.substr(0, h);
            t.suffix = "#" + ProcessPath(converted, r) + query;
            return t;
        }
    }
    t.body = head;
    t.suffix = query;
    return t;
}

// "X:" followed by a path; text right after the drive (without a
// separator) belongs to the drive root.
std::string DrivePath(std::string_view s) {
    std::string out(s.substr(0, 2));
    std::string_view rest = s.substr(2);
    if (!rest.empty() && !IsSep(rest[0])) {
        std::size_t j = 0;
        while (j < rest.size() && !IsSep(rest[j]))
            ++j;
        out.append(rest.substr(0, j));
        rest = rest.substr(j);
        if (rest.empty())
            return out;
        out += '\\';
        rest = rest.substr(1);
        PathRules r = FileRules();
        r.rootPoppable = true;
        std::string p = ProcessPath(rest, r);
        return out + p;
    }
    return out + ProcessPath(rest, FileRules());
}

std::string FilePath(std::string_view s) {
    // "//server#..." : a fragment right after the server name.
    bool serverOnly = false;
    if (s.size() >= 2 && IsSep(s[0]) && IsSep(s[1]) && (s.size() == 2 || !IsSep(s[2]))) {
        std::size_t k = 2;
        while (k < s.size() && !IsSep(s[k]) && s[k] != '#' && s[k] != '?')
            ++k;
        serverOnly = k < s.size() && s[k] == '#';
    }
    Tail tail = SplitFileTail(s, serverOnly);
    if (serverOnly)
        return "file://\\\\" + std::string(tail.body.substr(2)) + tail.suffix;
    std::string_view body = tail.body;
    std::size_t n = 0;
    while (n < body.size() && IsSep(body[n]))
        ++n;
    std::string_view rest = body.substr(n);
    std::string out;
    if (n == 0) {
        if (StartsWithDrive(rest))
            return "file://" + DrivePath(rest) + tail.suffix;
        PathRules r = FileRules();
        r.rootPoppable = true;
        return "file:" + ProcessPath(rest, r) + tail.suffix;
    }
    if (StartsWithDrive(rest))
        return "file://" + DrivePath(rest) + tail.suffix;
    if (n == 1 || n == 3)
        return "file://" + ProcessPath(body.substr(n - 1), FileRules()) + tail.suffix;
    // Two or four and more separators: a server name follows.
    std::size_t j = 0;
    while (j < rest.size() && !IsSep(rest[j]))
        ++j;
    std::string_view host = rest.substr(0, j);
    std::string_view after = rest.substr(j);
    if (host.empty())
        return "file://" +
               ProcessPath(after.empty() ? std::string_view("\\") : after, FileRules()) +
               tail.suffix;
    std::string_view afterOne = after.empty() ? after : after.substr(1);
    if (StartsWithDrive(afterOne))
        return "file://" + DrivePath(afterOne) + tail.suffix;
    if (EqualsNoCase(host, "localhost")) {
        // The local host is dropped with one of the separators after it.
        std::string_view local = after.size() >= 2 && IsSep(after[1]) ? afterOne : after;
        return "file://" +
               ProcessPath(local.empty() ? std::string_view("\\") : local, FileRules()) +
               tail.suffix;
    }
    if (StartsWithDrive(host))
        return "file://" + DrivePath(rest) + tail.suffix;
    std::string path = ProcessPath(after.empty() ? std::string_view("\\") : after, FileRules());
    return "file://\\\\" + std::string(host) + path + tail.suffix;
}

// The URL form of file paths that combining produces ("file:///C:/x").

PathRules UrlPathRules() {
    PathRules r;
    r.leaveIfFirstIsDot = true;
    return r;
}

// "X:" and what follows; text glued to the drive is a segment of its own
// that ".." can remove.
std::string UrlDrivePath(std::string_view d) {
    std::string root(d.substr(0, 2));
    std::string_view r = d.substr(2);
    if (r.empty())
        return root;
    if (r[0] == '/')
        return root + ProcessPath(r, UrlPathRules());
    PathRules glued;
    glued.rootPoppable = true;
    return root + ProcessPath(r, glued);
}

std::string UrlPath(std::string_view p) {
    if (StartsWithDrive(p.substr(1)))
        return "/" + UrlDrivePath(p.substr(1));
    return ProcessPath(p, UrlPathRules());
}

std::string FileUrlForm(std::string_view rest) {
    Tail t = SplitTail(rest, false);
    std::string body(t.body);
    for (char& c : body)
        if (c == '\\')
            c = '/';
    std::size_t n = 0;
    while (n < body.size() && body[n] == '/')
        ++n;
    if (n == 0) {
        if (StartsWithDrive(body))
            return "file:///" + UrlDrivePath(body) + t.suffix;
        PathRules r;
        r.rootPoppable = true;
        return "file:" + ProcessPath(body, r) + t.suffix;
    }
    if (n == 1 || n == 3)
        return "file://" + UrlPath(std::string_view(body).substr(n - 1)) + t.suffix;
    // Two separators, or four and more (taken as two): a server name.
    std::string_view server = std::string_view(body).substr(n);
    std::size_t j = server.find('/');
    std::string_view host = server.substr(0, j == std::string_view::npos ? server.size() : j);
    std::string_view path = j == std::string_view::npos ? std::string_view() : server.substr(j);
    if (host.size() == 2 && StartsWithDrive(host))
        return "file:///" + UrlDrivePath(server) + t.suffix;
    return "file://" + std::string(host) + (path.empty() ? std::string("/") : UrlPath(path)) +
           t.suffix;
}

// ---------------------------------------------------------------------------

std::string CanonHierarchical(const std::string& scheme, SchemeClass cls, std::string_view rest) {
    // rest starts after the two separators of the authority.
    std::size_t j = 0;
    while (j < rest.size() && rest[j] != '/' && rest[j] != '?' && rest[j] != '#')
        ++j;
    std::string host(rest.substr(0, j));
    if (scheme == "http" || scheme == "https" || scheme == "ftp")
        host = LowerCopy(host);
    Tail tail = SplitTail(rest.substr(j), cls == SchemeClass::Unknown);
    PathRules r;
    r.backslashSeparates = cls == SchemeClass::Plain;
    r.keepExcessDotDot = cls == SchemeClass::Unknown;
    r.leaveIfFirstIsDot = cls != SchemeClass::Unknown;
    std::string path = ProcessPath(tail.body, r);
    if (path.empty())
        path = "/";
    return host + path + tail.suffix;
}

std::string CanonRelative(std::string_view s) {
    // A single backslash after the leading slash is dropped.
    std::string fixed;
    if (s.size() >= 2 && s[0] == '/' && s[1] == '\\') {
        fixed = "/" + std::string(s.substr(2));
        s = fixed;
        Tail t = SplitTail(s, true);
        PathRules r;
        r.keepExcessDotDot = true;
        r.slashWhenEmpty = true;
        return ProcessPath(t.body, r) + t.suffix;
    }
    if (s.size() >= 2 && s[0] == '/' && s[1] == '/') {
        std::string_view rest = s.substr(2);
        std::size_t j = 0;
        while (j < rest.size() && rest[j] != '/' && rest[j] != '?' && rest[j] != '#')
            ++j;
        Tail t = SplitTail(rest.substr(j), true);
        PathRules r;
        r.keepExcessDotDot = true;
        std::string path = ProcessPath(t.body, r);
        if (path.empty())
            path = "/";
        return "//" + std::string(rest.substr(0, j)) + path + t.suffix;
    }
    Tail t = SplitTail(s, true);
    PathRules r;
    r.keepExcessDotDot = true;
    r.slashWhenEmpty = true;
    return ProcessPath(t.body, r) + t.suffix;
}

std::string CanonMoniker(std::string_view rest) {
    if (!rest.empty() && rest[0] == '@') {
        std::size_t j = rest.find('/');
        if (j == std::string_view::npos)
            return "mk:" + std::string(rest) + "/";
        Tail t = SplitTail(rest.substr(j), false);
        PathRules r;
        r.backslashSeparates = true;
        r.dotNeedsSlash = true;
        r.leaveIfFirstIsDot = true;
        return "mk:" + std::string(rest.substr(0, j)) + ProcessPath(t.body, r) + t.suffix;
    }
    Tail t = SplitTail(rest, false);
    PathRules r;
    r.backslashSeparates = true;
    r.dotNeedsSlash = true;
    r.rootPoppable = true;
    return "mk:" + ProcessPath(t.body, r) + t.suffix;
}

}  // namespace

std::string CanonicalizeUrl(std::string_view url, DWORD flags) {
    (void)flags;
    return CanonicalizeUrlForm(url, false);
}

std::string CanonicalizeUrlForm(std::string_view url, bool fileUrlForm) {
    // Leading and trailing blanks and control characters go; tabs and line
    // ends go everywhere.
    std::size_t b = 0, e = url.size();
    while (b < e && static_cast<unsigned char>(url[b]) <= 0x20)
        ++b;
    while (e > b && static_cast<unsigned char>(url[e - 1]) <= 0x20)
        --e;
    std::string s(url.substr(b, e - b));
    // Most URLs have none of them: three byte searches say so quickly.
    if (std::memchr(s.data(), '\t', s.size()) != nullptr ||
        std::memchr(s.data(), '\r', s.size()) != nullptr ||
        std::memchr(s.data(), '\n', s.size()) != nullptr) {
        s.erase(std::remove_if(s.begin(), s.end(),
                               [](char c) { return c == '\t' || c == '\r' || c == '\n'; }),
                s.end());
    }

    if (s.size() >= 2 && s[0] == '\\' && s[1] == '\\')
        return fileUrlForm ? FileUrlForm(s) : FilePath(s);
    if (StartsWithDrive(s))
        return fileUrlForm ? FileUrlForm(s) : "file://" + FilePath(s).substr(7);

    // A scheme ends at the first ":" that no "/", "\\", "?" or "#" precedes.
    std::size_t colon = 0;
    while (colon < s.size() && s[colon] != ':' && s[colon] != '/' && s[colon] != '\\' &&
           s[colon] != '?' && s[colon] != '#')
        ++colon;
    if (colon == 0 || colon == s.size() || s[colon] != ':')
        return CanonRelative(s);

    std::string scheme = LowerCopy(std::string_view(s).substr(0, colon));
    std::string_view rest = std::string_view(s).substr(colon + 1);
    bool validScheme = !scheme.empty();
    for (char c : scheme)
        if (!IsSchemeChar(c))
            validScheme = false;
    if (scheme == "file")
        return fileUrlForm ? FileUrlForm(rest) : FilePath(rest);
    SchemeClass cls = Classify(scheme);
    if (!validScheme)
        cls = SchemeClass::Unknown;
    if (cls == SchemeClass::Opaque)
        return scheme + ":" + std::string(rest);
    if (cls == SchemeClass::Moniker)
        return CanonMoniker(rest);

    std::string work(rest);
    if (cls == SchemeClass::Web && std::memchr(work.data(), '\\', work.size()) != nullptr) {
        // Backslashes become slashes up to the query or fragment.
        for (char& c : work) {
            if (c == '?' || c == '#')
                break;
            if (c == '\\')
                c = '/';
        }
    }
    bool marker = validScheme && work.size() >= 2 &&
                  ((work[0] == '/' && work[1] == '/') ||
                   (cls == SchemeClass::Plain && IsSep(work[0]) && IsSep(work[1])));
    if (marker) {
        std::string out;
        out.reserve(work.size() + scheme.size() + 2);
        out.append(scheme).append(":").append(work, 0, 2);
        out.append(CanonHierarchical(scheme, cls, std::string_view(work).substr(2)));
        return out;
    }

    // A path without authority.
    if (cls == SchemeClass::Unknown) {
        Tail t = SplitTail(work, true);
        std::string_view body = t.body;
        std::string fixed;
        if (body.size() >= 2 && body[0] == '/' && body[1] == '\\') {
            fixed = "/" + std::string(body.substr(2));
            body = fixed;
        }
        if (body == ".")
            return scheme + ":" + t.suffix;
        if (body.empty() || body[0] != '/')
            return scheme + ":" + std::string(body) + t.suffix;
        PathRules r;
        r.keepExcessDotDot = true;
        return scheme + ":" + ProcessPath(body, r) + t.suffix;
    }
    Tail t = SplitTail(work, false);
    PathRules r;
    r.backslashSeparates = cls == SchemeClass::Plain;
    r.rootPoppable = true;
    return scheme + ":" + ProcessPath(t.body, r) + t.suffix;
}

BOOL CopyResult(const std::string& result, LPSTR buffer, LPDWORD length, bool setError) {
    if (length == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (buffer == nullptr || *length <= result.size()) {
        *length = static_cast<DWORD>(result.size() + 1);
        if (setError)
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    std::memcpy(buffer, result.data(), result.size());
    buffer[result.size()] = '\0';
    *length = static_cast<DWORD>(result.size());
    return TRUE;
}

BOOL InternetCanonicalizeUrlA(LPCSTR lpszUrl, LPSTR lpszBuffer, LPDWORD lpdwBufferLength,
                              DWORD dwFlags) {
    if (lpszUrl == nullptr || lpdwBufferLength == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return CopyResult(CanonicalizeUrl(lpszUrl, dwFlags), lpszBuffer, lpdwBufferLength, true);
}

}  // namespace webstep::platform

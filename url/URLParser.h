#pragma once
// Takes a URL apart (scheme, host, port, user, password, directory, file,
// extra information) and prints it back in several forms; resolves relative
// URLs and builds URLs from parts. Plain http and https URLs are taken apart
// in one pass; anything else is split by the platform URL services.
#include <cstdint>
#include <map>
#include <string_view>

#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/platform/WinInet.h"

/// One known URL scheme: name, tag and default port. Records of the
/// process-wide scheme table, never freed.
struct WEBSTEP_API SchemeDescr {
    MString name;
    MString separator;
    std::int32_t hierarchical;
    std::uint16_t defaultPort;
};

/// The process-wide table of known schemes; the tag of a scheme is its index.
class WEBSTEP_API InternetSchemeMap {
public:
    struct AuxRow {
        const char* name;
        const char* separator;
        std::int32_t hierarchical;
        std::uint16_t defaultPort;
    };

    InternetSchemeMap();
    ~InternetSchemeMap();
    /// The process-wide instance, built on first use.
    static InternetSchemeMap& Instance();
    InternetSchemeMap(const InternetSchemeMap&) = delete;
    InternetSchemeMap& operator=(const InternetSchemeMap&) = delete;

    /// The "unknown" entry when the name is not in the table.
    SchemeDescr* GetDescr(const char* name);
    /// The entry at that index (unchecked).
    SchemeDescr* GetDescr(long tag);
    long GetTag(SchemeDescr* descr);
    bool IsUnknown(SchemeDescr* descr);

    static SchemeDescr* m_SchemeDescrArray;
    static const long m_SchemeDescrArraySize;
    static const AuxRow m_SchemeDescrAuxArray[];
    static std::map<MString, SchemeDescr*>* m_SchemeNameMap;

private:
    struct ProcessWide {};
    explicit InternetSchemeMap(ProcessWide);
    bool m_owner = false;
};

/// The shared table, built on first use.
WEBSTEP_API InternetSchemeMap& TheInternetSchemeMap();

/// A URL split into scheme, user, password, host, port, path, file, search
/// and label, built from an absolute URL, a base and a relative URL, or host
/// and path parts. A value class; it holds URLs of up to 104 bytes without
/// an allocation (an object is about 200 bytes). The Create functions return
/// 0 on failure; IsValid() tells whether the text was a URL, and the getters
/// of an invalid URL give empty texts and port 0. The cracking function behind it is
/// process-wide and replaceable (SetInternetCrackURLFunc).
class WEBSTEP_API CURLParser {
public:
    using CrackFunc = webstep::platform::BOOL (*)(webstep::platform::LPCSTR,
                                                  webstep::platform::DWORD,
                                                  webstep::platform::DWORD,
                                                  webstep::platform::URL_COMPONENTSA*);

    /// Printing options.
    enum { LABEL = 1, SEARCH = 2, USERINFO = 4 };

    CURLParser();
    explicit CURLParser(const char* url);
    CURLParser(const CURLParser& base, const char* url);
    CURLParser(const char* server, const char* fullPath, const char* scheme);
    CURLParser(const char* host, unsigned int port, const char* fullPath, const char* scheme);
    CURLParser(const char* server, const char* path, const char* ignored, const char* scheme,
               const char* userInfo, const char* sixth, const char* search);
    CURLParser(const char* host, unsigned int port, const char* path, const char* ignored,
               const char* scheme, const char* userInfo, const char* sixth, const char* search);
    CURLParser(const CURLParser& other) = default;
    CURLParser& operator=(const CURLParser& other) = default;

    int Create(const CURLParser& base, const char* url);
    int CreateFromAbsoluteURL(const char* url);
    int CreateFromFullURLName(const char* url) { return CreateFromAbsoluteURL(url); }
    int CreateFromRelativeURL(const CURLParser& base, const char* url);
    int CreateFromServerAndFullPath(const char* server, const char* fullPath, const char* scheme);
    int CreateFromHostAndFullPath(const char* host, unsigned int port, const char* fullPath,
                                  const char* scheme);
    int CreateFromServerAndURLParts(const char* server, const char* path, const char* ignored,
                                    const char* scheme, const char* userInfo, const char* sixth,
                                    const char* search);
    int CreateFromHostAndURLParts(const char* host, unsigned int port, const char* path,
                                  const char* ignored, const char* scheme, const char* userInfo,
                                  const char* sixth, const char* search);

    MString GetProtocol() const;
    MString GetHost() const;
    MString GetMail() const;
    MString GetUserNameA() const;
    MString GetPassword() const;
    MString GetPath() const;
    MString GetFile() const;
    unsigned int GetPortInt() const;
    MString GetPortString() const;
    MString GetServer() const;
    MString GetSearch() const;
    MString GetLabel() const;
    MString GetFullPath() const;
    MString GetFullPathWithLabel() const;
    MString GetFullPathWithSearch() const;
    MString GetFullPathWithLabelAndSearch() const;
    MString GetFullURL() const;
    MString GetFullURLWithSearch() const;
    MString GetFullURLWithLabelAndSearch() const;
    MString GetSimplifiedHost() const;
    bool IsValid() const { return m_valid != 0; }
    bool IsWellKnownScheme() const;
    bool HasExplicitPort() const { return m_valid && m_explicitPort; }
    MString GetExtraInfo() const { return m_valid ? MString(Part(m_extraPart)) : MString(); }

    /// Prints the URL with the given options into text (without user
    /// information unless USERINFO is set); returns its length.
    int ToStringRep(MString& text, int options) const;
    int EstimateStringRepSize(int options) const;

    /// Normalises the dot segments of a URL path in place: "./" disappears,
    /// "../" disappears without removing the segment before it.
    static void NormalizePath(MString& path);

    static void SetInternetCrackURLFunc(CrackFunc func) { lpfncInternetCrackURL = func; }
    static void ResetInternetCrackURLFunc() {
        lpfncInternetCrackURL = &webstep::platform::InternetCrackUrlA;
    }
    static CrackFunc lpfncInternetCrackURL;

private:
    // The text the parts are ranges of: held in the parser itself up to a
    // size that most URLs fit in, on the heap beyond, so that taking a URL
    // apart allocates nothing in the common case.
    class CPartsText {
    public:
        CPartsText() noexcept : m_data(m_inline) {}
        CPartsText(const CPartsText& other);
        CPartsText& operator=(const CPartsText& other);
        ~CPartsText();
        const char* data() const { return m_data; }
        char* data() { return m_data; }
        std::size_t size() const { return m_size; }
        void clear() { m_size = 0; }
        void reserve(std::size_t capacity);
        CPartsText& append(const char* text, std::size_t length);
        CPartsText& append(std::string_view text) { return append(text.data(), text.size()); }
        void insert(std::size_t at, char c);
        void erase(std::size_t at, std::size_t length);
        void swap(CPartsText& other);

    private:
        static constexpr std::size_t kInline = 104;
        char* m_data;
        std::size_t m_size = 0;
        std::size_t m_capacity = kInline;
        char m_inline[kInline];
    };

    void Clear();
    int CreateFromCanonicalText(const char* text, const char* portSearchText);
    // Absolute creation through the platform URL services.
    int CreateFromAbsoluteURLGenerally(const char* url);
    /// The common case of an http or https URL, taken apart in one pass
    /// (with the clean-up canonicalization would do: backslashes, dot
    /// segments, the "/" of an empty path); false for anything else, which
    /// then goes the general way. The plainest URLs, which need no clean-up,
    /// are only measured, 16 bytes at a time where SSE2 is available.
    bool TakeSimpleURL(std::string_view url);
    bool TakeSimpleRelativeURL(const CURLParser& base, const char* url);
    // The one-pass check and split of the URL text in buf (it may be
    // rewritten); colonEnd follows the scheme's colon, hostEnd is 0 unless
    // known, the bytes before checkFrom are known to be plain, and the
    // explicit port is looked for in portText or, when it has no data, in the
    // text as taken apart. On success the text becomes m_buf.
    bool TakeSimpleText(CPartsText& buf, std::size_t colonEnd, std::size_t hostEnd,
                        std::size_t checkFrom, std::string_view portText);
    // Sets the parts of a URL taken apart in one pass from the offsets in
    // m_buf of the scheme's end, the host's end, the file and the extra
    // information.
    void SetPlainParts(std::size_t colonEnd, std::size_t hostEnd, std::size_t fileStart,
                       std::size_t extraStart, bool explicitPort);
    bool HasSimpleBase() const;
    int CreateFromURLComponents(const webstep::platform::URL_COMPONENTSA& components);
    void DivideExtra(MString* search, MString* label) const;
    // The search and label inside the extra information, without copies.
    void DivideExtra(std::string_view* search, std::string_view* label) const;
    bool IsDefaultPort() const;
    // Appends the search or label the options ask for (not both).
    void AppendExtra(MString& text, int options) const;
    // Path and file joined, with room for the extra information.
    MString FullPath() const;

    // A part of the URL: a range of m_buf.
    struct PartRange {
        std::uint32_t off = 0;
        std::uint32_t len = 0;
    };
    std::string_view Part(PartRange r) const { return {m_buf.data() + r.off, r.len}; }
    // Keeps the parts in one buffer (one allocation per URL) in the order
    // user, password, host, path, file, extra information.
    void SetParts(std::string_view user, std::string_view password, std::string_view host,
                  std::string_view path, std::string_view file, std::string_view extra);

    int m_valid = 0;
    SchemeDescr* m_scheme = nullptr;
    std::uint16_t m_port = 0;
    CPartsText m_buf;
    PartRange m_userPart;
    PartRange m_passwordPart;
    PartRange m_hostPart;
    PartRange m_pathPart;
    PartRange m_filePart;
    PartRange m_extraPart;
    bool m_explicitPort = false;
    // Taken apart by the one-pass path, so known to be a plain base.
    bool m_plain = false;
    // When not 0, m_buf starts with the printed scheme and separator
    // ("http://"), followed by host, path, file and extra information
    // without port or user information: the printed URL is one piece of it.
    std::uint8_t m_prefixLen = 0;
};

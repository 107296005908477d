// webstep side by side with established parsers, in one process, over the
// same corpus and doing the same work:
// - pages: the full scan (page model built) against gumbo's full parse and
//   libxml2's tree; the lexer with callbacks against libxml2's SAX parser,
//   fed whole and in 4 KiB pieces. Every parser counts the forms, the form
//   controls inside forms, the links (a and area with href) and the frames
//   (frame and iframe with src), and the counts are printed side by side;
// - long tokens: pages holding a 500 KB text run, comment, script or
//   attribute value, scanned whole and in 4 KiB pieces;
// - URLs from the corpus pages: absolute (parse, read the parts, print
//   back) and relative (resolve against the page address and print) against
//   libcurl, uriparser and Boost.URL.
// The medians of the repetitions go into a table with the ratio of webstep
// to each peer.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "../support/BenchCorpus.h"
#include "webstep/html/HTMLBaseParser.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLFormElement.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/html/HTMLScanner.h"
#include "webstep/url/URLParser.h"

#include <malloc.h>

#ifdef WEBSTEP_PEER_GUMBO
#include <gumbo.h>
#endif
#ifdef WEBSTEP_PEER_LIBXML2
#include <libxml/HTMLparser.h>
#include <libxml/HTMLtree.h>
#endif
#ifdef WEBSTEP_PEER_CURL
#include <curl/curl.h>
#endif
#ifdef WEBSTEP_PEER_URIPARSER
#include <uriparser/Uri.h>
#endif
#ifdef WEBSTEP_PEER_BOOST_URL
#include <boost/url.hpp>
#endif

// ---------------------------------------------------------------------------
// Peak memory of one scan: malloc, calloc, realloc and free of the whole
// program are replaced by counting ones that hand on to glibc's own. They
// count (usable bytes of each block) only while g_countHeap is set, so the
// timed cases pay one test of a flag per call. operator new and the page
// engine's own malloc calls (attribute values, text buffers, the lexer's
// buffers) all come through here. Left out under a sanitizer, which has its
// own allocator.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define WEBSTEP_PEERS_COUNT_HEAP 1
namespace {
bool g_countHeap = false;
long long g_heapNow = 0;
long long g_heapPeak = 0;
inline void HeapAdd(void* p) {
    if (g_countHeap && p != nullptr) {
        g_heapNow += static_cast<long long>(malloc_usable_size(p));
        g_heapPeak = std::max(g_heapPeak, g_heapNow);
    }
}
inline void HeapRemove(void* p) {
    if (g_countHeap && p != nullptr) {
        g_heapNow -= static_cast<long long>(malloc_usable_size(p));
    }
}
}  // namespace
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);
void* malloc(std::size_t n) {
    void* p = __libc_malloc(n);
    HeapAdd(p);
    return p;
}
void* calloc(std::size_t n, std::size_t size) {
    void* p = __libc_calloc(n, size);
    HeapAdd(p);
    return p;
}
void* realloc(void* old, std::size_t n) {
    HeapRemove(old);
    void* p = __libc_realloc(old, n);
    HeapAdd(p != nullptr || n == 0 ? p : old);
    return p;
}
void free(void* p) {
    HeapRemove(p);
    __libc_free(p);
}
}
#endif

namespace {

constexpr std::size_t kPiece = 4096;
// Each page case runs this long before it is timed: its first passes grow
// the heap (page faults for the model and the parser's buffers), which made
// the first of the five repetitions of whichever case ran first the slowest
// and moved the medians by up to a third.
constexpr double kWarmUpSeconds = 0.1;

// ---------------------------------------------------------------------------
// Inputs

using webstep::bench::Page;
using webstep::bench::SharedDir;

const std::vector<Page>& Pages() {
    return webstep::bench::CorpusPages();
}

std::size_t CorpusBytes() {
    std::size_t n = 0;
    for (const Page& p : Pages()) {
        n += p.text.size();
    }
    return n;
}

// Synthetic pages with one long token each, about 500 KB.
const std::vector<Page>& LongTokenPages() {
    static const std::vector<Page> pages = [] {
        constexpr std::size_t kLong = 500 * 1024;
        std::string words;
        while (words.size() < kLong) {
            words += "lorem ipsum dolor sit amet ";
        }
        words.resize(kLong);
        const std::string head = "<html><head><title>long</title></head><body>\n";
        const std::string tail = "\n<a href=\"/next\">next</a></body></html>\n";
        std::vector<Page> out;
        out.push_back({"text run", head + "<p>" + words + "</p>" + tail});
        out.push_back({"comment", head + "<!--" + words + "-->" + tail});
        out.push_back({"script", head + "<script>var s = '" + words + "';</script>" + tail});
        out.push_back({"attribute value",
                       head + "<input type=\"hidden\" name=\"v\" value=\"" + words + "\">" + tail});
        return out;
    }();
    return pages;
}

// The address each saved page was taken from.
const char* PageAddress(const std::string& name) {
    static const std::map<std::string, const char*> kAddresses = {
        {"bbc", "http://www.bbc.co.uk/"},
        {"baidu", "http://www.baidu.com/"},
        {"google", "http://www.google.com/"},
        {"hacker_news", "https://news.ycombinator.com/"},
        {"wikipedia", "http://en.wikipedia.org/wiki/Main_Page"},
        {"xinhua", "http://www.xinhuanet.com/"},
        {"yahoo", "http://www.yahoo.com/"},
        {"arabic_newspapers", "http://www.arabic-newspapers.example/index.html"}};
    const auto it = kAddresses.find(name);
    return it != kAddresses.end() ? it->second : "http://www.example.com/dir/page.html";
}

// Values of href= and src= attributes, quoted or not.
std::vector<std::string> ExtractLinks(const std::string& html) {
    std::vector<std::string> out;
    for (const char* attr : {"href=", "src=", "HREF=", "SRC="}) {
        const std::size_t len = std::strlen(attr);
        std::size_t pos = 0;
        while ((pos = html.find(attr, pos)) != std::string::npos) {
            pos += len;
            if (pos >= html.size()) {
                break;
            }
            const char quote = html[pos];
            std::size_t end;
            if (quote == '"' || quote == '\'') {
                ++pos;
                end = html.find(quote, pos);
            } else {
                end = html.find_first_of(" \t\r\n>", pos);
            }
            if (end == std::string::npos) {
                break;
            }
            if (end > pos && end - pos < 4096) {
                out.push_back(html.substr(pos, end - pos));
            }
            pos = end;
        }
    }
    return out;
}

struct RelativeLink {
    std::size_t base;
    std::string link;
};

struct URLSet {
    std::vector<std::string> bases;
    std::vector<RelativeLink> relative;
    std::vector<std::string> absolute;
};

// Links that every peer accepts, so that all do the same number of URLs:
// a link with spaces, braces or other bytes some peers refuse is left out.
bool PlainLink(const std::string& s) {
    for (unsigned char c : s) {
        if (c <= 0x20 || c >= 0x7f || c == '"' || c == '<' || c == '>' || c == '\\' || c == '^' ||
            c == '`' || c == '{' || c == '|' || c == '}') {
            return false;
        }
    }
    return s.rfind("javascript:", 0) != 0 && s.rfind("data:", 0) != 0 && s.rfind("mailto:", 0) != 0;
}

const URLSet& URLs() {
    static const URLSet set = [] {
        URLSet out;
        for (const Page& page : Pages()) {
            const std::size_t baseIndex = out.bases.size();
            out.bases.push_back(PageAddress(page.name));
            CURLParser base(out.bases.back().c_str());
            for (std::string& link : ExtractLinks(page.text)) {
                if (!PlainLink(link)) {
                    continue;
                }
                CURLParser resolved(base, link.c_str());
                if (!resolved.IsValid()) {
                    continue;
                }
                const MString full = resolved.GetFullURL();
                if (full.rfind("http://", 0) == 0 || full.rfind("https://", 0) == 0) {
                    if (PlainLink(full)) {
                        out.absolute.push_back(full);
                    }
                }
                out.relative.push_back({baseIndex, std::move(link)});
            }
        }
        return out;
    }();
    return set;
}

// ---------------------------------------------------------------------------
// Counts

struct Counts {
    long forms = 0;
    long inputs = 0;
    long links = 0;
    long frames = 0;
    bool operator==(const Counts& o) const {
        return forms == o.forms && inputs == o.inputs && links == o.links && frames == o.frames;
    }
    Counts& operator+=(const Counts& o) {
        forms += o.forms;
        inputs += o.inputs;
        links += o.links;
        frames += o.frames;
        return *this;
    }
};

// Counting by tag name while the page streams by (lower-case names).
struct TagCounter {
    Counts counts;
    int formDepth = 0;
    void start(const char* name, bool hasHref, bool hasSrc) {
        if (std::strcmp(name, "form") == 0) {
            // A form inside an open form is ignored, as the page model does.
            if (formDepth++ == 0) {
                ++counts.forms;
            }
        } else if (std::strcmp(name, "input") == 0 || std::strcmp(name, "select") == 0 ||
                   std::strcmp(name, "textarea") == 0) {
            counts.inputs += formDepth > 0 ? 1 : 0;
        } else if ((std::strcmp(name, "a") == 0 || std::strcmp(name, "area") == 0) && hasHref) {
            ++counts.links;
        } else if ((std::strcmp(name, "frame") == 0 || std::strcmp(name, "iframe") == 0) &&
                   hasSrc) {
            ++counts.frames;
        }
    }
    void end(const char* name) {
        if (std::strcmp(name, "form") == 0 && formDepth > 0) {
            --formDepth;
        }
    }
};

// ---------------------------------------------------------------------------
// webstep

Counts ModelCounts(const CHTMLScanner& scanner) {
    Counts c;
    c.forms = scanner.nForms();
    for (int f = 0; f < scanner.nForms(); ++f) {
        const CHTMLForm* form = scanner.form(static_cast<unsigned>(f));
        for (int e = 0; e < form->nElements(); ++e) {
            const CHTMLFormElement* element = form->element(e);
            const auto* radio = dynamic_cast<const CHTMLRadio*>(element);
            c.inputs += radio != nullptr ? radio->nValues() : 1;
        }
    }
    for (int l = 0; l < scanner.nLinks(); ++l) {
        const CHTMLLink* link = scanner.link(static_cast<unsigned>(l));
        const HTMLTag tag = link->tag();
        if (tag == HTML_A || tag == HTML_AREA) {
            ++c.links;
        } else if (tag == HTML_FRAME || tag == HTML_IFRAME) {
            ++c.frames;
        }
    }
    return c;
}

bool HasAttr(const CHTMLAttrs* attrs, const char* name) {
    CHTMLAttr* found = nullptr;
    return attrs != nullptr && attrs->find(name, found);
}

struct LexerCounter : TagCallback {
    TagCounter counter;
    void onStartTag(HTMLTag tag, CHTMLAttrs*& attrs) override {
        const char* name = CHTMLBaseParser::TagToString(tag);
        if (name != nullptr) {
            counter.start(name, HasAttr(attrs, "href"), HasAttr(attrs, "src"));
        }
    }
    void onEndTag(HTMLTag tag) override {
        const char* name = CHTMLBaseParser::TagToString(tag);
        if (name != nullptr) {
            counter.end(name);
        }
    }
};

struct TextSink : TextCallback, CommentCallback {
    void onText(const char*, unsigned length) override { bytes += length; }
    void onComment(const char*, unsigned length) override { bytes += length; }
    long bytes = 0;
};

Counts LexPieces(const std::string& text, std::size_t piece) {
    CHTMLBaseParser parser;
    LexerCounter tags;
    TextSink text_;
    parser.registerTagCallback(HTML_ALL_TAGS, &tags);
    parser.registerTextCallback(&text_);
    parser.registerCommentCallback(&text_);
    parser.startParse();
    for (std::size_t at = 0; at < text.size(); at += piece) {
        const std::size_t n = std::min(piece, text.size() - at);
        parser.continueParse(text.data() + at, static_cast<unsigned>(n));
    }
    parser.stopParse();
    return tags.counter.counts;
}

// ---------------------------------------------------------------------------
// Peers: pages

#ifdef WEBSTEP_PEER_GUMBO
void GumboWalk(const GumboNode* node, TagCounter& counter) {
    if (node->type != GUMBO_NODE_ELEMENT && node->type != GUMBO_NODE_TEMPLATE) {
        return;
    }
    const GumboElement& e = node->v.element;
    const char* name = gumbo_normalized_tagname(e.tag);
    std::string unknown;
    if (e.tag == GUMBO_TAG_UNKNOWN) {
        GumboStringPiece piece = e.original_tag;
        gumbo_tag_from_original_text(&piece);
        unknown.assign(piece.data, piece.length);
        name = unknown.c_str();
    }
    counter.start(name, gumbo_get_attribute(&e.attributes, "href") != nullptr,
                  gumbo_get_attribute(&e.attributes, "src") != nullptr);
    for (unsigned i = 0; i < e.children.length; ++i) {
        GumboWalk(static_cast<const GumboNode*>(e.children.data[i]), counter);
    }
    counter.end(name);
}

Counts GumboCounts(const std::string& text) {
    GumboOutput* out = gumbo_parse_with_options(&kGumboDefaultOptions, text.data(), text.size());
    TagCounter counter;
    GumboWalk(out->root, counter);
    gumbo_destroy_output(&kGumboDefaultOptions, out);
    return counter.counts;
}
#endif

#ifdef WEBSTEP_PEER_LIBXML2
constexpr int kXmlOptions = HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                            HTML_PARSE_NONET | HTML_PARSE_COMPACT;

bool HasAttr(const xmlChar** attrs, const char* wanted) {
    for (int i = 0; attrs != nullptr && attrs[i] != nullptr; i += 2) {
        if (xmlStrcasecmp(attrs[i], reinterpret_cast<const xmlChar*>(wanted)) == 0) {
            return true;
        }
    }
    return false;
}

void SaxStart(void* ctx, const xmlChar* name, const xmlChar** attrs) {
    auto* counter = static_cast<TagCounter*>(static_cast<htmlParserCtxtPtr>(ctx)->_private);
    counter->start(reinterpret_cast<const char*>(name), HasAttr(attrs, "href"),
                   HasAttr(attrs, "src"));
}

void SaxEnd(void* ctx, const xmlChar* name) {
    auto* counter = static_cast<TagCounter*>(static_cast<htmlParserCtxtPtr>(ctx)->_private);
    counter->end(reinterpret_cast<const char*>(name));
}

void SaxCharacters(void*, const xmlChar*, int) {}

Counts XmlSaxCounts(const std::string& text, std::size_t piece) {
    htmlSAXHandler sax{};
    sax.startElement = SaxStart;
    sax.endElement = SaxEnd;
    sax.characters = SaxCharacters;
    sax.cdataBlock = SaxCharacters;
    sax.comment = [](void*, const xmlChar*) {};
    TagCounter counter;
    htmlParserCtxtPtr ctx =
        htmlCreatePushParserCtxt(&sax, nullptr, nullptr, 0, nullptr, XML_CHAR_ENCODING_NONE);
    ctx->_private = &counter;
    htmlCtxtUseOptions(ctx, kXmlOptions);
    for (std::size_t at = 0; at < text.size(); at += piece) {
        const std::size_t n = std::min(piece, text.size() - at);
        htmlParseChunk(ctx, text.data() + at, static_cast<int>(n), 0);
    }
    htmlParseChunk(ctx, nullptr, 0, 1);
    htmlFreeParserCtxt(ctx);
    return counter.counts;
}

void XmlWalk(xmlNode* node, TagCounter& counter) {
    for (; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE) {
            continue;
        }
        const char* name = reinterpret_cast<const char*>(node->name);
        counter.start(name, xmlHasProp(node, BAD_CAST "href") != nullptr,
                      xmlHasProp(node, BAD_CAST "src") != nullptr);
        XmlWalk(node->children, counter);
        counter.end(name);
    }
}

Counts XmlTreeCounts(const std::string& text) {
    htmlDocPtr doc =
        htmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, kXmlOptions);
    TagCounter counter;
    if (doc != nullptr) {
        XmlWalk(xmlDocGetRootElement(doc), counter);
        xmlFreeDoc(doc);
    }
    return counter.counts;
}
#endif

// ---------------------------------------------------------------------------
// Page cases: one function per parser, all returning the counts.

struct PageCase {
    std::string group;  // "full parse" or "tokenizer / SAX"
    std::string name;
    std::function<Counts(const std::string&)> run;
    bool webstep;
};

std::vector<PageCase> PageCases() {
    std::vector<PageCase> cases;
    auto scanner = std::make_shared<CHTMLScanner>();
    cases.push_back({"full parse", "webstep scan whole",
                     [scanner](const std::string& t) {
                         webstep::bench::ScanInPieces(*scanner, t, t.size() + 1);
                         return ModelCounts(*scanner);
                     },
                     true});
    cases.push_back({"full parse", "webstep scan 4 KiB",
                     [scanner](const std::string& t) {
                         webstep::bench::ScanInPieces(*scanner, t, kPiece);
                         return ModelCounts(*scanner);
                     },
                     true});
#ifdef WEBSTEP_PEER_GUMBO
    cases.push_back({"full parse", "gumbo", GumboCounts, false});
#endif
#ifdef WEBSTEP_PEER_LIBXML2
    cases.push_back({"full parse", "libxml2 tree", XmlTreeCounts, false});
#endif
    cases.push_back({"tokenizer / SAX", "webstep lexer whole",
                     [](const std::string& t) { return LexPieces(t, t.size() + 1); }, true});
    cases.push_back({"tokenizer / SAX", "webstep lexer 4 KiB",
                     [](const std::string& t) { return LexPieces(t, kPiece); }, true});
#ifdef WEBSTEP_PEER_LIBXML2
    cases.push_back({"tokenizer / SAX", "libxml2 SAX whole",
                     [](const std::string& t) { return XmlSaxCounts(t, t.size() + 1); }, false});
    cases.push_back({"tokenizer / SAX", "libxml2 SAX 4 KiB",
                     [](const std::string& t) { return XmlSaxCounts(t, kPiece); }, false});
#endif
    return cases;
}

// ---------------------------------------------------------------------------
// URL cases: absolute (parse, read host, path and query, print back) and
// relative (resolve against the page address, print).

struct URLCase {
    std::string name;
    std::function<std::size_t()> absolute;
    std::function<std::size_t()> relative;
};

std::vector<URLCase> URLCases() {
    std::vector<URLCase> cases;
    cases.push_back({"webstep",
                     [] {
                         std::size_t n = 0;
                         for (const std::string& url : URLs().absolute) {
                             CURLParser u(url.c_str());
                             n += u.GetHost().size() + u.GetPath().size() + u.GetSearch().size();
                             n += u.GetFullURL().size();
                         }
                         return n;
                     },
                     [] {
                         static std::vector<CURLParser>* bases = [] {
                             auto* v = new std::vector<CURLParser>();
                             for (const std::string& b : URLs().bases) {
                                 v->emplace_back(b.c_str());
                             }
                             return v;
                         }();
                         std::size_t n = 0;
                         for (const RelativeLink& r : URLs().relative) {
                             CURLParser u((*bases)[r.base], r.link.c_str());
                             n += u.GetFullURL().size();
                         }
                         return n;
                     }});
#ifdef WEBSTEP_PEER_CURL
    cases.push_back({"libcurl",
                     [] {
                         std::size_t n = 0;
                         CURLU* h = curl_url();
                         for (const std::string& url : URLs().absolute) {
                             if (curl_url_set(h, CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
                                 continue;
                             }
                             for (CURLUPart part : {CURLUPART_HOST, CURLUPART_PATH, CURLUPART_QUERY,
                                                    CURLUPART_URL}) {
                                 char* s = nullptr;
                                 if (curl_url_get(h, part, &s, 0) == CURLUE_OK) {
                                     n += std::strlen(s);
                                     curl_free(s);
                                 }
                             }
                         }
                         curl_url_cleanup(h);
                         return n;
                     },
                     [] {
                         std::vector<CURLU*> bases;
                         for (const std::string& b : URLs().bases) {
                             bases.push_back(curl_url());
                             curl_url_set(bases.back(), CURLUPART_URL, b.c_str(), 0);
                         }
                         std::size_t n = 0;
                         for (const RelativeLink& r : URLs().relative) {
                             CURLU* h = curl_url_dup(bases[r.base]);
                             char* s = nullptr;
                             if (curl_url_set(h, CURLUPART_URL, r.link.c_str(), 0) == CURLUE_OK &&
                                 curl_url_get(h, CURLUPART_URL, &s, 0) == CURLUE_OK) {
                                 n += std::strlen(s);
                                 curl_free(s);
                             }
                             curl_url_cleanup(h);
                         }
                         for (CURLU* b : bases) {
                             curl_url_cleanup(b);
                         }
                         return n;
                     }});
#endif
#ifdef WEBSTEP_PEER_URIPARSER
    cases.push_back(
        {"uriparser",
         [] {
             std::size_t n = 0;
             std::string printed;
             for (const std::string& url : URLs().absolute) {
                 UriUriA uri;
                 const char* error = nullptr;
                 if (uriParseSingleUriA(&uri, url.c_str(), &error) != URI_SUCCESS) {
                     continue;
                 }
                 n += static_cast<std::size_t>(uri.hostText.afterLast - uri.hostText.first);
                 n += static_cast<std::size_t>(uri.query.afterLast - uri.query.first);
                 for (UriPathSegmentA* s = uri.pathHead; s != nullptr; s = s->next) {
                     n += static_cast<std::size_t>(s->text.afterLast - s->text.first) + 1;
                 }
                 int chars = 0;
                 uriToStringCharsRequiredA(&uri, &chars);
                 printed.resize(static_cast<std::size_t>(chars) + 1);
                 uriToStringA(printed.data(), &uri, chars + 1, nullptr);
                 n += static_cast<std::size_t>(chars);
                 uriFreeUriMembersA(&uri);
             }
             return n;
         },
         [] {
             std::vector<UriUriA> bases(URLs().bases.size());
             for (std::size_t i = 0; i < bases.size(); ++i) {
                 uriParseSingleUriA(&bases[i], URLs().bases[i].c_str(), nullptr);
             }
             std::size_t n = 0;
             std::string printed;
             for (const RelativeLink& r : URLs().relative) {
                 UriUriA rel;
                 UriUriA abs;
                 if (uriParseSingleUriA(&rel, r.link.c_str(), nullptr) != URI_SUCCESS) {
                     continue;
                 }
                 if (uriAddBaseUriA(&abs, &rel, &bases[r.base]) == URI_SUCCESS) {
                     int chars = 0;
                     uriToStringCharsRequiredA(&abs, &chars);
                     printed.resize(static_cast<std::size_t>(chars) + 1);
                     uriToStringA(printed.data(), &abs, chars + 1, nullptr);
                     n += static_cast<std::size_t>(chars);
                     uriFreeUriMembersA(&abs);
                 }
                 uriFreeUriMembersA(&rel);
             }
             for (UriUriA& b : bases) {
                 uriFreeUriMembersA(&b);
             }
             return n;
         }});
#endif
#ifdef WEBSTEP_PEER_BOOST_URL
    cases.push_back({"Boost.URL",
                     [] {
                         std::size_t n = 0;
                         for (const std::string& url : URLs().absolute) {
                             auto parsed = boost::urls::parse_uri(url);
                             if (!parsed) {
                                 continue;
                             }
                             const boost::urls::url_view& u = *parsed;
                             n += u.host().size() + u.path().size() + u.query().size();
                             std::string printed(u.buffer());
                             n += printed.size();
                         }
                         return n;
                     },
                     [] {
                         std::vector<boost::urls::url_view> bases;
                         for (const std::string& b : URLs().bases) {
                             bases.push_back(*boost::urls::parse_uri(b));
                         }
                         std::size_t n = 0;
                         boost::urls::url dest;
                         for (const RelativeLink& r : URLs().relative) {
                             auto ref = boost::urls::parse_uri_reference(r.link);
                             if (!ref) {
                                 continue;
                             }
                             dest.clear();
                             if (boost::urls::resolve(bases[r.base], *ref, dest)) {
                                 std::string printed(dest.buffer());
                                 n += printed.size();
                             }
                         }
                         return n;
                     }});
#endif
    return cases;
}

// ---------------------------------------------------------------------------
// Peak memory of one full scan (scanner made, page scanned, model built,
// scanner gone), in bytes above what was in use before.

#ifdef WEBSTEP_PEERS_COUNT_HEAP
long long ScanPeak(const std::string& text, std::size_t piece) {
    g_heapNow = 0;
    g_heapPeak = 0;
    g_countHeap = true;
    {
        CHTMLScanner scanner;
        webstep::bench::ScanInPieces(scanner, text, piece);
        benchmark::DoNotOptimize(scanner.nLinks());
    }
    g_countHeap = false;
    return g_heapPeak;
}
#endif

// ---------------------------------------------------------------------------
// Collecting the medians

struct Result {
    double bytesPerSecond = 0;  // pages
    double nsPerItem = 0;       // URLs
};

class MedianCollector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            // The median when there are repetitions; the single run otherwise.
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (!median && run.run_type == Run::RT_Aggregate) {
                continue;
            }
            // The name as registered, without the settings (warm-up time) it runs with.
            std::string name = run.run_name.function_name;
            if (!median && haveMedian.count(name) != 0) {
                continue;
            }
            if (median) {
                haveMedian.insert(name);
            }
            Result& r = results[name];
            auto bytes = run.counters.find("bytes_per_second");
            if (bytes != run.counters.end()) {
                r.bytesPerSecond = bytes->second.value;
            }
            auto ns = run.counters.find("ns_per_item");
            if (ns != run.counters.end()) {
                r.nsPerItem = ns->second.value * 1e9;  // seconds per URL
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, Result> results;
    std::set<std::string> haveMedian;
};

double MB(double bytesPerSecond) {
    return bytesPerSecond / 1e6;
}

void PrintCounts(const std::vector<PageCase>& cases) {
    std::printf("\nCounts per page (forms / controls in forms / links / frames):\n");
    std::printf("%-20s", "page");
    for (const PageCase& c : cases) {
        std::printf(" %22s", c.name.c_str());
    }
    std::printf("\n");
    std::vector<Counts> totals(cases.size());
    for (const Page& page : Pages()) {
        std::printf("%-20s", page.name.c_str());
        for (std::size_t i = 0; i < cases.size(); ++i) {
            const Counts c = cases[i].run(page.text);
            totals[i] += c;
            char cell[64];
            std::snprintf(cell, sizeof cell, "%ld/%ld/%ld/%ld", c.forms, c.inputs, c.links,
                          c.frames);
            std::printf(" %22s", cell);
        }
        std::printf("\n");
    }
    std::printf("%-20s", "all pages");
    for (const Counts& c : totals) {
        char cell[64];
        std::snprintf(cell, sizeof cell, "%ld/%ld/%ld/%ld", c.forms, c.inputs, c.links, c.frames);
        std::printf(" %22s", cell);
    }
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (Pages().empty()) {
        std::fprintf(stderr, "no pages in %s\n", (SharedDir() / "corpus" / "html").c_str());
        return 1;
    }
#ifdef WEBSTEP_PEER_LIBXML2
    xmlInitParser();
#endif
#ifdef WEBSTEP_PEER_CURL
    curl_global_init(CURL_GLOBAL_DEFAULT);
#endif
    const std::vector<PageCase> pageCases = PageCases();
    // --profile=<case name>[,<passes>]: only that page case over the corpus,
    // for a profiler (valgrind --tool=callgrind), e.g.
    // --profile="webstep scan whole,5".
    if (argc > 1 && std::strncmp(argv[1], "--profile=", 10) == 0) {
        const std::string arg = argv[1] + 10;
        const std::size_t comma = arg.find(',');
        const std::string name = arg.substr(0, comma);
        const int passes = comma == std::string::npos ? 1 : std::atoi(arg.c_str() + comma + 1);
        for (const PageCase& c : pageCases) {
            if (c.name == name) {
                for (int i = 0; i < passes; ++i) {
                    for (const Page& p : Pages()) {
                        benchmark::DoNotOptimize(c.run(p.text));
                    }
                }
                std::printf("%s: %d passes over %zu bytes\n", name.c_str(), passes, CorpusBytes());
                return 0;
            }
        }
        std::fprintf(stderr, "no page case %s\n", name.c_str());
        return 1;
    }
    PrintCounts(pageCases);
    std::printf("\nURLs: %zu absolute, %zu relative against %zu page addresses\n",
                URLs().absolute.size(), URLs().relative.size(), URLs().bases.size());

    const auto corpusBytes = static_cast<int64_t>(CorpusBytes());
    for (const PageCase& c : pageCases) {
        benchmark::RegisterBenchmark(("pages/" + c.group + "/" + c.name).c_str(),
                                     [&c, corpusBytes](benchmark::State& state) {
                                         for (auto _ : state) {
                                             for (const Page& p : Pages()) {
                                                 benchmark::DoNotOptimize(c.run(p.text));
                                             }
                                         }
                                         state.SetBytesProcessed(state.iterations() * corpusBytes);
                                     })
            ->MinWarmUpTime(kWarmUpSeconds)
            ->Unit(benchmark::kMillisecond);
    }
    // Piece size: every corpus page and every long-token page, whole and in
    // 4 KiB pieces.
    std::vector<const Page*> pieced;
    for (const Page& page : Pages()) {
        pieced.push_back(&page);
    }
    for (const Page& page : LongTokenPages()) {
        pieced.push_back(&page);
    }
    for (const Page* pagePointer : pieced) {
        const Page& page = *pagePointer;
        for (std::size_t piece : {std::size_t{0}, kPiece}) {
            const std::string name = "long/" + page.name + "/" + (piece == 0 ? "whole" : "4 KiB");
            benchmark::RegisterBenchmark(
                name.c_str(),
                [&page, piece](benchmark::State& state) {
                    CHTMLScanner scanner;
                    for (auto _ : state) {
                        webstep::bench::ScanInPieces(scanner, page.text,
                                                     piece == 0 ? page.text.size() + 1 : piece);
                        benchmark::DoNotOptimize(scanner.nLinks());
                    }
                    state.SetBytesProcessed(state.iterations() *
                                            static_cast<int64_t>(page.text.size()));
                })
                ->MinWarmUpTime(kWarmUpSeconds)
                ->Unit(benchmark::kMillisecond);
        }
    }
    const std::vector<URLCase> urlCases = URLCases();
    for (const URLCase& c : urlCases) {
        for (bool relative : {false, true}) {
            const std::size_t count = relative ? URLs().relative.size() : URLs().absolute.size();
            benchmark::RegisterBenchmark(
                ("urls/" + std::string(relative ? "relative/" : "absolute/") + c.name).c_str(),
                [&c, relative, count](benchmark::State& state) {
                    for (auto _ : state) {
                        benchmark::DoNotOptimize(relative ? c.relative() : c.absolute());
                    }
                    state.counters["ns_per_item"] = benchmark::Counter(
                        static_cast<double>(state.iterations() * count),
                        benchmark::Counter::kIsRate | benchmark::Counter::kInvert,
                        benchmark::Counter::kIs1000);
                })
                ->Unit(benchmark::kMillisecond);
        }
    }

    // Medians of five runs unless the command line says otherwise.
    std::vector<char*> args(argv, argv + argc);
    bool repetitionsGiven = false;
    for (int i = 1; i < argc; ++i) {
        repetitionsGiven |= std::strncmp(argv[i], "--benchmark_repetitions", 23) == 0;
    }
    static char repetitions[] = "--benchmark_repetitions=5";
    static char aggregatesOnly[] = "--benchmark_report_aggregates_only=true";
    static char minTime[] = "--benchmark_min_time=0.2";
    if (!repetitionsGiven) {
        args.insert(args.begin() + 1, {repetitions, aggregatesOnly, minTime});
    }
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    MedianCollector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::Shutdown();

    const auto& r = collector.results;
    auto mbps = [&](const std::string& key) {
        const auto it = r.find(key);
        return it != r.end() ? MB(it->second.bytesPerSecond) : 0.0;
    };
    std::printf("\nPages: the 8 corpus pages, %.2f MB (MB/s, medians; ratio = webstep / peer)\n",
                static_cast<double>(corpusBytes) / 1e6);
    for (const std::string group : {"full parse", "tokenizer / SAX"}) {
        std::vector<const PageCase*> ours;
        std::vector<const PageCase*> peers;
        for (const PageCase& c : pageCases) {
            if (c.group == group) {
                (c.webstep ? ours : peers).push_back(&c);
            }
        }
        std::printf("  %s\n", group.c_str());
        for (const PageCase* c : ours) {
            const double v = mbps("pages/" + group + "/" + c->name);
            std::printf("    %-22s %8.1f MB/s", c->name.c_str(), v);
            for (const PageCase* p : peers) {
                const double pv = mbps("pages/" + group + "/" + p->name);
                std::printf("   %.2fx %s", pv > 0 ? v / pv : 0.0, p->name.c_str());
            }
            std::printf("\n");
        }
        for (const PageCase* p : peers) {
            std::printf("    %-22s %8.1f MB/s\n", p->name.c_str(),
                        mbps("pages/" + group + "/" + p->name));
        }
    }
    std::printf(
        "\nPiece size: full scan of each page whole and in 4 KiB pieces (MB/s; 4 KiB / whole);\n"
        "the last four are the generated pages with one ~500 KB token\n");
    for (const Page* pagePointer : pieced) {
        const Page& page = *pagePointer;
        const double whole = mbps("long/" + page.name + "/whole");
        const double pieces = mbps("long/" + page.name + "/4 KiB");
        std::printf("    %-22s whole %8.1f   4 KiB %8.1f   %5.1f %%\n", page.name.c_str(), whole,
                    pieces, whole > 0 ? 100.0 * pieces / whole : 0.0);
    }
    std::printf("\nURLs (ns per URL, medians; ratio = peer / webstep, above 1 is webstep ahead)\n");
    for (bool relative : {false, true}) {
        const std::string kind = relative ? "relative" : "absolute";
        auto ns = [&](const std::string& name) {
            const auto it = r.find("urls/" + kind + "/" + name);
            return it != r.end() ? it->second.nsPerItem : 0.0;
        };
        const double ours = ns("webstep");
        std::printf("  %-9s webstep %7.0f ns", kind.c_str(), ours);
        for (const URLCase& c : urlCases) {
            if (c.name != "webstep") {
                const double v = ns(c.name);
                std::printf("   %s %.0f ns (%.2fx)", c.name.c_str(), v, ours > 0 ? v / ours : 0.0);
            }
        }
        std::printf("\n");
    }

    // Targets: each a ratio to a peer timed in the same run.
    std::printf("\nTargets (ratios of this run's medians)\n");
    auto target = [](const char* what, double value, bool met, const char* goal) {
        std::printf("  %-44s %7.3f  %-10s %s\n", what, value, goal, met ? "met" : "NOT met");
    };
    auto ratio = [&](const std::string& a, const std::string& b) {
        const double bv = mbps(b);
        return bv > 0 ? mbps(a) / bv : 0.0;
    };
#ifdef WEBSTEP_PEER_LIBXML2
    for (const char* piece : {"whole", "4 KiB"}) {
        const double v = ratio(std::string("pages/full parse/webstep scan ") + piece,
                               "pages/full parse/libxml2 tree");
        target((std::string("full scan ") + piece + " / libxml2 tree").c_str(), v, v >= 3.7,
               ">= 3.7");
    }
    for (const char* piece : {"whole", "4 KiB"}) {
        const double v = ratio(std::string("pages/tokenizer / SAX/webstep lexer ") + piece,
                               std::string("pages/tokenizer / SAX/libxml2 SAX ") + piece);
        target((std::string("lexer+callbacks ") + piece + " / libxml2 SAX " + piece).c_str(), v,
               v >= 4.6, ">= 4.6");
    }
#endif
#ifdef WEBSTEP_PEER_CURL
    for (bool relative : {false, true}) {
        const std::string kind = relative ? "relative" : "absolute";
        const auto ours = r.find("urls/" + kind + "/webstep");
        const auto curl = r.find("urls/" + kind + "/libcurl");
        const double v = ours != r.end() && curl != r.end() && curl->second.nsPerItem > 0
                             ? ours->second.nsPerItem / curl->second.nsPerItem
                             : 0.0;
        // Relative: no further behind libcurl than the run recorded in
        // bench/README.md (14.46x ahead, 0.069 of its time).
        const double goal = relative ? 1.0 / 14.46 : 0.08;
        target(("URL " + kind + " time / libcurl's").c_str(), v, v > 0 && v <= goal,
               relative ? "<= 0.069" : "<= 0.08");
    }
#endif
#ifdef WEBSTEP_PEERS_COUNT_HEAP
    {
        // Peak heap of one scan above a fixed base: the peak of scanning an
        // empty page (scanner, lexer buffers, tables made on first use).
        const std::string empty = "<html><body></body></html>";
        ScanPeak(empty, empty.size() + 1);  // first-use allocations out of the way
        const long long base = ScanPeak(empty, empty.size() + 1);
        std::printf(
            "\nPeak heap of one full scan above a fixed base of %lld bytes "
            "(KB; times the page)\n",
            base);
        double worst[2] = {0, 0};
        for (const Page& page : Pages()) {
            double times[2];
            long long bytes[2];
            for (int k = 0; k < 2; ++k) {
                const std::size_t piece = k == 0 ? page.text.size() + 1 : kPiece;
                bytes[k] = ScanPeak(page.text, piece) - base;
                times[k] = static_cast<double>(bytes[k]) / static_cast<double>(page.text.size());
                worst[k] = std::max(worst[k], times[k]);
            }
            std::printf("    %-22s page %7.1f   whole %7.1f (%4.2fx)   4 KiB %7.1f (%4.2fx)\n",
                        page.name.c_str(), static_cast<double>(page.text.size()) / 1e3,
                        static_cast<double>(bytes[0]) / 1e3, times[0],
                        static_cast<double>(bytes[1]) / 1e3, times[1]);
        }
        std::printf("\nTargets, memory\n");
        target("scan peak / page, worst page, whole", worst[0], worst[0] < 4.0, "< 4");
        target("scan peak / page, worst page, 4 KiB", worst[1], worst[1] < 4.0, "< 4");
    }
#endif
#ifdef WEBSTEP_PEER_CURL
    curl_global_cleanup();
#endif
    return 0;
}

#pragma once
// Recorders for the token engine and the lexer callbacks, and feeding
// helpers shared by the lexer tests.
#include <algorithm>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "webstep/html/HTMLBaseParser.h"
#include "webstep/html/HTMLLexer.h"

namespace webstep::test {

struct RecordedToken {
    int sink;
    int kind;
    std::string text;
    bool operator==(const RecordedToken& o) const {
        return sink == o.sink && kind == o.kind && text == o.text;
    }
};

inline void PrintTo(const RecordedToken& t, std::ostream* os) {
    *os << t.sink << "/" << CHTMLLexer::TokenName(t.kind) << ":" << t.text;
}

// Records every token; batch boundaries are kept as a separate list of
// batch sizes.
class TokenRecorder : public CHTMLTokenSink {
public:
    void onTokens(HTMLTokenSinkId sink, const CHTMLTokenBatch& batch) override {
        for (int i = 0; i < batch.count; ++i) {
            tokens.push_back({sink, batch.kinds[i], std::string(batch.texts[i], batch.lengths[i])});
        }
        batches.push_back(batch.count);
        sinks.push_back(sink);
    }
    // Tokens of one sink as "Kind:text" strings.
    std::vector<std::string> of(int sink) const {
        std::vector<std::string> out;
        for (const auto& t : tokens) {
            if (t.sink == sink) {
                out.push_back(std::string(CHTMLLexer::TokenName(t.kind)) + ":" + t.text);
            }
        }
        return out;
    }
    std::vector<std::string> messages() const { return of(HTML_SINK_ERR_LIM); }
    bool hasMessage(const std::string& text) const {
        return std::any_of(tokens.begin(), tokens.end(), [&](const RecordedToken& t) {
            return t.sink == HTML_SINK_ERR_LIM && t.text == text;
        });
    }

    std::vector<RecordedToken> tokens;
    std::vector<int> batches;
    std::vector<int> sinks;
};

// Feeds text to an engine in pieces of the given size (0: whole), then ends
// the input.
inline void FeedLexer(CHTMLLexer& lexer, const std::string& text, std::size_t piece = 0,
                      bool end = true) {
    if (piece == 0) {
        piece = text.size() == 0 ? 1 : text.size();
    }
    for (std::size_t at = 0; at < text.size(); at += piece) {
        const std::size_t n = std::min(piece, text.size() - at);
        lexer.feed(text.data() + at, static_cast<unsigned>(n));
    }
    if (end) {
        lexer.feed(nullptr, 0);
    }
}

inline std::vector<std::string> Tokens(const std::string& text, int sink = HTML_SINK_TAG_DATA,
                                       std::size_t piece = 0) {
    TokenRecorder rec;
    CHTMLLexer lexer(&rec, true);
    FeedLexer(lexer, text, piece);
    return rec.of(sink);
}

// Records the callbacks of the lexer as readable events:
// "<tag name=value name ...>", "</tag>", "text:...", "comment:...".
class EventRecorder : public TagCallback, public TextCallback, public CommentCallback {
public:
    void onStartTag(HTMLTag tag, CHTMLAttrs*& attrs) override {
        std::string e = "<";
        const char* name = CHTMLBaseParser::TagToString(tag);
        e += name != nullptr ? name : "?";
        for (int i = 0; attrs != nullptr && i < attrs->size(); ++i) {
            const CHTMLAttr* a = (*attrs)[static_cast<unsigned>(i)];
            e += " ";
            e += a->name() != nullptr ? a->name() : "(null)";
            if (a->hasAValue()) {
                e += "=";
                e += a->value();
            }
        }
        e += ">";
        events.push_back(e);
        lastTag = tag;
        if (attrs != nullptr) {
            lastAttrs = *attrs;
        }
    }
    void onEndTag(HTMLTag tag) override {
        const char* name = CHTMLBaseParser::TagToString(tag);
        events.push_back(std::string("</") + (name != nullptr ? name : "?") + ">");
    }
    void onText(const char* text, unsigned length) override {
        events.push_back("text:" + std::string(text, length));
    }
    void onComment(const char* text, unsigned length) override {
        events.push_back("comment:" + std::string(text, length));
    }

    // Joins adjacent text events: how text is cut into deliveries depends on
    // where a tag callback is registered, not on the piece sizes, but a
    // merged view is easier to compare.
    std::vector<std::string> merged() const {
        std::vector<std::string> out;
        for (const auto& e : events) {
            if (!out.empty() && e.rfind("text:", 0) == 0 && out.back().rfind("text:", 0) == 0) {
                out.back() += e.substr(5);
            } else {
                out.push_back(e);
            }
        }
        return out;
    }

    std::vector<std::string> events;
    HTMLTag lastTag = HTML_UNKNOWN_TAG;
    CHTMLAttrs lastAttrs;
};

// A parser with every callback registered on the recorder.
struct RecordingParser {
    RecordingParser(bool comments = true, bool text = true) {
        parser.registerTagCallback(HTML_ALL_TAGS, &rec);
        if (text) {
            parser.registerTextCallback(&rec);
        }
        if (comments) {
            parser.registerCommentCallback(&rec);
        }
    }
    std::vector<std::string> run(const std::string& page, std::size_t piece = 0) {
        parser.startParse();
        if (piece == 0) {
            piece = page.empty() ? 1 : page.size();
        }
        for (std::size_t at = 0; at < page.size(); at += piece) {
            const std::size_t n = std::min(piece, page.size() - at);
            parser.continueParse(page.data() + at, static_cast<unsigned>(n));
        }
        parser.stopParse();
        return rec.events;
    }
    EventRecorder rec;
    CHTMLBaseParser parser;
};

}  // namespace webstep::test

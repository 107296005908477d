#pragma once
// Scanning helpers and a plain-text dump of a scanned page model, shared by
// the scanner tests.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

#include "webstep/html/HTMLScanner.h"

namespace webstep::test {

// Scans text fed in pieces of the given size (0: in one piece).
inline std::unique_ptr<CHTMLScanner> ScanPage(const std::string& text, std::size_t piece = 0,
                                              const LinkSpec* table = nullptr) {
    auto scanner = std::make_unique<CHTMLScanner>(table);
    scanner->startParse();
    if (piece == 0) {
        piece = std::max<std::size_t>(text.size(), 1);
    }
    for (std::size_t at = 0; at < text.size(); at += piece) {
        const std::size_t n = std::min(piece, text.size() - at);
        scanner->continueParse(text.data() + at, static_cast<unsigned>(n));
    }
    scanner->endParse();
    return scanner;
}

inline std::string Str(const char* s) {
    return s == nullptr ? "(null)" : "\"" + std::string(s) + "\"";
}

inline void DumpAttrs(const CHTMLObject& o, std::string& out) {
    for (int i = 0; i < o.nAttrs(); ++i) {
        out += " " + std::string(o.getAttrNameByIndex(i) ? o.getAttrNameByIndex(i) : "") + "=" +
               Str(o.getAttrValueByIndex(i));
    }
}

// Everything a caller can read from the page model, one item a line.
inline std::string DescribePage(const CHTMLScanner& s) {
    std::string out = "title " + Str(s.title()) + "\nframeset " + std::to_string(s.isFrameSet()) +
                      " frame " + std::to_string(s.isFrame()) + "\n";
    for (int f = 0; f < s.nForms(); ++f) {
        const CHTMLForm* form = s.form(static_cast<unsigned>(f));
        out += "form " + std::to_string(form->method()) + " action " + Str(form->action()) +
               " name " + Str(form->name()) + " base " + Str(form->base()) + "\n";
        for (int e = 0; e < form->nElements(); ++e) {
            const CHTMLFormElement* el = form->element(e);
            out += "  element " + std::to_string(el->type()) + " name " + Str(el->name()) +
                   " value " + Str(el->value());
            DumpAttrs(*el, out);
            out += "\n";
            if (const auto* menu = dynamic_cast<const CHTMLMenu*>(el)) {
                for (int i = 0; i < menu->nItems(); ++i) {
                    const CHTMLMenuItem* item = menu->item(i);
                    out += "    item " + Str(item->value()) + " " +
                           std::to_string(item->selected()) + " " + Str(item->text()) + "\n";
                }
            }
            if (const auto* radio = dynamic_cast<const CHTMLRadio*>(el)) {
                for (int i = 0; i < radio->nValues(); ++i) {
                    out += "    radio " + Str(radio->value(i)->value()) + " " +
                           std::to_string(radio->value(i)->checked()) + "\n";
                }
            }
        }
    }
    for (int l = 0; l < s.nLinks(); ++l) {
        const CHTMLLink* link = s.link(static_cast<unsigned>(l));
        out += "link " + std::string(CHTMLBaseParser::TagToString(link->tag()) ?: "?") + " " +
               link->urlAttrName() + " " + Str(link->url()) + " res " +
               std::to_string(link->isResource()) + " fol " + std::to_string(link->isFollowable()) +
               " map " + std::to_string(link->isMap()) + " base " + Str(link->base()) + " obj " +
               std::to_string(link->getObject() != nullptr) + "\n";
    }
    for (int m = 0; m < s.nMaps(); ++m) {
        const CHTMLMap* map = s.map(static_cast<unsigned>(m));
        out += "map " + Str(map->name()) + " links " + std::to_string(map->nLinks()) + "\n";
    }
    for (int b = 0; b < s.nBases(); ++b) {
        out += "base " + Str(s.baseElement(static_cast<unsigned>(b))->attr("href")) + "\n";
    }
    return out;
}

}  // namespace webstep::test

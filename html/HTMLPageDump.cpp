#include "webstep/html/HTMLPageDump.h"

#include <cstdio>
#include <string>

#include "webstep/html/HTMLBaseParser.h"
#include "webstep/html/HTMLScanner.h"
#include "webstep/platform/CharacterServices.h"

namespace {

// A quoted text with the bytes below 0x20, the quote and the backslash
// escaped; the other bytes as they are.
MString Quoted(const char* s) {
    if (s == nullptr) {
        return "null";
    }
    MString out = "\"";
    for (const char* p = s; *p != '\0'; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\u%04x", c);
                    out += buf;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

// A JSON string: the text in UTF-8, escaped.
MString JsonString(const char* s) {
    if (s == nullptr) {
        return "null";
    }
    MString utf8;
    if (!webstep::platform::os_conv_strings(webstep::platform::OS_ENCODED_LOCAL,
                                            webstep::platform::OS_ENCODED_UTF8, s,
                                            std::char_traits<char>::length(s), utf8)) {
        // Without a converter only ASCII is safe to pass on.
        utf8.clear();
        for (const char* p = s; *p != '\0'; ++p) {
            utf8 += static_cast<unsigned char>(*p) < 0x80 ? *p : '?';
        }
    }
    return Quoted(utf8.c_str());
}

const char* TagName(HTMLTag tag) {
    const char* name = CHTMLBaseParser::TagToString(tag);
    return name != nullptr ? name : "?";
}

const char* YesNo(bool b) {
    return b ? "yes" : "no";
}

const char* Bool(bool b) {
    return b ? "true" : "false";
}

int LinkIndex(const CHTMLScanner& page, const CHTMLLink* link) {
    for (int i = 0; i < page.nLinks(); ++i) {
        if (page.link(static_cast<unsigned>(i)) == link) {
            return i;
        }
    }
    return -1;
}

// The first refresh element's link, or null.
const CHTMLLink* RefreshLink(const CHTMLScanner& page) {
    for (int i = 0; i < page.nLinks(); ++i) {
        const CHTMLLink* link = page.link(static_cast<unsigned>(i));
        if (link->tag() == HTML_META && link->getObject() != nullptr &&
            link->getObject()->attr("time") != nullptr) {
            return link;
        }
    }
    return nullptr;
}

}  // namespace

const char* CHTMLPageDump::TypeName(int type) {
    static const char* const kNames[] = {"other",  "text",  "password", "checkbox", "radio",
                                         "submit", "reset", "file",     "hidden",   "image",
                                         "select", "area",  "button"};
    return type >= 0 && type <= 12 ? kNames[type] : "?";
}

MString CHTMLPageDump::Text(const CHTMLScanner& page) {
    MString out;
    out += "title: " + Quoted(page.title()) + "\n";
    out += "frameset: " + MString(YesNo(page.isFrameSet())) + "\n";
    out += "frame: " + MString(YesNo(page.isFrame())) + "\n";
    for (int f = 0; f < page.nForms(); ++f) {
        const CHTMLForm* form = page.form(static_cast<unsigned>(f));
        out += "form " + std::to_string(f + 1) + ": method " +
               (form->method() == CHTMLForm::METHOD_POST ? "POST" : "GET") + ", action " +
               Quoted(form->action()) + ", name " + Quoted(form->name()) + "\n";
        for (int e = 0; e < form->nElements(); ++e) {
            const CHTMLFormElement* el = form->element(e);
            out += "  element " + std::to_string(e + 1) + ": " + TypeName(el->type()) + ", name " +
                   Quoted(el->name()) + ", value " + Quoted(el->value()) + "\n";
            if (const auto* menu = dynamic_cast<const CHTMLMenu*>(el)) {
                for (int i = 0; i < menu->nItems(); ++i) {
                    const CHTMLMenuItem* item = menu->item(i);
                    out += "    option: value " + Quoted(item->value()) + ", text " +
                           Quoted(item->text()) + (item->selected() ? ", selected" : "") + "\n";
                }
            }
            if (const auto* radio = dynamic_cast<const CHTMLRadio*>(el)) {
                for (int i = 0; i < radio->nValues(); ++i) {
                    out += "    radio: value " + Quoted(radio->value(i)->value()) +
                           (radio->value(i)->checked() ? ", checked" : "") + "\n";
                }
            }
        }
    }
    for (int l = 0; l < page.nLinks(); ++l) {
        const CHTMLLink* link = page.link(static_cast<unsigned>(l));
        out += "link " + std::to_string(l + 1) + ": " + TagName(link->tag()) + " " +
               link->urlAttrName() + " " + Quoted(link->url());
        out += link->isResource() ? ", resource" : "";
        out += link->isFollowable() ? ", followable" : "";
        out += link->isMap() ? ", map" : "";
        out += "\n";
    }
    for (int m = 0; m < page.nMaps(); ++m) {
        const CHTMLMap* map = page.map(static_cast<unsigned>(m));
        out += "map " + std::to_string(m + 1) + ": name " + Quoted(map->name()) + ", links";
        for (int i = 0; i < map->nLinks(); ++i) {
            out += " " + std::to_string(LinkIndex(page, map->element(i)) + 1);
        }
        out += "\n";
    }
    for (int b = 0; b < page.nBases(); ++b) {
        const CHTMLObjectImpl* base = page.baseElement(static_cast<unsigned>(b));
        out += "base " + std::to_string(b + 1) + ": href " + Quoted(base->attr("href")) +
               ", target " + Quoted(base->attr("target")) + "\n";
    }
    if (const CHTMLLink* refresh = RefreshLink(page)) {
        out += "refresh: time " + Quoted(refresh->getObject()->attr("time")) + ", url " +
               Quoted(refresh->url()) + "\n";
    }
    return out;
}

MString CHTMLPageDump::Json(const CHTMLScanner& page) {
    MString out = "{\"title\":" + JsonString(page.title()) +
                  ",\"frameset\":" + Bool(page.isFrameSet()) + ",\"frame\":" + Bool(page.isFrame());
    out += ",\"forms\":[";
    for (int f = 0; f < page.nForms(); ++f) {
        const CHTMLForm* form = page.form(static_cast<unsigned>(f));
        out += f > 0 ? "," : "";
        out += "{\"method\":\"" +
               MString(form->method() == CHTMLForm::METHOD_POST ? "POST" : "GET") +
               "\",\"action\":" + JsonString(form->action()) +
               ",\"name\":" + JsonString(form->name()) + ",\"elements\":[";
        for (int e = 0; e < form->nElements(); ++e) {
            const CHTMLFormElement* el = form->element(e);
            out += e > 0 ? "," : "";
            out += "{\"type\":\"" + MString(TypeName(el->type())) +
                   "\",\"typeNumber\":" + std::to_string(el->type()) +
                   ",\"name\":" + JsonString(el->name()) + ",\"value\":" + JsonString(el->value());
            if (const auto* menu = dynamic_cast<const CHTMLMenu*>(el)) {
                out += ",\"options\":[";
                for (int i = 0; i < menu->nItems(); ++i) {
                    const CHTMLMenuItem* item = menu->item(i);
                    out += i > 0 ? "," : "";
                    out += "{\"value\":" + JsonString(item->value()) +
                           ",\"text\":" + JsonString(item->text()) +
                           ",\"selected\":" + Bool(item->selected()) + "}";
                }
                out += "]";
            }
            if (const auto* radio = dynamic_cast<const CHTMLRadio*>(el)) {
                out += ",\"values\":[";
                for (int i = 0; i < radio->nValues(); ++i) {
                    out += i > 0 ? "," : "";
                    out += "{\"value\":" + JsonString(radio->value(i)->value()) +
                           ",\"checked\":" + Bool(radio->value(i)->checked()) + "}";
                }
                out += "]";
            }
            out += "}";
        }
        out += "]}";
    }
    out += "],\"links\":[";
    for (int l = 0; l < page.nLinks(); ++l) {
        const CHTMLLink* link = page.link(static_cast<unsigned>(l));
        out += l > 0 ? "," : "";
        out += "{\"tag\":\"" + MString(TagName(link->tag())) +
               "\",\"attribute\":" + JsonString(link->urlAttrName()) +
               ",\"url\":" + JsonString(link->url()) + ",\"resource\":" + Bool(link->isResource()) +
               ",\"followable\":" + Bool(link->isFollowable()) + ",\"map\":" + Bool(link->isMap()) +
               "}";
    }
    out += "],\"maps\":[";
    for (int m = 0; m < page.nMaps(); ++m) {
        const CHTMLMap* map = page.map(static_cast<unsigned>(m));
        out += m > 0 ? "," : "";
        out += "{\"name\":" + JsonString(map->name()) + ",\"links\":[";
        for (int i = 0; i < map->nLinks(); ++i) {
            out += (i > 0 ? "," : "") + std::to_string(LinkIndex(page, map->element(i)));
        }
        out += "]}";
    }
    out += "],\"bases\":[";
    for (int b = 0; b < page.nBases(); ++b) {
        const CHTMLObjectImpl* base = page.baseElement(static_cast<unsigned>(b));
        out += b > 0 ? "," : "";
        out += "{\"href\":" + JsonString(base->attr("href")) +
               ",\"target\":" + JsonString(base->attr("target")) + "}";
    }
    out += "],\"refresh\":";
    if (const CHTMLLink* refresh = RefreshLink(page)) {
        out += "{\"time\":" + JsonString(refresh->getObject()->attr("time")) +
               ",\"url\":" + JsonString(refresh->url()) + "}";
    } else {
        out += "null";
    }
    return out + "}";
}

#include "webstep/forms/StepResolver.h"

#include <strings.h>

#include <cctype>
#include <cstdlib>
#include <memory>
#include <string>

#include "webstep/forms/HtmlAttribute.h"
#include "webstep/forms/HtmlAttributeSet.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/html/HTMLObject.h"
#include "webstep/html/HTMLTag.h"
#include "webstep/html/HTMLVParser.h"

namespace {

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}

// Runs of white space count as one space and none at the ends: the scanner
// formats anchor text that way, and scripts are not always as tidy.
MString Normalised(const char* text) {
    MString out;
    if (text == nullptr)
        return out;
    bool pendingSpace = false;
    for (const char* p = text; *p != '\0'; ++p) {
        if (IsSpace(*p)) {
            pendingSpace = !out.empty();
            continue;
        }
        if (pendingSpace)
            out += ' ';
        pendingSpace = false;
        out += *p;
    }
    return out;
}

bool EqualNoCase(const MString& a, const char* b) {
    return b != nullptr && strcasecmp(a.c_str(), b) == 0;
}

bool IsParameter(const MString& text) {
    return text.size() >= 2 && text.front() == '{' && text.back() == '}';
}

// "Ordinal" as a count from 1; absent gives 1, anything else but a positive
// decimal number is refused.
bool ReadOrdinal(const CAttributeSet& attributes, unsigned int& ordinal, MString& why) {
    ordinal = 1;
    MString text;
    if (!attributes.GetAttribute("Ordinal", text))
        return true;
    char* end = nullptr;
    const unsigned long value = std::strtoul(text.c_str(), &end, 10);
    if (text.empty() || !std::isdigit(static_cast<unsigned char>(text[0])) || *end != '\0' ||
        value == 0 || value > 100000) {
        why = "the Ordinal \"" + text + "\" is not a number from 1";
        return false;
    }
    ordinal = static_cast<unsigned int>(value);
    return true;
}

// The documents to search: the one frame the step names, or all of them.
bool Scope(CContextTree& tree, const CAttributeSet& attributes, std::vector<CContextTree*>& docs,
           MString& why) {
    docs.clear();
    MString frame;
    if (attributes.GetAttribute("Frame", frame) && !frame.empty()) {
        CContextTree* node = CStepResolver::FindFrame(tree, frame);
        if (node == nullptr) {
            why = "the page has no frame named \"" + frame + "\"";
            return false;
        }
        if (node->GetTree() == nullptr) {
            why = "the frame \"" + frame + "\" has no recorded page";
            return false;
        }
        docs.push_back(node);
        return true;
    }
    CStepResolver::Documents(tree, docs);
    if (docs.empty()) {
        why = "there is no recorded page to search";
        return false;
    }
    return true;
}

MString Found(unsigned int count, unsigned int ordinal) {
    if (count == 0 || ordinal <= 1)
        return MString();
    return " (" + std::to_string(count) + " found, Ordinal=" + std::to_string(ordinal) + ")";
}

// The base that a form's action is taken against: its base element's href
// resolved against the document, else the document URL.
CURLParser FormBase(const CContextTree& node, const CHTMLForm& form) {
    const char* base = form.base();
    if (base != nullptr && *base != '\0') {
        CURLParser url(node.GetUrl(), base);
        if (url.IsValid())
            return url;
    }
    return node.GetUrl();
}

}  // namespace

CURLParser CStepResolver::LinkUrl(const CContextTree& node, const CHTMLLink& link) {
    const char* href = link.url() != nullptr ? link.url() : "";
    const char* base = link.base();
    if (base != nullptr && *base != '\0') {
        CURLParser baseUrl(node.GetUrl(), base);
        if (baseUrl.IsValid())
            return CURLParser(baseUrl, href);
    }
    return CURLParser(node.GetUrl(), href);
}

unsigned int CStepResolver::PlaceFrames(CContextTree& node, const MString& baseName,
                                        const PageLoader& loader, unsigned int maxDepth) {
    FramePageLoader byName;
    if (loader)
        byName = [&loader](CContextTree&, const MString& snapshot) { return loader(snapshot); };
    return PlaceFrames(node, baseName, byName, maxDepth);
}

unsigned int CStepResolver::PlaceFrames(CContextTree& node, const MString& baseName,
                                        const FramePageLoader& loader, unsigned int maxDepth) {
    CHTMLVParser* page = node.GetTree();
    if (page == nullptr || maxDepth == 0)
        return 0;
    unsigned int placed = 0;
    const int count = page->nLinks();
    for (int i = 0; i < count; ++i) {
        CHTMLLink* link = page->link(i);
        if (link == nullptr || (link->tag() != HTML_FRAME && link->tag() != HTML_IFRAME))
            continue;
        const CURLParser url = LinkUrl(node, *link);
        if (!url.IsValid())
            continue;
        std::unique_ptr<CContextTree> child(node.CreateObject());
        child->SetUrl(url);
        if (!node.AddChild(child.get(), url, false))
            continue;
        CContextTree* placedChild = child.release();
        ++placed;
        if (const CHTMLObject* object = link->getObject()) {
            const char* name = object->attr("name");
            placedChild->SetFrameName(name != nullptr ? name : "");
        }
        const MString snapshot =
            placedChild->ComputeSnapshotFileName("", "text/html", baseName, true);
        if (loader) {
            if (CHTMLVParser* framePage = loader(*placedChild, snapshot)) {
                placedChild->SetTree(framePage);
                placed += PlaceFrames(*placedChild, baseName, loader, maxDepth - 1);
            }
        }
    }
    return placed;
}

CContextTree* CStepResolver::FindFrame(CContextTree& tree, const MString& name) {
    CContextTreeIterator it(&tree);
    for (CContextTree* node = it.GetNext(); node != nullptr; node = it.GetNext()) {
        if (node != &tree && EqualNoCase(name, node->GetFrameName().c_str()))
            return node;
    }
    return nullptr;
}

void CStepResolver::Documents(CContextTree& tree, std::vector<CContextTree*>& out) {
    // Depth first in child order, without recursion.
    std::vector<CContextTree*> pending{&tree};
    while (!pending.empty()) {
        CContextTree* node = pending.back();
        pending.pop_back();
        if (node->GetTree() != nullptr)
            out.push_back(node);
        const std::vector<CContextTree*>& children = node->GetChildrenArray();
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            if (*it != nullptr)
                pending.push_back(*it);
    }
}

bool CStepResolver::FindLink(CContextTree& tree, const CAttributeSet& attributes,
                             StepTarget& target, MString& why) {
    target = StepTarget();
    MString text;
    if (!attributes.GetAttribute("Text", text)) {
        why = "the step names no link text (Text=...)";
        return false;
    }
    target.text = text;
    if (IsParameter(text)) {
        why = "the link text " + text + " is a parameter, known only at run time";
        return false;
    }
    unsigned int ordinal = 1;
    std::vector<CContextTree*> docs;
    if (!ReadOrdinal(attributes, ordinal, why) || !Scope(tree, attributes, docs, why))
        return false;
    const MString wanted = Normalised(text.c_str());
    unsigned int count = 0;
    for (CContextTree* node : docs) {
        CHTMLVParser* page = node->GetTree();
        const int links = page->nLinks();
        for (int i = 0; i < links; ++i) {
            CHTMLLink* link = page->link(i);
            if (link == nullptr || link->tag() != HTML_A || link->getObject() == nullptr)
                continue;
            if (Normalised(link->getObject()->content()) != wanted)
                continue;
            if (++count != ordinal)
                continue;
            target.node = node;
            target.link = link;
            target.url = LinkUrl(*node, *link);
            return true;
        }
    }
    why = "no link with the text \"" + text + "\"" + Found(count, ordinal);
    return false;
}

bool CStepResolver::FindImage(CContextTree& tree, const CAttributeSet& attributes, const MString& x,
                              const MString& y, StepTarget& target, MString& why) {
    target = StepTarget();
    unsigned int ordinal = 1;
    std::vector<CContextTree*> docs;
    if (!ReadOrdinal(attributes, ordinal, why) || !Scope(tree, attributes, docs, why))
        return false;

    MString mapName;
    if (attributes.GetAttribute("MapName", mapName)) {
        MString areaAlt, areaOrdinalText;
        const bool byAlt = attributes.GetAttribute("AreaAlt", areaAlt);
        const bool byOrdinal = attributes.GetAttribute("AreaOrdinal", areaOrdinalText);
        const long areaOrdinal = byOrdinal ? std::strtol(areaOrdinalText.c_str(), nullptr, 10) : 0;
        target.text = "map " + mapName + (byAlt ? ", area " + areaAlt : MString());
        for (CContextTree* node : docs) {
            CHTMLVParser* page = node->GetTree();
            for (int m = 0; m < page->nMaps(); ++m) {
                CHTMLMap* map = page->map(m);
                if (map == nullptr || !EqualNoCase(mapName, map->name()))
                    continue;
                for (int a = 0; a < map->nLinks(); ++a) {
                    CHTMLLink* area = map->element(a);
                    if (area == nullptr)
                        continue;
                    const CHTMLObject* object = area->getObject();
                    const bool altFits =
                        !byAlt || (object != nullptr && object->attr("alt") != nullptr &&
                                   Normalised(object->attr("alt")) == Normalised(areaAlt.c_str()));
                    const bool ordinalFits = !byOrdinal || areaOrdinal == a + 1;
                    if (!altFits || !ordinalFits)
                        continue;
                    target.node = node;
                    target.link = area;
                    target.url = LinkUrl(*node, *area);
                    return true;
                }
                why = "the map \"" + mapName + "\" has no area" +
                      (byAlt ? " with the text \"" + areaAlt + "\"" : MString()) +
                      (byOrdinal ? " at AreaOrdinal=" + areaOrdinalText : MString());
                return false;
            }
        }
        why = "no image map named \"" + mapName + "\"";
        return false;
    }

    MString src, alt;
    const bool bySrc = attributes.GetAttribute("Src", src);
    const bool byAlt = attributes.GetAttribute("Alt", alt);
    if (!bySrc && !byAlt) {
        why = "the step names neither Src nor Alt of an image";
        return false;
    }
    target.text = bySrc ? src : alt;
    if ((bySrc && IsParameter(src)) || (byAlt && IsParameter(alt))) {
        why = "the image is named by a parameter, known only at run time";
        return false;
    }
    unsigned int count = 0;
    for (CContextTree* node : docs) {
        CHTMLVParser* page = node->GetTree();
        const int links = page->nLinks();
        for (int i = 0; i < links; ++i) {
            CHTMLLink* image = page->link(i);
            if (image == nullptr || (image->tag() != HTML_IMG && image->tag() != HTML_IMAGE))
                continue;
            const CHTMLObject* object = image->getObject();
            if (bySrc) {
                // The script may name the source by its last path segment.
                const CParametrizableArgument pageSrc(MString(image->url() ? image->url() : ""));
                const CURLParser pageAbsolute = LinkUrl(*node, *image);
                const CURLParser scriptAbsolute(node->GetUrl(), src.c_str());
                const bool same =
                    pageAbsolute.IsValid() && scriptAbsolute.IsValid() &&
                    pageAbsolute.GetFullURLWithSearch() == scriptAbsolute.GetFullURLWithSearch();
                if (!same && !pageSrc.SrcMatches(CParametrizableArgument(src)))
                    continue;
            }
            if (byAlt && (object == nullptr || object->attr("alt") == nullptr ||
                          Normalised(object->attr("alt")) != Normalised(alt.c_str())))
                continue;
            if (++count != ordinal)
                continue;
            target.node = node;
            // The click follows the anchor that holds the image.
            for (int k = 0; k < links; ++k) {
                CHTMLLink* anchorLink = page->link(k);
                if (anchorLink == nullptr || anchorLink->tag() != HTML_A)
                    continue;
                auto* anchor = dynamic_cast<CHTMLAnchor*>(anchorLink->getObject());
                if (anchor == nullptr || object == nullptr || anchor->getImage() != object)
                    continue;
                target.link = anchorLink;
                target.url = LinkUrl(*node, *anchorLink);
                if (anchorLink->isMap() && !x.empty() && !y.empty() && target.url.IsValid()) {
                    // A server-side map receives the click as "?x,y".
                    const MString clicked = target.url.GetFullURL() + "?" + x + "," + y;
                    target.url = CURLParser(clicked.c_str());
                }
                return true;
            }
            why = "the image \"" + target.text + "\" is not inside a link";
            return false;
        }
    }
    why = "no image with " +
          (bySrc ? "Src \"" + src + "\"" + (byAlt ? MString(" and ") : MString()) : MString()) +
          (byAlt ? "Alt \"" + alt + "\"" : MString()) + Found(count, ordinal);
    return false;
}

bool CStepResolver::FindForm(CContextTree& tree, const CAttributeSet& attributes,
                             const CDataSet& hiddens, StepTarget& target, MString& why) {
    target = StepTarget();
    unsigned int ordinal = 1;
    if (!ReadOrdinal(attributes, ordinal, why))
        return false;
    MString frame;
    if (attributes.GetAttribute("Frame", frame) && !frame.empty() &&
        FindFrame(tree, frame) == nullptr) {
        why = "the page has no frame named \"" + frame + "\"";
        return false;
    }
    // What the step requires, in the keys of the form's own attribute set.
    CHtmlAttributeSet wanted;
    MString action, description;
    bool byAction = false;
    CPropertyBagIterator it(attributes);
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value)) {
        const char* key = nullptr;
        if (EqualNoCase(name, "Name"))
            key = CForm::KeyName;
        else if (EqualNoCase(name, "Method")) {
            key = CForm::KeyMethod;
            for (char& c : value)
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        } else if (EqualNoCase(name, "TargetFrame"))
            key = CForm::KeyTargetFrame;
        else if (EqualNoCase(name, "Frame"))
            key = CForm::KeyFrame;
        else if (EqualNoCase(name, "Action")) {
            byAction = true;
            action = value;
        }
        if (key == nullptr && !EqualNoCase(name, "Action"))
            continue;
        description += (description.empty() ? "" : ", ") + name + "=" + value;
        if (key != nullptr)
            wanted.AddAttribute(new CStringAttribute(key, value));
    }
    unsigned int hiddenCount = 0;
    for (const CData* item : hiddens.DataElements().GetList()) {
        wanted.AddAttribute(new CHiddenAttribute(item->GetName(), item->GetValue()));
        ++hiddenCount;
    }
    if (hiddenCount != 0)
        description += (description.empty() ? "" : ", ") + std::to_string(hiddenCount) +
                       " hidden field" + (hiddenCount == 1 ? "" : "s");

    std::vector<CContextTree*> docs;
    Documents(tree, docs);
    unsigned int count = 0, forms = 0;
    MString seen;
    for (CContextTree* node : docs) {
        CHTMLVParser* page = node->GetTree();
        for (int i = 0; i < page->nForms(); ++i) {
            CHTMLForm* htmlForm = page->form(i);
            if (htmlForm == nullptr)
                continue;
            ++forms;
            CForm form(page, htmlForm, true, node->GetFrameName());
            const CURLParser formAction(FormBase(*node, *htmlForm), form.GetActionUrl().c_str());
            if (forms <= 5) {
                seen += (seen.empty() ? "" : ", ") +
                        (form.GetName().empty() ? MString("(unnamed)") : form.GetName()) + " -> " +
                        (form.GetActionUrl().empty() ? MString("(page)") : form.GetActionUrl());
            }
            if (!form.MatchAttributes(wanted))
                continue;
            if (byAction && form.GetActionUrl() != action) {
                const CURLParser stepAction(FormBase(*node, *htmlForm), action.c_str());
                if (!formAction.IsValid() || !stepAction.IsValid() ||
                    formAction.GetFullURLWithSearch() != stepAction.GetFullURLWithSearch())
                    continue;
            }
            if (++count != ordinal)
                continue;
            target.node = node;
            target.form = htmlForm;
            target.formIndex = i;
            target.url = formAction;
            target.text = form.GetName();
            return true;
        }
    }
    if (forms == 0) {
        why = "the page has no form";
        return false;
    }
    why = "no form matches " + (description.empty() ? MString("the step") : description) +
          Found(count, ordinal) + "; the page has " + std::to_string(forms) + " form" +
          (forms == 1 ? "" : "s") + ": " + seen + (forms > 5 ? ", ..." : "");
    return false;
}

#include "webstep/replay/XPathQuery.h"

#include <libxml/HTMLparser.h>
#include <libxml/HTMLtree.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>
#include <strings.h>

#include <cctype>
#include <memory>
#include <mutex>

namespace {

void InitOnce() {
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
}

// Collects libxml2's messages instead of letting it print them; restores
// the previous handlers (they are per thread) when it goes.
class ErrorCapture {
public:
    ErrorCapture()
        : m_OldStructured(xmlStructuredError),
          m_OldStructuredContext(xmlStructuredErrorContext),
          m_OldGeneric(xmlGenericError),
          m_OldGenericContext(xmlGenericErrorContext) {
        xmlSetStructuredErrorFunc(this, &ErrorCapture::OnError);
        xmlSetGenericErrorFunc(this, &ErrorCapture::OnGeneric);
    }
    ~ErrorCapture() {
        xmlSetStructuredErrorFunc(m_OldStructuredContext, m_OldStructured);
        xmlSetGenericErrorFunc(m_OldGenericContext, m_OldGeneric);
    }
    ErrorCapture(const ErrorCapture&) = delete;
    ErrorCapture& operator=(const ErrorCapture&) = delete;

    const std::string& First() const { return m_First; }

private:
    static void OnError(void* context, xmlErrorPtr error) {
        auto* self = static_cast<ErrorCapture*>(context);
        if (self->m_First.empty() && error != nullptr && error->message != nullptr) {
            self->m_First = error->message;
            while (!self->m_First.empty() &&
                   std::isspace(static_cast<unsigned char>(self->m_First.back())))
                self->m_First.pop_back();
        }
    }
    static void OnGeneric(void*, const char*, ...) {}

    xmlStructuredErrorFunc m_OldStructured;
    void* m_OldStructuredContext;
    xmlGenericErrorFunc m_OldGeneric;
    void* m_OldGenericContext;
    std::string m_First;
};

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocFree>;

bool Load(std::string_view body, MarkupKind kind, DocPtr& doc, std::string& error) {
    InitOnce();
    if (body.size() > CMarkupQuery::kMaxText) {
        error = "a body of " + std::to_string(body.size()) + " bytes is larger than the " +
                std::to_string(CMarkupQuery::kMaxText) + " bytes a markup query reads";
        return false;
    }
    const int size = static_cast<int>(body.size());
    if (kind == MarkupKind::Xml) {
        doc.reset(xmlReadMemory(
            body.data(), size, nullptr, nullptr,
            XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    } else {
        doc.reset(htmlReadMemory(
            body.data(), size, nullptr, nullptr,
            HTML_PARSE_RECOVER | HTML_PARSE_NONET | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING));
    }
    if (!doc || xmlDocGetRootElement(doc.get()) == nullptr) {
        error = std::string("the body could not be read as ") +
                (kind == MarkupKind::Xml ? "XML" : "HTML");
        doc.reset();
        return false;
    }
    return true;
}

std::string Text(xmlChar* text) {
    std::string out = text ? reinterpret_cast<const char*>(text) : "";
    xmlFree(text);
    return out;
}

std::string Markup(xmlDoc* doc, xmlNode* node, MarkupKind kind) {
    xmlBuffer* buffer = xmlBufferCreate();
    if (buffer == nullptr)
        return {};
    if (kind == MarkupKind::Html && node->type != XML_ATTRIBUTE_NODE)
        htmlNodeDump(buffer, doc, node);
    else
        xmlNodeDump(buffer, doc, node, 0, 0);
    std::string out(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                    static_cast<std::size_t>(xmlBufferLength(buffer)));
    xmlBufferFree(buffer);
    return out;
}

bool NameIs(const xmlChar* name, const std::string& wanted) {
    return name != nullptr && strcasecmp(reinterpret_cast<const char*>(name), wanted.c_str()) == 0;
}

// The value of an attribute named `name` (case ignored), or false.
bool AttributeValue(xmlNode* element, const std::string& name, std::string& value) {
    for (xmlAttr* attribute = element->properties; attribute; attribute = attribute->next) {
        if (NameIs(attribute->name, name)) {
            value = Text(xmlNodeListGetString(element->doc, attribute->children, 1));
            return true;
        }
    }
    return false;
}

}  // namespace

MarkupKind CMarkupQuery::Detect(std::string_view body, const std::string* contentType) {
    if (contentType != nullptr && !contentType->empty()) {
        std::string type;
        for (char c : *contentType)
            type.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
        if (type.find("html") != std::string::npos)
            return MarkupKind::Html;
        if (type.find("xml") != std::string::npos)
            return MarkupKind::Xml;
    }
    std::size_t at = 0;
    if (body.substr(0, 3) == "\xEF\xBB\xBF")
        at = 3;
    while (at < body.size() && std::isspace(static_cast<unsigned char>(body[at])))
        ++at;
    return body.substr(at, 5) == "<?xml" ? MarkupKind::Xml : MarkupKind::Html;
}

bool CMarkupQuery::XPath(std::string_view body, MarkupKind kind, const std::string& query,
                         bool returnXml, std::vector<std::string>& values, std::string& error,
                         std::size_t wanted) {
    ErrorCapture capture;
    DocPtr doc;
    if (!Load(body, kind, doc, error))
        return false;
    xmlXPathContext* context = xmlXPathNewContext(doc.get());
    if (context == nullptr) {
        error = "no XPath context";
        return false;
    }
    xmlXPathObject* result =
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(query.c_str()), context);
    if (result == nullptr) {
        error = "the XPath \"" + query + "\" does not compile" +
                (capture.First().empty() ? "" : ": " + capture.First());
        xmlXPathFreeContext(context);
        return false;
    }
    if (result->type == XPATH_NODESET) {
        xmlNodeSet* nodes = result->nodesetval;
        const int count = nodes ? nodes->nodeNr : 0;
        for (int i = 0; i < count && values.size() < wanted; ++i) {
            xmlNode* node = nodes->nodeTab[i];
            if (returnXml)
                values.push_back(Markup(doc.get(), node, kind));
            else
                values.push_back(Text(xmlNodeGetContent(node)));
        }
    } else if (values.size() < wanted) {
        values.push_back(Text(xmlXPathCastToString(result)));
    }
    xmlXPathFreeObject(result);
    xmlXPathFreeContext(context);
    return true;
}

bool CMarkupQuery::Attributes(std::string_view body, MarkupKind kind, const std::string& tag,
                              const std::string& extract,
                              const std::vector<std::pair<std::string, std::string>>& select,
                              std::vector<std::string>& values, std::string& error,
                              std::size_t wanted) {
    ErrorCapture capture;
    DocPtr doc;
    if (!Load(body, kind, doc, error))
        return false;
    // Document order without recursion: deep markup cannot exhaust the stack.
    xmlNode* node = xmlDocGetRootElement(doc.get());
    while (node != nullptr && values.size() < wanted) {
        if (node->type == XML_ELEMENT_NODE && NameIs(node->name, tag)) {
            bool all = true;
            std::string value;
            for (const auto& [name, expected] : select) {
                if (!AttributeValue(node, name, value) || value != expected) {
                    all = false;
                    break;
                }
            }
            if (all && AttributeValue(node, extract, value))
                values.push_back(value);
        }
        // Only elements are entered: entity references point into the DTD.
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
            node = node->children;
            continue;
        }
        while (node != nullptr && node->next == nullptr)
            node = node->parent && node->parent->type != XML_DOCUMENT_NODE &&
                           node->parent->type != XML_HTML_DOCUMENT_NODE
                       ? node->parent
                       : nullptr;
        if (node != nullptr)
            node = node->next;
    }
    return true;
}

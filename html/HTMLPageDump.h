#pragma once
// Readable renderings of a scanned page model: plain text for people and
// JSON for tools. Both list the title, the frameset and frame flags, the
// forms with their method, action, name and elements (type, name, value,
// menu items, radio values), the links with their tag, attribute, URL and
// flags, the image maps with their links, the base elements and the refresh
// time and URL.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

class CHTMLScanner;

/// Text and JSON renderings of a scanned page model (what the tool's page
/// command prints). Static functions; a page without content gives the
/// renderings of an empty model.
class WEBSTEP_API CHTMLPageDump {
public:
    /// One item a line; texts in double quotes with backslash escapes, "null"
    /// for a missing text.
    static MString Text(const CHTMLScanner& page);
    /// One JSON object; texts are converted from the process code page to
    /// UTF-8 (bytes that do not convert become "?"). A map lists its links as
    /// 0-based indexes into "links" (the text form numbers them from 1).
    static MString Json(const CHTMLScanner& page);
    /// The name of an element type ("text", "password", ... "button").
    static const char* TypeName(int type);
};

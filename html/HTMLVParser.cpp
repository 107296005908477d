#include "webstep/html/HTMLVParser.h"

// Pure only to keep the facade abstract; subclasses still run this body.
CHTMLVParser::~CHTMLVParser() = default;

// The two frameset rows are deliberately neither resources nor followable.
const LinkSpec CHTMLVParser::linkDescriptor[] = {
    {HTML_A, "href", false, true, true},
    {HTML_APPLET, "codebase", true, false, false},
    {HTML_AREA, "href", false, true, true},
    {HTML_BODY, "background", true, false, false},
    {HTML_FORM, "action", false, true, true},
    {HTML_FRAME, "src", true, true, true},
    {HTML_FRAMESET, "rows", false, false, false},
    {HTML_FRAMESET, "cols", false, false, false},
    {HTML_IFRAME, "src", true, true, true},
    {HTML_ILAYER, "src", true, true, true},
    {HTML_META, "content", true, true, true},
    {HTML_IMG, "dynsrc", true, false, true},
    {HTML_IMG, "imagemap", true, false, true},
    {HTML_IMG, "src", true, false, true},
    {HTML_LAYER, "src", true, true, true},
    {HTML_LINK, "href", true, false, false},
    {HTML_INPUT, "src", true, false, false},
    {HTML_TABLE, "background", true, false, false},
    {HTML_TH, "background", true, false, false},
    {HTML_TD, "background", true, false, false},
    {HTML_SCRIPT, "src", true, false, false},
    {HTML_IMAGE, "dynsrc", true, false, true},
    {HTML_IMAGE, "imagemap", true, false, true},
    {HTML_IMAGE, "src", true, false, true},
    {HTML_UNKNOWN_TAG, nullptr, false, false, false},
};

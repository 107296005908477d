#pragma once
// A search for one tag in raw HTML text, without building a page model:
// used to find where a tag and one of its attribute values stand in a page.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// Byte offsets into the searched text of the tag found and of the value of
/// the attribute asked for.
struct WEBSTEP_API TagPositionData {
    unsigned long tagStart = 0;    // the "<"
    unsigned long tagEnd = 0;      // just past the ">" (the text's end for an unclosed tag)
    bool attrFound = false;        // the reported attribute is in the tag
    bool attrHasValue = false;     // ... and has a value
    unsigned long valueStart = 0;  // first byte of the value, inside its quotes
    unsigned long valueEnd = 0;    // just past its last byte
    char quote = '\0';             // the value's quote, or NUL when unquoted
};

/// Finds a start tag with a given attribute value in raw HTML text, without
/// a page model. Static functions; false, with the result untouched, when
/// there is no such tag.
class WEBSTEP_API CHTMLTagSearch {
public:
    /// Finds the occurrence-th (1 for the first; 0 counts as 1) start tag
    /// named tagName whose attribute attrName has exactly the value attrValue.
    ///
    /// Rules:
    /// - Tag and attribute names compare without regard to ASCII case; the
    ///   value compares byte for byte as written, without its quotes and
    ///   without decoding references.
    /// - An empty attrName matches every tag of that name; an empty attrValue
    ///   matches any value (and an attribute written without one).
    /// - Comments ("<!--" to "-->"), declarations ("<!" to ">"), processing
    ///   instructions ("<?" to ">") and end tags are skipped; inside a tag a
    ///   quoted value is skipped whole, so a ">" or "<" in it does not end
    ///   the tag. A "<" outside quotes ends an unclosed tag.
    /// - The positions reported in result are those of the tag and of the
    ///   value of reportAttr (attrName when reportAttr is empty). Only ASCII
    ///   bytes steer the walk, and no trail byte of the supported double-byte
    ///   code pages is one of them, so multi-byte text is walked safely.
    /// Returns false (result untouched) when there is no such tag, text is
    /// null, or tagName is empty.
    static bool FindTag(char* text, unsigned long length, const MString& tagName,
                        const MString& attrName, const MString& attrValue,
                        const MString& reportAttr, unsigned int occurrence,
                        TagPositionData& result);
};

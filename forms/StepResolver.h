#pragma once
// Finding, in the pages of a context tree, the page element that a context
// step (web_link, web_image, web_submit_form) acts on, and the absolute URL
// that following it requests.
#include <functional>

#include "webstep/context/ContextTree.h"
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/foundation/PropertyBag.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Form.h"
#include "webstep/url/URLParser.h"

class CHTMLForm;
class CHTMLLink;
class CHTMLVParser;

/**
 * @brief The page element found for a step: the document that holds it, the
 * link or form, and the absolute URL a replay would request.
 *
 * Nothing here is owned: node, link and form point into the context tree and
 * its pages, and stay valid as long as the tree keeps those pages.
 */
struct WEBSTEP_API StepTarget {
    CContextTree* node = nullptr;  ///< the document (top page or frame) holding the element
    CHTMLLink* link = nullptr;     ///< the link followed (web_link, web_image); null for a form
    CHTMLForm* form = nullptr;     ///< the page form (web_submit_form); null otherwise
    int formIndex = -1;            ///< the form's index on its page, from 0
    CURLParser url;  ///< absolute URL of the request (invalid when it cannot be formed)
    MString text;    ///< what identifies the element: link text, image source, form name
};

/**
 * @brief Resolves context steps against the recorded pages held in a context
 * tree, the way a replay picks its page element.
 *
 * The attributes are those a step parser leaves in the step (the element's
 * description): link "Text", image "Src", "Alt", "MapName", "AreaAlt",
 * "AreaOrdinal", form "Action", "Name", "Method", "TargetFrame", and for all
 * "Frame" (the name of the frame to search) and "Ordinal" (the n-th matching
 * element, from 1). Other attributes (Referer, Mode, ...) do not take part.
 * Documents are searched top page first, then the frames in tree order.
 *
 * Every operation answers by its result; on failure `why` says in plain words
 * what could not be found. The class holds no state.
 */
class WEBSTEP_API CStepResolver {
public:
    /// Reads a frame's recorded page given its snapshot file name (for
    /// example "t4f0.html"); returns a new page the tree will own, or null
    /// when there is no such snapshot.
    using PageLoader = std::function<CHTMLVParser*(const MString& snapshotName)>;
    using FramePageLoader =
        std::function<CHTMLVParser*(CContextTree& frame, const MString& snapshotName)>;

    /**
     * The absolute URL of a link of a document: its URL relative to the
     * link's base element (itself taken relative to the document's URL), or
     * relative to the document's URL without a base. Invalid when neither
     * gives a URL.
     */
    static CURLParser LinkUrl(const CContextTree& node, const CHTMLLink& link);

    /**
     * Places the frames of the node's page under it (`AddChild`), names each
     * child after its frame, computes its snapshot file name from baseName
     * (the step's snapshot, such as "t4") and loads its page through the
     * loader; frames of frames likewise, down to maxDepth levels. A frame
     * whose snapshot the loader cannot give stays without page. Returns the
     * number of frames placed.
     */
    static unsigned int PlaceFrames(CContextTree& node, const MString& baseName,
                                    const PageLoader& loader, unsigned int maxDepth = 8);
    /// The same with a loader that is also handed the frame's node (its URL
    /// and name are set), for callers that fetch the frame from its URL.
    static unsigned int PlaceFrames(CContextTree& node, const MString& baseName,
                                    const FramePageLoader& loader, unsigned int maxDepth = 8);

    /// The child frame (at any depth) whose frame name equals name,
    /// case-insensitively; null when there is none.
    static CContextTree* FindFrame(CContextTree& tree, const MString& name);

    /**
     * web_link: the anchor whose text equals the "Text" attribute (white
     * space at both ends not counted), the "Ordinal"-th of them. False with a
     * reason when the step names no text, the text is a parameter reference,
     * the frame or the link is not there.
     */
    static bool FindLink(CContextTree& tree, const CAttributeSet& attributes, StepTarget& target,
                         MString& why);

    /**
     * web_image: the image selected by "Src" (the last path segment is
     * enough, letter case ignored) and/or "Alt", the "Ordinal"-th of them,
     * and the link it leads to: its anchor's link, with "?x,y" appended for
     * a server-side map when x and y are given. With "MapName" the area of
     * that client-side map chosen by "AreaAlt" or "AreaOrdinal".
     */
    static bool FindImage(CContextTree& tree, const CAttributeSet& attributes, const MString& x,
                          const MString& y, StepTarget& target, MString& why);

    /**
     * web_submit_form: the "Ordinal"-th page form whose attributes
     * (`CForm::MatchAttributes`) hold the step's name, method, target frame,
     * frame and hidden fields, and whose action (as written, or resolved
     * against the page) equals the step's "Action". The target's url is the
     * form's absolute action URL.
     */
    static bool FindForm(CContextTree& tree, const CAttributeSet& attributes,
                         const CDataSet& hiddens, StepTarget& target, MString& why);

    /// The documents of the tree that have a page, top first, then the
    /// frames depth first in child order.
    static void Documents(CContextTree& tree, std::vector<CContextTree*>& out);
};

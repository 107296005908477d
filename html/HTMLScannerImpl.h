#pragma once
// The page scanner's machinery: the tag callback that turns start and end
// tags into page objects, the text callback that collects the text of
// titles, anchors, text areas and menu items, and the implementation that
// owns everything collected from one page.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/TextBuffer.h"
#include "webstep/html/HTMLBaseParser.h"
#include "webstep/html/HTMLForm.h"
#include "webstep/html/HTMLLink.h"
#include "webstep/html/HTMLObject.h"
#include "webstep/html/TagMap.h"

class CHTMLScannerImpl;

/// Collects text delivered by the lexer. With formatting on, text() gives the
/// text with white space trimmed and collapsed.
class WEBSTEP_API CHTMLScannerTextCallback : public TextCallback {
public:
    CHTMLScannerTextCallback();
    CHTMLScannerTextCallback(const CHTMLScannerTextCallback&) = delete;
    CHTMLScannerTextCallback& operator=(const CHTMLScannerTextCallback&) = delete;
    ~CHTMLScannerTextCallback() override;

    void onText(const char* text, unsigned length) override;

    bool format() const { return m_format; }
    void setFormat(bool format) { m_format = format; }
    /// Empties the text (the capacity stays).
    void reset();
    /// The raw text when formatting is off, else the formatted copy.
    const char* text();
    /// What text() gives, copied into arena (no formatted copy is kept).
    const char* copyText(CHTMLAttrArena& arena);
    const char* rawText() const { return m_raw; }
    int capacity() const { return m_capacity; }

    /// Leading white space dropped, every inner run of white space made one
    /// space, trailing white space dropped, multi-byte characters copied
    /// whole; a lone byte 0xA0 becomes a space that is deliberately not
    /// merged with the white space around it.
    static MString Format(const char* text);
    /// Leading and trailing white space removed (multi-byte aware).
    static MString Trim(const char* text);

private:
    bool m_format;
    char* m_raw;
    char* m_formatted;
    int m_capacity;
    int m_length;
};

/// Turns start and end tags into page objects of the scanner's results.
/// Owned by the scanner implementation.
class WEBSTEP_API CHTMLScannerTagCallback : public TagCallback {
public:
    CHTMLScannerTagCallback(CHTMLScannerImpl* scanner, CHTMLScannerTextCallback* text);
    CHTMLScannerTagCallback(const CHTMLScannerTagCallback&) = delete;
    CHTMLScannerTagCallback& operator=(const CHTMLScannerTagCallback&) = delete;
    ~CHTMLScannerTagCallback() override;

    void onStartTag(HTMLTag tag, CHTMLAttrs*& attrs) override;
    void onEndTag(HTMLTag tag) override;

    /// Forgets everything of the previous page.
    void reset();
    /// End of input: pending text goes to its target, an open title is
    /// stored, an open menu item gets its text.
    void stopParse();

    /// Trims the value, drops inner white space and writes each plain space as
    /// %20. Returns a new malloc'ed string (the caller frees it).
    static char* processURL(const char* value);
    /// The same, with the result in arena; a value that needs no change is
    /// returned as it is when inPlace is set (it must then lie in the arena).
    static const char* processURL(const char* value, CHTMLAttrArena& arena, bool inPlace);
    /// Splits the content of a refresh element into its time and its URL.
    static void splitRefresh(const char* content, MString& time, MString& url);

    /// The object that receives the collected text (null when none).
    CHTMLObjectImpl* textTarget() const { return m_textTarget; }

private:
    void deliverText();
    void storeTitle();
    void dropObject();

    CHTMLScannerImpl* m_scanner;
    CHTMLScannerTextCallback* m_text;
    CTagMapInfo* m_info;
    CHTMLObjectImpl* m_object;
    CHTMLObjectImpl* m_textTarget;
    /// The arena before and after the current object was made: an object
    /// nobody adopted gives its room back when nothing was placed after it.
    CHTMLAttrArena::Mark m_objectStart;
    CHTMLAttrArena::Mark m_objectEnd;
    bool m_inTitle;
    bool m_inTextArea;
    bool m_inAnchor;
};

/// Everything collected from one page: forms, links, maps, base elements,
/// title, frame state. Owned by CHTMLScanner; owns the objects it hands out.
class WEBSTEP_API CHTMLScannerImpl {
public:
    /// 13 rows and the terminating row.
    static const TagSpec theTagSpec[];

    /// table: the link table; null takes the default one.
    explicit CHTMLScannerImpl(const LinkSpec* table = nullptr);
    CHTMLScannerImpl(const CHTMLScannerImpl&) = delete;
    CHTMLScannerImpl& operator=(const CHTMLScannerImpl&) = delete;
    ~CHTMLScannerImpl();

    /// Replaces the link table (null: the default one).
    void setup(const LinkSpec* table);
    void startParse();
    void continueParse(const char* data, unsigned length);
    /// Ends the lexer's input and the tag callback's collection.
    void stopParse();

    /// Processing operations named by theTagSpec; each sets obj to null when
    /// it adopts it.
    void addForm(CHTMLObjectImpl*& obj);
    void addFormElement(CHTMLObjectImpl*& obj);
    void addMenu(CHTMLObjectImpl*& obj);
    void addMenuItem(CHTMLObjectImpl*& obj);
    void addMap(CHTMLObjectImpl*& obj);
    void addBASE(CHTMLObjectImpl*& obj);

    void addAnchor(CHTMLObjectImpl*& obj);
    void addImage(CHTMLObjectImpl*& obj);
    void addLinkObject(CHTMLObjectImpl*& obj);
    void addLink(const LinkSpec* entry, const char* url);
    /// addLink for a URL that already lies in the page's arena: the link
    /// refers to it.
    void addLinkInArena(const LinkSpec* entry, const char* url);
    void onISMAP();
    void endForm();
    void endMenu();
    void endMenuItem();
    void endMap();
    /// Takes the text (formatted as collected) as the title.
    void setTitle(const char* title);
    void setFrameSet(bool start);
    void setFrame() { m_isFrame = true; }
    void startTextNotification(bool format);
    void stopTextNotification();
    void registerCallbacks();
    /// Deletes everything collected.
    void cleanup();

    const CTagMap& tagMap() const { return m_tagMap; }
    /// Storage of the page model of the current page (emptied by cleanup).
    CHTMLAttrArena& arena() { return m_arena; }
    CHTMLBaseParser& lexer() { return m_lexer; }

    const char* title() const { return m_title; }
    int framesetDepth() const { return m_framesetDepth; }
    bool isFrame() const { return m_isFrame; }
    int nForms() const { return m_forms.size(); }
    CHTMLForm_* form(int i) const { return i >= 0 && i < m_forms.size() ? m_forms[i] : nullptr; }
    int nLinks() const { return m_links.size(); }
    CHTMLLinkImpl* link(int i) const { return i >= 0 && i < m_links.size() ? m_links[i] : nullptr; }
    int nMaps() const { return m_maps.size(); }
    CHTMLMap* map(int i) const { return i >= 0 && i < m_maps.size() ? m_maps[i] : nullptr; }
    int nBases() const { return m_bases.size(); }
    CHTMLObjectImpl* baseElement(int i) const {
        return i >= 0 && i < m_bases.size() ? m_bases[i] : nullptr;
    }
    int nObjects() const { return m_objects.size(); }
    CHTMLObjectDirect* object(int i) const {
        return i >= 0 && i < m_objects.size() ? m_objects[i] : nullptr;
    }

    CHTMLForm_* currentForm() const { return m_currentForm; }
    CHTMLMenu_* currentMenu() const { return m_currentMenu; }
    CHTMLMenuItem_* currentMenuItem() const { return m_currentMenuItem; }
    CHTMLMap* currentMap() const { return m_currentMap; }
    CHTMLAnchor* currentAnchor() const { return m_currentAnchor; }
    const StackOfInts& formStack() const { return m_formStack; }

private:
    CHTMLObjectImpl* lastBase() const;
    /// Gives the link its object and map and appends it.
    void appendLink(const LinkSpec* entry, CHTMLLinkImpl* link);
    /// The current form, or the one on top of the form stack made current.
    CHTMLForm_* resolveForm();

    CTagMap m_tagMap;
    CHTMLBaseParser m_lexer;
    CHTMLScannerTextCallback* m_textCallback;
    CHTMLScannerTagCallback* m_tagCallback;
    /// Declared before the lists so that it goes after the objects placed
    /// in it.
    CHTMLAttrArena m_arena;
    ArrayOfPointers<CHTMLLinkImpl> m_links;
    ArrayOfPointers<CHTMLObjectImpl> m_bases;
    ArrayOfPointers<CHTMLForm_> m_forms;
    ArrayOfPointers<CHTMLObjectDirect> m_objects;
    ArrayOfPointers<CHTMLMap> m_maps;
    StackOfInts m_formStack;
    CHTMLForm_* m_currentForm;
    CHTMLMenu_* m_currentMenu;
    CHTMLMenuItem_* m_currentMenuItem;
    CHTMLLinkImpl* m_currentAnchorLink;
    CHTMLAnchor* m_currentAnchor;
    CHTMLObjectDirect* m_currentElementObject;
    CHTMLMap* m_currentMap;
    int m_framesetDepth;
    bool m_isFrame;
    bool m_callbacksNeedRegistering;
    char* m_title;
};

#pragma once
// The HTML translation component used by the page scanner: it receives the
// same bytes as the lexer and may hand back a replacement page at the end of
// input, which the scanner then scans instead of the first scan's results.
//
// The component is replaceable through a factory. The default one reports
// that no translation exists, so the first scan stands.
#include "webstep/foundation/Export.h"

/// The HTML translation component that the scanner feeds alongside its lexer;
/// it may hand back a replacement page at the end of input. Made by the
/// replaceable factory and owned by the scanner for one page; the default
/// component never translates.
class WEBSTEP_API HTMLLoader {
public:
    virtual ~HTMLLoader();

    virtual void StartParse() = 0;
    virtual void ContinueParse(void* data, unsigned long length) = 0;
    /// Nonzero when a translated page is available.
    virtual int EndParse() = 0;
    /// Hands out the translated page; a negative status on failure. The text
    /// is given back with FreeTranslatedHTML.
    virtual int GetTranslatedHTML(char** text, unsigned long* length, bool outer) = 0;
    virtual void FreeTranslatedHTML(char* text) = 0;

    /// Not called by the scanner; kept so that a translator can offer them.
    virtual int GetOuterHTML(char** text, unsigned long* length);
    virtual void OnChange();
};

/// Reports that no translation exists.
class WEBSTEP_API CDefaultHTMLLoader : public HTMLLoader {
public:
    void StartParse() override {}
    void ContinueParse(void*, unsigned long) override {}
    int EndParse() override { return 0; }
    int GetTranslatedHTML(char** text, unsigned long* length, bool outer) override;
    void FreeTranslatedHTML(char* text) override;
};

/// Makes a new translator for one page; may return null (no translator).
typedef HTMLLoader* (*HTMLLoaderFactory)();

/// Replaces the factory used by every scanner from then on; null restores the
/// default. Returns the factory that was in place.
WEBSTEP_API HTMLLoaderFactory SetHTMLLoaderFactory(HTMLLoaderFactory factory);
WEBSTEP_API HTMLLoaderFactory GetHTMLLoaderFactory();
/// A new translator from the current factory (the caller deletes it).
WEBSTEP_API HTMLLoader* CreateHTMLLoader();
/// The default factory: a CDefaultHTMLLoader.
WEBSTEP_API HTMLLoader* CreateDefaultHTMLLoader();

#pragma once
// Cookies: added, added on a matching response, inserted, removed and cleared.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

/// web_add_cookie: a cookie added to the virtual user's cookies.
class WEBSTEP_API CWebStepAddCookie : public CWebStepData {
public:
    CWebStepAddCookie();
    CWebStepAddCookie(const CWebStepAddCookie& other);
    CWebStepAddCookie& operator=(const CWebStepAddCookie& other);
    ~CWebStepAddCookie() override;

    const MString& GetCookie() const { return m_Cookie; }
    void SetCookie(const char* text);

private:
    MString m_Cookie;
};

/// web_reg_add_cookie: a cookie added when a later response matches.
class WEBSTEP_API CWebStepRegAddCookie : public CWebStepAddCookie {
public:
    CWebStepRegAddCookie();
    CWebStepRegAddCookie(const CWebStepRegAddCookie& other);
    CWebStepRegAddCookie& operator=(const CWebStepRegAddCookie& other);
    ~CWebStepRegAddCookie() override;

    const MString& GetTextToFind() const { return m_TextToFind; }
    void SetTextToFind(const char* text);

private:
    MString m_TextToFind;
};

/// web_add_cookie_ex: a cookie added with extra options.
class WEBSTEP_API CWebStepAddCookieEx : public CWebStepAddCookie {
public:
    CWebStepAddCookieEx();
    CWebStepAddCookieEx(const CWebStepAddCookieEx& other);
    CWebStepAddCookieEx& operator=(const CWebStepAddCookieEx& other);
    ~CWebStepAddCookieEx() override;

    const MString& GetInsertAt() const { return m_InsertAt; }
    void SetInsertAt(const char* text);

private:
    MString m_InsertAt;
};

/// web_remove_cookie: a cookie removed.
class WEBSTEP_API CWebStepRemoveCookie : public CWebStepData {
public:
    CWebStepRemoveCookie();
    CWebStepRemoveCookie(const CWebStepRemoveCookie& other);
    CWebStepRemoveCookie& operator=(const CWebStepRemoveCookie& other);
    ~CWebStepRemoveCookie() override;

    const MString& GetCookie() const { return m_Cookie; }
    void SetCookie(const char* text);

private:
    MString m_Cookie;
};

/// web_cleanup_cookies: every cookie of the virtual user removed.
class WEBSTEP_API CWebStepCleanupCookies : public CWebStepData {
public:
    CWebStepCleanupCookies();
    CWebStepCleanupCookies(const CWebStepCleanupCookies& other);
    CWebStepCleanupCookies& operator=(const CWebStepCleanupCookies& other);
    ~CWebStepCleanupCookies() override;
};

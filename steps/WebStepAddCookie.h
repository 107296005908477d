#pragma once
// Cookies: added, added on a matching response, inserted, removed and cleared.
#include "webstep/foundation/MString.h"
#include "webstep/steps/WebStepData.h"

class CWebStepAddCookie : public CWebStepData {
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

class CWebStepRegAddCookie : public CWebStepAddCookie {
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

class CWebStepAddCookieEx : public CWebStepAddCookie {
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

class CWebStepRemoveCookie : public CWebStepData {
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

class CWebStepCleanupCookies : public CWebStepData {
public:
    CWebStepCleanupCookies();
    CWebStepCleanupCookies(const CWebStepCleanupCookies& other);
    CWebStepCleanupCookies& operator=(const CWebStepCleanupCookies& other);
    ~CWebStepCleanupCookies() override;
};

#include "webstep/steps/WebStepAddCookie.h"

#include "webstep/steps/StepText.h"

using webstep::steps::AssignText;

CWebStepAddCookie::CWebStepAddCookie() = default;
CWebStepAddCookie::CWebStepAddCookie(const CWebStepAddCookie& other) = default;
CWebStepAddCookie& CWebStepAddCookie::operator=(const CWebStepAddCookie& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Cookie = other.m_Cookie;
    }
    return *this;
}
CWebStepAddCookie::~CWebStepAddCookie() = default;
void CWebStepAddCookie::SetCookie(const char* text) {
    AssignText(m_Cookie, text);
}

CWebStepRegAddCookie::CWebStepRegAddCookie() = default;
CWebStepRegAddCookie::CWebStepRegAddCookie(const CWebStepRegAddCookie& other) = default;
CWebStepRegAddCookie& CWebStepRegAddCookie::operator=(const CWebStepRegAddCookie& other) {
    if (this != &other) {
        CWebStepAddCookie::operator=(other);
        m_TextToFind = other.m_TextToFind;
    }
    return *this;
}
CWebStepRegAddCookie::~CWebStepRegAddCookie() = default;
void CWebStepRegAddCookie::SetTextToFind(const char* text) {
    AssignText(m_TextToFind, text);
}

CWebStepAddCookieEx::CWebStepAddCookieEx() = default;
CWebStepAddCookieEx::CWebStepAddCookieEx(const CWebStepAddCookieEx& other) = default;
CWebStepAddCookieEx& CWebStepAddCookieEx::operator=(const CWebStepAddCookieEx& other) {
    if (this != &other) {
        CWebStepAddCookie::operator=(other);
        m_InsertAt = other.m_InsertAt;
    }
    return *this;
}
CWebStepAddCookieEx::~CWebStepAddCookieEx() = default;
void CWebStepAddCookieEx::SetInsertAt(const char* text) {
    AssignText(m_InsertAt, text);
}

CWebStepRemoveCookie::CWebStepRemoveCookie() = default;
CWebStepRemoveCookie::CWebStepRemoveCookie(const CWebStepRemoveCookie& other) = default;
CWebStepRemoveCookie& CWebStepRemoveCookie::operator=(const CWebStepRemoveCookie& other) {
    if (this != &other) {
        CWebStepData::operator=(other);
        m_Cookie = other.m_Cookie;
    }
    return *this;
}
CWebStepRemoveCookie::~CWebStepRemoveCookie() = default;
void CWebStepRemoveCookie::SetCookie(const char* text) {
    AssignText(m_Cookie, text);
}

CWebStepCleanupCookies::CWebStepCleanupCookies() = default;
CWebStepCleanupCookies::CWebStepCleanupCookies(const CWebStepCleanupCookies& other) = default;
CWebStepCleanupCookies& CWebStepCleanupCookies::operator=(const CWebStepCleanupCookies& other) {
    CWebStepData::operator=(other);
    return *this;
}
CWebStepCleanupCookies::~CWebStepCleanupCookies() = default;

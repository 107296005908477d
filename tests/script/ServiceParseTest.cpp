// The service and check step parsers: argument counts, readers, errors and
// the fields each argument fills.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ServiceParseSupport.h"
#include "webstep/forms/Data.h"
#include "webstep/forms/DataSet.h"
#include "webstep/script/PasswordDecryption.h"
#include "webstep/steps/WebSteps.h"

namespace {

std::string Code(const ParseOutcome& o) {
    return o.ok ? "ok" : o.error.substr(0, o.error.find('|'));
}

struct Case {
    const char* function;
    std::vector<const char*> accepted;
    std::vector<const char*> refused;
    const char* refusedCode;
};

// One accepting and one rejecting call for each service and check function.
const std::vector<Case>& Cases() {
    static const std::vector<Case> cases = {
        {"web_find", {"f", "What=Welcome", "LAST"}, {"f", "RightOf=x", "LAST"}, "1000"},
        {"web_image_check", {"i", "Src=a.gif", "LAST"}, {"i", "Frame=f", "LAST"}, "1000"},
        {"web_java_check", {"j", "ClassName=A", "LAST"}, {"j", "LAST"}, "1000"},
        {"web_set_proxy", {"proxy:8080"}, {":8080"}, "1007"},
        {"web_set_secure_proxy", {"proxy:8443"}, {"proxy", "x"}, "1010"},
        {"web_set_user", {"u", "p", "host:80"}, {"u", "p", ""}, "1007"},
        {"web_add_header", {"Accept", "*/*"}, {"Accept"}, "1008"},
        {"web_add_auto_header", {"Accept", "*/*"}, {"A", "b", "c"}, "1010"},
        {"web_cleanup_auto_headers", {}, {"x"}, "1010"},
        {"web_set_proxy_bypass", {"*.local"}, {}, "1008"},
        {"web_set_connections_limit", {"4"}, {"4 "}, "1006"},
        {"web_enable_keep_alive", {}, {"LAST"}, "1010"},
        {"web_disable_keep_alive", {}, {"LAST"}, "1010"},
        {"web_set_timeout", {"connect", "30"}, {"CONNECT", "30s"}, "1006"},
        {"web_create_html_param", {"P", "<", ">"}, {"P", "<"}, "1008"},
        {"web_create_html_param_ex", {"P", "<", ">", "2"}, {"P", "<", ">", "2nd"}, "1006"},
        {"web_set_max_html_param_len", {"1024"}, {"64K"}, "1006"},
        {"web_add_cookie", {"a=b; DOMAIN=x"}, {"a", "b"}, "1010"},
        {"web_reg_add_cookie", {"a=b", "Text=Hi", "LAST"}, {"a=b", "Text", "LAST"}, "1002"},
        {"web_add_cookie_ex", {"Cookie=a=b", "Insert=Yes", "LAST"}, {"Cookie=a=b", "LAST"}, "1008"},
        {"web_remove_cookie", {"a=b"}, {}, "1008"},
        {"web_cleanup_cookies", {}, {"x"}, "1010"},
        {"web_set_certificate", {"1"}, {"#1"}, "1006"},
        {"web_get_int_property", {"HTTP_INFO_RETURN_CODE"}, {"HTTP_INFO_STATUS"}, "1003"},
        {"web_save_header", {"REQUEST", "P"}, {"REQ", "P"}, "1003"},
        {"web_set_proxy_bypass_local", {"1"}, {"yes"}, "1004"},
        {"web_cache_cleanup", {}, {"x"}, "1010"},
        {"web_concurrent_start", {"NULL"}, {}, "1008"},
        {"web_concurrent_end", {"NULL"}, {"NULL", "NULL"}, "1010"},
        {"web_convert_param",
         {"P", "SourceEncoding=HTML", "TargetEncoding=URL", "LAST"},
         {},
         "1009"},
        {"web_set_max_retries", {"3"}, {"none"}, "1006"},
        {"web_set_certificate_ex",
         {"CertFilePath=c.pem", "LAST"},
         {"CertFormat PEM", "LAST"},
         "1002"},
        {"web_set_sockets_option", {"SSL_VERSION", "TLS1.2"}, {"SSL_VERSION"}, "1008"},
        {"web_reg_find", {"Text=Welcome", "LAST"}, {"Text/XYZ=Welcome", "LAST"}, "1002"},
        {"web_remove_auto_header",
         {"Origin", "ImplicitGen=No", "LAST"},
         {"Origin", "LAST"},
         "1008"},
        {"web_revert_auto_header", {"Origin"}, {}, "1008"},
        {"web_sjis_to_euc_param", {"P", "v"}, {"P", "v", "w"}, "1010"},
        {"web_global_verification", {"Text=Error", "LAST"}, {"Fail=Found", "LAST"}, "1015"},
        {"web_global_verification_pause", {"ID=a", "LAST"}, {}, "1009"},
        {"web_global_verification_resume", {"ID=a", "LAST"}, {}, "1009"},
    };
    return cases;
}

}  // namespace

TEST(ServiceParse, EveryServiceAndCheckFunctionAcceptsAValidCallAndRefusesABadOne) {
    EXPECT_EQ(Cases().size(), 40u);
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.function);
        ParseOutcome good = ParseCall(c.function, c.accepted);
        EXPECT_TRUE(good.ok) << good.error;
        EXPECT_NE(good.step, nullptr);
        ParseOutcome bad = ParseCall(c.function, c.refused);
        EXPECT_EQ(Code(bad), c.refusedCode) << bad.error;
        EXPECT_EQ(bad.step, nullptr);
    }
}

// ----- counts -----

TEST(ServiceParse, AddHeaderWithOneArgumentRecords1008AndWithThree1010) {
    EXPECT_EQ(Code(ParseCall("web_add_header", {"Accept"})), "1008");
    EXPECT_EQ(Code(ParseCall("web_add_header", {"Accept", "x", "LAST"})), "1010");
}

TEST(ServiceParse, EnableKeepAliveWithAnyArgumentRecords1010) {
    EXPECT_EQ(Code(ParseCall("web_enable_keep_alive", {""})), "1010");
    EXPECT_EQ(Code(ParseCall("web_enable_keep_alive", {"LAST"})), "1010");
    EXPECT_EQ(Code(ParseCall("web_enable_keep_alive", {"a", "b", "c"})), "1010");
}

TEST(ServiceParse, ParameterlessStepWithoutArgumentsYieldsAnEmptyStep) {
    ParseOutcome o = ParseCall("web_cleanup_cookies", {});
    ASSERT_TRUE(o.ok);
    EXPECT_NE(o.As<CWebStepCleanupCookies>(), nullptr);
}

TEST(ServiceParse, MaxHtmlParamLenWithoutArgumentRecords1008AndWithTwo1010) {
    EXPECT_EQ(Code(ParseCall("web_set_max_html_param_len", {})), "1008");
    EXPECT_EQ(Code(ParseCall("web_set_max_html_param_len", {"1", "2"})), "1010");
}

TEST(ServiceParse, CookieExAndRemoveAutoHeaderRecord1008ForAnyOtherCount) {
    EXPECT_EQ(Code(ParseCall("web_add_cookie_ex", {"Cookie=a", "Insert=Yes", "LAST", "LAST"})),
              "1008");
    EXPECT_EQ(Code(ParseCall("web_remove_auto_header", {"H", "ImplicitGen=No", "LAST", "x"})),
              "1008");
}

// ----- time-outs -----

TEST(ServiceParse, SetTimeoutAcceptsTheKindInAnyLetterCase) {
    ParseOutcome lower = ParseCall("web_set_timeout", {"connect", "45"});
    ASSERT_TRUE(lower.ok);
    EXPECT_EQ(lower.As<CWebStepSetTimeout>()->GetAction(), CWebStepSetTimeout::ACTION_CONNECT);
    EXPECT_EQ(lower.As<CWebStepSetTimeout>()->GetTimeout(), 45u);
    ParseOutcome upper = ParseCall("web_set_timeout", {"RECEIVE", "10"});
    ASSERT_TRUE(upper.ok);
    EXPECT_EQ(upper.As<CWebStepSetTimeout>()->GetAction(), CWebStepSetTimeout::ACTION_RECEIVE);
    EXPECT_EQ(ParseCall("web_set_timeout", {"Step", "1"}).As<CWebStepSetTimeout>()->GetAction(),
              CWebStepSetTimeout::ACTION_STEP);
    EXPECT_EQ(ParseCall("web_set_timeout", {"resolve", "1"}).As<CWebStepSetTimeout>()->GetAction(),
              CWebStepSetTimeout::ACTION_RESOLVE);
}

TEST(ServiceParse, SetTimeoutKindOutsideTheTableRecords1003) {
    ParseOutcome o = ParseCall("web_set_timeout", {"TIMEOUT", "300"});
    EXPECT_EQ(o.error, "1003|attribute=Action|text=TIMEOUT");
}

TEST(ServiceParse, SetTimeoutOfThirtySecondsWrittenWithUnitRecords1006) {
    EXPECT_EQ(ParseCall("web_set_timeout", {"STEP", "30s"}).error, "1006|text=30s");
}

// ----- proxies and users -----

TEST(ServiceParse, SetProxyBeginningWithAColonRecords1007) {
    EXPECT_EQ(ParseCall("web_set_proxy", {":8080"}).error, "1007|text=:8080");
    EXPECT_EQ(ParseCall("web_set_proxy", {" :3128"}).error, "1007|text= :3128");
    EXPECT_EQ(ParseCall("web_set_proxy", {""}).error, "1007|text=");
}

TEST(ServiceParse, SetProxyFillsHostAndPort) {
    ParseOutcome o = ParseCall("web_set_proxy", {" gateway.example.org : 8080 "});
    ASSERT_TRUE(o.ok);
    auto* step = o.As<CWebStepSetProxy>();
    EXPECT_EQ(step->GetHost(), "gateway.example.org");
    EXPECT_EQ(step->GetPort(), 8080u);
    EXPECT_EQ(step->GetParameterUrl(), "");
}

TEST(ServiceParse, SetProxyWithoutPortLeavesPortZero) {
    ParseOutcome o = ParseCall("web_set_secure_proxy", {"gateway"});
    ASSERT_TRUE(o.ok);
    EXPECT_NE(o.As<CWebStepSetSecureProxy>(), nullptr);
    EXPECT_EQ(o.As<CWebStepSetSecureProxy>()->GetHost(), "gateway");
    EXPECT_EQ(o.As<CWebStepSetSecureProxy>()->GetPort(), 0u);
}

TEST(ServiceParse, SetProxyAsParameterFillsTheParameterUrl) {
    ParseOutcome o = ParseCall("web_set_proxy", {"{Proxy}"});
    ASSERT_TRUE(o.ok);
    EXPECT_EQ(o.As<CWebStepSetProxy>()->GetParameterUrl(), "{Proxy}");
    EXPECT_EQ(o.As<CWebStepSetProxy>()->GetHost(), "");
}

TEST(ServiceParse, SetUserFillsUserPasswordHostAndPort) {
    ParseOutcome o = ParseCall("web_set_user", {"svc", "s3cret!", "proxy.example.net:3128"});
    ASSERT_TRUE(o.ok);
    auto* step = o.As<CWebStepSetUser>();
    EXPECT_EQ(step->GetUsername(), "svc");
    EXPECT_EQ(step->GetPassword(), "s3cret!");
    EXPECT_EQ(step->GetHost(), "proxy.example.net");
    EXPECT_EQ(step->GetPort(), 3128u);
}

TEST(ServiceParse, SetUserChecksTheHostNotTheUserOrPassword) {
    EXPECT_TRUE(ParseCall("web_set_user", {":user", ":pw", "h"}).ok);
    EXPECT_EQ(ParseCall("web_set_user", {"u", "p", ":8080"}).error, "1007|text=:8080");
    ParseOutcome param = ParseCall("web_set_user", {"u", "p", "{Host}"});
    ASSERT_TRUE(param.ok);
    EXPECT_EQ(param.As<CWebStepSetUser>()->GetParameterUrl(), "{Host}");
}

// ----- encrypted passwords -----

namespace {

std::string g_lastEncrypted;

char* Reverse(const char* encrypted) {
    g_lastEncrypted = encrypted;
    std::string plain(encrypted);
    std::string reversed(plain.rbegin(), plain.rend());
    char* out = static_cast<char*>(std::malloc(reversed.size() + 1));
    std::memcpy(out, reversed.c_str(), reversed.size() + 1);
    return out;
}

char* Refuse(const char*) {
    return nullptr;
}

// Installs a routine for one test and puts the previous one back.
class DecryptRoutine {
public:
    explicit DecryptRoutine(PasswordDecryptRoutine routine)
        : m_previous(SetPasswordDecryptRoutine(routine)) {}
    ~DecryptRoutine() { SetPasswordDecryptRoutine(m_previous); }

private:
    PasswordDecryptRoutine m_previous;
};

std::string Password(const char* argument) {
    ParseOutcome o = ParseCall("web_set_user", {"u", argument, "host"});
    return o.ok ? o.As<CWebStepSetUser>()->GetPassword() : "failed: " + o.error;
}

}  // namespace

TEST(SetUserPassword, WithoutADecryptionRoutineAnEncryptedPasswordIsEmpty) {
    DecryptRoutine none(nullptr);
    EXPECT_EQ(Password("qz_decrypt(\"2aa70ab81ee0\")"), "");
}

TEST(SetUserPassword, TheInstalledRoutineGetsTheTextBetweenTheQuotes) {
    DecryptRoutine reverse(&Reverse);
    EXPECT_EQ(Password("qz_decrypt(\"abc123\")"), "321cba");
    EXPECT_EQ(g_lastEncrypted, "abc123");
}

TEST(SetUserPassword, WhatFollowsTheClosingQuoteIsIgnored) {
    DecryptRoutine reverse(&Reverse);
    EXPECT_EQ(Password("qz_decrypt(\"xy\"  ) trailing"), "yx");
    EXPECT_EQ(Password("qz_decrypt(\"xy\""), "yx");
}

TEST(SetUserPassword, RoutineReturningNullGivesAnEmptyPassword) {
    DecryptRoutine refuse(&Refuse);
    EXPECT_EQ(Password("qz_decrypt(\"abc\")"), "");
}

TEST(SetUserPassword, EmptyEncryptedTextIsHandedOver) {
    DecryptRoutine reverse(&Reverse);
    g_lastEncrypted = "unchanged";
    EXPECT_EQ(Password("qz_decrypt(\"\")"), "");
    EXPECT_EQ(g_lastEncrypted, "");
}

TEST(SetUserPassword, MalformedFormsAreStoredAsWritten) {
    DecryptRoutine reverse(&Reverse);
    EXPECT_EQ(Password("qz_decrypt"), "qz_decrypt");
    EXPECT_EQ(Password("qz_decrypt\"abc\""), "qz_decrypt\"abc\"");
    EXPECT_EQ(Password("qz_decrypt(abc)"), "qz_decrypt(abc)");
    EXPECT_EQ(Password("qz_decrypt(\"abc"), "qz_decrypt(\"abc");
    EXPECT_EQ(Password("qz_decrypt (\"abc\")"), "qz_decrypt (\"abc\")");
}

TEST(SetUserPassword, PrefixIsComparedWithLetterCaseAndOnlyAtTheStart) {
    DecryptRoutine reverse(&Reverse);
    EXPECT_EQ(Password("QZ_DECRYPT(\"abc\")"), "QZ_DECRYPT(\"abc\")");
    EXPECT_EQ(Password(" qz_decrypt(\"abc\")"), " qz_decrypt(\"abc\")");
    EXPECT_EQ(Password("plain"), "plain");
}

TEST(SetUserPassword, InstallingReturnsThePreviousRoutine) {
    PasswordDecryptRoutine before = SetPasswordDecryptRoutine(&Refuse);
    EXPECT_EQ(GetPasswordDecryptRoutine(), &Refuse);
    EXPECT_EQ(SetPasswordDecryptRoutine(before), &Refuse);
}

// ----- positional fields -----

TEST(ServiceParse, HeadersFillNameAndValue) {
    ParseOutcome o = ParseCall("web_add_auto_header", {"X-Id", "42"});
    ASSERT_TRUE(o.ok);
    EXPECT_EQ(o.As<CWebStepAddAutoHeader>()->GetHeader(), "X-Id");
    EXPECT_EQ(o.As<CWebStepAddAutoHeader>()->GetValue(), "42");
    ParseOutcome revert = ParseCall("web_revert_auto_header", {"X-Id"});
    EXPECT_EQ(revert.As<CWebStepRevertAutoHeader>()->GetHeader(), "X-Id");
}

TEST(ServiceParse, RemoveAutoHeaderReadsImplicitGeneration) {
    ParseOutcome o = ParseCall("web_remove_auto_header", {"Origin", "implicitgen=yes", "last"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.As<CWebStepRemoveAutoHeader>()->GetHeader(), "Origin");
    EXPECT_EQ(o.As<CWebStepRemoveAutoHeader>()->GetImplicitGeneration(), "yes");
}

TEST(ServiceParse, RemoveAutoHeaderRefusals) {
    EXPECT_EQ(ParseCall("web_remove_auto_header", {"O", "ImplicitGen", "LAST"}).error,
              "1002|text=ImplicitGen");
    EXPECT_EQ(ParseCall("web_remove_auto_header", {"O", "Implicit=No", "LAST"}).error,
              "1002|text=Implicit=No");
    EXPECT_EQ(ParseCall("web_remove_auto_header", {"O", "ImplicitGen=maybe", "LAST"}).error,
              "1003|attribute=ImplicitGen|text=maybe");
    EXPECT_EQ(Code(ParseCall("web_remove_auto_header", {"O", "ImplicitGen=No", "END"})), "1008");
}

TEST(ServiceParse, CookiesFillTheirTexts) {
    EXPECT_EQ(ParseCall("web_add_cookie", {"a=1"}).As<CWebStepAddCookie>()->GetCookie(), "a=1");
    EXPECT_EQ(ParseCall("web_remove_cookie", {"a=1"}).As<CWebStepRemoveCookie>()->GetCookie(),
              "a=1");
    ParseOutcome reg = ParseCall("web_reg_add_cookie", {"b=2", "text=Welcome=yes", "LAST"});
    ASSERT_TRUE(reg.ok);
    EXPECT_EQ(reg.As<CWebStepRegAddCookie>()->GetCookie(), "b=2");
    EXPECT_EQ(reg.As<CWebStepRegAddCookie>()->GetTextToFind(), "Welcome=yes");
    ParseOutcome ex =
        ParseCall("web_add_cookie_ex", {"Cookie=c=3; path=/", "Insert=Beginning", "LAST"});
    ASSERT_TRUE(ex.ok);
    EXPECT_EQ(ex.As<CWebStepAddCookieEx>()->GetCookie(), "c=3; path=/");
    EXPECT_EQ(ex.As<CWebStepAddCookieEx>()->GetInsertAt(), "Beginning");
}

TEST(ServiceParse, CookieAttributeRefusals) {
    EXPECT_EQ(ParseCall("web_reg_add_cookie", {"b=2", "Find=x", "LAST"}).error, "1002|text=Find=x");
    EXPECT_EQ(Code(ParseCall("web_reg_add_cookie", {"b=2", "Text=x", "MORE"})), "1010");
    EXPECT_EQ(ParseCall("web_add_cookie_ex", {"c=3", "Insert=Yes", "LAST"}).error, "1002|text=c=3");
    EXPECT_EQ(ParseCall("web_add_cookie_ex", {"Cookie=c", "Where=Yes", "LAST"}).error,
              "1002|text=Where=Yes");
    EXPECT_EQ(ParseCall("web_add_cookie_ex", {"Cookie=c", "Insert", "LAST"}).error,
              "1002|text=Insert");
}

TEST(ServiceParse, NumbersFillTheirFields) {
    EXPECT_EQ(
        ParseCall("web_set_connections_limit", {"6"}).As<CWebStepSetConnectionsLimit>()->GetLimit(),
        6u);
    EXPECT_EQ(ParseCall("web_set_max_retries", {"2"}).As<CWebStepSetMaxRetries>()->GetMaxRetries(),
              2u);
    EXPECT_EQ(ParseCall("web_set_max_html_param_len", {"2048"})
                  .As<CWebStepSetMaxHtmlParamLen>()
                  ->GetLen(),
              2048u);
    EXPECT_EQ(ParseCall("web_set_certificate", {"7"}).As<CWebStepSetCertificate>()->GetIndex(), 7u);
    // A parameter reference reads as 0 and is accepted.
    EXPECT_EQ(
        ParseCall("web_set_certificate", {"{Index}"}).As<CWebStepSetCertificate>()->GetIndex(), 0u);
}

TEST(ServiceParse, ProxyBypassFieldsAreFilled) {
    EXPECT_EQ(ParseCall("web_set_proxy_bypass", {"*.local;10.*"})
                  .As<CWebStepSetProxyBypass>()
                  ->GetBypass(),
              "*.local;10.*");
    EXPECT_TRUE(ParseCall("web_set_proxy_bypass_local", {"1"})
                    .As<CWebStepSetProxyBypassLocal>()
                    ->GetBypassOption());
    EXPECT_FALSE(ParseCall("web_set_proxy_bypass_local", {"0"})
                     .As<CWebStepSetProxyBypassLocal>()
                     ->GetBypassOption());
    EXPECT_EQ(ParseCall("web_set_proxy_bypass_local", {"2"}).error, "1004|text=2");
}

TEST(ServiceParse, HtmlParamsFillNameBoundariesAndInstance) {
    ParseOutcome o = ParseCall("web_create_html_param_ex", {"P", "<a>", "</a>", "3"});
    ASSERT_TRUE(o.ok);
    auto* step = o.As<CWebStepCreateHtmlParamEx>();
    EXPECT_EQ(step->GetName(), "P");
    EXPECT_EQ(step->GetLeft(), "<a>");
    EXPECT_EQ(step->GetRight(), "</a>");
    EXPECT_EQ(step->GetInstance(), 3u);
    ParseOutcome plain = ParseCall("web_create_html_param", {"Q", "[", "]"});
    EXPECT_EQ(plain.As<CWebStepCreateHtmlParam>()->GetRight(), "]");
    EXPECT_EQ(dynamic_cast<CWebStepCreateHtmlParamEx*>(plain.step.get()), nullptr);
}

TEST(ServiceParse, SocketsOptionAndSjisParamAreKeptAsWritten) {
    ParseOutcome o = ParseCall("web_set_sockets_option", {"SSL_VERSION", "TLS1.2"});
    EXPECT_EQ(o.As<CWebStepSetSocketsOption>()->GetOptionID(), "SSL_VERSION");
    EXPECT_EQ(o.As<CWebStepSetSocketsOption>()->GetOptionValue(), "TLS1.2");
    ParseOutcome s = ParseCall("web_sjis_to_euc_param", {"P", "\x82\xa0"});
    EXPECT_EQ(s.As<CWebStepSjisToEucParam>()->GetParamName(), "P");
    EXPECT_EQ(s.As<CWebStepSjisToEucParam>()->GetParamValue(), "\x82\xa0");
}

TEST(ServiceParse, IntPropertyTotalSizesNeedTheExtendedValueTables) {
    for (const char* kind : {"HTTP_INFO_TOTAL_REQUEST_STAT", "HTTP_INFO_TOTAL_RESPONSE_STAT"}) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(ParseCall("web_get_int_property", {kind}).error,
                  std::string("1003|attribute=HttpInfoType|text=") + kind);
    }
    ParseOutcome request = ParseCall("web_get_int_property", {"HTTP_INFO_TOTAL_REQUEST_STAT"},
                                     WPF_CREATE_STEP | WPF_EXTENDED_VALUES);
    ASSERT_TRUE(request.ok) << request.error;
    EXPECT_EQ(request.As<CWebStepGetIntProperty>()->GetHttpInfoType(),
              CWebStepGetIntProperty::HTTP_INFO_TOTAL_REQUEST_STAT);
    ParseOutcome response = ParseCall("web_get_int_property", {"http_info_total_response_stat"},
                                      WPF_CREATE_STEP | WPF_EXTENDED_VALUES);
    ASSERT_TRUE(response.ok) << response.error;
    EXPECT_EQ(response.As<CWebStepGetIntProperty>()->GetHttpInfoType(),
              CWebStepGetIntProperty::HTTP_INFO_TOTAL_RESPONSE_STAT);
    // The table of three is still in the longer one; other names stay refused.
    EXPECT_TRUE(ParseCall("web_get_int_property", {"HTTP_INFO_RETURN_CODE"},
                          WPF_CREATE_STEP | WPF_EXTENDED_VALUES)
                    .ok);
    EXPECT_EQ(ParseCall("web_get_int_property", {"HTTP_INFO_TOTAL_STAT"},
                        WPF_CREATE_STEP | WPF_EXTENDED_VALUES)
                  .error,
              "1003|attribute=HttpInfoType|text=HTTP_INFO_TOTAL_STAT");
}

TEST(ServiceParse, IntPropertyAndSaveHeaderReadTheirTables) {
    ParseOutcome p = ParseCall("web_get_int_property", {"http_info_download_time"});
    ASSERT_TRUE(p.ok);
    EXPECT_EQ(p.As<CWebStepGetIntProperty>()->GetHttpInfoType(),
              CWebStepGetIntProperty::HTTP_INFO_DOWNLOAD_TIME);
    EXPECT_EQ(ParseCall("web_get_int_property", {"HTTP_INFO_STATUS"}).error,
              "1003|attribute=HttpInfoType|text=HTTP_INFO_STATUS");
    ParseOutcome h = ParseCall("web_save_header", {"Response", "Headers"});
    ASSERT_TRUE(h.ok);
    EXPECT_EQ(h.As<CWebStepSaveHeader>()->GetOption(), CWebStepSaveHeader::SAVE_HEADER_RESPONSE);
    EXPECT_EQ(h.As<CWebStepSaveHeader>()->GetHeader(), "Headers");
    EXPECT_EQ(ParseCall("web_save_header", {"{Kind}", "H"}).error,
              "1003|attribute=SaveHeader|text={Kind}");
}

TEST(ServiceParse, ConcurrentGroupsTakeOneArgument) {
    EXPECT_NE(ParseCall("web_concurrent_start", {"NULL"}).As<CWebStepConcurrentStart>(), nullptr);
    EXPECT_NE(ParseCall("web_concurrent_end", {""}).As<CWebStepConcurrentEnd>(), nullptr);
}

TEST(ServiceParse, FixedArgumentsReadFromAVariableArgumentList) {
    auto parser = ServiceParser("web_add_header");
    ASSERT_TRUE(parser->ParseArgumentList(WPF_CREATE_STEP | WPF_COPY_ARGUMENTS, "Accept",
                                          "text/html", static_cast<const char*>(nullptr)));
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    auto* header = dynamic_cast<CWebStepAddHeader*>(step.get());
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->GetHeader(), "Accept");
    EXPECT_EQ(header->GetValue(), "text/html");
}

TEST(ServiceParse, WithoutCreationTheCallersStepIsFilledAndAnotherClassIsLeftAlone) {
    auto parser = ServiceParser("web_add_header");
    CWebStepAddHeader callers;
    parser->SetDataStep(&callers);
    std::vector<const char*> args = {"A", "b"};
    ASSERT_TRUE(parser->ParseArguments(2, args.data(), WPF_NONE));
    EXPECT_EQ(callers.GetHeader(), "A");

    CWebStepAddCookie other;
    parser->SetDataStep(&other);
    ASSERT_TRUE(parser->ParseArguments(2, args.data(), WPF_NONE));
    EXPECT_EQ(parser->GetDataStep(), &other);
    EXPECT_EQ(other.GetCookie(), "");
}

TEST(ServiceParse, FailedFixedParseCreatesNoStep) {
    auto parser = ServiceParser("web_set_timeout");
    std::vector<const char*> args = {"STEP", "x"};
    EXPECT_FALSE(parser->ParseArguments(2, args.data(), WPF_CREATE_STEP));
    EXPECT_EQ(parser->GetDataStep(), nullptr);
}

// ----- checks -----

TEST(FindParse, WhatAndCheckAttributesAreKept) {
    ParseOutcome o = ParseCall("web_find", {"find_title", "What=Sign out", "RightOf=<h2>",
                                            "inside=table", "MatchCase=no", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.stepName, "find_title");
    MString value;
    ASSERT_TRUE(o.As<CWebStepFind>()->GetAttributes().GetAttribute("RightOf", value));
    EXPECT_EQ(value, "<h2>");
}

TEST(FindParse, ItemListFillsTheDataSet) {
    ParseOutcome o = ParseCall("web_find", {"f", "Frame=main", "ITEMDATA", "what=a", "type=text",
                                            "ENDITEM", "what=b", "ENDITEM", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    const CDataSet& set = o.As<CWebStepFind>()->GetDataSet();
    ASSERT_EQ(set.GetNumElements(), 2u);
    EXPECT_EQ(set.DataElements().GetList().front()->GetScriptName(), "a");
    EXPECT_EQ(set.DataElements().GetList().front()->GetScriptValue(), "text");
}

TEST(FindParse, NoTextInEitherFormRecords1000) {
    EXPECT_EQ(ParseCall("web_find", {"f", "What=", "LAST"}).error, "1000|attribute=What");
    EXPECT_EQ(ParseCall("web_find", {"f", "ITEMDATA", "LAST"}).error, "1000|attribute=What");
}

TEST(FindParse, ItemListNotEndingAtLastRecords1013) {
    EXPECT_EQ(Code(ParseCall("web_find", {"f", "ITEMDATA", "what=a", "ENDITEM"})), "1013");
    EXPECT_EQ(Code(ParseCall("web_find", {"f", "ITEMDATA", "what=a", "color=red", "LAST"})),
              "1013");
}

TEST(FindParse, InsideIsCheckedAndMayBeEmpty) {
    EXPECT_TRUE(ParseCall("web_find", {"f", "What=x", "inside=", "LAST"}).ok);
    EXPECT_EQ(ParseCall("web_find", {"f", "What=x", "inside=div", "LAST"}).error,
              "1003|attribute=inside|text=div");
}

TEST(FindParse, BadCheckAttributeRecordsItsError) {
    EXPECT_EQ(ParseCall("web_find", {"f", "What=x", "Expect={E}", "LAST"}).error,
              "1003|attribute=Expect|text={E}");
    EXPECT_EQ(ParseCall("web_find", {"f", "What=x", "Repeat=on", "LAST"}).error, "1005|text=on");
}

TEST(FindParse, WithoutStepNameFlagTheFirstArgumentIsAnAttribute) {
    ParseOutcome o = ParseCall("web_find", {"What=x", "LAST"}, WPF_CREATE_STEP | WPF_NO_STEP_NAME);
    EXPECT_TRUE(o.ok) << o.error;
}

TEST(ImageCheckParse, AltOrSrcIsRequired) {
    EXPECT_TRUE(ParseCall("web_image_check", {"i", "Alt=Logo", "LAST"}).ok);
    EXPECT_EQ(ParseCall("web_image_check", {"i", "Expect=found", "LAST"}).error,
              "1000|attribute=Alt");
    EXPECT_EQ(Code(ParseCall("web_image_check", {})), "1009");
}

TEST(JavaCheckParse, AppletParametersFillTheList) {
    ParseOutcome o = ParseCall("web_java_check", {"j", "ClassName=SeatPicker", "ITEMDATA",
                                                  "Name=section", "Value=ORCH", "ENDITEM", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    const CDataSet& params = o.As<CWebStepJavaCheck>()->GetAppletParams();
    ASSERT_EQ(params.GetNumElements(), 1u);
    EXPECT_EQ(params.DataElements().GetList().front()->GetScriptValue(), "ORCH");
}

TEST(JavaCheckParse, ListErrorsAndMissingLast) {
    EXPECT_EQ(
        Code(ParseCall("web_java_check", {"j", "ClassName=A", "ITEMDATA", "Name=a", "ENDITEM"})),
        "1013");
    EXPECT_EQ(Code(ParseCall("web_java_check", {"j", "ClassName=A", "ITEMDATA", "Name=a", "LAST"})),
              "1011");
    EXPECT_EQ(ParseCall("web_java_check", {"j", "ClassName=A", "MatchCase=on", "LAST"}).error,
              "1005|text=on");
}

// ----- text checks -----

TEST(RegFindParse, TextWithOptionsFillsTheStep) {
    ParseOutcome o = ParseCall("web_reg_find", {"Text/IC=Welcome", "Search=Body", "SaveCount=N",
                                                "Fail=NotFound", "ID=w", "RelFrameId=1", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegFind>();
    EXPECT_EQ(step->GetTextFlags(), RFF_IGNORE_CASE);
    EXPECT_EQ(step->GetText(), "Welcome");
    EXPECT_EQ(step->GetSearchScope(), "Body");
    EXPECT_EQ(step->GetSaveCount(), "N");
    EXPECT_EQ(step->GetFail(), "NotFound");
    MString id;
    EXPECT_TRUE(step->GetAttributes().GetAttribute("ID", id));
    EXPECT_EQ(id, "w");
}

TEST(RegFindParse, PrefixWithSuffixIsAText) {
    ParseOutcome o = ParseCall("web_reg_find", {"TextPfx=<b>", "TextSfx/BIN=</b>", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.As<CWebStepRegFind>()->GetTextSfxFlags(), RFF_BINARY);
    EXPECT_EQ(o.As<CWebStepRegFind>()->GetTextPfx(), "<b>");
}

TEST(RegFindParse, NoTextRecords1000) {
    EXPECT_EQ(ParseCall("web_reg_find", {"Search=Body", "LAST"}).error, "1000|attribute=Text");
    EXPECT_EQ(ParseCall("web_reg_find", {"TextPfx=a", "LAST"}).error, "1000|attribute=Text");
    EXPECT_EQ(ParseCall("web_reg_find", {"Text=", "LAST"}).error, "1000|attribute=Text");
}

TEST(RegFindParse, BadSearchOrFailRecords1003) {
    EXPECT_EQ(ParseCall("web_reg_find", {"Text=a", "Search=Everywhere", "LAST"}).error,
              "1003|attribute=Search|text=Everywhere");
    EXPECT_EQ(ParseCall("web_reg_find", {"Text=a", "Fail=Missing", "LAST"}).error,
              "1003|attribute=Fail|text=Missing");
    EXPECT_TRUE(ParseCall("web_reg_find", {"Text=a", "Search=noresource", "Fail=found"}).ok);
}

TEST(RegFindParse, ArgumentWithoutEqualsRecords1002) {
    ParseOutcome o = ParseCall("web_reg_find", {"Text=a", "savecount", "LAST"});
    EXPECT_EQ(o.error, "1002|text=savecount|argument=2");
}

TEST(GlobalVerificationParse, TextAloneOrPrefixWithSuffix) {
    ParseOutcome o = ParseCall("web_global_verification",
                               {"Text/BIN=Error", "Fail=Found", "Search=All", "ID=E", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepGlobalVerification>();
    EXPECT_EQ(step->GetTextFlags(), GVF_BINARY);
    EXPECT_EQ(step->GetText(), "Error");
    EXPECT_EQ(step->GetFailIf(), "Found");
    EXPECT_EQ(step->GetSearchScope(), "All");
    EXPECT_TRUE(ParseCall("web_global_verification", {"TextPfx=a", "TextSfx=b", "LAST"}).ok);
}

TEST(GlobalVerificationParse, NeitherFormOrBothRecords1015) {
    EXPECT_EQ(Code(ParseCall("web_global_verification", {"Text=", "LAST"})), "1015");
    EXPECT_EQ(Code(ParseCall("web_global_verification", {"TextPfx=a", "LAST"})), "1015");
    EXPECT_EQ(Code(ParseCall("web_global_verification", {"Text=a", "TextSfx=b", "LAST"})), "1015");
}

TEST(GlobalVerificationParse, DigitOptionRecords1002) {
    EXPECT_EQ(Code(ParseCall("web_global_verification", {"Text/DIG=a", "LAST"})), "1002");
}

TEST(GlobalVerificationParse, PauseAndResumeAddOneIdentifierPerAttribute) {
    ParseOutcome pause = ParseCall("web_global_verification_pause", {"ID=a", "id=b", "LAST"});
    ASSERT_TRUE(pause.ok) << pause.error;
    EXPECT_EQ(pause.As<CWebStepGlobalVerificationPause>()->GetIDs(),
              (std::list<MString>{"a", "b"}));
    ParseOutcome resume = ParseCall("web_global_verification_resume", {"ID=c", "LAST"});
    ASSERT_TRUE(resume.ok);
    EXPECT_EQ(resume.As<CWebStepGlobalVerificationResume>()->GetIDs(), (std::list<MString>{"c"}));
    EXPECT_EQ(Code(ParseCall("web_global_verification_resume", {"c", "LAST"})), "1002");
}

// ----- conversions and certificates -----

TEST(ConvertParamParse, FillsNameSourceAndEncodings) {
    ParseOutcome o = ParseCall("web_convert_param", {"P", "SourceString={Q}", "SourceEncoding=html",
                                                     "TargetEncoding=URL", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.stepName, "web_convert_param P");
    auto* step = o.As<CWebStepConvertParam>();
    EXPECT_EQ(step->GetParamName(), "P");
    EXPECT_EQ(step->GetSourceString(), "{Q}");
    EXPECT_EQ(step->GetSourceEncoding(), "html");
    EXPECT_EQ(step->GetTargetEncoding(), "URL");
}

TEST(ConvertParamParse, MissingOrUnknownEncodingIsRefused) {
    EXPECT_EQ(ParseCall("web_convert_param", {"P", "TargetEncoding=URL", "LAST"}).error,
              "1000|attribute=SourceEncoding");
    EXPECT_EQ(
        ParseCall("web_convert_param", {"P", "SourceEncoding=HTML", "TargetEncoding=XML", "LAST"})
            .error,
        "1003|attribute=TargetEncoding|text=XML");
    EXPECT_EQ(ParseCall("web_convert_param", {"P", "SourceEncoding PLAIN", "LAST"}).error,
              "1002|text=SourceEncoding PLAIN|argument=2");
}

TEST(CertificateExParse, FillsEveryAttribute) {
    ParseOutcome o = ParseCall("web_set_certificate_ex",
                               {"CertFilePath=c.pem", "CertFormat=pem", "KeyFilePath=k.der",
                                "KeyFormat=DER", "Password=pw", "CertIndex=3", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepSetCertificateEx>();
    EXPECT_EQ(step->GetCertFilePath(), "c.pem");
    EXPECT_EQ(step->GetCertFormat(), "pem");
    EXPECT_EQ(step->GetKeyFilePath(), "k.der");
    EXPECT_EQ(step->GetKeyFormat(), "DER");
    EXPECT_EQ(step->GetPassword(), "pw");
    EXPECT_EQ(step->GetCertIndex(), "3");
}

TEST(CertificateExParse, BadFormatOrIndexIsRefused) {
    EXPECT_EQ(ParseCall("web_set_certificate_ex", {"CertFormat=P12", "LAST"}).error,
              "1003|attribute=CertFormat|text=P12");
    EXPECT_EQ(ParseCall("web_set_certificate_ex", {"CertIndex=x", "LAST"}).error, "1006|text=x");
    EXPECT_EQ(Code(ParseCall("web_set_certificate_ex", {})), "1009");
}

// Awkward texts in every position and count: each call either parses with a
// step or fails with a recorded error and no step, and never crashes.
TEST(ServiceParse, AwkwardArgumentsNeverCrashAndAlwaysGiveAnOutcome) {
    const std::vector<const char*> texts = {
        "",        "=",    "/",     "LB/=", "Text//=x",    "ITEMDATA",
        "ENDITEM", "LAST", "what=", "{}",   "qz_decrypt(", ":"};
    int calls = 0;
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.function);
        for (size_t count = 0; count <= 4; ++count) {
            for (size_t seed = 0; seed < texts.size(); ++seed) {
                std::vector<const char*> args;
                for (size_t i = 0; i < count; ++i)
                    args.push_back(texts[(seed + i * 5) % texts.size()]);
                ParseOutcome o = ParseCall(c.function, args);
                ++calls;
                if (o.ok)
                    EXPECT_NE(o.step, nullptr);
                else
                    EXPECT_NE(Code(o), "0");
            }
        }
    }
    EXPECT_EQ(calls, 40 * 5 * 12);
}

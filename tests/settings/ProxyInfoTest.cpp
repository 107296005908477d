#include "webstep/settings/ProxyInfo.h"
#include "webstep/settings/RecordingOptUtil.h"

#include <gtest/gtest.h>

TEST(ProxyInfo, DefaultYieldsAnEmptyProxyListAndNoProxy) {
    CProxyInfo info;
    MString list = "stale";
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "");
    EXPECT_FALSE(info.IsProxyEnabled());
    EXPECT_EQ(info.GetAccessType(), 1u);
    EXPECT_FALSE(info.IsUserAuthenticationEnabled());
}

TEST(ProxyInfo, HttpHostWithoutHttpsHostYieldsHttpOnlyList) {
    CProxyInfo info;
    info.SetAccessType(3);
    info.SetHTTPHost("p");
    info.SetHTTPPort(8080);
    MString list;
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "http=p:8080");
}

TEST(ProxyInfo, UseSameForAllYieldsHostAndPortAlone) {
    CProxyInfo info;
    info.SetAccessType(3);
    info.SetHTTPHost("p");
    info.SetHTTPPort(8080);
    info.SetHTTPSHost("s");
    info.SetHTTPSPort(443);
    info.SetUseSameForAll(1);
    MString list;
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "p:8080");
}

TEST(ProxyInfo, BothHostsYieldBothEntries) {
    CProxyInfo info;
    info.SetAccessType(3);
    info.SetHTTPHost("p");
    info.SetHTTPPort(8080);
    info.SetHTTPSHost("s");
    info.SetHTTPSPort(8443);
    MString list;
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "http=p:8080 https=s:8443");
}

TEST(ProxyInfo, HttpsHostAloneYieldsHttpsEntry) {
    CProxyInfo info;
    info.SetAccessType(0);
    info.SetHTTPSHost("s");
    info.SetHTTPSPort(8443);
    MString list;
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "https=s:8443");
}

TEST(ProxyInfo, NoHostsYieldAnEmptyListEvenWithAProxyAccessType) {
    CProxyInfo info;
    info.SetAccessType(3);
    MString list = "stale";
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "");
    EXPECT_TRUE(info.IsProxyEnabled());
}

TEST(ProxyInfo, ProxyStringWinsOverHostsButNotOverDirectAccess) {
    CProxyInfo info;
    info.SetHTTPHost("p");
    info.SetHTTPPort(8080);
    info.SetProxyString("ready:1");
    MString list;
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "") << "direct access ignores the proxy string";
    info.SetAccessType(3);
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "ready:1");
    info.ResetProxyString();
    info.GetProxyWininetString(list);
    EXPECT_EQ(list, "http=p:8080");
}

TEST(ProxyInfo, PasswordWithoutUserNameEnablesAuthentication) {
    CProxyInfo info;
    info.SetPassword("secret");
    EXPECT_TRUE(info.IsUserAuthenticationEnabled());
    CProxyInfo user;
    user.SetUserName("u");
    EXPECT_TRUE(user.IsUserAuthenticationEnabled());
}

TEST(ProxyInfo, SetAllFillsEveryFieldInOrderAndCopiesKeepThem) {
    CProxyInfo info;
    info.SetAll(3, "h", 1, "hs", 2, 1, 1, "*.local", "user", "pw", "ps", 1, "http://pac", 1);
    CProxyInfo copy(info);
    CProxyInfo assigned;
    assigned = info;
    for (const CProxyInfo* p : {&info, &copy, &assigned}) {
        EXPECT_EQ(p->GetAccessType(), 3u);
        EXPECT_EQ(p->GetHTTPHost(), "h");
        EXPECT_EQ(p->GetHTTPPort(), 1u);
        EXPECT_EQ(p->GetHTTPSHost(), "hs");
        EXPECT_EQ(p->GetHTTPSPort(), 2u);
        EXPECT_EQ(p->GetUseSameForAll(), 1);
        EXPECT_EQ(p->GetDontUseForLocal(), 1);
        EXPECT_EQ(p->GetBypass(), "*.local");
        EXPECT_EQ(p->GetUserNameA(), "user");
        EXPECT_EQ(p->GetPassword(), "pw");
        EXPECT_EQ(p->GetProxyString(), "ps");
        EXPECT_EQ(p->GetUseAutoConfigScript(), 1);
        EXPECT_EQ(p->GetAutoConfigScriptURL(), "http://pac");
        EXPECT_EQ(p->GetUseProxyServer(), 1);
    }
}

TEST(ProxyInfo, ResetDirectEmptiesEverything) {
    CProxyInfo info;
    info.SetAll(3, "h", 1, "hs", 2, 1, 1, "b", "u", "p", "ps", 1, "url", 1);
    info.ResetDirect();
    EXPECT_FALSE(info.IsProxyEnabled());
    EXPECT_EQ(info.GetHTTPHost(), "");
    EXPECT_EQ(info.GetProxyString(), "");
    EXPECT_EQ(info.GetUseProxyServer(), 0);
    EXPECT_FALSE(info.IsUserAuthenticationEnabled());
}

TEST(RecordingOptUtil, FlagStartsClearAndKeepsWhatIsSet) {
    EXPECT_FALSE(RecordingOptUtil::GetWhileRecording());
    RecordingOptUtil::SetWhileRecording(true);
    EXPECT_TRUE(RecordingOptUtil::GetWhileRecording());
    EXPECT_TRUE(RecordingOptUtil::m_WhileRecording);
    RecordingOptUtil::SetWhileRecording(false);
    EXPECT_FALSE(RecordingOptUtil::GetWhileRecording());
}

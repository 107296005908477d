// web_reg_find and web_global_verification against scripted responses, and
// the holder that applies pending registrations and global verifications.
#include <gtest/gtest.h>

#include "RegistrationSupport.h"
#include "webstep/replay/FindCheck.h"

using regtest::Make;
using regtest::Responses;
using regtest::User;

TEST(RegFind, TextFoundPassesAndAbsentFails) {
    Responses responses;
    responses.Add("http://h/", "<h1>Welcome, Jo</h1>");
    User user;
    auto found = Make("web_reg_find", {"Text=Welcome"});
    auto absent = Make("web_reg_find", {"Text=Goodbye"});
    RegistrationReport report = user.Apply(*found, responses);
    EXPECT_FALSE(report.failed);
    ASSERT_EQ(report.checks.size(), 1u);
    EXPECT_NE(report.checks[0].find("found 1 time(s)"), std::string::npos) << report.checks[0];
    report = user.Apply(*absent, responses);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("\"Goodbye\": found 0 time(s)"), std::string::npos)
        << report.failure;
}

TEST(RegFind, FailFoundFailsWhenTheTextIsThere) {
    Responses responses;
    responses.Add("http://h/", "<p>Error 500</p>");
    User user;
    EXPECT_TRUE(user.Apply(*Make("web_reg_find", {"Text=Error", "Fail=Found"}), responses).failed);
    EXPECT_FALSE(user.Apply(*Make("web_reg_find", {"Text=Oops", "Fail=Found"}), responses).failed);
}

TEST(RegFind, IgnoreCaseSuffix) {
    Responses responses;
    responses.Add("http://h/", "<p>WELCOME</p>");
    User user;
    EXPECT_TRUE(user.Apply(*Make("web_reg_find", {"Text=welcome"}), responses).failed);
    EXPECT_FALSE(user.Apply(*Make("web_reg_find", {"Text/IC=welcome"}), responses).failed);
}

TEST(RegFind, PrefixAndSuffixFindTheTextBetween) {
    Responses responses;
    responses.Add("http://h/", "<b>1</b> <b>2</b> <i>3</i>");
    User user;
    auto pair = Make("web_reg_find", {"TextPfx=<b>", "TextSfx=</b>", "SaveCount=n"});
    EXPECT_FALSE(user.Apply(*pair, responses).failed);
    EXPECT_EQ(user.Value("n"), "2");
    auto none = Make("web_reg_find", {"TextPfx=<u>", "TextSfx=</u>"});
    EXPECT_TRUE(user.Apply(*none, responses).failed);
}

TEST(RegFind, SaveCountAloneCountsWithoutFailing) {
    Responses responses;
    responses.Add("http://h/", "a x a x a");
    User user;
    RegistrationReport report =
        user.Apply(*Make("web_reg_find", {"Text=a", "SaveCount=c"}), responses);
    EXPECT_FALSE(report.failed);
    EXPECT_EQ(user.Value("c"), "3");
    report = user.Apply(*Make("web_reg_find", {"Text=zz", "SaveCount=c"}), responses);
    EXPECT_FALSE(report.failed);
    EXPECT_EQ(user.Value("c"), "0");
    report =
        user.Apply(*Make("web_reg_find", {"Text=zz", "SaveCount=c", "Fail=NotFound"}), responses);
    EXPECT_TRUE(report.failed);
    EXPECT_EQ(user.Value("c"), "0");
}

TEST(RegFind, SearchDefaultsToTheBodyAndTakesOtherScopes) {
    Responses responses;
    responses.Add("http://h/", "body text", {{"X-Marker", "in-header"}});
    StepResponse& image = responses.Add("http://h/i.gif", "resource-only", {});
    image.resource = true;
    User user;
    EXPECT_TRUE(user.Apply(*Make("web_reg_find", {"Text=in-header"}), responses).failed);
    EXPECT_FALSE(
        user.Apply(*Make("web_reg_find", {"Text=in-header", "Search=Headers"}), responses).failed);
    EXPECT_FALSE(
        user.Apply(*Make("web_reg_find", {"Text=in-header", "Search=All"}), responses).failed);
    EXPECT_TRUE(
        user.Apply(*Make("web_reg_find", {"Text=body text", "Search=Headers"}), responses).failed);
    EXPECT_FALSE(user.Apply(*Make("web_reg_find", {"Text=resource-only"}), responses).failed);
    EXPECT_TRUE(
        user.Apply(*Make("web_reg_find", {"Text=resource-only", "Search=NoResource"}), responses)
            .failed);
}

TEST(RegFind, NulBytesInTheBodyAreSearched) {
    Responses responses;
    responses.Add("http://h/", std::string("a\0b\0needle\0", 11));
    User user;
    EXPECT_FALSE(user.Apply(*Make("web_reg_find", {"Text=needle"}), responses).failed);
}

TEST(GlobalVerification, ChecksEveryFollowingStepUntilPausedAndAgainWhenResumed) {
    CRegistrations registrations;
    User user;
    auto check = Make("web_global_verification", {"Text=Server Error", "Fail=Found", "ID=errors"});
    ASSERT_NE(check, nullptr);
    EXPECT_TRUE(check->IsGlobal());
    registrations.Add(std::move(check));
    EXPECT_EQ(registrations.GlobalCount(), 1u);

    Responses good, bad;
    good.Add("http://h/ok", "fine");
    bad.Add("http://h/err", "Server Error");
    RegistrationReport report;
    registrations.ApplyAndClear(good.Get(), user.params, user.limits, report);
    EXPECT_FALSE(report.failed);
    report = {};
    registrations.ApplyAndClear(bad.Get(), user.params, user.limits, report);
    EXPECT_TRUE(report.failed);

    ParseOutcome pause =
        ParseCallIn(ExtendedParsers(), "web_global_verification_pause", {"ID=errors", "LAST"});
    ASSERT_TRUE(pause.ok) << pause.error;
    EXPECT_TRUE(registrations.AddStep(*pause.step));
    EXPECT_TRUE(registrations.IsPaused("errors"));
    report = {};
    registrations.ApplyAndClear(bad.Get(), user.params, user.limits, report);
    EXPECT_FALSE(report.failed);

    ParseOutcome resume =
        ParseCallIn(ExtendedParsers(), "web_global_verification_resume", {"ID=errors", "LAST"});
    ASSERT_TRUE(resume.ok) << resume.error;
    EXPECT_TRUE(registrations.AddStep(*resume.step));
    report = {};
    registrations.ApplyAndClear(bad.Get(), user.params, user.limits, report);
    EXPECT_TRUE(report.failed);
}

TEST(Registrations, PendingOnesApplyToTheNextStepOnlyThenGlobalOnes) {
    CRegistrations registrations;
    User user;
    ParseOutcome save =
        ParseCallIn(ExtendedParsers(), "web_reg_save_param", {"sid", "LB=sid=", "RB=;", "LAST"});
    ASSERT_TRUE(save.ok);
    EXPECT_TRUE(registrations.AddStep(*save.step, {"sid", "LB=sid=", "RB=;"}));
    registrations.Add(Make("web_reg_find", {"Text=sid"}));
    registrations.Add(Make("web_global_verification", {"Text=Welcome", "ID=w"}));
    EXPECT_EQ(registrations.PendingCount(), 2u);

    Responses first;
    first.Add("http://h/", "Welcome sid=42;");
    RegistrationReport report;
    registrations.ApplyAndClear(first.Get(), user.params, user.limits, report);
    EXPECT_FALSE(report.failed) << report.failure;
    EXPECT_EQ(user.Value("sid"), "42");
    EXPECT_EQ(report.checks.size(), 2u);  // web_reg_find, then the global check
    EXPECT_EQ(registrations.PendingCount(), 0u);

    // The next step has no pending rule: a page without sid passes, the
    // global check still applies.
    Responses second;
    second.Add("http://h/2", "no marker");
    report = {};
    registrations.ApplyAndClear(second.Get(), user.params, user.limits, report);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("web_global_verification w"), std::string::npos)
        << report.failure;
}

TEST(Registrations, OtherStepsAreNotRegistrations) {
    ParseOutcome url = ParseCallIn(ExtendedParsers(), "web_url", {"x", "URL=http://h/", "LAST"});
    ASSERT_TRUE(url.ok) << url.error;
    EXPECT_EQ(CRegistration::FromStep(*url.step), nullptr);
    CRegistrations registrations;
    EXPECT_FALSE(registrations.AddStep(*url.step));
}

TEST(Registrations, LaterFailuresAreKeptAsWarnings) {
    Responses responses;
    responses.Add("http://h/", "page");
    User user;
    CRegistrations registrations;
    registrations.Add(Make("web_reg_find", {"Text=one"}));
    registrations.Add(Make("web_reg_find", {"Text=two"}));
    RegistrationReport report;
    registrations.ApplyAndClear(responses.Get(), user.params, user.limits, report);
    EXPECT_TRUE(report.failed);
    EXPECT_NE(report.failure.find("\"one\""), std::string::npos);
    ASSERT_EQ(report.warnings.size(), 1u);
    EXPECT_NE(report.warnings[0].find("\"two\""), std::string::npos);
}

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeindex>
#include <typeinfo>
#include <vector>

#include "webstep/script/ObjectRepository.h"
#include "webstep/steps/WebStepCreate.h"
#include "webstep/steps/WebSteps.h"

namespace {

struct Entry {
    const char* name;
    std::type_index creator;
    std::type_index step;
};

// The registered names with their creators and steps, in registration order.
const std::vector<Entry>& Table() {
    static const std::vector<Entry> table = {
        {"web_url", typeid(CWebCreateUrl), typeid(CWebStepUrl)},
        {"web_link", typeid(CWebCreateLink), typeid(CWebStepLink)},
        {"web_image", typeid(CWebCreateImage), typeid(CWebStepImage)},
        {"web_submit_form", typeid(CWebCreateSubmitForm), typeid(CWebStepSubmitForm)},
        {"web_submit_data", typeid(CWebCreateSubmitData), typeid(CWebStepSubmitData)},
        {"web_custom_request", typeid(CWebCreateCustomRequest), typeid(CWebStepCustomRequest)},
        {"web_find", typeid(CWebCreateFind), typeid(CWebStepFind)},
        {"web_image_check", typeid(CWebCreateImageCheck), typeid(CWebStepImageCheck)},
        {"web_java_check", typeid(CWebCreateJavaCheck), typeid(CWebStepJavaCheck)},
        {"web_set_proxy", typeid(CWebCreateSetProxy), typeid(CWebStepSetProxy)},
        {"web_set_secure_proxy", typeid(CWebCreateSetSecureProxy), typeid(CWebStepSetSecureProxy)},
        {"web_set_user", typeid(CWebCreateSetUser), typeid(CWebStepSetUser)},
        {"web_add_header", typeid(CWebCreateAddHeader), typeid(CWebStepAddHeader)},
        {"web_add_auto_header", typeid(CWebCreateAddAutoHeader), typeid(CWebStepAddAutoHeader)},
        {"web_cleanup_auto_headers", typeid(CWebCreateCleanupAutoHeaders),
         typeid(CWebStepCleanupAutoHeaders)},
        {"web_set_proxy_bypass", typeid(CWebCreateSetProxyBypass), typeid(CWebStepSetProxyBypass)},
        {"web_set_connections_limit", typeid(CWebCreateSetConnectionsLimit),
         typeid(CWebStepSetConnectionsLimit)},
        {"web_enable_keep_alive", typeid(CWebCreateEnableKeepAlive),
         typeid(CWebStepEnableKeepAlive)},
        {"web_disable_keep_alive", typeid(CWebCreateDisableKeepAlive),
         typeid(CWebStepDisableKeepAlive)},
        {"web_set_timeout", typeid(CWebCreateSetTimeout), typeid(CWebStepSetTimeout)},
        {"web_create_html_param", typeid(CWebCreateCreateHtmlParam),
         typeid(CWebStepCreateHtmlParam)},
        {"web_set_max_html_param_len", typeid(CWebCreateSetMaxHtmlParamLen),
         typeid(CWebStepSetMaxHtmlParamLen)},
        {"web_add_cookie", typeid(CWebCreateAddCookie), typeid(CWebStepAddCookie)},
        {"web_remove_cookie", typeid(CWebCreateRemoveCookie), typeid(CWebStepRemoveCookie)},
        {"web_cleanup_cookies", typeid(CWebCreateCleanupCookies), typeid(CWebStepCleanupCookies)},
        {"web_set_certificate", typeid(CWebCreateSetCertificate), typeid(CWebStepSetCertificate)},
        {"web_get_int_property", typeid(CWebCreateGetIntProperty), typeid(CWebStepGetIntProperty)},
        {"web_save_header", typeid(CWebCreateSaveHeader), typeid(CWebStepSaveHeader)},
        {"web_create_html_param_ex", typeid(CWebCreateCreateHtmlParamEx),
         typeid(CWebStepCreateHtmlParamEx)},
        {"web_set_proxy_bypass_local", typeid(CWebCreateSetProxyBypassLocal),
         typeid(CWebStepSetProxyBypassLocal)},
        {"web_cache_cleanup", typeid(CWebCreateCacheCleanup), typeid(CWebStepCacheCleanup)},
        {"web_concurrent_start", typeid(CWebCreateConcurrentStart),
         typeid(CWebStepConcurrentStart)},
        {"web_concurrent_end", typeid(CWebCreateConcurrentEnd), typeid(CWebStepConcurrentEnd)},
        {"web_reg_save_param", typeid(CWebCreateRegSaveParam), typeid(CWebStepRegSaveParam)},
        {"web_set_max_retries", typeid(CWebCreateSetMaxRetries), typeid(CWebStepSetMaxRetries)},
        {"web_set_certificate_ex", typeid(CWebCreateSetCertificateEx),
         typeid(CWebStepSetCertificateEx)},
        {"web_set_sockets_option", typeid(CWebCreateSetSocketsOption),
         typeid(CWebStepSetSocketsOption)},
        {"web_reg_find", typeid(CWebCreateRegFind), typeid(CWebStepRegFind)},
        {"web_remove_auto_header", typeid(CWebCreateRemoveAutoHeader),
         typeid(CWebStepRemoveAutoHeader)},
        {"web_revert_auto_header", typeid(CWebCreateRevertAutoHeader),
         typeid(CWebStepRevertAutoHeader)},
        {"web_sjis_to_euc_param", typeid(CWebCreateSjisToEucParam), typeid(CWebStepSjisToEucParam)},
        {"web_global_verification", typeid(CWebCreateGlobalVerification),
         typeid(CWebStepGlobalVerification)},
        {"web_reg_add_cookie", typeid(CWebCreateRegAddCookie), typeid(CWebStepRegAddCookie)},
        {"web_convert_param", typeid(CWebCreateConvertParam), typeid(CWebStepConvertParam)},
        {"web_add_cookie_ex", typeid(CWebCreateAddCookieEx), typeid(CWebStepAddCookieEx)},
        {"web_global_verification_pause", typeid(CWebCreateGlobalVerificationPause),
         typeid(CWebStepGlobalVerificationPause)},
        {"web_global_verification_resume", typeid(CWebCreateGlobalVerificationResume),
         typeid(CWebStepGlobalVerificationResume)},
        {"flex_web_request", typeid(CWebCreateFlexCustomRequest),
         typeid(CWebStepFlexCustomRequest)},
        {"silverlight_web_request", typeid(CWebCreateSilverlightCustomRequest),
         typeid(CWebStepSilverlightCustomRequest)},
    };
    return table;
}

std::unique_ptr<CWebStepCreate> CreatorFor(CObjectRepository& repository, const char* name) {
    return std::unique_ptr<CWebStepCreate>(
        static_cast<CWebStepCreate*>(repository.CreateObject(name)));
}

TEST(WebStepCreate, RepositoryHoldsExactlyTheFortyNineNames) {
    CObjectRepository repository;
    CWebStepCreate::UpdateRepository(repository);
    EXPECT_EQ(Table().size(), 49u);
    EXPECT_EQ(repository.GetCount(), 49u);
}

TEST(WebStepCreate, EachNameYieldsItsCreatorAndAStepOfExactlyItsClass) {
    CObjectRepository repository;
    CWebStepCreate::UpdateRepository(repository);
    for (const Entry& entry : Table()) {
        std::unique_ptr<CWebStepCreate> creator = CreatorFor(repository, entry.name);
        ASSERT_NE(creator, nullptr) << entry.name;
        EXPECT_EQ(std::type_index(typeid(*creator)), entry.creator) << entry.name;
        CWebStepData* step = creator->CreateStep();
        ASSERT_NE(step, nullptr) << entry.name;
        EXPECT_EQ(std::type_index(typeid(*step)), entry.step) << entry.name;
        // Deleted through the root: the whole destructor chain runs.
        delete step;
    }
}

TEST(WebStepCreate, EveryCallMakesANewEmptyStep) {
    CObjectRepository repository;
    CWebStepCreate::UpdateRepository(repository);
    std::unique_ptr<CWebStepCreate> creator = CreatorFor(repository, "web_url");
    ASSERT_NE(creator, nullptr);
    std::unique_ptr<CWebStepData> first(creator->CreateStep());
    std::unique_ptr<CWebStepData> second(creator->CreateStep());
    EXPECT_NE(first.get(), second.get());
    auto* url = dynamic_cast<CWebStepUrl*>(first.get());
    ASSERT_NE(url, nullptr);
    EXPECT_EQ(url->GetUrl(), "");
    EXPECT_EQ(url->GetMethod(), "");
    EXPECT_FALSE(url->GetEscapeingString());
}

TEST(WebStepCreate, RegAddCookieIsAlsoAnAddCookie) {
    CObjectRepository repository;
    CWebStepCreate::UpdateRepository(repository);
    std::unique_ptr<CWebStepCreate> creator = CreatorFor(repository, "web_reg_add_cookie");
    ASSERT_NE(creator, nullptr);
    std::unique_ptr<CWebStepData> step(creator->CreateStep());
    EXPECT_EQ(typeid(*step), typeid(CWebStepRegAddCookie));
    EXPECT_NE(dynamic_cast<CWebStepAddCookie*>(step.get()), nullptr);
}

TEST(WebStepCreate, UnknownNamesAreNotInTheRepository) {
    CObjectRepository repository;
    CWebStepCreate::UpdateRepository(repository);
    EXPECT_EQ(repository.CreateObject("web_nothing"), nullptr);
    EXPECT_EQ(repository.CreateObject("WEB_URL"), nullptr);
    EXPECT_EQ(repository.CreateObject(""), nullptr);
    // Built directly by the programs that use them, never by name.
    EXPECT_EQ(repository.CreateObject("web_convert_date_param"), nullptr);
    EXPECT_EQ(repository.CreateObject("web_save_param_length"), nullptr);
}

TEST(WebStepCreate, EarlierRegistrationOfANameIsKept) {
    CObjectRepository repository;
    repository.RegisterObject("web_url", []() -> void* {
        return static_cast<CWebStepCreate*>(CWebCreateLink::CreateObject());
    });
    CWebStepCreate::UpdateRepository(repository);
    std::unique_ptr<CWebStepCreate> creator = CreatorFor(repository, "web_url");
    ASSERT_NE(creator, nullptr);
    EXPECT_EQ(typeid(*creator), typeid(CWebCreateLink));
    EXPECT_EQ(repository.GetCount(), 49u);
}

TEST(WebStepCreate, UpdatingTwiceChangesNothing) {
    CObjectRepository repository;
    CWebStepCreate::UpdateRepository(repository);
    CWebStepCreate::UpdateRepository(repository);
    EXPECT_EQ(repository.GetCount(), 49u);
}

TEST(WebStepCreate, CreateObjectMakesANewCreatorEachTime) {
    std::unique_ptr<CWebStepCreate> a(CWebCreateFind::CreateObject());
    std::unique_ptr<CWebStepCreate> b(CWebCreateFind::CreateObject());
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_NE(a.get(), b.get());
    CWebCreateFind copy(*static_cast<CWebCreateFind*>(a.get()));
    std::unique_ptr<CWebStepData> step(copy.CreateStep());
    EXPECT_EQ(typeid(*step), typeid(CWebStepFind));
}

}  // namespace

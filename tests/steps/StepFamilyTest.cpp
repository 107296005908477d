#include <gtest/gtest.h>

#include <list>
#include <string>

#include "webstep/forms/Data.h"
#include "webstep/steps/WebSteps.h"

namespace {

CData* NewItem(const char* name, const char* value) {
    return new CData(name, value, CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_UNSPECIFIED, true,
                     "", "", false, "", "", "");
}

// Copy-constructs and assigns a filled step and checks both results; the
// assignment target starts with other values so that every field must change.
template <class T, class Fill, class Check>
void ExpectCopyRoundTrip(Fill fill, Check check) {
    T source;
    fill(source);
    check(source);
    T copy(source);
    check(copy);
    T assigned;
    assigned.SetEscapeingString(false);
    assigned = source;
    check(assigned);
}

// --- Custom requests ---------------------------------------------------------

void FillCustomRequest(CWebStepCustomRequest& step) {
    step.SetMethod("POST");
    step.SetUrl("http://h/p");
    CWebStepCustomRequest::BodyList body;
    body.push_back({"Body", "a=1", CWebStepCustomRequest::BODY_TEXT});
    body.push_back({"bodyVar1", "x", CWebStepCustomRequest::BODY_VARIABLE});
    step.SetBody(body);
    step.SetUseEncType(true);
    step.SetEncType("text/xml");
    step.SetRawBodyStartEnd({"RAW_BODY_START", "part", "RAW_BODY_END"});
    step.SetRequestHeaders("H: 1");
    step.SetRequestBody("b\0dy", 4);
    step.SetResponseHeaders("R: 2");
    step.SetResponseBody("r\0\0", 3);
    step.SetContentEncoding("gzip");
    step.SetTargetFrame("_TOP");
    step.SetContentType("text/html");
    step.SetReferer("http://ref/");
    step.SetMode("HTTP");
    step.SetResource(true);
    step.SetIsOutOfBrowserStep(true);
    step.SetUserAgent("ua");
    step.SetResourceByteLimit("{L}");
    step.SetSnapshot("t5.inf");
    step.SetEscapeingString(true);
}

void CheckCustomRequest(const CWebStepCustomRequest& step) {
    EXPECT_EQ(step.GetMethod(), "POST");
    EXPECT_EQ(step.GetUrl(), "http://h/p");
    ASSERT_EQ(step.GetBody().size(), 2u);
    EXPECT_EQ(step.GetBody().front().attributeName, "Body");
    EXPECT_EQ(step.GetBody().front().value, "a=1");
    EXPECT_EQ(step.GetBody().front().encoding, CWebStepCustomRequest::BODY_TEXT);
    EXPECT_EQ(step.GetBody().back().attributeName, "bodyVar1");
    EXPECT_EQ(step.GetBody().back().encoding, CWebStepCustomRequest::BODY_VARIABLE);
    EXPECT_TRUE(step.GetUseEncType());
    EXPECT_EQ(step.GetEncType(), "text/xml");
    EXPECT_EQ(step.GetRawBodyStartEnd(),
              (std::list<MString>{"RAW_BODY_START", "part", "RAW_BODY_END"}));
    EXPECT_EQ(step.GetRequestHeaders(), "H: 1");
    EXPECT_EQ(step.GetRequestBody(), MString("b\0dy", 4));
    EXPECT_EQ(step.GetResponseHeaders(), "R: 2");
    EXPECT_EQ(step.GetResponseBody(), MString("r\0\0", 3));
    EXPECT_EQ(step.GetContentEncoding(), "gzip");
    EXPECT_EQ(step.GetTargetFrame(), "_TOP");
    EXPECT_EQ(step.GetContentType(), "text/html");
    EXPECT_EQ(step.GetReferer(), "http://ref/");
    EXPECT_EQ(step.GetMode(), "HTTP");
    EXPECT_TRUE(step.GetResource());
    EXPECT_TRUE(step.GetIsOutOfBrowserStep());
    EXPECT_EQ(step.GetUserAgent(), "ua");
    EXPECT_EQ(step.GetResourceByteLimit(), "{L}");
    EXPECT_EQ(step.GetSnapshot(), "t5.inf");
    EXPECT_TRUE(step.GetEscapeingString());
}

TEST(WebStepCustomRequest, DefaultIsEmpty) {
    CWebStepCustomRequest step;
    EXPECT_EQ(step.GetMethod(), "");
    EXPECT_EQ(step.GetUrl(), "");
    EXPECT_TRUE(step.GetBody().empty());
    EXPECT_FALSE(step.GetUseEncType());
    EXPECT_EQ(step.GetEncType(), "");
    EXPECT_TRUE(step.GetRawBodyStartEnd().empty());
    EXPECT_EQ(step.GetRequestHeaders(), "");
    EXPECT_EQ(step.GetRequestBody(), "");
    EXPECT_EQ(step.GetResponseHeaders(), "");
    EXPECT_EQ(step.GetResponseBody(), "");
    EXPECT_EQ(step.GetContentEncoding(), "");
}

TEST(WebStepCustomRequest, CopyCopiesBodyPartsAndMarkers) {
    ExpectCopyRoundTrip<CWebStepCustomRequest>(FillCustomRequest, CheckCustomRequest);
}

TEST(WebStepCustomRequest, CopiedBodyPartsAreIndependent) {
    CWebStepCustomRequest step;
    FillCustomRequest(step);
    CWebStepCustomRequest copy(step);
    step.GetBody().front().value = "changed";
    step.SetRawBodyStartEnd({});
    EXPECT_EQ(copy.GetBody().front().value, "a=1");
    EXPECT_EQ(copy.GetRawBodyStartEnd().size(), 3u);
}

TEST(WebStepCustomRequest, BodiesKeepZeroBytesAndNullStoresEmpty) {
    CWebStepCustomRequest step;
    const char bytes[] = {'\0', 'a', '\0'};
    step.SetRequestBody(bytes, 3);
    EXPECT_EQ(step.GetRequestBody().size(), 3u);
    step.SetRequestBody(nullptr, 10);
    EXPECT_EQ(step.GetRequestBody(), "");
    step.SetResponseBody("abc", 0);
    EXPECT_EQ(step.GetResponseBody(), "");
    step.SetResponseBody(nullptr, 5);
    EXPECT_EQ(step.GetResponseBody(), "");
}

TEST(WebStepCustomRequest, SetBodyReplacesTheParts) {
    CWebStepCustomRequest step;
    step.SetBody({{"Body", "1", 0}, {"Body", "2", 0}});
    step.SetBody({{"BodyBinary", "\\x00", CWebStepCustomRequest::BODY_BINARY}});
    ASSERT_EQ(step.GetBody().size(), 1u);
    EXPECT_EQ(step.GetBody().front().encoding, CWebStepCustomRequest::BODY_BINARY);
}

TEST(WebStepUrl, CopyRoundTripOfEveryInheritedField) {
    ExpectCopyRoundTrip<CWebStepUrl>(FillCustomRequest, CheckCustomRequest);
}

TEST(WebStepFlexCustomRequest, CopyRoundTripOfEveryInheritedField) {
    ExpectCopyRoundTrip<CWebStepFlexCustomRequest>(FillCustomRequest, CheckCustomRequest);
}

TEST(WebStepSilverlightCustomRequest, CopyRoundTripOfEveryInheritedField) {
    ExpectCopyRoundTrip<CWebStepSilverlightCustomRequest>(FillCustomRequest, CheckCustomRequest);
}

TEST(WebStepCustomRequest, CopySharesTheExtraResources) {
    CWebStepCustomRequest step;
    step.GetOutOfContextResources().AddTail(new CResource("http://a/1.js", ""));
    CWebStepCustomRequest copy(step);
    ASSERT_EQ(copy.GetOutOfContextResources().GetNumElements(), 1u);
    EXPECT_EQ(copy.GetOutOfContextResources().GetList().front(),
              step.GetOutOfContextResources().GetList().front());
    copy.GetOutOfContextResources().ClearResourceReferences();
}

// --- Data submission ------------------------------------------------------

TEST(WebStepSubmitData, DefaultIsEmpty) {
    CWebStepSubmitData step;
    EXPECT_EQ(step.GetAction(), "");
    EXPECT_EQ(step.GetMethod(), "");
    EXPECT_EQ(step.GetEncType(), "");
    EXPECT_EQ(step.GetContentEncoding(), "");
    EXPECT_EQ(step.GetDataSet().GetNumElements(), 0u);
    EXPECT_FALSE(step.GetUseEncType());
    EXPECT_FALSE(step.GetEncodeAtSign());
    EXPECT_FALSE(step.IsRedirectedToSubmit());
}

TEST(WebStepSubmitData, CopyRoundTripSharesTheDataItems) {
    auto* step = new CWebStepSubmitData;
    step->SetAction("http://h/login");
    step->SetMethod("POST");
    step->SetEncType("multipart/form-data");
    step->SetContentEncoding("utf-8");
    step->SetUseEncType(true);
    step->SetEncodeAtSign(true);
    step->SetRedirectedToSubmit(true);
    step->SetTargetFrame("f");
    step->SetSnapshot("t6.inf");
    CData* item = NewItem("user", "{User}");
    step->GetDataSet().AddData(item);
    const CWebStepSubmitData& constStep = *step;
    EXPECT_EQ(&constStep.GetDataSet(), &step->GetDataSet());

    CWebStepSubmitData copy(*step);
    CWebStepSubmitData assigned;
    assigned.GetDataSet().AddData(NewItem("old", "1"));  // deleted by the assignment
    assigned = *step;
    for (CWebStepSubmitData* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetAction(), "http://h/login");
        EXPECT_EQ(s->GetMethod(), "POST");
        EXPECT_EQ(s->GetEncType(), "multipart/form-data");
        EXPECT_EQ(s->GetContentEncoding(), "utf-8");
        EXPECT_TRUE(s->GetUseEncType());
        EXPECT_TRUE(s->GetEncodeAtSign());
        EXPECT_TRUE(s->IsRedirectedToSubmit());
        EXPECT_EQ(s->GetTargetFrame(), "f");
        EXPECT_EQ(s->GetSnapshot(), "t6.inf");
        ASSERT_EQ(s->GetDataSet().GetNumElements(), 1u);
        EXPECT_EQ(s->GetDataSet().DataElements().GetList().front(), item);
        EXPECT_TRUE(s->GetDataSet() == step->GetDataSet());
        s->GetDataSet().ClearDataReferences();
    }
    EXPECT_EQ(step->GetDataSet().DataElements().GetList().front()->GetScriptValue(), "User");
    delete step;
}

// --- Page navigations ---------------------------------------------------------

TEST(WebStepLink, CopyRoundTripOfAttributesSnapshotAndResources) {
    CWebStepLink step;
    step.GetAttributes().AddAttribute("Text", "Sign in", false);
    step.SetSnapshot("t7.inf");
    step.GetOutOfContextResources().AddTail(new CResource("http://a/i.png", ""));
    CWebStepLink copy(step);
    CWebStepLink assigned;
    assigned = step;
    for (CWebStepLink* s : {&copy, &assigned}) {
        MString text;
        EXPECT_TRUE(s->GetAttributes().GetAttribute("Text", text));
        EXPECT_EQ(text, "Sign in");
        EXPECT_EQ(s->GetSnapshot(), "t7.inf");
        EXPECT_EQ(s->GetOutOfContextResources().GetNumElements(), 1u);
        s->GetOutOfContextResources().ClearResourceReferences();
    }
}

TEST(WebStepImage, CoordinatesKeptAsWrittenAndCopied) {
    ExpectCopyRoundTrip<CWebStepImage>(
        [](CWebStepImage& s) {
            s.SetX("10");
            s.SetY("{Y}");
            s.GetAttributes().AddAttribute("Alt", "logo", false);
        },
        [](const CWebStepImage& s) {
            EXPECT_EQ(s.GetX(), "10");
            EXPECT_EQ(s.GetY(), "{Y}");
            EXPECT_EQ(s.GetAttributes().GetNumItems(), 1u);
        });
    CWebStepImage empty;
    EXPECT_EQ(empty.GetX(), "");
    EXPECT_EQ(empty.GetY(), "");
}

TEST(WebStepSubmitForm, CopyRoundTripSharesDataAndHiddenItems) {
    CWebStepSubmitForm step;
    CData* data = NewItem("q", "x");
    CData* hidden = NewItem("token", "t");
    step.GetDataSet().AddData(data);
    step.GetHiddens().AddData(hidden);
    step.SetContentEncoding("utf-8");
    step.GetAttributes().AddAttribute("Action", "http://h/s", false);
    const CWebStepSubmitForm& constStep = step;
    EXPECT_EQ(&constStep.GetHiddens(), &step.GetHiddens());
    CWebStepSubmitForm copy(step);
    CWebStepSubmitForm assigned;
    assigned = step;
    for (CWebStepSubmitForm* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetContentEncoding(), "utf-8");
        EXPECT_EQ(s->GetAttributes().GetNumItems(), 1u);
        ASSERT_EQ(s->GetDataSet().GetNumElements(), 1u);
        ASSERT_EQ(s->GetHiddens().GetNumElements(), 1u);
        EXPECT_EQ(s->GetDataSet().DataElements().GetList().front(), data);
        EXPECT_EQ(s->GetHiddens().DataElements().GetList().front(), hidden);
        s->GetDataSet().ClearDataReferences();
        s->GetHiddens().ClearDataReferences();
    }
}

// --- Checks ---------------------------------------------------------------------

TEST(WebStepFind, CopyRoundTripSharesTheTextsToFind) {
    CWebStepFind step;
    CData* what = NewItem("Welcome", "");
    step.GetDataSet().AddData(what);
    step.GetAttributes().AddAttribute("Frame", "main", false);
    const CWebStepFind& constStep = step;
    EXPECT_EQ(constStep.GetDataSet().GetNumElements(), 1u);
    CWebStepFind copy(step);
    CWebStepFind assigned;
    assigned = step;
    for (CWebStepFind* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetAttributes().GetNumItems(), 1u);
        ASSERT_EQ(s->GetDataSet().GetNumElements(), 1u);
        EXPECT_EQ(s->GetDataSet().DataElements().GetList().front(), what);
        s->GetDataSet().ClearDataReferences();
    }
}

TEST(WebStepImageCheck, CopyRoundTripOfAttributes) {
    ExpectCopyRoundTrip<CWebStepImageCheck>(
        [](CWebStepImageCheck& s) { s.GetAttributes().AddAttribute("Src", "a.gif", false); },
        [](const CWebStepImageCheck& s) {
            MString v;
            EXPECT_TRUE(s.GetAttributes().GetAttribute("src", v));
            EXPECT_EQ(v, "a.gif");
        });
}

TEST(WebStepJavaCheck, CopyRoundTripSharesAppletParameters) {
    CWebStepJavaCheck step;
    CData* param = NewItem("p", "1");
    step.GetAppletParams().AddData(param);
    step.GetAttributes().AddAttribute("ClassName", "Applet", false);
    const CWebStepJavaCheck& constStep = step;
    EXPECT_EQ(constStep.GetAppletParams().GetNumElements(), 1u);
    CWebStepJavaCheck copy(step);
    CWebStepJavaCheck assigned;
    assigned = step;
    for (CWebStepJavaCheck* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetAttributes().GetNumItems(), 1u);
        ASSERT_EQ(s->GetAppletParams().GetNumElements(), 1u);
        EXPECT_EQ(s->GetAppletParams().DataElements().GetList().front(), param);
        s->GetAppletParams().ClearDataReferences();
    }
}

// --- Service steps ----------------------------------------------------------

template <class T>
void ProxyRoundTrip() {
    ExpectCopyRoundTrip<T>(
        [](T& s) {
            s.SetHost("proxy");
            s.SetPort(8080);
            s.SetParameterUrl("{Proxy}");
        },
        [](const T& s) {
            EXPECT_EQ(s.GetHost(), "proxy");
            EXPECT_EQ(s.GetPort(), 8080u);
            EXPECT_EQ(s.GetParameterUrl(), "{Proxy}");
        });
    T empty;
    EXPECT_EQ(empty.GetHost(), "");
    EXPECT_EQ(empty.GetPort(), 0u);
    EXPECT_EQ(empty.GetParameterUrl(), "");
}

TEST(WebStepSetProxy, CopyRoundTrip) {
    ProxyRoundTrip<CWebStepSetProxy>();
}
TEST(WebStepSetSecureProxy, CopyRoundTrip) {
    ProxyRoundTrip<CWebStepSetSecureProxy>();
}

TEST(WebStepSetUser, CopyRoundTripWithPortSetByPutPort) {
    ExpectCopyRoundTrip<CWebStepSetUser>(
        [](CWebStepSetUser& s) {
            s.SetUsername("jo");
            s.SetPassword("secret");
            s.SetHost("h");
            s.PutPort(443);
            s.SetParameterUrl("{U}");
        },
        [](const CWebStepSetUser& s) {
            EXPECT_EQ(s.GetUsername(), "jo");
            EXPECT_EQ(s.GetPassword(), "secret");
            EXPECT_EQ(s.GetHost(), "h");
            EXPECT_EQ(s.GetPort(), 443u);
            EXPECT_EQ(s.GetParameterUrl(), "{U}");
        });
    CWebStepSetUser empty;
    EXPECT_EQ(empty.GetPort(), 0u);
    EXPECT_EQ(empty.GetUsername(), "");
}

template <class T>
void HeaderRoundTrip() {
    ExpectCopyRoundTrip<T>(
        [](T& s) {
            s.SetHeader("Accept");
            s.SetValue("*/*");
        },
        [](const T& s) {
            EXPECT_EQ(s.GetHeader(), "Accept");
            EXPECT_EQ(s.GetValue(), "*/*");
        });
}

TEST(WebStepAddHeader, CopyRoundTrip) {
    HeaderRoundTrip<CWebStepAddHeader>();
}
TEST(WebStepAddAutoHeader, CopyRoundTrip) {
    HeaderRoundTrip<CWebStepAddAutoHeader>();
}

TEST(WebStepRevertAutoHeader, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepRevertAutoHeader>(
        [](CWebStepRevertAutoHeader& s) { s.SetHeader("X-A"); },
        [](const CWebStepRevertAutoHeader& s) { EXPECT_EQ(s.GetHeader(), "X-A"); });
}

TEST(WebStepRemoveAutoHeader, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepRemoveAutoHeader>(
        [](CWebStepRemoveAutoHeader& s) {
            s.SetHeader("X-B");
            s.SetImplicitGeneration("Yes");
        },
        [](const CWebStepRemoveAutoHeader& s) {
            EXPECT_EQ(s.GetHeader(), "X-B");
            EXPECT_EQ(s.GetImplicitGeneration(), "Yes");
        });
}

TEST(WebStepSetProxyBypass, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSetProxyBypass>(
        [](CWebStepSetProxyBypass& s) { s.SetBypass("*.local;10.*"); },
        [](const CWebStepSetProxyBypass& s) { EXPECT_EQ(s.GetBypass(), "*.local;10.*"); });
}

TEST(WebStepSetProxyBypassLocal, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSetProxyBypassLocal>(
        [](CWebStepSetProxyBypassLocal& s) { s.SetBypassOption(true); },
        [](const CWebStepSetProxyBypassLocal& s) { EXPECT_TRUE(s.GetBypassOption()); });
    EXPECT_FALSE(CWebStepSetProxyBypassLocal().GetBypassOption());
}

TEST(WebStepSetConnectionsLimit, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSetConnectionsLimit>(
        [](CWebStepSetConnectionsLimit& s) { s.SetLimit(4); },
        [](const CWebStepSetConnectionsLimit& s) { EXPECT_EQ(s.GetLimit(), 4u); });
    EXPECT_EQ(CWebStepSetConnectionsLimit().GetLimit(), 0u);
}

TEST(WebStepSetTimeout, CopyRoundTripAndActionValuesOfTheTable) {
    ExpectCopyRoundTrip<CWebStepSetTimeout>(
        [](CWebStepSetTimeout& s) {
            s.SetAction(CWebStepSetTimeout::ACTION_RECEIVE);
            s.SetTimeout(120);
        },
        [](const CWebStepSetTimeout& s) {
            EXPECT_EQ(s.GetAction(), CWebStepSetTimeout::ACTION_RECEIVE);
            EXPECT_EQ(s.GetTimeout(), 120u);
        });
    CWebStepSetTimeout empty;
    EXPECT_EQ(empty.GetAction(), CWebStepSetTimeout::ACTION_NONE);
    EXPECT_EQ(empty.GetTimeout(), 0u);
    EXPECT_EQ(CWebStepSetTimeout::ACTION_RESOLVE, 1);
    EXPECT_EQ(CWebStepSetTimeout::ACTION_CONNECT, 2);
    EXPECT_EQ(CWebStepSetTimeout::ACTION_RECEIVE, 3);
    EXPECT_EQ(CWebStepSetTimeout::ACTION_STEP, 4);
}

TEST(WebStepSetMaxRetries, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSetMaxRetries>(
        [](CWebStepSetMaxRetries& s) { s.SetMaxRetries(3); },
        [](const CWebStepSetMaxRetries& s) { EXPECT_EQ(s.GetMaxRetries(), 3u); });
}

TEST(WebStepSetSocketsOption, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSetSocketsOption>(
        [](CWebStepSetSocketsOption& s) {
            s.SetOptionID("SSL_VERSION");
            s.SetOptionValue("TLS1.2");
        },
        [](const CWebStepSetSocketsOption& s) {
            EXPECT_EQ(s.GetOptionID(), "SSL_VERSION");
            EXPECT_EQ(s.GetOptionValue(), "TLS1.2");
        });
}

TEST(WebStepCreateHtmlParam, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepCreateHtmlParam>(
        [](CWebStepCreateHtmlParam& s) {
            s.SetName("P");
            s.SetLeft("<");
            s.SetRight(">");
        },
        [](const CWebStepCreateHtmlParam& s) {
            EXPECT_EQ(s.GetName(), "P");
            EXPECT_EQ(s.GetLeft(), "<");
            EXPECT_EQ(s.GetRight(), ">");
        });
}

TEST(WebStepCreateHtmlParamEx, CopyRoundTripWithInstanceSetFromInt) {
    ExpectCopyRoundTrip<CWebStepCreateHtmlParamEx>(
        [](CWebStepCreateHtmlParamEx& s) {
            s.SetName("P");
            s.SetLeft("a");
            s.SetRight("b");
            s.SetInstance(3);
        },
        [](const CWebStepCreateHtmlParamEx& s) {
            EXPECT_EQ(s.GetName(), "P");
            EXPECT_EQ(s.GetLeft(), "a");
            EXPECT_EQ(s.GetRight(), "b");
            EXPECT_EQ(s.GetInstance(), 3u);
        });
    CWebStepCreateHtmlParamEx step;
    step.SetInstance(-1);
    EXPECT_EQ(step.GetInstance(), 4294967295u);
}

TEST(WebStepSetMaxHtmlParamLen, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSetMaxHtmlParamLen>(
        [](CWebStepSetMaxHtmlParamLen& s) { s.SetLen(1024); },
        [](const CWebStepSetMaxHtmlParamLen& s) { EXPECT_EQ(s.GetLen(), 1024u); });
}

TEST(WebStepAddCookie, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepAddCookie>(
        [](CWebStepAddCookie& s) { s.SetCookie("a=1; domain=h"); },
        [](const CWebStepAddCookie& s) { EXPECT_EQ(s.GetCookie(), "a=1; domain=h"); });
}

TEST(WebStepRegAddCookie, CopyRoundTripOfCookieAndTextToFind) {
    ExpectCopyRoundTrip<CWebStepRegAddCookie>(
        [](CWebStepRegAddCookie& s) {
            s.SetCookie("c=2");
            s.SetTextToFind("logged in");
        },
        [](const CWebStepRegAddCookie& s) {
            EXPECT_EQ(s.GetCookie(), "c=2");
            EXPECT_EQ(s.GetTextToFind(), "logged in");
        });
}

TEST(WebStepAddCookieEx, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepAddCookieEx>(
        [](CWebStepAddCookieEx& s) {
            s.SetCookie("d=3");
            s.SetInsertAt("Before");
        },
        [](const CWebStepAddCookieEx& s) {
            EXPECT_EQ(s.GetCookie(), "d=3");
            EXPECT_EQ(s.GetInsertAt(), "Before");
        });
}

TEST(WebStepRemoveCookie, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepRemoveCookie>(
        [](CWebStepRemoveCookie& s) { s.SetCookie("a=; domain=h"); },
        [](const CWebStepRemoveCookie& s) { EXPECT_EQ(s.GetCookie(), "a=; domain=h"); });
}

TEST(WebStepSetCertificate, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSetCertificate>(
        [](CWebStepSetCertificate& s) { s.SetIndex(7); },
        [](const CWebStepSetCertificate& s) { EXPECT_EQ(s.GetIndex(), 7u); });
    EXPECT_EQ(CWebStepSetCertificate().GetIndex(), 0u);
}

TEST(WebStepGetIntProperty, CopyRoundTripAndValuesOfTheTable) {
    ExpectCopyRoundTrip<CWebStepGetIntProperty>(
        [](CWebStepGetIntProperty& s) {
            s.SetHttpInfoType(CWebStepGetIntProperty::HTTP_INFO_DOWNLOAD_TIME);
        },
        [](const CWebStepGetIntProperty& s) {
            EXPECT_EQ(s.GetHttpInfoType(), CWebStepGetIntProperty::HTTP_INFO_DOWNLOAD_TIME);
        });
    EXPECT_EQ(CWebStepGetIntProperty().GetHttpInfoType(), CWebStepGetIntProperty::HTTP_INFO_NONE);
    EXPECT_EQ(CWebStepGetIntProperty::HTTP_INFO_RETURN_CODE, 1);
    EXPECT_EQ(CWebStepGetIntProperty::HTTP_INFO_DOWNLOAD_SIZE, 2);
    EXPECT_EQ(CWebStepGetIntProperty::HTTP_INFO_DOWNLOAD_TIME, 3);
}

TEST(WebStepSaveHeader, CopyRoundTripAndHeaderReturnedAsCopy) {
    ExpectCopyRoundTrip<CWebStepSaveHeader>(
        [](CWebStepSaveHeader& s) {
            s.SetOption(CWebStepSaveHeader::SAVE_HEADER_RESPONSE);
            s.SetHeader("Hdr");
        },
        [](const CWebStepSaveHeader& s) {
            EXPECT_EQ(s.GetOption(), CWebStepSaveHeader::SAVE_HEADER_RESPONSE);
            EXPECT_EQ(s.GetHeader(), "Hdr");
        });
    static_assert(std::is_same_v<decltype(CWebStepSaveHeader().GetHeader()), MString>);
    CWebStepSaveHeader step;
    step.SetHeader("a");
    MString copy = step.GetHeader();
    step.SetHeader("b");
    EXPECT_EQ(copy, "a");
    EXPECT_EQ(CWebStepSaveHeader::SAVE_HEADER_REQUEST, 1);
    EXPECT_EQ(CWebStepSaveHeader::SAVE_HEADER_RESPONSE, 2);
}

TEST(WebStepSjisToEucParam, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSjisToEucParam>(
        [](CWebStepSjisToEucParam& s) {
            s.SetParamName("N");
            s.SetParamValue("V");
        },
        [](const CWebStepSjisToEucParam& s) {
            EXPECT_EQ(s.GetParamName(), "N");
            EXPECT_EQ(s.GetParamValue(), "V");
        });
}

TEST(WebStepSaveParamLength, CopyRoundTrip) {
    ExpectCopyRoundTrip<CWebStepSaveParamLength>(
        [](CWebStepSaveParamLength& s) { s.SetConversionBase("16"); },
        [](const CWebStepSaveParamLength& s) { EXPECT_EQ(s.GetConversionBase(), "16"); });
}

TEST(WebStepCodeC, CopyRoundTripWithCodeFromString) {
    ExpectCopyRoundTrip<CWebStepCodeC>(
        [](CWebStepCodeC& s) {
            s.SetCode(MString("lr_think_time(1);"));
            s.SetLocation(CODEC_AFTER_STEP);
        },
        [](const CWebStepCodeC& s) {
            EXPECT_EQ(s.GetCode(), "lr_think_time(1);");
            EXPECT_EQ(s.GetLocation(), CODEC_AFTER_STEP);
        });
    EXPECT_EQ(CWebStepCodeC().GetLocation(), CODEC_NONE);
}

TEST(QzStepSaveInt, CopyRoundTrip) {
    ExpectCopyRoundTrip<CQzStepSaveInt>(
        [](CQzStepSaveInt& s) {
            s.SetParamName(MString("Count"));
            s.SetExpression(MString("a + 1"));
        },
        [](const CQzStepSaveInt& s) {
            EXPECT_EQ(s.GetParamName(), "Count");
            EXPECT_EQ(s.GetExpression(), "a + 1");
        });
}

TEST(ServiceSteps, NullTextSetterStoresEmpty) {
    CWebStepAddHeader header;
    header.SetHeader(nullptr);
    EXPECT_EQ(header.GetHeader(), "");
    CWebStepSaveHeader save;
    save.SetHeader(nullptr);
    EXPECT_EQ(save.GetHeader(), "");
}

}  // namespace

namespace {

TEST(WebStepCustomRequest, HugeBodiesAndManyPartsSurviveCopies) {
    const MString huge(1 << 20, 'b');
    CWebStepCustomRequest step;
    step.SetRequestBody(huge.data(), static_cast<unsigned int>(huge.size()));
    CWebStepCustomRequest::BodyList parts;
    for (int i = 0; i < 1000; ++i) {
        parts.push_back(
            {"body" + std::to_string(i), std::to_string(i), CWebStepCustomRequest::BODY_VARIABLE});
    }
    step.SetBody(parts);
    CWebStepCustomRequest copy(step);
    EXPECT_EQ(copy.GetRequestBody().size(), huge.size());
    ASSERT_EQ(copy.GetBody().size(), 1000u);
    EXPECT_EQ(copy.GetBody().back().attributeName, "body999");
}

TEST(WebStepGlobalVerificationPauseResume, ManyIdsKeepTheirOrder) {
    CWebStepGlobalVerificationResume step;
    for (int i = 0; i < 500; ++i) {
        step.AddID(std::to_string(i));
    }
    int expected = 0;
    for (const MString& id : step.GetIDs()) {
        EXPECT_EQ(id, std::to_string(expected++));
    }
    EXPECT_EQ(expected, 500);
    step.AddID("");
    EXPECT_EQ(step.GetIDs().back(), "");
}

}  // namespace

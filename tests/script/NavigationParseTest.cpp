// The parsers of the steps that load pages: web_url, web_link, web_image,
// web_submit_form and web_submit_data, through the repository as a caller
// uses them.
#include <gtest/gtest.h>

#include <iterator>
#include <list>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "ParserProbe.h"
#include "webstep/forms/Data.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Resource.h"
#include "webstep/script/WebParsers.h"
#include "webstep/steps/WebSteps.h"

namespace {

// One parse through the repository; owns the step the parse created.
struct Parsed {
    std::unique_ptr<CWebStepParse> parser;
    std::unique_ptr<CWebStepData> step;
    bool ok = false;

    std::string Error() const { return ErrorText(*parser); }
    unsigned int Code() const { return parser->GetLastErrorInfo().GetCode(); }
    template <class Step>
    Step* As() const {
        return dynamic_cast<Step*>(step.get());
    }
};

CObjectRepository& Repository() {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        return r;
    }();
    return repository;
}

Parsed Parse(const char* function, const std::vector<std::string>& args,
             WebParserFlags flags = WPF_CREATE_STEP, CWebStepData* placed = nullptr) {
    Parsed result;
    result.parser.reset(static_cast<CWebStepParse*>(Repository().CreateObject(function)));
    std::vector<const char*> pointers;
    for (const std::string& a : args)
        pointers.push_back(a.c_str());
    result.parser->SetDataStep(placed);
    result.ok = result.parser->ParseArguments(static_cast<unsigned int>(pointers.size()),
                                              pointers.data(), flags);
    if (result.parser->GetDataStep() != placed)
        result.step.reset(result.parser->GetDataStep());
    return result;
}

std::vector<std::string> Urls(const CResourceElements& resources) {
    std::vector<std::string> out;
    for (const CResource* r : resources.GetList())
        out.push_back(r->GetUrl() + "|" + r->GetReferer());
    return out;
}

std::vector<std::string> Items(const CDataSet& set) {
    std::vector<std::string> out;
    for (const CData* d : set.DataElements().GetList())
        out.push_back(d->GetName() + "=" + d->GetValue());
    return out;
}

std::string Attributes(const CAttributeSet& set) {
    std::string out;
    CPropertyBagIterator it(set);
    MString name, value;
    for (bool more = it.GetFirst(name, value); more; more = it.GetNext(name, value))
        out += name + "=" + value + ";";
    return out;
}

// Exposes the contextless-attribute reader.
class CContextlessProbe : public CWebParseUrl {
public:
    using CWebStepParse::GetContextlessAttributes;
};

}  // namespace

// ---- web_url ----

TEST(NavigationParse, UrlWithOnlyStepNameAndLastFailsWith1000NamingUrl) {
    Parsed p = Parse("web_url", {"home", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1000|text=URL");
    EXPECT_EQ(p.step, nullptr);
}

TEST(NavigationParse, UrlWithResource2FailsWith1004) {
    Parsed p = Parse("web_url", {"home", "URL=http://a/", "Resource=2", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1004|text=2");
}

TEST(NavigationParse, UrlEndingAtExtraresYieldsOneResourceAndAlwaysGetMethod) {
    Parsed p = Parse("web_url", {"home", "URL=http://a/", "Method=POST", "EXTRARES",
                                 "URL=/img/logo.png", "Referer=http://a/", "ENDITEM", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    auto* step = p.As<CWebStepUrl>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetMethod(), "GET");
    EXPECT_EQ(Urls(step->GetOutOfContextResources()),
              std::vector<std::string>({"/img/logo.png|http://a/"}));
}

TEST(NavigationParse, UrlRecordedCallFillsEveryField) {
    Parsed p = Parse(
        "web_url",
        {"index.html;sid={SessionId}", "URL=http://{Host}/patron/login", "TargetFrame=main",
         "Resource=0", "RecContentType=text/html", "Referer=http://{Host}/", "Snapshot=t2.inf",
         "Mode=HTML", "UserAgent=Agent/1.0", "ResourceByteLimit={Limit}", "EXTRARES", "Url=/a.css",
         "ENDITEM", "Url=/b.js", "Referer=http://{Host}/x", "ENDITEM", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    auto* step = p.As<CWebStepUrl>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(typeid(*step), typeid(CWebStepUrl));
    EXPECT_EQ(p.parser->GetWebStep().GetName(), "index.html;sid={SessionId}");
    EXPECT_EQ(step->GetUrl(), "http://{Host}/patron/login");
    EXPECT_EQ(step->GetMethod(), "GET");
    EXPECT_EQ(step->GetTargetFrame(), "main");
    EXPECT_FALSE(step->GetResource());
    EXPECT_EQ(step->GetContentType(), "text/html");
    EXPECT_EQ(step->GetReferer(), "http://{Host}/");
    EXPECT_EQ(step->GetSnapshot(), "t2.inf");
    EXPECT_EQ(step->GetMode(), "HTML");
    EXPECT_EQ(step->GetUserAgent(), "Agent/1.0");
    EXPECT_EQ(step->GetResourceByteLimit(), "{Limit}");
    EXPECT_EQ(Urls(step->GetOutOfContextResources()),
              std::vector<std::string>({"/a.css|", "/b.js|http://{Host}/x"}));
    EXPECT_TRUE(step->GetBody().empty());
}

TEST(NavigationParse, UrlWithoutTargetFrameTargetsTheTopFrame) {
    Parsed p = Parse("web_url", {"home", "URL=http://a/", "LAST"});
    ASSERT_TRUE(p.ok);
    auto* step = p.As<CWebStepUrl>();
    EXPECT_EQ(step->GetTargetFrame(), "_TOP");
    EXPECT_EQ(step->GetReferer(), "");
    EXPECT_EQ(step->GetUserAgent(), "");
    EXPECT_EQ(step->GetResourceByteLimit(), "");
    EXPECT_FALSE(step->GetResource());
    EXPECT_TRUE(step->GetOutOfContextResources().GetList().empty());
}

TEST(NavigationParse, UrlResourceOneSetsTheResourceFlag) {
    Parsed p = Parse("web_url", {"img", "URL=http://a/x.png", "Resource=1", "LAST"});
    ASSERT_TRUE(p.ok);
    EXPECT_TRUE(p.As<CWebStepUrl>()->GetResource());
}

TEST(NavigationParse, UrlResourceAsParameterReferenceIsAcceptedAsClear) {
    Parsed p = Parse("web_url", {"img", "URL=http://a/x.png", "Resource={r}", "LAST"});
    ASSERT_TRUE(p.ok);
    EXPECT_FALSE(p.As<CWebStepUrl>()->GetResource());
}

TEST(NavigationParse, EmptyArgumentArrayFailsWith1009ForEveryNavigationStep) {
    for (const char* f :
         {"web_url", "web_link", "web_image", "web_submit_form", "web_submit_data"}) {
        Parsed p = Parse(f, {});
        EXPECT_FALSE(p.ok) << f;
        EXPECT_EQ(p.Error(), "1009") << f;
        EXPECT_EQ(p.step, nullptr) << f;
    }
}

TEST(NavigationParse, RepeatedAttributeInAnyLetterCaseFailsWith1012) {
    Parsed p =
        Parse("web_url", {"home", "URL=http://a/", "Snapshot=t1.inf", "snapshot=t2.inf", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1012|attribute=snapshot|argument=4");
}

TEST(NavigationParse, AttributeWithoutEqualsSignFailsWith1002AndItsPosition) {
    Parsed p = Parse("web_url", {"home", "URL=http://a/", "Snapshot:t1.inf", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1002|text=Snapshot:t1.inf|argument=3");
}

TEST(NavigationParse, UrlTerminatorsAreFoundInAnyLetterCase) {
    Parsed p = Parse("web_url",
                     {"home", "URL=http://a/", "extrares", "URL=/r", "ENDITEM", "last", "junk"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(p.As<CWebStepUrl>()->GetOutOfContextResources().GetNumElements(), 1u);
}

TEST(NavigationParse, UrlWithoutLastInArrayModeParses) {
    Parsed p = Parse("web_url", {"home", "URL=http://a/"});
    EXPECT_TRUE(p.ok) << p.Error();
}

TEST(NavigationParse, UrlBadResourceItemFailsNamingTheResourceTable) {
    Parsed p = Parse(
        "web_url", {"home", "URL=http://a/", "EXTRARES", "URL=/a", "ENDITEM", "ITEMDATA", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1001|text=ITEMDATA|record=2|argument=6|context=resource table");
    EXPECT_EQ(p.step, nullptr);
}

TEST(NavigationParse, UrlResourceItemNotClosedFailsWith1011) {
    Parsed p = Parse("web_url", {"home", "URL=http://a/", "EXTRARES", "URL=/a", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Code(), 1011u);
}

TEST(NavigationParse, UrlWithoutStepNameFlagReadsAttributesFromTheFirstArgument) {
    Parsed p = Parse("web_url", {"URL=http://a/", "LAST"}, WPF_CREATE_STEP | WPF_NO_STEP_NAME);
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(p.As<CWebStepUrl>()->GetUrl(), "http://a/");
}

TEST(NavigationParse, UrlParsedInVariableArgumentModeMatchesArrayMode) {
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(Repository().CreateObject("web_url")));
    ASSERT_TRUE(parser->ParseArgumentList(WPF_CREATE_STEP | WPF_COPY_ARGUMENTS, "home",
                                          "URL=http://a/", "Snapshot=t1.inf", "EXTRARES",
                                          "URL=/r.css", "ENDITEM", "LAST"));
    std::unique_ptr<CWebStepData> owned(parser->GetDataStep());
    auto* step = dynamic_cast<CWebStepUrl*>(owned.get());
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetUrl(), "http://a/");
    EXPECT_EQ(step->GetSnapshot(), "t1.inf");
    EXPECT_EQ(Urls(step->GetOutOfContextResources()), std::vector<std::string>({"/r.css|"}));
}

TEST(NavigationParse, UrlParsedFromAStringListMatchesArrayMode) {
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(Repository().CreateObject("web_url")));
    std::list<MString> args = {"home", "URL=http://a/b", "Mode=HTTP", "LAST"};
    ASSERT_TRUE(parser->ParseArguments(args, WPF_CREATE_STEP));
    std::unique_ptr<CWebStepData> owned(parser->GetDataStep());
    auto* step = dynamic_cast<CWebStepUrl*>(owned.get());
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetUrl(), "http://a/b");
    EXPECT_EQ(step->GetMode(), "HTTP");
}

TEST(NavigationParse, UrlFillsAStepPlacedByTheCaller) {
    CWebStepUrl placed;
    placed.SetMethod("POST");
    Parsed p =
        Parse("web_url", {"home", "URL=http://a/", "Snapshot=t9.inf", "LAST"}, WPF_NONE, &placed);
    ASSERT_TRUE(p.ok);
    EXPECT_EQ(p.step, nullptr);
    EXPECT_EQ(placed.GetUrl(), "http://a/");
    EXPECT_EQ(placed.GetMethod(), "GET");
    EXPECT_EQ(placed.GetSnapshot(), "t9.inf");
}

TEST(NavigationParse, UrlWithAStepOfAnotherClassInTheSlotChecksWithoutFilling) {
    CWebStepLink placed;
    Parsed p =
        Parse("web_url", {"home", "URL=http://a/", "Snapshot=t9.inf", "LAST"}, WPF_NONE, &placed);
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(placed.GetSnapshot(), "");
    Parsed bad = Parse("web_url", {"home", "LAST"}, WPF_NONE, &placed);
    EXPECT_FALSE(bad.ok);
    EXPECT_EQ(bad.Error(), "1000|text=URL");
}

TEST(NavigationParse, FailedParseLeavesTheCallersStepUntouched) {
    CWebStepUrl placed;
    placed.SetUrl("http://before/");
    Parsed p = Parse("web_url", {"home", "URL=http://a/", "Resource=x", "LAST"}, WPF_NONE, &placed);
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(placed.GetUrl(), "http://before/");
}

TEST(NavigationParse, ParserCanBeReusedAfterAFailure) {
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(Repository().CreateObject("web_url")));
    const char* bad[] = {"home", "LAST"};
    EXPECT_FALSE(parser->ParseArguments(2, bad, WPF_CREATE_STEP));
    const char* good[] = {"home", "URL=http://a/", "LAST"};
    ASSERT_TRUE(parser->ParseArguments(3, good, WPF_CREATE_STEP));
    EXPECT_EQ(parser->GetLastErrorInfo().GetCode(), 0u);
    delete parser->GetDataStep();
}

TEST(NavigationParse, ContextlessAttributesKeepAbsentOptionalValuesUnchanged) {
    CContextlessProbe probe;
    CWebContextlessStep step;
    step.SetContentType("before/type");
    step.SetSnapshot("before.inf");
    step.SetMode("before");
    step.SetResource(true);
    step.SetReferer("old-referer");
    step.SetUserAgent("old-agent");
    step.SetResourceByteLimit("9");
    step.SetTargetFrame("old-frame");
    CAttributeSet attributes;
    ASSERT_TRUE(probe.GetContextlessAttributes(attributes, step));
    EXPECT_EQ(step.GetContentType(), "before/type");
    EXPECT_EQ(step.GetSnapshot(), "before.inf");
    EXPECT_EQ(step.GetMode(), "before");
    EXPECT_TRUE(step.GetResource());
    // These three are emptied and the frame reset when absent.
    EXPECT_EQ(step.GetReferer(), "");
    EXPECT_EQ(step.GetUserAgent(), "");
    EXPECT_EQ(step.GetResourceByteLimit(), "");
    EXPECT_EQ(step.GetTargetFrame(), "_TOP");
}

TEST(NavigationParse, ContextlessAttributesStopAtABadResourceValue) {
    CContextlessProbe probe;
    CWebContextlessStep step;
    CAttributeSet attributes;
    attributes.AddAttribute("Resource", "yes", false);
    attributes.AddAttribute("Snapshot", "t1.inf", false);
    EXPECT_FALSE(probe.GetContextlessAttributes(attributes, step));
    EXPECT_EQ(ErrorText(probe), "1004|text=yes");
    // It returned at once: the later snapshot was not copied.
    EXPECT_EQ(step.GetSnapshot(), "");
}

TEST(NavigationParse, ContextlessAttributeNamesAreMatchedWithoutLetterCase) {
    CContextlessProbe probe;
    CWebContextlessStep step;
    CAttributeSet attributes;
    attributes.AddAttribute("targetframe", "f", false);
    attributes.AddAttribute("RECCONTENTTYPE", "image/png", false);
    attributes.AddAttribute("resource", "1", false);
    attributes.AddAttribute("useragent", "ua", false);
    ASSERT_TRUE(probe.GetContextlessAttributes(attributes, step));
    EXPECT_EQ(step.GetTargetFrame(), "f");
    EXPECT_EQ(step.GetContentType(), "image/png");
    EXPECT_TRUE(step.GetResource());
    EXPECT_EQ(step.GetUserAgent(), "ua");
}

// ---- web_link and web_image ----

TEST(NavigationParse, LinkKeepsItsDescriptionAndMovesTheSnapshot) {
    Parsed p = Parse("web_link", {"Renew", "Text=Renew all", "Ordinal=2", "Custom=kept",
                                  "Snapshot=t7.inf", "EXTRARES", "URL=/x.gif", "ENDITEM", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    auto* step = p.As<CWebStepLink>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetSnapshot(), "t7.inf");
    EXPECT_EQ(Attributes(step->GetAttributes()), "Text=Renew all;Ordinal=2;Custom=kept;");
    EXPECT_EQ(Urls(step->GetOutOfContextResources()), std::vector<std::string>({"/x.gif|"}));
    EXPECT_EQ(p.parser->GetWebStep().GetName(), "Renew");
}

TEST(NavigationParse, LinkReadsExtraResourcesBeforeAnyAttributeCheck) {
    Parsed p = Parse("web_link", {"Renew", "Text=x", "EXTRARES", "Color=red", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(),
              "1002|text=Color=red|attribute=Color|record=1|argument=4|context="
              "resource table");
}

TEST(NavigationParse, LinkRepeatedAttributeFailsWith1012) {
    Parsed p = Parse("web_link", {"x", "Text=a", "TEXT=b", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1012|attribute=TEXT|argument=3");
}

TEST(NavigationParse, ImageWithXCoord10aFailsWith1006) {
    Parsed p = Parse("web_image", {"map", "Src=/m.gif", "XCoord=10a", "YCoord=5", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1006|text=10a");
}

TEST(NavigationParse, ImageWithBadYCoordFailsWith1006) {
    Parsed p = Parse("web_image", {"map", "Src=/m.gif", "XCoord=10", "YCoord=-", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1006|text=-");
}

TEST(NavigationParse, ImageCoordinatesStayInTheAttributeSet) {
    Parsed p = Parse("web_image",
                     {"map", "Src=/m.gif", "XCoord=10", "YCoord={y}", "Snapshot=t3.inf", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    auto* step = p.As<CWebStepImage>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(Attributes(step->GetAttributes()), "Src=/m.gif;XCoord=10;YCoord={y};");
    EXPECT_EQ(step->GetX(), "10");
    EXPECT_EQ(step->GetY(), "{y}");
    EXPECT_EQ(step->GetSnapshot(), "t3.inf");
}

TEST(NavigationParse, ImageCoordinateIsCheckedAfterTheExtraResources) {
    Parsed p = Parse("web_image", {"map", "XCoord=1x", "EXTRARES", "Bad", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Code(), 1001u);
}

// ---- web_submit_form ----

TEST(NavigationParse, SubmitFormArgumentsRunningOutAfterItemDataFailWith1013) {
    Parsed p = Parse("web_submit_form",
                     {"login", "Snapshot=t1.inf", "ITEMDATA", "Name=user", "Value=u", "ENDITEM"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1013");
    EXPECT_EQ(p.step, nullptr);
}

TEST(NavigationParse, SubmitFormHiddensAndItemDataAreBothFilled) {
    Parsed p = Parse("web_submit_form",
                     {"login",        "Action=/login", "Snapshot=t4.inf", "ContentEncoding=gzip",
                      "STARTHIDDENS", "Name=token",    "Value={Token}",   "ENDITEM",
                      "ENDHIDDENS",   "ITEMDATA",      "Name=user",       "Value={User}",
                      "ENDITEM",      "Name=pass",     "Value={Pass}",    "ENDITEM",
                      "EXTRARES",     "URL=/r.css",    "ENDITEM",         "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    auto* step = p.As<CWebStepSubmitForm>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(Items(step->GetHiddens()), std::vector<std::string>({"token={Token}"}));
    EXPECT_EQ(Items(step->GetDataSet()), std::vector<std::string>({"user={User}", "pass={Pass}"}));
    EXPECT_EQ(step->GetSnapshot(), "t4.inf");
    EXPECT_EQ(step->GetContentEncoding(), "gzip");
    // Snapshot and ContentEncoding leave the form's description.
    EXPECT_EQ(Attributes(step->GetAttributes()), "Action=/login;");
    EXPECT_EQ(Urls(step->GetOutOfContextResources()), std::vector<std::string>({"/r.css|"}));
}

TEST(NavigationParse, SubmitFormHiddensAfterItemDataAreAStrayWordOfTheDataTable) {
    // Item data ends only at EXTRARES or LAST.
    Parsed p = Parse("web_submit_form", {"f", "ITEMDATA", "Name=a", "ENDITEM", "STARTHIDDENS",
                                         "Name=h", "ENDITEM", "ENDHIDDENS", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1001|text=STARTHIDDENS|record=2|argument=5|context=data table");
}

TEST(NavigationParse, SubmitFormHiddensEndingAtLastFinish) {
    Parsed p =
        Parse("web_submit_form", {"f", "STARTHIDDENS", "Name=h", "Value=1", "ENDITEM", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(Items(p.As<CWebStepSubmitForm>()->GetHiddens()), std::vector<std::string>({"h=1"}));
}

TEST(NavigationParse, SubmitFormUnknownWordAfterEndHiddensFailsWith1001) {
    Parsed p = Parse("web_submit_form",
                     {"f", "STARTHIDDENS", "Name=h", "ENDITEM", "ENDHIDDENS", "HIDDENS", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1001|text=HIDDENS");
}

TEST(NavigationParse, SubmitFormNothingAfterEndHiddensFailsWith1013) {
    Parsed p = Parse("web_submit_form", {"f", "STARTHIDDENS", "Name=h", "ENDITEM", "ENDHIDDENS"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1013");
}

TEST(NavigationParse, SubmitFormAttributeRunWithoutTerminatorFailsWith1013) {
    Parsed p = Parse("web_submit_form", {"f", "Action=/x"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1013");
}

TEST(NavigationParse, SubmitFormExtraResourcesRunningOutFailWith1013) {
    Parsed p = Parse("web_submit_form", {"f", "EXTRARES", "URL=/a", "ENDITEM"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1013");
}

TEST(NavigationParse, SubmitFormBadHiddenFieldNamesTheHiddenFields) {
    Parsed p = Parse("web_submit_form", {"f", "STARTHIDDENS", "Value=1", "ENDITEM", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1000|attribute=Name|record=1|argument=4|context=hidden fields");
}

TEST(NavigationParse, SubmitFormBadItemNamesTheDataTable) {
    Parsed p = Parse("web_submit_form", {"f", "ITEMDATA", "Name=a", "ENDITEM", "ITEM", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1001|text=ITEM|record=2|argument=5|context=data table");
}

TEST(NavigationParse, SubmitFormOnlyLastGivesAnEmptyForm) {
    Parsed p = Parse("web_submit_form", {"f", "LAST"});
    ASSERT_TRUE(p.ok);
    auto* step = p.As<CWebStepSubmitForm>();
    EXPECT_EQ(step->GetDataSet().GetNumElements(), 0u);
    EXPECT_EQ(step->GetHiddens().GetNumElements(), 0u);
    EXPECT_EQ(step->GetAttributes().GetNumItems(), 0u);
}

// ---- web_submit_data ----

TEST(NavigationParse, SubmitDataMethodPutFailsWith1014) {
    Parsed p = Parse("web_submit_data", {"s", "Action=/a", "Method=put", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1014|text=put");
}

TEST(NavigationParse, SubmitDataMethodGetInLowerCaseSucceeds) {
    Parsed p = Parse("web_submit_data", {"s", "Action=/a", "Method=get", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(p.As<CWebStepSubmitData>()->GetMethod(), "get");
}

TEST(NavigationParse, SubmitDataWithoutActionFailsWith1000) {
    Parsed p =
        Parse("web_submit_data", {"s", "Method=POST", "ITEMDATA", "Name=a", "ENDITEM", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1000|text=Action");
}

TEST(NavigationParse, SubmitDataRecordedCallFillsEveryField) {
    Parsed p = Parse("web_submit_data", {"login",
                                         "Action=https://{Host}/ib/login",
                                         "Method=POST",
                                         "EncType=multipart/form-data",
                                         "TargetFrame=body",
                                         "RecContentType=text/html",
                                         "Referer=https://{Host}/ib/menu",
                                         "Snapshot=t44.inf",
                                         "Mode=HTTP",
                                         "EncodeAtSign=YES",
                                         "ContentEncoding=gzip",
                                         "ITEMDATA",
                                         "Name=customerId",
                                         "Value={CustomerId}",
                                         "ENDITEM",
                                         "Name=doc",
                                         "Value=a.pdf",
                                         "File=yes",
                                         "ContentType=application/pdf",
                                         "ENDITEM",
                                         "EXTRARES",
                                         "URL=/s.css",
                                         "ENDITEM",
                                         "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    auto* step = p.As<CWebStepSubmitData>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetAction(), "https://{Host}/ib/login");
    EXPECT_EQ(step->GetMethod(), "POST");
    EXPECT_EQ(step->GetEncType(), "multipart/form-data");
    EXPECT_TRUE(step->GetUseEncType());
    EXPECT_TRUE(step->GetEncodeAtSign());
    EXPECT_EQ(step->GetContentEncoding(), "gzip");
    EXPECT_EQ(step->GetTargetFrame(), "body");
    EXPECT_EQ(step->GetContentType(), "text/html");
    EXPECT_EQ(step->GetReferer(), "https://{Host}/ib/menu");
    EXPECT_EQ(step->GetSnapshot(), "t44.inf");
    EXPECT_EQ(step->GetMode(), "HTTP");
    EXPECT_EQ(Items(step->GetDataSet()),
              std::vector<std::string>({"customerId={CustomerId}", "doc=a.pdf"}));
    const CData* file = step->GetDataSet().DataElements().GetList().back();
    EXPECT_EQ(file->GetType(), CData::DT_FILE);
    EXPECT_EQ(file->GetContentType(), "application/pdf");
    EXPECT_EQ(Urls(step->GetOutOfContextResources()), std::vector<std::string>({"/s.css|"}));
}

TEST(NavigationParse, SubmitDataDefaultsToPostWithoutEncodingType) {
    Parsed p = Parse("web_submit_data", {"s", "Action=/a", "EncodeAtSign=NO", "LAST"});
    ASSERT_TRUE(p.ok);
    auto* step = p.As<CWebStepSubmitData>();
    EXPECT_EQ(step->GetMethod(), "POST");
    EXPECT_FALSE(step->GetUseEncType());
    EXPECT_EQ(step->GetEncType(), "");
    EXPECT_FALSE(step->GetEncodeAtSign());
    EXPECT_EQ(step->GetTargetFrame(), "_TOP");
}

TEST(NavigationParse, SubmitDataEmptyEncodingTypeStillCountsAsGiven) {
    Parsed p = Parse("web_submit_data", {"s", "Action=/a", "EncType=", "LAST"});
    ASSERT_TRUE(p.ok);
    EXPECT_TRUE(p.As<CWebStepSubmitData>()->GetUseEncType());
}

TEST(NavigationParse, SubmitDataWithoutLastFailsWith1013) {
    Parsed noLastAfterItems =
        Parse("web_submit_data", {"s", "Action=/a", "ITEMDATA", "Name=a", "ENDITEM"});
    EXPECT_FALSE(noLastAfterItems.ok);
    EXPECT_EQ(noLastAfterItems.Error(), "1013");
    Parsed noLastAfterAttributes = Parse("web_submit_data", {"s", "Action=/a"});
    EXPECT_EQ(noLastAfterAttributes.Error(), "1013");
    Parsed noLastAfterResources =
        Parse("web_submit_data", {"s", "Action=/a", "EXTRARES", "URL=/x", "ENDITEM"});
    EXPECT_EQ(noLastAfterResources.Error(), "1013");
}

TEST(NavigationParse, SubmitDataItemNotClosedFailsWith1011NamingTheDataTable) {
    Parsed p = Parse("web_submit_data", {"s", "Action=/a", "ITEMDATA", "Name=a", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1011|record=1|argument=5|context=data table");
}

TEST(NavigationParse, SubmitDataRepeatedFieldInAnItemFailsWith1012) {
    Parsed p = Parse("web_submit_data",
                     {"s", "Action=/a", "ITEMDATA", "Name=a", "ENDITEM", "Name=b", "Name=c"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Code(), 1012u);
    EXPECT_NE(p.Error().find("record=2"), std::string::npos);
    EXPECT_NE(p.Error().find("context=data table"), std::string::npos);
}

TEST(NavigationParse, SubmitDataActionCheckComesBeforeTheItems) {
    Parsed p = Parse("web_submit_data", {"s", "ITEMDATA", "Bad", "LAST"});
    EXPECT_EQ(p.Error(), "1000|text=Action");
}

TEST(NavigationParse, SubmitDataWithTenThousandItemsKeepsThemAll) {
    std::vector<std::string> args = {"big", "Action=/a", "ITEMDATA"};
    for (int i = 0; i < 10000; ++i) {
        args.push_back("Name=f" + std::to_string(i));
        args.push_back("Value=" + std::to_string(i));
        args.push_back("ENDITEM");
    }
    args.push_back("LAST");
    Parsed p = Parse("web_submit_data", args);
    ASSERT_TRUE(p.ok);
    auto* step = p.As<CWebStepSubmitData>();
    ASSERT_EQ(step->GetDataSet().GetNumElements(), 10000u);
    EXPECT_EQ(Items(step->GetDataSet()).back(), "f9999=9999");
}

TEST(NavigationParse, SubmitDataCopyArgumentsKeepsNoPointerIntoTheArguments) {
    std::vector<std::string> args = {"s",       "Action=/a", "ITEMDATA", "Name=a",
                                     "Value=1", "ENDITEM",   "LAST"};
    Parsed p = Parse("web_submit_data", args, WPF_CREATE_STEP | WPF_COPY_ARGUMENTS);
    ASSERT_TRUE(p.ok);
    args.clear();
    EXPECT_EQ(Items(p.As<CWebStepSubmitData>()->GetDataSet()), std::vector<std::string>({"a=1"}));
}

TEST(NavigationParse, SubmitDataRefillingAPlacedStepReplacesItsItems) {
    CWebStepSubmitData placed;
    Parsed first =
        Parse("web_submit_data", {"s", "Action=/a", "ITEMDATA", "Name=a", "ENDITEM", "LAST"},
              WPF_NONE, &placed);
    ASSERT_TRUE(first.ok);
    Parsed second =
        Parse("web_submit_data", {"s", "Action=/b", "ITEMDATA", "Name=b", "ENDITEM", "LAST"},
              WPF_NONE, &placed);
    ASSERT_TRUE(second.ok);
    EXPECT_EQ(placed.GetAction(), "/b");
    EXPECT_EQ(Items(placed.GetDataSet()), std::vector<std::string>({"b="}));
}

TEST(NavigationParse, ImageRecordedCallWithResourcesFillsEveryField) {
    Parsed p = Parse("web_image", {"Submit", "Src=/images/{Theme}/go.gif", "Alt=Go", "Ordinal=1",
                                   "Snapshot=t15.inf", "EXTRARES", "Url=/images/{Theme}/hover.gif",
                                   "Referer=http://{Host}/search", "ENDITEM", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    auto* step = p.As<CWebStepImage>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(typeid(*step), typeid(CWebStepImage));
    EXPECT_EQ(p.parser->GetWebStep().GetName(), "Submit");
    EXPECT_EQ(step->GetSnapshot(), "t15.inf");
    EXPECT_EQ(Attributes(step->GetAttributes()), "Src=/images/{Theme}/go.gif;Alt=Go;Ordinal=1;");
    EXPECT_EQ(step->GetX(), "");
    EXPECT_EQ(Urls(step->GetOutOfContextResources()),
              std::vector<std::string>({"/images/{Theme}/hover.gif|http://{Host}/search"}));
}

TEST(NavigationParse, SubmitFormFromAStringListWithoutStepName) {
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(Repository().CreateObject("web_submit_form")));
    std::list<MString> args = {"Snapshot=t5.inf", "ITEMDATA", "Name=q",
                               "Value={Query}",   "ENDITEM",  "LAST"};
    ASSERT_TRUE(parser->ParseArguments(args, WPF_CREATE_STEP | WPF_NO_STEP_NAME));
    std::unique_ptr<CWebStepData> owned(parser->GetDataStep());
    auto* step = dynamic_cast<CWebStepSubmitForm*>(owned.get());
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetSnapshot(), "t5.inf");
    EXPECT_EQ(Items(step->GetDataSet()), std::vector<std::string>({"q={Query}"}));
    EXPECT_EQ(parser->GetWebStep().GetName(), "");
}

TEST(NavigationParse, LinkInVariableArgumentModeReadsUpToLast) {
    std::unique_ptr<CWebStepParse> parser(
        static_cast<CWebStepParse*>(Repository().CreateObject("web_link")));
    ASSERT_TRUE(
        parser->ParseArgumentList(WPF_CREATE_STEP, "Next", "Text=Next page", "Frame=main", "LAST"));
    std::unique_ptr<CWebStepData> owned(parser->GetDataStep());
    auto* step = dynamic_cast<CWebStepLink*>(owned.get());
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(Attributes(step->GetAttributes()), "Text=Next page;Frame=main;");
}

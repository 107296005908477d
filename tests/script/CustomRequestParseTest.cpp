// The custom-request grammar shared by web_custom_request, flex_web_request
// and silverlight_web_request.
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "ParserProbe.h"
#include "webstep/forms/Resource.h"
#include "webstep/script/WebParsers.h"
#include "webstep/steps/WebSteps.h"

namespace {

struct Parsed {
    std::unique_ptr<CWebStepParse> parser;
    std::unique_ptr<CWebStepData> step;
    bool ok = false;

    std::string Error() const { return ErrorText(*parser); }
    CWebStepCustomRequest* Request() const {
        return dynamic_cast<CWebStepCustomRequest*>(step.get());
    }
};

Parsed Parse(const char* function, const std::vector<std::string>& args,
             WebParserFlags flags = WPF_CREATE_STEP, CWebStepData* placed = nullptr) {
    static CObjectRepository repository = [] {
        CObjectRepository r;
        CWebStepParse::UpdateRepository(r);
        return r;
    }();
    Parsed result;
    result.parser.reset(static_cast<CWebStepParse*>(repository.CreateObject(function)));
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

Parsed ParseRequest(std::vector<std::string> attributes) {
    attributes.insert(attributes.begin(), "req");
    attributes.push_back("LAST");
    return Parse("web_custom_request", attributes);
}

// Body parts as "name|kind|value".
std::vector<std::string> Parts(const CWebStepCustomRequest& step) {
    std::vector<std::string> out;
    for (const auto& part : step.GetBody())
        out.push_back(part.attributeName + "|" + std::to_string(part.encoding) + "|" + part.value);
    return out;
}

using Texts = std::vector<std::string>;

}  // namespace

TEST(CustomRequestParse, WithoutMethodFailsWith1000NamingMethod) {
    Parsed p = ParseRequest({"URL=http://a/", "Body=x"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1000|text=Method");
    EXPECT_EQ(p.step, nullptr);
}

TEST(CustomRequestParse, WithMethodButWithoutUrlFailsWith1000NamingUrl) {
    Parsed p = ParseRequest({"Method=POST", "Body=x"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1000|text=URL");
}

TEST(CustomRequestParse, MethodIsNotCheckedAgainstAList) {
    Parsed p = ParseRequest({"Method=PROPFIND", "URL=http://a/"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(p.Request()->GetMethod(), "PROPFIND");
}

TEST(CustomRequestParse, TwoBodyAttributesGiveTwoTextPartsInOrder) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "Body=first", "Body=second"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(Parts(*p.Request()), Texts({"Body|0|first", "Body|0|second"}));
}

TEST(CustomRequestParse, BodyVariableKeepsItsName) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "bodyVar1=x"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(Parts(*p.Request()), Texts({"bodyVar1|3|x"}));
}

TEST(CustomRequestParse, LowerCaseBodyGivesNoBodyPart) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "body=x"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_TRUE(p.Request()->GetBody().empty());
}

TEST(CustomRequestParse, UpperCaseBodyGivesNoBodyPart) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "BODY=x"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_TRUE(p.Request()->GetBody().empty());
}

TEST(CustomRequestParse, BodyKeywordsAreMatchedWithTheirExactLetterCase) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "Body=t", "BodyUnicode=u",
                             "BodyBinary=\\x00b", "bodybinary=v", "BODYUNICODE=w"});
    ASSERT_TRUE(p.ok) << p.Error();
    // Written in another case they are body variables (five or more letters
    // starting with "body" in any case).
    EXPECT_EQ(Parts(*p.Request()), Texts({"Body|0|t", "BodyUnicode|1|u", "BodyBinary|2|\\x00b",
                                          "bodybinary|3|v", "BODYUNICODE|3|w"}));
}

TEST(CustomRequestParse, BodyWithoutEqualsSignIsAnEmptyTextPart) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "Body"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(Parts(*p.Request()), Texts({"Body|0|"}));
}

TEST(CustomRequestParse, OneUnicodeBodyMarkedBinaryBecomesBinary) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "BodyUnicode=abc", "Binary=1"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(Parts(*p.Request()), Texts({"BodyUnicode|2|abc"}));
}

TEST(CustomRequestParse, OneBodyWithBinaryZeroKeepsItsKind) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "Binary=0", "Body=abc"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(Parts(*p.Request()), Texts({"Body|0|abc"}));
}

TEST(CustomRequestParse, BinaryIsIgnoredWithTwoBodyParts) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "Body=a", "bodyVar=b", "Binary=1"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(Parts(*p.Request()), Texts({"Body|0|a", "bodyVar|3|b"}));
    Parsed bad = ParseRequest({"Method=POST", "URL=http://a/", "Body=a", "Body=b", "Binary=2"});
    EXPECT_TRUE(bad.ok) << bad.Error();
}

TEST(CustomRequestParse, BinaryIsIgnoredWithoutBodyParts) {
    Parsed p = ParseRequest({"Method=GET", "URL=http://a/", "Binary=maybe"});
    EXPECT_TRUE(p.ok) << p.Error();
}

TEST(CustomRequestParse, BinaryTwoWithOneBodyPartFailsWith1004) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "Body=a", "Binary=2"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1004|text=2");
    EXPECT_EQ(p.step, nullptr);
}

TEST(CustomRequestParse, RawBodyStartKeepsItselfAndEveryTextUpToLast) {
    Parsed p = Parse("web_custom_request", {"req", "Method=POST", "URL=http://a/", "RAW_BODY_START",
                                            "one", "Name=two", "ENDITEM", "LAST", "after"});
    ASSERT_TRUE(p.ok) << p.Error();
    const std::list<MString>& raw = p.Request()->GetRawBodyStartEnd();
    EXPECT_EQ(Texts(raw.begin(), raw.end()),
              Texts({"RAW_BODY_START", "one", "Name=two", "ENDITEM"}));
}

TEST(CustomRequestParse, RawBodyMarkerIsFoundInAnyLetterCaseAndStoredAsTheKeyword) {
    Parsed p = Parse("web_custom_request",
                     {"req", "Method=POST", "URL=http://a/", "raw_body_start", "x", "last"});
    ASSERT_TRUE(p.ok) << p.Error();
    const std::list<MString>& raw = p.Request()->GetRawBodyStartEnd();
    EXPECT_EQ(Texts(raw.begin(), raw.end()), Texts({"RAW_BODY_START", "x"}));
}

TEST(CustomRequestParse, RawBodyRunningOutOfArgumentsIsAccepted) {
    Parsed p =
        Parse("web_custom_request", {"req", "Method=POST", "URL=http://a/", "RAW_BODY_START", "x"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(p.Request()->GetRawBodyStartEnd().size(), 2u);
}

TEST(CustomRequestParse, ExtraResourcesAreRead) {
    Parsed p = Parse("web_custom_request",
                     {"req", "Method=GET", "URL=http://a/", "EXTRARES", "URL=/a.css",
                      "Referer=http://a/", "ENDITEM", "URL=/b.js", "ENDITEM", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    const auto& list = p.Request()->GetOutOfContextResources().GetList();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list.front()->GetUrl(), "/a.css");
    EXPECT_EQ(list.front()->GetReferer(), "http://a/");
    EXPECT_EQ(list.back()->GetUrl(), "/b.js");
}

TEST(CustomRequestParse, BadResourceItemNamesTheResourceTable) {
    Parsed p = Parse("web_custom_request",
                     {"req", "Method=GET", "URL=http://a/", "EXTRARES", "Link=/a", "LAST"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(),
              "1002|text=Link=/a|attribute=Link|record=1|argument=5|context=resource table");
}

TEST(CustomRequestParse, DuplicatedAttributesAreAllowedAndTheFirstIsRead) {
    Parsed p = ParseRequest(
        {"Method=POST", "URL=http://a/", "Method=GET", "Snapshot=t1.inf", "Snapshot=t2.inf"});
    ASSERT_TRUE(p.ok) << p.Error();
    EXPECT_EQ(p.Request()->GetMethod(), "POST");
    EXPECT_EQ(p.Request()->GetSnapshot(), "t1.inf");
}

TEST(CustomRequestParse, RecordedCallFillsEveryField) {
    Parsed p =
        Parse("web_custom_request",
              {"api_orders", "URL=https://api.example.com/v1/orders", "Method=POST",
               "TargetFrame=", "Resource=0", "RecContentType=application/json",
               "Referer=https://app.example.com/", "Snapshot=t12.inf", "Mode=HTTP",
               "UserAgent=Agent", "ResourceByteLimit=1024", "EncType=application/json",
               "ContentEncoding=gzip", "Body={\"qty\":{Qty}}", "body_variable_1=abc", "LAST"});
    ASSERT_TRUE(p.ok) << p.Error();
    CWebStepCustomRequest* step = p.Request();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(typeid(*step), typeid(CWebStepCustomRequest));
    EXPECT_EQ(p.parser->GetWebStep().GetName(), "api_orders");
    EXPECT_EQ(step->GetUrl(), "https://api.example.com/v1/orders");
    EXPECT_EQ(step->GetMethod(), "POST");
    EXPECT_EQ(step->GetTargetFrame(), "");
    EXPECT_FALSE(step->GetResource());
    EXPECT_EQ(step->GetContentType(), "application/json");
    EXPECT_EQ(step->GetReferer(), "https://app.example.com/");
    EXPECT_EQ(step->GetSnapshot(), "t12.inf");
    EXPECT_EQ(step->GetMode(), "HTTP");
    EXPECT_EQ(step->GetUserAgent(), "Agent");
    EXPECT_EQ(step->GetResourceByteLimit(), "1024");
    EXPECT_EQ(step->GetEncType(), "application/json");
    EXPECT_TRUE(step->GetUseEncType());
    EXPECT_EQ(step->GetContentEncoding(), "gzip");
    EXPECT_EQ(Parts(*step), Texts({"Body|0|{\"qty\":{Qty}}", "body_variable_1|3|abc"}));
    EXPECT_TRUE(step->GetRawBodyStartEnd().empty());
    EXPECT_TRUE(step->GetOutOfContextResources().GetList().empty());
}

TEST(CustomRequestParse, DefaultsWithoutOptionalAttributes) {
    Parsed p = ParseRequest({"Method=GET", "URL=http://a/"});
    ASSERT_TRUE(p.ok);
    EXPECT_EQ(p.Request()->GetTargetFrame(), "_TOP");
    EXPECT_FALSE(p.Request()->GetUseEncType());
    EXPECT_EQ(p.Request()->GetContentEncoding(), "");
}

TEST(CustomRequestParse, BadResourceFlagFailsWith1004) {
    Parsed p = Parse("flex_web_request", {"f", "URL=http://a/", "Method=POST", "Resource=2"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1004|text=2");
}

TEST(CustomRequestParse, EachFunctionBuildsItsOwnStepClass) {
    const std::vector<std::string> args = {"r", "Method=POST", "URL=http://a/", "Body=x", "LAST"};
    Parsed plain = Parse("web_custom_request", args);
    Parsed flex = Parse("flex_web_request", args);
    Parsed silverlight = Parse("silverlight_web_request", args);
    ASSERT_TRUE(plain.ok && flex.ok && silverlight.ok);
    EXPECT_EQ(typeid(*plain.step), typeid(CWebStepCustomRequest));
    EXPECT_EQ(typeid(*flex.step), typeid(CWebStepFlexCustomRequest));
    EXPECT_EQ(typeid(*silverlight.step), typeid(CWebStepSilverlightCustomRequest));
    EXPECT_EQ(Parts(*flex.Request()), Texts({"Body|0|x"}));
}

TEST(CustomRequestParse, FlexParserFillsOnlyAFlexStepPlacedByTheCaller) {
    CWebStepFlexCustomRequest flexStep;
    CWebStepCustomRequest plainStep;
    const std::vector<std::string> args = {"r", "Method=POST", "URL=http://a/", "LAST"};
    ASSERT_TRUE(Parse("flex_web_request", args, WPF_NONE, &flexStep).ok);
    EXPECT_EQ(flexStep.GetUrl(), "http://a/");
    ASSERT_TRUE(Parse("flex_web_request", args, WPF_NONE, &plainStep).ok);
    EXPECT_EQ(plainStep.GetUrl(), "");
    // The plain parser accepts any custom request, the variants included.
    CWebStepSilverlightCustomRequest silverlightStep;
    ASSERT_TRUE(Parse("web_custom_request", args, WPF_NONE, &silverlightStep).ok);
    EXPECT_EQ(silverlightStep.GetUrl(), "http://a/");
}

TEST(CustomRequestParse, EmptyArgumentArrayFailsWith1009) {
    for (const char* f : {"web_custom_request", "flex_web_request", "silverlight_web_request"}) {
        Parsed p = Parse(f, {});
        EXPECT_EQ(p.Error(), "1009") << f;
    }
}

TEST(CustomRequestParse, AttributeWithoutEqualsSignFailsWith1002) {
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "Snapshot t1.inf"});
    EXPECT_FALSE(p.ok);
    EXPECT_EQ(p.Error(), "1002|text=Snapshot t1.inf|argument=4");
}

TEST(CustomRequestParse, VariableArgumentModeWithCopiedArguments) {
    std::unique_ptr<CWebStepParse> parser(new CWebParseCustomRequest);
    ASSERT_TRUE(parser->ParseArgumentList(WPF_CREATE_STEP | WPF_COPY_ARGUMENTS, "r", "Method=PUT",
                                          "URL=http://a/x", "BodyBinary=\\x01", "Binary=1",
                                          "LAST"));
    std::unique_ptr<CWebStepData> owned(parser->GetDataStep());
    auto* step = dynamic_cast<CWebStepCustomRequest*>(owned.get());
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetMethod(), "PUT");
    EXPECT_EQ(Parts(*step), Texts({"BodyBinary|2|\\x01"}));
}

TEST(CustomRequestParse, HugeBodyIsKeptWhole) {
    const std::string huge(1 << 20, 'z');
    Parsed p = ParseRequest({"Method=POST", "URL=http://a/", "Body=" + huge});
    ASSERT_TRUE(p.ok);
    ASSERT_EQ(p.Request()->GetBody().size(), 1u);
    EXPECT_EQ(p.Request()->GetBody().front().value, huge);
}

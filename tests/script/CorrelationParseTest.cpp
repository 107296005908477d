// Option suffixes of boundary and text names, the check attributes, find item
// lists and the parser of web_reg_save_param.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ServiceParseSupport.h"
#include "webstep/forms/Data.h"
#include "webstep/forms/DataSet.h"
#include "webstep/steps/WebSteps.h"

namespace {

// Runs a reader on a fresh probe; returns the error text ("" on success).
template <class Flags, class Reader>
std::string Read(Reader reader, Flags& flags) {
    CServiceProbe p;
    std::vector<const char*> none;
    p.Feed(none);
    return reader(p, flags) ? "" : ErrorText(p);
}

std::string Boundary(const char* name, RegSaveParamFlags& flags) {
    return Read(
        [name](CServiceProbe& p, RegSaveParamFlags& f) { return p.ParseParamBoundary(name, f); },
        flags);
}

const char* kNoTerminatorNeeded = "LAST";

}  // namespace

// ----- option suffixes -----

TEST(ParamBoundaryOptions, IcAndBinSetBitsOneAndTwo) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("LB/IC/BIN", flags), "");
    EXPECT_EQ(flags, RSPF_IGNORE_CASE | RSPF_BINARY);
}

TEST(ParamBoundaryOptions, OptionsIgnoreLetterCase) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("LB/ic", flags), "");
    EXPECT_EQ(flags, RSPF_IGNORE_CASE);
}

TEST(ParamBoundaryOptions, NoOptionGivesNoFlags) {
    RegSaveParamFlags flags = RSPF_DIGITS;
    EXPECT_EQ(Boundary("LB", flags), "");
    EXPECT_EQ(flags, RSPF_NONE);
}

TEST(ParamBoundaryOptions, EmptySegmentAtTheEndIsRefusedWith1002) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("LB/", flags), "1002|text=LB/");
    EXPECT_EQ(Boundary("LB/IC/", flags), "1002|text=LB/IC/");
}

TEST(ParamBoundaryOptions, TwoSlashesTogetherAreRefusedWith1002) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("LB//IC", flags), "1002|text=LB//IC");
}

TEST(ParamBoundaryOptions, UnknownOptionIsRefusedWith1002) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("LB/XYZ", flags), "1002|text=LB/XYZ");
}

TEST(ParamBoundaryOptions, SegmentLongerThanEveryOptionIsRefused) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("LB/ICX", flags), "1002|text=LB/ICX");
    EXPECT_EQ(Boundary("LB/ALNUMUCX", flags), "1002|text=LB/ALNUMUCX");
}

// Deliberate leniency: a shortened option resolves to the first option, in
// table order, that it begins.
TEST(ParamBoundaryOptions, ShortenedAlnumResolvesToAlnumIc) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("LB/ALNUM", flags), "");
    EXPECT_EQ(flags, RSPF_ALNUMIC);
}

TEST(ParamBoundaryOptions, ShortenedOptionsResolveInTableOrder) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("LB/I", flags), "");
    EXPECT_EQ(flags, RSPF_IGNORE_CASE);
    EXPECT_EQ(Boundary("LB/b", flags), "");
    EXPECT_EQ(flags, RSPF_BINARY);
    EXPECT_EQ(Boundary("LB/D", flags), "");
    EXPECT_EQ(flags, RSPF_DIGITS);
    EXPECT_EQ(Boundary("LB/A", flags), "");
    EXPECT_EQ(flags, RSPF_ALNUMIC);
    EXPECT_EQ(Boundary("LB/alnuml", flags), "");
    EXPECT_EQ(flags, RSPF_ALNUMLC);
    EXPECT_EQ(Boundary("LB/ALNUMU", flags), "");
    EXPECT_EQ(flags, RSPF_ALNUMUC);
}

TEST(ParamBoundaryOptions, RepeatedOptionIsHarmless) {
    RegSaveParamFlags flags = RSPF_NONE;
    EXPECT_EQ(Boundary("RB/IC/IC/DIG", flags), "");
    EXPECT_EQ(flags, RSPF_IGNORE_CASE | RSPF_DIGITS);
}

TEST(ParamBoundaryOptions, FailureClearsTheFlags) {
    RegSaveParamFlags flags = RSPF_BINARY;
    EXPECT_NE(Boundary("LB/IC/Q", flags), "");
    EXPECT_EQ(flags, RSPF_NONE);
}

TEST(FindTextOptions, AllSixOptionsAreAcceptedAndTheErrorCarriesTheCallersLabel) {
    RegFindFlags flags = RFF_NONE;
    EXPECT_EQ(Read([](CServiceProbe& p,
                      RegFindFlags& f) { return p.ParseFindText("text", "Text/DIG/ALNUMLC", f); },
                   flags),
              "");
    EXPECT_EQ(flags, RFF_DIGITS | RFF_ALNUMLC);
    EXPECT_EQ(Read([](CServiceProbe& p,
                      RegFindFlags& f) { return p.ParseFindText("attribute", "Text/RE", f); },
                   flags),
              "1002|attribute=Text/RE");
}

TEST(GlobalVerificationTextOptions, DigitOptionIsRefusedWith1002) {
    GlobalVerificationFlags flags = GVF_NONE;
    EXPECT_EQ(Read(
                  [](CServiceProbe& p, GlobalVerificationFlags& f) {
                      return p.ParseGlobalVerificationText("text", "Text/DIG", f);
                  },
                  flags),
              "1002|text=Text/DIG");
    EXPECT_EQ(Read(
                  [](CServiceProbe& p, GlobalVerificationFlags& f) {
                      return p.ParseGlobalVerificationText("text", "Text/ALNUMIC", f);
                  },
                  flags),
              "1002|text=Text/ALNUMIC");
}

TEST(GlobalVerificationTextOptions, IcAndBinAreAccepted) {
    GlobalVerificationFlags flags = GVF_NONE;
    EXPECT_EQ(Read(
                  [](CServiceProbe& p, GlobalVerificationFlags& f) {
                      return p.ParseGlobalVerificationText("text", "TextPfx/bin/I", f);
                  },
                  flags),
              "");
    EXPECT_EQ(flags, GVF_IGNORE_CASE | GVF_BINARY);
}

// ----- check attributes -----

namespace {

struct Check {
    bool ok;
    std::string error;
    MString frame = "unchanged";
    bool expect = false, matchCase = true, repeat = false, abort = true;
    CWebCheckStep::ReportOption report = CWebCheckStep::REPORT_SUCCESS;
};

Check ReadCheck(std::vector<std::pair<const char*, const char*>> pairs) {
    CAttributeSet attributes;
    for (auto& [name, value] : pairs)
        attributes.AddAttribute(name, value, false);
    CServiceProbe p;
    Check c;
    c.ok = p.GetCheckAttributes(attributes, c.frame, c.expect, c.matchCase, c.repeat, c.abort,
                                c.report);
    c.error = c.ok ? "" : ErrorText(p);
    return c;
}

}  // namespace

TEST(CheckAttributes, DefaultsAreExpectFoundNoMatchCaseRepeatNoAbortReportAlways) {
    Check c = ReadCheck({});
    ASSERT_TRUE(c.ok);
    EXPECT_TRUE(c.expect);
    EXPECT_FALSE(c.matchCase);
    EXPECT_TRUE(c.repeat);
    EXPECT_FALSE(c.abort);
    EXPECT_EQ(c.report, CWebCheckStep::REPORT_ALWAYS);
    EXPECT_EQ(c.frame, "unchanged");
}

TEST(CheckAttributes, EveryAttributeIsRead) {
    Check c = ReadCheck({{"Frame", "main"},
                         {"Expect", "NotFound"},
                         {"MatchCase", "YES"},
                         {"Repeat", "no"},
                         {"onfailure", "abort"},
                         {"Report", "failure"}});
    ASSERT_TRUE(c.ok) << c.error;
    EXPECT_EQ(c.frame, "main");
    EXPECT_FALSE(c.expect);
    EXPECT_TRUE(c.matchCase);
    EXPECT_FALSE(c.repeat);
    EXPECT_TRUE(c.abort);
    EXPECT_EQ(c.report, CWebCheckStep::REPORT_FAILURE);
}

TEST(CheckAttributes, ContinueOnFailureAndReportSuccess) {
    Check c = ReadCheck({{"onfailure", "continue"}, {"Report", "Success"}});
    ASSERT_TRUE(c.ok);
    EXPECT_FALSE(c.abort);
    EXPECT_EQ(c.report, CWebCheckStep::REPORT_SUCCESS);
}

TEST(CheckAttributes, ExpectOutsideItsTableOrWrittenAsParameterIsRefusedWith1003) {
    EXPECT_EQ(ReadCheck({{"Expect", "maybe"}}).error, "1003|attribute=Expect|text=maybe");
    EXPECT_EQ(ReadCheck({{"Expect", "{Expect}"}}).error, "1003|attribute=Expect|text={Expect}");
}

TEST(CheckAttributes, MatchCaseOrRepeatOtherThanYesNoIsRefusedWith1005) {
    EXPECT_EQ(ReadCheck({{"MatchCase", "Y"}}).error, "1005|text=Y");
    EXPECT_EQ(ReadCheck({{"Repeat", "0"}}).error, "1005|text=0");
}

TEST(CheckAttributes, BadOnFailureOrReportIsRefusedWith1003) {
    EXPECT_EQ(ReadCheck({{"onfailure", "stop"}}).error, "1003|attribute=onfailure|text=stop");
    EXPECT_EQ(ReadCheck({{"Report", "never"}}).error, "1003|attribute=Report|text=never");
}

// ----- find item lists -----

namespace {

struct FindList {
    bool ok;
    int terminator;
    CDataSet items;
    unsigned int index;
};

void ReadFindList(std::vector<const char*> args, FindList& out) {
    CServiceProbe p;
    p.Feed(args);
    out.terminator = 99;
    out.ok = p.BuildDataSetFromFindFields(out.items, CWebStepScript::DefaultTerminators,
                                          &out.terminator);
    out.index = p.GetArgumentIndex();
}

std::vector<std::pair<std::string, std::string>> Items(const CDataSet& set) {
    std::vector<std::pair<std::string, std::string>> out;
    for (const CData* d : set.DataElements().GetList())
        out.emplace_back(d->GetScriptName(), d->GetScriptValue());
    return out;
}

}  // namespace

TEST(FindItemList, WhatAndTypeItemsAreAppendedAtEachEnditem) {
    FindList l;
    ReadFindList({"what=Sign out", "type=text", "ENDITEM", "TYPE=link", "What=Home", "enditem",
                  "LAST", "after"},
                 l);
    ASSERT_TRUE(l.ok);
    EXPECT_EQ(l.terminator, 0);
    EXPECT_EQ(l.index, 7u);
    using P = std::pair<std::string, std::string>;
    EXPECT_EQ(Items(l.items), (std::vector<P>{{"Sign out", "text"}, {"Home", "link"}}));
}

TEST(FindItemList, ItemIsSentAndLiteral) {
    FindList l;
    ReadFindList({"what=x", "ENDITEM", "LAST"}, l);
    ASSERT_EQ(l.items.GetNumElements(), 1u);
    const CData* d = l.items.DataElements().GetList().front();
    EXPECT_EQ(d->GetScriptValue(), "");
}

// Deliberate: only "ENDITEM" appends, so an open item is dropped silently.
TEST(FindItemList, ItemNotClosedBeforeTheTerminatorIsDroppedWithoutComplaint) {
    FindList l;
    ReadFindList({"what=a", "ENDITEM", "what=b", "type=text", "LAST"}, l);
    ASSERT_TRUE(l.ok);
    EXPECT_EQ(l.terminator, 0);
    EXPECT_EQ(l.items.GetNumElements(), 1u);
}

TEST(FindItemList, ExhaustedArgumentsSucceedWithoutTerminator) {
    FindList l;
    ReadFindList({"what=a", "ENDITEM"}, l);
    EXPECT_TRUE(l.ok);
    // Each argument was tested against the terminators, none matched.
    EXPECT_EQ(l.terminator, -1);
    EXPECT_EQ(l.items.GetNumElements(), 1u);
}

TEST(FindItemList, SecondWhatOrTypeInOneItemFails) {
    FindList l;
    ReadFindList({"what=a", "what=b", "ENDITEM", "LAST"}, l);
    EXPECT_FALSE(l.ok);
    ReadFindList({"type=a", "TYPE=b", "ENDITEM", "LAST"}, l);
    EXPECT_FALSE(l.ok);
}

TEST(FindItemList, WhatMayRepeatAcrossItems) {
    FindList l;
    ReadFindList({"what=a", "ENDITEM", "what=b", "ENDITEM", "LAST"}, l);
    EXPECT_TRUE(l.ok);
    EXPECT_EQ(l.items.GetNumElements(), 2u);
}

TEST(FindItemList, OtherNamesAndOtherWordsFail) {
    FindList l;
    ReadFindList({"Name=a", "ENDITEM", "LAST"}, l);
    EXPECT_FALSE(l.ok);
    ReadFindList({"what=a", "END", "LAST"}, l);
    EXPECT_FALSE(l.ok);
    ReadFindList({"=a", "ENDITEM", "LAST"}, l);
    EXPECT_FALSE(l.ok);
}

// ----- web_reg_save_param -----

TEST(RegSaveParamParse, BoundariesWithOptionsFillTheStep) {
    ParseOutcome o = ParseCall(
        "web_reg_save_param",
        {"Sid", "LB/IC/BIN=id=\\x22", "RB/DIG=\"", "Ord=2", "SaveOffset=3", "SaveLen=8",
         "NotFound=warning", "RelFrameId=1.1", "Search=Body", "AutoCorrelationFunction=fn",
         "AutoCorrelationDll=lib.so", "IgnoreRedirections=Yes", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.stepName, "web_reg_save_param Sid");
    auto* step = o.As<CWebStepRegSaveParam>();
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->GetParamName(), "Sid");
    EXPECT_EQ(step->GetLeftBoundFlags(), RSPF_IGNORE_CASE | RSPF_BINARY);
    EXPECT_EQ(step->GetRightBoundFlags(), RSPF_DIGITS);
    EXPECT_EQ(step->GetLeft(), "id=\\x22");
    EXPECT_EQ(step->GetRight(), "\"");
    EXPECT_EQ(step->GetInstance(), "2");
    EXPECT_EQ(step->GetSaveOffset(), "3");
    EXPECT_EQ(step->GetSaveLen(), "8");
    EXPECT_EQ(step->GetNotFound(), "warning");
    EXPECT_EQ(step->GetRelativeFrameId(), "1.1");
    EXPECT_EQ(step->GetSearchScope(), "Body");
    EXPECT_EQ(step->GetCallbackName(), "fn");
    EXPECT_EQ(step->GetCallbackDLLName(), "lib.so");
    EXPECT_EQ(step->GetIgnoreRedirections(), "Yes");
}

TEST(RegSaveParamParse, MissingRightBoundaryFailsWith1000NamingRB) {
    ParseOutcome o = ParseCall("web_reg_save_param", {"Sid", "LB=sid=", "LAST"});
    EXPECT_FALSE(o.ok);
    EXPECT_EQ(o.error, "1000|text=RB");
}

TEST(RegSaveParamParse, MissingLeftBoundaryFailsWith1000NamingLB) {
    ParseOutcome o = ParseCall("web_reg_save_param", {"Sid", "RB=&", "LAST"});
    EXPECT_EQ(o.error, "1000|text=LB");
}

TEST(RegSaveParamParse, BoundaryOptionErrorsFailWith1002) {
    EXPECT_EQ(ParseCall("web_reg_save_param", {"S", "LB/=x", "RB=y", "LAST"}).error,
              "1002|text=LB/");
    EXPECT_EQ(ParseCall("web_reg_save_param", {"S", "LB/IC/=x", "RB=y", "LAST"}).error,
              "1002|text=LB/IC/");
    EXPECT_EQ(ParseCall("web_reg_save_param", {"S", "LB=x", "RB/XYZ=y", "LAST"}).error,
              "1002|text=RB/XYZ");
}

TEST(RegSaveParamParse, ShortenedBoundaryOptionIsAccepted) {
    ParseOutcome o = ParseCall("web_reg_save_param", {"S", "LB/ALNUM=x", "RB=y", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.As<CWebStepRegSaveParam>()->GetLeftBoundFlags(), RSPF_ALNUMIC);
}

TEST(RegSaveParamParse, FirstLeftBoundaryWins) {
    ParseOutcome o = ParseCall("web_reg_save_param", {"S", "LB=first", "LB/IC=second", "RB=y"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegSaveParam>();
    EXPECT_EQ(step->GetLeftBoundFlags(), RSPF_NONE);
    EXPECT_EQ(step->GetLeft(), "first");
}

TEST(RegSaveParamParse, BoundaryNamesIgnoreLetterCase) {
    ParseOutcome o = ParseCall("web_reg_save_param", {"S", "lb=a", "rb/ic=b", "LAST"});
    ASSERT_TRUE(o.ok) << o.error;
    EXPECT_EQ(o.As<CWebStepRegSaveParam>()->GetRightBoundFlags(), RSPF_IGNORE_CASE);
}

TEST(RegSaveParamParse, OrdAllAndNumberAreAcceptedAndAWordFailsWith1002) {
    ParseOutcome all = ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "Ord=All", "LAST"});
    ASSERT_TRUE(all.ok);
    EXPECT_EQ(all.As<CWebStepRegSaveParam>()->GetInstance(), "All");
    ParseOutcome three = ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "Ord=3", "LAST"});
    ASSERT_TRUE(three.ok);
    EXPECT_EQ(three.As<CWebStepRegSaveParam>()->GetInstance(), "3");
    EXPECT_EQ(ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "Ord=third", "LAST"}).error,
              "1002|text=third");
}

TEST(RegSaveParamParse, EmptyOrdIsNotChecked) {
    EXPECT_TRUE(ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "Ord=", "LAST"}).ok);
}

TEST(RegSaveParamParse, NegativeSaveLenIsAcceptedAndNegativeSaveOffsetWraps) {
    ParseOutcome o =
        ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "SaveLen=-1", "SaveOffset=-1"});
    ASSERT_TRUE(o.ok) << o.error;
    auto* step = o.As<CWebStepRegSaveParam>();
    EXPECT_EQ(step->GetSaveLen(), "");
    // The standard unsigned conversion of -1: the largest unsigned value.
    EXPECT_EQ(step->GetSaveOffset(), "4294967295");
}

TEST(RegSaveParamParse, SaveLenOrOffsetWithTrailingTextFailsWith1006) {
    EXPECT_EQ(ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "SaveLen=10px"}).error,
              "1006|text=10px");
    EXPECT_EQ(ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "SaveOffset=x"}).error,
              "1006|text=x");
}

TEST(RegSaveParamParse, EmptySearchFailsWith1003) {
    EXPECT_EQ(ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "Search=", "LAST"}).error,
              "1003|text=Search");
}

TEST(RegSaveParamParse, RepeatedAttributeFailsWith1012) {
    EXPECT_EQ(ParseCall("web_reg_save_param", {"S", "LB=a", "RB=b", "lb=a", "LAST"}).error,
              "1012|attribute=lb|argument=4");
}

TEST(RegSaveParamParse, EmptyArrayFailsWith1009) {
    EXPECT_EQ(ParseCall("web_reg_save_param", {}).error.substr(0, 4), "1009");
}

TEST(RegSaveParamParse, ParameterNameIsReadEvenWithoutStepNameFlag) {
    ParseOutcome o = ParseCall("web_reg_save_param", {"Token", "LB=a", "RB=b", "LAST"},
                               WPF_CREATE_STEP | WPF_NO_STEP_NAME);
    ASSERT_TRUE(o.ok);
    EXPECT_EQ(o.stepName, "web_reg_save_param Token");
    EXPECT_EQ(o.As<CWebStepRegSaveParam>()->GetParamName(), "Token");
}

// The step is created before its attributes are checked: a failed parse
// still leaves the new step in the slot.
TEST(RegSaveParamParse, FailedParseWithCreationStillLeavesTheNewStep) {
    ParseOutcome o = ParseCall("web_reg_save_param", {"S", "LB=a", "LAST"});
    EXPECT_FALSE(o.ok);
    EXPECT_NE(o.As<CWebStepRegSaveParam>(), nullptr);
}

TEST(RegSaveParamParse, WithoutCreationTheCallersStepIsFilled) {
    auto parser = ServiceParser("web_reg_save_param");
    CWebStepRegSaveParam callers;
    parser->SetDataStep(&callers);
    std::vector<const char*> args = {"P", "LB=<b>", "RB=</b>", kNoTerminatorNeeded};
    ASSERT_TRUE(parser->ParseArguments(4, args.data(), WPF_NONE));
    EXPECT_EQ(parser->GetDataStep(), &callers);
    EXPECT_EQ(callers.GetLeft(), "<b>");
    EXPECT_EQ(callers.GetRight(), "</b>");
}

TEST(RegSaveParamParse, VariableArgumentListStopsAtLast) {
    auto parser = ServiceParser("web_reg_save_param");
    ASSERT_TRUE(parser->ParseArgumentList(WPF_CREATE_STEP | WPF_COPY_ARGUMENTS, "P", "LB=x", "RB=y",
                                          "LAST", static_cast<const char*>(nullptr)));
    std::unique_ptr<CWebStepData> step(parser->GetDataStep());
    auto* saved = dynamic_cast<CWebStepRegSaveParam*>(step.get());
    ASSERT_NE(saved, nullptr);
    EXPECT_EQ(saved->GetRight(), "y");
}

TEST(RegSaveParamParse, HugeBoundaryIsKeptWhole) {
    const std::string big = "LB=" + std::string(1 << 20, 'q');
    ParseOutcome o = ParseCall("web_reg_save_param", {"S", big.c_str(), "RB=b", "LAST"});
    ASSERT_TRUE(o.ok);
    EXPECT_EQ(o.As<CWebStepRegSaveParam>()->GetLeft().size(), size_t{1} << 20);
}

#include <gtest/gtest.h>

#include <climits>

#include "webstep/foundation/PropertyBag.h"
#include "webstep/steps/WebSteps.h"

namespace {

MString Stored(const CAttributeSet& set, const char* name) {
    MString value = "<absent>";
    set.GetAttribute(name, value);
    return value;
}

bool Has(const CAttributeSet& set, const char* name) {
    MString value;
    return set.GetAttribute(name, value);
}

// --- Parameter-saving step -------------------------------------------------

TEST(WebStepRegSaveParam, InstanceZeroOrNegativeStoresOne) {
    CWebStepRegSaveParam step;
    step.SetInstance(0);
    EXPECT_EQ(Stored(step.GetAttributes(), "Ord"), "1");
    step.SetInstance(-3);
    EXPECT_EQ(Stored(step.GetAttributes(), "Ord"), "1");
    step.SetInstance(INT_MIN);
    EXPECT_EQ(step.GetInstance(), "1");
}

TEST(WebStepRegSaveParam, PositiveInstanceStoresDecimalText) {
    CWebStepRegSaveParam step;
    step.SetInstance(1);
    EXPECT_EQ(step.GetInstance(), "1");
    step.SetInstance(42);
    EXPECT_EQ(step.GetInstance(), "42");
    step.SetInstance(INT_MAX);
    EXPECT_EQ(step.GetInstance(), "2147483647");
    // Replaced, not duplicated.
    EXPECT_EQ(step.GetAttributes().GetNumItems(), 1u);
}

TEST(WebStepRegSaveParam, InstanceTextIsStoredUnchanged) {
    CWebStepRegSaveParam step;
    step.SetInstance("All");
    EXPECT_EQ(step.GetInstance(), "All");
    step.SetInstance("{Ord}");
    EXPECT_EQ(step.GetInstance(), "{Ord}");
}

TEST(WebStepRegSaveParam, NegativeSaveLenStoresEmptyValue) {
    CWebStepRegSaveParam step;
    step.SetSaveLen(-1);
    EXPECT_TRUE(Has(step.GetAttributes(), "SaveLen"));
    EXPECT_EQ(Stored(step.GetAttributes(), "SaveLen"), "");
    step.SetSaveLen(LONG_MIN);
    EXPECT_EQ(Stored(step.GetAttributes(), "SaveLen"), "");
}

TEST(WebStepRegSaveParam, SaveLenZeroOrMoreStoresDecimalText) {
    CWebStepRegSaveParam step;
    step.SetSaveLen(0);
    EXPECT_EQ(step.GetSaveLen(), "0");
    step.SetSaveLen(17);
    EXPECT_EQ(step.GetSaveLen(), "17");
    step.SetSaveLen(LONG_MAX);
    EXPECT_EQ(step.GetSaveLen(), std::to_string(LONG_MAX));
}

TEST(WebStepRegSaveParam, SaveOffsetZeroStoresZero) {
    CWebStepRegSaveParam step;
    step.SetSaveOffset(0);
    EXPECT_EQ(Stored(step.GetAttributes(), "SaveOffset"), "0");
}

TEST(WebStepRegSaveParam, SaveOffsetStoresUnsignedDecimalText) {
    CWebStepRegSaveParam step;
    step.SetSaveOffset(5);
    EXPECT_EQ(step.GetSaveOffset(), "5");
    step.SetSaveOffset(UINT_MAX);
    EXPECT_EQ(step.GetSaveOffset(), "4294967295");
}

TEST(WebStepRegSaveParam, LeftBoundaryStoredUnderNameWithFlagSuffix) {
    CWebStepRegSaveParam step;
    step.SetLeftBoundFlags(RSPF_IGNORE_CASE);
    step.SetLeft("x");
    EXPECT_EQ(Stored(step.GetAttributes(), "LB/IC"), "x");
    EXPECT_FALSE(Has(step.GetAttributes(), "LB"));
    EXPECT_EQ(step.GetLeft(), "x");
}

TEST(WebStepRegSaveParam, ClearingFlagsAfterSettingBoundaryHidesIt) {
    CWebStepRegSaveParam step;
    step.SetLeftBoundFlags(RSPF_IGNORE_CASE);
    step.SetLeft("x");
    step.SetLeftBoundFlags(RSPF_NONE);
    EXPECT_EQ(step.GetLeft(), "");
    // The value is still stored under the old name.
    EXPECT_EQ(Stored(step.GetAttributes(), "LB/IC"), "x");
}

TEST(WebStepRegSaveParam, FlagsThreeGiveIcThenBinSuffixes) {
    CWebStepRegSaveParam step;
    step.SetLeftBoundFlags(RSPF_IGNORE_CASE | RSPF_BINARY);
    step.SetLeft("<a");
    EXPECT_EQ(Stored(step.GetAttributes(), "LB/IC/BIN"), "<a");
    EXPECT_FALSE(Has(step.GetAttributes(), "LB/BIN/IC"));
}

TEST(WebStepRegSaveParam, AllSixFlagsAppendSuffixesInFixedOrder) {
    EXPECT_EQ(CWebStepRegSaveParam::LeftBoundName(static_cast<RegSaveParamFlags>(63)),
              "LB/IC/BIN/DIG/ALNUMIC/ALNUMLC/ALNUMUC");
    EXPECT_EQ(CWebStepRegSaveParam::RightBoundName(RSPF_ALNUMUC | RSPF_DIGITS), "RB/DIG/ALNUMUC");
    EXPECT_EQ(CWebStepRegSaveParam::RightBoundName(RSPF_NONE), "RB");
    EXPECT_EQ(CWebStepRegSaveParam::LeftBoundName(RSPF_ALNUMLC), "LB/ALNUMLC");
    // Bits beyond the six options add nothing.
    EXPECT_EQ(CWebStepRegSaveParam::LeftBoundName(static_cast<RegSaveParamFlags>(64 | 1)), "LB/IC");
}

TEST(WebStepRegSaveParam, RightBoundaryUsesRightFlagsOnly) {
    CWebStepRegSaveParam step;
    step.SetLeftBoundFlags(RSPF_BINARY);
    step.SetRightBoundFlags(RSPF_DIGITS);
    step.SetRight("\"");
    step.SetLeft("v=\"");
    EXPECT_EQ(Stored(step.GetAttributes(), "RB/DIG"), "\"");
    EXPECT_EQ(Stored(step.GetAttributes(), "LB/BIN"), "v=\"");
    EXPECT_EQ(step.GetRight(), "\"");
}

TEST(WebStepRegSaveParam, BoundaryLookupIgnoresLetterCase) {
    CWebStepRegSaveParam step;
    step.GetAttributes().AddAttribute("lb/ic", "from script", false);
    step.SetLeftBoundFlags(RSPF_IGNORE_CASE);
    EXPECT_EQ(step.GetLeft(), "from script");
}

TEST(WebStepRegSaveParam, TwoGettersShareOneScratchString) {
    CWebStepRegSaveParam step;
    step.SetNotFound("warning");
    step.SetSearchScope("Body");
    const MString& first = step.GetNotFound();
    EXPECT_EQ(first, "warning");
    const MString& second = step.GetSearchScope();
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(first, "Body");
}

TEST(WebStepRegSaveParam, AbsentAttributeGivesEmptyScratch) {
    CWebStepRegSaveParam step;
    step.SetNotFound("error");
    const MString& value = step.GetNotFound();
    EXPECT_EQ(value, "error");
    EXPECT_EQ(step.GetCallbackName(), "");
    EXPECT_EQ(value, "");
}

TEST(WebStepRegSaveParam, StringSettersStoreTextUnchangedUnderTheirNames) {
    CWebStepRegSaveParam step;
    step.SetNotFound("warning");
    step.SetSearchScope("Headers");
    step.SetRelativeFrameId("1.2");
    step.SetCallbackName("cb");
    step.SetCallbackDLLName("cb.dll");
    step.SetIgnoreRedirections("Yes");
    const CAttributeSet& set = step.GetAttributes();
    EXPECT_EQ(Stored(set, "NotFound"), "warning");
    EXPECT_EQ(Stored(set, "Search"), "Headers");
    EXPECT_EQ(Stored(set, "RelFrameId"), "1.2");
    EXPECT_EQ(Stored(set, "AutoCorrelationFunction"), "cb");
    EXPECT_EQ(Stored(set, "AutoCorrelationDll"), "cb.dll");
    EXPECT_EQ(Stored(set, "IgnoreRedirections"), "Yes");
    EXPECT_EQ(step.GetRelativeFrameId(), "1.2");
    EXPECT_EQ(step.GetCallbackDLLName(), "cb.dll");
    EXPECT_EQ(step.GetIgnoreRedirections(), "Yes");
    EXPECT_EQ(step.GetCallbackName(), "cb");
    EXPECT_EQ(set.GetNumItems(), 6u);
}

TEST(WebStepRegSaveParam, SettingAgainReplacesTheValueInPlace) {
    CWebStepRegSaveParam step;
    step.SetSearchScope("Body");
    step.SetNotFound("error");
    step.SetSearchScope("All");
    EXPECT_EQ(step.GetAttributes().GetNumItems(), 2u);
    EXPECT_EQ(step.GetSearchScope(), "All");
    CPropertyBagIterator it(step.GetAttributes());
    MString name, value;
    ASSERT_TRUE(it.GetFirst(name, value));
    EXPECT_EQ(name, "Search");
    EXPECT_EQ(value, "All");
}

TEST(WebStepRegSaveParam, NullTextStoresEmptyValue) {
    CWebStepRegSaveParam step;
    step.SetNotFound(nullptr);
    EXPECT_TRUE(Has(step.GetAttributes(), "NotFound"));
    EXPECT_EQ(step.GetNotFound(), "");
}

TEST(WebStepRegSaveParam, CopyCopiesNameBothFlagWordsAndAttributes) {
    CWebStepRegSaveParam step;
    step.SetParamName("Session");
    step.SetLeftBoundFlags(RSPF_IGNORE_CASE | RSPF_ALNUMIC);
    step.SetRightBoundFlags(RSPF_BINARY);
    step.SetLeft("sid=");
    step.SetRight("&");
    step.SetInstance(2);
    step.SetEscapeingString(true);
    CWebStepRegSaveParam copy(step);
    CWebStepRegSaveParam assigned;
    assigned = step;
    for (const CWebStepRegSaveParam* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetParamName(), "Session");
        EXPECT_EQ(s->GetLeftBoundFlags(), RSPF_IGNORE_CASE | RSPF_ALNUMIC);
        EXPECT_EQ(s->GetRightBoundFlags(), RSPF_BINARY);
        EXPECT_EQ(s->GetLeft(), "sid=");
        EXPECT_EQ(s->GetRight(), "&");
        EXPECT_EQ(s->GetInstance(), "2");
        EXPECT_TRUE(s->GetEscapeingString());
    }
    // Deep copy of the attribute set.
    step.SetLeft("changed");
    EXPECT_EQ(copy.GetLeft(), "sid=");
}

TEST(WebStepRegSaveParam, DefaultHasNoNameNoFlagsNoAttributes) {
    CWebStepRegSaveParam step;
    EXPECT_EQ(step.GetParamName(), "");
    EXPECT_EQ(step.GetLeftBoundFlags(), RSPF_NONE);
    EXPECT_EQ(step.GetRightBoundFlags(), RSPF_NONE);
    EXPECT_EQ(step.GetAttributes().GetNumItems(), 0u);
    EXPECT_EQ(step.GetLeft(), "");
}

TEST(RegSaveParamFlags, BitOperatorsCombineAndClear) {
    RegSaveParamFlags flags = RSPF_NONE;
    flags |= RSPF_BINARY;
    flags |= RSPF_IGNORE_CASE;
    EXPECT_EQ(static_cast<unsigned int>(flags), 3u);
    flags &= ~RSPF_BINARY;
    EXPECT_EQ(flags, RSPF_IGNORE_CASE);
    EXPECT_EQ(flags & RSPF_BINARY, RSPF_NONE);
}

// --- Find rule -----------------------------------------------------------

TEST(WebStepRegFind, TextNamesCarryTheirFlagSuffixes) {
    CWebStepRegFind step;
    step.SetTextFlags(RFF_IGNORE_CASE);
    step.SetText("Welcome");
    step.SetTextPfxFlags(RFF_BINARY | RFF_DIGITS);
    step.SetTextPfx("<b>");
    step.SetTextSfx("</b>");
    EXPECT_EQ(Stored(step.GetAttributes(), "Text/IC"), "Welcome");
    EXPECT_EQ(Stored(step.GetAttributes(), "TextPfx/BIN/DIG"), "<b>");
    EXPECT_EQ(Stored(step.GetAttributes(), "TextSfx"), "</b>");
    EXPECT_EQ(step.GetText(), "Welcome");
    EXPECT_EQ(step.GetTextPfx(), "<b>");
    EXPECT_EQ(step.GetTextSfx(), "</b>");
    step.SetTextFlags(RFF_NONE);
    EXPECT_EQ(step.GetText(), "");
}

TEST(WebStepRegFind, OtherFieldsAndScratchSharing) {
    CWebStepRegFind step;
    step.SetSearchScope("Body");
    step.SetFail("NotFound");
    step.SetSaveCount("count");
    EXPECT_EQ(Stored(step.GetAttributes(), "Search"), "Body");
    EXPECT_EQ(Stored(step.GetAttributes(), "Fail"), "NotFound");
    EXPECT_EQ(Stored(step.GetAttributes(), "SaveCount"), "count");
    const MString& fail = step.GetFail();
    EXPECT_EQ(fail, "NotFound");
    EXPECT_EQ(step.GetSaveCount(), "count");
    EXPECT_EQ(fail, "count");
    EXPECT_EQ(step.GetSearchScope(), "Body");
}

TEST(WebStepRegFind, CopyCopiesFlagsAndAttributes) {
    CWebStepRegFind step;
    step.SetTextFlags(RFF_ALNUMLC);
    step.SetTextPfxFlags(RFF_IGNORE_CASE);
    step.SetTextSfxFlags(RFF_BINARY);
    step.SetText("t");
    CWebStepRegFind copy(step);
    CWebStepRegFind assigned;
    assigned = step;
    for (const CWebStepRegFind* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetTextFlags(), RFF_ALNUMLC);
        EXPECT_EQ(s->GetTextPfxFlags(), RFF_IGNORE_CASE);
        EXPECT_EQ(s->GetTextSfxFlags(), RFF_BINARY);
        EXPECT_EQ(s->GetText(), "t");
    }
}

// --- Global verification ---------------------------------------------------

TEST(WebStepGlobalVerification, OnlyIcAndBinSuffixesAreWritten) {
    EXPECT_EQ(CWebStepGlobalVerification::TextName("Text", GVF_IGNORE_CASE | GVF_BINARY),
              "Text/IC/BIN");
    EXPECT_EQ(CWebStepGlobalVerification::TextName(
                  "TextPfx", static_cast<GlobalVerificationFlags>(4 | 8 | 16 | 32)),
              "TextPfx");
}

TEST(WebStepGlobalVerification, FieldsLiveInAttributesAndFailIsReadWithGetFailIf) {
    CWebStepGlobalVerification step;
    step.SetTextFlags(GVF_BINARY);
    step.SetText("Error");
    step.SetSearchScope("All");
    step.SetFailIf("Found");
    EXPECT_EQ(Stored(step.GetAttributes(), "Text/BIN"), "Error");
    EXPECT_EQ(Stored(step.GetAttributes(), "Fail"), "Found");
    EXPECT_EQ(step.GetFailIf(), "Found");
    EXPECT_EQ(step.GetSearchScope(), "All");
    EXPECT_EQ(step.GetText(), "Error");
    step.SetTextPfx("a");
    step.SetTextSfx("b");
    EXPECT_EQ(step.GetTextPfx(), "a");
    EXPECT_EQ(step.GetTextSfx(), "b");
    CWebStepGlobalVerification copy(step);
    EXPECT_EQ(copy.GetTextFlags(), GVF_BINARY);
    EXPECT_EQ(copy.GetText(), "Error");
    CWebStepGlobalVerification assigned;
    assigned = step;
    EXPECT_EQ(assigned.GetFailIf(), "Found");
    EXPECT_EQ(assigned.GetTextFlags(), GVF_BINARY);
}

TEST(WebStepGlobalVerificationPauseResume, IdsAreAppendedResetAndCopied) {
    CWebStepGlobalVerificationPause pause;
    pause.AddID("a");
    pause.AddID("b");
    ASSERT_EQ(pause.GetIDs().size(), 2u);
    EXPECT_EQ(pause.GetIDs().front(), "a");
    EXPECT_EQ(pause.GetIDs().back(), "b");
    CWebStepGlobalVerificationPause copy(pause);
    pause.ResetAll();
    EXPECT_TRUE(pause.GetIDs().empty());
    EXPECT_EQ(copy.GetIDs().size(), 2u);
    CWebStepGlobalVerificationResume resume;
    resume.AddID("x");
    CWebStepGlobalVerificationResume assigned;
    assigned.AddID("old");
    assigned = resume;
    ASSERT_EQ(assigned.GetIDs().size(), 1u);
    EXPECT_EQ(assigned.GetIDs().front(), "x");
}

// --- Conversions and certificates ------------------------------------------

TEST(WebStepConvertParam, FieldsAndCopies) {
    CWebStepConvertParam step;
    step.SetParamName("P");
    step.SetSourceString("{S}");
    step.SetSourceEncoding("HTML");
    step.SetTargetEncoding("URL");
    EXPECT_EQ(Stored(step.GetAttributes(), "SourceString"), "{S}");
    EXPECT_EQ(Stored(step.GetAttributes(), "SourceEncoding"), "HTML");
    EXPECT_EQ(Stored(step.GetAttributes(), "TargetEncoding"), "URL");
    CWebStepConvertParam copy(step);
    CWebStepConvertParam assigned;
    assigned = step;
    for (const CWebStepConvertParam* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetParamName(), "P");
        EXPECT_EQ(s->GetSourceString(), "{S}");
        EXPECT_EQ(s->GetSourceEncoding(), "HTML");
        EXPECT_EQ(s->GetTargetEncoding(), "URL");
    }
}

TEST(WebStepConvertDateParam, FieldsAndCopies) {
    CWebStepConvertDateParam step;
    step.SetParamName("D");
    step.SetSourceFormat("%Y");
    step.SetTargetFormat("%d");
    step.SetTargetParameterName("Out");
    EXPECT_EQ(Stored(step.GetAttributes(), "SourceFormat"), "%Y");
    EXPECT_EQ(Stored(step.GetAttributes(), "TargetFormat"), "%d");
    EXPECT_EQ(Stored(step.GetAttributes(), "TargetParameter"), "Out");
    CWebStepConvertDateParam copy(step);
    CWebStepConvertDateParam assigned;
    assigned = step;
    for (const CWebStepConvertDateParam* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetParamName(), "D");
        EXPECT_EQ(s->GetSourceFormat(), "%Y");
        EXPECT_EQ(s->GetTargetFormat(), "%d");
        EXPECT_EQ(s->GetTargetParameterName(), "Out");
    }
}

TEST(WebStepSetCertificateEx, FieldsAndCopies) {
    CWebStepSetCertificateEx step;
    step.SetCertFilePath("c.pem");
    step.SetCertFormat("PEM");
    step.SetCertIndex("3");
    step.SetKeyFilePath("k.pem");
    step.SetKeyFormat("DER");
    step.SetPassword("pw");
    const char* names[] = {"CertFilePath", "CertFormat", "CertIndex",
                           "KeyFilePath",  "KeyFormat",  "Password"};
    const char* values[] = {"c.pem", "PEM", "3", "k.pem", "DER", "pw"};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(Stored(step.GetAttributes(), names[i]), values[i]);
    }
    CWebStepSetCertificateEx copy(step);
    CWebStepSetCertificateEx assigned;
    assigned = step;
    for (const CWebStepSetCertificateEx* s : {&copy, &assigned}) {
        EXPECT_EQ(s->GetCertFilePath(), "c.pem");
        EXPECT_EQ(s->GetCertFormat(), "PEM");
        EXPECT_EQ(s->GetCertIndex(), "3");
        EXPECT_EQ(s->GetKeyFilePath(), "k.pem");
        EXPECT_EQ(s->GetKeyFormat(), "DER");
        EXPECT_EQ(s->GetPassword(), "pw");
    }
}

}  // namespace

namespace {

TEST(WebStepRegSaveParam, HugeAndEmptyBoundaryTexts) {
    CWebStepRegSaveParam step;
    const MString huge(1 << 20, 'x');
    step.SetLeft(huge.c_str());
    step.SetRight("");
    EXPECT_EQ(step.GetLeft().size(), huge.size());
    EXPECT_EQ(step.GetRight(), "");
    EXPECT_EQ(step.GetAttributes().GetNumItems(), 2u);
}

TEST(WebStepRegSaveParam, BoundaryTextWithDoubleByteCharactersIsKeptAsBytes) {
    CWebStepRegSaveParam step;
    const char gbk[] = "\xD3\xEF\xBE\xE4=";  // two GBK characters and "="
    step.SetLeft(gbk);
    EXPECT_EQ(step.GetLeft(), gbk);
}

}  // namespace

// Field lists (name=value fields closed by ENDITEM) read into data sets and
// resource lists, with the error attributes of each failure.
#include <gtest/gtest.h>

#include "ParserProbe.h"
#include "webstep/forms/DataSet.h"
#include "webstep/forms/Resource.h"

namespace {

class FieldList : public ::testing::Test {
protected:
    CProbeParser p;
    CDataSet set;
    int index = 7;
    std::vector<const char*> args;

    bool Build(std::vector<const char*> list) {
        args = std::move(list);
        set.DataElements().PurgeData();
        p.Feed(args);
        return p.BuildDataSetFromFieldList(set, CWebStepScript::DefaultTerminators, &index);
    }
    const CData& At(size_t i) {
        auto it = set.DataElements().GetList().begin();
        std::advance(it, i);
        return **it;
    }
};

class ResourceList : public ::testing::Test {
protected:
    CProbeParser p;
    CResourceElements resources;
    int index = 7;
    std::vector<const char*> args;

    bool Build(std::vector<const char*> list) {
        args = std::move(list);
        p.Feed(args);
        return p.BuildResourceDataSetFromFieldList(resources, CWebStepScript::DefaultTerminators,
                                                   &index);
    }
};

}  // namespace

TEST_F(FieldList, TwoItemsTheSecondWithEmptyValue) {
    ASSERT_TRUE(Build({"Name=a", "Value=1", "ENDITEM", "Name=b", "ENDITEM", "LAST"}));
    ASSERT_EQ(set.GetNumElements(), 2u);
    EXPECT_EQ(At(0).GetName(), "a");
    EXPECT_EQ(At(0).GetValue(), "1");
    EXPECT_EQ(At(1).GetName(), "b");
    EXPECT_EQ(At(1).GetValue(), "");
    EXPECT_EQ(index, 0);
    EXPECT_EQ(ErrorText(p), "0");
}

TEST_F(FieldList, ItemDefaults) {
    ASSERT_TRUE(Build({"Name={P}", "ENDITEM"}));
    const CData& item = At(0);
    EXPECT_TRUE(item.IsNameDataDriven());
    EXPECT_EQ(item.GetScriptName(), "P");
    EXPECT_EQ(item.GetType(), CData::DT_UNSPECIFIED);
    EXPECT_EQ(item.GetNameRegexType(), CData::RT_LITERAL);
    EXPECT_EQ(item.GetValueRegexType(), CData::RT_LITERAL);
    EXPECT_TRUE(item.IsSent());
    EXPECT_FALSE(item.IsReadOnly());
    EXPECT_EQ(index, -1);  // ended with the arguments, not at a terminator
}

TEST_F(FieldList, EveryFieldLandsInTheItem) {
    ASSERT_TRUE(Build({"name=n", "namepfx=p", "NAMESFX=s", "Value=v", "NameRegExp=yes",
                       "ValueRegExp=Yes", "File=yes", "ContentType=text/plain", "FilePath=/a/b",
                       "ContentTransferEncoding=binary", "Sent=no", "ENDITEM", "LAST"}));
    const CData& item = At(0);
    EXPECT_EQ(item.GetName(), "n");
    EXPECT_EQ(item.GetNamePfx(), "p");
    EXPECT_EQ(item.GetNameSfx(), "s");
    EXPECT_EQ(item.GetValue(), "v");
    EXPECT_EQ(item.GetNameRegexType(), CData::RT_REGEX);
    EXPECT_EQ(item.GetValueRegexType(), CData::RT_REGEX);
    EXPECT_EQ(item.GetType(), CData::DT_FILE);
    EXPECT_EQ(item.GetContentType(), "text/plain");
    EXPECT_EQ(item.GetFilePath(), "/a/b");
    EXPECT_EQ(item.GetContentTransferEncoding(), "binary");
    EXPECT_FALSE(item.IsSent());
}

TEST_F(FieldList, ItemsAreResetAfterEndItem) {
    ASSERT_TRUE(Build({"Name=a", "Value=1", "Sent=no", "File=yes", "NameRegExp=yes", "ENDITEM",
                       "Name=b", "ENDITEM", "LAST"}));
    const CData& second = At(1);
    EXPECT_EQ(second.GetValue(), "");
    EXPECT_TRUE(second.IsSent());
    EXPECT_EQ(second.GetType(), CData::DT_UNSPECIFIED);
    EXPECT_EQ(second.GetNameRegexType(), CData::RT_LITERAL);
}

TEST_F(FieldList, UnclosedItemAtTheTerminatorFailsWith1011) {
    EXPECT_FALSE(Build({"Name=a", "LAST"}));
    EXPECT_EQ(ErrorText(p), "1011|record=1|argument=2");
    EXPECT_EQ(set.GetNumElements(), 0u);
}

TEST_F(FieldList, ItemWithoutAnyNameFailsWith1000) {
    EXPECT_FALSE(Build({"Value=1", "ENDITEM"}));
    EXPECT_EQ(ErrorText(p), "1000|attribute=Name|record=1|argument=2");
}

TEST_F(FieldList, PrefixAloneIsEnoughForAnItem) {
    ASSERT_TRUE(Build({"NamePfx=x", "ENDITEM"}));
    EXPECT_EQ(At(0).GetNamePfx(), "x");
    ASSERT_TRUE(Build({"NameSfx=y", "ENDITEM"}));
}

TEST_F(FieldList, RepeatedFieldFailsWith1012AndCarriesRecordOne) {
    EXPECT_FALSE(Build({"Name=a", "Name=b"}));
    EXPECT_EQ(ErrorText(p), "1012|attribute=Name|record=1|argument=2");
}

TEST_F(FieldList, RepeatedFieldInTheSecondItemCountsRecordTwo) {
    EXPECT_FALSE(Build({"Name=a", "ENDITEM", "Name=b", "Value=1", "value=2", "ENDITEM"}));
    EXPECT_EQ(ErrorText(p), "1012|attribute=value|record=2|argument=5");
    EXPECT_EQ(set.GetNumElements(), 1u);  // completed items stay
}

TEST_F(FieldList, RegExpFlagsMayBeRepeatedAndTheLastWins) {
    ASSERT_TRUE(Build({"Name=a", "NameRegExp=yes", "NameRegExp=no", "ENDITEM"}));
    EXPECT_EQ(At(0).GetNameRegexType(), CData::RT_LITERAL);
    ASSERT_TRUE(Build({"Name=a", "ValueRegExp=no", "ValueRegExp=yes", "ENDITEM"}));
    EXPECT_EQ(At(0).GetValueRegexType(), CData::RT_REGEX);
}

TEST_F(FieldList, FileYesMakesAFileField) {
    ASSERT_TRUE(Build({"Name=f", "File=yes", "ENDITEM"}));
    EXPECT_EQ(static_cast<int>(At(0).GetType()), 9);
}

TEST_F(FieldList, FileMaybeFailsWith1005) {
    EXPECT_FALSE(Build({"Name=f", "File=maybe", "ENDITEM"}));
    EXPECT_EQ(ErrorText(p), "1005|text=maybe|attribute=File|record=1|argument=2");
}

TEST_F(FieldList, UnknownFieldFailsWith1002) {
    EXPECT_FALSE(Build({"Name=a", "Color=red"}));
    EXPECT_EQ(ErrorText(p), "1002|text=Color=red|attribute=Color|record=1|argument=2");
}

TEST_F(FieldList, StrayWordFailsWith1001) {
    EXPECT_FALSE(Build({"Name=a", "ENDITEM", "END_ITEM"}));
    EXPECT_EQ(ErrorText(p), "1001|text=END_ITEM|record=2|argument=3");
}

TEST_F(FieldList, EndItemIgnoresCase) {
    ASSERT_TRUE(Build({"Name=a", "enditem", "Name=b", "EndItem", "last"}));
    EXPECT_EQ(set.GetNumElements(), 2u);
}

TEST_F(FieldList, EmptyListSucceeds) {
    ASSERT_TRUE(Build({"LAST"}));
    EXPECT_EQ(set.GetNumElements(), 0u);
    ASSERT_TRUE(Build({}));
}

TEST_F(FieldList, CallerTerminatorsStopTheList) {
    static const char* terms[] = {"EXTRARES", "LAST", nullptr};
    args = {"Name=a", "ENDITEM", "EXTRARES", "URL=x"};
    p.Feed(args);
    ASSERT_TRUE(p.BuildDataSetFromFieldList(set, terms, &index));
    EXPECT_EQ(index, 0);
    EXPECT_STREQ(p.GetNextArgument(), "URL=x");
}

TEST_F(FieldList, ManyItems) {
    std::vector<std::string> storage;
    for (int i = 0; i < 1000; ++i)
        storage.push_back("Name=f" + std::to_string(i));
    std::vector<const char*> list;
    for (const std::string& s : storage) {
        list.push_back(s.c_str());
        list.push_back("ENDITEM");
    }
    list.push_back("LAST");
    ASSERT_TRUE(Build(list));
    EXPECT_EQ(set.GetNumElements(), 1000u);
    EXPECT_EQ(At(999).GetName(), "f999");
}

TEST_F(ResourceList, TwoResourcesTheSecondEmpty) {
    ASSERT_TRUE(Build({"URL=x", "Referer=y", "ENDITEM", "ENDITEM", "LAST"}));
    ASSERT_EQ(resources.GetNumElements(), 2u);
    EXPECT_EQ(resources.GetList().front()->GetUrl(), "x");
    EXPECT_EQ(resources.GetList().front()->GetReferer(), "y");
    EXPECT_EQ(resources.GetList().back()->GetUrl(), "");
    EXPECT_EQ(index, 0);
}

TEST_F(ResourceList, FieldNamesIgnoreCase) {
    ASSERT_TRUE(Build({"Url=a", "ENDITEM", "url=b", "REFERER=c", "ENDITEM"}));
    EXPECT_EQ(resources.GetNumElements(), 2u);
    EXPECT_EQ(resources.GetList().back()->GetReferer(), "c");
}

TEST_F(ResourceList, RepeatedFieldFailsWith1012) {
    EXPECT_FALSE(Build({"URL=a", "URL=b"}));
    EXPECT_EQ(ErrorText(p), "1012|attribute=URL|record=1|argument=2");
}

TEST_F(ResourceList, UnknownFieldFailsWith1002) {
    EXPECT_FALSE(Build({"URL=a", "ENDITEM", "Src=b"}));
    EXPECT_EQ(ErrorText(p), "1002|text=Src=b|attribute=Src|record=2|argument=3");
    EXPECT_EQ(resources.GetNumElements(), 1u);
}

TEST_F(ResourceList, StrayWordFailsWith1001) {
    EXPECT_FALSE(Build({"URL=a", "END"}));
    EXPECT_EQ(ErrorText(p), "1001|text=END|record=1|argument=2");
}

TEST_F(ResourceList, UnclosedItemFailsWith1011) {
    EXPECT_FALSE(Build({"URL=a", "ENDITEM", "URL=b", "LAST"}));
    EXPECT_EQ(ErrorText(p), "1011|record=2|argument=4");
}

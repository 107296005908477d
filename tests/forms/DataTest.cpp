// Data items, resources and their owning lists.
#include "webstep/forms/Data.h"

#include <gtest/gtest.h>

#include "webstep/context/Context.h"
#include "webstep/forms/Resource.h"

namespace {

CData* Item(const MString& name, const MString& value = "v") {
    return new CData(name, value, CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_UNSPECIFIED, true,
                     "", "", false, "", "", "");
}

class CFailingContext : public CContext {
public:
    int calls = 0;
    MString failOn;
    bool Parametrize(const MString& value, MString& result, bool isDataDriven) override {
        ++calls;
        return value != failOn;
    }
};

}  // namespace

TEST(Data, ConstructorTakesEveryFieldInOrder) {
    CData item("{N}", "val", CData::RT_REGEX, CData::RT_LITERAL, CData::DT_FILE, false, "pre",
               "suf", true, "text/plain", "/tmp/f", "binary");
    EXPECT_EQ(item.GetScriptName(), "N");
    EXPECT_EQ(item.GetName(), "{N}");
    EXPECT_TRUE(item.IsNameDataDriven());
    EXPECT_FALSE(item.IsValueDataDriven());
    EXPECT_EQ(item.GetValue(), "val");
    EXPECT_EQ(item.GetNameRegexType(), CData::RT_REGEX);
    EXPECT_EQ(item.GetValueRegexType(), CData::RT_LITERAL);
    EXPECT_EQ(item.GetType(), CData::DT_FILE);
    EXPECT_EQ(static_cast<int>(item.GetType()), 9);
    EXPECT_FALSE(item.IsSent());
    EXPECT_EQ(item.GetNamePfx(), "pre");
    EXPECT_EQ(item.GetNameSfx(), "suf");
    EXPECT_TRUE(item.IsReadOnly());
    EXPECT_EQ(item.GetContentType(), "text/plain");
    EXPECT_EQ(item.GetFilePath(), "/tmp/f");
    EXPECT_EQ(item.GetContentTransferEncoding(), "binary");
    EXPECT_EQ(item.Report(true), "val");
}

TEST(Data, DataTypeNumbersAreFixed) {
    EXPECT_EQ(CData::DT_UNSPECIFIED, 0);
    EXPECT_EQ(CData::DT_TEXT, 1);
    EXPECT_EQ(CData::DT_TEXTAREA, 2);
    EXPECT_EQ(CData::DT_RADIO, 3);
    EXPECT_EQ(CData::DT_CHECKBOX, 4);
    EXPECT_EQ(CData::DT_SELECT, 5);
    EXPECT_EQ(CData::DT_SUBMIT, 6);
    EXPECT_EQ(CData::DT_IMAGE, 7);
    EXPECT_EQ(CData::DT_HIDDEN, 8);
    EXPECT_EQ(CData::DT_FILE, 9);
    EXPECT_EQ(CData::DT_PASSWORD, 10);
    EXPECT_EQ(CData::RT_LITERAL, 0);
    EXPECT_EQ(CData::RT_REGEX, 1);
}

TEST(Data, DefaultMarkerIsExact) {
    CData* item = Item("n", "_DEFAULT_");
    EXPECT_TRUE(item->IsFieldDefault());
    item->SetValue("_default_");
    EXPECT_FALSE(item->IsFieldDefault());
    item->SetDefault();
    EXPECT_TRUE(item->IsFieldDefault());
    delete item;
}

TEST(Data, EqualityComparesEveryFieldByValue) {
    CData a("n", "v", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_TEXT, true, "", "", false, "",
            "", "");
    CData b(a);
    EXPECT_TRUE(a == b);
    b.SetSent(false);
    EXPECT_TRUE(a != b);
    b = a;
    b.SetFilePath("x");
    EXPECT_FALSE(a == b);
    b = a;
    b.SetValueRegexType(CData::RT_REGEX);
    EXPECT_FALSE(a == b);
    b = a;
    b.SetIsReadOnly(true);
    EXPECT_FALSE(a == b);
}

TEST(Data, ParametrizeStopsAtTheFirstFailureAndSkipsFileAttributes) {
    CData item("{A}", "{B}", CData::RT_LITERAL, CData::RT_LITERAL, CData::DT_FILE, true, "{C}",
               "{D}", false, "{E}", "{F}", "{G}");
    CFailingContext ctx;
    EXPECT_TRUE(item.Parametrize(&ctx));
    EXPECT_EQ(ctx.calls, 4);
    ctx.calls = 0;
    ctx.failOn = "B";
    EXPECT_FALSE(item.Parametrize(&ctx));
    EXPECT_EQ(ctx.calls, 2);
}

TEST(DataElements, RemovingAnItemNotInTheSetReturnsTrueAndChangesNothing) {
    CDataElements list;
    list.AddTail(Item("a"));
    CData* stranger = Item("a");
    EXPECT_TRUE(list.RemoveData(stranger));
    EXPECT_EQ(list.GetNumElements(), 1u);
    delete stranger;
}

TEST(DataElements, RemoveUnlinksByIdentityWithoutDeleting) {
    CDataElements list;
    CData* a = Item("a");
    CData* b = Item("a");
    list.AddTail(a);
    list.AddTail(b);
    EXPECT_TRUE(list.RemoveData(b));
    ASSERT_EQ(list.GetNumElements(), 1u);
    EXPECT_EQ(list.GetList().front(), a);
    delete b;  // still alive: removal does not delete
}

TEST(DataElements, AddAfterTheLastItemAppendsAndLeavesTheIteratorThere) {
    CDataElements list;
    CData* a = Item("a");
    CData* b = Item("b");
    list.AddTail(a);
    list.AddTail(b);
    auto where = std::prev(list.GetList().end());
    CData* c = Item("c");
    list.AddDataAfter(c, where);
    EXPECT_EQ(*where, b);
    EXPECT_EQ(list.GetList().back(), c);
    EXPECT_EQ(list.GetNumElements(), 3u);
}

TEST(DataElements, AddAfterAMiddleItemInsertsAndMovesTheIterator) {
    CDataElements list;
    CData* a = Item("a");
    CData* b = Item("b");
    list.AddTail(a);
    list.AddTail(b);
    auto where = list.GetList().begin();
    CData* c = Item("c");
    list.AddDataAfter(c, where);
    EXPECT_EQ(*where, c);
    std::vector<CData*> order(list.GetList().begin(), list.GetList().end());
    EXPECT_EQ(order, (std::vector<CData*>{a, c, b}));
    auto end = list.GetList().end();
    CData* d = Item("d");
    list.AddDataAfter(d, end);
    EXPECT_EQ(list.GetList().back(), d);
    EXPECT_TRUE(end == list.GetList().end());
}

TEST(DataElements, AddBeforeInsertsAndMovesTheIteratorOrAppendsAtTheEnd) {
    CDataElements list;
    CData* a = Item("a");
    list.AddTail(a);
    auto where = list.GetList().begin();
    CData* b = Item("b");
    list.AddDataBefore(b, where);
    EXPECT_EQ(*where, b);
    EXPECT_EQ(list.GetList().front(), b);
    auto end = list.GetList().end();
    CData* c = Item("c");
    list.AddDataBefore(c, end);
    EXPECT_EQ(list.GetList().back(), c);
    EXPECT_TRUE(end == list.GetList().end());
}

TEST(DataElements, CopySharesTheItems) {
    CDataElements list;
    list.AddTail(Item("a"));
    CDataElements copy(list);
    EXPECT_EQ(copy.GetList().front(), list.GetList().front());
    copy.GetList().clear();  // drop the shared references before destruction
}

TEST(DataElements, AssignmentDeletesOwnItemsThenShares) {
    CDataElements source;
    source.AddTail(Item("a"));
    CDataElements target;
    target.AddTail(Item("old"));  // deleted by the assignment (ASan would report a leak)
    target = source;
    ASSERT_EQ(target.GetNumElements(), 1u);
    EXPECT_EQ(target.GetList().front(), source.GetList().front());
    target = target;
    EXPECT_EQ(target.GetNumElements(), 1u);
    target.GetList().clear();
}

TEST(DataElements, PurgeEmptiesTheList) {
    CDataElements list;
    list.AddTail(Item("a"));
    list.AddTail(Item("b"));
    list.PurgeData();
    EXPECT_EQ(list.GetNumElements(), 0u);
}

TEST(Resource, EqualityComparesUrlAndReferer) {
    CResource a("u", "r");
    EXPECT_TRUE(a == CResource("u", "r"));
    EXPECT_FALSE(a == CResource("u", "x"));
    EXPECT_FALSE(a == CResource("U", "r"));
    CResource param("{Host}/a", "");
    EXPECT_FALSE(param.GetUrlArgument().IsDataDriven());
    EXPECT_TRUE(CResource("{U}", "").GetUrlArgument().IsDataDriven());
}

TEST(ResourceElements, CopySharesAndClearResourceReferencesReleasesIt) {
    CResourceElements list;
    list.AddTail(new CResource("u", "r"));
    {
        CResourceElements copy(list);
        EXPECT_EQ(copy.GetList().front(), list.GetList().front());
        copy.ClearResourceReferences();
        EXPECT_EQ(copy.GetNumElements(), 0u);
    }
    ASSERT_EQ(list.GetNumElements(), 1u);
    EXPECT_EQ(list.GetList().front()->GetUrl(), "u");
}

TEST(ResourceElements, InsertRemoveAndPurge) {
    CResourceElements list;
    CResource* a = new CResource("a", "");
    CResource* b = new CResource("b", "");
    list.AddTail(a);
    auto where = list.GetList().begin();
    list.AddResourceAfter(b, where);  // after the last item: appended
    EXPECT_EQ(*where, a);
    CResource* c = new CResource("c", "");
    list.AddResourceBefore(c, where);
    EXPECT_EQ(*where, c);
    EXPECT_EQ(list.GetList().front(), c);
    CResource stranger("x", "");
    EXPECT_TRUE(list.RemoveResource(&stranger));
    EXPECT_EQ(list.GetNumElements(), 3u);
    EXPECT_TRUE(list.RemoveResource(c));
    delete c;
    list.PurgeResource();
    EXPECT_EQ(list.GetNumElements(), 0u);
}

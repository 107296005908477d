// The name-to-factory registry.
#include "webstep/script/ObjectRepository.h"

#include <gtest/gtest.h>

namespace {

int g_first = 1;
int g_second = 2;
void* First() {
    return &g_first;
}
void* Second() {
    return &g_second;
}

}  // namespace

TEST(ObjectRepository, RegisteringANameTwiceKeepsTheFirstFactory) {
    CObjectRepository repository;
    EXPECT_TRUE(repository.RegisterObject("web_url", First));
    EXPECT_TRUE(repository.RegisterObject("web_url", Second));
    EXPECT_EQ(repository.CreateObject("web_url"), &g_first);
    EXPECT_EQ(repository.GetCount(), 1u);
}

TEST(ObjectRepository, NamesAreCaseSensitive) {
    CObjectRepository repository;
    repository.RegisterObject("web_url", First);
    EXPECT_EQ(repository.CreateObject("WEB_URL"), nullptr);
    EXPECT_EQ(repository.CreateObject("web_url "), nullptr);
    EXPECT_EQ(repository.CreateObject("web_url"), &g_first);
}

TEST(ObjectRepository, UnknownAndNullNamesGiveNull) {
    CObjectRepository repository;
    EXPECT_EQ(repository.CreateObject("nothing"), nullptr);
    EXPECT_EQ(repository.CreateObject(nullptr), nullptr);
}

TEST(ObjectRepository, CopyHoldsTheSameEntriesIndependently) {
    CObjectRepository repository;
    repository.RegisterObject("a", First);
    CObjectRepository copy(repository);
    copy.RegisterObject("b", Second);
    EXPECT_EQ(copy.CreateObject("a"), &g_first);
    EXPECT_EQ(copy.CreateObject("b"), &g_second);
    EXPECT_EQ(repository.CreateObject("b"), nullptr);
    CObjectRepository assigned;
    assigned = copy;
    EXPECT_EQ(assigned.GetCount(), 2u);
}

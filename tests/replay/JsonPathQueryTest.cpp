// JSONPath forms on small documents, and the refusals of malformed paths
// and documents.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "webstep/replay/JsonPathQuery.h"

namespace {

const char* kStore = R"({
  "store": {
    "book": [
      {"category": "ref", "author": "Rees", "title": "Sayings", "price": 8.95, "id": 1},
      {"category": "fiction", "author": "Waugh", "title": "Honour", "price": 12.99, "id": 2},
      {"category": "fiction", "author": "Melville", "title": "Dick", "isbn": "0-553", "price": 8.99, "id": 3},
      {"category": "fiction", "author": "Tolkien", "title": "Rings", "isbn": "0-395", "price": 22.99, "id": 4}
    ],
    "bicycle": {"color": "red", "price": 19.95},
    "odd key": "spaced"
  },
  "flag": true
})";

std::vector<std::string> Query(const std::string& path, const std::string& json = kStore) {
    CJsonPathQuery query;
    std::string error;
    EXPECT_TRUE(query.Compile(path, error)) << path << ": " << error;
    std::vector<std::string> values;
    EXPECT_TRUE(query.Evaluate(json, values, error)) << path << ": " << error;
    return values;
}

using V = std::vector<std::string>;

}  // namespace

TEST(JsonPath, MemberAndIndexSteps) {
    EXPECT_EQ(Query("$.store.book[0].author"), V{"Rees"});
    EXPECT_EQ(Query("$['store']['bicycle']['color']"), V{"red"});
    EXPECT_EQ(Query("$.store['odd key']"), V{"spaced"});
    EXPECT_EQ(Query("$.store.book[-1].title"), V{"Rings"});
    EXPECT_EQ(Query("$.store.book[9]"), V{});
    EXPECT_EQ(Query("$.flag"), V{"true"});
    EXPECT_EQ(Query("$.store.bicycle"), V{R"({"color":"red","price":19.95})"});
}

TEST(JsonPath, WildcardsUnionsAndSlices) {
    EXPECT_EQ(Query("$.store.book[*].id"), (V{"1", "2", "3", "4"}));
    EXPECT_EQ(Query("$.store.bicycle.*"), (V{"red", "19.95"}));
    EXPECT_EQ(Query("$.store.book[0,2].id"), (V{"1", "3"}));
    EXPECT_EQ(Query("$.store.book[1:3].id"), (V{"2", "3"}));
    EXPECT_EQ(Query("$.store.book[:2].id"), (V{"1", "2"}));
    EXPECT_EQ(Query("$.store.book[-2:].id"), (V{"3", "4"}));
    EXPECT_EQ(Query("$.store.book[::2].id"), (V{"1", "3"}));
}

TEST(JsonPath, RecursiveDescent) {
    EXPECT_EQ(Query("$..author"), (V{"Rees", "Waugh", "Melville", "Tolkien"}));
    EXPECT_EQ(Query("$..book[2].title"), V{"Dick"});
    EXPECT_EQ(Query("$..price").size(), 5u);
    EXPECT_EQ(Query("$..id", R"({"a":{"id":"x","b":[{"id":"y"},{"c":{"id":"z"}}]}})"),
              (V{"x", "y", "z"}));
}

TEST(JsonPath, Filters) {
    EXPECT_EQ(Query("$.store.book[?(@.category=='ref')].title"), V{"Sayings"});
    EXPECT_EQ(Query("$.store.book[?(@.price > 10)].id"), (V{"2", "4"}));
    EXPECT_EQ(Query("$.store.book[?(@.price <= 8.99)].id"), (V{"1", "3"}));
    EXPECT_EQ(Query("$.store.book[?(@.isbn)].id"), (V{"3", "4"}));
    EXPECT_EQ(Query("$.store.book[?(!@.isbn)].id"), (V{"1", "2"}));
    EXPECT_EQ(Query("$.store.book[?(@.category=='fiction' && @.price < 10)].id"), V{"3"});
    EXPECT_EQ(Query("$.store.book[?(@.id==1 || @.id==4)].author"), (V{"Rees", "Tolkien"}));
    EXPECT_EQ(Query("$.store.book[?(@.author != \"Rees\")].id").size(), 3u);
    EXPECT_EQ(Query("$..book[?(@.id == 2)].title"), V{"Honour"});
}

TEST(JsonPath, MalformedPathsAreRefusedWithThePosition) {
    for (const char* bad : {"store.book", "$.store[", "$.store.book[?(@.id==)]", "$[1:2:0]",
                            "$.a[?(@.b=='x)]", "$..", "$.a b"}) {
        CJsonPathQuery query;
        std::string error;
        EXPECT_FALSE(query.Compile(bad, error)) << bad;
        EXPECT_NE(error.find("position"), std::string::npos) << bad << ": " << error;
    }
}

TEST(JsonPath, MalformedDocumentsAreNotJson) {
    CJsonPathQuery query;
    std::string error;
    ASSERT_TRUE(query.Compile("$.a", error));
    std::vector<std::string> values;
    for (const std::string bad :
         {std::string("{\"a\":"), std::string("<html>"), std::string(""),
          std::string("{\"a\":\"\xff\"}"), std::string("{\"a\":1}\0x", 9)}) {
        error.clear();
        EXPECT_FALSE(query.Evaluate(bad, values, error)) << bad;
        EXPECT_FALSE(error.empty());
    }
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_FALSE(query.Evaluate(deep, values, error));
    EXPECT_NE(error.find("nested deeper"), std::string::npos) << error;
    EXPECT_TRUE(values.empty());
}

#include <gtest/gtest.h>

#include "presentation/QueryBuilder.h"

namespace lxhf::test {
namespace {

TEST(QueryBuilder, EncodesValuesAsUrlComponentsDoes) {
    EXPECT_EQ(QueryBuilder::encodeQueryComponent("AZaz09-._~!$'()*+,;:@/?"), "AZaz09-._~!$'()*+,;:@/?");
    EXPECT_EQ(QueryBuilder::encodeQueryComponent("a b&c=d%e#f"), "a%20b%26c%3Dd%25e%23f");
    EXPECT_EQ(QueryBuilder::encodeQueryComponent("\"<>[]\\^`{|}"), "%22%3C%3E%5B%5D%5C%5E%60%7B%7C%7D");
    EXPECT_EQ(QueryBuilder::encodeQueryComponent("\u00e0\u20ac"), "%C3%A0%E2%82%AC");
}

TEST(QueryBuilder, KeepsItemOrderAndTellsAbsentFromEmpty) {
    QueryBuilder builder("https", "127.0.0.1:8443", "/cloud/hotels/purchase");
    builder.add("z", "1").add("bare", std::nullopt).add("empty", "").add("a b", "x=y");
    EXPECT_EQ(builder.url(), "https://127.0.0.1:8443/cloud/hotels/purchase?z=1&bare&empty=&a%20b=x%3Dy");
}

TEST(QueryBuilder, RefusesPartsThatMakeNoUrl) {
    EXPECT_FALSE(QueryBuilder("", "host", "/p").url().has_value());
    EXPECT_FALSE(QueryBuilder("ht tp", "host", "/p").url().has_value());
    EXPECT_FALSE(QueryBuilder("https", "host", "relative").url().has_value());
    EXPECT_EQ(QueryBuilder("https", "host", "/a b").url(), "https://host/a%20b");
}

}  // namespace
}  // namespace lxhf::test

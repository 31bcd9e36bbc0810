#include <gtest/gtest.h>

#include "page/QueryBuilder.h"

namespace lxhf::test {
namespace {

TEST(QueryBuilder, PercentEncodesAllButUrlSafeCharactersAndRefusesPartsThatMakeNoUrl) {
    QueryBuilder builder("https", "127.0.0.1:8443", "/cloud/hotels/purchase");
    builder.add("z", "AZaz09-._~!$'()*+,;:@/?").add("bare", std::nullopt).add("empty", "");
    builder.add("a b", "x=y&z%#\"<>[]\\^`{|}\u00e0\u20ac");
    EXPECT_EQ(builder.url(),
              "https://127.0.0.1:8443/cloud/hotels/purchase?z=AZaz09-._~!$'()*+,;:@/?&bare&empty="
              "&a%20b=x%3Dy%26z%25%23%22%3C%3E%5B%5D%5C%5E%60%7B%7C%7D%C3%A0%E2%82%AC");
    EXPECT_FALSE(QueryBuilder("", "host", "/p").url().has_value());
    EXPECT_FALSE(QueryBuilder("ht tp", "host", "/p").url().has_value());
    EXPECT_FALSE(QueryBuilder("https", "host", "relative").url().has_value());
    EXPECT_EQ(QueryBuilder("https", "host", "/a b").url(), "https://host/a%20b");
}

}  // namespace
}  // namespace lxhf::test

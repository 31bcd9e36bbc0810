#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/LibsoupHttpClient.h"
#include "support/MainLoop.h"
#include "testservice/FermoTestService.h"

namespace lxhf {
namespace {

std::optional<HttpResult> sendAndWait(HttpClient& client, const std::string& url) {
    HttpRequest request;
    request.method = "POST";
    request.url = url;
    request.body = "[]";
    request.timeout = Seconds{10};
    std::optional<HttpResult> result;
    client.send(request, [&](HttpResult r) { result.emplace(std::move(r)); });
    test::runMainLoopUntil([&] { return result.has_value(); });
    return result;
}

TEST(LibsoupHttpClientTls, TrustsOnlyTheGivenCaAndReusesOneHandshake) {
    testing::FermoTestService service;
    std::string error;
    ASSERT_TRUE(service.start(&error)) << error;

    LibsoupHttpClient untrusting;
    auto refused = sendAndWait(untrusting, service.intakeUrl());
    ASSERT_TRUE(refused.has_value());
    ASSERT_FALSE(refused->ok());
    EXPECT_EQ(refused->error().description, "Unacceptable TLS certificate");
    EXPECT_EQ(service.count("/api/v2/logs"), 0);

    LibsoupHttpClient trusting(std::filesystem::path(service.caFile()));
    for (int i = 0; i < 3; ++i) {
        auto answered = sendAndWait(trusting, service.intakeUrl());
        ASSERT_TRUE(answered.has_value());
        ASSERT_TRUE(answered->ok()) << answered->error().description;
        EXPECT_GT((*answered)->status, 0);
    }
    EXPECT_EQ(service.count("/api/v2/logs"), 3);
    EXPECT_EQ(trusting.tlsHandshakeCount(), 1);
    EXPECT_EQ(trusting.connectionCount(), 1);
}

}  // namespace
}  // namespace lxhf

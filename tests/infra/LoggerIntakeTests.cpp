#include <gtest/gtest.h>

#include "infra/LXLogger.h"
#include "platform/LibsoupHttpClient.h"
#include "support/MainLoop.h"
#include "support/RecordingSystemLog.h"
#include "testservice/FermoTestService.h"

namespace lxhf {
namespace {

TEST(LoggerIntake, RealServiceRecordsTheExactQueryAndBody) {
    testing::FermoTestService service;
    std::string error;
    ASSERT_TRUE(service.start(&error)) << error;

    LibsoupHttpClient http(std::filesystem::path(service.caFile()));
    test::RecordingSystemLog systemLog;
    LXLogger logger(LXLoggerConfig{"staging", "0.1.0", "en_US", "S-1"},
                    LoggerContext{http, systemLog, service.intakeUrl()});
    logger.warn("hello intake");

    ASSERT_TRUE(service.waitForCount("/api/v2/logs", 1));
    auto recorded = service.requests("/api/v2/logs");
    ASSERT_EQ(recorded.size(), 1u);
    const auto& request = recorded[0];
    EXPECT_TRUE(request.accepted) << request.reason;
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.query,
              "ddsource=iOS&dd-api-key=pub3c9e41b07d5a2f68e1b4c7a90d2f5e83&ddtags=env:staging,version:0.1.0");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.body,
              R"({"service":"lx-hotels-fm-sdk","version":"0.1.0","source":"iOS","message":"hello intake",)"
              R"("status":"warn","data":{"jsonPayload":{"env":"staging","partner":"Velto","session_id":"S-1",)"
              R"("locale":"en_US"}}})");

    // Let the answer come back: a good answer writes nothing locally.
    test::runMainLoopFor(0.2);
    EXPECT_EQ(systemLog.lines().size(), 1u);
}

}  // namespace
}  // namespace lxhf

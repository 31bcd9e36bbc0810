#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>

#include "CoreTestSupport.h"
#include "infra/SessionStore.h"
#include "support/ManualBackgroundQueue.h"

namespace lxhf::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::optional<std::string> partnerUserIdOf(const HttpRequest& request) {
    const auto body = json::parse(request.body).value();
    if (!body.contains("partner_user_id")) return std::nullopt;
    return body["partner_user_id"].get<std::string>();
}

std::string storeText(const TempDir& dir) { return fileText(dir / "sessionStore.cache"); }

TEST(Sessions, AUserChangeBeforeTheFirstAnswerAsksAgainForTheNewUser) {
    CoreHarness h;
    h.http->hold(true);
    h.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
    h.queue->advance(Seconds{0.2});
    h.sdk->updateUser("user-2");
    h.queue->advance(Seconds{0.2});

    const auto asked = h.http->requestsTo("sessions");
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(partnerUserIdOf(asked[0]), std::nullopt);
    EXPECT_EQ(partnerUserIdOf(asked[1]), "user-2");

    // The old user's answer is nobody's now: its callers wait for the new one.
    h.http->completeNext(FakeHttpClient::reply(201, R"({"id":"S-old"})"));
    h.queue->runPending();
    EXPECT_NE(h.engine().sessions().inMemorySessionId(), "S-old");
    EXPECT_EQ(h.http->count("fermo_offers"), 0u);
    h.http->completeNext(FakeHttpClient::reply(201, R"({"id":"S-new"})"));
    h.queue->runPending();

    EXPECT_EQ(h.http->count("sessions"), 2u);
    ASSERT_EQ(h.http->count("fermo_offers"), 2u);  // the first fetch and the refresh
    for (const auto& request : h.http->requestsTo("fermo_offers"))
        EXPECT_EQ(headerValue(request, "LX-Session-ID"), "S-new");
    EXPECT_THAT(storeText(h.dir), HasSubstr("\"userId\":\"user-2\",\"sessionId\":\"S-new\""));
}

TEST(Sessions, ARunningEngineKeepsItsSessionPastTheStoredExpiry) {
    CoreHarness h;
    h.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
    h.queue->advance(Seconds{0.2});
    h.serveOffers();
    h.clock->advance(Seconds{15 * 86400.0});
    h.sdk->cacheOffers({makeRoom("B1", "hotel-b")});
    h.queue->advance(Seconds{0.2});
    h.serveOffers();
    EXPECT_EQ(h.http->count("sessions"), 1u);
    EXPECT_EQ(h.http->count("fermo_offers"), 2u);
}

// Files of this process cannot grow past a few bytes, as on a full disk.
class FullDisk {
public:
    FullDisk() {
        getrlimit(RLIMIT_FSIZE, &saved_);
        previous_ = signal(SIGXFSZ, SIG_IGN);
        const rlimit tiny{16, saved_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tiny);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        signal(SIGXFSZ, previous_);
    }

private:
    rlimit saved_{};
    sighandler_t previous_;
};

TEST(Sessions, AFullDiskKeepsTheSessionInMemoryAndSaysSo) {
    CoreHarness h;
    // A logger from earlier in the process, so the failure can be told.
    FacadeAccess::log(*h.sdk).installOrRenew(makeLoggerConfig(LXEnvironmentType::staging, "en_US", "S0"),
                                             LoggerContext{*h.http, *h.systemLog, "https://intake.test/api/v2/logs"});
    {
        FullDisk full;
        h.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
        h.queue->advance(Seconds{0.2});
        h.serveOffers();
    }
    EXPECT_EQ(h.engine().sessions().inMemorySessionId(), "S1");
    EXPECT_THAT(states(*h.sdk), ::testing::ElementsAre(State::available));
    EXPECT_EQ(storeText(h.dir), "<no file>");
    EXPECT_THAT(h.systemLog->lines(), ::testing::Contains("[LXHotelsFermoSDK] : Error saving sessionStore to disk"));
}

class SessionFile : public ::testing::Test {
protected:
    void SetUp() override {
        SessionStore earlier(dateProviderOf(*h.clock));
        earlier.insert(LXSession{std::nullopt, "S-stored", Date::from(h.clock->now()), std::nullopt}, "session");
        LoggerSlot none;
        ASSERT_FALSE(earlier.saveToDisk("sessionStore", FixedCacheDirectory(h.dir.path()), none));
        stored = storeText(h.dir);
    }

    std::shared_ptr<ManualBackgroundQueue> worker = std::make_shared<ManualBackgroundQueue>();
    CoreHarness h{true, true, worker};
    std::string stored;
};

TEST_F(SessionFile, IsReadAndWrittenOnlyOnTheWorkerAndEmptiedBeforeANewSessionIsWritten) {
    h.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
    EXPECT_EQ(h.cache->asks, 0) << "even finding the directory is the worker's";
    ASSERT_EQ(worker->pending(), 1u) << "the file is read ahead, while the debounce waits";
    h.queue->advance(Seconds{0.2});
    worker->runNext();
    worker->runNext();  // the request's encoding
    EXPECT_EQ(h.http->count("sessions"), 0u);
    EXPECT_EQ(headerValue(h.http->requestsTo("fermo_offers").at(0), "LX-Session-ID"), "S-stored");
    h.serveOffers();
    worker->runAll();

    const int asked = h.cache->asks;
    h.sdk->updateUser("user-2");
    EXPECT_EQ(storeText(h.dir), stored) << "nothing is written on the main context";
    EXPECT_EQ(h.cache->asks, asked);
    h.queue->advance(Seconds{0.2});
    worker->runNext();
    EXPECT_EQ(storeText(h.dir), "[]");
    worker->runNext();  // the refresh's encoding: a session for user-2, whose save queues behind
    h.queue->runPending();
    ASSERT_EQ(worker->pending(), 1u);
    worker->runNext();
    EXPECT_THAT(storeText(h.dir), HasSubstr("\"userId\":\"user-2\",\"sessionId\":\"S1\""));
}

// The session is looked up while the requests are still being encoded; a
// user change in between must not send the old user's session.
TEST_F(SessionFile, ASessionFoundWhileTheRequestsEncodeIsDroppedWhenTheUserChanges) {
    h.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
    h.queue->advance(Seconds{0.2});
    worker->runNext();  // the file, with S-stored, while the encoding still waits
    h.sdk->updateUser("user-2");
    for (int round = 0; round < 3; ++round) {
        worker->runAll();
        h.queue->advance(Seconds{0.2});
    }
    ASSERT_GE(h.http->count("fermo_offers"), 1u);
    for (const auto& request : h.http->requestsTo("fermo_offers"))
        EXPECT_EQ(headerValue(request, "LX-Session-ID"), "S1");
    EXPECT_EQ(partnerUserIdOf(h.http->requestsTo("sessions").at(0)), "user-2");
}

TEST_F(SessionFile, AUserChangeWhileTheFileIsReadDiscardsWhatItHeld) {
    h.sdk->cacheOffers({makeRoom("A1", "hotel-a")});  // the file is read ahead
    h.sdk->updateUser("user-2");
    worker->runAll();  // the read finishes after the change, then the emptying
    h.queue->advance(Seconds{0.2});
    worker->runAll();
    h.serveOffers();
    const auto asked = h.http->requestsTo("sessions");
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(partnerUserIdOf(asked[0]), "user-2");
    ASSERT_FALSE(h.http->requestsTo("fermo_offers").empty());
    for (const auto& request : h.http->requestsTo("fermo_offers"))
        EXPECT_EQ(headerValue(request, "LX-Session-ID"), "S1");
}

TEST_F(SessionFile, IsEmptiedAtTerminationWithoutWaitingForTheWorkerAndNoEarlierSaveLandsAfter) {
    h.clock->advance(Seconds{15 * 86400.0});  // the stored session has expired
    h.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
    h.queue->advance(Seconds{0.2});
    worker->runAll();
    h.queue->runPending();
    ASSERT_EQ(worker->pending(), 1u) << "the new session's save";
    ASSERT_EQ(storeText(h.dir), stored);
    ASSERT_NE(FacadeAccess::log(*h.sdk).get(), nullptr);

    h.sdk->applicationWillTerminate();
    EXPECT_EQ(storeText(h.dir), "[]");
    EXPECT_EQ(FacadeAccess::log(*h.sdk).get(), nullptr);
    worker->runAll();
    EXPECT_EQ(storeText(h.dir), "[]");
}

}  // namespace
}  // namespace lxhf::test

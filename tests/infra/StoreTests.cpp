#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <fstream>
#include <limits>
#include <string>

#include "infra/LoggerSlot.h"
#include "infra/SessionStore.h"
#include "support/FakeClock.h"
#include "support/FakeHttpClient.h"
#include "support/HostileJson.h"
#include "support/ManualQueue.h"
#include "support/RecordingSystemLog.h"
#include "support/TempDir.h"

namespace lxhf {
namespace {

using namespace std::chrono_literals;

constexpr Seconds kFourteenDays{1'209'600.0};
constexpr double kStart = 725'760'000.0;  // the fake clock's start, in seconds since 2001

LXSession makeSession(std::string sessionId) {
    LXSession session;
    session.userId = "user-1";
    session.sessionId = std::move(sessionId);
    session.createdOn = Date{kStart};
    session.device = LXDevice{"D-1", LXPlatform{LXOperatingSystem{"12", LXType::i_os}, LXSoftware::app},
                              LXHardware::mobile};
    return session;
}

class SessionStoreTest : public ::testing::Test {
protected:
    std::unique_ptr<SessionStore> newStore(std::size_t limit = kSessionStoreCountLimit) {
        return std::make_unique<SessionStore>(dateProviderOf(clock), kEntryLifetime, limit);
    }
    std::filesystem::path file() const { return dir / "sessionStore.cache"; }
    std::string fileText() const { return test::fileText(file()); }
    void save(SessionStore& store) { ASSERT_FALSE(store.saveToDisk("sessionStore", cache, slot)); }
    LXResult<std::unique_ptr<SessionStore>, StoreError> load() {
        return readSessionStore(*sessionStoreFile(cache, slot), dateProviderOf(clock));
    }

    test::FakeClock clock;
    test::TempDir dir;
    test::FixedCacheDirectory cache{dir.path()};
    LoggerSlot slot;
};

TEST_F(SessionStoreTest, CountLimitEvictionAndExpiryExactlyAtTheLifetime) {
    auto store = newStore(1);
    store->insert(makeSession("S-1"), "first");
    store->insert(makeSession("S-2"), "second");
    EXPECT_FALSE(store->value("first"));
    EXPECT_EQ(store->keys(), (std::unordered_set<std::string>{"second"}));

    // Replacing the only entry is not an eviction of itself, and moves its expiry.
    clock.advance(10s);
    store->insert(makeSession("S-3"), "second");
    ASSERT_TRUE(store->entry("second"));
    EXPECT_EQ(store->entry("second")->expirationDate.sinceReferenceDate, kStart + 10 + 1'209'600);
    clock.advance(kFourteenDays - 1s);
    EXPECT_EQ(store->value("second"), makeSession("S-3"));
    clock.advance(1s);
    EXPECT_FALSE(store->value("second"));
    EXPECT_EQ(store->count(), 0u);
    EXPECT_TRUE(store->keys().empty());

    store->insert(makeSession("S-4"), "third");
    store->removeValue("third");
    EXPECT_TRUE(store->keys().empty());
}

TEST_F(SessionStoreTest, FileHoldsLiveEntriesInTheirExactForm) {
    auto store = newStore();
    store->insert(makeSession("S-1"), std::string(kSessionStoreKey));
    save(*store);
    EXPECT_EQ(fileText(),
              R"([{"key":"session","value":{"userId":"user-1","sessionId":"S-1","createdOn":725760000,)"
              R"("device":{"id":"D-1","platform":{"operating_system":{"version":"12","type":"i_os"},"type":"app"},)"
              R"("type":"mobile"}},"expirationDate":726969600}])");

    // Absent optional fields are left out, not written as null.
    LXSession anonymous;
    anonymous.createdOn = Date{kStart + 0.5};
    store->insert(anonymous, "session");
    save(*store);
    EXPECT_EQ(fileText(), R"([{"key":"session","value":{"createdOn":725760000.5},"expirationDate":726969600}])");
    store->removeAll();
    save(*store);
    EXPECT_EQ(fileText(), "[]");

    auto unlimited = newStore(0);  // saving leaves expired entries out
    unlimited->insert(makeSession("S-old"), "old");
    clock.advance(kFourteenDays / 2);
    unlimited->insert(makeSession("S-new"), "new");
    clock.advance(kFourteenDays / 2);
    save(*unlimited);
    auto saved = nlohmann::json::parse(fileText());
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(saved[0]["key"], "new");
}

TEST_F(SessionStoreTest, RoundTripsKeepingTheStoredExpiryAndSurvivesAnInterruptedWrite) {
    auto store = newStore();
    store->insert(makeSession("S-1"), "session");
    save(*store);
    // A crash after the temporary file is written but before it is renamed.
    ASSERT_TRUE(writeTemporaryFileBeside(file(), R"([{"key":"session","val)").ok());

    clock.advance(1h);
    auto loaded = load();
    ASSERT_TRUE(loaded.ok()) << loaded.error().description;
    ASSERT_NE(loaded.value(), nullptr);
    EXPECT_EQ(loaded.value()->maximumEntryCount(), 1u);
    EXPECT_EQ(loaded.value()->entryLifetime(), 1'209'600.0);
    auto entry = loaded.value()->entry("session");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->value, makeSession("S-1"));
    EXPECT_EQ(entry->expirationDate.sinceReferenceDate, kStart + 1'209'600);  // not restamped

    store->insert(makeSession("S-new"), "session");  // the leftover does not block the next save
    save(*store);
    EXPECT_EQ(load().value()->value("session"), makeSession("S-new"));

    // Expired while on disk: loads, reads as absent and saves as [].
    clock.advance(kFourteenDays);
    auto stale = load();
    ASSERT_TRUE(stale.ok());
    EXPECT_EQ(stale.value()->keys().size(), 1u);
    EXPECT_FALSE(stale.value()->value("session"));
    save(*stale.value());
    EXPECT_EQ(fileText(), "[]");
}

TEST_F(SessionStoreTest, BadOrMissingFilesAreErrorValues) {
    const std::vector<std::string> cases = {
        "", "sessionStore", R"([{"key":"session","value":{"sessionId":"S-1")", R"({"key":"session"})",
        R"([{"key":"session","expirationDate":1}])", R"([{"key":"session","value":{"createdOn":1},"expirationDate":"soon"}])",
        "[null]", std::string("\0\xff\xfe[\x01", 5), std::string(100000, '['),
        // Valid, but far larger than any session store.
        R"([{"key":"session","value":{"createdOn":1,"pad":")" + std::string(2 << 20, 'x') + R"("},"expirationDate":1}])",
    };
    for (const auto& text : cases) {
        std::ofstream(file(), std::ios::binary | std::ios::trunc) << text;
        auto loaded = load();
        ASSERT_FALSE(loaded.ok()) << text.substr(0, 40);
        EXPECT_FALSE(loaded.error().description.empty());
    }
    // A session file holding a value nested 150,000 deep reads as undecodable.
    std::ofstream(file(), std::ios::binary | std::ios::trunc)
        << R"([{"key":"session","value":{"createdOn":1,"x":)" << test::nestedValue(150'000)
        << R"(},"expirationDate":1}])";
    auto deep = load();
    ASSERT_FALSE(deep.ok());
    EXPECT_EQ(deep.error().description, "dataCorrupted at the top level: the text is not valid JSON");

    std::filesystem::remove(file());
    auto missing = load();
    ASSERT_FALSE(missing.ok());
    EXPECT_FALSE(missing.error().description.empty());
}

TEST_F(SessionStoreTest, NonFiniteDatesFailTheSaveAndWriteNothing) {
    auto store = newStore();
    store->insert(makeSession("S-1"), "session");
    save(*store);
    const std::string before = fileText();
    const std::pair<double, std::string> cases[] = {{std::numeric_limits<double>::quiet_NaN(), "NaN"},
                                                     {-std::numeric_limits<double>::infinity(), "-infinity"}};
    for (const auto& [bad, named] : cases) {
        LXSession session = makeSession("S-2");
        session.createdOn = Date{bad};
        store->insert(session, "session");
        auto failed = store->saveToDisk("sessionStore", cache, slot);
        ASSERT_TRUE(failed) << named;
        EXPECT_EQ(failed->description,
                  "invalidValue at Index 0.value.createdOn: " + named + " has no JSON form");
        EXPECT_FALSE(store->encode().ok());  // the engine's background save
        EXPECT_EQ(fileText(), before);
    }
}

TEST_F(SessionStoreTest, MissingCacheDirectoryWarnsOnceAndIsNotAnError) {
    test::ManualQueue queue;
    test::FakeHttpClient http(queue);
    test::RecordingSystemLog systemLog;
    test::FixedCacheDirectory none(std::nullopt);
    auto store = newStore();
    store->insert(makeSession("S-1"), "session");
    EXPECT_FALSE(store->saveToDisk("sessionStore", none, slot));  // no logger: nothing logged

    slot.installOrRenew(LXLoggerConfig{"staging", "0.1.0", "en_US", "S-1"},
                        LoggerContext{http, systemLog, "https://intake.test/api/v2/logs"});
    EXPECT_FALSE(store->saveToDisk("sessionStore", none, slot));
    EXPECT_FALSE(sessionStoreFile(none, slot).has_value());
    ASSERT_EQ(http.requests().size(), 2u);
    for (const auto& request : http.requests()) {
        auto body = nlohmann::json::parse(request.body);
        EXPECT_EQ(body["message"], "Unexpected cache error");
        EXPECT_EQ(body["status"], "warn");
    }
    EXPECT_FALSE(std::filesystem::exists(file()));
}

}  // namespace
}  // namespace lxhf

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <fstream>
#include <sstream>
#include <string>

#include "infra/LoggerSlot.h"
#include "infra/SessionStore.h"
#include "support/FakeClock.h"
#include "support/FakeHttpClient.h"
#include "support/ManualQueue.h"
#include "support/RecordingSystemLog.h"
#include "support/TempDir.h"

namespace lxhf {
namespace {

using namespace std::chrono_literals;

constexpr Seconds kFourteenDays{1'209'600.0};

// 2024-01-01T00:00:00Z, the fake clock's start, as seconds since 2001.
constexpr double kStart = 725'760'000.0;

LXSession makeSession(std::string sessionId) {
    LXSession session;
    session.userId = "user-1";
    session.sessionId = std::move(sessionId);
    session.createdOn = Date{kStart};
    session.device = LXDevice{"D-1", LXPlatform{LXOperatingSystem{"12", LXType::i_os}, LXSoftware::app},
                              LXHardware::mobile};
    return session;
}

std::string readText(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeText(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

class SessionStoreTest : public ::testing::Test {
protected:
    std::unique_ptr<SessionStore> newStore(std::size_t limit = kSessionStoreCountLimit) {
        return std::make_unique<SessionStore>(dateProviderOf(clock), kEntryLifetime, limit);
    }
    std::filesystem::path file() const { return dir / "sessionStore.cache"; }
    LXResult<std::unique_ptr<SessionStore>, StoreError> load() {
        return loadSessionStore(cache, slot, dateProviderOf(clock));
    }

    test::FakeClock clock;
    test::TempDir dir;
    test::FixedCacheDirectory cache{dir.path()};
    LoggerSlot slot;
};

TEST_F(SessionStoreTest, CountLimitEvictsTheOlderEntryAndItsKey) {
    auto store = newStore(1);
    store->insert(makeSession("S-1"), "first");
    store->insert(makeSession("S-2"), "second");
    EXPECT_FALSE(store->value("first"));
    EXPECT_EQ(store->value("second"), makeSession("S-2"));
    EXPECT_EQ(store->keys(), (std::unordered_set<std::string>{"second"}));

    // Replacing the only entry is not an eviction of itself, and moves its expiry.
    clock.advance(10s);
    store->insert(makeSession("S-3"), "second");
    ASSERT_TRUE(store->entry("second"));
    EXPECT_EQ(store->entry("second")->value, makeSession("S-3"));
    EXPECT_EQ(store->entry("second")->expirationDate.sinceReferenceDate, kStart + 10 + 1'209'600);

    // Explicit removals leave the key set through the same path.
    store->removeValue("second");
    EXPECT_TRUE(store->keys().empty());

}

TEST_F(SessionStoreTest, EntryExpiresExactlyAtItsLifetime) {
    auto store = newStore();
    store->insert(makeSession("S-1"), "session");

    clock.advance(kFourteenDays - 1s);
    EXPECT_EQ(store->value("session"), makeSession("S-1"));

    clock.advance(1s);
    EXPECT_FALSE(store->value("session"));
    EXPECT_EQ(store->count(), 0u);
    EXPECT_TRUE(store->keys().empty());
}

TEST_F(SessionStoreTest, FileHoldsOneEntryInItsExactForm) {
    auto store = newStore();
    store->insert(makeSession("S-1"), std::string(kSessionStoreKey));
    ASSERT_FALSE(store->saveToDisk("sessionStore", cache, slot));

    EXPECT_EQ(readText(file()),
              R"([{"key":"session","value":{"userId":"user-1","sessionId":"S-1","createdOn":725760000,)"
              R"("device":{"id":"D-1","platform":{"operating_system":{"version":"12","type":"i_os"},"type":"app"},)"
              R"("type":"mobile"}},"expirationDate":726969600}])");

    // Absent optional fields are left out, not written as null.
    LXSession anonymous;
    anonymous.createdOn = Date{kStart + 0.5};
    store->insert(anonymous, "session");
    ASSERT_FALSE(store->saveToDisk("sessionStore", cache, slot));
    EXPECT_EQ(readText(file()), R"([{"key":"session","value":{"createdOn":725760000.5},"expirationDate":726969600}])");

    store->removeAll();
    ASSERT_FALSE(store->saveToDisk("sessionStore", cache, slot));
    EXPECT_EQ(readText(file()), "[]");
}

TEST_F(SessionStoreTest, SavingLeavesExpiredEntriesOut) {
    auto store = newStore(0);
    store->insert(makeSession("S-old"), "old");
    clock.advance(kFourteenDays / 2);
    store->insert(makeSession("S-new"), "new");
    clock.advance(kFourteenDays / 2);

    ASSERT_FALSE(store->saveToDisk("sessionStore", cache, slot));
    auto saved = nlohmann::json::parse(readText(file()));
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(saved[0]["key"], "new");
    EXPECT_EQ(store->keys(), (std::unordered_set<std::string>{"new"}));
}

TEST_F(SessionStoreTest, RoundTripsThroughTheFileWithoutCheckingExpiryOnLoad) {
    auto store = newStore();
    store->insert(makeSession("S-1"), "session");
    ASSERT_FALSE(store->saveToDisk("sessionStore", cache, slot));

    clock.advance(1h);
    auto loaded = load();
    ASSERT_TRUE(loaded.ok()) << loaded.error().description;
    ASSERT_NE(loaded.value(), nullptr);
    EXPECT_EQ(loaded.value()->maximumEntryCount(), 1u);
    EXPECT_EQ(loaded.value()->entryLifetime(), 1'209'600.0);
    auto entry = loaded.value()->entry("session");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->value, makeSession("S-1"));
    // The stored expiry is kept, not restamped at load.
    EXPECT_EQ(entry->expirationDate.sinceReferenceDate, kStart + 1'209'600);

    // An entry that expired while on disk loads, reads as absent and saves as [].
    clock.advance(kFourteenDays);
    auto stale = load();
    ASSERT_TRUE(stale.ok());
    EXPECT_EQ(stale.value()->keys().size(), 1u);
    EXPECT_FALSE(stale.value()->value("session"));
    ASSERT_FALSE(stale.value()->saveToDisk("sessionStore", cache, slot));
    EXPECT_EQ(readText(file()), "[]");
}

TEST_F(SessionStoreTest, BadFilesAreErrorValues) {
    const std::string good =
        R"([{"key":"session","value":{"sessionId":"S-1","createdOn":725760000},"expirationDate":726969600}])";
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"empty", ""},
        {"not JSON", "sessionStore"},
        {"truncated", good.substr(0, good.size() / 2)},
        {"object instead of array", R"({"key":"session"})"},
        {"entry without value", R"([{"key":"session","expirationDate":1}])"},
        {"date as text", R"([{"key":"session","value":{"createdOn":1},"expirationDate":"soon"}])"},
        {"null entry", "[null]"},
        {"binary", std::string("\0\xff\xfe[\x01", 5)},
        {"deep nesting", std::string(100000, '[')},
    };
    for (const auto& [name, text] : cases) {
        writeText(file(), text);
        auto loaded = load();
        EXPECT_FALSE(loaded.ok()) << name;
        if (!loaded.ok()) {
            EXPECT_FALSE(loaded.error().description.empty()) << name;
        }
    }

    std::filesystem::remove(file());
    auto missing = load();
    ASSERT_FALSE(missing.ok());
    EXPECT_FALSE(missing.error().description.empty());
}

TEST_F(SessionStoreTest, InterruptedWriteLeavesThePreviousFileReadable) {
    auto store = newStore();
    store->insert(makeSession("S-old"), "session");
    ASSERT_FALSE(store->saveToDisk("sessionStore", cache, slot));

    // A crash after the temporary file is written but before it is renamed.
    auto temporary = writeTemporaryFileBeside(file(), R"([{"key":"session","val)");
    ASSERT_TRUE(temporary.ok()) << temporary.error().description;

    auto loaded = load();
    ASSERT_TRUE(loaded.ok()) << loaded.error().description;
    EXPECT_EQ(loaded.value()->value("session"), makeSession("S-old"));

    // The next save still replaces the file despite the leftover.
    store->insert(makeSession("S-new"), "session");
    ASSERT_FALSE(store->saveToDisk("sessionStore", cache, slot));
    EXPECT_EQ(load().value()->value("session"), makeSession("S-new"));
}

TEST_F(SessionStoreTest, MissingCacheDirectoryWarnsOnceAndIsNotAnError) {
    test::ManualQueue queue;
    test::FakeHttpClient http(queue);
    test::RecordingSystemLog systemLog;
    test::FixedCacheDirectory none(std::nullopt);

    auto store = newStore();
    store->insert(makeSession("S-1"), "session");
    // Without a logger nothing is logged, and nothing fails.
    EXPECT_FALSE(store->saveToDisk("sessionStore", none, slot));

    slot.installOrRenew(LXLoggerConfig{"staging", "0.1.0", "en_US", "S-1"},
                        LoggerContext{http, systemLog, "https://intake.test/api/v2/logs"});
    EXPECT_FALSE(store->saveToDisk("sessionStore", none, slot));
    auto loaded = loadSessionStore(none, slot);
    ASSERT_TRUE(loaded.ok());
    EXPECT_EQ(loaded.value(), nullptr);

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

#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/file.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "infra/SessionStore.h"
#include "platform/CacheDirectory.h"
#include "platform/UserCacheDirectory.h"
#include "support/TempDir.h"

namespace lxhf {
namespace {

std::vector<std::string> namesIn(const std::filesystem::path& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(AtomicFileWrite, ReplacesTheWholeFileAndClearsWhatKilledWritesLeft) {
    test::TempDir dir;
    auto file = dir / "session.json";
    ASSERT_FALSE(writeWholeFileAtomically(file, std::string("a much longer first version\0with a NUL", 38)));
    ASSERT_FALSE(writeWholeFileAtomically(file, "old"));
    EXPECT_EQ(*readWholeFile(file), "old");
    EXPECT_EQ(namesIn(dir.path()), (std::vector<std::string>{"session.json"}));

    // Killed writes leave temporary files behind. One locked before it had
    // a name is left over once nobody holds it; one made under its name (as
    // on filesystems without unnamed files) only once it is old, as its
    // writer may not have locked it yet.
    auto killed = writeTemporaryFileBeside(file, "never committed");
    ASSERT_TRUE(killed.ok());
    EXPECT_EQ(killed->parent_path(), dir.path());
    const auto madeNamed = [&](const std::string& suffix, int ageSeconds) {
        const auto path = dir / (".session.json.tmp-" + suffix);
        std::ofstream(path) << "partial";
        std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() -
                                                   std::chrono::seconds(ageSeconds));
        return path;
    };
    const auto young = madeNamed("young1", 0), live = madeNamed("live01", 5);
    madeNamed("old001", 5);
    int liveFd = open(live.c_str(), O_RDONLY);
    ASSERT_EQ(flock(liveFd, LOCK_EX), 0);  // another process, still writing
    EXPECT_EQ(*readWholeFile(file), "old");
    ASSERT_FALSE(writeWholeFileAtomically(file, ""));
    EXPECT_EQ(*readWholeFile(file), "");
    EXPECT_EQ(namesIn(dir.path()),
              (std::vector<std::string>{live.filename(), young.filename(), "session.json"}));
    close(liveFd);
    std::filesystem::last_write_time(young, std::filesystem::file_time_type::clock::now() - std::chrono::seconds(5));
    ASSERT_FALSE(writeWholeFileAtomically(file, "next"));
    EXPECT_EQ(namesIn(dir.path()), (std::vector<std::string>{"session.json"}));
}

TEST(AtomicFileWrite, FailuresAreDescribedValuesAndLeaveNoTemp) {
    test::TempDir dir;
    auto written = writeWholeFileAtomically(dir / "absent" / "session.json", "data");
    ASSERT_TRUE(written.has_value());
    EXPECT_NE(written->description.find("session.json"), std::string::npos);
    auto read = readWholeFile(dir / "nothing.json");
    ASSERT_FALSE(read.ok());
    EXPECT_FALSE(read.error().description.empty());

    // Renaming onto a directory fails after the temp was written: it must go.
    std::filesystem::create_directory(dir / "taken");
    std::ofstream(dir / "taken" / "inside") << "x";
    EXPECT_TRUE(writeWholeFileAtomically(dir / "taken", "data").has_value());
    EXPECT_EQ(namesIn(dir.path()), (std::vector<std::string>{"taken"}));
}

TEST(SessionFileUnderKill, IsAbsentOrOneWholeSessionWhateverMomentTheWriterDies) {
    test::TempDir dir;
    const auto file = dir / "sessionStore.cache";
    int whole = 0;
    for (int round = 0; round < 100; ++round) {
        const char* argv[] = {LXHF_SESSION_WRITER, dir.path().c_str(), nullptr};
        GPid writer = 0;
        ASSERT_TRUE(g_spawn_async(nullptr, const_cast<char**>(argv), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr,
                                  nullptr, &writer, nullptr));
        g_usleep(g_random_int_range(1'000, 30'000));
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        if (!std::filesystem::exists(file)) continue;
        auto store = readSessionStore(file, systemNow);
        ASSERT_TRUE(store.ok()) << "torn in round " << round << ": " << store.error().description;
        const auto session = store.value()->value("session");
        ASSERT_TRUE(session.has_value());
        EXPECT_TRUE(session->sessionId == "S-short" || session->sessionId == "S-long");
        ++whole;
    }
    EXPECT_GT(whole, 50) << "the writer hardly ever wrote";
    // A killed write leaves nothing or, killed in the instant between naming
    // and renaming, one file that the next write clears.
    EXPECT_LE(namesIn(dir.path()).size(), 2u);
}

TEST(UserCacheDirectory, IsMadeOnDemandOrAbsentWhenItCannotBe) {
    test::TempDir dir;
    UserCacheDirectory nested(dir / "a" / "b" / "LXHotelsFermo");
    ASSERT_TRUE(nested.path().has_value());
    std::filesystem::remove_all(dir / "a");
    EXPECT_TRUE(nested.path().has_value());  // removed while running: made again
    EXPECT_TRUE(std::filesystem::is_directory(dir / "a" / "b" / "LXHotelsFermo"));
    std::ofstream(dir / "plain-file") << "x";
    EXPECT_FALSE(UserCacheDirectory(dir / "plain-file" / "LXHotelsFermo").path().has_value());
    EXPECT_EQ(UserCacheDirectory().location(), std::filesystem::path(g_get_user_cache_dir()) / "LXHotelsFermo");
}

}  // namespace
}  // namespace lxhf

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/TempDir.h"

extern "C" int lxhfFuzzRecordDecode(const std::uint8_t* data, std::size_t size);
extern "C" int lxhfFuzzSessionStore(const std::uint8_t* data, std::size_t size);
extern "C" int lxhfFuzzBridgeMessage(const std::uint8_t* data, std::size_t size);
extern "C" int lxhfFuzzMicrositeAddress(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const fs::path& dir) {
    std::vector<fs::path> files;
    if (!fs::is_directory(dir)) return files;
    for (const auto& entry : fs::directory_iterator(dir))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

// A harness aborts on a broken property, so a bad input fails the run.
TEST(FuzzRegression, EveryHarnessRunsCleanOverItsSeedsAndSavedCrashes) {
    const std::pair<const char*, int (*)(const std::uint8_t*, std::size_t)> harnesses[] = {
        {"record_decode", lxhfFuzzRecordDecode}, {"session_store", lxhfFuzzSessionStore},
        {"bridge_message", lxhfFuzzBridgeMessage}, {"microsite_address", lxhfFuzzMicrositeAddress}};
    const fs::path root(LXHF_FUZZ_DIR);
    for (const auto& [name, entry] : harnesses) {
        auto files = filesIn(root / "corpus" / name);
        EXPECT_FALSE(files.empty()) << "no seed corpus for " << name;
        for (auto& saved : filesIn(root / "regressions" / name)) files.push_back(std::move(saved));
        for (const auto& file : files) {
            SCOPED_TRACE(file.string());
            const std::string bytes = lxhf::test::fileText(file);
            EXPECT_EQ(entry(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), 0);
        }
    }
}

}  // namespace

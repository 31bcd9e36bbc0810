#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/TempDir.h"

extern "C" int lxhfFuzzRecordDecode(const std::uint8_t* data, std::size_t size);
extern "C" int lxhfFuzzSessionStore(const std::uint8_t* data, std::size_t size);
extern "C" int lxhfFuzzBridgeMessage(const std::uint8_t* data, std::size_t size);
extern "C" int lxhfFuzzMicrositeAddress(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

struct Harness {
    const char* name;
    int (*entry)(const std::uint8_t*, std::size_t);
};

void PrintTo(const Harness& harness, std::ostream* out) { *out << harness.name; }

std::vector<fs::path> filesIn(const fs::path& dir) {
    std::vector<fs::path> files;
    if (!fs::is_directory(dir)) return files;
    for (const auto& entry : fs::directory_iterator(dir))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

class FuzzRegression : public ::testing::TestWithParam<Harness> {};

// A harness aborts on a broken property, so a bad input fails the run.
TEST_P(FuzzRegression, SeedsAndSavedCrashesRunClean) {
    const fs::path root(LXHF_FUZZ_DIR);
    const auto seeds = filesIn(root / "corpus" / GetParam().name);
    ASSERT_FALSE(seeds.empty()) << "no seed corpus for " << GetParam().name;
    auto files = seeds;
    for (auto& saved : filesIn(root / "regressions" / GetParam().name)) files.push_back(std::move(saved));
    for (const auto& file : files) {
        SCOPED_TRACE(file.string());
        const std::string bytes = lxhf::test::fileText(file);
        EXPECT_EQ(GetParam().entry(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Harnesses, FuzzRegression,
                         ::testing::Values(Harness{"record_decode", lxhfFuzzRecordDecode},
                                           Harness{"session_store", lxhfFuzzSessionStore},
                                           Harness{"bridge_message", lxhfFuzzBridgeMessage},
                                           Harness{"microsite_address", lxhfFuzzMicrositeAddress}),
                         [](const ::testing::TestParamInfo<Harness>& info) { return std::string(info.param.name); });

}  // namespace

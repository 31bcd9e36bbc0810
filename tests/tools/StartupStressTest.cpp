// The engine's first use, in fresh processes, many at once. A start that can
// hang (two threads making the same GLib types at once) shows up here as a
// child that never publishes its first answer.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "FermoTestService.h"
#include "LxfermoProcess.h"
#include "support/TempDir.h"

namespace lxhf::test {
namespace {

using Clock = std::chrono::steady_clock;

int fromEnvironment(const char* name, int fallback) {
    const char* text = std::getenv(name);
    const int value = text ? std::atoi(text) : 0;
    return value > 0 ? value : fallback;
}

Json oneRoom(int start) {
    const std::string id = "R" + std::to_string(start);
    return Json::array({{{"booking", {{"stayDates", {{"checkIn", "2026-05-01"}, {"checkOut", "2026-05-03"}}},
                                      {"guests", {{"adults", 2}, {"children", 0}}}, {"locale", "en_GB"},
                                      {"currency", "GBP"}, {"numberOfRooms", 1}}},
                         {"hotel", {{"id", "H1"}, {"name", "Hotel"}, {"starRating", "4"},
                                    {"address", {{"line", "1 Quay"}, {"city", "Bristol"}, {"countryCode", "GB"}}}}},
                         {"room", {{"id", id}, {"merchantId", "M"}, {"name", "Room " + id}, {"beds", 1},
                                   {"price", "90.00"}, {"roomType", "single"}, {"cancellationCode", "NR"},
                                   {"rateCategoryId", "RC"}, {"availability", 1}, {"imageUrl", "https://img.example/r"},
                                   {"priceInclusive", "90.00"}, {"extAttributes", Json::object()}}}}});
}

bool isSettled(const Json& event) {
    if (event.value("event", "") != "offers" || event["offers"].size() != 1) return false;
    return !event["offers"][0]["state"].contains("loading");
}

// What every thread of a hung child is doing, when gdb is there to ask.
std::string stacksOf(const std::string& pid) {
    if (pid.empty() || !g_find_program_in_path("gdb")) return "(no gdb: no stacks)";
    const std::string command = "gdb -p " + pid + " -batch -ex 'thread apply all bt' 2>&1";
    std::string out;
    if (FILE* pipe = popen(command.c_str(), "r")) {
        char buffer[4096];
        while (std::size_t n = fread(buffer, 1, sizeof buffer, pipe)) out.append(buffer, n);
        pclose(pipe);
    }
    return out;
}

struct Start {
    std::unique_ptr<LxfermoProcess> host;
    Clock::time_point began;
};

TEST(StartupStress, EveryFreshProcessPublishesItsFirstAnswerInTime) {
    testing::FermoTestService service;
    std::string error;
    ASSERT_TRUE(service.startOnOwnThread(&error)) << error;
    TempDir cache;
    const int starts = fromEnvironment("LXHF_STARTS", LXHF_DEFAULT_STARTS);
    const int parallel = fromEnvironment("LXHF_STARTS_PARALLEL", 8);
    const auto limit = std::chrono::seconds(LXHF_START_LIMIT_SECONDS);

    const std::vector<std::string> args{"host", "--api-base", service.apiBase(), "--microsite-base",
                                        service.micrositeBase(), "--ca-file", service.caFile(), "--cache-dir",
                                        cache.path().string(), "--intake-url", service.intakeUrl()};
    int hung = 0, finished = 0;
    for (int first = 0; first < starts && hung == 0; first += parallel) {
        std::vector<Start> wave;
        for (int i = first; i < std::min(starts, first + parallel); ++i) {
            Start start{std::make_unique<LxfermoProcess>(args), Clock::now()};
            ASSERT_TRUE(start.host->started());
            start.host->send(Json{{"cmd", "configure"}, {"token", "partner-token"}, {"environment", "production"}});
            start.host->send(Json{{"cmd", "cacheOffers"}, {"rooms", oneRoom(i)}});
            wave.push_back(std::move(start));
        }
        for (auto& [host, began] : wave) {
            const double left = std::chrono::duration<double>(began + limit - Clock::now()).count();
            if (host->eventWhere(isSettled, std::max(left, 0.1))) {
                ++finished;
                continue;
            }
            ++hung;
            ADD_FAILURE() << "start " << finished + hung << " published nothing within " << limit.count()
                          << " s; seen " << Json(host->seen()).dump() << "\n" << stacksOf(host->pid());
        }
    }
    EXPECT_EQ(finished, starts);
    RecordProperty("starts", finished);
}

}  // namespace
}  // namespace lxhf::test

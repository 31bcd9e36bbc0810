// What lxfermo does with its command line, and `lxfermo sim` end to end.

#include <gtest/gtest.h>
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "LxfermoProcess.h"
#include "support/TempDir.h"

namespace {

using lxhf::test::runLxfermo;
using ::testing::HasSubstr;

TEST(LxfermoCommandLine, UnusableArgumentsExitWithTwoAndSayWhy) {
    struct Case {
        std::vector<std::string> args;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{}, "Usage: lxfermo <command>"},
        {{"serve"}, "unknown command 'serve'"},
        {{"host", "--api"}, "unknown option '--api'"},
        {{"host", "--api-base"}, "option '--api-base' needs a value"},
        {{"host", "--ca-file", "--cache-dir", "/tmp"}, "option '--ca-file' needs a value"},
        {{"host", "stray"}, "unexpected argument 'stray'"},
        {{"sim", "--port", "70000"}, "--port needs a number from 1 to 65535"},
        {{"sim", "--port", "12ab"}, "--port needs a number"},
        {{"demo", "--terminal=yes"}, "option '--terminal' takes no value"},
    };
    for (const auto& c : cases) {
        const auto run = runLxfermo(c.args);
        EXPECT_EQ(run.exitCode, 2) << ::testing::PrintToString(c.args);
        EXPECT_THAT(run.err, HasSubstr(c.message)) << ::testing::PrintToString(c.args);
        EXPECT_EQ(run.out, "") << ::testing::PrintToString(c.args);
    }
}

TEST(LxfermoCommandLine, HelpForEachCommandGoesToStdout) {
    for (const std::string command : {"host", "sim", "demo"}) {
        const auto run = runLxfermo({command, "--help"});
        EXPECT_EQ(run.exitCode, 0) << command;
        EXPECT_THAT(run.out, HasSubstr("Usage: lxfermo " + command)) << command;
    }
    EXPECT_THAT(runLxfermo({"host", "--help"}).out, HasSubstr("--intake-url URL"));
}

TEST(LxfermoSim, PrintsWhereItServesLoadsFaultsAndStopsOnSigterm) {
    lxhf::test::TempDir dir;
    {
        std::ofstream faults(dir / "faults.json");
        faults << R"({"sessions": {"status": 503, "count": 1}})";
    }
    lxhf::test::LxfermoProcess sim({"sim", "--faults", (dir / "faults.json").string()});
    ASSERT_TRUE(sim.started());
    std::vector<std::string> lines;
    while (auto line = sim.nextLine(20)) {
        lines.push_back(*line);
        if (line->rfind("Press Ctrl-C", 0) == 0) break;
    }
    const std::string text = ::testing::PrintToString(lines);
    ASSERT_GE(lines.size(), 2u) << text;
    EXPECT_THAT(lines[0], ::testing::StartsWith("Fermo test service at https://127.0.0.1:")) << text;
    const auto caLine = std::find_if(lines.begin(), lines.end(),
                                     [](const std::string& l) { return l.find("CA file:") != std::string::npos; });
    ASSERT_NE(caLine, lines.end()) << text;
    const std::filesystem::path caFile = caLine->substr(caLine->find('/'));
    EXPECT_TRUE(caFile.is_absolute());
    EXPECT_TRUE(std::filesystem::exists(caFile)) << caFile;
    EXPECT_THAT(text, HasSubstr("faults from:"));

    sim.signal(SIGTERM);
    EXPECT_EQ(sim.exitCode(10), 0);
}

TEST(LxfermoSim, RefusesAnUnreadableOrBrokenFaultsFile) {
    lxhf::test::TempDir dir;
    {
        std::ofstream faults(dir / "broken.json");
        faults << R"({"sessions": {"status": "five hundred"}})";
    }
    auto missing = runLxfermo({"sim", "--faults", (dir / "none.json").string()});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("cannot read the faults file"));
    auto broken = runLxfermo({"sim", "--faults", (dir / "broken.json").string()});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_THAT(broken.err, HasSubstr("status must be an integer"));
}

}  // namespace

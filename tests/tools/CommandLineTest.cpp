// What lxfermo does with its command line, and `lxfermo sim` end to end.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "LxfermoProcess.h"
#include "support/TempDir.h"

namespace lxhf::test {
namespace {

using ::testing::HasSubstr;

TEST(LxfermoCommandLine, UnusableArgumentsExitWithTwoAndHelpGoesToStdout) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
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
    for (const auto& [args, message] : cases) {
        SCOPED_TRACE(::testing::PrintToString(args));
        const auto run = runLxfermo(args);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_EQ(run.out, "");
    }
    for (const std::string command : {"host", "sim", "demo"}) {
        const auto run = runLxfermo({command, "--help"});
        EXPECT_EQ(run.exitCode, 0) << command;
        EXPECT_THAT(run.out, HasSubstr("Usage: lxfermo " + command)) << command;
    }
}

TEST(LxfermoSim, ServesWithFaultsStopsOnSigtermAndRefusesBadFaultsFiles) {
    TempDir dir;
    std::ofstream(dir / "faults.json") << R"({"sessions": {"status": 503, "count": 1}})";
    std::ofstream(dir / "broken.json") << R"({"sessions": {"status": "five hundred"}})";
    LxfermoProcess sim({"sim", "--faults", (dir / "faults.json").string()});
    std::string text;
    while (auto line = sim.nextLine(20)) {
        text += *line + "\n";
        if (line->rfind("Press Ctrl-C", 0) == 0) break;
    }
    EXPECT_THAT(text, ::testing::StartsWith("Fermo test service at https://127.0.0.1:"));
    EXPECT_THAT(text, HasSubstr("faults from:"));
    const auto ca = text.find("CA file:");
    ASSERT_NE(ca, std::string::npos) << text;
    const auto from = text.find('/', ca);
    const std::filesystem::path caFile = text.substr(from, text.find('\n', from) - from);
    EXPECT_TRUE(std::filesystem::exists(caFile)) << caFile;
    sim.signal(SIGTERM);
    EXPECT_EQ(sim.exitCode(10), 0);

    const auto missing = runLxfermo({"sim", "--faults", (dir / "none.json").string()});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("cannot read the faults file"));
    const auto broken = runLxfermo({"sim", "--faults", (dir / "broken.json").string()});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_THAT(broken.err, HasSubstr("status must be an integer"));
}

}  // namespace
}  // namespace lxhf::test

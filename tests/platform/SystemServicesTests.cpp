#include <gio/gio.h>
#include <gtest/gtest.h>

#include "platform/GLibMainQueue.h"
#include "platform/GLibSystemLog.h"
#include "platform/SystemDeviceInfo.h"
#include "platform/SystemNetworkMonitor.h"
#include "support/MainLoop.h"

namespace lxhf {
namespace {

TEST(SystemDeviceInfo, VersionIdIsReadUnquotedAndTheDeviceIsNoTabletUnlessSaid) {
    EXPECT_EQ(SystemDeviceInfo::versionIdOf("NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nID=debian\n"), "12");
    EXPECT_EQ(SystemDeviceInfo::versionIdOf("ID=fedora\nVERSION_ID=39\r\n"), "39");
    EXPECT_EQ(SystemDeviceInfo::versionIdOf("ID=ubuntu\nVERSION_ID='22.04'"), "22.04");
    EXPECT_EQ(SystemDeviceInfo::versionIdOf("ID=arch\nMY_VERSION_ID=7\n"), "");
    EXPECT_FALSE(SystemDeviceInfo().isTablet());
    EXPECT_TRUE(SystemDeviceInfo(true).isTablet());
    EXPECT_FALSE(SystemDeviceInfo().systemVersion().empty());
}

TEST(SystemNetworkMonitor, ReportsAfterStartAndEveryNewPathButNothingAfterDestruction) {
    GLibMainQueue queue;
    std::vector<bool> reports;
    SystemNetworkMonitor monitor(queue, "http://127.0.0.1:9/api");
    monitor.start([&](bool satisfied) { reports.push_back(satisfied); });
    EXPECT_TRUE(reports.empty());  // never inside start()
    ASSERT_TRUE(test::runMainLoopUntil([&] { return !reports.empty(); }, 5.0));
    test::runMainLoopFor(0.2);
    EXPECT_EQ(reports, std::vector<bool>{true});

    // A roam (wired after Wi-Fi, a VPN up) changes the path, not availability.
    for (int i = 0; i < 2; ++i) g_signal_emit_by_name(g_network_monitor_get_default(), "network-changed", TRUE);
    ASSERT_TRUE(test::runMainLoopUntil([&] { return reports.size() == 3; }, 5.0));
    EXPECT_EQ(reports, (std::vector<bool>{true, true, true}));

    int late = 0;
    auto gone = std::make_unique<SystemNetworkMonitor>(queue, "127.0.0.1", 9);
    gone->start([&](bool) { ++late; });
    gone.reset();
    test::runMainLoopFor(0.3);
    EXPECT_EQ(late, 0);
}

struct LoggedLine {
    GLogLevelFlags level;
    std::string priority;
};
std::vector<LoggedLine> loggedLines;

// Records each line, then hands it to GLib's own writer, which aborts on a
// level the process made fatal.
GLogWriterOutput recordingWriter(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer data) {
    LoggedLine line{level, ""};
    for (gsize i = 0; i < count; ++i)
        if (g_strcmp0(fields[i].key, "PRIORITY") == 0) line.priority = static_cast<const char*>(fields[i].value);
    loggedLines.push_back(line);
    return g_log_writer_default(level, fields, count, data);
}

TEST(GLibSystemLog, ErrorsSurviveFatalWarningsYetKeepTheirJournalPriority) {
    g_log_set_writer_func(recordingWriter, nullptr, nullptr);
    // What G_DEBUG=fatal-warnings and g_test_init() do.
    const GLogLevelFlags previous = g_log_set_always_fatal(GLogLevelFlags(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
    GLibSystemLog log;
    log.write(SystemLog::Type::error, "[LXHotelsFermoSDK] : No offers fetched");
    log.write(SystemLog::Type::info, std::string("[LXHotelsFermoSDK] : a\0b", 24));
    g_log_set_always_fatal(previous);

    ASSERT_EQ(loggedLines.size(), 2u);
    EXPECT_EQ(loggedLines[0].level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING), 0);
    EXPECT_EQ(loggedLines[0].priority, "3");
    EXPECT_EQ(loggedLines[1].level, G_LOG_LEVEL_INFO);
    EXPECT_EQ(loggedLines[1].priority, "6");
}

}  // namespace
}  // namespace lxhf

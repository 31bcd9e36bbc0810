#include <gtest/gtest.h>

#include "platform/GLibMainQueue.h"
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

TEST(SystemNetworkMonitor, ReportsOnceAfterStartAndNothingAfterDestruction) {
    GLibMainQueue queue;
    std::vector<bool> reports;
    SystemNetworkMonitor monitor(queue, "http://127.0.0.1:9/api");
    monitor.start([&](bool satisfied) { reports.push_back(satisfied); });
    EXPECT_TRUE(reports.empty());  // never inside start()
    ASSERT_TRUE(test::runMainLoopUntil([&] { return !reports.empty(); }, 5.0));
    test::runMainLoopFor(0.2);
    EXPECT_EQ(reports, std::vector<bool>{true});

    int late = 0;
    auto gone = std::make_unique<SystemNetworkMonitor>(queue, "127.0.0.1", 9);
    gone->start([&](bool) { ++late; });
    gone.reset();
    test::runMainLoopFor(0.3);
    EXPECT_EQ(late, 0);
}

}  // namespace
}  // namespace lxhf

#pragma once

#include <string>

#include "platform/DeviceInfo.h"

namespace lxhf {

// This machine as the service sees it. Immutable after construction; any thread.
class SystemDeviceInfo final : public DeviceInfo {
public:
    // Desktops are not tablets unless the host says so.
    explicit SystemDeviceInfo(bool isTablet = false);

    bool isTablet() const override { return isTablet_; }
    std::string systemVersion() const override { return systemVersion_; }

    // VERSION_ID of an os-release text, unquoted; empty when missing.
    static std::string versionIdOf(const std::string& osRelease);

private:
    bool isTablet_;
    std::string systemVersion_;
};

}  // namespace lxhf

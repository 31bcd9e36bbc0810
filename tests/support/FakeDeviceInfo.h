#pragma once

#include <string>

#include "platform/DeviceInfo.h"

namespace lxhf::test {

// A device whose answers the test sets directly.
class FakeDeviceInfo final : public DeviceInfo {
public:
    bool tablet = false;
    std::string version = "12";

    bool isTablet() const override { return tablet; }
    std::string systemVersion() const override { return version; }
};

}  // namespace lxhf::test

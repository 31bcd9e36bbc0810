#pragma once

#include <string>

#include "platform/DeviceInfo.h"

namespace lxhf::test {

// A phone on system version 12.
class FakeDeviceInfo final : public DeviceInfo {
public:
    bool isTablet() const override { return false; }
    std::string systemVersion() const override { return "12"; }
};

}  // namespace lxhf::test

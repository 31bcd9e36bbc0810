#pragma once

#include <string>

namespace lxhf {

class DeviceInfo {
public:
    virtual ~DeviceInfo() = default;
    virtual bool isTablet() const = 0;
    virtual std::string systemVersion() const = 0;
};

}  // namespace lxhf

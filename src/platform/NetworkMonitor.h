#pragma once

#include <functional>

namespace lxhf {

// Reports whether the network path is usable. `onChange` runs on the main
// context, first shortly after start() and then on every change.
class NetworkMonitor {
public:
    virtual ~NetworkMonitor() = default;
    virtual void start(std::function<void(bool satisfied)> onChange) = 0;
};

}  // namespace lxhf

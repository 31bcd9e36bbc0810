#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/MainQueue.h"
#include "platform/NetworkMonitor.h"

namespace lxhf {

// Watches GNetworkMonitor; reports on `queue`, which must outlive it. Main
// context only. After destruction no report is delivered.
class SystemNetworkMonitor final : public NetworkMonitor {
public:
    // The path counts as satisfied when the network is available or the API
    // host can be reached: a loopback-only namespace has no "network" yet a
    // local service must work.
    SystemNetworkMonitor(MainQueue& queue, std::string apiHost, std::uint16_t apiPort);
    // Takes host and port from the API base URL (port from the scheme if absent).
    SystemNetworkMonitor(MainQueue& queue, std::string_view apiBaseUrl);
    ~SystemNetworkMonitor() override;
    SystemNetworkMonitor(const SystemNetworkMonitor&) = delete;
    SystemNetworkMonitor& operator=(const SystemNetworkMonitor&) = delete;

    void start(std::function<void(bool satisfied)> onChange) override;

    struct State;

private:
    std::shared_ptr<State> state_;
};

}  // namespace lxhf

#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/MainQueue.h"
#include "platform/NetworkMonitor.h"

namespace lxhf::test {

// Reachability flipped by the test. Single threaded.
class ManualNetworkMonitor final : public NetworkMonitor {
public:
    // With a queue, the first report is posted there, as the real monitor
    // does; without one it is delivered inside start().
    explicit ManualNetworkMonitor(bool satisfied = true, MainQueue* firstReportQueue = nullptr)
        : satisfied_(satisfied), firstReportQueue_(firstReportQueue) {}

    void start(std::function<void(bool satisfied)> onChange) override {
        onChange_ = std::move(onChange);
        if (firstReportQueue_ == nullptr) {
            onChange_(satisfied_);
            return;
        }
        firstReportQueue_->post([this, alive = std::weak_ptr<bool>(alive_)] {
            if (alive.lock() && onChange_) onChange_(satisfied_);
        });
    }

    // A new path, delivered synchronously once started; a satisfied path
    // after a satisfied one is a roam (another interface, a VPN).
    void setSatisfied(bool satisfied) {
        satisfied_ = satisfied;
        if (onChange_) onChange_(satisfied_);
    }

private:
    bool satisfied_;
    MainQueue* firstReportQueue_;
    std::function<void(bool)> onChange_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace lxhf::test

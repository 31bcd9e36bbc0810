#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/ServiceApi.h"
#include "core/SessionSource.h"
#include "infra/Debouncer.h"
#include "infra/LoggerSlot.h"
#include "model/SessionRecords.h"
#include "platform/Clock.h"
#include "platform/MainQueue.h"

namespace lxhf {

// Reports shown offers: one "offer_shown" event per offer id, queued in
// memory and posted in one batch after a 2 s quiet period. Main context
// only; callbacks hold it weakly.
class EventReporter : public std::enable_shared_from_this<EventReporter> {
public:
    EventReporter(SessionSource& sessions, ServiceApi& api, MainQueue& queue, const Clock& clock, LoggerSlot& log,
                  const bool& networkConnected);

    // Fails with "queueEvent error accessing sessionId" while there is no session id.
    LXResult<bool, LXErrorInfo> onShown(const LXOfferResponse& response);
    void resume();

    const std::vector<LXEvent>& queued() const noexcept { return queue_; }
    const std::vector<std::string>& processed() const noexcept { return processed_; }

private:
    void sendEvents();
    void applyAnswer(const HttpResult& result);

    SessionSource& sessions_;
    ServiceApi& api_;
    MainQueue& mainQueue_;
    const Clock& clock_;
    LoggerSlot& log_;
    const bool& networkConnected_;
    std::vector<LXEvent> queue_;
    std::vector<std::string> processed_;
    std::unique_ptr<Debouncer> debouncer_;
};

}  // namespace lxhf

#include "core/EventReporter.h"

#include <algorithm>

#include "model/ErrorInfo.h"

namespace lxhf {
namespace {
constexpr Seconds kEventsDelay{2.0};
constexpr std::size_t kBound = 100;
constexpr const char* kOfferShown = "offer_shown";

template <class T>
void keepLast(std::vector<T>& v, std::size_t n) {
    if (v.size() > n) v.erase(v.begin(), v.end() - std::ptrdiff_t(n));
}
}  // namespace

EventReporter::EventReporter(SessionSource& sessions, ServiceApi& api, MainQueue& queue, const Clock& clock,
                             LoggerSlot& log, const bool& networkConnected)
    : sessions_(sessions), api_(api), mainQueue_(queue), clock_(clock), log_(log),
      networkConnected_(networkConnected),
      debouncer_(std::make_unique<Debouncer>(queue, kEventsDelay, [] {})) {}

LXResult<bool, LXErrorInfo> EventReporter::onShown(const LXOfferResponse& response) {
    const std::string& offerId = response.offer.id;
    if (std::find(processed_.begin(), processed_.end(), offerId) != processed_.end()) return false;
    for (const auto& event : queue_)
        if (event.fermoOfferId == offerId) return false;

    const auto sessionId = sessions_.inMemorySessionId();
    if (!sessionId) return makeError("queueEvent error accessing sessionId");
    queue_.push_back({*sessionId, formatEventTimestamp(clock_.now()), offerId, kOfferShown});

    std::weak_ptr<EventReporter> weak = weak_from_this();
    debouncer_ = std::make_unique<Debouncer>(mainQueue_, kEventsDelay, [weak] {
        if (auto self = weak.lock()) self->sendEvents();
    });
    if (networkConnected_) debouncer_->call();
    return true;
}

void EventReporter::resume() {
    if (!queue_.empty()) debouncer_->call();
}

void EventReporter::sendEvents() {
    // A path flap can re-arm the timer while a send is in flight whose 204
    // then empties the queue; an empty batch reports nothing.
    if (queue_.empty()) return;
    auto url = api_.endpoint(api::kEventsPath);
    if (!url) return;  // "onShown error accessing server endpoint": ends the send, queue kept
    auto body = api_.encoder().tryEncode(queue_);
    if (!body) return logWarn(log_, "Error encoding onShown requestData:\n" + body.error().description());
    std::weak_ptr<EventReporter> weak = weak_from_this();
    api_.post(*url, std::move(body.value()), std::nullopt, [weak](HttpResult result) {
        if (auto self = weak.lock()) self->applyAnswer(result);
    });
}

void EventReporter::applyAnswer(const HttpResult& result) {
    // A transport failure ends the send with the queue as it was.
    if (!result) return;
    const HttpResponse& response = result.value();
    if (response.status == api::kNoContent) {
        // Events queued while the request was in flight count as sent too.
        const auto sent = queue_;
        for (const auto& event : sent) {
            processed_.push_back(event.fermoOfferId);
            std::erase_if(queue_, [&](const LXEvent& e) { return e.fermoOfferId == event.fermoOfferId; });
        }
        keepLast(processed_, kBound);
    } else {
        logWarn(log_, "onShown event error, code 204 not received: " + describe(response));
    }
    keepLast(queue_, kBound);
}

}  // namespace lxhf

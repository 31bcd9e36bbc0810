#include "core/SessionAhead.h"

#include <utility>

namespace lxhf {

std::shared_ptr<SessionAhead> SessionAhead::start(SessionSource& sessions, std::size_t uses) {
    auto ahead = std::make_shared<SessionAhead>(sessions, uses);
    sessions.currentSessionId([ahead](SessionIdResult answer) {
        ahead->answer_ = std::move(answer);
        for (auto& done : std::exchange(ahead->waiting_, {})) ahead->hand(std::move(done));
    });
    return ahead;
}

void SessionAhead::currentSessionId(std::function<void(SessionIdResult)> done) {
    if (uses_ == 0) return sessions_.currentSessionId(std::move(done));
    --uses_;
    if (!answer_) return waiting_.push_back(std::move(done));
    hand(std::move(done));
}

void SessionAhead::hand(std::function<void(SessionIdResult)> done) const {
    const bool stillLive = !*answer_ || sessions_.inMemorySessionId() == answer_->value();
    if (!stillLive) return sessions_.currentSessionId(std::move(done));
    done(*answer_);
}

}  // namespace lxhf

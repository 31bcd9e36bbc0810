#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/SessionSource.h"

namespace lxhf {

// A session lookup started while a fetch's requests are still being
// encoded, so that the two overlap. The first `uses` askers take its answer,
// one lookup between them as if they had asked together; any later asker
// asks `sessions` itself. A session id handed out is always the live one: a
// user change since the lookup sends the asker to `sessions` afresh.
// Main context only; `sessions` outlives it.
class SessionAhead final : public SessionSource {
public:
    static std::shared_ptr<SessionAhead> start(SessionSource& sessions, std::size_t uses);

    void currentSessionId(std::function<void(SessionIdResult)> done) override;
    std::optional<std::string> inMemorySessionId() const override { return sessions_.inMemorySessionId(); }
    bool lastFailureTransient() const override { return sessions_.lastFailureTransient(); }
    std::optional<Seconds> lastFailureRetryAfter() const override { return sessions_.lastFailureRetryAfter(); }

    explicit SessionAhead(SessionSource& sessions, std::size_t uses) : sessions_(sessions), uses_(uses) {}

private:
    void hand(std::function<void(SessionIdResult)> done) const;

    SessionSource& sessions_;
    std::size_t uses_;
    std::optional<SessionIdResult> answer_;
    std::vector<std::function<void(SessionIdResult)>> waiting_;
};

}  // namespace lxhf

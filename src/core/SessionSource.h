#pragma once

#include <functional>
#include <optional>
#include <string>

#include "LXHotelsFermo/LXErrorInfo.h"
#include "LXHotelsFermo/LXResult.h"
#include "platform/MainQueue.h"

namespace lxhf {

using SessionIdResult = LXResult<std::string, LXErrorInfo>;

// What offers and events need from session management.
class SessionSource {
public:
    virtual ~SessionSource() = default;
    // The live session id, creating a session with the service when needed.
    virtual void currentSessionId(std::function<void(SessionIdResult)> done) = 0;
    // The id of the in-memory session, never creating one.
    virtual std::optional<std::string> inMemorySessionId() const = 0;
    // Whether the failure currentSessionId() handed out last may pass on a
    // later try: the service unreachable, failing (5xx) or busy (429).
    virtual bool lastFailureTransient() const { return false; }
    // The service's Retry-After on that failure, when it gave one.
    virtual std::optional<Seconds> lastFailureRetryAfter() const { return std::nullopt; }
};

}  // namespace lxhf

#pragma once

#include <functional>
#include <optional>
#include <string>

#include "LXHotelsFermo/LXFetchPolicy.h"
#include "platform/HttpClient.h"
#include "platform/MainQueue.h"

namespace lxhf {

// The host's fetch policy with the random source its retry jitter draws
// from; tests pass a fixed one.
struct FetchSettings {
    LXFetchPolicy policy;
    std::function<double()> random;  // uniform in [0, 1); g_random_double() when empty
};

// Whether every field is in range: 1 to 64 batches, finite delays with the
// first at least 10 ms and no longer than the longest, at least one attempt.
bool usableFetchPolicy(const LXFetchPolicy& policy);

// Whether a failed offers request may pass when sent again: a transfer
// failure (timeouts included), a 5xx or a 429. Another status is the
// service refusing the request, which the same request would meet again.
bool transientStatus(int status);

// A Retry-After of whole seconds on a 429 or 503; absent otherwise, and
// for an HTTP date, which a service behind our API does not send.
std::optional<Seconds> retryAfter(const HttpResponse& response);

// The wait before retry number `failures` (1 for the first): drawn
// uniformly below initialDelay * 2^(failures-1), capped at maxDelay, or the
// service's own Retry-After, capped the same way. Never below a tenth of
// initialDelay, so a draw of zero or "Retry-After: 0" cannot spin.
Seconds retryDelay(const LXFetchRetry& retry, unsigned failures, std::optional<Seconds> serviceAsked,
                   const std::function<double()>& random);

}  // namespace lxhf

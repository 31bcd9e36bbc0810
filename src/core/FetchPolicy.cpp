#include "core/FetchPolicy.h"

#include <glib.h>

#include <algorithm>
#include <cmath>

namespace lxhf {

bool usableFetchPolicy(const LXFetchPolicy& policy) {
    // More connections than this would only queue behind each other.
    constexpr std::uint32_t kMostConcurrentBatches = 64;
    if (policy.maxConcurrentBatches < 1 || policy.maxConcurrentBatches > kMostConcurrentBatches) return false;
    if (!policy.retry) return true;
    const auto& retry = *policy.retry;
    const bool finite = std::isfinite(retry.initialDelay) && std::isfinite(retry.maxDelay);
    // Below 10 ms, retries would be a busy loop against a failing service.
    constexpr double kShortestFirstDelay = 0.01;
    if (!finite || retry.initialDelay < kShortestFirstDelay || retry.maxDelay < retry.initialDelay) return false;
    return !retry.maxAttempts || *retry.maxAttempts >= 1;
}

bool transientStatus(int status) { return status == 429 || (status >= 500 && status <= 599); }

std::optional<Seconds> retryAfter(const HttpResponse& response) {
    if (response.status != 429 && response.status != 503) return std::nullopt;
    auto value = response.header("Retry-After");
    if (!value) return std::nullopt;
    std::string_view text = *value;
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    if (text.empty()) return std::nullopt;
    double seconds = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        seconds = std::min(seconds * 10 + (c - '0'), 1e12);  // far beyond any maxDelay
    }
    return Seconds{seconds};
}

Seconds retryDelay(const LXFetchRetry& retry, unsigned failures, std::optional<Seconds> serviceAsked,
                   const std::function<double()>& random) {
    const double longest = retry.maxDelay;
    const double shortest = retry.initialDelay / 10;
    if (serviceAsked) return Seconds{std::clamp(serviceAsked->count(), shortest, longest)};
    // 2^60 already exceeds any finite delay a host would set; stop doubling there.
    const double ceiling = std::min(longest, std::ldexp(retry.initialDelay, int(std::min(failures, 61u)) - 1));
    double draw = random ? random() : g_random_double();
    if (!(draw >= 0.0 && draw < 1.0)) draw = 0.0;
    return Seconds{std::max(ceiling * draw, shortest)};
}

}  // namespace lxhf

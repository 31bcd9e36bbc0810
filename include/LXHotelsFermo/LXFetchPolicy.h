#pragma once

/// @file
/// How the library fetches offers: concurrent batches, retries, late rooms.

#include <cstdint>
#include <optional>

/// When a batch whose fetch failed is fetched again (LXFetchPolicy::retry).
struct LXFetchRetry {
    /// Seconds before the first retry; each failure doubles it up to
    /// `maxDelay`, and the wait is drawn at random below it (full jitter).
    /// A Retry-After on a 429 or 503 is waited for instead, up to `maxDelay`.
    /// No wait is shorter than a tenth of `initialDelay`, which is at least 0.01.
    double initialDelay = 1.0;
    /// Seconds that no wait between retries exceeds.
    double maxDelay = 60.0;
    /// Failed requests per batch, the first one included, after which its
    /// rooms show the fetching error; absent: no limit. A new trigger
    /// (cacheOffers, a refresh, the network coming back) starts the waits
    /// over but keeps this count, so a host that triggers often still ends
    /// a batch that keeps failing.
    std::optional<std::uint32_t> maxAttempts{};

    /// Equal when every field is.
    bool operator==(const LXFetchRetry&) const = default;
};

/// How the library fetches offers. The defaults are the library's plain
/// behaviour: batches one after another, no retry timer, and a room queued
/// into a batch whose request is in flight leaves with that batch. Set it in
/// code before the engine is made (LXHotelsFermoSDK::setFetchPolicy).
struct LXFetchPolicy {
    /// Batches of one fetch in flight at once, 1 to 64. They still share one
    /// session request, and their answers take effect in the order they arrive.
    std::uint32_t maxConcurrentBatches = 1;
    /// Fetch a batch again by itself after a transfer failure, a timeout, a
    /// 5xx or a 429; never after another 4xx or an answer that fails to decode.
    /// Waits while the network is down.
    std::optional<LXFetchRetry> retry{};
    /// A room queued into a batch while that batch's request is in flight is
    /// fetched by the next request rather than left loading.
    bool requeueLateRooms = false;

    /// Equal when every field is.
    bool operator==(const LXFetchPolicy&) const = default;
};


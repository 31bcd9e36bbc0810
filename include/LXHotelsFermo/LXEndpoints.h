#pragma once

/// @file
/// Where the library talks to.

#include <optional>
#include <string>

/// Where the library talks to, for a host's tests against `lxfermo sim` or a
/// staging proxy. Set in code before the engine is made; the library never
/// reads these from files or the environment. Each absent field keeps the
/// configured environment's value.
struct LXEndpoints {
    /// The service's API base, ending in a slash: "https://127.0.0.1:8443/api/hotels/v1.0/".
    std::optional<std::string> apiBase{};
    /// The purchase page's origin. A full URL is accepted; only its scheme,
    /// host and port are used, the page's own path is always kept.
    std::optional<std::string> micrositeBase{};
    /// The log intake's full URL, without its query.
    std::optional<std::string> intakeUrl{};
    /// A PEM file of one more certificate authority, trusted beside the
    /// system's for the API, the log intake and the purchase page.
    std::optional<std::string> caFile{};
    /// The folder of the session file, instead of the user's cache folder.
    std::optional<std::string> cacheDirectory{};
};

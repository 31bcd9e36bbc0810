#pragma once

#include <optional>
#include <string>

#include "LXHotelsFermo/LXEnvironmentType.h"

// The endpoints of one environment. The API base ends in "/" because endpoint
// paths are appended to it as text.
struct LXEnvironment {
    std::string apiUrl;
    std::string micrositeScheme;
    std::string micrositeHost;  // may carry ":port" when pointed at a local service
    std::string micrositePath;
    LXEnvironmentType type;

    static LXEnvironment production();
    static LXEnvironment staging();
    static LXEnvironment forType(LXEnvironmentType type);
};

namespace lxhf {

// Where tests, the demo and `lxfermo` point the library instead of the real
// hosts. Set by code only; never read from files or the environment.
struct EndpointOverrides {
    std::optional<std::string> apiBase;        // "https://127.0.0.1:PORT/api/hotels/v1.0/"
    std::optional<std::string> micrositeBase;  // "https://127.0.0.1:PORT"
    std::optional<std::string> intakeUrl;      // full logs URL, without the query
    std::optional<std::string> caFile;
    std::optional<std::string> cacheDirectory;

    LXEnvironment apply(LXEnvironment environment) const;
};

}  // namespace lxhf

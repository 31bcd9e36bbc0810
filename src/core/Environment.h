#pragma once

#include <optional>
#include <string>

#include "LXHotelsFermo/LXEndpoints.h"
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

using EndpointOverrides = LXEndpoints;

// Whether each address given is an absolute http or https URL with a host.
bool usableEndpoints(const LXEndpoints& endpoints);

// The environment with each endpoint the host set in its place.
LXEnvironment applyEndpoints(const LXEndpoints& endpoints, LXEnvironment environment);

}  // namespace lxhf

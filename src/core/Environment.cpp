#include "core/Environment.h"

namespace {
constexpr const char* kApiPath = "/api/hotels/v1.0/";
constexpr const char* kMicrositePath = "/cloud/hotels/purchase";

LXEnvironment make(const std::string& host, LXEnvironmentType type) {
    return {"https://" + host + kApiPath, "https", host, kMicrositePath, type};
}
}  // namespace

LXEnvironment LXEnvironment::production() { return make(LXHF_PRODUCTION_HOST, LXEnvironmentType::production); }
LXEnvironment LXEnvironment::staging() { return make(LXHF_STAGING_HOST, LXEnvironmentType::staging); }
LXEnvironment LXEnvironment::forType(LXEnvironmentType type) {
    return type == LXEnvironmentType::production ? production() : staging();
}

namespace lxhf {

LXEnvironment applyEndpoints(const LXEndpoints& endpoints, LXEnvironment environment) {
    if (endpoints.apiBase) {
        environment.apiUrl = *endpoints.apiBase;
        if (environment.apiUrl.empty() || environment.apiUrl.back() != '/') environment.apiUrl += '/';
    }
    if (endpoints.micrositeBase) {
        const std::string& base = *endpoints.micrositeBase;
        const auto schemeEnd = base.find("://");
        if (schemeEnd != std::string::npos) {
            environment.micrositeScheme = base.substr(0, schemeEnd);
            // Host and port only; the page's path is always our own.
            const std::string rest = base.substr(schemeEnd + 3);
            environment.micrositeHost = rest.substr(0, rest.find('/'));
        }
    }
    return environment;
}

}  // namespace lxhf

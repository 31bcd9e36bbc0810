#include "core/Environment.h"

#include <memory>

#include <glib.h>

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

namespace {

struct UriUnref {
    void operator()(GUri* uri) const { g_uri_unref(uri); }
};
using Uri = std::unique_ptr<GUri, UriUnref>;

// An absolute http or https address with a host; null otherwise.
Uri webAddress(const std::string& text) {
    Uri uri(g_uri_parse(text.c_str(), G_URI_FLAGS_NONE, nullptr));
    if (!uri) return nullptr;
    const char* scheme = g_uri_get_scheme(uri.get());
    const char* host = g_uri_get_host(uri.get());
    const bool web = scheme && (g_str_equal(scheme, "https") || g_str_equal(scheme, "http"));
    return web && host && *host ? std::move(uri) : nullptr;
}

}  // namespace

bool usableEndpoints(const LXEndpoints& endpoints) {
    for (const auto* base : {&endpoints.apiBase, &endpoints.micrositeBase, &endpoints.intakeUrl})
        if (*base && !webAddress(**base)) return false;
    return true;
}

LXEnvironment applyEndpoints(const LXEndpoints& endpoints, LXEnvironment environment) {
    if (endpoints.apiBase) {
        environment.apiUrl = *endpoints.apiBase;
        if (environment.apiUrl.empty() || environment.apiUrl.back() != '/') environment.apiUrl += '/';
    }
    // Scheme, host and port only: the page's path is always our own, and a
    // query, fragment or user name of the base has no place in its address.
    if (const Uri base = endpoints.micrositeBase ? webAddress(*endpoints.micrositeBase) : nullptr) {
        environment.micrositeScheme = g_uri_get_scheme(base.get());
        const std::string host = g_uri_get_host(base.get());
        environment.micrositeHost = host.find(':') == std::string::npos ? host : "[" + host + "]";
        if (const int port = g_uri_get_port(base.get()); port > 0)
            environment.micrositeHost += ":" + std::to_string(port);
    }
    return environment;
}

}  // namespace lxhf

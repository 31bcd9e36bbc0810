#include "core/ServiceApi.h"

#include <glib.h>

namespace lxhf {

ServiceApi::ServiceApi(HttpClient& http, std::string apiUrl, std::string token)
    : http_(http), apiUrl_(std::move(apiUrl)), token_(std::move(token)) {}

std::optional<std::string> ServiceApi::endpoint(std::string_view path) const {
    if (auto known = endpoints_.find(path); known != endpoints_.end()) return known->second;
    std::optional<std::string> url = apiUrl_ + std::string(path);
    if (!g_uri_is_valid(url->c_str(), G_URI_FLAGS_NONE, nullptr)) url.reset();
    endpoints_.emplace(std::string(path), url);
    return url;
}

void ServiceApi::post(std::string url, std::string body, std::optional<std::string> sessionId,
                      std::function<void(HttpResult)> done) {
    HttpRequest request;
    request.method = "POST";
    request.url = std::move(url);
    request.body = std::move(body);
    request.timeout = Seconds(60.0);
    if (sessionId) request.headers.emplace_back(api::kSessionHeader, *sessionId);
    request.headers.emplace_back(api::kAuthorization, "Bearer " + token_);
    http_.send(std::move(request), std::move(done));
}

std::optional<FeatureFlags> decodeExperiments(const std::optional<std::string>& header, bool& malformed) {
    malformed = false;
    if (!header) return std::nullopt;
    auto flags = json::Decoder().decode<FeatureFlags>(*header);
    if (!flags) {
        malformed = true;
        return std::nullopt;
    }
    return std::move(flags).value();
}

}  // namespace lxhf

namespace lxhf {
std::string describe(const HttpResponse& response) {
    return "{ Status Code: " + std::to_string(response.status) + " }";
}
}  // namespace lxhf

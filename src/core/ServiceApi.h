#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "model/JsonCodecs.h"
#include "model/OfferRecords.h"
#include "platform/HttpClient.h"

namespace lxhf {

namespace api {
inline constexpr std::string_view kSessionsPath = "sessions";
inline constexpr std::string_view kOffersPath = "fermo_offers";
inline constexpr std::string_view kEventsPath = "events/batch";
inline constexpr std::string_view kAuthorization = "Authorization";
inline constexpr std::string_view kSessionHeader = "LX-Session-ID";
inline constexpr std::string_view kClientRegionHeader = "x-client-region";
inline constexpr std::string_view kExperimentsHeader = "lx-experiments";
inline constexpr int kCreated = 201;
inline constexpr int kNoContent = 204;
}  // namespace api

// The one pattern every service call follows: base URL joined as text, POST,
// bearer token, 60 s timeout, snake-case JSON bodies with no content-type
// header. Main context only; holds no state between calls.
class ServiceApi {
public:
    ServiceApi(HttpClient& http, std::string apiUrl, std::string token);

    // Absent when the joined text is not a valid absolute URL.
    std::optional<std::string> endpoint(std::string_view path) const;

    void post(std::string url, std::string body, std::optional<std::string> sessionId,
              std::function<void(HttpResult)> done);

    void preconnect(const std::string& url, unsigned connections) { http_.preconnect(url, connections); }

    const json::Encoder& encoder() const noexcept { return encoder_; }
    const json::Decoder& decoder() const noexcept { return decoder_; }
    const std::string& token() const noexcept { return token_; }

private:
    HttpClient& http_;
    std::string apiUrl_;
    std::string token_;
    json::Encoder encoder_{json::KeyEncoding::convertToSnakeCase};
    json::Decoder decoder_{json::KeyDecoding::convertFromSnakeCase};
    // Checking a URL means parsing it; the base never changes, so each
    // path's answer is kept.
    mutable std::map<std::string, std::optional<std::string>, std::less<>> endpoints_;
};

// The "lx-experiments" header: a JSON object in text form. Absent when the
// header is missing; `malformed` is set when it is present but unreadable.
std::optional<FeatureFlags> decodeExperiments(const std::optional<std::string>& header, bool& malformed);

}  // namespace lxhf

namespace lxhf {
// A short text for logs: "{ Status Code: 500 }".
std::string describe(const HttpResponse& response);
}  // namespace lxhf

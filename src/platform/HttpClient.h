#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "LXHotelsFermo/LXResult.h"
#include "platform/MainQueue.h"

namespace lxhf {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

struct HttpRequest {
    std::string method = "POST";
    std::string url;
    HttpHeaders headers;
    std::string body;
    Seconds timeout{60.0};
};

struct HttpResponse {
    int status = 0;
    HttpHeaders headers;
    std::string body;

    // Header names compare case-insensitively; the first match wins.
    std::optional<std::string> header(std::string_view name) const;
};

// The request never reached an answer: refused, dropped, timed out, bad TLS.
struct TransportError {
    std::string description;
    // The request could not be made (a bad URL, header or CA file) or its
    // answer was refused (too large): sending it again fails the same way.
    bool permanent = false;
};

using HttpResult = LXResult<HttpResponse, TransportError>;

// Sends requests without blocking; `done` runs later on the main context,
// exactly once, unless the client is destroyed first (then never).
class HttpClient {
public:
    virtual ~HttpClient() = default;
    virtual void send(HttpRequest request, std::function<void(HttpResult)> done) = 0;
    // Lets up to `requests` requests to one host run at once, without ever
    // opening more connections to it than that; call before the first
    // request. A client that has no such limit ignores it.
    virtual void allowConcurrentRequests(unsigned requests) { (void)requests; }
    // Opens up to `connections` connections to `url`'s host ahead of the
    // requests that will use them, within that limit. A hint only.
    virtual void preconnect(const std::string& url, unsigned connections) {
        (void)url;
        (void)connections;
    }
};

}  // namespace lxhf

#pragma once

// A plain libsoup client for driving the test service from tests. Requests run
// on the thread-default main context, which the service (start()) shares.

#include <nlohmann/json.hpp>

#include <libsoup/soup.h>

#include <string>
#include <utility>
#include <vector>

namespace lxhf::testing {

struct Reply {
    int status = 0;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string error;  // transport failure, empty when an answer arrived
    double seconds = 0;

    std::string header(const std::string& name) const;
    nlohmann::json json() const { return nlohmann::json::parse(body, nullptr, false); }
};

using Headers = std::vector<std::pair<std::string, std::string>>;

class ServiceTestClient {
public:
    // An empty caFile leaves only the system's trust store in place.
    explicit ServiceTestClient(const std::string& caFile);
    ~ServiceTestClient();
    ServiceTestClient(const ServiceTestClient&) = delete;
    ServiceTestClient& operator=(const ServiceTestClient&) = delete;

    // Starts a request; poll done(id) / reply(id) while iterating the context.
    int begin(const std::string& method, const std::string& url, const Headers& headers = {},
              const std::string& body = {});
    bool done(int id) const;
    Reply reply(int id) const;

    // Sends one request and iterates the context until it completes.
    Reply send(const std::string& method, const std::string& url, const Headers& headers = {},
               const std::string& body = {});

    struct Pending;

private:
    SoupSession* session_ = nullptr;
    std::vector<Pending*> pending_;
};

// Bodies a well-behaved client sends.
nlohmann::json sampleSessionInputs();
nlohmann::json sampleHotel();
nlohmann::json sampleBooking();
nlohmann::json sampleRoom(const std::string& id, const std::string& price = "199.00");
nlohmann::json sampleOfferRequest(std::vector<nlohmann::json> rooms);
Headers bearer(const std::string& token = "partner-token");

}  // namespace lxhf::testing

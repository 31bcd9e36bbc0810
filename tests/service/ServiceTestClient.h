#pragma once

// A plain libsoup client for the test service; requests run on the thread-default context.

#include <libsoup/soup.h>
#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace lxhf::testing {

using Headers = std::vector<std::pair<std::string, std::string>>;

struct Reply {
    int status = 0;
    std::string body, error;  // error: transport failure
    Headers headers;
    double seconds = 0;
    std::string header(const std::string& name) const;
    nlohmann::json json() const { return nlohmann::json::parse(body, nullptr, false); }
};

class ServiceTestClient {
public:
    explicit ServiceTestClient(const std::string& caFile);  // empty: system trust only
    ~ServiceTestClient();
    ServiceTestClient(const ServiceTestClient&) = delete;
    ServiceTestClient& operator=(const ServiceTestClient&) = delete;

    int begin(const std::string& method, const std::string& url, const Headers& headers = {}, const std::string& body = {});
    bool done(int id) const;
    Reply reply(int id) const;
    Reply send(const std::string& method, const std::string& url, const Headers& headers = {}, const std::string& body = {});
    struct Pending;

private:
    SoupSession* session_ = nullptr;
    std::vector<Pending*> pending_;
};

nlohmann::json sampleSessionInputs();
nlohmann::json sampleBooking();
nlohmann::json sampleRoom(const std::string& id, const std::string& price = "199.00");
nlohmann::json sampleOfferRequest(std::vector<nlohmann::json> rooms);
Headers bearer(const std::string& token = "partner-token");

}  // namespace lxhf::testing

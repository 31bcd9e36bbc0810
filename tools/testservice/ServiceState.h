#pragma once

// Internal to the test service: the state the routes share and the shape of
// a route's answer. Routes run with State::mutex held and never block.

#include "FermoTestService.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>

namespace lxhf::testing {

inline constexpr std::string_view kApiPrefix = "/api/hotels/v1.0/";
inline constexpr std::string_view kSessionsPath = "/api/hotels/v1.0/sessions";
inline constexpr std::string_view kOffersPath = "/api/hotels/v1.0/fermo_offers";
inline constexpr std::string_view kEventsPath = "/api/hotels/v1.0/events/batch";
inline constexpr std::string_view kIntakePath = "/api/v2/logs";
inline constexpr std::string_view kPurchasePath = "/cloud/hotels/purchase";
inline constexpr std::string_view kTermsPath = "/cloud/hotels/terms";

struct Answer {
    int status = 200;
    std::string contentType;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    bool drop = false;
    std::optional<std::size_t> truncate;  // see Fault::truncate
    std::string reason;  // non-empty: the request broke the contract
    std::vector<std::string> notes;

    static Answer reject(int status, std::string reason);
    static Answer jsonBody(int status, const nlohmann::json& body);
};

struct FermoTestService::State {
    mutable std::mutex mutex;
    std::condition_variable changed;

    std::vector<RecordedRequest> records;
    std::vector<nlohmann::json> logs;
    // Per path, faults applied in turn: the first until its count is spent.
    std::map<std::string, std::deque<Fault>> faults;
    // Per path, requests received and not yet answered.
    std::map<std::string, int> open;
    std::map<std::string, Outcome> outcomes;
    std::set<std::string> sessions;
    std::set<std::string> offerIds;
    std::optional<std::string> clientRegion = std::string("EU");
    std::optional<std::string> experiments =
        std::string(R"({"fermo_v2":true,"variant":"b","ratio":0.5,"limit":3})");
    PurchaseScript purchaseScript = PurchaseScript::ready;
    std::string signingKey;

    // Fixed once started; read without the lock afterwards.
    std::uint16_t port = 0;
    std::string certDir;
    std::string caPath;

    struct Server;
    std::unique_ptr<Server> server;
};

using State = FermoTestService::State;

// Routes (one file each family). Called with State::mutex held.
Answer sessionsRoute(const RecordedRequest& request, State& state);
Answer eventsRoute(const RecordedRequest& request, State& state);
Answer offersRoute(const RecordedRequest& request, State& state);
Answer intakeRoute(const RecordedRequest& request, State& state);
Answer purchaseRoute(const RecordedRequest& request, State& state);
Answer termsRoute(const RecordedRequest& request, State& state);

// Shared request checks: an empty optional means the check passed.
std::optional<Answer> checkPost(const RecordedRequest& request);
std::optional<Answer> checkBearer(const RecordedRequest& request, std::vector<std::string>& notes);

std::string signOffer(const std::string& key, const nlohmann::json& offerResponse);
std::string hmacHex(const std::string& key, const std::string& text);
std::string isoDateTime(std::int64_t unixSeconds);  // yyyy-MM-ddTHH:mm:ssZ
std::string percentDecode(std::string_view text);
// A client's text as JSON: discarded when it is not JSON, holds a NUL, or
// nests deeper than 512 levels, since copying so deep a tree would overflow
// the stack.
nlohmann::json parseJson(std::string_view text);
std::vector<QueryItem> parseQuery(std::string_view query);
std::string normalisePath(std::string_view path);

// Faults as written in a faults document; false with a reason on bad input.
bool parseFaults(std::string_view jsonText, std::map<std::string, std::deque<Fault>>& out, std::string& error);

// Writes a CA and a server certificate for 127.0.0.1 into a new temp dir.
struct CertificateFiles {
    std::string dir, caFile, certFile, keyFile;
};
bool makeCertificates(CertificateFiles& files, std::string& error);
void removeCertificates(const CertificateFiles& files);

}  // namespace lxhf::testing

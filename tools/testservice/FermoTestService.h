#pragma once

// A local HTTPS stand-in for the Fermo service, strict about what clients send.
// Integration tests, benchmarks, `lxfermo sim` and `lxfermo demo` all use it.
//
// Threads: start() serves on the thread-default GMainContext of the calling
// thread (iterate it to make progress); startOnOwnThread() serves on a private
// thread with its own context. Every public member may be called from any
// thread; recorded data is copied out under a lock.

#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lxhf::testing {

// What the offers route answers for one requested room, chosen by room id.
enum class Outcome {
    fullOffer,    // "signed_full_offer" (the default)
    baseOffer,    // "signed_base_offer"
    unavailable,  // "unavailable_offer"
    loadingType,  // "loading"
    omitted,      // the room is left out of the answer
    malformed,    // the element lacks offer.merchant_room_id, so the answer cannot decode
};

// What the purchase page does once its document has loaded.
enum class PurchaseScript {
    ready,           // event('ready')
    purchase,        // ready, purchased, close
    close,           // event('close')
    error,           // event('error', {message: 'Card declined'})
    errorNoMessage,  // event('error') without data
    newWindow,       // ready, then follows a target=_blank link
    neverReady,      // does nothing
    fail,            // the connection is dropped, so the load fails
};

// Names used by the page's `lxtest` query flag: ready, purchase, close, error,
// error-nomessage, newwindow, never-ready, fail.
std::optional<PurchaseScript> purchaseScriptFromName(std::string_view name);
// "full", "base", "unavailable", "loading", "omitted" or "malformed".
std::optional<Outcome> outcomeFromName(std::string_view name);
std::string_view purchaseScriptName(PurchaseScript script);

// A scripted misbehaviour of one route. Every field is optional in effect.
struct Fault {
    int status = 0;                                             // 0 keeps the route's status
    std::optional<std::string> body = {};                            // replaces the route's body
    std::map<std::string, std::optional<std::string>> headers = {};  // a value sets, nullopt removes
    double delaySeconds = 0;                                    // answer later, loop keeps running
    bool drop = false;                                          // close the connection unanswered
    // Send the headers, with the whole body's length, and only this many
    // bytes of the body, then close: an answer cut mid-way.
    std::optional<std::size_t> truncate = {};
    int count = 0;                                              // calls it applies to; <= 0: all
};

struct QueryItem {
    std::string name;
    std::optional<std::string> value;  // nullopt for a bare name without "="
    bool operator==(const QueryItem&) const = default;
};

struct RecordedRequest {
    std::string method;
    std::string path;
    std::string query;  // raw, still percent-encoded
    std::vector<QueryItem> queryItems;  // percent-decoded once; "+" stays "+"
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    // The route's own verdict, before any scripted fault.
    int status = 0;
    bool accepted = false;
    std::string reason;               // why it was refused; empty when accepted
    std::vector<std::string> notes;   // tolerated oddities, e.g. an empty bearer token
    bool faulted = false;             // a scripted fault changed the answer
    // Requests to the same path received and not yet answered when this one
    // came, this one included: above 1, they overlapped.
    int concurrent = 0;
    std::string peer;         // the client's address and port: one per connection
    std::string httpVersion;  // "HTTP/1.1" or "HTTP/2"

    std::optional<std::string> header(std::string_view name) const;  // case-insensitive
    std::optional<std::string> queryValue(std::string_view name) const;
    nlohmann::json json() const;  // the body parsed; discarded when not JSON or too deep
};

class FermoTestService {
public:
    struct Options {
        std::uint16_t port = 0;  // 0: a free port chosen at start
    };

    FermoTestService();
    explicit FermoTestService(Options options);
    ~FermoTestService();
    FermoTestService(const FermoTestService&) = delete;
    FermoTestService& operator=(const FermoTestService&) = delete;

    // Generate the certificates and listen on 127.0.0.1. False (with the
    // reason in *error) when that fails; calling either twice is an error.
    bool start(std::string* error = nullptr);
    bool startOnOwnThread(std::string* error = nullptr);
    void stop();
    bool isRunning() const;

    std::uint16_t port() const;
    std::string baseUrl() const;        // https://127.0.0.1:PORT
    std::string apiBase() const;        // baseUrl + "/api/hotels/v1.0/"
    std::string micrositeHost() const;  // 127.0.0.1:PORT
    std::string micrositeBase() const;  // baseUrl + "/cloud/hotels/purchase"
    std::string intakeUrl() const;      // baseUrl + "/api/v2/logs"
    std::string caFile() const;         // absolute path of the CA a client must trust

    // Paths are absolute ("/api/v2/logs") or relative to the API base
    // ("sessions", "fermo_offers", "events/batch").
    std::vector<RecordedRequest> requests() const;
    std::vector<RecordedRequest> requests(std::string_view path) const;
    int count(std::string_view path) const;
    std::vector<RecordedRequest> rejected() const;
    std::vector<nlohmann::json> logs() const;  // every intake record that parsed as JSON
    void clear();  // forgets recorded requests and logs; keeps sessions, faults and scripts

    // Waits until `path` has seen at least n requests. With start() it
    // iterates the caller's context, so call it on the thread that started.
    bool waitForCount(std::string_view path, int n, double timeoutSeconds = 5.0);

    void setRoomOutcome(const std::string& roomId, Outcome outcome);
    void setClientRegion(std::optional<std::string> region);         // nullopt: header left out
    void setExperiments(std::optional<std::string> experimentsJson);  // nullopt: header left out
    void setPurchaseScript(PurchaseScript script);  // used when the page has no lxtest flag

    // Replaces the path's faults by this one.
    void setFault(std::string_view path, Fault fault);
    // Applies `fault` once those set before it are spent (their counts run out).
    void addFault(std::string_view path, Fault fault);
    void clearFaults();
    // {"<path>": {"status": 500, "body": "...", "headers": {"x": "y", "z": null},
    //             "delay": 1.5, "drop": false, "truncate": 200, "count": 2}, ...}
    // A path may take an array of such faults, applied in turn, each for its
    // count of calls: [{"status": 503, "count": 2}, {"delay": 0.1}].
    bool loadFaults(std::string_view jsonText, std::string* error = nullptr);
    // Room outcomes from JSON, {"<room id>": "<outcome name>", ...}. False,
    // changing nothing, when the text is not such an object.
    bool loadOutcomes(std::string_view jsonText, std::string* error = nullptr);

    // A session id the service accepts without having issued it (e.g. one a
    // test wrote into a stored session file).
    void addKnownSession(const std::string& sessionId);
    std::vector<std::string> sessionIds() const;

    // True when the offer response (the whole element: offer, signature, type)
    // was signed by this service instance and is unchanged.
    bool verifySignature(const nlohmann::json& offerResponse) const;
    bool verifySignatureText(std::string_view offerResponseText) const;

    struct State;

private:
    std::unique_ptr<State> state_;
};

}  // namespace lxhf::testing

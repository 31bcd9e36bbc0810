#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/HttpClient.h"

typedef struct _GThread GThread;

namespace lxhf {

// Owns one SoupSession (connections are kept alive and reused), run on a
// thread of its own: opening a connection makes GLib's TLS backend read the
// whole trust store again (about 9 ms), and reading a large answer takes
// milliseconds too, which the caller's main context must not wait for.
// Answers arrive on the context that was thread-default at construction;
// use the client on that context's thread only. Destroying the client
// cancels what is in flight, and no `done` runs after; it waits for the
// thread at most the stop limit, then logs and leaves it running.
//
// Thread rule: the constructor calls ensureNetworkTypes() before the thread
// starts, so the thread never registers a GIO or libsoup type that the
// host's thread could be registering at the same moment (GLib's type
// system can deadlock on that). Code added to the thread that needs a type
// not made there yet must add it to ensureNetworkTypes().
class LibsoupHttpClient final : public HttpClient {
public:
    // With a CA file, certificates are checked against it instead of the
    // system store; verification is never switched off. An answer whose body
    // is longer than `maximumBodyBytes` fails as a transfer error.
    static constexpr std::size_t kDefaultMaximumBodyBytes = 64 * 1024 * 1024;
    explicit LibsoupHttpClient(std::optional<std::filesystem::path> caFile = std::nullopt,
                               std::size_t maximumBodyBytes = kDefaultMaximumBodyBytes);
    ~LibsoupHttpClient() override;
    LibsoupHttpClient(const LibsoupHttpClient&) = delete;
    LibsoupHttpClient& operator=(const LibsoupHttpClient&) = delete;

    void send(HttpRequest request, std::function<void(HttpResult)> done) override;
    // libsoup keeps two connections per host unless told otherwise.
    void allowConcurrentRequests(unsigned requests) override;
    // With libsoup's own preconnect; a host with an idle connection already
    // gets no new one.
    void preconnect(const std::string& url, unsigned connections) override;

    static constexpr std::chrono::milliseconds kDefaultStopLimit{2000};
    void setStopLimit(std::chrono::milliseconds limit);
    // Tests: runs `work` on the network thread, as the client's own work runs.
    void runOnNetworkThread(std::function<void()> work);

    // New connections and completed TLS handshakes since construction.
    int connectionCount() const;
    int tlsHandshakeCount() const;

    // The callbacks waiting for an answer; the caller's context only.
    struct Waiting {
        std::map<std::uint64_t, std::function<void(HttpResult)>> done;
        std::uint64_t nextId = 0;
    };
    struct Network;

private:
    std::shared_ptr<Waiting> waiting_;
    std::unique_ptr<Network> network_;
    GThread* thread_ = nullptr;
    std::chrono::milliseconds stopLimit_ = kDefaultStopLimit;
    static constexpr const char* kThreadName = "lxhf-http";
};

}  // namespace lxhf

#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/HttpClient.h"

typedef struct _SoupSession SoupSession;

namespace lxhf {

// Owns one SoupSession (connections are kept alive and reused). Used on the
// thread whose thread-default main context runs it; answers arrive there.
// Destroying the client cancels what is in flight and no `done` runs after.
class LibsoupHttpClient final : public HttpClient {
public:
    // With a CA file, certificates are checked against it instead of the
    // system store; verification is never switched off.
    explicit LibsoupHttpClient(std::optional<std::filesystem::path> caFile = std::nullopt);
    ~LibsoupHttpClient() override;
    LibsoupHttpClient(const LibsoupHttpClient&) = delete;
    LibsoupHttpClient& operator=(const LibsoupHttpClient&) = delete;

    void send(HttpRequest request, std::function<void(HttpResult)> done) override;

    // New connections and completed TLS handshakes since construction.
    int connectionCount() const;
    int tlsHandshakeCount() const;

    struct Exchange;
    struct Shared {
        SoupSession* session = nullptr;
        std::optional<std::string> setupError;
        int connections = 0;
        int tlsHandshakes = 0;
        std::map<std::uint64_t, Exchange*> inFlight;
        std::uint64_t nextId = 0;
    };

private:
    std::shared_ptr<Shared> shared_;
};

}  // namespace lxhf

#include <gtest/gtest.h>

#include <atomic>
#include <libsoup/soup.h>

#include <optional>
#include <thread>

#include "platform/LibsoupHttpClient.h"
#include "support/MainLoop.h"

namespace lxhf {
namespace {

// A plain-HTTP server on 127.0.0.1, run by the client's default main context.
class LocalServer {
public:
    LocalServer() : server_(soup_server_new(nullptr, nullptr)) {
        soup_server_add_handler(server_, nullptr, handle, this, nullptr);
        GError* error = nullptr;
        if (!soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, &error)) {
            ADD_FAILURE() << error->message;
            g_error_free(error);
            return;
        }
        GSList* uris = soup_server_get_uris(server_);
        base_ = "http://127.0.0.1:" + std::to_string(g_uri_get_port(static_cast<GUri*>(uris->data)));
        g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    }
    ~LocalServer() {
        soup_server_disconnect(server_);
        g_object_unref(server_);
    }
    std::string url(const std::string& path) const { return base_ + path; }
    int hits = 0;

private:
    static void handle(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer data) {
        ++static_cast<LocalServer*>(data)->hits;
        std::string route = path;
        auto* headers = soup_server_message_get_response_headers(message);
        if (route == "/echo") {
            SoupMessageBody* body = soup_server_message_get_request_body(message);
            const char* test = soup_message_headers_get_one(soup_server_message_get_request_headers(message), "x-test");
            std::string reply = std::string(soup_server_message_get_method(message)) + "|" + (test ? test : "-") +
                                "|" + std::string(body->data ? body->data : "", body->length);
            soup_message_headers_append(headers, "X-Reply", "yes");
            soup_server_message_set_status(message, 201, nullptr);
            soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_COPY, reply.data(), reply.size());
        } else if (route == "/missing") {
            soup_server_message_set_status(message, 404, nullptr);
            soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_STATIC, "nope", 4);
        } else if (route == "/hang") {
            soup_server_message_pause(message);  // answered never
        } else if (route == "/slow") {
            soup_server_message_pause(message);
            g_timeout_add(300, [](gpointer m) -> gboolean {
                auto* slow = static_cast<SoupServerMessage*>(m);
                soup_server_message_set_status(slow, 200, nullptr);
                soup_server_message_set_response(slow, "text/plain", SOUP_MEMORY_STATIC, "slow", 4);
                soup_server_message_unpause(slow);
                return G_SOURCE_REMOVE;
            }, message);
        } else if (route == "/trickle") {  // five pieces, 100 ms apart
            soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
            soup_server_message_set_status(message, 201, nullptr);
            soup_server_message_pause(message);
            g_timeout_add(100, [](gpointer m) -> gboolean {
                auto* body = soup_server_message_get_response_body(static_cast<SoupServerMessage*>(m));
                soup_message_body_append(body, SOUP_MEMORY_STATIC, "piece", 5);
                soup_server_message_unpause(static_cast<SoupServerMessage*>(m));
                if (body->length < 25) return G_SOURCE_CONTINUE;
                soup_message_body_complete(body);
                return G_SOURCE_REMOVE;
            }, message);
        } else if (route == "/sized" || route == "/chunked" || route == "/failed") {
            if (route == "/chunked") soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
            const std::string big(5000, 'x');
            soup_server_message_set_status(message, route == "/failed" ? 500 : 201, nullptr);
            soup_server_message_set_response(message, "text/plain", SOUP_MEMORY_COPY, big.data(), big.size());
            soup_message_body_complete(soup_server_message_get_response_body(message));
        } else if (route == "/drop") {
            GIOStream* stream = soup_server_message_steal_connection(message);
            g_io_stream_close(stream, nullptr, nullptr);
            g_object_unref(stream);
        }
    }

    SoupServer* server_;
    std::string base_;
};

struct Outcome {
    std::optional<HttpResult> result;
    int calls = 0;
    std::thread::id thread;
    std::function<void(HttpResult)> callback() {
        return [this](HttpResult r) {
            ++calls;
            thread = std::this_thread::get_id();
            result.emplace(std::move(r));
        };
    }
    bool arrived() const { return calls > 0; }
    std::string failure() const { return result && !result->ok() ? result->error().description : "<none>"; }
    // Whether sending it again would be pointless.
    bool permanent() const { return result && !result->ok() && result->error().permanent; }
};

HttpRequest request(std::string method, std::string url, double timeout = 10.0) {
    HttpRequest r;
    r.method = std::move(method);
    r.url = std::move(url);
    r.timeout = Seconds{timeout};
    return r;
}

TEST(LibsoupHttpClient, SendsTheRequestAndReturnsStatusHeadersAndBodyOverOneConnection) {
    LocalServer server;
    LibsoupHttpClient client;
    auto post = request("POST", server.url("/echo"));
    post.headers = {{"X-Test", "value 1"}};
    post.body = "{\"a\":1}";
    Outcome first;
    client.send(post, first.callback());
    EXPECT_FALSE(first.arrived());
    ASSERT_TRUE(test::runMainLoopUntil([&] { return first.arrived(); }));
    ASSERT_TRUE(first.result->ok()) << first.failure();
    EXPECT_EQ((*first.result)->status, 201);
    EXPECT_EQ((*first.result)->body, "POST|value 1|{\"a\":1}");
    EXPECT_EQ((*first.result)->header("x-REPLY"), "yes");
    EXPECT_EQ((*first.result)->header("X-Absent"), std::nullopt);

    Outcome second;
    client.send(request("GET", server.url("/missing")), second.callback());
    ASSERT_TRUE(test::runMainLoopUntil([&] { return second.arrived(); }));
    ASSERT_TRUE(second.result->ok()) << second.failure();
    EXPECT_EQ((*second.result)->status, 404);  // a bad status is an answer, not a transport error
    EXPECT_EQ((*second.result)->body, "nope");
    EXPECT_EQ(client.connectionCount(), 1);
    EXPECT_EQ(client.tlsHandshakeCount(), 0);
    EXPECT_EQ(first.calls + second.calls, 2);
    // The session runs on a thread of its own; answers come back to the caller's.
    EXPECT_EQ(first.thread, std::this_thread::get_id());
    EXPECT_EQ(second.thread, std::this_thread::get_id());
}

TEST(LibsoupHttpClient, TimeoutIsPerRequestAndTransportFailuresAreDescribedErrors) {
    LocalServer server;
    LibsoupHttpClient client;
    Outcome hung, slow;
    gint64 start = g_get_monotonic_time();
    client.send(request("POST", server.url("/hang"), 0.2), hung.callback());
    client.send(request("POST", server.url("/slow"), 5.0), slow.callback());
    ASSERT_TRUE(test::runMainLoopUntil([&] { return hung.arrived() && slow.arrived(); }));
    EXPECT_EQ(hung.failure(), "The request timed out.");
    EXPECT_GE(g_get_monotonic_time() - start, 200'000);
    ASSERT_TRUE(slow.result->ok()) << slow.failure();
    EXPECT_EQ((*slow.result)->body, "slow");
    test::runMainLoopFor(0.05);
    EXPECT_EQ(hung.calls, 1);

    std::string closedPort;
    {
        LocalServer gone;
        closedPort = gone.url("/echo");
    }
    server.hits = 0;
    Outcome refused, dropped, invalidUrl, badHeader;
    client.send(request("POST", closedPort), refused.callback());
    client.send(request("POST", server.url("/drop")), dropped.callback());
    client.send(request("POST", "not a url at all"), invalidUrl.callback());
    auto withBadHeader = request("POST", server.url("/echo"));
    withBadHeader.headers = {{"X-Test", "line\r\nInjected: 1"}};
    client.send(withBadHeader, badHeader.callback());
    EXPECT_FALSE(invalidUrl.arrived());  // never inside send()
    ASSERT_TRUE(test::runMainLoopUntil(
        [&] { return refused.arrived() && dropped.arrived() && invalidUrl.arrived() && badHeader.arrived(); }));
    for (auto* outcome : {&refused, &dropped, &invalidUrl, &badHeader}) ASSERT_FALSE(outcome->result->ok());
    EXPECT_NE(refused.failure().find("refused"), std::string::npos) << refused.failure();
    EXPECT_NE(invalidUrl.failure().find("not a url at all"), std::string::npos);
    EXPECT_EQ(server.hits, 1);  // the bad header never left the client
    EXPECT_TRUE(invalidUrl.permanent() && badHeader.permanent());
    EXPECT_FALSE(refused.permanent() || dropped.permanent());

    // A successful answer longer than the limit is a failure, announced or
    // not; a failed status stays itself. The timeout counts only silence.
    LibsoupHttpClient capped(std::nullopt, 4999);
    Outcome sized, chunked, failed, fits, trickled;
    capped.send(request("POST", server.url("/sized")), sized.callback());
    capped.send(request("POST", server.url("/chunked")), chunked.callback());
    capped.send(request("POST", server.url("/failed")), failed.callback());
    capped.send(request("POST", server.url("/trickle"), 0.3), trickled.callback());
    LibsoupHttpClient roomy(std::nullopt, 5000);
    roomy.send(request("POST", server.url("/chunked")), fits.callback());
    ASSERT_TRUE(test::runMainLoopUntil([&] {
        return sized.arrived() && chunked.arrived() && failed.arrived() && fits.arrived() && trickled.arrived();
    }));
    EXPECT_EQ(sized.failure(), "The answer is larger than 4999 bytes.");
    EXPECT_EQ(chunked.failure(), "The answer is larger than 4999 bytes.");
    EXPECT_TRUE(sized.permanent() && chunked.permanent());
    ASSERT_TRUE(failed.result->ok()) << failed.failure();
    EXPECT_EQ((*failed.result)->status, 500);
    ASSERT_TRUE(fits.result->ok()) << fits.failure();
    EXPECT_EQ((*fits.result)->body.size(), 5000u);
    ASSERT_TRUE(trickled.result->ok()) << trickled.failure();
    EXPECT_EQ((*trickled.result)->body, "piecepiecepiecepiecepiece");
}

TEST(LibsoupHttpClient, DestroyingTheClientCancelsEverythingInFlight) {
    LocalServer server;
    auto client = std::make_unique<LibsoupHttpClient>();
    Outcome hung, early, timed;
    client->send(request("POST", server.url("/hang"), 0), hung.callback());
    client->send(request("POST", server.url("/hang"), 0.3), timed.callback());
    ASSERT_TRUE(test::runMainLoopUntil([&] { return server.hits == 2; }));
    client->send(request("POST", "::bad::"), early.callback());
    client.reset();
    // Gone before its thread has even started.
    for (int i = 0; i < 10; ++i) {
        LibsoupHttpClient quick;
        quick.send(request("POST", server.url("/echo")), early.callback());
    }
    test::runMainLoopFor(0.5);  // past the timeout that was pending
    EXPECT_EQ(hung.calls + early.calls + timed.calls, 0);

    // A network thread that does not stop is left running after the limit,
    // not waited for: the release comes only once the client is gone.
    auto stuck = std::make_unique<LibsoupHttpClient>();
    stuck->setStopLimit(std::chrono::milliseconds(50));
    std::atomic<bool> release{false}, resumed{false};
    stuck->runOnNetworkThread([&] {
        while (!release) g_usleep(1000);
        resumed = true;
    });
    stuck->send(request("POST", server.url("/echo")), early.callback());
    stuck.reset();
    release = true;
    ASSERT_TRUE(test::runMainLoopUntil([&] { return resumed.load(); }));
    test::runMainLoopFor(0.2);
    EXPECT_EQ(early.calls, 0);
}

TEST(LibsoupHttpClient, UnreadableCaFileFailsEveryRequest) {
    LocalServer server;
    LibsoupHttpClient client(std::filesystem::path("/nonexistent/ca.pem"));
    Outcome outcome;
    client.send(request("GET", server.url("/echo")), outcome.callback());
    ASSERT_TRUE(test::runMainLoopUntil([&] { return outcome.arrived(); }));
    EXPECT_NE(outcome.failure().find("CA file"), std::string::npos) << outcome.failure();
    EXPECT_EQ(server.hits, 0);
}

}  // namespace
}  // namespace lxhf

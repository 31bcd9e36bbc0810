#include "platform/LibsoupHttpClient.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace lxhf {

namespace {

constexpr const char* timedOutDescription = "The request timed out.";

bool isHeaderTextValid(const std::string& text, bool isName) {
    if (isName && text.empty()) return false;
    return std::none_of(text.begin(), text.end(), [isName](char c) {
        return c == '\r' || c == '\n' || c == '\0' || (isName && (c == ':' || c == ' ' || c == '\t'));
    });
}

}  // namespace

// One request in flight. Owned by the pending libsoup operation (or by the
// idle source that reports an early failure) and freed when that finishes.
struct LibsoupHttpClient::Exchange {
    std::weak_ptr<Shared> shared;
    std::uint64_t id = 0;
    std::function<void(HttpResult)> done;  // emptied once the client is gone
    SoupMessage* message = nullptr;
    GCancellable* cancellable = g_cancellable_new();
    GSource* timer = nullptr;
    GSource* earlyFailure = nullptr;
    std::string earlyFailureDescription;
    gulong networkEventHandler = 0;
    bool timedOut = false;

    ~Exchange() {
        stopTimer();
        if (message != nullptr) {
            if (networkEventHandler != 0) g_signal_handler_disconnect(message, networkEventHandler);
            g_object_unref(message);
        }
        g_object_unref(cancellable);
    }

    void stopTimer() {
        if (timer == nullptr) return;
        g_source_destroy(timer);
        g_source_unref(timer);
        timer = nullptr;
    }

    // Detaches from the client and returns the callback to run, if any.
    std::function<void(HttpResult)> finish() {
        stopTimer();
        if (auto owner = shared.lock()) owner->inFlight.erase(id);
        return std::move(done);
    }
};

namespace {

using Exchange = LibsoupHttpClient::Exchange;

void onNetworkEvent(SoupMessage*, GSocketClientEvent event, GIOStream*, gpointer data) {
    auto shared = static_cast<Exchange*>(data)->shared.lock();
    if (!shared) return;
    if (event == G_SOCKET_CLIENT_CONNECTED) ++shared->connections;
    if (event == G_SOCKET_CLIENT_TLS_HANDSHAKED) ++shared->tlsHandshakes;
}

gboolean onTimeout(gpointer data) {
    auto* exchange = static_cast<Exchange*>(data);
    exchange->timedOut = true;
    // Cancelling may complete the exchange (and free it) right away.
    g_cancellable_cancel(exchange->cancellable);
    return G_SOURCE_REMOVE;
}

HttpResponse responseOf(SoupMessage* message, GBytes* body) {
    HttpResponse response;
    response.status = static_cast<int>(soup_message_get_status(message));
    soup_message_headers_foreach(
        soup_message_get_response_headers(message),
        [](const char* name, const char* value, gpointer headers) {
            static_cast<HttpHeaders*>(headers)->emplace_back(name, value);
        },
        &response.headers);
    if (body != nullptr) {
        gsize size = 0;
        const auto* bytes = static_cast<const char*>(g_bytes_get_data(body, &size));
        if (bytes != nullptr) response.body.assign(bytes, size);
    }
    return response;
}

void onSent(GObject* session, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(data));
    GError* error = nullptr;
    GBytes* body = soup_session_send_and_read_finish(SOUP_SESSION(session), result, &error);
    auto done = exchange->finish();
    if (done) {
        if (error != nullptr) {
            done(TransportError{exchange->timedOut ? timedOutDescription : error->message});
        } else {
            HttpResponse response = responseOf(exchange->message, body);
            exchange.reset();
            done(std::move(response));
        }
    }
    if (error != nullptr) g_error_free(error);
    if (body != nullptr) g_bytes_unref(body);
}

gboolean onEarlyFailure(gpointer data) {
    auto* exchange = static_cast<Exchange*>(data);
    g_source_unref(exchange->earlyFailure);
    exchange->earlyFailure = nullptr;
    std::string description = exchange->earlyFailureDescription;
    if (auto done = exchange->finish()) done(TransportError{std::move(description)});
    return G_SOURCE_REMOVE;
}

}  // namespace

LibsoupHttpClient::LibsoupHttpClient(std::optional<std::filesystem::path> caFile)
    : shared_(std::make_shared<Shared>()) {
    shared_->session = soup_session_new();
    // The per-request timer is the only clock: the session's own 60 s socket
    // timeout would cut longer requests short with a different message.
    soup_session_set_timeout(shared_->session, 0);
    if (!caFile) return;
    std::error_code ignored;
    std::filesystem::path absolute = std::filesystem::absolute(*caFile, ignored);
    GError* error = nullptr;
    GTlsDatabase* database = g_tls_file_database_new(absolute.c_str(), &error);
    if (database == nullptr) {
        // Every request fails rather than silently trusting the system store.
        shared_->setupError = std::string("Cannot use the CA file: ") + (error ? error->message : "unknown error");
        if (error != nullptr) g_error_free(error);
        return;
    }
    soup_session_set_tls_database(shared_->session, database);
    g_object_unref(database);
}

LibsoupHttpClient::~LibsoupHttpClient() {
    std::vector<Exchange*> pending;
    for (auto& [id, exchange] : shared_->inFlight) pending.push_back(exchange);
    shared_->inFlight.clear();
    for (Exchange* exchange : pending) {
        exchange->done = nullptr;
        exchange->stopTimer();
        if (exchange->earlyFailure != nullptr) {
            GSource* source = exchange->earlyFailure;
            exchange->earlyFailure = nullptr;
            g_source_destroy(source);  // frees the exchange
            g_source_unref(source);
        } else {
            g_cancellable_cancel(exchange->cancellable);  // may free the exchange
        }
    }
    soup_session_abort(shared_->session);
    g_object_unref(shared_->session);
}

int LibsoupHttpClient::connectionCount() const { return shared_->connections; }
int LibsoupHttpClient::tlsHandshakeCount() const { return shared_->tlsHandshakes; }

void LibsoupHttpClient::send(HttpRequest request, std::function<void(HttpResult)> done) {
    auto* exchange = new Exchange;
    exchange->shared = shared_;
    exchange->id = shared_->nextId++;
    exchange->done = std::move(done);
    shared_->inFlight.emplace(exchange->id, exchange);

    std::optional<std::string> failure = shared_->setupError;
    if (!failure) {
        exchange->message = soup_message_new(request.method.c_str(), request.url.c_str());
        if (exchange->message == nullptr) failure = "Invalid URL: " + request.url;
    }
    for (const auto& [name, value] : request.headers) {
        if (failure) break;
        if (!isHeaderTextValid(name, true) || !isHeaderTextValid(value, false)) {
            failure = "Invalid header: " + name;
            break;
        }
        soup_message_headers_append(soup_message_get_request_headers(exchange->message), name.c_str(),
                                    value.c_str());
    }
    if (failure) {
        // `done` never runs inside send(); the failure is reported like an answer.
        exchange->earlyFailureDescription = std::move(*failure);
        exchange->earlyFailure = g_idle_source_new();
        g_source_set_priority(exchange->earlyFailure, G_PRIORITY_DEFAULT);
        g_source_set_callback(exchange->earlyFailure, onEarlyFailure, exchange,
                              [](gpointer data) { delete static_cast<Exchange*>(data); });
        g_source_attach(exchange->earlyFailure, g_main_context_get_thread_default());
        return;
    }

    if (!request.body.empty() || (request.method != "GET" && request.method != "HEAD")) {
        GBytes* body = g_bytes_new(request.body.data(), request.body.size());
        // No content type: only the headers the caller chose are sent.
        soup_message_set_request_body_from_bytes(exchange->message, nullptr, body);
        g_bytes_unref(body);
    }
    // libsoup opens a fresh connection for every non-idempotent request
    // unless told otherwise; the service's calls are all POSTs and must share
    // one kept-alive connection (one TLS handshake).
    soup_message_add_flags(exchange->message, SOUP_MESSAGE_IDEMPOTENT);
    exchange->networkEventHandler =
        g_signal_connect(exchange->message, "network-event", G_CALLBACK(onNetworkEvent), exchange);

    double seconds = request.timeout.count();
    if (std::isfinite(seconds) && seconds > 0) {
        auto millis = static_cast<guint>(std::min(std::ceil(seconds * 1000.0), 4.0e9));
        exchange->timer = g_timeout_source_new(millis);
        g_source_set_callback(exchange->timer, onTimeout, exchange, nullptr);
        g_source_attach(exchange->timer, g_main_context_get_thread_default());
    }
    soup_session_send_and_read_async(shared_->session, exchange->message, G_PRIORITY_DEFAULT,
                                     exchange->cancellable, onSent, exchange);
}

}  // namespace lxhf

#include "platform/LibsoupHttpClient.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <vector>

#include "platform/GioTypes.h"
#include "platform/ThreadEnd.h"

namespace lxhf {

namespace {

constexpr const char* timedOutDescription = "The request timed out.";
constexpr gsize kReadChunkBytes = 64 * 1024;

bool isHeaderTextValid(const std::string& text, bool isName) {
    if (isName && text.empty()) return false;
    return std::none_of(text.begin(), text.end(), [isName](char c) {
        return c == '\r' || c == '\n' || c == '\0' || (isName && (c == ':' || c == ' ' || c == '\t'));
    });
}

// Runs `work` once on the thread that iterates `context`. GLib hands the
// source over with futexes ThreadSanitizer cannot see; the atomic states the
// same order in terms it can check.
void runOn(GMainContext* context, std::function<void()> work) {
    struct Handoff {
        std::function<void()> work;
        std::atomic<bool> published{false};
    };
    auto* handoff = new Handoff{std::move(work)};
    handoff->published.store(true, std::memory_order_release);
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(
        source,
        [](gpointer data) {
            auto* taken = static_cast<Handoff*>(data);
            (void)taken->published.load(std::memory_order_acquire);
            taken->work();
            return gboolean(G_SOURCE_REMOVE);
        },
        handoff,
        [](gpointer data) {
            auto* taken = static_cast<Handoff*>(data);
            (void)taken->published.load(std::memory_order_acquire);
            delete taken;
        });
    g_source_attach(source, context);
    g_source_unref(source);
}

struct Exchange;

}  // namespace

// The session and everything libsoup does with it; touched only on the
// network thread, apart from the counters and what is set before it starts.
struct LibsoupHttpClient::Network {
    GMainContext* context = g_main_context_new();
    GMainLoop* loop = g_main_loop_new(context, FALSE);
    GMainContext* callerContext = g_main_context_ref_thread_default();
    std::weak_ptr<Waiting> waiting;
    std::optional<std::filesystem::path> caFile;
    std::size_t maximumBodyBytes = 0;
    std::atomic<int> connections{0};
    std::atomic<int> tlsHandshakes{0};

    SoupSession* session = nullptr;
    std::optional<std::string> setupError;
    std::map<std::uint64_t, Exchange*> inFlight;
    bool stopping = false;
    GCancellable* preconnects = g_cancellable_new();
    ThreadEnd end;
    unsigned connectionsPerHost = 0;  // 0: libsoup's own limit, two
    bool used = false;

    ~Network() {
        g_main_loop_unref(loop);
        g_main_context_unref(context);
        g_main_context_unref(callerContext);
        g_object_unref(preconnects);
    }

    void open();
    void widen(unsigned requests);
    void preconnect(const std::string& url, unsigned count);
    void start(std::uint64_t id, HttpRequest request);
    void answer(std::uint64_t id, HttpResult result);
    void stop();
    void quitIfStopped() {
        if (stopping && inFlight.empty()) g_main_loop_quit(loop);
    }
};

using Network = LibsoupHttpClient::Network;

namespace {

// One request in flight. Owned by the pending libsoup operation and freed
// when that finishes.
struct Exchange {
    Exchange(Network& owner, std::uint64_t number) : network(owner), id(number) {}
    Network& network;
    std::uint64_t id;
    SoupMessage* message = nullptr;
    GCancellable* cancellable = g_cancellable_new();
    GSource* timer = nullptr;
    gulong networkEventHandler = 0;
    bool timedOut = false;
    GInputStream* stream = nullptr;
    std::string body;
    guint timeoutMillis = 0;

    ~Exchange() {
        stopTimer();
        if (message != nullptr) {
            if (networkEventHandler != 0) g_signal_handler_disconnect(message, networkEventHandler);
            g_object_unref(message);
        }
        if (stream != nullptr) g_object_unref(stream);
        g_object_unref(cancellable);
    }

    void stopTimer() {
        if (timer == nullptr) return;
        g_source_destroy(timer);
        g_source_unref(timer);
        timer = nullptr;
    }
    // The timeout counts silence, so a long answer that keeps arriving is not cut.
    void startTimer();
};

void countEvent(Network& network, GSocketClientEvent event) {
    if (event == G_SOCKET_CLIENT_CONNECTED) ++network.connections;
    if (event == G_SOCKET_CLIENT_TLS_HANDSHAKED) ++network.tlsHandshakes;
}

void onNetworkEvent(SoupMessage*, GSocketClientEvent event, GIOStream*, gpointer data) {
    countEvent(static_cast<Exchange*>(data)->network, event);
}

gboolean onTimeout(gpointer data) {
    auto* exchange = static_cast<Exchange*>(data);
    exchange->timedOut = true;
    // Cancelling may complete the exchange (and free it) right away.
    g_cancellable_cancel(exchange->cancellable);
    return G_SOURCE_REMOVE;
}

void Exchange::startTimer() {
    if (timeoutMillis == 0) return;
    stopTimer();
    timer = g_timeout_source_new(timeoutMillis);
    g_source_set_callback(timer, onTimeout, this, nullptr);
    g_source_attach(timer, network.context);
}

HttpResponse responseOf(SoupMessage* message, std::string body) {
    HttpResponse response;
    response.status = static_cast<int>(soup_message_get_status(message));
    soup_message_headers_foreach(
        soup_message_get_response_headers(message),
        [](const char* name, const char* value, gpointer headers) {
            static_cast<HttpHeaders*>(headers)->emplace_back(name, value);
        },
        &response.headers);
    response.body = std::move(body);
    return response;
}

// A failed status needs no body to be judged by, so past the limit it still
// comes back as itself; a successful one cannot be used without its body.
HttpResult tooLarge(SoupMessage* message, std::size_t limit) {
    if (!SOUP_STATUS_IS_SUCCESSFUL(soup_message_get_status(message))) return responseOf(message, {});
    return TransportError{"The answer is larger than " + std::to_string(limit) + " bytes.", true};
}

// Ends the exchange with `result`, or with the failure `error` describes.
void finish(std::unique_ptr<Exchange> exchange, std::optional<HttpResult> result, GError* error) {
    Network& network = exchange->network;
    exchange->stopTimer();
    network.inFlight.erase(exchange->id);
    if (!network.stopping) {
        if (error != nullptr)
            result = TransportError{exchange->timedOut ? timedOutDescription : error->message};
        network.answer(exchange->id, std::move(*result));
    }
    if (error != nullptr) g_error_free(error);
    exchange.reset();
    network.quitIfStopped();
}

void readMore(std::unique_ptr<Exchange> exchange);

void onRead(GObject* stream, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(data));
    GError* error = nullptr;
    GBytes* chunk = g_input_stream_read_bytes_finish(G_INPUT_STREAM(stream), result, &error);
    if (chunk == nullptr) return finish(std::move(exchange), std::nullopt, error);
    gsize size = 0;
    const auto* bytes = static_cast<const char*>(g_bytes_get_data(chunk, &size));
    if (size > 0) exchange->body.append(bytes, size);
    g_bytes_unref(chunk);
    const std::size_t limit = exchange->network.maximumBodyBytes;
    if (exchange->body.size() > limit) {
        auto result = tooLarge(exchange->message, limit);
        return finish(std::move(exchange), std::move(result), nullptr);
    }
    if (size > 0) {
        exchange->startTimer();
        return readMore(std::move(exchange));
    }
    auto response = responseOf(exchange->message, std::move(exchange->body));
    finish(std::move(exchange), std::move(response), nullptr);
}

void readMore(std::unique_ptr<Exchange> exchange) {
    GInputStream* stream = exchange->stream;
    GCancellable* cancellable = exchange->cancellable;
    g_input_stream_read_bytes_async(stream, kReadChunkBytes, G_PRIORITY_DEFAULT, cancellable, onRead,
                                    exchange.release());
}

// The body is read piece by piece, so an answer that never ends costs at
// most the limit in memory.
void onSent(GObject* session, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Exchange> exchange(static_cast<Exchange*>(data));
    GError* error = nullptr;
    exchange->stream = soup_session_send_finish(SOUP_SESSION(session), result, &error);
    if (exchange->stream == nullptr) return finish(std::move(exchange), std::nullopt, error);
    const std::size_t limit = exchange->network.maximumBodyBytes;
    const goffset announced =
        soup_message_headers_get_content_length(soup_message_get_response_headers(exchange->message));
    if (announced > 0 && std::uint64_t(announced) > limit) {
        auto result = tooLarge(exchange->message, limit);
        return finish(std::move(exchange), std::move(result), nullptr);
    }
    exchange->startTimer();
    readMore(std::move(exchange));
}

gpointer runNetwork(gpointer data) {
    auto& network = *static_cast<Network*>(data);
    g_main_context_push_thread_default(network.context);
    network.open();
    g_main_loop_run(network.loop);
    g_object_unref(network.session);
    // Whatever the session still had queued finishes before the context goes.
    while (g_main_context_iteration(network.context, FALSE)) {
    }
    g_main_context_pop_thread_default(network.context);
    if (network.end.markEnded()) delete &network;  // its client gave up waiting and left it to us
    return nullptr;
}

}  // namespace

void Network::open() {
    // The limits are fixed when a session is made; libsoup queues requests
    // beyond them, however many the caller started.
    session = connectionsPerHost == 0
                  ? soup_session_new()
                  : soup_session_new_with_options("max-conns-per-host", connectionsPerHost, "max-conns",
                                                  std::max(connectionsPerHost, 10u), nullptr);
    // The per-request timer is the only clock: the session's own 60 s socket
    // timeout would cut longer requests short with a different message.
    soup_session_set_timeout(session, 0);
    // Every connection is made with the backend's default database first,
    // whatever database it then gets, so that one is read here, once.
    soup_session_get_tls_database(session);
    if (!caFile) return;
    GError* error = nullptr;
    GTlsDatabase* database = g_tls_file_database_new(caFile->c_str(), &error);
    if (database == nullptr) {
        // Every request fails rather than silently trusting the system store.
        setupError = std::string("Cannot use the CA file: ") + (error ? error->message : "unknown error");
        if (error != nullptr) g_error_free(error);
        return;
    }
    soup_session_set_tls_database(session, database);
    g_object_unref(database);
}

// Before the first request the session holds no connection yet, so a new
// one with the wider limit loses nothing.
void Network::widen(unsigned requests) {
    if (stopping || used || requests <= std::max(connectionsPerHost, 2u)) return;
    connectionsPerHost = requests;
    g_object_unref(session);
    setupError.reset();
    open();
}

// Each preconnect holds its message until libsoup is done with it; a stop
// cancels them all.
void Network::preconnect(const std::string& url, unsigned count) {
    if (stopping || setupError) return;
    used = true;
    for (unsigned i = 0; i < count; ++i) {
        SoupMessage* message = soup_message_new("POST", url.c_str());
        if (message == nullptr) return;
        soup_message_add_flags(message, SOUP_MESSAGE_IDEMPOTENT);  // as the requests that will reuse it
        g_signal_connect(message, "network-event",
                         G_CALLBACK(+[](SoupMessage*, GSocketClientEvent event, GIOStream*, gpointer network) {
                             countEvent(*static_cast<Network*>(network), event);
                         }),
                         this);
        soup_session_preconnect_async(
            session, message, G_PRIORITY_DEFAULT, preconnects,
            [](GObject* source, GAsyncResult* result, gpointer data) {
                soup_session_preconnect_finish(SOUP_SESSION(source), result, nullptr);
                g_object_unref(data);
            },
            message);
    }
}

void Network::start(std::uint64_t id, HttpRequest request) {
    if (stopping) return;
    used = true;
    std::unique_ptr<Exchange> exchange(new Exchange(*this, id));
    std::optional<std::string> failure = setupError;
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
    if (failure) return answer(id, TransportError{std::move(*failure), true});

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
        g_signal_connect(exchange->message, "network-event", G_CALLBACK(onNetworkEvent), exchange.get());

    double seconds = request.timeout.count();
    if (std::isfinite(seconds) && seconds > 0) {
        exchange->timeoutMillis = static_cast<guint>(std::min(std::ceil(seconds * 1000.0), 4.0e9));
        exchange->startTimer();
    }
    inFlight.emplace(id, exchange.get());
    SoupMessage* message = exchange->message;
    GCancellable* cancellable = exchange->cancellable;
    soup_session_send_async(session, message, G_PRIORITY_DEFAULT, cancellable, onSent, exchange.release());
}

// The answer crosses to the caller's context; the caller may be gone by then.
void Network::answer(std::uint64_t id, HttpResult result) {
    runOn(callerContext, [waiting = waiting, id, result = std::move(result)]() mutable {
        auto owner = waiting.lock();
        if (!owner) return;
        auto found = owner->done.find(id);
        if (found == owner->done.end()) return;
        auto done = std::move(found->second);
        owner->done.erase(found);
        done(std::move(result));
    });
}

void Network::stop() {
    stopping = true;
    g_cancellable_cancel(preconnects);
    std::vector<Exchange*> pending;
    for (auto& [id, exchange] : inFlight) pending.push_back(exchange);
    for (Exchange* exchange : pending) {
        exchange->stopTimer();
        g_cancellable_cancel(exchange->cancellable);  // may free the exchange
    }
    soup_session_abort(session);
    quitIfStopped();
}

LibsoupHttpClient::LibsoupHttpClient(std::optional<std::filesystem::path> caFile, std::size_t maximumBodyBytes)
    : waiting_(std::make_shared<Waiting>()), network_(std::make_unique<Network>()) {
    network_->waiting = waiting_;
    network_->maximumBodyBytes = maximumBodyBytes;
    if (caFile) {
        std::error_code ignored;
        network_->caFile = std::filesystem::absolute(*caFile, ignored);
    }
    ensureNetworkTypes();
    thread_ = g_thread_new(kThreadName, runNetwork, network_.get());
}

LibsoupHttpClient::~LibsoupHttpClient() {
    waiting_->done.clear();
    runOn(network_->context, [network = network_.get()] { network->stop(); });
    if (network_->end.waitFor(stopLimit_) || !network_->end.abandon()) {
        g_thread_join(thread_);
        return;
    }
    // A stuck thread must not freeze the host on its way out: it keeps what
    // it uses and frees it when it ends; what it answers finds no one waiting.
    logThreadLeftRunning(kThreadName, stopLimit_);
    g_thread_unref(thread_);
    (void)network_.release();
}

void LibsoupHttpClient::setStopLimit(std::chrono::milliseconds limit) { stopLimit_ = limit; }

void LibsoupHttpClient::runOnNetworkThread(std::function<void()> work) {
    runOn(network_->context, std::move(work));
}

void LibsoupHttpClient::allowConcurrentRequests(unsigned requests) {
    runOn(network_->context, [network = network_.get(), requests] { network->widen(requests); });
}

void LibsoupHttpClient::preconnect(const std::string& url, unsigned connections) {
    runOn(network_->context, [network = network_.get(), url, connections] { network->preconnect(url, connections); });
}

int LibsoupHttpClient::connectionCount() const { return network_->connections; }
int LibsoupHttpClient::tlsHandshakeCount() const { return network_->tlsHandshakes; }

void LibsoupHttpClient::send(HttpRequest request, std::function<void(HttpResult)> done) {
    const std::uint64_t id = waiting_->nextId++;
    waiting_->done.emplace(id, std::move(done));
    // `done` never runs inside send(): even an early failure comes back as an answer.
    runOn(network_->context, [network = network_.get(), id, request = std::move(request)]() mutable {
        network->start(id, std::move(request));
    });
}

}  // namespace lxhf

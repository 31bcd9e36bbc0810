// The service's lifecycle and the HTTPS plumbing: one libsoup handler records
// each request, asks the route for its verdict, then applies any scripted fault.

#include "ServiceState.h"

#include <glib.h>
#include <libsoup/soup.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>

namespace lxhf::testing {

namespace {

constexpr std::string_view kFaviconPath = "/favicon.ico";

bool sameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && g_ascii_strncasecmp(a.data(), b.data(), a.size()) == 0;
}

Answer route(const RecordedRequest& request, State& state) {
    const std::string& path = request.path;
    if (path == kSessionsPath) return sessionsRoute(request, state);
    if (path == kOffersPath) return offersRoute(request, state);
    if (path == kEventsPath) return eventsRoute(request, state);
    if (path == kIntakePath) return intakeRoute(request, state);
    if (path == kPurchasePath) return purchaseRoute(request, state);
    if (path == kTermsPath) return termsRoute(request, state);
    if (path == kFaviconPath) {
        Answer answer;  // web views ask for it on their own; not the client's doing
        answer.status = 404;
        return answer;
    }
    return Answer::reject(404, "no route for " + path);
}

RecordedRequest readRequest(SoupServerMessage* msg) {
    RecordedRequest request;
    request.method = soup_server_message_get_method(msg);
    GUri* uri = soup_server_message_get_uri(msg);
    request.path = g_uri_get_path(uri);
    if (const char* query = g_uri_get_query(uri)) request.query = query;
    request.queryItems = parseQuery(request.query);
    request.httpVersion = soup_server_message_get_http_version(msg) == SOUP_HTTP_2_0 ? "HTTP/2" : "HTTP/1.1";
    if (GSocketAddress* peer = soup_server_message_get_remote_address(msg); G_IS_INET_SOCKET_ADDRESS(peer)) {
        auto* inet = G_INET_SOCKET_ADDRESS(peer);
        gchar* host = g_inet_address_to_string(g_inet_socket_address_get_address(inet));
        request.peer = std::string(host) + ":" + std::to_string(g_inet_socket_address_get_port(inet));
        g_free(host);
    }

    SoupMessageHeadersIter iter;
    soup_message_headers_iter_init(&iter, soup_server_message_get_request_headers(msg));
    const char* name = nullptr;
    const char* value = nullptr;
    while (soup_message_headers_iter_next(&iter, &name, &value)) request.headers.emplace_back(name, value);

    GBytes* body = soup_message_body_flatten(soup_server_message_get_request_body(msg));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(body, &size));
    if (data) request.body.assign(data, size);
    g_bytes_unref(body);
    return request;
}

void applyFault(Answer& answer, const Fault& fault) {
    if (fault.status != 0) answer.status = fault.status;
    if (fault.body) answer.body = *fault.body;
    for (const auto& [name, value] : fault.headers) {
        std::erase_if(answer.headers, [&](const auto& header) { return sameName(header.first, name); });
        if (sameName(name, "Content-Type")) {
            answer.contentType = value.value_or("");
        } else if (value) {
            answer.headers.emplace_back(name, *value);
        }
    }
    if (fault.drop) answer.drop = true;
    if (fault.truncate) answer.truncate = fault.truncate;
}

void dropConnection(SoupServerMessage* msg) {
    if (GIOStream* stream = soup_server_message_steal_connection(msg)) {
        g_io_stream_close(stream, nullptr, nullptr);
        g_object_unref(stream);
    }
}

// Written by hand on the stolen connection: libsoup would not send a body
// shorter than the length it announced.
void sendCut(SoupServerMessage* msg, const Answer& answer, std::size_t keep) {
    GIOStream* stream = soup_server_message_steal_connection(msg);
    if (!stream) return;
    std::string text = "HTTP/1.1 " + std::to_string(answer.status) + " " +
                       soup_status_get_phrase(static_cast<guint>(answer.status)) + "\r\n";
    if (!answer.contentType.empty()) text += "Content-Type: " + answer.contentType + "\r\n";
    for (const auto& [name, value] : answer.headers) text += name + ": " + value + "\r\n";
    // No "Connection: close": with it, libsoup takes the close for the end of the body.
    text += "Content-Length: " + std::to_string(answer.body.size()) + "\r\n\r\n";
    text.append(answer.body, 0, std::min(keep, answer.body.size()));
    g_output_stream_write_all(g_io_stream_get_output_stream(stream), text.data(), text.size(), nullptr, nullptr,
                              nullptr);
    g_io_stream_close(stream, nullptr, nullptr);
    g_object_unref(stream);
}

void respond(SoupServerMessage* msg, const Answer& answer) {
    if (answer.drop) {
        dropConnection(msg);
        return;
    }
    if (answer.truncate) {
        sendCut(msg, answer, *answer.truncate);
        return;
    }
    soup_server_message_set_status(msg, static_cast<guint>(answer.status), nullptr);
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(msg);
    for (const auto& [name, value] : answer.headers) soup_message_headers_replace(headers, name.c_str(), value.c_str());
    if (!answer.body.empty() || !answer.contentType.empty()) {
        soup_server_message_set_response(msg, answer.contentType.empty() ? nullptr : answer.contentType.c_str(),
                                         SOUP_MEMORY_COPY, answer.body.data(), answer.body.size());
    }
}

// An answer held back by a fault's delay; the message stays paused meanwhile.
struct Delayed {
    State* state = nullptr;
    State::Server* server = nullptr;
    SoupServerMessage* msg = nullptr;
    Answer answer;
    GSource* source = nullptr;
    bool finished = false;  // the client went away first
    std::string path;
};

}  // namespace

struct State::Server {
    SoupServer* soup = nullptr;
    GMainContext* context = nullptr;
    GMainLoop* loop = nullptr;  // own-thread mode only
    std::thread thread;
    bool ownThread = false;
    std::set<Delayed*> pending;  // touched on the serving thread only
    CertificateFiles certificates;
};

namespace {

void onFinished(SoupServerMessage*, gpointer data) { static_cast<Delayed*>(data)->finished = true; }

gboolean deliverDelayed(gpointer data) {
    auto* delayed = static_cast<Delayed*>(data);
    if (!delayed->finished) {
        respond(delayed->msg, delayed->answer);
        if (!delayed->answer.drop && !delayed->answer.truncate) soup_server_message_unpause(delayed->msg);
    }
    return G_SOURCE_REMOVE;
}

void closeRequest(State& state, const std::string& path) {
    std::lock_guard lock(state.mutex);
    if (auto found = state.open.find(path); found != state.open.end() && --found->second <= 0) state.open.erase(found);
}

void releaseDelayed(gpointer data) {
    auto* delayed = static_cast<Delayed*>(data);
    closeRequest(*delayed->state, delayed->path);
    delayed->server->pending.erase(delayed);
    g_signal_handlers_disconnect_by_data(delayed->msg, delayed);
    g_object_unref(delayed->msg);
    delete delayed;
}

void answerLater(State& state, std::string path, SoupServerMessage* msg, Answer answer, double seconds) {
    State::Server& server = *state.server;
    auto* delayed = new Delayed{&state, &server, SOUP_SERVER_MESSAGE(g_object_ref(msg)), std::move(answer),
                                nullptr, false, std::move(path)};
    g_signal_connect(msg, "finished", G_CALLBACK(onFinished), delayed);
    soup_server_message_pause(msg);
    delayed->source = g_timeout_source_new(static_cast<guint>(seconds * 1000.0));
    g_source_set_callback(delayed->source, deliverDelayed, delayed, releaseDelayed);
    server.pending.insert(delayed);
    g_source_attach(delayed->source, server.context);
    g_source_unref(delayed->source);
}

void handle(SoupServer*, SoupServerMessage* msg, const char*, GHashTable*, gpointer data) {
    auto& state = *static_cast<State*>(data);
    RecordedRequest request = readRequest(msg);
    Answer answer;
    std::optional<Fault> fault;
    {
        std::lock_guard lock(state.mutex);
        try {
            answer = route(request, state);
        } catch (const std::exception& problem) {
            // A gap in a route's checks must not take the test run down with it.
            answer = Answer::reject(500, std::string("service fault: ") + problem.what());
        }
        request.status = answer.drop ? 0 : answer.status;
        request.accepted = answer.reason.empty();
        request.reason = answer.reason;
        request.notes = answer.notes;
        if (auto found = state.faults.find(request.path); found != state.faults.end() && !found->second.empty()) {
            Fault& first = found->second.front();
            fault = first;
            if (first.count > 0 && --first.count == 0) found->second.pop_front();
            if (found->second.empty()) state.faults.erase(found);
        }
        request.faulted = fault.has_value();
        request.concurrent = ++state.open[request.path];
        state.records.push_back(request);
    }
    state.changed.notify_all();
    if (fault) applyFault(answer, *fault);
    if (fault && fault->delaySeconds > 0) {
        answerLater(state, request.path, msg, std::move(answer), fault->delaySeconds);
    } else {
        respond(msg, answer);
        closeRequest(state, request.path);
    }
}

bool listen(State& state, std::string& error) {
    auto& server = *state.server;
    const auto& files = server.certificates;
    GError* gerror = nullptr;
    GTlsCertificate* certificate =
        g_tls_certificate_new_from_files(files.certFile.c_str(), files.keyFile.c_str(), &gerror);
    if (!certificate) {
        error = std::string("TLS certificate: ") + gerror->message;
        g_error_free(gerror);
        return false;
    }
    server.soup = soup_server_new("tls-certificate", certificate, "server-header", "fermo-test", nullptr);
    g_object_unref(certificate);
    soup_server_add_handler(server.soup, nullptr, handle, &state, nullptr);

    GInetAddress* loopback = g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4);
    GSocketAddress* address = g_inet_socket_address_new(loopback, state.port);
    const gboolean ok = soup_server_listen(server.soup, address, SOUP_SERVER_LISTEN_HTTPS, &gerror);
    g_object_unref(address);
    g_object_unref(loopback);
    if (!ok) {
        error = std::string("listen: ") + gerror->message;
        g_error_free(gerror);
        return false;
    }
    GSList* uris = soup_server_get_uris(server.soup);
    if (uris) state.port = static_cast<std::uint16_t>(g_uri_get_port(static_cast<GUri*>(uris->data)));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    return true;
}

// Runs on the serving thread.
void closeServer(State::Server& server) {
    for (Delayed* delayed : std::vector<Delayed*>(server.pending.begin(), server.pending.end())) {
        g_source_destroy(delayed->source);
    }
    if (server.soup) {
        soup_server_disconnect(server.soup);
        g_clear_object(&server.soup);
    }
}

}  // namespace

FermoTestService::FermoTestService() : FermoTestService(Options{}) {}

FermoTestService::FermoTestService(Options options) : state_(std::make_unique<State>()) {
    state_->port = options.port;
    for (int i = 0; i < 8; ++i) state_->signingKey += std::to_string(g_random_int()) + ":";
}

FermoTestService::~FermoTestService() { stop(); }

bool FermoTestService::start(std::string* error) {
    std::string reason;
    if (state_->server) {
        reason = "already started";
    } else {
        state_->server = std::make_unique<State::Server>();
        auto& server = *state_->server;
        if (makeCertificates(server.certificates, reason)) {
            server.context = g_main_context_ref_thread_default();
            if (listen(*state_, reason)) {
                state_->caPath = server.certificates.caFile;
                return true;
            }
        }
        stop();
    }
    if (error) *error = reason;
    return false;
}

namespace {

// The service's thread may serve while the process's main thread makes a
// client's types, so, as the client does, it makes every type it will use
// before its thread starts (GLib can deadlock on two threads making the
// same types at once).
void ensureServerTypes() {
    GTlsBackend* backend = g_tls_backend_get_default();
    const GType types[] = {SOUP_TYPE_SERVER,
                           SOUP_TYPE_SERVER_MESSAGE,
                           SOUP_TYPE_MESSAGE_HEADERS,
                           G_TYPE_SOCKET_SERVICE,
                           G_TYPE_SOCKET_LISTENER,
                           G_TYPE_SOCKET,
                           G_TYPE_SOCKET_CONNECTION,
                           G_TYPE_TCP_CONNECTION,
                           G_TYPE_INET_ADDRESS,
                           G_TYPE_INET_SOCKET_ADDRESS,
                           G_TYPE_TLS_CERTIFICATE,
                           G_TYPE_TLS_SERVER_CONNECTION,
                           G_TYPE_POLLABLE_INPUT_STREAM,
                           G_TYPE_POLLABLE_OUTPUT_STREAM,
                           g_tls_backend_get_certificate_type(backend),
                           g_tls_backend_get_server_connection_type(backend)};
    for (GType type : types)
        if (G_TYPE_IS_CLASSED(type)) (void)g_type_class_ref(type);
}

}  // namespace

bool FermoTestService::startOnOwnThread(std::string* error) {
    ensureServerTypes();
    std::string reason;
    if (state_->server) {
        if (error) *error = "already started";
        return false;
    }
    state_->server = std::make_unique<State::Server>();
    auto& server = *state_->server;
    server.ownThread = true;
    if (!makeCertificates(server.certificates, reason)) {
        stop();
        if (error) *error = reason;
        return false;
    }
    server.context = g_main_context_new();
    server.loop = g_main_loop_new(server.context, FALSE);
    std::promise<std::string> started;
    auto startedResult = started.get_future();
    server.thread = std::thread([this, &started] {
        auto& own = *state_->server;
        g_main_context_push_thread_default(own.context);
        std::string problem;
        const bool ok = listen(*state_, problem);
        started.set_value(ok ? std::string() : problem.empty() ? "listen failed" : problem);
        if (ok) g_main_loop_run(own.loop);
        closeServer(own);
        g_main_context_pop_thread_default(own.context);
    });
    reason = startedResult.get();
    if (!reason.empty()) {
        stop();
        if (error) *error = reason;
        return false;
    }
    state_->caPath = server.certificates.caFile;
    return true;
}

void FermoTestService::stop() {
    if (!state_->server) return;
    auto& server = *state_->server;
    if (server.thread.joinable()) {
        g_main_loop_quit(server.loop);
        server.thread.join();
    } else {
        closeServer(server);
    }
    g_clear_pointer(&server.loop, g_main_loop_unref);
    g_clear_pointer(&server.context, g_main_context_unref);
    removeCertificates(server.certificates);
    state_->server.reset();
    state_->caPath.clear();
}

bool FermoTestService::isRunning() const { return state_->server && state_->server->soup; }

std::uint16_t FermoTestService::port() const { return state_->port; }
std::string FermoTestService::baseUrl() const { return "https://" + micrositeHost(); }
std::string FermoTestService::apiBase() const { return baseUrl() + std::string(kApiPrefix); }
std::string FermoTestService::micrositeHost() const { return "127.0.0.1:" + std::to_string(port()); }
std::string FermoTestService::micrositeBase() const { return baseUrl() + std::string(kPurchasePath); }
std::string FermoTestService::intakeUrl() const { return baseUrl() + std::string(kIntakePath); }
std::string FermoTestService::caFile() const { return state_->caPath; }

bool FermoTestService::waitForCount(std::string_view path, int n, double timeoutSeconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
    if (state_->server && state_->server->ownThread) {
        const std::string wanted = normalisePath(path);
        std::unique_lock lock(state_->mutex);
        return state_->changed.wait_until(lock, deadline, [&] {
            return std::count_if(state_->records.begin(), state_->records.end(),
                                 [&](const RecordedRequest& r) { return r.path == wanted; }) >= n;
        });
    }
    while (count(path) < n) {
        if (!state_->server || std::chrono::steady_clock::now() >= deadline) return false;
        if (!g_main_context_iteration(state_->server->context, FALSE)) g_usleep(1000);
    }
    return true;
}

}  // namespace lxhf::testing

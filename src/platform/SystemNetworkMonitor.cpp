#include "platform/SystemNetworkMonitor.h"

#include <gio/gio.h>

#include <optional>
#include <utility>

#include "platform/GioTypes.h"

namespace lxhf {

struct SystemNetworkMonitor::State {
    MainQueue* queue = nullptr;
    std::string host;
    std::uint16_t port = 0;
    std::function<void(bool)> onChange;
    GNetworkMonitor* monitor = nullptr;
    gulong changedHandler = 0;
    GCancellable* reachInFlight = nullptr;
};

namespace {

using State = SystemNetworkMonitor::State;

// Hops to the main queue. Every evaluation is a new path, also when
// availability stays the same: a roam from Wi-Fi to wired, or a VPN coming
// up, is "satisfied" again, and waiting work must be retried on it.
void report(const std::shared_ptr<State>& state, bool satisfied) {
    state->queue->post([weak = std::weak_ptr<State>(state), satisfied] {
        auto current = weak.lock();
        if (!current || !current->onChange) return;
        current->onChange(satisfied);
    });
}

void cancelReach(State& state) {
    if (state.reachInFlight == nullptr) return;
    g_cancellable_cancel(state.reachInFlight);
    g_object_unref(state.reachInFlight);
    state.reachInFlight = nullptr;
}

void onReached(GObject* monitor, GAsyncResult* result, gpointer data) {
    std::unique_ptr<std::weak_ptr<State>> weak(static_cast<std::weak_ptr<State>*>(data));
    GError* error = nullptr;
    bool reachable = g_network_monitor_can_reach_finish(G_NETWORK_MONITOR(monitor), result, &error);
    bool cancelled = error != nullptr && g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
    if (error != nullptr) g_error_free(error);
    if (cancelled) return;  // a newer check replaced this one, or we are gone
    if (auto state = weak->lock()) report(state, reachable);
}

void evaluate(const std::shared_ptr<State>& state) {
    cancelReach(*state);
    if (g_network_monitor_get_network_available(state->monitor) || state->host.empty()) {
        report(state, g_network_monitor_get_network_available(state->monitor));
        return;
    }
    state->reachInFlight = g_cancellable_new();
    GSocketConnectable* address = g_network_address_new(state->host.c_str(), state->port);
    g_network_monitor_can_reach_async(state->monitor, address, state->reachInFlight, onReached,
                                      new std::weak_ptr<State>(state));
    g_object_unref(address);
}

void onNetworkChanged(GNetworkMonitor*, gboolean, gpointer data) {
    auto* weak = static_cast<std::weak_ptr<State>*>(data);
    if (auto state = weak->lock()) evaluate(state);
}

}  // namespace

SystemNetworkMonitor::SystemNetworkMonitor(MainQueue& queue, std::string apiHost, std::uint16_t apiPort)
    : state_(std::make_shared<State>()) {
    state_->queue = &queue;
    state_->host = std::move(apiHost);
    state_->port = apiPort;
    // Reachability checks resolve names on GIO's worker threads.
    ensureNetworkTypes();
    state_->monitor = G_NETWORK_MONITOR(g_object_ref(g_network_monitor_get_default()));
}

SystemNetworkMonitor::SystemNetworkMonitor(MainQueue& queue, std::string_view apiBaseUrl)
    : SystemNetworkMonitor(queue, std::string(), 0) {
    GUri* uri = g_uri_parse(std::string(apiBaseUrl).c_str(), G_URI_FLAGS_NONE, nullptr);
    if (uri == nullptr) return;
    if (const char* host = g_uri_get_host(uri)) state_->host = host;
    int port = g_uri_get_port(uri);
    if (port <= 0) port = g_strcmp0(g_uri_get_scheme(uri), "http") == 0 ? 80 : 443;
    state_->port = static_cast<std::uint16_t>(port);
    g_uri_unref(uri);
}

SystemNetworkMonitor::~SystemNetworkMonitor() {
    if (state_->changedHandler != 0) g_signal_handler_disconnect(state_->monitor, state_->changedHandler);
    cancelReach(*state_);
    g_object_unref(state_->monitor);
}

void SystemNetworkMonitor::start(std::function<void(bool satisfied)> onChange) {
    state_->onChange = std::move(onChange);
    if (state_->changedHandler == 0) {
        state_->changedHandler = g_signal_connect_data(
            state_->monitor, "network-changed", G_CALLBACK(onNetworkChanged), new std::weak_ptr<State>(state_),
            [](gpointer data, GClosure*) { delete static_cast<std::weak_ptr<State>*>(data); }, GConnectFlags{});
    }
    evaluate(state_);
}

}  // namespace lxhf

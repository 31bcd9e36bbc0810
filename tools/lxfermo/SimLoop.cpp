#include "SimLoop.h"

#include <glib-unix.h>

#include <csignal>
#include <cstdio>
#include <string_view>

namespace lxfermo {
namespace {

constexpr guint kRequestPollMs = 250;
// Far more than any request the library sends; a longer body is cut there.
constexpr std::size_t kLongestBodyShown = 16 * 1024;

// "    POST /api/hotels/v1.0/sessions body: {...}". Control characters are
// written as \n, \r, \t or \xNN so a body takes one line; compact JSON has
// none, so a client's JSON shows exactly as sent.
std::string bodyLine(const lxhf::testing::RecordedRequest& r) {
    std::string line = "    " + r.method + " " + r.path + " body: ";
    if (r.body.empty()) return line + "(empty)";
    for (const char c : std::string_view(r.body).substr(0, kLongestBodyShown)) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') line += "\\n";
        else if (c == '\r') line += "\\r";
        else if (c == '\t') line += "\\t";
        else if (byte < 0x20 || byte == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            line += escaped;
        } else {
            line += c;
        }
    }
    if (r.body.size() > kLongestBodyShown) line += "... (" + std::to_string(r.body.size()) + " bytes in all)";
    return line;
}

void printNewRequests(SimRun& run, std::FILE* out) {
    const auto requests = run.service->requests();
    for (; run.printed < requests.size(); ++run.printed) {
        const auto& r = requests[run.printed];
        std::string line = "  " + r.method + " " + r.path + (r.query.empty() ? "" : "?" + r.query) + " -> " +
                           std::to_string(r.status);
        if (!r.accepted) line += " refused: " + r.reason;
        if (r.faulted) line += " (scripted fault)";
        for (const auto& note : r.notes) line += " [" + note + "]";
        std::fprintf(out, "%s\n", line.c_str());
        if (run.verbose) std::fprintf(out, "%s\n", bodyLine(r).c_str());
    }
    std::fflush(out);
}

}  // namespace

Signals::Signals(GMainLoop* loop) : loop_(loop) {
    interrupt_ = g_unix_signal_add(SIGINT, onSignal, &handlers_[0]);
    terminate_ = g_unix_signal_add(SIGTERM, onSignal, &handlers_[1]);
}

Signals::~Signals() {
    g_source_remove(interrupt_);
    g_source_remove(terminate_);
}

gboolean Signals::onSignal(gpointer data) {
    const auto* handler = static_cast<Handler*>(data);
    if (handler->self->child_) g_subprocess_send_signal(handler->self->child_, handler->number);
    else g_main_loop_quit(handler->self->loop_);
    return G_SOURCE_CONTINUE;
}

void runLoop(SimRun& run, std::FILE* log) {
    struct Poll {
        SimRun* run;
        std::FILE* log;
    } poll{&run, log};
    const guint pollSource = g_timeout_add(
        kRequestPollMs,
        [](gpointer data) -> gboolean {
            auto* p = static_cast<Poll*>(data);
            if (p->log) printNewRequests(*p->run, p->log);
            return G_SOURCE_CONTINUE;
        },
        &poll);
    g_main_loop_run(run.loop);
    if (log) printNewRequests(run, log);
    g_source_remove(pollSource);
}

}  // namespace lxfermo

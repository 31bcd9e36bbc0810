// `lxfermo sim`: the local Fermo test service alone, on this thread's main
// loop, until SIGINT or SIGTERM. Each request it records is printed as it
// arrives, so a developer sees what a client sent and what it got.

#include <glib-unix.h>
#include <glib.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "CommandLine.h"
#include "Commands.h"
#include "FermoTestService.h"

namespace lxfermo {
namespace {

const std::vector<OptionInfo> kSimOptions = {
    {"port", "N", "listen on this port of 127.0.0.1 (default: a free one)"},
    {"faults", "FILE", "scripted faults, JSON: {\"<path>\": {\"status\": 500, ...}, ...}"},
    {"outcomes", "FILE", "per-room answers, JSON: {\"<room id>\": \"unavailable\", ...}"},
    {"verbose", "", "also print each request's body, on a line of its own"},
    {"page", "SCRIPT", "what the purchase page does once loaded: ready (default), purchase, close, error"},
};

constexpr const char* kSimSummary =
    "Runs the local Fermo test service (HTTPS on 127.0.0.1 with a CA generated at\n"
    "start) until interrupted, printing its addresses, the CA file to trust, and\n"
    "each request it receives. Fault paths are absolute (\"/api/v2/logs\") or\n"
    "relative to the API base (\"sessions\", \"fermo_offers\", \"events/batch\");\n"
    "a fault's fields are status, body, headers, delay (seconds before answering),\n"
    "drop (cut the connection unanswered), truncate (cut the body after N bytes) and\n"
    "count (the calls it applies to; absent: all). A path may take a list of faults\n"
    "applied in turn, each for its count: {\"fermo_offers\": [{\"status\": 503,\n"
    "\"headers\": {\"Retry-After\": \"2\"}, \"count\": 2}, {\"drop\": true, \"count\": 1},\n"
    "{\"delay\": 0.1}]} answers 503 twice, cuts the third, then answers 0.1 s late.\n"
    "An outcome is full (the default), base, unavailable, loading, omitted (the room\n"
    "is left out of the answer) or malformed (the whole answer cannot be read).\n"
    "With --verbose, each request's line is followed by one more, indented further:\n"
    "its method, path and body, control characters written as \\n, \\r, \\t or \\xNN\n"
    "so that a body takes exactly one line; a body over 16 KiB is cut there.";

constexpr guint kRequestPollMs = 250;
// Far more than any request the library sends; a longer body is cut there.
constexpr std::size_t kLongestBodyShown = 16 * 1024;

std::optional<std::string> readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

struct SimRun {
    lxhf::testing::FermoTestService* service;
    GMainLoop* loop;
    bool verbose = false;
    std::size_t printed = 0;
};

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

void printNewRequests(SimRun& run) {
    const auto requests = run.service->requests();
    for (; run.printed < requests.size(); ++run.printed) {
        const auto& r = requests[run.printed];
        std::string line = "  " + r.method + " " + r.path + (r.query.empty() ? "" : "?" + r.query) + " -> " +
                           std::to_string(r.status);
        if (!r.accepted) line += " refused: " + r.reason;
        if (r.faulted) line += " (scripted fault)";
        for (const auto& note : r.notes) line += " [" + note + "]";
        std::printf("%s\n", line.c_str());
        if (run.verbose) std::printf("%s\n", bodyLine(r).c_str());
    }
    std::fflush(stdout);
}

}  // namespace

int runSim(const std::vector<std::string>& args) {
    const auto parsed = optionsOrExit("sim", kSimSummary, args, kSimOptions);
    const auto* options = std::get_if<ParsedOptions>(&parsed);
    if (!options) return std::get<int>(parsed);
    lxhf::testing::FermoTestService::Options serviceOptions;
    if (const std::string* port = options->value("port")) {
        const auto number = parseInteger(*port, 1, 65535);
        if (!number) {
            complain("sim", "--port needs a number from 1 to 65535, not '" + *port + "'");
            return kUsageError;
        }
        serviceOptions.port = static_cast<std::uint16_t>(*number);
    }
    std::optional<std::string> faults, outcomes;
    for (auto [option, text] : {std::pair{"faults", &faults}, std::pair{"outcomes", &outcomes}}) {
        const std::string* path = options->value(option);
        if (path && !(*text = readFile(*path))) {
            complain("sim", std::string("cannot read the ") + option + " file '" + *path + "'");
            return 1;
        }
    }

    std::optional<lxhf::testing::PurchaseScript> page;
    if (const std::string* name = options->value("page")) {
        page = lxhf::testing::purchaseScriptFromName(*name);
        if (!page) {
            complain("sim", "--page takes ready, purchase, close or error, not '" + *name + "'");
            return kUsageError;
        }
    }

    lxhf::testing::FermoTestService service(serviceOptions);
    if (page) service.setPurchaseScript(*page);
    if (faults) {
        std::string error;
        if (!service.loadFaults(*faults, &error)) {
            complain("sim", "the faults file is not usable: " + error);
            return 1;
        }
    }
    if (std::string error; outcomes && !service.loadOutcomes(*outcomes, &error)) {
        complain("sim", "the outcomes file is not usable: " + error);
        return 1;
    }
    std::fprintf(stderr, "lxfermo sim: generating certificates and starting the service...\n");
    std::string error;
    if (!service.start(&error)) {
        complain("sim", "the test service did not start: " + error);
        return 1;
    }
    // Handlers first, so a signal sent as soon as the address shows is caught.
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    SimRun run{&service, loop, options->has("verbose")};
    auto quit = [](gpointer data) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(data));
        return G_SOURCE_CONTINUE;
    };
    const guint interrupt = g_unix_signal_add(SIGINT, quit, loop);
    const guint terminate = g_unix_signal_add(SIGTERM, quit, loop);
    const guint poll = g_timeout_add(
        kRequestPollMs,
        [](gpointer data) -> gboolean {
            printNewRequests(*static_cast<SimRun*>(data));
            return G_SOURCE_CONTINUE;
        },
        &run);
    std::printf("Fermo test service at %s\n", service.baseUrl().c_str());
    std::printf("  API base:      %s\n", service.apiBase().c_str());
    std::printf("  microsite:     %s\n", service.micrositeBase().c_str());
    std::printf("  log intake:    %s\n", service.intakeUrl().c_str());
    std::printf("  CA file:       %s\n", service.caFile().c_str());
    if (faults) std::printf("  faults from:   %s\n", options->value("faults")->c_str());
    std::printf("Press Ctrl-C to stop.\n");
    std::fflush(stdout);

    g_main_loop_run(loop);
    printNewRequests(run);
    g_source_remove(poll);
    g_source_remove(interrupt);
    g_source_remove(terminate);
    g_main_loop_unref(loop);
    service.stop();
    std::printf("Stopped.\n");
    return 0;
}

}  // namespace lxfermo

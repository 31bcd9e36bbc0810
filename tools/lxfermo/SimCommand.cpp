// `lxfermo sim`: the local Fermo test service alone, on this thread's main
// loop, until SIGINT or SIGTERM. Each request it records is printed as it
// arrives, so a developer sees what a client sent and what it got.
// With `-- COMMAND`, it runs the command with the service's addresses in
// LXHF_* variables and stops with it; with --print-env, it goes to the
// background and prints those variables for a shell to eval.

#include <gio/gio.h>
#include <glib.h>
#include <fcntl.h>
#include <poll.h>
#include <glib/gstdio.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include "CommandLine.h"
#include "Commands.h"
#include "FermoTestService.h"
#include "SimLoop.h"

namespace lxfermo {
namespace {

const std::vector<OptionInfo> kSimOptions = {
    {"port", "N", "listen on this port of 127.0.0.1 (default: a free one)"},
    {"faults", "FILE", "scripted faults, JSON: {\"<path>\": {\"status\": 500, ...}, ...}"},
    {"outcomes", "FILE", "per-room answers, JSON: {\"<room id>\": \"unavailable\", ...}"},
    {"verbose", "", "also print each request's body, on a line of its own"},
    {"page", "SCRIPT", "what the purchase page does once loaded: ready (default), purchase, close, error"},
    {"print-env", "", "run in the background; print the variables below for eval, and LXHF_SIM_PID"},
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
    "so that a body takes exactly one line; a body over 16 KiB is cut there.\n"
    "\n"
    "For an app under development, the service's addresses come as environment\n"
    "variables: LXHF_API_BASE, LXHF_MICROSITE_BASE, LXHF_INTAKE_URL, LXHF_CA_FILE,\n"
    "and LXHF_CACHE_DIR, a fresh folder for the session file (removed on stop).\n"
    "The library reads none of them; the app passes them to setEndpoints.\n"
    "  lxfermo sim [options] -- COMMAND [ARGS...]\n"
    "      runs COMMAND with them set, logging requests to stderr, stops the\n"
    "      service when it exits and exits with its status (127: cannot run it).\n"
    "  eval \"$(lxfermo sim --print-env [options])\"\n"
    "      starts the service in the background and sets them in the shell;\n"
    "      `kill $LXHF_SIM_PID` stops it.";

std::optional<std::string> readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// What the options asked for, read before anything starts so that a bad
// option or file is reported on the terminal.
struct SimSetup {
    lxhf::testing::FermoTestService::Options service;
    std::optional<lxhf::testing::PurchaseScript> page;
    std::optional<std::string> faults, outcomes;
    bool verbose = false;
};

// The running service and the session folder it hands to an app.
struct Running {
    std::unique_ptr<lxhf::testing::FermoTestService> service;
    std::string folder;  // removed with everything in it on stop
    std::string cacheDir;

    Running() = default;
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { stop(); }

    void stop() {
        if (service) service->stop();
        service.reset();
        std::error_code ignored;
        if (!folder.empty()) std::filesystem::remove_all(folder, ignored);
        folder.clear();
    }
};

// Absent after a complaint, with the exit code in *code.
std::optional<SimSetup> readSetup(const ParsedOptions& options, int* code) {
    SimSetup setup;
    setup.verbose = options.has("verbose");
    *code = kUsageError;
    if (const std::string* port = options.value("port")) {
        const auto number = parseInteger(*port, 1, 65535);
        if (!number) {
            complain("sim", "--port needs a number from 1 to 65535, not '" + *port + "'");
            return std::nullopt;
        }
        setup.service.port = static_cast<std::uint16_t>(*number);
    }
    if (const std::string* name = options.value("page")) {
        setup.page = lxhf::testing::purchaseScriptFromName(*name);
        if (!setup.page) {
            complain("sim", "--page takes ready, purchase, close or error, not '" + *name + "'");
            return std::nullopt;
        }
    }
    *code = 1;
    for (auto [option, text] : {std::pair{"faults", &setup.faults}, std::pair{"outcomes", &setup.outcomes}}) {
        const std::string* path = options.value(option);
        if (path && !(*text = readFile(*path))) {
            complain("sim", std::string("cannot read the ") + option + " file '" + *path + "'");
            return std::nullopt;
        }
    }
    return setup;
}

// False with the reason in *error.
bool start(const SimSetup& setup, bool withCacheDir, Running& running, std::string* error) {
    running.service = std::make_unique<lxhf::testing::FermoTestService>(setup.service);
    auto& service = *running.service;
    if (setup.page) service.setPurchaseScript(*setup.page);
    std::string why;
    if (setup.faults && !service.loadFaults(*setup.faults, &why)) {
        *error = "the faults file is not usable: " + why;
        return false;
    }
    if (setup.outcomes && !service.loadOutcomes(*setup.outcomes, &why)) {
        *error = "the outcomes file is not usable: " + why;
        return false;
    }
    if (!service.start(&why)) {
        *error = "the test service did not start: " + why;
        running.service.reset();
        return false;
    }
    if (!withCacheDir) return true;
    GError* dirError = nullptr;
    gchar* folder = g_dir_make_tmp("lxfermo-sim-XXXXXX", &dirError);
    if (!folder) {
        *error = std::string("the test service did not start: cannot make a session folder: ") + dirError->message;
        g_error_free(dirError);
        return false;
    }
    running.folder = folder;
    g_free(folder);
    running.cacheDir = running.folder + "/cache";
    if (g_mkdir(running.cacheDir.c_str(), 0700) != 0) {
        *error = "the test service did not start: cannot make " + running.cacheDir;
        return false;
    }
    return true;
}

std::vector<std::pair<const char*, std::string>> variables(const Running& running) {
    const auto& service = *running.service;
    return {{"LXHF_API_BASE", service.apiBase()},
            {"LXHF_MICROSITE_BASE", service.micrositeBase()},
            {"LXHF_INTAKE_URL", service.intakeUrl()},
            {"LXHF_CA_FILE", service.caFile()},
            {"LXHF_CACHE_DIR", running.cacheDir}};
}

// Shells give 127 for a command they cannot find and 128 + N for one
// killed by signal N; so does this.
int runCommand(const SimSetup& setup, const std::vector<std::string>& command) {
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    Signals signals(loop);
    Running running;
    std::string error;
    if (!start(setup, true, running, &error)) {
        complain("sim", error);
        g_main_loop_unref(loop);
        return 1;
    }
    GSubprocessLauncher* launcher = g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_NONE);
    for (const auto& [name, value] : variables(running)) g_subprocess_launcher_setenv(launcher, name, value.c_str(), TRUE);
    std::vector<const char*> argv;
    for (const auto& arg : command) argv.push_back(arg.c_str());
    argv.push_back(nullptr);
    GError* spawnError = nullptr;
    GSubprocess* child = g_subprocess_launcher_spawnv(launcher, argv.data(), &spawnError);
    g_object_unref(launcher);
    if (!child) {
        complain("sim", "cannot run '" + command.front() + "': " + spawnError->message);
        g_error_free(spawnError);
        g_main_loop_unref(loop);
        return 127;
    }
    signals.forwardTo(child);
    SimRun run{running.service.get(), loop, setup.verbose};
    g_subprocess_wait_async(
        child, nullptr,
        [](GObject*, GAsyncResult*, gpointer data) { g_main_loop_quit(static_cast<GMainLoop*>(data)); }, loop);
    runLoop(run, stderr);
    signals.forwardTo(nullptr);
    g_main_loop_unref(loop);
    const int status = g_subprocess_get_if_signaled(child) ? 128 + g_subprocess_get_term_sig(child)
                                                           : g_subprocess_get_exit_status(child);
    g_object_unref(child);
    return status;
}

constexpr int kStartLimitSeconds = 60;

// ssh-agent's way: the parent prints the variables once the service in a
// detached child answers, and exits, so `$(...)` sees the end of its output.
int runInBackground(const SimSetup& setup) {
    int report[2];
    if (pipe(report) != 0) {
        complain("sim", "cannot make a pipe");
        return 1;
    }
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid < 0) {
        complain("sim", "cannot fork");
        return 1;
    }
    if (pid > 0) {
        close(report[1]);
        std::string text;
        // A service that never starts (openssl stuck, say) must not hold the
        // caller's `eval "$(...)"` for ever.
        const gint64 deadline = g_get_monotonic_time() + kStartLimitSeconds * G_USEC_PER_SEC;
        char buffer[4096];
        for (;;) {
            pollfd readable{report[0], POLLIN, 0};
            const gint64 left = (deadline - g_get_monotonic_time()) / 1000;
            const int ready = left > 0 ? poll(&readable, 1, static_cast<int>(left)) : 0;
            if (ready == 0) {
                kill(pid, SIGTERM);
                text = "the test service did not start within " + std::to_string(kStartLimitSeconds) + " s";
                break;
            }
            if (ready < 0 && errno == EINTR) continue;
            const ssize_t n = ready < 0 ? -1 : read(report[0], buffer, sizeof buffer);
            if (n == 0) break;
            if (n > 0) text.append(buffer, static_cast<std::size_t>(n));
            else if (errno != EINTR) break;
        }
        close(report[0]);
        if (text.rfind("export ", 0) != 0) {
            waitpid(pid, nullptr, 0);
            complain("sim", text.empty() ? std::string("the test service did not start") : text);
            return 1;
        }
        std::fputs(text.c_str(), stdout);
        return 0;
    }
    close(report[0]);
    setsid();
    // Nothing of the child may hold the caller's terminal or pipe open.
    const int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd <= 2; ++fd) dup2(null, fd);
    if (null > 2) close(null);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    Signals signals(loop);
    Running running;
    std::string error, text;
    const bool started = start(setup, true, running, &error);
    if (!started) {
        text = error;
    } else {
        text = "export";
        for (const auto& [name, value] : variables(running)) text += std::string(" ") + name + "=" + shellQuoted(value);
        text += " LXHF_SIM_PID=" + std::to_string(getpid()) + "\n";
    }
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t n = write(report[1], text.data() + sent, text.size() - sent);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        sent += static_cast<std::size_t>(n);
    }
    close(report[1]);
    if (!started) {
        running.stop();
        _exit(1);
    }
    SimRun run{running.service.get(), loop, false};
    runLoop(run, nullptr);
    g_main_loop_unref(loop);
    return 0;
}

}  // namespace

int runSim(const std::vector<std::string>& allArgs) {
    const auto split = std::find(allArgs.begin(), allArgs.end(), "--");
    const std::vector<std::string> args(allArgs.begin(), split);
    const std::optional<std::vector<std::string>> command =
        split == allArgs.end() ? std::nullopt : std::optional(std::vector<std::string>(split + 1, allArgs.end()));
    const auto parsed = optionsOrExit("sim", kSimSummary, args, kSimOptions);
    const auto* options = std::get_if<ParsedOptions>(&parsed);
    if (!options) return std::get<int>(parsed);
    if (command && (command->empty() || command->front().empty())) {
        complain("sim", "'--' needs a command after it (see lxfermo sim --help)");
        return kUsageError;
    }
    if (command && options->has("print-env")) {
        complain("sim", "--print-env and a command are alternatives (see lxfermo sim --help)");
        return kUsageError;
    }
    int code = 0;
    const auto setup = readSetup(*options, &code);
    if (!setup) return code;
    if (command) return runCommand(*setup, *command);
    if (options->has("print-env")) return runInBackground(*setup);

    std::fprintf(stderr, "lxfermo sim: generating certificates and starting the service...\n");
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    Signals signals(loop);
    Running running;
    std::string error;
    if (!start(*setup, false, running, &error)) {
        complain("sim", error);
        g_main_loop_unref(loop);
        return 1;
    }
    const auto& service = *running.service;
    SimRun run{running.service.get(), loop, setup->verbose};
    std::printf("Fermo test service at %s\n", service.baseUrl().c_str());
    std::printf("  API base:      %s\n", service.apiBase().c_str());
    std::printf("  microsite:     %s\n", service.micrositeBase().c_str());
    std::printf("  log intake:    %s\n", service.intakeUrl().c_str());
    std::printf("  CA file:       %s\n", service.caFile().c_str());
    if (setup->faults) std::printf("  faults from:   %s\n", options->value("faults")->c_str());
    std::printf("Press Ctrl-C to stop.\n");
    std::fflush(stdout);
    runLoop(run, stdout);
    g_main_loop_unref(loop);
    running.stop();
    std::printf("Stopped.\n");
    return 0;
}

}  // namespace lxfermo

#include "LxfermoProcess.h"

#include "support/MainLoop.h"

namespace lxhf::test {
namespace {

GSubprocess* spawn(const std::vector<std::string>& args, GSubprocessFlags flags) {
    std::vector<const char*> argv{LXFERMO_BINARY};
    for (const auto& a : args) argv.push_back(a.c_str());
    argv.push_back(nullptr);
    return g_subprocess_newv(argv.data(), GSubprocessFlags(flags | G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                                           G_SUBPROCESS_FLAGS_STDERR_PIPE), nullptr);
}

}  // namespace

LxfermoProcess::LxfermoProcess(const std::vector<std::string>& args)
    : process_(spawn(args, G_SUBPROCESS_FLAGS_STDIN_PIPE)), cancellable_(g_cancellable_new()) {
    if (process_) out_ = g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_));
}

LxfermoProcess::~LxfermoProcess() {
    g_cancellable_cancel(cancellable_);
    runMainLoopUntil([this] { return !reading_; }, 2);  // let a cancelled read call back while we exist
    if (process_) {
        g_subprocess_force_exit(process_);
        g_subprocess_wait(process_, nullptr, nullptr);
        g_object_unref(process_);
    }
    if (out_) g_object_unref(out_);
    g_object_unref(cancellable_);
}

std::string LxfermoProcess::pid() const {
    const char* id = process_ ? g_subprocess_get_identifier(process_) : nullptr;
    return id ? id : "";
}

void LxfermoProcess::send(const std::string& line) {
    const std::string text = line + "\n";
    if (process_)
        g_output_stream_write_all(g_subprocess_get_stdin_pipe(process_), text.data(), text.size(), nullptr, nullptr,
                                  nullptr);
}

void LxfermoProcess::closeInput() {
    if (process_) g_output_stream_close(g_subprocess_get_stdin_pipe(process_), nullptr, nullptr);
}

void LxfermoProcess::signal(int signalNumber) {
    if (process_) g_subprocess_send_signal(process_, signalNumber);
}

void LxfermoProcess::readLine() {
    if (reading_ || ended_ || !out_) return;
    reading_ = true;
    g_data_input_stream_read_line_async(
        out_, G_PRIORITY_DEFAULT, cancellable_,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            auto* self = static_cast<LxfermoProcess*>(data);
            gsize length = 0;
            char* line = g_data_input_stream_read_line_finish(G_DATA_INPUT_STREAM(source), result, &length, nullptr);
            self->reading_ = false;
            if (!line) {
                self->ended_ = true;
                return;
            }
            self->lines_.emplace_back(line, length);
            g_free(line);
        },
        this);
}

std::optional<std::string> LxfermoProcess::nextLine(double timeoutSeconds) {
    runMainLoopUntil([this] { return readLine(), !lines_.empty() || ended_; }, timeoutSeconds);
    if (lines_.empty()) return std::nullopt;
    std::string line = std::move(lines_.front());
    lines_.pop_front();
    return line;
}

std::optional<Json> LxfermoProcess::nextEvent(double timeoutSeconds) {
    auto line = nextLine(timeoutSeconds);
    if (!line) return std::nullopt;
    return seen_.emplace_back(Json::parse(*line, nullptr, false));
}

std::optional<Json> LxfermoProcess::eventWhere(const std::function<bool(const Json&)>& match, double timeoutSeconds) {
    const gint64 deadline = g_get_monotonic_time() + gint64(timeoutSeconds * G_USEC_PER_SEC);
    while (g_get_monotonic_time() < deadline) {
        auto event = nextEvent(double(deadline - g_get_monotonic_time()) / G_USEC_PER_SEC);
        if (!event) return std::nullopt;
        if (match(*event)) return event;
    }
    return std::nullopt;
}

std::optional<int> LxfermoProcess::exitCode(double timeoutSeconds) {
    if (!process_) return std::nullopt;
    bool done = false;
    g_subprocess_wait_async(
        process_, cancellable_, [](GObject*, GAsyncResult*, gpointer flag) { *static_cast<bool*>(flag) = true; },
        &done);
    runMainLoopUntil([&] { return done; }, timeoutSeconds);
    if (!done) {
        g_cancellable_cancel(cancellable_);
        runMainLoopUntil([&] { return done; }, 2);
        return std::nullopt;
    }
    if (!g_subprocess_get_if_exited(process_)) return std::nullopt;
    return g_subprocess_get_exit_status(process_);
}

RunResult runLxfermo(const std::vector<std::string>& args) {
    RunResult run;
    GSubprocess* process = spawn(args, G_SUBPROCESS_FLAGS_NONE);
    if (!process) return run;
    char *out = nullptr, *err = nullptr;
    if (g_subprocess_communicate_utf8(process, nullptr, nullptr, &out, &err, nullptr) &&
        g_subprocess_get_if_exited(process))
        run.exitCode = g_subprocess_get_exit_status(process);
    run.out = out ? out : "";
    run.err = err ? err : "";
    g_free(out);
    g_free(err);
    g_object_unref(process);
    return run;
}

}  // namespace lxhf::test

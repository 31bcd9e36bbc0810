#pragma once

// Runs lxfermo as a child process with pipes on stdin and stdout (and stderr
// captured), driven from the test's default main context.

#include <gio/gio.h>

#include <nlohmann/json.hpp>

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lxhf::test {

class LxfermoProcess {
public:
    explicit LxfermoProcess(const std::vector<std::string>& args);
    ~LxfermoProcess();
    LxfermoProcess(const LxfermoProcess&) = delete;
    LxfermoProcess& operator=(const LxfermoProcess&) = delete;

    bool started() const { return process_ != nullptr; }

    void send(const std::string& line);
    void send(const nlohmann::json& command) { send(command.dump()); }
    void closeInput();
    void signal(int signalNumber);

    // The next stdout line as it is; absent when none came in time or the output ended.
    std::optional<std::string> nextLine(double timeoutSeconds = 10);
    // The next stdout line parsed as JSON; discarded JSON on a line that is
    // not JSON; absent when none came in time or the output ended.
    std::optional<nlohmann::json> nextEvent(double timeoutSeconds = 10);
    // Reads events until one satisfies `match`; every event read is kept in seen().
    std::optional<nlohmann::json> eventWhere(const std::function<bool(const nlohmann::json&)>& match,
                                             double timeoutSeconds = 15);
    const std::vector<nlohmann::json>& seen() const { return seen_; }

    // The exit status once the process ends; absent when it outlives the timeout.
    std::optional<int> exitCode(double timeoutSeconds = 10);
    std::string standardError();

private:
    void readLine();

    GSubprocess* process_ = nullptr;
    GDataInputStream* out_ = nullptr;
    GCancellable* cancellable_ = nullptr;
    std::deque<std::string> lines_;
    std::vector<nlohmann::json> seen_;
    bool reading_ = false;
    bool ended_ = false;
};

// Runs lxfermo to completion with no input; returns exit code and stderr.
struct RunResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};
RunResult runLxfermo(const std::vector<std::string>& args);

}  // namespace lxhf::test

#pragma once

// lxfermo as a child process with piped stdin/stdout/stderr, driven from the default main context.

#include <gio/gio.h>

#include <deque>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace lxhf::test {

using Json = nlohmann::json;

class LxfermoProcess {
public:
    explicit LxfermoProcess(const std::vector<std::string>& args);
    ~LxfermoProcess();
    LxfermoProcess(const LxfermoProcess&) = delete;
    LxfermoProcess& operator=(const LxfermoProcess&) = delete;

    bool started() const { return process_ != nullptr; }
    // The child's process id, or empty when it did not start.
    std::string pid() const;
    void send(const std::string& line);
    void send(const Json& command) { send(command.dump()); }
    void closeInput();
    void signal(int signalNumber);

    // Absent when nothing came in time or the output ended.
    std::optional<std::string> nextLine(double timeoutSeconds = 10);
    std::optional<Json> nextEvent(double timeoutSeconds = 10);
    // Reads events until one matches; every event read is kept in seen().
    std::optional<Json> eventWhere(const std::function<bool(const Json&)>& match, double timeoutSeconds = 15);
    const std::vector<Json>& seen() const { return seen_; }
    std::optional<int> exitCode(double timeoutSeconds = 10);

private:
    void readLine();

    GSubprocess* process_ = nullptr;
    GDataInputStream* out_ = nullptr;
    GCancellable* cancellable_ = nullptr;
    std::deque<std::string> lines_;
    std::vector<Json> seen_;
    bool reading_ = false;
    bool ended_ = false;
};

struct RunResult {
    int exitCode = -1;
    std::string out, err;
};
// Runs lxfermo to completion with no input.
RunResult runLxfermo(const std::vector<std::string>& args);

}  // namespace lxhf::test

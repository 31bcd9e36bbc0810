#pragma once

// The local HTTPS service in a child process of the benchmark. In one
// process a client and a service share GLib's task threads (ten, growing by
// one about every 0.1 s when all are busy), and a TLS handshake holds one on
// each side for its round trip: ten connections opened at once then wait on
// each other, which no real service, always in a process of its own, causes.
// Main thread only; the child ends when the benchmark does.

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "FermoTestService.h"

namespace lxhf::bench {

class ServiceProcess {
public:
    // Started on first use; the benchmark fails when it cannot be.
    static ServiceProcess& shared();

    const std::string& baseUrl() const { return baseUrl_; }
    const std::string& apiBase() const { return apiBase_; }
    const std::string& micrositeBase() const { return micrositeBase_; }
    const std::string& intakeUrl() const { return intakeUrl_; }
    const std::string& caFile() const { return caFile_; }

    void clear();
    // Method, path, body, headers and overlap of each request to `path`.
    std::vector<testing::RecordedRequest> requests(std::string_view path);
    int count(std::string_view path) { return int(requests(path).size()); }
    // Replaces every fault with those of `faultsJson` (the test service's
    // fault file format).
    void setFaults(const std::string& faultsJson);

private:
    ServiceProcess() = default;
    std::string ask(const std::string& commandJson);

    std::FILE* toChild_ = nullptr;
    std::FILE* fromChild_ = nullptr;
    std::string baseUrl_, apiBase_, micrositeBase_, intakeUrl_, caFile_;
};

// The child's side: serves until its input closes. `lxhf-bench --serve`.
int serveParent();

}  // namespace lxhf::bench

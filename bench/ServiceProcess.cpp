#include "ServiceProcess.h"

#include <glib.h>

#include <iostream>
#include <nlohmann/json.hpp>

#include "BenchRooms.h"

namespace lxhf::bench {

using nlohmann::json;

namespace {

std::string readLine(std::FILE* in) {
    std::string line;
    for (int c = std::fgetc(in); c != EOF && c != '\n'; c = std::fgetc(in)) line.push_back(char(c));
    return line;
}

json encode(const testing::RecordedRequest& r) {
    return {{"method", r.method}, {"path", r.path},       {"body", r.body},
            {"headers", r.headers}, {"concurrent", r.concurrent}};
}

testing::RecordedRequest decode(const json& j) {
    testing::RecordedRequest r;
    r.method = j.at("method").get<std::string>();
    r.path = j.at("path").get<std::string>();
    r.body = j.at("body").get<std::string>();
    r.headers = j.at("headers").get<std::vector<std::pair<std::string, std::string>>>();
    r.concurrent = j.at("concurrent").get<int>();
    return r;
}

json answer(testing::FermoTestService& service, const json& command) {
    const std::string cmd = command.value("cmd", "");
    if (cmd == "clear") {
        service.clear();
        return json::object();
    }
    if (cmd == "faults") {
        service.clearFaults();
        std::string error;
        if (!service.loadFaults(command.value("faults", "{}"), &error)) return {{"error", error}};
        return json::object();
    }
    if (cmd == "requests") {
        json list = json::array();
        for (const auto& r : service.requests(command.value("path", ""))) list.push_back(encode(r));
        return list;
    }
    return {{"error", "unknown command " + cmd}};
}

}  // namespace

ServiceProcess& ServiceProcess::shared() {
    static ServiceProcess* running = [] {
        auto* process = new ServiceProcess();
        gchar* argv[] = {const_cast<gchar*>("/proc/self/exe"), const_cast<gchar*>("--serve"), nullptr};
        gint in = -1, out = -1;
        GError* error = nullptr;
        if (!g_spawn_async_with_pipes(nullptr, argv, nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, nullptr, &in, &out,
                                      nullptr, &error)) {
            benchFailure(std::string("the service process did not start: ") + error->message);
        }
        process->toChild_ = fdopen(in, "w");
        process->fromChild_ = fdopen(out, "r");
        const json addresses = json::parse(readLine(process->fromChild_), nullptr, false);
        if (!addresses.is_object() || !addresses.contains("baseUrl")) benchFailure("the service process did not start");
        process->baseUrl_ = addresses["baseUrl"];
        process->apiBase_ = addresses["apiBase"];
        process->micrositeBase_ = addresses["micrositeBase"];
        process->intakeUrl_ = addresses["intakeUrl"];
        process->caFile_ = addresses["caFile"];
        return process;
    }();
    return *running;
}

std::string ServiceProcess::ask(const std::string& commandJson) {
    std::fputs((commandJson + "\n").c_str(), toChild_);
    std::fflush(toChild_);
    std::string reply = readLine(fromChild_);
    if (reply.empty()) benchFailure("the service process stopped answering");
    return reply;
}

void ServiceProcess::clear() { ask(json{{"cmd", "clear"}}.dump()); }

void ServiceProcess::setFaults(const std::string& faultsJson) {
    const json reply = json::parse(ask(json{{"cmd", "faults"}, {"faults", faultsJson}}.dump()));
    if (reply.contains("error")) benchFailure("the faults were refused: " + reply["error"].get<std::string>());
}

std::vector<testing::RecordedRequest> ServiceProcess::requests(std::string_view path) {
    std::vector<testing::RecordedRequest> list;
    for (const auto& r : json::parse(ask(json{{"cmd", "requests"}, {"path", path}}.dump()))) list.push_back(decode(r));
    return list;
}

int serveParent() {
    testing::FermoTestService service;
    std::string error;
    if (!service.startOnOwnThread(&error)) {
        std::cerr << "the test service did not start: " << error << '\n';
        return 1;
    }
    std::cout << json{{"baseUrl", service.baseUrl()},     {"apiBase", service.apiBase()},
                      {"micrositeBase", service.micrositeBase()}, {"intakeUrl", service.intakeUrl()},
                      {"caFile", service.caFile()}}
                     .dump()
              << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
        const json command = json::parse(line, nullptr, false);
        std::cout << answer(service, command.is_object() ? command : json::object()).dump() << std::endl;
    }
    return 0;
}

}  // namespace lxhf::bench

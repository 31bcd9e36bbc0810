// Reads scripted faults from a JSON document, as `lxfermo sim --faults` gives them.

#include "ServiceState.h"

namespace lxhf::testing {

using nlohmann::json;

namespace {
bool parseOne(const std::string& path, const json& entry, Fault& fault, std::string& error) {
    const auto fail = [&](const std::string& why) {
        error = "fault for " + path + ": " + why;
        return false;
    };
    if (!entry.is_object()) return fail("must be an object");
    for (const auto& [key, value] : entry.items()) {
        if (key == "status") {
            if (!value.is_number_integer()) return fail("status must be an integer");
            fault.status = value.get<int>();
        } else if (key == "body") {
            // A string is sent as written (so it may be broken JSON); any other value as its JSON text.
            fault.body = value.is_string() ? value.get<std::string>() : value.dump();
        } else if (key == "headers") {
            if (!value.is_object()) return fail("headers must be an object");
            for (const auto& [name, headerValue] : value.items()) {
                if (headerValue.is_null()) {
                    fault.headers[name] = std::nullopt;
                } else if (headerValue.is_string()) {
                    fault.headers[name] = headerValue.get<std::string>();
                } else {
                    return fail("header " + name + " must be a string or null");
                }
            }
        } else if (key == "delay") {
            if (!value.is_number() || value.get<double>() < 0) return fail("delay must be seconds >= 0");
            fault.delaySeconds = value.get<double>();
        } else if (key == "drop") {
            if (!value.is_boolean()) return fail("drop must be a boolean");
            fault.drop = value.get<bool>();
        } else if (key == "truncate") {
            if (!value.is_number_unsigned()) return fail("truncate must be a byte count >= 0");
            fault.truncate = value.get<std::size_t>();
        } else if (key == "count") {
            if (!value.is_number_integer()) return fail("count must be an integer");
            fault.count = value.get<int>();
        } else {
            return fail("unknown key " + key);
        }
    }
    return true;
}
}  // namespace

bool parseFaults(std::string_view jsonText, std::map<std::string, std::deque<Fault>>& out, std::string& error) {
    const json document = parseJson(jsonText);
    if (document.is_discarded() || !document.is_object()) {
        error = "faults must be a JSON object keyed by path";
        return false;
    }
    std::map<std::string, std::deque<Fault>> parsed;
    for (const auto& [path, entry] : document.items()) {
        // An array: faults applied in turn, each for its count of calls.
        const json& list = entry.is_array() ? entry : json::array({entry});
        if (list.empty()) {
            error = "fault for " + path + ": an empty list";
            return false;
        }
        auto& faults = parsed[normalisePath(path)];
        for (const auto& item : list) {
            Fault fault;
            if (!parseOne(path, item, fault, error)) return false;
            faults.push_back(std::move(fault));
        }
    }
    for (auto& [path, faults] : parsed) out[path] = std::move(faults);
    return true;
}

}  // namespace lxhf::testing

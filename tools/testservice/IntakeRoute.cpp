// The log intake: one JSON record per request, addressed with a fixed query.

#include "ServiceState.h"
#include "WireCheck.h"

#include <variant>

namespace lxhf::testing {

using nlohmann::json;

namespace {
constexpr std::string_view kClientToken = "pub3c9e41b07d5a2f68e1b4c7a90d2f5e83";
constexpr std::string_view kLoggerVersion = "0.1.0";

// The env of a well-formed query, or the reason it is not one.
std::variant<std::string, Answer> queryEnvironment(const RecordedRequest& request) {
    const auto& items = request.queryItems;
    const auto bad = [&](const std::string& why) {
        return Answer::reject(400, "intake query " + why + ": " + request.query);
    };
    if (items.size() != 3) return bad("must hold ddsource, dd-api-key and ddtags");
    if (items[0] != QueryItem{"ddsource", "iOS"}) return bad("must start with ddsource=iOS");
    if (items[1] != QueryItem{"dd-api-key", std::string(kClientToken)}) {
        return bad("has a wrong dd-api-key");
    }
    for (const char* env : {"production", "staging"}) {
        const std::string tags = std::string("env:") + env + ",version:" + std::string(kLoggerVersion);
        if (items[2] == QueryItem{"ddtags", tags}) return std::string(env);
    }
    return bad("has wrong ddtags");
}
}  // namespace

Answer intakeRoute(const RecordedRequest& request, State& state) {
    if (auto refused = checkPost(request)) return *refused;
    const json body = parseJson(request.body);
    if (body.is_object()) state.logs.push_back(body);

    auto env = queryEnvironment(request);
    if (auto* refused = std::get_if<Answer>(&env)) return *refused;
    const auto type = request.header("Content-Type");
    if (!type || type->rfind("application/json", 0) != 0) {
        return Answer::reject(400, "intake needs Content-Type application/json");
    }
    if (body.is_discarded()) return Answer::reject(400, "body is not valid JSON");
    if (auto problem = checkIntakeRecord(body)) return Answer::reject(400, *problem);
    const auto& bodyEnv = body["data"]["jsonPayload"]["env"];
    if (bodyEnv != std::get<std::string>(env)) {
        return Answer::reject(400, "data.jsonPayload.env " + bodyEnv.dump() + " differs from ddtags");
    }
    return Answer::jsonBody(202, json::object());
}

}  // namespace lxhf::testing

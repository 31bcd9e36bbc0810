// The session and event-batch routes, and the checks every API route shares.

#include "ServiceState.h"
#include "WireCheck.h"

#include <glib.h>

namespace lxhf::testing {

using nlohmann::json;

namespace {
constexpr std::string_view kBearerPrefix = "Bearer ";
constexpr const char* kSessionHeader = "LX-Session-ID";

std::optional<json> parseBody(const RecordedRequest& request) {
    json body = parseJson(request.body);
    if (body.is_discarded()) return std::nullopt;
    return body;
}
}  // namespace

Answer Answer::reject(int status, std::string reason) {
    Answer answer = jsonBody(status, nlohmann::json{{"reason", reason}});
    answer.reason = std::move(reason);
    return answer;
}

Answer Answer::jsonBody(int status, const nlohmann::json& body) {
    Answer answer;
    answer.status = status;
    answer.contentType = "application/json";
    answer.body = body.dump();
    return answer;
}

std::optional<Answer> checkPost(const RecordedRequest& request) {
    if (request.method == "POST") return std::nullopt;
    return Answer::reject(405, "method " + request.method + " not allowed; use POST");
}

std::optional<Answer> checkBearer(const RecordedRequest& request, std::vector<std::string>& notes) {
    const auto value = request.header("Authorization");
    if (!value) return Answer::reject(401, "missing Authorization header");
    // An unconfigured client sends an empty token; tolerated, but worth seeing.
    // HTTP trims the trailing space, so "Bearer " arrives as "Bearer".
    if (*value == kBearerPrefix || *value == kBearerPrefix.substr(0, kBearerPrefix.size() - 1)) {
        notes.push_back("empty bearer token");
        return std::nullopt;
    }
    if (value->compare(0, kBearerPrefix.size(), kBearerPrefix) != 0) {
        return Answer::reject(401, "Authorization is not \"Bearer <token>\": " + *value);
    }
    return std::nullopt;
}

Answer sessionsRoute(const RecordedRequest& request, State& state) {
    std::vector<std::string> notes;
    if (auto refused = checkPost(request)) return *refused;
    if (auto refused = checkBearer(request, notes)) return *refused;
    if (request.header(kSessionHeader)) {
        return Answer::reject(400, "LX-Session-ID must not be sent when creating a session");
    }
    const auto body = parseBody(request);
    if (!body) return Answer::reject(400, "body is not valid JSON");
    if (auto problem = checkSessionInputs(*body)) return Answer::reject(400, *problem);

    gchar* uuid = g_uuid_string_random();
    std::string id = uuid;
    g_free(uuid);
    state.sessions.insert(id);
    Answer answer = Answer::jsonBody(201, json{{"id", id}});
    answer.notes = std::move(notes);
    return answer;
}

Answer eventsRoute(const RecordedRequest& request, State& state) {
    std::vector<std::string> notes;
    if (auto refused = checkPost(request)) return *refused;
    if (auto refused = checkBearer(request, notes)) return *refused;
    // The session travels inside each event, never as a header here.
    if (request.header(kSessionHeader)) {
        return Answer::reject(400, "LX-Session-ID must not be sent with an event batch");
    }
    const auto body = parseBody(request);
    if (!body) return Answer::reject(400, "body is not valid JSON");
    if (!body->is_array()) return Answer::reject(400, "body must be an array of events");
    if (body->empty()) notes.push_back("empty event batch");
    for (std::size_t i = 0; i < body->size(); ++i) {
        const json& event = (*body)[i];
        const std::string path = "[" + std::to_string(i) + "]";
        if (auto problem = checkEvent(event, path)) return Answer::reject(400, *problem);
        const auto session = event["session_id"].get<std::string>();
        if (!state.sessions.contains(session)) {
            return Answer::reject(403, path + ".session_id is not a known session: " + session);
        }
        const auto offerId = event["fermo_offer_id"].get<std::string>();
        if (!state.offerIds.contains(offerId)) notes.push_back("offer id not issued here: " + offerId);
    }
    Answer answer;
    answer.status = 204;
    answer.notes = std::move(notes);
    return answer;
}

}  // namespace lxhf::testing

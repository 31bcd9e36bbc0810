// What tests read back and script: recorded requests, logs, outcomes, faults.
// Every member locks, since the service may be answering on its own thread.

#include "ServiceState.h"

#include <algorithm>

namespace lxhf::testing {

std::vector<RecordedRequest> FermoTestService::requests() const {
    std::lock_guard lock(state_->mutex);
    return state_->records;
}

std::vector<RecordedRequest> FermoTestService::requests(std::string_view path) const {
    const std::string wanted = normalisePath(path);
    std::lock_guard lock(state_->mutex);
    std::vector<RecordedRequest> found;
    std::copy_if(state_->records.begin(), state_->records.end(), std::back_inserter(found),
                 [&](const RecordedRequest& r) { return r.path == wanted; });
    return found;
}

int FermoTestService::count(std::string_view path) const {
    const std::string wanted = normalisePath(path);
    std::lock_guard lock(state_->mutex);
    return static_cast<int>(std::count_if(state_->records.begin(), state_->records.end(),
                                          [&](const RecordedRequest& r) { return r.path == wanted; }));
}

std::vector<RecordedRequest> FermoTestService::rejected() const {
    std::lock_guard lock(state_->mutex);
    std::vector<RecordedRequest> found;
    std::copy_if(state_->records.begin(), state_->records.end(), std::back_inserter(found),
                 [](const RecordedRequest& r) { return !r.accepted; });
    return found;
}

std::vector<nlohmann::json> FermoTestService::logs() const {
    std::lock_guard lock(state_->mutex);
    return state_->logs;
}

void FermoTestService::clear() {
    std::lock_guard lock(state_->mutex);
    state_->records.clear();
    state_->logs.clear();
}

void FermoTestService::setRoomOutcome(const std::string& roomId, Outcome outcome) {
    std::lock_guard lock(state_->mutex);
    state_->outcomes[roomId] = outcome;
}

void FermoTestService::setClientRegion(std::optional<std::string> region) {
    std::lock_guard lock(state_->mutex);
    state_->clientRegion = std::move(region);
}

void FermoTestService::setExperiments(std::optional<std::string> experimentsJson) {
    std::lock_guard lock(state_->mutex);
    state_->experiments = std::move(experimentsJson);
}

void FermoTestService::setPurchaseScript(PurchaseScript script) {
    std::lock_guard lock(state_->mutex);
    state_->purchaseScript = script;
}

void FermoTestService::setFault(std::string_view path, Fault fault) {
    std::lock_guard lock(state_->mutex);
    state_->faults[normalisePath(path)] = {std::move(fault)};
}

void FermoTestService::addFault(std::string_view path, Fault fault) {
    std::lock_guard lock(state_->mutex);
    state_->faults[normalisePath(path)].push_back(std::move(fault));
}

void FermoTestService::clearFaults() {
    std::lock_guard lock(state_->mutex);
    state_->faults.clear();
}

bool FermoTestService::loadFaults(std::string_view jsonText, std::string* error) {
    std::map<std::string, std::deque<Fault>> parsed;
    std::string reason;
    if (!parseFaults(jsonText, parsed, reason)) {
        if (error) *error = reason;
        return false;
    }
    std::lock_guard lock(state_->mutex);
    for (auto& [path, faults] : parsed) state_->faults[path] = std::move(faults);
    return true;
}

bool FermoTestService::loadOutcomes(std::string_view jsonText, std::string* error) {
    const auto parsed = nlohmann::json::parse(jsonText, nullptr, false);
    std::map<std::string, Outcome> outcomes;
    std::string reason = parsed.is_object() ? "" : "not a JSON object";
    for (auto it = parsed.begin(); reason.empty() && it != parsed.end(); ++it) {
        const auto outcome = it.value().is_string() ? outcomeFromName(it.value().get<std::string>()) : std::nullopt;
        if (outcome) outcomes[it.key()] = *outcome;
        else reason = "room \"" + it.key() + "\": not an outcome name";
    }
    if (!reason.empty()) {
        if (error) *error = reason;
        return false;
    }
    std::lock_guard lock(state_->mutex);
    for (const auto& [room, outcome] : outcomes) state_->outcomes[room] = outcome;
    return true;
}

void FermoTestService::addKnownSession(const std::string& sessionId) {
    std::lock_guard lock(state_->mutex);
    state_->sessions.insert(sessionId);
}

std::vector<std::string> FermoTestService::sessionIds() const {
    std::lock_guard lock(state_->mutex);
    return {state_->sessions.begin(), state_->sessions.end()};
}

bool FermoTestService::verifySignature(const nlohmann::json& offerResponse) const {
    if (!offerResponse.is_object() || !offerResponse.contains("offer") ||
        !offerResponse.contains("type") || !offerResponse["type"].is_string() ||
        !offerResponse.contains("signature") || !offerResponse["signature"].is_string()) {
        return false;
    }
    return signOffer(state_->signingKey, offerResponse) == offerResponse["signature"].get<std::string>();
}

bool FermoTestService::verifySignatureText(std::string_view offerResponseText) const {
    return verifySignature(parseJson(offerResponseText));
}

}  // namespace lxhf::testing

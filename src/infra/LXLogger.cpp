#include "infra/LXLogger.h"

#include <utility>

#include "model/JsonCodecs.h"

namespace lxhf {

namespace {

constexpr std::string_view kLinePrefix = "[LXHotelsFermoSDK]";
constexpr std::string_view kProduction = "production";
constexpr std::string_view kMissingSessionId = "Session id missing while sending logs";
constexpr std::string_view kErrorEncodingJson = "Error encoding JSON: ";
constexpr std::string_view kClientToken = "pub3c9e41b07d5a2f68e1b4c7a90d2f5e83";
constexpr std::string_view kService = "lx-hotels-fm-sdk";
constexpr std::string_view kSource = "iOS";
constexpr std::string_view kPartner = "Velto";
constexpr double kIntakeTimeoutSeconds = 60.0;

// The intake record. Keys are written exactly as the fields are named.
struct JSONPayload {
    using Self = JSONPayload;
    std::string env;
    std::string partner;
    std::optional<std::string> session_id;
    std::string locale;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(env), LX_FIELD(partner), LX_FIELD(session_id), LX_FIELD(locale)};
    }
};

struct DataPayload {
    using Self = DataPayload;
    JSONPayload jsonPayload;
    static constexpr auto fields() { return std::tuple{LX_FIELD(jsonPayload)}; }
};

struct DDLog {
    using Self = DDLog;
    std::string service;
    std::string version;
    std::string source;
    std::string message;
    std::string status;
    DataPayload data;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(service), LX_FIELD(version), LX_FIELD(source),
                          LX_FIELD(message), LX_FIELD(status),  LX_FIELD(data)};
    }
};

}  // namespace

struct LXLogger::Core {
    LXLoggerConfig config;
    LoggerContext context;

    bool writesSystemLog() const { return config.environment != kProduction; }

    void writeLocal(SystemLog::Type type, std::string_view message) {
        if (!writesSystemLog()) return;
        std::string line(kLinePrefix);
        line += " : ";
        line += message;
        context.systemLog.write(type, line);
    }
};

LXLoggerConfig makeLoggerConfig(LXEnvironmentType type, std::string locale, std::optional<std::string> sessionId) {
    return LXLoggerConfig{type == LXEnvironmentType::staging ? "staging" : "production", std::string(kLoggerVersion),
                          std::move(locale), std::move(sessionId)};
}

std::string defaultIntakeLogsUrl() { return "https://" LXHF_INTAKE_HOST "/api/v2/logs"; }

LXLogger::LXLogger(LXLoggerConfig config, LoggerContext context)
    : core_(std::make_shared<Core>(Core{std::move(config), std::move(context)})) {}

LXLogger::~LXLogger() = default;

const LXLoggerConfig& LXLogger::config() const { return core_->config; }
void LXLogger::setSessionId(std::optional<std::string> sessionId) { core_->config.sessionId = std::move(sessionId); }
void LXLogger::setLocale(std::string locale) { core_->config.locale = std::move(locale); }

void LXLogger::log(std::string_view message, SystemLog::Type type, std::string_view status) {
    core_->writeLocal(type, message);
    // The extra record goes first and is kept on purpose: it is how records
    // without a session show up on the intake side.
    if (!core_->config.sessionId) {
        logLocal(kMissingSessionId);
        send(kMissingSessionId, "error");
    }
    send(message, status);
}

void LXLogger::info(std::string_view message) { log(message, SystemLog::Type::info, "info"); }
void LXLogger::warn(std::string_view message) { log(message, SystemLog::Type::error, "warn"); }
void LXLogger::error(std::string_view message) { log(message, SystemLog::Type::error, "error"); }

void LXLogger::logLocal(std::string_view message) { core_->writeLocal(SystemLog::Type::error, message); }

std::string LXLogger::intakeAddress() const {
    const auto& config = core_->config;
    // Joined as they stand: none of the parts needs escaping.
    std::string address = core_->context.intakeLogsUrl;
    address += "?ddsource=iOS&dd-api-key=";
    address += kClientToken;
    address += "&ddtags=env:";
    address += config.environment;
    address += ",version:";
    address += config.version;
    return address;
}

void LXLogger::send(std::string_view message, std::string_view status) {
    const auto& config = core_->config;
    DDLog record{std::string(kService),
                 config.version,
                 std::string(kSource),
                 std::string(message),
                 std::string(status),
                 DataPayload{JSONPayload{config.environment, std::string(kPartner), config.sessionId, config.locale}}};

    auto body = json::Encoder().tryEncode(record);
    if (!body) return logLocal(std::string(kErrorEncodingJson) + body.error().description());

    HttpRequest request;
    request.method = "POST";
    request.url = intakeAddress();
    request.headers = {{"Content-Type", "application/json"}};
    request.body = std::move(body).value();
    request.timeout = Seconds{kIntakeTimeoutSeconds};

    std::weak_ptr<Core> weak = core_;
    core_->context.http.send(std::move(request), [weak](HttpResult result) {
        if (result.ok()) return;  // the intake's answer is not examined
        if (auto core = weak.lock()) core->writeLocal(SystemLog::Type::error, "Error: " + result.error().description);
    });
}

}  // namespace lxhf

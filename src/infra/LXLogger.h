#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "LXHotelsFermo/LXEnvironmentType.h"
#include "platform/HttpClient.h"
#include "platform/SystemLog.h"

namespace lxhf {

inline constexpr std::string_view kLoggerVersion = "0.1.0";

struct LXLoggerConfig {
    std::string environment;  // "production" or "staging"
    std::string version{kLoggerVersion};
    std::string locale;
    std::optional<std::string> sessionId;
};

// "staging" for staging, "production" for anything else.
LXLoggerConfig makeLoggerConfig(LXEnvironmentType type, std::string locale,
                                            std::optional<std::string> sessionId);

// "https://<intake host>/api/v2/logs".
std::string defaultIntakeLogsUrl();

// What a logger needs to reach the outside. Both services must outlive every
// logger made with them.
struct LoggerContext {
    HttpClient& http;
    SystemLog& systemLog;
    std::string intakeLogsUrl = defaultIntakeLogsUrl();
};

// Writes each message to the system log (not in production) and posts it as
// one record to the remote log intake (always). Never blocks, never reports
// failure: the logger's own troubles go to the system log only. Main context
// only; an answer that arrives after the logger is gone is dropped.
class LXLogger {
public:
    LXLogger(LXLoggerConfig config, LoggerContext context);
    ~LXLogger();
    LXLogger(const LXLogger&) = delete;
    LXLogger& operator=(const LXLogger&) = delete;

    const LXLoggerConfig& config() const;
    void setSessionId(std::optional<std::string> sessionId);
    void setLocale(std::string locale);

    void info(std::string_view message);
    // The system log has no warning type; only the intake tells warn from error.
    void warn(std::string_view message);
    void error(std::string_view message);
    // System log only, for the logger's own problems.
    void logLocal(std::string_view message);
    // Intake only.
    void send(std::string_view message, std::string_view status);

    // The intake address with its query, as posted to.
    std::string intakeAddress() const;

    struct Core;

private:
    void log(std::string_view message, SystemLog::Type type, std::string_view status);

    std::shared_ptr<Core> core_;
};

}  // namespace lxhf

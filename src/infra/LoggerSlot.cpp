#include "infra/LoggerSlot.h"

#include <string>

#include <glib.h>

namespace lxhf {

LoggerSlot::LoggerSlot() = default;
LoggerSlot::~LoggerSlot() = default;

LXLogger& LoggerSlot::installOrRenew(LXLoggerConfig config, const LoggerContext& context) {
    if (logger_ && logger_->config().locale == config.locale) {
        logger_->setSessionId(std::move(config.sessionId));
        return *logger_;
    }
    logger_ = std::make_unique<LXLogger>(std::move(config), context);
    return *logger_;
}

void LoggerSlot::clear() {
    // Released after the slot reads empty, in case its destruction logs.
    auto released = std::move(logger_);
    logger_.reset();
}

namespace {

void debugWithoutLogger(std::string_view message) {
    const std::string text(message);
    g_log_structured("LXHotelsFermo", G_LOG_LEVEL_DEBUG, "MESSAGE", "%s", text.c_str());
}

}  // namespace

LoggerSlot& processLoggerSlot() {
    static LoggerSlot slot;
    return slot;
}

void logInfo(const LoggerSlot& slot, std::string_view message) {
    if (auto* logger = slot.get()) logger->info(message);
}

// Before a session there is no logger, and a host's developer would see
// nothing of a service that cannot be reached; GLib drops debug lines unless
// G_MESSAGES_DEBUG names the domain.
void logWarn(const LoggerSlot& slot, std::string_view message) {
    if (auto* logger = slot.get()) logger->warn(message);
    else debugWithoutLogger(message);
}

void logError(const LoggerSlot& slot, std::string_view message) {
    if (auto* logger = slot.get()) logger->error(message);
    else debugWithoutLogger(message);
}

}  // namespace lxhf

#include "infra/LoggerSlot.h"

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

LoggerSlot& processLoggerSlot() {
    static LoggerSlot slot;
    return slot;
}

void logInfo(const LoggerSlot& slot, std::string_view message) {
    if (auto* logger = slot.get()) logger->info(message);
}

void logWarn(const LoggerSlot& slot, std::string_view message) {
    if (auto* logger = slot.get()) logger->warn(message);
}

void logError(const LoggerSlot& slot, std::string_view message) {
    if (auto* logger = slot.get()) logger->error(message);
}

}  // namespace lxhf

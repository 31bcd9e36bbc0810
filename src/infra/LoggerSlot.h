#pragma once

#include <memory>
#include <string_view>

#include "infra/LXLogger.h"

namespace lxhf {

// Holds the one logger that every component logs through, or none. Whoever
// installs the logger supplies what it posts with. The engine keeps a
// reference to a slot so tests can run several engines side by side; the
// production wiring uses processLoggerSlot(). Main context only.
class LoggerSlot {
public:
    LoggerSlot();
    ~LoggerSlot();
    LoggerSlot(const LoggerSlot&) = delete;
    LoggerSlot& operator=(const LoggerSlot&) = delete;

    LXLogger* get() const { return logger_.get(); }

    // Keeps a present logger whose locale matches, giving it the new session
    // id; otherwise installs a fresh one in its place.
    LXLogger& installOrRenew(LXLoggerConfig config, const LoggerContext& context);
    void clear();

private:
    std::unique_ptr<LXLogger> logger_;
};

// The slot of this process.
LoggerSlot& processLoggerSlot();

// Do nothing while no logger is installed.
void logInfo(const LoggerSlot& slot, std::string_view message);
void logWarn(const LoggerSlot& slot, std::string_view message);
void logError(const LoggerSlot& slot, std::string_view message);

}  // namespace lxhf

#include "model/SessionRecords.h"

#include <cstdio>
#include <ctime>

namespace lxhf {

std::string formatEventTimestamp(std::chrono::system_clock::time_point t) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(
        std::chrono::floor<std::chrono::seconds>(t));
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", utc.tm_year + 1900, utc.tm_mon + 1,
                  utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    return text;
}

}  // namespace lxhf

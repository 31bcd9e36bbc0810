#include "platform/SystemDeviceInfo.h"

#include <sys/utsname.h>

#include <sstream>

#include "platform/CacheDirectory.h"

namespace lxhf {

namespace {

std::string kernelRelease() {
    utsname names{};
    if (uname(&names) != 0) return {};
    return names.release;
}

std::string readSystemVersion() {
    for (const char* file : {"/etc/os-release", "/usr/lib/os-release"}) {
        auto text = readWholeFile(file);
        if (!text) continue;
        std::string version = SystemDeviceInfo::versionIdOf(*text);
        if (!version.empty()) return version;
    }
    return kernelRelease();
}

}  // namespace

SystemDeviceInfo::SystemDeviceInfo(bool isTablet) : isTablet_(isTablet), systemVersion_(readSystemVersion()) {}

std::string SystemDeviceInfo::versionIdOf(const std::string& osRelease) {
    std::istringstream lines(osRelease);
    std::string line;
    const std::string key = "VERSION_ID=";
    while (std::getline(lines, line)) {
        if (line.compare(0, key.size(), key) != 0) continue;
        std::string value = line.substr(key.size());
        while (!value.empty() && (value.back() == '\r' || value.back() == ' ')) value.pop_back();
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front()) {
            value = value.substr(1, value.size() - 2);
        }
        return value;
    }
    return {};
}

}  // namespace lxhf

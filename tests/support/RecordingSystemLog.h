#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/SystemLog.h"

namespace lxhf::test {

// Keeps every line written, in order. Single threaded.
class RecordingSystemLog final : public SystemLog {
public:
    using Entry = std::pair<Type, std::string>;

    void write(Type type, std::string_view line) override { entries_.emplace_back(type, std::string(line)); }

    const std::vector<Entry>& entries() const { return entries_; }
    std::vector<std::string> lines() const {
        std::vector<std::string> all;
        for (const auto& entry : entries_) all.push_back(entry.second);
        return all;
    }
    void clear() { entries_.clear(); }

private:
    std::vector<Entry> entries_;
};

}  // namespace lxhf::test

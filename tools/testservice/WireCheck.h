#pragma once

// Field tables of the wire records and a checker that holds a JSON body to
// them: required keys present, right JSON types, no unknown keys, no nulls.
// Written against nlohmann::json directly so it checks the client's coder
// independently of the library's own record code.

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace lxhf::testing {

enum class Kind { string, integer, boolean, object, array, stringArray };

using NestedCheck = std::optional<std::string> (*)(const nlohmann::json&, const std::string&);

struct Field {
    std::string key;
    Kind kind = Kind::string;
    bool required = true;
    NestedCheck nested = nullptr;        // for Kind::object
    std::vector<std::string> oneOf = {};  // allowed string values; empty: any
};

// The reason for the first mismatch, or nullopt when `value` fits.
std::optional<std::string> checkObject(const nlohmann::json& value, const std::string& path,
                                       const std::vector<Field>& fields);

std::optional<std::string> checkHotel(const nlohmann::json& value, const std::string& path);
std::optional<std::string> checkBooking(const nlohmann::json& value, const std::string& path);
std::optional<std::string> checkRequestRoom(const nlohmann::json& value, const std::string& path);
std::optional<std::string> checkOfferRequest(const nlohmann::json& value);
std::optional<std::string> checkSessionInputs(const nlohmann::json& value);
std::optional<std::string> checkEvent(const nlohmann::json& value, const std::string& path);
std::optional<std::string> checkIntakeRecord(const nlohmann::json& value);

bool isEventTimestamp(const std::string& text);  // yyyy-MM-ddTHH:mm:ssZ

}  // namespace lxhf::testing

#pragma once

#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXHotelsFermo/LXDecodingError.h"
#include "LXHotelsFermo/LXResult.h"
#include "model/JsonCoder.h"

namespace lxhf::test {

using json::Json;
using json::KeyDecoding;
using json::KeyEncoding;
using Kind = LXDecodingError::Kind;

inline Json goldenJson(const std::string& name) {
    std::ifstream in(std::string(LXHF_MODEL_GOLDEN_DIR) + "/" + name);
    std::stringstream text;
    text << in.rdbuf();
    return Json::parse(text.str());
}

// A golden file in the compact form the encoder writes, key order kept.
inline std::string golden(const std::string& name) { return goldenJson(name).dump(); }

template <class T>
std::string why(const LXResult<T, LXDecodingError>& result) {
    return result ? std::string() : result.error().description();
}

template <class T>
void expectFailure(const LXResult<T, LXDecodingError>& result, Kind kind, const std::vector<std::string>& path,
                   const std::string& description = {}) {
    ASSERT_FALSE(result.ok());
    EXPECT_STREQ(toString(result.error().kind), toString(kind));
    EXPECT_EQ(result.error().codingPath, path);
    if (!description.empty()) {
        EXPECT_EQ(result.error().debugDescription, description);
    }
}

// One change to a valid input and the failure it must cause.
struct Breakage {
    const char* what;
    std::function<void(Json&)> change;
    Kind kind;
    std::vector<std::string> path;
    std::string description;
};

template <class Decode>
void expectEachBreakageFails(const Json& valid, const std::vector<Breakage>& breakages, Decode decode) {
    for (const auto& b : breakages) {
        SCOPED_TRACE(b.what);
        Json broken = valid;
        b.change(broken);
        expectFailure(decode(broken), b.kind, b.path, b.description);
    }
}

}  // namespace lxhf::test

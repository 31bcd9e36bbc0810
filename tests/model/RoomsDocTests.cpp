// docs/rooms.md is what a host developer builds rooms from: its example must
// read as a room with nothing dropped, and its table and example must name
// the same fields.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "LXHotelsFermo/LXRoomDetails.h"

namespace lxhf::test {
namespace {

using nlohmann::json;

void collectPaths(const json& value, const std::string& prefix, std::set<std::string>& out) {
    if (!value.is_object()) return;
    for (const auto& [key, child] : value.items()) {
        const std::string path = prefix.empty() ? key : prefix + "." + key;
        // extAttributes holds the host's own keys, not fields.
        if (path == "room.extAttributes" || !child.is_object()) out.insert(path);
        else collectPaths(child, path, out);
    }
}

TEST(RoomsDoc, ItsExampleReadsWholeAndItsTableNamesTheSameFields) {
    std::ifstream in(LXHF_ROOMS_DOC);
    ASSERT_TRUE(in) << LXHF_ROOMS_DOC;
    std::stringstream text;
    text << in.rdbuf();
    const std::string doc = text.str();
    const auto start = doc.find("```json\n"), end = doc.find("\n```", start + 1);
    ASSERT_NE(start, std::string::npos);
    const std::string example = doc.substr(start + 8, end - start - 8);

    const auto room = LXRoomDetails::fromJSON(example);
    ASSERT_TRUE(room.ok()) << room.error().description();
    // A misspelt optional key would be ignored on reading and missing here.
    EXPECT_EQ(json::parse(room.value().toJSON()), json::parse(example));

    std::set<std::string> inExample, inTable;
    collectPaths(json::parse(example), "", inExample);
    const std::regex row(R"(^\| (`[^|]+`) \|)");
    const std::regex name("`([A-Za-z.]+)`");
    std::istringstream lines(doc);
    for (std::string line; std::getline(lines, line);) {
        std::smatch cells;
        if (!std::regex_search(line, cells, row)) continue;
        const std::string first = cells[1];
        for (auto it = std::sregex_iterator(first.begin(), first.end(), name); it != std::sregex_iterator(); ++it)
            inTable.insert((*it)[1]);
    }
    EXPECT_EQ(inTable, inExample);
}

}  // namespace
}  // namespace lxhf::test

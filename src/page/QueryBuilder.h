#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>


namespace lxhf {

// Builds an absolute URL from its parts and encodes the query the way the
// platform's URL components do: names and values keep A-Z a-z 0-9 and
// -._~!$'()*+,;:@/? and everything else, "%", "&", "=", space and every
// non-ASCII byte included, becomes upper-case %XX.
class QueryBuilder {
public:
    struct Item {
        std::string name;
        std::optional<std::string> value;  // absent: the bare name, without "="
    };

    QueryBuilder(std::string scheme, std::string host, std::string path);

    QueryBuilder& add(std::string name, std::optional<std::string> value);

    // Absent when the parts cannot make a URL: a scheme that is not
    // ALPHA *(ALPHA / DIGIT / "+" / "-" / "."), or a path that does not
    // start with "/" although a host is given.
    std::optional<std::string> url() const;

    static std::string encodeQueryComponent(std::string_view text);

private:
    std::string scheme_;
    std::string host_;  // taken as written, so it may carry ":port"
    std::string path_;
    std::vector<Item> items_;
};

}  // namespace lxhf

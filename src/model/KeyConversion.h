#pragma once

#include <string>
#include <string_view>


namespace lxhf::json {

// A capital starts a word, except as the first character, and a run of
// capitals ends one letter before the next lower-case letter
// ("imageURL" -> "image_url", "myURLProperty" -> "my_url_property"); the
// service's keys are the field names converted this way.
std::string toSnakeCase(std::string_view key);

// Keeps leading and trailing underscores, lower-cases the first piece and
// capitalises the rest; a key without an inner "_" is left as it stands.
std::string fromSnakeCase(std::string_view key);

}  // namespace lxhf::json

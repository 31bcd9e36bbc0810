#pragma once

#include <string>
#include <string_view>


namespace lxhf::json {

// Foundation's rules, byte for byte: a capital starts a word, and a run of
// capitals ends one letter before the next lower-case letter
// ("imageURL" -> "image_url", "myURLProperty" -> "my_url_property").
std::string toSnakeCase(std::string_view key);

// Keeps leading and trailing underscores, lower-cases the first piece and
// capitalises the rest; a key without an inner "_" is left as it stands.
std::string fromSnakeCase(std::string_view key);

}  // namespace lxhf::json

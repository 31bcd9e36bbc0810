#pragma once

// Option parsing shared by the lxfermo subcommands: "--name value",
// "--name=value" and "--help"; anything else is a usage error.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace lxfermo {

// The exit code for a command line we cannot use.
inline constexpr int kUsageError = 2;

struct OptionInfo {
    std::string_view name;  // without the leading "--"
    std::string_view valueName;  // empty for a flag without a value
    std::string_view help;
};

struct ParsedOptions {
    bool help = false;
    std::map<std::string, std::string, std::less<>> values;
    std::vector<std::string> flags;

    const std::string* value(std::string_view name) const;
    bool has(std::string_view flag) const;
};

// Absent after writing the reason to stderr; `command` names the subcommand
// in that message.
std::optional<ParsedOptions> parseOptions(std::string_view command, const std::vector<std::string>& args,
                                          const std::vector<OptionInfo>& known);

// "Usage: lxfermo <command> [options]" followed by one line per option.
std::string usage(std::string_view command, std::string_view summary, const std::vector<OptionInfo>& known);

// What every subcommand does first: the parsed options, or, when the
// arguments are wrong or ask for help, the exit code to return once the
// complaint or the usage text has been written.
std::variant<ParsedOptions, int> optionsOrExit(std::string_view command, std::string_view summary,
                                               const std::vector<std::string>& args,
                                               const std::vector<OptionInfo>& known);

// Writes "lxfermo <command>: <message>" to stderr.
void complain(std::string_view command, std::string_view message);

// Whole decimal numbers in [low, high]; absent otherwise.
std::optional<long> parseInteger(std::string_view text, long low, long high);

// The text in single quotes for a POSIX shell, each ' written as '\''.
std::string shellQuoted(std::string_view text);

}  // namespace lxfermo

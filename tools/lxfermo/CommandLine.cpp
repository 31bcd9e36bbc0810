#include "CommandLine.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace lxfermo {

const std::string* ParsedOptions::value(std::string_view name) const {
    auto it = values.find(name);
    return it == values.end() ? nullptr : &it->second;
}

bool ParsedOptions::has(std::string_view flag) const {
    return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

void complain(std::string_view command, std::string_view message) {
    std::fprintf(stderr, "lxfermo %.*s: %.*s\n", int(command.size()), command.data(), int(message.size()),
                 message.data());
}

std::optional<ParsedOptions> parseOptions(std::string_view command, const std::vector<std::string>& args,
                                          const std::vector<OptionInfo>& known) {
    ParsedOptions parsed;
    const std::string hint = " (see lxfermo " + std::string(command) + " --help)";
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--help" || arg == "-h") {
            parsed.help = true;
            continue;
        }
        if (arg.size() < 3 || arg.compare(0, 2, "--") != 0) {
            complain(command, "unexpected argument '" + arg + "'" + hint);
            return std::nullopt;
        }
        const auto equals = arg.find('=');
        const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
        const auto option = std::find_if(known.begin(), known.end(), [&](const OptionInfo& s) { return s.name == name; });
        if (option == known.end()) {
            complain(command, "unknown option '--" + name + "'" + hint);
            return std::nullopt;
        }
        if (option->valueName.empty()) {
            if (equals != std::string::npos) {
                complain(command, "option '--" + name + "' takes no value");
                return std::nullopt;
            }
            parsed.flags.push_back(name);
            continue;
        }
        std::string value;
        if (equals != std::string::npos) {
            value = arg.substr(equals + 1);
        } else if (i + 1 < args.size() && args[i + 1].compare(0, 2, "--") != 0) {
            value = args[++i];
        } else {
            complain(command, "option '--" + name + "' needs a value (" + std::string(option->valueName) + ")");
            return std::nullopt;
        }
        if (value.empty()) {
            complain(command, "option '--" + name + "' needs a non-empty value");
            return std::nullopt;
        }
        parsed.values[name] = std::move(value);
    }
    return parsed;
}

std::variant<ParsedOptions, int> optionsOrExit(std::string_view command, std::string_view summary,
                                               const std::vector<std::string>& args,
                                               const std::vector<OptionInfo>& known) {
    auto options = parseOptions(command, args, known);
    if (!options) return kUsageError;
    if (options->help) {
        std::fputs(usage(command, summary, known).c_str(), stdout);
        return 0;
    }
    return std::move(*options);
}

std::string usage(std::string_view command, std::string_view summary, const std::vector<OptionInfo>& known) {
    std::string out = "Usage: lxfermo " + std::string(command) + (known.empty() ? "" : " [options]") + "\n\n";
    out += std::string(summary) + "\n\nOptions:\n";
    for (const auto& option : known) {
        std::string left = "  --" + std::string(option.name);
        if (!option.valueName.empty()) left += " " + std::string(option.valueName);
        left.resize(std::max<std::size_t>(left.size() + 2, 28), ' ');
        out += left + std::string(option.help) + "\n";
    }
    out += "  --help                    show this text\n";
    return out;
}

std::optional<long> parseInteger(std::string_view text, long low, long high) {
    long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < low || value > high) return std::nullopt;
    return value;
}

std::string shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace lxfermo

// lxfermo: the library's demo, its local test service, and a line-based
// driver for tools outside C++. This file only picks the subcommand.

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"

namespace {

constexpr const char* kUsage =
    "Usage: lxfermo <command> [options]\n"
    "\n"
    "Commands:\n"
    "  demo   the library against an embedded test service, in a window or the terminal\n"
    "  sim    the local Fermo test service alone, until interrupted\n"
    "  host   drive the library with one JSON command a line on stdin\n"
    "\n"
    "Run 'lxfermo <command> --help' for a command's options.\n";

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(kUsage, stderr);
        return lxfermo::kUsageError;
    }
    const std::string_view command = argv[1];
    const std::vector<std::string> args(argv + 2, argv + argc);
    if (command == "--help" || command == "-h" || command == "help") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (command == "host") return lxfermo::runHost(args);
    if (command == "sim") return lxfermo::runSim(args);
    if (command == "demo") return lxfermo::runDemo(args);
    std::fprintf(stderr, "lxfermo: unknown command '%.*s'\n\n%s", int(command.size()), command.data(), kUsage);
    return lxfermo::kUsageError;
}

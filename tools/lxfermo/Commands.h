#pragma once

// The subcommands; each takes the arguments after its name and returns the
// process exit code.

#include <string>
#include <vector>

namespace lxfermo {

int runHost(const std::vector<std::string>& args);
int runSim(const std::vector<std::string>& args);
int runDemo(const std::vector<std::string>& args);

}  // namespace lxfermo

#include <benchmark/benchmark.h>

#include <string_view>
#include <vector>

#include "ServiceProcess.h"

// Without arguments the counters (rooms/s, calls, handshakes) print as
// columns, which reads better than one "name=value" string per row.
int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--serve") return lxhf::bench::serveParent();
    std::vector<char*> args(argv, argv + argc);
    char tabular[] = "--benchmark_counters_tabular=true";
    if (argc == 1) args.push_back(tabular);
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

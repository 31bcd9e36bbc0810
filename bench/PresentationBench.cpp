// Per-call cost of composing the microsite address and of decoding one
// message from the page's script bridge.

#include <benchmark/benchmark.h>

#include "BenchRooms.h"
#include "core/Environment.h"
#include "page/BridgeMessage.h"
#include "page/MicrositeAddress.h"

namespace lxhf::bench {
namespace {

void BM_MicrositeAddress(benchmark::State& state) {
    const auto room = benchRoom(0);
    MicrositeAddressInputs inputs;
    inputs.endpoint = {"https", "api.staging.lxhotels.com", LXEnvironment::staging().micrositePath};
    inputs.token = "partner token & more";
    inputs.sessionId = "6F9619FF-8B86-D011-B42D-00C04FC964FF";
    inputs.offerResponse = benchResponse(room);
    inputs.offerResponse->clientRegion = "EU";
    inputs.offerResponse->featureFlags = FeatureFlags{{"newCheckout", CodableValue{true}}};
    for (auto _ : state) {
        auto address = micrositeAddress(inputs, room);
        if (!address) benchFailure("no microsite address");
        benchmark::DoNotOptimize(address);
    }
    state.counters["calls/s"] = benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_BridgeMessage(benchmark::State& state) {
    const json::Json message = {{"eventName", "error"}, {"data", {{"message", "Card declined"}}}};
    for (auto _ : state) {
        auto action = decodeBridgeMessage(kBridgeHandlerName, message);
        if (!action.result) benchFailure("bridge error event gave no result");
        benchmark::DoNotOptimize(action);
    }
    state.counters["calls/s"] = benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(BM_MicrositeAddress);
BENCHMARK(BM_BridgeMessage);

}  // namespace
}  // namespace lxhf::bench

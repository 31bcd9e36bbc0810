// Decoding one 1,000-offer "fermo_offers" answer through our coder, against
// nlohmann's parser reading the same bytes and building nothing else.

#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>

#include "BenchRooms.h"

namespace lxhf::bench {
namespace {

constexpr int kOffers = 1000;

const std::string& thousandOffers() {
    static const std::string text = [] {
        std::vector<LXOfferResponse> answer;
        for (const auto& room : benchRooms(kOffers)) answer.push_back(benchResponse(room));
        return json::Encoder(json::KeyEncoding::convertToSnakeCase).encode(answer);
    }();
    return text;
}

void offersPerSecond(benchmark::State& state) {
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(thousandOffers().size()));
    state.counters["offers/s"] = benchmark::Counter(kOffers, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_DecodeOffers_Coder(benchmark::State& state) {
    const auto& text = thousandOffers();
    const json::Decoder decoder(json::KeyDecoding::convertFromSnakeCase);
    for (auto _ : state) {
        auto decoded = decoder.decode<std::vector<LXOfferResponse>>(text);
        if (!decoded || decoded.value().size() != kOffers) benchFailure("answer does not decode");
        benchmark::DoNotOptimize(decoded);
    }
    offersPerSecond(state);
}

void BM_DecodeOffers_ParseOnly(benchmark::State& state) {
    const auto& text = thousandOffers();
    for (auto _ : state) {
        auto parsed = nlohmann::json::parse(text);
        benchmark::DoNotOptimize(parsed);
    }
    offersPerSecond(state);
}

BENCHMARK(BM_DecodeOffers_Coder)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeOffers_ParseOnly)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lxhf::bench

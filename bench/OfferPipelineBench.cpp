// Main-context cost of listing rooms (cacheOffers) and of applying the
// service's answers to them, through a facade on fakes, against the same
// work done with front-to-back scans of the lists.

#include <benchmark/benchmark.h>

#include <algorithm>

#include "BenchRooms.h"
#include "model/ErrorInfo.h"

namespace lxhf::bench {
namespace {

void roomsPerSecond(benchmark::State& state) {
    state.counters["rooms/s"] = benchmark::Counter(double(state.range(0)), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_CacheOffers(benchmark::State& state) {
    const auto rooms = benchRooms(int(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto facade = std::make_unique<FakeFacade>();
        state.ResumeTiming();
        facade->sdk->cacheOffers(rooms);
        state.PauseTiming();
        if (facade->sdk->fermoOffers().size() != rooms.size()) benchFailure("rooms not listed");
        facade.reset();
        state.ResumeTiming();
    }
    roomsPerSecond(state);
}

// From the debounce firing to the last room settled: encoding the requests,
// decoding each answer, matching rooms, publishing, sending the next one.
// With `decodeOffMain`, answers are decoded on a stepped background queue
// and only the main context's share is timed, as the library runs.
void applyAnswers(benchmark::State& state, bool decodeOffMain) {
    const auto rooms = benchRooms(int(state.range(0)));
    const auto bodies = answerBodies(rooms);
    for (auto _ : state) {
        auto facade = std::make_unique<FakeFacade>(decodeOffMain ? std::make_shared<SteppedBackgroundQueue>() : nullptr);
        facade->sdk->cacheOffers(rooms);
        state.SetIterationTime(facade->fetchAndAnswerAll(bodies));
        const auto& offers = facade->sdk->fermoOffers();
        if (!std::all_of(offers.begin(), offers.end(), [](const LXFermoOffer& o) {
                return o.state.kind() == LXFermoOfferState::Kind::available;
            }))
            benchFailure("not every room became available");
    }
    roomsPerSecond(state);
}

void BM_ApplyAnswers(benchmark::State& state) { applyAnswers(state, false); }
void BM_ApplyAnswersMainContext(benchmark::State& state) { applyAnswers(state, true); }

// The coding share of BM_ApplyAnswers (and of the baseline): encoding each
// hotel's request and decoding its answer, as the library does per batch.
void BM_CodeBatches(benchmark::State& state) {
    const auto rooms = benchRooms(int(state.range(0)));
    const auto bodies = answerBodies(rooms);
    const json::Encoder encoder(json::KeyEncoding::convertToSnakeCase);
    const json::Decoder decoder(json::KeyDecoding::convertFromSnakeCase);
    for (auto _ : state) {
        for (std::size_t b = 0; b < bodies.size(); ++b) {
            const LXRoomDetails& first = rooms[b * kRoomsPerHotel];
            LXOfferRequest request{first.hotel(), first.booking(), {}, "create_rooms_deposit_offer"};
            for (std::size_t i = b * kRoomsPerHotel; i < rooms.size() && i < (b + 1) * kRoomsPerHotel; ++i)
                request.rooms.push_back(LXOfferRequestRoom::from(rooms[i].room()));
            benchmark::DoNotOptimize(encoder.encode(request));
            auto decoded = decoder.decode<std::vector<LXOfferResponse>>(bodies[b]);
            if (!decoded) benchFailure("answer does not decode");
            benchmark::DoNotOptimize(decoded);
        }
    }
    roomsPerSecond(state);
}

// ---- The baseline: the same steps, every lookup a scan of the list. ----

struct NaiveBoard {
    std::vector<LXFermoOffer> offers;
    std::vector<std::pair<LXRoomDetails, LXOfferResponse>> responses;
    std::vector<LXRequestOffersBatch> queue;

    void cacheOffers(const std::vector<LXRoomDetails>& rooms) {
        std::vector<LXRoomDetails> toFetch;
        for (const auto& room : rooms) {
            if (std::any_of(offers.begin(), offers.end(),
                            [&](const LXFermoOffer& o) { return o.roomDetails() == room; }))
                continue;
            offers.push_back(RoomDetailsAccess::makeOffer(room, LXFermoOfferState::loading()));
            toFetch.push_back(room);
        }
        for (const auto& room : toFetch) {
            const LXRoomDetails& d = room;
            auto batch = std::find_if(queue.begin(), queue.end(), [&](const LXRequestOffersBatch& b) {
                return b.booking == d.booking() && b.hotel == d.hotel();
            });
            if (batch != queue.end()) batch->roomsDetails.push_back(room);
            else queue.push_back({d.booking(), d.hotel(), {room}});
        }
    }

    // What the library does for one batch: encode the request, decode the
    // answer, then match and write back.
    void apply(const LXRequestOffersBatch& batch, const std::string& body, const json::Encoder& encoder,
               const json::Decoder& decoder) {
        LXOfferRequest request{batch.hotel, batch.booking, {}, "create_rooms_deposit_offer"};
        for (const auto& room : batch.roomsDetails) request.rooms.push_back(LXOfferRequestRoom::from(room.room()));
        benchmark::DoNotOptimize(encoder.encode(request));
        auto decoded = decoder.decode<std::vector<LXOfferResponse>>(body);
        if (!decoded) benchFailure("answer does not decode");
        const auto& answer = decoded.value();

        for (const auto& room : batch.roomsDetails) {
            const LXRoom& wanted = room.room();
            auto match = std::find_if(answer.begin(), answer.end(),
                                      [&](const LXOfferResponse& r) { return r.offer.room.matches(wanted); });
            if (match != answer.end()) {
                auto entry = std::find_if(offers.begin(), offers.end(), [&](const LXFermoOffer& o) {
                    return match->offer.room.matches(o.roomDetails().room());
                });
                if (entry != offers.end()) {
                    const auto& key = entry->roomDetails();
                    auto stored = std::find_if(responses.begin(), responses.end(),
                                               [&](const auto& kv) { return kv.first == key; });
                    if (stored != responses.end()) stored->second = *match;
                    else responses.emplace_back(key, *match);
                    entry->state = LXFermoOfferState::available();
                }
            } else {
                auto entry = std::find_if(offers.begin(), offers.end(),
                                          [&](const LXFermoOffer& o) { return o.roomDetails() == room; });
                if (entry != offers.end()) entry->state = LXFermoOfferState::error(makeError("Error fetching offer"));
            }
            std::erase_if(queue, [&](const LXRequestOffersBatch& b) {
                return std::find(b.roomsDetails.begin(), b.roomsDetails.end(), room) != b.roomsDetails.end();
            });
        }
    }
};

void BM_NaiveCacheOffers(benchmark::State& state) {
    const auto rooms = benchRooms(int(state.range(0)));
    for (auto _ : state) {
        NaiveBoard board;
        board.cacheOffers(rooms);
        benchmark::DoNotOptimize(board.offers.data());
        state.PauseTiming();
        board = {};
        state.ResumeTiming();
    }
    roomsPerSecond(state);
}

void BM_NaiveApplyAnswers(benchmark::State& state) {
    const auto rooms = benchRooms(int(state.range(0)));
    const auto bodies = answerBodies(rooms);
    const json::Encoder encoder(json::KeyEncoding::convertToSnakeCase);
    const json::Decoder decoder(json::KeyDecoding::convertFromSnakeCase);
    for (auto _ : state) {
        state.PauseTiming();
        NaiveBoard board;
        board.cacheOffers(rooms);
        const auto snapshot = board.queue;
        state.ResumeTiming();
        for (std::size_t i = 0; i < snapshot.size(); ++i) board.apply(snapshot[i], bodies[i], encoder, decoder);
        state.PauseTiming();
        if (!board.queue.empty() || board.responses.size() != rooms.size()) benchFailure("baseline went wrong");
        board = {};
        state.ResumeTiming();
    }
    roomsPerSecond(state);
}

#define LXHF_ROOM_COUNTS ->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond)
BENCHMARK(BM_CacheOffers) LXHF_ROOM_COUNTS;
BENCHMARK(BM_NaiveCacheOffers) LXHF_ROOM_COUNTS;
BENCHMARK(BM_ApplyAnswers) LXHF_ROOM_COUNTS->UseManualTime();
BENCHMARK(BM_ApplyAnswersMainContext) LXHF_ROOM_COUNTS->UseManualTime();
BENCHMARK(BM_NaiveApplyAnswers) LXHF_ROOM_COUNTS;
BENCHMARK(BM_CodeBatches) LXHF_ROOM_COUNTS;

}  // namespace
}  // namespace lxhf::bench

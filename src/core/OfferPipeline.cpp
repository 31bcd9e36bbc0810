#include "core/OfferPipeline.h"

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "core/SessionAhead.h"
#include "model/ErrorInfo.h"
#include "model/RecordHash.h"

namespace lxhf {
namespace {

constexpr Seconds kOffersDelay{0.2};
constexpr const char* kRequestType = "create_rooms_deposit_offer";
// A handful of offers. Ten already take 0.2 to 0.5 ms, and answers arriving
// together are decoded back to back, which a host's frame would feel.
constexpr std::size_t kDecodeInPlaceBytes = 4 * 1024;

LXFermoOfferState stateFor(LXOfferResponseType type) {
    switch (type) {
        case LXOfferResponseType::signedFullOffer: return LXFermoOfferState::available();
        case LXOfferResponseType::signedBaseOffer:
        case LXOfferResponseType::unavailableOffer: return LXFermoOfferState::unavailable();
        case LXOfferResponseType::loading: break;
    }
    return LXFermoOfferState::loading();
}

std::size_t roomKeyHash(const LXBooking& booking, const LXHotel& hotel) {
    Hasher h;
    h.combine(booking);
    h.combine(hotel);
    return h.value();
}

// For each room of the batch, the first response whose request room matches
// it, as a scan would find it. Reads only immutable records, so it runs on
// the worker, and the responses no room wanted are freed there too.
std::vector<OfferBoard::SharedResponse> matchRooms(const LXRequestOffersBatch& batch,
                                                   const std::vector<OfferBoard::SharedResponse>& responses) {
    std::unordered_map<std::size_t, std::vector<std::size_t>> byRoom;
    for (std::size_t i = 0; i < responses.size(); ++i)
        byRoom[requestRoomHash(responses[i]->offer.room)].push_back(i);
    std::vector<OfferBoard::SharedResponse> matches(batch.roomsDetails.size());
    for (std::size_t r = 0; r < batch.roomsDetails.size(); ++r) {
        const LXRoom& wanted = batch.roomsDetails[r].room();
        auto bucket = byRoom.find(requestRoomHash(wanted));
        if (bucket == byRoom.end()) continue;
        for (std::size_t i : bucket->second)
            if (responses[i]->offer.room.matches(wanted)) {
                matches[r] = responses[i];
                break;
            }
    }
    return matches;
}

LXOfferRequest requestFor(const LXRequestOffersBatch& batch) {
    LXOfferRequest request{batch.hotel, batch.booking, {}, kRequestType};
    request.rooms.reserve(batch.roomsDetails.size());
    for (const auto& room : batch.roomsDetails) request.rooms.push_back(LXOfferRequestRoom::from(room.room()));
    return request;
}

}  // namespace

OfferPipeline::OfferPipeline(OfferBoard& board, SessionSource& sessions, ServiceApi& api, MainQueue& queue,
                             BackgroundQueue& background, LoggerSlot& log, const bool& networkConnected,
                             FetchSettings fetch)
    : board_(board), sessions_(sessions), api_(api), mainQueue_(queue), background_(background), log_(log),
      networkConnected_(networkConnected),
      debouncer_(std::make_unique<Debouncer>(queue, kOffersDelay, [] {})),
      fetchingError_(makeError("Error fetching offer")), fetch_(std::move(fetch)), retries_(queue, fetch_) {}

void OfferPipeline::cacheOffers(const std::vector<LXRoomDetails>& rooms) {
    std::vector<LXRoomDetails> toFetch;
    for (const auto& room : rooms) {
        if (board_.indexOf(room)) continue;
        board_.appendLoading(room);
        toFetch.push_back(room);
    }
    board_.publishIfChanged();
    if (!toFetch.empty()) queueRooms(toFetch);
}

void OfferPipeline::refresh(LXRefresh type) {
    std::vector<LXRoomDetails> rooms;
    // errorsOnly selects nothing on purpose: it only restarts the wait for
    // whatever is still queued.
    if (type == LXRefresh::all) {
        const auto& offers = board_.offers();
        rooms.reserve(offers.size());
        for (std::size_t i = 0; i < offers.size(); ++i) {
            rooms.push_back(offers[i].roomDetails());
            board_.setState(i, LXFermoOfferState::loading());
        }
        board_.publishIfChanged();
        // An answer that came before this call may set these entries again
        // before the rooms are queued: they go back to loading then. Entries
        // listed after this call are not this call's to queue.
        if (!turns_.empty()) {
            inTurn([this, rooms] {
                const auto& offers = board_.offers();
                for (std::size_t i = 0; i < rooms.size() && i < offers.size(); ++i)
                    if (offers[i].roomDetails() == rooms[i])
                        board_.setState(i, LXFermoOfferState::loading());
            });
        }
    }
    queueRooms(rooms);
}

// The host sees its entries at once, but the rooms join the queue only after
// the answers that came before them, which would otherwise drop them with the
// batches they answer. The wait restarts now, as the fetch it ends in takes
// its turn too.
void OfferPipeline::queueRooms(const std::vector<LXRoomDetails>& rooms) {
    if (turns_.empty()) enqueue(rooms);
    else if (!rooms.empty()) inTurn([this, rooms] { enqueue(rooms); });

    // A fresh debouncer abandons the pending run of the old one.
    std::weak_ptr<OfferPipeline> weak = weak_from_this();
    debouncer_ = std::make_unique<Debouncer>(mainQueue_, kOffersDelay, [weak] {
        if (auto self = weak.lock()) {
            self->inTurn([pipeline = self.get()] {
                pipeline->fetchDue_ = false;
                pipeline->connectionsAsked_ = 0;
                pipeline->fetchQueued();
            });
        }
    });
    // The fetch this trigger ends in takes every failed batch along.
    retries_.reset();
    fetchDue_ = networkConnected_;
    if (networkConnected_) {
        debouncer_->call();
        preconnect();
    }
}

// Batches sent side by side each need a connection: opened during the
// debounce, their handshakes are off the critical path. Rooms still waiting
// for their turn will need one at least; connections asked for since the
// last fetch are not asked for again.
void OfferPipeline::preconnect() {
    const std::uint32_t most = fetch_.policy.maxConcurrentBatches;
    if (most <= 1 || (queue_.empty() && turns_.empty())) return;
    const std::size_t wanted = std::min<std::size_t>(most, std::max<std::size_t>(queue_.size(), 1));
    if (wanted <= connectionsAsked_) return;
    if (auto url = api_.endpoint(api::kOffersPath)) api_.preconnect(*url, unsigned(wanted - connectionsAsked_));
    connectionsAsked_ = wanted;
}

void OfferPipeline::enqueue(const std::vector<LXRoomDetails>& rooms) {
    for (const auto& room : rooms) {
        auto& arrivals = queueByKey_[roomKeyHash(room.booking(), room.hotel())];
        auto joined = std::find_if(arrivals.begin(), arrivals.end(), [&](std::uint64_t arrival) {
            const auto& batch = queue_.at(arrival);
            return batch.booking == room.booking() && batch.hotel == room.hotel();
        });
        if (joined != arrivals.end()) {
            queue_.at(*joined).roomsDetails.push_back(room);
        } else {
            queue_.emplace(nextArrival_, LXRequestOffersBatch{room.booking(), room.hotel(), {room}});
            arrivals.push_back(nextArrival_++);
        }
    }
}

std::vector<LXRequestOffersBatch> OfferPipeline::queued() const {
    std::vector<LXRequestOffersBatch> batches;
    batches.reserve(queue_.size());
    for (const auto& [arrival, batch] : queue_) batches.push_back(batch);
    return batches;
}

void OfferPipeline::resume() {
    // Rooms still waiting for their turn count as queued.
    retries_.reset();
    if (!queue_.empty() || !turns_.empty()) {
        fetchDue_ = true;
        debouncer_->call();
        // A fresh process learns of its network only now, after its first rooms.
        preconnect();
    }
}

void OfferPipeline::inTurn(std::function<void()> step) {
    if (turns_.empty()) return step();
    turns_.push_back(std::make_shared<std::function<void()>>(std::move(step)));
}

void OfferPipeline::takeTurns() {
    const bool outer = std::exchange(takingTurns_, true);
    while (!turns_.empty() && *turns_.front()) {
        const Turn turn = std::move(turns_.front());
        turns_.pop_front();
        (*turn)();
    }
    takingTurns_ = outer;
    publish();
}

void OfferPipeline::publish() {
    if (!takingTurns_) board_.publishIfChanged();
}

// Encoding is most of a fetch's cost on the main context, so every batch's
// request is encoded in one go in the background. Batches and room details
// are immutable once in the snapshot, so the worker may read them.
void OfferPipeline::fetchQueued() {
    std::vector<std::uint64_t> arrivals;
    arrivals.reserve(queue_.size());
    for (const auto& entry : queue_) arrivals.push_back(entry.first);
    fetchArrivals(std::move(arrivals));
}

void OfferPipeline::fetchArrivals(std::vector<std::uint64_t> arrivals) {
    std::erase_if(arrivals, [&](std::uint64_t arrival) { return !queue_.contains(arrival); });
    if (arrivals.empty()) return;
    auto snapshot = std::make_shared<std::vector<LXRequestOffersBatch>>();
    snapshot->reserve(arrivals.size());
    for (std::uint64_t arrival : arrivals) {
        snapshot->push_back(queue_.at(arrival));
        ++inFlight_[arrival];
    }
    std::shared_ptr<const std::vector<LXRequestOffersBatch>> batches = std::move(snapshot);
    // The session is looked up meanwhile; without an offers address no
    // request goes out, and none is looked up.
    const std::size_t firstWave =
        std::min<std::size_t>(batches->size(), std::max(1u, fetch_.policy.maxConcurrentBatches));
    std::shared_ptr<SessionSource> session;
    if (api_.endpoint(api::kOffersPath)) session = SessionAhead::start(sessions_, firstWave);
    std::weak_ptr<OfferPipeline> weak = weak_from_this();
    computeInBackground(
        background_,
        [batches, encoder = api_.encoder()] {
            std::vector<Body> bodies;
            bodies.reserve(batches->size());
            for (const auto& batch : *batches) bodies.push_back(encoder.tryEncode(requestFor(batch)));
            return bodies;
        },
        [weak, batches, session = std::move(session),
         arrivals = std::move(arrivals)](std::vector<Body> bodies) mutable {
            auto self = weak.lock();
            if (!self) return;
            auto fetch =
                std::make_shared<Fetch>(Fetch{std::move(arrivals), batches, std::move(bodies), 0, std::move(session)});
            // One at a time unless the host asked for more; each finished
            // batch makes room for the next.
            for (std::uint32_t i = 0; i < std::max(1u, self->fetch_.policy.maxConcurrentBatches); ++i)
                self->fetchNext(fetch);
            // The lookup now holds the first batches, which hold the fetch:
            // the fetch must not hold the lookup too.
            fetch->session.reset();
        });
}

void OfferPipeline::fetchNext(const std::shared_ptr<Fetch>& fetch) {
    if (fetch->next >= fetch->batches->size()) return;
    const std::size_t index = fetch->next++;
    std::weak_ptr<OfferPipeline> weak = weak_from_this();
    SharedBatch batch(fetch->batches, &(*fetch->batches)[index]);
    SessionSource& session = fetch->session ? *fetch->session : sessions_;
    fetchOffers(std::move(batch), fetch->bodies[index], session, [weak, fetch, index](Outcome outcome) {
        auto self = weak.lock();
        if (!self) return;
        self->landed(fetch->arrivals[index]);
        self->handle(fetch->arrivals[index], (*fetch->batches)[index], std::move(outcome));
        self->fetchNext(fetch);
    });
}

void OfferPipeline::landed(std::uint64_t arrival) {
    if (auto found = inFlight_.find(arrival); found != inFlight_.end() && --found->second == 0) inFlight_.erase(found);
}

// Takes its turn like a debounced fetch. While the path is down the timer's
// work does nothing: the path coming back fetches the whole queue.
void OfferPipeline::retry(std::uint64_t arrival) {
    if (!networkConnected_) return;
    // A request for the batch already out (a trigger's) settles it or fails it again.
    inTurn([this, arrival] {
        if (!inFlight_.contains(arrival)) fetchArrivals({arrival});
    });
}

void OfferPipeline::fetchOffers(SharedBatch batch, Body body, SessionSource& sessions,
                                std::function<void(Outcome)> done) {
    auto url = api_.endpoint(api::kOffersPath);
    if (!url) {
        logWarn(log_, "unable to access fermoOffers API URL");
        return done(NoResult{});
    }
    std::weak_ptr<OfferPipeline> weak = weak_from_this();
    sessions.currentSessionId([weak, batch = std::move(batch), url = std::move(*url), body = std::move(body),
                               done = std::move(done)](SessionIdResult session) mutable {
        auto self = weak.lock();
        if (!self) return;
        if (!session) {
            logError(self->log_, "session.current error: " + session.error().message());
            return done(Failure{makeError(session.error().message()), self->sessions_.lastFailureTransient(),
                                self->sessions_.lastFailureRetryAfter()});
        }
        if (!body) {
            logWarn(self->log_, "Error encoding fetchOffers requestData:\n" + body.error().description());
            return done(NoResult{});
        }
        self->sendOffers(std::move(batch), url, body.value(), session.value(), std::move(done));
    });
}

void OfferPipeline::sendOffers(SharedBatch batch, const std::string& url, const std::string& body,
                               const std::string& sessionId, std::function<void(Outcome)> done) {
    std::weak_ptr<OfferPipeline> weak = weak_from_this();
    api_.post(url, body, sessionId,
              [weak, batch = std::move(batch), done = std::move(done)](HttpResult result) mutable {
                  if (auto self = weak.lock()) self->readAnswer(std::move(batch), std::move(result), std::move(done));
              });
}

// A large answer takes milliseconds to decode, and more to match against the
// batch and to free what no room asked for, so the main context only checks
// the status and headers and leaves the body to the background, which hands
// back, per room of the batch, its finished, immutable response. A small one
// is decoded here: the round trip to the worker, which may be busy with a
// file's fsyncs, would cost more than the work.
void OfferPipeline::readAnswer(SharedBatch batch, HttpResult result, std::function<void(Outcome)> done) {
    if (!result) {
        return done(Failure{makeError("fetchOffers URLRequest error: " + result.error().description),
                            !result.error().permanent});
    }
    HttpResponse& response = result.value();
    if (response.status != api::kCreated) {
        return done(Failure{makeError("fetchOffers statusCode error", response.status),
                            transientStatus(response.status), lxhf::retryAfter(response)});
    }

    bool malformedExperiments = false;
    auto flags = decodeExperiments(response.header(api::kExperimentsHeader), malformedExperiments);
    if (malformedExperiments) logError(log_, "Error decoding lx-experiments");
    const bool decodeHere = response.body.size() <= kDecodeInPlaceBytes;
    auto decode = [batch = std::move(batch), decoder = api_.decoder(), body = std::move(response.body),
                   region = response.header(api::kClientRegionHeader),
                   // A missing or unreadable header still gives every response a map, empty.
                   flags = flags.value_or(FeatureFlags{})] {
        auto decoded = decoder.decode<std::vector<LXOfferResponse>>(body);
        if (!decoded) return Decoded{{}, decoded.error().description()};
        std::vector<OfferBoard::SharedResponse> responses;
        responses.reserve(decoded.value().size());
        for (auto& r : decoded.value()) {
            r.clientRegion = region;
            r.featureFlags = flags;
            responses.push_back(std::make_shared<const LXOfferResponse>(std::move(r)));
        }
        return Decoded{matchRooms(*batch, responses), std::nullopt};
    };
    if (decodeHere) {
        return inTurn([this, decoded = decode(), done = std::move(done)]() mutable {
            finishReading(std::move(decoded), std::move(done));
        });
    }
    // Its turn is taken now and becomes ready when the worker is done.
    auto turn = std::make_shared<std::function<void()>>();
    turns_.push_back(turn);
    std::weak_ptr<OfferPipeline> weak = weak_from_this();
    computeInBackground(background_, std::move(decode), [weak, turn, done = std::move(done)](Decoded decoded) mutable {
        auto self = weak.lock();
        if (!self) return;
        *turn = [pipeline = self.get(), decoded = std::move(decoded), done = std::move(done)]() mutable {
            pipeline->finishReading(std::move(decoded), std::move(done));
        };
        self->takeTurns();
    });
}

void OfferPipeline::finishReading(Decoded decoded, std::function<void(Outcome)> done) {
    if (decoded.error) {
        logError(log_, "Error decoding responseData:\n" + *decoded.error);
        return done(NoResult{});
    }
    done(std::move(decoded.matches));
}

void OfferPipeline::handle(std::uint64_t arrival, const LXRequestOffersBatch& batch, Outcome outcome) {
    if (std::holds_alternative<NoResult>(outcome)) {
        logWarn(log_, "No offers fetched");
    } else if (const auto* failure = std::get_if<Failure>(&outcome)) {
        const LXErrorInfo& error = failure->error;
        std::string message = "fetchOffers error message: " + error.message();
        if (error.code()) message += "\ncode: " + std::to_string(*error.code());
        logError(log_, message);
        if (!retries_.enabled() || !failure->transient || !queue_.contains(arrival)) return;
        std::weak_ptr<OfferPipeline> weak = weak_from_this();
        const auto next = retries_.failed(arrival, failure->retryAfter, networkConnected_, [weak, arrival] {
            if (auto self = weak.lock()) self->retry(arrival);
        });
        // Out of attempts: the rooms show the fetching error, as if the
        // service had answered without them.
        if (next == BatchRetries::Next::giveUp) applyAnswer(batch, Matches(batch.roomsDetails.size()));
    } else {
        retries_.forget(arrival);
        applyAnswer(batch, std::get<Matches>(outcome));
    }
}

void OfferPipeline::applyAnswer(const LXRequestOffersBatch& batch, const Matches& matches) {
    for (std::size_t r = 0; r < batch.roomsDetails.size(); ++r) {
        if (matches[r]) updateCache(matches[r]);
        else setErrorState(batch.roomsDetails[r]);
    }
    if (fetch_.policy.requeueLateRooms) requeueLateRooms(batch);
    else dropBatchesHolding(batch, batch.roomsDetails);
    publish();
}

// Every batch holding an answered room goes, whole. Such a batch shares the
// answered batch's booking and hotel, so only that key's batches are looked at.
void OfferPipeline::dropBatchesHolding(const LXRequestOffersBatch& answered, const std::vector<LXRoomDetails>& rooms) {
    auto arrivals = queueByKey_.find(roomKeyHash(answered.booking, answered.hotel));
    if (arrivals == queueByKey_.end()) return;
    const std::unordered_set<LXRoomDetails> gone(rooms.begin(), rooms.end());
    std::erase_if(arrivals->second, [&](std::uint64_t arrival) {
        auto batch = queue_.find(arrival);
        const auto& held = batch->second.roomsDetails;
        if (std::none_of(held.begin(), held.end(), [&](const LXRoomDetails& r) { return gone.contains(r); }))
            return false;
        retries_.forget(arrival);
        queue_.erase(batch);
        return true;
    });
    if (arrivals->second.empty()) queueByKey_.erase(arrivals);
}

// Only the answered rooms leave, each once: whatever joined the batch after
// its request went out stays queued, and is fetched by the debounced fetch
// its queueing started or, when that has run already, at once.
void OfferPipeline::requeueLateRooms(const LXRequestOffersBatch& answered) {
    auto arrivals = queueByKey_.find(roomKeyHash(answered.booking, answered.hotel));
    if (arrivals == queueByKey_.end()) return;
    std::unordered_map<LXRoomDetails, std::size_t> left;
    for (const auto& room : answered.roomsDetails) ++left[room];
    std::vector<std::uint64_t> kept;
    std::erase_if(arrivals->second, [&](std::uint64_t arrival) {
        auto batch = queue_.find(arrival);
        auto& held = batch->second.roomsDetails;
        const std::size_t before = held.size();
        std::erase_if(held, [&](const LXRoomDetails& room) {
            auto found = left.find(room);
            if (found == left.end() || found->second == 0) return false;
            --found->second;
            return true;
        });
        if (held.size() == before) return false;
        if (!held.empty()) {
            // A request still out for this batch carries its late rooms, or
            // its answer comes back here and sends them.
            if (!inFlight_.contains(arrival)) kept.push_back(arrival);
            return false;
        }
        retries_.forget(arrival);
        queue_.erase(batch);
        return true;
    });
    if (arrivals->second.empty()) queueByKey_.erase(arrivals);
    if (!kept.empty() && !fetchDue_ && networkConnected_) inTurn([this, kept] { fetchArrivals(kept); });
}

void OfferPipeline::updateCache(const OfferBoard::SharedResponse& response) {
    const auto index = board_.indexOfMatching(response->offer.room);
    if (!index) {
        logWarn(log_, "Didn't find fermoOffers index to updateCache");
        return;
    }
    board_.setResponse(board_.offers()[*index].roomDetails(), response);
    board_.setState(*index, stateFor(response->type));
}

void OfferPipeline::setErrorState(const LXRoomDetails& room) {
    const auto index = board_.indexOf(room);
    if (!index) {
        logWarn(log_, "Issue finding updateCache index");
        return;
    }
    board_.setState(*index, LXFermoOfferState::error(fetchingError_));
}

}  // namespace lxhf

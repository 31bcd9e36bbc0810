#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <variant>
#include <vector>

#include "LXHotelsFermo/LXEnvironmentType.h"
#include "core/BatchRetries.h"
#include "core/FetchPolicy.h"
#include "core/OfferBoard.h"
#include "core/ServiceApi.h"
#include "core/SessionSource.h"
#include "infra/Debouncer.h"
#include "infra/LoggerSlot.h"
#include "platform/BackgroundQueue.h"
#include "platform/MainQueue.h"

namespace lxhf {

// Turns rooms into loading entries, batches them by booking and hotel, and
// after a 0.2 s quiet period fetches one offer request per batch, in turn,
// writing each room's state back in place. Main context only, except that
// requests are encoded and answers decoded and matched to rooms on
// `background`; its callbacks hold it weakly and do nothing once the engine
// is gone. Answers and the host's calls take effect in the order they came,
// as if each answer were applied the moment it arrived, however long its
// decoding takes. The host's fetch policy may widen a fetch to several
// batches at once, retry failed batches on a timer, and keep rooms queued
// while their batch is in flight; by default it does none of these.
class OfferPipeline : public std::enable_shared_from_this<OfferPipeline> {
public:
    OfferPipeline(OfferBoard& board, SessionSource& sessions, ServiceApi& api, MainQueue& queue,
                  BackgroundQueue& background, LoggerSlot& log, const bool& networkConnected,
                  FetchSettings fetch = {});

    void cacheOffers(const std::vector<LXRoomDetails>& rooms);
    void refresh(LXRefresh type);
    void queueRooms(const std::vector<LXRoomDetails>& rooms);
    // The network path became satisfied: fetch what is waiting.
    void resume();
    // Batches waiting for a retry timer.
    std::size_t retriesWaiting() const { return retries_.waiting(); }

    // The waiting batches in the order they will be fetched.
    std::vector<LXRequestOffersBatch> queued() const;

private:
    struct NoResult {};
    struct Failure {
        LXErrorInfo error;
        bool transient = false;  // the same request may pass later
        std::optional<Seconds> retryAfter{};
    };
    // One per room of the batch, in its order; null where the answer had none.
    using Matches = std::vector<OfferBoard::SharedResponse>;
    using Outcome = std::variant<NoResult, Failure, Matches>;
    using SharedBatch = std::shared_ptr<const LXRequestOffersBatch>;
    // The queue as it stood when the debouncer fired, with each batch's
    // request body.
    using Body = LXResult<std::string, json::EncodingError>;
    struct Fetch {
        std::vector<std::uint64_t> arrivals;
        std::shared_ptr<const std::vector<LXRequestOffersBatch>> batches;
        std::vector<Body> bodies;
        std::size_t next = 0;  // the first batch not yet sent
        std::shared_ptr<SessionSource> session;  // looked up while the bodies were encoded
    };

    void enqueue(const std::vector<LXRoomDetails>& rooms);
    // Runs `step` now, or after the answers still decoding that came before
    // it and the steps queued behind them.
    void inTurn(std::function<void()> step);
    void takeTurns();
    // Subscribers hear once for all the turns taken in one go, so a stale
    // answer followed by a reload never shows.
    void publish();

    void fetchQueued();
    void fetchArrivals(std::vector<std::uint64_t> arrivals);
    void fetchNext(const std::shared_ptr<Fetch>& fetch);
    void retry(std::uint64_t arrival);
    void landed(std::uint64_t arrival);
    void preconnect();
    void fetchOffers(SharedBatch batch, Body body, SessionSource& session, std::function<void(Outcome)> done);
    void sendOffers(SharedBatch batch, const std::string& url, const std::string& body, const std::string& sessionId,
                    std::function<void(Outcome)> done);
    void readAnswer(SharedBatch batch, HttpResult result, std::function<void(Outcome)> done);
    struct Decoded {
        Matches matches;
        std::optional<std::string> error;
    };
    void finishReading(Decoded decoded, std::function<void(Outcome)> done);
    void handle(std::uint64_t arrival, const LXRequestOffersBatch& batch, Outcome outcome);
    void applyAnswer(const LXRequestOffersBatch& batch, const Matches& matches);
    void dropBatchesHolding(const LXRequestOffersBatch& answered, const std::vector<LXRoomDetails>& rooms);
    void requeueLateRooms(const LXRequestOffersBatch& answered);
    void updateCache(const OfferBoard::SharedResponse& response);
    void setErrorState(const LXRoomDetails& room);

    OfferBoard& board_;
    SessionSource& sessions_;
    ServiceApi& api_;
    MainQueue& mainQueue_;
    BackgroundQueue& background_;
    LoggerSlot& log_;
    const bool& networkConnected_;
    // Batches by arrival, so that a fetch takes them in order and an answered
    // one leaves without shifting the rest; indexed by booking-and-hotel hash.
    std::map<std::uint64_t, LXRequestOffersBatch> queue_;
    std::unordered_map<std::size_t, std::vector<std::uint64_t>> queueByKey_;
    std::uint64_t nextArrival_ = 0;
    std::unique_ptr<Debouncer> debouncer_;
    // Empty until its answer is decoded; steps queued behind one are ready.
    using Turn = std::shared_ptr<std::function<void()>>;
    std::deque<Turn> turns_;
    bool takingTurns_ = false;
    const LXErrorInfo fetchingError_;
    const FetchSettings fetch_;
    BatchRetries retries_;
    std::map<std::uint64_t, unsigned> inFlight_;  // requests per batch, sent or about to be
    // A debounced fetch is due: rooms left behind by an answer wait for it.
    bool fetchDue_ = false;
    std::size_t connectionsAsked_ = 0;  // since the last fetch
};

}  // namespace lxhf

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXPublisher.h"
#include "model/OfferRecords.h"

namespace lxhf {

// The facade's published offer list and its per-room responses, with hash
// indexes that return the same first match a front-to-back scan would.
// Entries are only ever appended by the library; a list set by the host
// rebuilds the indexes. Main context only.
class OfferBoard {
public:
    using Offers = std::vector<LXFermoOffer>;

    LXPublisher<Offers>& publisher() noexcept { return offers_; }
    const Offers& offers() const noexcept { return offers_.value(); }
    void replaceAll(Offers offers);

    // First entry whose room details equal `room`.
    std::optional<std::size_t> indexOf(const LXRoomDetails& room) const;
    // First entry whose room equals `room` on the thirteen request-room fields.
    std::optional<std::size_t> indexOfMatching(const LXOfferRequestRoom& room) const;

    void appendLoading(const LXRoomDetails& room);
    void setState(std::size_t index, LXFermoOfferState state);
    // Tells subscribers once for all edits since the last call.
    void publishIfChanged();

    // Responses are immutable once decoded, so one answer may serve several
    // entries without a copy.
    using SharedResponse = std::shared_ptr<const LXOfferResponse>;
    std::size_t responseCount() const noexcept { return responses_.size(); }
    void setResponse(const LXRoomDetails& room, SharedResponse response);
    const LXOfferResponse* response(const LXRoomDetails& room) const;
    SharedResponse sharedResponse(const LXRoomDetails& room) const;
    // Distinct for each response ever set, so a view can tell a new one
    // from the one it used; 0 while the room has none.
    std::uint64_t responseRevision(const LXRoomDetails& room) const;

private:
    void index(std::size_t position);

    LXPublisher<Offers> offers_;
    bool dirty_ = false;
    std::unordered_map<LXRoomDetails, std::size_t> byDetails_;
    // Thirteen-field hash -> entry positions, ascending.
    std::unordered_map<std::size_t, std::vector<std::size_t>> byRequestRoom_;
    struct Stored {
        SharedResponse response;
        std::uint64_t revision;
    };
    const Stored* stored(const LXRoomDetails& room) const;

    std::unordered_map<LXRoomDetails, Stored> responses_;
    std::uint64_t lastRevision_ = 0;
};

std::size_t requestRoomHash(const LXRoom& room) noexcept;
std::size_t requestRoomHash(const LXOfferRequestRoom& room) noexcept;

}  // namespace lxhf

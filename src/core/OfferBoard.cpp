#include "core/OfferBoard.h"

#include "model/RecordHash.h"

namespace lxhf {

std::size_t requestRoomHash(const LXOfferRequestRoom& room) noexcept { return hashOf(room); }

std::size_t requestRoomHash(const LXRoom& room) noexcept { return LXOfferRequestRoom::hashOfShared(room); }

void OfferBoard::replaceAll(Offers offers) {
    byDetails_.clear();
    byRequestRoom_.clear();
    offers_.mutableValue() = std::move(offers);
    for (std::size_t i = 0; i < offers_.value().size(); ++i) index(i);
    dirty_ = false;
    offers_.notify();
}

void OfferBoard::index(std::size_t position) {
    const LXRoomDetails& room = offers_.value()[position].roomDetails();
    byDetails_.try_emplace(room, position);
    byRequestRoom_[requestRoomHash(room.room())].push_back(position);
}

std::optional<std::size_t> OfferBoard::indexOf(const LXRoomDetails& room) const {
    const auto found = byDetails_.find(room);
    if (found == byDetails_.end()) return std::nullopt;
    return found->second;
}

std::optional<std::size_t> OfferBoard::indexOfMatching(const LXOfferRequestRoom& room) const {
    const auto bucket = byRequestRoom_.find(requestRoomHash(room));
    if (bucket == byRequestRoom_.end()) return std::nullopt;
    for (std::size_t position : bucket->second)
        if (room.matches(offers()[position].roomDetails().room())) return position;
    return std::nullopt;
}

void OfferBoard::appendLoading(const LXRoomDetails& room) {
    offers_.mutableValue().push_back(RoomDetailsAccess::makeOffer(room, LXFermoOfferState::loading()));
    index(offers_.value().size() - 1);
    dirty_ = true;
}

void OfferBoard::setState(std::size_t index, LXFermoOfferState state) {
    offers_.mutableValue()[index].state = std::move(state);
    dirty_ = true;
}

void OfferBoard::publishIfChanged() {
    if (!dirty_) return;
    dirty_ = false;
    offers_.notify();
}

void OfferBoard::setResponse(const LXRoomDetails& room, SharedResponse response) {
    responses_.insert_or_assign(room, Stored{std::move(response), ++lastRevision_});
    dirty_ = true;
}

const OfferBoard::Stored* OfferBoard::stored(const LXRoomDetails& room) const {
    if (responses_.empty()) return nullptr;
    const auto found = responses_.find(room);
    return found == responses_.end() ? nullptr : &found->second;
}

const LXOfferResponse* OfferBoard::response(const LXRoomDetails& room) const {
    const Stored* entry = stored(room);
    return entry ? entry->response.get() : nullptr;
}

OfferBoard::SharedResponse OfferBoard::sharedResponse(const LXRoomDetails& room) const {
    const Stored* entry = stored(room);
    return entry ? entry->response : nullptr;
}

std::uint64_t OfferBoard::responseRevision(const LXRoomDetails& room) const {
    const Stored* entry = stored(room);
    return entry ? entry->revision : 0;
}

}  // namespace lxhf

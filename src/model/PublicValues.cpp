// The public value types' JSON entry points, equality and hashing.

#include "LXHotelsFermo/LXEnvironmentType.h"
#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXRoomDetails.h"
#include "model/PublicStateCoding.h"
#include "model/RecordHash.h"
#include "model/RoomDetailsRecords.h"

using lxhf::json::Decoder;
using lxhf::json::Encoder;

LXRoomDetails::LXRoomDetails(std::shared_ptr<const LXRoomDetailsData> data)
    : data_(std::move(data)), hash_(lxhf::hashOf(*data_)) {}

LXRoomDetails lxhf::RoomDetailsAccess::make(LXRoomDetailsData data) {
    return LXRoomDetails(std::make_shared<const LXRoomDetailsData>(std::move(data)));
}

LXRoomDetails LXRoomDetails::make(std::optional<std::string> userId, LXBooking booking, LXHotel hotel, LXRoom room) {
    return lxhf::RoomDetailsAccess::make({std::move(userId), std::move(booking), std::move(hotel), std::move(room)});
}

const std::optional<std::string>& LXRoomDetails::userId() const noexcept { return data_->userId; }
const LXBooking& LXRoomDetails::booking() const noexcept { return data_->booking; }
const LXHotel& LXRoomDetails::hotel() const noexcept { return data_->hotel; }
const LXRoom& LXRoomDetails::room() const noexcept { return data_->room; }

bool operator==(const LXRoomDetails& a, const LXRoomDetails& b) noexcept {
    return a.data_ == b.data_ || (a.hash_ == b.hash_ && *a.data_ == *b.data_);
}

LXResult<LXRoomDetails, LXDecodingError> LXRoomDetails::fromJSON(std::string_view json, LXJSONKeyStyle keys) {
    return Decoder(lxhf::json::decodingFor(keys)).decode<LXRoomDetails>(json);
}

std::string LXRoomDetails::toJSON(LXJSONKeyStyle keys) const {
    return Encoder(lxhf::json::encodingFor(keys)).encode(*this);
}

LXResult<LXFermoOfferState, LXDecodingError> LXFermoOfferState::fromJSON(std::string_view json) {
    return Decoder().decode<LXFermoOfferState>(json);
}

std::string LXFermoOfferState::toJSON() const { return Encoder().encode(*this); }

LXResult<LXFermoPurchaseResult, LXDecodingError> LXFermoPurchaseResult::fromJSON(std::string_view json) {
    return Decoder().decode<LXFermoPurchaseResult>(json);
}

std::string LXFermoPurchaseResult::toJSON() const { return Encoder().encode(*this); }

LXResult<LXFermoOffer, LXDecodingError> LXFermoOffer::fromJSON(std::string_view json, LXJSONKeyStyle keys) {
    return Decoder(lxhf::json::decodingFor(keys)).decode<LXFermoOffer>(json);
}

std::string LXFermoOffer::toJSON(LXJSONKeyStyle keys) const {
    return Encoder(lxhf::json::encodingFor(keys)).encode(*this);
}

namespace LXHotelsFermo {

std::string_view rawValue(LXEnvironmentType type) noexcept {
    return type == LXEnvironmentType::production ? "production" : "staging";
}

std::optional<LXEnvironmentType> environmentTypeFromRawValue(std::string_view raw) noexcept {
    if (raw == "production") return LXEnvironmentType::production;
    if (raw == "staging") return LXEnvironmentType::staging;
    return std::nullopt;
}

std::string_view rawValue(LXRefresh refresh) noexcept {
    return refresh == LXRefresh::all ? "all" : "errorsOnly";
}

std::optional<LXRefresh> refreshFromRawValue(std::string_view raw) noexcept {
    if (raw == "all") return LXRefresh::all;
    if (raw == "errorsOnly") return LXRefresh::errorsOnly;
    return std::nullopt;
}

}  // namespace LXHotelsFermo

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "LXHotelsFermo/LXDecodingError.h"
#include "LXHotelsFermo/LXErrorInfo.h"
#include "LXHotelsFermo/LXExport.h"
#include "LXHotelsFermo/LXJSONKeyStyle.h"
#include "LXHotelsFermo/LXResult.h"
#include "LXHotelsFermo/LXRoomDetails.h"

// Where a room's offer stands. An error state equals nothing, not even
// itself, so every error counts as a change to whoever compares states.
class LXHF_EXPORT LXFermoOfferState {
public:
    enum class Kind { loading, available, unavailable, error };

    static LXFermoOfferState loading() { return LXFermoOfferState(Kind::loading); }
    static LXFermoOfferState available() { return LXFermoOfferState(Kind::available); }
    static LXFermoOfferState unavailable() { return LXFermoOfferState(Kind::unavailable); }
    static LXFermoOfferState error(LXErrorInfo info) { return LXFermoOfferState(std::move(info)); }

    Kind kind() const noexcept { return kind_; }
    // Present exactly when kind() is error.
    const LXErrorInfo* errorInfo() const noexcept { return error_ ? &*error_ : nullptr; }

    friend bool operator==(const LXFermoOfferState& a, const LXFermoOfferState& b) noexcept {
        return a.kind_ == b.kind_ && a.kind_ != Kind::error;
    }

    static LXResult<LXFermoOfferState, LXDecodingError> fromJSON(std::string_view json);
    std::string toJSON() const;

private:
    explicit LXFermoOfferState(Kind kind) : kind_(kind) {}
    explicit LXFermoOfferState(LXErrorInfo info) : kind_(Kind::error), error_(std::move(info)) {}

    Kind kind_;
    std::optional<LXErrorInfo> error_;
};

// What the purchase page reports back. Same equality rule as the offer state.
class LXHF_EXPORT LXFermoPurchaseResult {
public:
    enum class Kind { purchased, cancelled, invalid, error };

    static LXFermoPurchaseResult purchased() { return LXFermoPurchaseResult(Kind::purchased); }
    static LXFermoPurchaseResult cancelled() { return LXFermoPurchaseResult(Kind::cancelled); }
    static LXFermoPurchaseResult invalid() { return LXFermoPurchaseResult(Kind::invalid); }
    static LXFermoPurchaseResult error(LXErrorInfo info) { return LXFermoPurchaseResult(std::move(info)); }

    Kind kind() const noexcept { return kind_; }
    const LXErrorInfo* errorInfo() const noexcept { return error_ ? &*error_ : nullptr; }

    friend bool operator==(const LXFermoPurchaseResult& a, const LXFermoPurchaseResult& b) noexcept {
        return a.kind_ == b.kind_ && a.kind_ != Kind::error;
    }

    static LXResult<LXFermoPurchaseResult, LXDecodingError> fromJSON(std::string_view json);
    std::string toJSON() const;

private:
    explicit LXFermoPurchaseResult(Kind kind) : kind_(kind) {}
    explicit LXFermoPurchaseResult(LXErrorInfo info) : kind_(Kind::error), error_(std::move(info)) {}

    Kind kind_;
    std::optional<LXErrorInfo> error_;
};

// One room handed to the library and the state of its offer. The host reads
// both and may set the state; the room stays the one it was listed as.
class LXHF_EXPORT LXFermoOffer {
public:
    LXFermoOfferState state;

    const LXRoomDetails& roomDetails() const noexcept { return roomDetails_; }

    static LXResult<LXFermoOffer, LXDecodingError> fromJSON(
        std::string_view json, LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames);
    std::string toJSON(LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames) const;

private:
    LXFermoOffer(LXRoomDetails room, LXFermoOfferState state)
        : state(std::move(state)), roomDetails_(std::move(room)) {}
    friend struct lxhf::RoomDetailsAccess;

    LXRoomDetails roomDetails_;
};

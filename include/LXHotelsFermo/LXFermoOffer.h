#pragma once

/// @file
/// A room's offer, where it stands, and what the purchase page reports.

#include <optional>
#include <string>
#include <string_view>

#include "LXHotelsFermo/LXDecodingError.h"
#include "LXHotelsFermo/LXErrorInfo.h"
#include "LXHotelsFermo/LXExport.h"
#include "LXHotelsFermo/LXJSONKeyStyle.h"
#include "LXHotelsFermo/LXResult.h"
#include "LXHotelsFermo/LXRoomDetails.h"

/// Where a room's offer stands. An error state equals nothing, not even
/// itself, so every error counts as a change to whoever compares states.
class LXHF_EXPORT LXFermoOfferState {
public:
    /// The state's kind.
    enum class Kind { loading, available, unavailable, error };
    /// @var Kind::loading
    /// No answer for the room yet.
    /// @var Kind::available
    /// The room has an offer a traveller can buy.
    /// @var Kind::unavailable
    /// The service has no offer for the room.
    /// @var Kind::error
    /// The offer could not be had; errorInfo() says why.

    /// A room waiting for its answer.
    static LXFermoOfferState loading() { return LXFermoOfferState(Kind::loading); }
    /// A room with an offer to buy.
    static LXFermoOfferState available() { return LXFermoOfferState(Kind::available); }
    /// A room without an offer.
    static LXFermoOfferState unavailable() { return LXFermoOfferState(Kind::unavailable); }
    /// A room whose offer failed, for the reason in `info`.
    static LXFermoOfferState error(LXErrorInfo info) { return LXFermoOfferState(std::move(info)); }

    /// The state's kind.
    Kind kind() const noexcept { return kind_; }
    /// Present exactly when kind() is error.
    const LXErrorInfo* errorInfo() const noexcept { return error_ ? &*error_ : nullptr; }

    /// Equal kinds other than error; an error state equals nothing.
    friend bool operator==(const LXFermoOfferState& a, const LXFermoOfferState& b) noexcept {
        return a.kind_ == b.kind_ && a.kind_ != Kind::error;
    }

    /// The state written by toJSON(), or why `json` is not one.
    static LXResult<LXFermoOfferState, LXDecodingError> fromJSON(std::string_view json);
    /// The state as JSON text.
    std::string toJSON() const;

private:
    explicit LXFermoOfferState(Kind kind) : kind_(kind) {}
    explicit LXFermoOfferState(LXErrorInfo info) : kind_(Kind::error), error_(std::move(info)) {}

    Kind kind_;
    std::optional<LXErrorInfo> error_;
};

/// What the purchase page reports back. Same equality rule as the offer state.
class LXHF_EXPORT LXFermoPurchaseResult {
public:
    /// The result's kind.
    enum class Kind { purchased, cancelled, invalid, error };
    /// @var Kind::purchased
    /// The traveller bought the Fermo.
    /// @var Kind::cancelled
    /// The page closed without a purchase.
    /// @var Kind::invalid
    /// Never reported by the library's own page; there for a host's own use.
    /// @var Kind::error
    /// The page failed; errorInfo() says why.

    /// A purchase.
    static LXFermoPurchaseResult purchased() { return LXFermoPurchaseResult(Kind::purchased); }
    /// A page closed without a purchase.
    static LXFermoPurchaseResult cancelled() { return LXFermoPurchaseResult(Kind::cancelled); }
    /// An invalid result, which the library's own page never reports.
    static LXFermoPurchaseResult invalid() { return LXFermoPurchaseResult(Kind::invalid); }
    /// A failed page, for the reason in `info`.
    static LXFermoPurchaseResult error(LXErrorInfo info) { return LXFermoPurchaseResult(std::move(info)); }

    /// The result's kind.
    Kind kind() const noexcept { return kind_; }
    /// Present exactly when kind() is error.
    const LXErrorInfo* errorInfo() const noexcept { return error_ ? &*error_ : nullptr; }

    /// Equal kinds other than error; an error result equals nothing.
    friend bool operator==(const LXFermoPurchaseResult& a, const LXFermoPurchaseResult& b) noexcept {
        return a.kind_ == b.kind_ && a.kind_ != Kind::error;
    }

    /// The result written by toJSON(), or why `json` is not one.
    static LXResult<LXFermoPurchaseResult, LXDecodingError> fromJSON(std::string_view json);
    /// The result as JSON text.
    std::string toJSON() const;

private:
    explicit LXFermoPurchaseResult(Kind kind) : kind_(kind) {}
    explicit LXFermoPurchaseResult(LXErrorInfo info) : kind_(Kind::error), error_(std::move(info)) {}

    Kind kind_;
    std::optional<LXErrorInfo> error_;
};

/// One room handed to the library and the state of its offer. The host reads
/// both and may set the state; the room stays the one it was listed as.
class LXHF_EXPORT LXFermoOffer {
public:
    /// Where the room's offer stands.
    LXFermoOfferState state;

    /// The room, as it was listed.
    const LXRoomDetails& roomDetails() const noexcept { return roomDetails_; }

    /// The offer written by toJSON() with the same `keys`, or why `json` is not one.
    static LXResult<LXFermoOffer, LXDecodingError> fromJSON(
        std::string_view json, LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames);
    /// The room and its state as JSON text, with keys in the style `keys`.
    std::string toJSON(LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames) const;

private:
    LXFermoOffer(LXRoomDetails room, LXFermoOfferState state)
        : state(std::move(state)), roomDetails_(std::move(room)) {}
    friend struct lxhf::RoomDetailsAccess;

    LXRoomDetails roomDetails_;
};

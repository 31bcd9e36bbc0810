#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "LXHotelsFermo/LXDecodingError.h"
#include "LXHotelsFermo/LXExport.h"
#include "LXHotelsFermo/LXJSONKeyStyle.h"
#include "LXHotelsFermo/LXResult.h"

struct LXRoomDetailsData;
namespace lxhf { struct RoomDetailsAccess; }

// One room the host shows: the user, the stay, the hotel and the room with its
// rate. Made from JSON the host builds; compared and hashed over every field.
// Copies are cheap and share one immutable body.
class LXHF_EXPORT LXRoomDetails {
public:
    static LXResult<LXRoomDetails, LXDecodingError> fromJSON(
        std::string_view json, LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames);
    std::string toJSON(LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames) const;

    friend LXHF_EXPORT bool operator==(const LXRoomDetails& a, const LXRoomDetails& b) noexcept;
    std::size_t hashValue() const noexcept { return hash_; }

private:
    explicit LXRoomDetails(std::shared_ptr<const LXRoomDetailsData> data);
    friend struct lxhf::RoomDetailsAccess;

    std::shared_ptr<const LXRoomDetailsData> data_;
    std::size_t hash_ = 0;
};

template <>
struct std::hash<LXRoomDetails> {
    std::size_t operator()(const LXRoomDetails& room) const noexcept { return room.hashValue(); }
};

#include "gobject/GObjectBridge.h"

#include <optional>

struct _LxhfRoomDetails {
    GObject parent_instance;
    std::optional<LXRoomDetails> room;  // absent only in an object made without JSON
};

G_DEFINE_FINAL_TYPE(LxhfRoomDetails, lxhf_room_details, G_TYPE_OBJECT)

static void lxhf_room_details_finalize(GObject* object) {
    lxhf::gobject::destroy(LXHF_ROOM_DETAILS(object)->room);
    G_OBJECT_CLASS(lxhf_room_details_parent_class)->finalize(object);
}

static void lxhf_room_details_class_init(LxhfRoomDetailsClass* klass) {
    G_OBJECT_CLASS(klass)->finalize = lxhf_room_details_finalize;
}

static void lxhf_room_details_init(LxhfRoomDetails* self) { lxhf::gobject::construct(self->room); }

namespace lxhf::gobject {

LxhfRoomDetails* roomDetailsNew(LXRoomDetails room) {
    auto* self = static_cast<LxhfRoomDetails*>(g_object_new(LXHF_TYPE_ROOM_DETAILS, nullptr));
    self->room = std::move(room);
    return self;
}

bool holdsRoom(LxhfRoomDetails* room) { return LXHF_IS_ROOM_DETAILS(room) && room->room.has_value(); }

const LXRoomDetails& roomOf(LxhfRoomDetails* room) { return *room->room; }

}  // namespace lxhf::gobject

LxhfRoomDetails* lxhf_room_details_new_from_json(const char* json, GError** error) {
    g_return_val_if_fail(json != nullptr, nullptr);
    g_return_val_if_fail(error == nullptr || *error == nullptr, nullptr);
    auto room = LXRoomDetails::fromJSON(json);
    if (!room) {
        g_set_error_literal(error, LXHF_ERROR, LXHF_ERROR_INVALID_ROOM, room.error().description().c_str());
        return nullptr;
    }
    return lxhf::gobject::roomDetailsNew(std::move(room).value());
}

char* lxhf_room_details_to_json(LxhfRoomDetails* self) {
    g_return_val_if_fail(lxhf::gobject::holdsRoom(self), nullptr);
    return g_strdup(self->room->toJSON().c_str());
}

gboolean lxhf_room_details_equal(LxhfRoomDetails* self, LxhfRoomDetails* other) {
    g_return_val_if_fail(lxhf::gobject::holdsRoom(self) && lxhf::gobject::holdsRoom(other), FALSE);
    return *self->room == *other->room;
}

guint lxhf_room_details_hash(LxhfRoomDetails* self) {
    g_return_val_if_fail(lxhf::gobject::holdsRoom(self), 0);
    const std::size_t hash = self->room->hashValue();
    return static_cast<guint>(hash ^ (hash >> 32));
}

// Every getter reads one text field of the room.
#define LXHF_ROOM_TEXT(name, expression)                          \
    const char* lxhf_room_details_get_##name(LxhfRoomDetails* self) { \
        g_return_val_if_fail(lxhf::gobject::holdsRoom(self), nullptr);     \
        const LXRoomDetails& room = *self->room;                      \
        return (expression).c_str();                                  \
    }

LXHF_ROOM_TEXT(check_in, room.booking().stayDates.checkIn)
LXHF_ROOM_TEXT(check_out, room.booking().stayDates.checkOut)
LXHF_ROOM_TEXT(currency, room.booking().currency)
LXHF_ROOM_TEXT(hotel_id, room.hotel().id)
LXHF_ROOM_TEXT(hotel_name, room.hotel().name)
LXHF_ROOM_TEXT(room_id, room.room().id)
LXHF_ROOM_TEXT(room_name, room.room().name)
LXHF_ROOM_TEXT(price, room.room().price)

const char* lxhf_room_details_get_user_id(LxhfRoomDetails* self) {
    g_return_val_if_fail(lxhf::gobject::holdsRoom(self), nullptr);
    const auto& userId = self->room->userId();
    return userId ? userId->c_str() : nullptr;
}

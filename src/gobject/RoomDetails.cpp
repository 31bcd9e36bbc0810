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

enum {
    PROP_USER_ID = 1,
    PROP_CHECK_IN,
    PROP_CHECK_OUT,
    PROP_CURRENCY,
    PROP_HOTEL_ID,
    PROP_HOTEL_NAME,
    PROP_ROOM_ID,
    PROP_ROOM_NAME,
    PROP_PRICE,
    N_PROPS
};
static GParamSpec* properties[N_PROPS];

namespace {

// A room's text field by property; NULL for an object made without a room,
// which a property read must not turn into a critical.
const char* fieldOf(LxhfRoomDetails* self, guint id) {
    if (!self->room) return nullptr;
    const LXRoomDetails& room = *self->room;
    switch (id) {
    case PROP_USER_ID: return room.userId() ? room.userId()->c_str() : nullptr;
    case PROP_CHECK_IN: return room.booking().stayDates.checkIn.c_str();
    case PROP_CHECK_OUT: return room.booking().stayDates.checkOut.c_str();
    case PROP_CURRENCY: return room.booking().currency.c_str();
    case PROP_HOTEL_ID: return room.hotel().id.c_str();
    case PROP_HOTEL_NAME: return room.hotel().name.c_str();
    case PROP_ROOM_ID: return room.room().id.c_str();
    case PROP_ROOM_NAME: return room.room().name.c_str();
    case PROP_PRICE: return room.room().price.c_str();
    }
    return nullptr;
}

}  // namespace

static void lxhf_room_details_get_property(GObject* object, guint id, GValue* value, GParamSpec* param) {
    if (id == 0 || id >= N_PROPS) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
        return;
    }
    g_value_set_string(value, fieldOf(LXHF_ROOM_DETAILS(object), id));
}

static void lxhf_room_details_class_init(LxhfRoomDetailsClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->finalize = lxhf_room_details_finalize;
    object->get_property = lxhf_room_details_get_property;
    constexpr auto flags = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);
    /**
     * LxhfRoomDetails:user-id:
     *
     * The traveller as the host knows them, or %NULL.
     */
    properties[PROP_USER_ID] = g_param_spec_string("user-id", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfRoomDetails:check-in:
     *
     * The arrival date, as the host wrote it.
     */
    properties[PROP_CHECK_IN] = g_param_spec_string("check-in", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfRoomDetails:check-out:
     *
     * The departure date, as the host wrote it.
     */
    properties[PROP_CHECK_OUT] = g_param_spec_string("check-out", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfRoomDetails:currency:
     *
     * The prices' currency code, e.g. "GBP".
     */
    properties[PROP_CURRENCY] = g_param_spec_string("currency", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfRoomDetails:hotel-id:
     *
     * The hotel's id.
     */
    properties[PROP_HOTEL_ID] = g_param_spec_string("hotel-id", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfRoomDetails:hotel-name:
     *
     * The hotel's name.
     */
    properties[PROP_HOTEL_NAME] = g_param_spec_string("hotel-name", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfRoomDetails:room-id:
     *
     * The room's id.
     */
    properties[PROP_ROOM_ID] = g_param_spec_string("room-id", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfRoomDetails:room-name:
     *
     * The room's name.
     */
    properties[PROP_ROOM_NAME] = g_param_spec_string("room-name", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfRoomDetails:price:
     *
     * The room's price, a decimal amount as text, e.g. "120.00".
     */
    properties[PROP_PRICE] = g_param_spec_string("price", nullptr, nullptr, nullptr, flags);
    g_object_class_install_properties(object, N_PROPS, properties);
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

// Every getter reads one text field of the room, as its property does.
#define LXHF_ROOM_TEXT(name, property)                                  \
    const char* lxhf_room_details_get_##name(LxhfRoomDetails* self) {   \
        g_return_val_if_fail(lxhf::gobject::holdsRoom(self), nullptr);   \
        return fieldOf(self, property);                                  \
    }

LXHF_ROOM_TEXT(user_id, PROP_USER_ID)
LXHF_ROOM_TEXT(check_in, PROP_CHECK_IN)
LXHF_ROOM_TEXT(check_out, PROP_CHECK_OUT)
LXHF_ROOM_TEXT(currency, PROP_CURRENCY)
LXHF_ROOM_TEXT(hotel_id, PROP_HOTEL_ID)
LXHF_ROOM_TEXT(hotel_name, PROP_HOTEL_NAME)
LXHF_ROOM_TEXT(room_id, PROP_ROOM_ID)
LXHF_ROOM_TEXT(room_name, PROP_ROOM_NAME)
LXHF_ROOM_TEXT(price, PROP_PRICE)

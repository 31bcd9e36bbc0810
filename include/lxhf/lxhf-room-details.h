#pragma once

/* One room the host shows, as the library keys its offer. */

#include <glib-object.h>

#include <lxhf/lxhf-export.h>

G_BEGIN_DECLS

/**
 * LxhfRoomDetails:
 *
 * The user, the stay, the hotel and the room with its rate: what the library
 * asks an offer for. Immutable. Two objects read from the same room are
 * equal under lxhf_room_details_equal() and hash alike.
 */
#define LXHF_TYPE_ROOM_DETAILS (lxhf_room_details_get_type())
LXHF_API G_DECLARE_FINAL_TYPE(LxhfRoomDetails, lxhf_room_details, LXHF, ROOM_DETAILS, GObject)

/**
 * lxhf_room_details_new_from_json:
 * @json: the room as UTF-8 JSON text: `{"userId": ..., "booking": {...},
 *   "hotel": {...}, "room": {...}}`, keys as the C++ API's field names
 * @error: return location for a %LXHF_ERROR_INVALID_ROOM error
 *
 * Reads a room from its JSON text.
 *
 * Returns: (transfer full) (nullable): the room, or %NULL with @error set
 *   to a message saying where the text is wrong and why
 */
LXHF_API LxhfRoomDetails* lxhf_room_details_new_from_json(const char* json, GError** error);

/**
 * lxhf_room_details_to_json:
 * @self: a room
 *
 * Writes the room as JSON text.
 *
 * Returns: (transfer full): the room as JSON text, which
 *   lxhf_room_details_new_from_json() reads back as an equal room
 */
LXHF_API char* lxhf_room_details_to_json(LxhfRoomDetails* self);

/**
 * lxhf_room_details_equal:
 * @self: a room
 * @other: another room
 *
 * Compares two rooms field by field.
 *
 * Returns: whether every field of the two rooms is equal
 */
LXHF_API gboolean lxhf_room_details_equal(LxhfRoomDetails* self, LxhfRoomDetails* other);

/**
 * lxhf_room_details_hash:
 * @self: a room
 *
 * Hashes a room, for hash tables keyed by rooms.
 *
 * Returns: a hash over every field, equal for equal rooms
 */
LXHF_API guint lxhf_room_details_hash(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_user_id:
 * @self: a room
 *
 * Reads the room's traveller.
 *
 * Returns: (nullable): the traveller as the host knows them, if given
 */
LXHF_API const char* lxhf_room_details_get_user_id(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_check_in:
 * @self: a room
 *
 * Reads the room's arrival date.
 *
 * Returns: the arrival date, as the host wrote it
 */
LXHF_API const char* lxhf_room_details_get_check_in(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_check_out:
 * @self: a room
 *
 * Reads the room's departure date.
 *
 * Returns: the departure date, as the host wrote it
 */
LXHF_API const char* lxhf_room_details_get_check_out(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_currency:
 * @self: a room
 *
 * Reads the room's currency.
 *
 * Returns: the prices' currency code, e.g. "GBP"
 */
LXHF_API const char* lxhf_room_details_get_currency(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_hotel_id:
 * @self: a room
 *
 * Reads the room's hotel id.
 *
 * Returns: the hotel's id
 */
LXHF_API const char* lxhf_room_details_get_hotel_id(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_hotel_name:
 * @self: a room
 *
 * Reads the room's hotel name.
 *
 * Returns: the hotel's name
 */
LXHF_API const char* lxhf_room_details_get_hotel_name(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_room_id:
 * @self: a room
 *
 * Reads the room's id.
 *
 * Returns: the room's id
 */
LXHF_API const char* lxhf_room_details_get_room_id(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_room_name:
 * @self: a room
 *
 * Reads the room's name.
 *
 * Returns: the room's name
 */
LXHF_API const char* lxhf_room_details_get_room_name(LxhfRoomDetails* self);

/**
 * lxhf_room_details_get_price:
 * @self: a room
 *
 * Reads the room's price.
 *
 * Returns: the room's price, a decimal amount as text, e.g. "120.00"
 */
LXHF_API const char* lxhf_room_details_get_price(LxhfRoomDetails* self);

G_END_DECLS

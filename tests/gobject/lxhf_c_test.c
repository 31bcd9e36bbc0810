/* The Lxhf C API as a C host drives it, without a display. Run under
   `lxfermo sim --`, it also fetches an offer from the local service; without
   the service those cases are skipped. Also the layer's test under ASan and
   UBSan, so every object made here is released. */

#include "lxhf_c_test.h"

#include <string.h>

#define DEEP 100000

char* room_json(const char* user_id_member, const char* room_id, const char* name,
                       const char* ext_attributes) {
  return g_strdup_printf(
      "{%s\"booking\":{\"stayDates\":{\"checkIn\":\"2026-06-12\",\"checkOut\":\"2026-06-15\"},"
      "\"guests\":{\"adults\":2,\"children\":0},\"locale\":\"en_GB\",\"currency\":\"EUR\","
      "\"numberOfRooms\":1},"
      "\"hotel\":{\"id\":\"H-C\",\"name\":\"Hotel C\",\"starRating\":\"4\","
      "\"address\":{\"line\":\"1 Main Street\",\"city\":\"Lisbon\",\"countryCode\":\"PT\"}},"
      "\"room\":{\"id\":\"%s\",\"merchantId\":\"M-1\",\"name\":\"%s\",\"beds\":2,\"price\":\"189.00\","
      "\"roomType\":\"double\",\"cancellationCode\":\"FREE-48H\",\"rateCategoryId\":\"RC-1\","
      "\"availability\":3,\"imageUrl\":\"https://img.example.com/c.jpg\",\"priceInclusive\":\"207.90\","
      "\"extAttributes\":%s}}",
      user_id_member, room_id, name, ext_attributes);
}

LxhfRoomDetails* room_new(const char* user_id_member, const char* room_id, const char* name,
                                 const char* ext_attributes) {
  g_autofree char* json = room_json(user_id_member, room_id, name, ext_attributes);
  g_autoptr(GError) error = NULL;
  LxhfRoomDetails* room = lxhf_room_details_new_from_json(json, &error);
  g_assert_no_error(error);
  return room;
}

/* Refused input: no room, an INVALID_ROOM error whose message is text. */
static void assert_refused(const char* json) {
  g_autoptr(GError) error = NULL;
  LxhfRoomDetails* room = lxhf_room_details_new_from_json(json, &error);
  g_assert_null(room);
  g_assert_error(error, LXHF_ERROR, LXHF_ERROR_INVALID_ROOM);
  g_assert_true(g_utf8_validate(error->message, -1, NULL));
  g_assert_cmpuint(strlen(error->message), >, 0);
}

static char* nested(const char* open, const char* close, int levels) {
  GString* text = g_string_new(NULL);
  for (int i = 0; i < levels; i++) g_string_append(text, open);
  g_string_append(text, "1");
  for (int i = 0; i < levels; i++) g_string_append(text, close);
  return g_string_free(text, FALSE);
}

static void test_room_json_refused(void) {
  g_autofree char* valid = room_json("", "R-1", "Double", "{}");
  assert_refused("");
  assert_refused("null");
  assert_refused("[]");
  assert_refused("{\"booking\":{}}");
  g_autofree char* truncated = g_strndup(valid, strlen(valid) / 2);
  assert_refused(truncated);
  /* A map of strings with a number in it. */
  g_autofree char* wrong_type = room_json("", "R-1", "Double", "{\"k\":1}");
  assert_refused(wrong_type);
  g_autofree char* bad_utf8 = room_json("", "R-1", "Dou\xff\xfe" "ble", "{}");
  assert_refused(bad_utf8);
  g_autofree char* deep_array = nested("[", "]", DEEP);
  assert_refused(deep_array);
  g_autofree char* deep_value = nested("{\"k\":", "}", DEEP);
  g_autofree char* deep_ext = room_json("", "R-1", "Double", deep_value);
  assert_refused(deep_ext);
}

static void test_room_equality_and_round_trip(void) {
  g_autoptr(LxhfRoomDetails) a = room_new("\"userId\":\"u-1\",", "R-1", "Double", "{\"x\":\"1\",\"y\":\"2\"}");
  g_autoptr(LxhfRoomDetails) reordered = room_new("\"userId\":\"u-1\",", "R-1", "Double", "{\"y\":\"2\",\"x\":\"1\"}");
  g_autoptr(LxhfRoomDetails) anonymous = room_new("", "R-1", "Double", "{\"x\":\"1\",\"y\":\"2\"}");
  g_autoptr(LxhfRoomDetails) null_user = room_new("\"userId\":null,", "R-1", "Double", "{\"x\":\"1\",\"y\":\"2\"}");
  g_assert_true(lxhf_room_details_equal(a, reordered));
  g_assert_cmpuint(lxhf_room_details_hash(a), ==, lxhf_room_details_hash(reordered));
  g_assert_false(lxhf_room_details_equal(a, anonymous));
  g_assert_true(lxhf_room_details_equal(anonymous, null_user));
  g_assert_null(lxhf_room_details_get_user_id(anonymous));

  /* Text with a NUL inside and characters outside the BMP comes back whole. */
  g_autoptr(LxhfRoomDetails) odd = room_new("", "R-\\u0000-1", "Caf\\u00e9 \\ud83d\\ude00", "{\"k\":\"\\u0000\"}");
  g_autoptr(LxhfRoomDetails) plain = room_new("", "R-", "Caf\xc3\xa9 \xf0\x9f\x98\x80", "{\"k\":\"\"}");
  g_assert_cmpstr(lxhf_room_details_get_room_name(odd), ==, "Caf\xc3\xa9 \xf0\x9f\x98\x80");
  g_assert_false(lxhf_room_details_equal(odd, plain));
  LxhfRoomDetails* rooms[] = {a, anonymous, odd};
  for (guint i = 0; i < G_N_ELEMENTS(rooms); i++) {
    g_autofree char* json = lxhf_room_details_to_json(rooms[i]);
    g_autoptr(GError) error = NULL;
    g_autoptr(LxhfRoomDetails) back = lxhf_room_details_new_from_json(json, &error);
    g_assert_no_error(error);
    g_assert_true(lxhf_room_details_equal(rooms[i], back));
    g_assert_cmpuint(lxhf_room_details_hash(rooms[i]), ==, lxhf_room_details_hash(back));
  }

  /* A huge room is read whole or refused, never cut. */
  g_autofree char* long_name = g_strnfill(4 * 1024 * 1024, 'n');
  g_autofree char* huge = room_json("", "R-1", long_name, "{}");
  g_autoptr(GError) error = NULL;
  g_autoptr(LxhfRoomDetails) big = lxhf_room_details_new_from_json(huge, &error);
  if (big)
    g_assert_cmpstr(lxhf_room_details_get_room_name(big), ==, long_name);
  else
    g_assert_error(error, LXHF_ERROR, LXHF_ERROR_INVALID_ROOM);
}

static void test_room_properties(void) {
  g_autoptr(LxhfRoomDetails) room = room_new("\"userId\":\"u-7\",", "R-7", "Suite", "{}");
  struct {
    const char* property;
    const char* (*getter)(LxhfRoomDetails*);
    const char* expected;
  } fields[] = {
      {"user-id", lxhf_room_details_get_user_id, "u-7"},
      {"check-in", lxhf_room_details_get_check_in, "2026-06-12"},
      {"check-out", lxhf_room_details_get_check_out, "2026-06-15"},
      {"currency", lxhf_room_details_get_currency, "EUR"},
      {"hotel-id", lxhf_room_details_get_hotel_id, "H-C"},
      {"hotel-name", lxhf_room_details_get_hotel_name, "Hotel C"},
      {"room-id", lxhf_room_details_get_room_id, "R-7"},
      {"room-name", lxhf_room_details_get_room_name, "Suite"},
      {"price", lxhf_room_details_get_price, "189.00"},
  };
  for (guint i = 0; i < G_N_ELEMENTS(fields); i++) {
    g_autofree char* value = NULL;
    g_object_get(room, fields[i].property, &value, NULL);
    g_assert_cmpstr(value, ==, fields[i].expected);
    g_assert_cmpstr(fields[i].getter(room), ==, fields[i].expected);
  }
  /* A binding's bare constructor makes a room without fields: its
     properties read as NULL, with no critical. */
  g_autoptr(LxhfRoomDetails) bare = g_object_new(LXHF_TYPE_ROOM_DETAILS, NULL);
  g_autofree char* bare_id = NULL;
  g_object_get(bare, "room-id", &bare_id, NULL);
  g_assert_null(bare_id);
}

static LxhfPageAction* page_message(const char* body, const char* handler) {
  LxhfPageAction* action = lxhf_sdk_page_message(lxhf_sdk_get_default(), body, handler);
  g_assert_nonnull(action);
  /* The properties say what the getters say. */
  LxhfPageActionKind kind;
  LxhfPurchaseResult result;
  g_autofree char* message = NULL;
  gboolean stop_spinner, dismiss;
  g_object_get(action, "kind", &kind, "result", &result, "error-message", &message, "stop-spinner",
               &stop_spinner, "dismiss", &dismiss, NULL);
  g_assert_cmpint(kind, ==, lxhf_page_action_get_kind(action));
  g_assert_cmpint(result, ==, lxhf_page_action_get_result(action));
  g_assert_cmpstr(message, ==, lxhf_page_action_get_error_message(action));
  g_assert_cmpint(stop_spinner, ==, lxhf_page_action_get_stop_spinner(action));
  g_assert_cmpint(dismiss, ==, lxhf_page_action_get_dismiss(action));
  return action;
}

static void assert_action(const char* body, const char* handler, LxhfPageActionKind kind,
                          LxhfPurchaseResult result, gboolean dismiss, const char* message) {
  g_autoptr(LxhfPageAction) action = page_message(body, handler);
  g_assert_cmpint(lxhf_page_action_get_kind(action), ==, kind);
  g_assert_cmpint(lxhf_page_action_get_result(action), ==, result);
  g_assert_cmpint(lxhf_page_action_get_dismiss(action), ==, dismiss);
  g_assert_cmpstr(lxhf_page_action_get_error_message(action), ==, message);
}

static void test_page_actions(void) {
  const char* own = lxhf_page_bridge_handler_name();
  assert_action("{\"eventName\":\"close\",\"data\":{}}", NULL, LXHF_PAGE_ACTION_KIND_CANCELLED,
                LXHF_PURCHASE_RESULT_CANCELLED, TRUE, NULL);
  assert_action("{\"eventName\":\"close\",\"data\":{}}", own, LXHF_PAGE_ACTION_KIND_CANCELLED,
                LXHF_PURCHASE_RESULT_CANCELLED, TRUE, NULL);
  assert_action("{\"eventName\":\"purchased\",\"data\":{}}", NULL, LXHF_PAGE_ACTION_KIND_PURCHASED,
                LXHF_PURCHASE_RESULT_PURCHASED, FALSE, NULL);
  assert_action("{\"eventName\":\"error\",\"data\":{\"message\":\"Card declined \xc3\xa9\"}}", NULL,
                LXHF_PAGE_ACTION_KIND_ERROR, LXHF_PURCHASE_RESULT_ERROR, TRUE, "Card declined \xc3\xa9");
  assert_action("{\"eventName\":\"error\",\"data\":{\"message\":42}}", NULL, LXHF_PAGE_ACTION_KIND_ERROR,
                LXHF_PURCHASE_RESULT_ERROR, TRUE, "Unable to access microsite error message");
  assert_action("{\"eventName\":\"Close\",\"data\":{}}", NULL, LXHF_PAGE_ACTION_KIND_UNKNOWN,
                LXHF_PURCHASE_RESULT_NONE, FALSE, NULL);
  g_autoptr(LxhfPageAction) ready = page_message("{\"eventName\":\"ready\",\"data\":{}}", NULL);
  g_assert_cmpint(lxhf_page_action_get_kind(ready), ==, LXHF_PAGE_ACTION_KIND_READY);
  g_assert_true(lxhf_page_action_get_stop_spinner(ready));
  g_assert_false(lxhf_page_action_get_dismiss(ready));

  /* Whatever is not a message of the bridge's own changes nothing; which
   * messages those are is the C++ tests' concern, C adds bytes no string
   * type would let through. */
  const char* malformed[] = {"", "{\"eventName\":\"clo\xff\",\"data\":{}}"};
  for (guint i = 0; i < G_N_ELEMENTS(malformed); i++)
    assert_action(malformed[i], NULL, LXHF_PAGE_ACTION_KIND_MALFORMED, LXHF_PURCHASE_RESULT_NONE, FALSE, NULL);
  assert_action("{\"eventName\":\"close\",\"data\":{}}", "OtherBridge", LXHF_PAGE_ACTION_KIND_MALFORMED,
                LXHF_PURCHASE_RESULT_NONE, FALSE, NULL);

  /* A deep body is read or refused, but never overflows the stack. */
  g_autofree char* deep_data = nested("{\"k\":", "}", DEEP);
  g_autofree char* deep = g_strdup_printf("{\"eventName\":\"close\",\"data\":%s}", deep_data);
  g_autoptr(LxhfPageAction) action = page_message(deep, NULL);
  LxhfPageActionKind kind = lxhf_page_action_get_kind(action);
  g_assert_true(kind == LXHF_PAGE_ACTION_KIND_CANCELLED || kind == LXHF_PAGE_ACTION_KIND_MALFORMED);
}

static void test_bridge_strings(void) {
  g_assert_cmpstr(lxhf_page_bridge_handler_name(), ==, "CorvaneSDKBridge");
  const char* script = lxhf_page_bridge_user_script();
  g_assert_true(g_str_has_prefix(script, "    if (typeof window.CorvaneSDKBridge === 'undefined') {\n"));
  g_assert_nonnull(strstr(script, "window.webkit.messageHandlers.CorvaneSDKBridge.postMessage("
                                  "{eventName: eventName, data: data});\n"));
  g_assert_true(g_str_has_suffix(script, "}"));
  /* Owned by the library: the same text every time. */
  g_assert_true(script == lxhf_page_bridge_user_script());
}

static void test_page_options(void) {
  g_autoptr(LxhfPageOptions) options = lxhf_page_options_new();
  gboolean report, fullscreen;
  double timeout;
  g_object_get(options, "report-load-failures", &report, "fullscreen", &fullscreen, "ready-timeout-seconds",
               &timeout, NULL);
  g_assert_false(report);
  g_assert_false(fullscreen);
  GParamSpec* param = g_object_class_find_property(G_OBJECT_GET_CLASS(options), "ready-timeout-seconds");
  g_assert_cmpfloat(timeout, ==, G_PARAM_SPEC_DOUBLE(param)->default_value);

  /* Each property keeps its own value. */
  g_object_set(options, "report-load-failures", TRUE, "ready-timeout-seconds", 2.5, NULL);
  g_object_get(options, "report-load-failures", &report, "fullscreen", &fullscreen, "ready-timeout-seconds",
               &timeout, NULL);
  g_assert_true(report);
  g_assert_false(fullscreen);
  g_assert_cmpfloat(timeout, ==, 2.5);
  g_object_set(options, "fullscreen", TRUE, NULL);
  g_object_get(options, "report-load-failures", &report, "fullscreen", &fullscreen, "ready-timeout-seconds",
               &timeout, NULL);
  g_assert_true(report && fullscreen);
  g_assert_cmpfloat(timeout, ==, 2.5);
}

static void test_version(void) {
  g_assert_cmpuint(lxhf_get_major_version(), ==, LXHF_MAJOR_VERSION);
  g_assert_cmpuint(lxhf_get_minor_version(), ==, LXHF_MINOR_VERSION);
  g_assert_cmpuint(lxhf_get_micro_version(), ==, LXHF_MICRO_VERSION);
  g_assert_true(LXHF_CHECK_VERSION(LXHF_MAJOR_VERSION, LXHF_MINOR_VERSION, LXHF_MICRO_VERSION));
  g_assert_true(LXHF_CHECK_VERSION(LXHF_MAJOR_VERSION - 1, LXHF_MINOR_VERSION + 9, LXHF_MICRO_VERSION + 9));
  g_assert_false(LXHF_CHECK_VERSION(LXHF_MAJOR_VERSION, LXHF_MINOR_VERSION, LXHF_MICRO_VERSION + 1));
  g_assert_false(LXHF_CHECK_VERSION(LXHF_MAJOR_VERSION, LXHF_MINOR_VERSION + 1, 0));
  g_assert_false(LXHF_CHECK_VERSION(LXHF_MAJOR_VERSION + 1, 0, 0));
}

int main(int argc, char** argv) {
  g_test_init(&argc, &argv, NULL);
  /* Before the first call that starts the library; nothing else may reach
     a real service. */
  start_library();
  g_test_add_func("/lxhf/room/json-refused", test_room_json_refused);
  g_test_add_func("/lxhf/room/equality-and-round-trip", test_room_equality_and_round_trip);
  g_test_add_func("/lxhf/room/properties", test_room_properties);
  g_test_add_func("/lxhf/page/actions", test_page_actions);
  g_test_add_func("/lxhf/page/bridge-strings", test_bridge_strings);
  g_test_add_func("/lxhf/page/options", test_page_options);
  g_test_add_func("/lxhf/version", test_version);
  g_test_add_func("/lxhf/service/offer", test_offer_from_service);
  g_test_add_func("/lxhf/service/dropped-instances", test_dropped_instances);
  const int status = g_test_run();
  stop_library();
  return status;
}

/* The C API against `lxfermo sim`'s service: an offer fetched and bought,
   and instances a binding makes and drops. */

#include "lxhf_c_test.h"

#include <glib/gstdio.h>
#include <string.h>

static gboolean have_service;
static char* scratch_cache;

void start_library(void) {
  LxhfSdk* sdk = lxhf_sdk_get_default();
  lxhf_sdk_configure(sdk, "partner-token", LXHF_ENVIRONMENT_PRODUCTION);
  g_autoptr(GError) error = NULL;
  g_assert_false(lxhf_sdk_set_endpoints(sdk, "ftp://127.0.0.1/api/", NULL, NULL, NULL, NULL, &error));
  g_assert_error(error, LXHF_ERROR, LXHF_ERROR_ENDPOINTS_REFUSED);
  g_clear_error(&error);

  have_service = g_getenv("LXHF_API_BASE") != NULL;
  gboolean taken;
  if (have_service) {
    taken = lxhf_sdk_set_endpoints(sdk, g_getenv("LXHF_API_BASE"), g_getenv("LXHF_MICROSITE_BASE"),
                                   g_getenv("LXHF_INTAKE_URL"), g_getenv("LXHF_CA_FILE"),
                                   g_getenv("LXHF_CACHE_DIR"), &error);
  } else {
    /* Nothing the library sends may leave the machine. */
    scratch_cache = g_dir_make_tmp("lxhf-c-test-XXXXXX", &error);
    g_assert_no_error(error);
    taken = lxhf_sdk_set_endpoints(sdk, "https://127.0.0.1:9/api/", "https://127.0.0.1:9",
                                   "https://127.0.0.1:9/logs", NULL, scratch_cache, &error);
  }
  g_assert_no_error(error);
  g_assert_true(taken);
}

void stop_library(void) {
  if (!scratch_cache) return;
  GDir* dir = g_dir_open(scratch_cache, 0, NULL);
  for (const char* name; dir && (name = g_dir_read_name(dir));) {
    g_autofree char* path = g_build_filename(scratch_cache, name, NULL);
    g_remove(path);
  }
  if (dir) g_dir_close(dir);
  g_rmdir(scratch_cache);
  g_clear_pointer(&scratch_cache, g_free);
}

static gboolean settled(GListModel* offers, guint position) {
  if (g_list_model_get_n_items(offers) <= position) return FALSE;
  g_autoptr(LxhfOffer) offer = g_list_model_get_item(offers, position);
  return lxhf_offer_get_state(offer) != LXHF_OFFER_STATE_LOADING;
}

static gboolean wake(gpointer data) {
  (void)data;
  return G_SOURCE_CONTINUE;
}

/* Runs the main context until the offer at `position` has left loading,
   for at most a minute. */
static gboolean wait_settled(GListModel* offers, guint position) {
  const gint64 deadline = g_get_monotonic_time() + 60 * G_USEC_PER_SEC;
  const guint tick = g_timeout_add(50, wake, NULL);
  while (!settled(offers, position) && g_get_monotonic_time() < deadline) g_main_context_iteration(NULL, TRUE);
  g_source_remove(tick);
  return settled(offers, position);
}

static void count_items(GListModel* offers, guint position, guint removed, guint added, gint* count) {
  (void)offers;
  (void)position;
  *count += (gint)added - (gint)removed;
}

void test_offer_from_service(void) {
  if (!have_service) {
    g_test_skip("needs the service: run under lxfermo sim --");
    return;
  }
  LxhfSdk* sdk = lxhf_sdk_get_default();
  GListModel* offers = lxhf_sdk_get_offers(sdk);
  g_assert_true(offers == lxhf_sdk_get_offers(sdk));
  const guint before = g_list_model_get_n_items(offers);
  gint added = 0;
  const gulong handler = g_signal_connect(offers, "items-changed", G_CALLBACK(count_items), &added);
  g_autoptr(LxhfRoomDetails) room = room_new("\"userId\":\"c-1\",", "C-1", "Double", "{}");
  lxhf_sdk_cache_offers(sdk, &room, 1);
  g_assert_true(wait_settled(offers, before));
  g_signal_handler_disconnect(offers, handler);
  /* The signal told of every item the model holds. */
  g_assert_cmpint(added, ==, (gint)(g_list_model_get_n_items(offers) - before));

  g_autoptr(LxhfOffer) offer = g_list_model_get_item(offers, before);
  g_assert_cmpint(lxhf_offer_get_state(offer), ==, LXHF_OFFER_STATE_AVAILABLE);
  LxhfRoomDetails* offered = lxhf_offer_get_room(offer);
  g_assert_true(offered != room && lxhf_room_details_equal(offered, room));
  LxhfOfferTerms* terms = lxhf_offer_get_terms(offer);
  g_assert_nonnull(terms);
  g_assert_cmpstr(lxhf_offer_terms_get_currency(terms), ==, "EUR");
  g_assert_cmpstr(lxhf_offer_terms_get_frozen_price(terms), ==, "189.00");
  LxhfOfferState state;
  g_autoptr(LxhfOfferTerms) terms_property = NULL;
  g_autoptr(LxhfRoomDetails) room_property = NULL;
  g_object_get(offer, "state", &state, "terms", &terms_property, "room", &room_property, NULL);
  g_assert_cmpint(state, ==, LXHF_OFFER_STATE_AVAILABLE);
  g_assert_true(terms_property == terms && room_property == offered);

  g_autoptr(GError) error = NULL;
  g_autofree char* address = lxhf_sdk_get_purchase_address(sdk, room, &error);
  g_assert_no_error(error);
  g_assert_true(g_str_has_prefix(address, g_getenv("LXHF_MICROSITE_BASE")));
  g_assert_nonnull(strstr(address, "token=partner-token"));
  g_autoptr(LxhfRoomDetails) stranger = room_new("", "C-never-listed", "Single", "{}");
  g_autofree char* none = lxhf_sdk_get_purchase_address(sdk, stranger, &error);
  g_assert_null(none);
  g_assert_error(error, LXHF_ERROR, LXHF_ERROR_NO_RESPONSE);
  g_clear_error(&error);
  g_assert_cmpuint(lxhf_sdk_get_offer_response_revision(sdk, room), >, 0);
  g_assert_cmpuint(lxhf_sdk_get_offer_response_revision(sdk, stranger), ==, 0);

  /* Running, the library keeps its endpoints and policy. */
  g_assert_false(lxhf_sdk_set_endpoints(sdk, g_getenv("LXHF_API_BASE"), NULL, NULL, NULL, NULL, &error));
  g_assert_error(error, LXHF_ERROR, LXHF_ERROR_ENDPOINTS_REFUSED);
  g_clear_error(&error);
  g_assert_false(lxhf_sdk_set_fetch_policy(sdk, 4, TRUE, TRUE, &error));
  g_assert_error(error, LXHF_ERROR, LXHF_ERROR_FETCH_POLICY_REFUSED);

  g_autoptr(LxhfPageAction) action = lxhf_sdk_page_message(sdk, "{\"eventName\":\"close\",\"data\":{}}", NULL);
  g_assert_cmpint(lxhf_page_action_get_kind(action), ==, LXHF_PAGE_ACTION_KIND_CANCELLED);
}

static void drop_instance(GListModel* offers, guint position, guint removed, guint added, LxhfSdk* sdk) {
  (void)offers;
  (void)position;
  (void)removed;
  (void)added;
  g_object_unref(sdk);
}

/* A binding's bare constructor gives an instance of the same library with
   an offers model of its own; dropping it must free that model, and an item
   taken from it must outlive it. */
void test_dropped_instances(void) {
  if (!have_service) {
    g_test_skip("needs the service: run under lxfermo sim --");
    return;
  }
  GListModel* shared = lxhf_sdk_get_offers(lxhf_sdk_get_default());
  const guint listed = g_list_model_get_n_items(shared);
  g_assert_cmpuint(listed, >, 0);
  LxhfOffer* kept = NULL;
  for (int i = 0; i < 200; i++) {
    LxhfSdk* sdk = g_object_new(LXHF_TYPE_SDK, NULL);
    g_assert_true(sdk != lxhf_sdk_get_default());
    GListModel* offers = lxhf_sdk_get_offers(sdk);
    g_assert_true(offers != shared);
    g_assert_cmpuint(g_list_model_get_n_items(offers), ==, listed);
    if (!kept) kept = g_list_model_get_item(offers, listed - 1);
    gpointer alive = offers;
    g_object_add_weak_pointer(G_OBJECT(offers), &alive);
    g_object_unref(sdk);
    g_assert_null(alive);
  }

  /* One dropped by a handler of its own model while that model follows a
     publication; the library goes on publishing to the rest. */
  LxhfSdk* doomed = g_object_new(LXHF_TYPE_SDK, NULL);
  g_signal_connect(lxhf_sdk_get_offers(doomed), "items-changed", G_CALLBACK(drop_instance), doomed);
  g_autoptr(LxhfRoomDetails) room = room_new("", "C-2", "Twin", "{}");
  lxhf_sdk_cache_offers(lxhf_sdk_get_default(), &room, 1);
  g_assert_true(wait_settled(shared, listed));
  g_assert_cmpint(lxhf_offer_get_state(kept), ==, LXHF_OFFER_STATE_AVAILABLE);
  g_autoptr(LxhfOffer) same = g_list_model_get_item(shared, listed - 1);
  g_assert_true(lxhf_room_details_equal(lxhf_offer_get_room(kept), lxhf_offer_get_room(same)));
  g_object_unref(kept);
}

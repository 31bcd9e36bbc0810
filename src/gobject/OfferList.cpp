// The offers model: one LxhfOffer per room the facade publishes, kept in
// step with each publication. Items are reused, so a view bound to an item
// sees its state change rather than a new row.

#include "gobject/GObjectBridge.h"

#include <algorithm>

G_DECLARE_FINAL_TYPE(LxhfOfferList, lxhf_offer_list, LXHF, OFFER_LIST, GObject)

struct _LxhfOfferList {
    GObject parent_instance;
    GPtrArray* items;  // of LxhfOffer, owned
    LXHotelsFermoSDK* sdk;
    LXSubscription subscription;
    // A handler of a notification may change the offers again; that change
    // is followed once the current one is done.
    bool following;
    bool followAgain;
};

static void lxhf_offer_list_model_init(GListModelInterface* iface);

G_DEFINE_FINAL_TYPE_WITH_CODE(LxhfOfferList, lxhf_offer_list, G_TYPE_OBJECT,
                              G_IMPLEMENT_INTERFACE(G_TYPE_LIST_MODEL, lxhf_offer_list_model_init))

static GType lxhf_offer_list_get_item_type(GListModel*) { return LXHF_TYPE_OFFER; }

static guint lxhf_offer_list_get_n_items(GListModel* model) { return LXHF_OFFER_LIST(model)->items->len; }

static gpointer lxhf_offer_list_get_item(GListModel* model, guint position) {
    auto* self = LXHF_OFFER_LIST(model);
    return position < self->items->len ? g_object_ref(g_ptr_array_index(self->items, position)) : nullptr;
}

static void lxhf_offer_list_model_init(GListModelInterface* iface) {
    iface->get_item_type = lxhf_offer_list_get_item_type;
    iface->get_n_items = lxhf_offer_list_get_n_items;
    iface->get_item = lxhf_offer_list_get_item;
}

static void lxhf_offer_list_dispose(GObject* object) {
    LXHF_OFFER_LIST(object)->subscription.reset();
    G_OBJECT_CLASS(lxhf_offer_list_parent_class)->dispose(object);
}

static void lxhf_offer_list_finalize(GObject* object) {
    auto* self = LXHF_OFFER_LIST(object);
    g_ptr_array_unref(self->items);
    lxhf::gobject::destroy(self->subscription);
    G_OBJECT_CLASS(lxhf_offer_list_parent_class)->finalize(object);
}

static void lxhf_offer_list_class_init(LxhfOfferListClass* klass) {
    G_OBJECT_CLASS(klass)->dispose = lxhf_offer_list_dispose;
    G_OBJECT_CLASS(klass)->finalize = lxhf_offer_list_finalize;
}

static void lxhf_offer_list_init(LxhfOfferList* self) {
    self->items = g_ptr_array_new_with_free_func(g_object_unref);
    lxhf::gobject::construct(self->subscription);
}

namespace lxhf::gobject {
namespace {

bool showsRoom(LxhfOffer* item, const LXFermoOffer& offer) {
    const LXRoomDetails& room = roomOf(lxhf_offer_get_room(item));
    return room.hashValue() == offer.roomDetails().hashValue() && room == offer.roomDetails();
}

// Rooms are only ever added, so the published list normally extends the
// model: states are updated in place and the new rooms appended. A list
// the host replaced is followed from the first room that differs.
void followOnce(LxhfOfferList* self, const LXHotelsFermoSDK::Offers& offers) {
    const guint shown = self->items->len;
    guint same = 0;
    for (; same < std::min<std::size_t>(shown, offers.size()); ++same) {
        auto* item = static_cast<LxhfOffer*>(g_ptr_array_index(self->items, same));
        if (!showsRoom(item, offers[same])) break;
        offerUpdate(item, offers[same].state, self->sdk->offerTerms(offers[same].roomDetails()));
    }
    if (same == shown && offers.size() == shown) return;
    g_ptr_array_remove_range(self->items, same, shown - same);
    for (std::size_t i = same; i < offers.size(); ++i)
        g_ptr_array_add(self->items, offerNew(offers[i], self->sdk->offerTerms(offers[i].roomDetails())));
    g_list_model_items_changed(G_LIST_MODEL(self), same, shown - same, self->items->len - same);
}

void follow(LxhfOfferList* self) {
    if (self->following) {
        self->followAgain = true;
        return;
    }
    self->following = true;
    // A handler of items-changed may drop the host's last reference.
    g_object_ref(self);
    do {
        self->followAgain = false;
        followOnce(self, self->sdk->fermoOffers());
    } while (self->followAgain);
    self->following = false;
    g_object_unref(self);
}

}  // namespace

GListModel* offerListNew(LXHotelsFermoSDK& sdk) {
    auto* self = static_cast<LxhfOfferList*>(g_object_new(lxhf_offer_list_get_type(), nullptr));
    self->sdk = &sdk;
    // The list ends its subscription when disposed, before it is freed.
    self->subscription = sdk.subscribeFermoOffers([self](const LXHotelsFermoSDK::Offers&) { follow(self); });
    return G_LIST_MODEL(self);
}

}  // namespace lxhf::gobject

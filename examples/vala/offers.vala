// A console host in Vala: lists one room, waits for its offer, prints where
// to buy it and what the purchase page's "close" asks of a web view. Run it
// under `lxfermo sim -- ./offers`, which points it at the local service.
//
//   valac --pkg lxhf-1 offers.vala

const string ROOM = """{
  "userId": "vala-1",
  "booking": {"stayDates": {"checkIn": "2026-06-12", "checkOut": "2026-06-15"},
              "guests": {"adults": 2, "children": 0}, "locale": "en_GB",
              "currency": "EUR", "numberOfRooms": 1},
  "hotel": {"id": "H-VALA", "name": "Hotel Vala", "starRating": "4",
            "address": {"line": "1 Main Street", "city": "Lisbon", "countryCode": "PT"}},
  "room": {"id": "VALA-1", "merchantId": "M-1", "name": "Double", "beds": 2,
           "price": "189.00", "roomType": "double", "cancellationCode": "FREE-48H",
           "rateCategoryId": "RC-1", "availability": 3,
           "imageUrl": "https://img.example.com/vala.jpg", "priceInclusive": "207.90",
           "extAttributes": {}}
}""";

int main () {
    var sdk = Lxhf.Sdk.get_default ();
    sdk.configure ("partner-token", Lxhf.Environment.PRODUCTION);
    Lxhf.RoomDetails room;
    try {
        sdk.set_endpoints (Environment.get_variable ("LXHF_API_BASE"),
                           Environment.get_variable ("LXHF_MICROSITE_BASE"),
                           Environment.get_variable ("LXHF_INTAKE_URL"),
                           Environment.get_variable ("LXHF_CA_FILE"),
                           Environment.get_variable ("LXHF_CACHE_DIR"));
        room = new Lxhf.RoomDetails.from_json (ROOM);
    } catch (Error e) {
        printerr ("%s\n", e.message);
        return 1;
    }

    // Each room's offer starts loading; the loop runs until it has settled.
    var loop = new MainLoop ();
    var offers = sdk.get_offers ();
    offers.items_changed.connect ((model, position, removed, added) => {
        for (var i = position; i < position + added; i++) {
            ((Lxhf.Offer) model.get_item (i)).notify["state"].connect ((offer, pspec) => {
                if (((Lxhf.Offer) offer).state != Lxhf.OfferState.LOADING) {
                    loop.quit ();
                }
            });
        }
    });
    sdk.cache_offers ({ room });
    Timeout.add_seconds (60, () => {
        printerr ("The offer did not settle within 60 s\n");
        loop.quit ();
        return Source.REMOVE;
    });
    loop.run ();

    var offer = (Lxhf.Offer) offers.get_item (0);
    if (offer.state != Lxhf.OfferState.AVAILABLE) {
        printerr ("The offer is %s\n", offer.state.to_string ());
        return 1;
    }
    try {
        print ("Purchase address: %s\n", sdk.get_purchase_address (room));
    } catch (Error e) {
        printerr ("%s\n", e.message);
        return 1;
    }

    // A host showing the page in a web view of its own hands it each message.
    var action = sdk.page_message ("{\"eventName\":\"close\",\"data\":{}}", null);
    print ("Page action: %s\n", action.kind.to_string ());
    print ("Library version: %u\n", Lxhf.get_major_version ());
    return 0;
}

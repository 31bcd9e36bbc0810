// The Lxhf API from GJS, shortened: one room against `lxfermo sim --page
// close`, from loading to available, then its purchase page, closed by the page.
// usage: lxfermo sim ... -- gjs offers_test.js
imports.gi.versions.Gtk = '4.0';
const {GLib, Gtk, Lxhf} = imports.gi;

Gtk.init();
const sdk = Lxhf.Sdk.get_default();
const env = name => GLib.getenv(name);
sdk.set_endpoints(env('LXHF_API_BASE'), env('LXHF_MICROSITE_BASE'), env('LXHF_INTAKE_URL'),
    env('LXHF_CA_FILE'), env('LXHF_CACHE_DIR'));
sdk.set_fetch_policy(4, true, true);  // throws when refused
sdk.configure('gjs-token', Lxhf.Environment.STAGING);
const room = Lxhf.RoomDetails.new_from_json(JSON.stringify({
    booking: {stayDates: {checkIn: '2026-06-12', checkOut: '2026-06-15'}, guests: {adults: 1, children: 0},
        locale: 'en_GB', currency: 'EUR', numberOfRooms: 1},
    hotel: {id: 'H-GJS', name: 'Hotel Gjs', starRating: '3', address: {line: '2 Rua', city: 'Faro', countryCode: 'PT'}},
    room: {id: 'GJS-1', merchantId: 'M-1', name: 'Single', beds: 1, price: '80.00', roomType: 'standard',
        cancellationCode: 'FLEX', rateCategoryId: 'RC-1', availability: 1, imageUrl: 'https://img.example/g.jpg',
        priceInclusive: '80.00', extAttributes: {}},
}));

const loop = GLib.MainLoop.new(null, false);
const seen = [];
let failure = 'timed out';
GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, 60, () => loop.quit());
const model = sdk.get_offers();
model.connect('items-changed', () => {
    const offer = model.get_item(0);
    seen.push(offer.state);
    offer.connect('notify::state', () => {
        seen.push(offer.state);
        if (offer.state !== Lxhf.OfferState.AVAILABLE)
            return;
        const window = new Gtk.Window();
        window.present();
        Lxhf.PurchasePage.present(window, room).connect('finished', (_page, result) => {
            failure = result === Lxhf.PurchaseResult.CANCELLED ? null : `the page finished with ${result}`;
            loop.quit();
        });
    });
});
sdk.cache_offers([room]);
loop.run();
if (failure || seen.join() !== [Lxhf.OfferState.LOADING, Lxhf.OfferState.AVAILABLE].join()) {
    printerr(`gjs test failed: ${failure}; states ${seen}`);
    imports.system.exit(1);
}
print('gjs test passed');

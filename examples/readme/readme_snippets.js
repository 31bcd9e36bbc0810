// The README's JavaScript snippet, word for word, run by a test against
// `lxfermo sim -- gjs readme_snippets.js room.json`. The lines before it give it the
// names it uses, without declaring Gtk or Lxhf itself; the lines after wait
// for the room to settle.
imports.gi.versions.Gtk = '4.0';
const {GLib} = imports.gi;
imports.gi.Gtk.init();
imports.gi.Lxhf.Sdk.get_default().set_endpoints(GLib.getenv('LXHF_API_BASE'), GLib.getenv('LXHF_MICROSITE_BASE'),
    GLib.getenv('LXHF_INTAKE_URL'), GLib.getenv('LXHF_CA_FILE'), GLib.getenv('LXHF_CACHE_DIR'));
const roomObject = JSON.parse(new TextDecoder().decode(GLib.file_get_contents(ARGV[0])[1]));  // room.json
const window = new imports.gi.Gtk.Window();
window.present();

// readme: begin
imports.gi.versions.Gtk = '4.0';
const {Gtk, Lxhf} = imports.gi;

const sdk = Lxhf.Sdk.get_default();
sdk.configure('partner-token', Lxhf.Environment.PRODUCTION);
sdk.get_offers().connect('items-changed', (model, position, removed, added) => {
    const offer = model.get_item(position);
    offer.connect('notify::state', () => print(offer.state));
});
const room = Lxhf.RoomDetails.new_from_json(JSON.stringify(roomObject));
sdk.cache_offers([room]);  // after connecting, so the first change is seen
Lxhf.PurchasePage.present(window, room).connect('finished', (page, result) => print(result));
// readme: end

const context = GLib.MainContext.default();
const deadline = GLib.get_monotonic_time() + 60 * 1000000;
const offers = sdk.get_offers();
while (offers.get_n_items() < 1 || offers.get_item(0).state === Lxhf.OfferState.LOADING) {
    if (GLib.get_monotonic_time() > deadline) {
        printerr('readme snippets: the room never left loading');
        imports.system.exit(1);
    }
    context.iteration(true);
}
if (offers.get_item(0).state !== Lxhf.OfferState.AVAILABLE) {
    printerr(`readme snippets: the room is ${offers.get_item(0).state}`);
    imports.system.exit(1);
}
print('javascript readme snippet passed');

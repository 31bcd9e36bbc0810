#!/usr/bin/python3
"""The README's Python snippet, word for word, run by a test against
`lxfermo sim -- /usr/bin/python3 readme_snippets.py room.json`. The lines before it
give it the names it uses; the lines after wait for the room to settle."""
import os
import sys

import gi
gi.require_version("Gtk", "4.0")
gi.require_version("Lxhf", "1.0")
from gi.repository import GLib, Gtk, Lxhf  # noqa: E402

env = os.environ
Lxhf.Sdk.get_default().set_endpoints(env["LXHF_API_BASE"], env["LXHF_MICROSITE_BASE"], env["LXHF_INTAKE_URL"],
                                     env["LXHF_CA_FILE"], env["LXHF_CACHE_DIR"])
room_json = open(sys.argv[1]).read()  # room.json
window = Gtk.Window()
window.present()

# readme: begin
import gi
gi.require_version("Gtk", "4.0")
gi.require_version("Lxhf", "1.0")
from gi.repository import Gtk, Lxhf

sdk = Lxhf.Sdk.get_default()
sdk.configure("partner-token", Lxhf.Environment.PRODUCTION)  # before any call but set_endpoints
offers = sdk.get_offers()  # Gio.ListModel of Lxhf.Offer: room, state, error-message, terms
offers.connect("items-changed", lambda model, position, removed, added: ...)  # before cache_offers

room = Lxhf.RoomDetails.new_from_json(room_json)  # docs/rooms.md; raises GLib.Error saying where it is wrong
sdk.cache_offers([room])
print(room.props.hotel_name, room.props.price)  # each getter is a read-only property too, for expressions

# With report_load_failures, a page that cannot load ends in ERROR instead of spinning.
options = Lxhf.PageOptions(report_load_failures=True, ready_timeout_seconds=30)
button = Lxhf.OfferButton.new(room)  # follows the room, opens its purchase page when pressed
button.set_label(Lxhf.OfferState.AVAILABLE, "Freeze this price")
button.set_page_options(options)
button.connect("result", lambda button, result, message: print(result.value_nick))

page = Lxhf.PurchasePage.present_with_options(window, room, options)  # or open it yourself
# Once, when it has gone: PURCHASED if the traveller bought, else the page's CANCELLED or
# ERROR, or NONE when the traveller closed the window.
page.connect("finished", lambda page, result, message: print(result.value_nick))
# readme: end

context = GLib.MainContext.default()
deadline = GLib.get_monotonic_time() + 60 * 1000000
while offers.get_n_items() < 1 or offers.get_item(0).props.state == Lxhf.OfferState.LOADING:
    if GLib.get_monotonic_time() > deadline:
        sys.exit("readme snippets: the room never left loading")
    context.iteration(True)
if offers.get_item(0).props.state != Lxhf.OfferState.AVAILABLE:
    sys.exit(f"readme snippets: the room is {offers.get_item(0).props.state.value_nick}")
print("python readme snippet passed")

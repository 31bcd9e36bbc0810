#!/usr/bin/env python3
"""Rooms with live Fermo offers: a GTK 4 app on the library's GObject API.

`./dev demo --python` runs it against the local test service. When the
LXHF_API_BASE, LXHF_MICROSITE_BASE, LXHF_INTAKE_URL, LXHF_CA_FILE and
LXHF_CACHE_DIR variables are set (`lxfermo sim -- COMMAND` sets them), it talks to
that service instead of the real one.
"""

import json
import os
import sys

import gi

gi.require_version("Gtk", "4.0")
gi.require_version("Lxhf", "1.0")
from gi.repository import Gtk, Lxhf  # noqa: E402

HOTELS = [
    ("H-AUR", "Hotel Aurora", "Lisbon", [("AUR-101", "Double room", "189.00"), ("AUR-102", "Twin room", "169.00")]),
    ("H-MAR", "Maré Suites", "Porto", [("MAR-201", "Harbour suite", "240.00")]),
]

STATE_TEXT = {
    Lxhf.OfferState.LOADING: "checking the price…",
    Lxhf.OfferState.AVAILABLE: "this price can be frozen",
    Lxhf.OfferState.UNAVAILABLE: "no price freeze for this room",
    Lxhf.OfferState.ERROR: "the offer could not be fetched",
}


def room_details(hotel, room):
    """One room as the library takes it, read from its JSON form."""
    hotel_id, hotel_name, city, _ = hotel
    room_id, room_name, price = room
    return Lxhf.RoomDetails.new_from_json(json.dumps({
        "userId": "traveller-1",
        "booking": {"stayDates": {"checkIn": "2026-06-12", "checkOut": "2026-06-15"},
                    "guests": {"adults": 2, "children": 0}, "locale": "en_GB", "currency": "EUR",
                    "numberOfRooms": 1},
        "hotel": {"id": hotel_id, "name": hotel_name, "starRating": "4",
                  "address": {"line": "1 Rua Nova", "city": city, "countryCode": "PT"}},
        "room": {"id": room_id, "merchantId": "M-1", "name": room_name, "beds": 1, "price": price,
                 "roomType": "standard", "cancellationCode": "FREE-48H", "rateCategoryId": "RC-1",
                 "availability": 3, "imageUrl": "https://img.example/" + room_id + ".jpg",
                 "priceInclusive": price, "extAttributes": {}},
    }))


def all_rooms():
    return [room_details(hotel, room) for hotel in HOTELS for room in hotel[3]]


def start_library():
    """Points the library at the service named in the environment, if any."""
    sdk = Lxhf.Sdk.get_default()
    env = os.environ
    if "LXHF_API_BASE" in env:
        sdk.set_endpoints(env["LXHF_API_BASE"], env.get("LXHF_MICROSITE_BASE"), env.get("LXHF_INTAKE_URL"),
                          env.get("LXHF_CA_FILE"), env.get("LXHF_CACHE_DIR"))
    sdk.configure(env.get("LXHF_TOKEN", "demo-token"), Lxhf.Environment.STAGING)
    return sdk


def describe(offer):
    room = offer.get_room()
    text = f"{room.get_hotel_name()} · {room.get_room_name()} · {room.get_price()} {room.get_currency()}"
    return f"{text}\n{STATE_TEXT[offer.get_state()]}"


class RoomsWindow(Gtk.ApplicationWindow):
    """A list view over the library's offers model, one offer button a row."""

    def __init__(self, application, sdk):
        super().__init__(application=application, title="Fermo rooms", default_width=560, default_height=360)
        self.status = Gtk.Label(label="Press a button to freeze a price.", xalign=0)
        factory = Gtk.SignalListItemFactory()
        factory.connect("setup", self._setup_row)
        factory.connect("bind", self._bind_row)
        factory.connect("unbind", self._unbind_row)
        rows = Gtk.ListView(model=Gtk.NoSelection(model=sdk.get_offers()), factory=factory, vexpand=True)
        box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=12, margin_top=12, margin_bottom=12,
                      margin_start=12, margin_end=12)
        box.append(rows)
        box.append(self.status)
        self.set_child(box)

    def _setup_row(self, _factory, item):
        row = Gtk.Box(spacing=12, margin_top=6, margin_bottom=6)
        row.append(Gtk.Label(xalign=0, hexpand=True))
        button = Lxhf.OfferButton.new(None)  # given its room when the row is bound
        button.connect("finished", self._show_outcome)
        row.append(button)
        item.set_child(row)

    def _bind_row(self, _factory, item):
        offer, row = item.get_item(), item.get_child()
        label = row.get_first_child()
        label.set_label(describe(offer))
        row.watch = offer.connect("notify::state", lambda o, _pspec: label.set_label(describe(o)))
        row.get_last_child().set_room(offer.get_room())

    def _unbind_row(self, _factory, item):
        offer, row = item.get_item(), item.get_child()
        offer.disconnect(row.watch)
        row.get_last_child().set_room(None)

    # The page's final outcome, not its last message: a purchase is followed by "cancelled"
    # when the page closes itself, and "none" means the traveller closed the window.
    def _show_outcome(self, _button, result, message):
        name = result.value_nick
        self.status.set_label(f"The purchase page ended: {name}" + (f" ({message})" if message else ""))


def main(argv):
    app = Gtk.Application(application_id="com.example.FermoRooms")

    def activate(application):
        sdk = start_library()
        sdk.connect_application_shutdown(application)
        RoomsWindow(application, sdk).present()
        sdk.cache_offers(all_rooms())

    app.connect("activate", activate)
    return app.run(argv)


if __name__ == "__main__":
    sys.exit(main(sys.argv))

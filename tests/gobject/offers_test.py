"""The Python example's window on the Lxhf API, against `lxfermo sim --page
purchase` with the example's outcomes: the offers model, the offer button
and the purchase page, seen from PyGObject as a host sees them.
Expect g_return criticals from the bare room near the end.

usage: lxfermo sim ... -- python3 offers_test.py EXAMPLE_DIR
"""

import json
import sys

import gi

gi.require_version("Gtk", "4.0")
gi.require_version("Lxhf", "1.0")
from gi.repository import GLib, Gtk, Lxhf  # noqa: E402

State, Result = Lxhf.OfferState, Lxhf.PurchaseResult


def wait_until(condition, what, seconds=60, seen=lambda: ""):
    deadline = GLib.get_monotonic_time() + seconds * 1_000_000
    context = GLib.MainContext.default()
    while not condition():
        if GLib.get_monotonic_time() > deadline:
            sys.exit(f"timed out waiting until {what}{seen()}")
        context.iteration(True)


def check(condition, what):
    if not condition:
        sys.exit(f"failed: {what}")


def descendants(widget):
    child = widget.get_first_child()
    while child:
        yield child
        yield from descendants(child)
        child = child.get_next_sibling()


def main(example_dir):
    sys.path.insert(0, example_dir)
    import fermo_rooms

    GLib.timeout_add(50, lambda: True)  # so wait_until never sleeps past its deadline
    sdk = fermo_rooms.start_library()
    model = sdk.get_offers()
    changes, states, terms = [], {}, {}

    def on_items_changed(_model, position, removed, added):
        changes.append((position, removed, added))
        for offer in (model.get_item(i) for i in range(position, position + added)):
            history = states.setdefault(offer.get_room().get_room_id(), [offer.props.state])
            offer.connect("notify::state", lambda o, _pspec, h=history: h.append(o.props.state))
            shown = terms.setdefault(offer.get_room().get_room_id(), [offer.props.terms])
            offer.connect("notify::terms", lambda o, _pspec, t=shown: t.append(o.get_terms()))

    model.connect("items-changed", on_items_changed)
    window = fermo_rooms.RoomsWindow(None, sdk)
    window.present()
    rooms = fermo_rooms.all_rooms()
    sdk.cache_offers(rooms)
    sdk.cache_offers(fermo_rooms.all_rooms())  # equal rooms: nothing new
    wait_until(lambda: len(states) == 3 and all(h[-1] != State.LOADING for h in states.values()),
               "every offer leaves loading", seen=lambda: f"; states: {states}")
    check(changes == [(0, 0, 3)], f"one items-changed for the three rooms, got {changes}")
    check(states == {"AUR-101": [State.LOADING, State.AVAILABLE], "AUR-102": [State.LOADING, State.UNAVAILABLE],
                     "MAR-201": [State.LOADING, State.ERROR]}, f"each room's states, got {states}")
    check(model.get_item(2).props.error_message, "an offer in error says why")
    check(model.get_item(0).props.error_message is None, "an available offer has no error message")
    # The service holds the room's price and asks a tenth of it as deposit.
    held = terms["AUR-101"]
    check(len(held) == 2 and held[0] is None and held[1] is model.get_item(0).props.terms,
          f"the available room's terms are announced once, got {held}")
    check((held[1].get_frozen_price(), held[1].props.deposit, held[1].get_currency()) == ("189.00", "18.90", "EUR"),
          f"the terms as the service sent them, got {held[1].props.frozen_price} {held[1].props.deposit}")
    check(held[1].get_offer_expiry().endswith("Z") and held[1].props.freeze_expiry > held[1].props.offer_expiry,
          "the expiries as the service sent them")
    check(terms["AUR-102"] == [None] and terms["MAR-201"] == [None], f"other rooms have no terms, got {terms}")

    try:
        sdk.get_purchase_address(rooms[2])
        sys.exit("failed: a room without an answer has a purchase address")
    except GLib.Error as error:
        check(error.matches(Lxhf.error_quark(), Lxhf.Error.NO_RESPONSE), f"no answer for the room: {error}")
    check(sdk.get_purchase_address(rooms[0]).startswith("https://127.0.0.1:"), "the page is the local service's")

    buttons = {b.get_room().get_room_id(): b for b in descendants(window) if isinstance(b, Lxhf.OfferButton)}
    check(sorted(buttons) == ["AUR-101", "AUR-102", "MAR-201"], f"a button a row, got {sorted(buttons)}")
    button = buttons["AUR-101"]
    wait_until(lambda: button.props.state == State.AVAILABLE, "the button shows the offer's state")
    results, ends = [], []
    button.connect("result", lambda _b, result, _message: results.append(result))
    button.connect("finished", lambda _b, result, _message: ends.append(result))
    next(w for w in descendants(button) if isinstance(w, Gtk.Button)).emit("clicked")
    wait_until(lambda: len(results) == 2, "the page opened by the button reports twice")
    check(results == [Result.PURCHASED, Result.CANCELLED], f"purchased, then closed; got {results}")
    wait_until(lambda: ends, "the page opened by the button finishes")
    check(ends == [Result.PURCHASED], f"the button's page finishes purchased; got {ends}")

    finished = []
    page = Lxhf.PurchasePage.present(window, rooms[0])
    page.connect("finished", lambda _p, result, _message: finished.append(result))
    del page  # it keeps itself until finished
    wait_until(lambda: finished, "the presented page finishes")
    check(finished == [Result.PURCHASED], f"a page that sold ends purchased, though it closed after; got {finished}")
    check(changes == [(0, 0, 3)], f"state changes never emit items-changed, got {changes}")

    button.set_room(rooms[1])  # as a recycled row does
    wait_until(lambda: button.props.state == State.UNAVAILABLE, "the button follows its new room")
    empty = Lxhf.RoomDetails()  # a binding's bare constructor: refused, not a crash
    check(empty.get_room_id() is None, "a room without JSON has no fields")
    sdk.cache_offers([empty])
    check(model.get_n_items() == 3, "a room without JSON is not listed")

    # A list that loads its next rows as the first ones arrive: the handler
    # reads the new items and caches a room for each from inside
    # items-changed, which the model follows after the handler returns.
    def numbered(number):
        fields = json.loads(rooms[0].to_json())
        fields["room"]["id"] = f"MORE-{number}"
        return Lxhf.RoomDetails.new_from_json(json.dumps(fields))

    more = []

    def load_more(_model, position, _removed, added):
        for offer in (model.get_item(i) for i in range(position, position + added)):
            check(offer.get_room().get_room_id(), "an item read inside items-changed has its room")
            if len(more) < 20:
                more.append(numbered(len(more)))
                sdk.cache_offers([more[-1]])

    handler = model.connect("items-changed", load_more)
    sdk.cache_offers([numbered(100)])
    model.disconnect(handler)
    ids = [model.get_item(i).get_room().get_room_id() for i in range(model.get_n_items())]
    check(ids[3:] == ["MORE-100"] + [f"MORE-{n}" for n in range(20)], f"each room once, in order; got {ids}")
    wait_until(lambda: all(model.get_item(i).props.state != State.LOADING for i in range(model.get_n_items())),
               "the rooms added from inside the handler leave loading")
    print("python test passed")


if __name__ == "__main__":
    main(sys.argv[1])

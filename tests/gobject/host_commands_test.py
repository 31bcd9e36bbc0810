"""What a C++ host does through `lxfermo host`, done by a Python host through
Lxhf, checked against what `lxfermo sim` saw.

The script runs the service itself, so that it can read the service's log of
requests and bodies while the library talks to it.

usage: python3 host_commands_test.py LXFERMO DATA_DIR commands
       python3 host_commands_test.py LXFERMO DATA_DIR page     (needs a display)
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import threading
import urllib.parse

import gi

gi.require_version("Gtk", "4.0")
gi.require_version("Lxhf", "1.0")
from gi.repository import Gio, GLib, GObject, Gtk, Lxhf  # noqa: E402

State, Result, Kind = Lxhf.OfferState, Lxhf.PurchaseResult, Lxhf.PageActionKind


def fail(what):
    sys.exit(f"failed: {what}")


def check(condition, what):
    if not condition:
        fail(what)


def run_loop(seconds, until=None, what=None, seen=lambda: ""):
    """Runs the main context for `seconds`, or until `until` holds: failing
    then, if `what` names what was awaited."""
    deadline = GLib.get_monotonic_time() + int(seconds * 1_000_000)
    context = GLib.MainContext.default()
    while not (until and until()):
        if GLib.get_monotonic_time() > deadline:
            if what:
                fail(f"timed out waiting until {what}{seen()}")
            return
        context.iteration(True)


class Service:
    """`lxfermo sim --verbose` in the background, its request log collected."""

    def __init__(self, lxfermo, *options):
        self.process = subprocess.Popen([lxfermo, "sim", "--verbose", *options], stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True, errors="replace")
        self.addresses, self.requests, self.lock = {}, [], threading.Lock()
        for line in self.process.stdout:
            if line.startswith("Press Ctrl-C"):
                break
            name, _, value = line.strip().partition(":  ")
            self.addresses[name] = value.strip()
        check({"API base", "microsite", "log intake", "CA file"} <= set(self.addresses),
              f"the service printed its addresses, got {self.addresses}")
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            with self.lock:
                if line.startswith("    ") and self.requests:
                    self.requests[-1]["body"] = line.strip().partition(" body: ")[2]
                elif line.startswith("  "):
                    method, target = line.split()[:2]
                    self.requests.append({"method": method, "target": target, "line": line.strip(), "body": None})

    def seen(self, part):
        """Requests whose path contains `part`, once their bodies are in."""
        with self.lock:
            return [r for r in self.requests if part in r["target"].partition("?")[0] and r["body"] is not None]

    def stop(self):
        self.process.terminate()
        self.process.wait(10)


def room(room_id, hotel="H-AUR", **fields):
    text = {
        "booking": {"stayDates": {"checkIn": "2026-06-12", "checkOut": "2026-06-15"},
                    "guests": {"adults": 2, "children": 0}, "locale": "en_GB", "currency": "EUR", "numberOfRooms": 1},
        "hotel": {"id": hotel, "name": f"Hotel {hotel}", "starRating": "4",
                  "address": {"line": "1 Rua Nova", "city": "Lisbon", "countryCode": "PT"}},
        "room": {"id": room_id, "merchantId": "M-1", "name": "Double room", "beds": 1, "price": "189.00",
                 "roomType": "standard", "cancellationCode": "FREE-48H", "rateCategoryId": "RC-1", "availability": 3,
                 "imageUrl": "https://img.example/" + room_id, "priceInclusive": "189.00", "extAttributes": {}},
    }
    text.update(fields)
    return Lxhf.RoomDetails.new_from_json(json.dumps(text))


def start(service, cache_dir):
    sdk = Lxhf.Sdk.get_default()
    a = service.addresses
    check(sdk.set_endpoints(a["API base"], a["microsite"], a["log intake"], a["CA file"], cache_dir),
          "the service's endpoints are taken")
    sdk.configure("partner-token", Lxhf.Environment.STAGING)
    return sdk


def states(sdk):
    offers = sdk.get_offers()
    items = (offers.get_item(i) for i in range(offers.get_n_items()))
    return {offer.get_room().get_room_id(): offer.props.state for offer in items}


def settled(sdk):
    return all(s != State.LOADING for r, s in states(sdk).items() if r != "R-LOAD")


def address_error(sdk, some_room):
    try:
        sdk.get_purchase_address(some_room)
    except GLib.Error as error:
        check(error.domain == GLib.quark_to_string(Lxhf.error_quark()), f"an Lxhf error, got {error.domain}")
        return Lxhf.Error(error.code), error.message
    return None, None


def requested_ids(requests):
    return sorted(r["id"] for request in requests for r in json.loads(request["body"])["rooms"])


def stored_session(cache_dir):
    """The session in the session file; None when there is no file, [] when
    it holds none."""
    try:
        with open(os.path.join(cache_dir, "sessionStore.cache")) as f:
            entries = json.load(f)
    except FileNotFoundError:
        return None
    return entries[0]["value"] if entries else []


def check_values_without_service():
    check((Lxhf.get_major_version(), Lxhf.get_minor_version(), Lxhf.get_micro_version())
          == (Lxhf.MAJOR_VERSION, Lxhf.MINOR_VERSION, Lxhf.MICRO_VERSION), "the library runs the headers' version")
    options = Lxhf.PageOptions()
    check((options.props.report_load_failures, options.props.ready_timeout_seconds, options.props.fullscreen)
          == (False, 30.0, False), "page options start as a page without any")

    # Each field through a real GtkPropertyExpression (PyGObject cannot make
    # one itself): a builder's lookup inside a string filter.
    sample, other = room("P-1", userId="traveller-9"), room("P-2", hotel="H-MAR")
    store = Gio.ListStore(item_type=Lxhf.RoomDetails)
    store.splice(0, 0, [other, sample])

    def matching(name, value):
        builder = Gtk.Builder.new_from_string(
            '<interface><object class="GtkStringFilter" id="filter"><property name="expression">'
            f'<lookup name="{name}" type="LxhfRoomDetails"/></property>'
            '<property name="match-mode">exact</property><property name="ignore-case">false</property>'
            '</object></interface>', -1)
        string_filter = builder.get_object("filter")
        string_filter.set_search(value)
        model = Gtk.FilterListModel(model=store, filter=string_filter)
        return [model.get_item(i).get_room_id() for i in range(model.get_n_items())]

    expected = {"user-id": "traveller-9", "check-in": "2026-06-12", "check-out": "2026-06-15", "currency": "EUR",
                "hotel-id": "H-AUR", "hotel-name": "Hotel H-AUR", "room-id": "P-1", "room-name": "Double room",
                "price": "189.00"}
    for name, value in expected.items():
        everyone = name in ("check-in", "check-out", "currency", "room-name", "price")
        got = matching(name, value)
        check(got == (["P-2", "P-1"] if everyone else ["P-1"]), f"rooms whose {name} is {value!r}: got {got}")

    class Target(GObject.Object):
        text = GObject.Property(type=str)

    target = Target()
    sample.bind_property("hotel-name", target, "text", GObject.BindingFlags.SYNC_CREATE)
    check(target.text == "Hotel H-AUR", f"a bound property carries the hotel's name, got {target.text!r}")
    check(other.props.user_id is None, "a room without a user has none")


def check_page_messages(sdk, service):
    # What each message means is checked in C and C++; from Python, that a
    # message passes PyGObject's string conversion whole and is logged as the
    # library's own page logs it.
    close = sdk.page_message('{"eventName":"close","data":{"pad":"' + "é" * 500_000 + '"}}', None)
    check(close.props.kind == Kind.CANCELLED and close.props.result == Result.CANCELLED and close.props.dismiss,
          "a close of almost a megabyte is read")
    check(sdk.page_message('{"eventName":"Close","data":{}}', None).props.kind == Kind.UNKNOWN, "an unknown event")
    check(sdk.page_message("[" * 100_000 + "]" * 100_000, None).props.kind == Kind.MALFORMED,
          "deep nesting is malformed")
    # The library's own page logs these; so must the host's.
    run_loop(10, lambda: any("Microsite event: unknown" in r["body"] for r in service.seen("/api/v2/logs")),
             "the unknown event is logged to the intake")
    # Records may reach the intake in separate posts.
    run_loop(10, lambda: any('"status":"error"' in r["body"] for r in service.seen("/api/v2/logs")),
             "a malformed message is logged as an error")


def check_commands(lxfermo, data_dir):
    check_values_without_service()
    cache_dir = tempfile.mkdtemp(prefix="lxhf-py-host-")
    service = Service(lxfermo, "--outcomes", os.path.join(data_dir, "host-outcomes.json"),
                      "--faults", os.path.join(data_dir, "host-faults.json"))
    try:
        sdk = Lxhf.Sdk.get_default()
        for refused in [lambda: sdk.set_endpoints("api/", None, None, None, None),
                        lambda: sdk.set_endpoints(None, "ftp://127.0.0.1/", None, None, None)]:
            try:
                refused()
                fail("an address that is not absolute http(s) is refused")
            except GLib.Error as error:
                check(error.code == Lxhf.Error.ENDPOINTS_REFUSED, f"refused endpoints, got {error.message}")
        try:
            sdk.set_fetch_policy(0, False, False)
            fail("a policy with no batches is refused")
        except GLib.Error as error:
            check(error.code == Lxhf.Error.FETCH_POLICY_REFUSED, f"refused policy, got {error.message}")
        sdk = start(service, cache_dir)
        check_commands_against(sdk, service, cache_dir)
    finally:
        service.stop()
        shutil.rmtree(cache_dir, ignore_errors=True)


def check_commands_against(sdk, service, cache_dir):
    ids = ["R-FULL", "R-BASE", "R-UNAV", "R-OMIT", "R-LOAD"]
    rooms = {i: room(i) for i in ids}
    rooms["M-FULL"] = room("M-FULL", hotel="H-MAR")
    never_cached = room("R-NEVER")

    sdk.cache_offers(list(rooms.values()))
    run_loop(30, lambda: settled(sdk), "the service answers every room", lambda: f"; {states(sdk)}")
    check(states(sdk) == {"R-FULL": State.AVAILABLE, "R-BASE": State.UNAVAILABLE, "R-UNAV": State.UNAVAILABLE,
                          "R-OMIT": State.ERROR, "R-LOAD": State.LOADING, "M-FULL": State.AVAILABLE},
          f"each room as the service answered it, got {states(sdk)}")
    check(requested_ids(service.seen("fermo_offers")) == sorted(rooms), "each room is asked for once")
    check(len(service.seen("fermo_offers")) == 2, "one request a hotel")
    sessions = service.seen("sessions")
    check(len(sessions) == 1 and "partner_user_id" not in sessions[0]["body"], "one session, for nobody yet")
    try:
        sdk.set_endpoints(service.addresses["API base"], None, None, None, None)
        fail("endpoints are refused once the library runs")
    except GLib.Error as error:
        check(error.code == Lxhf.Error.ENDPOINTS_REFUSED, f"late endpoints refused, got {error.message}")

    run_loop(10, lambda: stored_session(cache_dir), "the session is stored")
    session_id = stored_session(cache_dir)["sessionId"]
    url = sdk.get_purchase_address(rooms["R-FULL"])
    check(url.startswith(service.addresses["microsite"] + "?"), f"the page is the service's, got {url[:80]}")
    query = urllib.parse.parse_qs(urllib.parse.urlsplit(url).query)
    check(query["token"] == ["partner-token"] and query["sessionId"] == [session_id],
          f"the address carries the token and the session, got {query.get('token')} {query.get('sessionId')}")
    check('"R-FULL"' in urllib.parse.unquote(query["offer"][0]), "the address carries the room's offer")
    for room_id, reason in [("R-BASE", Lxhf.Error.NOT_SIGNED_FULL_OFFER), ("R-UNAV", Lxhf.Error.NOT_SIGNED_FULL_OFFER),
                            ("R-LOAD", Lxhf.Error.NOT_SIGNED_FULL_OFFER), ("R-OMIT", Lxhf.Error.NO_RESPONSE)]:
        got = address_error(sdk, rooms[room_id])
        check(got == (reason, "offerResponse is not a signedFullOffer"), f"{room_id} has no address: got {got}")
    check(address_error(sdk, never_cached)[0] == Lxhf.Error.NO_RESPONSE, "a room never cached has no answer")
    run_loop(10, lambda: any("env:staging" in r["target"] for r in service.seen("/api/v2/logs")),
             "the intake hears of the configured environment")

    # Shown offers go out together after a quiet spell; a room without an answer is not among them.
    for shown in [rooms["R-FULL"], never_cached, rooms["M-FULL"], rooms["R-OMIT"]]:
        sdk.report_shown(shown)
    run_loop(15, lambda: service.seen("events/batch"), "the shown offers are reported")
    run_loop(1)
    events = [e for r in service.seen("events/batch") for e in json.loads(r["body"])]
    check(len(events) == 2 and {e["type"] for e in events} == {"offer_shown"}
          and {e["session_id"] for e in events} == {session_id}
          and events[0]["fermo_offer_id"] != events[1]["fermo_offer_id"],
          f"two rooms shown, in the current session, got {events}")

    check_page_messages(sdk, service)

    # The service fails the third offer request (host-faults.json): its room
    # stays loading, queued until something fetches again.
    rooms["F-1"] = room("F-1", hotel="H-FAIL")
    sdk.cache_offers([rooms["F-1"]])
    run_loop(15, lambda: any("fetchOffers statusCode error" in r["body"] for r in service.seen("/api/v2/logs")),
             "the failed request is logged")
    check(states(sdk)["F-1"] == State.LOADING, f"a failed request leaves its room loading, got {states(sdk)}")
    before = len(service.seen("fermo_offers"))
    sdk.refresh_cached_offers(Lxhf.Refresh.ERRORS_ONLY)
    run_loop(15, lambda: states(sdk)["F-1"] == State.AVAILABLE, "the queued room is fetched again",
             lambda: f"; {states(sdk)}")
    check(requested_ids(service.seen("fermo_offers")[before:]) == ["F-1"] and states(sdk)["R-OMIT"] == State.ERROR,
          "refreshing errors only fetches what is queued and leaves the room in error alone")
    before = len(service.seen("fermo_offers"))
    sdk.refresh_cached_offers(Lxhf.Refresh.ALL)
    run_loop(15, lambda: requested_ids(service.seen("fermo_offers")[before:]) == sorted(rooms),
             "every room is asked again", lambda: f"; {requested_ids(service.seen('fermo_offers')[before:])}")
    run_loop(15, lambda: settled(sdk), "the refreshed rooms settle")

    check_user_updates(sdk, service, cache_dir, rooms, session_id)

    sdk.application_will_terminate()
    run_loop(10, lambda: stored_session(cache_dir) == [], "terminating empties the stored session")
    print("python host commands test passed")


def check_user_updates(sdk, service, cache_dir, rooms, session_id):
    sessions = len(service.seen("sessions"))
    sdk.update_user(None)  # the session's user already
    run_loop(1.5)
    check(len(service.seen("sessions")) == sessions and stored_session(cache_dir)["sessionId"] == session_id,
          "the same user keeps the session")

    # A new user while a refresh's request is on its way: the service holds
    # each offers answer for a second (host-faults.json).
    before = len(service.seen("fermo_offers"))
    sdk.refresh_cached_offers(Lxhf.Refresh.ALL)
    run_loop(10, lambda: len(service.seen("fermo_offers")) > before, "the refresh's request is sent")
    sdk.update_user("traveller-1")
    run_loop(2, lambda: stored_session(cache_dir) == [], "a new user empties the stored session at once")
    run_loop(30, lambda: any('"partner_user_id":"traveller-1"' in r["body"] for r in service.seen("sessions")),
             "a session is made for the new user")
    run_loop(30, lambda: stored_session(cache_dir) and stored_session(cache_dir).get("userId") == "traveller-1",
             "the new user's session is stored")
    new_id = stored_session(cache_dir)["sessionId"]
    check(new_id != session_id, "the new user has a session of their own")
    run_loop(30, lambda: requested_ids(service.seen("fermo_offers")[before:]).count("R-FULL") >= 2 and settled(sdk),
             "the rooms are asked for again for the new user",
             lambda: f"; {requested_ids(service.seen('fermo_offers')[before:])}")
    check(states(sdk)["R-FULL"] == State.AVAILABLE and states(sdk)["R-UNAV"] == State.UNAVAILABLE,
          f"the rooms keep their answers, got {states(sdk)}")
    query = urllib.parse.parse_qs(urllib.parse.urlsplit(sdk.get_purchase_address(rooms["R-FULL"])).query)
    check(query["sessionId"] == [new_id], "the address follows the new session")
    sessions = len(service.seen("sessions"))
    sdk.update_user("traveller-1")
    run_loop(1.5)
    check(len(service.seen("sessions")) == sessions and stored_session(cache_dir)["sessionId"] == new_id,
          "the same user again keeps the session")


def check_failing_page(lxfermo, data_dir):
    cache_dir = tempfile.mkdtemp(prefix="lxhf-py-page-")
    service = Service(lxfermo, "--faults", os.path.join(data_dir, "page-faults.json"))
    try:
        sdk = start(service, cache_dir)
        full = room("R-FULL")
        sdk.cache_offers([full])
        run_loop(30, lambda: settled(sdk), "the room is answered")

        ends = []
        options = Lxhf.PageOptions(report_load_failures=True, ready_timeout_seconds=20)
        page = Lxhf.PurchasePage.present_with_options(None, full, options)
        page.connect("finished", lambda _p, result, message: ends.append((result, message)))
        del page
        run_loop(60, lambda: ends, "the failing page finishes")
        check(ends == [(Result.ERROR, "Unable to load the purchase page: the service answered with HTTP status 500")],
              f"a page answered with 500 ends in error, got {ends}")

        # Without the option the same failure is the page's business: it stays up.
        quiet = []
        page = Lxhf.PurchasePage.present_with_options(None, full, None)
        page.connect("finished", lambda _p, result, message: quiet.append((result, message)))
        run_loop(3, lambda: quiet)
        check(not quiet and page.get_window() is not None, f"a page without options stays up, got {quiet}")
        page.close()
        run_loop(10, lambda: quiet, "the closed page finishes")
        check(quiet[0][0] == Result.NONE, f"a page closed by the host reports nothing, got {quiet}")

        # The button: new options take its page down, which it reports as
        # finished; the next page it opens has them.
        button = Lxhf.OfferButton.new(full)
        window = Gtk.Window(child=button)
        window.present()
        run_loop(30, lambda: button.props.state == Lxhf.OfferState.AVAILABLE, "the button shows the offer")
        button_ends = []
        button.connect("finished", lambda _b, result, message: button_ends.append((result, message)))

        def press():
            child = button.get_first_child()
            while child and not isinstance(child, Gtk.Button):
                child = child.get_first_child()
            child.emit("clicked")

        press()
        run_loop(3, lambda: button_ends)
        check(not button_ends, f"the button's page without options stays up, got {button_ends}")
        button.set_page_options(options)
        run_loop(10, lambda: button_ends, "the page the button took down finishes")
        check(button_ends == [(Result.NONE, None)], f"a page taken down by new options ends with none, got {button_ends}")
        run_loop(30, lambda: button.props.state == Lxhf.OfferState.AVAILABLE, "the rebuilt button shows the offer")
        press()
        run_loop(60, lambda: len(button_ends) == 2, "the button's failing page finishes")
        check(button_ends[1][0] == Result.ERROR, f"the button's next page has the options, got {button_ends}")
        window.destroy()
        print("python failing page test passed")
    finally:
        service.stop()
        shutil.rmtree(cache_dir, ignore_errors=True)


if __name__ == "__main__":
    GLib.timeout_add(50, lambda: True)  # so run_loop never sleeps past its deadline
    lxfermo_path, data, mode = sys.argv[1:4]
    {"commands": check_commands, "page": check_failing_page}[mode](lxfermo_path, data)

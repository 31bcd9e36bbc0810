#!/usr/bin/env python3
"""One room's Fermo offer, and its purchase page in a WebKit web view of the
app's own, through the library's GObject API only.

    lxfermo sim --page purchase -- python3 own_web_view.py

The service's addresses come from the LXHF_* variables `lxfermo sim` sets.
It prints each state of the offer, what the page asks of the view, and each
result the page reports; it quits once the page is taken down.
"""

import json
import os
import sys

import gi

gi.require_version("Gtk", "4.0")
gi.require_version("WebKit", "6.0")
gi.require_version("Lxhf", "1.0")
from gi.repository import Gio, GLib, Gtk, Lxhf, WebKit  # noqa: E402

ROOM = {
    "userId": "u-1",
    "booking": {"stayDates": {"checkIn": "2026-06-12", "checkOut": "2026-06-15"},
                "guests": {"adults": 2, "children": 0}, "locale": "en_US", "currency": "EUR", "numberOfRooms": 1},
    "hotel": {"id": "H-AUR", "name": "Hotel Aurora", "starRating": "4",
              "address": {"line": "1 Rua Nova", "city": "Lisbon", "countryCode": "PT"}},
    "room": {"id": "AUR-101", "merchantId": "M-1", "name": "Double room", "beds": 1, "price": "189.00",
             "roomType": "standard", "cancellationCode": "FREE-48H", "rateCategoryId": "RC-1", "availability": 3,
             "imageUrl": "https://img.example/aur-101.jpg", "priceInclusive": "189.00", "extAttributes": {}},
}


def trust_test_service(view, uri, certificate, _errors):
    """The test service signs its page with the CA it made at start; a page
    of the real service needs none of this."""
    ca_file = os.environ.get("LXHF_CA_FILE")
    if not ca_file:
        return False
    try:
        authority = Gio.TlsFileDatabase.new(ca_file)
        identity = Gio.NetworkAddress.parse_uri(uri, 443)
    except GLib.Error:
        return False
    flags = authority.verify_chain(certificate, Gio.TLS_DATABASE_PURPOSE_AUTHENTICATE_SERVER, identity, None,
                                   Gio.TlsDatabaseVerifyFlags.NONE, None)
    if flags != 0:
        return False
    view.get_network_session().allow_tls_certificate_for_host(certificate, identity.get_hostname())
    view.load_uri(uri)
    return True


# own-web-view: begin
def present_purchase_page(parent, sdk, room, on_result, on_gone):
    """Shows the purchase page for `room` over `parent`; `on_gone` runs when
    the page asked to be taken down."""
    window = Gtk.Window(transient_for=parent, modal=True, default_width=800, default_height=600)
    try:
        address = sdk.get_purchase_address(room)  # why there is none is logged
    except GLib.Error:
        window.set_child(Gtk.Label(label="Unable to load Fermo"))
        window.present()
        return

    # The page calls window.CorvaneSDKBridge.event(name, data); the script
    # forwards each call to the handler of the bridge's name.
    handler = Lxhf.page_bridge_handler_name()
    content = WebKit.UserContentManager()
    content.add_script(WebKit.UserScript.new(Lxhf.page_bridge_user_script(),
                                             WebKit.UserContentInjectedFrames.ALL_FRAMES,
                                             WebKit.UserScriptInjectionTime.START, None, None))
    content.register_script_message_handler(handler, None)

    view = WebKit.WebView(user_content_manager=content, vexpand=True, hexpand=True)
    view.connect("load-failed-with-tls-errors", trust_test_service)
    spinner = Gtk.Spinner(spinning=True, halign=Gtk.Align.CENTER, valign=Gtk.Align.CENTER, width_request=48,
                          height_request=48)
    overlay = Gtk.Overlay(child=view)
    overlay.add_overlay(spinner)
    window.set_child(overlay)

    def on_message(_content, value):
        action = sdk.page_message(value.to_json(0), handler)  # logs what the page got wrong
        if action.props.result != Lxhf.PurchaseResult.NONE:
            on_result(action.props.result, action.props.error_message)
        if action.props.stop_spinner:
            spinner.stop()
            spinner.set_visible(False)
            print("page: ready", flush=True)
        if action.props.dismiss:
            # Closed once WebKit's signal has returned, never from inside it.
            def close():
                window.destroy()
                on_gone()
                return GLib.SOURCE_REMOVE
            GLib.idle_add(close)

    content.connect(f"script-message-received::{handler}", on_message)
    window.connect("close-request", lambda _window: on_gone() or False)  # closed by the traveller
    view.load_uri(address)
    window.present()
# own-web-view: end


def main(argv):
    sdk = Lxhf.Sdk.get_default()
    env = os.environ
    if "LXHF_API_BASE" in env:
        sdk.set_endpoints(env["LXHF_API_BASE"], env.get("LXHF_MICROSITE_BASE"), env.get("LXHF_INTAKE_URL"),
                          env.get("LXHF_CA_FILE"), env.get("LXHF_CACHE_DIR"))
    sdk.configure(env.get("LXHF_TOKEN", "partner-token"), Lxhf.Environment.STAGING)
    room = Lxhf.RoomDetails.new_from_json(json.dumps(ROOM))
    app = Gtk.Application(application_id="com.example.OwnWebViewPy", flags=Gio.ApplicationFlags.NON_UNIQUE)
    sdk.connect_application_shutdown(app)
    presented = []

    def on_result(result, message):
        print(f"result: {result.value_nick}" + (f" ({message})" if message else ""), flush=True)

    def follow(offer, window, label):
        state = offer.props.state
        print(f"offer: {state.value_nick}", flush=True)
        label.set_label(f"Hotel Aurora, Double room: {state.value_nick}")
        if state == Lxhf.OfferState.AVAILABLE and not presented:
            presented.append(True)
            sdk.report_shown(room)  # the offer is on screen
            present_purchase_page(window, sdk, room, on_result, app.quit)

    def activate(application):
        window = Gtk.ApplicationWindow(application=application, title="Own web view", default_width=480)
        label = Gtk.Label(label="Hotel Aurora, Double room")
        window.set_child(label)
        window.present()
        offers = sdk.get_offers()

        def on_added(model, position, _removed, added):
            for offer in (model.get_item(i) for i in range(position, position + added)):
                if Lxhf.RoomDetails.equal(offer.get_room(), room):
                    offer.connect("notify::state", lambda o, _pspec: follow(o, window, label))
                    follow(offer, window, label)

        offers.connect("items-changed", on_added)
        sdk.cache_offers([room])

    app.connect("activate", activate)
    return app.run(argv[:1])


if __name__ == "__main__":
    sys.exit(main(sys.argv))

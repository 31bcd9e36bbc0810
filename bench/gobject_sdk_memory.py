#!/usr/bin/env python3
"""Makes and drops Lxhf.Sdk objects, each asked for its offers, and says how
much the process grew: the goal is under 2 MiB for 30,000 of them.

    GI_TYPELIB_PATH=build/src/gobject LD_LIBRARY_PATH=build/src/gobject \\
        /usr/bin/python3 bench/gobject_sdk_memory.py [COUNT]

Exits 1 when the process grew by 2 MiB or more. Growth is the private memory
of the process (anonymous and dirty pages, from /proc/self/smaps_rollup),
which counts what the library and GLib keep, not what it maps from files.
"""

import gc
import json
import sys

import gi

gi.require_version("Lxhf", "1.0")
from gi.repository import Lxhf  # noqa: E402

LIMIT = 2 * 1024 * 1024
WARM_UP = 2_000
ROOM = {
    "booking": {"stayDates": {"checkIn": "2026-06-12", "checkOut": "2026-06-15"},
                "guests": {"adults": 2, "children": 0}, "locale": "en_GB", "currency": "EUR", "numberOfRooms": 1},
    "hotel": {"id": "H-B", "name": "Hotel B", "starRating": "4",
              "address": {"line": "1 Rua Nova", "city": "Lisbon", "countryCode": "PT"}},
    "room": {"id": "B-1", "merchantId": "M-1", "name": "Double room", "beds": 1, "price": "189.00",
             "roomType": "standard", "cancellationCode": "FREE-48H", "rateCategoryId": "RC-1", "availability": 3,
             "imageUrl": "https://img.example/B-1", "priceInclusive": "189.00", "extAttributes": {}},
}


def private_bytes():
    fields = {}
    with open("/proc/self/smaps_rollup") as rollup:
        for line in rollup:
            name, _, value = line.partition(":")
            if value.strip().endswith("kB"):
                fields[name] = int(value.split()[0]) * 1024
    return fields["Private_Dirty"], fields["Anonymous"]


def make_and_drop(count):
    for _ in range(count):
        sdk = Lxhf.Sdk()
        offers = sdk.get_offers()
        assert offers.get_n_items() == 1 and offers.get_item(0).get_room().get_room_id() == "B-1"
        del offers, sdk


def main(argv):
    count = int(argv[1]) if len(argv) > 1 else 30_000
    # Nothing may leave the machine: a closed loopback port for every endpoint.
    shared = Lxhf.Sdk.get_default()
    shared.set_endpoints("https://127.0.0.1:9/api/", "https://127.0.0.1:9", "https://127.0.0.1:9/logs", None, None)
    shared.configure("bench-token", Lxhf.Environment.STAGING)
    # A running library with a room listed, so each new object's model has an item to hold.
    shared.cache_offers([Lxhf.RoomDetails.new_from_json(json.dumps(ROOM))])

    make_and_drop(WARM_UP)  # types, caches and the allocator's first arenas
    gc.collect()
    dirty_before, anonymous_before = private_bytes()
    make_and_drop(count)
    gc.collect()
    dirty_after, anonymous_after = private_bytes()

    grown = max(dirty_after - dirty_before, anonymous_after - anonymous_before)
    print(f"{count} Lxhf.Sdk objects made and dropped: private dirty {dirty_before / 1024:.0f} -> "
          f"{dirty_after / 1024:.0f} KiB, anonymous {anonymous_before / 1024:.0f} -> {anonymous_after / 1024:.0f} KiB; "
          f"grew {grown / 1024:.0f} KiB (goal: under {LIMIT // 1024} KiB)")
    return 0 if grown < LIMIT else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))

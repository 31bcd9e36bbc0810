#!/usr/bin/python3
"""Settle time of `lxfermo host` against `lxfermo sim` with every "sessions"
and "fermo_offers" answer held 0.1 s: 100 rooms in 10 hotels, from sending
cacheOffers (sent once the host said it was ready) to the offers event in
which every room is available, one batch
at a time and with --max-concurrent-batches 10.
usage: bench/host_settle.py [BUILD_DIR (build)] [RUNS (5)]"""
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time

build = sys.argv[1] if len(sys.argv) > 1 and sys.argv[1] != "--inner" else "build"
runs = int(sys.argv[2]) if len(sys.argv) > 2 and sys.argv[1] != "--inner" else 5
lxfermo = os.path.abspath(os.path.join(build, "tools/lxfermo/lxfermo"))


def room(i):
    hotel = i // 10
    return {
        "userId": "settle",
        "booking": {"stayDates": {"checkIn": "2026-06-12", "checkOut": "2026-06-15"},
                    "guests": {"adults": 2, "children": 0}, "locale": "en_GB", "currency": "EUR",
                    "numberOfRooms": 1},
        "hotel": {"id": f"H-{hotel}", "name": f"Hotel {hotel}", "starRating": "4",
                  "address": {"line": "1 Main Street", "city": "Lisbon", "countryCode": "PT"}},
        "room": {"id": f"R-{i}", "merchantId": "M-1", "name": "Double", "beds": 2, "price": "189.00",
                 "roomType": "double", "cancellationCode": "FREE", "rateCategoryId": "RC-1", "availability": 3,
                 "imageUrl": "https://img.example.com/r.jpg", "priceInclusive": "207.90", "extAttributes": {}},
    }


def drive_host(width, cache):
    """Inside the sim: one host, timed from cacheOffers to every room available."""
    env = os.environ
    host = subprocess.Popen(
        [lxfermo, "host", "--api-base", env["LXHF_API_BASE"], "--ca-file", env["LXHF_CA_FILE"],
         "--cache-dir", cache, "--max-concurrent-batches", str(width)],
        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    # The clock starts once the process is up: loading its libraries is not settling.
    if json.loads(host.stdout.readline()).get("event") != "ready":
        sys.exit("host_settle: lxfermo host did not say it was ready")
    host.stdin.write(json.dumps({"cmd": "configure", "token": "settle", "environment": "staging"}) + "\n")
    host.stdin.flush()
    start = time.monotonic()
    host.stdin.write(json.dumps({"cmd": "cacheOffers", "rooms": [room(i) for i in range(100)]}) + "\n")
    host.stdin.flush()
    for line in host.stdout:
        offers = json.loads(line).get("offers", [])
        if len(offers) == 100 and all("available" in o["state"] for o in offers):
            break
    seconds = time.monotonic() - start
    host.stdin.write('{"cmd":"quit"}\n')
    host.stdin.close()
    host.wait(timeout=30)
    print(seconds)


def settle(width, work, run):
    """One run with a fresh sim and host: (seconds, offers calls, sessions calls)."""
    faults = os.path.join(work, "faults.json")
    with open(faults, "w") as f:
        json.dump({"sessions": {"delay": 0.1}, "fermo_offers": {"delay": 0.1}}, f)
    inner = [sys.executable, os.path.abspath(__file__), "--inner", str(width),
             os.path.join(work, f"cache-{width}-{run}"), build]
    done = subprocess.run([lxfermo, "sim", "--faults", faults, "--"] + inner, check=True, capture_output=True,
                          text=True)
    requests = done.stderr.splitlines()
    return (float(done.stdout.split()[-1]), sum("fermo_offers" in r for r in requests),
            sum("sessions" in r for r in requests))


if __name__ == "__main__" and sys.argv[1:2] == ["--inner"]:
    lxfermo = os.path.abspath(os.path.join(sys.argv[4], "tools/lxfermo/lxfermo"))
    drive_host(int(sys.argv[2]), sys.argv[3])
elif __name__ == "__main__":
    with tempfile.TemporaryDirectory() as work:
        medians = {}
        for width in (1, 10):
            results = [settle(width, work, run) for run in range(runs)]
            medians[width] = statistics.median(r[0] for r in results)
            print(f"max-concurrent-batches {width}: median {1e3 * medians[width]:.0f} ms "
                  f"(runs: {', '.join(f'{1e3 * r[0]:.0f}' for r in results)}); "
                  f"offers calls {sorted(set(r[1] for r in results))}, sessions calls {sorted(set(r[2] for r in results))}")
        print(f"ratio: {medians[10] / medians[1]:.2f}x")

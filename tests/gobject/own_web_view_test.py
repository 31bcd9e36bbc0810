"""Runs the Python own-web-view example under `lxfermo sim --page SCRIPT`
and checks what it printed: the offer's states, then what the page asked of
the view, in order.

usage: lxfermo sim --page SCRIPT -- python3 own_web_view_test.py EXAMPLE SCRIPT
"""

import subprocess
import sys

EXPECTED = {
    "purchase": ["page: ready", "result: purchased", "result: cancelled"],
    "close": ["result: cancelled"],
    "error": ["result: error (Card declined)"],
}

example, script = sys.argv[1:3]
try:
    done = subprocess.run([sys.executable, example], stdout=subprocess.PIPE, text=True, timeout=120)
except subprocess.TimeoutExpired as timeout:
    sys.exit(f"the example never took its page down; it printed:\n{timeout.stdout}")
lines = done.stdout.splitlines()
expected = ["offer: loading", "offer: available"] + EXPECTED[script]
if done.returncode != 0 or lines != expected:
    sys.exit(f"expected {expected} and status 0, got {lines} and status {done.returncode}")
print("own web view example test passed")

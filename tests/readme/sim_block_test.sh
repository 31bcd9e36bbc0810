#!/usr/bin/env bash
# Runs the README's `lxfermo sim` commands as they stand, with `my-app` an
# app that checks it was handed a live service, and lxfermo on PATH.
set -euo pipefail
bin=$1
readme=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
block=$(awk '/^```sh$/ { block = ""; inside = 1; next } /^```$/ { if (inside && block ~ /lxfermo sim/) printf "%s", block; inside = 0; next } inside { block = block $0 "\n" }' "$readme")
[ -n "$block" ] || { echo "the README has no lxfermo sim block"; exit 1; }

cat > "$work/my-app" <<'APP'
#!/usr/bin/python3
"""Stands for the host's app: it connects to the API as the library would."""
import os, socket, ssl, sys, urllib.parse
if sys.argv[1:] not in ([], ["--its-options"]):
    sys.exit(f"my-app: unexpected arguments {sys.argv[1:]}")
for name in ("LXHF_API_BASE", "LXHF_MICROSITE_BASE", "LXHF_INTAKE_URL", "LXHF_CA_FILE", "LXHF_CACHE_DIR"):
    if not os.environ.get(name):
        sys.exit(f"my-app: {name} is not set")
api = urllib.parse.urlsplit(os.environ["LXHF_API_BASE"])
context = ssl.create_default_context(cafile=os.environ["LXHF_CA_FILE"])
with socket.create_connection((api.hostname, api.port), timeout=10) as raw:
    with context.wrap_socket(raw, server_hostname=api.hostname):
        pass
print("my-app reached", api.netloc)
APP
chmod +x "$work/my-app"
cd "$work"
PATH="$bin:$PATH" bash -euo pipefail -c "$block" > out 2> err || { cat out err; exit 1; }
[ "$(grep -c "my-app reached" out)" = 2 ] || { echo "the app did not run twice:"; cat out err; exit 1; }
echo "sim commands passed"

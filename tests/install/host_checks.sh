# What the install and package tests check of an installed tree, sourced
# by both. They set `work`, `source` (this folder) and `prefix`.

step() { echo "-- $*"; }
fail() { echo "$(basename "$0"): $*" >&2; exit 1; }

consumer() { # consumer NAME [cmake args...]: configures and builds the CMake consumer
  local dir=$work/$1; shift
  cmake -S "$source/consumer" -B "$dir" -DCMAKE_PREFIX_PATH="$prefix" "$@" >"$work/configure.log" 2>&1 ||
    { cat "$work/configure.log"; return 1; }
  cmake --build "$dir" >/dev/null
}

pc_dir_without_gtk() { # pc_dir_without_gtk DIR: fills DIR with links to the system's pkg-config files but GTK's and WebKitGTK's
  local dir
  mkdir -p "$1"
  IFS=: read -ra pc_dirs <<<"$(pkg-config --variable pc_path pkg-config)"
  for dir in "${pc_dirs[@]}"; do
    for pc in "$dir"/*.pc; do
      case $(basename "$pc") in gtk4*|webkitgtk-6.0*|javascriptcoregtk-6.0*) continue ;; esac
      [ -e "$pc" ] && [ ! -e "$1/$(basename "$pc")" ] && ln -s "$pc" "$1/"
    done
  done
  return 0
}

typelib_loads() { # typelib_loads LIBDIR: the Python example imports, and Lxhf loads from LIBDIR alone
  GI_TYPELIB_PATH="$1/girepository-1.0" LD_LIBRARY_PATH="$1" \
    /usr/bin/python3 - "$1" "$source/../../examples/python" <<'PY'
import os, sys
libdir, example = sys.argv[1:]
sys.path.insert(0, example)
import fermo_rooms  # noqa: E402
from gi.repository import Lxhf  # noqa: E402
Lxhf.Sdk.get_default()
loaded = {os.path.realpath(line.split()[-1]) for line in open("/proc/self/maps") if "LXHotelsFermo" in line}
outside = [path for path in loaded if os.path.dirname(path) != os.path.realpath(libdir)]
sys.exit(f"libraries loaded from outside {libdir}: {outside}" if outside or not loaded else 0)
PY
}

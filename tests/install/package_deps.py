#!/usr/bin/env python3
"""Checks the Debian packages' dependencies against what their files need.

usage: package_deps.py DEB_FOLDER CORE_PACKAGE...

Every library a packaged ELF file needs must come from the package itself
or from what its Depends pull in (our packages followed through their own
Depends, the others through apt's view of the installed system); no packaged
ELF file may carry a runpath; and what the CORE_PACKAGEs pull in must hold
neither GTK nor WebKitGTK. Prints each package's Depends.
"""
import glob
import os
import re
import subprocess
import sys
import tempfile

GUI = re.compile(r"gtk-?4|webkit|javascriptcore|liblxhotelsfermo-ui|gir1\.2-lxhf")


def run(*args):
    return subprocess.run(args, check=True, capture_output=True, text=True).stdout


def names(depends):
    """Package names in a Depends field, alternatives included."""
    return {re.split(r"[\s(:]", alt.strip())[0] for part in depends.split(",") for alt in part.split("|") if alt.strip()}


def main():
    folder, core = sys.argv[1], sys.argv[2:]
    ours = {}
    for deb in sorted(glob.glob(os.path.join(folder, "*.deb"))):
        ours[run("dpkg-deb", "-f", deb, "Package").strip()] = (deb, run("dpkg-deb", "-f", deb, "Depends").strip())

    system_closure = {}

    def closure(package, seen=None):
        seen = set() if seen is None else seen
        if package in seen:
            return seen
        seen.add(package)
        if package in ours:
            for name in names(ours[package][1]):
                closure(name, seen)
        else:
            if package not in system_closure:
                out = subprocess.run(["apt-cache", "depends", "--recurse", "--installed", "--no-recommends",
                                      "--no-suggests", "--no-conflicts", "--no-breaks", "--no-replaces",
                                      "--no-enhances", package], capture_output=True, text=True).stdout
                system_closure[package] = {line.strip("<> ").split(":")[0] for line in out.splitlines()
                                           if line and not line[0].isspace()}
            seen |= system_closure[package]
        return seen

    providers = {}

    def provider(soname):
        if soname not in providers:
            out = subprocess.run(["dpkg", "-S", "*/" + soname], capture_output=True, text=True).stdout
            providers[soname] = {line.split(":")[0] for line in out.splitlines() if line.endswith("/" + soname)}
        return providers[soname]

    failures = []
    for package, (deb, depends) in ours.items():
        print(f"{package}: Depends: {depends}")
        pulled = closure(package)
        with tempfile.TemporaryDirectory() as root:
            run("dpkg-deb", "-x", deb, root)
            own = {os.path.basename(p) for p in glob.glob(root + "/**", recursive=True)}
            for path in glob.glob(root + "/**", recursive=True):
                if os.path.islink(path) or not os.path.isfile(path):
                    continue
                with open(path, "rb") as f:
                    if f.read(4) != b"\x7fELF":
                        continue
                dynamic = run("readelf", "-d", path)
                shown = path[len(root):]
                if re.search(r"\((RUNPATH|RPATH)\)", dynamic):
                    failures.append(f"{package}: {shown} carries a runpath")
                for soname in re.findall(r"\(NEEDED\)\s+Shared library: \[([^\]]+)\]", dynamic):
                    if soname in own:
                        continue
                    if soname.startswith("libLXHotelsFermo"):
                        # Ours: it must come from one of our packages it depends on.
                        found = {p for p, (d, _) in ours.items() if soname in run("dpkg-deb", "-c", d)}
                    else:
                        found = provider(soname)
                    if not found & pulled:
                        failures.append(f"{package}: {shown} needs {soname} (from {sorted(found) or 'nothing'}),"
                                        " which its Depends do not bring")
    for package in core:
        gui = sorted(p for p in closure(package) if GUI.search(p))
        if gui:
            failures.append(f"{package} pulls in {gui}")
    for failure in failures:
        print("package_deps: " + failure, file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

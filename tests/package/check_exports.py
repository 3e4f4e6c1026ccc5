#!/usr/bin/env python3
"""Checks a built library: it exports names of its namespace, none of its Internal part, and carries the soname.

usage: check_exports.py LIBRARY NAMESPACE SONAME
"""

import re
import subprocess
import sys


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def main(library, namespace, soname):
    of_interface = re.compile(rf"(vtable for |typeinfo for |typeinfo name for )?{namespace}::(?!Internal\b)")
    names = [line.split(None, 2)[2] for line in output_of("nm", "-DC", "--defined-only", library).splitlines()]
    names = [name for name in names if not re.fullmatch(r"(KV(?:MATH|MEASURE)_(?:QT6_)?\d+)(@@\1)?", name)]
    strangers = [name for name in names if not of_interface.match(name)]
    for name in strangers:
        print(f"exported, but not of the interface: {name}")
    interface = len(names) - len(strangers)
    print(f"{interface} names of the interface exported")
    dynamic = output_of("readelf", "-d", library)
    if f"[{soname}]" not in dynamic:
        print(f"the soname is not {soname}:\n{dynamic}")
        return 1
    return 1 if strangers or interface == 0 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

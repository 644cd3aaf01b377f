#!/usr/bin/env python3
"""Compares the classes and functions that the library exports with a list: exported_names.py NM LIBRARY LIST

Ignores the symbols that templates of the C++ standard library add to any program.
"""

import re
import subprocess
import sys

OWN = re.compile(r"common::|tools::|QtLP_Private::|Qt(Local|Single)|QRegExpValidator|operator")
OF_CLASS = re.compile(r"(?:vtable|typeinfo|typeinfo name|VTT|guard variable) for |(?:non-)?virtual thunk to ")


def exported_names(nm, library):
    output = subprocess.run([nm, "-DC", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    names = set()
    for line in output.splitlines():
        symbol = line.split(maxsplit=2)[2]
        name = re.sub(r"\[abi:\w+\]|\(.*", "", OF_CLASS.sub("", symbol))
        if OWN.match(name):
            names.add(name)
    return names


def main(nm, library, expected_file):
    # Leave out the members of classes; the class stands for them.
    names = exported_names(nm, library)
    classes = {name for name in names if any(other.startswith(name + "::") for other in names)}
    exported = {name for name in names if name.rpartition("::")[0] not in classes}
    with open(expected_file, encoding="utf-8") as file:
        expected = set(file.read().split("\n")) - {""}
    for name in sorted(exported - expected):
        print(f"exported, but not in {expected_file}: {name}")
    for name in sorted(expected - exported):
        print(f"not exported any more: {name}")
    return exported != expected


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

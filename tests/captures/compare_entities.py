#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the entities of `trx-ipmi --json entities` with those that `ipmitool -v sdr list all` names, on the same BMC.

usage: compare_entities.py IPMITOOL JSON
"""
import json
import re
import sys

# Where the library's wording is another. ipmitool has names of its own for 40h-42h, which the standard gives to newer editions.
OTHER_WORDS = {0x13: "Power Domain", 0x14: "Power Module (DC-to-DC)", 0x15: "Power Distribution",
               0x40: "Other", 0x41: "Other", 0x42: "Other"}
OTHER_RANGES = {range(0x90, 0xB0): "Chasis Specific", range(0xB0, 0xD0): "Board Set Specific",
                range(0xD0, 0x100): "OEM System Integrator defined"}


def expected(number, name):
    in_range = [words for ids, words in OTHER_RANGES.items() if number in ids]
    return in_range[0] if in_range else OTHER_WORDS.get(number, name)


def flat(entities):
    for entity in entities:
        yield entity
        yield from flat(entity["children"])


def main(ipmitool, listed):
    with open(ipmitool, encoding="utf-8", errors="replace") as f:
        named = {(int(i), int(n) & 0x7F): name for i, n, name in
                 re.findall(r"^ ?Entity ID +: (\d+)\.(\d+) \((.*)\)$", f.read(), re.M)}
    with open(listed, encoding="utf-8") as f:
        entities = {(e["id"], e["instance"]): e for e in flat(json.load(f)["entities"])}
    faults = [f"{key} is {entities[key]['name']!r}, ipmitool says {name!r}" for key, name in named.items()
              if key in entities and entities[key]["name"] != expected(key[0], name)]
    faults += [f"{key} has sensors and is not known to ipmitool" for key, e in entities.items() if e["sensors"] and key not in named]
    print("\n".join(faults + [f"{len(named.keys() & entities.keys())} entities compared, {len(faults)} differences"]))
    return 1 if faults or not named.keys() & entities.keys() else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

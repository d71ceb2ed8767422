#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""compare_monitor.py LOGGED, where its test has left its files: what the monitor told must be what ipmitool lists beyond the first LOGGED records, of the log
before the BMC was lost (first.list) and of that after it (second.list), and its end a clean one that waited for nothing."""
import json
import sys


def new_ids(name, logged):
    with open(f"{name}.list", encoding="ascii") as file:
        return [("event", int(line.split("|")[0], 16)) for line in file][logged:]


def main(logged):
    with open("monitor.txt", encoding="ascii") as file:
        told = [(line["kind"], line.get("record", {}).get("id")) for line in map(json.loads, file) if line["kind"] != "sensor"]
    lists = [new_ids(name, int(logged)) for name in ("first", "second")]
    expected = [("start", None), *lists[0], ("lost", None), ("regained", None), *lists[1], ("end", None)]
    with open("ended", encoding="ascii") as file:
        status, seconds = file.read().split()
    print(f"{sum(map(len, lists))} events told; ended with status {status} after {seconds} s")
    if told == expected and all(len(ids) == 6 for ids in lists) and status == "0" and float(seconds) < 5:
        return 0
    print(f"expected {expected}\ntold     {told}")
    return 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

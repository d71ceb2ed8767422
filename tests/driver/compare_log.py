#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""compare_log.py NAME=RECORDS...: ipmitool and trx-ipmi must agree on an event log as log.sh has them show it, in NAME.*,
and on RECORDS as the number of its records."""
import json
import re
import sys

EVENT = 2
DIRECTIONS = {"Asserted": "Assert", "Deasserted": "Deassert"}
SENSOR = re.compile(r"(.*) #0x([0-9a-f]{2})$")
# Other words for the same. What the firmware says in event data 2 the library leaves out, which is meant.
WORDS = ((" {2,}", " "), ("System Firmware.*", "System Firmware"), ("Watchdog2", "Watchdog 2"),
         ("OS Critical Stop", "OS Stop/Shutdown"))


def plain(caption):
    for pattern, words in WORDS:
        caption = re.sub(pattern, words, caption)
    return caption.strip()


def listed(text):
    """What `ipmitool sel list` says of each record: id, time, and of an event the sensor's number and the caption."""
    for line in text.splitlines():
        cells = [cell.strip() for cell in line.split("|")]
        record = {"id": int(cells[0], 16)}
        if re.match(r"\d\d/\d\d/", cells[1]):
            record["time"] = f"{cells[1]} {cells[2]}"
        if cells[-1] in DIRECTIONS:
            kind, number = SENSOR.match(cells[3]).groups() if SENSOR.match(cells[3]) else (cells[3], "00")
            record["sensor_number"] = int(number, 16)
            record["caption"] = None if kind == "Unknown" else plain(f"{DIRECTIONS[cells[-1]]} + {kind} {cells[4]}")
        yield record


def time_of(iso):
    """A time of trx-ipmi as ipmitool writes it, in a machine whose zone is UTC."""
    if iso is None:
        return "Not Available"
    year, month, day, clock = re.match(r"\d\d(\d\d)-(\d\d)-(\d\d)T([\d:]+)\+00:00$", iso).groups()
    return f"{month}/{day}/{year} {clock} UTC"


def decoded(records):
    for record in records:
        same = {"id": record["id"], "time": time_of(record["time"])} if record["time"] else {"id": record["id"]}
        if record["type"] == EVENT:
            same["sensor_number"] = record["sensor_number"]
            same["caption"] = record["caption"] and plain(record["caption"])
        yield same


def summaries(text, info):
    """What both say of the whole log."""
    theirs = {key.strip(): value.strip() for key, value in (line.split(":", 1) for line in text.splitlines() if ":" in line)}
    own = {"Version": info["version"], "Entries": str(info["entries"]), "Free Space": str(info["free_bytes"]),
           "Overflow": str(info["overflow"]).lower(),
           "Last Add Time": time_of(info["last_addition"]), "Last Del Time": time_of(info["last_erasure"])}
    theirs = {key: value.split()[0] if key in ("Version", "Free Space") else value for key, value in theirs.items() if key in own}
    return theirs, own


def differences(name, count):
    def read(extension):
        with open(f"{name}.{extension}", encoding="ascii") as file:
            return file.read()

    theirs, own = list(listed(read("list"))), list(decoded(json.loads(read("json"))["sel"]))
    pairs = [(len(theirs), len(own)), (count, len(own)), *zip(theirs, own),
             summaries(read("info"), json.loads(read("info.json")))]
    print(f"{name}: {len(own)} records compared")
    return [f"{name}: expected {expected}, trx-ipmi has {found}" for expected, found in pairs if expected != found]


def main(*logs):
    found = [text for log in logs for text in differences(log.split("=")[0], int(log.split("=")[1]))]
    print("\n".join(found[:10]), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

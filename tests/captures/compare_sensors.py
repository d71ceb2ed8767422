#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares `trx-ipmi --json sensors` with `ipmitool sensor list` on the same BMC, sensor by sensor.

usage: compare_sensors.py SDR IPMITOOL JSON [FREEIPMI]
SDR is the repository as `ipmitool sdr dump` wrote it: it tells which record each of ipmitool's lines stands for (it prints one line
per full and compact record, in repository order, a shared record's only once) and which sensors the library leaves out on purpose.
FREEIPMI is what `ipmi-sensors --comma-separated-output` printed: names and readings of the BMC's own sensors are compared with it too.
"""
import collections
import csv
import json
import math
import re
import sys

FULL, COMPACT, EVENT_ONLY = 1, 2, 3
BMC = 0x20
CUBE_ROOT = 11
THRESHOLDS = ("lower_non_recoverable", "lower_critical", "lower_non_critical",
              "upper_non_critical", "upper_critical", "upper_non_recoverable")
LEVELS = {"non-critical": "nc", "critical": "cr", "non-recoverable": "nr", "ok": "ok"}
UNITS = {"unspecified": "", "%": "percent"}

faults = []
compared = collections.Counter()


class Record:
    def __init__(self, data):
        self.data, self.id, self.type, self.number = data, data[0] | data[1] << 8, data[3], None
        if self.type in (FULL, COMPACT, EVENT_ONLY):
            self.owner, self.lun, self.number, self.entity = data[5], data[6] & 3, data[7], data[8]
            self.event_type = data[11 if self.type == EVENT_ONLY else 13]
            start = {FULL: 47, COMPACT: 31, EVENT_ONLY: 16}[self.type]
            # Whether ipmitool prints the id string as a text: it shows the bytes of other encodings as they are.
            self.has_ascii_name = data[start] >> 6 == 3 and data[start + 1:].isascii()
        self.key = self.id, self.number

    def sensors(self):
        """One record per sensor that shares this one; the first is the record itself."""
        yield self
        sharing = {COMPACT: 23, EVENT_ONLY: 12}.get(self.type)
        if sharing is not None and self.data[sharing] & 15 > 1:
            rest = bytearray(self.data)
            rest[sharing] -= 1
            rest[sharing + 1] = rest[sharing + 1] & 0x80 | (rest[sharing + 1] + 1) & 0x7F
            rest[7] = (rest[7] + 1) & 0xFF
            yield from Record(bytes(rest)).sensors()

    def left_out(self):
        """Why the library has no sensor for this record; None when it has one."""
        if self.number is None:
            return "not a sensor record"
        if self.event_type == 1:
            return None
        oem = self.data[13] if self.type == EVENT_ONLY else self.event_type
        if not (2 <= self.event_type <= 0x0C or self.event_type == 0x6F or 0x70 <= oem <= 0x7F):
            return f"record of type {self.type} with event/reading type {self.event_type:02x}h"
        if self.entity == 0x22 or self.type == COMPACT and self.entity == 0:
            return f"discrete sensor of entity {self.entity:02x}h"
        return None


def read_records(path):
    with open(path, "rb") as f:
        data = f.read()
    while len(data) >= 5 and len(data) >= data[4] + 5:
        yield Record(data[:data[4] + 5])
        data = data[data[4] + 5:]


def read_rows(path):
    """ipmitool's lines: name, value, unit, status and the six thresholds from lower non-recoverable up."""
    with open(path, encoding="utf-8", errors="replace") as f:
        return [[cell.strip() for cell in line.rstrip("\n").rsplit("|", 9)] for line in f if line.count("|") >= 9]


def check(good, *what):
    if not good:
        faults.append(" ".join(map(str, what)))
    return good


def same_number(printed, value, last_digit=0.001):
    """Whether the decimals that were printed are those of `value` (ipmitool prints 'na' where there is none)."""
    if printed == "na" or value is None:
        return printed == "na" and value is None
    try:
        return math.isclose(float(printed), value, rel_tol=1e-7, abs_tol=0.51 * last_digit)
    except ValueError:
        return False


def same_states(printed, state):
    """Discrete states: ipmitool prints the two state bytes, the tool the numbers of the asserted ones."""
    if printed == "na":
        return not state
    bits = int(printed[2:4], 16) | int(printed[4:6], 16) << 8
    return bool(state) and [n for n in range(15) if bits >> n & 1] == [int(n) for n in re.findall(r"\d+", state)]


def compare(record, sensor, row):
    check((sensor["owner"], sensor["lun"]) == (record.owner, record.lun), record.key, "address", sensor)
    name, value, unit, status, *thresholds = row
    state, where = sensor["state"], f"record {record.id} '{name}', {row}:"
    check(sensor["name"] and sensor["name"].startswith(name if record.has_ascii_name else ""), where, sensor["name"])
    if unit == "discrete":
        check(sensor["value"] is None and same_states(status, state), where, sensor)
    elif value.startswith("0x"):  # a threshold sensor of a compact record
        check(sensor["raw"] == int(value, 16), where, "raw", sensor["raw"])
    else:
        compared["values"] += value != "na"
        check(same_number(value, sensor["value"]), where, "value", sensor["value"])
        has_rate = record.type == FULL and record.data[20] & 0x38 != 0  # ipmitool knows none
        known = (sensor["unit"].rsplit(" per ", 1)[0] if has_rate else sensor["unit"]).strip()
        check(unit == "" or value == "na" or UNITS.get(unit, unit) == UNITS.get(known, known), where, "unit", known)
        level = LEVELS.get((state or "").split(" ")[-1])
        check(not state if status in ("na", "ns") else level == status, where, "state", state)
        for label, printed in zip(THRESHOLDS, thresholds):
            compared["thresholds"] += printed != "na"
            check(same_number(printed, sensor["thresholds"].get(label)), where, label, sensor["thresholds"])


def compare_freeipmi(record, sensor, rows):
    """Names and readings of the BMC's own sensors; a reading that it does not have counts for nothing."""
    if check(record.id in rows, record.key, "is unknown to FreeIPMI"):
        name, reading = rows[record.id]
        check(not record.has_ascii_name or sensor["name"].startswith(name), record.key, sensor["name"], "FreeIPMI", name)
        # FreeIPMI makes every cube root 0.
        if reading != "N/A" and not (record.type == FULL and record.data[23] & 0x7F == CUBE_ROOT):
            compared["values of FreeIPMI"] += 1
            check(same_number(reading, sensor["value"], 0.01), record.key, "value", sensor["value"], "FreeIPMI", reading)


def main(sdr, ipmitool, listed, freeipmi=None):
    records, rows, known = list(read_records(sdr)), read_rows(ipmitool), {}
    with open(listed, encoding="utf-8") as f:
        every = json.load(f)["sensors"]
    sensors = {(sensor["record_id"], sensor["number"]): sensor for sensor in every}
    check(len(sensors) == len(every), "two sensors of one record and number")
    if freeipmi:
        with open(freeipmi, encoding="latin-1", newline="") as f:
            known = {int(row["ID"]): (row["Name"], row["Reading"]) for row in csv.DictReader(f) if row["ID"]}
    lines = [r for r in records if r.type in (FULL, COMPACT)]
    check(len(lines) == len(rows), "records and lines of ipmitool:", len(lines), len(rows))
    row_of = {record.key: row for record, row in zip(lines, rows)}
    left_out = collections.Counter()
    for record in (sensor for r in records for sensor in r.sensors()):
        reason, sensor, row = record.left_out(), sensors.pop(record.key, None), row_of.get(record.key)
        check((sensor is None) == bool(reason), record.key, "left out:", reason, row)
        if sensor and record.owner == BMC and record.lun != 0:
            reason = "sensor at another LUN of the BMC"  # the library asks the BMC at LUN 0 only, which is meant
        left_out.update([reason] if reason else [])
        if sensor and not reason and row:
            compare(record, sensor, row)
            if freeipmi and record.owner == BMC:
                compare_freeipmi(record, sensor, known)
        elif sensor:
            check(sensor["name"], record.key, "has no name")
    check(not sensors, "sensors without a record:", list(sensors))
    check(compared["values"] and (not freeipmi or compared["values of FreeIPMI"]), "nothing was compared")
    print(*faults, f"left out on purpose: {dict(left_out)}", f"{dict(compared)} compared, {len(faults)} differences", sep="\n")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

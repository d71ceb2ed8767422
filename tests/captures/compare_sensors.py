#!/usr/bin/env python3
"""Compares `trx-ipmi --json sensors` with `ipmitool sensor list` on the same BMC, sensor by sensor.

usage: compare_sensors.py SDR IPMITOOL JSON [FREEIPMI]
SDR is the repository as `ipmitool sdr dump` wrote it: it tells which record each of ipmitool's lines stands for (it prints one line
per full and compact record, in repository order, a shared record's only once) and which sensors the library leaves out on purpose.
FREEIPMI is what `ipmi-sensors --comma-separated-output` printed: names and readings of the BMC's own sensors are compared with it too.
"""
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


class Record:
    def __init__(self, data):
        self.id = data[0] | data[1] << 8
        self.type = data[3]
        self.data = data
        self.number = None
        if self.type in (FULL, COMPACT, EVENT_ONLY):
            self.owner, self.lun, self.number, self.entity = data[5], data[6] & 3, data[7], data[8]
            self.event_type = data[11 if self.type == EVENT_ONLY else 13]
        self.has_rate = self.type == FULL and data[20] & 0x38 != 0

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

    def has_ascii_name(self):
        """Whether ipmitool prints the id string as a text: it shows the bytes of other encodings as they are."""
        start = {FULL: 47, COMPACT: 31, EVENT_ONLY: 16}[self.type]
        return self.data[start] >> 6 == 3 and self.data[start + 1:].isascii()

    def at_lun_of_bmc(self):
        """The library has such a sensor but asks the BMC at LUN 0 only, which is meant."""
        return self.number is not None and self.owner == BMC and self.lun != 0

    def left_out(self):
        """Why the library has no sensor for this record; None when it has one."""
        if self.type not in (FULL, COMPACT, EVENT_ONLY):
            return "not a sensor record"
        if self.event_type == 1:
            return None
        generic = 2 <= self.event_type <= 0x0C or self.event_type == 0x6F
        oem = self.data[13] if self.type == EVENT_ONLY else self.event_type
        if not generic and not 0x70 <= oem <= 0x7F:
            kind = "event-only" if self.type == EVENT_ONLY else "readable"
            return f"{kind} record with event/reading type {self.event_type:02x}h"
        if self.entity == 0x22:
            return "discrete sensor of entity 22h (BIOS)"
        if self.type == COMPACT and self.entity == 0:
            return "compact discrete sensor of entity 00h (unspecified)"
        return None


def read_records(path):
    with open(path, "rb") as f:
        data = f.read()
    records = []
    while len(data) >= 5 and len(data) >= data[4] + 5:
        records.append(Record(data[:data[4] + 5]))
        data = data[data[4] + 5:]
    return records


def read_rows(path):
    """ipmitool's lines: name, value, unit, status and the six thresholds from lower non-recoverable up."""
    with open(path, encoding="utf-8", errors="replace") as f:
        return [[cell.strip() for cell in line.rstrip("\n").rsplit("|", 9)] for line in f if line.count("|") >= 9]


def read_freeipmi(path):
    """ipmi-sensors' lines by record id: name and reading."""
    with open(path, encoding="latin-1", newline="") as f:
        return {int(row["ID"]): (row["Name"], row["Reading"]) for row in csv.DictReader(f) if row["ID"]}


def same_number(printed, value, last_digit=0.001):
    """Whether the decimals that were printed are those of `value` (ipmitool prints 'na' where there is none)."""
    if printed == "na":
        return value is None
    try:
        return value is not None and math.isclose(float(printed), value, rel_tol=1e-7, abs_tol=0.51 * last_digit)
    except ValueError:
        return False


def same_unit(printed, unit, has_rate):
    """ipmitool knows no rates."""
    plain = {"unspecified": "", "%": "percent"}
    unit = unit.rsplit(" per ", 1)[0] if has_rate else unit
    return plain.get(printed, printed) == plain.get(unit.strip(), unit.strip())


def same_states(printed, state):
    """Discrete states: ipmitool prints the two state bytes, the tool the numbers of the asserted ones."""
    if printed == "na":
        return not state
    first, second = int(printed[2:4], 16), int(printed[4:6], 16)
    asserted = [n for n in range(15) if (first | second << 8) >> n & 1]
    return bool(state) and asserted == [int(n) for n in re.findall(r"\d+", state)]


def same_level(printed, state):
    levels = {"non-critical": "nc", "critical": "cr", "non-recoverable": "nr", "ok": "ok"}
    return not state if printed in ("na", "ns") else levels.get((state or "").split(" ")[-1]) == printed


class Comparison:
    def __init__(self, records, rows, sensors):
        self.records = records
        self.rows = rows
        self.sensors = {}
        self.faults = []
        self.exceptions = {}
        self.values = self.thresholds = self.readings = 0
        for sensor in sensors:
            key = (sensor["record_id"], sensor["number"])
            self.check(self.sensors.setdefault(key, sensor) is sensor, "two sensors of one record and number", key)

    def check(self, good, what, *details):
        if not good:
            self.faults.append(" ".join(str(d) for d in (what, *details)))
        return good

    def run(self):
        lines = [r for r in self.records if r.type in (FULL, COMPACT)]
        if not self.check(len(lines) == len(self.rows), "records and lines of ipmitool:", len(lines), len(self.rows)):
            return
        row_of = {(r.id, r.number): row for r, row in zip(lines, self.rows)}
        for record in (sensor for r in self.records for sensor in r.sensors()):
            key = (record.id, record.number)
            reason = record.left_out()
            sensor = self.sensors.pop(key, None)
            if record.at_lun_of_bmc():
                reason, sensor = reason or "sensor at another LUN of the BMC", None
            if reason:
                self.exceptions[reason] = self.exceptions.get(reason, 0) + 1
                self.check(sensor is None, "record", key, "should be left out:", reason)
            elif self.check(sensor is not None, "record", key, "has no sensor:", row_of.get(key)):
                self.compare(record, sensor, row_of.get(key))
        self.check(not self.sensors, "sensors without a record:", list(self.sensors))

    def compare(self, record, sensor, row):
        key = (sensor["owner"], sensor["lun"])
        self.check(key == (record.owner, record.lun), "record", record.id, "address", key)
        if row is None:
            return self.check(sensor["name"], "record", record.id, "has no name")
        name, value, unit, status, *thresholds = row
        where = f"record {record.id} '{name}':"
        expected = name if record.has_ascii_name() else ""
        self.check(sensor["name"] and sensor["name"].startswith(expected), where, "name", repr(sensor["name"]))
        if unit == "discrete":
            self.check(sensor["value"] is None, where, "a discrete sensor with the value", sensor["value"])
            return self.check(same_states(status, sensor["state"]), where, "state", sensor["state"], "ipmitool", status)
        if value.startswith("0x"):  # a threshold sensor of a compact record
            return self.check(sensor["raw"] == int(value, 16), where, "raw", sensor["raw"], "ipmitool", value)
        self.values += value != "na"
        self.check(same_number(value, sensor["value"]), where, "value", sensor["value"], "ipmitool", value)
        self.check(not unit or value == "na" or same_unit(unit, sensor["unit"], record.has_rate), where, "unit", sensor["unit"], "ipmitool", unit)
        self.check(same_level(status, sensor["state"]), where, "state", sensor["state"], "ipmitool", status)
        for label, printed in zip(THRESHOLDS, thresholds):
            self.thresholds += printed != "na"
            limit = sensor["thresholds"].get(label)
            self.check(same_number(printed, limit), where, label, limit, "ipmitool", printed)
        return None


    def compare_freeipmi(self, rows, sensors):
        """Names and readings of the BMC's own sensors; a reading that it does not have counts for nothing."""
        by_record = {(s["record_id"], s["number"]): s for s in sensors}
        for record in (r for r in self.records if r.type in (FULL, COMPACT) and r.owner == BMC):
            sensor = by_record.get((record.id, record.number))
            if sensor is None or not self.check(record.id in rows, "record", record.id, "is unknown to FreeIPMI"):
                continue
            name, reading = rows[record.id]
            where = f"record {record.id} '{name}':"
            if record.has_ascii_name():
                self.check(sensor["name"].startswith(name), where, "name", repr(sensor["name"]), "FreeIPMI", name)
            # FreeIPMI makes every cube root 0.
            if reading != "N/A" and not (record.type == FULL and record.data[23] & 0x7F == CUBE_ROOT):
                self.readings += 1
                self.check(same_number(reading, sensor["value"], 0.01), where, "value", sensor["value"], "FreeIPMI", reading)


def main(sdr, ipmitool, sensors, freeipmi=None):
    with open(sensors, encoding="utf-8") as f:
        listed = json.load(f)["sensors"]
    comparison = Comparison(read_records(sdr), read_rows(ipmitool), listed)
    comparison.run()
    if freeipmi:
        comparison.compare_freeipmi(read_freeipmi(freeipmi), listed)
        comparison.check(comparison.readings, "FreeIPMI has no reading")
    for fault in comparison.faults:
        print(fault)
    for reason, count in sorted(comparison.exceptions.items()):
        print(f"left out on purpose: {count} x {reason}")
    print(f"{len(listed)} sensors, {len(comparison.rows)} lines of ipmitool: {comparison.values} values and "
          f"{comparison.thresholds} thresholds compared"
          f"{f', {comparison.readings} values of FreeIPMI' if freeipmi else ''}, {len(comparison.faults)} differences")
    return 1 if comparison.faults or not comparison.values else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

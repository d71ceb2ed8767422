#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""qemu_records.py IN OUT: a machine's sensor records for QEMU's BMC.

That BMC gives a reading to a sensor 0..19 only where a compact record names it. So each full record of such a sensor gets a compact,
discrete companion with the same number at the end of the repository; both then read the same byte. Sensors of other controllers are
left out: there are none, and ipmitool waits ten seconds for each.
"""
import sys

SENSORS = 20
FULL, COMPACT, EVENT_ONLY = 1, 2, 3
BMC = 0x20
HEADER, TYPE, LENGTH, OWNER, NUMBER, EVENT_TYPE, UNITS, COMPACT_NAME, ID_TYPE_TEXT = 5, 3, 4, 5, 7, 13, 20, 31, 0xC0


def records(data):
    while len(data) >= HEADER and len(data) >= HEADER + data[LENGTH]:
        yield data[:HEADER + data[LENGTH]]
        data = data[HEADER + data[LENGTH]:]


def companion(full, record_id):
    name = b"companion %d" % full[NUMBER]
    record = bytearray(full[:UNITS] + bytes(COMPACT_NAME - UNITS) + bytes([ID_TYPE_TEXT | len(name)]) + name)
    record[0:2] = record_id.to_bytes(2, "little")
    record[TYPE], record[LENGTH] = COMPACT, len(record) - HEADER
    record[EVENT_TYPE], record[UNITS] = 0x6F, 0xC0
    return bytes(record)


def main(source, target):
    with open(source, "rb") as f:
        found = [r for r in records(f.read()) if r[TYPE] > EVENT_ONLY or r[OWNER] == BMC]
    compact = {r[NUMBER] for r in found if r[TYPE] == COMPACT}
    full = {r[NUMBER]: r for r in found if r[TYPE] == FULL and r[NUMBER] < SENSORS and r[NUMBER] not in compact}
    with open(target, "wb") as f:
        f.write(b"".join(found + [companion(r, 0x7000 + number) for number, r in full.items()]))
    print(f"{len(found)} records, {len(full)} companions")


if __name__ == "__main__":
    main(*sys.argv[1:])

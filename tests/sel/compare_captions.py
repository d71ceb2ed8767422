#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the library's captions with what `ipmitool -v sel list` says of the same records.

usage: compare_captions.py TOOL BMCSIM       every kind of event, in a simulated BMC's log
       compare_captions.py TOOL captures     logs of real servers in the folder that TRX_CAPTURES names, each with ipmitool's words
"""
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile

THRESHOLD, LAST_GENERIC, SENSOR_SPECIFIC = 0x01, 0x0C, 0x6F
SYSTEM_EVENT, EVM_REVISION, DEASSERTION, DATA_2_TELLS = 0x02, 4, 0x80, 0xC0
SKIPPED = 77

# The library's own wordings. ipmitool has no names for the types of AdvancedTCA and OEMs.
NAMES = {0x00: "Reserved", 0x0B: "Other Units-based Sensor", 0x0D: "Drive Slot", 0x0F: "System Firmware Error", 0x11: "Watchdog 1",
         0x15: "Module/Board", 0x16: "Microcontroller/Coprocessor", 0x1B: "Cable/Interconnect", 0x20: "OS Stop/Shutdown",
         0x21: "Slot/Connector", 0x23: "Watchdog 2", 0x26: "Monitor ASIC/IC", 0x28: "Management Subsystem Health",
         0xC0: "OEM", 0xF0: "FRU Hot Swap", 0xF1: "IPMB-0 Status", 0xF2: "Module Hot Swap"}
NAMES_BY_OFFSET = {(0x0F, 1): "System Firmware Hang", (0x0F, 2): "System Firmware Progress"}
NAMELESS = {0x2A}  # Session Audit has no rows
LAST_STANDARD_TYPE = 0x2C
WITHOUT_EVENTS = {0x00, 0x01, 0x02, 0x03, 0x04, 0x0A, 0x0B, 0x0E, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1C, 0x26, 0xC0}
TEXTS = {(0x0F, 1): "Memory initialization",  # the library has no text for an unspecified hang
         (0xF1, 3): "IPMB-A enabled, IPMP-B enabled",
         (0xF0, 7): "",  # its row is one of offset 6
         (0x10, 6): "Correctable machine check error logging disabled"}  # in the standard, unknown to ipmitool
# ipmitool reads event data 2 too, the library takes the first text of the offset.
FIRST_TEXTS = {(0x0F, 0): "Unspecified", (0x0F, 2): "Unspecified",
               (0x08, 6): "Config Error: Vendor Mismatch", (0x2B, 1): "Firmware or software change detected",
               (0x2B, 7): "Firmware or software change success"}


def name_of(sensor_type, told):
    if sensor_type in NAMELESS or sensor_type > LAST_STANDARD_TYPE and sensor_type not in NAMES:
        return ""
    return NAMES.get(sensor_type, told["Sensor Type"])


def specific_caption(sensor_type, offset, data, told):
    name = NAMES_BY_OFFSET.get((sensor_type, offset), name_of(sensor_type, told))
    if sensor_type in WITHOUT_EVENTS:
        return name if offset == 0 else ""
    text = TEXTS.get((sensor_type, offset), told["Description"])
    if data[1] != 0 or data[0] & DATA_2_TELLS == 0:
        text = FIRST_TEXTS.get((sensor_type, offset), text)
    return f"{name} {text}" if text else ""


def expected(record, told):
    """The caption that ipmitool's words make."""
    if record[2] not in (0x00, SYSTEM_EVENT) or record[9] < EVM_REVISION:
        return ""
    prefix = {"Assertion Event": "Assert + ", "Deassertion Event": "Deassert + "}[told["Event Direction"]]
    sensor_type, event_type, offset = record[10], record[12] & 0x7F, record[13] & 0x0F
    if THRESHOLD <= event_type <= LAST_GENERIC:
        name = name_of(sensor_type, told)
        return prefix + (name + " " if name else "") + told["Description"]
    if event_type == SENSOR_SPECIFIC:
        return prefix + specific_caption(sensor_type, offset, record[13:], told)
    return ""


def every_event():
    """Generic events for one sensor type, one generic event for all, sensor-specific ones; types that are neither."""
    kinds = [(0x12, t, o) for t in range(0x80) if t != SENSOR_SPECIFIC for o in range(16)]
    kinds += [(s, 0x03, 1) for s in range(256)]
    kinds += [(s, SENSOR_SPECIFIC, o) for s in range(256) for o in range(16)]
    kinds = [(s, t | direction, o) for s, t, o in kinds for direction in (0, DEASSERTION)]
    return b"".join(struct.pack("<HBIHBBBBBBB", n, SYSTEM_EVENT, 0x5E9A1000 + n, 0x20, EVM_REVISION, s, 1, t, o | DATA_2_TELLS, 0, 0)
                    for n, (s, t, o) in enumerate(kinds, 1))


def compare(tool, log, told):
    """@return how many captions differ"""
    data = pathlib.Path(log).read_bytes()
    records = [data[i:i + 16] for i in range(0, len(data), 16)]
    blocks = [dict(re.findall(r"^ (Sensor Type|Event Direction|Description) +: (.*)$", block, re.M))
              for block in told.split("SEL Record ID ")[1:]]
    said = subprocess.run([tool, "--json", "sel", "decode", log], check=True, capture_output=True)
    lines = [record["caption"] or "" for record in json.loads(said.stdout)["sel"]]
    assert records and len(records) == len(blocks) == len(lines), (len(records), len(blocks), len(lines))
    faults = [f"{record.hex(' ')}: {line!r}, ipmitool's words make {words!r}" for record, line, words in
              zip(records, lines, map(expected, records, blocks)) if line != words]
    print("\n".join(faults + [f"{log}: {len(records)} captions compared, {len(faults)} differences"]))
    return len(faults)


def compare_captures(tool):
    logs = sorted(pathlib.Path(os.environ.get("TRX_CAPTURES", ""), "sel").glob("*.bin"))
    if not logs:
        sys.exit(SKIPPED)
    return sum(compare(tool, log, log.with_suffix(".ipmitool.txt").read_text(encoding="utf-8")) for log in logs)


def compare_every_event(tool, bmcsim):
    if not shutil.which("ipmitool"):
        sys.exit(SKIPPED)
    with tempfile.TemporaryDirectory() as folder:
        log = pathlib.Path(folder, "log.bin")
        log.write_bytes(every_event())
        told = subprocess.run([bmcsim, "exec", "--sel", log, "--", "ipmitool", "-I", "open", "-v", "sel", "list"],
                              check=True, capture_output=True, text=True)
        return compare(tool, log, told.stdout)


if __name__ == "__main__":
    program, source = sys.argv[1:]
    sys.exit(1 if (compare_captures(program) if source == "captures" else compare_every_event(program, source)) else 0)

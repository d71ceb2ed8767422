#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""compare_fru.py OUR.json IPMITOOL.txt [IPMI-FRU.txt]: what `trx-ipmi --json fru` and other programs say of the same BMC's inventory,
`ipmitool -v fru print` and `ipmi-fru --bridge-fru --verbose`. Values are compared by their names, those of one name in their order."""
import collections
import datetime
import json
import re
import sys

FEWEST = 100  # values that each of the others must say
TOOL, FREE = "ipmitool", "ipmi-fru"
HEAD = r"^FRU (?:Device Description|Inventory Device) ?: (.*?) *(?:\(ID \w+\))?"
# What is one line of theirs and several values of ours.
SPLIT = ((r"Input (\w+) Range( .|): (\d+)-(\d+)( \w+)", r"Low End Input \1 Range\2: \3\5\nHigh End Input \1 Range\2: \4\5"),
         (r"Combined capacity: (.*) \((.*) and (.*)\)", r"Total Combined Wattage: \1\nVoltage 1: \2\nVoltage 2: \3"),
         (r"Flags: (.*)", lambda line: line[1].strip("'").replace("' '", ": Yes\n") + ": Yes"),
         (r"(Predictive Fail: Tach output, )?two pulses per rotation.*", "Tachometer Pulses per Rotation: 2"))
# Their names for ours, where these are not the same but for the case.
NAMES = {
    "Board Mfg": "Board Manufacturer", "Board Mfg Date": "Mfg. Date / Time", "Board Product": "Board Product Name",
    "Board Manufacturing Date/Time": "Mfg. Date / Time", "Product Manufacturer": "Manufacturer Name",
    "Product Manufacturer Name": "Manufacturer Name", "Product Part Number": "Product Part/Model Number", "Product Asset Tag": "Asset Tag",
    "Board Language": "Language Code", "Product Language": "Language Code", "Min voltage allowed": "Specified Minimum Voltage",
    "Max voltage allowed": "Specified Maximum Voltage", "Max negative deviation": "Maximum Negative Voltage Deviation",
    "Max positive deviation": "Maximum Positive Voltage Deviation", "Standby power": "Standby", "Output on Standy": "Standby",
    "Capacity": "Overall Capacity", "Max Inrush Current": "Inrush Current", "Low End Acceptable Frequency": "Low End Input Frequency Range",
    "High End Acceptable Frequency": "High End Input Frequency Range", "Peak capacity holdup": "Hold-up Time",
    "Hold Up Time": "Hold-up Time", "Fan lower threshold": "Predictive Fail Tachometer Lower Threshold", "AutoSwitch Supprt": "Autoswitch",
    "Autoswitch voltage": "Autoswitch", "Hot swap": "Hot Swap Support", "Predictive fail": "Predictive Fail Support",
    "Power Factor Correction Supported": "Power Factor Correction", "Voltage 1": "Combined Wattage Voltage 1",
    "Voltage 2": "Combined Wattage Voltage 2", "Specified Ripple and Noise pk-pk": "Ripple and Noise pk-pk",
    **{f"{area} {word}": name for area in ("Chassis", "Board", "Product") for word, name in (
        ("Serial", f"{area} Serial Number"), ("Extra", "Custom Field"), ("Custom Info", "Custom Field"), ("FRU ID", "FRU File ID"))},
    **{f"{end} End Input Voltage {n}": f"{end} End Input Voltage Range {n}" for end in ("Low", "High") for n in (1, 2)}}
NAMES = {theirs.lower(): ours.lower() for theirs, ours in NAMES.items()}
DEVICES = {"Builtin FRU Device": "Mainboard",  # ipmitool's name for the BMC's own
           "Node MC": "Node Board"}  # a satellite's device 0 is shown for its controller's record; by ipmitool for both records
LANGUAGES = {"en": "English", "ja": "Japanese"}
# Known differences: who, of which values, what it says instead (None: nothing), why. The values are fields with their `area` or record.
KNOWN = (
    (TOOL, lambda f: f["encoding"] == "unicode", lambda f: f["value"].encode("utf-16-le").split(b"\0")[0].decode("latin-1"),
     "prints two bytes a character as they are, up to a zero"),
    (TOOL, lambda f: f["name"] == "Language Code" or f["area"] in ("internal", "Management Access Record", "OEM"), lambda f: None,
     "does not show them"),
    (FREE, lambda f: f["area"] == "internal" or "Tachometer Lower" in f["name"], lambda f: None, "does not show them"),
    (FREE, lambda f: not f["checksum_ok"], lambda f: None, "does not show areas with a wrong checksum"),
    (FREE, lambda f: f["encoding"] == "bcd-plus", lambda f: "Error 'FRU invalid BCD encoding'", "takes its four bits for eight"),
    (FREE, lambda f: f["encoding"] == "unicode", lambda f: "Error 'FRU language code not supported'", "knows English only"))
NO_VALUE = ("Unspecified", "01/01/96 - 00:00:00", "product info area checksum invalid")  # lines that stand for no value


def theirs(text):
    """Of each device, by our name: its values by our names, in lower case."""
    for head, block in re.findall(HEAD + r"\n((?:(?!FRU ).*\n)*)", text, re.M):
        block = re.sub(" *: ", ": ", block.replace("Spec'd", "Specified"))
        block = re.sub(r"^ +(FRU (?=.*:))?((DC Load|DC Output|Power Supply|Management Access|OEM) (?=.*:))?", "", block, flags=re.M)
        for pattern, lines in SPLIT:
            block = re.sub("^" + pattern + "$", lines, block, flags=re.M | re.I)
        values = collections.defaultdict(list)
        for name, value in re.findall(r"^(.+?): (.*)$", block, re.M):
            if value not in NO_VALUE:
                values[NAMES.get(name.lower(), name.lower())].append(value)
        yield DEVICES.get(head, head), values


def same(field, said):
    value, kind = field["value"], field["encoding"]
    if kind == "number":
        number, unit = re.match(r"(-?[\d.]+) ?(\w*)", said).groups()
        milli = unit != field["unit"] and unit in ("mV", "mA")
        return abs(float(number) / (1000 if milli else 1) - value) < 1e-6 and field["unit"] == {"Watts": "W", "Amps": "A"}.get(
            unit, unit[milli:])
    if kind == "time":
        form = "%m/%d/%y - %H:%M:%S" if "/" in said else "%a %b %d %H:%M:%S %Y UTC"
        return datetime.datetime.strptime(said, form).isoformat() + "Z" == value
    if kind == "flag":
        return said == ("Yes" if value else "No")
    if kind == "binary":
        return re.sub(r"h\b ?", "", said).lower() == value
    if field["name"] == "Manufacturer ID":
        return f"({field['code']:X}h)" in said
    return said.rstrip() == LANGUAGES.get(value, value).rstrip()


def compare(who, device, values, seen):
    """What they do not say the same of. Ours without a value are left out by all."""
    expected, wrong = collections.defaultdict(list), []
    for part in device["areas"] + device["records"]:
        for field in part["fields"]:
            field = {**field, "area": part.get("kind", part.get("name")), "checksum_ok": part["checksum_ok"]}
            known = next(((say(field), why) for program, fits, say, why in KNOWN if program == who and fits(field)), None)
            seen[known[1] if known else "agreed"] += field["value"] != ""
            if field["value"] != "" and (not known or known[0] is not None):
                name = re.sub(r"(custom field) \d+", r"\1", field["name"].lower())
                expected[NAMES.get(name, name)].append((field, known))
    for name in sorted(expected.keys() | values.keys()):
        ours, others = expected.get(name, []), values.get(name, [])
        if len(ours) != len(others) or not all(said == known[0] if known else same(field, said)
                                               for (field, known), said in zip(ours, others)):
            wrong.append(f"{who}: {device['name']}, {name}: {others}, trx-ipmi {[field['value'] for field, _ in ours]}")
    return wrong


def main(source, *texts):
    with open(source, encoding="ascii") as file:
        devices = {device["name"]: device for device in json.load(file)["fru"]}
    # Memory modules' own data and a private bus are not asked, which is meant.
    asked, wrong = {name for name, device in devices.items() if not (device["error"] or "").startswith("not asked")}, []
    for who, path in zip((TOOL, FREE), texts):
        with open(path, encoding="latin-1") as file:
            blocks, seen = list(theirs(file.read())), collections.Counter()
        wrong += [f"{who} says nothing of {name}" for name in asked - {name for name, _ in blocks}]
        wrong += [f"only {who} has {name}" for name, _ in blocks if name not in devices]
        wrong += [text for name, values in blocks if name in asked for text in compare(who, devices[name], values, seen)]
        wrong += [f"{who}: only {seen['agreed']} values compared"] if seen["agreed"] < FEWEST else []
        print(f"{who}: {seen.pop('agreed')} values compared; known differences:", *(f"{why} ({count});" for why, count in seen.items()))
    print("\n".join(wrong), end="\n" if wrong else "")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

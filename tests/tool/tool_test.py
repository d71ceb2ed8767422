#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""tool_test.py TRX-IPMI TRX-BMCSIM: the tool's command lines, output and exit statuses, on the sample machine, whose
satellites answer at once here."""
import json
import os
import pathlib
import pty
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import termios
import unittest

TOOL, SIM = sys.argv[1:3]
SAMPLE = pathlib.Path(__file__).resolve().parents[2] / "sim" / "machines" / "sample.json"


def part(found, wanted):
    """What is `found` where `wanted` has something; lists by their entries' names, ids or kinds."""
    if not isinstance(wanted, dict):
        return round(found, 2) if isinstance(found, float) else found
    if isinstance(found, list):
        found = {next(entry[key] for key in ("name", "id", "kind") if key in entry): entry for entry in found}
    return {key: part(found[key], value) for key, value in wanted.items()}


def run(*args, sim=None, text=True, **more):
    """Runs the tool; `sim`: options of `trx-bmcsim exec`, to run it on a simulated BMC other than --sim's."""
    command = [TOOL, *args] if sim is None else [SIM, "exec", *sim, "--", TOOL, *args]
    return subprocess.run(command, capture_output=True, text=text, timeout=120, check=False, **more)


def event(number, time, sensor, what, data, generator=0x20, revision=4):
    """A record of the event log; sensor: type and number; what: event type, with bit 7 for deassertions."""
    return struct.pack("<HBIHB3B", number, 2, time, generator, revision, *sensor, what) + bytes(data)


def split(repository):
    """Its records, one by one."""
    while repository:
        yield repository[:5 + repository[4]]
        repository = repository[5 + repository[4]:]


class ToolTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        machine = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()), "machine.json")
        machine.write_text(re.sub(r', "latency_ms": \d+', "", SAMPLE.read_text(encoding="utf-8")), encoding="utf-8")
        cls.machine, cls.sim = ["--machine", machine], f"--sim={machine}"

    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        self.path = pathlib.Path(self.folder, "sdr.bin")

    def check(self, args, out="", err=r"\A\Z", status=0, **more):
        """One run: its exit status; its error, which is one line; patterns that its output has, or facts of its JSON. Its output."""
        with self.subTest(args=args[:6], **more):
            result = run(*args, **more)
            self.assertEqual(result.returncode, status, result.stderr)
            self.assertRegex(result.stderr, err)
            self.assertRegex(result.stderr, r"\A(trx-(ipmi|bmcsim): [^\n]*\n)?\Z")
            if status == 2 and out == "":
                self.assertEqual((result.stdout, result.stderr == ""), ("", False))
            if isinstance(out, dict):
                found = json.loads(result.stdout)
                self.assertEqual(part(found, out), out)
                return found
            for pattern in [out] if isinstance(out, str) else out:
                self.assertRegex(result.stdout, re.compile(pattern, re.M))
            return result.stdout

    def written(self, name, content):
        path = pathlib.Path(self.folder, name)
        path.write_text(json.dumps(content), encoding="utf-8")
        return path

    def faults(self, *rules):
        return [*self.machine, "--faults", self.written("faults.json", {"faults": rules})]

    def json(self, *args):
        return self.check([self.sim, "--json", *args], {})

    def tree(self, entities=None, parent=None):
        """Of each entity: what it is, the one that it is in, and its sensors."""
        for entity in self.json("entities")["entities"] if entities is None else entities:
            place = entity["id"], entity["instance"], entity["name"]
            yield place, parent, entity["sensors"]
            yield from self.tree(entity["children"], place)

    def test_mistakes(self):
        missing = os.path.join(self.folder, "missing")
        rows = [
            ([], "no verb"), (["sdr"], "no verb"), (["sensors", "info"], "not expected: info"), (["--node", "one", "info"], "one"),
            (["sensors", "--bad"], "not expected: --bad"), (["--node", "4", "info"], "4 not in range"),
            (["--sim", "--node=1", "info"], "node 0 only"), (["raw", "6"], "At least 2"), (["raw", "\033[1m", "1"], r'"\?\[1m" is no byte'),
            (["raw", "7", "1"], "0x07 is no request"), (["raw", "0x40", "1"], "0x40 is no request"),
            (["raw", "6", "1"] + ["0"] * 256, "at most 255"), (["sdr", "dump"], "FILE is required"),
            (["sdr", "dump", self.folder], "cannot write .*: Is a directory"), (["--sim", "sdr", "dump", "/dev/full"], "full: No space"),
            (["sensors", "--count", "2"], "--count requires --watch"), (["sensors", "--watch", "1", "--verbose"], "excludes --watch"),
            (["sensors", "--watch", "1", "--count", "0"], "0 not in range"), (["monitor", "--interval", "0"], "give 0.1 to"),
            *((["sensors", "--watch", seconds], "give 0.1 to 86400 seconds") for seconds in ("nan", "0", "1e9", "x")),
            ([self.sim, "sensors", "--type", "\033"], r'no sensor of type "\?" here: there are .*Fan, .*Voltage'),
            *(([self.sim, "sensors", "--entity", entity], r"no entity .* here: there are .*System Board 1 \(7\.1\), ")
              for entity in ("7.99", "7.1.1", "0x100", "\033")),
            (["--sim=no-such-machine", "sensors"], "no-such-machine"),  # the simulator's own line
            *((["sel", "--last", number], "--last|not in range") for number in ("0", "65536", "x")),
            *((["sel", "--since", time], "is no time: give") for time in ("2024", "\033")),
            *((["sel", "--delete", number], "no record id") for number in ("0", "65535", "-1")),
            (["sel", "--clear"], "no terminal to ask on: give --yes"), (["sel", "--yes"], "--yes requires --clear"),
            (["sel", "--clear", "--yes", "--last", "5"], "--last excludes --clear"), (["sel", "--delete", "5", "--clear"], "excludes"),
            (["sel", "info", "--last", "5"], "--last does not go"), (["sel", "decode", missing], "cannot read .*: No such file"),
            (["sel", "decode", missing, "--clear", "--yes"], "--clear does not go with sel decode"),
            (["sel", "decode", "/dev/zero"], "too long"), (["sel", "decode", "/proc/self/comm"], "no saved log: its 9 bytes"),
            (["sel", "--save", missing + "/file"], "cannot write .*: No such file"), (["sel", "--interval", "3"], "--follow"),
            *((["monitor", "--nodes", nodes], "are no nodes") for nodes in ("", "4", "2-1", "0,", "-1", "0-9", "x", "\033")),
            (["monitor", "--nodes", "0", "--node", "0"], "--nodes excludes --node"), (["sel", "info", "--follow"], "does not go with"),
            ([self.sim, "monitor", "--nodes", "0-1"], "no BMC driver at /dev/ipmi1"),
            *((["sel", "--follow", *other], "excludes") for other in (["--last", "3"], ["--clear", "--yes"], ["--save", "f"])),
            *((args, "no BMC driver at /dev/ipmi[03]: load it") for args in (["--json", "info"], ["--node=3", "sdr", "dump", self.path])
              if not os.path.exists("/dev/ipmi0")),
        ]
        rows += [
            (["fru", "decode"], "FILE is required"), (["fru", "decode", missing], "cannot read .*: No such file"),
            (["fru", "decode", "/dev/zero"], "too long"),
            (["fru", "decode", "/dev/null"], "no FRU image: too short for a common header: 0"),
            (["fru", "decode", "/proc/self/cmdline"], "no FRU image: unknown format"),
            (["fru", "decode", missing, "--dump", self.path], "--dump does not go with fru decode"),
            (["fru", "1", "decode", missing], "does not go with fru decode"),
            (["fru", "1", "2"], "not expected: 2"), (["fru", "--dump", missing + "/file"], "cannot write .*: No such file"),
            *(([self.sim, "fru", *option, name], r"no FRU device .* here: there are Mainboard \(FRU 0\), ")
              for name in ("\033", "0x100", "Main") for option in ([], ["--dump", self.path])),
            ([self.sim, "fru", "0", "--dump", self.path], r"name one of .*: Mainboard \(FRU 0\), Node Board \(FRU 0\)$"),
            ([self.sim, "fru", "Riser EEPROM", "--dump", self.path], r"Riser EEPROM \(0xa4\): not asked: .* private bus 1"),
        ]
        for args, pattern in rows:
            self.check(args, err=pattern, status=2)
        self.assertEqual(os.listdir(self.folder), [])

    def test_sim_without_simulator(self):
        alone = os.path.join(self.folder, "trx-ipmi")
        shutil.copy(TOOL, alone)
        environment = {"PATH": self.folder, "LD_LIBRARY_PATH": os.path.join(os.path.dirname(TOOL), "..", "lib")}
        result = subprocess.run([alone, "--sim", "info"], capture_output=True, text=True, env=environment, check=False)
        self.assertEqual((result.returncode, result.stderr.count("\n")), (2, 1))
        self.assertRegex(result.stderr, "--sim needs trx-bmcsim")

    def test_answers(self):
        refused = {"netfn": 6, "cmd": 0x66, "data": [], "completion_code": 0xc1, "completion": "invalid command",
                   "answer": [], "maybe_cut": False}
        for args, out, *error in (
                (["--sim", "raw", "6", "1"], r"\A20 01 02 17 02 9f d9 7e 00 34 12 01 02 03 04\n\Z"),
                (["raw", "0x06", "0X1", "--sim=sample"], r"\A20 01 "),
                (["--sim", "raw", "6", "0x66"], r"\A\Z", "0x66 of network function 0x06: completion code 0xc1, inv", 1),
                (["--sim", "--json", "raw", "6", "0x66"], refused, r"\A\Z", 1),
                (["--sim", "raw", "10", "0x23", "0", "0", "1", "0", "0", "40"], r"\A([0-9a-f]{2} ){30}[0-9a-f]{2}\n\Z",
                 "have been more of it"),
                (["--sim", "info", "--json"], {"manufacturer_id": 32473, "product_id": 4660, "self_test_code": 0x5500}),
                (["--sim", "info"], r"Firmware +2\.17$"), (["--help"], "Examples:"), (["raw", "--help"], "NETFN CMD"),
                (["--version"], r"\Atrx-ipmi \d+\.\d+\.\d+\n\Z")):
            self.check(args, out, *error)
        result = self.shell("$T info >/dev/full")
        self.assertEqual((result.returncode, "cannot write to standard output: No space" in result.stderr), (2, True))

    def test_sensors(self):
        plain, verbose = (self.json("sensors", *option)["sensors"] for option in ((), ("--verbose",)))
        for sensor, more in zip(plain, verbose, strict=True):
            with self.subTest(name=sensor["name"]):
                keys = ["name", "number", "owner", "lun", "record_id", "type", "value", "unit", "raw", "state", "thresholds", "type_code",
                        "entity", "age_ms"]
                self.assertEqual((list(sensor), list(more)[:len(keys)]), (keys, keys))
                self.assertNotIn("inity", json.dumps(more))
                self.assertEqual(len(bytes.fromhex(more["record"])), more["record_length"])
                if sensor["raw"] is None:
                    self.assertEqual((sensor["value"], sensor["state"]), (None, None))
        place = {(s["owner"], s["lun"], s["number"]): s for s in plain}
        self.assertEqual((list(place), len({s["name"] for s in plain})), (sorted(place), len(plain)))
        for record in json.loads(re.sub(r"(?m)^\s*//.*", "", SAMPLE.read_text(encoding="utf-8")))["sdr"]:
            sensor = place.get((int(str(record.get("owner", 32)), 0), record.get("lun", 0), record.get("number")))
            if sensor is None or record.get("kind", "full") != "full":
                continue
            # lower_non_critical is lnc there
            found = {re.sub("_?([a-z])[a-z]*", r"\1", name): number for name, number in sensor["thresholds"].items()} 
            found["value"] = sensor["value"]
            for name, wanted in {**record.get("thresholds", {}), "value": record.get("value")}.items():
                with self.subTest(sensor=record["name"], number=name):
                    self.assertTrue(sensor["name"].startswith(record["name"]))
                    if isinstance(wanted, (int, float)) and found.get(name) is not None:
                        self.assertAlmostEqual(found[name], wanted, delta=abs(wanted) * 0.01 + 0.02)
        self.check([self.sim, "--json", "sensors", "--verbose"], {"sensors": {
            "12V": {"unit": "Volts", "entity_parent": None, "nominal": 11.97, "hysteresis": {"positive": 2, "negative": 2}},
            "VCORE": {"m": 98, "b": 5, "b_exponent": 2, "result_exponent": -4, "tolerance": 0.5, "accuracy": 20.0,
                      "threshold_access": {"code": 1, "name": "readable"},
                      "entity_parent": {"id": 7, "instance": 1, "name": "System Board"}},
            "\u6e29\u5ea6\u8a08": {"number": 56, "unit": "degrees C"},
            "GPU Temp": {"value": None, "readable_thresholds": ["upper non-critical", "upper critical"]},
            "CPU Status": {"asserted": ["Presence detected"], "event_type": {"code": 0x6f, "name": "sensor-discrete"}},
            "Lin cube": {"linearization": {"code": 9, "name": "cube"}},
            "OEM State": {"value": None, "unit": "", "state": "0,14", "asserted": ["offset 0", "offset 14"]},
            "OS Critical": {"owner": 0x41, "record_type": {"code": 3, "name": "event-only sensor"}}}})
        text = self.check([self.sim, "sensors"], (
            r"\AOWNER +NUM +NAME +TYPE +VALUE +STATE +LNR +LCR +LNC +UNC +UCR +UNR$",
            r"^0x20/0  0x01  Inlet Temp +Temperature +-?\d+ degrees C +ok +- +-5 +0 +38 +42 +-$",
            r"^0x20/0  0x03  Fan 2 +Fan +480 RPM +lower critical +- +600 +900 +- +- +-$",
            r"^0x20/0  0x04  12V +Voltage +12\.096 Volts +ok +10\.206 +10\.773 +- +- +13\.230 +13\.797$",
            r"^0x20/0  0x06  VNEG12 +Voltage +-11\.98 Volts +ok +- +-13\.18 +- +- +-10\.78 +-$",
            r"^0x20/0  0x39  GPU Temp +Temperature +- +- +- +- +- +85 +95 +-$",
            r"^0x20/0  0x42  OEM State +OEM Reserved #c0 +- +0,14 +-"))
        self.assertEqual(len(text.splitlines()), len(plain) + 1)
        self.assertNotRegex(text, r"(?m) $")
        self.check([self.sim, "sensors", "--verbose"], (
            rf"\A{plain[0]['name']}$", r"^  entity parent  +System Board 1 \(7\.1\)$",
            r"^  upper critical  +13\.230 Volts$", r"^  flags  +init scanning, init events, ", r"^  age ms  +\d+$"))

    def test_entities(self):
        """Every sensor is there once, beneath its entity; what is inside another one is beneath that."""
        tree = list(self.tree())
        found = [(sensor["name"], place) for place, _, sensors in tree for sensor in sensors]
        sensors = self.json("sensors")["sensors"]
        self.assertEqual(sorted(found), sorted((s["name"], tuple(s["entity"].values())) for s in sensors))
        holders = [bool(entity["children"]) for entity in self.json("entities")["entities"]]
        self.assertEqual(holders, sorted(holders, reverse=True), "what contains others comes first")
        parents = {place[:2]: parent and parent[:2] for place, parent, _ in tree}
        self.assertEqual(len(parents), len(tree), "every entity is there once")
        for key, parent in (((7, 1), None), ((3, 1), (7, 1)), ((8, 1), (7, 1)), ((32, 3), (8, 1)), ((55, 1), None)):
            self.assertEqual(parents[key], parent, key)
        for locale, inner, last in (("C.UTF-8", "├─ ", "└─ "), ("C", "|- ", "`- ")):
            text = run(self.sim, "entities", env={**os.environ, "LC_ALL": locale}).stdout
            self.assertEqual(len(text.splitlines()), len(found) + len(tree))
            self.assertRegex(text, rf"(?m)^System Board 1 \(7\.1\)\n{re.escape(inner)}12V +[0-9.]+ Volts +ok$")
            self.assertIn(last, text)

    def test_entities_in_a_ring(self):
        """Containers inside each other without end: every one is there once."""
        for order in (range(1, 100), range(99, 0, -1)):
            records = [struct.pack("<H2B", i, 0x51, 8) + bytes([11, 7, i, 0, 7, i % 99 + 1] + [0] * 6) for i in order]
            self.path.write_bytes(b"".join(records))
            text = run("entities", sim=[*self.machine, "--sdr", self.path]).stdout
            self.assertEqual(sorted(re.findall(r"(?m)\(7\.(\d+)\)$", text)), sorted(str(i) for i in range(1, 100)))
            self.assertLessEqual(max(line.find("System Board") for line in text.splitlines()), 3 * 16)

    def test_selection(self):
        everything = self.json("sensors")["sensors"]
        memory = [place[:2] for place, parent, _ in self.tree() if (8, 1) in (place[:2], parent and parent[:2])]
        rows = [
            (["--type", "fan"], lambda s, e: s["type"] == "Fan"),
            (["--type", "0x01"], lambda s, e: s["type_code"] == 1),
            (["--type", "7"], lambda s, e: s["type_code"] == 7), (["--entity", "10.1"], lambda s, e: e == (10, 1)),
            *((["--entity", name], lambda s, e: e in memory) for name in ("8.1", "MEMORY module 1", "0x08.0x01")),
            *((["--entity", name], lambda s, e: e[0] == 29) for name in ("29", "0x1d", "fan DEVICE")),
            (["--entity", "10", "--type", "Memory"], lambda s, e: False),
            (["--entity", "8.1", "--type", "Memory"], lambda s, e: e in memory and s["type_code"] == 12),
        ]
        for args, wanted in rows:
            with self.subTest(args=args):
                names = [s["name"] for s in everything if wanted(s, (s["entity"]["id"], s["entity"]["instance"]))]
                self.assertEqual([s["name"] for s in self.json("sensors", *args)["sensors"]], names)
        self.assertEqual(len(run(self.sim, "sensors", *args).stdout.splitlines()), 1 + len(names))

    def test_sdr_list(self):
        dump = self.json("sdr", "dump", self.path)
        records = self.json("sdr", "list")["records"]
        content = list(split(self.path.read_bytes()))
        self.assertEqual(dump, {"file": str(self.path), "records": len(content), "bytes": sum(map(len, content))})
        for record, stored in zip(records, content, strict=True):
            facts = [record[key] for key in ("record_id", "record_type", "length")]
            self.assertEqual(facts, [stored[0] | stored[1] << 8, stored[3], len(stored)])
            if record["record_type"] in (1, 2, 3):
                self.assertEqual((record["owner"], record["number"]), (stored[5], stored[7]))
        text = self.check([self.sim, "sdr", "list"], [r"^0x[0-9a-f]{4}  " + line for line in (
            r"full sensor +\d+  0x20/0 0x04  7\.1 +12V", r"compact sensor +\d+  0x20/0 0x0e  32\.\d+ +DIMM",
            r"FRU device locator +\d+  0x20 FRU 1   10\.1 +PSU FRU", r"device locator +\d+  0x6e +7\.1 +FPGA",
            r"controller locator +\d+  0x82 +\d+\.\d+ +Node MC", r"OEM +\d+  - +- +d9 7e 00 01 02",
            r"entity association +16  - +8\.1 +contains 32\.1 to 32\.\d+",
            r"device entity association +32  0x20 +23\.1 +contains 29\.97$")])
        self.assertEqual(len(text.splitlines()), len(records) + 1)

    def test_cut_records(self):
        """Records of every kind that end at any byte: shown as far as they go."""
        subprocess.run([SIM, "sdr", "--machine", "sample", self.path], check=True)
        cut = b""
        for record in {record[3]: record for record in split(self.path.read_bytes())}.values():
            for size in range(5, len(record)):
                number = len(cut) % 0xfff0 + 1
                cut += struct.pack("<H", number) + record[2:4] + bytes([size - 5]) + record[5:size]
        self.path.write_bytes(cut)
        for args in (["sdr", "list"], ["sensors", "--verbose"], ["entities"]):
            for form in ([], ["--json"]):
                self.check([*form, *args], sim=[*self.machine, "--sdr", self.path])

    def test_watch(self):
        rule = {"netfn": 4, "cmd": 0x2d, "address": 0x20, "data": "02", "from": 2, "completion_code": 0xce}  # Fan 1
        watch = ["sensors", "--watch=0.1", "--count=3"]
        result = run("--json", *watch, sim=self.faults(rule))
        passes = [json.loads(line) for line in result.stdout.splitlines()]
        self.assertEqual([p["pass"] for p in passes], [1, 2, 3])
        first, last = ({s["name"]: s for s in p["sensors"]}["Fan 1"] for p in (passes[0], passes[2]))
        self.assertEqual((first["unit"], first["value"] is None, last["value"]), ("RPM", False, None))
        self.assertGreater(last["age_ms"], 100)
        text = run(*watch, sim=self.faults(rule)).stdout.split("\n\n")
        self.assertRegex(text[2], r"(?m)^0x20/0  0x02  Fan 1  .* [0-9]+ s$")
        result = run(self.sim, *watch, "--entity=29.1", env={**os.environ, "LC_ALL": "C"})
        self.assertRegex(result.stdout, r"pass 3\nNUM  .*HISTORY.*\n0x02  Fan 1  .*  ok  .*  [_.:=+*#-]{3}( .*)?\n")

    def test_watch_on_terminal(self):
        when = [(rb"pass 3", lambda fd: termios.tcsetwinsize(fd, (6, 80))),
                (rb"pass 5[^\0]*\033\[J", lambda fd: os.write(fd, b"\3"))]
        text, status = self.on_terminal({"LC_ALL": "C.UTF-8", "TERM": "xterm", "NO_COLOR": "1"}, self.sim, "sensors",
                                        "--watch=0.1", rows=8, when=when)
        self.assertEqual(status, 0)
        text = text.replace("^C", "")  # as the terminal echoes it, somewhere
        self.assertRegex(text, r"\A(\r\n){8}\033\[\?25l\033\[H[^\0]*\033\[J\033\[\?25h\r\n\Z")
        frames = [frame.split("\r\n") for frame in text.split("\033[H")[1:]]
        for frame, lines in ((frames[0], 8), (frames[-1], 6)):
            self.assertRegex(frame[lines - 2], r"\A\d+ more below: ")
            self.assertEqual(frame[lines - 1][:3], "\033[J")
            self.assertTrue(all(line.endswith("\033[K") for line in frame[:lines - 1]))
        self.assertRegex(frames[-1][2], r"CPU Temp .* ok +[\u2581-\u2588]{5,}")

    def log(self, *records):
        """Options of the simulator for a log; seven records when none are named."""
        path = pathlib.Path(self.folder, "log.bin")
        path.write_bytes(b"".join(records or (event(i, 1704616448, (1, 0), 1, (9, 0, 0)) for i in range(1, 8))))
        return [*self.machine, "--sel", path]

    def test_sel(self):
        keys = ["id", "type", "time", "generator", "sensor_type", "sensor_number", "sensor_name", "event_type", "offset", "asserted",
                "caption", "severity", "raw"]
        time, cpu = 1704615488, (1, 0)  # CPU Temp
        oem = bytes(range(0x21, 0x2e))
        rows = [  # record; what the table has behind the time
            (event(1, time, cpu, 1, (0x57, 90, 85)), "CPU Temp +Temperature Upper Non-critical going high +asserted +non-critical"),
            (event(2, time, cpu, 0x81, (0x52, 8, 9)), "CPU Temp +Temperature Lower Critical going low +deasserted +critical"),
            (event(3, time, cpu, 1, (11, 0, 0)), "CPU Temp +.* Upper Non-recoverable going high "),
            (event(4, time, (12, 15), 0x6f, (1, 0, 0)), "DIMM 2 +Memory Uncorrectable ECC +asserted +-"),
            (event(5, time, (4, 5), 1, (2, 0, 0), generator=0x0182), "Node Fan +Fan Lower Critical going low "),
            (event(6, time, (12, 15), 0x6f, (1, 0, 0), generator=0x7020), "sensor 0x0f +Memory "),
            (event(7, time, (0x2a, 15), 0x6f, (3, 0, 0)), "DIMM 2 +Session Audit disabled after invalid passwords "),
            (event(8, time, cpu, 0x72, (0xfe, 1, 2)), "CPU Temp +Temperature offset 14 +asserted +-"),
            (event(9, time, cpu, 1, (9, 0, 0), revision=3), "CPU Temp +Temperature Upper Critical going high .*critical"),
            (struct.pack("<HBI", 10, 0xc0, time) + oem[4:], "OEM 0xc0 +25 26 27 28 29 2a 2b 2c 2d +- +-"),
            (struct.pack("<HB", 11, 0xe0) + oem, "OEM 0xe0 +21 22 23 .* 2d +- +-"),
            (struct.pack("<HB", 12, 0x05) + oem, "type 0x05 +21 22 23 .* 2d +- +-"),
            (event(13, 12, cpu, 1, (9, 0, 0)), "CPU Temp ")]
        facts = {
            1: {"caption": "Assert + Temperature Upper Non-critical going high", "severity": 5, "offset": 7, "generator": 32,
                "sensor_type": 1, "sensor_number": 0, "sensor_name": "CPU Temp", "event_type": 1, "asserted": True},
            2: {"caption": "Deassert + Temperature Lower Critical going low ", "severity": 6, "asserted": False},
            4: {"severity": 0}, 6: {"sensor_name": None}, 8: {"caption": None, "offset": 14, "event_type": 0x72},
            10: dict.fromkeys(keys[3:12]), 11: {"time": None, "type": 0xe0}, 12: {"time": None, "type": 5},
            13: {"time": None, "uptime_seconds": 12}}
        times = {11: "-", 12: "-", 13: r"pre-init \+12 s"}
        sim = self.log(*(record for record, _ in rows))
        zone = {**os.environ, "TZ": "XYZ-05:30"}
        for option, written, shown in (([], "2024-01-07T13:48:08+05:30", "2024-01-07 13:48:08"),
                                       (["--utc"], "2024-01-07T08:18:08Z", "2024-01-07 08:18:08")):
            lines = [rf"^0x{i:04x}  {times.get(i, shown)} +{line}.*  {record.hex(' ')}$"
                     for i, (record, line) in enumerate(rows, 1)]
            title = r"\AID +TIME.* +SENSOR +EVENT +DIRECTION +SEVERITY +RAW\n"
            self.check(["sel", "--raw", *option], [title, *lines], sim=sim, env=zone)
            found = self.check(["--json", "sel", *option], {"sel": {
                i: {"time": written, "raw": record.hex(" "), **facts.get(i, {})} for i, (record, _) in enumerate(rows, 1)}},
                sim=sim, env=zone)["sel"]
            self.assertEqual([list(record)[:len(keys)] for record in found], [keys] * len(rows))

    def test_sel_selection(self):
        """On ids without gaps, and on those that deletions leave, where the library jumps to a wrong record or none."""
        logs = (range(1, 21), [*range(1, 11), *range(15, 25)], [1, 2, *range(101, 119)])
        rows = [  # arguments; which of 20 records, one an hour, fifth and last without a time
            ([], range(20)), (["--last", "1"], [19]), (["--last=7"], range(13, 20)), (["--last", "65535"], range(20)),
            (["--since", "1970-01-01"], range(20)), (["--since", "2024-01-01 04:00"], range(8, 20)), (["--since", "2024-01-02"], []),
            (["--since", "2024-01-01 04:00:01", "--utc"], range(5, 20)), (["--since=2024-01-01T04:00:00Z", "--last", "10"], range(10, 20)),
        ]
        environment = {**os.environ, "CIM_IPMI_SEL_ENTRIES": "5", "TZ": "XYZ+05:00"}
        for ids in logs:
            records = [event(number, 1704067200 + 3600 * (i + 1), (1, 0), 1, (9, 0, 0)) for i, number in enumerate(ids)]
            for i in (4, 19):
                records[i] = event(ids[i], 12, (1, 0), 1, (9, 0, 0))
            sim = self.log(*records)
            for args, wanted in rows:
                for verb in (["sel"], ["sel", "decode", sim[-1]]):
                    with self.subTest(ids=ids):
                        found = self.check(["--json", *verb, *args], {}, sim=sim, env=environment)["sel"]
                        self.assertEqual([record["id"] for record in found], [ids[i] for i in wanted])

    def test_colour_and_hostile_texts(self):
        machine = self.written("machine.json", {
            "name": "hostile", "system_info": {"os_name": "\033]0;owned\007\u009b31m"},
            "sdr": [{"name": "A\033[31m\r\nB\u009b", "number": 1, "entity": 7, "type": "temperature",
                     "unit": "degrees C", "thresholds": {"uc": 30}, "value": 40},
                    {"kind": "fru", "name": "B\033[31m\u009b", "device": 0, "entity": 7}],
            "fru": [{"device": 0, "board": ["A\033[31m\r\nB\u009b"]}],
            "sel": ["01 00 02 10 5e 9a 65 20 00 04 01 01 01 59 5f 55"]})
        verbs = (["sensors"], ["info"], ["entities"], ["sensors", "--verbose"], ["sensors", "--watch=1", "--count=1"],
                 ["sdr", "list"], ["sel"], ["fru"])
        for args in (*verbs, *(["--json", *verb] for verb in verbs)):
            with self.subTest(args=args):
                result = run(f"--sim={machine}", *args, text=False)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertNotRegex(result.stdout.replace(b"\n", b""), rb"[\x00-\x1f\x7f]|\xc2[\x80-\x9f]")
        for no_colour, pattern in (("", "\033\\[31mupper critical\033\\[0m"), ("1", r"\A[^\033]*\Z")):
            self.assertRegex(self.on_terminal({"NO_COLOR": no_colour, "TERM": "xterm"}, f"--sim={machine}",
                                              "sensors")[0], pattern)

    def on_terminal(self, environment, *args, rows=24, when=()):
        """Output and exit status; `when`: what is done to the terminal once, when a text has come, in turn."""
        child, terminal = pty.fork()
        if child == 0:
            termios.tcsetwinsize(1, (rows, 80))
            modes = termios.tcgetattr(1)
            modes[3] |= termios.NOFLSH  # Ctrl-C drops nothing that the tool writes when it hears of it
            termios.tcsetattr(1, termios.TCSANOW, modes)
            os.execve(TOOL, [TOOL, *args], {**os.environ, **environment})
        output, when = b"", list(when)
        try:
            while chunk := os.read(terminal, 4096):
                output += chunk
                if when and re.search(when[0][0], output):
                    when.pop(0)[1](terminal)
        except OSError:  # the other end is closed
            pass
        os.close(terminal)
        return output.decode(), os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])

    def test_dump(self):
        subprocess.run([SIM, "sdr", "--machine", "sample", self.path], check=True)
        expected = self.path.read_bytes()
        get = {"netfn": 10, "cmd": 0x23}
        mishaps = [{"completion_code": 0xce}, {"lost_reservation": True}, {"cut_to": 1}, {"cut_to": 0},
                   {"lengthen_to": 40}, {"completion_code": 0xca}]
        plans = [[{**get, "nth": first + 30 * i, **mishap} for i, mishap in enumerate(mishaps)] for first in (1, 2, 7)]
        plans += [[], [{**get, "every": 150, "completion_code": 0xc3}, {**get, "every": 20, "lost_reservation": True},
                       {"netfn": 10, "cmd": 0x22, "nth": 1, "completion_code": 0xc0}]]
        for plan in plans:
            with self.subTest(plan=plan):
                os.remove(self.path)
                self.check(["sdr", "dump", self.path], sim=self.faults(*plan))
                self.assertEqual(self.path.read_bytes(), expected)

    def test_fru(self):
        """Devices with their areas and records; an image shows the same when its file is read again."""
        supply = {"checksum_ok": True, "fields": {
            "Overall Capacity": {"value": 500, "unit": "W"}, "Hot Swap Support": {"value": True}}}
        found = self.check([self.sim, "--json", "fru"], {"fru": {
            "Mainboard": {"id": 0, "controller": 0x20, "lun": 0, "channel": 0, "size": 512, "error": None,
                          "entity": {"id": 7, "instance": 1, "name": "System Board"},
                          "areas": {"internal": {"checksum_ok": True},
                                    "chassis": {"fields": {"Chassis Type": {"value": "Rack Mount Chassis", "code": 23}}},
                                    "board": {"fields": {"Mfg. Date / Time": {"value": "2020-12-31T06:00:00Z"}}},
                                    "product": {"checksum_ok": True, "whole": True}},
                          "records": {"DC Load": {"type": 2, "fields": {"Nominal Voltage": {"value": 12, "unit": "V"}}}}},
            "PSU FRU": {"records": {"Power Supply Information": supply}},
            "PSU2 FRU": {"areas": {"product": {"checksum_ok": False, "fields": {
                "Product Serial Number": {"value": "PSU0002", "encoding": "latin-1"}}}},
                "records": {"Power Supply Information": supply}},
            "Riser EEPROM": {"logical": False, "bus": 1, "id": 0xa4, "areas": {}},
            "Node Board": {"id": 0, "controller": 0x82}}})["fru"]
        self.assertEqual([name for name in (fru["name"] for fru in found) if name.startswith("DIMM ")],
                         ["DIMM SPD", "DIMM A1", "DIMM B1", "DIMM C1"])
        for args, names in ((["0"], ["Mainboard", "Node Board"]), (["0xa4"], ["Riser EEPROM"]), (["psu fru"], ["PSU FRU"])):
            shown = self.check([self.sim, "--json", "fru", *args], {})["fru"]
            self.assertEqual(shown, [fru for fru in found if fru["name"] in names])
        self.check([self.sim, "fru", "PSU2 FRU"], (
            r"\APSU2 FRU \(FRU 2\)$", r"^  entity +Power Supply 2 \(10\.2\)$", r"^  controller +0x20, LUN 0, channel 0$",
            r"^  product area +checksum wrong$", r"^    Product Serial Number +PSU0002$", r"^      Peak VA +550 VA$"))
        self.check([self.sim, "fru", "0xa4"], r"^  contents +not asked: it is on private bus 1")
        for fru in found:
            if not fru["areas"]:
                continue
            dumped = self.check([self.sim, "--json", "fru", fru["name"], "--dump", self.path], {"file": str(self.path)})
            again = self.check(["--json", "fru", "decode", self.path], {})["fru"]
            self.assertEqual((dumped["bytes"], [fru["size"]]), (self.path.stat().st_size, [image["size"] for image in again]))
            self.assertEqual({**fru, **dict.fromkeys(key for key, value in again[0].items() if value is None)}, again[0])

    def test_fru_in_part(self):
        """An image is written whole or not at all, wherever it fails; a device that fails says so in its place."""
        machine = self.written("machine.json", {"name": "one", "fru": [{"device": 0, "board": ["A"]}],
                                                "sdr": [{"kind": "fru", "name": "Board", "device": 0, "entity": 7}]})
        for cmd, first, last in ((0x10, 1, 2), (0x11, 1, 15)):
            for start in range(first, last + 1):
                plan = self.written("faults.json", {"faults": [
                    {"netfn": 10, "cmd": cmd, "from": start, "every": 1, "completion_code": 0xcb}]})
                self.written("sdr.bin", "as before")
                sim = ["--machine", machine, "--faults", plan]
                self.check(["fru", "0", "--dump", self.path], err="cannot read Board .*0xcb, requested .*of .* bytes read",
                           status=2, sim=sim)
                self.assertEqual(self.path.read_bytes(), b'"as before"')
                found = self.check(["--json", "fru"], {}, sim=sim)["fru"][0]
                if start == 1:
                    self.assertRegex(found["error"], "refuses: completion code 0xcb")
        refused = self.faults({"netfn": 10, "cmd": 0x20, "completion_code": 0xc1})
        found = self.check(["--json", "fru"], {}, "FRU devices may be missing: .* no sensor repository", 2, sim=refused)
        self.assertEqual([(fru["id"], fru["name"], fru["entity"], len(fru["areas"])) for fru in found["fru"]],
                         [(0, None, None, 4)])

    def shell(self, script):
        """Runs a script in which $T is the tool and $F a folder, all of it on one BMC with seven records."""
        return subprocess.run([SIM, "exec", *self.log(), "--", "sh", "-c", script], capture_output=True, text=True,
                              timeout=120, check=False, env={**os.environ, "T": TOOL, "F": self.folder})

    def test_sel_saved_and_erased(self):
        same = self.shell('$T sdr dump $F/sdr; $T sel --save $F/sel; for form in "" --json; do $T sel $form >$F/log; '
                          '$T sel decode --sdr $F/sdr $F/sel $form | cmp - $F/log || exit 9; done')
        self.assertEqual(same.returncode, 0, same.stderr)
        self.assertRegex(same.stdout, r"(?m)^7 records, 112 bytes written to .*/sel$")
        for script, out, error in (
                ("$T sel --clear --yes; $T sel", r"\AThe log is cleared\.\nThe log is empty\.\n\Z", r"\A\Z"),
                ("$T --json sel --clear --yes --save $F/sel", r'"records": 7,\s+"bytes": 112,\s+"cleared": true', r"\A\Z"),
                ("$T sel --delete 0x3; $T sel", r"\ARecord 0x0003 is deleted\.\n.*0x0002.*\n0x0004", r"\A\Z"),
                ("$T sel --delete 3 --json; $T sel --delete 3", '"deleted": 3', r"\A\S+ cannot delete .* refuses.*\n\Z"),
                ("$T sel --clear --yes --save /dev/full; $T sel --last 1", "0x0007", "No space left")):
            with self.subTest(script=script):
                result = self.shell(script)
                self.assertRegex(result.stdout, re.compile(out, re.S))
                self.assertRegex(result.stderr, error)
        machine = self.written("machine.json", {"name": "log", "sel": [bytes([i, 0, 2] + [0] * 13).hex(" ")
                                                                       for i in range(1, 8)]})
        for answer, status, text in ((b"n", 2, "nothing cleared"), (b"\4", 2, "nothing cleared"),
                                     (b"y\n", 0, "The log is cleared")):
            when = [(rb"Clear the log \(7 records\)\? \[y/N\] ", lambda fd: os.write(fd, answer + b"\n"))]
            output, found = self.on_terminal({}, f"--sim={machine}", "sel", "--clear", when=when)
            self.assertEqual((found, text in output), (status, True), output)

    def test_sel_info(self):
        info = self.check(["--json", "sel", "info", "--utc"], {
            "version": "1.5", "entries": 7, "free_bytes": 58112, "capacity": 3639, "overflow": False,
            "allocation_unit_bytes": 16, "free_units": 3632, "logging": True}, sim=self.log())
        self.assertLessEqual({"allocation info", "reserve", "delete"}, set(info["operations"]))
        self.assertRegex(info["last_addition"], r"\A2024-01-07T\d\d:\d\d:\d\dZ\Z")
        self.assertLess(abs(info["clock_ahead_seconds"]), 5)
        refused = [{"netfn": netfn, "cmd": cmd, "completion_code": 0xc1}
                   for netfn, cmd in ((10, 0x41), (10, 0x48), (6, 0x2f), (4, 0x15))]
        self.check(["sel", "info"], [rf"^  {key} +-$" for key in (
            "allocation units", "largest record units", "clock", "logging", "last processed")], sim=self.faults(*refused))

    def test_lan(self):
        known = {"channel": 1, "enabled": True, "mac": "52:54:00:ab:cd:01",
                 "ipv4": {"address": "192.0.2.17", "netmask": "255.255.255.0", "gateway": "192.0.2.1",
                          "gateway_mac": "02:00:5e:00:53:01", "source": "dhcp"},
                 "vlan": {"enabled": True, "id": 42, "priority": 3},
                 "ipv6": [{"address": "2001:db8:0:42::17", "prefix": 64, "kind": "static", "source": "static", "status": "active"},
                          {"address": "fe80::5054:ff:feab:cd01", "prefix": 64, "kind": "dynamic", "source": "slaac",
                           "status": "active"}]}
        self.assertEqual(self.json("lan"), {"lan": known})
        self.check([self.sim, "lan"], [r"^  ipv4 address +192\.0\.2\.17$", r"^  vlan +on$", r"^  vlan id +42$",
                                       r"^  ipv6 address +2001:db8:0:42::17/64, static \(static\), active$"])
        nothing = {"channel": None, "enabled": False, "mac": None, "ipv4": dict.fromkeys(known["ipv4"]),
                   "vlan": dict.fromkeys(known["vlan"]), "ipv6": None}
        empty = ["--machine", self.written("machine.json", {})]
        self.assertEqual(self.check(["--json", "lan"], {}, sim=empty), {"lan": nothing})
        self.check(["lan"], [r"^  enabled +no$", r"^  channel +-$", r"^  ipv6 address +-$"], sim=empty)
        odd = {"netmask": "255.0.0.0", "source": 9, "vlan": {"id": 7, "enabled": False}, "unsupported": [13],
               "ipv6": [{"address": "::1", "source": 7, "status": "failed"}]}
        lan = self.check(["--json", "lan"], {}, sim=["--machine", self.written("machine.json", {"lan": odd})])["lan"]
        self.assertEqual((lan["ipv4"]["source"], lan["ipv4"]["gateway_mac"], lan["ipv4"]["address"]), ("0x09", None, "0.0.0.0"))
        self.assertEqual((lan["vlan"], lan["ipv6"][0]["source"], lan["ipv6"][0]["status"]),
                         ({"enabled": False, "id": 7, "priority": 0}, "0x07", "failed"))
        self.check(["lan"], err="does not answer", status=2, sim=self.faults({"netfn": 6, "cmd": 1, "completion_code": 0xc0}))

    def test_failing_bmc(self):
        """One line says why; a dump is whole or not there, and sensors are not listed in part."""
        again = [{"offset": 1, "value": 1}, {"offset": 2, "value": 0}]  # the next record is always record 1
        dump, sensors = ["sdr", "dump", self.path], ["sensors"]
        save, clear = ["sel", "--save", self.path], ["sel", "--clear", "--yes"]
        rows = [  # arguments, network function, command, from, what goes wrong, message
            (dump, 10, 0x23, 20, {"completion_code": 0xce}, "cannot read record .*0xce"),
            (dump, 10, 0x23, 20, {"lost_reservation": True}, "reservation is lost"),
            (dump, 10, 0x23, 1, {"change": again}, "comes again"),
            (dump, 10, 0x20, 1, {"completion_code": 0xc1}, "info: the BMC refuses"),
            (dump, 10, 0x20, 1, {"cut_to": 5}, "too short"),
            (sensors, 6, 1, 1, {"completion_code": 0xff}, "does not answer"),
            (sensors, 10, 0x20, 1, {"completion_code": 0xc1}, "repository"),
            (sensors, 10, 0x23, 1, {"completion_code": 0xc1}, "record"),
            (save, 10, 0x40, 1, {"completion_code": 0xc1}, "no event log"),
            (save + clear[1:], 10, 0x43, 4, {"completion_code": 0xce}, "only 3 of .* nothing saved"),
            (clear + ["--save", "/dev/null"], 10, 0x40, 2, {"change": [{"offset": 2, "value": 8}]}, "log has changed"),
            (clear, 10, 0x47, 1, {"completion_code": 0xc1}, "cannot clear the log: the BMC refuses"),
            (clear, 10, 0x47, 1, {"change": [{"offset": 1, "value": 7}]}, "cannot clear the log: the BMC stays busy"),
        ]
        for args, netfn, cmd, start, wrong, pattern in rows:
            with self.subTest(args=args, cmd=cmd, wrong=wrong):
                self.written("sdr.bin", "as before")
                sim = self.faults({"netfn": netfn, "cmd": cmd, "from": start, "every": 1, **wrong})
                self.check(args, err=pattern, status=2, sim=sim)
                self.assertEqual(self.path.read_bytes(), b'"as before"')
                self.assertEqual(sorted(os.listdir(self.folder)), ["faults.json", "sdr.bin"])
        log = self.log()  # what can be read of it is listed
        for cmd, start, ids, status, pattern in ((0x43, 4, [1, 2, 3], 2, "only 3 of 7 records could be read"),
                                                 (0x23, 9, [1, 2, 3, 4, 5, 6, 7], 0, "no names of")):
            sim = self.faults({"netfn": 10, "cmd": cmd, "from": start, "every": 1, "completion_code": 0xce})
            found = self.check(["--json", "sel"], {}, pattern, status, sim=[*sim, *log[-2:]])["sel"]
            self.assertEqual([record["id"] for record in found], ids)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

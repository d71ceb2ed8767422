#!/usr/bin/env python3
"""tool_test.py TRX-IPMI TRX-BMCSIM: the tool's command lines, output and exit statuses, on the sample machine, whose
satellites answer at once here."""
import fcntl
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
THRESHOLDS = ["lower_non_recoverable", "lower_critical", "lower_non_critical",
              "upper_non_critical", "upper_critical", "upper_non_recoverable"]


def run(*args, sim=None, text=True, **more):
    """Runs the tool; `sim`: options of `trx-bmcsim exec`, to run it on a simulated BMC other than --sim's."""
    command = [TOOL, *args] if sim is None else [SIM, "exec", *sim, "--", TOOL, *args]
    return subprocess.run(command, capture_output=True, text=text, timeout=120, check=False, **more)


class ToolTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        machine = pathlib.Path(folder.name, "machine.json")
        machine.write_text(re.sub(r', "latency_ms": \d+', "", SAMPLE.read_text(encoding="utf-8")), encoding="utf-8")
        cls.machine, cls.sim = ["--machine", str(machine)], f"--sim={machine}"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.path = os.path.join(folder.name, "sdr.bin")

    def assert_one_line(self, result, pattern, start="trx-ipmi: "):
        self.assertEqual((result.returncode, result.stdout), (2, ""), result.stderr)
        self.assertRegex(result.stderr, rf"\A{start}[^\n]*\n\Z")
        self.assertRegex(result.stderr, pattern)

    def assert_near(self, got, expected):
        self.assertEqual(got is None, expected is None)
        self.assertAlmostEqual(got or 0, expected or 0, delta=0.05)

    def written(self, name, content):
        path = pathlib.Path(self.folder, name)
        path.write_text(json.dumps(content), encoding="utf-8")
        return str(path)

    def faults(self, *rules):
        return [*self.machine, "--faults", self.written("faults.json", {"faults": rules})]

    def content(self):
        return pathlib.Path(self.path).read_bytes()

    def json(self, *args):
        result = run(self.sim, "--json", *args)
        self.assertEqual(result.returncode, 0, result.stderr)
        return json.loads(result.stdout)

    def sensors(self, *args):
        return self.json("sensors", *args)["sensors"]

    def tree(self):
        """Of each entity: the one that it is in, and its sensors."""
        found = {}

        def walk(entities, parent):
            for entity in entities:
                key = entity["id"], entity["instance"]
                self.assertNotIn(key, found)
                found[key] = parent, entity["sensors"]
                for sensor in entity["sensors"]:
                    self.assertEqual(sensor["entity"], {k: entity[k] for k in ("id", "instance", "name")})
                walk(entity["children"], key)

        walk(self.json("entities")["entities"], None)
        return found

    def test_mistakes(self):
        missing = os.path.join(self.folder, "missing")
        rows = [
            ([], "no verb"), (["--json"], "no verb"), (["sdr"], "no verb"),
            (["sensor"], "not expected: sensor"), (["sensors", "info"], "not expected: info"),
            (["sensors", "--bad"], "not expected: --bad"), (["--node", "4", "info"], "4 not in range"),
            (["--node", "-1", "info"], "-1"), (["--node", "one", "info"], "one"), (["info", "--node"], "--node"),
            (["raw"], "required"), (["raw", "6"], "At least 2"), (["raw", "6", "256"], '"256" is no byte'),
            (["raw", "6", "0x"], '"0x" is no byte'), (["raw", "6", "1", "-1"], '"-1" is no byte'),
            (["raw", "6", "1 "], "no byte"), (["raw", "\033[31m", "1"], r'"\?\[31m" is no byte'),
            (["raw", "7", "1"], "0x07 is no request"), (["raw", "0x40", "1"], "0x40 is no request"),
            (["raw", "6", "1"] + ["0"] * 256, "at most 255"), (["sdr", "dump"], "FILE is required"),
            (["sdr", "dump", missing + "/file"], "cannot write .*: No such file"),
            (["sdr", "dump", self.folder], "cannot write .*: Is a directory"),
            (["sdr", "dump", missing + "/"], "cannot write"), (["sdr", "dump", ""], "cannot write"),
            (["--sim", "--node=1", "info"], "node 0 only"),
            (["sensors", "--count", "2"], "--count requires --watch"),
            (["sensors", "--watch", "1", "--verbose"], "--verbose excludes --watch"),
            (["sensors", "--watch", "1", "--count", "0"], "0 not in range"),
            *((["sensors", "--watch", seconds], "give 0.1 to 86400 seconds") for seconds in ("nan", "0", "1e9", "x")),
            ([self.sim, "sensors", "--type", "\033"], r'no sensor of type "\?" here: there are .*Fan, .*Voltage'),
            *(([self.sim, "sensors", "--entity", entity], r"no entity .* here: there are .*System Board 1 \(7\.1\), ")
              for entity in ("7.99", "7.1.1", "0x100", "Board", "\033")),
            (["--sim=no-such-machine", "sensors"], "no-such-machine"),  # the simulator's own line
        ]
        for args, pattern in rows:
            with self.subTest(args=args[:6]):
                self.assert_one_line(run(*args), pattern, "trx-bmcsim: " if "no-such" in pattern else "trx-ipmi: ")
        self.assertEqual(os.listdir(self.folder), [])

    @unittest.skipIf(os.path.exists("/dev/ipmi0"), "there is a BMC")
    def test_without_device(self):
        for args in (["sensors"], ["entities"], ["sdr", "list"], ["--json", "info"], ["raw", "6", "1"],
                     ["--node=3", "info"], ["sdr", "dump", os.path.join(self.folder, "x")]):
            with self.subTest(args=args):
                self.assert_one_line(run(*args), "no BMC driver at /dev/ipmi[03]: load it")
        self.assertEqual(os.listdir(self.folder), [])

    def test_sim_without_simulator(self):
        alone = os.path.join(self.folder, "trx-ipmi")
        shutil.copy(TOOL, alone)
        environment = {"PATH": self.folder, "LD_LIBRARY_PATH": os.path.join(os.path.dirname(TOOL), "..", "lib")}
        result = subprocess.run([alone, "--sim", "info"], capture_output=True, text=True, env=environment, check=False)
        self.assert_one_line(result, "--sim needs trx-bmcsim")

    def test_answers(self):
        rows = [
            (["--sim", "raw", "6", "1"], 0, r"\A20 01 02 17 02 9f d9 7e 00 34 12 01 02 03 04\n\Z", r"\A\Z"),
            (["raw", "0x06", "0X1", "--sim=sample"], 0, r"\A20 01 ", r"\A\Z"),
            (["--sim", "raw", "6", "0x66"], 1, r"\A\Z", r"0x66 of network function 0x06: completion code 0xc1, inv"),
            (["--sim", "raw", "4", "0x2d", "250"], 1, r"\A\Z", r"code 0xcb, requested sensor"),
            (["--sim", "raw", "10", "0x23", "0", "0", "1", "0", "0", "40"], 0, r"\A([0-9a-f]{2} ){30}[0-9a-f]{2}\n\Z",
             "may have been more|have been more of it"),
            (["--sim", "info"], 0, r"Firmware +2\.17\n", r"\A\Z"),
            (["--sim", "sdr", "dump", "/dev/full"], 2, r"\A\Z", r"cannot write /dev/full: No space"),
            (["--help"], 0, r"Examples:", r"\A\Z"),
            (["raw", "--help"], 0, r"NETFN CMD", r"\A\Z"),
            (["--version"], 0, r"\Atrx-ipmi \d+\.\d+\.\d+\n\Z", r"\A\Z"),
        ]
        for args, status, out, err in rows:
            with self.subTest(args=args):
                result = run(*args)
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertRegex(result.stdout, out)
                self.assertRegex(result.stderr, err)
        with open("/dev/full", "w", encoding="ascii") as full:
            result = subprocess.run([TOOL, "--sim", "info"], stdout=full, stderr=subprocess.PIPE, text=True,
                                    check=False)
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr, "cannot write to standard output: No space")

    def test_json(self):
        info = self.json("info")
        self.assertEqual((info["manufacturer_id"], info["product_id"], info["self_test_code"], info["ipmi_version"]),
                         (32473, 4660, 0x5500, "2.0"))
        raw = run("--sim", "--json", "raw", "6", "0x66")
        self.assertEqual(raw.returncode, 1)
        self.assertEqual(json.loads(raw.stdout), {"netfn": 6, "cmd": 0x66, "data": [], "completion_code": 0xc1,
                                                  "completion": "invalid command", "answer": [], "maybe_cut": False})

    def test_sensors(self):
        sensors = self.sensors()
        self.assertGreater(len(sensors), 50)
        for sensor in sensors:
            with self.subTest(name=sensor["name"]):
                self.assertEqual(list(sensor), ["name", "number", "owner", "lun", "record_id", "type", "value", "unit",
                                                "raw", "state", "thresholds", "type_code", "entity", "age_ms"])
                self.assertEqual([k for k in THRESHOLDS if k in sensor["thresholds"]], list(sensor["thresholds"]))
                self.assertNotIn("inity", json.dumps(sensor))
                if sensor["raw"] is None:
                    self.assertEqual((sensor["value"], sensor["state"]), (None, None))
        place = [(s["owner"], s["lun"], s["number"]) for s in sensors]
        self.assertEqual(place, sorted(place))
        self.assertEqual(len(set(s["name"] for s in sensors)), len(sensors), "names are unique")
        by_number = {s["number"]: s for s in sensors if s["owner"] == 0x20 and s["lun"] == 0}
        rows = [  # number, name, value, unit, thresholds
            (4, "12V", 12.096, "Volts", {"lower_non_recoverable": 10.206, "lower_critical": 10.773,
                                         "upper_critical": 13.230, "upper_non_recoverable": 13.797}),
            (6, "VNEG12", -11.98, "Volts", None),
            (38, "Lin cube", -27, "Joules", {}),
            (56, "\u6e29\u5ea6\u8a08", 27, "degrees C", {}),
            (57, "GPU Temp", None, "degrees C", {"upper_non_critical": 85, "upper_critical": 95}),
            (66, "OEM State", None, "", {}),
            (84, "Rack Temp", None, "", {}),
        ]
        for number, name, value, unit, thresholds in rows:
            with self.subTest(number=number):
                sensor = by_number[number]
                self.assertEqual((sensor["name"], sensor["unit"]), (name, unit))
                self.assert_near(sensor["value"], value)
                for key in {*sensor["thresholds"], *thresholds} if thresholds is not None else ():
                    self.assert_near(sensor["thresholds"].get(key), thresholds.get(key))
        self.assertEqual((by_number[4]["state"], by_number[66]["state"]), ("ok", "0,14"))

        # Each value in the table is the one in the JSON, to the digits shown.
        lines = run(self.sim, "sensors").stdout.splitlines()
        self.assertRegex(lines[0], r"\AOWNER +NUM +NAME +TYPE +VALUE +STATE +LNR +LCR +LNC +UNC +UCR +UNR\Z")
        self.assertEqual(len(lines), len(sensors) + 1)
        for sensor, line in zip(sensors, lines[1:]):
            with self.subTest(line=line):
                self.assertTrue(line.startswith(f"0x{sensor['owner']:02x}/{sensor['lun']}"))
                self.assertIn(f" 0x{sensor['number']:02x}  {sensor['name']}".rstrip(), line)
                self.assertEqual(line, line.rstrip())
                numbers = [float(n) for n in re.findall(r"(?<= )-?\d+(?:\.\d+)?(?:e[+-]\d+)?(?= |\Z)",
                                                        line.split(sensor["type"], 1)[1])]
                if sensor["value"] is not None:
                    wanted = sensor["value"]
                    self.assertTrue(any(abs(n - wanted) <= abs(wanted) * 0.01 + 0.001 for n in numbers), numbers)

    def test_entities(self):
        """Every sensor is there once, beneath its entity; what is inside another one is beneath that."""
        tree = self.tree()
        names = [sensor["name"] for _, sensors in tree.values() for sensor in sensors]
        self.assertEqual(sorted(names), sorted(s["name"] for s in self.sensors()))
        for key, parent in (((7, 1), None), ((3, 1), (7, 1)), ((8, 1), (7, 1)), ((32, 3), (8, 1)), ((55, 1), None)):
            self.assertEqual(tree[key][0], parent, key)
        for locale, inner, last in (("C.UTF-8", "├─ ", "└─ "), ("C", "|- ", "`- ")):
            text = run(self.sim, "entities", env={**os.environ, "LC_ALL": locale}).stdout
            self.assertEqual(len(text.splitlines()), len(names) + len(tree))
            self.assertRegex(text, rf"(?m)^System Board 1 \(7\.1\)\n{re.escape(inner)}12V +[0-9.]+ Volts +ok$")
            self.assertIn(last, text)

    def test_entities_in_a_ring(self):
        """Containers inside each other without end: every one is there once."""
        for order in (range(1, 100), range(99, 0, -1)):
            records = [struct.pack("<H2B", i, 0x51, 8) + bytes([11, 7, i, 0, 7, i % 99 + 1] + [0] * 6) for i in order]
            pathlib.Path(self.path).write_bytes(b"".join(records))
            text = run("entities", sim=[*self.machine, "--sdr", self.path]).stdout
            self.assertEqual(sorted(re.findall(r"(?m)\(7\.(\d+)\)$", text)), sorted(str(i) for i in range(1, 100)))

    def test_selection(self):
        everything, tree = self.sensors(), self.tree()
        memory = [key for key, (parent, _) in tree.items() if (8, 1) in (key, parent)]  # with what the module contains
        rows = [
            (["--type", "fan"], lambda s, e: s["type"] == "Fan"),
            (["--type", "0x01"], lambda s, e: s["type_code"] == 1),
            (["--type", "7"], lambda s, e: s["type_code"] == 7), (["--entity", "10.1"], lambda s, e: e == (10, 1)),
            *((["--entity", name], lambda s, e: e in memory) for name in ("8.1", "MEMORY module 1", "0x08.0x01")),
            *((["--entity", name], lambda s, e: e[0] == 29) for name in ("29", "0x1d", "fan DEVICE")),
            (["--entity", "8.1", "--type", "Memory"], lambda s, e: e in memory and s["type_code"] == 12),
            (["--entity", "10", "--type", "Memory"], lambda s, e: False),
        ]
        for args, wanted in rows:
            with self.subTest(args=args):
                names = [s["name"] for s in everything if wanted(s, (s["entity"]["id"], s["entity"]["instance"]))]
                self.assertEqual([s["name"] for s in self.sensors(*args)], names)
        lines = run(self.sim, "sensors", "--entity=8.1").stdout.splitlines()
        self.assertEqual(len(lines), 1 + sum(len(tree[key][1]) for key in memory))

    def test_verbose(self):
        plain, verbose = self.sensors(), self.sensors("--verbose")
        text = run(self.sim, "sensors", "--verbose").stdout
        self.assertEqual([s["name"] for s in plain], [s["name"] for s in verbose])
        self.assertEqual(text.split("\n\n")[0].split("\n")[0], plain[0]["name"])
        by_name = {s["name"]: s for s in verbose}
        for sensor, less in zip(verbose, plain):
            self.assertEqual(list(sensor)[:len(less)], list(less))
            self.assertEqual(len(bytes.fromhex(sensor["record"])), sensor["record_length"])
        rows = [
            ("12V", {"m": 63, "b": 0, "result_exponent": -3, "nominal": 11.97,
                     "hysteresis": {"positive": 2, "negative": 2}, "entity_parent": None, "number": 4,
                     "readable_thresholds": ["lower critical", "lower non-recoverable", "upper critical",
                                             "upper non-recoverable"]}),
            ("VCORE", {"m": 98, "b": 5, "b_exponent": 2, "result_exponent": -4, "tolerance": 0.5, "accuracy": 20.0,
                       "threshold_access": {"code": 1, "name": "readable"},
                       "entity_parent": {"id": 7, "instance": 1, "name": "System Board"}}),
            ("VNEG12", {"m": -6, "b": -100, "b_exponent": 1, "result_exponent": -2}),
            ("CPU Status", {"event_type": {"code": 0x6f, "name": "sensor-discrete"}, "asserted": ["presence detected"],
                            "readable_states": ["IERR", "thermal trip", "FRB1/BIST failure", "presence detected",
                                                "disabled"]}),
            ("Lin cube", {"linearization": {"code": 9, "name": "cube"}}),
            ("OEM State", {"asserted": ["offset 0", "offset 14"]}),
            ("OS Critical", {"owner": 0x41, "direction": "Unspecified", "record_type": {"code": 3,
                                                                              "name": "event-only sensor"}}),
        ]
        for name, facts in rows:
            for key, value in facts.items():
                with self.subTest(name=name, key=key):
                    self.assertEqual(by_name[name][key], value)
        for line in (r"  entity parent  +System Board 1 \(7\.1\)", r"  upper critical  +13\.230 Volts",
                     r"  flags  +init scanning, init events, ", r"  age ms  +\d+"):
            self.assertRegex(text, rf"(?m)^{line}")

    def test_sdr_list(self):
        dump = self.json("sdr", "dump", self.path)
        records = self.json("sdr", "list")["records"]
        content, offset = self.content(), 0
        for record in records:
            size = 5 + content[offset + 4]
            self.assertEqual((record["record_id"], record["record_type"], record["length"]),
                             (content[offset] | content[offset + 1] << 8, content[offset + 3], size))
            if record["record_type"] in (1, 2, 3):
                self.assertEqual((record["owner"], record["number"]), (content[offset + 5], content[offset + 7]))
            offset += size
        self.assertEqual(offset, len(content))
        self.assertEqual(dump, {"file": self.path, "records": len(records), "bytes": len(content)})
        text = run(self.sim, "sdr", "list").stdout
        self.assertEqual(len(text.splitlines()), len(records) + 1)
        for line in (r"full sensor +\d+  0x20/0 0x04  7\.1 +12V",
                     r"FRU device locator +\d+  0x20 FRU 1   10\.1 +PSU FRU",
                     r"controller locator +\d+  0x82 +\d+\.\d+ +Node MC", r"device locator +\d+  0x6e +7\.1 +FPGA",
                     r"entity association +16  - +8\.1 +contains 32\.1 to 32\.\d+",
                     r"device entity association +32  0x20 +23\.1 +contains 29\.97",
                     r"OEM +\d+  - +- +d9 7e 00 01 02", r"compact sensor +\d+  0x20/0 0x0e  32\.\d+ +DIMM"):
            self.assertRegex(text, rf"(?m)^0x[0-9a-f]{{4}}  {line}")

    def test_cut_records(self):
        """Records of every kind that end at any byte: shown as far as they go."""
        run("--sim", "sdr", "dump", self.path)
        content, kinds, cut = self.content(), {}, b""
        while content:
            size = 5 + content[4]
            kinds.setdefault(content[3], content[:size])
            content = content[size:]
        for record in kinds.values():
            for size in range(5, len(record)):
                number = len(cut) % 0xfff0 + 1
                cut += struct.pack("<H", number) + record[2:4] + bytes([size - 5]) + record[5:size]
        pathlib.Path(self.path).write_bytes(cut)
        for args in (["sdr", "list"], ["sensors", "--verbose"], ["entities"]):
            for form in ([], ["--json"]):
                result = run(*form, *args, sim=[*self.machine, "--sdr", self.path])
                self.assertEqual((result.returncode, result.stderr), (0, ""), args)

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
        self.assertNotIn("AGE", text[0])
        self.assertRegex(text[2], r"(?m)^0x20/0  0x02  Fan 1  .* [0-9]+ s$")
        result = run(self.sim, *watch, "--entity=29.1", env={**os.environ, "LC_ALL": "C"})
        self.assertRegex(result.stdout, r"pass 3\nNUM  .*HISTORY\n0x02  Fan 1  .*  ok  .*  [_.:=+*#-]{3}\n")

    def test_watch_on_terminal(self):
        text, status = self.on_terminal({"LC_ALL": "C.UTF-8", "TERM": "xterm", "NO_COLOR": "1"}, self.sim, "sensors",
                                        "--watch=0.1", rows=8, when=[
                                            (b"pass 3", lambda fd: self.resize(fd, 6)), (b"pass 5", self.interrupt)])
        self.assertEqual(status, 0)
        text = text.replace("^C", "")  # as the terminal echoes it, somewhere
        self.assertRegex(text, r"\A(\r\n){8}\033\[\?25l\033\[H[^\0]*\033\[J\033\[\?25h\r\n\Z")
        frames = [frame.split("\r\n") for frame in text.split("\033[H")[1:]]
        for frame in (frames[0], frames[-1]):
            lines = 8 if frame is frames[0] else 6
            self.assertEqual(len(frame[:lines]), lines)
            self.assertRegex(frame[lines - 2], r"\A\d+ more below: ")
            self.assertEqual(frame[lines - 1][:3], "\033[J")
            self.assertTrue(all(line.endswith("\033[K") for line in frame[:lines - 1]))
        self.assertRegex(frames[-1][2], r"CPU Temp .* ok +[\u2581-\u2588]{5,}")

    def test_colour_and_hostile_texts(self):
        machine = self.written("machine.json", {
            "name": "hostile", "system_info": {"os_name": "\033]0;owned\007\u009b31m"},
            "sdr": [{"name": "A\033[31m\r\nB\u009b", "number": 1, "entity": 7, "type": "temperature",
                     "unit": "degrees C", "thresholds": {"uc": 30}, "value": 40}]})
        verbs = (["sensors"], ["info"], ["entities"], ["sensors", "--verbose"], ["sensors", "--watch=1", "--count=1"],
                 ["sdr", "list"])
        for args in (*verbs, *(["--json", *verb] for verb in verbs)):
            with self.subTest(args=args):
                result = run("--sim=" + machine, *args, text=False)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertNotRegex(result.stdout.replace(b"\n", b""), rb"[\x00-\x1f\x7f]|\xc2[\x80-\x9f]")
        for no_colour, pattern in (("", "\033\\[31mupper critical\033\\[0m"), ("1", r"\A[^\033]*\Z")):
            self.assertRegex(self.on_terminal({"NO_COLOR": no_colour, "TERM": "xterm"}, "--sim=" + machine,
                                              "sensors")[0], pattern)

    @staticmethod
    def resize(terminal, rows):
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("4H", rows, 80, 0, 0))

    @staticmethod
    def interrupt(terminal):
        os.write(terminal, b"\x03")

    def on_terminal(self, environment, *args, rows=24, when=()):
        """Output and exit status; `when`: what is done to the terminal once, when a text has come, in turn."""
        child, terminal = pty.fork()
        if child == 0:
            self.resize(1, rows)
            os.execve(TOOL, [TOOL, *args], {**os.environ, **environment})
        output, when = b"", list(when)
        try:
            while chunk := os.read(terminal, 4096):
                output += chunk
                if when and when[0][0] in output:
                    when.pop(0)[1](terminal)
        except OSError:  # the other end is closed
            pass
        os.close(terminal)
        return output.decode(), os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])

    def test_dump(self):
        subprocess.run([SIM, "sdr", "--machine", "sample", self.path], check=True)
        expected = self.content()
        self.assertGreater(len(expected), 1000)
        get = {"netfn": 10, "cmd": 0x23}
        mishaps = [{"completion_code": 0xce}, {"lost_reservation": True}, {"cut_to": 1}, {"cut_to": 0},
                   {"lengthen_to": 40}, {"completion_code": 0xca}]
        plans = [[{**get, "nth": first + 30 * i, **mishap} for i, mishap in enumerate(mishaps)] for first in (1, 2, 7)]
        plans += [[], [{**get, "every": 150, "completion_code": 0xc3}], [{**get, "every": 20, "lost_reservation": True}],
                  [{"netfn": 10, "cmd": 0x22, "nth": 1, "completion_code": 0xc0}]]
        for plan in plans:
            with self.subTest(plan=plan):
                os.remove(self.path)
                result = run("sdr", "dump", self.path, sim=self.faults(*plan))
                self.assertEqual((result.returncode, self.content()), (0, expected), result.stderr)

    def test_failing_bmc(self):
        """One line says why; a dump is whole or not there, and sensors are not listed in part."""
        again = [{"offset": 1, "value": 1}, {"offset": 2, "value": 0}]  # the next record is always record 1
        dump, sensors = ["sdr", "dump", self.path], ["sensors"]
        rows = [  # arguments, network function, command, from, what goes wrong, message
            (dump, 10, 0x23, 20, {"completion_code": 0xce}, "cannot read record .*0xce"),
            (dump, 10, 0x23, 20, {"lost_reservation": True}, "reservation is lost"),
            (dump, 10, 0x23, 1, {"change": again}, "comes again"),
            (dump, 10, 0x23, 20, {"cut_to": 2}, "too short"),
            (dump, 10, 0x20, 1, {"completion_code": 0xc1}, "info: the BMC refuses"),
            (dump, 10, 0x20, 1, {"cut_to": 5}, "too short"),
            (dump, 6, 1, 1, {"completion_code": 0xc3}, "does not answer"),
            (sensors, 6, 1, 1, {"completion_code": 0xff}, "does not answer"),
            (sensors, 10, 0x20, 1, {"completion_code": 0xc1}, "repository"),
            (sensors, 10, 0x23, 1, {"completion_code": 0xc1}, "record"),
        ]
        for args, netfn, cmd, start, wrong, pattern in rows:
            with self.subTest(args=args, cmd=cmd, wrong=wrong):
                self.written("sdr.bin", "as before")
                sim = self.faults({"netfn": netfn, "cmd": cmd, "from": start, "every": 1, **wrong})
                self.assert_one_line(run(*args, sim=sim), pattern)
                self.assertEqual(self.content(), b'"as before"')
                self.assertEqual(sorted(os.listdir(self.folder)), ["faults.json", "sdr.bin"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

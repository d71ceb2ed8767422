#!/usr/bin/env python3
"""tool_test.py TRX-IPMI TRX-BMCSIM: the tool's command lines, output and exit statuses, on the sample machine."""
import json
import os
import pathlib
import pty
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

TOOL, SIM = sys.argv[1:3]
THRESHOLDS = ["lower_non_recoverable", "lower_critical", "lower_non_critical",
              "upper_non_critical", "upper_critical", "upper_non_recoverable"]


def run(*args, sim=None, text=True, **more):
    """Runs the tool; `sim`: options of `trx-bmcsim exec`, to run it on a simulated BMC other than --sim's."""
    command = [TOOL, *args] if sim is None else [SIM, "exec", *sim, "--", TOOL, *args]
    return subprocess.run(command, capture_output=True, text=text, timeout=120, check=False, **more)


class ToolTest(unittest.TestCase):
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

    def faults(self, rule):
        return ["--machine", "sample", "--faults", self.written("faults.json", {"faults": [rule] if rule else []})]

    def content(self):
        return pathlib.Path(self.path).read_bytes()

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
            (["--sim=no-such-machine", "sensors"], "no-such-machine"),  # the simulator's own line
        ]
        for args, pattern in rows:
            with self.subTest(args=args[:6]):
                self.assert_one_line(run(*args), pattern, "trx-bmcsim: " if "no-such" in pattern else "trx-ipmi: ")
        self.assertEqual(os.listdir(self.folder), [])

    @unittest.skipIf(os.path.exists("/dev/ipmi0"), "there is a BMC")
    def test_without_device(self):
        for args in (["sensors"], ["--json", "info"], ["raw", "6", "1"], ["--node=3", "info"],
                     ["sdr", "dump", os.path.join(self.folder, "x")]):
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
        info = json.loads(run("--sim", "info", "--json").stdout)
        self.assertEqual((info["manufacturer_id"], info["product_id"], info["self_test_code"], info["ipmi_version"]),
                         (32473, 4660, 0x5500, "2.0"))
        raw = run("--sim", "--json", "raw", "6", "0x66")
        self.assertEqual(raw.returncode, 1)
        self.assertEqual(json.loads(raw.stdout), {"netfn": 6, "cmd": 0x66, "data": [], "completion_code": 0xc1,
                                                  "completion": "invalid command", "answer": [], "maybe_cut": False})
        dump = json.loads(run("--sim", "--json", "sdr", "dump", self.path).stdout)
        content = self.content()
        records = offset = 0
        while offset < len(content):
            records, offset = records + 1, offset + 5 + content[offset + 4]
        self.assertEqual(dump, {"file": self.path, "records": records, "bytes": offset})

    def test_sensors_json(self):
        sensors = json.loads(run("--sim", "--json", "sensors").stdout)["sensors"]
        self.assertGreater(len(sensors), 110)
        for sensor in sensors:
            with self.subTest(name=sensor["name"]):
                self.assertEqual(list(sensor), ["name", "number", "owner", "lun", "record_id", "type", "value", "unit",
                                                "raw", "state", "thresholds"])
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

    def test_columns(self):
        """Each value in the table is the one in the JSON, to the digits shown."""
        sensors = json.loads(run("--sim", "--json", "sensors").stdout)["sensors"]
        lines = run("--sim", "sensors").stdout.splitlines()
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

    def test_colour_and_hostile_texts(self):
        machine = self.written("machine.json", {
            "name": "hostile", "system_info": {"os_name": "\033]0;owned\007\u009b31m"},
            "sdr": [{"name": "A\033[31m\r\nB\u009b", "number": 1, "entity": 7, "type": "temperature",
                     "unit": "degrees C", "thresholds": {"uc": 30}, "value": 40}]})
        for args in (["sensors"], ["info"], ["--json", "sensors"], ["--json", "info"]):
            with self.subTest(args=args):
                result = run("--sim=" + machine, *args, text=False)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertNotRegex(result.stdout.replace(b"\n", b""), rb"[\x00-\x1f\x7f]|\xc2[\x80-\x9f]")
        for no_colour, pattern in (("", "\033\\[31mupper critical\033\\[0m"), ("1", r"\A[^\033]*\Z")):
            self.assertRegex(self.on_terminal({"NO_COLOR": no_colour, "TERM": "xterm"}, "--sim=" + machine, "sensors"),
                             pattern)

    @staticmethod
    def on_terminal(environment, *args):
        ours, its = pty.openpty()
        with subprocess.Popen([TOOL, *args], stdout=its, env={**os.environ, **environment}) as process:
            os.close(its)
            output = b""
            try:
                while chunk := os.read(ours, 4096):
                    output += chunk
            except OSError:  # the other end is closed
                pass
            process.wait(60)
        os.close(ours)
        return output.decode()

    def test_dump(self):
        subprocess.run([SIM, "sdr", "--machine", "sample", self.path], check=True)
        expected = self.content()
        self.assertGreater(len(expected), 1000)
        get = {"netfn": 10, "cmd": 0x23}
        rules = [None] + [{**get, "nth": n, **how} for n in (1, 2, 7, 150)
                          for how in ({"completion_code": 0xce}, {"lost_reservation": True}, {"cut_to": 1},
                                      {"cut_to": 0}, {"lengthen_to": 40}, {"completion_code": 0xca})]
        rules += [{**get, "every": 40, "completion_code": 0xc3}, {**get, "every": 20, "lost_reservation": True},
                  {"netfn": 10, "cmd": 0x22, "nth": 1, "completion_code": 0xc0}]
        for rule in rules:
            with self.subTest(rule=rule):
                os.remove(self.path)
                result = run("sdr", "dump", self.path, sim=self.faults(rule))
                self.assertEqual((result.returncode, self.content()), (0, expected), result.stderr)

    def test_failing_bmc(self):
        """One line says why; a dump is whole or not there, and sensors are not listed in part."""
        again = [{"offset": 1, "value": 1}, {"offset": 2, "value": 0}]  # the next record is always record 1
        dump, sensors = ["sdr", "dump", self.path], ["sensors"]
        rows = [  # arguments, network function, command, from, what goes wrong, message
            (dump, 10, 0x23, 20, {"completion_code": 0xce}, "cannot read record .*0xce"),
            (dump, 10, 0x23, 20, {"lost_reservation": True}, "reservation is lost"),
            (dump, 10, 0x23, 1, {"change": again}, "comes again"),
            (dump, 10, 0x23, 20, {"completion_code": 0xca}, "0xca"),
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

#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""serve_test.py TRX-BMCSIM: a served simulator, its control, and how programs find it; and programs run on one of their own."""
import json
import os
import pty
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import termios
import unittest

SIM = sys.argv[1]
HOSTILE = [b"", b"{", b"7", b"[]", b"{}", b'{"do": 3}', b'{"do": "fly"}', b"\xff\xfe\0", b"[" * 60000, b'{"do": "set"}',
           b'{"do": "set", "sensor": "CPU Temp"}', b'{"do": "set", "sensor": "CPU Temp", "value": 1e999}',
           b'{"do": "set", "sensor": "CPU Temp", "raw": 1, "value": 1}', b'{"do": "set", "sensor": "\xff", "raw": 1}',
           b'{"do": "faults", "plan": 1}', b'{"do": "counters", "clear": "yes"}', b'{"do": "event", "sensor": "Fan 1", "offset": 16}',
           b'{"do": "event", "sensor": "Fan 1", "offset": 1, "number": 3}', b'{"do": "sel", "time": -1}', b'{"do": "sel", "clean": true}',
           b"x" * 70000]


class ServeTest(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.mkdtemp(prefix="it's ")
        self.addCleanup(shutil.rmtree, self.root, ignore_errors=True)
        self.folder = os.path.join(self.root, "sim")
        self.environment = {k: v for k, v in os.environ.items() if k != "TRX_BMCSIM_DIR"}
        self.server = self.serve()

    def serve(self, *options):
        server = subprocess.Popen([SIM, "serve", "--socket", self.folder, "--vm", "0", *options], stdout=subprocess.PIPE, text=True,
                                  env=self.environment)
        self.addCleanup(server.stdout.close)
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        self.ready = server.stdout.readline()
        return server

    def run_sim(self, *arguments):
        return subprocess.run([SIM, *arguments], capture_output=True, text=True, timeout=60, check=False, env=self.environment)

    def ctl(self, *arguments):
        return self.run_sim("ctl", "--socket", self.folder, *arguments)

    def assert_refused(self, mistake, *arguments):
        result = self.run_sim(*arguments)
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertRegex(result.stderr, rf"\Atrx-bmcsim: [^\n]*{mistake}[^\n]*\n\Z")

    def control(self):
        client = socket.socket(socket.AF_UNIX)
        client.settimeout(30)
        client.connect(self.folder + "/control")
        self.addCleanup(client.close)
        return client

    def sensor(self, name):
        sensors = json.loads(self.ctl("sensors", "--json").stdout)["sensors"]
        return next(s for s in sensors if s["name"] == name)

    def test_ctl(self):
        plan = os.path.join(self.root, "plan.json")
        with open(plan, "w", encoding="utf-8") as f:
            f.write('{"faults": [{"netfn": 6, "cmd": 1, "completion_code": 193}]}')
        rows = [
            (["set", "CPU Temp", "96.4"], r"CPU Temp +0x60 +- +96$"), (["set", "Inlet Temp", "-3"], r"0xfd +- +-3$"),
            (["set", "CPU Temp", "--states", "0x10"], r"0x60 +0x0010"), (["set", "0", "50"], r"CPU Temp +0x32 +- +50$"),
            (["set", "0x01@0x82", "--raw", "40"], "Node Temp +0x28"), (["set", "2@130/1", "--raw", "40"], "Node Power +0x28"),
            (["set", "DIMM 2", "--states", "2"], "0x0f  DIMM 2 .*0x0002"), (["set", "Fan 1", "--unavailable"], r"Fan 1 +- "),
            (["latency", "0"], "^$"), (["faults", plan], "^$"), (["faults", "none"], "^$"), (["counters", "--clear"], "total +"),
            (["sel", "--clear", "--time", "1600000000"], "0 of 3639 records; its clock says 2020-09-13 12:26:40 UTC$"),
            (["event", "GPU Temp", "--offset", "9"], "logged 1, the last as record 0x0001$"), (["sel"], "20 00 04 01 39 01 59 5f 5f$"),
            (["event", "BIOS POST", "--offset", "2", "--data", "13"], "0x0002$"), (["sel"], "41 00 04 0f 06 6f c2 13 ff$"),
            (["event", "Node Power", "--offset", "7", "--deassert", "--data", "0a", "0b"], "0x0003$"),
            (["sel"], "82 01 04 03 02 81 57 0a 0b$"),
            (["event", "--raw", "99 99 c5 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d", "--count", "300"], "logged 300, .* 0x012f$"),
            (["sel"], "^2f 01 c5 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d$"), (["set", "CPU Temp", "60"], "."),
            (["event", "0", "--offset", "1", "--count", "9999"], "logged 3336,"), (["sel"], "some were lost"),
            (["event", "0", "--offset", "1"], "^not logged"), (["sel", "--clear"], "^0 of 3639 records;"),
        ]
        mistakes = [
            (["set", "Temp", "3"], "several sensors"), (["set", "0@0x84", "3"], "no sensor"), (["set", "CPU Temp"], "set takes one of"),
            (["set", "CPU Temp", "nan"], "no number"), (["set", "CPU Status", "3"], "no factors"), (["latency", "-1"], "MS"),
            (["set", "CPU Temp", "--raw", "300"], "raw"), (["faults", "/dev/null"], "/dev/null"), (["fly"], "."),
            (["faults", self.root + "/none"], "No such file"), (["event", "3", "--offset", "1", "--raw", "00"], "event takes"),
            (["event", "Nobody", "--offset", "1"], "no sensor"), (["event", "--raw", "00"], "16 bytes"), (["sel", "--time", "x"], "time"),
        ]
        for arguments, printed in rows:
            with self.subTest(arguments=arguments):
                result = self.ctl(*arguments)
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                self.assertRegex(result.stdout.rstrip("\n"), re.compile(printed, re.M))
        for arguments, mistake in mistakes:
            with self.subTest(arguments=arguments):
                self.assert_refused(mistake, "ctl", "--socket", self.folder, *arguments)

    def test_programs_reach_it(self):
        if not shutil.which("ipmitool"):
            self.skipTest("no ipmitool")
        script = ('eval "$("$1" env --socket "$2")" && eval "$("$1" env --socket "$2")" && ipmitool -I open raw 6 1 && '
                  '"$1" ctl set "CPU Temp" 60 && ipmitool -I open sensor get "CPU Temp" && "$1" ctl counters')
        result = subprocess.run(["sh", "-c", script, "sh", SIM, self.folder], capture_output=True, text=True, timeout=60, check=False,
                                env=self.environment)
        self.assertRegex(result.stdout, r"(?s)\A 20 01 .* 60 .*Get Device ID", result.stderr)
        self.assertEqual(result.stdout.count("ERROR"), 0)

    def test_hostile_control(self):
        idle = [self.control() for _ in range(40)]
        for line in HOSTILE:
            with self.subTest(line=line[:60]):
                client = self.control()
                client.sendall(line + b"\n")
                answer = json.loads(client.makefile("rb").readline())
                self.assertEqual(list(answer), ["error"])
        self.assertEqual(self.sensor("CPU Temp")["raw"], 40)
        client = self.control()
        client.sendall(b'{"do": "sensors"}\n' * 500 + b'{"do": "lat')  # without reading; then in pieces
        client.sendall(b'ency", "ms": 0}\n')
        client.shutdown(socket.SHUT_WR)
        self.assertEqual([json.loads(line)["ok"] for line in client.makefile("rb")], [True] * 501)
        self.assertEqual(idle[0].recv(1), b"")

    def test_vm_port(self):
        port = int(re.search(r"127\.0\.0\.1:(\d+)$", self.ready).group(1))
        with socket.create_connection(("127.0.0.1", port), 30) as machine:
            machine.sendall(bytes.fromhex("031801e4a0"))
            heard = machine.makefile("rb")
            self.assertEqual(heard.read(2).hex(), "05a1")
            self.assertEqual(heard.read(6).hex(), "031c01002001")
        for given, mistake in ((port, "Address already in use"), (70000, "--vm"), ("x", "--vm"), (-1, "--vm")):
            self.assert_refused(mistake, "serve", "--socket", self.root + "/other", "--vm", str(given))
        self.assertEqual(os.listdir(self.root), ["sim"])

    def test_one_lives_at_a_place(self):
        self.assert_refused("already", "serve", "--socket", self.folder)
        self.server.kill()
        self.server.wait()
        self.assertIn("ipmi0", os.listdir(self.folder))
        self.assertRegex(self.ctl("sensors").stderr, "no simulator serves")
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            server = self.serve()  # also where a dead one was
            self.assertEqual(self.ctl("latency", "0").returncode, 0)
            self.assertEqual(os.stat(self.folder).st_mode & 0o777, 0o700)
            server.send_signal(number)
            self.assertEqual(server.wait(30), 0)
            self.assertEqual(os.listdir(self.root), [])

    def test_places(self):
        os.makedirs(self.root + "/open", mode=0o700)
        os.chmod(self.root + "/open", 0o777)
        os.symlink(self.root, self.root + "/link")
        os.makedirs(self.root + "/taken/ipmi0", mode=0o700)
        rows = [(self.root + "/open", "others can write"), (self.root + "/link", "."), (self.root + "/no/folder", "No such file"),
                (self.root + "/taken", "in the way"), (self.root + "/" + 100 * "x", "too long"), ("/dev/null", "Not a directory")]
        for folder, mistake in rows:
            with self.subTest(folder=folder):
                self.assert_refused(mistake, "serve", "--socket", folder)
        for variable, usual in ((self.root, self.root + "/trx-bmcsim"), ("relative", f"/tmp/trx-bmcsim-{os.geteuid()}"),
                                ("/" + 100 * "x", f"/tmp/trx-bmcsim-{os.geteuid()}")):
            self.environment["XDG_RUNTIME_DIR"] = variable
            self.assertIn(usual.replace("'", "'\\''"), self.run_sim("env").stdout)
        for name, kept in (("bin/trx-bmcsim", SIM), ("lib/libtrx-bmcsim-shim.so", os.path.dirname(SIM) + "/../lib/libtrx-bmcsim-shim.so")):
            os.makedirs(self.root + "/" + os.path.dirname(name))  # under a path with a blank
            shutil.copy(kept, self.root + "/" + name)
        moved = subprocess.run([self.root + "/bin/trx-bmcsim", "env"], capture_output=True, text=True, check=False, env=self.environment)
        self.assertEqual((moved.returncode, moved.stdout), (2, ""))
        self.assertIn("cannot be preloaded", moved.stderr)
        if os.geteuid() == 0:
            self.environment["XDG_RUNTIME_DIR"] = self.root
            os.makedirs(self.root + "/trx-bmcsim")
            os.chown(self.root + "/trx-bmcsim", 65534, 65534)
            for arguments in (["serve"], ["env"], ["ctl", "sensors"]):
                self.assertRegex(self.run_sim(*arguments).stderr, r"\Atrx-bmcsim: [^\n]*somebody else[^\n]*\n\Z")


class ExecTest(unittest.TestCase):
    """Unmodified programs on the simulated device: statuses, signals, mistakes."""

    def check(self, line, status, text):
        """Status 2 is one line, whatever is wrong; nothing is ever left behind."""
        folder = self.enterContext(tempfile.TemporaryDirectory())
        with open(folder + "/busy.json", "w", encoding="utf-8") as f:
            f.write('{"faults": [{"netfn": 6, "cmd": 8, "nth": 1, "busy_ms": 60000}]}')
        environment = {**os.environ, "BMCSIM": SIM, "EXEC": SIM + " exec --", "TOOL": "ipmitool -I open", "FOLDER": folder,
                       "TMPDIR": folder}
        result = subprocess.run(["sh", "-c", line], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="latin-1", timeout=60,
                                check=False, env=environment)
        self.assertEqual(result.returncode, status, result.stdout)
        self.assertIn(text, result.stdout)
        self.assertTrue(status != 2 or result.stdout.count("\n") == 1, result.stdout)
        self.assertFalse([name for name in os.listdir(folder) if name.startswith("trx-bmcsim-")])

    def test_ctrl_c(self):
        """The terminal sends it to the program; the simulator does not send it again."""
        script = "trap 'echo INT' INT; trap 'echo END; exit 3' TERM; echo ready; while :; do sleep 0.05; done"
        process, terminal = pty.fork()
        if process == 0:
            modes = termios.tcgetattr(1)
            modes[3] |= termios.NOFLSH  # Ctrl-C drops nothing that the program writes when it hears of it
            termios.tcsetattr(1, termios.TCSANOW, modes)
            signal.signal(signal.SIGINT, signal.SIG_DFL)  # whoever runs this test may ignore it
            os.execv(SIM, [SIM, "exec", "--", "sh", "-c", script])
        self.addCleanup(os.close, terminal)
        said = b""
        for awaited, sent in ((b"ready", signal.SIGSTOP), (b"INT", signal.SIGCONT), (b"", signal.SIGTERM), (b"END", 0)):
            while awaited not in said:
                said += os.read(terminal, 100)
            os.kill(process, sent)
            if sent == signal.SIGSTOP:  # so that what it might send comes after the program's own
                os.write(terminal, b"\x03")
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]), 3)
        self.assertEqual(said.count(b"INT"), 1)

    def test_exec(self):
        freeipmi = "--driver-type=openipmi --sdr-cache-directory=$FOLDER"
        rows = [  # the program that must be there, and what is done with it
            ("sh", [
                ("$EXEC sh -c 'kill -9 $$'", 137, ""), ("$EXEC printf '<%s>' '[a,b]' '' -- '{x}'", 0, "<[a,b]><><--><{x}>"),
                ("$EXEC id -u", 0, "0\n"), ("$EXEC sh -c 'stat -c %a $TRX_BMCSIM_DIR'", 0, "700\n"),
                ("ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=libm.so.6 $EXEC sh -c 'echo $LD_PRELOAD'", 0, "libm.so.6:/"),
                ("$EXEC sh -c ': <>/dev/ipmi1'", 2, "/dev/ipmi1"), ("$EXEC sh -c 'kill -INT $PPID; exec sleep 9'", 130, ""),
                ("$EXEC sh -c 'trap \"exit 3\" TERM; kill -TERM $PPID; while :; do sleep 0.05; done'", 3, ""),
                ("$BMCSIM machines", 0, "sample\n"),
                ("$BMCSIM sdr $FOLDER/a && $BMCSIM sdr --machine sample $FOLDER/b && cmp $FOLDER/a $FOLDER/b", 0, ""),
                ("$BMCSIM", 2, "subcommand"), ("$BMCSIM exec", 2, "needs a command after --"), ("$EXEC $FOLDER/none", 2, "cannot run"),
                ("$BMCSIM sdr $FOLDER/none/x", 2, "cannot write"),
                *((f"$BMCSIM exec {option} -- true", 2, mistake) for option, mistake in (
                    ("--wrong", "--wrong"), ("--machine none", "none"), ("--sdr $FOLDER/none", "none: No such file"),
                    ("--faults /dev/null", "/dev/null"), ("--fru 256=/dev/null", "--fru 256=/dev/null"), ("--fru x", "--fru x"),
                    ("--fru 1@300=/dev/null", "satellite's"),
                    ("--latency -1", "--latency")))]),
            ("ipmitool", [
                ("$EXEC $TOOL mc info", 0, "Manufacturer ID           : 32473"), ("$EXEC $TOOL fru", 0, "Node Board (ID 0)"),
                ("$EXEC $TOOL -v fru print 1", 0, "Nominal voltage            : -12.00 V"),
                ("$EXEC $TOOL -t 0x82 fru print 0", 0, "NOD0001"),
                ('$EXEC sh -c "$TOOL fru read 0 $FOLDER/f; $TOOL fru write 5 $FOLDER/f; $TOOL fru print 5"', 0, "Sample Mainboard"),
                ("$EXEC $TOOL fru read 3 $FOLDER/f; $BMCSIM exec --fru 9@0x84=$FOLDER/f -- $TOOL -t 0x84 fru print 9", 0, "2023-0412.7"),
                ("$EXEC $TOOL sensor list", 0, "CPU Temp         | 40.000     | degrees C  | ok"),
                ("$BMCSIM exec --ipmb-timeout 20 -- $TOOL -t 0x84 mc info", 1, "Timeout"), ("$EXEC $TOOL -d 1 mc info", 1, "No such file"),
                ('$BMCSIM exec --faults $FOLDER/busy.json -- sh -c "$TOOL raw 6 8 && ! $TOOL raw 6 1"', 0, "Device or resource busy"),
                ("$EXEC sh -c \"$TOOL sensor thresh 'CPU Temp' ucr 96; $TOOL sensor get 'CPU Temp'\"", 0,
                 "Upper Critical        : 96.000"),
                ('$EXEC sh -c "for i in 1 2 3 4 5 6; do $TOOL mc guid & done; wait"', 0, "System GUID")]),
            ("ipmi-sensors", [
                (f"$EXEC ipmi-sensors {freeipmi}", 0, "| CPU Temp         | Temperature              | 40.00      | C"),
                (f"$EXEC ipmi-sel {freeipmi}", 0, "Upper Non-critical - going high ; Sensor Reading = 90.00 C"),
                (f"$EXEC ipmi-fru {freeipmi}", 0, "FRU Error: product info area checksum invalid"),
                (f"$EXEC ipmi-fru --bridge-fru {freeipmi}", 0, "FRU Board Product Name: Compute Node"),
                ("$EXEC bmc-info --driver-type=openipmi", 0, "Product ID            : 4660")]),
        ]
        for program, lines in rows:
            for line in lines:
                with self.subTest(line=line):
                    if not shutil.which(program):
                        self.skipTest("no " + program)
                    self.check(*line)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

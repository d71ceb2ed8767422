#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""monitor_test.py TRX-IPMI TRX-BMCSIM: the long-running views, monitor and sel --follow, on a served simulator."""
import array
import fcntl
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import threading
import unittest

TOOL, SIM = sys.argv[1:3]
SAMPLE = pathlib.Path(__file__).resolve().parents[2] / "sim" / "machines" / "sample.json"
BUSY = {"netfn": 6, "cmd": 1, "count": 1, "busy_ms": 2500}
STARTING = {"netfn": 6, "cmd": 1, "count": 8, "completion_code": 0xd2}
SMALL_PIPE = 4096


class MonitorTest(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.root, ignore_errors=True)
        self.folder = self.root + "/sim"
        self.environment = dict(os.environ)
        machine = pathlib.Path(self.root, "machine.json")
        machine.write_text(re.sub(r', "latency_ms": \d+', "", SAMPLE.read_text(encoding="utf-8")), encoding="utf-8")
        self.server = self.started([SIM, "serve", "--socket", self.folder, "--machine", machine])
        self.server.stdout.readline()
        for line in subprocess.check_output([SIM, "env", "--socket", self.folder], text=True).splitlines():
            for name, value in re.findall(r"(\w+)='?([^'\"; ]+)", line):
                self.environment[name] = value
        self.control = socket.socket(socket.AF_UNIX)
        self.addCleanup(self.control.close)
        self.control.connect(self.folder + "/control")
        self.answers = self.control.makefile("rb")
        self.addCleanup(self.answers.close)

    def started(self, command, **more):
        process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, env=self.environment, **more)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        watchdog = threading.Timer(40, process.kill)  # reading finds its end then
        watchdog.start()
        self.addCleanup(watchdog.cancel)
        return process

    def tool(self, *args, interval="0.2", **more):
        return self.started([TOOL, "--json", *args, *(["--interval", interval] if interval else [])], **more)

    def ctl(self, do, **more):
        self.control.sendall(json.dumps({"do": do, **more}).encode() + b"\n")
        answer = json.loads(self.answers.readline())
        self.assertTrue(answer.get("ok"), answer)
        return answer

    def faults(self, *rules):
        self.ctl("faults", plan=json.dumps({"faults": rules}))

    def requests(self):
        return self.ctl("counters")["total"]

    def wait_until(self, condition):
        """Asks the simulator in between, so that other processes have their turn."""
        while not condition():
            self.requests()

    @staticmethod
    def is_full(pipe):
        waiting = array.array("i", [0])
        fcntl.ioctl(pipe, termios.FIONREAD, waiting)
        return waiting[0] > SMALL_PIPE - 600  # a line has less

    def line(self, process, kind, node=0):
        line = json.loads(process.stdout.readline())
        self.assertEqual((line["kind"], line["node"]), (kind, node), line)
        self.assertRegex(line["time"], r"\A\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\Z")
        return line

    def ended(self, process, number=signal.SIGTERM):
        """The lines that were still to come."""
        process.send_signal(number)
        self.assertEqual(process.wait(30), 0)
        return [json.loads(line) for line in process.stdout]

    def test_each_event_once_and_in_order(self):
        for verb in (["monitor"], ["sel", "--follow"]):
            with self.subTest(verb=verb):
                process = self.tool(*verb)
                start = self.line(process, "start")
                self.assertGreater(start["sensors"], 100)
                ids = [self.ctl("event", sensor="Fan 1", offset=i % 2, deassert=i % 3 == 0)["last_id"] for i in range(60)]
                records = [self.line(process, "event")["record"] for _ in ids]  # and again in the same second
                ids.append(self.ctl("event", raw="00 00 c0 00 00 00 00 01 02 03 04 05 06 07 08 09")["last_id"])
                records.append(self.line(process, "event")["record"])
                self.assertEqual([record["id"] for record in records], ids)
                self.assertEqual([(record["sensor_name"], record["asserted"]) for record in records[:3]],
                                 [("Fan 1", False), ("Fan 1", True), ("Fan 1", True)])
                later = struct.pack("<I", self.ctl("sel")["time"] + 5)  # two erasures in one second are one
                self.assertEqual(self.started([TOOL, "raw", "10", "0x49", *map(str, later)]).wait(), 0)
                self.ctl("sel", clear=True)
                self.ctl("event", sensor="12V", offset=9)
                self.assertEqual(self.line(process, "event")["record"]["sensor_name"], "12V")
                self.assertEqual([line["kind"] for line in self.ended(process)], ["end"])

    def test_states(self):
        for sensor, change, before, now, words in (
                ("Fan 1", {"value": 480}, "ok", "lower critical", r"Fan 1  ok -> lower critical  480 RPM"),
                ("PSU Status", {"states": 3}, "0", "0,1", "PSU Status  Presence detected -> Presence detected, Failure detected"),
                ("Inlet Temp", {"unavailable": True}, "ok", None, "Inlet Temp  ok -> no reading")):
            with self.subTest(sensor=sensor):
                process, text = self.tool("monitor"), self.started([TOOL, "monitor", "--interval=0.2"])
                self.line(process, "start")
                self.assertIn("watching", text.stdout.readline())
                timeless = "OEM 0xe0  " + " ".join(["07"] * 13)
                self.ctl("event", raw="00 00 e0" + " 07" * 13)
                self.ctl("set", sensor=sensor, **change)
                line = json.loads(process.stdout.readline())
                while line["kind"] == "event":  # that the sensor has sent itself
                    line = json.loads(process.stdout.readline())
                self.assertEqual((line["sensor"]["name"], line["previous_state"], line["sensor"]["state"]),
                                 (sensor, before, now))
                self.ended(process)
                shown = "\n"
                while not (re.search(words, shown) and timeless in shown) and (more := text.stdout.readline()):
                    shown += more
                self.assertRegex(shown, rf"\n[\d-]{{10}} [\d:]{{8}}  {words}")
                self.assertIn("\n" + timeless, shown)  # its own time, which it has not
                text.terminate()

    def test_silence(self):
        process = self.tool("monitor")
        self.line(process, "start")
        for fault, reason in ((BUSY, "the BMC does not answer"), (BUSY, "the BMC does not answer"),
                              (STARTING, "the BMC answers only with completion code 0xd2, BMC initialisation in progress")):
            self.faults(fault)
            self.assertEqual(self.line(process, "lost")["reason"], reason)
            self.ctl("event", sensor="Fan 1", offset=1)
            self.line(process, "regained")
            self.line(process, "event")
        self.faults({"no_answer": True})
        asked = self.requests()
        self.wait_until(lambda: self.requests() > asked)
        self.assertEqual([line["kind"] for line in self.ended(process)], ["end"])
        self.faults()
        process = self.tool("monitor")
        self.line(process, "start")
        self.server.kill()
        self.assertIn("/dev/ipmi0 has gone", self.line(process, "lost")["reason"])
        self.assertEqual([line["reason"] for line in self.ended(process, signal.SIGINT)], ["SIGINT"])

    def test_ends(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):  # while it starts
            self.ctl("latency", ms=100)
            asked = self.requests()
            process = self.tool("monitor", interval=None)
            self.wait_until(lambda: self.requests() > asked + 4)
            self.assertEqual(self.ended(process, number), [])
        self.ctl("latency", ms=0)
        if "TSAN_OPTIONS" not in os.environ:  # whose _exit() waits for the thread that writes
            process = self.tool("sel", "--follow", pipesize=SMALL_PIPE)  # while nobody reads what it writes
            self.line(process, "start")
            self.ctl("event", sensor="Fan 1", offset=1, count=100)
            self.wait_until(lambda: self.is_full(process.stdout))
            process.terminate()
            self.assertEqual(process.wait(30), 0)
        process = self.tool("monitor")
        self.line(process, "start")
        process.stdout.close()
        self.ctl("event", sensor="Fan 1", offset=1)
        self.assertIn(process.wait(30), (0, -signal.SIGPIPE))

    def test_several_nodes(self):
        os.symlink("ipmi0", self.folder + "/ipmi2")
        process = self.tool("monitor", "--nodes", "2,0")
        starts = sorted((json.loads(process.stdout.readline()) for _ in range(2)), key=lambda line: line["node"])
        self.assertEqual([(line["kind"], line["node"]) for line in starts], [("start", 0), ("start", 2)])
        self.assertEqual(starts[0]["sensors"], starts[1]["sensors"])
        self.ctl("event", sensor="Fan 1", offset=1)
        events = [json.loads(process.stdout.readline()) for _ in range(2)]
        self.assertEqual(sorted((e["kind"], e["node"], e["record"]["sensor_name"]) for e in events),
                         [("event", 0, "Fan 1"), ("event", 2, "Fan 1")])
        self.assertEqual([(line["kind"], line["node"]) for line in self.ended(process)], [("end", 0), ("end", 2)])

    def test_service_manager(self):
        manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(manager.close)
        self.environment["NOTIFY_SOCKET"] = self.root + "/notify"
        manager.bind(self.environment["NOTIFY_SOCKET"])
        process = self.tool("monitor")
        self.assertIn(b"READY=1", manager.recv(4096))
        self.faults(BUSY)
        for pattern in (rb"\ASTATUS=node 0: the BMC does not answer\Z", rb"\ASTATUS=.*answers again"):
            self.assertRegex(manager.recv(4096), pattern)
        self.ended(process)
        self.assertRegex(manager.recv(4096), rb"\ASTOPPING=1\nSTATUS=SIGTERM\Z")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)

# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""listen, check and report with rehearsal servers and their faults."""

import json
import os
import re
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from brenvokactl import BUILD, PROGRAM, ProgramCase, RawServer, loopback, reply
from fixtures.children import folders_below
from fixtures.waiting import wait_for

DRAWN = ("--generate", "7", "--folders", "2", "--visuals", "3")
# A socket of its own process on the discovery port; the argument says whether it shares the port.
LISTENER = """
import socket, sys
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, int(sys.argv[1]))
s.bind(("0.0.0.0", 3001))
print("bound", flush=True)
sys.stdin.read()
"""


class Listen(ProgramCase):
    def listen(self, code, *options):
        return self.document(code, "listen", "--for", 2, *options)

    def test_listable_server(self):
        self.serve(2, "Stage left")
        document = self.listen(0)
        self.assertEqual(document["listed"], 1)
        (sender,) = document["senders"]
        self.assertEqual((sender["address"], sender["name"], sender["mask"], sender["netmask"]),
                         (loopback(2), "Stage left", "255.0.0.0", 8))
        self.assertTrue(sender["listed"])
        self.assertIsNone(sender["reason"])
        self.assertGreaterEqual(sender["heard"], 1)

    def test_wrong_mask_is_explained(self):
        self.serve(2, "Stage left", "--mask-network-order")
        document = self.listen(1)
        self.assertEqual(document["listed"], 0)
        (sender,) = document["senders"]
        self.assertIn("network order", sender["reason"])
        self.assertIsNone(sender["netmask"])
        self.assertIn("invalid mask", self.output(1, "listen", "--for", 2))

    def test_other_traffic_is_named(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            sender.bind((loopback(5), 0))
            process = subprocess.Popen([PROGRAM, "listen", "--for", "2", "--format", "json"],
                                       stdout=subprocess.PIPE, env=self.environment)
            while process.poll() is None:
                sender.sendto(b"hello", ("127.0.0.1", 3001))
                try:
                    process.wait(0.1)
                except subprocess.TimeoutExpired:
                    pass
        document = json.load(process.stdout)
        process.stdout.close()
        self.assertEqual(process.returncode, 1)
        (heard,) = document["senders"]
        self.assertEqual((heard["address"], heard["name"], heard["id"]), (loopback(5), None, None))
        self.assertIn("too short", heard["reason"])
        self.assertGreater(document["interruptions"], 0)

    def test_unread_and_longer_datagrams_are_listed_by_address(self):
        announcement = bytearray(128)
        announcement[3] = 1
        announcement[24:32] = b"identity"
        announcement[116:120] = b"\0\0\0\xff"
        process = subprocess.Popen([PROGRAM, "listen", "--for", "3", "--format", "json"],
                                   stdout=subprocess.PIPE, env=self.environment)
        self.addCleanup(process.stdout.close)
        wait_for(lambda: ":0BB9 " in Path("/proc/net/udp").read_text(), "the socket")
        # The second one is more often than there are ticks, so the third one is not read.
        for number, datagram, count in ((7, announcement + bytes(897), 1), (5, b"hello", 50),
                                        (6, announcement, 1)):
            with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
                sender.bind((loopback(number), 0))
                for _ in range(count):
                    sender.sendto(datagram, ("127.0.0.1", 3001))
        self.assertEqual(process.wait(60), 1)
        heard = [(sender["address"], sender["heard"], sender["reason"])
                 for sender in json.load(process.stdout)["senders"]]
        self.assertEqual([line[:2] for line in heard],
                         [(loopback(5), 50), (loopback(6), 1), (loopback(7), 1)])
        self.assertIn("not read", heard[1][2])
        self.assertIn("longer than 1024", heard[2][2])

    def test_silence(self):
        self.assertEqual(self.listen(1)["senders"], [])

    def start_listener(self, shares):
        listener = subprocess.Popen([sys.executable, "-c", LISTENER, str(int(shares))],
                                    stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(listener.wait)
        self.addCleanup(listener.stdin.close)
        self.addCleanup(listener.stdout.close)
        self.assertEqual(listener.stdout.readline(), b"bound\n")
        return listener

    def test_port_of_another_program_is_not_taken(self):
        listener = self.start_listener(shares=True)
        self.assert_refused("listen", "--for", 1, contains=f"(process {listener.pid});")
        self.serve(2, "Stage left")
        self.assertEqual(self.listen(0, "--share")["listed"], 1)

    def test_running_window_is_named(self):
        home = Path(self.enterContext(tempfile.TemporaryDirectory()))
        window = subprocess.Popen(
            [BUILD / "brenvoka"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**self.environment, "QT_QPA_PLATFORM": "offscreen", **folders_below(home)})
        self.addCleanup(window.wait)
        self.addCleanup(window.terminate)
        wait_for(lambda: ":0BB9 " in Path("/proc/net/udp").read_text(), "the window's socket")
        self.assert_refused("listen", "--for", 1, contains=f"by brenvoka (process {window.pid});")

    def test_socket_that_no_process_has_open_is_reported(self):
        ends = socket.socketpair()
        self.addCleanup(ends[0].close)
        self.addCleanup(ends[1].close)
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as listener:
            listener.bind(("0.0.0.0", 3001))
            socket.send_fds(ends[0], [b"x"], [listener.fileno()])
        self.assert_refused("listen", "--for", 1, contains="by another program;")

    def test_port_that_is_not_shared_is_an_error(self):
        listener = self.start_listener(shares=False)
        self.assert_refused("listen", "--for", 1, "--share",
                            contains=f"(process {listener.pid})")


class Check(ProgramCase):
    def check(self, code, *options):
        document = self.document(code, "check", loopback(2), *options)
        return document, {(entry["result"], entry["subject"]): entry
                          for entry in document["findings"]}

    def test_good_library(self):
        self.serve(2, "Stage left", *DRAWN)
        document, findings = self.check(0)
        self.assertEqual(document["result"], "accepted")
        self.assertEqual({result for result, _ in findings}, {"ok"})
        self.assertIn(": accepted\n", self.output(0, "check", loopback(2)))

    def test_cut_document(self):
        self.serve(2, "Stage left", "--bad-json", *DRAWN)
        document, findings = self.check(1)
        self.assertEqual(document["result"], "refused")
        self.assertIn("at byte", findings["refused", "JSON"]["text"])

    def test_version_header(self):
        self.serve(2, "Stage left", "--version-header", "0")
        self.assertIn('"0"', self.check(1)[1]["refused", "version"]["text"])

    def test_feature_list(self):
        self.serve(2, "Stage left", "--features", "1x")
        self.assertIn('"1x"', self.check(1)[1]["refused", "feature list"]["text"])

    def test_rule_with_folder_and_slot(self):
        self.answer(2, reply({"hash": "", "folders": [
            {"slot": folder, "name": "n", "files": [{"slot": slot, "name": "n", "hash": "short"}]}
            for folder, slot in ((3, 17), (0, 0))]}))
        places = [(entry["folder"], entry["slot"]) for entry in self.check(1)[0]["findings"]]
        self.assertEqual(places[-2:], [(3, 17), (0, 0)])
        self.assertEqual(places[0], (None, None))
        self.assertIn('"document","0","0",',
                      self.output(1, "check", loopback(2), "--format", "csv"))

    def test_what_works_badly_is_accepted(self):
        server = self.serve(2, "Stage left", "--sparse", *DRAWN)
        for slot in [slot for number, slot in server.slots() if number == 0]:
            server.remove(0, slot)
        document, findings = self.check(0)
        self.assertEqual(document["result"], "accepted")
        self.assertEqual(findings["advice", "folder"]["folder"], 1)

    def test_stream(self):
        server = self.serve(2, "Stage left", *DRAWN)
        self.check(0)
        self.assertEqual([line for line in server.requests() if "notifier" in line], [])
        self.assertIn(("ok", "stream"), self.check(0, "--stream")[1])
        self.assertEqual(len([line for line in server.requests() if "notifier" in line]), 1)

    def test_only_get_requests_are_sent(self):
        server = self.serve(2, "Stage left", *DRAWN)
        self.output(0, "check", loopback(2), "--stream")
        self.output(0, "compare", loopback(2), loopback(2))
        self.output(0, "plan", loopback(2), loopback(2))
        self.output(0, "save", loopback(2), "file")
        self.assertEqual({line.split(" ")[0] for line in server.requests()}, {"GET"})

    def test_unreachable_server(self):
        document, findings = self.check(2, "--stream")
        self.assertEqual(document["result"], "not reachable")
        self.assertEqual(set(findings), {("unreachable", "connection")})
        self.assertIn("refused", findings["unreachable", "connection"]["text"])

    def test_silent_server(self):
        silent = RawServer(loopback(2), b"", closes=False)
        self.addCleanup(silent.close)
        self.assertIn("within 1 s", self.check(2, "--timeout", 1)[1]
                      ["unreachable", "connection"]["text"])


class Output(ProgramCase):
    def check_into(self, output):
        """The exit code and standard error of a check that writes to that file descriptor."""
        self.serve(2, "Stage left", *DRAWN)
        done = subprocess.run([PROGRAM, "check", loopback(2)], env=self.environment, stdout=output,
                              stderr=subprocess.PIPE, text=True, timeout=60, check=False)
        return done.returncode, done.stderr

    def test_pipe_that_its_reader_closed_is_no_error(self):
        reader, writer = os.pipe()
        os.close(reader)
        with open(writer, "wb") as pipe:
            self.assertEqual(self.check_into(pipe), (0, ""))

    def test_lost_output_is_an_error(self):
        with open("/dev/full", "wb") as full:
            self.assertEqual(self.check_into(full),
                             (2, "brenvokactl: the output could not be written\n"))
            help_text = subprocess.run([PROGRAM, "--help"], env=self.environment, stdout=full,
                                       timeout=60, check=False)
        self.assertEqual(help_text.returncode, 2)


class Report(ProgramCase):
    def test_contains_what_it_lists(self):
        self.serve(2, "Stage left", *DRAWN)
        self.serve(3, "Stage right", "--bad-json", *DRAWN)
        logs = self.home / "data/Zorvik/Brenvoka/logs/loghistory"
        logs.mkdir(parents=True)
        (logs / "old.log").write_text("old")
        (logs.parent / "Brenvoka.log").write_text("new")
        settings = self.home / "config/Zorvik/Brenvoka"
        settings.mkdir(parents=True)
        (settings / "settings.ini").write_text("[General]")
        document = self.document(0, "report", "support", "--for", 2)
        directory = self.work / "support"
        listed = {entry["file"]: entry["bytes"] for entry in document["files"]}
        written = {str(path.relative_to(directory)): path.stat().st_size
                   for path in directory.rglob("*") if path.is_file()}
        self.assertEqual(listed, written)
        self.assertEqual(set(written), {
            "versions.txt", "settings.ini", "logs/Brenvoka.log", "logs/loghistory/old.log",
            "listen.txt", f"check-{loopback(2)}.txt", f"check-{loopback(3)}.txt"})
        self.assertIn("Stage left", (directory / "listen.txt").read_text())
        self.assertIn(": accepted", (directory / f"check-{loopback(2)}.txt").read_text())
        self.assertIn(": refused", (directory / f"check-{loopback(3)}.txt").read_text())
        self.assertEqual((directory / "logs/Brenvoka.log").read_text(), "new")

    def test_screen_says_that_names_are_included(self):
        text = self.output(0, "report", "support", "--for", 1)
        self.assertIn("Names and addresses", text)
        self.assertIn("listen.txt", text)

    def test_directory_among_the_logs_contains_each_log_once(self):
        logs = self.home / "data/Zorvik/Brenvoka/logs"
        logs.mkdir(parents=True)
        (logs / "Brenvoka.log").write_text("new")
        document = self.document(0, "report", logs / "support", "--for", 1)
        self.assertEqual({entry["file"] for entry in document["files"]},
                         {"versions.txt", "logs/Brenvoka.log", "listen.txt"})

    def test_file_that_cannot_be_written_is_an_error(self):
        logs = self.home / "data/Zorvik/Brenvoka/logs"
        logs.mkdir(parents=True)
        (logs / "Brenvoka.log").write_text("x" * 20000)
        done = self.run_program(
            "report", "support", "--for", 1, restore_signals=False,  # SIGXFSZ stays ignored
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (10000, 10000)))
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertIn(b"logs/Brenvoka.log: ", done.stderr)

    def test_existing_directory_is_refused(self):
        (self.work / "support").mkdir()
        self.assert_refused("report", "support", contains="it exists")

    def test_report_that_cannot_be_written_leaves_nothing(self):
        def limit_file_size():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (50, 50))

        done = self.run_program("report", "support", "--for", 1, preexec_fn=limit_file_size)
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertRegex(done.stderr.decode(), r"\Abrenvokactl: support/versions.txt: [^\n]+\n\Z")
        self.assertEqual(list(self.work.iterdir()), [])

    def test_servers_of_the_log_are_checked_while_the_window_runs(self):
        self.serve(2, "Stage left", *DRAWN)
        numbers = [2, 2, *range(100, 170)]  # nothing listens at the others
        listener = subprocess.Popen([sys.executable, "-c", LISTENER, "1"], stdin=subprocess.PIPE,
                                    stdout=subprocess.PIPE)
        self.addCleanup(listener.wait)
        self.addCleanup(listener.stdin.close)
        self.addCleanup(listener.stdout.close)
        self.assertEqual(listener.stdout.readline(), b"bound\n")
        logs = self.home / "data/Zorvik/Brenvoka/logs"
        logs.mkdir(parents=True)
        (logs / "Brenvoka.log").write_text("".join(
            f"[x][ServerListenerService:86] Found new server: {{id}} | {loopback(number)} | 8 | n\n"
            for number in numbers))
        files = [entry["file"] for entry in self.document(0, "report", "r", "--for", 1)["files"]]
        checks = [file for file in files if file.startswith("check-")]
        self.assertEqual(checks[0], f"check-{loopback(2)}.txt")
        self.assertEqual((len(checks), len(set(checks))), (64, 64))
        self.assertIn("in use by", (self.work / "r/listen.txt").read_text())


class Binary(unittest.TestCase):
    def test_has_no_code_that_changes_a_server(self):
        symbols = subprocess.run(["nm", "--demangle", PROGRAM], capture_output=True, text=True,
                                 check=True).stdout
        self.assertIn("LibraryComparison::planSync", symbols)
        for name in ("ServerConnectionHandler", "CommandQueue", "CommandBodies", "UploadForm"):
            self.assertNotIn(name, symbols)

    def test_links_qt_core_and_network_only(self):
        needed = subprocess.run(["objdump", "--private-headers", PROGRAM], capture_output=True,
                                text=True, check=True).stdout
        self.assertEqual(set(re.findall(r"NEEDED +(libQt\S+)", needed)),
                         {"libQt6Core.so.6", "libQt6Network.so.6"})

    def test_window_has_that_code(self):
        """The check of the names fails if they are changed."""
        symbols = subprocess.run(["nm", "--demangle", BUILD / "brenvoka"], capture_output=True,
                                 text=True, check=True).stdout
        for name in ("ServerConnectionHandler", "CommandQueue", "CommandBodies", "UploadForm"):
            self.assertIn(name, symbols)


if __name__ == "__main__":
    unittest.main(verbosity=2)

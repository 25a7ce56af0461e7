# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Machines that are not as they should be: the program works, or does what is documented.

Each test of Machines starts the program on such a machine and checks that both servers are listed,
that a folder opens, that a visual is removed, and that the program exits with 0. Cookies of servers
are tested in Tests/Service/tst_DirectRequests.cpp.
"""

import os
import pathlib
import signal
import socket
import subprocess
import sys
import time
import unittest

from fixtures.banks import SLOTS, Bank
from fixtures.case import BUILD, SANITIZED, EndToEndCase, loopback
from fixtures.children import folders_below
from fixtures.program import Program, press
from fixtures.trust import LOG_LINE, report, start_as_another_user
from fixtures.waiting import wait_for

ROOT = os.geteuid() == 0
# Root can write everywhere, except without these capabilities.
LIKE_A_USER = ("setpriv", "--bounding-set", "-dac_override,-dac_read_search") if ROOT else ()
NEW_USER = () if ROOT else ("--map-root-user",)
OWN_MOUNTS = ("unshare", *NEW_USER, "--mount")
OWN_NETWORK = ("unshare", *NEW_USER, "--net")
OLD = "[General]\nselectedIconSize=2\n"
NONSENSE = "http://127.0.0.1:9"
PROXIES = {name: NONSENSE for name in ("http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY",
                                       "all_proxy", "ALL_PROXY")}


def allowed(wrapper):
    return unittest.skipUnless(subprocess.run([*wrapper, "true"], capture_output=True,
                                              check=False).returncode == 0,
                               f"the system does not allow {' '.join(wrapper)}")


class Machines(EndToEndCase):
    passed = []

    @classmethod
    def tearDownClass(cls):
        report("Machines", f"{len(cls.passed)} machines: {', '.join(cls.passed)}")

    def setUp(self):
        super().setUp()
        self.home = self.folder / "home"
        folders_below(self.home)
        self.logs = self.home / "data" / "Zorvik" / "Brenvoka" / "logs"
        self.settings = self.home / "config" / "Zorvik" / "Brenvoka" / "settings.ini"

    def start(self, *wrapper, **variables):
        self.servers = [self.serve(loopback(number), f"Server {number}", "--generate", str(number),
                                   "--folders", "2", "--visuals", "5", "--announce-interval", "100")
                        for number in (1, 2)]
        self.program = Program(BUILD / "brenvoka", self.home, self.folder / "output.txt", wrapper,
                               **variables)
        self.addCleanup(self.program.close)
        self.addCleanup(self._keep_a_picture_of_a_failure)
        self.program.wait_for_window()

    def check_that_it_works(self):
        """Opens the first folder in both banks and removes its first visual from the server of
        bank A."""
        banks = Bank(self.program, 0), Bank(self.program, 1)
        names = {server.name for server in self.servers}
        wait_for(lambda: {bank.server() for bank in banks} == names, "both servers", 60)
        wait_for(lambda: len(banks[0].rates()) == 2, "the frame rates")
        wait_for(lambda: self.program.focus() == ("list", "Library of bank A"), "the focus")
        press("Return")
        for bank in banks:
            bank.wait_for_rows(SLOTS)
        server = next(server for server in self.servers if server.name == banks[0].server())
        slot = min(slot for folder, slot in server.slots() if folder == 0)
        self.assertTrue(banks[0].rows()[slot + 1].startswith(f"{slot:03d}: "))
        banks[0].select(slot + 1)
        banks[0].remove()
        self.program.press_button(self.program.wait_for_dialog("Visual remove"), "Yes")
        wait_for(lambda: (0, slot) not in server.slots(), "the removal")
        self.assertRegex(server.commands(2)[0], rf"^req_type=2&folderIdx=0&visualIdx={slot}&ver=")
        self.program.wait_until_no_dialog()

    def check_digits(self):
        shown = [widget.name for widget in self.program.main().descendants()]
        sent = [line for server in self.servers for line in server.requests()]
        self.assertEqual([text for text in shown + sent
                          if any(letter.isdigit() and letter > "9" for letter in text)], [])

    def end(self):
        self.end_program(self.program)
        self.passed.append(self.id().split("test_")[1].replace("_", " "))

    def log(self):
        return (self.logs / "Brenvoka.log").read_text()

    # -- files

    def make_unwritable(self, *folders):
        for folder in folders:
            folder.chmod(0o555)
            self.addCleanup(folder.chmod, 0o755)

    def test_unwritable_home(self):
        self.make_unwritable(*self.home.iterdir(), self.home)
        self.start(*LIKE_A_USER)
        self.check_that_it_works()
        self.end()
        self.assertEqual([path for path in self.home.rglob("*") if path.is_file()], [])

    def test_read_only_cache(self):
        self.make_unwritable(self.home / "cache")
        self.start(*LIKE_A_USER)
        self.check_that_it_works()
        self.end()
        self.assertEqual(list((self.home / "cache").iterdir()), [])
        self.assertTrue(self.settings.exists())
        self.assertIn("Downloading thumbnail", self.log())

    @allowed(OWN_MOUNTS)
    def test_full_disk(self):
        self.start(*OWN_MOUNTS, "sh", "-c", 'mount -t tmpfs -o size=1m none "$0" && exec "$@"',
                   self.home)
        # The mount exists only for the program, and its content as long as this descriptor.
        inside = os.open(f"/proc/{self.program.process.pid}/root{self.home}", os.O_DIRECTORY)
        self.addCleanup(os.close, inside)
        disk = pathlib.Path(f"/proc/self/fd/{inside}")
        settings = disk / "config" / "Zorvik" / "Brenvoka" / "settings.ini"
        settings.parent.mkdir(parents=True)
        settings.write_text(OLD)
        self.fill(disk / "rest")
        self.check_that_it_works()
        self.end()
        self.assertEqual(settings.read_text(), OLD)
        log = (disk / "data" / "Zorvik" / "Brenvoka" / "logs" / "Brenvoka.log").read_text()
        for line in log.split("\n")[:-1]:
            self.assertRegex(line, LOG_LINE)

    def fill(self, path):
        with path.open("wb", buffering=0) as file:
            for size in (65536, 1):
                try:
                    while file.write(bytes(size)):
                        pass
                except OSError:
                    continue

    # -- network

    def check_that_it_is_alone(self):
        self.assertEqual(Bank(self.program, 0).servers(), [])
        press("ctrl+p")
        self.program.press_button(self.program.wait_for_dialog("Preferences"), "OK")
        self.program.wait_until_no_dialog()
        self.assertTrue(self.settings.exists())

    def test_port_taken(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as other:
            other.bind(("0.0.0.0", 3001))
            self.start()
            other.settimeout(10)
            other.recv(2000)   # an announcement that only this socket receives
            self.check_that_it_is_alone()
            self.end()
        self.assertNotIn("Found new server", self.log())

    @allowed(OWN_NETWORK)
    def test_no_network(self):
        self.start(*OWN_NETWORK)
        self.check_that_it_is_alone()
        self.end()

    def test_nonsense_as_proxy(self):
        self.start(**PROXIES)
        self.check_that_it_works()
        self.end()

    # -- clock and language

    def test_clock_jumps_by_years(self):
        library = BUILD / "shifted-clock.so"
        self.assertTrue(library.exists())
        checked = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        self.start(LD_PRELOAD=str(library), **({"ASAN_OPTIONS": checked} if SANITIZED else {}))
        wait_for(lambda: self.log().count("Adding handler") == 2, "the connections")
        for number, years in ((signal.SIGUSR1, 10), (signal.SIGUSR2, -10)):
            self.program.process.send_signal(number)
            self.servers[0].rename(1, f"{years} years")
            wait_for(lambda: abs(self.year_of_last_line() - time.gmtime().tm_year - years) < 2,
                     f"a line of the log {years} years from now")
        self.check_that_it_works()
        self.end()
        self.assertTrue(self.settings.exists())

    def year_of_last_line(self):
        return int(self.log().splitlines()[-1][1:5])

    def speak(self, language):
        """The locale is compiled, since systems have few of them; Qt needs only its name."""
        locales = self.folder / "locales"
        locales.mkdir()
        subprocess.run(["localedef", "-i", language, "-f", "UTF-8", locales / f"{language}.UTF-8"],
                       capture_output=True, check=False)
        if not (locales / f"{language}.UTF-8").is_dir():
            print(f"no {language} for the C library, only for Qt", file=sys.stderr)
        self.start(LOCPATH=str(locales), LC_ALL=f"{language}.UTF-8", LANG=f"{language}.UTF-8",
                   LANGUAGE=language)
        self.check_that_it_works()
        self.check_digits()
        self.end()

    def test_Turkish(self):
        self.speak("tr_TR")

    def test_Arabic(self):
        self.speak("ar_EG")

    # -- other users and streams

    @unittest.skipUnless(ROOT, "needs root to start as another user")
    def test_two_users(self):
        self.start()
        home = self.folder / "other"
        other = start_as_another_user(BUILD / "brenvoka", home)
        self.assertEqual(other.communicate(timeout=30), (b"", None))
        self.assertEqual(other.returncode, 0)
        self.assertEqual([path.name for path in home.rglob("*") if path.is_file()], ["brenvoka"])
        self.check_that_it_works()
        self.end()

    def test_closed_standard_streams(self):
        self.start("sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh")
        self.check_that_it_works()
        self.end()


if __name__ == "__main__":
    unittest.main(verbosity=2)

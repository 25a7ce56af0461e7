# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Texts from servers that name files and addresses: the program opens none of them.

The system calls of trust_TextIsData, which shows such texts in every place, and of the program in
its window are recorded with strace.
"""

import os
import pathlib
import re
import subprocess
import unittest

from fixtures.banks import SLOTS, Bank
from fixtures.case import BUILD, SANITIZED, EndToEndCase, loopback
from fixtures.library import lay_out
from fixtures.program import Program, press
from fixtures.servers import MediaServer
from fixtures.trust import report, size
from fixtures.waiting import wait_for

# What the texts name. Nothing else opens these files.
FILES = re.compile(r"/dev/zero|etc/shadow|a\.png|no\.png|System32")
ADDRESS = "127.99.99.99"
TEXTS = ["<img src=/dev/zero>", f'<img src="http://{ADDRESS}/a.png">', "file:///etc/shadow",
         "<img src='file:///dev/zero'>", f'<a href="http://{ADDRESS}/">x</a>',
         "<img src=&#47;dev&#47;zero>", f"http://{ADDRESS}/", "../../../../etc/shadow",
         ":/icons/Bin/bitmap/icons/no.png", f"<link rel=stylesheet href=http://{ADDRESS}/a.png>",
         f"<body background='http://{ADDRESS}/a.png'>", "$(cat /etc/shadow)"]
# The rows of trust_TextIsData that name something.
ROWS = size(range(3, 19), range(1, 41))


class NoFileNoConnection(EndToEndCase):
    figures = []

    @classmethod
    def setUpClass(cls):
        if subprocess.run(["strace", "-qq", "-o/dev/null", "true"], capture_output=True,
                          check=False).returncode != 0:
            raise unittest.SkipTest("the system does not allow strace")
        super().setUpClass()

    @classmethod
    def tearDownClass(cls):
        report("no file, no connection", "; ".join(cls.figures))

    def setUp(self):
        super().setUp()
        self.trace = self.folder / "trace"
        # With -D the program is a child of this process, as without strace.
        self.strace = ("strace", "-D", "-f", "-qq", "--seccomp-bpf", "-o", str(self.trace),
                       "-e", "trace=open,openat,creat,connect,execve")
        # The search for leaks does not work in a traced process.
        self.options = {"ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"}

    def check_trace(self, what, file, network):
        """The file and the network are what the process is known to use."""
        calls = self.trace.read_text()
        opened = re.findall(r'\b(?:open|openat|creat)\((?:AT_FDCWD, )?"([^"]*)"', calls)
        self.assertTrue(any(path.endswith(file) for path in opened))
        self.assertEqual([path for path in opened if FILES.search(path)], [])
        connected = re.findall(r'connect\(.*inet_\w+\((?:AF_INET6, )?"([^"]*)"', calls)
        self.assertEqual({address.rpartition(".")[0] for address in connected}, {network})
        self.assertEqual(len(re.findall(r"\bexecve\(", calls)), 1)
        self.figures.append(f"{what}: {len(opened)} files and {len(connected)} connections, "
                            "none of them named in a text")

    def test_every_place(self):
        program = BUILD / "Tests" / "Trust" / "trust_TextIsData"
        run = subprocess.run([*self.strace, program,
                              *(f"textIsShownAsData:{row:02d}" for row in ROWS)],
                             env=dict(os.environ, QT_QPA_PLATFORM="offscreen",
                                      BRENVOKA_TRUST="full", **self.options),
                             capture_output=True, text=True, check=False)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        own = re.search(rb"127\.\d+\.\d+(?=\.%1)", program.read_bytes().replace(b"\0", b""))
        self.check_trace(f"{len(ROWS)} texts in every place", "/test.log", own.group().decode())

    def test_window(self):
        servers = [self.serve_texts(number) for number in (0, 1)]
        program = Program(BUILD / "brenvoka", self.folder / "home", None, self.strace,
                          **self.options)
        self.addCleanup(program.close)
        self.addCleanup(self._keep_a_picture_of_a_failure)
        program.wait_for_window()
        banks = Bank(program, 0), Bank(program, 1)
        wait_for(lambda: {bank.server() for bank in banks} == {server.name for server in servers},
                 "both servers", 60)
        wait_for(lambda: set(TEXTS) <= set(banks[0].rows()), "the names of the folders")
        wait_for(lambda: program.focus() == ("list", "Library of bank A"), "the focus")
        press("Return")
        for bank in banks:
            bank.wait_for_rows(SLOTS)
        banks[0].select(2, 3, 4)
        banks[0].remove()
        program.press_button(program.wait_for_dialog("Visual remove"), "Yes")
        lines = program.close_error("Failed to remove 3 visuals from a total of 3.")
        self.assertTrue(all(any(text in line for text in TEXTS[-2:]) for line in lines), lines)

        program.button("from bank a to bank b").click()
        program.press_button(program.wait_for_dialog("Visual synchronize"), "Yes")
        program.close_error("Folder synchronization completed with errors")
        servers[0].send("reset-stream")
        program.close_error(f'Server "{servers[0].name}" disconnected.')
        self.end_program(program)
        self.check_trace(f"{len(TEXTS)} texts in the window", "/Brenvoka.log",
                         loopback(1).rpartition(".")[0])

    def serve_texts(self, number):
        """A server whose own name, folders, visuals and errors are such texts."""
        library = self.folder / str(number)
        names = [text.replace("/", "&#47;") for text in TEXTS]
        lay_out(library, {(folder, slot): (f"{name}.bin", f"{number} {slot}".encode())
                          for folder in (0, 1) for slot, name in enumerate(names, 1)})
        server = MediaServer(BUILD / "media-server", loopback(1 + number), TEXTS[number], library,
                             "--announce-interval", "100", "--refuse", "3@2", "--fail-import", "0/1",
                             "--refuse-text", TEXTS[-1 - number])
        self.addCleanup(server.close)
        server.wait_until_up()
        for folder, text in enumerate(TEXTS):
            server.rename(folder, text)
        return server


if __name__ == "__main__":
    unittest.main(verbosity=2)

# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""compare, plan and save with real servers and with servers that send other bytes."""

import csv
import io
import json
import os
import pty
import re
import subprocess
import unittest

from brenvokactl import PROGRAM, ProgramCase, loopback, reply, validate

DRAWN = ("--generate", "7", "--folders", "4", "--visuals", "5")


def library(folders):
    return {"hash": "h", "folders": folders}


def folder(slot, name, files=()):
    return {"slot": slot, "name": name, "files": list(files)}


def visual(slot, name, content="0"):
    return {"slot": slot, "name": name, "hash": content * 32}


class Compare(ProgramCase):
    def test_equal_libraries(self):
        self.serve(2, "left", *DRAWN)
        self.serve(3, "right", *DRAWN)
        document = self.document(0, "compare", loopback(2), loopback(3))
        validate(document, "compare")
        self.assertTrue(document["equal"])
        self.assertEqual((document["differing"], document["folders"]), (0, []))
        self.assertEqual((document["a"]["visuals"], document["a"]["folders"]), (20, 4))
        self.assertIn("Equal\n", self.output(0, "compare", loopback(2), loopback(3)))

    def test_differences_are_named_by_folder_and_slot(self):
        left = self.serve(2, "left", *DRAWN)
        right = self.serve(3, "right", *DRAWN)
        (folder_slot, slot), (name, content) = sorted(left.slots().items())[0]
        right.remove(folder_slot, slot)
        right.rename(2, "New name")
        document = self.document(1, "compare", left.address, right.address)
        validate(document, "compare")
        self.assertFalse(document["equal"])
        self.assertEqual(document["differing"], 1)
        first, second = document["folders"]
        self.assertEqual((first["slot"], first["visuals"]), (folder_slot, [
            {"slot": slot, "a": {"name": name, "hash": content}, "b": None}]))
        self.assertEqual((second["slot"], second["a"], second["b"], second["visuals"]),
                         (2, left.folder_names()[2], "New name", []))
        rows = list(csv.reader(io.StringIO(
            self.output(1, "compare", left.address, right.address, "--format", "csv"))))
        self.assertEqual(rows[1][:4], [str(folder_slot), str(slot), name, content])

    def test_other_stored_order_has_a_row(self):
        visuals = [visual(1, "001: a"), visual(2, "002: b")]
        first = self.answer(2, reply(library([folder(0, "Zero", visuals)])))
        second = self.answer(3, reply(library([folder(0, "Zero", visuals[::-1])])))
        self.assertIn("stored order\n", self.output(1, "compare", first, second))

    def test_snapshot_shows_what_changed_later(self):
        server = self.serve(2, "left", *DRAWN)
        self.output(0, "save", server.address, "before")
        self.output(0, "compare", "before", server.address)
        server.rename(1, "Changed later")
        document = self.document(1, "compare", "before", server.address)
        validate(document, "compare")
        self.assertEqual([entry["b"] for entry in document["folders"]], ["Changed later"])
        self.assertRegex(document["a"]["time"], r"^20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertEqual((document["a"]["source"], document["a"]["address"]),
                         ("before", server.address))
        self.assertIsNone(document["b"]["time"])


class Plan(ProgramCase):
    def setUp(self):
        super().setUp()
        a = library([folder(0, "Zero", [visual(1, "001: a"), visual(2, "002: b")]),
                     folder(1, "One", [visual(3, "003: c")])])
        b = library([folder(0, "Null", [visual(2, "002: b", "1"), visual(9, "009: x")])])
        self.a, self.b = self.answer(2, reply(a)), self.answer(3, reply(b))

    def plan(self, *options, code=1):
        document = self.document(code, "plan", self.a, self.b, *options)
        validate(document, "plan")
        return document

    def test_whole_library(self):
        plan = self.plan()
        self.assertEqual(plan["renames"], [{"folder": 0, "name": "Zero"},
                                           {"folder": 1, "name": "One"}])
        self.assertEqual(plan["removals"], [[0, 9]])
        self.assertEqual(plan["transfers"], [[0, 1], [0, 2], [1, 3]])
        self.assertEqual(plan["question"], "destructive")
        self.assertTrue(plan["text"].startswith("Are you sure you want to synchronize"))

    def test_selected_folder(self):
        plan = self.plan("--folder", 1)
        self.assertEqual((plan["renames"], plan["removals"], plan["transfers"]),
                         ([{"folder": 1, "name": "One"}], [], [[1, 3]]))
        self.assertEqual((plan["question"], plan["text"]), ("none", ""))

    def test_selected_slots_in_the_given_order(self):
        plan = self.plan("--slot", "1/3", "--slot", "0/9", "--slot", "0/1", "--slot", "1/3")
        self.assertEqual((plan["removals"], plan["transfers"]), ([[0, 9]], [[1, 3], [0, 1]]))

    def test_nothing_to_do(self):
        document = self.document(0, "plan", self.a, self.a)
        validate(document, "plan")
        self.assertEqual((document["renames"], document["removals"], document["transfers"]),
                         ([], [], []))

    def test_only_a_rename(self):
        renamed = self.answer(4, reply(library([folder(7, "New name")])))
        old = self.answer(5, reply(library([folder(7, "Old name")])))
        plan = self.document(1, "plan", renamed, old)
        self.assertEqual(plan["renames"], [{"folder": 7, "name": "New name"}])

    def test_rows_name_the_present_and_the_new_content(self):
        rows = list(csv.reader(io.StringIO(
            self.output(1, "plan", self.a, self.b, "--format", "csv"))))
        self.assertIn(["rename", "0", "", "Zero", "Null"], rows)
        self.assertIn(["remove", "0", "9", "", "009: x"], rows)
        self.assertIn(["transfer", "0", "1", "001: a", ""], rows)

    def test_snapshots_give_the_same_plan(self):
        self.output(0, "save", self.a, "a")
        self.output(0, "save", self.b, "b")
        self.assertEqual(self.document(1, "plan", "a", "b"), self.plan())

    def test_large_question_names_both_sources(self):
        many = self.answer(4, reply(library([folder(0, "Zero", [
            visual(slot, f"{slot:03d}: v") for slot in range(1, 12)])])))
        plan = self.document(1, "plan", many, self.a)
        self.assertEqual(plan["question"], "large")
        self.assertIn(f"from server {many} to server {self.a}.", plan["text"])

    def test_text_shows_the_question(self):
        text = self.output(1, "plan", self.a, self.b)
        self.assertIn("2 renames, 1 removal, 3 transfers\n", text)
        self.assertRegex(text, r"\ntransfer +0 +2 +002: b +002: b\n")
        self.assertIn("\n  Are you sure you want to synchronize the selected visuals?\n", text)


class Save(ProgramCase):
    def test_bytes_are_those_of_the_server(self):
        body = b'{"hash":"h",\n\n"folders":[]}'
        self.output(0, "save", self.answer(2, reply(body)), "file")
        self.assertTrue((self.work / "file").read_bytes().endswith(b"\n\n" + body))

    def test_file_may_have_a_number_as_its_name(self):
        address = self.answer(2, reply(library([])))
        self.output(0, "save", address, "7")
        self.output(0, "compare", "7", address)

    def test_other_file_is_not_replaced(self):
        (self.work / "show.mov").write_text("precious")
        self.assert_refused("save", self.answer(2, reply(library([]))), "show.mov",
                            contains="not replaced")
        self.assertEqual((self.work / "show.mov").read_text(), "precious")

    def test_failed_download_writes_nothing(self):
        self.assert_refused("save", self.answer(2, reply(b"{")), "file", contains="at byte")


class BadInput(ProgramCase):
    def test_arguments(self):
        self.serve(2, "left")
        for words in ([], ["sync"], ["compare", loopback(2)], ["plan", "a", "b", "--slot", "1"],
                      ["compare", "256.1.1.1", loopback(2)], ["compare", "no-file", loopback(2)],
                      ["compare", ".", loopback(2)], ["compare", "/dev/zero", loopback(2)],
                      ["check", "left"], ["check", "::1"], ["check", loopback("02")],
                      ["save", loopback("02"), "file"], ["check", "127.2"],
                      ["compare", loopback("02"), loopback(2)], ["save", loopback(2), "."],
                      ["save", loopback(2), "no/such/file"], ["report", "."]):
            with self.subTest(words=words):
                self.assert_refused(*words)

    def test_name_of_other_bytes_is_not_changed(self):
        self.serve(2, "left")
        done = subprocess.run([PROGRAM, "save", loopback(2), b"caf\xe9"], cwd=self.work,
                              env=self.environment, capture_output=True, timeout=60, check=False)
        self.assertEqual((done.returncode, done.stdout, done.stderr),
                         (2, b"", b"brenvokactl: an argument is not valid UTF-8\n"))
        self.assertEqual(list(self.work.iterdir()), [])

    def test_pipe_is_not_opened(self):
        os.mkfifo(self.work / "pipe")
        self.assert_refused("compare", "pipe", "pipe", contains="no regular file")

    def test_snapshot_that_was_cut(self):
        address = self.answer(2, reply(library([])))
        self.output(0, "save", address, "whole")
        whole = (self.work / "whole").read_bytes()
        (self.work / "cut").write_bytes(whole[:-1])
        self.assert_refused("compare", "cut", address, contains="cut off")
        (self.work / "changed").write_bytes(whole[:-1] + b" ")
        self.assert_refused("compare", "changed", address, contains="checksum")

    def test_servers(self):
        head = b"HTTP/1.1 200 OK\r\nX-BVProtocolVersion: 1\r\n"
        for number, (options, words) in enumerate({
                "half": (dict(answer=head + b"Content-Length: 99\r\n\r\n{"), ""),
                "no HTTP": (dict(answer=b"hello\r\n"), ""),
                "silent": (dict(answer=b"", closes=False), "within 1 s"),
                "stalls": (dict(answer=head + b"Content-Length: 99\r\n\r\n{", closes=False),
                           "within 1 s"),
                "endless": (dict(answer=head + b"\r\n", repeats=True), ""),
                "too large": (dict(answer=head + b"Content-Length: 999999999\r\n\r\n"),
                              "256 MiB"),
                "not found": (dict(answer=reply(b"", status="404 Not Found")), "404"),
                "redirect": (dict(answer=reply(b"", "Location: /\r\n", "302 Found")), ""),
        }.values()):
            with self.subTest(number=number):
                address = self.answer(10 + number, **options)
                for command in (["compare", address, address], ["plan", address, address],
                                ["save", address, "file"]):
                    self.assert_refused(*command, "--timeout", 1, contains=words)

    def test_nothing_listens(self):
        self.assert_refused("compare", loopback(99), loopback(99), contains="refused")


class HostileTexts(ProgramCase):
    NAME = "=cmd|'x'!A1\x1b]0;title\x07\x1b[2J\r\n\x9b2J\u202egnp\"quoted\",next"
    CONTROL = "[\x00-\x1f\x7f-\x9f]"

    def setUp(self):
        super().setUp()
        self.a = self.answer(2, reply(library([folder(3, self.NAME, [visual(7, self.NAME)])])))
        self.b = self.answer(3, reply(library([])))

    def test_text_has_no_control_characters(self):
        for words in (["compare", self.a, self.b], ["plan", self.a, self.b], ["check", self.a]):
            text = self.output(0 if words[0] == "check" else 1, *words)
            self.assertIn("=cmd|'x'!A1 ", text)
            self.assertNotRegex(text, "[\x00-\x09\x0b-\x1f\x7f-\x9f\u202e]")

    def test_csv_is_quoted_and_runs_no_formula(self):
        for words in (["compare", self.a, self.b], ["plan", self.a, self.b]):
            text = self.run_program(*words, "--format", "csv").stdout.decode()
            rows = list(csv.reader(io.StringIO(text, newline="")))
            self.assertEqual({len(row) for row in rows}, {len(rows[0])})
            cells = [cell for row in rows for cell in row]
            self.assertIn("'" + re.sub(self.CONTROL, " ", self.NAME), cells)
            self.assertEqual(len(text.splitlines()), len(rows))
            self.assertEqual([cell for cell in cells if cell[:1] in tuple("=+-@\t\r")], [])

    def test_json_has_the_name(self):
        text = self.output(1, "compare", self.a, self.b, "--format", "json")
        self.assertEqual(json.loads(text)["folders"][0]["a"], self.NAME)
        self.assertNotRegex(text.replace("\n", ""), self.CONTROL)

    def test_error_is_one_line(self):
        self.assert_refused("check", "a\nb\x1b[2J")


class Terminal(ProgramCase):
    def on_terminal(self, *words, **environment):
        """What the program writes to a terminal as standard output and error."""
        ours, its = pty.openpty()
        self.addCleanup(os.close, ours)
        with subprocess.Popen([PROGRAM, *words], stdout=its, stderr=its, cwd=self.work,
                              env={**self.environment, **environment}) as process:
            os.close(its)
            text = b""
            while True:
                try:
                    part = os.read(ours, 4096)
                except OSError:  # the terminal has no other end any more
                    break
                if not part:
                    break
                text += part
        self.assertEqual(process.returncode, 0, text)
        return text.decode()

    def test_color_and_progress_are_for_terminals(self):
        address = self.answer(2, reply(library([])))
        words = ("compare", address, address)
        self.environment.pop("NO_COLOR", None)
        colored = self.on_terminal(*words)
        self.assertIn("\x1b[32mEqual\x1b[0m", colored)
        self.assertIn("Downloading the library of", colored)
        self.assertNotIn("\x1b[32m", self.on_terminal(*words, NO_COLOR="1"))
        self.assertNotIn("\x1b", self.output(0, *words))

    def test_only_the_stream_on_a_terminal_has_control_sequences(self):
        address = self.answer(2, reply(library([])))
        self.environment.pop("NO_COLOR", None)
        for on_terminal, piped in (("stdout", "stderr"), ("stderr", "stdout")):
            ours, its = pty.openpty()
            self.addCleanup(os.close, ours)
            done = subprocess.run([PROGRAM, "compare", address, address], timeout=60, check=True,
                                  env=self.environment,
                                  **{on_terminal: its, piped: subprocess.PIPE})
            os.close(its)
            self.assertNotIn(b"\x1b", getattr(done, piped))

    def test_pipe_that_its_reader_closed_is_no_error(self):
        self.output(0, "save", self.answer(2, reply(library([]))), "file")
        reader, writer = os.pipe()
        os.close(reader)
        with open(writer, "wb") as pipe:
            done = subprocess.run([PROGRAM, "compare", "file", "file"], cwd=self.work, stdout=pipe,
                                  stderr=subprocess.PIPE, env=self.environment, timeout=60,
                                  check=False)
        self.assertEqual((done.returncode, done.stderr), (0, b""))

    def test_output_that_cannot_be_written_is_an_error(self):
        address = self.answer(2, reply(library([])))
        with open("/dev/full", "wb") as full:
            done = subprocess.run([PROGRAM, "compare", address, address], stdout=full,
                                  stderr=subprocess.PIPE, timeout=60, check=False,
                                  env=self.environment)
        self.assertEqual(done.returncode, 2)
        self.assertRegex(done.stderr.decode(), r"\Abrenvokactl: [^\n]+\n\Z")


if __name__ == "__main__":
    unittest.main(verbosity=2)

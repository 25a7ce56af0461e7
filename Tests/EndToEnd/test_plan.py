# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""brenvokactl plan prints exactly what the window then does."""

import json
import os
import subprocess
import unittest
import urllib.parse

from fixtures.case import BUILD, EndToEndCase, loopback
from fixtures.rehearsal import Rehearsal
from fixtures.waiting import wait_for

COMMAND_OF_KIND = {"5": "rename", "2": "remove", "1": "transfer"}


def requests_of_plan(plan):
    """The plan in the order of its execution."""
    return ([("rename", entry["folder"], entry["name"]) for entry in plan["renames"]]
            + [("remove", *slot) for slot in plan["removals"]]
            + [("transfer", *slot) for slot in plan["transfers"]])


def commands_in(lines):
    """The commands in lines of a request log, in the order of arrival."""
    requests = []
    for line in lines:
        if "execute.html" not in line:
            continue
        fields = urllib.parse.parse_qs(line.split(" ")[-1])
        kind = COMMAND_OF_KIND[fields["req_type"][0]]
        folder = int(fields["folderIdx"][0])
        requests.append((kind, folder, fields["folderName"][0] if kind == "rename"
                         else int(fields["visualIdx"][0])))
    return requests


class Plan(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.rehearsal = Rehearsal(BUILD / "media-server", self.folder / "servers",
                                   (loopback(2),), (loopback(3), "--burst-grace", "5000"))
        self.addCleanup(self.rehearsal.close)
        # The requests that made the libraries different.
        self.before = len(self.rehearsal.right.requests())

    def plan(self, *options):
        done = subprocess.run([BUILD / "brenvokactl", "plan", loopback(2), loopback(3), *options,
                               "--format", "json"], capture_output=True, text=True, timeout=60,
                              env=dict(os.environ, HOME=str(self.folder)), check=False)
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        return json.loads(done.stdout)

    def sent(self):
        return commands_in(self.rehearsal.right.requests()[self.before:])

    def sync(self, program, plan):
        """Clicks the arrow, answers the question, and compares it and the requests with the plan."""
        program.button("from bank a to bank b").click()
        question = program.wait_for_dialog("Visual synchronize")
        asked = next(text for text in program.dialog_texts(question) if len(text) > 40)
        expected = plan["text"].replace(loopback(2), "Stage left")
        self.assertEqual(asked, expected.replace(loopback(3), "Stage right"))
        program.press_button(question, "Yes")
        planned = requests_of_plan(plan)
        wait_for(lambda: len(self.sent()) >= len(planned), "as many requests as planned", 120)
        program.wait_until_no_dialog(120)
        self.rehearsal.right.wait_until_quiet()
        # A few commands are sent at a time, so within a phase they may arrive in another order.
        sent = self.sent()
        self.assertEqual([kind for kind, *_ in sent], [kind for kind, *_ in planned])
        self.assertEqual(sorted(sent, key=str), sorted(planned, key=str))
        self.end_program(program)

    def test_whole_library(self):
        plan = self.plan()
        self.assertEqual(plan["question"], "large")
        self.assertTrue(plan["renames"] and plan["removals"] and plan["transfers"])
        program = self.start_program()
        self.show(program, self.rehearsal.left, self.rehearsal.right)
        self.sync(program, plan)

    def test_selected_folders(self):
        plan = self.plan("--folder", "1", "--folder", "5")
        self.assertEqual(plan["question"], "destructive")
        program = self.start_program()
        bank, _ = self.show(program, self.rehearsal.left, self.rehearsal.right)
        bank.select(1, 5)
        self.sync(program, plan)

    def test_selected_slots_of_a_folder(self):
        slots = [slot for folder, slot in sorted(self.rehearsal.left.slots()) if folder == 4][:3]
        plan = self.plan(*(word for slot in slots for word in ("--slot", f"4/{slot}")))
        self.assertEqual(plan["question"], "destructive")
        program = self.start_program()
        bank, other = self.show(program, self.rehearsal.left, self.rehearsal.right)
        bank.open(4)
        for shown in (bank, other):
            shown.wait_for_rows(257)
        bank.select(*(slot + 1 for slot in slots))
        self.sync(program, plan)


if __name__ == "__main__":
    unittest.main(verbosity=2)

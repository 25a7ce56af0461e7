# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The help, the manual page, the completion and the page name the same commands and options."""

import re
import subprocess
import unittest

from brenvokactl import ROOT, ProgramCase

COMMANDS = {"listen", "check", "compare", "plan", "save", "report"}
COMPLETION = ROOT / "Packaging/brenvokactl.bash"


class Help(ProgramCase):
    def options(self, command):
        return set(re.findall(r"^  (?:-h, )?(--[a-z]+)", self.output(0, command, "--help"), re.M))

    def complete(self, *words):
        """What bash offers for the last word."""
        script = (f'source "{COMPLETION}"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
                  '_brenvokactl; printf "%s\\n" "${COMPREPLY[@]}"')
        done = subprocess.run(["bash", "-c", script, "bash", "brenvokactl", *words], text=True,
                              capture_output=True, check=True, cwd=self.work)
        return set(done.stdout.split())

    def test_overview_lists_the_commands(self):
        listed = re.findall(r"^  (\w+) ", self.output(0, "--help"), re.M)
        self.assertEqual(set(listed), COMMANDS)

    def test_completion_offers_the_commands(self):
        self.assertEqual(self.complete(""), COMMANDS | {"--help", "--version"})
        self.assertEqual(self.complete("c"), {"check", "compare"})

    def test_completion_offers_the_options(self):
        for command in COMMANDS:
            self.assertEqual(self.complete(command, "--"), self.options(command), command)

    def test_completion_offers_formats_and_files(self):
        (self.work / "monday.library").touch()
        self.assertEqual(self.complete("plan", "--format", ""), {"text", "csv", "json"})
        self.assertEqual(self.complete("compare", "mon"), {"monday.library"})
        self.assertEqual(self.complete("plan", "--slot", ""), set())

    def test_manual_page_names_commands_and_options(self):
        page = subprocess.run(["groff", "-man", "-Tascii", "-P-cbou",
                               ROOT / "Packaging/brenvokactl.1.in"],
                              capture_output=True, text=True, check=True).stdout
        headings = set(re.findall(r"^ {7}(?:-., )?((?:--)?[a-z]+)(?: [A-Z/]+)?(?: .*)?$", page,
                                  re.M))
        options = set().union(*map(self.options, COMMANDS))
        self.assertLessEqual(COMMANDS | options, headings)
        self.assertEqual({word for word in headings if word.startswith("--")},
                         options | {"--version"})

    def test_page_has_a_section_for_each_command(self):
        page = (ROOT / "Docs/brenvokactl.md").read_text()
        self.assertLessEqual(COMMANDS, set(re.findall(r"^## (\w+)$", page, re.M)))
        for option in set().union(*map(self.options, COMMANDS)):
            self.assertIn(f"`{option}" if option != "--help" else "--help", page)


if __name__ == "__main__":
    unittest.main(verbosity=2)

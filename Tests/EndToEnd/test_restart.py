# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""What the program keeps from one run to the next."""

import unittest

from fixtures.case import EndToEndCase
from fixtures.program import press, walk
from fixtures.waiting import steady, wait_for

VIEWS = ("Show both banks as lists", "Show both banks as grids", "Small pictures in both banks",
         "Medium pictures in both banks", "Large pictures in both banks")
LIST, GRID, SMALL, MEDIUM, LARGE = VIEWS


class Restart(EndToEndCase):
    @steady
    def views(self, program):
        """The names of the buttons that are down."""
        return {widget.name for widget in walk(program.main())
                if widget.name in VIEWS and widget.has_state("CHECKED")}

    def choose(self, program, name):
        wait_for(lambda: program.main().find(name=name), name).click()

    def check_views(self, program, *names):
        wait_for(lambda: self.views(program) == set(names), f"the buttons {names} to be down")

    def settings(self, program):
        files = list(program.home.rglob("settings.ini"))
        return [file.read_text().splitlines() for file in files]

    def test_view_is_restored(self):
        program = self.start_program()
        self.check_views(program, GRID, MEDIUM)
        self.choose(program, LIST)
        self.choose(program, LARGE)
        self.check_views(program, LIST, LARGE)
        self.assertEqual(self.settings(program), [])
        self.end_program(program)
        self.assertEqual(self.settings(program), [["[General]", "selectedIconSize=2",
                                                   "selectedViewMode=true",
                                                   "warningLevel=4294967295"]])
        program = self.start_program()
        self.check_views(program, LIST, LARGE)

    def test_killed_run_keeps_the_warnings_but_not_the_view(self):
        program = self.start_program()
        press("ctrl+p")
        dialog = program.wait_for_dialog("Preferences")
        program.click_in(dialog, "check box", "Warn before move operations")
        program.press_button(dialog, "OK")
        program.wait_until_no_dialog()
        self.choose(program, LIST)
        self.check_views(program, LIST, MEDIUM)
        program.kill()
        program = self.start_program()
        self.check_views(program, GRID, MEDIUM)
        self.assertIn("warningLevel=4294967293", self.settings(program)[0])


if __name__ == "__main__":
    unittest.main(verbosity=2)

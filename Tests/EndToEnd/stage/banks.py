# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The two banks as an operator uses them: by mouse and keys, read through the screen's names."""

import re

from .program import click, pointer, press, walk
from .waiting import TimedOut, steady, wait_for

FOLDERS = 256      # rows at the folders level
SLOTS = 257        # rows inside a folder, with "Back" and "000: NO VISUAL"


class Bank:
    """One bank; index 0 is A, 1 is B."""

    def __init__(self, program, index):
        self._program = program
        self._index = index

    def _nth(self, role):
        found = [widget for widget in walk(self._program.main()) if widget.role == role]
        return found[self._index]

    @property
    def box(self):
        return self._nth("combo box")

    @property
    def list(self):
        return self._nth("list")

    @steady
    def servers(self):
        """The names that the box offers."""
        return [widget.name for widget in self.box.descendants() if widget.role == "list item"]

    @steady
    def server(self):
        """The name of the server on show, or an empty text.

        A combo box goes by the name of its current entry, and by a name of its own without one.
        """
        name = self.box.name
        return name if name in self.servers() else ""

    def choose(self, name):
        """Opens the box and picks the server by a click on its name.

        A server that comes or goes at that moment makes the box anew and closes it; then the
        operator opens it again.
        """
        wait_for(lambda: name in self.servers(), f"{name} in the box of bank {'AB'[self._index]}")
        wait_for(lambda: self.server() == name or self._pick(name), f"{name} to be chosen")

    def _pick(self, name):
        self.box.click()
        try:
            wait_for(lambda: self._open_entry(name), f"the entry {name}", 5).click()
            return wait_for(lambda: self.server() == name, "the choice", 5)
        except TimedOut:
            press("Escape")
            return False

    def _open_entry(self, name):
        """An entry of the box's list while it is open; a closed one knows its entries as well."""
        entries = [entry for part in self.box.children() if part.role == "list" and part.showing
                   for entry in part.children() if entry.name == name]
        return entries[0] if entries else None

    @steady
    def rates(self):
        """The two frame rates as they are shown."""
        labels = [widget.name for widget in walk(self._program.main()) if widget.role == "label"]
        numbers = [name for name in labels if re.fullmatch(r"\d+\.\d\d", name)]
        return numbers[2 * self._index:2 * self._index + 2]

    @steady
    def rows(self):
        return [row.name for row in self.list.children()]

    def wait_for_rows(self, count):
        wait_for(lambda: len(self.list.children()) == count and self.list.enabled,
                 f"{count} rows in bank {'AB'[self._index]}")

    @steady
    def row(self, index):
        rows = wait_for(lambda: [all_rows for all_rows in [self.list.children()]
                                 if index < len(all_rows)], f"row {index}")[0]
        return rows[index]

    @steady
    def place(self, index):
        """Where a row is on the screen."""
        return self.row(index).center()

    def open(self, index):
        """A double click on a row that can be seen."""
        click(self.place(index), 2)

    def select(self, *indexes):
        """A click on the first row, and with the control key on the others."""
        first, *others = indexes
        click(self.place(first))
        for index in others:
            pointer("keydown", "ctrl")
            click(self.place(index))
            pointer("keyup", "ctrl")

    def drag(self, index, to, target=None):
        """Drags a row, and what is selected with it, onto a row of this bank or of another; both
        rows can be seen."""
        self._program.drag(self.place(index), (target or self).place(to),
                           lambda: self.row(index).has_state("SELECTED"))

    def remove(self):
        self._button("remove the selected visuals from the server").click()

    def upload(self):
        self._button("upload a file to the selected slot").click()

    def _button(self, words):
        return self._program.button(f"{words} of bank {'ab'[self._index]}")

    def to_top(self):
        self.list.click()
        press("Home")

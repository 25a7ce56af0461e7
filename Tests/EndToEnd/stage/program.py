# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The program in its window: found through the accessibility tree, driven by real input."""

import itertools
import os
import pathlib
import signal
import subprocess

from gi.repository import GLib

from .children import folders_below, start
from .waiting import steady, wait_for


class Widget:
    """One node of the accessibility tree. Asks anew at every call, since the tree lives."""

    def __init__(self, node):
        self.node = node

    @property
    def name(self):
        return self.node.name

    @property
    def description(self):
        return self.node.description

    @property
    def role(self):
        return self.node.getRoleName()

    def has_state(self, state):
        import pyatspi
        return self.node.getState().contains(getattr(pyatspi, "STATE_" + state))

    @property
    def showing(self):
        return self.has_state("SHOWING") and self.has_state("VISIBLE")

    @property
    def enabled(self):
        return self.has_state("ENABLED")

    @property
    def text(self):
        """The text of a label, or of anything else that has one."""
        try:
            return self.node.queryText().getText(0, -1)
        except NotImplementedError:
            return self.node.name

    @property
    def percent(self):
        """How far a progress bar is."""
        value = self.node.queryValue()
        return 100 * value.currentValue / (value.maximumValue or 1)

    def children(self):
        return [Widget(child) for child in self.node if child is not None]

    def descendants(self):
        for child in self.children():
            yield child
            yield from child.descendants()

    def find(self, role=None, name=None, showing=True):
        """The first descendant that fits, or None. A name may be a predicate."""
        for widget in self.descendants():
            if role is not None and widget.role != role:
                continue
            if callable(name) and not name(widget.name):
                continue
            if name is not None and not callable(name) and widget.name != name:
                continue
            if widget.showing or not showing:
                return widget
        return None

    def center(self):
        import pyatspi
        box = self.node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        return box.x + box.width // 2, box.y + box.height // 2

    def click(self):
        click(self.center())


def walk(widget, closed=("list", "table", "menu bar", "combo box")):
    """The descendants, without the inside of what is large."""
    for child in widget.children():
        yield child
        if child.role not in closed:
            yield from walk(child, closed)


def pointer(*arguments):
    """Sends real input events to the display."""
    subprocess.run(["xdotool", *map(str, arguments)], check=True, stdout=subprocess.DEVNULL)


def click(place, count=1):
    pointer("mousemove", "--sync", *place)
    pointer("click", "--repeat", count, "--delay", 60, 1)


def press(*keys):
    pointer("key", *keys)


def write(text):
    """Types a text into what has the focus."""
    pointer("type", "--delay", 5, text)


class Program:
    """One run of the program with a home directory of its own."""

    def __init__(self, binary, home, log=None):
        self.home = pathlib.Path(home)
        environment = dict(os.environ, HOME=str(self.home), **folders_below(self.home))
        self._output = open(log or self.home / "output.txt", "ab")
        self.process = start([binary], env=environment, stdout=self._output,
                             stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)

    # -- what the operator sees

    def application(self):
        import pyatspi
        desktop = pyatspi.Registry.getDesktop(0)
        for index in range(desktop.childCount):
            try:
                node = desktop.getChildAtIndex(index)
                if node is not None and node.get_process_id() == self.process.pid:
                    return Widget(node)
            except GLib.Error:  # an earlier program that is still listed
                continue
        return None

    def wait_for_window(self):
        wait_for(lambda: self.window("main"), "the main window")
        wait_for(self._windows, "the main window on the display")
        return self

    @steady
    def window(self, kind, title=None):
        """A top-level window that is on show: "main" or "dialog"."""
        self.assert_running()
        application = self.application()
        if application is None:
            return None
        for window in application.children():
            main = any(child.role == "menu bar" for child in window.children())
            if window.showing and main == (kind == "main") and title in (None, window.name):
                return window
        return None

    def main(self):
        return wait_for(lambda: self.window("main"), "the main window")

    def wait_for_dialog(self, title=None, timeout=30.0):
        return wait_for(lambda: self.window("dialog", title), f"a dialog {title or ''}", timeout)

    def wait_until_no_dialog(self, timeout=60.0):
        wait_for(lambda: self.window("dialog") is None, "the end of the dialogs", timeout)

    @steady
    def dialog_texts(self, dialog):
        """All texts of a dialog, for a look at what it says."""
        return [widget.text for widget in dialog.descendants() if widget.role in ("label", "text")]

    def close_error(self, headline):
        """Waits for the one error dialog, holds what it says and closes it. Returns the lines of
        its details, if it offers any."""
        dialog = self.wait_for_dialog("Error", 60)
        texts = self.dialog_texts(dialog)
        assert headline in texts, f"{headline!r} is not said, but {texts}"
        button = dialog.find(name="Show Details >>")
        lines = []
        if button:
            button.click()
            lines = wait_for(lambda: dialog.find("text"), "the details").text.splitlines()
        self.press_button(dialog, "OK")
        self.wait_until_no_dialog()
        return lines

    @steady
    def focus(self):
        """Role and name of what has the keyboard, or None.

        What stands around it may say that it has it, and the tab that is open always does.
        """
        having = [widget for widget in walk(self.application())
                  if widget.has_state("FOCUSED") and widget.role != "page tab"]
        return (having[-1].role, having[-1].name) if having else None

    def press_button(self, dialog, name):
        button = wait_for(lambda: dialog.find("push button", name), f"the button {name}")
        button.click()

    def fill_in_file(self, path):
        """Types a path into the file dialog, once the dialog takes the keys."""
        dialog = self.wait_for_dialog("Select file for upload")
        line = wait_for(lambda: dialog.find("text"), "the line for a path")
        wait_for(lambda: line.has_state("FOCUSED"), "the focus of the line")
        write(str(path))
        wait_for(lambda: line.text == str(path), "the path in the line")

    def drag(self, source, target, is_held):
        """Drags with the left button from one place of the screen to another, as a hand does that
        looks at the screen: what is pressed is held, then its picture hangs on the pointer, and
        then the picture has come along to the target."""
        (x, y), (to_x, to_y) = source, target
        before = self._windows()
        pointer("mousemove", "--sync", *source)
        pointer("mousedown", 1)
        try:
            wait_for(is_held, "what is dragged to be held")
            # Moves that the program meets as one are too few for the beginning of a drag.
            way = itertools.cycle((x + (to_x - x) * step // 8, y + (to_y - y) * step // 8)
                                  for step in range(3, 7))
            picture, = wait_for(lambda: pointer("mousemove", *next(way)) or
                                self._windows() - before, "the picture of what is dragged")
            pointer("mousemove", *target)
            wait_for(lambda: self._covers(picture, target), "the picture at the target")
        finally:
            pointer("mouseup", 1)

    def _windows(self):
        """The windows of the program that the display shows."""
        windows = subprocess.run(["xdotool", "search", "--onlyvisible", "--pid",
                                  str(self.process.pid)],
                                 capture_output=True, text=True, check=False)
        return set(windows.stdout.split())

    @staticmethod
    def _active_window():
        return subprocess.run(["xdotool", "getactivewindow"], capture_output=True, text=True,
                              check=False).stdout.strip()

    @staticmethod
    def _covers(window, place):
        answer = subprocess.run(["xdotool", "getwindowgeometry", "--shell", window],
                                capture_output=True, text=True, check=False)
        box = dict(line.split("=") for line in answer.stdout.splitlines())
        return box and all(0 <= point - int(box[start]) < int(box[length])
                           for start, length, point in zip("XY", ("WIDTH", "HEIGHT"), place))

    def is_idle(self):
        """Whether the program has no dialog open, asked of the display and not of its tree: the
        tree of a table with 65,280 rows would take its time to be walked."""
        return len(self._windows()) == 1

    def button(self, words):
        """A button of the main window by words of its accessible name, such as "left to right"."""
        return wait_for(lambda: self.main().find("push button", lambda name: words in name.lower()),
                        f"the button for {words}")

    @steady
    def out_of_sync(self):
        """Whether the sign between the banks is on show."""
        sign = "Content of both servers is not fully in sync"
        return any(sign in (widget.name, widget.description)
                   for widget in walk(self.main()) if widget.showing)

    # -- the end

    def assert_running(self):
        if self.process.poll() is not None:
            raise AssertionError(f"the program ended with {self.process.returncode}:\n"
                                 f"{self.output()}")

    def output(self):
        self._output.flush()
        return pathlib.Path(self._output.name).read_text(errors="replace")

    def log_text(self):
        """The log of this run so far."""
        logs = sorted(self.home.rglob("Brenvoka.log"))
        return logs[0].read_text(errors="replace") if logs else ""

    def memory_peak_megabytes(self):
        for line in pathlib.Path(f"/proc/{self.process.pid}/status").read_text().splitlines():
            if line.startswith("VmHWM:"):
                return int(line.split()[1]) / 1024
        return 0.0

    def close_window(self):
        """As the operator does: by the shortcut of File, Quit, once the main window has the keyboard
        back from the last dialog."""
        wait_for(lambda: self._windows() == {self._active_window()}, "the main window in front", 60)
        press("ctrl+q")
        return self.process.wait(30)

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait(30)

    def close(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.kill()
        self._output.close()


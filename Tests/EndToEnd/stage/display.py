# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""A virtual display of its own, with a window manager and an accessibility bus."""

import fcntl
import itertools
import os
import pathlib
import shutil
import subprocess
import tempfile

from gi.repository import Gio

from .children import folders_below, start
from .waiting import wait_for

_BUS_LAUNCHERS = ("/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher")


class Display:
    """Xvfb, openbox, a session bus and the accessibility bus; all end with close().

    The environment of this process is pointed at them, so that pyatspi, which reads it when it is
    imported, and every program that is started later find them. A process that reads the
    accessibility tree therefore has one display and no second one.
    """

    def __init__(self, size="1400x900"):
        self._processes = []
        self._saved = dict(os.environ)
        self._scratch = tempfile.mkdtemp(prefix="stage-")
        try:
            self._start(size)
        except BaseException:
            self.close()
            raise

    def _start(self, size):
        os.environ["DISPLAY"] = self._start_server(size)
        os.environ.pop("WAYLAND_DISPLAY", None)

        bus = self._run(["dbus-daemon", "--session", "--nofork", "--print-address"],
                        stdout=subprocess.PIPE, text=True)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
        os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        os.environ["QT_QPA_PLATFORM"] = "xcb"
        os.environ["XDG_RUNTIME_DIR"] = self._scratch
        os.environ.pop("AT_SPI_BUS_ADDRESS", None)
        # Only now: the socket of the accessibility bus lies in the runtime directory, or else in
        # one that all displays of that number share, where the end of the last takes it away.
        launcher = next(path for path in _BUS_LAUNCHERS if os.path.exists(path))
        self._run([launcher, "--launch-immediately"])
        wait_for(self._accessibility_bus_is_up, "the accessibility bus")

        self._run(["openbox", "--config-file", self._window_manager_configuration()])
        wait_for(self._window_manager_is_up, "the window manager")

    def _start_server(self, size):
        """The name of the display.

        Xvfb cannot choose it: in a network of its own every number looks free to it, and it would
        replace the socket of another display in the folder that all share. The lock covers the time
        from the choice of a number to the socket of that number.
        """
        with open(f"/tmp/brenvoka-displays-{os.getuid()}.lock", "w") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            number = next(number for number in itertools.count(100)
                          if not os.path.lexists(f"/tmp/.X11-unix/X{number}"))
            reader, writer = os.pipe()
            self._run(["Xvfb", f":{number}", "-displayfd", str(writer), "-screen", "0",
                       f"{size}x24", "-nolisten", "tcp", "-noreset"], pass_fds=(writer,))
            os.close(writer)
            with os.fdopen(reader) as pipe:
                if pipe.readline().strip() != str(number):
                    raise RuntimeError("Xvfb did not start")
        return f":{number}"

    def _window_manager_configuration(self):
        """Windows appear where they ask to, with a plain border, and keep the focus they get."""
        path = pathlib.Path(self._scratch, "rc.xml")
        path.write_text('<openbox_config xmlns="http://openbox.org/3.4/rc">'
                        "<focus><focusNew>yes</focusNew></focus>"
                        "<theme><name>Clearlooks</name></theme></openbox_config>")
        return str(path)

    @staticmethod
    def _accessibility_bus_is_up():
        flags = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
                 | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)

        def connect(address):
            return Gio.DBusConnection.new_for_address_sync(address, flags, None, None)

        session = connect(os.environ["DBUS_SESSION_BUS_ADDRESS"])
        answer = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress",
                                   None, None, Gio.DBusCallFlags.NO_AUTO_START, -1, None)
        return connect(answer.unpack()[0])

    @staticmethod
    def _window_manager_is_up():
        answer = subprocess.run(["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"],
                                capture_output=True, text=True, check=False)
        return "window id" in answer.stdout

    def _run(self, command, **options):
        options.setdefault("stdout", subprocess.DEVNULL)
        environment = {**os.environ, **folders_below(pathlib.Path(self._scratch))}
        process = start(command, env=environment, stderr=subprocess.DEVNULL,
                        stdin=subprocess.DEVNULL, **options)
        self._processes.append(process)
        return process

    @staticmethod
    def screenshot(path):
        """Writes the whole screen to a PNG file."""
        pathlib.Path(path).parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["import", "-silent", "-window", "root", str(path)], check=True)

    @staticmethod
    def count_pixels(color):
        """How many pixels of the screen have that colour, given as three bytes."""
        screen = subprocess.run(["import", "-silent", "-window", "root", "-depth", "8", "rgb:-"],
                                check=True, capture_output=True).stdout
        return sum(screen[place:place + 3] == color for place in range(0, len(screen), 3))

    def close(self):
        for process in reversed(self._processes):
            process.terminate()
        for process in self._processes:
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        self._processes.clear()
        os.environ.clear()
        os.environ.update(self._saved)
        shutil.rmtree(self._scratch, ignore_errors=True)

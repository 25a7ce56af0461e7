# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Rehearsal servers as processes, and what their own files and logs say."""

import hashlib
import json
import pathlib
import shutil
import subprocess
import urllib.parse
import urllib.request

from .children import start
from .waiting import wait_for

VERSION = "281474976710656"


class DoesNotServe(Exception):
    """A server that could not be started; says why."""


class MediaServer:
    """One rehearsal server: a process with an address, a name and a library of real files."""

    def __init__(self, binary, address, name, library, *options):
        self.address = address
        self.name = name
        self.library = pathlib.Path(library)
        self.log = self.library.with_suffix(".requests")
        self.log.unlink(missing_ok=True)
        self._errors = open(self.library.with_suffix(".errors"), "ab")
        self.process = start(
            [binary, "--address", address, "--name", name, "--library", self.library,
             "--log", self.log, *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self._errors, text=True)

    def wait_until_up(self):
        """Until it says so: another server may be the one that answers at its address."""
        if not self.process.stdout.readline().startswith("ready "):
            errors = pathlib.Path(self._errors.name).read_text(errors="replace").strip()
            raise DoesNotServe(f"{self.name} ended with {self.process.wait()}: {errors}")
        return self

    # -- asking and telling it over the wire, as any client could

    def url(self, page):
        return f"http://{self.address}:4567/brenvoka/{page}"

    def document(self):
        """The library document, parsed."""
        with urllib.request.urlopen(self.url(f"library.json?ver={VERSION}"), timeout=30) as reply:
            return json.load(reply)

    def execute(self, kind, **fields):
        """Posts a command; returns the result document."""
        body = urllib.parse.urlencode({"req_type": kind, **fields, "ver": VERSION})
        request = urllib.request.Request(self.url("execute.html"), body.encode())
        with urllib.request.urlopen(request, timeout=30) as reply:
            result = json.load(reply)
        if result.get("RESULT") != 0:
            raise AssertionError(f"{self.name} refused {body}: {result}")
        return result

    def remove(self, folder, slot):
        self.execute(2, folderIdx=folder, visualIdx=slot)

    def move(self, folder, slot, to):
        self.execute(3, folderIdx=folder, visualIdx=slot, visualToIdx=to)

    def rename(self, folder, name):
        self.execute(5, folderIdx=folder, folderName=name)

    def upload(self, folder, slot, path):
        subprocess.run(["curl", "-sSf", "-F", f"folderIdx={folder}", "-F", f"visualIdx={slot}",
                        "-F", f"ver={VERSION}", "-F", f"visualFile=@{path}",
                        self.url("upload.html")], check=True, stdout=subprocess.DEVNULL)

    # -- its own controls

    def tell(self, command):
        """A command on its standard input, such as "reset-stream"."""
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()

    def ask(self, question):
        """Its answer to a command such as "quiet?"."""
        self.tell(question)
        return self.process.stdout.readline().strip()

    def is_quiet(self):
        return self.ask("quiet?") == "quiet"

    def wait_until_quiet(self, timeout=60.0):
        wait_for(self.is_quiet, f"{self.name} to be quiet", timeout)

    # -- what its own files say

    def requests(self):
        """The lines of its request log."""
        return self.log.read_text().splitlines() if self.log.exists() else []

    def commands(self, kind):
        """The bodies of the commands of one kind, in the order of arrival."""
        bodies = (line.split(" ")[-1] for line in self.requests() if "execute.html" in line)
        return [body for body in bodies if body.startswith(f"req_type={kind}&")]

    def files(self):
        """Every file of the library on disk with the MD5 of its bytes."""
        return {str(path.relative_to(self.library)): hashlib.md5(path.read_bytes()).hexdigest()
                for path in sorted(self.library.rglob("*")) if path.is_file()}

    def incoming(self):
        """The files that are on their way into the library."""
        return list((self.library / ".incoming").iterdir())

    def slots(self):
        """(folder, slot) -> (name, hash), from its library document."""
        return {(folder["slot"], visual["slot"]): (visual["name"], visual["hash"])
                for folder in self.document()["folders"] for visual in folder["files"]}

    def folder_names(self):
        return {folder["slot"]: folder["name"] for folder in self.document()["folders"]}

    def close(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()
        self._errors.close()

    def discard(self):
        """Ends the server and removes its library."""
        self.close()
        shutil.rmtree(self.library, ignore_errors=True)

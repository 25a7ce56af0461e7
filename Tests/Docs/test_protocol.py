# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Docs/protocol.md and its diagram show what the files of Tests/Wire and the sources contain."""

import html
import json
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
WIRE = ROOT / "Tests/Wire"
DIAGRAM = (ROOT / "Docs/transfer.dot").read_text()
BLOCKS = re.findall(r"^```\n(.*?)^```$", (ROOT / "Docs/protocol.md").read_text(), re.M | re.S)
REQUESTS = [block for block in BLOCKS if re.match(r"(GET|POST) /", block)]
ANSWERS = [block for block in BLOCKS if block.startswith("HTTP/1.1 ")]
UPLOAD = "POST /brenvoka/upload.html HTTP/1.1"


def dump(data):
    """As hexdump -C prints it."""
    lines = []
    for start in range(0, len(data), 16):
        row = data[start:start + 16]
        text = "".join(chr(byte) if 32 <= byte < 127 else "." for byte in row)
        lines.append(f"{start:08x}  {row[:8].hex(' ')}  {row[8:].hex(' ')}  |{text}|\n")
    return "".join(lines)


def parts(block):
    """The first line, the headers by name, and the body."""
    head, _, body = block.partition("\n\n")
    first, *lines = head.splitlines()
    return first, dict(line.split(": ", 1) for line in lines), body


def as_sent(text):
    return text.rstrip("\n").replace("\n", "\r\n").encode()


class Examples(unittest.TestCase):
    """Every file is on the page, and every example on the page is that of a file."""

    maxDiff = None

    def test_dumpIsTheAnnouncement(self):
        self.assertIn(dump((WIRE / "announcement.bin").read_bytes()), BLOCKS)

    def test_requestsAreThoseOfTheFiles(self):
        files = [file.read_bytes() for file in WIRE.glob("*.http")]
        shown = [as_sent(block) + (b"" if "\n\n" in block else b"\r\n\r\n") for block in REQUESTS
                 if not block.startswith(UPLOAD)]
        self.assertEqual(sorted(shown), sorted(files))

    def test_uploadIsThatOfTheFile(self):
        (upload,) = [block for block in REQUESTS if block.startswith(UPLOAD)]
        (file,) = WIRE.glob("*.multipart")
        _, headers, body = parts(upload)
        self.assertEqual(as_sent(body) + b"\r\n", file.read_bytes())
        self.assertEqual(int(headers["Content-Length"]), file.stat().st_size)

    def test_lengthsAreThoseOfTheBodies(self):
        measured = 0
        for block in REQUESTS + ANSWERS:
            first, headers, body = parts(block)
            if "Content-Length" in headers and not first.startswith(UPLOAD):
                with self.subTest(block=block):
                    self.assertEqual(int(headers["Content-Length"]), len(body.rstrip("\n")))
                    measured += 1
        self.assertGreater(measured, 7)

    def test_everyRequestHasAnAnswer(self):
        kinds = ["".join("a" if block in ANSWERS else "r" for block in BLOCKS
                         if block in REQUESTS or block in ANSWERS)]
        self.assertEqual(kinds, ["ra" * len(REQUESTS)])

    def test_answersAreThoseOfTheFiles(self):
        results = {result["body"] for result in json.loads((WIRE / "results.json").read_text())}
        library = (WIRE / "library.json").read_text().rstrip("\n")
        stream = (WIRE / "stream.bin").read_text()
        for block in ANSWERS:
            first, headers, body = parts(block)
            with self.subTest(block=block):
                self.assertEqual(first, "HTTP/1.1 200 OK")
                if headers.get("Content-Type") == "image/png":
                    continue
                if "\\0\n" in body:
                    self.assertEqual(body.replace("\\0\n", "\0"), stream)
                else:
                    self.assertIn(body.rstrip("\n"), {"", library} | results)

    def test_pageNeedsNoSources(self):
        self.assertNotRegex((ROOT / "Docs/protocol.md").read_text(), r"`(Tests|Sources|Tools)/")


class Diagram(unittest.TestCase):
    """The states of a transfer."""

    def test_statesHaveTheNumbersOfTheProgram(self):
        enumeration = (ROOT / "Sources/Model/Brenvoka.h").read_text()
        numbers = {name.lower(): number for name, number
                   in re.findall(r"\bSync(\w+) = (\d+),", enumeration)}
        drawn = {name: number for name, number in re.findall(r"^ *(\w+) +\[label=<<b>(\d+)</b> \1>",
                                                             DIAGRAM, re.M)}
        self.assertEqual(drawn, numbers)

    def test_pictureIsRenderedFromItsSource(self):
        picture = html.unescape((ROOT / "Docs/transfer.svg").read_text())
        self.assertEqual(sorted(re.findall(r"<title>(\w+)->(\w+)</title>", picture)),
                         sorted(re.findall(r"^ *(\w+) -> (\w+) ", DIAGRAM, re.M)))


if __name__ == "__main__":
    unittest.main()

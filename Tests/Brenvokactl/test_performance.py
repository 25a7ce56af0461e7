# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The cost of comparing two full libraries: 65,280 visuals on each of two servers."""

import os
import subprocess
import unittest

from brenvokactl import PROGRAM, ProgramCase

RUNS = 5


class Cost(ProgramCase):
    def full_library(self, name, content):
        for number in range(256):
            for slot in range(1, 256):
                place = self.folder / name / f"{number:03d}" / f"{slot:03d}"
                place.mkdir(parents=True)
                (place / "Clip.bin").write_bytes(b"%d %d %s" % (number, slot, content))

    def usage(self, code, *command):
        """Processor time in seconds and peak memory in megabytes of a child process."""
        process = subprocess.Popen([str(word) for word in command], cwd=self.work,
                                   env=self.environment, stdout=subprocess.DEVNULL)
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, code)
        return used.ru_utime + used.ru_stime, used.ru_maxrss / 1024

    def least(self, measure):
        """The least of several runs: the others were disturbed."""
        return min(measure() for _ in range(RUNS))

    def baseline(self, *servers):
        """curl fetches the documents, and QJsonDocument parses them."""
        files = [self.work / server.name for server in servers]
        fetched = sum(self.least(lambda: self.usage(
            0, "curl", "-sSf", "-o", file, server.url("library.json?ver=281474976710656"))[0])
            for server, file in zip(servers, files))
        parsed = self.least(lambda: float(subprocess.run(
            [os.environ["PARSE_TWICE"], *files], capture_output=True, check=True).stdout))
        return fetched + parsed

    def test_compare_of_full_libraries(self):
        servers = []
        for number, (name, content) in enumerate((("full", b"a"), ("same", b"a"),
                                                  ("other", b"b")), 2):
            self.full_library(name, content)
            servers.append(self.serve(number, name))
        full, same, other = servers
        baseline = self.baseline(full, other)
        for second, code, form in ((same, 0, "text"), (other, 1, "text"), (other, 1, "json")):
            runs = [self.usage(code, PROGRAM, "compare", "--format", form, full.address,
                               second.address) for _ in range(RUNS)]
            time, memory = min(time for time, _ in runs), max(memory for _, memory in runs)
            print(f"compare with {second.name} as {form}: {time:.3f} s of processor time, "
                  f"{time / baseline:.2f} times that of curl and QJsonDocument ({baseline:.3f} s), "
                  f"peak memory {memory:.0f} MB")
            with self.subTest(second=second.name, form=form):
                self.assertLess(memory, 150)
                if form == "text":  # JSON of 65,280 pairs takes QJsonDocument itself longer
                    self.assertLess(time, 3 * baseline)


if __name__ == "__main__":
    unittest.main(verbosity=2)

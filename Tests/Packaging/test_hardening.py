# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The hardening of the optimised program by the compiler and the linker."""

import os
import re
import subprocess
import unittest


def readelf(option):
    """The output of readelf for the program."""
    command = ["readelf", "--wide", option, os.environ["BRENVOKA"]]
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE,
                          env={**os.environ, "LC_ALL": "C"}).stdout


class HardeningTest(unittest.TestCase):
    def expect(self, pattern, option):
        # assertRegex would print the whole output.
        self.assertTrue(re.search(pattern, readelf(option)), f"no {pattern} in readelf {option}")

    def test_program_is_position_independent(self):
        self.expect(r"Type:\s+DYN", "--file-header")
        self.expect(r"\(FLAGS_1\).*\bPIE\b", "--dynamic")

    def test_linker_tables_are_read_only(self):
        self.expect(r"GNU_RELRO", "--program-headers")
        self.expect(r"\(FLAGS\).*\bBIND_NOW\b", "--dynamic")

    def test_stack_is_not_executable(self):
        self.expect(r"GNU_STACK(\s+0x0+){3}.*\sRW\s", "--program-headers")

    def test_stack_is_protected(self):
        self.expect(r"\b__stack_chk_fail@", "--dyn-syms")

    def test_c_library_calls_are_fortified(self):
        self.expect(r"\b__vsnprintf_chk@", "--dyn-syms")


if __name__ == "__main__":
    unittest.main()

# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The optimised program: what its compiler and linker did against the use of memory faults."""

import os
import re
import subprocess
import unittest


def readelf(option):
    """What readelf prints about the program."""
    command = ["readelf", "--wide", option, os.environ["BRENVOKA"]]
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE,
                          env={**os.environ, "LC_ALL": "C"}).stdout


class HardeningTest(unittest.TestCase):
    def expect(self, pattern, option):
        # The output itself is too long for a message.
        self.assertTrue(re.search(pattern, readelf(option)), f"no {pattern} in readelf {option}")

    def test_code_is_loaded_at_any_address(self):
        self.expect(r"Type:\s+DYN", "--file-header")
        self.expect(r"\(FLAGS_1\).*\bPIE\b", "--dynamic")

    def test_tables_of_the_linker_are_read_only(self):
        self.expect(r"GNU_RELRO", "--program-headers")
        self.expect(r"\(FLAGS\).*\bBIND_NOW\b", "--dynamic")

    def test_stack_is_not_executable(self):
        self.expect(r"GNU_STACK(\s+0x0+){3}.*\sRW\s", "--program-headers")

    def test_stack_is_checked(self):
        self.expect(r"\b__stack_chk_fail@", "--dyn-syms")

    def test_calls_of_the_c_library_are_checked(self):
        self.expect(r"\b__vsnprintf_chk@", "--dyn-syms")


if __name__ == "__main__":
    unittest.main()

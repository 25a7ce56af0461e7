# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""When Scripts/release.sh refuses to make a release, and whether the versions of the tree agree. The
packages themselves are tested by test_package.py."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ["BRENVOKA_SOURCE"])
PROJECT = 'project(Brenvoka VERSION 2.1.0 LANGUAGES CXX\n'
RELEASED = "# Changelog\n\n## 2.1.0 - 2026-12-01\n\n- News\n\n## 2.0.0 - 2026-11-01\n"


class ReleaseTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Path(folder.name)
        (self.tree / "Scripts").mkdir()
        shutil.copy(SOURCE / "Scripts/release.sh", self.tree / "Scripts")
        # The release would begin here.
        self.write("Scripts/install-packages.sh", "#!/bin/sh\necho accepted\nexit 3\n")
        (self.tree / "Scripts/install-packages.sh").chmod(0o755)
        self.write("CMakeLists.txt", PROJECT)
        self.write("CHANGELOG.md", RELEASED)
        self.git("init", "--quiet")

    def write(self, name, text):
        (self.tree / name).write_text(text)

    def git(self, *arguments):
        subprocess.run(["git", "-c", "user.name=Test", "-c", "user.email=test@localhost",
                        *arguments], cwd=self.tree, check=True)

    def release(self, *arguments, commit=True):
        """The exit code and the output of the script."""
        if commit:
            self.git("add", "--all")
            self.git("commit", "--quiet", "--message", "A version")
        done = subprocess.run(["Scripts/release.sh", *arguments], cwd=self.tree, text=True,
                              check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertFalse((self.tree / "build").exists())
        return done.returncode, done.stdout

    def test_clean_tree_is_accepted(self):
        self.assertEqual(self.release(), (3, "accepted\n"))
        self.assertEqual(self.release("--reproduce", commit=False), (3, "accepted\n"))

    def test_changed_file_is_refused(self):
        self.release()
        self.write("CHANGELOG.md", RELEASED + "\n")
        self.assertEqual(self.release(commit=False), (1, "release: the tree is not clean\n"))

    def test_new_file_is_refused(self):
        self.release()
        self.write("new.txt", "")
        self.assertEqual(self.release("--trial", commit=False),
                         (1, "release: the tree is not clean\n"))

    def test_other_version_is_refused(self):
        for heading in ("2.0.9 - 2026-12-01", "2.1.0", "2.1.0 - soon", "2.1.00 - 2026-12-01"):
            with self.subTest(heading):
                self.write("CHANGELOG.md", f"# Changelog\n\n## {heading}\n")
                self.assertEqual(
                    self.release(),
                    (1, "release: the newest version of CHANGELOG.md is not 2.1.0\n"))

    def test_unreleased_changes_are_refused_but_in_a_trial(self):
        self.write("CHANGELOG.md", "# Changelog\n\n## Unreleased\n\n" + RELEASED)
        code, output = self.release()
        self.assertEqual(code, 1)
        self.assertIn("unreleased changes; version 2.1.0 needs a date", output)
        self.assertEqual(self.release("--trial", commit=False), (3, "accepted\n"))

    def test_unknown_arguments_are_refused(self):
        code, output = self.release("--help")
        self.assertEqual(code, 2)
        self.assertTrue(output.startswith("usage: "))


class VersionTest(unittest.TestCase):
    def test_changelog_belongs_to_the_version_of_the_project(self):
        project = re.search(r"^project\(Brenvoka VERSION (\S+)",
                            (SOURCE / "CMakeLists.txt").read_text(), re.MULTILINE).group(1)
        headings = re.findall(r"^## (.+)$", (SOURCE / "CHANGELOG.md").read_text(), re.MULTILINE)
        released = [heading.partition(" - ")[0] for heading in headings if heading != "Unreleased"]
        numbers = [[int(part) for part in version.split(".")] for version in released]
        self.assertEqual(numbers, sorted(numbers, reverse=True))
        if headings[0] == "Unreleased":
            self.assertGreater([int(part) for part in project.split(".")], numbers[0])
        else:
            self.assertEqual(project, released[0])


if __name__ == "__main__":
    unittest.main()

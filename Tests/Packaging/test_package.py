# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The Debian package: its files, and whether desktops, software centres and man can read them."""

import configparser
import gzip
import os
import re
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

SIZES = (16, 22, 24, 32, 48, 64, 128, 256)
DOCUMENTATION = "usr/share/doc/brenvoka"
ICONS = "usr/share/icons/hicolor"
DESKTOP_ENTRY = "usr/share/applications/brenvoka.desktop"
METAINFO = "usr/share/metainfo/internal.zorvik.brenvoka.metainfo.xml"
MANUAL_PAGES = tuple(f"usr/share/man/man1/{name}.1.gz" for name in ("brenvoka", "brenvokactl"))
FILES = {
    "usr/bin/brenvoka",
    "usr/bin/brenvokactl",
    "usr/share/bash-completion/completions/brenvokactl",
    DESKTOP_ENTRY,
    METAINFO,
    *MANUAL_PAGES,
    f"{ICONS}/scalable/apps/brenvoka.svg",
    *(f"{ICONS}/{size}x{size}/apps/brenvoka.png" for size in SIZES),
    *(f"{DOCUMENTATION}/{name}" for name in (
        "operator.md", "behaviour.md", "protocol.md", "network.md", "copyright", "changelog.gz",
        "brenvokactl.md", "brenvokactl-compare.schema.json", "brenvokactl-plan.schema.json",
        "pictures/window-folders-list-medium.png")),
}


def run(*command, **options):
    """Runs a program; `stdout` of the result has both output streams."""
    return subprocess.run(command, check=False, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        built = run(os.environ["CPACK"], "--config", os.environ["CPACK_CONFIG"], "-B", folder.name)
        if built.returncode:
            raise AssertionError(built.stdout)
        (cls.package,) = Path(folder.name).glob("*.deb")
        cls.root = Path(folder.name) / "root"
        subprocess.run(["dpkg-deb", "--extract", cls.package, cls.root], check=True)

    def path(self, name):
        return self.root / name

    def field(self, name):
        return run("dpkg-deb", "--field", self.package, name).stdout.strip()

    def assert_succeeds(self, *command):
        done = run(*command)
        self.assertEqual(done.returncode, 0, done.stdout)
        return done.stdout

    def test_contains_exactly_these_files(self):
        files = {str(path.relative_to(self.root)) for path in self.root.rglob("*")
                 if not path.is_dir()}
        self.assertEqual(files, FILES)

    def test_files_belong_to_root_and_are_readable(self):
        for line in run("dpkg-deb", "--contents", self.package).stdout.splitlines():
            folder, program = line.startswith("d"), " ./usr/bin/brenvoka" in line
            mode = "rwxr-xr-x" if folder or program else "rw-r--r--"
            self.assertRegex(line, f"^[-d]{mode} root/root ")

    def test_has_the_version_of_the_project(self):
        version = os.environ["BRENVOKA_VERSION"]
        self.assertEqual(self.field("Version"), version)
        changelog = gzip.decompress(self.path(f"{DOCUMENTATION}/changelog.gz").read_bytes())
        self.assertTrue(changelog.decode().startswith(f"brenvoka ({version}) "), changelog)
        for name in MANUAL_PAGES:
            page = gzip.decompress(self.path(name).read_bytes()).decode()
            self.assertIn(f'"Brenvoka {version}"', page)

    def test_depends_on_the_linked_libraries(self):
        depends = {re.split(r"[ (]", part)[0] for part in self.field("Depends").split(", ")}
        needed = run("objdump", "--private-headers", self.path("usr/bin/brenvoka")).stdout
        libraries = re.findall(r"NEEDED +(lib(?:Qt6\w+|spdlog|fmt|boost_\w+))", needed)
        self.assertGreater(len(libraries), 5)
        for library in libraries:
            name = library.lower().replace("_", "-")
            self.assertTrue(any(package.startswith(name) for package in depends),
                            f"{library}: {depends}")

    def test_has_the_licence_of_the_project(self):
        def words(path):
            lines = (line.strip() for line in path.read_text().splitlines())
            return " ".join(word for line in lines if line != "." for word in line.split())
        terms = words(Path(os.environ["BRENVOKA_LICENSE"])).partition("Permission is")[2]
        self.assertGreater(len(terms), 500)
        self.assertIn(terms, words(self.path(f"{DOCUMENTATION}/copyright")))

    def test_desktop_entry_is_valid(self):
        output = self.assert_succeeds("desktop-file-validate", self.path(DESKTOP_ENTRY))
        self.assertEqual(output, "")
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(self.path(DESKTOP_ENTRY))
        values = entry["Desktop Entry"]
        self.assertIn(f"usr/bin/{values['Exec']}", FILES)
        self.assertIn(f"{ICONS}/scalable/apps/{values['Icon']}.svg", FILES)

    def test_metainfo_is_valid(self):
        self.assert_succeeds("appstreamcli", "validate", "--no-net", self.path(METAINFO))
        # Together with the desktop entry that it refers to.
        self.assert_succeeds("appstreamcli", "validate-tree", "--no-net", self.root)

    def test_manual_pages_are_valid(self):
        for name, beginning in zip(MANUAL_PAGES, ("brenvoka +- +compare", "brenvokactl +- +look")):
            page = gzip.decompress(self.path(name).read_bytes()).decode()
            done = run("groff", "-man", "-Tutf8", "-ww", "-z", input=page)
            self.assertEqual((done.returncode, done.stdout), (0, ""))
            text = run("groff", "-man", "-Tascii", "-P-cbou", input=page).stdout
            self.assertRegex(text, rf"NAME\n +{beginning}")

    def test_pictures_have_the_size_of_their_folder(self):
        for size in SIZES:
            picture = self.path(f"{ICONS}/{size}x{size}/apps/brenvoka.png").read_bytes()
            self.assertEqual(struct.unpack(">II", picture[16:24]), (size, size))

    def test_pages_link_to_installed_pages(self):
        folder = self.path(DOCUMENTATION)
        names = {name for page in folder.glob("*.md")
                 for name in re.findall(r"`(\w+\.md)`|\]\(([^)#:]+)[#)]", page.read_text())
                 for name in name if name}
        self.assertIn("behaviour.md", names)
        self.assertIn("pictures/window-folders-list-medium.png", names)
        for name in names:
            self.assertTrue((folder / name).is_file(), name)


if __name__ == "__main__":
    unittest.main(verbosity=2)

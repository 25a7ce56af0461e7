# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The Debian packages: their files, and whether desktops, software centres, man, firewalls and
Debian's own checks accept them."""

import configparser
import gzip
import os
import re
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree
from pathlib import Path

SIZES = (16, 22, 24, 32, 48, 64, 128, 256)
DOCUMENTATION = "usr/share/doc/brenvoka"
MANUAL = f"{DOCUMENTATION}/html"
ICONS = "usr/share/icons/hicolor"
DESKTOP_ENTRY = "usr/share/applications/brenvoka.desktop"
METAINFO = "usr/share/metainfo/internal.zorvik.brenvoka.metainfo.xml"
UFW_PROFILE = "etc/ufw/applications.d/brenvoka"
FIREWALLD_SERVICE = "usr/lib/firewalld/services/brenvoka.xml"
PROGRAMS = {"brenvoka": "brenvoka", "brenvoka-tools": "brenvokactl",
            "brenvoka-rehearsal": "brenvoka-media-server"}


def every_package_has(package):
    """The files that exist in each package under names of its own."""
    return {f"usr/bin/{PROGRAMS[package]}", f"usr/share/man/man1/{PROGRAMS[package]}.1.gz",
            f"usr/share/doc/{package}/copyright", f"usr/share/doc/{package}/changelog.gz",
            f"usr/share/lintian/overrides/{package}"}


FILES = {
    "brenvoka": {
        *every_package_has("brenvoka"),
        DESKTOP_ENTRY,
        METAINFO,
        UFW_PROFILE,
        FIREWALLD_SERVICE,
        f"{ICONS}/scalable/apps/brenvoka.svg",
        *(f"{ICONS}/{size}x{size}/apps/brenvoka.png" for size in SIZES),
        *(f"{DOCUMENTATION}/{name}" for name in (
            "operator.md", "messages.md", "behaviour.md", "protocol.md", "network.md",
            "brenvokactl.md", "transfer.svg", "brenvokactl-compare.schema.json",
            "brenvokactl-plan.schema.json", "pictures/window-folders-list-medium.png")),
        "usr/share/doc-base/brenvoka",
        *(f"{MANUAL}/{name}" for name in (
            *(f"{page}.html" for page in (
                "operator", "messages", "brenvokactl", "network", "behaviour", "protocol")),
            "transfer.svg", "brenvokactl-compare.schema.json", "brenvokactl-plan.schema.json",
            "pictures/window-folders-list-medium.png")),
    },
    "brenvoka-tools": {
        *every_package_has("brenvoka-tools"),
        "usr/share/bash-completion/completions/brenvokactl",
    },
    "brenvoka-rehearsal": every_package_has("brenvoka-rehearsal"),
}


def run(*command, **options):
    """Runs a program; `stdout` of the result has both output streams."""
    return subprocess.run(command, check=False, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)


class System:
    """An empty Debian system in a folder, without the packages that others depend on."""

    def __init__(self, folder):
        self.folder = folder
        for name in ("info", "updates"):
            (folder / "var/lib/dpkg" / name).mkdir(parents=True)
        for name in ("status", "available"):
            (folder / "var/lib/dpkg" / name).touch()

    def dpkg(self, *arguments):
        return run("fakeroot", "dpkg", f"--root={self.folder}", "--force-depends",
                   "--log=/dev/null", *arguments, env={**os.environ, "LC_ALL": "C"})

    def files(self):
        """All files and folders but those of dpkg itself."""
        return {str(path.relative_to(self.folder)) for path in self.folder.rglob("*")
                if "var" not in path.relative_to(self.folder).parts}


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        built = run(os.environ["CPACK"], "--config", os.environ["CPACK_CONFIG"], "-B", folder.name)
        if built.returncode:
            raise AssertionError(built.stdout)
        cls.packages = {path.name.partition("_")[0]: path for path in Path(folder.name).glob("*.*deb")}
        cls.roots = {name: Path(folder.name) / "roots" / name for name in cls.packages}
        for name, root in cls.roots.items():
            root.mkdir(parents=True)
            subprocess.run(["dpkg-deb", "--extract", cls.packages[name], root], check=True)

    def path(self, name, package="brenvoka"):
        return self.roots[package] / name

    def field(self, name, package="brenvoka"):
        return run("dpkg-deb", "--field", self.packages[package], name).stdout.strip()

    def files(self, package):
        root = self.roots[package]
        return {str(path.relative_to(root)) for path in root.rglob("*") if not path.is_dir()}

    def manual_page(self, package):
        page = self.path(f"usr/share/man/man1/{PROGRAMS[package]}.1.gz", package)
        return gzip.decompress(page.read_bytes()).decode()

    def changelog(self, package):
        page = self.path(f"usr/share/doc/{package}/changelog.gz", package)
        return gzip.decompress(page.read_bytes()).decode()

    def assert_succeeds(self, *command, **options):
        done = run(*command, **options)
        self.assertEqual(done.returncode, 0, done.stdout)
        return done.stdout

    def test_there_is_a_package_for_each_program_and_its_symbols(self):
        self.assertEqual(self.packages.keys(), {*FILES, *(f"{name}-dbgsym" for name in FILES)})

    def test_contains_exactly_these_files(self):
        for package, files in FILES.items():
            self.assertEqual(self.files(package), files)

    def test_files_belong_to_root_and_are_readable(self):
        for package in self.packages:
            for line in run("dpkg-deb", "--contents", self.packages[package]).stdout.splitlines():
                executable = line.startswith("d") or " ./usr/bin/" in line
                mode = "[-d]rwxr-xr-x" if executable else "(-rw-r--r--|lrwxrwxrwx)"
                self.assertRegex(line, f"^{mode} root/root ")

    def test_has_the_version_of_the_project(self):
        version = os.environ["BRENVOKA_VERSION"]
        for package in FILES:
            self.assertEqual(self.field("Version", package), version)
            self.assertTrue(self.changelog(package).startswith(f"brenvoka ({version}) "))
            self.assertIn(f'"Brenvoka {version}"', self.manual_page(package))

    def test_changelog_is_that_of_the_project(self):
        page = Path(os.environ["BRENVOKA_SOURCE"], "CHANGELOG.md").read_text()
        page = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", page)
        for package in FILES:
            words = " ".join(self.changelog(package).split())
            for bullet in re.findall(r"^- (.+)$", page, re.MULTILINE):
                self.assertIn(f"* {bullet}", words)
            releases = re.findall(r"^## ([0-9.]+) - ", page, re.MULTILINE)
            self.assertEqual(re.findall(r"\S+ \(([0-9.]+)\) unstable;", words), releases)
        with tempfile.NamedTemporaryFile("w") as file:
            file.write(self.changelog("brenvoka"))
            file.flush()
            output = self.assert_succeeds("dpkg-parsechangelog", "--file", file.name, "--all",
                                          env={**os.environ, "LC_ALL": "C"})
        self.assertNotIn("dpkg-parsechangelog: warning", output)

    def test_depends_on_the_linked_libraries(self):
        for package, program in PROGRAMS.items():
            depends = {re.split(r"[ (]", part)[0]
                       for part in self.field("Depends", package).split(", ")}
            needed = run("objdump", "--private-headers",
                         self.path(f"usr/bin/{program}", package)).stdout
            libraries = re.findall(r"NEEDED +(lib(?:Qt6\w+|spdlog|fmt|boost_\w+))", needed)
            self.assertGreater(len(libraries), 1)
            for library in libraries:
                name = library.lower().replace("_", "-")
                self.assertTrue(any(package.startswith(name) for package in depends),
                                f"{library}: {depends}")

    def test_files_that_moved_replace_those_of_older_packages(self):
        for field in ("Breaks", "Replaces"):
            self.assertEqual(self.field(field, "brenvoka-tools"), "brenvoka (<< 1.1.0)")

    def system(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        return System(Path(folder.name))

    def test_purge_leaves_nothing(self):
        system = self.system()
        done = system.dpkg("--install", *self.packages.values())
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn(UFW_PROFILE, system.files())
        done = system.dpkg("--purge", *self.packages)
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertEqual(system.files(), set())

    def test_new_packages_replace_the_old_one(self):
        system = self.system()
        old = system.folder / "var/old"
        for name in ("usr/bin/brenvokactl", "usr/bin/brenvoka"):
            (old / name).parent.mkdir(parents=True, exist_ok=True)
            (old / name).write_text("old")
        (old / "DEBIAN").mkdir()
        (old / "DEBIAN/control").write_text(
            "Package: brenvoka\nVersion: 1.0.3\nArchitecture: amd64\n"
            "Maintainer: Test <test@localhost>\nDescription: everything in one package\n")
        self.assert_succeeds("dpkg-deb", "--build", old, f"{old}.deb")
        self.assertEqual(system.dpkg("--install", f"{old}.deb").returncode, 0)
        # The new package of the tools does not work with the old one of the program.
        done = system.dpkg("--install", self.packages["brenvoka-tools"])
        self.assertIn("would break brenvoka", done.stdout)
        done = system.dpkg("--auto-deconfigure", "--install", self.packages["brenvoka-tools"],
                           self.packages["brenvoka"])
        self.assertEqual(done.returncode, 0, done.stdout)
        for package, program in (("brenvoka-tools", "brenvokactl"), ("brenvoka", "brenvoka")):
            self.assertEqual((system.folder / "usr/bin" / program).read_bytes(),
                             self.path(f"usr/bin/{program}", package).read_bytes())

    def test_console_programs_start(self):
        output = self.assert_succeeds(self.path("usr/bin/brenvokactl", "brenvoka-tools"),
                                      "--version")
        self.assertEqual(output, f"brenvokactl {os.environ['BRENVOKA_VERSION']}\n")
        output = self.assert_succeeds(
            self.path("usr/bin/brenvoka-media-server", "brenvoka-rehearsal"), "--help")
        self.assertIn("--from-library <URL>", output)

    def test_symbols_belong_to_the_programs(self):
        for package, program in PROGRAMS.items():
            notes = run("readelf", "--notes", self.path(f"usr/bin/{program}", package)).stdout
            number = re.search(r"Build ID: (\w+)", notes).group(1)
            symbols = self.path(f"usr/lib/debug/.build-id/{number[:2]}/{number[2:]}.debug",
                                f"{package}-dbgsym")
            units = run("readelf", "--debug-dump=info", "--dwarf-depth=1", symbols).stdout
            # Names relative to the source tree: the same from every folder.
            self.assertRegex(units, r"DW_AT_name .*: (Sources|Tools)/\S+\.cpp")
            self.assertNotIn(os.environ["BRENVOKA_SOURCE"], units)

    def test_has_the_licence_of_the_project(self):
        def words(path):
            lines = (line.strip() for line in path.read_text().splitlines())
            return " ".join(word for line in lines if line != "." for word in line.split())
        terms = words(Path(os.environ["BRENVOKA_SOURCE"], "LICENSE")).partition("Permission is")[2]
        self.assertGreater(len(terms), 500)
        for package in FILES:
            self.assertIn(terms, words(self.path(f"usr/share/doc/{package}/copyright", package)))

    def test_desktop_entry_is_valid(self):
        output = self.assert_succeeds("desktop-file-validate", self.path(DESKTOP_ENTRY))
        self.assertEqual(output, "")
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(self.path(DESKTOP_ENTRY))
        values = entry["Desktop Entry"]
        self.assertIn(f"usr/bin/{values['Exec']}", FILES["brenvoka"])
        self.assertIn(f"{ICONS}/scalable/apps/{values['Icon']}.svg", FILES["brenvoka"])
        for action in values["Actions"].strip(";").split(";"):
            program, page = entry[f"Desktop Action {action}"]["Exec"].split()
            self.assertEqual(program, "xdg-open")
            self.assertIn(page.removeprefix("/"), FILES["brenvoka"])

    def test_metainfo_is_valid(self):
        output = self.assert_succeeds("appstreamcli", "validate", "--pedantic", "--no-net",
                                      self.path(METAINFO))
        # The program has no domain of its own, see the comment in the file.
        self.assertEqual(re.findall(r"^\w: \S+ (\S+)", output, re.MULTILINE),
                         ["cid-maybe-not-rdns"])
        # Together with the desktop entry that it refers to.
        self.assert_succeeds("appstreamcli", "validate-tree", "--no-net", self.roots["brenvoka"])
        releases = xml.etree.ElementTree.parse(self.path(METAINFO)).findall("releases/release")
        dates = [(release.get("version"), release.get("date")) for release in releases]
        page = Path(os.environ["BRENVOKA_SOURCE"], "CHANGELOG.md").read_text()
        self.assertEqual(dates, re.findall(r"^## ([0-9.]+) - ([0-9-]+)$", page, re.MULTILINE))

    def test_manual_pages_are_valid(self):
        for package, beginning in (("brenvoka", "brenvoka +- +compare"),
                                   ("brenvoka-tools", "brenvokactl +- +look"),
                                   ("brenvoka-rehearsal", "brenvoka-media-server +- +media")):
            page = self.manual_page(package)
            for command in (("groff", "-man", "-Tutf8", "-ww", "-z"), ("mandoc", "-T", "lint")):
                self.assertEqual(self.assert_succeeds(*command, input=page), "")
            text = run("groff", "-man", "-Tascii", "-P-cbou", input=page).stdout
            self.assertRegex(text, rf"NAME\n +{beginning}")

    def test_firewalls_can_open_the_port(self):
        profile = configparser.ConfigParser(interpolation=None)
        profile.read(self.path(UFW_PROFILE))
        self.assertEqual(profile.sections(), ["Brenvoka"])
        self.assertEqual(profile["Brenvoka"].keys(), {"title", "description", "ports"})
        self.assertEqual(profile["Brenvoka"]["ports"], "3001/udp")
        service = xml.etree.ElementTree.parse(self.path(FIREWALLD_SERVICE)).getroot()
        self.assertEqual(service.tag, "service")
        self.assertEqual([child.tag for child in service], ["short", "description", "port"])
        self.assertEqual(service.find("port").attrib, {"protocol": "udp", "port": "3001"})

    def test_debian_accepts_the_packages(self):
        options = ("--pedantic", "--display-info", "--allow-root", "--fail-on",
                   "error,warning,info,pedantic")
        done = run("lintian", *options, *self.packages.values())
        # A package of symbols may not contain overrides. Packaging/lintian-overrides.in has the
        # reason for this one.
        tags = {line for line in done.stdout.splitlines() if not line.startswith("N: ")}
        self.assertEqual(tags, {f"E: {name}-dbgsym: bogus-mail-host Maintainer "
                                "brenvoka@zorvik.internal" for name in FILES})

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

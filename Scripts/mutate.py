# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Plants small faults one at a time and looks whether the tests see them. See mutate.sh.

Works on copies of the tree in build/mutate, never on the tree itself. The format of the tables is
described in Scripts/mutations/README.md.
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import fcntl
import json
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLES = ROOT / "Scripts" / "mutations"
AREA = ROOT / "build" / "mutate"
PROGRAMS = ("brenvoka", "brenvokactl", "media-server")

CAUGHT = "caught"
SURVIVED = "SURVIVED"
UNSEEN = "cannot be seen"
SEEN_AFTER_ALL = "CAUGHT, ALTHOUGH IT SAYS THAT IT CANNOT BE SEEN"
DOES_NOT_BUILD = "DOES NOT BUILD"
NOT_FOUND = "OLD TEXT NOT FOUND ONCE"
GOOD = (CAUGHT, UNSEEN)


class TableError(Exception):
    pass


@dataclasses.dataclass
class Fault:
    table: str
    file: str
    title: str
    tests: list
    old: list = dataclasses.field(default_factory=list)
    new: list = dataclasses.field(default_factory=list)
    unseen: str = ""

    def plant(self, text):
        """The text with the fault in it, or None unless the old text is there exactly once."""
        pattern = r"\s+".join(re.escape(word) for word in " ".join(self.old).split())
        places = list(re.finditer(pattern, text))
        if len(places) != 1:
            return None
        return text[:places[0].start()] + "\n".join(self.new) + text[places[0].end():]


def read_table(path):
    faults, file, tests = [], None, []
    fault = None
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        key, _, value = line.partition(" ")
        if not line.strip() or key == "#":
            continue
        if key == "file":
            file, tests, fault = value.strip(), [], None
        elif key == "tests" and fault is None:
            tests = value.split()
        elif key == "fault" and file and tests:
            fault = Fault(path.stem, file, value.strip(), tests)
            faults.append(fault)
        elif key == "-" and fault:
            fault.old.append(value)
        elif key == "+" and fault:
            fault.new.append(value)
        elif key == "tests":
            fault.tests = value.split()
        elif key == "unseen" and fault:
            fault.unseen = (fault.unseen + " " + value).strip()
        else:
            raise TableError(f"{path}:{number}: {line}")
    return faults


def read_tables(names, title):
    faults = []
    for name in names or sorted(path.stem for path in TABLES.glob("*.txt")):
        faults += read_table(TABLES / f"{name}.txt")
    return [fault for fault in faults if re.search(title, fault.title, re.IGNORECASE)]


def tree_files():
    listing = subprocess.run(
        ["git", "-C", str(ROOT), "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        check=True, capture_output=True).stdout
    files = [pathlib.Path(os.fsdecode(name)) for name in listing.split(b"\0") if name]
    return [file for file in files if (ROOT / file).is_file()]


def private_networks_work():
    """Whether each test runs in a network of its own, and so shares no port with another."""
    return subprocess.run([ROOT / "Scripts" / "private-network.sh", "true"], capture_output=True,
                          check=False).returncode == 0


class Workshop:
    """One copy of the tree, built apart, in which one fault at a time is planted and removed."""

    def __init__(self, number):
        self.tree = AREA / f"tree{number}"
        self.build = self.tree / "build" / "dev"
        self._log = AREA / f"build{number}.log"
        self._environment = {**os.environ, "CCACHE_BASEDIR": str(self.tree), "CCACHE_NOHASHDIR": "1"}

    def prepare(self, tests):
        """Builds the tests without a fault."""
        self._copy()
        # Nobody debugs a fault, so the dev preset builds without debug information here. A fault
        # may leave a variable without use: warnings are not what is asked for.
        options = ["-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCMAKE_COMPILE_WARNING_AS_ERROR=OFF"]
        if shutil.which("ccache"):
            options.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        if shutil.which("ld.lld"):
            options.append("-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld")
        if not self._run(["cmake", "--preset", "dev", *options]):
            raise TableError(f"the copy of the tree cannot be configured, see {self._log}")
        if not self.make(*tests):
            raise TableError(f"the tree does not build without a fault, see {self._log}")
        # CTest names the command of a test only when it has been built.
        listing = subprocess.run(["ctest", "--test-dir", str(self.build), "--show-only=json-v1"],
                                 check=True, capture_output=True, text=True).stdout
        self._tests = {test["name"]: test for test in json.loads(listing)["tests"]}

    def make(self, *tests):
        # A test in Python has no target of its own. It runs the programs.
        targets = {target for test in tests for target in
                   ((test,) if test.startswith("tst_") else PROGRAMS)}
        return self._run(["ninja", "-C", str(self.build), "-j", "2", *sorted(targets)])

    def read(self, file):
        return (self.tree / file).read_text(encoding="utf-8")

    def write(self, file, text):
        (self.tree / file).write_text(text, encoding="utf-8")

    def run_test(self, name, limit):
        """How the test failed, or None if it passed. Ends with the first failure, and after so many
        seconds."""
        test = self._tests[name]
        with tempfile.TemporaryDirectory(prefix="mutate-") as scratch:
            process = subprocess.Popen(
                test["command"], env=self._test_environment(test, scratch), cwd=scratch, text=True,
                errors="replace", start_new_session=True, stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            late = threading.Event()
            watch = threading.Timer(limit, lambda: (late.set(), self._end(process)))
            watch.start()
            try:
                failure = self._first_failure(process)
            finally:
                watch.cancel()
                self._end(process)
                process.wait()
        if failure:
            return f"{name}: {failure}"
        if late.is_set():
            return f"{name}: does not end"
        return f"{name}: ends with {process.returncode}" if process.returncode else None

    @staticmethod
    def _first_failure(process):
        for line in process.stdout:
            failed = re.match(r"(?:FAIL!  : |XPASS  : )(?:\w+::)?(\w+\(.*?\))", line)
            if failed:
                return failed[1]
        process.wait()
        return None

    @staticmethod
    def _end(process):
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass

    def _test_environment(self, test, scratch):
        properties = {entry["name"]: entry["value"] for entry in test.get("properties", [])}
        environment = {**os.environ, "TMPDIR": scratch}
        for assignment in properties.get("ENVIRONMENT", []):
            name, _, value = assignment.partition("=")
            environment[name] = value
        for change in properties.get("ENVIRONMENT_MODIFICATION", []):
            name, _, value = change.partition("=")
            environment[name] = value.removeprefix("set:")
        return environment

    def _copy(self):
        wanted = tree_files()
        for file in wanted:
            source, copy = ROOT / file, self.tree / file
            if copy.is_file() and copy.read_bytes() == source.read_bytes():
                continue
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
        wanted = set(wanted)
        for copy in [path for path in self.tree.rglob("*") if path.is_file()]:
            file = copy.relative_to(self.tree)
            if file.parts[0] != "build" and file not in wanted:
                copy.unlink()

    def _run(self, command):
        with self._log.open("w", encoding="utf-8") as log:
            return subprocess.run(command, cwd=self.tree, env=self._environment, stdout=log,
                                  stderr=subprocess.STDOUT, check=False).returncode == 0


def outcome(workshop, fault, limits):
    """What became of the fault, and which test saw it."""
    sound = workshop.read(fault.file)
    faulty = fault.plant(sound)
    if faulty is None:
        return NOT_FOUND, ""
    workshop.write(fault.file, faulty)
    try:
        for test in fault.tests:
            if not workshop.make(test):
                return DOES_NOT_BUILD, test
            failure = workshop.run_test(test, limits[test])
            if failure:
                return SEEN_AFTER_ALL if fault.unseen else CAUGHT, failure
    finally:
        workshop.write(fault.file, sound)
    return (UNSEEN, fault.unseen) if fault.unseen else (SURVIVED, " ".join(fault.tests))


def limits_without_faults(workshop, tests):
    """For each test the seconds after which it hangs; a hang is what many faults lead to.

    A test that fails by itself would catch everything.
    """
    limits = {}
    for test in tests:
        began = time.monotonic()
        failure = workshop.run_test(test, 300)
        if failure:
            raise TableError(f"fails without a fault: {failure}")
        limits[test] = 20 + 5 * (time.monotonic() - began)
    return limits


def plant_all(workshops, limits, faults):
    """Yields each fault with its outcome and its seconds, in the order in which they are known.

    Only the first workshop is prepared; the others join when they are.
    """
    free = queue.SimpleQueue()
    free.put(workshops[0])

    def join(workshop):
        workshop.prepare(limits)
        free.put(workshop)

    def work(fault):
        workshop = free.get()
        began = time.monotonic()
        try:
            return fault, *outcome(workshop, fault, limits), time.monotonic() - began
        finally:
            free.put(workshop)

    pool = concurrent.futures.ThreadPoolExecutor(len(workshops))
    try:
        joining = [pool.submit(join, workshop) for workshop in workshops[1:]]
        for future in concurrent.futures.as_completed([pool.submit(work, f) for f in faults]):
            yield future.result()
        for future in joining:
            future.result()
    finally:
        pool.shutdown(cancel_futures=True)


def print_counts(results):
    counts = collections.defaultdict(collections.Counter)
    for fault, state, _, _ in results:
        counts[fault.file][state] += 1
    print(f"\n{'faults':>6} {'caught':>6} {'unseen':>6} {'others':>6}  file")
    for file, states in sorted(counts.items()):
        caught, unseen = states[CAUGHT], states[UNSEEN]
        total = sum(states.values())
        print(f"{total:6} {caught:6} {unseen:6} {total - caught - unseen:6}  {file}")


def arguments():
    parser = argparse.ArgumentParser(prog="mutate.sh", description=__doc__.splitlines()[0])
    parser.add_argument("tables", nargs="*", help="names of tables in Scripts/mutations; all if none")
    parser.add_argument("--fault", default="", metavar="REGEX", help="only faults with such a title")
    parser.add_argument("--list", action="store_true", help="only list the faults")
    parser.add_argument("--jobs", type=int, default=1, help="copies of the tree to work in at once")
    return parser.parse_args()


def run(options):
    faults = read_tables(options.tables, options.fault)
    if options.list:
        for fault in faults:
            found = fault.plant((ROOT / fault.file).read_text(encoding="utf-8")) is not None
            print(f"{fault.file}: {fault.title}{'' if found else ' -- ' + NOT_FOUND}")
        return 0
    if options.jobs > 1 and not private_networks_work():
        raise TableError("several copies at once need a private network (unshare) for each test")

    began = time.monotonic()
    tests = list(dict.fromkeys(test for fault in faults for test in fault.tests))
    AREA.mkdir(parents=True, exist_ok=True)
    lock = (AREA / "lock").open("w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        raise TableError("another run is at work in build/mutate") from None
    workshops = [Workshop(number) for number in range(1, options.jobs + 1)]
    workshops[0].prepare(tests)
    limits = limits_without_faults(workshops[0], tests)
    print(f"built, and {len(tests)} tests pass without a fault: {time.monotonic() - began:.0f} s",
          flush=True)

    results = []
    for result in plant_all(workshops, limits, faults):
        results.append(result)
        fault, state, detail, seconds = result
        print(f"{fault.table}: {fault.title}\n    {state}: {detail} ({seconds:.0f} s)", flush=True)
    print_counts(results)
    bad = [result for result in results if result[1] not in GOOD]
    for fault, state, detail, _ in bad:
        print(f"{state}: {fault.file}: {fault.title} ({detail})")
    print(f"{len(results)} faults in {time.monotonic() - began:.0f} s, {len(bad)} to be looked at")
    return 1 if bad or not results else 0


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    signal.signal(signal.SIGINT, signal.default_int_handler)
    try:
        sys.exit(run(arguments()))
    except (TableError, OSError) as error:
        sys.exit(f"mutate.sh: {error}")
    except KeyboardInterrupt:
        sys.exit(130)

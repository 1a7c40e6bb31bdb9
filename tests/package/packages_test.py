#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Looks into what scripts/package.sh has made, and installs, runs and removes it.

usage: tests/package/packages_test.py PACKAGES_FOLDER [UNITTEST-OPTION...]
"""

import gzip
import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import tarfile
import tempfile
import unittest

sys.dont_write_bytecode = True
from installed_tree import (NONSENSE_OUTPUT, TREE, documents, files_below, listed, run, run_bare)

PACKAGES = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else sys.exit(__doc__)
INSTALLED = listed(pathlib.Path(__file__).resolve().parent / "installed_files.txt")

SOURCES = "vqxclient-0.1.0.tar.gz"
BINARIES = "vqxclient-0.1.0-linux-x86_64.tar.gz"
CLIENT = "vqxclient_0.1.0_amd64.deb"
DEVELOPMENT = "libtarven-dev_0.1.0_amd64.deb"
FORMULA = "vqxclient.rb"

BY_DEBIAN = unittest.skipUnless(shutil.which("dpkg-shlibdeps"), "takes Debian's tools")


def fields(package):
    """The control fields of a .deb, with the synopsis alone of its description."""
    lines = run("dpkg-deb", "--field", PACKAGES / package).splitlines()
    return dict(line.split(": ", 1) for line in lines if line.strip() and line[0] != " ")


def in_debian(name):
    """Where a .deb has what is installed under this name below a prefix."""
    name = f"usr/{name}"
    return name + ".gz" if "/share/man/" in name else name


def is_for_development(name):
    return name.startswith(("include/", "lib/", "share/doc/vqxclient/examples/", "share/man/man3/"))


class ScratchRoot:
    """A folder that dpkg takes for a system with the packages of this one, or with none at all."""

    def __init__(self, test, with_packages=True):
        folder = tempfile.TemporaryDirectory()
        test.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.records = self.root / "var/lib/dpkg"
        for name in ("info", "updates"):
            (self.records / name).mkdir(parents=True)
        status = self.records / "status"
        if with_packages:
            shutil.copy("/var/lib/dpkg/status", status)
        else:
            status.touch()

    def dpkg(self, *arguments):
        """Runs dpkg as root or as somebody it takes for root."""
        as_root = [] if os.geteuid() == 0 else ["fakeroot"]
        return subprocess.run([*as_root, "dpkg", f"--root={self.root}", f"--log={self.root}.log",
                               *arguments], capture_output=True, text=True, check=False)

    def files(self):
        """All that is installed."""
        return [name for name in files_below(self.root) if not name.startswith("var/lib/dpkg/")]


class PackagesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def entries(self, archive):
        with tarfile.open(PACKAGES / archive) as opened:
            return opened.getmembers()

    # ---- The folder ----

    @BY_DEBIAN
    def test_folder_holds_all_packages(self):
        self.assertEqual(files_below(PACKAGES), sorted(
            [SOURCES, BINARIES, CLIENT, DEVELOPMENT, FORMULA, "SHA256SUMS"]))

    def test_check_sums_fit(self):
        found = {}
        for line in (PACKAGES / "SHA256SUMS").read_text().splitlines():
            value, name = line.split("  ")
            found[name] = value
        self.assertEqual(found, {name: hashlib.sha256((PACKAGES / name).read_bytes()).hexdigest()
                                 for name in files_below(PACKAGES) if name != "SHA256SUMS"})

    # ---- .tar.gz ----

    def test_source_archive_holds_what_is_committed(self):
        committed = run("git", "-C", TREE, "ls-tree", "-r", "-z", "--name-only", "HEAD").split("\0")
        names = [entry.name for entry in self.entries(SOURCES) if not entry.isdir()]
        self.assertEqual(sorted(names), sorted(f"vqxclient-0.1.0/{name}" for name in committed if name))

    def test_binary_archive_holds_what_is_installed(self):
        names = [entry.name for entry in self.entries(BINARIES) if not entry.isdir()]
        self.assertEqual(names, sorted(f"vqxclient-0.1.0-linux-x86_64/{name}"
                                       for name in INSTALLED + documents()))

    def test_binary_archive_runs_where_it_is_unpacked(self):
        run("tar", "-xzf", PACKAGES / BINARIES, "-C", self.folder)
        programs = self.folder / "vqxclient-0.1.0-linux-x86_64/bin"
        self.assertEqual(run_bare(programs / "vqx", "nonsense"), NONSENSE_OUTPUT)
        self.assertIn("--port", run_bare(programs / "vqx-terminal-server", "--help"))

    def test_binary_archive_does_not_depend_on_who_packs_it_and_when(self):
        entries = self.entries(BINARIES)
        self.assertEqual({(entry.uid, entry.gid, entry.uname, entry.gname) for entry in entries},
                         {(0, 0, "root", "root")})
        self.assertEqual(len({entry.mtime for entry in entries}), 1)
        self.assertEqual([entry.name for entry in entries], sorted(entry.name for entry in entries))
        self.assertEqual((PACKAGES / BINARIES).read_bytes()[4:8], bytes(4))  # no time of compression

    def test_archives_give_nobody_but_the_owner_write_access(self):
        for archive in (SOURCES, BINARIES):
            for entry in self.entries(archive):
                programs = entry.mode & 0o111 or entry.isdir()
                self.assertEqual(entry.mode & 0o777, 0o755 if programs else 0o644, entry.name)

    # ---- .deb ----

    @BY_DEBIAN
    def test_debian_fields_are_complete(self):
        client, development = fields(CLIENT), fields(DEVELOPMENT)
        needs = {need.split(" ")[0] for need in client.pop("Depends").split(", ")}
        self.assertEqual(needs, {"libc6", "libedit2", "libgcc-s1", "libstdc++6"})
        common = {"Source": "vqxclient", "Version": "0.1.0", "Architecture": "amd64",
                  "Maintainer": "TARVEN <support@tarven.example>", "Priority": "optional",
                  "Homepage": "https://www.tarven.example/"}
        sizes = [int(package.pop("Installed-Size")) for package in (client, development)]
        self.assertTrue(all(300 < size < 2000 for size in sizes), sizes)
        self.assertEqual(client, common | {
            "Package": "vqxclient", "Section": "embedded", "Suggests": "libtarven-dev",
            "Description": "terminal onto an embedded target behind an M-Bolt debug probe"})
        self.assertEqual(development, common | {
            "Package": "libtarven-dev", "Section": "libdevel", "Depends": "libc6-dev, libedit-dev",
            "Description": "run-time layers of the VQX Client, for programs in C and C++"})

    @BY_DEBIAN
    def test_debian_packages_share_out_what_is_installed(self):
        for package, wanted in ((CLIENT, lambda name: not is_for_development(name)),
                                (DEVELOPMENT, is_for_development)):
            run("dpkg-deb", "--extract", PACKAGES / package, self.folder / package)
            expected = [in_debian(name) for name in INSTALLED + documents()
                        if wanted(name) and name != "share/doc/vqxclient/LICENSE"]
            folder = f"usr/share/doc/{package.split('_', maxsplit=1)[0]}"
            expected += [f"{folder}/changelog.gz", f"{folder}/copyright"]
            self.assertEqual(files_below(self.folder / package), sorted(expected))
            self.assertEqual((self.folder / package / folder / "copyright").read_bytes(),
                             (TREE / "LICENSE").read_bytes())
            with gzip.open(self.folder / package / folder / "changelog.gz", "rt") as changelog:
                self.assertEqual(changelog.readline(),
                                 "vqxclient (0.1.0) unstable; urgency=medium\n")

    @BY_DEBIAN
    def test_debian_package_is_refused_without_what_it_needs(self):
        scratch = ScratchRoot(self, with_packages=False)
        result = scratch.dpkg("--install", str(PACKAGES / CLIENT))
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("vqxclient depends on libedit2", result.stderr)

    @BY_DEBIAN
    def test_debian_packages_install_run_and_leave_nothing(self):
        scratch = ScratchRoot(self)
        result = scratch.dpkg("--install", str(PACKAGES / CLIENT), str(PACKAGES / DEVELOPMENT))
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("usr/lib/libtarven_base.a", scratch.files())
        programs = scratch.root / "usr/bin"
        self.assertEqual(run_bare(programs / "vqx", "nonsense"), NONSENSE_OUTPUT)
        self.assertIn("--port", run_bare(programs / "vqx-terminal-server", "--help"))
        result = scratch.dpkg("--purge", "vqxclient", "libtarven-dev")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(scratch.files(), [])
        self.assertFalse((scratch.root / "usr").exists())

    # ---- The formula ----

    def test_formula_is_ruby(self):
        self.assertEqual(run("ruby", "-wc", PACKAGES / FORMULA), "Syntax OK\n")

    def test_formula_tests_what_is_installed(self):
        run("tar", "-xzf", PACKAGES / BINARIES, "-C", self.folder)
        self.assertEqual(run("ruby", "-w", TREE / "tests/package/run_formula_test.rb", PACKAGES / FORMULA,
                             self.folder / "vqxclient-0.1.0-linux-x86_64"),
                         "The formula's test has passed.\n")

    def test_formula_takes_the_source_archive(self):
        lines = (PACKAGES / FORMULA).read_text().splitlines()
        value = hashlib.sha256((PACKAGES / SOURCES).read_bytes()).hexdigest()
        self.assertIn(f'  url "https://www.tarven.example/download/{SOURCES}"', lines)
        self.assertIn(f'  sha256 "{value}"', lines)
        self.assertEqual([line for line in lines if "@" in line], [])


if __name__ == "__main__":
    unittest.main()

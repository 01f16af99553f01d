#!/usr/bin/env -S python3 -B
"""usage: installation_test.py RELEASES PREFIX DEMO

Installs, repairs, upgrades and removes the installers in RELEASES/new and RELEASES/old in the Wine prefix PREFIX. DEMO
is the program whose stand-in Outlook loads the installed add-in."""
import os
import re
import subprocess
import sys
import time
import unittest
import zipfile
from pathlib import Path

from wine import Prefix, windows_path

HERE = Path(__file__).resolve().parent
ADD_INS = "hkey_local_machine\\software\\microsoft\\office\\outlook\\addins"
ADD_IN = ADD_INS + "\\nembrameeting.outlookaddin"
FOLDER = "Program Files/Nembra/OutlookAddIn"
DLL = "C:\\Program Files\\Nembra\\OutlookAddIn\\OutlookAddIn.dll"
SUCCESS, REFUSED, RESTART_NEEDED = 0, 1603, 3010


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, env={**os.environ, "TZ": "UTC"}).stdout


def flat(keys):
    return {(key, name): data for key, values in keys.items() for name, data in [(None, ""), *values.items()]}


def written(before, after):
    """The keys and values of the registry that are new, without the installer's own lists."""
    old = flat(before)
    return {at: data for at, data in flat(after).items()
            if old.get(at) != data and "\\installer" not in at[0] and "\\currentversion\\uninstall" not in at[0]}


def comparable(found):
    """Without what differs on purpose: keys for 32-bit programs, which the package does not write; the flags of a type
    library in Wine's form; the empty value that `reg add` writes; the backslash at the end of a folder."""
    return {at: data.replace('\\\\"', '"') for at, data in found.items()
            if "wow6432node" not in at[0] and at != (ADD_INS, "@") and not (at[0].endswith("\\flags") and at[1])}


class Release:
    def __init__(self, folder):
        self.path = next(folder.glob("*.msi"))
        self.installer = windows_path(self.path)
        with zipfile.ZipFile(next(folder.glob("*-x64.zip"))) as archive:
            self.dll = archive.read("OutlookAddIn.dll")
            self.files = {FOLDER + "/" + name for name in archive.namelist() if "/" not in name}


class Installation(unittest.TestCase):
    """One story, in the order of the names: each test begins with what the one before has left."""

    @classmethod
    def setUpClass(cls):
        cls.wine = Prefix(PREFIX)
        cls.wine.run("reg", "query", "HKLM\\Software")  # makes the prefix
        cls.new, cls.old = Release(RELEASES / "new"), Release(RELEASES / "old")
        cls.dll = cls.wine.drive / FOLDER / "OutlookAddIn.dll"

    @classmethod
    def tearDownClass(cls):
        cls.wine.end()

    def assert_as_before(self):
        self.assertEqual(written(Installation.registry, self.wine.registry()), {})
        changed = self.wine.files() ^ Installation.files
        self.assertEqual({name for name in changed if not re.search("windows/Installer|Roaming/NembraMeeting", name)}, set())

    def assert_installed(self, release):
        self.assertEqual(self.dll.read_bytes(), release.dll)
        self.assertLessEqual(release.files, self.wine.files())
        products = [key for key in self.wine.registry() if "\\currentversion\\uninstall\\{" in key]
        self.assertEqual(len(products), 1, products)

    def version_of(self, path):
        output = self.wine.run("cscript", "/nologo", windows_path(HERE / "file_version.vbs"), path)[1]
        return re.search(r"version ([\d.]+)", output)[1]

    def test_1_refuses_an_older_windows(self):
        self.wine.run("winecfg", "-v", "win81")
        self.assertEqual(self.wine.msiexec("/i", self.new.installer), REFUSED)
        self.assertFalse(self.dll.parent.parent.exists())
        self.wine.run("winecfg", "-v", "win10")
        self.version_of("C:\\windows\\system32\\msi.dll")  # cscript registers a type library at its first run
        Installation.registry, Installation.files = self.wine.registry(), self.wine.files()

    def test_2_installs_and_outlook_loads_it_by_name(self):
        self.assertNotIn(ADD_INS, Installation.registry)
        self.assertEqual(self.wine.msiexec("/i", self.old.installer), SUCCESS)
        self.assert_installed(self.old)
        code, output = self.wine.run(windows_path(DEMO), "demo", "--scenario", "start", "--installed", DLL)
        self.assertEqual(code, 0, output)
        [log] = self.wine.drive.glob("users/*/AppData/Roaming/NembraMeeting/log/outlookaddin.txt")
        summary = output_of("msiinfo", "suminfo", self.old.path)
        day, clock, year = re.search(r"Created: \w+ (\w+ +\d+) (\S+) (\d+)", summary).groups()
        self.assertIn(f"Built at {day} {year} {clock}", log.read_text())

    def test_3_upgrades_while_the_dll_is_in_use(self):
        go_on, held = self.wine.drive / "go-on", self.wine.drive / "held"
        holder = self.wine.start("cscript", "/nologo", windows_path(HERE / "hold.vbs"), "C:\\go-on", "C:\\held")
        while not held.exists() and holder.poll() is None:
            time.sleep(0.05)
        code = self.wine.msiexec("/i", self.new.installer)
        go_on.touch()
        holder.communicate()
        go_on.unlink()
        held.unlink()
        self.assertIn(code, (SUCCESS, RESTART_NEEDED))  # Wine replaces a mapped file at once, Windows at the next start
        self.assertEqual(holder.returncode, 0)
        self.wine.end()
        self.assert_installed(self.new)

    def test_4_has_the_version_that_its_row_tells(self):
        rows = output_of("msiinfo", "export", self.new.path, "File").splitlines()
        row = next(line.split("\t") for line in rows if line.startswith("OutlookAddIn.dll"))
        self.assertEqual(row[4], self.version_of(DLL))
        self.assertNotIn("OutlookAddIn.dll", output_of("msiinfo", "export", self.new.path, "MsiFileHash"))

    def test_5_repairs(self):
        self.dll.unlink()
        self.wine.run("reg", "add", ADD_IN, "/v", "LoadBehavior", "/t", "REG_DWORD", "/d", "2", "/f")
        self.assertEqual(self.wine.msiexec("/i", self.new.installer, "REINSTALL=ALL", "REINSTALLMODE=amus"), SUCCESS)
        self.assert_installed(self.new)
        Installation.installed = self.wine.registry()
        self.assertEqual(Installation.installed[ADD_IN]["LoadBehavior"], "dword:00000003")

    def test_6_refuses_an_older_version(self):
        self.assertEqual(self.wine.msiexec("/i", self.old.installer), REFUSED)
        self.assert_installed(self.new)

    def test_7_leaves_nothing(self):
        self.assertEqual(self.wine.msiexec("/x", self.new.installer), SUCCESS)
        self.assert_as_before()

    def test_8_has_written_what_the_dll_writes(self):
        """regsvr32 and a first object of the class write the same keys and texts, the type library's among them."""
        self.dll.parent.mkdir(parents=True)
        self.dll.write_bytes(self.new.dll)
        self.wine.run("reg", "add", ADD_INS, "/f")
        self.assertEqual(self.wine.run("regsvr32", "/s", DLL)[0], SUCCESS)
        self.wine.run("cscript", "/nologo", windows_path(HERE / "hold.vbs"), DLL, "C:\\held")
        by_dll = comparable(written(Installation.registry, self.wine.registry()))
        by_installer = comparable(written(Installation.registry, Installation.installed))
        self.assertGreater(len(by_dll), 30)
        self.assertEqual(by_installer.items() ^ by_dll.items(), set())


if __name__ == "__main__":
    RELEASES, PREFIX, DEMO = map(Path, sys.argv[1:4])
    unittest.main(argv=sys.argv[:1], verbosity=2, failfast=True)

#!/usr/bin/env python3
"""usage: installation_test.py PREFIX DEMO RELEASE OLD-RELEASE

Installs, repairs, upgrades and removes the installers of the folders RELEASE and OLD-RELEASE in the Wine prefix PREFIX.
DEMO is the program whose stand-in Outlook loads the installed add-in."""
import sys
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


def flat(keys):
    return {(key, name): data for key, values in keys.items() for name, data in [(None, ""), *values.items()]}


def written(before, after):
    """The keys and values of the registry that are new, without the installer's own lists."""
    old = flat(before)
    return {at: data for at, data in flat(after).items()
            if old.get(at) != data and "\\installer" not in at[0] and "\\currentversion\\uninstall" not in at[0]}


class Release:
    def __init__(self, folder):
        self.installer = windows_path(next(Path(folder).glob("*.msi")))
        with zipfile.ZipFile(next(Path(folder).glob("*-x64.zip"))) as archive:
            self.dll = archive.read("OutlookAddIn.dll")
            self.files = {FOLDER + "/" + name for name in archive.namelist() if "/" not in name}


class Installation(unittest.TestCase):
    """One story, in the order of the names: each test begins with what the one before has left."""

    @classmethod
    def setUpClass(cls):
        cls.wine = Prefix(PREFIX)
        cls.wine.run("reg", "query", "HKLM\\Software")  # makes the prefix
        cls.registry, cls.files = cls.wine.registry(), cls.wine.files()
        cls.new, cls.old = Release(RELEASE), Release(OLD_RELEASE)
        cls.dll = cls.wine.drive / FOLDER / "OutlookAddIn.dll"

    @classmethod
    def tearDownClass(cls):
        cls.wine.end()

    def assert_as_before(self):
        self.assertEqual(written(self.registry, self.wine.registry()), {})
        self.assertEqual(self.wine.files() ^ self.files, set())

    def test_1_refuses_an_older_windows(self):
        version = "HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion"
        build = self.registry[version.lower().replace("hklm", "hkey_local_machine")]["CurrentBuildNumber"].strip('"')
        for number, expected in ("9600", REFUSED), (build, None):
            self.wine.run("reg", "add", version, "/v", "CurrentBuildNumber", "/d", number, "/f")
            if expected:
                self.assertEqual(self.wine.msiexec("/i", self.new.installer), expected)
        self.assert_as_before()

    def test_2_installs_and_is_loaded_by_name(self):
        self.assertEqual(self.wine.msiexec("/i", self.old.installer), SUCCESS)
        self.assertEqual(self.dll.read_bytes(), self.old.dll)
        self.assertLessEqual(self.old.files, self.wine.files())
        code, output = self.wine.run(windows_path(DEMO), "--scenario", "start", "--installed", DLL)
        self.assertEqual(code, 0, output)

    def test_3_upgrades_while_the_dll_is_in_use(self):
        go_on = self.wine.drive / "go-on"
        holder = self.wine.start("cscript", "/nologo", windows_path(HERE / "hold.vbs"), "C:\\go-on")
        self.assertIn("holding", holder.stdout.readline())
        code = self.wine.msiexec("/i", self.new.installer)
        go_on.touch()
        holder.communicate()
        go_on.unlink()
        self.assertEqual(code, RESTART_NEEDED)
        self.wine.run("wineboot", "--restart")
        self.assertEqual(self.dll.read_bytes(), self.new.dll)


if __name__ == "__main__":
    PREFIX, DEMO, RELEASE, OLD_RELEASE = sys.argv[1:5]
    unittest.main(argv=sys.argv[:1], verbosity=2, failfast=True)

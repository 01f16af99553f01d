#!/usr/bin/env -S python3 -B
"""usage: contents_test.py RELEASES PREFIX

Checks the files of the releases in RELEASES/new, which is signed, and RELEASES/old. The field test runs in the Wine prefix
PREFIX."""
import hashlib
import json
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import zipfile
import zlib
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "packaging"))
import sbom  # noqa: E402
from wine import Prefix, windows_path  # noqa: E402

TOOL = "x86_64-w64-mingw32-"


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class Contents(unittest.TestCase):
    def setUp(self):
        self.new, self.old = RELEASES / "new", RELEASES / "old"
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.work = Path(folder.name)
        for archive in self.new.glob("*.zip"):
            zipfile.ZipFile(archive).extractall(self.work)
        self.dll = self.work / "OutlookAddIn.dll"

    def test_checksums_name_every_file(self):
        sums = dict(reversed(line.split()) for line in (self.new / "SHA256SUMS").read_text().splitlines())
        files = {file.name: hashlib.sha256(file.read_bytes()).hexdigest() for file in self.new.iterdir()
                 if file.name != "SHA256SUMS"}
        self.assertEqual(sums, files)
        self.assertEqual(len(files), 6)

    def test_a_crash_address_becomes_a_source_line(self):
        symbols = self.work / "OutlookAddIn.dll.debug"
        headers = output_of(TOOL + "objdump", "-p", self.dll)
        base = int(re.search(r"^ImageBase\s+(\w+)", headers, re.M)[1], 16)
        index = int(re.search(r"\[ *(\d+)\] DllUnregisterServer", headers)[1])
        offset = int(re.search(rf"\[ *{index}\] \+base\[ *\d+\] (\w+) Export RVA", headers)[1], 16)
        place = output_of(TOOL + "addr2line", "-fe", symbols, hex(base + offset + 4)).splitlines()
        file, line = re.fullmatch(r"(.*):(\d+)", place[1]).groups()
        self.assertEqual((place[0], file), ("DllUnregisterServer", "./Outlook/DllMain.cpp"))
        self.assertIn("DllUnregisterServer", (ROOT / file).read_text().splitlines()[int(line) - 1])

        self.assertNotIn(".debug_", output_of(TOOL + "objdump", "-h", self.dll))
        link = self.dll.read_bytes().partition(b"OutlookAddIn.dll.debug\0")[2]
        self.assertEqual(struct.unpack_from("<I", link, 1)[0], zlib.crc32(symbols.read_bytes()), "other symbols")

    def test_a_c_program_links_the_archive(self):
        program = '#include "kosa.h"\n#include "zep.h"\nint main(void) { return KOSA_Printf("linked\\n") < 0; }\n'
        subprocess.run([TOOL + "gcc", "-DOSADAPTER_IMPORT", "-I", self.work / "include", "-o", self.work / "program.exe",
                        "-x", "c", "-", "-x", "none", self.work / "lib/libOutlookAddIn.dll.a"],
                       input=program, text=True, check=True)

    def test_the_list_of_components_is_complete(self):
        parts = json.loads(next(self.new.glob("*.cdx.json")).read_text())
        names = {each["name"] for each in parts["components"]}
        self.assertGreaterEqual(names, {"jsoncpp", "libstdc++, libgcc, libgcc_eh", "mingw-w64 runtime"})
        notices = (self.new / "THIRD-PARTY-NOTICES.md").read_text()
        self.assertEqual([name for name in names if name not in notices], [])
        hashes = {each["name"]: each["hashes"][0]["content"] for each in parts["metadata"]["component"]["components"]}
        self.assertEqual(hashes, {file.name: hashlib.sha256(file.read_bytes()).hexdigest()
                                  for file in (self.dll, *self.work.glob("*.exe"))})
        (self.work / "a.map").write_text("/usr/lib/libunknown.a(x.o)\n\nMemory Configuration\n")
        with self.assertRaises(SystemExit):
            sbom.components([self.work / "a.map"], self.work)

    def test_the_field_test_needs_its_archive_alone(self):
        folder = self.work / "alone"
        zipfile.ZipFile(next(self.new.glob("*-fieldtest.zip"))).extractall(folder)
        wine = Prefix(PREFIX)
        self.addCleanup(wine.end)

        def run():
            return wine.run(windows_path(folder / "FieldTest.exe"), "--person-seconds", "1", "--machine-seconds", "1")
        code, output = run()
        self.assertEqual((code, output.count("FAIL")), (1, 1), output)  # there is no Outlook
        self.assertIn("report.txt", zipfile.ZipFile(folder / "field-report.zip").namelist())
        (folder / "meeting_client.exe").unlink()
        code, output = run()
        self.assertEqual(code, 1)
        self.assertRegex(output, r"meeting_client\.exe is not there.*Unpack the whole archive")

    def test_programs_and_installer_are_signed(self):
        def verify(file):
            return subprocess.run(["osslsigncode", "verify", "-CAfile", RELEASES / "certificate.pem", "-in", file],
                                  capture_output=True).returncode
        files = [*self.work.glob("*.exe"), self.dll, next(self.new.glob("*.msi"))]
        self.assertEqual([verify(file) for file in files], [0] * 5)
        self.assertNotEqual(verify(next(self.old.glob("*.msi"))), 0)


if __name__ == "__main__":
    RELEASES, PREFIX = map(Path, sys.argv[1:3])
    unittest.main(argv=sys.argv[:1], verbosity=2)

"""A Wine prefix of the test's own: programs, registry and files in it."""
import re
import shutil
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PROGRAM = "C:\\Program Files\\Nembra\\OutlookAddIn\\OutlookAddIn.dll"


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Prefix:
    def __init__(self, folder):
        self.folder = Path(folder)
        self.drive = self.folder / "drive_c"
        self.end()
        shutil.rmtree(self.folder, ignore_errors=True)

    def end(self):
        if self.folder.exists():
            subprocess.run(["bash", "-c", 'source scripts/lib.sh; end_wine "$1"', "-", self.folder], cwd=ROOT, check=True)

    def start(self, *command):
        return subprocess.Popen([ROOT / "scripts/wine-run", self.folder, *command], stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True)

    def run(self, *command):
        """The exit code as Windows has it, and the output. Linux keeps only eight bits of the code."""
        batch = self.folder.with_suffix(".bat")
        line = subprocess.list2cmdline(command)
        batch.write_text(f"@echo off\r\n{line}\r\necho ended with %errorlevel%\r\n")
        output = self.start("cmd", "/c", windows_path(batch)).communicate()[0]
        match = re.search(r"ended with (-?\d+)", output)
        assert match, f"{line}\n{output}"
        return int(match[1]), output

    def msiexec(self, *arguments):
        return self.run("msiexec", *arguments, "/qn")[0]

    def registry(self):
        """Key to names and data: all programs' settings of the machine and of the user."""
        keys = {}
        for root in ("HKEY_LOCAL_MACHINE\\Software", "HKEY_CURRENT_USER\\Software"):
            file = self.folder.with_suffix(".reg")
            assert self.run("reg", "export", root, windows_path(file), "/y")[0] == 0
            text = re.sub(r"\\\r?\n\s*", "", file.read_text("utf-16"))
            for line in text.splitlines():
                if line.startswith("["):
                    values = keys.setdefault(line[1:-1].lower(), {})
                elif match := re.match(r'(@|"(?:[^"\\]|\\.)*")=(.*)', line):
                    values[match[1].strip('"')] = match[2]
        return keys

    def files(self):
        return {str(path.relative_to(self.drive)) for path in self.drive.rglob("*")}

#!/usr/bin/env python3
"""Runs the doctor in a fresh Wine prefix in which the add-in is installed: healthy, and with one real fault after the other.

Each fault must be found by its check and by no unrelated one. It is then repaired: by the doctor, by the command that the
doctor shows to an administrator, or, where it shows none, by the test. After each repair the computer must be healthy again.
"""
import argparse
import html
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import textwrap
import time
import unicodedata
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROG_ID = "NembraMeeting.OutlookAddin"
CLASS = r"SOFTWARE\Classes\CLSID\{40F17626-1892-4A6D-891E-E1A77A483FC0}"
ADDIN = r"SOFTWARE\Microsoft\Office\Outlook\Addins" + "\\" + PROG_ID
OUTLOOK = r"HKCU\SOFTWARE\Microsoft\Office\16.0\Outlook"
POLICY = r"HKCU\SOFTWARE\Policies\Microsoft\Office\16.0\Outlook\Resiliency\AddinList"
SCHEME = r"HKLM\SOFTWARE\Classes\quorvex"
FOLDER = r"C:\Program Files\Nembra\OutlookAddIn"
MODULE = FOLDER + r"\OutlookAddIn.dll"
DOCTOR = FOLDER + r"\OutlookAddInDoctor.exe"
OFFICE = r"C:\Program Files\Microsoft Office\root\Office16"
CLIENT = r"C:\Program Files\Nembra\Meeting\Meeting.exe"

parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("--build", type=pathlib.Path, required=True)
parser.add_argument("--outlook", required=True, help="the program that stands for OUTLOOK.EXE")
parser.add_argument("--faulty", required=True, help="an add-in that crashes or hangs")
parser.add_argument("--pictures", type=pathlib.Path, help="only save pictures of the report there, healthy and with a fault")
parser.add_argument("--language", default="en", help="of the pictures")
parser.add_argument("--release", type=pathlib.Path, help="install its package instead of copying the files and running regsvr32")
options = parser.parse_args()
prefix = options.build / "wine-doctor"
failures = []


def wine(*arguments):
    """Runs a program to its end. Returns its exit code and its output."""
    done = subprocess.run([ROOT / "scripts/wine-run", prefix, *arguments], stdout=subprocess.PIPE, text=True, check=False)
    return done.returncode, done.stdout


def unix(path):
    return prefix / "drive_c" / path[3:].replace("\\", "/")


def copy(source, target):
    unix(target).parent.mkdir(parents=True, exist_ok=True)
    shutil.copyfile(source, unix(target))


def put(key, name, data, kind="REG_SZ"):
    code, output = wine("reg", "add", key, *(["/v", name] if name else ["/ve"]), "/t", kind, "/d", data, "/f")
    assert code == 0, output


def remove(key, name=None):
    code, output = wine("reg", "delete", key, *(["/v", name] if name else []), "/f")
    assert code == 0, output


def lock(writable=False):
    """Takes the right to write the add-in's folder from everybody, as Windows does for users below Program Files."""
    for path in (unix(MODULE), unix(FOLDER)):
        if path.exists():
            path.chmod(0o755 if writable else 0o555)


def install():
    if options.release:
        wine("winecfg", "-v", "win10")  # a new prefix does not tell its build number
        package = next(options.release.resolve().glob("*.msi"))
        code, output = wine("msiexec", "/i", "Z:" + str(package).replace("/", "\\"), "/qn")
    else:
        copy(options.build / "OutlookAddIn.dll", MODULE)
        copy(options.build / "OutlookAddInDoctor.exe", DOCTOR)
        wine("reg", "add", r"HKLM\SOFTWARE\Microsoft\Office\Outlook\Addins", "/f")
        code, output = wine("regsvr32", "/s", MODULE)
    assert code == 0, output
    lock()


def prepare():
    shutil.rmtree(prefix, ignore_errors=True)
    install()
    copy(options.outlook, OFFICE + r"\OUTLOOK.EXE")
    put(r"HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\App Paths\OUTLOOK.EXE", None, OFFICE + r"\OUTLOOK.EXE")
    copy(options.outlook, CLIENT)
    put(SCHEME, "URL Protocol", "")
    put(SCHEME + r"\shell\open\command", None, f'"{CLIENT}" "%1"')


def examine():
    """Returns the exit code, the verdicts that complain, and all findings by their ids."""
    code, output = wine(DOCTOR, "--json")
    try:
        checks = {check["id"]: check for check in json.loads(output)["checks"]}
    except json.JSONDecodeError:
        sys.exit(f"no JSON: {output}")
    return code, {id: c["verdict"] for id, c in checks.items() if c["verdict"] not in ("OK", "INFO")}, checks


def expect(what, actual, wanted):
    if actual != wanted:
        failures.append(what)
        print(f"FAILED {what}: {actual} instead of {wanted}")


def run_command(command):
    code, output = wine(*[quoted or plain for quoted, plain in re.findall(r'"([^"]*)"|(\S+)', command)])
    assert code == 0, output


def patch(change):
    """Changes the installed module. Returns the function that puts the original back."""
    path = unix(MODULE)
    original = path.read_bytes()

    def write(content):
        lock(writable=True)
        path.write_bytes(content)
        lock()

    write(change(bytearray(original)))
    return lambda: write(original)


def as_32_bit(content):
    headers = int.from_bytes(content[0x3C:0x40], "little")
    content[headers + 4:headers + 6] = (0x14C).to_bytes(2, "little")
    return content


def rename():
    lock(writable=True)
    unix(MODULE).rename(unix(MODULE + ".away"))

    def back():
        unix(MODULE + ".away").rename(unix(MODULE))
        lock()
    return back


def faulty(name):
    copy(options.faulty, FOLDER[:3] + name)
    put("HKLM\\" + CLASS + r"\InprocServer32", None, FOLDER[:3] + name)


def hide_log():
    log = unix(r"C:\users") / os.environ.get("USER", "root") / "AppData/Roaming/NembraMeeting/log"
    log.chmod(0o555)
    return lambda: log.chmod(0o755)


def hex_text(text):
    return (b"\1\0\0\0" + text.encode("utf-16-le")).hex()


# Each row: the name of the fault; the function that plants it; the checks that must complain, the responsible one first;
# the repair. "fix" is the doctor's own repair, and "command" the command that it shows. Otherwise it is the function that
# planting has returned, or the function in the row.
FAULTS = [
    ("LoadBehavior 2", lambda: put("HKLM\\" + ADDIN, "LoadBehavior", "2", "REG_DWORD"), {"R3": "FAIL"}, "command"),
    ("the user's value 0", lambda: put("HKCU\\" + ADDIN, "LoadBehavior", "0", "REG_DWORD"), {"R4": "FAIL"}, "fix"),
    ("wrong path", lambda: put("HKLM\\" + CLASS + r"\InprocServer32", None, r"C:\wrong\OutlookAddIn.dll"),
     {"R7": "FAIL", "F1": "FAIL"}, "command"),
    # The trial loads before have registered the type library.
    ("missing file", rename, {"R7": "FAIL", "R9": "WARN", "F1": "FAIL"}, None),
    ("32-bit file", lambda: patch(as_32_bit), {"F1": "FAIL", "F6": "FAIL"}, None),
    ("damaged file", lambda: patch(lambda content: content[:4096]), {"F1": "WARN", "F4": "FAIL", "F6": "FAIL"}, None),
    ("class shadowed by the user", lambda: put("HKCU\\" + CLASS + r"\InprocServer32", None, r"C:\other.dll"),
     {"R8": "FAIL"}, "fix"),
    ("broken program id", lambda: remove("HKLM\\SOFTWARE\\Classes\\" + PROG_ID + r"\CLSID"), {"R6": "FAIL"}, "command"),
    ("disabled item", lambda: put(OUTLOOK + r"\Resiliency\DisabledItems", "A1B2", hex_text(MODULE.lower()), "REG_BINARY"),
     {"D1": "FAIL"}, "fix"),
    ("crashing list", lambda: put(OUTLOOK + r"\Resiliency\CrashingAddinList", PROG_ID, "1", "REG_DWORD"),
     {"D2": "FAIL"}, "fix"),
    ("policy 0", lambda: put(POLICY, PROG_ID, "0"), {"P1": "FAIL"}, lambda: remove(POLICY)),
    ("new Outlook", lambda: put(OUTLOOK + r"\Preferences", "UseNewOutlook", "1", "REG_DWORD"), {"H4": "WARN"}, "fix"),
    ("kill bit", lambda: put(r"HKLM\SOFTWARE\Microsoft\Office\16.0\Common\COM Compatibility\{40F17626-1892-4A6D-891E-E1A77A483FC0}",
                             "Compatibility Flags", "1024", "REG_DWORD"), {"R10": "FAIL"},
     lambda: remove(r"HKLM\SOFTWARE\Microsoft\Office\16.0\Common\COM Compatibility")),
    ("missing client scheme", lambda: remove(SCHEME, "URL Protocol"), {"C2": "FAIL"},
     lambda: put(SCHEME, "URL Protocol", "")),
    ("log folder not writable", hide_log, {"L1": "WARN"}, None),
    ("crash while loading", lambda: faulty("Crash.dll"), {"F6": "FAIL", "R7": "WARN", "F1": "WARN", "F3": "WARN"}, "command"),
    ("endless loading", lambda: faulty("Hang.dll"), {"F6": "FAIL", "R7": "WARN", "F1": "WARN", "F3": "WARN"}, "command"),
]


def heal(name, id, check, repair, undo):
    code, output = wine(DOCTOR, "--fix", id, "--yes")
    if repair == "fix":
        expect(f"{name}: exit code of --fix", code, 0)
    elif repair == "command":
        run_command(check["commands"][0])
    else:
        expect(f"{name}: --fix leaves it alone", code, 1 if check["verdict"] == "FAIL" else 2)
        (repair or undo)()


def try_fault(name, plant, wanted, repair):
    print(name, flush=True)
    undo = plant()
    code, complaints, checks = examine()
    id, verdict = next(iter(wanted.items()))
    expect(name, complaints, wanted)
    expect(f"{name}: exit code", code, 1 if "FAIL" in wanted.values() else 2)
    responsible = checks["R7"] if repair == "command" and id == "F6" else checks[id]
    heal(name, responsible["id"], responsible, repair, undo)
    code, complaints, _ = examine()
    expect(f"{name}: after the repair", (code, complaints), (0, {}))


def try_running_outlook():
    """The module in a running Outlook: loaded, but not connected, so that its windows are missing."""
    print("running Outlook", flush=True)
    outlook = subprocess.Popen([ROOT / "scripts/wine-run", prefix, OFFICE + r"\OUTLOOK.EXE"], stdout=subprocess.DEVNULL)
    deadline = time.monotonic() + 60
    while True:
        code, complaints, checks = examine()
        if MODULE in checks["H5"]["fact"] or time.monotonic() > deadline or outlook.poll() is not None:
            break
    expect("running Outlook: exit code", code, 1)
    expect("running Outlook", complaints, {"L2": "FAIL"})
    expect("running Outlook: its load is in the log", "Last load" in checks["L1"]["fact"], True)
    expect("running Outlook: needless checks", sorted({id[0] for id in checks}), ["C", "H", "L"])
    wine("taskkill", "/F", "/IM", "OUTLOOK.EXE")
    outlook.wait()


def try_collection():
    print("collection", flush=True)
    target = prefix / "collected.zip"
    code, output = wine(DOCTOR, "--collect", "Z:" + str(target).replace("/", "\\"))
    expect("collection: exit code", code, 0)
    with zipfile.ZipFile(target) as archive:
        expect("collection: files", archive.namelist(), ["report.txt", "report.json", "registry.txt", "outlookaddin.txt"])
        expect("collection: intact", archive.testzip(), None)
        for name in archive.namelist():
            expect(f"collection: {name} is listed", name in output, True)
            expect(f"collection: no user name in {name}",
                   "users\\" + os.environ.get("USER", "root") in archive.read(name).decode(), False)


def save_picture(name):
    """Draws the report as a terminal shows it, with one colour for each verdict."""
    colours = {"[OK": "#6cc070", "[INFO": "#7aa7e8", "[WARN": "#e5c04b", "[FAIL": "#f0706a", "[?": "#c08be0"}
    size, spacing, margin = 15, 22, 16  # pixels; a letter is half as wide as high, a Chinese one as wide as high
    texts, width, y = [], 0, margin
    for line in ["> OutlookAddInDoctor"] + wine(DOCTOR, "--language", options.language)[1].splitlines():
        colour = next((colours[mark] for mark in colours if line.startswith(mark)), "#d8dce2")
        indent = " " * (34 if line.startswith("[") else len(line) - len(line.lstrip()))
        for part in textwrap.wrap(line, 130, subsequent_indent=indent, break_long_words=False) or [""]:
            y += spacing
            width = max(width, sum(size if unicodedata.east_asian_width(c) in "WF" else size / 2 for c in part))
            texts.append(f'<text x="{margin}" y="{y}" fill="{colour}" xml:space="preserve">{html.escape(part)}</text>')
    svg = (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width + 2 * margin}" height="{y + margin}" '
           f'font-family="Noto Sans Mono CJK SC" font-size="{size}">'
           f'<rect width="100%" height="100%" fill="#1e2227"/>{"".join(texts)}</svg>')
    drawn = subprocess.run(["rsvg-convert"], input=svg.encode(), stdout=subprocess.PIPE, check=True).stdout
    target = f"png8:{options.pictures / name}.png"
    subprocess.run(["convert", "-", "-colors", "48", "-strip", target], input=drawn, check=True)


def save_pictures():
    options.pictures.mkdir(parents=True, exist_ok=True)
    save_picture("doctor-healthy")
    put("HKCU\\" + ADDIN, "LoadBehavior", "2", "REG_DWORD")
    save_picture("doctor-fault")


prepare()
try:
    if options.pictures:
        save_pictures()
        sys.exit()
    code, complaints, checks = examine()
    expect("healthy", (code, complaints), (0, {}))
    if complaints:
        print(json.dumps(checks, indent=1))
    for fault in FAULTS:
        try_fault(*fault)
    try_running_outlook()
    try_collection()
    expect("unknown id", wine(DOCTOR, "--fix", "X9")[0], 3)
finally:
    subprocess.run(["wineserver", "-k"], env={**os.environ, "WINEPREFIX": str(prefix)}, check=False)
print(f"{len(FAULTS) + 3} scenes, {len(failures)} failures")
sys.exit(1 if failures else 0)

#!/usr/bin/env -S python3 -B
"""usage: assemble.py BUILD OUTPUT

Makes the files of a release in the new folder OUTPUT from the release build in the folder BUILD: installer, archives,
symbols, list of components and notices. SOURCE_DATE_EPOCH gives every time in them."""
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile
from datetime import datetime, timezone
from pathlib import Path

import msi
import sbom

ROOT = Path(__file__).resolve().parent.parent
EPOCH = int(os.environ["SOURCE_DATE_EPOCH"])


def make_zip(path, members):
    """`members`: name in the archive to file. The same members give the same bytes."""
    time = datetime.fromtimestamp(EPOCH, timezone.utc).timetuple()[:6]
    with zipfile.ZipFile(path, "w") as archive:
        for name, file in sorted(members.items()):
            entry = zipfile.ZipInfo(name, time)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o644 << 16
            archive.writestr(entry, Path(file).read_bytes())


def listed_files(build, listing):
    """The files of a list in packaging/ and those of them that were built: name to file."""
    rows = [line.split() for line in (ROOT / "packaging" / listing).read_text().splitlines()
            if line and not line.startswith("#")]
    built = {Path(row[0]).name: build / row[0] for row in rows if len(row) > 1}
    return {**built, **{row[0]: ROOT / row[0] for row in rows if len(row) == 1}}, built


def registry_rows(folder):
    """The lines of PrintRegistry, which is built for this machine."""
    program = Path(folder) / "print-registry"
    subprocess.run(["g++", "-std=c++20", "-Wall", "-Wextra", "-Werror", "-I", ROOT, "-o", program,
                    ROOT / "packaging/PrintRegistry.cpp"], check=True)
    return subprocess.run([program], check=True, capture_output=True, text=True).stdout.splitlines()


def sha256(path):
    return hashlib.sha256(Path(path).read_bytes()).hexdigest()


def main(build, output):
    build, output = Path(build), Path(output)
    version = re.search(r"^CMAKE_PROJECT_VERSION:\w+=(.*)$", (build / "CMakeCache.txt").read_text(), re.MULTILINE)[1]
    name = f"NembraOutlookAddIn-{version}"
    files, built = listed_files(build, "files.txt")
    field_test, built_for_it = listed_files(build, "fieldtest.txt")
    built |= built_for_it
    output.mkdir(parents=True)
    with tempfile.TemporaryDirectory() as work:
        for target, file in files.items():
            shutil.copyfile(file, Path(work) / target)
            os.utime(Path(work) / target, (EPOCH, EPOCH))
        msi.make(output / f"{name}-x64.msi", version, EPOCH, work, list(files), registry_rows(work))
    headers = {f"include/{file.name}": file for file in (ROOT / "osadapter/include").glob("*.h")}
    make_zip(output / f"{name}-x64.zip", {**files, **headers, "lib/libOutlookAddIn.dll.a": build / "libOutlookAddIn.dll.a"})
    make_zip(output / f"{name}-x64-fieldtest.zip", field_test)
    make_zip(output / f"{name}-x64-symbols.zip",
             {f"{program}.debug": file.with_name(f"{program}.debug") for program, file in built.items()})
    shutil.copyfile(ROOT / "THIRD-PARTY-NOTICES.md", output / "THIRD-PARTY-NOTICES.md")
    maps = [file.with_name(f"{file.name}.map") for file in built.values()]
    parts = sbom.document("NembraOutlookAddIn", version, EPOCH, maps, ROOT / "build/deps",
                          {program: sha256(file) for program, file in built.items()})
    (output / f"{name}.cdx.json").write_text(json.dumps(parts, indent=2) + "\n")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])

"""Lists what is linked into the release, from the linker's maps, in the format CycloneDX."""
import os
import re
import subprocess
import uuid
from datetime import datetime, timezone
from pathlib import Path

# The components: a pattern of the paths of linked files, the component's name and licence, and the source of its version,
# which is a Debian package or a file in the folder of the target's libraries. The first match counts.
COMPONENTS = [
    (r"/lib/libjsoncpp\.a$", "jsoncpp", "Public domain or MIT", "lib/pkgconfig/jsoncpp.pc"),
    (r"/lib/libfmt\.a$", "fmt", "MIT with fmt's exception", "lib/pkgconfig/fmt.pc"),
    (r"/lib/libminizip\.a$", "minizip", "Zlib", "include/minizip/zip.h"),
    (r"/lib/libz\.a$", "zlib", "Zlib", "libz-mingw-w64-dev"),
    (r"^/usr/lib/gcc/x86_64-w64-mingw32/", "libstdc++, libgcc, libgcc_eh", "GPL-3.0-or-later WITH GCC-exception-3.1",
     "gcc-mingw-w64-x86-64-posix-runtime"),
    (r"/lib/lib(win)?pthread\.a$", "winpthreads", "MIT and BSD-3-Clause", "mingw-w64-x86-64-dev"),
    (r"^/usr/x86_64-w64-mingw32/lib/", "mingw-w64 runtime", "ZPL-2.1, public domain and others",
     "mingw-w64-x86-64-dev"),
    # Headers only: a symbol of its namespace.
    (r"^_ZN3CLI3App", "CLI11", "BSD-3-Clause", "share/pkgconfig/CLI11.pc"),
]


def linked_files(map_file):
    """The archives and objects that the linker took something from, and the class of a library of headers."""
    text = Path(map_file).read_text(errors="replace")
    archives = re.findall(r"^(\S+\.a)\(", text.split("Memory Configuration")[0], re.MULTILINE)
    objects = re.findall(r"^LOAD (\S+\.o)$", text, re.MULTILINE)
    return {os.path.normpath(name) for name in archives + objects} | set(re.findall(r"_ZN3CLI3App", text))


def version_of(source, libraries):
    if "/" not in source:
        query = ["dpkg-query", "-W", "-f", "${Version}", source]
        return subprocess.run(query, check=True, capture_output=True, text=True).stdout
    return re.search(r'Version:? ([\d.]+)', (libraries / source).read_text(errors="replace"))[1]


def components(maps, libraries):
    found = {}
    for linked in sorted(set().union(*map(linked_files, maps))):
        if not linked.startswith(("/", "_Z")):
            continue  # built here
        for pattern, name, licence, source in COMPONENTS:
            if re.search(pattern, linked):
                entry = found.setdefault(name, {
                    "type": "library", "bom-ref": name, "name": name, "version": version_of(source, libraries),
                    "licenses": [{"license": {"name": licence}}], "properties": []})
                entry["properties"].append({"name": "linked", "value": Path(linked).name})
                break
        else:
            raise SystemExit(f"{linked} is linked in, but packaging/sbom.py and THIRD-PARTY-NOTICES.md do not know it")
    return list(found.values())


def document(name, version, epoch, maps, libraries, hashes):
    parts = components(maps, libraries)
    return {
        "bomFormat": "CycloneDX", "specVersion": "1.5", "version": 1,
        "serialNumber": "urn:uuid:" + str(uuid.uuid5(uuid.NAMESPACE_OID, f"{name} {version} {sorted(hashes.items())}")),
        "metadata": {
            "timestamp": datetime.fromtimestamp(epoch, timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ"),
            "component": {"type": "application", "bom-ref": "product", "name": name, "version": version,
                          "components": [{"type": "file", "name": file, "hashes": [{"alg": "SHA-256", "content": sum_}]}
                                         for file, sum_ in sorted(hashes.items())]},
        },
        "components": parts,
        "dependencies": [{"ref": "product", "dependsOn": [each["bom-ref"] for each in parts]}],
    }

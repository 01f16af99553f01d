"""Makes the Windows Installer package with wixl and msibuild."""
import hashlib
import struct
import subprocess
import uuid
from pathlib import Path
from xml.sax.saxutils import quoteattr

NAME = "NEMBRA CLOUD Meeting add-in for Outlook"
UPGRADE_CODE = uuid.UUID("6b4f2a5e-0f0b-4d5c-9a51-3e6c6d0a7c21")  # never changes: it names the product


def fixed_code(name):
    """The same code each time for the same name, in the form of the installer's tables."""
    return "{" + str(uuid.uuid5(UPGRADE_CODE, name)).upper() + "}"


def product_code(version):
    return fixed_code("product " + version)


def file_version(path):
    """The version of a Windows file's version resource as text, or None."""
    data = Path(path).read_bytes()
    at = data.find(struct.pack("<II", 0xFEEF04BD, 0x00010000))  # VS_FIXEDFILEINFO
    if at < 0:
        return None
    high, low = struct.unpack_from("<II", data, at + 8)
    return f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"


def registry_element(row):
    root, key, name, data = row.split("\t")
    kind = "integer" if data.startswith("#") else "string"
    named = f" Name={quoteattr(name)}" if name else ""
    return (f'<RegistryValue Root="{root}" Key={quoteattr(key)}{named} Type="{kind}"'
            f' Value={quoteattr(data.lstrip("#"))}/>')


def row_id(name):
    """The key of a file's rows. Hyphens are not allowed there."""
    return name.replace("-", "_")


def component(name, elements):
    guid = fixed_code("component " + name)
    return (f'<Component Id="{row_id(name)}" Guid="{guid}" Win64="yes"><File Id="{row_id(name)}" Name="{name}"'
            f' Source="{name}" KeyPath="yes"/>{"".join(elements)}</Component>')


def source(version, files, rows):
    template = (Path(__file__).parent / "product.wxs").read_text()
    components = [component(name, map(registry_element, rows) if name == files[0] else []) for name in files]
    return (template.replace("@VERSION@", version).replace("@NAME@", NAME)
            .replace("@PRODUCT_CODE@", product_code(version)).replace("@UPGRADE_CODE@", "{" + str(UPGRADE_CODE).upper() + "}")
            .replace("@VENDOR_FOLDER@", fixed_code("component VendorFolder"))
            .replace("@COMPONENTS@", "".join(components))
            .replace("@REFERENCES@", "".join(f'<ComponentRef Id="{row_id(name)}"/>' for name in files)))


def set_times(path, epoch):
    """Sets the times in the summary of the package. wixl and msibuild write the present time there."""
    data = bytearray(Path(path).read_bytes())
    start = data.index(uuid.UUID("f29f85e0-4ff9-1068-ab91-08002b27b3d9").bytes_le)  # the only section of the stream
    section = start - 28 + struct.unpack_from("<I", data, start + 16)[0]
    for index in range(struct.unpack_from("<I", data, section + 4)[0]):
        number, offset = struct.unpack_from("<II", data, section + 8 + 8 * index)
        if number in (12, 13):  # created, last saved
            assert struct.unpack_from("<I", data, section + offset)[0] == 0x40, "not a time"
            struct.pack_into("<Q", data, section + offset + 4, (epoch + 11644473600) * 10**7)  # 100 ns since 1601
    Path(path).write_bytes(data)


def make(output, version, epoch, stage, files, rows):
    """Packs the files of the folder `stage`. `rows` are the lines of PrintRegistry."""
    output, stage = Path(output).resolve(), Path(stage)
    wxs = output.with_suffix(".wxs")
    wxs.write_text(source(version, files, rows))
    # wixl takes a file's path relative to the current folder.
    subprocess.run(["wixl", "-a", "x64", "-o", output, wxs], cwd=stage, check=True)
    wxs.unlink()
    content = hashlib.sha256(b"".join((stage / name).read_bytes() for name in files)).hexdigest()
    # The old product is removed within the transaction: when an upgrade fails, it comes back.
    queries = ["UPDATE `InstallExecuteSequence` SET `Sequence`=1501 WHERE `Action`='RemoveExistingProducts'"]
    for name in files:
        if found := file_version(stage / name):
            # wixl leaves the version out. An upgrade would then take the installed file for the newer one, would not
            # copy its own, and would remove the installed one with the old product. A file with a version has no hash.
            queries += [f"UPDATE `File` SET `Version`='{found}', `Language`='1033' WHERE `File`='{row_id(name)}'",
                        f"DELETE FROM `MsiFileHash` WHERE `File_`='{row_id(name)}'"]
    subprocess.run(["msibuild", output, "-q", *queries], check=True)
    subprocess.run(["msibuild", output, "-s", NAME, "NEMBRA", "x64;1033", fixed_code(f"package {version} {content}")],
                   check=True)
    set_times(output, epoch)

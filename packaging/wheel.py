#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""wheel.py BUILD OUT: makes a wheel of the Python package from a build folder, by the standard library alone.

The wheel carries the database's library, which the compiled part finds beside itself. What the system has is not in it: the
standard library of C++, libxml2 and cairo. So it is for systems like the one that it was built on.
"""

import base64
import hashlib
import os
import pathlib
import subprocess
import sys
import sysconfig
import tempfile
import zipfile

NAME, VERSION = "oktdatabase", "10.0.0"

METADATA = f"""Metadata-Version: 2.1
Name: {NAME}
Version: {VERSION}
Summary: Parametric object database of a reinforcement-detailing design system
License: MIT
Requires-Python: >={sys.version_info.major}.{sys.version_info.minor}
Requires-External: libxml2
Requires-External: libcairo2
Provides-Extra: tables
Requires-Dist: numpy; extra == "tables"
Requires-Dist: pandas; extra == "tables"
"""


def record(name: str, data: bytes) -> str:
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode("ascii")
    return f"{name},sha256={digest},{len(data)}"


def make(build: pathlib.Path, out: pathlib.Path) -> pathlib.Path:
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    platform = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    tag = f"{python}-{python}-{platform}"
    info = f"{NAME}-{VERSION}.dist-info"
    with tempfile.TemporaryDirectory() as folder:
        command = [os.environ.get("CMAKE", "cmake"), "--install", str(build), "--component", "python", "--strip"]
        subprocess.run([*command, "--prefix", folder], check=True, stdout=subprocess.DEVNULL)
        [package] = [each.parent for each in pathlib.Path(folder).rglob(f"{NAME}/__init__.py")]
        files = {f"{NAME}/{each.name}": each.read_bytes() for each in sorted(package.iterdir())}
    files[f"{info}/METADATA"] = METADATA.encode()
    wheel = f"Wheel-Version: 1.0\nGenerator: {NAME}\nRoot-Is-Purelib: false\nTag: {tag}\n"
    files[f"{info}/WHEEL"] = wheel.encode()
    records = [record(name, data) for name, data in files.items()]
    files[f"{info}/RECORD"] = "\n".join([*records, f"{info}/RECORD,,", ""]).encode()
    out.mkdir(parents=True, exist_ok=True)
    path = out / f"{NAME}-{VERSION}-{tag}.whl"
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, data in files.items():
            entry = zipfile.ZipInfo(name, (2020, 1, 1, 0, 0, 0))  # the same files give the same wheel
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o755 if ".so" in name else 0o644) << 16
            archive.writestr(entry, data)
    return path


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: wheel.py BUILD OUT")
    print(make(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])))

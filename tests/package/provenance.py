# SPDX-License-Identifier: MIT
"""provenance.py FOLDER SOURCES VERSION: what the build tells of itself is what it was made of, and its SBOM keeps to SPDX 2.3."""

import hashlib
import json
import pathlib
import re
import sys

folder, sources, version = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]

told = json.loads((folder / "provenance.json").read_text())
assert told["name"] == "OKTDatabase10" and told["version"] == version, told
assert re.fullmatch(r"(GNU|Clang) \d+\.\d+(\.\d+)?", told["compiler"]), told["compiler"]
assert told["system"] == "Linux x86_64" or told["system"].startswith("Linux "), told["system"]
assert "-O" in told["flags"] or "-g" in told["flags"], told["flags"]
paths = [each["path"] for each in told["inputs"]]
assert paths == sorted(paths) and len(set(paths)) == len(paths)
for path in ("CMakeLists.txt", "LICENSE", "oktdatabase/oktdbpool.cpp", "oktplatform/posix/oktfile.cpp", "tools/okt/main.cpp"):
    assert path in paths, path
lines = "".join(f"{each['sha256']}  {each['path']}\n" for each in told["inputs"])
assert hashlib.sha256(lines.encode()).hexdigest() == told["inputsSha256"]
for each in told["inputs"]:
    assert hashlib.sha256((sources / each["path"]).read_bytes()).hexdigest() == each["sha256"], f"{each['path']} has changed since the build"

bill = json.loads((folder / "sbom.spdx.json").read_text())
assert bill["spdxVersion"] == "SPDX-2.3" and bill["dataLicense"] == "CC0-1.0" and bill["SPDXID"] == "SPDXRef-DOCUMENT"
assert set(bill) == {"spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace", "creationInfo", "packages", "relationships"}
assert bill["documentNamespace"].startswith("https://example.invalid/") and "#" not in bill["documentNamespace"]
assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", bill["creationInfo"]["created"])
assert all(re.match("(Person|Organization|Tool): ", each) for each in bill["creationInfo"]["creators"])
ids = ["SPDXRef-DOCUMENT"]
for package in bill["packages"]:
    assert re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", package["SPDXID"]), package
    assert package["name"] and package["downloadLocation"] and package["filesAnalyzed"] is False, package
    assert package["versionInfo"], f"{package['name']} has no version"
    ids.append(package["SPDXID"])
assert len(set(ids)) == len(ids)
names = {package["name"] for package in bill["packages"]}
assert {"OKTDatabase10", "libxml2", "libstdcxx"} <= names, names
for relation in bill["relationships"]:
    assert relation["spdxElementId"] in ids and relation["relatedSpdxElement"] in ids
    assert relation["relationshipType"] in ("DESCRIBES", "DYNAMIC_LINK", "STATIC_LINK")
assert {relation["relatedSpdxElement"] for relation in bill["relationships"]} | {"SPDXRef-DOCUMENT"} == set(ids), "a package stands alone"

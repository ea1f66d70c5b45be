# SPDX-License-Identifier: MIT
"""The package as a whole: its examples, its types, its installation."""

import doctest
import importlib
import inspect
import os
import pathlib
import re
import shutil
import subprocess
import sys
import zipfile

import pytest
from conftest import MODULE, ROOT

import oktdatabase as okt
from oktdatabase import collection

MODULES = ("", ".collection", "._errors", "._files", "._objects", "._pool", "._trade")
BUILD = os.environ.get("OKT_BUILD_DIR", "")
CMAKE = os.environ.get("OKT_CMAKE", "cmake")
needs_build = pytest.mark.skipif(not BUILD, reason="the build folder is not told")


def run(*command, **more):
    done = subprocess.run([str(each) for each in command], capture_output=True, text=True, **more)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.mark.parametrize("name", MODULES)
def test_examples_of_docstrings(name):
    module = importlib.import_module("oktdatabase" + name)
    result = doctest.testmod(module, optionflags=doctest.ELLIPSIS)
    assert result.failed == 0


def test_every_public_name_has_a_docstring_with_an_example():
    for name in okt.__all__:
        text = inspect.getdoc(getattr(okt, name))
        assert text, name
        assert ">>>" in text, name
    for name in collection.__all__:
        text = inspect.getdoc(getattr(collection, name))
        assert text and ">>>" in text, name
    for kind in (okt.Pool, okt.Object, okt.Parameter, okt.Category, okt.References, okt.Picture):
        for name, member in vars(kind).items():
            if not name.startswith("_"):
                assert inspect.getdoc(member), f"{kind.__name__}.{name}"


def readme_code():
    text = (ROOT / "README.md").read_text()
    found = re.search(r"```python\n(.*?)```", text, re.S)
    assert found, "README.md has no example in Python"
    return found.group(1)


def test_lines_of_the_readme(tmp_path):
    run(sys.executable, "-c", readme_code(), cwd=tmp_path)


def test_types_of_the_examples(tmp_path):
    pytest.importorskip("mypy")
    code = tmp_path / "readme_example.py"
    code.write_text(readme_code())
    examples = [code, *sorted((ROOT / "examples" / "python").glob("*.py"))]
    environment = {**os.environ, "MYPYPATH": os.environ.get("PYTHONPATH", "")}
    arguments = ("-m", "mypy", "--strict", "--no-error-summary", "--cache-dir", tmp_path / "cache")
    run(sys.executable, *arguments, *examples, env=environment, cwd=tmp_path)


def test_types_of_the_package(tmp_path):
    pytest.importorskip("mypy")
    arguments = ("-m", "mypy", "--strict", "--no-error-summary", "--cache-dir", tmp_path / "cache")
    run(sys.executable, *arguments, ROOT / "python" / "oktdatabase", cwd=tmp_path)


def test_stubs_are_what_is_there(tmp_path):
    pytest.importorskip("mypy")
    environment = {**os.environ, "MYPYPATH": os.environ.get("PYTHONPATH", "")}
    # The sources of Python are their own types; the compiled part has a stub.
    known = tmp_path / "known"
    # Their metaclass is that of the binding, which no stub can name.
    known.write_text("oktdatabase._okt.PoolCore\noktdatabase._okt.FolderFiles\n")
    arguments = ("-m", "mypy.stubtest", "oktdatabase._okt", "--allowlist", known)
    run(sys.executable, *arguments, env=environment, cwd=tmp_path)


def test_notebook_runs(tmp_path):
    import json

    notebook = json.loads((ROOT / "examples" / "python" / "templates.ipynb").read_text())
    shutil.copytree(ROOT / "examples" / "data", tmp_path / "data")
    names = {"__name__": "__main__"}
    before = os.getcwd()
    os.chdir(tmp_path)
    try:
        for cell in notebook["cells"]:
            if cell["cell_type"] == "code":
                exec(compile("".join(cell["source"]), "cell", "exec"), names)
    finally:
        os.chdir(before)
    assert names["svg"].startswith(b"<?xml")
    assert (tmp_path / "changed").is_dir() and len(list((tmp_path / "changed").glob("*.okt"))) == 48


@needs_build
def test_installed_component_works_alone(tmp_path):
    prefix = tmp_path / "prefix"
    run(CMAKE, "--install", BUILD, "--component", "python", "--prefix", prefix)
    [package] = prefix.rglob("oktdatabase/__init__.py")
    moved = tmp_path / "moved"
    shutil.move(package.parent.parent, moved)
    environment = {key: value for key, value in os.environ.items() if key not in ("PYTHONPATH", "LD_LIBRARY_PATH")}
    environment["PYTHONPATH"] = str(moved)
    code = "import oktdatabase as okt; print(okt.__file__); print(okt.Pool('Link').name)"
    lines = run(sys.executable, "-c", code, env=environment, cwd=tmp_path).splitlines()
    assert lines == [str(moved / "oktdatabase" / "__init__.py"), "Link"]


@needs_build
def test_wheel_in_an_empty_environment(tmp_path):
    run(sys.executable, ROOT / "packaging" / "wheel.py", BUILD, tmp_path, env={**os.environ, "CMAKE": CMAKE})
    [wheel] = tmp_path.glob("oktdatabase-10.0.0-cp3*-cp3*-linux_*.whl")
    with zipfile.ZipFile(wheel) as archive:
        names = archive.namelist()
    assert "oktdatabase/py.typed" in names and "oktdatabase/libOKTDatabase10.so.10" in names
    assert any(name.endswith("dist-info/RECORD") for name in names)
    home = tmp_path / "empty"
    run(sys.executable, "-m", "venv", "--without-pip", home)
    [site] = home.glob("lib/python3*/site-packages")
    with zipfile.ZipFile(wheel) as archive:
        archive.extractall(site)
    environment = {key: value for key, value in os.environ.items() if not key.startswith(("PYTHON", "LD_"))}
    python = home / "bin" / "python3"
    where = run(python, "-c", "import oktdatabase; print(oktdatabase.__file__)", env=environment, cwd=tmp_path)
    assert pathlib.Path(where.strip()) == site / "oktdatabase" / "__init__.py"
    run(python, "-c", readme_code(), env=environment, cwd=tmp_path)
    if MODULE:  # a module is linked to the library of that name, which is loaded already
        run(python, "-c", f"import oktdatabase as okt; assert 'OKTDbConstruct' in okt.load_module({MODULE!r})",
            env=environment, cwd=tmp_path)  # fmt: skip

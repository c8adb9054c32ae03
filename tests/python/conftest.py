"""Shared helpers of the Python suites.

The package is imported from the build tree (PYTHONPATH=<build>/python, set by CTest). The write
cache is switched on explicitly, so that "registerDataUsingCaching" queues whatever the caller's
environment says.
"""

import os
import subprocess
import sys

os.environ["TV_FEATURE_UseVrexCache"] = "1"

import pytest  # noqa: E402

import SharedCodeManager as scm  # noqa: E402
from SharedCodeManager import _core  # noqa: E402

# The published classes as the class system lists them, in registration order.
CATALOGUE = _core.describe_package("SharedCodeManager")


def all_properties(cls):
    """Every published property of a generated class, its superclasses' first."""
    names = []
    for klass in reversed(cls.__mro__):
        for name, member in vars(klass).items():
            if isinstance(member, property) and name not in names:
                names.append(name)
    return names


def state_of(obj):
    """An object as plain data: its class and every published property, objects inside too."""
    if isinstance(obj, list):
        return [state_of(element) for element in obj]
    if not isinstance(obj, scm.Heterogeneous):
        return obj
    return {"class": type(obj).__name__,
            **{name: getattr(obj, name) for name in all_properties(type(obj))}}


def python_environment():
    """The environment of a new interpreter that imports this same package, from any directory."""
    package_parent = os.path.dirname(os.path.dirname(os.path.abspath(scm.__file__)))
    search_path = [package_parent, os.path.dirname(os.path.abspath(__file__))]
    return {**os.environ, "PYTHONPATH": os.pathsep.join(search_path)}


def run_python(code, *arguments, cwd=None):
    """Runs `code` in a new interpreter and returns its standard output; fails on errors."""
    finished = subprocess.run([sys.executable, "-c", code, *map(str, arguments)],
                              capture_output=True, text=True, timeout=120, cwd=cwd,
                              env=python_environment())
    assert finished.returncode == 0, finished.stderr
    return finished.stdout


@pytest.fixture
def registry_path(tmp_path):
    return tmp_path / "registry.sldd"


@pytest.fixture
def in_temporary_directory(tmp_path, monkeypatch):
    """Runs the test in an empty directory: facades made with a plain name create files."""
    monkeypatch.chdir(tmp_path)
    return tmp_path

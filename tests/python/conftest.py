"""Shared helpers of the Python suites.

The package is imported from the build tree (PYTHONPATH=<build>/python, set by CTest). The write
cache is switched on explicitly, so that "registerDataUsingCaching" queues whatever the caller's
environment says.
"""

import os
import pathlib
import subprocess
import sys
import uuid

os.environ["TV_FEATURE_UseVrexCache"] = "1"

import pytest  # noqa: E402

import SharedCodeManager as scm  # noqa: E402

def entries_of(registry):
    """Every stored entry of four categories as text: category -> [repr(identity) repr(data)]."""
    categories = ("SCM_UTILITIES", "SCM_SHARED_FUNCTIONS", "SCM_SHARED_DATA", "SCM_SHARED_CONSTANTS")
    return {c: [f"{i!r} {registry.retrieveData(i)!r}" for i in registry.retrieveAllIdentities(c)] for c in categories}


def python_environment():
    """The environment of a new interpreter that imports this same package, from any directory."""
    search_path = [os.path.dirname(os.path.dirname(os.path.abspath(scm.__file__))), os.path.dirname(__file__)]
    return {**os.environ, "PYTHONPATH": os.pathsep.join(os.path.abspath(p) for p in search_path)}


def run_python(code, *arguments):
    """Runs `code` in a new interpreter and returns its standard output; fails on errors."""
    finished = subprocess.run([sys.executable, "-c", code, *map(str, arguments)],
                              capture_output=True, text=True, timeout=120, env=python_environment())
    assert finished.returncode == 0, finished.stderr
    return finished.stdout


# Which storage the registries of the suites live in: SQLite files, or, in the PostgreSQL variant
# (SCM_TEST_REGISTRY_DRIVER=postgresql), fresh databases of the throwaway server that
# scripts/pg-server started into SCM_TEST_POSTGRES_DIR.
POSTGRESQL_SELECTED = os.environ.get("SCM_TEST_REGISTRY_DRIVER") == "postgresql"


def sqlite_only(reason):
    """Marks a test that looks at the SQLite file itself: skipped in the PostgreSQL variant."""
    return pytest.mark.skipif(POSTGRESQL_SELECTED, reason=f"SQLite-specific: {reason}")


def run_on_server(base_uri, statement):
    """Runs one SQL statement on the server's maintenance database with psql."""
    # psql is not built with the sanitizers: keep their runtime out of it.
    environment = {k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}
    finished = subprocess.run(["psql", base_uri, "-X", "-q", "-v", "ON_ERROR_STOP=1", "-c", statement],
                              capture_output=True, text=True, timeout=60, env=environment)
    assert finished.returncode == 0, f"{statement}: {finished.stderr}"


@pytest.fixture
def registry_path(tmp_path):
    """Where the test's registry lives: a file path, or the URI of a database made for it."""
    if not POSTGRESQL_SELECTED:
        yield tmp_path / "registry.sldd"
        return
    # The server's base URI; skips when no server is installed, fails when it is missing else.
    directory = pathlib.Path(os.environ["SCM_TEST_POSTGRES_DIR"])
    if not (directory / "uri").exists() and (directory / "unavailable").exists():
        pytest.skip((directory / "unavailable").read_text().strip())
    base_uri = (directory / "uri").read_text().strip()
    database = f"scm_test_py_{os.getpid()}_{uuid.uuid4().hex[:12]}"
    run_on_server(base_uri, f'CREATE DATABASE "{database}"')
    yield base_uri.rsplit("/", 1)[0] + "/" + database
    run_on_server(base_uri, f'DROP DATABASE IF EXISTS "{database}" WITH (FORCE)')


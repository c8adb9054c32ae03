"""A registry session on a real file: the two registration roads, the batch call, finalize,
retrieval by identity, category and name, reopening in a new interpreter, and the registry's
lifetime as a Python object."""

import json
import signal
import sqlite3
import subprocess
import sys
import time

import pytest

import SharedCodeManager as scm
from conftest import entries_of, python_environment, run_python, sqlite_only

# Prints every stored entry of the registry in argv[1] as JSON (conftest.entries_of).
DUMP_REGISTRY = """
import json, sys
import SharedCodeManager as scm
from conftest import entries_of
with scm.SharedCodeManagerInterface(sys.argv[1]) as registry:
    print(json.dumps(entries_of(registry)))
"""


def utility_entry(identifier, name, model):
    record = scm.BasicUtilityData(identifier, identifier, Name=name, ModelNames=[model],
                                  Traceability=[f"{model}:{identifier}"])
    return scm.BasicUtilityIdentity(identifier), record


def test_register_retrieve_and_reopen(registry_path):
    with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
        assert [registry.registerData(scm.SharedFunctionIdentity(1, 2, 3, 4), scm.SharedFunctionData(name, file_name))
                for name, file_name in (("rt_add", "rt_add.c"), ("rt_add", "x.c"), ("rt_sub", "x.c"))] \
            == ["IS_REGISTERED", "IS_PRESENT_UPDATE", "IS_PRESENT_ERROR"]
        assert registry.registerDataUsingCaching(*utility_entry("rt_foo", "foo", "m1")) \
            == "WILL_BE_REGISTERED"
        constants = [scm.SharedConstantsIdentity(k, 0, 0, 0) for k in (1, 2)]
        records = [scm.SharedConstantsData(f"K{k}", InitialString=f"{k}\t") for k in (1, 2)]
        assert registry.registerDataArray(constants, records) == "WILL_BE_REGISTERED"
        shared = scm.SharedData("D", Definition="int D;", MemSecPrePragma=-3)
        assert registry.registerDataUsingCaching(scm.SharedDataIdentity(0, 0, 0, 9), shared) \
            == "WILL_BE_REGISTERED"
        assert registry.finalize() == "IS_REGISTERED"

        stored = registry.retrieveData(scm.SharedFunctionIdentity(1, 2, 3, 4))
        assert (type(stored), stored.FunctionName, stored.FileName) \
            == (scm.SharedFunctionData, "rt_add", "rt_add.c")
        assert [type(d) for d in registry.retrieveAllData("SCM_SHARED_CONSTANTS")] == [scm.SharedConstantsData] * 2
        found = registry.retrieveIdentityForName("SCM_UTILITIES", "foo")
        assert (type(found), found.UtilityIdentifier) == (scm.BasicUtilityIdentity, "rt_foo")
        here = entries_of(registry)

    assert json.loads(run_python(DUMP_REGISTRY, registry_path)) == here
    assert "MemSecPrePragma=-3" in here["SCM_SHARED_DATA"][0]


def test_a_batch_with_too_few_records_registers_the_first_pairs_then_raises(registry_path):
    with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
        first, second = scm.BasicUtilityIdentity("a"), scm.BasicUtilityIdentity("b")
        with pytest.raises(IndexError):
            registry.registerDataArray([first, second], [scm.BasicUtilityData("a", "a")])
        registry.finalize()
        assert registry.retrieveData(first) is not None
        assert registry.retrieveData(second) is None


def test_leaving_the_with_block_finalizes_and_closes_also_when_it_raises(registry_path):
    with pytest.raises(KeyError):
        with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
            registry.registerDataUsingCaching(*utility_entry("rt_foo", "foo", "m1"))
            raise KeyError("generator failed")
    with pytest.raises(ValueError, match="closed"):
        registry.retrieveAllData("SCM_UTILITIES")
    assert len(json.loads(run_python(DUMP_REGISTRY, registry_path))["SCM_UTILITIES"]) == 1


@pytest.fixture
def locked_registry(registry_path):
    """A registry file of one entry whose write lock this process holds through SQLite."""
    with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
        registry.registerData(*utility_entry("first", "first", "m"))
    holder = sqlite3.connect(registry_path, isolation_level=None)
    holder.execute("BEGIN IMMEDIATE")
    yield registry_path
    holder.close()


@sqlite_only("holds the write lock through SQLite")
def test_a_block_that_leaves_cached_entries_unwritten_raises(locked_registry, monkeypatch):
    monkeypatch.setenv("SCM_BUSY_TIMEOUT_MS", "100")
    with pytest.raises(scm.Error, match="1 cached entries .*locked") as raised:
        with scm.SharedCodeManagerInterface(str(locked_registry)) as registry:
            registry.registerDataUsingCaching(*utility_entry("rt_foo", "foo", "m1"))
            with pytest.warns(RuntimeWarning, match="1 cached entries .*locked"):
                registry.finalize()
    assert raised.value.entries[0][0].UtilityIdentifier == "rt_foo"


def test_retrieved_objects_outlive_the_registry_and_cached_ones_are_copies(registry_path):
    # The write cache owns the record it queued; Python must get its own copy, or finalize
    # (which empties the cache) would leave Python with a freed object.
    with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
        registry.registerDataUsingCaching(*utility_entry("rt_foo", "cached", "m1"))
        cached = registry.retrieveDataForName("SCM_UTILITIES", "cached")
        cached.Name = "changed here only"
        registry.finalize()
        assert registry.retrieveDataForName("SCM_UTILITIES", "cached") is not None
        identities = registry.retrieveAllIdentities("SCM_UTILITIES")
    del registry
    assert (cached.Name, cached.ModelNames) == ("changed here only", ["m1"])
    assert identities[0].UtilityIdentifier == "rt_foo"


# At exit: the package is withdrawn after the registries left open are deleted (or their write
# caches could no longer be encoded and their entries would be lost), and last of all: an exit
# handler registered before the import runs after the package's own one and is refused cleanly.
LEFT_OPEN_AT_EXIT = """
import atexit, sys
def late():
    try:
        scm.Data('x')
    except scm.Error as error:
        print(error.identifier)
atexit.register(late)
import SharedCodeManager as scm
registry = scm.SharedCodeManagerInterface(sys.argv[1])
registry.registerDataUsingCaching(scm.BasicUtilityIdentity('a'), scm.BasicUtilityData('a', 'id_a'))
kept = [scm.BasicUtilityIdentity('b'), scm.SharedData('d')]
"""


def test_at_exit_cached_entries_are_kept_and_the_package_is_withdrawn_last(registry_path):
    assert run_python(LEFT_OPEN_AT_EXIT, registry_path).strip() == "kobj:unknownClass"
    [stored] = json.loads(run_python(DUMP_REGISTRY, registry_path))["SCM_UTILITIES"]
    assert "Identifier='id_a'" in stored


# Registers in the registry argv[1] through the direct road, saying so on stdout first.
REGISTER_WHILE_LOCKED = """
import sys
import SharedCodeManager as scm
registry = scm.SharedCodeManagerInterface(sys.argv[1])
print("registering", flush=True)
registry.registerData(scm.BasicUtilityIdentity("late"), scm.BasicUtilityData("late", "late"))
"""


@sqlite_only("another process holds the file's write lock")
def test_ctrl_c_ends_a_wait_for_the_write_lock(locked_registry):
    waiter = subprocess.Popen([sys.executable, "-c", REGISTER_WHILE_LOCKED, str(locked_registry)], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env={**python_environment(), "SCM_BUSY_TIMEOUT_MS": "100000"})
    try:
        assert waiter.stdout.readline() == "registering\n"
        time.sleep(0.5)
        waiter.send_signal(signal.SIGINT)
        _, errors = waiter.communicate(timeout=20)
    finally:
        waiter.kill()
    assert "KeyboardInterrupt" in errors

"""A registry session on a real file: the two registration roads, the batch call, finalize,
retrieval by identity, category and name, reopening in a new interpreter, and the registry's
lifetime as a Python object."""

import json
import pathlib
import signal
import sqlite3
import subprocess
import sys
import time

import pytest

import SharedCodeManager as scm
from conftest import entries_of, python_environment, run_python, sqlite_only

# Prints every stored entry of the registry in argv[1] as JSON: category -> list of
# [identity state, data state].
DUMP_REGISTRY = """
import json, sys
import SharedCodeManager as scm
from conftest import entries_of
with scm.SharedCodeManagerInterface(sys.argv[1]) as registry:
    print(json.dumps(entries_of(registry)))
"""

TESTS_DIR = pathlib.Path(__file__).parent


def dump_in_new_interpreter(path):
    return json.loads(run_python(DUMP_REGISTRY, path))


def function_entry(elements, name, file_name):
    return scm.SharedFunctionIdentity(*elements), scm.SharedFunctionData(name, file_name)


def utility_entry(identifier, name, model):
    record = scm.BasicUtilityData(identifier, identifier, Name=name, ModelNames=[model],
                                  Traceability=[f"{model}:{identifier}"])
    return scm.BasicUtilityIdentity(identifier), record


class TestSession:
    def test_register_retrieve_and_reopen(self, registry_path):
        with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
            add, add_record = function_entry((1, 2, 3, 4), "rt_add", "rt_add.c")
            assert registry.registerData(add, add_record) == "IS_REGISTERED"
            assert registry.registerData(*function_entry((1, 2, 3, 4), "rt_add", "x.c")) \
                == "IS_PRESENT_UPDATE"
            assert registry.registerData(*function_entry((1, 2, 3, 4), "rt_sub", "x.c")) \
                == "IS_PRESENT_ERROR"

            assert registry.registerDataUsingCaching(*utility_entry("rt_foo", "foo", "m1")) \
                == "WILL_BE_REGISTERED"
            constants = [scm.SharedConstantsIdentity(k, 0, 0, 0) for k in (1, 2)]
            records = [scm.SharedConstantsData(f"K{k}", InitialString=str(k)) for k in (1, 2)]
            assert registry.registerDataArray(constants, records) == "WILL_BE_REGISTERED"
            shared = scm.SharedData("D", Definition="int D;", MemSecPrePragma=-3)
            assert registry.registerDataUsingCaching(scm.SharedDataIdentity(0, 0, 0, 9), shared) \
                == "WILL_BE_REGISTERED"
            assert registry.finalize() == "IS_REGISTERED"

            stored = registry.retrieveData(scm.SharedFunctionIdentity(1, 2, 3, 4))
            assert type(stored) is scm.SharedFunctionData
            assert (stored.FunctionName, stored.FileName) == ("rt_add", "rt_add.c")
            assert registry.retrieveData(scm.SharedFunctionIdentity(9, 9, 9, 9)) is None

            names = [r.Name for r in registry.retrieveAllData("SCM_SHARED_CONSTANTS")]
            assert sorted(names) == ["K1", "K2"]
            identities = registry.retrieveAllIdentities("SCM_SHARED_CONSTANTS")
            assert [type(i) for i in identities] == [scm.SharedConstantsIdentity] * 2
            assert {i.Checksum for i in identities} == {c.Checksum for c in constants}
            assert registry.retrieveAllIdentities("SCM_SHARED_TYPES") == []
            assert len(registry.retrieveAllData("no such category")) == 1, "means utilities"

            found = registry.retrieveIdentityForName("SCM_UTILITIES", "foo")
            assert type(found) is scm.BasicUtilityIdentity
            assert found.UtilityIdentifier == "rt_foo"
            assert registry.retrieveDataForName("SCM_SHARED_DATA", "D").Definition == "int D;"
            assert registry.retrieveDataForName("SCM_SHARED_DATA", "none") is None
            assert registry.retrieveIdentityForName("SCM_SHARED_DATA", "none") is None
            here = entries_of(registry)

        assert dump_in_new_interpreter(registry_path) == here
        assert here["SCM_SHARED_DATA"][0][1]["MemSecPrePragma"] == -3

    def test_a_batch_with_too_few_records_registers_the_first_pairs_then_raises(
            self, registry_path):
        with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
            first, second = scm.BasicUtilityIdentity("a"), scm.BasicUtilityIdentity("b")
            with pytest.raises(IndexError):
                registry.registerDataArray([first, second], [scm.BasicUtilityData("a", "a")])
            registry.finalize()
            assert registry.retrieveData(first) is not None
            assert registry.retrieveData(second) is None
            assert registry.registerDataArray([], []) == "WILL_BE_REGISTERED"

    def test_category_facade_lists_its_names(self, registry_path):
        with scm.SharedConstantsInterface(str(registry_path)) as registry:
            for k in (1, 2):
                registry.registerData(scm.SharedConstantsIdentity(k, 0, 0, 0),
                                      scm.SharedConstantsData("K"))
            assert registry.getAllConstantsNames == ["K", "K"]

    @sqlite_only("a file that is not a registry")
    def test_a_file_that_cannot_be_a_registry_reports_transaction_errors(self, tmp_path):
        not_a_registry = tmp_path / "notes.txt"
        not_a_registry.write_text("not a registry")
        with scm.SharedFunctionInterface(str(not_a_registry)) as registry:
            assert registry.registerData(*function_entry((1, 1, 1, 1), "f", "f.c")) \
                == "IS_TRANSACTION_ERROR"
            assert registry.retrieveAllData("SCM_SHARED_FUNCTIONS") == []
            assert str(not_a_registry) in registry.openError
        assert not_a_registry.read_text() == "not a registry"


class TestLifetime:
    def test_leaving_the_with_block_finalizes_and_closes_also_when_it_raises(self, registry_path):
        with pytest.raises(KeyError):
            with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
                registry.registerDataUsingCaching(*utility_entry("rt_foo", "foo", "m1"))
                raise KeyError("generator failed")
        with pytest.raises(ValueError, match="closed"):
            registry.retrieveAllData("SCM_UTILITIES")
        registry.close()  # again: nothing happens
        assert len(dump_in_new_interpreter(registry_path)["SCM_UTILITIES"]) == 1

    @sqlite_only("holds the write lock through SQLite")
    def test_a_block_that_leaves_cached_entries_unwritten_raises(self, registry_path, monkeypatch):
        scm.SharedCodeManagerInterface(str(registry_path)).close()  # creates the file
        monkeypatch.setenv("SCM_BUSY_TIMEOUT_MS", "100")
        holder = sqlite3.connect(registry_path, isolation_level=None)
        holder.execute("BEGIN IMMEDIATE")
        try:
            with pytest.raises(scm.Error, match="1 cached entries .*locked") as raised:
                with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
                    registry.registerDataUsingCaching(*utility_entry("rt_foo", "foo", "m1"))
                    with pytest.warns(RuntimeWarning, match="1 cached entries .*locked"):
                        registry.finalize()
        finally:
            holder.close()
        assert raised.value.entries[0][0].UtilityIdentifier == "rt_foo"

    def test_retrieved_objects_outlive_the_registry(self, registry_path):
        with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
            registry.registerData(*utility_entry("rt_foo", "foo", "m1"))
            record = registry.retrieveDataForName("SCM_UTILITIES", "foo")
            identities = registry.retrieveAllIdentities("SCM_UTILITIES")
        del registry
        assert record.ModelNames == ["m1"]
        assert identities[0].UtilityIdentifier == "rt_foo"

    def test_data_by_name_from_the_write_cache_is_a_copy_that_survives_finalize(
            self, registry_path):
        # The write cache owns the record it queued; Python must get its own copy, or finalize
        # (which empties the cache) would leave Python with a freed object.
        with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
            registry.registerDataUsingCaching(*utility_entry("rt_foo", "cached", "m1"))
            record = registry.retrieveDataForName("SCM_UTILITIES", "cached")
            record.Name = "changed here only"
            registry.finalize()
            assert record.Name == "changed here only"
            assert registry.retrieveDataForName("SCM_UTILITIES", "cached") is not None


class TestInterpreterExit:
    def test_a_registry_left_open_at_exit_keeps_its_cached_entries(self, registry_path):
        # Regression: the package was withdrawn at exit before open registries were deleted, so
        # their write caches could no longer be encoded and cached entries were silently lost.
        run_python("import sys, SharedCodeManager as scm\n"
                   "registry = scm.SharedCodeManagerInterface(sys.argv[1])\n"
                   "print(registry.registerDataUsingCaching(scm.BasicUtilityIdentity('a'),"
                   " scm.BasicUtilityData('a', 'id_a')))\n", registry_path)
        stored = dump_in_new_interpreter(registry_path)["SCM_UTILITIES"]
        assert [data["Identifier"] for _, data in stored] == ["id_a"]

    def test_the_package_is_withdrawn_last_and_refuses_cleanly_afterwards(self):
        # An exit handler registered before the import runs after the package's own one.
        output = run_python("import atexit\n"
                            "def late():\n"
                            "    try:\n"
                            "        scm.Data('x')\n"
                            "    except scm.Error as error:\n"
                            "        print(error.identifier)\n"
                            "atexit.register(late)\n"
                            "import SharedCodeManager as scm\n"
                            "kept = [scm.BasicUtilityIdentity('a'), scm.SharedData('d')]\n")
        assert output.strip() == "kobj:unknownClass"


def test_the_example_shares_pieces_of_two_models(tmp_path):
    example = TESTS_DIR.parents[1] / "examples" / "share_two_models.py"
    output = run_python(example.read_text(), cwd=tmp_path)
    assert "brakes  utility   rt_SATURATE  IS_PRESENT_UPDATE" in output
    assert "brakes  function  brake_filter IS_PRESENT_ERROR" in output
    assert "rt_SATURATE  used by engine, brakes" in output


# Registers in the registry argv[1] through the direct road, saying so on stdout first.
REGISTER_WHILE_LOCKED = """
import sys
import SharedCodeManager as scm
registry = scm.SharedCodeManagerInterface(sys.argv[1])
print("registering", flush=True)
registry.registerData(scm.BasicUtilityIdentity("late"), scm.BasicUtilityData("late", "late"))
"""


@sqlite_only("another process holds the file's write lock")
def test_ctrl_c_ends_a_wait_for_the_write_lock(registry_path):
    with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
        registry.registerData(*utility_entry("first", "first", "m"))
    holder = sqlite3.connect(registry_path, isolation_level=None)
    holder.execute("BEGIN IMMEDIATE")
    waiter = subprocess.Popen([sys.executable, "-c", REGISTER_WHILE_LOCKED, str(registry_path)],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              env={**python_environment(), "SCM_BUSY_TIMEOUT_MS": "100000"})
    try:
        assert waiter.stdout.readline() == "registering\n"
        time.sleep(0.5)
        waiter.send_signal(signal.SIGINT)
        _, errors = waiter.communicate(timeout=20)
    finally:
        waiter.kill()
        holder.rollback()
    assert "KeyboardInterrupt" in errors

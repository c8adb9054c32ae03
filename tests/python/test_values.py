"""Values between Python and the classes: texts, lists, flags, integers, objects, and the errors
of values of the wrong kind. None of them may crash the interpreter."""

import pytest

import SharedCodeManager as scm
from SharedCodeManager import _core

ALL_BYTES = bytes(range(256))


def raised_error(call):
    with pytest.raises(scm.Error) as raised:
        call()
    return raised.value


def test_category_texts_go_in_and_come_out_and_unknown_ones_mean_utilities():
    identity = scm.GenericIdentity("SCM_SHARED_CONSTANTS", "x")
    assert (identity.Type, identity.getType()) == ("SCM_SHARED_CONSTANTS", "SCM_SHARED_CONSTANTS")
    for unknown in ("scm_shared_data", "", "\udcff"):
        identity.Type = unknown
        assert (scm.GenericIdentity(unknown).Type, identity.getType()) == ("SCM_UTILITIES", "SCM_UTILITIES")


def test_texts_are_utf8_and_other_bytes_round_trip_through_surrogate_escapes():
    record = scm.Data(ALL_BYTES)
    record.Name = record.Name
    assert record.Name.encode("utf-8", "surrogateescape") == ALL_BYTES
    assert [scm.Data(text).Name for text in (bytearray(b"a\0b"), "Größe ✓", "Größe".encode("utf-8"))] \
        == ["a\0b", "Größe ✓", "Größe"]
    with pytest.raises(UnicodeEncodeError):
        scm.Data("\ud800")


def test_text_lists_come_from_lists_or_tuples_of_texts_and_name_the_bad_element():
    record = scm.BasicUtilityData()
    record.ModelNames = ("m1", "m\udc80")
    assert record.ModelNames == ["m1", "m\udc80"]
    error = raised_error(lambda: setattr(record, "ModelNames", "m1"))
    assert (error.identifier, error.index) == ("kobj:errorMustBeCellArray", None)
    for bad in (["a", "b", 3], ["a", "b", scm.Data()]):
        error = raised_error(lambda: setattr(record, "Children", bad))
        assert (error.identifier, error.index, isinstance(error, TypeError)) == ("kobj:errorMustBeString", 2, True)
    assert record.Children == [], "a refused list changes nothing"


def test_flags_are_bool_and_integers_are_not_flags_but_anything_with_an_index_is_an_integer():
    record = scm.SharedConstantsData("K")
    record.GenerateConstant = True
    assert record.GenerateConstant is True
    assert raised_error(lambda: setattr(record, "IsComplex", 1)).identifier \
        == "kobj:errorMustBeLogicalScalar"

    class Number:
        def __index__(self):
            return 7

    assert scm.SharedFunctionIdentity(Number(), 0, 0, 0).ChecksumElement1 == 7


@pytest.mark.parametrize("make, name, kept, refused, identifier, overflowing", [
    (scm.SharedData, "MemSecAddPragma", (-2**31, 2**31 - 1, 0), 2**31,
     "kobj:errorMustBeInt32Scalar", (-2**31 - 1,)),
    (scm.SharedFunctionIdentity, "ChecksumElement2", (0, 2**31, 2**32 - 1), -1,
     "kobj:errorMustBeUInt32Scalar", (2**32, -10**30)),
])
def test_integer_ranges(make, name, kept, refused, identifier, overflowing):
    obj = make()
    for value in kept:
        setattr(obj, name, value)
        assert getattr(obj, name) == value
    assert raised_error(lambda: setattr(obj, name, refused)).identifier == identifier
    for value in overflowing:
        with pytest.raises(OverflowError, match="out of range"):
            setattr(obj, name, value)
    assert getattr(obj, name) == kept[-1], "refused values change nothing"


def test_wrong_objects_and_arguments_of_registry_calls(registry_path):
    with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
        record = scm.BasicUtilityData("a")
        for identity in (record, "rt_foo", [record]):
            assert raised_error(lambda: registry.registerData(identity, record)).identifier == "kobj:errorMustBeObject"
        error = raised_error(lambda: registry.registerDataArray(
            [scm.BasicUtilityIdentity("a"), record], [record, record]))
        assert (error.identifier, error.index) == ("kobj:errorMustBeObject", 1)
        assert raised_error(lambda: registry.finalize(1)).identifier == "kobj:wrongNumberOfArguments"
        assert registry.registerData(None, record) == "IS_EMPTY", "None is a missing object"
        assert registry.retrieveData(None) is None


def test_values_without_a_counterpart_are_type_errors_and_deeply_nested_lists_recursion_errors():
    for value in (1.5, {"a": 1}, object(), (x for x in "ab")):
        with pytest.raises(TypeError, match="no counterpart"):
            scm.Data(value)
    nested = []
    for _ in range(100000):
        nested = [nested]
    with pytest.raises(RecursionError):
        scm.BasicUtilityData(ModelNames=nested)
    with pytest.raises(RecursionError):  # the extension guards itself too
        _core.construct("SharedCodeManager.Data", [nested])


def test_an_argument_that_closes_the_registry_while_it_is_converted(registry_path):
    registry = scm.SharedCodeManagerInterface(str(registry_path))

    class ClosesTheRegistry:
        def __index__(self):
            registry.close()
            return 1

    with pytest.raises(ValueError, match="closed"):
        registry.retrieveAllData(["SCM_UTILITIES", ClosesTheRegistry()])

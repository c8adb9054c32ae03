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


class TestCategoryText:
    def test_category_names_go_in_and_come_out_and_unknown_ones_mean_utilities(self):
        for name in ("SCM_UTILITIES", "SCM_SHARED_FUNCTIONS", "SCM_SHARED_TYPES", "SCM_OTHER",
                     "SCM_NUM", "SCM_SHARED_DATA", "SCM_SHARED_CONSTANTS"):
            identity = scm.GenericIdentity(name, "x")
            assert (identity.Type, identity.getType()) == (name, name)
            identity.Type = "SCM_OTHER"
            assert identity.Type == "SCM_OTHER"
        for unknown in ("scm_shared_data", "", "SHARED_DATA", "\udcff"):
            assert scm.GenericIdentity(unknown).Type == "SCM_UTILITIES"
            identity = scm.SharedDataIdentity()
            identity.Type = unknown
            assert identity.getType() == "SCM_UTILITIES"


class TestTexts:
    def test_every_byte_value_round_trips_through_surrogate_escapes(self):
        record = scm.Data(ALL_BYTES)
        text = record.Name
        assert isinstance(text, str)
        assert text.encode("utf-8", "surrogateescape") == ALL_BYTES
        record.Name = text
        assert record.Name == text
        assert scm.Data(bytearray(b"a\0b")).Name == "a\0b"

    def test_unicode_is_stored_as_utf8(self):
        record = scm.Data("Größe ✓")
        assert record.Name == "Größe ✓"
        assert scm.Data("Größe".encode("utf-8")).Name == "Größe"

    def test_a_text_that_cannot_be_encoded_is_a_unicode_error(self):
        with pytest.raises(UnicodeEncodeError):
            scm.Data("\ud800")

    def test_text_lists_come_from_lists_or_tuples_of_texts_and_name_the_bad_element(self):
        record = scm.BasicUtilityData()
        record.ModelNames = ("m1", "m\udc80")
        assert record.ModelNames == ["m1", "m\udc80"]
        record.ModelNames = []
        assert record.ModelNames == []
        error = raised_error(lambda: setattr(record, "ModelNames", "m1"))
        assert (error.identifier, error.index) == ("kobj:errorMustBeCellArray", None)
        for bad in (["a", "b", 3], ["a", "b", None], ["a", "b", ["c"]], ["a", "b", scm.Data()]):
            error = raised_error(lambda: setattr(record, "Children", bad))
            assert (error.identifier, error.index) == ("kobj:errorMustBeString", 2)
            assert isinstance(error, TypeError)
        assert record.Children == [], "a refused list changes nothing"


class TestFlagsAndIntegers:
    def test_flags_are_bool_and_integers_are_not_flags(self):
        record = scm.SharedConstantsData("K")
        record.GenerateConstant = True
        assert record.GenerateConstant is True
        error = raised_error(lambda: setattr(record, "IsComplex", 1))
        assert error.identifier == "kobj:errorMustBeLogicalScalar"

    @pytest.mark.parametrize("make, name, kept, refused, identifier, overflowing", [
        (scm.SharedData, "MemSecAddPragma", (-2**31, 2**31 - 1, 0), 2**31,
         "kobj:errorMustBeInt32Scalar", (-2**31 - 1,)),
        (scm.SharedFunctionIdentity, "ChecksumElement2", (0, 2**31, 2**32 - 1), -1,
         "kobj:errorMustBeUInt32Scalar", (2**32, 10**30, -10**30)),
    ])
    def test_integer_ranges(self, make, name, kept, refused, identifier, overflowing):
        obj = make()
        for value in kept:
            setattr(obj, name, value)
            assert getattr(obj, name) == value
        assert raised_error(lambda: setattr(obj, name, refused)).identifier == identifier
        for value in overflowing:
            with pytest.raises(OverflowError, match="out of range"):
                setattr(obj, name, value)
        assert getattr(obj, name) == kept[-1], "refused values change nothing"

    def test_integer_types_other_than_int_are_accepted(self):
        class Number:
            def __index__(self):
                return 7

        identity = scm.SharedFunctionIdentity(Number(), 0, 0, 0)
        assert identity.ChecksumElement1 == 7


class TestObjects:
    def test_values_without_a_counterpart_are_type_errors(self):
        for value in (1.5, {"a": 1}, object(), {1}, (x for x in "ab")):
            with pytest.raises(TypeError, match="no counterpart"):
                scm.Data(value)

    def test_a_wrong_class_where_an_identity_is_expected(self, registry_path):
        with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
            record = scm.BasicUtilityData("a")
            for identity in (record, "rt_foo", 5, [record]):
                error = raised_error(lambda: registry.registerData(identity, record))
                assert error.identifier == "kobj:errorMustBeObject"
            error = raised_error(lambda: registry.registerDataArray(
                [scm.BasicUtilityIdentity("a"), record], [record, record]))
            assert (error.identifier, error.index) == ("kobj:errorMustBeObject", 1)
            assert registry.retrieveAllData("SCM_UTILITIES") == []

    def test_wrong_number_of_arguments(self, registry_path):
        with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
            error = raised_error(lambda: registry.finalize(1))
            assert error.identifier == "kobj:wrongNumberOfArguments"

    def test_none_is_a_missing_object(self, registry_path):
        with scm.SharedCodeManagerInterface(str(registry_path)) as registry:
            assert registry.registerData(None, scm.BasicUtilityData("a")) == "IS_EMPTY"
            assert registry.retrieveData(None) is None


class TestHostileInput:
    def test_deeply_nested_lists_raise_recursion_error(self):
        nested = []
        for _ in range(100000):
            nested = [nested]
        with pytest.raises(RecursionError):
            scm.BasicUtilityData(ModelNames=nested)
        with pytest.raises(RecursionError):  # the extension guards itself too
            _core.construct("SharedCodeManager.Data", [nested])

    def test_an_argument_that_closes_the_registry_while_it_is_converted(self, registry_path):
        registry = scm.SharedCodeManagerInterface(str(registry_path))

        class ClosesTheRegistry:
            def __index__(self):
                registry.close()
                return 1

        with pytest.raises(ValueError, match="closed"):
            registry.retrieveAllData(["SCM_UTILITIES", ClosesTheRegistry()])

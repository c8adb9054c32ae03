"""The published classes as Python classes: names, superclass tree, constructors, properties,
methods, help() and repr()."""

import copy
import pickle
import pydoc

import pytest

import SharedCodeManager as scm
from conftest import CATALOGUE, all_properties

# Every published constructor: class, arguments, and properties that the arguments set.
CONSTRUCTIONS = [
    ("GenericIdentity", ("SCM_SHARED_TYPES", "x"),
     {"Type": "SCM_SHARED_TYPES", "DesiredIdentifier": "x"}),
    ("GenericIdentity", ("SCM_SHARED_DATA",), {"Type": "SCM_SHARED_DATA", "DesiredIdentifier": ""}),
    ("BasicUtilityIdentity", ("rt_foo",), {"UtilityIdentifier": "rt_foo", "Type": "SCM_UTILITIES"}),
    ("BasicUtilityIdentity", (), {"UtilityIdentifier": "", "IncludeMaxIdLength": True}),
    ("SharedFunctionIdentity", (1, 2, 3, 4), {"ChecksumElement1": 1, "ChecksumElement4": 4}),
    ("SharedFunctionIdentity", (), {"ChecksumElement1": 0, "Type": "SCM_SHARED_FUNCTIONS"}),
    ("SharedConstantsIdentity", (5, 6, 7, 4294967295), {"ChecksumElement4": 4294967295}),
    ("SharedConstantsIdentity", (), {"Type": "SCM_SHARED_CONSTANTS"}),
    ("SharedTypesIdentity", (1, 0, 0, 0), {"ChecksumElement1": 1}),
    ("SharedTypesIdentity", (), {"Type": "SCM_SHARED_TYPES"}),
    ("SharedDataIdentity", (0, 0, 0, 9), {"ChecksumElement4": 9}),
    ("SharedDataIdentity", (), {"Type": "SCM_SHARED_DATA"}),
    ("Data", (), {"Name": ""}),
    ("Data", ("n",), {"Name": "n"}),
    ("GenericData", ("id",), {"Identifier": "id"}),
    ("GenericData", (), {"Identifier": ""}),
    ("BasicUtilityData", (), {"Identifier": "", "ModelNames": []}),
    ("BasicUtilityData", ("rt_foo",), {"NameWithEncodings": "rt_foo"}),
    ("BasicUtilityData", ("rt_foo", "id"), {"NameWithEncodings": "rt_foo", "Identifier": "id"}),
    ("SharedFunctionData", ("f", "f.c"), {"FunctionName": "f", "FileName": "f.c"}),
    ("SharedFunctionData", (), {"FunctionName": ""}),
    ("MultiWordFcnData", ("f",), {"MultiWordFunctions": ["f"]}),
    ("MultiWordFcnData", (), {"MultiWordFunctions": []}),
    ("SharedTypesData", ("T",), {"Name": "T", "Kind": ""}),
    ("SharedTypesData", (), {"Name": ""}),
    ("SharedData", ("D",), {"Name": "D", "MemSecPrePragma": 0}),
    ("SharedData", (), {"Name": ""}),
    ("SharedConstantsData", ("K",), {"Name": "K", "GenerateConstant": False}),
    ("SharedConstantsData", (), {"Name": ""}),
    ("SharedCodeManagerInterface", ("registry.sldd",), {}),
    ("SharedFunctionInterface", ("registry.sldd",), {}),
    ("SharedTypesInterface", ("registry.sldd",), {}),
    ("SharedDataInterface", ("registry.sldd",), {}),
    ("SharedConstantsInterface", ("registry.sldd",), {"getAllConstantsNames": []}),
    ("SharedUtilityInterface", ("registry.sldd",), {}),
]

# A value to write into a property of each published type, and properties that need their own.
SAMPLES = {"str": "sample \udcff", "bool": True, "int (int32)": -123456,
           "int (uint32)": 3000000000, "list of str": ["m1:a", "m2:b"]}
SPECIAL_SAMPLES = {"Type": "SCM_SHARED_CONSTANTS", "Kind": "SCM_SHARED_DATA_DEFINITION"}


def test_the_package_mirrors_the_catalogue_and_its_superclass_tree():
    package_bases = {"Error", "Heterogeneous", "RegistryLifetime"}
    assert len(CATALOGUE) == 23
    published = [name for name in scm.__all__ if name not in package_bases]
    assert [record["short_name"] for record in CATALOGUE] == published
    classes = {record["name"]: getattr(scm, record["short_name"]) for record in CATALOGUE}
    classes["velmor.mixin.Heterogeneous"] = scm.Heterogeneous
    for record in CATALOGUE:
        assert classes[record["name"]].__bases__[0] is classes[record["superclass"]]
        assert classes[record["name"]].__module__ == "SharedCodeManager"


def test_isinstance_follows_the_published_tree():
    constants = scm.SharedConstantsData("K")
    assert isinstance(constants, scm.SharedTypesDataConstantsData)
    assert isinstance(constants, scm.Data)
    assert isinstance(constants, scm.Heterogeneous)
    assert not isinstance(constants, scm.Identity)
    assert isinstance(scm.SharedDataIdentity(), scm.SharedTypesDataConstantsIdentity)


@pytest.mark.parametrize("name, arguments, expected", CONSTRUCTIONS,
                         ids=[f"{c[0]}{len(c[1])}" for c in CONSTRUCTIONS])
def test_every_published_constructor(name, arguments, expected, in_temporary_directory):
    obj = getattr(scm, name)(*arguments)
    assert type(obj) is getattr(scm, name)
    for prop, value in expected.items():
        assert getattr(obj, prop) == value, prop


def _argument_count(usage):
    inside = usage[usage.index("(") + 1:-1]
    return len(inside.split(", ")) if inside else 0


def test_the_constructions_cover_every_published_signature():
    published = {(record["short_name"], _argument_count(constructor["usage"]))
                 for record in CATALOGUE for constructor in record["constructors"]}
    assert {(name, len(arguments)) for name, arguments, _ in CONSTRUCTIONS} == published


def test_a_call_that_fits_no_constructor_is_a_type_error_listing_the_signatures():
    with pytest.raises(TypeError) as raised:
        scm.BasicUtilityIdentity(1)
    assert raised.value.identifier == "kobj:noMatchingConstructor"
    assert "BasicUtilityIdentity(char)" in str(raised.value)
    assert "BasicUtilityIdentity()" in str(raised.value)
    with pytest.raises(scm.Error, match="no published constructor"):
        scm.Identity()
    with pytest.raises(scm.Error):
        scm.SharedTypesDataConstantsData("x")


def test_keyword_arguments_set_published_properties():
    record = scm.SharedConstantsData("K", ParameterPrefix="p_", IsComplex=True)
    assert (record.Name, record.ParameterPrefix, record.IsComplex) == ("K", "p_", True)
    with pytest.raises(TypeError, match="unexpected keyword argument 'Colour'"):
        scm.SharedConstantsData("K", Colour="red")


def _first_construction(name):
    return next(arguments for cls, arguments, _ in CONSTRUCTIONS if cls == name)


@pytest.mark.parametrize("record", [r for r in CATALOGUE if r["constructors"]],
                         ids=lambda record: record["short_name"])
def test_every_property_reads_and_writable_ones_write(record, in_temporary_directory):
    cls = getattr(scm, record["short_name"])
    obj = cls(*_first_construction(record["short_name"]))
    writable = [name for name in all_properties(cls) if getattr(cls, name).fset is not None]
    for name in all_properties(cls):
        getattr(obj, name)
    for name in writable:
        member = next(p for r in CATALOGUE for p in r["properties"] if p["name"] == name)
        sample = SPECIAL_SAMPLES.get(name, SAMPLES[member["python_type"]])
        setattr(obj, name, sample)
        assert getattr(obj, name) == sample, name


def test_read_only_properties_refuse_assignment(registry_path):
    registry = scm.SharedConstantsInterface(str(registry_path))
    with pytest.raises(AttributeError):
        registry.getAllConstantsNames = []
    registry.close()


def test_unknown_attributes_are_refused_not_silently_added():
    identity = scm.BasicUtilityIdentity()
    with pytest.raises(AttributeError):
        identity.UtilityIdentifer = "typo"


def test_objects_refuse_copies_that_would_share_the_library_object():
    record = scm.SharedData("D")
    for duplicate in (copy.copy, copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError, match="cannot be copied or pickled"):
            duplicate(record)


def test_help_shows_constructors_properties_and_methods():
    text = pydoc.render_doc(scm.SharedConstantsInterface, renderer=pydoc.plaintext)
    assert "SharedConstantsInterface(str)" in text
    assert "getAllConstantsNames: list of str (read-only)" in text
    assert "registerData(Identity, Data) -> str" in text
    assert "retrieveAllIdentities(str) -> list of Identity" in text
    text = pydoc.render_doc(scm.BasicUtilityIdentity, renderer=pydoc.plaintext)
    assert "MaximumIdentifierLength: int (int32)" in text
    assert "Checksum" in text and "getType() -> str" in text


def test_repr_shows_the_class_and_its_shown_properties():
    identity = scm.BasicUtilityIdentity("rt_foo")
    text = repr(identity)
    assert text.startswith("SharedCodeManager.BasicUtilityIdentity(")
    assert "UtilityIdentifier='rt_foo'" in text
    assert "Checksum='dGfL8aBULDXcmtIhYfhCcE'" in text
    assert "IncludeMaxIdLength" not in text and "Type=" not in text, "hidden properties"
    assert "Traceability=[]" in repr(scm.BasicUtilityData())


def test_repr_of_a_closed_registry(registry_path):
    registry = scm.SharedCodeManagerInterface(str(registry_path))
    registry.close()
    assert repr(registry) == "<SharedCodeManager.SharedCodeManagerInterface (closed)>"

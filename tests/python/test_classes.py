"""The published classes as Python classes: names, superclass tree, constructors, properties,
methods, help() and repr()."""

import copy
import pickle
import pydoc

import pytest

import SharedCodeManager as scm
from conftest import CATALOGUE, all_properties

# Constructors with arguments: class, arguments, and properties that the arguments set.
CONSTRUCTIONS = [
    ("GenericIdentity", ("SCM_SHARED_TYPES", "x"),
     {"Type": "SCM_SHARED_TYPES", "DesiredIdentifier": "x"}),
    ("GenericIdentity", ("SCM_SHARED_DATA",), {"Type": "SCM_SHARED_DATA", "DesiredIdentifier": ""}),
    ("BasicUtilityIdentity", ("rt_foo",), {"UtilityIdentifier": "rt_foo", "Type": "SCM_UTILITIES"}),
    ("SharedFunctionIdentity", (1, 2, 3, 4), {"ChecksumElement1": 1, "ChecksumElement4": 4}),
    ("SharedConstantsIdentity", (5, 6, 7, 4294967295), {"ChecksumElement4": 4294967295}),
    ("SharedTypesIdentity", (1, 0, 0, 0), {"ChecksumElement1": 1}),
    ("SharedDataIdentity", (0, 0, 0, 9), {"ChecksumElement4": 9}),
    ("Data", ("n",), {"Name": "n"}),
    ("GenericData", ("id",), {"Identifier": "id"}),
    ("BasicUtilityData", ("rt_foo",), {"NameWithEncodings": "rt_foo"}),
    ("BasicUtilityData", ("rt_foo", "id"), {"NameWithEncodings": "rt_foo", "Identifier": "id"}),
    ("SharedFunctionData", ("f", "f.c"), {"FunctionName": "f", "FileName": "f.c"}),
    ("MultiWordFcnData", ("f",), {"MultiWordFunctions": ["f"]}),
    ("SharedTypesData", ("T",), {"Name": "T", "Kind": ""}),
    ("SharedData", ("D",), {"Name": "D", "MemSecPrePragma": 0}),
    ("SharedConstantsData", ("K",), {"Name": "K", "GenerateConstant": False}),
    ("SharedConstantsInterface", ("registry.sldd",), {"getAllConstantsNames": []}),
]

# A value to write into a property of each published type, and properties that need their own.
SAMPLES = {"str": "sample \udcff", "bool": True, "int (int32)": -123456,
           "int (uint32)": 3000000000, "list of str": ["m1:a", "m2:b"]}
SPECIAL_SAMPLES = {"Type": "SCM_SHARED_CONSTANTS", "Kind": "SCM_SHARED_DATA_DEFINITION"}


def test_each_class_derives_from_its_published_superclass():
    for record in CATALOGUE:
        cls = getattr(scm, record["short_name"])
        superclass = record["superclass"].rsplit(".", 1)[-1]
        assert (cls.__bases__[0].__name__, cls.__module__) == (superclass, "SharedCodeManager")


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


@pytest.mark.parametrize("record", [r for r in CATALOGUE if r["constructors"]],
                         ids=lambda record: record["short_name"])
def test_every_property_reads_and_writable_ones_write(record, in_temporary_directory):
    cls = getattr(scm, record["short_name"])
    arguments = next((a for name, a, _ in CONSTRUCTIONS if name == record["short_name"]), ())
    obj = cls("registry.sldd") if issubclass(cls, scm.RegistryLifetime) else cls(*arguments)
    writable = [name for name in all_properties(cls) if getattr(cls, name).fset is not None]
    for name in all_properties(cls):
        getattr(obj, name)
    for name in writable:
        member = next(p for r in CATALOGUE for p in r["properties"] if p["name"] == name)
        sample = SPECIAL_SAMPLES.get(name, SAMPLES[member["python_type"]])
        setattr(obj, name, sample)
        assert getattr(obj, name) == sample, name


def test_unknown_attributes_are_refused_not_silently_added():
    identity = scm.BasicUtilityIdentity()
    with pytest.raises(AttributeError):
        identity.UtilityIdentifer = "typo"


def test_objects_refuse_copies_that_would_share_the_library_object():
    record = scm.SharedData("D")
    for duplicate in (copy.copy, copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError, match="cannot be copied or pickled"):
            duplicate(record)


def test_help_and_repr_show_the_published_members():
    text = pydoc.render_doc(scm.SharedConstantsInterface, renderer=pydoc.plaintext)
    assert "SharedConstantsInterface(str)" in text
    assert "getAllConstantsNames: list of str (read-only)" in text
    assert "retrieveAllIdentities(str) -> list of Identity" in text
    assert "MaximumIdentifierLength: int (int32)" in pydoc.render_doc(scm.BasicUtilityIdentity)
    text = repr(scm.BasicUtilityIdentity("rt_foo"))
    assert text.startswith("SharedCodeManager.BasicUtilityIdentity(")
    assert "UtilityIdentifier='rt_foo'" in text and "Checksum='" in text
    assert "IncludeMaxIdLength" not in text and "Type=" not in text, "hidden properties"
    assert "Traceability=[]" in repr(scm.BasicUtilityData())


def test_read_only_properties_and_closed_registries(registry_path):
    registry = scm.SharedConstantsInterface(str(registry_path))
    with pytest.raises(AttributeError):
        registry.getAllConstantsNames = []
    registry.close()
    assert repr(registry) == "<SharedCodeManager.SharedConstantsInterface (closed)>"

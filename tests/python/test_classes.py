"""The published classes as Python classes: names, superclass tree, constructors, properties,
methods, help() and repr()."""

import copy
import pickle
import pydoc

import pytest

import SharedCodeManager as scm
from SharedCodeManager import _core

# The published classes as the class system lists them, in registration order.
CATALOGUE = _core.describe_package("SharedCodeManager")

# Constructors with arguments: class, arguments, and properties that the arguments set. One row
# per kind of argument the published signatures take.
CONSTRUCTIONS = [
    ("GenericIdentity", ("SCM_SHARED_TYPES", "x"), {"Type": "SCM_SHARED_TYPES", "DesiredIdentifier": "x"}),
    ("SharedConstantsIdentity", (5, 6, 7, 4294967295), {"ChecksumElement4": 4294967295}),
    ("BasicUtilityData", ("rt_foo", "id"), {"NameWithEncodings": "rt_foo", "Identifier": "id"}),
    ("MultiWordFcnData", ("f",), {"MultiWordFunctions": ["f"]}),
]

# A value to write into a property of each published type, and properties that need their own.
SAMPLES = {"str": "sample \udcff", "bool": True, "int (int32)": -123456, "int (uint32)": 3000000000,
           "list of str": ["m1:a", "m2:b"], "Type": "SCM_SHARED_CONSTANTS", "Kind": "SCM_SHARED_DATA_DEFINITION"}


def all_properties(cls):
    """Every published property of a generated class, its superclasses' first."""
    names = []
    for klass in reversed(cls.__mro__):
        names += [name for name, member in vars(klass).items()
                  if isinstance(member, property) and name not in names]
    return names


@pytest.mark.parametrize("name, arguments, expected", CONSTRUCTIONS,
                         ids=[f"{c[0]}{len(c[1])}" for c in CONSTRUCTIONS])
def test_published_constructors(name, arguments, expected):
    obj = getattr(scm, name)(*arguments)
    assert type(obj) is getattr(scm, name)
    assert {prop: getattr(obj, prop) for prop in expected} == expected


def test_calls_that_fit_no_constructor_and_unknown_keywords_are_refused():
    with pytest.raises(TypeError) as raised:
        scm.BasicUtilityIdentity(1)
    assert raised.value.identifier == "kobj:noMatchingConstructor"
    assert "BasicUtilityIdentity(char)" in str(raised.value)
    with pytest.raises(scm.Error, match="no published constructor"):
        scm.Identity()
    record = scm.SharedConstantsData("K", ParameterPrefix="p_", IsComplex=True)
    assert (record.Name, record.ParameterPrefix, record.IsComplex) == ("K", "p_", True)
    with pytest.raises(TypeError, match="unexpected keyword argument 'Colour'"):
        scm.SharedConstantsData("K", Colour="red")


@pytest.mark.parametrize("record", [r for r in CATALOGUE if r["constructors"]],
                         ids=lambda record: record["short_name"])
def test_every_class_derives_from_its_published_superclass_and_its_properties_read_and_write(
        record, tmp_path):
    cls = getattr(scm, record["short_name"])
    assert (cls.__bases__[0].__name__, cls.__module__) \
        == (record["superclass"].rsplit(".", 1)[-1], "SharedCodeManager")
    arguments = next((a for name, a, _ in CONSTRUCTIONS if name == record["short_name"]), ())
    obj = cls(str(tmp_path / "r.sldd")) if issubclass(cls, scm.RegistryLifetime) else cls(*arguments)
    for name in all_properties(cls):
        getattr(obj, name)
        if getattr(cls, name).fset is not None:
            member = next(p for r in CATALOGUE for p in r["properties"] if p["name"] == name)
            sample = SAMPLES.get(name, SAMPLES[member["python_type"]])
            setattr(obj, name, sample)
            assert getattr(obj, name) == sample, name


def test_typos_writes_to_read_only_properties_and_copies_are_refused(registry_path):
    registry = scm.SharedConstantsInterface(str(registry_path))
    for obj, name in ((scm.BasicUtilityIdentity(), "UtilityIdentifer"), (registry, "getAllConstantsNames")):
        with pytest.raises(AttributeError):
            setattr(obj, name, [])
    registry.close()
    assert repr(registry) == "<SharedCodeManager.SharedConstantsInterface (closed)>"
    record = scm.SharedData("D")  # a copy would share the library object
    for duplicate in (copy.copy, copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError, match="cannot be copied or pickled"):
            duplicate(record)


def test_help_and_repr_show_the_published_members():
    text = pydoc.render_doc(scm.SharedConstantsInterface, renderer=pydoc.plaintext)
    assert "retrieveAllIdentities(str) -> list of Identity" in text and "SharedConstantsInterface(str)" in text
    text = repr(scm.BasicUtilityIdentity("rt_foo"))
    assert text.startswith("SharedCodeManager.BasicUtilityIdentity(")
    assert "UtilityIdentifier='rt_foo'" in text and "Checksum='" in text
    assert "IncludeMaxIdLength" not in text and "Type=" not in text, "hidden properties"
    assert "Traceability=[]" in repr(scm.BasicUtilityData())

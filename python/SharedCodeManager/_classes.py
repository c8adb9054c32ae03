"""The package's classes, built at import from the class catalogue.

Every published class becomes a Python class of the same short name whose base is the class of
its published superclass; the class system's root, "velmor.mixin.Heterogeneous", becomes
Heterogeneous. Properties and methods are generated from the catalogue and call the class system
by name through the extension, so nothing here knows any particular class.
"""

import functools
import reprlib
import warnings
import weakref

from . import _core
from . import _documentation

# The generated class of each published class name, filled by build_classes.
_classes_by_name = {}

# Registries (objects of classes with a published "finalize") that are not closed yet; closed at
# interpreter exit, before the package is withdrawn, so that their write caches reach the file.
_open_registries = weakref.WeakSet()

_value_repr = reprlib.Repr()
_value_repr.maxlist = 10
_value_repr.maxstring = 120


def _wrap(value):
    """A value from the extension, with its objects as instances of the generated classes."""
    if type(value) is _core.Object:
        cls = _classes_by_name.get(value.class_name, Heterogeneous)
        instance = cls.__new__(cls)
        instance._scm_object = value
        return instance
    if type(value) is list:
        return [_wrap(element) for element in value]
    return value


def _unwrap(value):
    """A value for the extension: instances of the generated classes become their objects."""
    if isinstance(value, Heterogeneous):
        return value._scm_object
    if isinstance(value, (list, tuple)):
        return [_unwrap(element) for element in value]
    return value


class Heterogeneous:
    """Base of every SharedCodeManager class (the class system's "velmor.mixin.Heterogeneous").

    An instance owns its library object: the object is deleted when the last Python reference
    to it goes. Objects that the registry returns are new and belong to Python the same way.
    """

    __slots__ = ("_scm_object", "__weakref__")
    _scm_class_name = _core.ROOT_CLASS
    _scm_shown_properties = ()  # names that repr() shows, in catalogue order

    def __init__(self, *arguments, **properties):
        self._scm_object = _core.construct(self._scm_class_name, _unwrap(arguments))
        if isinstance(self, RegistryLifetime):
            _open_registries.add(self)
        for name, value in properties.items():
            if not isinstance(getattr(type(self), name, None), property):
                raise TypeError(f"{type(self).__name__}() got an unexpected keyword argument "
                                f"{name!r}: keyword arguments set published properties")
            setattr(self, name, value)

    def __reduce_ex__(self, protocol):
        # A copy would share the library object with this one (a change to either shows in
        # both), and the library object cannot be pickled: refuse both plainly.
        raise TypeError(f"{type(self).__name__} objects cannot be copied or pickled; make a new "
                        "one from the property values")

    def __repr__(self):
        name = f"{type(self).__module__}.{type(self).__qualname__}"
        held = getattr(self, "_scm_object", None)
        if held is None or held.released:
            return f"<{name} ({'closed' if held is not None else 'not constructed'})>"
        values = ", ".join(f"{prop}={_value_repr.repr(getattr(self, prop))}"
                           for prop in self._scm_shown_properties)
        return f"{name}({values})"


class RegistryLifetime:
    """What a registry adds to its published methods: close(), use as a context manager, and the
    reports of its write cache.

    A write-cache batch that cannot be written (the registry locked by another writer for too
    long, say) does not change what registerDataUsingCaching and finalize answer: the cache keeps
    its entries and retries them at its next write. finalize() warns (RuntimeWarning) while some
    are left unwritten. Leaving a `with` block calls finalize() and then close(), also when the
    block raised; exceptions propagate. When the block ended normally and entries are left
    unwritten, it takes them and raises Error (identifier "scm:unwrittenEntries", the entries as
    `entries`). Mixed into the classes that publish a "finalize" method.

    A registry that cannot be opened is made all the same, as in C++ (every registration then
    answers IS_TRANSACTION_ERROR); `openError` says why, and is "" for an open registry.
    """

    __slots__ = ()

    def __enter__(self):
        return self

    def __exit__(self, exception_type, *exception):
        unwritten, reason = [], ""
        try:
            if not self._scm_object.released:
                _core.call_method(self._scm_object, "finalize", [])
                if exception_type is None:
                    unwritten, reason = self.take_unwritten_entries()
        finally:
            self.close()
        if unwritten:
            error = _core.Error(f"{len(unwritten)} cached entries could not be written to the "
                                f"registry: {reason}")
            error.identifier = "scm:unwrittenEntries"
            error.entries = unwritten
            raise error
        return False

    def close(self):
        """Releases the registry: the library object is deleted once no one else holds it,
        which writes what the write cache still holds (what fails then is lost) and closes the
        file. Later calls raise ValueError; closing again does nothing."""
        self._scm_object.release()
        _open_registries.discard(self)

    @property
    def openError(self):
        """Why the registry's file or database could not be opened (naming it); "" when open."""
        return _core.open_error(self._scm_object)

    def take_unwritten_entries(self):
        """([(identity, data), ...], reason): the entries the write cache could not write, and
        why. They are handed over: the cache no longer retries them."""
        entries, reason = _core.take_unwritten_entries(self._scm_object)
        return _wrap_pairs(entries), reason

    def take_refused_entries(self):
        """[(identity, data), ...]: the cached entries that their stored records refused
        (IS_PRESENT_ERROR), so that nothing was written for them; handed over."""
        return _wrap_pairs(_core.take_refused_entries(self._scm_object))


def _wrap_pairs(pairs):
    return [(_wrap(identity), _wrap(data)) for identity, data in pairs]


def _warning_finalize(finalize):
    """The published finalize, warning when the write cache keeps entries it could not write."""

    @functools.wraps(finalize)
    def method(self, *arguments):
        outcome = finalize(self, *arguments)
        count, reason = _core.unwritten_entries(self._scm_object)
        if count:
            warnings.warn(f"{count} cached entries could not be written to the registry yet "
                          f"(retried at the next finalize or close): {reason}", RuntimeWarning,
                          stacklevel=2)
        return outcome

    return method


# Both classes are part of the package's surface.
Heterogeneous.__module__ = RegistryLifetime.__module__ = __package__


def _make_property(member):
    name = member["name"]

    def get(self):
        return _wrap(_core.get_property(self._scm_object, name))

    def set_value(self, value):
        _core.set_property(self._scm_object, name, _unwrap(value))

    setter = None if member["read_only"] else set_value
    return property(get, setter, doc=_documentation.property_doc(member))


def _make_method(member, owner_name):
    name = member["name"]

    def method(self, *arguments):
        return _wrap(_core.call_method(self._scm_object, name, _unwrap(arguments)))

    method.__name__ = name
    method.__qualname__ = f"{owner_name}.{name}"
    method.__doc__ = _documentation.method_doc(member)
    return method


def _shown_properties(base, properties):
    """repr()'s property names: the superclass's, then the new ones; hidden ones left out."""
    hidden = {entry["name"] for entry in properties if entry["hidden"]}
    shown = [name for name in base._scm_shown_properties if name not in hidden]
    shown += [entry["name"] for entry in properties
              if entry["name"] not in hidden and entry["name"] not in shown]
    return tuple(shown)


def _make_class(record, base):
    short_name = record["short_name"]
    inherits_lifetime = issubclass(base, RegistryLifetime)
    closable = inherits_lifetime or any(m["name"] == "finalize" for m in record["methods"])
    namespace = {
        "__slots__": (),
        "__module__": __package__,
        "__qualname__": short_name,
        "__doc__": _documentation.class_doc(record, base.__name__, closable),
        "_scm_class_name": record["name"],
        "_scm_shown_properties": _shown_properties(base, record["properties"]),
    }
    for member in record["properties"]:
        namespace[member["name"]] = _make_property(member)
    for member in record["methods"]:
        namespace[member["name"]] = _make_method(member, short_name)
    if "finalize" in namespace:
        namespace["finalize"] = _warning_finalize(namespace["finalize"])
    bases = (base, RegistryLifetime) if closable and not inherits_lifetime else (base,)
    return type(short_name, bases, namespace)


def build_classes(records):
    """The Python classes of the catalogue `records` (the extension's describe_package), in
    catalogue order, each after its superclass."""
    records_by_name = {record["name"]: record for record in records}
    _classes_by_name[_core.ROOT_CLASS] = Heterogeneous

    def build(name):
        if name not in _classes_by_name:
            record = records_by_name.get(name)
            if record is None:  # a superclass of another package: the root stands in
                return Heterogeneous
            base = build(record["superclass"])
            _classes_by_name[name] = _make_class(record, base)
        return _classes_by_name[name]

    return [build(record["name"]) for record in records]


def close_open_registries():
    """Closes every registry that is still open (see _open_registries)."""
    for registry in list(_open_registries):
        registry.close()

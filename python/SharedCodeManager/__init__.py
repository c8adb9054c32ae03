"""SharedCodeManager: one registry of shared generated code, from Python.

Every published class of the library is a class of this package, under its published short name,
with its published constructors, properties and methods:

    import SharedCodeManager as scm

    with scm.SharedCodeManagerInterface("registry.sldd") as registry:
        key = scm.BasicUtilityIdentity("rt_foo")
        record = scm.BasicUtilityData("rt_foo", "rt_foo", ModelNames=["model_a"])
        print(registry.registerData(key, record))        # IS_REGISTERED
        print(registry.retrieveData(key).ModelNames)     # ['model_a']

Values: texts are str (8-bit strings that are not UTF-8 come back with lone surrogates and go
back byte for byte; bytes are accepted too), lists of texts are lists of str, logicals bool,
32-bit integers int, lists of objects lists, a missing object None. Outcomes and categories are
texts ("IS_REGISTERED", "SCM_SHARED_FUNCTIONS"; an unknown category name means "SCM_UTILITIES").

Errors of the class system raise Error (a TypeError) with `identifier` and `index`; an index out
of range raises IndexError; an integer outside the 32-bit ranges OverflowError.

Importing the package registers it with the class system; it is withdrawn at interpreter exit,
after every registry still open has been closed (so that its write cache reaches the file).
"""

import atexit as _atexit

from . import _core
from ._classes import Heterogeneous, RegistryLifetime
from ._classes import build_classes as _build_classes
from ._classes import close_open_registries as _close_open_registries
from ._core import Error

PACKAGE_NAME = "SharedCodeManager"

_core.initialize()
_published = _build_classes(_core.describe_package(PACKAGE_NAME))
globals().update({cls.__name__: cls for cls in _published})

__all__ = ["Error", "Heterogeneous", "RegistryLifetime"] + [cls.__name__ for cls in _published]


@_atexit.register
def _withdraw_package():
    _close_open_registries()
    _core.terminate()

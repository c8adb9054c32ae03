#include "ErrorTranslation.hpp"

#include <exception>

#include "kobj/Error.hpp"

namespace py = pybind11;

namespace scmpy {

namespace {

constexpr const char* kErrorDoc =
    "An error of SharedCodeManager's class system: a value of the wrong kind, a call that fits\n"
    "no constructor, an object of the wrong class, ...\n\n"
    "identifier: the stable identifier of the error, for programs (\"kobj:errorMustBeString\").\n"
    "index: the zero-based index of the list element that failed, or None.\n"
    "str(error) is the message for people.";

// The class, created once; the module keeps a reference too.
PyObject* errorClass = nullptr;

void raiseError(const kobj::Error& error) {
    try {
        py::object instance = py::reinterpret_borrow<py::object>(errorClass)(error.what());
        instance.attr("identifier") = error.identifier();
        instance.attr("index") = error.index() ? py::object(py::int_(*error.index())) : py::none();
        PyErr_SetObject(errorClass, instance.ptr());
    } catch (py::error_already_set& failure) {
        failure.restore();  // creating the instance failed (out of memory): report that
    }
}

}  // namespace

void registerErrorTranslation(py::module_& module) {
    py::dict defaults;
    defaults["identifier"] = py::none();
    defaults["index"] = py::none();
    const std::string qualifiedName = py::str(module.attr("__name__")).cast<std::string>();
    const std::string packageName = qualifiedName.substr(0, qualifiedName.rfind('.'));
    errorClass = PyErr_NewExceptionWithDoc((packageName + ".Error").c_str(), kErrorDoc,
                                           PyExc_TypeError, defaults.ptr());
    if (errorClass == nullptr) throw py::error_already_set();
    module.add_object("Error", py::reinterpret_borrow<py::object>(errorClass));

    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const kobj::Error& error) {
            raiseError(error);
        }
    });
}

}  // namespace scmpy

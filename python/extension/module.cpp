// SharedCodeManager._core: the by-name interface of the class system, with Python values. It
// converts values and errors, and adds the write-cache reports that no published method carries;
// the package SharedCodeManager builds the Python classes from the catalogue that
// describe_package() returns.
//
// Calls into the library run in a LibraryCall: without the GIL, one at a time, and with SIGINT
// ending their waits (then raising KeyboardInterrupt). Conversions run with the GIL held. Objects
// Python drops or releases are deleted with the GIL held, outside the library lock: a program
// that drops an object in one thread while another thread's call uses it must keep it alive.
#include <pybind11/pybind11.h>

#include "RegistryReports.hpp"
#include "CatalogueDescription.hpp"
#include "ErrorTranslation.hpp"
#include "LibraryCall.hpp"
#include "SCMModuleEntry.hpp"
#include "ScriptObject.hpp"
#include "ValueConversion.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/ObjectAccess.hpp"

namespace py = pybind11;
using scmpy::ScriptObject;

namespace {

// Arguments are converted before the object is taken: converting may run Python code (an
// __index__) that closes the object. The copy of the object value keeps it alive for the call.

ScriptObject construct(const std::string& className, const py::sequence& arguments) {
    const std::vector<qaArray> converted = scmpy::toScriptList(arguments);
    return ScriptObject(scmpy::callLibrary([&] { return kobj::construct(className, converted); }));
}

py::object getProperty(const ScriptObject& object, const std::string& name) {
    const qaArray self = object.value();
    qaArray value = scmpy::callLibrary([&] { return kobj::getProperty(self, name); });
    return scmpy::toPython(value, kobj::classOf(self).findProperty(name)->typeText(), self);
}

void setProperty(const ScriptObject& object, const std::string& name, py::handle value) {
    const qaArray converted = scmpy::toScript(value);
    const qaArray self = object.value();
    scmpy::callLibrary([&] {
        kobj::setProperty(self, name, converted);
        return true;
    });
}

py::object callMethod(const ScriptObject& object, const std::string& name,
                      const py::sequence& arguments) {
    const std::vector<qaArray> converted = scmpy::toScriptList(arguments);
    const qaArray self = object.value();
    qaArray result = scmpy::callLibrary([&] { return kobj::callMethod(self, name, converted); });
    const auto& results = kobj::classOf(self).findMethod(name)->signature().results;
    return scmpy::toPython(result, results.empty() ? "" : results.front(), self);
}

}  // namespace

PYBIND11_MODULE(_core, module) {
    module.doc() = "Value and error conversion between Python and SharedCodeManager's classes.";
    scmpy::registerErrorTranslation(module);

    py::class_<ScriptObject>(module, "Object",
                             "One object of a published class, owned (or kept alive) by Python.")
        .def_property_readonly("class_name", &ScriptObject::className,
                               "The published class, e.g. 'SharedCodeManager.Data'.")
        .def_property_readonly("released", &ScriptObject::isReleased)
        .def("release", &ScriptObject::release,
             "Drops Python's share of the object; the object is deleted when no one else holds "
             "it. Later uses raise ValueError.");

    module.attr("ROOT_CLASS") = kobj::kHeterogeneousRootName;

    module.def("initialize", &HxInitialize_shared_code_manager,
               "Registers the package with the class system (once per process).");
    module.def("terminate", &HxTerminate_shared_code_manager,
               "Withdraws the package (once per process); its classes are unknown afterwards.");
    module.def("describe_package", &scmpy::describePackage, py::arg("package"),
               "The published classes of a package, in registration order, as dicts of their "
               "constructors, methods and properties.");
    module.def("construct", &construct, py::arg("class_name"), py::arg("arguments"),
               "A new object of the class, made by the first constructor that fits the arguments.");
    module.def("get_property", &getProperty, py::arg("object"), py::arg("name"));
    module.def("set_property", &setProperty, py::arg("object"), py::arg("name"), py::arg("value"));
    module.def("call_method", &callMethod, py::arg("object"), py::arg("name"),
               py::arg("arguments"));
    scmpy::registerRegistryReports(module);
}

#include "ValueConversion.hpp"

#include <cstdint>
#include <limits>

#include "ScriptObject.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/ObjectValues.hpp"
#include "kobj/Signature.hpp"

namespace py = pybind11;

namespace scmpy {

namespace {

constexpr long long kSmallestInt32 = std::numeric_limits<std::int32_t>::min();
constexpr long long kLargestInt32 = std::numeric_limits<std::int32_t>::max();
constexpr long long kLargestUInt32 = std::numeric_limits<std::uint32_t>::max();

qaArray integerValue(py::handle value) {
    py::int_ number = py::reinterpret_steal<py::int_>(PyNumber_Index(value.ptr()));
    if (!number) throw py::error_already_set();
    int overflow = 0;
    const long long n = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
    if (n == -1 && PyErr_Occurred()) throw py::error_already_set();
    if (overflow != 0 || n < kSmallestInt32 || n > kLargestUInt32) {
        PyErr_Format(PyExc_OverflowError,
                     "integer %S is out of range: values are 32-bit integers, from %lld to %lld",
                     number.ptr(), kSmallestInt32, kLargestUInt32);
        throw py::error_already_set();
    }
    if (n > kLargestInt32) return qaArray::fromUInt32(static_cast<std::uint32_t>(n));
    return qaArray::fromInt32(static_cast<std::int32_t>(n));
}

qaArray textValue(py::handle text) {
    py::bytes encoded = py::reinterpret_steal<py::bytes>(
        PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    if (!encoded) throw py::error_already_set();
    return qaArray::fromText(std::string(encoded));
}

qaArray bytesValue(py::handle bytes) {
    if (PyByteArray_Check(bytes.ptr())) {
        return qaArray::fromText(
            std::string(PyByteArray_AS_STRING(bytes.ptr()), PyByteArray_GET_SIZE(bytes.ptr())));
    }
    return qaArray::fromText(std::string(py::reinterpret_borrow<py::bytes>(bytes)));
}

bool holdsOnlyObjects(const py::sequence& values) {
    for (py::handle value : values) {
        if (!py::isinstance<ScriptObject>(value)) return false;
    }
    return true;
}

// Counts one level of list nesting against Python's recursion limit, so that lists nested deep
// enough to exhaust the stack raise RecursionError instead.
class NestingGuard {
public:
    NestingGuard() {
        if (Py_EnterRecursiveCall(" while converting a list to SharedCodeManager values") != 0) {
            throw py::error_already_set();
        }
    }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;
    ~NestingGuard() { Py_LeaveRecursiveCall(); }
};

// Lists in lists are converted too: the class system then names the element that is no text.
qaArray sequenceValue(const py::sequence& values) {
    if (py::len(values) == 0) return qaArray();
    NestingGuard guard;
    if (holdsOnlyObjects(values)) {
        std::vector<qaArray::ObjectPtr> objects;
        for (py::handle value : values) {
            objects.push_back(value.cast<const ScriptObject&>().value().objects().front());
        }
        qaArray row = qaArray::objectRow(kobj::kHeterogeneousRootName, std::move(objects));
        kobj::settleClass(row);
        return row;
    }
    return qaArray::cellColumn(toScriptList(values));
}

py::str textOf(const std::string& bytes) {
    auto text = py::reinterpret_steal<py::str>(PyUnicode_DecodeUTF8(
        bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape"));
    if (!text) throw py::error_already_set();
    return text;
}

bool isDeclaredList(const std::string& declaredType) {
    if (declaredType.empty()) return false;
    const kobj::TypeCategory category = kobj::categoryOf(declaredType);
    return category == kobj::TypeCategory::Cell || category == kobj::TypeCategory::ObjectVector;
}

// Element `index` of an object value as a ScriptObject of its own. A borrowed element (a pointer
// without an owner: qaArray::borrow makes no control block) keeps `lender` alive.
py::object objectElement(const qaArray& value, std::size_t index, const qaArray& lender) {
    const qaArray::ObjectPtr& element = value.objects().at(index);
    if (element == nullptr) return py::none();
    const bool borrowed = element.use_count() == 0;
    qaArray single = qaArray::objectRow(element->getFullyQualifiedKobjTypeName(), {element});
    return py::cast(ScriptObject(std::move(single), borrowed ? lender : qaArray()));
}

py::object objectsOf(const qaArray& value, const std::string& declaredType, const qaArray& lender) {
    const bool asList = isDeclaredList(declaredType) || value.numel() > 1;
    if (!asList) {
        return value.numel() == 0 ? py::object(py::none()) : objectElement(value, 0, lender);
    }
    py::list objects;
    for (std::size_t i = 0; i < value.numel(); ++i) {
        objects.append(objectElement(value, i, lender));
    }
    return std::move(objects);
}

py::list cellsOf(const qaArray& value, const qaArray& lender) {
    py::list elements;
    for (const qaArray& cell : value.cells()) elements.append(toPython(cell, "", lender));
    return elements;
}

}  // namespace

qaArray toScript(py::handle value) {
    if (value.is_none()) return qaArray();
    if (py::isinstance<ScriptObject>(value)) return value.cast<const ScriptObject&>().value();
    if (PyBool_Check(value.ptr())) return qaArray::fromLogical(value.ptr() == Py_True);
    if (PyUnicode_Check(value.ptr())) return textValue(value);
    if (PyBytes_Check(value.ptr()) || PyByteArray_Check(value.ptr())) return bytesValue(value);
    if (PyIndex_Check(value.ptr())) return integerValue(value);
    if (PyList_Check(value.ptr()) || PyTuple_Check(value.ptr())) {
        return sequenceValue(py::reinterpret_borrow<py::sequence>(value));
    }
    throw py::type_error(std::string("a value of type ") + Py_TYPE(value.ptr())->tp_name +
                         " has no counterpart in SharedCodeManager: pass str, bytes, bool, int, "
                         "None, a SharedCodeManager object, or a list or tuple of those");
}

std::vector<qaArray> toScriptList(const py::sequence& values) {
    std::vector<qaArray> converted;
    converted.reserve(py::len(values));
    for (py::handle value : values) converted.push_back(toScript(value));
    return converted;
}

py::object toPython(const qaArray& value, const std::string& declaredType, const qaArray& lender) {
    switch (value.kind()) {
        case qaArray::Kind::Empty:
            return isDeclaredList(declaredType) ? py::object(py::list()) : py::object(py::none());
        case qaArray::Kind::Char: return textOf(value.text());
        case qaArray::Kind::Logical: return py::bool_(value.logical());
        case qaArray::Kind::Int32: return py::int_(value.int32Value());
        case qaArray::Kind::UInt32: return py::int_(value.uint32Value());
        case qaArray::Kind::Cell: return cellsOf(value, lender);
        case qaArray::Kind::Object: return objectsOf(value, declaredType, lender);
    }
    return py::none();
}

}  // namespace scmpy

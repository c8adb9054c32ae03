#include "kobj/ObjectEncoding.hpp"

#include <new>
#include <utility>
#include <vector>

#include "kobj/ClassRegistry.hpp"
#include "kobj/Conversions.hpp"
#include "kobj/EncodingReader.hpp"
#include "kobj/EncodingWriter.hpp"
#include "kobj/Error.hpp"
#include "kobj/JsonEscaping.hpp"
#include "kobj/ObjectAccess.hpp"
#include "kobj/ObjectValues.hpp"
#include "kobj/PropertyAttributes.hpp"

namespace kobj {

namespace {

// A name from the text for a message: cut after 80 bytes, so that a long input is never repeated
// whole.
std::string shown(const std::string& name) {
    return name.size() <= 80 ? name : name.substr(0, 80) + "...";
}

Error notEncodable(const ClassRecord& record, const std::string& why) {
    return Error("kobj:notEncodable",
                 "Objects of class " + record.name() + " cannot be encoded: " + why + ".");
}

void appendCells(std::string& text, const std::vector<qaArray>& cells, const ClassRecord& record,
                 const COSPropInfo& property) {
    text += '[';
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i].kind() != qaArray::Kind::Char) {
            throw notEncodable(record,
                               "property " + property.name() + " holds a cell that is not text");
        }
        if (i != 0) text += ',';
        json::appendString(text, cells[i].text());
    }
    text += ']';
}

void appendValue(std::string& text, const qaArray& value, const ClassRecord& record,
                 const COSPropInfo& property) {
    switch (value.kind()) {
        case qaArray::Kind::Char: appendEncodedValue(text, value.text()); return;
        case qaArray::Kind::Logical: appendEncodedValue(text, value.logical()); return;
        case qaArray::Kind::Int32: appendEncodedValue(text, value.int32Value()); return;
        case qaArray::Kind::UInt32: appendEncodedValue(text, value.uint32Value()); return;
        case qaArray::Kind::Cell: appendCells(text, value.cells(), record, property); return;
        case qaArray::Kind::Empty:
        case qaArray::Kind::Object: break;
    }
    throw notEncodable(record, "property " + property.name() + " holds " + describeValue(value));
}

// Writes one decoded property through its setter, which takes its texts over; a refused value
// names the property.
void restoreProperty(tv::mi::Handle& object, const ClassRecord& record, const COSPropInfo& property,
                     qaArray&& value) {
    try {
        setProperty(object, property, std::move(value));
    } catch (const Error& error) {
        throw Error(error.identifier(),
                    "Property " + property.name() + " of " + record.name() + ": " + error.what(),
                    error.index());
    }
}

// Writes the decoded properties through their setters: Dependent ones last. Throws kobj::Error
// (or the library's own exceptions) for a property that is unknown, read-only or of a wrong type.
void restoreProperties(tv::mi::Handle& object, const ClassRecord& record, EncodedObject& encoded) {
    std::vector<std::pair<const COSPropInfo*, qaArray*>> dependent;
    for (auto& [name, value] : encoded.properties) {
        const COSPropInfo* property = record.findProperty(name);
        if (property == nullptr) {
            throw Error("kobj:unknownProperty",
                        "Class " + record.name() + " has no property " + shown(name) + ".");
        }
        if (attributes::isDependent(property->attributes())) {
            dependent.emplace_back(property, &value);
        } else {
            restoreProperty(object, record, *property, std::move(value));
        }
    }
    for (const auto& [property, value] : dependent) {
        restoreProperty(object, record, *property, std::move(*value));
    }
}

bool hasSettableProperty(const ClassRecord& record) {
    for (const COSPropInfo* property : record.allProperties()) {
        if (!property->isReadOnly()) return true;
    }
    return false;
}

bool isEncodable(const ClassRecord& record) {
    return !record.isAbstract() && hasSettableProperty(record);
}

qaArray rebuild(const ClassRecord& record, EncodedObject& encoded) {
    const factory::impl::KobjConstructor* constructor = record.restoringConstructor();
    std::vector<qaArray> arguments;
    for (const std::string& type : constructor->signature().arguments) {
        arguments.push_back(neutralValue(type));
    }
    qaArray object = ownedObject(constructor->create(arguments), record.name());
    if (object.isEmpty()) return qaArray();
    restoreProperties(*object.object(0), record, encoded);
    return object;
}

}  // namespace

std::string encodeObject(const qaArray& value) {
    tv::mi::Handle& object = objectOf(value);
    const ClassRecord& record = classOf(value);
    if (!isEncodable(record)) {
        throw notEncodable(record, "it has no published constructor or no settable property");
    }
    std::string text;
    text.reserve(512);  // a data record takes a few hundred bytes
    text += "{\"class\":";
    json::appendString(text, record.name());
    for (const COSPropInfo* property : record.allProperties()) {
        if (property->isReadOnly()) continue;
        text += ',';
        text += property->jsonName();
        text += ':';
        if (!property->appendEncoded(object, text)) {
            appendValue(text, property->get(object), record, *property);
        }
    }
    text += '}';
    return text;
}

qaArray decodeObject(const std::string& text) { return decodeObject(text, kHeterogeneousRootName); }

qaArray decodeObject(const std::string& text, const std::string& requiredClass) {
    std::string ignored;
    return decodeObject(text, requiredClass, ignored);
}

qaArray decodeObject(const std::string& text, const std::string& requiredClass,
                     std::string& problem) {
    EncodedObject encoded;
    if (!readEncodedObject(text, encoded)) {
        problem = "The text is not an object encoding: a JSON object with a \"class\" name and "
                  "members that are texts (code points up to U+00FF), true or false, 32-bit "
                  "integers or lists of texts.";
        return qaArray();
    }
    return decodeObject(std::move(encoded), requiredClass, problem);
}

qaArray decodeObject(EncodedObject&& encoded, const std::string& requiredClass,
                     std::string& problem) {
    problem.clear();
    try {
        const ClassRecord* record = ClassRegistry::instance().findClass(encoded.className);
        if (record == nullptr) {
            problem = "There is no class " + shown(encoded.className) + ".";
        } else if (!record->isA(requiredClass)) {
            problem = "Class " + shown(encoded.className) + " is not a " + requiredClass + ".";
        } else if (!isEncodable(*record)) {
            problem = "Objects of class " + encoded.className +
                      " cannot be rebuilt: it has no published constructor or no settable property.";
        } else {
            qaArray object = rebuild(*record, encoded);
            if (object.isEmpty()) problem = "No object of class " + encoded.className + " could be made.";
            return object;
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        problem = error.what();  // a value of the wrong type, a property the class does not have, ...
    }
    return qaArray();
}

}  // namespace kobj

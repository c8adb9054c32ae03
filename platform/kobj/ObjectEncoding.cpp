#include "kobj/ObjectEncoding.hpp"

#include <new>
#include <string_view>
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
std::string shown(std::string_view name) {
    return name.size() <= 80 ? std::string(name) : std::string(name.substr(0, 80)) + "...";
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

// Calls `write`, which writes the property's decoded value through its setter; a refused value
// names the property.
template <class Write>
void restoreProperty(const ClassRecord& record, const COSPropInfo& property, Write&& write) {
    try {
        write();
    } catch (const Error& error) {
        throw Error(error.identifier(),
                    "Property " + property.name() + " of " + record.name() + ": " + error.what(),
                    error.index());
    }
}

Error unknownProperty(const ClassRecord& record, const std::string& name) {
    return Error("kobj:unknownProperty", "Class " + record.name() + " has no property " + shown(name) + ".");
}

// Dependent properties are written after all the others, so that a stored value wins over the one
// the others would give.
bool isSetLast(const COSPropInfo& property) { return attributes::isDependent(property.attributes()); }

// Writes the properties of an encoding already read: the others, then the Dependent ones. Throws
// kobj::Error (or the library's own exceptions) for a property that is unknown, read-only or of a
// wrong type.
void restoreProperties(tv::mi::Handle& object, const ClassRecord& record, EncodedObject& encoded) {
    std::vector<std::pair<const COSPropInfo*, qaArray*>> setLast;
    auto restore = [&](const COSPropInfo& property, qaArray& value) {
        restoreProperty(record, property, [&] { setProperty(object, property, std::move(value)); });
    };
    for (auto& [name, value] : encoded.properties) {
        const COSPropInfo* property = record.findProperty(name);
        if (property == nullptr) throw unknownProperty(record, name);
        if (isSetLast(*property)) {
            setLast.emplace_back(property, &value);
        } else {
            restore(*property, value);
        }
    }
    for (const auto& [property, value] : setLast) restore(*property, *value);
}

// Finds the properties of a scanned encoding by name. Encodings list them in the class's order,
// so each search starts after the property found last and usually ends at once. Throws
// kobj::Error for a name the class does not have.
class PropertyFinder {
public:
    explicit PropertyFinder(const ClassRecord& record) : record_(record) {}

    const COSPropInfo& find(const ScannedString& name) {
        const COSPropInfo* property = name.plain ? findPlain(name.raw()) : record_.findProperty(decodedText(name));
        if (property == nullptr) throw unknownProperty(record_, decodedText(name));
        return *property;
    }

private:
    const COSPropInfo* findPlain(std::string_view name) {
        const std::vector<const COSPropInfo*>& properties = record_.allProperties();
        for (std::size_t tried = 0; tried < properties.size(); ++tried) {
            const COSPropInfo* property = properties[next_];
            next_ = next_ + 1 == properties.size() ? 0 : next_ + 1;
            if (property->name() == name) return property;
        }
        return nullptr;
    }

    const ClassRecord& record_;
    std::size_t next_ = 0;
};

// Writes one scanned value through the property's setter: straight when the setter takes it as it
// is, otherwise as a script value (which its conversion refuses or not as any value).
void restoreValue(tv::mi::Handle& object, const COSPropInfo& property, const ScannedValue& value) {
    switch (value.kind) {
        case ScannedValue::Kind::Text: {
            std::string text = decodedText(value.text);
            if (!property.setText(object, std::move(text))) {
                setProperty(object, property, qaArray::fromText(std::move(text)));
            }
            return;
        }
        case ScannedValue::Kind::Texts: {
            std::vector<std::string> texts = decodedTexts(value);
            if (!property.setTexts(object, std::move(texts))) {
                setProperty(object, property, textListValue(std::move(texts)));
            }
            return;
        }
        case ScannedValue::Kind::Logical:
            if (property.setLogical(object, value.number != 0)) return;
            return setProperty(object, property, qaArray::fromLogical(value.number != 0));
        case ScannedValue::Kind::Int32:
            if (property.setInteger(object, value.number)) return;
            return setProperty(object, property, qaArray::fromInt32(static_cast<std::int32_t>(value.number)));
        case ScannedValue::Kind::UInt32:
            if (property.setInteger(object, value.number)) return;
            return setProperty(object, property, qaArray::fromUInt32(static_cast<std::uint32_t>(value.number)));
    }
}

// The same as above for a scanned encoding, whose values are decoded as they are written.
void restoreProperties(tv::mi::Handle& object, const ClassRecord& record, const ScannedObject& scanned) {
    PropertyFinder finder(record);
    std::size_t setLast = 0;  // the Dependent members, written in a second pass
    for (const ScannedMember& member : scanned) {
        const COSPropInfo& property = finder.find(member.name);
        if (isSetLast(property)) {
            ++setLast;
        } else {
            restoreProperty(record, property, [&] { restoreValue(object, property, member.value); });
        }
    }
    for (const ScannedMember* member = scanned.begin(); setLast > 0; ++member) {
        const COSPropInfo& property = finder.find(member->name);
        if (!isSetLast(property)) continue;
        restoreProperty(record, property, [&] { restoreValue(object, property, member->value); });
        --setLast;
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

// A new object of the class made by its restoring constructor fed neutral values, with `encoded`'s
// properties written; null when the constructor makes none.
template <class Encoded>
std::unique_ptr<tv::mi::Handle> rebuild(const ClassRecord& record, Encoded& encoded) {
    const factory::impl::KobjConstructor* constructor = record.restoringConstructor();
    std::vector<qaArray> arguments;
    for (const std::string& type : constructor->signature().arguments) {
        arguments.push_back(neutralValue(type));
    }
    std::unique_ptr<tv::mi::Handle> object(constructor->create(arguments));
    if (object != nullptr) restoreProperties(*object, record, encoded);
    return object;
}

// The object of class `className` rebuilt from `encoded`, after the class checks; null and
// `problem` set when a check or a property fails.
template <class Encoded>
std::unique_ptr<tv::mi::Handle> decodeAs(std::string_view className, Encoded& encoded,
                                         std::string_view requiredClass, std::string& problem) {
    problem.clear();
    try {
        const ClassRecord* record = ClassRegistry::instance().findClass(className);
        if (record == nullptr) {
            problem = "There is no class " + shown(className) + ".";
        } else if (!record->isA(requiredClass)) {
            problem = "Class " + shown(className) + " is not a " + std::string(requiredClass) + ".";
        } else if (!isEncodable(*record)) {
            problem = "Objects of class " + std::string(className) +
                      " cannot be rebuilt: it has no published constructor or no settable property.";
        } else {
            std::unique_ptr<tv::mi::Handle> object = rebuild(*record, encoded);
            if (object == nullptr) problem = "No object of class " + std::string(className) + " could be made.";
            return object;
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        problem = error.what();  // a value of the wrong type, a property the class does not have, ...
    }
    return nullptr;
}

// The value that owns `object`; [] for none.
qaArray valueOwning(std::unique_ptr<tv::mi::Handle> object) {
    return object == nullptr ? qaArray() : ownedObject(object.release(), std::string());
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

qaArray decodeObject(const std::string& text) {
    static const std::string root = kHeterogeneousRootName;
    return decodeObject(text, root);
}

qaArray decodeObject(const std::string& text, const std::string& requiredClass) {
    std::string ignored;
    return decodeObject(text, requiredClass, ignored);
}

qaArray decodeObject(const std::string& text, const std::string& requiredClass,
                     std::string& problem) {
    return valueOwning(decodeOwnedObject(text, requiredClass, problem));
}

std::unique_ptr<tv::mi::Handle> decodeOwnedObject(const std::string& text, std::string_view requiredClass,
                                                 std::string& problem) {
    ScannedObject scanned;
    if (!scanEncodedObject(text, scanned)) {
        problem = "The text is not an object encoding: a JSON object with a \"class\" name and "
                  "members that are texts (code points up to U+00FF), true or false, 32-bit "
                  "integers or lists of texts.";
        return nullptr;
    }
    if (scanned.className.plain) return decodeAs(scanned.className.raw(), scanned, requiredClass, problem);
    return decodeAs(decodedText(scanned.className), scanned, requiredClass, problem);
}

qaArray decodeObject(EncodedObject&& encoded, const std::string& requiredClass,
                     std::string& problem) {
    return valueOwning(decodeAs(encoded.className, encoded, requiredClass, problem));
}

}  // namespace kobj

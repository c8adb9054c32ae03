#include "vrex/internal/session/RepositoryObjects.hpp"

#include <algorithm>
#include <exception>
#include <limits>

#include "vrex/internal/session/RefAccess.hpp"

namespace vrex::internal {

RepositoryObjects::RepositoryObjects(Driver& driver, const Metamodel& metamodel, TransactionState& transactions,
                                     std::shared_ptr<const ObjectCodec> codec)
    : driver_(driver),
      metamodel_(metamodel),
      transactions_(transactions),
      codec_(std::move(codec)),
      nextIds_(metamodel.classes().size(), 0) {}

bool RepositoryObjects::write(tvdiag::util::diagnostics& diagnostics, const char* identifier, const char* action) {
    return writePendingObject(diagnostics, identifier, action);
}

void RepositoryObjects::discard() {
    pending_.discard();
    forgetIds();
}

// Inside a transaction the new object stays pending (see PendingObject): its row is written
// with all its properties when anything else needs the file.
ObjectRef RepositoryObjects::createObject(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics) {
    const ClassInfo* info = classOf(cls, "create an object", diagnostics);
    if (info == nullptr) return ObjectRef();
    if (driver_.isReadOnly()) {
        reportReadOnly("create an object of " + info->name, diagnostics);
        return ObjectRef();
    }
    if (!writePendingObject(diagnostics)) return ObjectRef();
    if (transactions_.holdsWriteLock()) {
        std::int64_t id = 0;
        if (!nextObjectId(*info, id, diagnostics)) return ObjectRef();
        if (id > 0) {
            pending_.start(*info, id);
            return RefAccess::object(cls, id);
        }
    }
    std::int64_t id = 0;
    if (!driver_.check(driver_.insertObject(*info, id), "vrex:object:createFailed",
               "cannot create an object of " + info->name, diagnostics)) {
        return ObjectRef();
    }
    return RefAccess::object(cls, id);
}

// The id the next row of `cls` gets in this write transaction: one the engine hands out, else
// (under the write lock) the largest id plus one (1 for an empty table). 0 when the engine would
// pick another (the largest id is the largest possible): then the object is inserted at once.
bool RepositoryObjects::nextObjectId(const ClassInfo& cls, std::int64_t& id,
                                     tvdiag::util::diagnostics& diagnostics) {
    if (!driver_.check(driver_.reserveId(cls, id), "vrex:object:createFailed",
                       "cannot create an object of " + cls.name, diagnostics)) {
        return false;
    }
    if (id > 0) return true;
    std::int64_t& known = nextIds_[cls.index];
    if (known > 0) {
        id = known++;
        return true;
    }
    std::int64_t largest = 0;
    if (!driver_.check(driver_.largestId(cls, largest), "vrex:object:createFailed",
               "cannot create an object of " + cls.name, diagnostics)) {
        return false;
    }
    id = largest < std::numeric_limits<std::int64_t>::max() ? largest + 1 : 0;
    if (id > 0 && id < std::numeric_limits<std::int64_t>::max()) known = id + 1;
    return true;
}

// Next ids are known only within one write transaction in which nothing was undone.
void RepositoryObjects::forgetIds() { std::fill(nextIds_.begin(), nextIds_.end(), 0); }

// Inserts the pending object's row; false when the engine refuses it, with a diagnostic under
// `identifier` ("cannot create an object of <class>" unless `action` says otherwise). A pending
// object whose transaction the engine rolled back is gone with it.
bool RepositoryObjects::writePendingObject(tvdiag::util::diagnostics& diagnostics,
                                           const char* identifier, const char* action) {
    if (transactions_.transactionLost()) {  // no write may fall back to a transaction of its own
        pending_.discard();
        forgetIds();
        transactions_.refuseLostTransaction(action != nullptr ? action : "write", diagnostics);
        return false;
    }
    if (pending_.isEmpty()) return true;
    if (!driver_.isInTransaction()) {  // the pending object went with its transaction
        pending_.discard();
        return true;
    }
    const ClassInfo* cls = pending_.objectClass();
    if (pending_.write(driver_)) return true;
    forgetIds();
    driver_.report(diagnostics, identifier,
                    action != nullptr ? std::string(action) : "cannot create an object of " + cls->name);
    return false;
}

// Outside a write transaction there is nothing to ready: look-ups lock nothing.
void RepositoryObjects::prepareLookUps(const ClassRef& cls, const PropertyRef& property,
                                       const std::vector<std::string>& values,
                                       tvdiag::util::diagnostics& diagnostics) {
    const ClassInfo* info = classOf(cls, "look objects up", diagnostics);
    if (info == nullptr || values.empty()) return;
    MatchConstraints constraints;
    constraints.add(property, PropertyValueMatchRelation::Equals, values.front());
    if (!checkConstraints(*info, constraints, diagnostics) || !transactions_.holdsWriteLock() ||
        !writePendingObject(diagnostics)) {
        return;
    }
    driver_.check(driver_.prepareLookUps(*info, *RefAccess::info(property), values), "vrex:find:failed",
                  "cannot look up the objects of " + info->name, diagnostics);
}

void RepositoryObjects::findObjects(const ClassRef& cls, const MatchConstraints& constraints,
                                    std::vector<ObjectRef>& result,
                                    tvdiag::util::diagnostics& diagnostics) {
    result.clear();
    const ClassInfo* info = classOf(cls, "find objects", diagnostics);
    if (info == nullptr || !writePendingObject(diagnostics) ||
        !checkConstraints(*info, constraints, diagnostics)) {
        return;
    }
    std::vector<std::int64_t> ids;
    if (!driver_.check(driver_.findObjects(*info, constraints, ids), "vrex:find:failed",
               "cannot search the objects of " + info->name, diagnostics)) {
        return;
    }
    result.reserve(ids.size());
    for (std::int64_t id : ids) result.push_back(RefAccess::object(cls, id));
}

// One statement where the driver has it; else the search, then the read of what it found.
bool RepositoryObjects::readFirstMatch(const ClassRef& cls, const PropertyRef& key, const std::string& value,
                                       const PropertyRef& property, std::optional<std::string>& text,
                                       tvdiag::util::diagnostics& diagnostics) {
    text.reset();
    MatchConstraints constraints;
    constraints.add(key, PropertyValueMatchRelation::Equals, value);
    const ClassInfo* info = classOf(cls, "find objects", diagnostics);
    if (info == nullptr || !checkConstraints(*info, constraints, diagnostics)) return false;
    const PropertyInfo* column = propertyOf(RefAccess::object(cls, 0), property, "read", diagnostics);
    if (column == nullptr || !writePendingObject(diagnostics)) return false;
    const std::optional<Driver::RowResult> read = driver_.readFirstMatch(*RefAccess::info(key), value, *column, text);
    if (!read) {
        std::vector<ObjectRef> found;
        findObjects(cls, constraints, found, diagnostics);
        return !found.empty() && readStoredText(found.front(), *column, text, diagnostics);
    }
    if (*read == Driver::RowResult::Failed) {
        driver_.report(diagnostics, "vrex:find:failed", "cannot search the objects of " + info->name);
        return false;
    }
    return *read == Driver::RowResult::Done;
}

// A pending object counts: it is written first.
std::int64_t RepositoryObjects::largestObjectId(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics) {
    const ClassInfo* info = classOf(cls, "read the objects", diagnostics);
    std::int64_t largest = 0;
    if (info == nullptr || !writePendingObject(diagnostics) ||
        !driver_.check(driver_.largestId(*info, largest), "vrex:read:failed", "cannot read the objects of " + info->name,
                       diagnostics)) {
        return -1;
    }
    return largest;
}

// The property is checked as a search constraint on it would be.
void RepositoryObjects::findRepeatedValues(const ClassRef& cls, const PropertyRef& property,
                                           std::vector<std::string>& values,
                                           tvdiag::util::diagnostics& diagnostics) {
    values.clear();
    const ClassInfo* info = classOf(cls, "find objects", diagnostics);
    MatchConstraints onProperty;
    onProperty.add(property, PropertyValueMatchRelation::Equals, "");
    if (info == nullptr || !writePendingObject(diagnostics) || !checkConstraints(*info, onProperty, diagnostics)) {
        return;
    }
    driver_.check(driver_.findRepeatedTexts(*RefAccess::info(property), values), "vrex:find:failed",
                  "cannot search the objects of " + info->name, diagnostics);
}

bool RepositoryObjects::checkConstraints(const ClassInfo& cls, const MatchConstraints& constraints,
                                         tvdiag::util::diagnostics& diagnostics) const {
    for (const auto& constraint : constraints.constraints()) {
        const PropertyInfo* property = RefAccess::info(constraint.property);
        std::string problem;
        if (property == nullptr) {
            problem = "a constraint names a null property";
        } else if (property->owner != &cls) {
            problem = "the property " + property->owner->name + "." + property->name +
                      " does not belong to the class " + cls.name;
        } else if (property->kind != PropertyKind::Text) {
            problem = "the property " + cls.name + "." + property->name + " holds objects, not text";
        }
        if (!problem.empty()) {
            diagnostics.add("vrex:find:badConstraint", "cannot search " + cls.name + ": " + problem);
            return false;
        }
    }
    return true;
}

void RepositoryObjects::setPropertyValue(const ObjectRef& object, const PropertyRef& property,
                                         const qaArray& value, tvdiag::util::diagnostics& diagnostics) {
    const PropertyInfo* info = propertyOf(object, property, "write", diagnostics);
    if (info == nullptr) return;
    if (driver_.isReadOnly()) return reportReadOnly("write " + describe(object, *info), diagnostics);
    std::optional<std::string> text;
    if (!storedText(*info, value, text, diagnostics)) return;
    if (pending_.is(*info->owner, object.id())) return pending_.set(*info, std::move(text));
    if (!writePendingObject(diagnostics)) return;
    const Driver::RowResult written = driver_.writeProperty(*info, object.id(), text);
    if (written == Driver::RowResult::Failed) {
        driver_.report(diagnostics, "vrex:property:writeFailed", "cannot write " + describe(object, *info));
    } else if (written == Driver::RowResult::NoSuchObject) {
        diagnostics.add("vrex:object:notFound", "cannot write " + describe(object, *info) +
                                                    ": the registry \"" + driver_.location() + "\" has no such object");
    }
}

qaArray RepositoryObjects::getPropertyValue(const ObjectRef& object, const PropertyRef& property,
                                            tvdiag::util::diagnostics& diagnostics) {
    const PropertyInfo* info = propertyOf(object, property, "read", diagnostics);
    std::optional<std::string> text;
    if (info == nullptr || !readStoredText(object, *info, text, diagnostics) || !text) return qaArray();
    if (info->kind == PropertyKind::Text) return qaArray::fromText(std::move(*text));
    return decodeObject(*info, *text, diagnostics);
}

bool RepositoryObjects::readStoredText(const ObjectRef& object, const PropertyInfo& property,
                                       std::optional<std::string>& text,
                                       tvdiag::util::diagnostics& diagnostics) {
    if (!writePendingObject(diagnostics)) return false;
    const Driver::RowResult read = driver_.readProperty(property, object.id(), text);
    if (read == Driver::RowResult::NoSuchObject) {
        diagnostics.add("vrex:object:notFound", "cannot read " + describe(object, property) +
                                                    ": the registry \"" + driver_.location() + "\" has no such object");
        return false;
    }
    if (read == Driver::RowResult::Failed) {
        driver_.report(diagnostics, "vrex:property:readFailed", "cannot read " + describe(object, property));
        return false;
    }
    return true;
}

void RepositoryObjects::readStoredTexts(const ClassRef& cls, const std::vector<PropertyRef>& properties,
                                        std::int64_t afterId, std::size_t limit,
                                        std::vector<StoredObject>& result,
                                        tvdiag::util::diagnostics& diagnostics) {
    result.clear();
    const ClassInfo* info = classOf(cls, "read the objects", diagnostics);
    if (info == nullptr) return;
    std::vector<const PropertyInfo*> columns;
    for (const PropertyRef& property : properties) {
        const PropertyInfo* column = propertyOf(RefAccess::object(cls, 0), property, "read", diagnostics);
        if (column == nullptr) return;
        columns.push_back(column);
    }
    std::vector<Driver::StoredRow> rows;
    if (!writePendingObject(diagnostics) ||
        !driver_.check(driver_.readRows(*info, columns, afterId, limit, rows), "vrex:read:failed",
               "cannot read the objects of " + info->name, diagnostics)) {
        return;
    }
    result.reserve(rows.size());
    for (Driver::StoredRow& row : rows) result.push_back({RefAccess::object(cls, row.id), std::move(row.texts)});
}

// A pending object was never written: forgetting it deletes it.
void RepositoryObjects::deleteObject(const ObjectRef& object, tvdiag::util::diagnostics& diagnostics) {
    const ClassInfo* info = classOf(object.objectClass(), "delete an object", diagnostics);
    if (info == nullptr) return;
    const std::string action = "delete object " + std::to_string(object.id()) + " of " + info->name;
    if (driver_.isReadOnly()) return reportReadOnly(action, diagnostics);
    if (!transactions_.holdsWriteLock()) {
        diagnostics.add("vrex:transaction:notOpen", "cannot " + action + " outside a transaction on the registry \"" +
                                                        driver_.location() + "\"");
        return;
    }
    if (pending_.is(*info, object.id())) return pending_.discard();
    if (!writePendingObject(diagnostics)) return;
    const Driver::RowResult deleted = driver_.deleteObject(*info, object.id());
    if (deleted == Driver::RowResult::Failed) {
        driver_.report(diagnostics, "vrex:object:deleteFailed", "cannot " + action);
    } else if (deleted == Driver::RowResult::NoSuchObject) {
        diagnostics.add("vrex:object:notFound",
                        "cannot " + action + ": the registry \"" + driver_.location() + "\" has no such object");
    }
}

const ClassInfo* RepositoryObjects::classOf(const ClassRef& cls, const char* action,
                                            tvdiag::util::diagnostics& diagnostics,
                                            const char* actionObject) const {
    const ClassInfo* info = RefAccess::info(cls);
    if (info == nullptr) {
        diagnostics.add("vrex:object:nullClass",
                        std::string("cannot ") + action + actionObject + ": the class is null");
    } else if (info->metamodel != &metamodel_) {
        diagnostics.add("vrex:object:foreignClass", std::string("cannot ") + action + actionObject +
                                                        ": the class " + info->name +
                                                        " is not of the registry \"" + driver_.location() + "\"");
        info = nullptr;
    }
    return info;
}

const PropertyInfo* RepositoryObjects::propertyOf(const ObjectRef& object, const PropertyRef& property,
                                                  const char* action,
                                                  tvdiag::util::diagnostics& diagnostics) const {
    const ClassInfo* cls = classOf(object.objectClass(), action, diagnostics, " a property");
    if (cls == nullptr) return nullptr;
    const PropertyInfo* info = RefAccess::info(property);
    if (info == nullptr) {
        diagnostics.add("vrex:property:null", std::string("cannot ") + action + " a property of " +
                                                  cls->name + ": the property is null");
    } else if (info->owner != cls) {
        diagnostics.add("vrex:property:notOfClass", std::string("cannot ") + action + " " +
                                                        info->owner->name + "." +
                                                        info->name + " of an object of " + cls->name);
        info = nullptr;
    }
    return info;
}

void RepositoryObjects::reportReadOnly(const std::string& action,
                                       tvdiag::util::diagnostics& diagnostics) const {
    diagnostics.add("vrex:readOnly",
                    "cannot " + action + ": the registry \"" + driver_.location() + "\" is open for reading only");
}

bool RepositoryObjects::storedText(const PropertyInfo& property, const qaArray& value,
                                   std::optional<std::string>& text,
                                   tvdiag::util::diagnostics& diagnostics) const {
    const auto where = [&property] { return property.owner->name + "." + property.name; };
    if (value.kind() == qaArray::Kind::Empty) return true;  // unsets the property
    if (property.kind == PropertyKind::Text) {
        if (value.kind() == qaArray::Kind::Char) {
            text = value.text();
            return true;
        }
        diagnostics.add("vrex:property:wrongValue", "cannot write " + where() +
                                                        ": a text property takes a character value, not " +
                                                        value.className());
        return false;
    }
    if (value.kind() != qaArray::Kind::Object || value.numel() != 1 || value.object(0) == nullptr) {
        diagnostics.add("vrex:property:wrongValue",
                        "cannot write " + where() + ": an object property takes one object");
        return false;
    }
    if (!codec_) {
        diagnostics.add("vrex:property:noObjectCodec",
                        "cannot write " + where() + ": no object codec is installed");
        return false;
    }
    try {
        text = codec_->encode(value);
        return true;
    } catch (const std::exception& error) {
        diagnostics.add("vrex:property:encodeFailed",
                        "cannot write " + where() + ": cannot encode the " + value.className() +
                            " object: " + error.what());
        return false;
    }
}

qaArray RepositoryObjects::decodeObject(const PropertyInfo& property, const std::string& text,
                                        tvdiag::util::diagnostics& diagnostics) const {
    const auto where = [&property] { return property.owner->name + "." + property.name; };
    if (!codec_) {
        diagnostics.add("vrex:property:noObjectCodec", "cannot read " + where() + ": no object codec is installed");
        return qaArray();
    }
    try {
        return codec_->decode(text);
    } catch (const std::exception& error) {
        diagnostics.add("vrex:property:decodeFailed",
                        "cannot read " + where() + ": cannot decode the stored object: " + error.what());
        return qaArray();
    }
}

std::string RepositoryObjects::describe(const ObjectRef& object, const PropertyInfo& property) const {
    return property.owner->name + "." + property.name + " of object " + std::to_string(object.id());
}

}  // namespace vrex::internal

#include "vrex/DataModelRepository.hpp"

#include <climits>
#include <cstdlib>

#include "vrex/Utf16.hpp"
#include "vrex/internal/metamodel/MetamodelReader.hpp"
#include "vrex/internal/postgres/PostgresSupport.hpp"
#include "vrex/internal/session/RefAccess.hpp"
#include "vrex/internal/session/RepositorySession.hpp"
#include "vrex/internal/sqlite/RegistryFileProbe.hpp"
#include "vrex/internal/sqlite/SqliteDriver.hpp"

namespace vrex {

namespace {

using internal::RegistryFileProbe;

const char* refusalIdentifier(RegistryFileProbe::State state) {
    switch (state) {
        case RegistryFileProbe::State::Directory: return "vrex:open:isDirectory";
        case RegistryFileProbe::State::NotRegularFile: return "vrex:open:notAFile";
        case RegistryFileProbe::State::Unreadable: return "vrex:open:unreadable";
        case RegistryFileProbe::State::Truncated: return "vrex:open:truncated";
        default: return "vrex:open:notARegistry";
    }
}

// SQLite reads some names specially (":memory:", "file:" URIs); these always mean files here.
std::string plainFileName(const std::string& file) {
    if (file == ":memory:" || file.rfind("file:", 0) == 0) return "./" + file;
    return file;
}

// Reads SCM_BUSY_TIMEOUT_MS into `options`: a whole number of milliseconds from 0 to INT_MAX, or
// else its text in busyTimeoutError. Unset or empty leaves the default.
void busyTimeoutFromEnvironment(DataModelRepository::Options& options) {
    const char* text = std::getenv("SCM_BUSY_TIMEOUT_MS");
    if (text == nullptr || *text == '\0') return;
    long long value = 0;
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c < '0' || *c > '9' || value > INT_MAX) {
            value = -1;
            break;
        }
        value = value * 10 + (*c - '0');
    }
    if (value < 0 || value > INT_MAX) {
        options.busyTimeoutError = text;
    } else {
        options.busyTimeoutMs = static_cast<int>(value);
    }
}

std::string displayName(const std::string& location) {
    return DataModelRepository::printableName(location);
}

std::unique_ptr<internal::Driver> openPostgresDriver(const std::string& uri, const internal::Metamodel& metamodel,
                                                     const DataModelRepository::Options& options,
                                                     tvdiag::util::diagnostics& diagnostics) {
    std::string error;
    const internal::PostgresSupport* support = internal::postgresSupport(error);
    if (support == nullptr) {
        diagnostics.add("vrex:open:cannotConnect", "cannot open \"" + DataModelRepository::printableName(uri) +
                                                       "\": PostgreSQL support cannot be loaded: " + error);
        return nullptr;
    }
    return support->open(uri, metamodel, options, diagnostics);
}

// The driver for `location`: a PostgreSQL database for a postgresql:// or postgres:// URI, else
// a registry file, probed before SQLite touches it. Null with diagnostics when it cannot open.
std::unique_ptr<internal::Driver> openDriver(const std::string& location, const internal::Metamodel& metamodel,
                                             const DataModelRepository::Options& options,
                                             tvdiag::util::diagnostics& diagnostics) {
    if (internal::namesPostgresDatabase(location)) return openPostgresDriver(location, metamodel, options, diagnostics);
    const std::string path = plainFileName(location);
    RegistryFileProbe probe(path);
    const bool create = probe.state() == RegistryFileProbe::State::Absent ||
                        probe.state() == RegistryFileProbe::State::Empty;
    if (!create && probe.state() != RegistryFileProbe::State::Registry) {
        diagnostics.add(refusalIdentifier(probe.state()), probe.message());
        return nullptr;
    }
    if (create && options.readOnly) {
        diagnostics.add("vrex:open:notFound",
                        "cannot open \"" + location + "\" for reading: it is not a registry yet");
        return nullptr;
    }
    return internal::SqliteDriver::open(path, metamodel, options, create, diagnostics);
}

void reportClosed(tvdiag::util::diagnostics& diagnostics, const char* action) {
    diagnostics.add("vrex:notOpen", std::string("cannot ") + action + ": the repository is not open");
}

}  // namespace

std::string DataModelRepository::printableName(const std::string& location) {
    if (!internal::namesPostgresDatabase(location)) return location;
    std::string error;
    const internal::PostgresSupport* support = internal::postgresSupport(error);
    // Without the engine the URI cannot be read for its secrets: only its scheme shows.
    return support != nullptr ? support->redacted(location) : location.substr(0, location.find("://") + 3) + "***";
}

DataModelRepository::Options DataModelRepository::defaultOptions() {
    Options options;
    options.objectCodec = defaultObjectCodec();
    busyTimeoutFromEnvironment(options);
    return options;
}

DataModelRepository::DataModelRepository() = default;

DataModelRepository::~DataModelRepository() { close(); }

void DataModelRepository::open(const std::u16string& dictionaryFile, const std::u16string& metamodelFile,
                               const Options& options, tvdiag::util::diagnostics& diagnostics) {
    const std::string file = fromUtf16(dictionaryFile);
    if (session_) {
        diagnostics.add("vrex:open:alreadyOpen", "cannot open \"" + displayName(file) +
                                                     "\": the repository already has \"" +
                                                     session_->file() + "\" open");
        return;
    }
    if (file.empty()) {
        diagnostics.add("vrex:open:noFile", "cannot open a registry: the file name is empty");
        return;
    }
    if (!options.busyTimeoutError.empty()) {
        diagnostics.add("vrex:open:badBusyTimeout",
                        "cannot open \"" + displayName(file) + "\": SCM_BUSY_TIMEOUT_MS is \"" +
                            options.busyTimeoutError +
                            "\", not a whole number of milliseconds from 0 to " + std::to_string(INT_MAX));
        return;
    }
    auto metamodel = internal::MetamodelReader::read(fromUtf16(metamodelFile), diagnostics);
    if (!metamodel) return;
    std::unique_ptr<internal::Driver> driver = openDriver(file, *metamodel, options, diagnostics);
    if (!driver) return;
    session_ = std::make_shared<internal::RepositorySession>(std::move(driver), std::move(metamodel), options);
}

bool DataModelRepository::isOpen() const { return session_ != nullptr; }

const std::string& DataModelRepository::fileName() const {
    static const std::string none;
    return session_ ? session_->file() : none;
}

MetamodelRef DataModelRepository::metamodel(tvdiag::util::diagnostics& diagnostics) const {
    if (!session_) {
        reportClosed(diagnostics, "get the metamodel");
        return MetamodelRef();
    }
    return internal::RefAccess::metamodel(session_->metamodel());
}

void DataModelRepository::beginTransaction(tvdiag::util::diagnostics& diagnostics) {
    if (!session_) return reportClosed(diagnostics, "begin a transaction");
    session_->transactions().beginTransaction(diagnostics);
}

void DataModelRepository::commitTransaction(tvdiag::util::diagnostics& diagnostics) {
    if (!session_) return reportClosed(diagnostics, "commit");
    session_->transactions().commitTransaction(diagnostics);
}

void DataModelRepository::rollbackTransaction(tvdiag::util::diagnostics& diagnostics) {
    if (!session_) return reportClosed(diagnostics, "roll back");
    session_->transactions().rollbackTransaction(diagnostics);
}

bool DataModelRepository::isTransactionOpen() const {
    return session_ && session_->transactions().isTransactionOpen();
}

void DataModelRepository::performDictionaryFunction(
    const std::function<void(tvdiag::util::diagnostics&)>& fn, tvdiag::util::diagnostics& diagnostics) {
    if (!session_) return reportClosed(diagnostics, "run a dictionary function");
    std::shared_ptr<internal::RepositorySession> session = session_;  // fn may close the repository
    session->transactions().performDictionaryFunction(fn, diagnostics);
}

void DataModelRepository::performDictionaryRead(
    const std::function<void(tvdiag::util::diagnostics&)>& fn, tvdiag::util::diagnostics& diagnostics) {
    if (!session_) return reportClosed(diagnostics, "read the dictionary");
    std::shared_ptr<internal::RepositorySession> session = session_;  // fn may close the repository
    session->transactions().performDictionaryRead(fn, diagnostics);
}

ObjectRef DataModelRepository::createObject(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics) {
    if (!session_) {
        reportClosed(diagnostics, "create an object");
        return ObjectRef();
    }
    return session_->objects().createObject(cls, diagnostics);
}

void DataModelRepository::prepareLookUps(const ClassRef& cls, const PropertyRef& property,
                                         const std::vector<std::string>& values,
                                         tvdiag::util::diagnostics& diagnostics) {
    if (!session_) return reportClosed(diagnostics, "look objects up");
    session_->objects().prepareLookUps(cls, property, values, diagnostics);
}

void DataModelRepository::findObjects(const ClassRef& cls, const MatchConstraints& constraints,
                                      std::vector<ObjectRef>& result,
                                      tvdiag::util::diagnostics& diagnostics) {
    result.clear();
    if (!session_) return reportClosed(diagnostics, "find objects");
    session_->objects().findObjects(cls, constraints, result, diagnostics);
}

bool DataModelRepository::readFirstMatch(const ClassRef& cls, const PropertyRef& key, const std::string& value,
                                         const PropertyRef& property, std::optional<std::string>& text,
                                         tvdiag::util::diagnostics& diagnostics) {
    text.reset();
    if (!session_) {
        reportClosed(diagnostics, "find objects");
        return false;
    }
    return session_->objects().readFirstMatch(cls, key, value, property, text, diagnostics);
}

void DataModelRepository::setPropertyValue(const ObjectRef& object, const PropertyRef& property,
                                           const qaArray& value, tvdiag::util::diagnostics& diagnostics) {
    if (!session_) return reportClosed(diagnostics, "write a property");
    session_->objects().setPropertyValue(object, property, value, diagnostics);
}

qaArray DataModelRepository::getPropertyValue(const ObjectRef& object, const PropertyRef& property,
                                              tvdiag::util::diagnostics& diagnostics) {
    if (!session_) {
        reportClosed(diagnostics, "read a property");
        return qaArray();
    }
    return session_->objects().getPropertyValue(object, property, diagnostics);
}

void DataModelRepository::readStoredTexts(const ClassRef& cls, const std::vector<PropertyRef>& properties,
                                          std::int64_t afterId, std::size_t limit, std::vector<StoredObject>& result,
                                          tvdiag::util::diagnostics& diagnostics) {
    result.clear();
    if (!session_) return reportClosed(diagnostics, "read the objects");
    session_->objects().readStoredTexts(cls, properties, afterId, limit, result, diagnostics);
}

std::int64_t DataModelRepository::largestObjectId(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics) {
    if (!session_) {
        reportClosed(diagnostics, "read the objects");
        return -1;
    }
    return session_->objects().largestObjectId(cls, diagnostics);
}

void DataModelRepository::findRepeatedValues(const ClassRef& cls, const PropertyRef& property,
                                             std::vector<std::string>& values,
                                             tvdiag::util::diagnostics& diagnostics) {
    values.clear();
    if (!session_) return reportClosed(diagnostics, "search the objects");
    session_->objects().findRepeatedValues(cls, property, values, diagnostics);
}

void DataModelRepository::deleteObject(const ObjectRef& object, tvdiag::util::diagnostics& diagnostics) {
    if (!session_) return reportClosed(diagnostics, "delete an object");
    session_->objects().deleteObject(object, diagnostics);
}

void DataModelRepository::checkIntegrity(tvdiag::util::diagnostics& diagnostics, IntegrityScope scope) {
    if (!session_) return reportClosed(diagnostics, "check the file");
    session_->checkIntegrity(diagnostics, scope == IntegrityScope::Full);
}

bool DataModelRepository::holdsClass(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics) {
    if (!session_) {
        reportClosed(diagnostics, "inspect the file");
        return false;
    }
    return session_->holdsClass(cls, diagnostics);
}

void DataModelRepository::close() {
    if (!session_) return;
    session_->close();
    session_.reset();
}

}  // namespace vrex

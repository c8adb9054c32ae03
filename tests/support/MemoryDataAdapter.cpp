#include "support/MemoryDataAdapter.hpp"

namespace scmtest {

using namespace SCM;

MemoryDataAdapter::MemoryDataAdapter(bool exists) { setExists(exists); }

MemoryDataAdapter::~MemoryDataAdapter() = default;

MemoryDataAdapter::Entry* MemoryDataAdapter::find(SCMTypes type, const std::string& checksum) {
    for (Entry& entry : stored_) {
        if (entry.identity->getType() == type && entry.identity->getChecksum() == checksum) {
            return &entry;
        }
    }
    return nullptr;
}

const MemoryDataAdapter::Entry* MemoryDataAdapter::findByName(const std::vector<Entry>& entries,
                                                              SCMTypes type,
                                                              const std::string& name) const {
    for (const Entry& entry : entries) {
        if (entry.identity->getType() == type && entry.data->getName() == name) return &entry;
    }
    return nullptr;
}

SCMData* MemoryDataAdapter::getValue(SCMIdentity* identity) {
    log("getValue");
    if (identity == nullptr) return nullptr;
    Entry* entry = find(identity->getType(), identity->getChecksum());
    return entry == nullptr ? nullptr : entry->data->clone();
}

void MemoryDataAdapter::getAllIdentityValues(SCMTypes type, std::vector<SCMIdentity*>& out) {
    log("getAllIdentityValues");
    for (const Entry& entry : stored_) {
        if (entry.identity->getType() == type) out.push_back(entry.identity->clone());
    }
}

void MemoryDataAdapter::getAllDataValues(SCMTypes type, std::vector<SCMData*>& out) {
    log("getAllDataValues");
    for (const Entry& entry : stored_) {
        if (entry.identity->getType() == type) out.push_back(entry.data->clone());
    }
}

SCMRegistry MemoryDataAdapter::cacheValue(SCMIdentity* identity, SCMData* data) {
    log("cacheValue");
    if (identity == nullptr || data == nullptr) return IS_EMPTY;
    cached_.push_back(
        {std::unique_ptr<SCMIdentity>(identity->clone()), std::unique_ptr<SCMData>(data->clone())});
    return WILL_BE_REGISTERED;
}

SCMRegistry MemoryDataAdapter::insertValueInTransaction(SCMIdentity* identity, SCMData* data) {
    log("insertValueInTransaction");
    return insert(identity, data);
}

void MemoryDataAdapter::insertValue(SCMIdentity* identity, SCMData* data, SCMRegistry& outcome,
                                    tvdiag::util::diagnostics&) {
    log("insertValue");
    outcome = insert(identity, data);
}

// Create or merge, like the dictionary backend.
SCMRegistry MemoryDataAdapter::insert(SCMIdentity* identity, SCMData* data) {
    if (identity == nullptr || data == nullptr) return IS_EMPTY;
    if (Entry* present = find(identity->getType(), identity->getChecksum())) {
        return present->data->update(data);
    }
    stored_.push_back(
        {std::unique_ptr<SCMIdentity>(identity->clone()), std::unique_ptr<SCMData>(data->clone())});
    return IS_REGISTERED;
}

bool MemoryDataAdapter::beginTransaction() {
    log("beginTransaction");
    return true;
}

bool MemoryDataAdapter::endTransaction() {
    log("endTransaction");
    return true;
}

SCMRegistry MemoryDataAdapter::finalize() {
    log("finalize");
    std::vector<Entry> pending = std::move(cached_);
    cached_.clear();
    for (Entry& entry : pending) insert(entry.identity.get(), entry.data.get());
    return IS_REGISTERED;
}

SCMIdentityDataPair MemoryDataAdapter::getIdentityAndDataFromName(SCMTypes type,
                                                                  const std::string& name) {
    log("getIdentityAndDataFromName");
    const Entry* entry = findByName(stored_, type, name);
    if (entry == nullptr) return {nullptr, nullptr};
    return {entry->identity->clone(), entry->data->clone()};
}

SCMIdentity* MemoryDataAdapter::getIdentityFromName(SCMTypes type, const std::string& name) {
    log("getIdentityFromName");
    const Entry* entry = findByName(stored_, type, name);
    return entry == nullptr ? nullptr : entry->identity->clone();
}

SCMData* MemoryDataAdapter::getDataFromName(SCMTypes type, const std::string& name) {
    log("getDataFromName");
    if (const Entry* cached = findByName(cached_, type, name)) return cached->data.get();
    const Entry* entry = findByName(stored_, type, name);
    return entry == nullptr ? nullptr : entry->data->clone();
}

bool MemoryDataAdapter::isBackendOwned(const SCMData* data) const {
    for (const Entry& entry : cached_) {
        if (entry.data.get() == data) return true;
    }
    return false;
}

}  // namespace scmtest

#pragma once

// A storage backend that keeps entries in memory, for testing the facades without a dictionary.
// It merges like the real backend (create, or update the stored record and keep the result), logs
// every call it receives, and hands out fresh clones that the caller owns.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "SCMDataAdapter.hpp"

class InMemoryDataAdapter : public SCM::SCMDataAdapter {
public:
    explicit InMemoryDataAdapter(bool exists = true) { setExists(exists); }

    std::vector<std::string> calls;  // operation names, in call order
    std::size_t size() const { return entries_.size(); }

    SCM::SCMData* getValue(SCM::SCMIdentity* identity) override {
        calls.push_back("getValue");
        Entry* entry = find(identity);
        return entry != nullptr ? entry->data->clone() : nullptr;
    }

    void getAllIdentityValues(SCM::SCMTypes type, std::vector<SCM::SCMIdentity*>& out) override {
        calls.push_back("getAllIdentityValues");
        for (Entry& entry : entries_) {
            if (entry.identity->getType() == type) out.push_back(entry.identity->clone());
        }
    }

    void getAllDataValues(SCM::SCMTypes type, std::vector<SCM::SCMData*>& out) override {
        calls.push_back("getAllDataValues");
        for (Entry& entry : entries_) {
            if (entry.identity->getType() == type) out.push_back(entry.data->clone());
        }
    }

    bool beginTransaction() override { return false; }
    bool endTransaction() override { return false; }

    SCM::SCMRegistry cacheValue(SCM::SCMIdentity*, SCM::SCMData*) override {
        calls.push_back("cacheValue");
        return SCM::WILL_BE_REGISTERED;
    }

    SCM::SCMRegistry insertValueInTransaction(SCM::SCMIdentity* identity,
                                              SCM::SCMData* data) override {
        calls.push_back("insertValueInTransaction");
        SCM::SCMRegistry outcome = SCM::IS_TRANSACTION_ERROR;
        auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
        insertValue(identity, data, outcome, diagnostics);
        return outcome;
    }

    void insertValue(SCM::SCMIdentity* identity, SCM::SCMData* data, SCM::SCMRegistry& outcome,
                     tvdiag::util::diagnostics&) override {
        if (identity == nullptr || data == nullptr) {
            outcome = SCM::IS_EMPTY;
            return;
        }
        if (Entry* entry = find(identity)) {
            outcome = entry->data->update(data);
            return;
        }
        entries_.push_back({std::unique_ptr<SCM::SCMIdentity>(identity->clone()),
                            std::unique_ptr<SCM::SCMData>(data->clone())});
        outcome = SCM::IS_REGISTERED;
    }

    SCM::SCMRegistry finalize() override {
        calls.push_back("finalize");
        return SCM::SCMDataAdapter::finalize();
    }

    SCM::SCMIdentityDataPair getIdentityAndDataFromName(SCM::SCMTypes type,
                                                        const std::string& name) override {
        calls.push_back("getIdentityAndDataFromName");
        Entry* entry = findByName(type, name);
        if (entry == nullptr) return {nullptr, nullptr};
        return {entry->identity->clone(), entry->data->clone()};
    }

    SCM::SCMIdentity* getIdentityFromName(SCM::SCMTypes type, const std::string& name) override {
        calls.push_back("getIdentityFromName");
        Entry* entry = findByName(type, name);
        return entry != nullptr ? entry->identity->clone() : nullptr;
    }

    SCM::SCMData* getDataFromName(SCM::SCMTypes type, const std::string& name) override {
        calls.push_back("getDataFromName");
        Entry* entry = findByName(type, name);
        return entry != nullptr ? entry->data->clone() : nullptr;
    }

private:
    struct Entry {
        std::unique_ptr<SCM::SCMIdentity> identity;
        std::unique_ptr<SCM::SCMData> data;
    };

    Entry* find(SCM::SCMIdentity* identity) {
        if (identity == nullptr) return nullptr;
        for (Entry& entry : entries_) {
            if (entry.identity->getType() == identity->getType() &&
                entry.identity->getChecksum() == identity->getChecksum()) {
                return &entry;
            }
        }
        return nullptr;
    }

    Entry* findByName(SCM::SCMTypes type, const std::string& name) {
        for (Entry& entry : entries_) {
            if (entry.identity->getType() == type && entry.data->getName() == name) return &entry;
        }
        return nullptr;
    }

    std::vector<Entry> entries_;
};

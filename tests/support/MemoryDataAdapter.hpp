#pragma once

#include <memory>
#include <string>
#include <vector>

#include "SCMDataAdapter.hpp"

namespace scmtest {

// A storage backend that keeps entries in memory, to drive the facades without a dictionary.
// Entries are matched by category and checksum and merged through SCMData::update, like the
// dictionary does. cacheValue() queues clones in a write cache that finalize() writes.
// Retrieval hands out fresh clones (the caller owns them), except getDataFromName for an entry
// still in the cache: that is the cache's own copy (isBackendOwned).
class MemoryDataAdapter : public SCM::SCMDataAdapter {
public:
    // `exists` false makes a backend whose store does not exist.
    explicit MemoryDataAdapter(bool exists = true);
    ~MemoryDataAdapter() override;

    SCM::SCMData* getValue(SCM::SCMIdentity* identity) override;
    void getAllIdentityValues(SCM::SCMTypes type, std::vector<SCM::SCMIdentity*>& out) override;
    void getAllDataValues(SCM::SCMTypes type, std::vector<SCM::SCMData*>& out) override;
    bool beginTransaction() override;
    bool endTransaction() override;
    SCM::SCMRegistry cacheValue(SCM::SCMIdentity* identity, SCM::SCMData* data) override;
    SCM::SCMRegistry insertValueInTransaction(SCM::SCMIdentity* identity,
                                              SCM::SCMData* data) override;
    void insertValue(SCM::SCMIdentity* identity, SCM::SCMData* data, SCM::SCMRegistry& outcome,
                     tvdiag::util::diagnostics& diagnostics) override;
    SCM::SCMRegistry finalize() override;
    SCM::SCMIdentityDataPair getIdentityAndDataFromName(SCM::SCMTypes type,
                                                        const std::string& name) override;
    SCM::SCMIdentity* getIdentityFromName(SCM::SCMTypes type, const std::string& name) override;
    SCM::SCMData* getDataFromName(SCM::SCMTypes type, const std::string& name) override;
    bool isBackendOwned(const SCM::SCMData* data) const override;

    std::size_t storedCount() const { return stored_.size(); }
    // The names of the backend operations called so far, in order (not the ones the backend calls
    // on itself).
    std::vector<std::string> calls;
    std::size_t cachedCount() const { return cached_.size(); }

private:
    void log(const char* operation) { calls.emplace_back(operation); }
    SCM::SCMRegistry insert(SCM::SCMIdentity* identity, SCM::SCMData* data);

    struct Entry {
        std::unique_ptr<SCM::SCMIdentity> identity;
        std::unique_ptr<SCM::SCMData> data;
    };

    Entry* find(SCM::SCMTypes type, const std::string& checksum);
    const Entry* findByName(const std::vector<Entry>& entries, SCM::SCMTypes type,
                            const std::string& name) const;

    std::vector<Entry> stored_;
    std::vector<Entry> cached_;
};

}  // namespace scmtest

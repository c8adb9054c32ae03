#pragma once

// A storage backend that stores nothing and logs each operation called on it: for the facade
// tests that only ask which backend operations a call reaches. Writes answer IS_REGISTERED
// (WILL_BE_REGISTERED when cached), reads find nothing.

#include <string>
#include <vector>

#include "SCMDataAdapter.hpp"

namespace scm_test {

class LoggingDataAdapter : public SCM::SCMDataAdapter {
    using Identity = SCM::SCMIdentity;
    using Data = SCM::SCMData;
    using Types = SCM::SCMTypes;

public:
    // `exists` false makes a backend whose store does not exist; `*destroyed` (when given) is set
    // by the destructor.
    explicit LoggingDataAdapter(bool exists = true, bool* destroyed = nullptr) : destroyed_(destroyed) {
        setExists(exists);
    }
    ~LoggingDataAdapter() override {
        if (destroyed_ != nullptr) *destroyed_ = true;
    }

    std::vector<std::string> calls;  // operation names, in call order

    Data* getValue(Identity*) override { return log("getValue", nullptr); }
    void getAllIdentityValues(Types, std::vector<Identity*>&) override { log("getAllIdentityValues", 0); }
    void getAllDataValues(Types, std::vector<Data*>&) override { log("getAllDataValues", 0); }
    bool beginTransaction() override { return log("beginTransaction", true); }
    bool endTransaction() override { return log("endTransaction", true); }
    SCM::SCMRegistry cacheValue(Identity*, Data*) override { return log("cacheValue", SCM::WILL_BE_REGISTERED); }
    SCM::SCMRegistry insertValueInTransaction(Identity*, Data*) override {
        return log("insertValueInTransaction", SCM::IS_REGISTERED);
    }
    void insertValue(Identity*, Data*, SCM::SCMRegistry& outcome, tvdiag::util::diagnostics&) override {
        outcome = log("insertValue", SCM::IS_REGISTERED);
    }
    SCM::SCMRegistry finalize() override { return log("finalize", SCM::IS_REGISTERED); }
    SCM::SCMIdentityDataPair getIdentityAndDataFromName(Types, const std::string&) override {
        return log("getIdentityAndDataFromName", SCM::SCMIdentityDataPair{nullptr, nullptr});
    }
    Identity* getIdentityFromName(Types, const std::string&) override { return log("getIdentityFromName", nullptr); }
    Data* getDataFromName(Types, const std::string&) override { return log("getDataFromName", nullptr); }

private:
    template <typename T>
    T log(const char* operation, T answer) {
        calls.emplace_back(operation);
        return answer;
    }

    bool* destroyed_;
};

}  // namespace scm_test

#pragma once

#include <string>

#include "SCMExport.hpp"
#include "SCMRegistry.hpp"
#include "kobj/Handle.hpp"

namespace SCM {

// The value of a registry entry: a named record that merges a newly registered record of the
// same entry into itself by its class's rule (update).
class SCM_EXPORT SCMData : public tv::mi::Handle {
public:
    SCMData();
    explicit SCMData(const std::string& name);
    SCMData(const SCMData& other);
    SCMData& operator=(const SCMData&) = default;
    ~SCMData() override;

    const char* getFullyQualifiedKobjTypeName() const override;

    // Merges `newer` (the record offered for an entry that is already stored) into this stored
    // record. IS_PRESENT_UPDATE: merged, write this record back; IS_PRESENT_ERROR: refused, keep
    // this record as it was. `newer` stays the caller's. The base accepts everything and changes
    // nothing.
    virtual SCMRegistry update(SCMData* newer);
    // A new copy of this record; the caller owns it.
    virtual SCMData* clone() const;
    // Always true.
    virtual bool isAbstract() const;

    const std::string& getName() const;
    void setName(std::string name);

private:
    std::string name_;
};

}  // namespace SCM

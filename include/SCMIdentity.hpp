#pragma once

#include <string>

#include "SCMExport.hpp"
#include "SCMTypes.hpp"
#include "kobj/Handle.hpp"

namespace SCM {

// The key of a registry entry: a category and a checksum text computed from the concrete class's
// key fields. The checksum is computed on first read and kept; copies never carry it.
class SCM_EXPORT SCMIdentity : public tv::mi::Handle {
public:
    SCMIdentity();                        // category SCM_UTILITIES
    explicit SCMIdentity(SCMTypes type);  // category `type`
    // Takes the category (through other.getType()); the checksum starts empty and uncomputed.
    SCMIdentity(const SCMIdentity& other);
    SCMIdentity& operator=(const SCMIdentity&) = delete;
    ~SCMIdentity() override;

    const char* getFullyQualifiedKobjTypeName() const override;

    virtual bool isComputedChecksum() const;
    // Computes the checksum text from the key fields and stores it through setChecksum();
    // does nothing when the checksum is already computed.
    virtual void computeChecksum() = 0;
    virtual SCMTypes getType() const;
    // Stores the category; the computed flag is left as it is.
    virtual void setType(SCMTypes type);
    // The checksum text, computed now if it is not yet.
    virtual const std::string& getChecksum();
    // Stores `text` as the checksum and marks it computed.
    virtual void setChecksum(std::string text);
    // A new copy of the concrete identity, uncomputed; the caller owns it.
    virtual SCMIdentity* clone() const = 0;
    // The category's text; "SCM_NUM" for 4 and for any invalid value.
    virtual std::string getTypeString() const;
    // Always true.
    virtual bool isAbstract() const;

protected:
    // Makes the next getChecksum() compute the text again (for setters of key fields).
    void invalidateChecksum();

private:
    SCMTypes type_;
    std::string checksum_;
    bool checksumComputed_;
};

}  // namespace SCM

#pragma once

#include "SCMIdentity.hpp"

namespace SCM {

// Key of a shared function (category SCM_SHARED_FUNCTIONS): four 32-bit checksum elements
// supplied by the code generator. The element setters do not reset a computed checksum: once
// read or set, getChecksum() keeps answering the same text (clone to recompute).
class SCM_EXPORT SCMSharedFunctionIdentity : public SCMIdentity {
public:
    SCMSharedFunctionIdentity();
    SCMSharedFunctionIdentity(unsigned int e1, unsigned int e2, unsigned int e3, unsigned int e4);
    SCMSharedFunctionIdentity(const SCMSharedFunctionIdentity& other);
    ~SCMSharedFunctionIdentity() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    void computeChecksum() override;
    SCMIdentity* clone() const override;

    unsigned int getChecksumElement1() const;
    unsigned int getChecksumElement2() const;
    unsigned int getChecksumElement3() const;
    unsigned int getChecksumElement4() const;
    void setChecksumElement1(unsigned int value);
    void setChecksumElement2(unsigned int value);
    void setChecksumElement3(unsigned int value);
    void setChecksumElement4(unsigned int value);

private:
    unsigned int element1_ = 0;
    unsigned int element2_ = 0;
    unsigned int element3_ = 0;
    unsigned int element4_ = 0;
};

}  // namespace SCM

#pragma once

#include "SCMIdentity.hpp"

namespace SCM {

// Abstract key of shared types, data and constants: four 32-bit checksum elements, hashed exactly
// as SCMSharedFunctionIdentity hashes them. The subclasses fix the category. The element setters
// do not reset a computed checksum.
class SCM_EXPORT SCMSharedTypesDataConstantsIdentity : public SCMIdentity {
public:
    explicit SCMSharedTypesDataConstantsIdentity(SCMTypes type);
    SCMSharedTypesDataConstantsIdentity(unsigned int e1, unsigned int e2, unsigned int e3,
                                        unsigned int e4, SCMTypes type);
    SCMSharedTypesDataConstantsIdentity(const SCMSharedTypesDataConstantsIdentity& other);
    ~SCMSharedTypesDataConstantsIdentity() override = 0;

    const char* getFullyQualifiedKobjTypeName() const override;
    void computeChecksum() override;
    SCMIdentity* clone() const override = 0;
    bool isAbstract() const override;

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

#include "SCMSharedData.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SCMSharedData::SCMSharedData() = default;

SCMSharedData::SCMSharedData(const std::string& name) : SCMSharedTypesDataConstantsData(name) {}

SCMSharedData::SCMSharedData(const SCMSharedData& other)
    : SCMSharedTypesDataConstantsData(other), aliasedType_(other.aliasedType_),
      cscComment_(other.cscComment_), cscName_(other.cscName_),
      memSecAddPragma_(other.memSecAddPragma_), memSecComment_(other.memSecComment_),
      memSecName_(other.memSecName_), memSecPostPragma_(other.memSecPostPragma_),
      memSecPrePragma_(other.memSecPrePragma_), packageName_(other.packageName_) {}

SCMSharedData::~SCMSharedData() = default;

const char* SCMSharedData::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedData";
}

SCMData* SCMSharedData::clone() const { return new SCMSharedData(*this); }

const std::string& SCMSharedData::getAliasedType() const { return aliasedType_; }
void SCMSharedData::setAliasedType(const std::string& aliasedType) { aliasedType_ = aliasedType; }
const std::string& SCMSharedData::getCscComment() const { return cscComment_; }
void SCMSharedData::setCscComment(const std::string& cscComment) { cscComment_ = cscComment; }
const std::string& SCMSharedData::getCscName() const { return cscName_; }
void SCMSharedData::setCscName(const std::string& cscName) { cscName_ = cscName; }
int SCMSharedData::getMemSecAddPragma() const { return memSecAddPragma_; }
void SCMSharedData::setMemSecAddPragma(int value) { memSecAddPragma_ = value; }
const std::string& SCMSharedData::getMemSecComment() const { return memSecComment_; }
void SCMSharedData::setMemSecComment(const std::string& text) { memSecComment_ = text; }
const std::string& SCMSharedData::getMemSecName() const { return memSecName_; }
void SCMSharedData::setMemSecName(const std::string& memSecName) { memSecName_ = memSecName; }
int SCMSharedData::getMemSecPostPragma() const { return memSecPostPragma_; }
void SCMSharedData::setMemSecPostPragma(int value) { memSecPostPragma_ = value; }
int SCMSharedData::getMemSecPrePragma() const { return memSecPrePragma_; }
void SCMSharedData::setMemSecPrePragma(int value) { memSecPrePragma_ = value; }
const std::string& SCMSharedData::getPackageName() const { return packageName_; }
void SCMSharedData::setPackageName(const std::string& packageName) { packageName_ = packageName; }

// Publishes "SharedCodeManager.SharedData"; the storage-class fields as "CSCComment" and "CSCName".
void publishSCMSharedData(kobj::factory::ClassBuilder& builder) {
    using Self = SCMSharedData;
    const char* text = kobj::types::kCharVector;
    const char* number = kobj::types::kInt32Scalar;
    const auto none = kobj::attributes::kNone;
    kobj::factory::TypedClassBuilder<Self> data(builder);
    data.addSuperclass("SharedCodeManager.SharedTypesDataConstantsData");
    data.addConstructor<std::string>({kobj::types::kChar});
    data.addConstructor<>({});
    data.addProperty("AliasedType", text, none, &Self::getAliasedType, &Self::setAliasedType);
    data.addProperty("CSCComment", text, none, &Self::getCscComment, &Self::setCscComment);
    data.addProperty("CSCName", text, none, &Self::getCscName, &Self::setCscName);
    data.addProperty("MemSecComment", text, none, &Self::getMemSecComment, &Self::setMemSecComment);
    data.addProperty("MemSecName", text, none, &Self::getMemSecName, &Self::setMemSecName);
    data.addProperty("PackageName", text, none, &Self::getPackageName, &Self::setPackageName);
    data.addProperty("MemSecAddPragma", number, none, &Self::getMemSecAddPragma,
                     &Self::setMemSecAddPragma);
    data.addProperty("MemSecPostPragma", number, none, &Self::getMemSecPostPragma,
                     &Self::setMemSecPostPragma);
    data.addProperty("MemSecPrePragma", number, none, &Self::getMemSecPrePragma,
                     &Self::setMemSecPrePragma);
}

}  // namespace SCM

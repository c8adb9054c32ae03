#include "SCMSharedFunctionData.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SCMSharedFunctionData::SCMSharedFunctionData() = default;

SCMSharedFunctionData::SCMSharedFunctionData(const std::string& functionName,
                                             const std::string& fileName)
    : functionName_(functionName), fileName_(fileName) {}

SCMSharedFunctionData::SCMSharedFunctionData(const SCMSharedFunctionData& other)
    : SCMData(other), functionName_(other.functionName_), fileName_(other.fileName_) {}

SCMSharedFunctionData::~SCMSharedFunctionData() = default;

const char* SCMSharedFunctionData::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedFunctionData";
}

// The file name is neither compared nor taken over.
SCMRegistry SCMSharedFunctionData::update(SCMData* newer) {
    const auto* other = dynamic_cast<const SCMSharedFunctionData*>(newer);
    if (other == nullptr || getFunctionName() != other->getFunctionName()) return IS_PRESENT_ERROR;
    return IS_PRESENT_UPDATE;
}

SCMData* SCMSharedFunctionData::clone() const { return new SCMSharedFunctionData(*this); }

const std::string& SCMSharedFunctionData::getFunctionName() const { return functionName_; }

void SCMSharedFunctionData::setFunctionName(const std::string& functionName) {
    functionName_ = functionName;
}

const std::string& SCMSharedFunctionData::getFileName() const { return fileName_; }

void SCMSharedFunctionData::setFileName(const std::string& fileName) { fileName_ = fileName; }

// Publishes "SharedCodeManager.SharedFunctionData".
void publishSCMSharedFunctionData(kobj::factory::ClassBuilder& builder) {
    using Self = SCMSharedFunctionData;
    kobj::factory::TypedClassBuilder<Self> data(builder);
    data.addSuperclass("SharedCodeManager.Data");
    data.addConstructor<std::string, std::string>({kobj::types::kChar, kobj::types::kChar});
    data.addConstructor<>({});
    data.addProperty("FunctionName", kobj::types::kCharVector, kobj::attributes::kNone,
                     &Self::getFunctionName, &Self::setFunctionName);
    data.addProperty("FileName", kobj::types::kCharVector, kobj::attributes::kNone,
                     &Self::getFileName, &Self::setFileName);
}

}  // namespace SCM

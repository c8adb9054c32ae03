#include "SCMSharedConstantsData.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SCMSharedConstantsData::SCMSharedConstantsData() = default;

SCMSharedConstantsData::SCMSharedConstantsData(const std::string& name)
    : SCMSharedTypesDataConstantsData(name) {}

SCMSharedConstantsData::SCMSharedConstantsData(const SCMSharedConstantsData& other)
    : SCMSharedTypesDataConstantsData(other), initialString_(other.initialString_),
      paramPrefix_(other.paramPrefix_), width_(other.width_), dataType_(other.dataType_),
      complex_(other.complex_), multiword_(other.multiword_), doUpdate_(other.doUpdate_) {}

SCMSharedConstantsData::~SCMSharedConstantsData() = default;

const char* SCMSharedConstantsData::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedConstantsData";
}

// A registered constant is only ever switched on for generation, never off. A record of another
// class switches nothing.
SCMRegistry SCMSharedConstantsData::update(SCMData* newer) {
    const auto* other = dynamic_cast<const SCMSharedConstantsData*>(newer);
    if (other != nullptr && !getDoUpdate() && other->getDoUpdate()) setDoUpdate(true);
    return IS_PRESENT_UPDATE;
}

SCMData* SCMSharedConstantsData::clone() const { return new SCMSharedConstantsData(*this); }

const std::string& SCMSharedConstantsData::getInitialString() const { return initialString_; }
void SCMSharedConstantsData::setInitialString(const std::string& text) { initialString_ = text; }
const std::string& SCMSharedConstantsData::getParamPrefix() const { return paramPrefix_; }
void SCMSharedConstantsData::setParamPrefix(const std::string& prefix) { paramPrefix_ = prefix; }
const std::string& SCMSharedConstantsData::getWidth() const { return width_; }
void SCMSharedConstantsData::setWidth(const std::string& width) { width_ = width; }
const std::string& SCMSharedConstantsData::getDataType() const { return dataType_; }
void SCMSharedConstantsData::setDataType(const std::string& dataType) { dataType_ = dataType; }
bool SCMSharedConstantsData::getComplex() const { return complex_; }
void SCMSharedConstantsData::setComplex(bool complex) { complex_ = complex; }
bool SCMSharedConstantsData::getMultiword() const { return multiword_; }
void SCMSharedConstantsData::setMultiword(bool multiword) { multiword_ = multiword; }
bool SCMSharedConstantsData::getDoUpdate() const { return doUpdate_; }
void SCMSharedConstantsData::setDoUpdate(bool doUpdate) { doUpdate_ = doUpdate; }

// Publishes "SharedCodeManager.SharedConstantsData", with the names "ParameterPrefix", "IsComplex",
// "IsMultiword" and "GenerateConstant" for the fields ParamPrefix, Complex, Multiword, DoUpdate.
void publishSCMSharedConstantsData(kobj::factory::ClassBuilder& builder) {
    using Self = SCMSharedConstantsData;
    const char* text = kobj::types::kCharVector;
    const char* flag = kobj::types::kLogicalScalar;
    const auto none = kobj::attributes::kNone;
    kobj::factory::TypedClassBuilder<Self> data(builder);
    data.addSuperclass("SharedCodeManager.SharedTypesDataConstantsData");
    data.addConstructor<std::string>({kobj::types::kChar});
    data.addConstructor<>({});
    data.addProperty("InitialString", text, none, &Self::getInitialString, &Self::setInitialString);
    data.addProperty("ParameterPrefix", text, none, &Self::getParamPrefix, &Self::setParamPrefix);
    data.addProperty("Width", text, none, &Self::getWidth, &Self::setWidth);
    data.addProperty("DataType", text, none, &Self::getDataType, &Self::setDataType);
    data.addProperty("IsComplex", flag, none, &Self::getComplex, &Self::setComplex);
    data.addProperty("IsMultiword", flag, none, &Self::getMultiword, &Self::setMultiword);
    data.addProperty("GenerateConstant", flag, none, &Self::getDoUpdate, &Self::setDoUpdate);
}

}  // namespace SCM

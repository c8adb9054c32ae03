#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "SCMData.hpp"
#include "SCMIdentity.hpp"
#include "SCMModuleEntry.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/Conversions.hpp"
#include "kobj/EncodingReader.hpp"
#include "kobj/ObjectAccess.hpp"
#include "kobj/ObjectEncoding.hpp"

namespace {

const std::vector<std::string> kConcreteClasses = {
    "SharedCodeManager.GenericIdentity",
    "SharedCodeManager.BasicUtilityIdentity",
    "SharedCodeManager.SharedFunctionIdentity",
    "SharedCodeManager.SharedConstantsIdentity",
    "SharedCodeManager.SharedTypesIdentity",
    "SharedCodeManager.SharedDataIdentity",
    "SharedCodeManager.Data",
    "SharedCodeManager.GenericData",
    "SharedCodeManager.BasicUtilityData",
    "SharedCodeManager.SharedFunctionData",
    "SharedCodeManager.MultiWordFcnData",
    "SharedCodeManager.SharedTypesData",
    "SharedCodeManager.SharedData",
    "SharedCodeManager.SharedConstantsData",
};

const std::vector<std::string> kCategories = {
    "SCM_UTILITIES", "SCM_SHARED_FUNCTIONS", "SCM_SHARED_TYPES",    "SCM_OTHER",
    "SCM_NUM",       "SCM_SHARED_DATA",      "SCM_SHARED_CONSTANTS"};
const std::vector<std::string> kKinds = {"SCM_SHARED_OTHERS", "SCM_SHARED_TYPES",
                                         "SCM_SHARED_DATA_MACRO", "SCM_SHARED_DATA_DECLARATION",
                                         "SCM_SHARED_DATA_DEFINITION"};

// Random values for every property type, weighted towards the awkward bytes: NUL, controls, quotes,
// backslashes and bytes that are not UTF-8.
class RandomValues {
public:
    explicit RandomValues(unsigned seed) : engine_(seed) {}

    std::string bytes() {
        std::string text(pick(24), '\0');
        for (char& c : text)
            c = static_cast<char>(pick(4) == 0 ? "\0\"\\\n\xff\x80"[pick(6)] : pick(256));
        return text;
    }
    std::size_t pick(std::size_t bound) {
        return std::uniform_int_distribution<std::size_t>(0, bound - 1)(engine_);
    }
    std::uint32_t word() { return std::uniform_int_distribution<std::uint32_t>()(engine_); }

    qaArray valueFor(const kobj::COSPropInfo& property) {
        if (property.name() == "Type")
            return qaArray::fromText(kCategories[pick(kCategories.size())]);
        if (property.name() == "Kind") return qaArray::fromText(kKinds[pick(kKinds.size())]);
        switch (kobj::categoryOf(property.typeText())) {
            case kobj::TypeCategory::Text: return qaArray::fromText(bytes());
            case kobj::TypeCategory::Logical: return qaArray::fromLogical(pick(2) == 1);
            case kobj::TypeCategory::UInt32: return qaArray::fromUInt32(word());
            case kobj::TypeCategory::Int32:
                return qaArray::fromInt32(static_cast<std::int32_t>(word()));
            case kobj::TypeCategory::Cell: {
                std::vector<std::string> texts(pick(5));
                for (std::string& text : texts) text = bytes();
                return kobj::textListValue(texts);
            }
            default: return qaArray();
        }
    }

private:
    std::mt19937 engine_;
};

qaArray newObject(const std::string& className) {
    const kobj::ClassRecord& record = kobj::ClassRegistry::instance().getClass(className);
    std::vector<qaArray> arguments;
    for (const std::string& type : record.restoringConstructor()->signature().arguments) {
        arguments.push_back(kobj::neutralValue(type));
    }
    return kobj::construct(className, arguments);
}

// An object of `className` with every settable property random; the checksum of identities is
// sometimes stored over the computed one, as a dictionary does when it reloads an entry.
qaArray randomObject(const std::string& className, RandomValues& random) {
    qaArray object = newObject(className);
    for (const kobj::COSPropInfo* property : kobj::classOf(object).allProperties()) {
        if (!property->isReadOnly())
            kobj::setProperty(object, property->name(), random.valueFor(*property));
    }
    if (kobj::classOf(object).findProperty("Checksum") != nullptr && random.pick(2) == 0) {
        kobj::setProperty(object, "Checksum", qaArray::fromText(random.bytes()));
    }
    return object;
}

class ObjectEncodingTest : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override { HxInitialize_shared_code_manager(); }
};

TEST_P(ObjectEncodingTest, RandomObjectsComeBackEqualAndOfTheirConcreteClass) {
    RandomValues random(std::hash<std::string>()(GetParam()));
    for (int round = 0; round < 40; ++round) {
        const qaArray original = randomObject(GetParam(), random);
        const std::string text = kobj::encodeObject(original);
        const qaArray copy = kobj::decodeObject(text);
        ASSERT_EQ(copy.numel(), 1u) << text;
        EXPECT_NE(copy.object(0), original.object(0));
        EXPECT_EQ(kobj::classOf(copy).name(), GetParam());
        EXPECT_EQ(kobj::encodeObject(copy), text) << "every settable property read back";
        if (auto* identity = dynamic_cast<SCM::SCMIdentity*>(copy.object(0))) {
            EXPECT_EQ(identity->getChecksum(),
                      dynamic_cast<SCM::SCMIdentity*>(original.object(0))->getChecksum());
        } else {
            std::unique_ptr<SCM::SCMData> clone(
                dynamic_cast<SCM::SCMData*>(original.object(0))->clone());
            EXPECT_EQ(kobj::encodeObject(clone->toScriptValue()), text) << "a clone is equal";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(ConcreteClasses, ObjectEncodingTest, ::testing::ValuesIn(kConcreteClasses),
                         [](const auto& info) {
                             return info.param.substr(info.param.find('.') + 1);
                         });

class ObjectDecodingTest : public ::testing::Test {
protected:
    void SetUp() override { HxInitialize_shared_code_manager(); }
};

TEST_F(ObjectDecodingTest, TheEncodingIsReadableAscii) {
    const qaArray identity =
        kobj::construct("SharedCodeManager.BasicUtilityIdentity", {qaArray::fromText("rt_foo")});
    EXPECT_EQ(kobj::encodeObject(identity),
              "{\"class\":\"SharedCodeManager.BasicUtilityIdentity\",\"Checksum\":"
              "\"dGfL8aBULDXcmtIhYfhCcE\","
              "\"Type\":\"SCM_UTILITIES\",\"UtilityIdentifier\":\"rt_foo\",\"SymbolString\":\"\","
              "\"MaximumIdentifierLength\":0,\"IncludeMaxIdLength\":true}");
}

// Attribute words decide what front ends show and the order objects are rebuilt in.
TEST_F(ObjectDecodingTest, OnlyKeyDerivedAndTuningPropertiesCarryAttributes) {
    std::string flagged;
    const auto classes = kobj::ClassRegistry::instance().packageClasses("SharedCodeManager");
    for (const kobj::ClassRecord* record : classes) {
        for (const auto& property : record->properties()) {
            if (property->attributes() != 0) {
                flagged += property->name() + "=" + std::to_string(property->attributes()) + " ";
            }
        }
    }
    EXPECT_EQ(classes.size(), 23u);
    EXPECT_EQ(flagged, "Checksum=8388608 Type=8390656 IncludeMaxIdLength=2048 ");
}

// The reason a decoding gives, for texts that people write by hand (the scm tool's manifests), up
// to the expected text's length ("": refused, whatever the reason).
TEST_F(ObjectDecodingTest, AFailedDecodingSaysWhy) {
    const std::pair<std::string, std::string> rows[] = {
        {"{\"class\":\"SharedCodeManager.Nothing\"}", "There is no class SharedCodeManager.Nothing."},
        {"{\"class\":\"SharedCodeManager.GenericData\"}",
         "Class SharedCodeManager.GenericData is not a SharedCodeManager.Identity."},
        {"{\"class\":\"SharedCodeManager.SharedFunctionIdentity\",\"Colour\":\"red\"}",
         "Class SharedCodeManager.SharedFunctionIdentity has no property Colour."},
        {"{\"class\":\"SharedCodeManager.SharedFunctionIdentity\",\"ChecksumElement2\":\"7\"}",
         "Property ChecksumElement2 of SharedCodeManager.SharedFunctionIdentity: Value must be an "
         "integer scalar in the uint32 range; it is char 1x1."},
        {"{\"class\":\"SharedCodeManager.SharedTypesDataConstantsIdentity\"}",
         "Objects of class SharedCodeManager.SharedTypesDataConstantsIdentity cannot be rebuilt"},
        {"{\"class\":\"SharedCodeManager.GenericIdentity\",\"Type\":1.5}", "The text is not an object encoding"},
        {"{\"class\":\"SharedCodeManager.GenericIdentity\",\"Type\":true}", "Property Type of"},
        {"{\"class\":\"SharedCodeManager.GenericIdentity\",\"Type\":\"SCM_SHARED_DATA\"}", "decoded"},
        {"{\"class\":\"SharedCodeManager.Identity\"}", ""},
        {"{\"class\":\"SharedCodeManager.SharedConstantsInterface\"}", ""},
        {"{\"class\":\"velmor.mixin.Heterogeneous\"}", ""},
        {"{\"class\":\"Other.Identity\"}", ""},
    };
    for (const auto& [text, reason] : rows) {
        std::string problem;
        const bool decoded = kobj::decodeObject(text, "SharedCodeManager.Identity", problem).numel() == 1;
        EXPECT_EQ((decoded ? "decoded" : problem).substr(0, reason.size()), reason) << text;
        EXPECT_EQ(decoded, reason == "decoded") << text;
    }
}

// Decoding a text writes each value through its setter as it reads it; decoding what the reader
// made of the text goes through script values. Both must give the same object or the same
// problem, whatever the order, spelling or types of the members. "Checksum" comes first in
// some texts, yet its stored value must win over the one the key fields give.
TEST_F(ObjectDecodingTest, DecodingATextAgreesWithDecodingWhatWasRead) {
    const std::string data = "{\"class\":\"SharedCodeManager.BasicUtilityData\",";
    const std::string utility = "{\"class\":\"SharedCodeManager.BasicUtilityIdentity\",";
    std::string crowded = data + "\"Name\":\"n\"";
    for (int i = 0; i < 20; ++i) crowded += ",\"X" + std::to_string(i) + "\":" + std::to_string(i);
    const std::pair<std::string, std::string> rows[] = {
        {data + "\"Traceability\":[\"t\",\"\\u00e9\"],\"Complex\":true,\"Name\":\"a\\\"b\","
                "\"Children\":[],\"ModelNames\":[\"m\"],\"Identifier\":\"\xc3\xa9\"}", "decoded"},
        {data + "\"N\\u0061me\":\"escaped name\",\"Multiword\":false}", "decoded"},
        {utility + "\"Checksum\":\"stored\",\"UtilityIdentifier\":\"u\",\"Type\":\"SCM_UTILITIES\","
                   "\"MaximumIdentifierLength\":7,\"IncludeMaxIdLength\":false}", "decoded"},
        {data + "\"Name\":[\"n\"]}", "Property Name of SharedCodeManager.BasicUtilityData: "},
        {data + "\"Children\":\"c\"}", "Property Children of SharedCodeManager.BasicUtilityData: "},
        {data + "\"Multiword\":\"yes\"}", "Property Multiword of"},
        {utility + "\"MaximumIdentifierLength\":4294967295}", "Property MaximumIdentifierLength of"},
        {utility + "\"Type\":true}", "Property Type of"},
        {utility + "\"Type\":true,\"UtilityIdentifier\":[]}", "Property UtilityIdentifier of"},
        {utility + "\"Type\":7,\"Col\\u006fur\":1}", "Class SharedCodeManager.BasicUtilityIdentity has no property Colour."},
        {crowded + "}", "Class SharedCodeManager.BasicUtilityData has no property X0."},
        {crowded + ",\"X1\\u0039\":0}", "The text is not an object encoding"},
        {data + "\"Name\":\"a\",\"N\\u0061me\":\"b\"}", "The text is not an object encoding"},
    };
    for (const auto& [text, expected] : rows) {
        std::string problem;
        const qaArray decoded = kobj::decodeObject(text, kobj::kHeterogeneousRootName, problem);
        EXPECT_EQ(decoded.isEmpty() ? problem.substr(0, expected.size()) : "decoded", expected) << text;
        kobj::EncodedObject read;
        if (!kobj::readEncodedObject(text, read)) continue;
        std::string readProblem;
        const qaArray fromRead = kobj::decodeObject(std::move(read), kobj::kHeterogeneousRootName, readProblem);
        EXPECT_EQ(readProblem, problem) << text;
        if (decoded.isEmpty() || fromRead.isEmpty()) continue;
        EXPECT_EQ(kobj::encodeObject(decoded), kobj::encodeObject(fromRead)) << text;
        if (text.find("\"stored\"") != std::string::npos) {
            EXPECT_EQ(dynamic_cast<SCM::SCMIdentity&>(*decoded.object(0)).getChecksum(), "stored");
        }
    }
}

}  // namespace

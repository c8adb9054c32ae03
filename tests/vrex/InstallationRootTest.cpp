#include <gtest/gtest.h>

#include "VrexTestSupport.hpp"
#include "tv/svVelmorRoot.hpp"

namespace {

using namespace vrex_test;

// Without set-up the root is the build tree's, where the metamodel lies; the environment
// variable overrides it unless empty (as it is left: the suite's other tests name their files).
TEST(InstallationRoot, IsTheBuildTreeUnlessTheEnvironmentSaysOtherwise) {
    unsetenv("SCM_VELMOR_ROOT");
    const std::string root = svVelmorRoot();
    EXPECT_EQ(fs::canonical(root), fs::canonical(SCM_TEST_BUILD_ROOT));
    TempDir dir;
    vrex::DataModelRepository repository;
    EXPECT_EQ(openRepository(repository, dir.file("r.reg"), root + "/toolbox/qvd/qvd/shared_metamodel.xml"), "");
    setenv("SCM_VELMOR_ROOT", "/opt/elsewhere", 1);
    EXPECT_EQ(svVelmorRoot(), "/opt/elsewhere");
    setenv("SCM_VELMOR_ROOT", "", 1);
    EXPECT_EQ(fs::canonical(svVelmorRoot()), fs::canonical(SCM_TEST_BUILD_ROOT));
}

TEST(Utf16, EveryByteStringRoundTrips) {
    std::string allBytes;
    for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
    const std::string samples[] = {
        "", allBytes, "\xed\xb2\x80" /* an encoded surrogate */, "\xc0\xaf" /* an overlong '/' */,
        "\xf4\x90\x80\x80" /* beyond U+10FFFF */, "\xe2\x82" /* cut short */,
    };
    for (const std::string& bytes : samples) EXPECT_EQ(vrex::fromUtf16(vrex::toUtf16(bytes)), bytes);
    const std::u16string beyondLatin1 = u"caf\u00e9 \u0394 \u20ac \U0001F600";  // 2, 3 and 4 UTF-8 bytes
    EXPECT_EQ(vrex::toUtf16(vrex::fromUtf16(beyondLatin1)), beyondLatin1);
    EXPECT_EQ(vrex::toUtf16("caf\xc3\xa9"), u"caf\u00e9");
    EXPECT_EQ(vrex::toUtf16("\xf0\x9f\x98\x80"), u"\U0001F600");
    EXPECT_EQ(vrex::toUtf16("a\xff"), std::u16string(u"a") + char16_t(0xDCFF));
}

}  // namespace

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <stdexcept>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "VrexTestSupport.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace vrex_test;

class TransactionTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(openRepository(repository_, location_), "");
        category_ = std::make_unique<Category>(repository_, "SCM_UTILITIES");
    }

    void create(const std::string& checksum, tvdiag::util::diagnostics& diagnostics) {
        vrex::ObjectRef object = repository_.createObject(category_->cls, diagnostics);
        repository_.setPropertyValue(object, category_->checksum, qaArray::fromText(checksum), diagnostics);
    }

    // The checksums of all objects, in creation order, as seen by a second connection.
    std::string committed() {
        vrex::DataModelRepository reader;
        EXPECT_EQ(openRepository(reader, location_), "");
        Category utilities(reader, "SCM_UTILITIES");
        tvdiag::util::diagnostics diagnostics;
        std::string text;
        for (const vrex::ObjectRef& object : allObjects(reader, utilities)) {
            text += reader.getPropertyValue(object, utilities.checksum, diagnostics).text() + " ";
        }
        return text;
    }

    static std::string identifiers(const tvdiag::util::diagnostics& diagnostics) {
        std::string text;
        for (const auto& record : diagnostics.records()) text += record.identifier + " ";
        return text;
    }

    scm_test::TestRegistry registry_;
    const std::string location_ = registry_.location();
    vrex::DataModelRepository repository_;
    std::unique_ptr<Category> category_;
};

TEST_F(TransactionTest, ExplicitTransactionsCommitAndRollBack) {
    tvdiag::util::diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    create("a", diagnostics);
    EXPECT_EQ(committed(), "");  // not visible before the commit
    repository_.commitTransaction(diagnostics);
    EXPECT_EQ(committed(), "a ");
    repository_.beginTransaction(diagnostics);
    create("b", diagnostics);
    repository_.rollbackTransaction(diagnostics);
    EXPECT_EQ(committed(), "a ");
    EXPECT_FALSE(repository_.isTransactionOpen());
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

TEST_F(TransactionTest, UnbalancedBracketsAreRefused) {
    tvdiag::util::diagnostics diagnostics;
    repository_.commitTransaction(diagnostics);
    repository_.rollbackTransaction(diagnostics);
    repository_.beginTransaction(diagnostics);
    repository_.beginTransaction(diagnostics);
    EXPECT_EQ(identifiers(diagnostics),
              "vrex:transaction:notOpen vrex:transaction:notOpen vrex:transaction:alreadyOpen ");
    EXPECT_TRUE(repository_.isTransactionOpen());  // the first begin holds
}

TEST_F(TransactionTest, DestroyingTheRepositoryRollsBackItsOpenTransaction) {
    {
        vrex::DataModelRepository writer;
        ASSERT_EQ(openRepository(writer, location_), "");
        Category utilities(writer, "SCM_UTILITIES");
        tvdiag::util::diagnostics diagnostics;
        writer.beginTransaction(diagnostics);
        writer.createObject(utilities.cls, diagnostics);
        ASSERT_TRUE(diagnostics.empty());
    }
    EXPECT_EQ(committed(), "");
}

TEST_F(TransactionTest, ADictionaryFunctionCommitsOnlyWhenItLeavesNoErrors) {
    tvdiag::util::diagnostics diagnostics;
    repository_.performDictionaryFunction([&](tvdiag::util::diagnostics& inner) { create("kept", inner); },
                                          diagnostics);
    EXPECT_TRUE(diagnostics.empty());
    repository_.performDictionaryFunction(
        [&](tvdiag::util::diagnostics& inner) {
            create("undone", inner);
            inner.add("test:failure", "the callable failed");
        },
        diagnostics);
    EXPECT_EQ(identifiers(diagnostics), "test:failure ");  // the callable's errors stay
    EXPECT_EQ(committed(), "kept ");
}

TEST_F(TransactionTest, NestedFunctionsAreSavepointsUndoneAlone) {
    tvdiag::util::diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    create("before", diagnostics);
    for (const char* checksum : {"ok1", "bad", "ok2"}) {
        tvdiag::util::diagnostics entry;
        repository_.performDictionaryFunction(
            [&](tvdiag::util::diagnostics& inner) {
                create(checksum, inner);
                repository_.performDictionaryFunction(
                    [&](tvdiag::util::diagnostics& innermost) { create(std::string(checksum) + "+", innermost); },
                    inner);
                if (std::string(checksum) == "bad") inner.add("test:failure", "refused");
            },
            entry);
        EXPECT_EQ(entry.empty(), std::string(checksum) != "bad");
    }
    EXPECT_TRUE(repository_.isTransactionOpen());
    repository_.commitTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(committed(), "before ok1 ok1+ ok2 ok2+ ");
}

TEST_F(TransactionTest, AnExceptionFromTheCallableRollsBackAndPropagates) {
    tvdiag::util::diagnostics diagnostics;
    EXPECT_THROW(repository_.performDictionaryFunction(
                     [&](tvdiag::util::diagnostics& inner) {
                         create("lost", inner);
                         throw std::out_of_range("index");
                     },
                     diagnostics),
                 std::out_of_range);
    repository_.performDictionaryFunction([&](tvdiag::util::diagnostics& inner) { create("after", inner); },
                                          diagnostics);
    EXPECT_EQ(committed(), "after ");
}

TEST_F(TransactionTest, TransactionControlAndClosingInsideAFunctionAreHandled) {
    tvdiag::util::diagnostics diagnostics;
    repository_.performDictionaryFunction(
        [&](tvdiag::util::diagnostics& inner) {
            tvdiag::util::diagnostics refused;
            repository_.beginTransaction(refused);
            repository_.commitTransaction(refused);
            EXPECT_EQ(identifiers(refused), "vrex:transaction:insideFunction vrex:transaction:insideFunction ");
            create("inside", inner);
        },
        diagnostics);
    EXPECT_EQ(committed(), "inside ");
    repository_.performDictionaryFunction(
        [&](tvdiag::util::diagnostics& inner) {
            create("closed", inner);
            repository_.close();
        },
        diagnostics);
    EXPECT_EQ(identifiers(diagnostics), "vrex:function:closed ");
    EXPECT_FALSE(repository_.isOpen());
    EXPECT_EQ(committed(), "inside ");
}

// A commit that cannot write its log (the file size limit stands in for a full disk) fails with a
// diagnostic and loses nothing that was committed before. Run in a child process, which alone
// gets the limit.
TEST_F(TransactionTest, AFailedCommitIsReportedAndRolledBack) {
    SCM_SQLITE_ONLY("makes the file's log unwritable by a file size limit");
    tvdiag::util::diagnostics diagnostics;
    create("committed", diagnostics);
    repository_.close();
    pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        vrex::DataModelRepository writer;
        if (!openRepository(writer, location_).empty()) _exit(10);
        Category utilities(writer, "SCM_UTILITIES");
        tvdiag::util::diagnostics errors;
        writer.beginTransaction(errors);
        vrex::ObjectRef object = writer.createObject(utilities.cls, errors);
        writer.setPropertyValue(object, utilities.name, qaArray::fromText(std::string(1024 * 1024, 'x')), errors);
        if (!errors.empty()) _exit(11);
        // The transaction's pages wait in memory; the commit must write them to the log.
        std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = {256 * 1024, 256 * 1024};
        setrlimit(RLIMIT_FSIZE, &limit);
        writer.commitTransaction(errors);
        if (errors.empty() || errors.records()[0].identifier != "vrex:transaction:commitFailed") _exit(12);
        tvdiag::util::diagnostics ignored;
        writer.rollbackTransaction(ignored);
        _exit(writer.isTransactionOpen() ? 13 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(committed(), "committed ");
}

// A writer that cannot have the write lock within the busy timeout says why and how long it waited.
TEST_F(TransactionTest, AWriterThatTimesOutSaysTheRegistryIsLocked) {
    vrex::DataModelRepository waiter;
    ASSERT_EQ(openImpatient(waiter, location_, 200), "");
    tvdiag::util::diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    waiter.beginTransaction(diagnostics);
    EXPECT_EQ(identifiers(diagnostics), "vrex:transaction:beginFailed ");
    EXPECT_NE(diagnostics.toString().find("is locked by another process; waited 0.2 s (SCM_BUSY_TIMEOUT_MS)"),
              std::string::npos)
        << diagnostics.toString();
}

TEST_F(TransactionTest, AReadFunctionSeesOneStateOfTheFile) {
    tvdiag::util::diagnostics diagnostics;
    create("first", diagnostics);
    vrex::DataModelRepository writer;
    ASSERT_EQ(openRepository(writer, location_), "");
    Category utilities(writer, "SCM_UTILITIES");
    std::size_t before = 0;
    std::size_t after = 0;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics&) {
            before = allObjects(repository_, *category_).size();
            tvdiag::util::diagnostics writing;
            writer.createObject(utilities.cls, writing);  // another connection commits meanwhile
            EXPECT_TRUE(writing.empty()) << writing.toString();
            after = allObjects(repository_, *category_).size();
        },
        diagnostics);
    EXPECT_EQ(before, 1u);
    EXPECT_EQ(after, 1u) << "the second read sees the snapshot of the first";
    EXPECT_EQ(allObjects(repository_, *category_).size(), 2u) << "the read transaction ended";
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

TEST_F(TransactionTest, AReadFunctionInsideATransactionJustRuns) {
    tvdiag::util::diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    create("uncommitted", diagnostics);
    std::size_t seen = 0;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics&) { seen = allObjects(repository_, *category_).size(); },
        diagnostics);
    EXPECT_EQ(seen, 1u);
    EXPECT_TRUE(repository_.isTransactionOpen());
    repository_.commitTransaction(diagnostics);
    EXPECT_EQ(committed(), "uncommitted ");
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

TEST_F(TransactionTest, AReadFunctionEndsOnAnExceptionAndIsRefusedWhenClosed) {
    tvdiag::util::diagnostics diagnostics;
    EXPECT_THROW(repository_.performDictionaryRead(
                     [&](tvdiag::util::diagnostics&) {
                         allObjects(repository_, *category_);
                         throw std::runtime_error("thrown");
                     },
                     diagnostics),
                 std::runtime_error);
    repository_.beginTransaction(diagnostics);  // no read transaction is left behind
    repository_.rollbackTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();

    repository_.close();
    bool ran = false;
    repository_.performDictionaryRead([&](tvdiag::util::diagnostics&) { ran = true; }, diagnostics);
    EXPECT_FALSE(ran);
    EXPECT_EQ(identifiers(diagnostics), "vrex:notOpen ");
}

// Two processes register overlapping keys at once, each "look up, then create or merge" in one
// dictionary function: every key ends up in exactly one object holding both contributions.
TEST(ConcurrentProcesses, LookUpThenCreateOrMergeIsAtomic) {
    scm_test::TestRegistry registry;
    const std::string file = registry.location();  // filled by whichever process comes first
    constexpr int kKeys = 120;
    int barrier[2];
    ASSERT_EQ(pipe(barrier), 0);
    auto registerKeys = [&](int first, int last, const std::string& who) {
        char go;
        if (read(barrier[0], &go, 1) != 1) return 20;
        vrex::DataModelRepository repository;
        if (!openRepository(repository, file).empty()) return 21;
        Category category(repository, "SCM_SHARED_FUNCTIONS");
        for (int key = first; key < last; ++key) {
            tvdiag::util::diagnostics diagnostics;
            repository.performDictionaryFunction(
                [&](tvdiag::util::diagnostics& inner) {
                    vrex::MatchConstraints byChecksum;
                    byChecksum.add(category.checksum, vrex::PropertyValueMatchRelation::Equals,
                                   "key" + std::to_string(key));
                    std::vector<vrex::ObjectRef> found;
                    repository.findObjects(category.cls, byChecksum, found, inner);
                    std::string merged = who;
                    vrex::ObjectRef object = found.empty() ? repository.createObject(category.cls, inner) : found[0];
                    if (!found.empty()) merged = payloadOf(repository.getPropertyValue(object, category.data, inner)) + "+" + who;
                    Thing data(merged);
                    repository.setPropertyValue(object, category.checksum, qaArray::fromText("key" + std::to_string(key)), inner);
                    repository.setPropertyValue(object, category.data, thingValue(data), inner);
                },
                diagnostics);
            if (!diagnostics.empty()) return 22;
        }
        return 0;
    };
    pid_t children[2];
    for (int i = 0; i < 2; ++i) {
        children[i] = fork();
        ASSERT_NE(children[i], -1);
        if (children[i] == 0) _exit(i == 0 ? registerKeys(0, 80, "A") : registerKeys(40, kKeys, "B"));
    }
    ASSERT_EQ(write(barrier[1], "gg", 2), 2);
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
    close(barrier[0]);
    close(barrier[1]);

    vrex::DataModelRepository repository;
    ASSERT_EQ(openRepository(repository, file), "");
    Category category(repository, "SCM_SHARED_FUNCTIONS");
    tvdiag::util::diagnostics diagnostics;
    const std::vector<vrex::ObjectRef> objects = allObjects(repository, category);
    std::set<std::string> keys;
    int merged = 0;
    for (const vrex::ObjectRef& object : objects) {
        keys.insert(repository.getPropertyValue(object, category.checksum, diagnostics).text());
        std::string payload = payloadOf(repository.getPropertyValue(object, category.data, diagnostics));
        if (payload == "A+B" || payload == "B+A") ++merged;
    }
    EXPECT_EQ(objects.size(), static_cast<std::size_t>(kKeys));
    EXPECT_EQ(keys.size(), static_cast<std::size_t>(kKeys));
    EXPECT_EQ(merged, 40);  // keys 40..79 were registered by both
    EXPECT_TRUE(diagnostics.empty());
}

}  // namespace

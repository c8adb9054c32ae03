// Transactions, dictionary functions (savepoints when nested) and read functions, and the rows
// they leave. Objects created inside a transaction are written as one row when something needs
// them: everything a caller can observe, the stored rows and ids too, must be as if each write
// reached the registry at once.
#include <gtest/gtest.h>

#include <cctype>
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
using Diagnostics = tvdiag::util::diagnostics;

// Waits for `child`; its exit status, or -1 when it did not exit.
int exitStatusOf(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

class TransactionTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(openRepository(repository_, location_), "");
        utilities_ = std::make_unique<Category>(repository_, "SCM_UTILITIES");
    }

    vrex::ObjectRef create(const std::string& checksum, Diagnostics& diagnostics) {
        vrex::ObjectRef object = repository_.createObject(utilities_->cls, diagnostics);
        repository_.setPropertyValue(object, utilities_->checksum, qaArray::fromText(checksum), diagnostics);
        return object;
    }

    void inFunction(const std::function<void(Diagnostics&)>& fn, Diagnostics& diagnostics) {
        repository_.performDictionaryFunction(fn, diagnostics);
    }

    // Every utility as a new connection reads it (see listing). A PostgreSQL server never gives
    // the id of a rolled-back row again: there the rows are numbered by rank instead.
    std::string rows() {
        vrex::DataModelRepository reader;
        EXPECT_EQ(openRepository(reader, location_), "");
        std::istringstream lines(listing(reader, "SCM_UTILITIES"));
        std::string text;
        int rank = 0;
        for (std::string line; std::getline(lines, line);) {
            const bool row = !line.empty() && std::isdigit(static_cast<unsigned char>(line[0]));
            if (row && scm_test::postgresqlSelected()) line = std::to_string(++rank) + line.substr(line.find(':'));
            text += line + "\n";
        }
        return text;
    }

    // "id:checksum " of every utility.
    std::string checksums() {
        std::istringstream lines(rows());
        std::string text;
        for (std::string line; std::getline(lines, line);) text += line.substr(0, line.find('/')) + " ";
        return text;
    }

    scm_test::TestRegistry registry_;
    const std::string location_ = registry_.location();
    vrex::DataModelRepository repository_;
    std::unique_ptr<Category> utilities_;
};

// Nothing is visible before the commit; a rollback or a close (as at the destruction of the repository)
// drops what the transaction made, and the ids it would have taken stay free. Another writer
// waits for the write lock no longer than its busy timeout, and says why and how long it waited
// (on a PostgreSQL server writers lock keys, not the registry: see PostgresTest).
TEST_F(TransactionTest, ExplicitTransactionsCommitOrDropWhatTheyMade) {
    Diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    if (!scm_test::postgresqlSelected()) {
        vrex::DataModelRepository waiter;
        ASSERT_EQ(openImpatient(waiter, location_, 200), "");
        Diagnostics refused;
        waiter.beginTransaction(refused);
        EXPECT_EQ(identifiers(refused), "vrex:transaction:beginFailed ");
        EXPECT_NE(refused.toString().find("is locked by another process; waited 0.2 s (SCM_BUSY_TIMEOUT_MS)"),
                  std::string::npos) << refused.toString();
    }
    create("dropped", diagnostics);
    repository_.rollbackTransaction(diagnostics);
    EXPECT_FALSE(repository_.isTransactionOpen());
    repository_.beginTransaction(diagnostics);
    create("kept", diagnostics);
    EXPECT_EQ(rows(), "");
    repository_.commitTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(rows(), "1:kept//<none>/<none>\n");
    repository_.beginTransaction(diagnostics);
    create("lost", diagnostics);
    repository_.close();
    EXPECT_EQ(checksums(), "1:kept ");
}

// A function is a transaction of its own outside a transaction and a savepoint (undone alone)
// inside one: it is kept only when it leaves no error and throws nothing, the exception going on
// to the caller; its objects are then gone and later objects take the ids after the last kept one.
TEST_F(TransactionTest, AFunctionIsKeptOnlyWithoutErrorsOrExceptions) {
    Diagnostics diagnostics;
    for (const std::string where : {"out", "in"}) {
        if (where == "in") repository_.beginTransaction(diagnostics);
        vrex::ObjectRef undone;
        for (const std::string outcome : {"ok", "bad"}) {
            Diagnostics entry;
            inFunction(
                [&](Diagnostics& inner) {
                    undone = create(where + outcome, inner);
                    inFunction([&](Diagnostics& innermost) { create(where + outcome + "+", innermost); }, inner);
                    if (outcome == "bad") inner.add("test:failure", "refused");
                },
                entry);
            EXPECT_EQ(identifiers(entry), outcome == "bad" ? "test:failure " : "");  // the callable's errors stay
        }
        Diagnostics late;
        repository_.setPropertyValue(undone, utilities_->name, qaArray::fromText("late"), late);
        EXPECT_EQ(identifiers(late), "vrex:object:notFound ");
        auto throwing = [&](Diagnostics& inner) {
            create("thrown", inner);
            throw std::out_of_range("index");
        };
        EXPECT_THROW(inFunction(throwing, diagnostics), std::out_of_range);
        EXPECT_EQ(repository_.isTransactionOpen(), where == "in");
    }
    std::size_t seen = 0;  // a read function inside the transaction just runs
    repository_.performDictionaryRead([&](Diagnostics&) { seen = allObjects(repository_, *utilities_).size(); },
                                      diagnostics);
    EXPECT_EQ(seen, 4u);
    create("last", diagnostics);
    repository_.commitTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(checksums(), "1:outok 2:outok+ 3:inok 4:inok+ 5:last ");
}

// An object made inside a function is pending until something needs it: every read sees it, and
// the rows written equal those the same calls write outside a function, one write at a time.
TEST_F(TransactionTest, PendingObjectsAreSeenByEveryReadAndWrittenAsAtOnce) {
    Thing thing("payload");
    auto fill = [&](Diagnostics& inner) {
        vrex::ObjectRef object = create("sum", inner);
        repository_.setPropertyValue(object, utilities_->name, qaArray::fromText("n"), inner);
        repository_.setPropertyValue(object, utilities_->data, thing.toScriptValue(), inner);
        repository_.setPropertyValue(object, utilities_->name, qaArray(), inner);  // unset again
        repository_.setPropertyValue(object, utilities_->name, qaArray::fromText("m"), inner);
        vrex::MatchConstraints byChecksum;
        byChecksum.add(utilities_->checksum, vrex::PropertyValueMatchRelation::Equals, "sum");
        std::vector<vrex::ObjectRef> found;
        repository_.findObjects(utilities_->cls, byChecksum, found, inner);
        EXPECT_TRUE(!found.empty() && found.back().id() == object.id());
        vrex::ObjectRef next = create("next", inner);
        EXPECT_EQ(next.id(), object.id() + 1);
        // The first object is written by now; writing it again updates its row.
        repository_.setPropertyValue(object, utilities_->identity, thing.toScriptValue(), inner);
        EXPECT_EQ(repository_.getPropertyValue(next, utilities_->checksum, inner).text(), "next");
        EXPECT_TRUE(repository_.getPropertyValue(next, utilities_->name, inner).isEmpty());
    };
    Diagnostics diagnostics;
    fill(diagnostics);
    inFunction(fill, diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    const std::string written = ":sum/m/payload/payload\n";
    EXPECT_EQ(rows(), "1" + written + "2:next//<none>/<none>\n3" + written + "4:next//<none>/<none>\n");
}

// What another connection adds between transactions: later ids follow it. What it commits during
// a read function: that function does not see it, it reads one state of the registry. An
// exception ends a read function and leaves no read transaction behind.
TEST_F(TransactionTest, AnotherConnectionsWritesAreSeenBetweenTransactionsOnly) {
    vrex::DataModelRepository other;
    ASSERT_EQ(openRepository(other, location_), "");
    const Category otherUtilities(other, "SCM_UTILITIES");
    Diagnostics diagnostics;
    auto addOther = [&] {
        vrex::ObjectRef added = other.createObject(otherUtilities.cls, diagnostics);
        other.setPropertyValue(added, otherUtilities.checksum, qaArray::fromText("b"), diagnostics);
    };
    for (const std::string checksum : {"a", "c"}) {
        repository_.beginTransaction(diagnostics);
        create(checksum, diagnostics);
        create(checksum + "2", diagnostics);
        repository_.commitTransaction(diagnostics);
        addOther();
    }
    EXPECT_EQ(checksums(), "1:a 2:a2 3:b 4:c 5:c2 6:b ");
    std::size_t before = 0, after = 0;
    repository_.performDictionaryRead(
        [&](Diagnostics&) {
            before = allObjects(repository_, *utilities_).size();
            addOther();
            after = allObjects(repository_, *utilities_).size();
        },
        diagnostics);
    EXPECT_EQ(after, before) << "the second read sees the snapshot of the first";
    EXPECT_EQ(allObjects(repository_, *utilities_).size(), before + 1) << "the read transaction ended";
    auto throwing = [&](Diagnostics&) {
        allObjects(repository_, *utilities_);
        throw std::runtime_error("thrown");
    };
    EXPECT_THROW(repository_.performDictionaryRead(throwing, diagnostics), std::runtime_error);
    repository_.beginTransaction(diagnostics);
    repository_.rollbackTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

// A commit that cannot write its log (the file size limit stands in for a full disk) fails with a
// diagnostic and loses nothing committed before. Run in a child process, which alone gets the limit.
TEST_F(TransactionTest, AFailedCommitIsReportedAndRolledBack) {
    SCM_SQLITE_ONLY("makes the file's log unwritable by a file size limit");
    Diagnostics diagnostics;
    create("committed", diagnostics);
    repository_.close();
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        vrex::DataModelRepository writer;
        if (!openRepository(writer, location_).empty()) _exit(10);
        const Category utilities(writer, "SCM_UTILITIES");
        Diagnostics errors;
        writer.beginTransaction(errors);
        vrex::ObjectRef object = writer.createObject(utilities.cls, errors);
        writer.setPropertyValue(object, utilities.name, qaArray::fromText(std::string(1024 * 1024, 'x')), errors);
        allObjects(writer, utilities);  // a read writes the pending row, into the transaction's pages
        if (!errors.empty()) _exit(11);
        // The transaction's pages wait in memory; the commit itself must write them to the log.
        std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = {256 * 1024, 256 * 1024};
        setrlimit(RLIMIT_FSIZE, &limit);
        writer.commitTransaction(errors);
        if (identifiers(errors) != "vrex:transaction:commitFailed ") _exit(12);
        writer.rollbackTransaction(errors);
        _exit(writer.isTransactionOpen() ? 13 : 0);
    }
    EXPECT_EQ(exitStatusOf(child), 0);
    EXPECT_EQ(checksums(), "1:committed ");
}

// Two processes register overlapping keys at once, each "look up, then create or merge" in one
// dictionary function: every key ends up in exactly one object holding both contributions. A
// write lock taken late (at the first write instead of the begin) fails it.
TEST_F(TransactionTest, TwoProcessesLookUpThenCreateOrMergeAtomically) {
    repository_.close();  // the processes start on a registry that exists
    int ready[2], go[2];
    ASSERT_TRUE(pipe(ready) == 0 && pipe(go) == 0);
    auto registerKeys = [&](int first, const std::string& who) {
        char byte = 'r';
        vrex::DataModelRepository repository;
        if (!openRepository(repository, location_).empty() || write(ready[1], &byte, 1) != 1 ||
            read(go[0], &byte, 1) != 1) {
            return 20;
        }
        const Category category(repository, "SCM_UTILITIES");
        Diagnostics diagnostics;
        for (int key = first; key < first + 80; ++key) {
            repository.performDictionaryFunction(
                [&](Diagnostics& inner) {
                    vrex::MatchConstraints byChecksum;
                    byChecksum.add(category.checksum, vrex::PropertyValueMatchRelation::Equals, std::to_string(key));
                    std::vector<vrex::ObjectRef> found;
                    repository.findObjects(category.cls, byChecksum, found, inner);
                    vrex::ObjectRef object = found.empty() ? repository.createObject(category.cls, inner) : found[0];
                    Thing data(found.empty() ? who : payloadOf(repository.getPropertyValue(object, category.data, inner)) + "+" + who);
                    repository.setPropertyValue(object, category.checksum, qaArray::fromText(std::to_string(key)), inner);
                    repository.setPropertyValue(object, category.data, data.toScriptValue(), inner);
                },
                diagnostics);
        }
        return diagnostics.empty() ? 0 : 22;
    };
    pid_t children[2];
    for (int i = 0; i < 2; ++i) {
        children[i] = fork();
        ASSERT_NE(children[i], -1);
        if (children[i] == 0) _exit(registerKeys(40 * i, i == 0 ? "A" : "B"));
    }
    char byte;
    ASSERT_TRUE(read(ready[0], &byte, 1) == 1 && read(ready[0], &byte, 1) == 1);  // both opened
    ASSERT_EQ(write(go[1], "gg", 2), 2);
    for (pid_t child : children) EXPECT_EQ(exitStatusOf(child), 0);
    for (int fd : {ready[0], ready[1], go[0], go[1]}) close(fd);

    SetUp();
    Diagnostics diagnostics;
    std::set<std::string> keys;
    int merged = 0;
    for (const vrex::ObjectRef& object : allObjects(repository_, *utilities_)) {
        keys.insert(repository_.getPropertyValue(object, utilities_->checksum, diagnostics).text());
        const std::string payload = payloadOf(repository_.getPropertyValue(object, utilities_->data, diagnostics));
        merged += payload == "A+B" || payload == "B+A";
    }
    EXPECT_EQ(allObjects(repository_, *utilities_).size(), 120u);
    EXPECT_EQ(keys.size(), 120u);
    EXPECT_EQ(merged, 40);  // keys 40..79 were registered by both
    EXPECT_TRUE(diagnostics.empty());
}

}  // namespace

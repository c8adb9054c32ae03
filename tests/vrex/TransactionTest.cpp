// Transactions, dictionary functions (savepoints when nested) and read functions, and the rows
// they leave. Objects created inside a transaction are written as one row when something needs
// them: everything a caller can observe, the stored rows and ids too, must be as if each write
// reached the registry at once.
#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <sqlite3.h>

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

    // Every row of the utilities' table as the registry holds it, read past the library: id,
    // then each column's type ("text" or "null") and value ("-" for null).
    std::string rows() { return scm_test::postgresqlSelected() ? databaseRows() : fileRows(); }

    // "id:checksum" of every row.
    std::string checksums() {
        std::istringstream lines(rows());
        std::string text;
        for (std::string line; std::getline(lines, line);) {
            const std::size_t value = line.find(',', line.find(',') + 1) + 1;
            text += line.substr(0, line.find(',')) + ":" + line.substr(value, line.find(',', value) - value) + " ";
        }
        return text;
    }

    std::string databaseRows() {
        std::string columns = "_id";
        for (const char* column : {"checksum", "name", "identity", "data"}) {
            columns += std::string(", CASE WHEN ") + column + " IS NULL THEN 'null' ELSE 'text' END, encode(" +
                       column + ", 'escape')";
        }
        PGconn* connection = PQconnectdb(location_.c_str());
        PGresult* result = PQexec(connection, ("SELECT " + columns + " FROM scm.scm_utilities ORDER BY _id").c_str());
        EXPECT_EQ(PQresultStatus(result), PGRES_TUPLES_OK) << PQresultErrorMessage(result);
        std::string text;
        for (int row = 0; row < PQntuples(result); ++row) {
            for (int column = 0; column < PQnfields(result); ++column) {
                text += PQgetisnull(result, row, column) ? "-" : PQgetvalue(result, row, column);
                text += column + 1 < PQnfields(result) ? "," : "\n";
            }
        }
        PQclear(result);
        PQfinish(connection);
        return text;
    }

    std::string fileRows() {
        sqlite3* db = nullptr;
        EXPECT_EQ(sqlite3_open_v2(location_.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
        sqlite3_stmt* query = nullptr;
        sqlite3_prepare_v2(db,
                           "SELECT _id, typeof(Checksum), Checksum, typeof(Name), Name, typeof(Identity), Identity, "
                           "typeof(Data), Data FROM \"SCM_UTILITIES\" ORDER BY _id",
                           -1, &query, nullptr);
        std::string text;
        while (sqlite3_step(query) == SQLITE_ROW) {
            for (int column = 0; column < sqlite3_column_count(query); ++column) {
                const auto* value = sqlite3_column_text(query, column);
                text += value != nullptr ? reinterpret_cast<const char*>(value) : "-";
                text += column + 1 < sqlite3_column_count(query) ? "," : "\n";
            }
        }
        sqlite3_finalize(query);
        sqlite3_close(db);
        return text;
    }

    scm_test::TestRegistry registry_;
    const std::string location_ = registry_.location();
    vrex::DataModelRepository repository_;
    std::unique_ptr<Category> utilities_;
};

// Nothing is visible before the commit; a rollback, a close or the destruction of the repository
// drops what the transaction made, and the ids it would have taken stay free.
TEST_F(TransactionTest, ExplicitTransactionsCommitOrDropWhatTheyMade) {
    Diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    create("dropped", diagnostics);
    repository_.rollbackTransaction(diagnostics);
    EXPECT_FALSE(repository_.isTransactionOpen());
    repository_.beginTransaction(diagnostics);
    create("kept", diagnostics);
    EXPECT_EQ(rows(), "");
    repository_.commitTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(rows(), "1,text,kept,null,-,null,-,null,-\n");
    {
        vrex::DataModelRepository writer;
        ASSERT_EQ(openRepository(writer, location_), "");
        writer.beginTransaction(diagnostics);
        writer.createObject(Category(writer, "SCM_UTILITIES").cls, diagnostics);
        ASSERT_TRUE(diagnostics.empty());
    }
    repository_.beginTransaction(diagnostics);
    create("lost", diagnostics);
    repository_.close();
    EXPECT_EQ(checksums(), "1:kept ");
}

// Outside a transaction a function is a transaction of its own: it commits only when it leaves no
// error; an exception rolls it back and goes on to the caller.
TEST_F(TransactionTest, AFunctionCommitsOnlyWithoutErrorsOrExceptions) {
    Diagnostics diagnostics;
    inFunction([&](Diagnostics& inner) { create("kept", inner); }, diagnostics);
    EXPECT_TRUE(diagnostics.empty());
    inFunction(
        [&](Diagnostics& inner) {
            create("undone", inner);
            inner.add("test:failure", "the callable failed");
        },
        diagnostics);
    EXPECT_EQ(identifiers(diagnostics), "test:failure ");  // the callable's errors stay
    EXPECT_THROW(inFunction(
                     [&](Diagnostics& inner) {
                         create("lost", inner);
                         throw std::out_of_range("index");
                     },
                     diagnostics),
                 std::out_of_range);
    Diagnostics after;
    inFunction([&](Diagnostics& inner) { create("after", inner); }, after);
    EXPECT_EQ(checksums(), "1:kept 2:after ");
}

// Inside a transaction functions are savepoints: a failed or throwing one is undone alone, its
// objects are gone, and later objects take the ids after the last kept one.
TEST_F(TransactionTest, NestedFunctionsAreSavepointsUndoneAlone) {
    Diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    create("before", diagnostics);
    vrex::ObjectRef undone;
    for (const std::string checksum : {"ok1", "bad", "ok2"}) {
        Diagnostics entry;
        inFunction(
            [&](Diagnostics& inner) {
                undone = create(checksum, inner);
                inFunction([&](Diagnostics& innermost) { create(checksum + "+", innermost); }, inner);
                if (checksum == "bad") inner.add("test:failure", "refused");
            },
            entry);
        EXPECT_EQ(entry.empty(), checksum != "bad");
        if (checksum == "bad") {
            Diagnostics late;
            repository_.setPropertyValue(undone, utilities_->name, qaArray::fromText("late"), late);
            EXPECT_EQ(identifiers(late), "vrex:object:notFound ");
        }
    }
    EXPECT_THROW(inFunction([&](Diagnostics& inner) {
                     create("thrown", inner);
                     throw std::runtime_error("thrown");
                 },
                                diagnostics),
                 std::runtime_error);
    std::size_t seen = 0;  // a read function inside the transaction just runs
    repository_.performDictionaryRead([&](Diagnostics&) { seen = allObjects(repository_, *utilities_).size(); },
                                      diagnostics);
    EXPECT_EQ(seen, 5u);
    EXPECT_TRUE(repository_.isTransactionOpen());
    create("last", diagnostics);
    repository_.commitTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(checksums(), "1:before 2:ok1 3:ok1+ 4:ok2 5:ok2+ 6:last ");
}

// A row written inside a function, where the object is pending until needed, equals the row
// written by the same calls outside, one write at a time.
TEST_F(TransactionTest, RowsWrittenInsideAFunctionEqualRowsWrittenAtOnce) {
    Thing thing("payload");
    auto fill = [&](Diagnostics& diagnostics) {
        vrex::ObjectRef object = create("sum", diagnostics);
        repository_.setPropertyValue(object, utilities_->name, qaArray::fromText("n"), diagnostics);
        repository_.setPropertyValue(object, utilities_->data, thingValue(thing), diagnostics);
        repository_.setPropertyValue(object, utilities_->name, qaArray(), diagnostics);  // unset again
        repository_.setPropertyValue(object, utilities_->name, qaArray::fromText("m"), diagnostics);
    };
    Diagnostics diagnostics;
    fill(diagnostics);
    inFunction(fill, diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    const std::string row = "text,sum,text,m,null,-,text,thing:payload\n";
    EXPECT_EQ(rows(), "1," + row + "2," + row);
}

TEST_F(TransactionTest, EveryReadInsideTheTransactionSeesTheNewObject) {
    Diagnostics diagnostics;
    inFunction(
        [&](Diagnostics& inner) {
            vrex::ObjectRef first = create("a", inner);
            vrex::MatchConstraints byChecksum;
            byChecksum.add(utilities_->checksum, vrex::PropertyValueMatchRelation::Equals, "a");
            std::vector<vrex::ObjectRef> found;
            repository_.findObjects(utilities_->cls, byChecksum, found, inner);
            ASSERT_EQ(found.size(), 1u);
            EXPECT_EQ(found[0].id(), first.id());
            vrex::ObjectRef second = create("b", inner);
            EXPECT_EQ(second.id(), first.id() + 1);
            // The first object is written by now; writing it again updates its row.
            repository_.setPropertyValue(first, utilities_->name, qaArray::fromText("first"), inner);
            EXPECT_EQ(repository_.getPropertyValue(second, utilities_->checksum, inner).text(), "b");
            EXPECT_TRUE(repository_.getPropertyValue(second, utilities_->name, inner).isEmpty());
        },
        diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(rows(), "1,text,a,text,first,null,-,null,-\n2,text,b,null,-,null,-,null,-\n");
}

TEST_F(TransactionTest, IdsFollowWhatOtherConnectionsAddedBetweenTransactions) {
    vrex::DataModelRepository other;
    ASSERT_EQ(openRepository(other, location_), "");
    const Category otherUtilities(other, "SCM_UTILITIES");
    Diagnostics diagnostics;
    for (const std::string checksum : {"a", "c"}) {
        repository_.beginTransaction(diagnostics);
        create(checksum, diagnostics);
        create(checksum + "2", diagnostics);
        repository_.commitTransaction(diagnostics);
        vrex::ObjectRef between = other.createObject(otherUtilities.cls, diagnostics);
        other.setPropertyValue(between, otherUtilities.checksum, qaArray::fromText("b"), diagnostics);
    }
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(checksums(), "1:a 2:a2 3:b 4:c 5:c2 6:b ");
}

// A read function sees one state of the registry, whatever other connections commit meanwhile; an
// exception ends it and leaves no read transaction behind.
TEST_F(TransactionTest, AReadFunctionSeesOneStateOfTheRegistry) {
    Diagnostics diagnostics;
    create("first", diagnostics);
    vrex::DataModelRepository writer;
    ASSERT_EQ(openRepository(writer, location_), "");
    std::size_t before = 0;
    std::size_t after = 0;
    repository_.performDictionaryRead(
        [&](Diagnostics&) {
            before = allObjects(repository_, *utilities_).size();
            Diagnostics writing;
            writer.createObject(Category(writer, "SCM_UTILITIES").cls, writing);  // committed meanwhile
            EXPECT_TRUE(writing.empty()) << writing.toString();
            after = allObjects(repository_, *utilities_).size();
        },
        diagnostics);
    EXPECT_EQ(before, 1u);
    EXPECT_EQ(after, 1u) << "the second read sees the snapshot of the first";
    EXPECT_EQ(allObjects(repository_, *utilities_).size(), 2u) << "the read transaction ended";
    EXPECT_THROW(repository_.performDictionaryRead(
                     [&](Diagnostics&) {
                         allObjects(repository_, *utilities_);
                         throw std::runtime_error("thrown");
                     },
                     diagnostics),
                 std::runtime_error);
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
        if (!errors.empty()) _exit(11);
        // The transaction's pages wait in memory; the commit must write them to the log.
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

// A writer that cannot have the write lock within the busy timeout says why and how long it waited.
TEST_F(TransactionTest, AWriterThatTimesOutSaysTheRegistryIsLocked) {
    vrex::DataModelRepository waiter;
    ASSERT_EQ(openImpatient(waiter, location_, 200), "");
    Diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    waiter.beginTransaction(diagnostics);
    EXPECT_EQ(identifiers(diagnostics), "vrex:transaction:beginFailed ");
    EXPECT_NE(diagnostics.toString().find("is locked by another process; waited 0.2 s (SCM_BUSY_TIMEOUT_MS)"),
              std::string::npos)
        << diagnostics.toString();
}

// Two processes register overlapping keys at once, each "look up, then create or merge" in one
// dictionary function: every key ends up in exactly one object holding both contributions. A
// write lock taken late (at the first write instead of the begin) fails it.
TEST(ConcurrentProcesses, LookUpThenCreateOrMergeIsAtomic) {
    scm_test::TestRegistry registry;
    const std::string location = registry.location();
    {
        vrex::DataModelRepository maker;  // the processes start on a registry that exists
        ASSERT_EQ(openRepository(maker, location), "");
    }
    int ready[2], go[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(go), 0);
    auto registerKeys = [&](int first, int last, const std::string& who) {
        char byte = 'r';
        vrex::DataModelRepository repository;
        if (!openRepository(repository, location).empty() || write(ready[1], &byte, 1) != 1 ||
            read(go[0], &byte, 1) != 1) {
            return 20;
        }
        const Category category(repository, "SCM_SHARED_FUNCTIONS");
        for (int key = first; key < last; ++key) {
            Diagnostics diagnostics;
            repository.performDictionaryFunction(
                [&](Diagnostics& inner) {
                    vrex::MatchConstraints byChecksum;
                    byChecksum.add(category.checksum, vrex::PropertyValueMatchRelation::Equals, std::to_string(key));
                    std::vector<vrex::ObjectRef> found;
                    repository.findObjects(category.cls, byChecksum, found, inner);
                    vrex::ObjectRef object = found.empty() ? repository.createObject(category.cls, inner) : found[0];
                    Thing data(found.empty() ? who : payloadOf(repository.getPropertyValue(object, category.data, inner)) + "+" + who);
                    repository.setPropertyValue(object, category.checksum, qaArray::fromText(std::to_string(key)), inner);
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
        if (children[i] == 0) _exit(i == 0 ? registerKeys(0, 80, "A") : registerKeys(40, 120, "B"));
    }
    char byte;
    ASSERT_TRUE(read(ready[0], &byte, 1) == 1 && read(ready[0], &byte, 1) == 1);  // both opened
    ASSERT_EQ(write(go[1], "gg", 2), 2);
    for (pid_t child : children) EXPECT_EQ(exitStatusOf(child), 0);
    for (int fd : {ready[0], ready[1], go[0], go[1]}) close(fd);

    vrex::DataModelRepository repository;
    ASSERT_EQ(openRepository(repository, location), "");
    const Category category(repository, "SCM_SHARED_FUNCTIONS");
    Diagnostics diagnostics;
    const std::vector<vrex::ObjectRef> objects = allObjects(repository, category);
    std::set<std::string> keys;
    int merged = 0;
    for (const vrex::ObjectRef& object : objects) {
        keys.insert(repository.getPropertyValue(object, category.checksum, diagnostics).text());
        const std::string payload = payloadOf(repository.getPropertyValue(object, category.data, diagnostics));
        merged += payload == "A+B" || payload == "B+A";
    }
    EXPECT_EQ(objects.size(), 120u);
    EXPECT_EQ(keys.size(), 120u);
    EXPECT_EQ(merged, 40);  // keys 40..79 were registered by both
    EXPECT_TRUE(diagnostics.empty());
}

}  // namespace

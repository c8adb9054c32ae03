// Objects created inside a transaction are written as one row when something needs them (see
// PendingObject): everything a caller can observe, the stored rows and ids too, must be as if
// each write reached the registry at once.
#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <sqlite3.h>

#include <stdexcept>

#include "VrexTestSupport.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace vrex_test;

class PendingObjectTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(openRepository(repository_, location_), "");
        utilities_ = std::make_unique<Category>(repository_, "SCM_UTILITIES");
    }

    vrex::ObjectRef create(const std::string& checksum, tvdiag::util::diagnostics& diagnostics) {
        vrex::ObjectRef object = repository_.createObject(utilities_->cls, diagnostics);
        repository_.setPropertyValue(object, utilities_->checksum, qaArray::fromText(checksum), diagnostics);
        return object;
    }

    void inFunction(const std::function<void(tvdiag::util::diagnostics&)>& fn,
                    tvdiag::util::diagnostics& diagnostics) {
        repository_.performDictionaryFunction(fn, diagnostics);
    }

    // Every row of the utilities' table as the registry holds it: id, then each column's type
    // ("text" or "null") and value ("-" for null).
    std::string rows() { return scm_test::postgresqlSelected() ? databaseRows() : fileRows(); }

    std::string databaseRows() {
        std::string columns = "_id";
        for (const char* column : {"checksum", "name", "identity", "data"}) {
            columns += std::string(", CASE WHEN ") + column + " IS NULL THEN 'null' ELSE 'text' END, encode(" +
                       column + ", 'escape')";
        }
        PGconn* connection = PQconnectdb(location_.c_str());
        PGresult* result =
            PQexec(connection, ("SELECT " + columns + " FROM scm.scm_utilities ORDER BY _id").c_str());
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
                           "SELECT _id, typeof(Checksum), Checksum, typeof(Name), Name, "
                           "typeof(Identity), Identity, typeof(Data), Data FROM \"SCM_UTILITIES\" "
                           "ORDER BY _id",
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

TEST_F(PendingObjectTest, RowsWrittenInsideAFunctionEqualRowsWrittenAtOnce) {
    Thing thing("payload");
    auto fill = [&](tvdiag::util::diagnostics& diagnostics) {
        vrex::ObjectRef object = create("sum", diagnostics);
        repository_.setPropertyValue(object, utilities_->name, qaArray::fromText("n"), diagnostics);
        repository_.setPropertyValue(object, utilities_->data, thingValue(thing), diagnostics);
        repository_.setPropertyValue(object, utilities_->name, qaArray(), diagnostics);  // unset again
        repository_.setPropertyValue(object, utilities_->name, qaArray::fromText("m"), diagnostics);
    };
    tvdiag::util::diagnostics diagnostics;
    fill(diagnostics);  // outside a transaction: every write reaches the file at once
    inFunction(fill, diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    const std::string row = "text,sum,text,m,null,-,text,";
    const std::string stored = rows();
    EXPECT_EQ(stored.substr(0, stored.find('\n') + 1).substr(2),
              stored.substr(stored.find('\n') + 1).substr(2));
    EXPECT_EQ(stored.substr(0, 2 + row.size()), "1," + row);
    EXPECT_EQ(stored.substr(stored.find('\n') + 1, 2), "2,");
}

TEST_F(PendingObjectTest, EveryReadInsideTheTransactionSeesTheNewObject) {
    tvdiag::util::diagnostics diagnostics;
    inFunction(
        [&](tvdiag::util::diagnostics& inner) {
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

TEST_F(PendingObjectTest, AnUndoneFunctionLeavesNoRowAndLaterObjectsTakeSQLitesIds) {
    tvdiag::util::diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    inFunction([&](tvdiag::util::diagnostics& inner) { create("a", inner); }, diagnostics);
    vrex::ObjectRef undone;
    tvdiag::util::diagnostics failed;
    inFunction(
        [&](tvdiag::util::diagnostics& inner) {
            undone = create("b", inner);
            inner.add("test:failure", "the function fails");
        },
        failed);
    tvdiag::util::diagnostics late;
    repository_.setPropertyValue(undone, utilities_->name, qaArray::fromText("late"), late);
    ASSERT_EQ(late.records().size(), 1u);
    EXPECT_EQ(late.records()[0].identifier, "vrex:object:notFound");
    EXPECT_THROW(inFunction([&](tvdiag::util::diagnostics& inner) {
                     create("c", inner);
                     throw std::runtime_error("thrown");
                 },
                                diagnostics),
                 std::runtime_error);
    inFunction([&](tvdiag::util::diagnostics& inner) { create("d", inner); }, diagnostics);
    repository_.commitTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(rows(), "1,text,a,null,-,null,-,null,-\n2,text,d,null,-,null,-,null,-\n");
}

TEST_F(PendingObjectTest, IdsFollowWhatOtherConnectionsAddedBetweenTransactions) {
    vrex::DataModelRepository other;
    ASSERT_EQ(openRepository(other, location_), "");
    Category otherUtilities(other, "SCM_UTILITIES");
    tvdiag::util::diagnostics diagnostics;
    for (const char* checksum : {"a", "c"}) {
        repository_.beginTransaction(diagnostics);
        create(checksum, diagnostics);
        create(std::string(checksum) + "2", diagnostics);
        repository_.commitTransaction(diagnostics);
        vrex::ObjectRef between = other.createObject(otherUtilities.cls, diagnostics);
        other.setPropertyValue(between, otherUtilities.checksum, qaArray::fromText("b"), diagnostics);
    }
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(rows(),
              "1,text,a,null,-,null,-,null,-\n2,text,a2,null,-,null,-,null,-\n"
              "3,text,b,null,-,null,-,null,-\n4,text,c,null,-,null,-,null,-\n"
              "5,text,c2,null,-,null,-,null,-\n6,text,b,null,-,null,-,null,-\n");
}

TEST_F(PendingObjectTest, ExplicitTransactionsWriteOrDropTheirNewObject) {
    tvdiag::util::diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    create("dropped", diagnostics);
    repository_.rollbackTransaction(diagnostics);
    repository_.beginTransaction(diagnostics);
    create("kept", diagnostics);
    repository_.commitTransaction(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    EXPECT_EQ(rows(), "1,text,kept,null,-,null,-,null,-\n");
}

TEST_F(PendingObjectTest, ClosingInsideATransactionDropsTheNewObject) {
    tvdiag::util::diagnostics diagnostics;
    repository_.beginTransaction(diagnostics);
    create("lost", diagnostics);
    repository_.close();
    EXPECT_EQ(rows(), "");
}

}  // namespace

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

class Driver;

// A new object whose row is not written yet. Inside a write transaction, creating an object and
// then writing its properties one by one would cost an INSERT and an UPDATE per property; the
// repository instead keeps the object's id (one the engine handed out, or the one it would give
// it: the class's largest id plus one, read under the write lock) and its property texts here,
// and inserts the whole row at once when anything else needs the file (RepositoryObjects says
// when). At most one object is pending at a time.
class PendingObject {
public:
    bool isEmpty() const { return cls_ == nullptr; }
    bool is(const ClassInfo& cls, std::int64_t id) const { return cls_ == &cls && id_ == id; }
    const ClassInfo* objectClass() const { return cls_; }

    // Starts a pending object of `cls` with every property unset.
    void start(const ClassInfo& cls, std::int64_t id);
    // The stored text of one property; nullopt unsets it.
    void set(const PropertyInfo& property, std::optional<std::string> text);
    // Inserts the row and forgets the object. False when the engine refused (the object is
    // forgotten all the same; the driver's report says why).
    bool write(Driver& driver);
    // Forgets the object without writing it (its transaction is being rolled back).
    void discard();

private:
    const ClassInfo* cls_ = nullptr;
    std::int64_t id_ = 0;
    std::vector<std::optional<std::string>> texts_;  // by PropertyInfo::position
};

}  // namespace vrex::internal

#include "vrex/internal/PendingObject.hpp"

#include <sqlite3.h>

#include "vrex/internal/StatementCache.hpp"

namespace vrex::internal {

void PendingObject::start(const ClassInfo& cls, std::int64_t id) {
    cls_ = &cls;
    id_ = id;
    texts_.assign(cls.properties.size(), std::nullopt);
}

void PendingObject::set(const PropertyInfo& property, std::optional<std::string> text) {
    texts_[property.position] = std::move(text);
}

bool PendingObject::write(StatementCache& statements) {
    const ClassInfo& cls = *cls_;
    cls_ = nullptr;
    tvdiag::util::diagnostics ignored;  // a failed prepare leaves its error on the connection
    Statement* insert = statements.insertWholeObject(cls, ignored);
    if (insert == nullptr) return false;
    Statement::Use use(*insert);
    insert->bindInt64(1, id_);
    for (std::size_t i = 0; i < texts_.size(); ++i) {
        if (texts_[i]) insert->bindBorrowedText(static_cast<int>(i + 2), *texts_[i]);
    }
    return insert->step() == SQLITE_DONE;
}

void PendingObject::discard() { cls_ = nullptr; }

}  // namespace vrex::internal

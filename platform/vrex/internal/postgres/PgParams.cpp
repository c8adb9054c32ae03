#include "vrex/internal/postgres/PgParams.hpp"

#include <utility>

namespace vrex::internal {

PgParams& PgParams::bytes(const std::string& text) {
    values_.push_back(text.data());
    lengths_.push_back(static_cast<int>(text.size()));
    formats_.push_back(1);
    return *this;
}

PgParams::PgParams(const PgParams& other)
    : values_(other.values_),
      lengths_(other.lengths_),
      formats_(other.formats_),
      integers_(other.integers_),
      copies_(other.copies_),
      integerAt_(other.integerAt_),
      copyAt_(other.copyAt_) {
    repoint();
}

PgParams::PgParams(PgParams&& other) noexcept
    : values_(std::move(other.values_)),
      lengths_(std::move(other.lengths_)),
      formats_(std::move(other.formats_)),
      integers_(std::move(other.integers_)),
      copies_(std::move(other.copies_)),
      integerAt_(std::move(other.integerAt_)),
      copyAt_(std::move(other.copyAt_)) {
    repoint();
}

PgParams& PgParams::operator=(const PgParams& other) {
    if (this != &other) *this = PgParams(other);
    return *this;
}

PgParams& PgParams::operator=(PgParams&& other) noexcept {
    values_ = std::move(other.values_);
    lengths_ = std::move(other.lengths_);
    formats_ = std::move(other.formats_);
    integers_ = std::move(other.integers_);
    copies_ = std::move(other.copies_);
    integerAt_ = std::move(other.integerAt_);
    copyAt_ = std::move(other.copyAt_);
    repoint();
    return *this;
}

void PgParams::repoint() {
    for (std::size_t i = 0; i < integers_.size(); ++i) values_[integerAt_[i]] = integers_[i].data();
    for (std::size_t i = 0; i < copies_.size(); ++i) values_[copyAt_[i]] = copies_[i].data();
}

PgParams& PgParams::copy(std::string text) {
    copyAt_.push_back(values_.size());
    return bytes(copies_.emplace_back(std::move(text)));
}

PgParams& PgParams::null() {
    values_.push_back(nullptr);
    lengths_.push_back(0);
    formats_.push_back(1);
    return *this;
}

PgParams& PgParams::int64(std::int64_t value) {
    integerAt_.push_back(values_.size());
    std::array<char, 8>& bigEndian = integers_.emplace_back();
    auto bits = static_cast<std::uint64_t>(value);
    for (int i = 7; i >= 0; --i, bits >>= 8) bigEndian[i] = static_cast<char>(bits & 0xff);
    values_.push_back(bigEndian.data());
    lengths_.push_back(8);
    formats_.push_back(1);
    return *this;
}

}  // namespace vrex::internal

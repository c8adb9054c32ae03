#include "vrex/internal/postgres/PgParams.hpp"

namespace vrex::internal {

PgParams& PgParams::bytes(const std::string& text) {
    values_.push_back(text.data());
    lengths_.push_back(static_cast<int>(text.size()));
    formats_.push_back(1);
    return *this;
}

PgParams& PgParams::null() {
    values_.push_back(nullptr);
    lengths_.push_back(0);
    formats_.push_back(1);
    return *this;
}

PgParams& PgParams::int64(std::int64_t value) {
    std::array<char, 8>& bigEndian = integers_.emplace_back();
    auto bits = static_cast<std::uint64_t>(value);
    for (int i = 7; i >= 0; --i, bits >>= 8) bigEndian[i] = static_cast<char>(bits & 0xff);
    values_.push_back(bigEndian.data());
    lengths_.push_back(8);
    formats_.push_back(1);
    return *this;
}

}  // namespace vrex::internal

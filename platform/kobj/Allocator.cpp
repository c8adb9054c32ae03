#include "kobj/Allocator.hpp"

#include <atomic>
#include <new>

namespace kobj {

namespace {

std::atomic<std::size_t> liveBlocks{0};

}  // namespace

void* cosAllocate(std::size_t size) {
    void* block = ::operator new(size);
    ++liveBlocks;
    return block;
}

void cosFree(void* block) noexcept {
    if (block == nullptr) return;
    --liveBlocks;
    ::operator delete(block);
}

std::size_t cosLiveBlocks() { return liveBlocks; }

}  // namespace kobj

#pragma once

#include <cstddef>

// The class system's allocator: package and class-info objects are allocated and freed through
// it (their operator new and operator delete). It is the global heap, with a count of the blocks
// in use so that a program can check that released packages gave their memory back.
namespace kobj {

// A block of `size` bytes; throws std::bad_alloc when there is no memory.
void* cosAllocate(std::size_t size);
// Frees a block from cosAllocate; null is ignored.
void cosFree(void* block) noexcept;
// How many blocks are allocated and not yet freed.
std::size_t cosLiveBlocks();

}  // namespace kobj

// SimplePool: an allocator for a known number of equal objects.
//
// A container file says in advance how many records it has. The pool takes one block of memory for
// as many entries and hands them out in order, by counting up: no search, no header for each entry,
// and neighbours in the file are neighbours in memory. After two files the pool has two blocks:
//
//   block 1   [e e e e e e]        used up, or closed by dropNewest()
//   block 2   [e e . . . . . .]    hands out entries
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {

/// Owns every block; only the newest hands out entries, and no entry is taken back alone. Entries
/// are constructed when they are handed out. So a file that announces far more records than it has
/// costs address space, but no memory: the system provides a page when it is first written.
template <class T>
class SimplePool {
  public:
    /// Starts a block of n entries.
    /// @return false, with nothing changed, for an n of 0 or less or where memory runs out
    bool allocate(int n) {
        constexpr const char* kUnit = "ZVKPatternContainer";
        if (n <= 0) return false;
        try {
            blocks.emplace_back(static_cast<size_t>(n));
        } catch (const std::bad_alloc&) {
            ZVK_ERROR("fail to allocate SimplePool");
            return false;
        }
        return true;
    }

    /// @return a default-constructed entry of the newest block, owned by the pool; null if it is
    ///         used up
    T* get() { return blocks.empty() ? nullptr : blocks.back().get(); }

    /// Frees the newest block; nothing is handed out then until the next allocate().
    void dropNewest() {
        blocks.pop_back();
        if (!blocks.empty()) blocks.back().close();
    }

    /// Frees all blocks.
    void reset() { blocks.clear(); }

  private:
    class Block {
      public:
        explicit Block(size_t n) : entries(std::allocator<T>().allocate(n)), room(n), capacity(n) {}
        ~Block() {
            if (entries == nullptr) return;
            std::destroy_n(entries, used);
            std::allocator<T>().deallocate(entries, room);
        }
        Block(Block&& other) noexcept
            : entries(std::exchange(other.entries, nullptr)),
              room(other.room),
              capacity(other.capacity),
              used(other.used) {}
        Block& operator=(Block&&) = delete;

        T* get() { return used < capacity ? std::construct_at(entries + used++) : nullptr; }
        void close() { capacity = used; }

      private:
        T* entries;
        size_t room;      // entries allocated
        size_t capacity;  // entries that may be handed out
        size_t used = 0;
    };

    std::vector<Block> blocks;
};

}  // namespace STREAMENGINE_SPACE

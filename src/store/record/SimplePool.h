// SimplePool: a bump allocator for a known number of equal objects.
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {

/// Owns every block; only the newest hands out entries, and none is given back on its own. Entries
/// are constructed when they are handed out: a block larger than what is used of it takes no
/// memory.
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

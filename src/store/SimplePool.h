// SimplePool: a bump allocator for a known number of equal objects.
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "engine/ZVKUtil.h"

namespace STREAMENGINE_SPACE {

/// Owns every block; only the newest hands out entries, and none is given back on its own.
template <class T>
class SimplePool {
  public:
    /// Starts a block of n default-constructed entries.
    /// @return false, with nothing changed, for an n of 0 or less or where memory runs out
    bool allocate(int n) {
        constexpr const char* kUnit = "ZVKPatternContainer";
        if (n <= 0) return false;
        try {
            blocks.push_back(std::make_unique<T[]>(static_cast<size_t>(n)));
        } catch (const std::bad_alloc&) {
            ZVK_ERROR("fail to allocate SimplePool");
            return false;
        }
        block = blocks.back().get();
        capacity = n;
        used = 0;
        return true;
    }

    /// @return the next entry of the newest block, owned by the pool; null if it is used up
    T* get() { return used < capacity ? &block[used++] : nullptr; }

    /// Frees the newest block; nothing is handed out then until the next allocate().
    void dropNewest() {
        blocks.pop_back();
        block = nullptr;
        capacity = 0;
        used = 0;
    }

    /// Frees all blocks.
    void reset() {
        blocks.clear();
        block = nullptr;
        capacity = 0;
        used = 0;
    }

  private:
    T* block = nullptr;  // borrowed from blocks
    int32_t capacity = 0;
    int32_t used = 0;
    std::vector<std::unique_ptr<T[]>> blocks;
};

}  // namespace STREAMENGINE_SPACE

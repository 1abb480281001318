// Arena: memory for many small things that are freed together.
//
// An allocation is a pointer moved within a large block; a free list and a header for each object,
// as a heap has them, are not needed where nothing is freed alone. A block is filled from both
// ends:
//
//   | record | record | node |      free      | "name 2" | "name 1" |
//                            ^front      back^
//
// Objects, which must be aligned, go to the front, bytes, which need not be, to the back. So no gap
// is left between a text of odd length and the next object. If something does not fit into what is
// free, a new block is begun, and what the old one has left stays unused.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace QLT_SPACE {

/// Owns all that it hands out until reset() or its end. Destructors are not run.
class Arena {
  public:
    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    /// @return the bytes of a block that `count` objects of this type take
    template <class T>
    static constexpr size_t roomFor(size_t count = 1) {
        static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= kAlignment);
        const size_t bytes = count * sizeof(T);
        return alignof(T) == 1 ? bytes : (bytes + kAlignment - 1) / kAlignment * kAlignment;
    }

    /// Makes room: objects of no more than so many bytes in all can then be made without a failure.
    /// @throws std::bad_alloc
    void reserve(size_t bytes) {
        if (bytes > static_cast<size_t>(back - front)) addBlock(bytes);
    }

    /// All of the following throw std::bad_alloc where memory runs out.
    template <class T, class... Arguments>
    T* make(Arguments&&... arguments) {
        return std::construct_at(take<T>(1), std::forward<Arguments>(arguments)...);
    }

    template <class T>
    std::span<T> copy(std::span<const T> source) {
        T* const copied = take<T>(source.size());
        std::uninitialized_copy(source.begin(), source.end(), copied);
        return {copied, source.size()};
    }

    /// @return a copy of the text that ends with a NUL
    const char* copyText(std::string_view text) {
        char* const copied = take<char>(text.size() + 1);
        *std::copy(text.begin(), text.end(), copied) = '\0';
        return copied;
    }

    /// Frees everything.
    void reset() {
        blocks.clear();
        front = back = nullptr;
        nextBlock = kFirstBlock;
    }

  private:
    static constexpr size_t kAlignment = alignof(void*);
    // With the heap's header included, whole pages. Blocks double, so that small sets stay small.
    static constexpr size_t kFirstBlock = 4096 - 32;
    static constexpr size_t kLargestBlock = 262144 - 32;

    template <class T>
    T* take(size_t count) {
        const size_t bytes = roomFor<T>(count);
        reserve(bytes);
        if constexpr (alignof(T) == 1) return reinterpret_cast<T*>(back -= bytes);
        front += bytes;
        return reinterpret_cast<T*>(front - bytes);
    }

    void addBlock(size_t least) {
        const size_t size = std::max(least, nextBlock);
        blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
        front = blocks.back().get();
        back = front + size;
        nextBlock = std::min(2 * nextBlock, kLargestBlock);
    }

    std::vector<std::unique_ptr<std::byte[]>> blocks;
    std::byte* front = nullptr;  // what is free of the newest block: [front, back)
    std::byte* back = nullptr;
    size_t nextBlock = kFirstBlock;
};

}  // namespace QLT_SPACE

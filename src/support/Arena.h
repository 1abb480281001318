// Arena: memory for many small things that are freed together.
//
// A block is filled from both ends: objects, aligned, from the front, bytes from the back. Neither
// pads the other, and nothing has a header of its own. What a block has left is given up when
// something does not fit into it.
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

    /// @return the bytes that count objects of this type take of a block
    template <class T>
    static constexpr size_t roomFor(size_t count = 1) {
        static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= kAlignment);
        const size_t bytes = count * sizeof(T);
        return alignof(T) == 1 ? bytes : (bytes + kAlignment - 1) / kAlignment * kAlignment;
    }

    /// Makes room: what takes no more than so many bytes in all can be made without a failure.
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

    /// @return the text with a NUL behind it
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
    // In whole pages together with the header of a block on the heap. Blocks double, so that small
    // sets stay small.
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

// Allocation that fails with the engine's own texts: hosts' logs show by them what ran out.
#pragma once

#include <memory>
#include <new>

#include "support/Exception.h"

namespace QLT_SPACE {

/// Runs make and turns a failed allocation in it into an Exception with the given text.
template <class Make>
auto allocateOr(const char* failure, Make make) {
    try {
        return make();
    } catch (const std::bad_alloc&) {
        throw Exception(failure);
    }
}

template <class T, class... Arguments>
std::unique_ptr<T> makeUniqueOr(const char* failure, Arguments&&... arguments) {
    return allocateOr(failure,
                      [&] { return std::make_unique<T>(std::forward<Arguments>(arguments)...); });
}

}  // namespace QLT_SPACE

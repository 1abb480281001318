// InstanceRegistry: the live instances. A handle that a host passes in is checked against them.
//
// A handle is the address of its instance. One that was destroyed or never created may point
// anywhere, so it must not be read before it is found here. Addresses are compared as integers.
//
// Threads: all functions may be called from any thread.
#pragma once

#include <cstdint>
#include <set>

#include "support/Mutex.h"

namespace STREAMENGINE_SPACE {

class InstanceRegistry {
  public:
    void add(const void* instance) {
        const QLT_SPACE::Monitor registering(registryLock);
        instances.insert(reinterpret_cast<uintptr_t>(instance));
    }
    void remove(const void* instance) {
        const QLT_SPACE::Monitor registering(registryLock);
        instances.erase(reinterpret_cast<uintptr_t>(instance));
    }

    /// @return whether an address is that of a live instance; the memory there is not read
    bool holds(const void* instance) const {
        const QLT_SPACE::Monitor registering(registryLock);
        return instances.contains(reinterpret_cast<uintptr_t>(instance));
    }

    /// Calls visit(address) for each live instance with the registry locked: visit must not add or
    /// remove one.
    template <class Visit>
    void forEach(Visit visit) const {
        const QLT_SPACE::Monitor registering(registryLock);
        for (const uintptr_t address : instances) visit(address);
    }

  private:
    mutable QLT_SPACE::Mutex registryLock;
    std::set<uintptr_t> instances;  // addresses
};

}  // namespace STREAMENGINE_SPACE

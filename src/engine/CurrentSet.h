// CurrentSet: which of the engine's two signature sets new streams are bound to.
//
// Threads: all functions may be called from any thread. A reload publishes a new set while streams
// bind to the old one; each keeps the set that it was bound to.
#pragma once

#include <cstdint>

#include "store/PatternContainer.h"
#include "support/Mutex.h"

namespace STREAMENGINE_SPACE {

class CurrentSet {
  public:
    /// What a stream is bound to.
    struct Binding {
        PatternContainer* container;  // null while nothing is loaded; else its use count was raised
        uint32_t generation;
    };

    /// Binds a stream to the current set. Lower the use count when the stream ends.
    Binding bind();

    /// @return the current set, borrowed, its use count unchanged; null while nothing is loaded
    PatternContainer* container() const;
    /// @return the number of sets that replaced another one since the last clear()
    uint32_t generation() const;

    /// Makes the first set current.
    void publishFirst(PatternContainer& loaded);
    /// Makes a reloaded set current and raises the generation.
    void publishNext(PatternContainer& loaded);
    /// Nothing is loaded any more.
    void clear();

    /// @return the set that the next reload may fill; null while a stream still uses it. Only while
    ///         a set is current.
    PatternContainer* idlePartner() const;

  private:
    mutable QLT_SPACE::Mutex swapLock;    // guards both fields
    PatternContainer* current = nullptr;  // one of the engine's two, or null
    uint32_t reloads = 0;
};

}  // namespace STREAMENGINE_SPACE

// CurrentSet: which of the engine's two signature sets new streams are bound to.
//
// Two sets take turns. One is current; a reload fills the other one, its partner, and makes that
// current. A stream keeps the set to which it was bound when it began, so a reload neither waits
// for streams nor changes what they search. Example:
//
//   load                fills A           A is current
//   streams 1, 2 begin  bound to A        A is used by 2
//   reload              fills B           B is current, A still used by 2
//   stream 3 begins     bound to B        B is used by 1
//   reload              refused           it would have to fill A
//   streams 1, 2 end                      A is used by none
//   reload              fills A           A is current
//
// A third set would refuse fewer reloads, but a set is the largest thing that the engine owns.
//
// The generation counts the reloads. By it an instance knows that a set was filled anew, though it
// lies at the same address: after two reloads the current set is A again.
//
// Threads: all functions may be called from any thread. The use count is raised under the lock
// under which the current set is read, so no stream can be bound to a set after it ceased to be
// current.
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

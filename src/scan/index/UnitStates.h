// UnitStates: which units of the index wait to be found in a stream, and which no longer matter.
//
// It is asked for each anchor of a part that the tables find in the text, before anything of the
// unit is read, so that it has to be one probe of a flat table.
#pragma once

#include <cstdint>

#include "support/FlatMap.h"

namespace STREAMENGINE_SPACE {

enum class UnitState : uint32_t {
    Idle,   // a first part that was not found yet, or a later part whose predecessor was not
    Awake,  // the part before it was found
    Done    // no match of it can be accepted any more
};

class UnitStates {
  public:
    UnitState of(uint32_t unit) const {
        const UnitState* known = states.find(unit);
        return known != nullptr ? *known : UnitState::Idle;
    }

    /// Changes Idle to Awake; other states stay.
    void wake(uint32_t unit) {
        if (states.find(unit) == nullptr) states.insert(unit) = UnitState::Awake;
    }
    void finish(uint32_t unit) { states.findOrInsert(unit) = UnitState::Done; }

    /// Changes every Done to Awake: what was ruled out may happen again.
    void reopen() {
        states.forEachValue([](UnitState& state) { state = UnitState::Awake; });
    }

    void clear() { states.clear(); }

  private:
    QLT_SPACE::FlatMap<UnitState> states;  // by unit; never Idle
};

}  // namespace STREAMENGINE_SPACE

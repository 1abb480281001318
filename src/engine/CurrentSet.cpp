#include "engine/CurrentSet.h"

namespace STREAMENGINE_SPACE {

using QLT_SPACE::Monitor;

CurrentSet::Binding CurrentSet::bind() {
    const Monitor swapping(swapLock);
    if (current != nullptr) current->increaseCount();
    return {current, reloads};
}

PatternContainer* CurrentSet::container() const {
    const Monitor swapping(swapLock);
    return current;
}

uint32_t CurrentSet::generation() const {
    const Monitor swapping(swapLock);
    return reloads;
}

void CurrentSet::publishFirst(PatternContainer& loaded) {
    const Monitor swapping(swapLock);
    current = &loaded;
}

void CurrentSet::publishNext(PatternContainer& loaded) {
    const Monitor swapping(swapLock);
    current = &loaded;
    ++reloads;
}

void CurrentSet::clear() {
    const Monitor swapping(swapLock);
    current = nullptr;
    reloads = 0;
}

// The count that is read here may fall at any moment, but not rise: streams are bound to the
// current set alone. So a set found idle stays idle until it is published.
PatternContainer* CurrentSet::idlePartner() const {
    const Monitor swapping(swapLock);
    PatternContainer* target = current->partner;
    return target != nullptr && target->getUsingCount() <= 0 ? target : nullptr;
}

}  // namespace STREAMENGINE_SPACE

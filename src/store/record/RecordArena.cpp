#include "store/record/RecordArena.h"

#include <cstring>

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Arena;

// What a plain signature costs besides its own bytes and its name.
static_assert(sizeof(void*) != 8 || sizeof(BmPattern) + sizeof(BmPatternNode) == 64);

size_t roomForTexts(const VQPattern& pattern) {
    const size_t offsetRoom = pattern.offset != nullptr ? std::strlen(pattern.offset) + 1 : 0;
    return std::strlen(pattern.virName) + 1 + offsetRoom;
}

}  // namespace

// Callers reserve first, then build their tables, and keep() last. So where memory runs out nothing
// has been entered yet, and once a record is entered it cannot be lost. The room is counted by the
// same roomFor() with which the arena takes it; texts that turn out to be shared leave some of it
// unused.
void RecordArena::reserve(const BmPattern& pattern) {
    arena.reserve(Arena::roomFor<BmPattern>() + Arena::roomFor<BmPatternNode>() +
                  pattern.sig.size() + roomForTexts(pattern));
}

void RecordArena::reserve(const TriePattern& pattern) {
    size_t groupRoom = Arena::roomFor<ByteGroup>(pattern.groups.size());
    for (const ByteGroup group : pattern.groups) groupRoom += group.size();
    arena.reserve(Arena::roomFor<TriePattern>() + Arena::roomFor<TriePatternNode>() +
                  pattern.sig.size() + Arena::roomFor<Symbol>(pattern.symbols.size()) + groupRoom +
                  roomForTexts(pattern));
}

BmPatternNode* RecordArena::keep(const BmPattern& pattern) {
    auto* const kept = arena.make<BmPattern>(pattern);
    keepTexts(*kept);
    kept->sig = arena.copy(pattern.sig);
    return arena.make<BmPatternNode>(kept);
}

TriePatternNode* RecordArena::keep(const TriePattern& pattern) {
    auto* const kept = arena.make<TriePattern>(pattern);
    keepTexts(*kept);
    kept->sig = arena.copy(pattern.sig);
    kept->symbols = arena.copy(pattern.symbols);
    const std::span<ByteGroup> groups = arena.copy(pattern.groups);
    for (ByteGroup& group : groups) group = arena.copy(group);
    kept->groups = groups;
    return arena.make<TriePatternNode>(kept);
}

/// The parts of a signature follow each other and have one name: a name equal to the last one is
/// not copied again.
void RecordArena::keepTexts(VQPattern& pattern) {
    if (lastName == nullptr || std::strcmp(lastName, pattern.virName) != 0) {
        lastName = arena.copyText(pattern.virName);
    }
    pattern.virName = lastName;
    if (pattern.offset != nullptr) pattern.offset = arena.copyText(pattern.offset);
}

void RecordArena::reset() {
    arena.reset();
    lastName = nullptr;
}

}  // namespace STREAMENGINE_SPACE

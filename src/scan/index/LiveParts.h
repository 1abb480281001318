// LiveParts: what counts, of all parts of a set, at this moment of a stream.
//
// A first part counts until it is found; a later part from the moment in which the part before it
// is accepted until it is accepted itself or its gap has grown too wide. Most parts of a set count
// at no moment of a stream, so the search asks here before it looks at anything of a unit, and
// probes with filters that hold the grams of what counts.
//
// The state is as large as the set, so it belongs to the thread, which searches one stream at a
// time. It follows from the stream's PartLog: it is made up again when the thread goes on with
// another stream. Otherwise nothing is done between two chunks of a stream.
//
// Invariants:
//   - A unit is alive if an occurrence of it may be accepted. Bits of a live filter may be set for
//     units that are not alive, but never the other way round.
//   - Each change is noted before it is made, so that a search that an exception ends can be
//   undone.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "scan/index/LiveFilter.h"
#include "scan/index/PartLog.h"
#include "scan/index/WaitingHeaps.h"
#include "store/index/SignatureIndex.h"
#include "support/FlatMap.h"

namespace STREAMENGINE_SPACE {

/// Names a state of a stream that grows by its log alone. No two are equal; {} names none.
struct StreamKey {
    uint64_t scanner = 0;
    uint64_t epoch = 0;

    bool operator==(const StreamKey& other) const = default;
};

class LiveParts {
  public:
    /// @return the state that the calling thread searches an index with. It has two, so that the
    ///         streams of a set and of its successor do not take one from each other.
    static LiveParts& ofThread(const SignatureIndex& searched);

    LiveParts() = default;
    LiveParts(const LiveParts&) = delete;
    LiveParts& operator=(const LiveParts&) = delete;

    /// Makes the state that of a stream. The key is forgotten until release(), so that what an
    /// exception leaves behind is made up again.
    /// @param searched  has part units; borrowed until release()
    /// @param accepted  the stream's log; borrowed until release()
    /// @throws std::bad_alloc
    void adopt(const SignatureIndex& searched, const StreamKey& stream, PartLog& accepted);
    void release(const StreamKey& stream);

    GramFilter::View wideView() const { return wide.view(); }
    GramFilter::View narrowView() const { return narrow.view(); }

    /// @param runUnit  number of any RunUnit; those that are no parts are always alive
    bool isAlive(uint32_t runUnit) const {
        return runUnit >= states.size() || states[runUnit] != 0;
    }

    /// Takes an occurrence of a unit that is alive. Those of one unit have to come from left to
    /// right, and after every occurrence that ends before they begin.
    /// @param pos  stream offset at which it begins
    /// @return of the nodes that completed a signature the first by its rank, or kNoNode
    /// @throws std::bad_alloc
    uint32_t occur(uint32_t unit, uint32_t pos);

    /// @return the units that occur() woke since forgetWoken(); valid until the next occur()
    std::span<const uint32_t> wokenUnits() const { return woken; }
    void forgetWoken() { woken.clear(); }

    /// Clears the filter's bit of a hash that none of its grams that are alive needs.
    /// @throws std::bad_alloc
    void ignore(RunAnchor table, uint64_t hash) {
        (table == RunAnchor::Wide ? wide : narrow).clear(hash);
    }

    /// By line of a table: bit i is clear only if gram i belongs to a unit that is not alive.
    const uint8_t* lanesOf(RunAnchor table) const {
        return (table == RunAnchor::Wide ? wide : narrow).allLanes();
    }
    /// Clears such a bit.
    /// @throws std::bad_alloc
    void ignoreLane(RunAnchor table, uint32_t line, uint32_t lane) {
        (table == RunAnchor::Wide ? wide : narrow).clearLane(line, lane);
    }

  private:
    enum State : uint8_t {
        kRootOpen = 1,     // its first part was not found yet
        kWaiting = 2,      // its heap is not empty
        kCrowdedOpen = 4,  // its one part that is one of many children was not found yet
        kRare = 8          // it has first parts with an offset, or several of many children
    };
    /// A part that was accepted and has many children: these ask for it when they occur.
    struct CrowdedParent {
        uint32_t node;
        uint32_t end;  // stream offset just after the part
    };

    void install(const SignatureIndex& searched);
    void undo();
    /// Clears a bit of a unit's state.
    void close(uint32_t unit, State bit) {
        touched.push_back(unit);
        states[unit] &= static_cast<uint8_t>(~bit);
    }
    void replay();
    uint32_t accept(uint32_t node, uint32_t pos);
    void wakeChildren(const PartNode& parent, uint32_t number, uint32_t end);
    void wait(uint32_t node, uint32_t previousEnd);
    void wake(uint32_t unit);
    uint32_t occurAmongMany(uint32_t unit, uint32_t pos);
    uint32_t occurRarely(uint32_t unit, uint32_t pos);
    void askCrowdedParents(uint32_t unit, const PartTree::RareUse& rare);
    uint32_t firstCompleted(uint32_t one, uint32_t other) const;

    const SignatureIndex* index = nullptr;
    uint64_t buildNumber = 0;  // of the index that is installed
    StreamKey key;
    size_t applied = 0;  // entries of the log
    PartLog* log = nullptr;

    LiveFilter wide;
    LiveFilter narrow;
    std::vector<uint8_t> baseStates;  // of each part unit, when a stream begins
    std::vector<uint8_t> states;
    std::vector<uint32_t> heaps;  // of each part unit: a root
    WaitingHeaps waiting;
    std::vector<uint8_t> isAccepted;      // by node
    std::vector<uint32_t> acceptedNodes;  // what undo() has to take back, as touched
    std::vector<uint32_t> touched;        // part units, some more than once
    std::vector<uint32_t> woken;
    std::vector<CrowdedParent> crowdedParents;    // in the order in which they were accepted
    QLT_SPACE::FlatMap<uint32_t> crowdedNumbers;  // by node, in crowdedParents
    QLT_SPACE::FlatMap<uint32_t> crowdedAsked;    // by unit: how many of them it has asked for
};

}  // namespace STREAMENGINE_SPACE

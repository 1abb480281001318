// PatternContainer: one complete signature set, and the count of the scans that use it.
//
// Filled by one thread between reset() and prepare(), afterwards only read, by any number of
// scanners without a lock. It owns all that its trees and lists hold; reset() alone frees it and
// is only called while nobody uses the container. usingCount alone changes while scans run.
#pragma once

#include <cstdint>

#include "store/BmList.h"
#include "store/MD5List.h"
#include "store/SignatureIndex.h"
#include "store/TrieTree.h"
#include "support/Kernel.h"
#include "support/Mutex.h"

namespace STREAMENGINE_SPACE {

class PatternContainer {
  public:
    PatternContainer() = default;
    PatternContainer(const PatternContainer&) = delete;
    PatternContainer& operator=(const PatternContainer&) = delete;

    /// Parses one signature line and adds it to the store that fits it. Lines of other types than
    /// MD5, basic and extended are ignored.
    /// @param line         NUL-terminated
    /// @param type         a PatternType
    /// @param shortToTrie  a basic line without wildcards that is too short for the shift table
    ///                     goes to the automaton instead of being refused
    /// @throws QLT_SPACE::Exception for a malformed line. Of it are kept the parts in front of the
    ///         one that was refused, which can never complete, their number, and the longest
    ///         length.
    void addString(const char* line, int type, bool shortToTrie);

    /// Finishes the set after its last line. Everything that scanning reads is final afterwards.
    void prepare();

    /// Empties the container; partner stays.
    void reset();

    void increaseCount();
    void decreaseCount();
    int32_t getUsingCount();

    int32_t maxPatternLength = 0;  // bytes of the longest body signature part; set by prepare()
    TrieTree trieTree;
    TrieTree typeTrieTree;  // the built-in markup type signatures, filled by prepare()
    BmList bmList;
    MD5List md5List;
    SignatureIndex index;  // trieTree and bmList in the form that is scanned; made by prepare()
    PatternContainer* partner = nullptr;  // the engine's other container
    uint32_t patternCount = 0;            // sum of what the loaded files reported
    uint32_t patternVersion = 0;          // highest build time of the container files loaded
    QLT_SPACE::Kernel kernel = QLT_SPACE::Kernel::Baseline;  // that scans it; chosen by prepare()

  private:
    QLT_SPACE::Mutex mutex;  // guards usingCount
    int32_t usingCount = 0;  // scan instances bound to this container
};

}  // namespace STREAMENGINE_SPACE

// PatternContainer: one complete signature set, and the count of the scans that use it.
//
// Filled by one thread between reset() and prepare(), afterwards only read, by any number of
// scanners without a lock. It owns all that its trees and lists hold; reset() alone frees it and
// is only called while nobody uses the container. usingCount alone changes while scans run.
#pragma once

#include <cstdint>

#include "store/index/SignatureIndex.h"
#include "store/load/BmList.h"
#include "store/load/MD5List.h"
#include "store/load/TrieTree.h"
#include "support/Mutex.h"
#include "support/VectorUnit.h"

namespace STREAMENGINE_SPACE {

/// The form of a set that a search reads. Both give the same detections.
enum class SearchForm {
    Loaded,   // the trees and lists as they were loaded, walked byte by byte
    Compiled  // the index that prepare() compiles from them
};

class PatternContainer {
  public:
    PatternContainer() = default;
    PatternContainer(const PatternContainer&) = delete;
    PatternContainer& operator=(const PatternContainer&) = delete;

    /// Finishes the set after its last line and its type signatures; PatternLoader::prepare() adds
    /// these first. Everything that scanning reads is final afterwards.
    void prepare();

    /// Empties the container; partner stays.
    void reset();

    void increaseCount();
    void decreaseCount();
    int32_t getUsingCount();

    int32_t maxPatternLength = 0;  // bytes of the longest body signature part; set by prepare()
    TrieTree trieTree;
    TrieTree typeTrieTree;  // the built-in markup type signatures
    BmList bmList;
    MD5List md5List;
    SignatureIndex index;  // trieTree and bmList in the form that is scanned; made by prepare()
    PatternContainer* partner = nullptr;  // the engine's other container
    uint32_t patternCount = 0;            // sum of what the loaded files reported
    uint32_t patternVersion = 0;          // highest build time of the container files loaded
    // Chosen by prepare(): the vector unit that scans the set, and the form of it that is searched.
    QLT_SPACE::VectorUnit vectorUnit = QLT_SPACE::VectorUnit::Baseline;
    SearchForm searchForm = SearchForm::Loaded;

  private:
    QLT_SPACE::Mutex mutex;  // guards usingCount
    int32_t usingCount = 0;  // scan instances bound to this container
};

}  // namespace STREAMENGINE_SPACE

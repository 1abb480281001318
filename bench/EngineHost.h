// EngineHost: the engine under test, used as any host would use it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Corpus.h"
#include "zvkengine.hpp"

constexpr size_t kChunkLength = 16384;

/// The number of the page, and the name that the engine reported.
using Detections = std::vector<std::pair<size_t, std::string>>;

/// Pattern files on disk, and which form of the engine reads them.
struct LoadRequest {
    std::string kernel;             // what ZVK_KERNEL takes; empty: the engine chooses
    std::string base, update = {};  // update empty: none
};

/// A loaded set, one a process at a time.
class LoadedSet {
  public:
    /// @throws std::runtime_error if the load fails
    explicit LoadedSet(const LoadRequest& request);

    static uint32_t signatureCount() { return zvkengine::Set::info().patternCount; }

  private:
    zvkengine::Set set;
};

/// One instance and what its streams reported.
class EngineInstance {
  public:
    void begin();
    void feed(std::string_view chunk) { instance.scan(chunk); }
    void end() { instance.end(); }
    /// A whole page in chunks.
    void scanPage(const std::string& page, size_t chunkLength = kChunkLength);
    /// All pages; detections then has those of all of them.
    void scanPages(const Pages& pages, size_t chunkLength = kChunkLength);

    /// @return whether the last stream was refused
    bool isRefused() const { return instance.isRefused(); }

    Detections detections;

  private:
    zvkengine::Instance instance;
    size_t page = 0;
};

/// Leaves out the pages that the engine refuses: they cost nothing to scan.
/// @return how many
size_t dropRefused(Pages& pages);

/// @return how many pages have another normalised form in the engine than by RunNormaliser
size_t countNormalisedApart(const Pages& pages);

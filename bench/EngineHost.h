// EngineHost: the engine under test, used as any host would use it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Corpus.h"
#include "zvkengine.h"

constexpr size_t kChunkLength = 16384;

/// The number of the page, and the name that the engine told.
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
    ~LoadedSet();
    LoadedSet(const LoadedSet&) = delete;
    LoadedSet& operator=(const LoadedSet&) = delete;

    static uint32_t signatureCount();
};

/// One instance, and what its streams told.
class EngineInstance {
  public:
    EngineInstance();
    ~EngineInstance();
    EngineInstance(const EngineInstance&) = delete;
    EngineInstance& operator=(const EngineInstance&) = delete;

    void begin();
    void feed(const char* data, size_t length);
    void end();
    /// A whole page in chunks.
    void scanPage(const std::string& page, size_t chunkLength = kChunkLength);
    /// All pages; detections then tells of each.
    void scanPages(const Pages& pages, size_t chunkLength = kChunkLength);

    Detections detections;
    bool isRefused = false;  // the last stream was

  private:
    static int32_t onEvent(void* reserved, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                           void* userData);

    void* instance;
    size_t page = 0;
};

/// Leaves out the pages that the engine refuses: they cost nothing to scan.
/// @return how many
size_t dropRefused(Pages& pages);

/// @return how many pages have another normalised form in the engine than by RunNormaliser
size_t countNormalisedApart(const Pages& pages);

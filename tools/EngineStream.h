// EngineStream: one stream that is open on an engine instance, and where its detections go.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "interface/zvkengine.h"

namespace zvk {

/// Detections of one name in a row: a hostile file can hold hundreds of millions of them.
struct Finding {
    std::string name;
    uint64_t count = 0;
};

/// The engine answered with a failure; a refused stream is none.
class EngineError : public std::runtime_error {
  public:
    explicit EngineError(int32_t code);
};

struct InstanceDestroyer {
    void operator()(void* handle) const noexcept { destroyInstance(handle); }
};
using InstancePtr = std::unique_ptr<void, InstanceDestroyer>;

/// @return an engine instance
/// @throws std::bad_alloc
InstancePtr makeInstance();

class EngineStream {
  public:
    /// Opens the stream. The instance and the place for the detections are borrowed for this
    /// object's life.
    /// @param stopAtFirst  take the first detection only
    /// @throws EngineError
    EngineStream(void* engineInstance, bool stopAtFirst, std::vector<Finding>& detections);
    /// Ends the stream, if end() did not, without a result.
    ~EngineStream();
    EngineStream(const EngineStream&) = delete;
    EngineStream& operator=(const EngineStream&) = delete;

    /// @return whether the stream wants more: it is not refused, nor stopped at its first detection
    /// @throws EngineError
    bool scanChunk(std::string_view chunk);

    /// Ends the stream, which can bring detections.
    /// @throws EngineError
    void end();

    bool isRefused() const { return refused; }

  private:
    static int32_t onEvent(void* reserved, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                           void* userData);
    void add(const char* name);
    bool scanPiece(std::string_view piece);
    bool isStopped() const { return firstOnly && !findings.empty(); }
    void throwIfOutOfMemory() const;

    void* instance;
    bool firstOnly;
    std::vector<Finding>& findings;
    uint64_t length = 0;  // bytes given to the engine
    bool isOpen = false;
    bool refused = false;
    bool outOfMemory = false;  // a detection found no room
};

}  // namespace zvk

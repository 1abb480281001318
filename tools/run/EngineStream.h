// EngineStream: one stream that is open on an engine instance, and where its detections go.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "run/ChunkStream.h"
#include "zvkengine.h"

namespace zvk {

/// The engine answered with a failure; a refused stream is none.
class EngineError : public std::runtime_error {
  public:
    explicit EngineError(int32_t code);
};

class EngineStream : public ChunkStream {
  public:
    /// Opens the stream. The instance and the place for the detections are borrowed for this
    /// object's life.
    /// @param stopAtFirst  take the first detection only
    /// @throws EngineError
    EngineStream(void* engineInstance, bool stopAtFirst, std::vector<Finding>& detections);
    /// Ends the stream, if end() did not, without a result.
    ~EngineStream() override;
    EngineStream(const EngineStream&) = delete;
    EngineStream& operator=(const EngineStream&) = delete;

    /// @return whether the stream wants more: it is not refused, nor stopped at its first detection
    /// @throws EngineError
    bool scanChunk(std::string_view chunk) override;

    /// Ends the stream, which can bring detections.
    /// @throws EngineError
    void end() override;

    bool isRefused() const override { return refused; }

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

/// Opens such streams on an engine instance of its own.
class EngineStreams : public StreamSource {
  public:
    /// @param stopAtFirst  take the first detection of each stream only
    /// @throws std::bad_alloc if there is no memory for the instance
    explicit EngineStreams(bool stopAtFirst);

    std::unique_ptr<ChunkStream> open(std::vector<Finding>& findings) override {
        return std::make_unique<EngineStream>(instance.get(), firstOnly, findings);
    }

  private:
    struct InstanceDestroyer {
        void operator()(void* handle) const noexcept { destroyInstance(handle); }
    };

    std::unique_ptr<void, InstanceDestroyer> instance;
    bool firstOnly;
};

}  // namespace zvk

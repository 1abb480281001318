// EngineStream: one stream that is open on an engine instance, and where its detections go.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "run/ChunkStream.h"
#include "zvkengine.hpp"

namespace zvk {

/// Every failure of the engine is a zvkengine::Error; a refused stream is not a failure.
class EngineStream : public ChunkStream {
  public:
    /// Opens the stream. The instance and the list of detections are borrowed for this object's
    /// life.
    /// @param stopAtFirst  stop after the first detection
    /// @throws zvkengine::Error
    EngineStream(zvkengine::Instance& engineInstance, bool stopAtFirst,
                 std::vector<Finding>& detections);
    /// Ends the stream if end() was not called; its result is dropped.
    ~EngineStream() override { instance.cancel(); }
    EngineStream(const EngineStream&) = delete;
    EngineStream& operator=(const EngineStream&) = delete;

    /// @return whether the stream wants more: it is not refused, nor stopped at its first detection
    /// @throws zvkengine::Error
    bool scanChunk(std::string_view chunk) override;

    /// Ends the stream; this can add detections.
    /// @throws zvkengine::Error
    void end() override { instance.end(); }

    bool isRefused() const override { return instance.isRefused(); }

  private:
    zvkengine::Answer add(std::string_view name);
    bool scanPiece(std::string_view piece);
    bool isStopped() const { return firstOnly && !findings.empty(); }

    zvkengine::Instance& instance;
    bool firstOnly;
    std::vector<Finding>& findings;
    uint64_t length = 0;  // bytes given to the engine
};

/// Opens such streams on an engine instance of its own.
class EngineStreams : public StreamSource {
  public:
    /// @param stopAtFirst  stop each stream after its first detection
    /// @throws std::bad_alloc if there is no memory for the instance
    explicit EngineStreams(bool stopAtFirst) : firstOnly(stopAtFirst) {}

    std::unique_ptr<ChunkStream> open(std::vector<Finding>& findings) override {
        return std::make_unique<EngineStream>(instance, firstOnly, findings);
    }

  private:
    zvkengine::Instance instance;
    bool firstOnly;
};

}  // namespace zvk

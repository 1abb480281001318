// ChunkStream: receives the bytes of one file, chunk by chunk. StreamSource: opens such streams.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zvk {

/// A number of detections of the same name, one directly after the other. They are counted, not
/// listed: a hostile file can have hundreds of millions of them.
struct Finding {
    std::string name;
    uint64_t count = 0;
};

class ChunkStream {
  public:
    virtual ~ChunkStream() = default;

    /// @return whether the stream wants more
    /// @throws std::exception if it cannot go on
    virtual bool scanChunk(std::string_view chunk) = 0;

    /// Ends the stream; this can add findings.
    /// @throws std::exception if that fails
    virtual void end() = 0;

    /// @return whether the stream is of a kind that is not scanned
    virtual bool isRefused() const { return false; }
};

/// Opens streams, one after the other; for one thread.
class StreamSource {
  public:
    virtual ~StreamSource() = default;

    /// @param findings  the stream appends what it finds; borrowed for the stream's life
    /// @throws std::exception if no stream can be opened
    virtual std::unique_ptr<ChunkStream> open(std::vector<Finding>& findings) = 0;
};

}  // namespace zvk

// StreamScanner: one stream's road from raw chunk to detection.
//
// Each chunk is normalised behind the tail of the one before, so that a signature cut by a chunk
// boundary is still whole in the text searched. That text is in the call's own buffer: between
// calls a stream keeps its tail, of overlap bytes as a rule. A chunk without a detection allocates
// no more than its search does, see BodyMatcher, but for a buffer where the set's longest
// signature is longer than kInlineOverlap.
//
// It scans in two passes. The type pass, over the start of the stream, answers whether the stream
// is to be scanned and chooses the normalisation; the detection pass, over all of it, finds
// signatures.
//
// Threads: one at a time; the container is shared and only read.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "scan/BodyMatcher.h"
#include "scan/digest/Md5Scanner.h"
#include "scan/filter/MarkupFilter.h"
#include "scan/normalise/Normaliser.h"
#include "zvkengine.h"

namespace STREAMENGINE_SPACE {

class StreamScanner : public BodyMatcher {
  public:
    static constexpr uint32_t kCycleLength = 16384;  // normalised bytes that a cycle adds at most

    /// Makes the matchers that the container calls for.
    /// @param container  prepared; borrowed for the scanner's life
    /// @param callbacks  borrowed until they are replaced
    /// @param owner      the creator's own value, kept and never read
    StreamScanner(const PatternContainer& container, const ZVKScanEngineCallbacks* callbacks,
                  void* userData, uintptr_t owner);

    /// Starts a new stream.
    void reset();
    /// Starts the detection pass; the normalisation that the type pass chose stays, and so does
    /// the filter's state, but what it has blanked out so far is forgotten.
    void reset2();
    /// Clears the state of all matchers, as after a detection.
    void init();

    /// Scans a chunk.
    /// @return in the type pass whether a type signature was found (1 or 0), in the detection pass
    ///         the number of detections reported
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    int scanBuffer(const char* data, unsigned int len, bool typePass);

    /// Reports a detection and clears the matchers if the host answers 0.
    /// @return whether it did
    bool searchNextVirus(const char* name);

    std::unique_ptr<Md5Scanner> md5Scanner;  // null if the container has no digests
    uint32_t safeLength = 0;  // bytes of the chunks scanned to their end without any detection yet
    MarkupFilter filter;      // apart from the scan: fed by its own calls, with the raw bytes

  private:
    static constexpr size_t kInlineOverlap = 4096;  // bytes of a tail for which the stack has room
    static constexpr size_t kSlack = 64;            // bytes behind the text that may be touched

    /// What the host's answer to a detection makes of the cycle.
    enum class Outcome { GoOn, Resume, Stop };

    /// The part of the normalised stream that is being searched.
    struct Window {
        char* text;
        uint32_t used;     // bytes of it that hold data
        uint32_t base;     // stream offset of its first byte
        uint32_t settled;  // index in front of which nothing begins

        /// Drops the first count bytes of the end bytes that it holds.
        void dropFront(uint32_t count, uint32_t end);
    };

    int runCycles(Window& window, const char* data, unsigned int len);
    int findType(Window& window, const char* data, unsigned int len);
    /// Gets the window ready for the next cycle, nothing having been found in its end bytes.
    void keepTail(Window& window, uint32_t end) const;
    Outcome reportDetection(const char* name, Window& window, uint32_t end);
    /// @return the host's answer
    int sendDetection(const char* name);
    uint32_t capacity() const { return overlap + kCycleLength; }

    const uint32_t overlap;  // normalised bytes kept from cycle to cycle: the longest pattern
    std::vector<char> tail;  // what the window held when the last call ended
    uint32_t tailBase = 0;   // as in the window
    uint32_t tailSettled = 0;
    uint32_t detectionCount = 0;             // reported in this stream
    std::optional<TrieScanner> typeScanner;  // none if the container has no type signatures
    [[maybe_unused]] const uintptr_t owner;
    Normaliser normaliser;
};

}  // namespace STREAMENGINE_SPACE

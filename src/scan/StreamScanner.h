// StreamScanner: one stream's road from raw chunk to detection.
//
// Each chunk is normalised behind the tail of the one before, so that a signature cut by a chunk
// boundary is still whole in `buffer`. buffer[0] is the byte at stream offset bufferBase.
// Invariants: bufferUsed <= capacity; after a cycle without a detection bufferUsed <= overlap.
// A chunk without a detection allocates no more than its search does, see PatternMatcher.
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

#include "interface/zvkengine.h"
#include "scan/MarkupFilter.h"
#include "scan/Md5Scanner.h"
#include "scan/Normaliser.h"
#include "scan/PatternMatcher.h"

namespace STREAMENGINE_SPACE {

class StreamScanner : public PatternMatcher {
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

    /// Runs one pass's matchers over buffer[0, end), whose first byte has stream offset base.
    /// @return the scrambled name of the match, owned by its pattern, or null
    /// @throws as scanBuffer()
    const char* virusFound(char* buffer, unsigned int end, unsigned int base, bool typePass);

    /// Reports a detection and clears the matchers if the host answers 0.
    /// @return whether it did
    bool searchNextVirus(const char* name);

    /// @param option  decimal text; null for none
    /// @param offset  stream offset at which a match begins
    /// @return whether a signature's offset condition holds there
    static bool verifyExtendedOption(const char* option, uint32_t offset);

    std::unique_ptr<Md5Scanner> md5Scanner;  // null if the container has no digests
    uint32_t safeLength = 0;  // bytes of the chunks scanned to their end without any detection yet
    MarkupFilter filter;      // apart from the scan: fed by its own calls, with the raw bytes

  private:
    /// What the host's answer to a detection makes of the cycle.
    enum class Outcome { GoOn, Resume, Stop };

    /// @return the host's answer
    int sendDetection(const char* name);
    Outcome reportDetection(const char* name, unsigned int end);
    /// Notes what the type pass found in the chunk whose raw and normalised starts are given.
    void acceptType(const char* name, const char* raw, unsigned int rawLength, char firstWritten);
    /// Drops the first count of the end bytes that buffer holds.
    void dropFront(unsigned int count, unsigned int end);
    uint32_t capacity() const { return static_cast<uint32_t>(buffer.size()); }

    const uint32_t overlap;  // normalised bytes kept from cycle to cycle: the longest pattern
    std::vector<char> buffer;
    uint32_t bufferUsed = 0;
    uint32_t bufferBase = 0;
    uint32_t detectionCount = 0;             // reported in this stream
    std::optional<TrieScanner> typeScanner;  // none if the container has no type signatures
    [[maybe_unused]] const uintptr_t owner;
    Normaliser normaliser;
};

}  // namespace STREAMENGINE_SPACE

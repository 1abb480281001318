// StreamScanner: the path of one stream from raw chunk to detection.
//
// Each chunk is normalised after the tail of the one before, so a signature cut by a chunk boundary
// is still whole in the text that is searched. That text is in the call's own buffer: between calls
// a stream keeps its tail only, of `overlap` bytes as a rule. A chunk without a detection allocates
// no more than its search does, see BodyMatcher, and a buffer if the longest signature of the set
// is longer than kInlineOverlap.
//
// A stream is scanned in two passes. The type pass, over its start, decides whether the stream is
// to be scanned and chooses the normalisation; the detection pass, over all of it, finds
// signatures.
//
// Threads: one at a time; the set is shared and only read.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "scan/BodyMatcher.h"
#include "scan/digest/Md5Scanner.h"
#include "scan/filter/MarkupFilter.h"
#include "scan/normalise/Normaliser.h"
#include "scan/report/DetectionReporter.h"

namespace STREAMENGINE_SPACE {

class StreamScanner {
  public:
    static constexpr uint32_t kCycleLength = 16384;  // normalised bytes that a cycle adds at most

    /// Makes the scanners that the set needs.
    /// @param set      prepared; borrowed for the scanner's life
    /// @param creator  the creator's own value, kept and never read
    StreamScanner(const PatternContainer& set, const ZVKScanEngineCallbacks* callbacks,
                  void* userData, uintptr_t creator);
    StreamScanner(const StreamScanner&) = delete;
    StreamScanner& operator=(const StreamScanner&) = delete;

    /// Starts a new stream.
    /// @param callbacks, userData  borrowed until the stream ends
    void begin(const ZVKScanEngineCallbacks* callbacks, void* userData);
    /// Starts the detection pass. The normalisation that the type pass chose stays, and so does the
    /// filter's state, but what the filter has blanked out so far is forgotten.
    void beginDetection();

    /// Scans a chunk.
    /// @return in the type pass whether a type signature was found (1 or 0), in the detection pass
    ///         the number of detections reported
    /// @throws QLT_SPACE::Exception or std::bad_alloc if memory runs out
    int scanBuffer(const char* data, unsigned int len, bool typePass);

    /// Reports a detection and resets the matchers if the host answers 0.
    /// @param name  scrambled
    /// @return whether it did
    bool searchNextVirus(const char* name);

    /// Looks the stream's digest up at its end and reports a detection by it.
    /// @throws QLT_SPACE::Exception if memory for the detail record runs out
    void reportDigest();

    /// @return bytes of the chunks that were scanned to their end before the first detection
    uint32_t safeLength() const { return safeBytes; }
    void clearSafeLength() { safeBytes = 0; }

    /// The markup filter works on the raw bytes, apart from the scan, through calls of its own.
    MarkupFilter& filter() { return markupFilter; }

  private:
    static constexpr size_t kInlineOverlap = 4096;  // bytes of a tail for which the stack has room
    // So far a window may go on in its buffer before its bytes are moved to the front: a host that
    // resumes after many detections in a large chunk moves the window by a few bytes each time.
    static constexpr size_t kShift = 4096;

    /// What the host's answer to a detection makes of the cycle.
    enum class Outcome { GoOn, Resume, Stop };

    /// The part of the normalised stream that is being searched.
    struct Window {
        char* buffer;           // what the window is part of
        char* text;             // its first byte
        uint32_t used;          // bytes of it that hold data
        uint32_t streamOffset;  // of its first byte
        uint32_t decidedTo;     // index before which no match begins

        SearchText searchText(uint32_t end) const {
            return {reinterpret_cast<const uint8_t*>(text), end, streamOffset, decidedTo};
        }
        /// Drops the first count of the end bytes that it holds. The rest stays where it is.
        void dropFront(uint32_t count, uint32_t end);
        /// Moves the bytes to the front of the buffer if the window has not all its room there.
        void makeRoom();
    };

    void reset();
    void resetMatchers();
    void resetReport();
    int runCycles(Window& window, const char* data, unsigned int len);
    int findType(const Window& window, const char* data, unsigned int len);
    /// Prepares the window for the next cycle after nothing was found in its end bytes.
    void keepTail(Window& window, uint32_t end) const;
    Outcome reportDetection(const BodyMatch& match, Window& window, uint32_t end);
    /// @return the host's answer
    int sendDetection(const char* name);
    uint32_t capacity() const { return overlap + kCycleLength; }

    DetectionReporter reporter;
    BodyMatcher matcher;
    std::optional<Md5Scanner> md5Scanner;    // none if the set has no digests
    std::optional<TrieScanner> typeScanner;  // none if the set has no type signatures
    Normaliser normaliser;
    MarkupFilter markupFilter;
    const uint32_t overlap;   // normalised bytes kept from cycle to cycle: the longest pattern
    std::vector<char> tail;   // what the window held when the last call ended
    uint32_t tailOffset = 0;  // as streamOffset and decidedTo of the window
    uint32_t tailDecidedTo = 0;
    uint32_t safeBytes = 0;
    uint32_t detectionCount = 0;  // reported in this stream
    [[maybe_unused]] const uintptr_t owner;
};

}  // namespace STREAMENGINE_SPACE

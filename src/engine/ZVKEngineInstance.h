// ZVKEngineInstance: the object that a host's handle points to. It scans one stream after the
// other.
//
// It binds each stream to the engine's current signature set and keeps its stream scanner while the
// set stays the same. While a stream is open, the container's use count includes it; every path
// that closes a stream lowers that count exactly once.
//
// The first 256 bytes, the header, decide whether the stream is scanned at all.
//
// Threads: one at a time; it has no lock of its own.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "engine/CurrentSet.h"
#include "engine/InstanceRegistry.h"
#include "scan/FileType.h"
#include "scan/StreamScanner.h"
#include "zvkengine.h"

namespace STREAMENGINE_SPACE {

class ZVKEngineInstance {
  public:
    static constexpr uint32_t kHeaderLength = 256;

    /// Enters itself into the engine's registry. Borrows both for its life.
    ZVKEngineInstance(CurrentSet& engineSet, InstanceRegistry& liveInstances);
    /// Ends an open stream, dropping the result, and leaves the registry.
    ~ZVKEngineInstance();
    ZVKEngineInstance(const ZVKEngineInstance&) = delete;
    ZVKEngineInstance& operator=(const ZVKEngineInstance&) = delete;

    /// What the exported beginScan(), scan() and endScan() do once their arguments are checked.
    int begin_scan(const ZVKScanEngineCallbacks* callbacks, void* userData);
    int scan(const char* data, unsigned int length);
    int end_scan();

    /// Filter a chunk and, once end_scan() has closed the stream, what is left of it; each as the
    /// exported function does.
    /// @return 0, or ZVK_ERR_BAD_STATE, nothing written, if there is no stream scanner
    int scanfilter(const char* data, unsigned int length, char* output, unsigned int* outputLength,
                   uint8_t mode);
    int end_scanfilter(char* output, unsigned int* outputLength, bool* flag);

    /// Accepts anything, changes nothing.
    int setOptions(int code, const void* value);

    /// Drops the stream, the scanner and the container, whose content is freed next. The use count
    /// is not lowered: the container's reset clears it.
    void detach();

    const StreamScanner* streamScanner() const { return scanner.get(); }

  private:
    /// @return a new scanner for the container; null while there is none
    std::unique_ptr<StreamScanner> getScanner(const ZVKScanEngineCallbacks* callbacks,
                                              void* userData);
    /// Binds to the engine's current container and raises its use count.
    /// @return whether the scanner was built for another set; nothing if no set is loaded
    std::optional<bool> bind();
    void release();

    int collect(const char* data, unsigned int length);
    int completeHeader(const char* data, unsigned int length);
    /// The type pass. @return whether the header has a type signature
    bool passTypeGate();
    bool isRefused() const { return typeVerdict != kTypeUndecided; }
    /// Adds to the header. @return whether the lookup refuses the stream by what is there now
    bool refuses(const char* data, uint32_t length, _st_filetype_info& info);
    int finish();

    CurrentSet& currentSet;
    InstanceRegistry& registry;
    std::unique_ptr<StreamScanner> scanner;  // null before the first stream and after detach()
    PatternContainer* container = nullptr;   // that the last stream was bound to
    uint32_t generation = 0;                 // the engine's when scanner was built
    int32_t state = 0;                       // 1 while a stream is open, else 0
    std::array<char, kHeaderLength> header{};
    uint32_t headerLength = 0;  // bytes of the stream held in header
    uint32_t typePosition = 0;  // first of them not yet examined for the stream's type
    uint32_t typeVerdict = 0;   // the type lookup's last answer
};

}  // namespace STREAMENGINE_SPACE

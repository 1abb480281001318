#include "run/EngineStream.h"

#include <fmt/format.h>

#include <new>

namespace zvk {

namespace {

// The engine decides about a stream once it has these many bytes. A detection among them ends the
// scan of the chunk that completed them, so that chunk is made to end with them: nothing is lost
// behind the detection.
constexpr uint64_t kHeaderLength = 256;

const char* meaning(int32_t code) {
    switch (code) {
        case ZVK_ERR_NO_MEMORY:
            return "out of memory";
        case ZVK_ERR_NO_CONTAINER:
            return "no signature set is loaded";
        case ZVK_ERR_NO_SCANNER:
            return "the stream scanner could not be created";
        default:
            return "unexpected result";
    }
}

// endScan() tells a length in 32 signed bits, or a code. Of a stream above 2 GiB the length looks
// negative, and for a few lengths just below a multiple of 4 GiB it looks like a code.
bool isCode(int32_t result, uint64_t length) {
    return result >= ZVK_ERR_NO_SCANNER && result <= ZVK_ERR_NOT_SCANNABLE &&
           result != static_cast<int32_t>(length);
}

}  // namespace

EngineError::EngineError(int32_t code)
    : std::runtime_error(fmt::format("cannot scan: {} ({})", meaning(code), code)) {}

EngineStream::EngineStream(void* engineInstance, bool stopAtFirst, std::vector<Finding>& detections)
    : instance(engineInstance), firstOnly(stopAtFirst), findings(detections) {
    static constexpr ZVKScanEngineCallbacks kCallbacks{&EngineStream::onEvent};
    const int32_t result = beginScan(instance, 0, &kCallbacks, this);
    if (result != 0) throw EngineError(result);
    isOpen = true;
}

EngineStream::~EngineStream() {
    if (isOpen) endScan(instance);
}

bool EngineStream::scanChunk(std::string_view chunk) {
    if (length < kHeaderLength && chunk.size() > kHeaderLength - length) {
        const auto missing = static_cast<size_t>(kHeaderLength - length);
        if (!scanPiece(chunk.substr(0, missing))) return false;
        chunk.remove_prefix(missing);
    }
    return scanPiece(chunk);
}

bool EngineStream::scanPiece(std::string_view piece) {
    // No chunk is longer than 1 GiB.
    const int32_t result = scan(instance, piece.data(), static_cast<uint32_t>(piece.size()));
    length += piece.size();
    refused = result == ZVK_ERR_NOT_SCANNABLE;
    if (result < 0 && !refused) throw EngineError(result);
    throwIfOutOfMemory();
    return !refused && !isStopped();
}

void EngineStream::end() {
    isOpen = false;
    const int32_t result = endScan(instance);
    if (isCode(result, length)) {
        if (result != ZVK_ERR_NOT_SCANNABLE) throw EngineError(result);
        refused = true;
    }
    throwIfOutOfMemory();
}

// Called by the engine, which no exception may pass.
int32_t EngineStream::onEvent(void*, ZVK_ENGINE_EVENT_TYPE type, const void* data, void* userData) {
    if (type != ZVK_EVENT_VIRUS_FOUND) return 0;
    auto& stream = *static_cast<EngineStream*>(userData);
    try {
        stream.add(static_cast<const ZVKVirusEvent*>(data)->name);
    } catch (const std::bad_alloc&) {
        stream.outOfMemory = true;
    }
    return stream.firstOnly || stream.outOfMemory ? 1 : 0;
}

void EngineStream::add(const char* name) {
    if (isStopped()) return;  // the end of a stream can bring one more
    if (findings.empty() || findings.back().name != name) findings.push_back({name, 0});
    ++findings.back().count;
}

void EngineStream::throwIfOutOfMemory() const {
    if (outOfMemory) throw EngineError(ZVK_ERR_NO_MEMORY);
}

EngineStreams::EngineStreams(bool stopAtFirst)
    : instance(createInstance()), firstOnly(stopAtFirst) {
    if (!instance) throw std::bad_alloc();
}

}  // namespace zvk

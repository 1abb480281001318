#include "run/EngineStream.h"

#include <new>

namespace zvk {

namespace {

// The engine decides on a stream when it has this many bytes. If they hold a detection, the rest of
// the chunk that completed them is not scanned. So that chunk is cut right after them: the rest is
// a chunk of its own, and nothing after the detection is missed.
constexpr uint64_t kHeaderLength = 256;

}  // namespace

EngineStream::EngineStream(zvkengine::Instance& engineInstance, bool stopAtFirst,
                           std::vector<Finding>& detections)
    : instance(engineInstance), firstOnly(stopAtFirst), findings(detections) {
    instance.begin([this](std::string_view name) { return add(name); });
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
    instance.scan(piece);
    length += piece.size();
    return !isRefused() && !isStopped();
}

zvkengine::Answer EngineStream::add(std::string_view name) {
    if (isStopped()) return zvkengine::Answer::kStopChunk;  // the end call can report one more
    try {
        if (findings.empty() || findings.back().name != name)
            findings.push_back({std::string(name), 0});
    } catch (const std::bad_alloc&) {
        throw zvkengine::Error("scan", ZVK_ERR_NO_MEMORY);
    }
    ++findings.back().count;
    return firstOnly ? zvkengine::Answer::kStopChunk : zvkengine::Answer::kGoOn;
}

}  // namespace zvk

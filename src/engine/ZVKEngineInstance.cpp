#include "engine/ZVKEngineInstance.h"

#include <cstring>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "ZVKEngine";

/// Calls an action when the scope is left, also by an exception.
template <class Action>
struct AtExit {
    Action action;
    explicit AtExit(Action atExit) : action(atExit) {}
    ~AtExit() { action(); }
    AtExit(const AtExit&) = delete;
    AtExit& operator=(const AtExit&) = delete;
};

/// For the format %p, in which hosts find the position in their logs.
const void* asPointer(uint32_t position) {
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(position));
}

}  // namespace

ZVKEngineInstance::ZVKEngineInstance(CurrentSet& engineSet, InstanceRegistry& liveInstances)
    : currentSet(engineSet), registry(liveInstances), generation(engineSet.generation()) {
    registry.add(this);
}

ZVKEngineInstance::~ZVKEngineInstance() {
    try {
        if (state == 1) end_scan();
    } catch (...) {
        // The stream is closed all the same, and nobody waits for its result.
    }
    registry.remove(this);
}

std::unique_ptr<StreamScanner> ZVKEngineInstance::getScanner(
    const ZVKScanEngineCallbacks* callbacks, void* userData) {
    if (container == nullptr) return nullptr;
    return std::make_unique<StreamScanner>(*container, callbacks, userData,
                                           reinterpret_cast<uintptr_t>(this));
}

std::optional<bool> ZVKEngineInstance::bind() {
    const CurrentSet::Binding current = currentSet.bind();
    const bool isChanged = generation < current.generation || container != current.container;
    generation = current.generation;
    container = current.container;
    if (container == nullptr) return std::nullopt;
    return isChanged;
}

void ZVKEngineInstance::release() {
    container->decreaseCount();
    state = 0;
}

int ZVKEngineInstance::begin_scan(const ZVKScanEngineCallbacks* callbacks, void* userData) {
    if (state != 0) return ZVK_ERR_BAD_STATE;
    headerLength = 0;
    typePosition = 0;
    typeVerdict = kTypeUndecided;
    const std::optional<bool> isChanged = bind();
    if (!isChanged) {
        ZVK_ERROR("ZVKEngineInstance::begin_scan, no pattern container.");
        return ZVK_ERR_NO_CONTAINER;
    }
    if (*isChanged) scanner = nullptr;
    try {
        if (scanner == nullptr) scanner = getScanner(callbacks, userData);
    } catch (...) {
        scanner = nullptr;
    }
    if (scanner == nullptr) {
        release();
        return ZVK_ERR_NO_SCANNER;
    }
    scanner->begin(callbacks, userData);
    state = 1;
    return 0;
}

// The gate. The first 256 bytes of a stream are collected, the header, and decide whether the
// stream is scanned:
//
//   bytes come in    getFileType() refuses known formats and what is not text, at the first byte
//                    that shows it
//   256 are there    the type pass refuses a header without a type signature (markup)
//                    then the detection pass scans the header and the rest of the chunk
//   later chunks     are scanned as they come
//   the stream ends  a shorter stream takes the type pass and the detection pass now
//
// The two passes normalise the header anew, so it is kept until then. Once a stream is refused it
// stays so: all later calls answer the same.
int ZVKEngineInstance::scan(const char* data, unsigned int length) {
    if (state != 1 || scanner == nullptr) return ZVK_ERR_BAD_STATE;
    if (isRefused()) return ZVK_ERR_NOT_SCANNABLE;
    if (headerLength == kHeaderLength) return scanner->scanBuffer(data, length, false);
    if (length < kHeaderLength - headerLength) return collect(data, length);
    return completeHeader(data, length);
}

bool ZVKEngineInstance::refuses(const char* data, uint32_t length, _st_filetype_info& info) {
    std::memcpy(header.data() + headerLength, data, length);
    headerLength += length;
    typeVerdict = getFileType(header.data(), headerLength, typePosition, &info);
    return isRefused();
}

// The two functions below log the same events in texts that differ in one word: hosts search their
// logs for either.

int ZVKEngineInstance::collect(const char* data, unsigned int length) {
    _st_filetype_info info;
    if (!refuses(data, length, info)) return 0;
    if (isNotText(typeVerdict)) {
        ZVK_DEBUG("ZVKEngineInstance::scan, not support data [%02x] @ %p.",
                  static_cast<unsigned char>(header[info.position]), asPointer(info.position));
    } else {
        ZVK_DEBUG("ZVKEngineInstance::scan, not support type : %s.", info.description);
    }
    return ZVK_ERR_NOT_SCANNABLE;
}

int ZVKEngineInstance::completeHeader(const char* data, unsigned int length) {
    const uint32_t missing = kHeaderLength - headerLength;
    _st_filetype_info info;
    if (refuses(data, missing, info)) {
        if (isNotText(typeVerdict)) {
            ZVK_DEBUG("ZVKEngineInstance::scan, NOT support data [%02x] @ %p.",
                      static_cast<unsigned char>(header[info.position]), asPointer(info.position));
        } else {
            ZVK_DEBUG("ZVKEngineInstance::scan, NOT support type : %s.", info.description);
        }
        return ZVK_ERR_NOT_SCANNABLE;
    }
    if (!passTypeGate()) {
        ZVK_DEBUG("ZVKEngineInstance::scan, not scanable file type.");
        typeVerdict = kTypeNotText;
        return ZVK_ERR_NOT_SCANNABLE;
    }
    ZVK_DEBUG("ZVKEngineInstance::scan, find scannable file type.");
    scanner->beginDetection();
    const int inHeader = scanner->scanBuffer(header.data(), headerLength, false);
    if (inHeader != 0) return inHeader;
    const int inRest = scanner->scanBuffer(data + missing, length - missing, false);
    if (inRest > 0) scanner->clearSafeLength();
    return inRest;
}

bool ZVKEngineInstance::passTypeGate() {
    return scanner->scanBuffer(header.data(), headerLength, true) >= 1;
}

int ZVKEngineInstance::end_scan() {
    if (container == nullptr || state != 1) return ZVK_ERR_BAD_STATE;
    const AtExit closing([this] { release(); });
    return finish();
}

int ZVKEngineInstance::finish() {
    if (headerLength == 0) {
        ZVK_DEBUG("ZVKEngineInstance::end_scan, scanned nothing.");
        return 0;
    }
    if (isRefused()) return ZVK_ERR_NOT_SCANNABLE;
    if (headerLength < kHeaderLength) {
        if (!passTypeGate()) {
            ZVK_DEBUG("ZVKEngineInstance::end_scan, not scanable file type.");
            return ZVK_ERR_NOT_SCANNABLE;
        }
        ZVK_DEBUG("ZVKEngineInstance::end_scan, find scannable file type.");
        scanner->beginDetection();
        scanner->scanBuffer(header.data(), headerLength, false);
    }
    scanner->reportDigest();
    return static_cast<int>(scanner->safeLength());
}

int ZVKEngineInstance::scanfilter(const char* data, unsigned int length, char* output,
                                  unsigned int* outputLength, uint8_t mode) {
    if (scanner == nullptr) return ZVK_ERR_BAD_STATE;
    *outputLength = scanner->filter().getBufferFilter(data, length, output, mode);
    return 0;
}

int ZVKEngineInstance::end_scanfilter(char* output, unsigned int* outputLength, bool* flag) {
    if (scanner == nullptr) return ZVK_ERR_BAD_STATE;
    *outputLength = scanner->filter().getTagBufferFilter(output);
    if (flag != nullptr) *flag = scanner->filter().hasChanged();
    return 0;
}

int ZVKEngineInstance::setOptions(int /*code*/, const void* /*value*/) {
    return 0;
}

void ZVKEngineInstance::detach() {
    scanner = nullptr;
    container = nullptr;
    state = 0;
}

}  // namespace STREAMENGINE_SPACE

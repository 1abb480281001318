// The exported functions. Each checks its arguments and the handle, in an order that hosts can see
// in the answers, and hands over to the engine. No exception leaves: guarded() turns it into a
// code, ZVK_ERR_NO_MEMORY where the function has no code that fits better.

#include "zvkengine.h"

#include <utility>

#include "engine/ZVKEngine.h"
#include "engine/ZVKEngineInstance.h"
#include "support/EngineOption.h"

namespace {

using STREAMENGINE_SPACE::ops;
using STREAMENGINE_SPACE::ZVKEngineInstance;

constexpr const char* kBuildTime = "Engine Build Time: 2009-06-05 05:25:34";
constexpr const char* kEngineVersion = "Engine Version   : 1.1.0.37";
constexpr uint8_t kFilterBits = ZVK_FILTER_OBJECTS | ZVK_FILTER_SCRIPTS;
constexpr uint8_t kModeBits = kFilterBits | ZVK_FILTER_SCAN;

static_assert(sizeof(ZVK_ENGINE_EVENT_TYPE) == 4);

/// @return the result of call, or onThrow if it throws
template <class Call>
auto guarded(decltype(std::declval<Call>()()) onThrow, Call call) noexcept {
    try {
        return call();
    } catch (...) {
        return onThrow;
    }
}

/// @return the live instance to which a handle belongs, or null
ZVKEngineInstance* instanceOf(void* handle) {
    auto* instance = static_cast<ZVKEngineInstance*>(handle);
    return zvkeng.checkInsValid(instance) ? instance : nullptr;
}

int32_t scanChunk(ZVKEngineInstance* live, const char* data, uint32_t length) {
    return guarded(ZVK_ERR_NO_MEMORY, [=] { return live->scan(data, length); });
}

int32_t endStream(ZVKEngineInstance* live) {
    return guarded(ZVK_ERR_NO_MEMORY, [live] { return live->end_scan(); });
}

}  // namespace

int32_t getEngineInfo(_ZVKEngineInfo* info) {
    if (info == nullptr) return ZVK_ERR_NULL_ARG;
    info->buildTime = kBuildTime;
    info->engineVersion = kEngineVersion;
    return 0;
}

int32_t setOptions(int32_t code, const void* value) {
    return zvkeng.setOptions(code, value);
}

void setInternalOptions(const _ZVKInternalOptions* options) {
    if (options == nullptr) return;
    guarded(false, [options] {
        ops.internalText = options->text != nullptr ? options->text : "";
        ops.dump = options->dump;
        ops.skipPatterns = options->skipPatterns;
        ops.detailLog = options->detailLog;
        ops.detailEvent = options->detailEvent;
        return true;
    });
}

int32_t loadPattern(const _ZVKPatternFile* files) {
    return guarded(ZVK_ERR_LOAD_FAILED, [files] { return zvkeng.loadPattern(files); });
}

int32_t reloadPattern(const _ZVKPatternFile* files) {
    return guarded(ZVK_ERR_LOAD_FAILED, [files] { return zvkeng.reloadPattern(files); });
}

int32_t getPatternInfo(_ZVKPatternInfo* info) {
    if (info == nullptr) return ZVK_ERR_NULL_ARG;
    return zvkeng.getPatternInfo(info);
}

int32_t destroyEngine() {
    return zvkeng.resetEngine();
}

void* createInstance() {
    return guarded<>(nullptr, []() -> void* { return zvkeng.getInstance(); });
}

int32_t destroyInstance(void* instance) {
    ZVKEngineInstance* const live = instanceOf(instance);
    if (live == nullptr) return ZVK_ERR_BAD_INSTANCE;
    delete live;
    return 0;
}

int32_t setInstanceOptions(void* instance, int32_t code, const void* value) {
    ZVKEngineInstance* const live = instanceOf(instance);
    if (live == nullptr) return ZVK_ERR_BAD_INSTANCE;
    return live->setOptions(code, value);
}

int32_t beginScan(void* instance, int32_t /*reserved*/, const ZVKScanEngineCallbacks* callbacks,
                  void* userData) {
    ZVKEngineInstance* const live = instanceOf(instance);
    if (live == nullptr) return ZVK_ERR_BAD_INSTANCE;
    if (callbacks == nullptr || userData == nullptr) return ZVK_ERR_BAD_PARAM;
    return guarded(ZVK_ERR_NO_SCANNER, [=] { return live->begin_scan(callbacks, userData); });
}

int32_t scan(void* instance, const char* data, uint32_t length) {
    ZVKEngineInstance* const live = instanceOf(instance);
    if (live == nullptr) return ZVK_ERR_BAD_INSTANCE;
    if (data == nullptr) return ZVK_ERR_BAD_PARAM;
    return scanChunk(live, data, length);
}

int32_t scanfilter(void* instance, const char* data, uint32_t length, char* output,
                   uint32_t* outputLength, uint8_t mode) {
    *outputLength = 0;
    if (mode == ZVK_FILTER_SCAN) return scan(instance, data, length);
    if ((mode & kModeBits) == 0) return ZVK_ERR_BAD_PARAM;
    ZVKEngineInstance* const live = instanceOf(instance);
    if (live == nullptr) return ZVK_ERR_BAD_INSTANCE;
    if (data == nullptr) return ZVK_ERR_BAD_PARAM;
    const int32_t scanned = (mode & ZVK_FILTER_SCAN) != 0 ? scanChunk(live, data, length) : 0;
    if ((mode & kFilterBits) == 0) return scanned;
    // The host gets its copy also of a stream that is refused.
    const int32_t filtered = live->scanfilter(data, length, output, outputLength, mode);
    return filtered != 0 ? filtered : scanned;
}

int32_t endScan(void* instance) {
    ZVKEngineInstance* const live = instanceOf(instance);
    if (live == nullptr) return ZVK_ERR_BAD_INSTANCE;
    return endStream(live);
}

int32_t endScanFilter(void* instance, char* output, uint32_t* outputLength, uint8_t mode) {
    return endScanFilter2(instance, output, outputLength, mode, nullptr);
}

int32_t endScanFilter2(void* instance, char* output, uint32_t* outputLength, uint8_t mode,
                       bool* flag) {
    *outputLength = 0;
    if (mode == ZVK_FILTER_SCAN) return endScan(instance);
    if ((mode & kModeBits) == 0) return ZVK_ERR_BAD_PARAM;
    ZVKEngineInstance* const live = instanceOf(instance);
    if (live == nullptr) return ZVK_ERR_BAD_INSTANCE;
    const int32_t ended = endStream(live);
    if ((mode & kFilterBits) == 0) return ended;
    const int32_t filtered = live->end_scanfilter(output, outputLength, flag);
    return filtered != 0 ? filtered : ended;
}

int32_t getSafeDataLength(void* instance) {
    const ZVKEngineInstance* const live = instanceOf(instance);
    if (live == nullptr) return ZVK_ERR_BAD_INSTANCE;
    if (live->streamScanner() == nullptr) return ZVK_ERR_BAD_STATE;
    return static_cast<int32_t>(live->streamScanner()->safeLength());
}

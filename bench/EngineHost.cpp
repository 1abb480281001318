#include "EngineHost.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "NormalisedPage.h"

namespace {

constexpr ZVKScanEngineCallbacks kAppendNormalised = {
    [](void* /*reserved*/, ZVK_ENGINE_EVENT_TYPE type, const void* data, void* userData) {
        if (type != ZVK_EVENT_DATA_DUMP) return 0;
        const auto& block = *static_cast<const ZVKDumpEvent*>(data);
        static_cast<std::string*>(userData)->append(block.data, block.length);
        return 0;
    }};

/// A set of one signature that no text matches, in a file of its own.
class EmptySet {
  public:
    EmptySet()
        : file(std::filesystem::temp_directory_path() /
               ("zvk_bench_" + std::to_string(reinterpret_cast<uintptr_t>(this)) + ".db")),
          loaded((std::ofstream(file) << "None=0001020304050607080910\n", LoadRequest{"", file})) {}
    ~EmptySet() { std::filesystem::remove(file); }
    EmptySet(const EmptySet&) = delete;
    EmptySet& operator=(const EmptySet&) = delete;

  private:
    std::filesystem::path file;
    LoadedSet loaded;
};

std::string dumpOf(void* instance, const std::string& page) {
    std::string dump;
    beginScan(instance, 0, &kAppendNormalised, &dump);
    for (size_t i = 0; i < page.size(); i += kChunkLength) {
        scan(instance, &page[i], static_cast<uint32_t>(std::min(kChunkLength, page.size() - i)));
    }
    endScan(instance);
    return dump;
}

}  // namespace

LoadedSet::LoadedSet(const LoadRequest& request) {
    if (request.kernel.empty()) {
        unsetenv("ZVK_KERNEL");
    } else {
        setenv("ZVK_KERNEL", request.kernel.c_str(), 1);
    }
    const ZVKPatternFile files = {request.base.c_str(),
                                  request.update.empty() ? nullptr : request.update.c_str()};
    if (loadPattern(&files) != 0) throw std::runtime_error("cannot load " + request.base);
}

LoadedSet::~LoadedSet() {
    destroyEngine();
}

uint32_t LoadedSet::signatureCount() {
    ZVKPatternInfo info = {};
    getPatternInfo(&info);
    return info.patternCount;
}

EngineInstance::EngineInstance() : instance(createInstance()) {
    if (instance == nullptr) throw std::bad_alloc();
}

EngineInstance::~EngineInstance() {
    destroyInstance(instance);
}

void EngineInstance::begin() {
    static constexpr ZVKScanEngineCallbacks kCallbacks = {onEvent};
    isRefused = false;
    if (beginScan(instance, 0, &kCallbacks, this) != 0) {
        throw std::runtime_error("cannot begin a stream");
    }
}

void EngineInstance::feed(const char* data, size_t length) {
    const int32_t result = ::scan(instance, data, static_cast<uint32_t>(length));
    if (result == ZVK_ERR_NO_MEMORY) throw std::bad_alloc();
}

void EngineInstance::end() {
    isRefused = endScan(instance) == ZVK_ERR_NOT_SCANNABLE;
}

void EngineInstance::scanPage(const std::string& text, size_t chunkLength) {
    begin();
    for (size_t i = 0; i < text.size(); i += chunkLength) {
        feed(&text[i], std::min(chunkLength, text.size() - i));
    }
    end();
}

void EngineInstance::scanPages(const Pages& pages, size_t chunkLength) {
    detections.clear();
    for (page = 0; page < pages.size(); ++page) scanPage(pages[page], chunkLength);
}

int32_t EngineInstance::onEvent(void* /*reserved*/, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                                void* userData) {
    if (type != ZVK_EVENT_VIRUS_FOUND) return 0;
    auto& self = *static_cast<EngineInstance*>(userData);
    self.detections.emplace_back(self.page, static_cast<const ZVKVirusEvent*>(data)->name);
    return 0;
}

size_t dropRefused(Pages& pages) {
    const EmptySet set;
    EngineInstance instance;
    return std::erase_if(pages, [&](const std::string& page) {
        instance.scanPage(page);
        return instance.isRefused;
    });
}

size_t countNormalisedApart(const Pages& pages) {
    constexpr ZVKInternalOptions kDump = {nullptr, 1, 0, 0, 0}, kNone = {};
    const EmptySet set;
    setInternalOptions(&kDump);
    void* instance = createInstance();
    const auto apart = std::count_if(pages.begin(), pages.end(), [&](const std::string& page) {
        return dumpOf(instance, page) != normalisedPage(page);
    });
    destroyInstance(instance);
    setInternalOptions(&kNone);
    return static_cast<size_t>(apart);
}

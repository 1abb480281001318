#include "EngineHost.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "NormalisedPage.h"

namespace {

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

/// Scans the text on an open stream, in chunks, and ends the stream.
void scanToEnd(zvkengine::Instance& instance, std::string_view text, size_t chunkLength) {
    for (size_t i = 0; i < text.size(); i += chunkLength) {
        instance.scan(text.substr(i, chunkLength));
    }
    instance.end();
}

std::string dumpOf(zvkengine::Instance& instance, const std::string& page) {
    std::string dump;
    instance.begin({}, [&dump](std::string_view bytes) { dump += bytes; });
    scanToEnd(instance, page, kChunkLength);
    return dump;
}

}  // namespace

LoadedSet::LoadedSet(const LoadRequest& request) {
    if (request.kernel.empty()) {
        unsetenv("ZVK_KERNEL");
    } else {
        setenv("ZVK_KERNEL", request.kernel.c_str(), 1);
    }
    try {
        set.load(request.base, request.update);
    } catch (const zvkengine::Error&) {
        throw std::runtime_error("cannot load " + request.base);
    }
}

void EngineInstance::begin() {
    instance.begin([this](std::string_view name) {
        detections.emplace_back(page, name);
        return zvkengine::Answer::kGoOn;
    });
}

void EngineInstance::scanPage(const std::string& text, size_t chunkLength) {
    begin();
    scanToEnd(instance, text, chunkLength);
}

void EngineInstance::scanPages(const Pages& pages, size_t chunkLength) {
    detections.clear();
    for (page = 0; page < pages.size(); ++page) scanPage(pages[page], chunkLength);
}

size_t dropRefused(Pages& pages) {
    const EmptySet set;
    EngineInstance instance;
    return std::erase_if(pages, [&](const std::string& page) {
        instance.scanPage(page);
        return instance.isRefused();
    });
}

size_t countNormalisedApart(const Pages& pages) {
    constexpr ZVKInternalOptions kDump = {nullptr, 1, 0, 0, 0}, kNone = {};
    const EmptySet set;
    setInternalOptions(&kDump);
    zvkengine::Instance instance;
    const auto apart = std::count_if(pages.begin(), pages.end(), [&](const std::string& page) {
        return dumpOf(instance, page) != normalisedPage(page);
    });
    setInternalOptions(&kNone);
    return static_cast<size_t>(apart);
}

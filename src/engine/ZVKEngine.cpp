#include "engine/ZVKEngine.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <exception>
#include <new>
#include <optional>
#include <string>

#include "engine/ZVKEngineInstance.h"
#include "pattern/PatternLoader.h"
#include "support/EngUtil.h"
#include "support/EngineOption.h"
#include "support/Exception.h"
#include "support/FilePtr.h"
#include "support/Log.h"
#include "support/io/File.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::File;
using QLT_SPACE::FilePtr;
using QLT_SPACE::Monitor;

constexpr const char* kUnit = "ZVKEngine";
constexpr const char* kDirectoryVariable = "ZVK_DIR";
constexpr size_t kDirectoryRoom = 128;

/// The files of one load.
struct PatternPaths {
    std::optional<std::string> base;  // a load without it fails
    std::optional<std::string> update;
};

/// @return the files below the directory that the environment names; nothing if it names none.
///         Without a base file the update alone is loaded, as the base.
std::optional<PatternPaths> defaultPaths() {
    std::array<char, kDirectoryRoom> buffer{};
    EngUtil::getPathVar(buffer.data(), static_cast<int>(buffer.size()), kDirectoryVariable);
    const std::string directory = buffer.data();
    if (!File(directory).exists() || !File(directory).isDirectory()) return std::nullopt;
    const std::string base = directory + "pattern/base";
    const std::string update = directory + "pattern/update";
    if (File(base).exists() && File(base).isFile()) return PatternPaths{base, update};
    return PatternPaths{update, std::nullopt};
}

std::optional<PatternPaths> choosePaths(const _ZVKPatternFile* pf) {
    if (pf == nullptr) return defaultPaths();
    PatternPaths paths;
    if (pf->base != nullptr) paths.base = pf->base;
    if (pf->update != nullptr) paths.update = pf->update;
    return paths;
}

int loadFile(const std::string& path, PatternContainer& target) {
    const FilePtr file(std::fopen(path.c_str(), "r"));
    if (file == nullptr) throw Exception("Cannot open " + path);
    return PatternLoader::loadVQPattern(path.c_str(), file.get(), target);
}

/// @return the number of signatures that the files reported
int loadFiles(const PatternPaths& paths, PatternContainer& target) {
    if (!paths.base) throw Exception("pattern base is NULL");
    int count = loadFile(*paths.base, target);
    if (paths.update) count += loadFile(*paths.update, target);
    PatternLoader::prepare(target);
    return count;
}

/// Calls action. If it throws, report is called with the text of the exception. The text is not
/// copied, as the failure may be that there is no memory.
/// @return whether action ended without an exception
template <class Action, class Report>
bool attempt(Action action, Report report) {
    try {
        action();
        return true;
    } catch (Exception& failure) {
        report(failure.toString());
    } catch (const std::bad_alloc&) {
        report("Out of memory");
    } catch (const std::exception& failure) {
        report(failure.what());
    } catch (...) {
        report("unknown failure");
    }
    return false;
}

}  // namespace

ZVKEngine::ZVKEngine() {
    firstContainer.partner = &secondContainer;
    secondContainer.partner = &firstContainer;
    ops.logLevel = 0;
    ops.logFunction = nullptr;
    ops.dump = ops.skipPatterns = ops.detailLog = ops.detailEvent = 0;
    ops.scrambleKey = static_cast<uint8_t>(std::time(nullptr));
}

ZVKEngine::~ZVKEngine() {
    firstContainer.reset();
    secondContainer.reset();
}

int ZVKEngine::loadPattern(const _ZVKPatternFile* pf) {
    const auto report = [](const char* text) {
        ZVK_ERROR("ZVKEngine::loadPattern, load pattern fail : [%s]", text);
    };
    std::optional<PatternPaths> paths;
    if (!attempt([&] { paths = choosePaths(pf); }, report)) return ZVK_ERR_LOAD_FAILED;
    if (!paths) {
        // Hosts search their logs for this text and the one below: keep the spelling.
        ZVK_ERROR("ZVKEngine::loadPatten, pf is NULL");
        return ZVK_ERR_NULL_ARG;
    }
    const Monitor loading(loadLock);
    if (currentSet.container() != nullptr) return ZVK_ERR_BAD_STATE;
    int count = 0;
    if (!attempt([&] { count = loadFiles(*paths, firstContainer); }, report)) {
        firstContainer.reset();
        return ZVK_ERR_LOAD_FAILED;
    }
    ZVK_DEBUG("# of patterns: %d", count);
    firstContainer.patternCount = static_cast<uint32_t>(count);
    currentSet.publishFirst(firstContainer);
    ZVK_DEBUG("ZVKEngine::loadPattern, success return");
    return 0;
}

// The load, which takes long, runs under loadLock alone. Streams begin and end all the while,
// as binding needs only the lock of currentSet, which is held for the few instructions of
// publishNext(). A failed load leaves the target empty and the current set as it was.
int ZVKEngine::reloadPattern(const _ZVKPatternFile* pf) {
    const auto report = [](const char* text) {
        // Hosts read this text: the message without the function's name is part of the interface.
        std::fprintf(stderr, "reload pattern fail : [%s]\n", text);
        ZVK_ERROR("load pattern fail : [%s]", text);
    };
    std::optional<PatternPaths> paths;
    if (!attempt([&] { paths = choosePaths(pf); }, report)) return ZVK_ERR_LOAD_FAILED;
    if (!paths) {
        ZVK_ERROR("relaodPattrn, pf is NULL");
        return ZVK_ERR_NULL_ARG;
    }
    const Monitor loading(loadLock);
    if (currentSet.container() == nullptr) return ZVK_ERR_NO_CONTAINER;
    PatternContainer* target = currentSet.idlePartner();
    if (target == nullptr) {
        ZVK_DEBUG("no idle pattern container");
        return ZVK_ERR_NO_IDLE_CONTAINER;
    }
    target->reset();
    int count = 0;
    if (!attempt([&] { count = loadFiles(*paths, *target); }, report)) {
        target->reset();
        return ZVK_ERR_LOAD_FAILED;
    }
    ZVK_DEBUG("loading pattern finish");
    target->patternCount = static_cast<uint32_t>(count);
    currentSet.publishNext(*target);
    return 0;
}

int ZVKEngine::getPatternInfo(_ZVKPatternInfo* info) {
    const Monitor loading(loadLock);
    const PatternContainer* container = currentSet.container();
    if (container == nullptr) {
        ZVK_ERROR("in ZVKEngine::getPatternInfo(), container is null");
        return ZVK_ERR_NO_CONTAINER;
    }
    info->patternVersion = container->patternVersion;
    info->patternCount = container->patternCount;
    return 0;
}

int ZVKEngine::setOptions(int code, const void* value) {
    if (code != ZVK_OPTION_LOG) return ZVK_ERR_BAD_OPTION;
    if (value == nullptr) return ZVK_ERR_NULL_ARG;
    const auto& options = *static_cast<const _ZVKLogOptions*>(value);
    if (options.logFunction == nullptr) return ZVK_ERR_NULL_ARG;
    constexpr int32_t kHighestLevel = 3;
    if (options.level < 0 || options.level > kHighestLevel) return ZVK_ERR_BAD_LOG_LEVEL;
    ops.logLevel = options.level;
    ops.logFunction = options.logFunction;
    return 0;
}

// In an order in which nothing ever points to freed memory: no set is current any more, then the
// instances drop their scanners, which borrow from the sets, then the sets are freed.
int ZVKEngine::resetEngine() {
    currentSet.clear();
    instances.forEach(
        [](uintptr_t address) { reinterpret_cast<ZVKEngineInstance*>(address)->detach(); });
    firstContainer.reset();
    secondContainer.reset();
    return 0;
}

ZVKEngineInstance* ZVKEngine::getInstance() {
    return new ZVKEngineInstance(currentSet, instances);
}

bool ZVKEngine::checkInsValid(const ZVKEngineInstance* ins) {
    return ins != nullptr && instances.holds(ins);
}

}  // namespace STREAMENGINE_SPACE

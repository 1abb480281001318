// The shared library itself: what it exports, and that it can be loaded and unloaded.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdio>
#include <iterator>
#include <set>
#include <sstream>

#include "interface/TestHost.h"

namespace {

std::string outputOf(const std::string& command) {
    std::string all;
    std::FILE* pipe = popen(command.c_str(), "r");  // NOLINT(cert-env33-c): our own command
    for (int c = 0; (c = std::getc(pipe)) != EOF;) all += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return all;
}

TEST(Library, ExportsTheInterfaceAndNothingElse) {
    std::istringstream names(
        "getEngineInfo setOptions setInternalOptions loadPattern reloadPattern getPatternInfo "
        "destroyEngine createInstance destroyInstance setInstanceOptions beginScan scan scanfilter "
        "endScan endScanFilter endScanFilter2 getSafeDataLength updateKeywords matchKeywords "
        "zvkeng keyword_matcher STREAMENGINE_SPACE::ops");
    const std::set<std::string> expected(std::istream_iterator<std::string>(names), {});
    std::istringstream table(outputOf("nm -DC --defined-only " ZVK_LIBRARY));
    std::set<std::string> exported;
    std::string address, kind, name;
    while (table >> address >> kind >> name) exported.insert(name);
    EXPECT_EQ(exported, expected);
    EXPECT_NE(outputOf("readelf -d " ZVK_LIBRARY).find("[libzvkengine.so.1]"), std::string::npos);
}

TEST(Library, CanBeUnloaded) {
    const TempFolder folder;  // for a copy: this program links the library itself
    const std::string copy = folder.path("libcopy.so");
    std::filesystem::copy_file(ZVK_LIBRARY, copy);
    const std::string set = folder.write("set.db", "N=" + hex("0123456789") + "\n");
    for (int round = 0; round < 2; ++round) {
        void* library = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        const auto loadCopy =
            reinterpret_cast<int32_t (*)(const _ZVKPatternFile*)>(dlsym(library, "loadPattern"));
        ASSERT_NE(loadCopy, &loadPattern);
        const _ZVKPatternFile files = {set.c_str(), nullptr};
        EXPECT_EQ(loadCopy(&files), 0);
        const auto updateCopy =
            reinterpret_cast<decltype(&updateKeywords)>(dlsym(library, "updateKeywords"));
        const char* keywords[] = {"short", "and a longer one", nullptr};
        EXPECT_EQ(updateCopy(keywords), 1);
        dlclose(library);
        EXPECT_EQ(dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
    }
}

}  // namespace

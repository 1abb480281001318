// Loads, options, handles and the log of loads, through the public interface alone.
#include <gtest/gtest.h>

#include <algorithm>

#include "interface/TestHost.h"

namespace {

/// @return line with each "[12]" as "[#]"
std::string withoutNumbers(const std::string& line) {
    std::string masked;
    for (size_t i = 0; i < line.size(); ++i) {
        masked += line[i];
        if (line[i] != '[') continue;
        const size_t end = line.find_first_not_of("0123456789", i + 1);
        if (end == std::string::npos || end == i + 1 || line[end] != ']') continue;
        masked += '#';
        i = end - 1;
    }
    return masked;
}

using Names = std::vector<std::string>;

const std::string kSignature = "Demo=" + hex("<script>evil()") + "\n";
const std::string kPage = "<script> evil() </script>";

class Engine : public testing::Test {
  protected:
    void TearDown() override { destroyEngine(); }
};

TEST_F(Engine, ChecksOptions) {
    const HostLog log(1);
    const ZVKLogFunction function = [](const char*) {};
    const auto set = [](int32_t code, int32_t level, ZVKLogFunction logFunction) {
        const _ZVKLogOptions options = {level, logFunction};
        return setOptions(code, &options);
    };
    EXPECT_EQ(set(1, 0, function), ZVK_ERR_BAD_OPTION);
    EXPECT_EQ(set(-1, 9, nullptr), ZVK_ERR_BAD_OPTION);
    EXPECT_EQ(set(0, 4, nullptr), ZVK_ERR_NULL_ARG);
    EXPECT_EQ(set(0, 4, function), ZVK_ERR_BAD_LOG_LEVEL);
    EXPECT_EQ(set(0, -1, function), ZVK_ERR_BAD_LOG_LEVEL);
    EXPECT_EQ(setOptions(0, nullptr), ZVK_ERR_NULL_ARG);
    _ZVKPatternInfo info{};
    getPatternInfo(&info);  // logs: nothing above has replaced the function or the level
    EXPECT_EQ(log.lines(), Names{"1in ZVKEngine::getPatternInfo(), container is null"});
    setInternalOptions(nullptr);
    const _ZVKInternalOptions noText = {nullptr, 0, 0, 0, 0};
    setInternalOptions(&noText);
}

TEST_F(Engine, LoadsOnceAndAgainWhenEmptied) {
    const TempFolder folder;
    const std::string base = folder.write("a.ndb", "N:0:*:616263*646566\nbad\nM:0:*:6162??");
    const std::string update = folder.write("my.hwinfo", "any\nlines\n\n");
    const _ZVKPatternFile files = {base.c_str(), update.c_str()};
    _ZVKPatternInfo info{};
    EXPECT_EQ(getPatternInfo(nullptr), ZVK_ERR_NULL_ARG);
    EXPECT_EQ(getPatternInfo(&info), ZVK_ERR_NO_CONTAINER);
    testing::internal::CaptureStdout();
    EXPECT_EQ(loadPattern(&files), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Malformed extended pattern line 1\n");
    EXPECT_EQ(loadPattern(&files), ZVK_ERR_BAD_STATE);
    EXPECT_EQ(getPatternInfo(&info), 0);
    EXPECT_EQ(info.patternCount, 5U);
    EXPECT_EQ(info.patternVersion, 0U);
    EXPECT_EQ(destroyEngine(), 0);
    EXPECT_EQ(getPatternInfo(&info), ZVK_ERR_NO_CONTAINER);
    const Options options({"", 0, 1, 0, 0});  // skip patterns
    EXPECT_EQ(loadPattern(&files), 0);
    EXPECT_EQ(getPatternInfo(&info), 0);
    EXPECT_EQ(info.patternCount, 0U);
}

TEST_F(Engine, FailedLoadsLeaveItAsItWas) {
    const TempFolder folder;
    const std::string good = folder.write("good.db", kSignature);
    const std::string header = folder.write("header", "VQPattern");
    const std::string body = folder.write("body", "VQPattern" + std::string(75, '\0'));
    const std::string missing = folder.path("none.db");
    const std::tuple<const char*, const char*, std::string> cases[] = {
        {nullptr, good.c_str(), "pattern base is NULL"},
        {missing.c_str(), nullptr, "Cannot open " + missing},
        {good.c_str(), missing.c_str(), "Cannot open " + missing},
        {good.c_str(), header.c_str(), "invalid pattern file"},
        {body.c_str(), nullptr, "fail to restore file body."},
    };
    Host host;
    for (const bool reloading : {false, true}) {
        if (reloading) {
            ASSERT_EQ(load(".txt", kSignature), 0);  // of no known kind: holds nothing
            EXPECT_TRUE(host.found(kPage).empty());
            ASSERT_EQ(load(".db", kSignature, reloadPattern), 0);
        }
        for (const auto& [base, update, reason] : cases) {
            SCOPED_TRACE(reason + (reloading ? ", reload" : ", load"));
            const HostLog log(1);
            const _ZVKPatternFile files = {base, update};
            testing::internal::CaptureStderr();
            EXPECT_EQ((reloading ? reloadPattern : loadPattern)(&files), ZVK_ERR_LOAD_FAILED);
            const std::string text = "load pattern fail : [" + reason + "]";
            EXPECT_EQ(log.lines().back(), (reloading ? "1" : "1ZVKEngine::loadPattern, ") + text);
            EXPECT_EQ(testing::internal::GetCapturedStderr(), reloading ? "re" + text + "\n" : "");
            EXPECT_EQ(host.found(kPage).size(), reloading ? 1U : 0U);
        }
    }
}

TEST_F(Engine, ReloadsInTurns) {
    const auto reload = [](const std::string& name) {
        return load(".db", name + kSignature.substr(4), reloadPattern);
    };
    EXPECT_EQ(reload("One"), ZVK_ERR_NO_CONTAINER);
    ASSERT_EQ(load(".db", kSignature), 0);
    Host early, late, idle;
    EXPECT_EQ(idle.found(kPage), Names{"Demo"});
    early.begin();
    EXPECT_EQ(reload("Two"), 0);
    late.begin();
    const HostLog log(3);
    EXPECT_EQ(reload("Three"), ZVK_ERR_NO_IDLE_CONTAINER);
    EXPECT_TRUE(log.has("3[ZVKEngine]no idle pattern container"));
    early.feed(kPage);
    early.end();
    EXPECT_EQ(reload("Three"), 0);
    late.feed(kPage);
    late.end();
    EXPECT_EQ(early.names, Names{"Demo"});
    EXPECT_EQ(late.names, Names{"Two"});
    // A refused stream holds its set until it is ended.
    early.begin();
    EXPECT_EQ(early.feed("MZ"), ZVK_ERR_NOT_SCANNABLE);
    EXPECT_EQ(reload("Four"), 0);
    EXPECT_EQ(reload("Five"), ZVK_ERR_NO_IDLE_CONTAINER);
    EXPECT_EQ(early.end(), ZVK_ERR_NOT_SCANNABLE);
    EXPECT_EQ(reload("Five"), 0);
    EXPECT_EQ(idle.found(kPage), Names{"Five"});
}

TEST_F(Engine, InstancesOutliveTheSets) {
    ASSERT_EQ(load(".db", kSignature), 0);
    Host open, idle;
    auto destroyed = std::make_unique<Host>();
    idle.stream(kPage);
    open.begin();
    destroyed->begin();
    destroyEngine();
    destroyed.reset();
    uint32_t length = 1;
    char output[64];
    EXPECT_EQ(open.feed(kPage), ZVK_ERR_BAD_STATE);
    for (const uint8_t mode : {uint8_t{ZVK_FILTER_SCAN}, uint8_t{7}}) {
        EXPECT_EQ(scanfilter(open.handle(), "x", 1, output, &length, mode), ZVK_ERR_BAD_STATE);
    }
    EXPECT_EQ(endScanFilter(open.handle(), output, &length, 3), ZVK_ERR_BAD_STATE);
    EXPECT_EQ(getSafeDataLength(open.handle()), ZVK_ERR_BAD_STATE);
    EXPECT_EQ(open.begin(), ZVK_ERR_NO_CONTAINER);
    ASSERT_EQ(load(".db", "Fresh" + kSignature.substr(4)), 0);
    for (Host* host : {&open, &idle}) EXPECT_EQ(host->found(kPage), Names{"Fresh"});
}

TEST_F(Engine, ChecksArgumentsInTheirOrder) {
    ASSERT_EQ(load(".db", kSignature), 0);
    Host host;
    void* gone = createInstance();
    EXPECT_EQ(destroyInstance(gone), 0);
    int local = 0;
    char output[32];
    uint32_t length = 0;
    for (void* bad : {static_cast<void*>(nullptr), gone, static_cast<void*>(&local)}) {
        EXPECT_EQ(destroyInstance(bad), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(setInstanceOptions(bad, 0, nullptr), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(beginScan(bad, 0, nullptr, nullptr), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(scan(bad, nullptr, 0), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(endScan(bad), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(getSafeDataLength(bad), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(scanfilter(bad, nullptr, 0, output, &length, 4), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(scanfilter(bad, nullptr, 0, output, &length, 1), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(scanfilter(bad, nullptr, 0, output, &length, 8), ZVK_ERR_BAD_PARAM);
        EXPECT_EQ(endScanFilter2(bad, output, &length, 4, nullptr), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(endScanFilter(bad, output, &length, 2), ZVK_ERR_BAD_INSTANCE);
        EXPECT_EQ(endScanFilter(bad, output, &length, 0), ZVK_ERR_BAD_PARAM);
    }
    EXPECT_EQ(getEngineInfo(nullptr), ZVK_ERR_NULL_ARG);
    EXPECT_EQ(setInstanceOptions(host.handle(), -5, nullptr), 0);
    EXPECT_EQ(getSafeDataLength(host.handle()), ZVK_ERR_BAD_STATE);
    EXPECT_EQ(beginScan(host.handle(), 0, nullptr, &host), ZVK_ERR_BAD_PARAM);
    const ZVKScanEngineCallbacks callbacks = {nullptr};
    EXPECT_EQ(beginScan(host.handle(), 0, &callbacks, nullptr), ZVK_ERR_BAD_PARAM);
    EXPECT_EQ(host.feed("x"), ZVK_ERR_BAD_STATE);
    EXPECT_EQ(host.end(), ZVK_ERR_BAD_STATE);
    EXPECT_EQ(host.begin(), 0);
    EXPECT_EQ(host.begin(), ZVK_ERR_BAD_STATE);
    EXPECT_EQ(scan(host.handle(), nullptr, 0), ZVK_ERR_BAD_PARAM);
    EXPECT_EQ(scanfilter(host.handle(), nullptr, 0, output, &length, 1), ZVK_ERR_BAD_PARAM);
    EXPECT_EQ(scanfilter(host.handle(), nullptr, 0, output, &length, 4), ZVK_ERR_BAD_PARAM);
    EXPECT_EQ(endScanFilter(host.handle(), output, &length, 2), 0);  // without a flag
    EXPECT_EQ(host.feed("x"), ZVK_ERR_BAD_STATE);
}

TEST_F(Engine, DebugLinesOfALoad) {
    Host host;
    HostLog log(3);
    EXPECT_EQ(host.begin(), ZVK_ERR_NO_CONTAINER);
    EXPECT_EQ(log.lines(), Names{"1ZVKEngineInstance::begin_scan, no pattern container."});
    log.clear();
    const TempFolder folder;
    const std::string path = folder.write("a.ndb", "A:0:*:616263*646566\nbad\n");
    const std::string unknown = folder.write("a.txt", "");
    const _ZVKPatternFile files = {path.c_str(), unknown.c_str()};
    testing::internal::CaptureStdout();
    ASSERT_EQ(loadPattern(&files), 0);
    testing::internal::GetCapturedStdout();
    auto lines = log.lines();
    std::erase(lines, "3[ZVKPatternContainer]in SetSortedList");
    // The numbers of signatures count all sets of the process, so they are compared as "#".
    for (auto& line : lines) line = withoutNumbers(line);
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    const std::string unit = "3[ZVKPatternContainer]";
    const std::string trees = unit + "ac_simple_patterns [#], ac_wildcard_patterns [#]";
    EXPECT_EQ(lines, (Names{"3[ZVKPatternLoader]load pattern file : " + path,
                            "1container.addString :Malformed extended pattern line 1",
                            "3[ZVKPatternLoader]loaded pattern num : 1",
                            "1Unknown VQEngine pattern file:[" + unknown + "]",
                            unit + "in SetSortedList, simple_patterns[#]", trees,
                            unit + "bm sigs [#]", unit + "ac sigs [#]",
                            unit + "ac wildcard pattern [#], ac short pattern [#], ac simple "
                                   "pattern[#]",
                            "3[ZVKEngine]# of patterns: 1",
                            "3[ZVKEngine]ZVKEngine::loadPattern, success return"}));
}

}  // namespace

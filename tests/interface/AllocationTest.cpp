// What the library allocates: nothing on the path of a chunk, little for a set and an instance. And
// what it does when memory runs out.
#include <gtest/gtest.h>

#include <malloc.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <random>

#include "interface/TestHost.h"

namespace {

std::atomic<long> allocations = 0;
std::atomic<size_t> bytesInUse = 0;
std::atomic<long> failAt = -1;  // allocations still to succeed; below 0 all do
std::atomic<long> failures = 0;

void* allocate(size_t size) {
    ++allocations;
    if (failAt.load() >= 0 && failAt.fetch_sub(1) <= 0) {
        failAt = 0;  // memory stays short
        ++failures;
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    bytesInUse += malloc_usable_size(memory);
    return memory;
}

void release(void* memory) {
    bytesInUse -= malloc_usable_size(memory);
    std::free(memory);
}

}  // namespace

void* operator new(size_t size) {
    return allocate(size);
}
void* operator new[](size_t size) {
    return allocate(size);
}
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    try {
        return allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, size_t /*size*/) noexcept {
    release(memory);
}
void operator delete[](void* memory, size_t /*size*/) noexcept {
    release(memory);
}

namespace {

const std::string kEvil = "evilcode(1)";
const std::string kLines = "Evil:0:*:" + hex(kEvil) + "\nTwo:0:*:" + hex("part1") + "*" +
                           hex("part2") + "\nWild:0:*:" + hex("wil") + "\?\?(61|62)\n";
const std::string kPage = "x<br>" + std::string(300, '.') + "part1 wilda " + kEvil + " part2 end";

/// Runs one call; its allocation number n and all after it fail.
/// @return whether one failed
bool failing(long n, const auto& call) {
    failures = 0;
    failAt = n;
    call();
    failAt = -1;
    return failures > 0;
}

class Allocation : public testing::Test {
  protected:
    /// Loads a large set, in a reasonable time.
    /// @return bytes that it takes
    static size_t loadedBytes(const std::string& lines) {
        const size_t before = bytesInUse;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(load(".ndb", lines), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
        return bytesInUse - before;
    }
    void TearDown() override { destroyEngine(); }
};

TEST_F(Allocation, NoneOnThePathOfAChunk) {
    ASSERT_EQ(load(".ndb", kLines), 0);
    Host host;
    host.names.reserve(1000);
    const std::string start = "x<br>" + std::string(251, '.');
    for (const bool isWarm : {false, true}) {
        host.begin();
        host.feed(start);
        const long before = allocations;
        char out[7 + 10];
        uint32_t written = 0;
        for (size_t i = 0; i + 7 <= kPage.size(); i += 7) {
            scanfilter(host.handle(), &kPage[i], 7, out, &written, 7);
        }
        for (int i = 0; i < 100; ++i) host.feed(start);
        if (isWarm) {
            EXPECT_EQ(allocations, before);
        }
        host.end();
    }
    EXPECT_EQ(host.names.size(), 4U);
}

TEST_F(Allocation, LargeSetsAndIdleInstancesAreSmall) {
    constexpr size_t kSignatures = 100'000;  // of 40 bytes, a third each plain, wild and in parts
    constexpr size_t kLongest = 1000;
    constexpr size_t kInstances = 64;
    std::string lines = "Long:0:*:" + hex(std::string(kLongest, 'x')) + "\n";
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same set each time
    for (size_t i = 0; i < kSignatures; ++i) {
        std::string text = i % 2 == 0 ? "<script" : "";
        if (i % 3 == 0) {  // the plain ones: all in one bucket, in ascending order
            text = static_cast<char>(i * 256 / kSignatures) + std::to_string(kSignatures + i) +
                   "last3";
        }
        while (text.size() < 40) text += static_cast<char>('a' + random() % 26);
        constexpr const char* kMiddles[] = {"", "?x(61|62)", "{1-9}"};
        lines += "S:0:*:" + hex(text.substr(0, 20)) + kMiddles[i % 3] + hex(text.substr(20)) + "\n";
    }
    EXPECT_LT(loadedBytes(lines), kSignatures * 410);  // measured: 393, tables included
    const size_t idle = bytesInUse;
    std::vector<std::unique_ptr<Host>> hosts(kInstances);
    for (auto& host : hosts) {
        host = std::make_unique<Host>();
        host->stream(kPage);
    }
    EXPECT_LT((bytesInUse - idle) / kInstances, kLongest + 65536);
}

TEST_F(Allocation, RefusedLinesLeaveNothing) {
    const std::string tail = hex(std::string(1500, 'x')) + "\n";
    std::string lines = kLines;
    for (int i = 0; i < 100; ++i) {
        for (const char* head : {"S:0:*:(61|62)", "(Clam):0:*:6162??", "S:0:*:0"}) {
            lines += head + tail;
        }
    }
    const size_t accepted = loadedBytes(kLines);
    destroyEngine();
    EXPECT_LT(loadedBytes(lines), accepted + 20'000);
}

TEST_F(Allocation, LoadsGiveUpCleanly) {
    const TempFolder folder;
    const std::string path = folder.write("set.ndb", kLines);
    const _ZVKPatternFile files = {path.c_str(), nullptr};
    Host host;
    int32_t result = 0;
    long steps = 0;
    for (; failing(steps, [&] { result = loadPattern(&files); }); ++steps) {
        EXPECT_TRUE(result == 0 || result == ZVK_ERR_LOAD_FAILED);  // 0: only a line was refused
        EXPECT_EQ(host.begin(), result == 0 ? 0 : ZVK_ERR_NO_CONTAINER);
        destroyEngine();
    }
    EXPECT_GT(steps, 10);
    EXPECT_EQ(result, 0);
    void* created = nullptr;
    EXPECT_TRUE(failing(0, [&] { created = createInstance(); }));
    EXPECT_EQ(created, nullptr);
}

TEST_F(Allocation, StreamsGiveUpCleanly) {
    ASSERT_EQ(load(".ndb", kLines), 0);
    const Options options({"", 0, 0, 1, 1});
    Host host;
    host.names.reserve(1000);
    int32_t result = 0;
    for (long n = 0; failing(n, [&] { result = host.begin(); }); ++n) {
        EXPECT_EQ(result, ZVK_ERR_NO_SCANNER);
        EXPECT_EQ(host.end(), ZVK_ERR_BAD_STATE);
    }
    EXPECT_EQ(result, 0);
    host.end();
    long refused = 0;
    for (long n = 0; n < 60; ++n) {
        ASSERT_EQ(host.begin(), 0);
        failing(n, [&] { result = host.feed(kPage); });
        EXPECT_TRUE(result >= 0 || result == ZVK_ERR_NO_MEMORY) << result;
        refused += result == ZVK_ERR_NO_MEMORY ? 1 : 0;
        EXPECT_GE(host.end(), 0);
        ASSERT_EQ(host.begin(), 0);
        host.feed(kPage.substr(0, 5) + kEvil);
        failing(n, [&] { result = host.end(); });
        EXPECT_TRUE(result >= 0 || result == ZVK_ERR_NO_MEMORY) << result;
        EXPECT_EQ(host.end(), ZVK_ERR_BAD_STATE);
    }
    EXPECT_GT(refused, 3);
    // No stream uses a set any more, so both can be replaced.
    for (int i = 0; i < 2; ++i) EXPECT_EQ(load(".ndb", kLines, reloadPattern), 0);
    EXPECT_EQ(host.found(kPage).size(), 2U);
}

TEST_F(Allocation, KeywordsGiveUpCleanly) {
    const char* keywords[] = {"short", "a longer keyword", nullptr};
    std::string text(1000, '.');
    const auto match = [&] {
        return codeOf([&] { return zvkengine::matchKeyword(text, {}) ? 1 : 0; });
    };
    int32_t result = 0;
    long steps = 0;
    for (; failing(steps, [&] { result = updateKeywords(keywords); }); ++steps) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(match(), 0);  // of the empty set
        text = "short" + text.substr(5);
    }
    EXPECT_GT(steps, 10);
    EXPECT_EQ(result, 1);
    const long before = allocations;
    EXPECT_EQ(match(), 1);
    EXPECT_EQ(allocations, before);  // a short text needs none
    text.resize(2000);
    static std::array<char, 64> logged;  // Log would need memory itself
    const _ZVKLogOptions log = {
        1, [](const char* line) { std::snprintf(logged.data(), logged.size(), "%s", line); }};
    setOptions(ZVK_OPTION_LOG, &log);
    const Options options({"", 0, 0, 0, 1});
    const std::pair<int32_t, const char*> answers[] = {
        {0, "1new array for format fail"},
        {0, "1Catch the exception [fail to new sig]"},
        {ZVK_ERR_NO_MEMORY, "1fail to new match instance"}};
    for (long n = 0; failing(n, [&] { result = match(); }); ++n) {
        const auto& [expected, line] = answers[std::min(n, 2L)];
        EXPECT_EQ(result, expected) << n;
        EXPECT_STREQ(logged.data(), line) << n;
    }
    EXPECT_EQ(updateKeywords(keywords), 1);  // it would wait for a match that has not ended
    EXPECT_EQ(match(), 1);
}

}  // namespace

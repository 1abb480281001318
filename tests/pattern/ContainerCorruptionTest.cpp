// Containers with a byte changed, or cut: each loads or is refused with a line that names the file,
// in little time and memory.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "interface/TestHost.h"
#include "pattern/PackedLines.h"

namespace {

using namespace zvk_test;

constexpr long kMostMemory = 64 << 10;  // KiB
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepsFreedMemory = true;
#else
constexpr bool kKeepsFreedMemory = false;
#endif
constexpr uint8_t kFlips[] = {0x01, 0x02, 0x04, 0x10, 0x20, 0x80, 0x7F, 0xFF};

std::string flipped(std::string bytes, size_t at, uint8_t flip) {
    bytes[at] = static_cast<char>(static_cast<uint8_t>(bytes[at]) ^ flip);
    return bytes;
}

long peakMemory() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

class ContainerCorruption : public testing::Test {
  protected:
    void SetUp() override {
        const std::string path = folder.path("set");
        pack(path,
             {{PATTERN_BASIC, {"Evil=6576696c636f64652831"}},
              {PATTERN_EXTENDED, {"Two:0:*:6162??{1-3}6364"}},
              {PATTERN_MD5, {std::string(32, 'a') + ":5:Three"}}},
             {.buildTime = 1700000000});
        std::ifstream packed(path, std::ios::binary);
        const std::string file{std::istreambuf_iterator<char>(packed), {}};
        header = headerOf(file);
        body = inflated(file.substr(kContainerHeaderLength));
        ASSERT_TRUE(loads(fileOf(header, deflated(body))));
    }

    void TearDown() override {
        EXPECT_TRUE(kKeepsFreedMemory || peakMemory() - memoryBefore < kMostMemory);
    }

    /// @return whether the bytes load as a set
    bool loads(const std::string& bytes) {
        const std::string path = folder.path("set");
        std::filesystem::remove(path);  // a file that is overwritten waits for the disk
        folder.write("set", bytes);
        const _ZVKPatternFile files = {path.c_str(), nullptr};
        log.clear();
        const auto start = std::chrono::steady_clock::now();
        const int32_t result = loadPattern(&files);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
        destroyEngine();
        if (result == 0) return true;
        EXPECT_EQ(result, ZVK_ERR_LOAD_FAILED);
        EXPECT_TRUE(std::ranges::any_of(log.lines(), [&](const std::string& line) {
            return line.starts_with("1") && line.find("[" + path + "]") != std::string::npos;
        }));
        return false;
    }

    const TempFolder folder;
    HostLog log{1};
    ContainerHeader header;
    std::string body;  // restored
    const long memoryBefore = peakMemory();
};

/// @return whether an offset lies in the magic, the body's length or its digest
bool isChecked(size_t offset) {
    return offset < kContainerMagic.size() ||
           (offset >= kBodyLengthOffset && offset < kDigestOffset + digestOf("").size());
}

TEST_F(ContainerCorruption, EveryByteOfTheFile) {
    for (const uint16_t cipher : {kCipherNone, kCipherTripleDes}) {
        header.cipherMethod = cipher;
        const std::string sound = fileOf(header, deflated(body));
        for (size_t i = 0; i < sound.size(); ++i) {
            for (const uint8_t flip : kFlips) {
                const bool isLoaded = loads(flipped(sound, i, flip));
                const bool mayLoad = i < kContainerHeaderLength && !isChecked(i);
                EXPECT_TRUE(mayLoad || !isLoaded) << i;
            }
        }
        for (size_t length = 0; length < sound.size(); ++length) {
            EXPECT_FALSE(loads(sound.substr(0, length))) << length;
            if (length < kContainerHeaderLength) continue;
            ContainerHeader cut = headerOf(sound);
            cut.bodyLength = static_cast<uint32_t>(length - kContainerHeaderLength);
            EXPECT_FALSE(
                loads(textOf(cut.encode()) + sound.substr(kContainerHeaderLength, cut.bodyLength)));
        }
    }
}

// With a digest that fits, as an attacker who knows the format would write it.
TEST_F(ContainerCorruption, EveryByteOfTheRestoredBody) {
    const std::string sound = body;
    size_t loaded = 0;
    for (size_t i = 0; i < sound.size(); ++i) {
        for (const uint8_t flip : kFlips) {
            loaded += loads(fileOf(header, deflated(flipped(sound, i, flip)))) ? 1 : 0;
        }
        EXPECT_FALSE(loads(fileOf(header, deflated(sound.substr(0, i))))) << i;
    }
    EXPECT_GT(loaded, sound.size());  // names, signatures and what is not read may be anything
}

}  // namespace

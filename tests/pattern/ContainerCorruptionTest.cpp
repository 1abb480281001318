// Containers with a byte changed, or cut: never more than a refusal that names the file.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "interface/TestHost.h"
#include "pattern/ContainerBytes.h"

namespace {

using namespace zvk_test;

constexpr long kMostMemory = 64 << 10;  // KiB
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepsFreedMemory = true;
#else
constexpr bool kKeepsFreedMemory = false;
#endif
constexpr uint8_t kFlips[] = {0x01, 0x02, 0x04, 0x10, 0x20, 0x80, 0x7F, 0xFF};

/// Three sections, which have their records and names in common places.
std::string soundBody() {
    const std::vector<std::pair<uint32_t, std::string>> sections = {
        {kBasicSection, "0=6576696c636f64652831"},
        {kExtendedSection, "5:0:*:6162??{1-3}6364"},
        {kMD5Section, std::string(32, 'a') + ":5:9"}};
    const std::string names = std::string(
        "\x04"
        "Evil\x03"
        "Two\x05"
        "Three");
    const size_t tableLength = sections.size() * kSectionEntryLength;
    std::string records;
    for (const auto& [magic, text] : sections)
        records += textOf(encodeRecordLength(static_cast<uint32_t>(text.size()))) + text;
    std::string table;
    size_t offset = tableLength;
    for (const auto& [magic, text] : sections) {
        table += textOf(_SectionTable{magic, 1, static_cast<uint32_t>(offset),
                                      static_cast<uint32_t>(tableLength + records.size())}
                            .encode());
        offset += kRecordHeaderLength + text.size();
    }
    return table + records + textOf(NameTableHeader{}.encode()) + names;
}

long peakMemory() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

class ContainerCorruption : public testing::Test {
  protected:
    void SetUp() override {
        header.sectionCount = 3;
        header.patternTotal = 3;
        header.nameTotal = 3;
        header.buildTime = 1700000000;
        ASSERT_EQ(loads(fileOf(header, deflated(soundBody()))), true);
    }

    void TearDown() override {
        EXPECT_TRUE(kKeepsFreedMemory || peakMemory() - memoryBefore < kMostMemory);
    }

    /// @return whether the bytes load as a set
    bool loads(const std::string& bytes) {
        const std::string path = folder.path("set");
        std::filesystem::remove(path);  // overwritten, each would wait for the disk
        folder.write("set", bytes);
        const _ZVKPatternFile files = {path.c_str(), nullptr};
        log.clear();
        const auto start = std::chrono::steady_clock::now();
        const int32_t result = loadPattern(&files);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
        destroyEngine();
        if (result == 0) return true;
        EXPECT_EQ(result, ZVK_ERR_LOAD_FAILED);
        const auto lines = log.lines();
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.starts_with("1") && line.find("[" + path + "]") != std::string::npos;
        }));
        return false;
    }

    const TempFolder folder;
    Log log{1};
    ContainerHeader header;
    const long memoryBefore = peakMemory();
};

TEST_F(ContainerCorruption, EveryByteOfTheFile) {
    for (const uint16_t cipher : {kCipherNone, kCipherTripleDes}) {
        header.cipherMethod = cipher;
        const std::string sound = fileOf(header, deflated(soundBody()));
        for (size_t i = 0; i < sound.size(); ++i) {
            for (const uint8_t flip : kFlips) {
                std::string bytes = sound;
                bytes[i] = static_cast<char>(static_cast<uint8_t>(bytes[i]) ^ flip);
                const bool isLoaded = loads(bytes);
                EXPECT_FALSE(isLoaded && i >= kContainerHeaderLength) << i;
            }
        }
        for (size_t length = 0; length < sound.size(); ++length) {
            EXPECT_FALSE(loads(sound.substr(0, length))) << length;
            if (length < kContainerHeaderLength) continue;
            ContainerHeader::Bytes fitting{};
            std::copy_n(sound.begin(), fitting.size(), fitting.begin());
            ContainerHeader cut = ContainerHeader::decode(fitting);
            cut.bodyLength = static_cast<uint32_t>(length - kContainerHeaderLength);
            EXPECT_FALSE(
                loads(textOf(cut.encode()) + sound.substr(kContainerHeaderLength, cut.bodyLength)));
        }
    }
}

// The same behind the digest, as somebody could write it who knows the format.
TEST_F(ContainerCorruption, EveryByteOfTheRestoredBody) {
    const std::string sound = soundBody();
    size_t loaded = 0;
    for (size_t i = 0; i < sound.size(); ++i) {
        for (const uint8_t flip : kFlips) {
            std::string body = sound;
            body[i] = static_cast<char>(static_cast<uint8_t>(body[i]) ^ flip);
            loaded += loads(fileOf(header, deflated(body))) ? 1 : 0;
        }
        EXPECT_FALSE(loads(fileOf(header, deflated(sound.substr(0, i))))) << i;
    }
    EXPECT_GT(loaded, sound.size());  // names, signatures and what is not read may be anything
}

}  // namespace

// Pattern files by their names, and the sections of a restored container body.
#include <gtest/gtest.h>

#include <cstring>

#include "engine/ZVKUtil.h"
#include "pattern/PlainLineReader.h"
#include "pattern/ZVKPatternLoader.h"
#include "store/ZVKPatternContainer.h"
#include "support/Exception.h"

namespace {

using namespace STREAMENGINE_SPACE;
using QLT_SPACE::FilePtr;

std::vector<std::string> sent;

FilePtr fileOf(std::string_view content) {
    FilePtr file(std::tmpfile());
    std::fwrite(content.data(), 1, content.size(), file.get());
    std::rewind(file.get());
    return file;
}

std::string number(uint32_t value) {
    std::string bytes(4, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(value);
        value >>= 8;
    }
    return bytes;
}

/// A body with one section: its entry at 0, then its records, then its names.
struct Body {
    uint32_t magic = kExtendedSection;
    std::vector<std::string> records = {};
    std::string names = {};
    std::string nameHeader = std::string(8, '\0');
    uint32_t extraRecords = 0;

    std::string build() const {
        std::string recordBytes;
        for (const auto& text : records) {
            recordBytes += number(static_cast<uint32_t>(text.size())) + text;
        }
        const auto recordOffset = static_cast<uint32_t>(kSectionEntryLength);
        const auto nameOffset = recordOffset + static_cast<uint32_t>(recordBytes.size());
        return number(magic) + number(static_cast<uint32_t>(records.size()) + extraRecords) +
               number(recordOffset) + number(nameOffset) + std::string(20, '\0') + recordBytes +
               nameHeader + names;
    }
};

class ContainerFile : public testing::Test {
  protected:
    void SetUp() override {
        sent.clear();
        ops.logFunction = [](const char* line) { sent.emplace_back(line); };
        ops.logLevel = 1;
    }
    void TearDown() override { ops = {}; }

    /// @return the records read, or -1
    int load(const std::string& bytes, uint32_t sectionCount = 1) {
        ContainerHeader header;
        header.sectionCount = sectionCount;
        try {
            return PatternLoader::loadSections(fileOf(bytes).get(), header, container);
        } catch (QLT_SPACE::Exception& failure) {
            sent.emplace_back(failure.toString());
            return -1;
        }
    }
    PatternContainer container;
};

TEST_F(ContainerFile, RecordsGetTheirNamesBack) {
    Body body;
    body.names =
        "\x03One"
        "\x7e" +
        std::string(126, 'n');
    body.records = {"0:0:*:aabb??", "4:0:*:ccdd??", "4:0:*:zz??"};
    EXPECT_EQ(load(body.build()), 3);
    EXPECT_EQ(sent, std::vector<std::string>{"1Invalid hex string in [:3]"});
    EXPECT_EQ(container.trieTree.sigCount, 2);
    body.magic = kBasicSection;
    body.records = {"4=61626364656667686970"};
    body.nameHeader = {0, 0, 0, 0, 1, 0, 5, 0};  // fixed names of 5 bytes
    body.names = std::string("....Fixd\0", 9);
    EXPECT_EQ(load(body.build()), 1);
    EXPECT_EQ(container.bmList.sigCount, 1);
    body.magic = kMD5Section;
    body.records = {std::string(32, 'a') + ":5:0", std::string(32, 'b') + ":5:4"};
    EXPECT_EQ(load(body.build()), 2);
    EXPECT_TRUE(container.md5List.isPooled());
}

TEST_F(ContainerFile, BrokenSections) {
    const auto record = [](std::string text) { return Body{.records = {std::move(text)}}; };
    const auto names = [](std::string table, std::string header = std::string(8, '\0')) {
        return Body{.records = {"0:0:*:aabb??"},
                    .names = std::move(table),
                    .nameHeader = std::move(header)};
    };
    const std::string noOffset = "1fail to get name offset";
    const std::string noName = "1fail to get name";
    const std::string shortRead = "1fail to read vq pat file";
    const std::pair<Body, std::string> cases[] = {
        {record(std::string(4097, 'a')), "1pat [4097] is to long"},
        {record(std::string(4096, 'a')), noOffset},
        {record(":0:*:aabb??"), noOffset},
        {record("12345678901234567:0"), noOffset},
        {record("1a:0:*:aabb??"), noOffset},
        {record("-1:0:*:aabb??"), noOffset},
        {record("9999999999999999:0"), noName},
        {names(std::string("\0x", 2)), noName},
        {names("\x7f" + std::string(127, 'n')), noName},
        {names("\x05"), noName},
        {names("", {0, 0, 0, 0, 1, 0, 127, 0}), noName},
        {Body{.nameHeader = "", .extraRecords = 1}, shortRead},
        {Body{.nameHeader = std::string("\x09\0\0\0x", 5), .extraRecords = 1}, shortRead},
    };
    for (const auto& [body, line] : cases) {
        sent.clear();
        EXPECT_EQ(load(body.build()), -1);
        ASSERT_GE(sent.size(), 3U);
        EXPECT_EQ(sent[sent.size() - 3], line);
        EXPECT_EQ(sent[sent.size() - 2], "1fail to parse section table[abab0001].");
        EXPECT_EQ(sent.back(), "fail to parse section table.");
    }
    EXPECT_EQ(load(Body{.magic = kMD5Section, .extraRecords = 0xFFFFFFFF}.build()), -1);
    EXPECT_EQ(load(Body{.magic = 0xABAB0003}.build()), 0);
    EXPECT_EQ(sent.back(), "1table magic[abab0003] is invalid");
    EXPECT_EQ(load(std::string(28, 'x')), -1);
    EXPECT_EQ(sent[sent.size() - 2], "1fail to read section table, readlen[28]");
    EXPECT_EQ(load("", 0), 0);
}

TEST_F(ContainerFile, HeaderChecksInTheirOrder) {
    std::string header(kContainerHeaderLength, '\0');
    std::memcpy(header.data(), "VQPattern", 9);
    std::string wrongMagic = header;
    wrongMagic[9] = 'x';
    const std::pair<std::string, std::string> cases[] = {
        {header.substr(1), "1[f] is not a VQ pattern file, filesize[83]"},
        {"", "1[f] is not a VQ pattern file, filesize[0]"},
        {wrongMagic + "x", "1Fail to verify file length, [f] is not a valid VQ pattern file"},
        {wrongMagic, "1[f] is not a VQ pattern file"},
        {header, "1Fail to restore file body, [f] is not a valid VQ pattern file"},
    };
    for (const auto& [bytes, line] : cases) {
        EXPECT_THROW(PatternLoader::loadVQPattern("f", fileOf(bytes).get(), container),
                     QLT_SPACE::Exception);
        EXPECT_EQ(sent.back(), line);
    }
    EXPECT_EQ(sent[4], "0[f]");
    EXPECT_EQ(sent[5], "0version                 :[0.0.0.0]");
    EXPECT_EQ(sent[8], "0# of patttern           :[0]");
    EXPECT_EQ(sent[10], "0");
}

TEST(PatternType, ByNameAndMagic) {
    const std::pair<const char*, int> names[] = {
        {"a.db", 2}, {"a.b/x.hdb", 1}, {"x.ndb", 3}, {"x.hwinfo", 6}, {"hwinfo", 6}, {"/a.b/x", 5},
        {"x.DB", 0}, {"x.db.txt", 0},  {"x.", 0},    {".ndb", 3},     {"", 5},
    };
    for (const auto& [name, type] : names)
        EXPECT_EQ(PatternLoader::getPatternType(name), type) << name;
    const std::pair<unsigned int, int> magics[] = {
        {0xABAB0000, 2}, {0xABAB0001, 3}, {0xABAB0002, 1}, {0xABAB0003, 0}, {0, 0}};
    for (const auto& [magic, type] : magics) EXPECT_EQ(PatternLoader::getPatternType(magic), type);
}

TEST(PlainLineReader, PiecesAndNumbers) {
    const std::string longLine(8191 + 5, 'x');
    const std::string text =
        std::string("one \t\r\n\n") + longLine + "\n" + std::string("a\0b\n", 4) + "last";
    const FilePtr source = fileOf(text);
    PlainLineReader reader(source.get());
    std::vector<std::pair<uint32_t, std::string>> lines;
    while (reader.next()) lines.emplace_back(reader.lineNumber(), reader.line());
    const std::vector<std::pair<uint32_t, std::string>> expected = {
        {1, "one"}, {2, ""}, {3, std::string(8191, 'x')}, {3, "xxxxx"}, {4, "a"}, {5, "last"}};
    EXPECT_EQ(lines, expected);
}

}  // namespace

// Pattern files by their names, restored bodies and their sections.
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>

#include "pattern/ContainerBytes.h"
#include "pattern/PatternLoader.h"
#include "pattern/PlainLineReader.h"
#include "pattern/container/BodyRestoration.h"
#include "pattern/container/DeflateDecompressor.h"
#include "pattern/container/SectionReader.h"
#include "store/PatternContainer.h"
#include "support/EngineOption.h"
#include "support/Refusal.h"

namespace {

using namespace zvk_test;
using QLT_SPACE::FilePtr;

std::vector<std::string> sent;

FilePtr openFile(std::string_view content) {
    FilePtr file(std::tmpfile());
    std::fwrite(content.data(), 1, content.size(), file.get());
    std::rewind(file.get());
    return file;
}

/// Runs an action with a limit of the process lowered.
void withLimit(__rlimit_resource resource, rlim_t value, const auto& action) {
    rlimit before{};
    getrlimit(resource, &before);
    const rlimit lowered = {value, before.rlim_max};
    setrlimit(resource, &lowered);
    action();
    setrlimit(resource, &before);
}

class ContainerFile : public testing::Test {
  protected:
    void SetUp() override {
        sent.clear();
        ops.logFunction = [](const char* line) { sent.emplace_back(line); };
        ops.logLevel = 1;
    }
    void TearDown() override { ops = {}; }

    /// @return the records read, or -1
    int load(const std::string& bytes, const ContainerHeader& header = {.sectionCount = 1}) {
        int count = -1;
        const auto reason = refusalOf(
            [&] { count = PatternLoader::loadSections(openFile(bytes).get(), header, container); });
        if (count < 0) sent.push_back(reason);
        return count;
    }
    /// @return why the file is refused, or nothing
    std::string refusalOfFile(const std::string& bytes) {
        sent.clear();
        return refusalOf(
            [&] { PatternLoader::loadVQPattern("f", openFile(bytes).get(), container); });
    }
    PatternContainer container;
};

// That records get their names back is what the round trips see.
TEST_F(ContainerFile, RefusedRecordsAreLeftOut) {
    Body body = {.records = {"0:0:*:aabb??", "0:0:*:zz??"}, .names = "\x01n"};
    EXPECT_EQ(load(body.build()), 2);
    EXPECT_EQ(sent, std::vector<std::string>{"1Invalid hex string in [:2]"});
    EXPECT_EQ(container.trieTree.sigCount, 1);
    body.magic = kMD5Section;
    body.records = {std::string(32, 'a') + ":5:0"};
    EXPECT_EQ(load(body.build()), 1);
    EXPECT_TRUE(container.md5List.isPooled());
}

TEST_F(ContainerFile, BrokenSections) {
    const auto record = [](std::string text) { return Body{.records = {std::move(text)}}; };
    const auto names = [](std::string table, NameTableHeader header = {}) {
        return Body{.records = {"0:0:*:aabb??"}, .names = std::move(table), .nameHeader = header};
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
        {record("9999999999999999:0"), noName},
        {names(std::string("\0x", 2)), noName},
        {names("\x7f" + std::string(127, 'n')), noName},
        {names("\x05"), noName},
        {names("", {1, 127}), noName},
        {Body{.records = {"0:0:*:aabb??"}, .nameHeaderLength = 7}, noName},
        {Body{.nameHeaderLength = 0, .extraRecords = 1}, shortRead},
        {Body{.names = "x", .nameHeader = {}, .nameHeaderLength = 4, .extraRecords = 1}, noOffset},
        {Body{.names = "", .nameHeaderLength = 3, .extraRecords = 1}, shortRead},
    };
    for (const auto& [body, line] : cases) {
        sent.clear();
        EXPECT_EQ(load(body.build()), -1);
        ASSERT_EQ(sent.size(), body.nameHeader.fixedNames == 1 ? 4U : 3U);
        EXPECT_TRUE(sent.size() == 3 || sent[0] == "1fixedNameSize[127] is invalid");
        EXPECT_EQ(sent[sent.size() - 3], line);
        EXPECT_EQ(sent[sent.size() - 2], "1fail to parse section table[abab0001].");
        EXPECT_EQ(sent.back(), "fail to parse section table.");
    }
    EXPECT_EQ(load(Body{.magic = 0xABAB0003}.build()), 0);
    EXPECT_EQ(sent.back(), "1table magic[abab0003] is invalid");
    EXPECT_EQ(load(std::string(28, 'x')), -1);
    EXPECT_EQ(sent[sent.size() - 2], "1fail to read section table, readlen[28]");
    EXPECT_EQ(load("", {}), 0);
}

// What a header tells may neither be allocated nor be walked if the body has no room for it.
TEST_F(ContainerFile, CountsBeyondTheBody) {
    const std::string shortRead = "1fail to read vq pat file";
    for (const uint32_t count : {3U, 1000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        sent.clear();
        EXPECT_EQ(load(Body{.magic = kMD5Section, .extraRecords = count}.build()), -1);
        EXPECT_EQ(sent.front(), shortRead);
        EXPECT_FALSE(container.md5List.isPooled());
    }
    EXPECT_EQ(load(Body().build(), {.sectionCount = 0xFFFFFFFF}), -1);
    // A thousand sections, all with the same records.
    constexpr uint32_t kSections = 1000;
    Body body = {.names = "\x01n"};
    body.records.assign(200, "0:0:*:aabb??");
    std::string bytes = body.build();
    const ContainerHeader header = {.sectionCount = kSections,
                                    .sectionTableOffset = static_cast<uint32_t>(bytes.size())};
    for (uint32_t i = 0; i < kSections; ++i) bytes += bytes.substr(0, kSectionEntryLength);
    EXPECT_EQ(load(bytes, header), -1);
    EXPECT_EQ(sent[sent.size() - 3], shortRead);
    EXPECT_LE(static_cast<size_t>(container.trieTree.sigCount), bytes.size() / 16);
}

TEST_F(ContainerFile, HeaderChecksInTheirOrder) {
    const std::string sound = fileOf({}, deflated(""));
    std::string wrongMagic = sound;
    wrongMagic[9] = 'x';
    const std::pair<std::string, std::string> cases[] = {
        {sound.substr(0, 83), "1[f] is not a VQ pattern file, filesize[83]"},
        {"", "1[f] is not a VQ pattern file, filesize[0]"},
        {wrongMagic + "x", "1Fail to verify file length, [f] is not a valid VQ pattern file"},
        {wrongMagic, "1[f] is not a VQ pattern file"},
    };
    for (const auto& [bytes, line] : cases) {
        EXPECT_EQ(refusalOfFile(bytes), "invalid pattern file");
        EXPECT_EQ(sent.back(), line);
    }
}

TEST_F(ContainerFile, TellsItsHeader) {
    setenv("TZ", "UTC", 1);
    ContainerHeader header = {.version = {1, 2, 3, 4},
                              .buildTime = 0x80000000,
                              .sectionCount = 5,
                              .patternTotal = 7,
                              .nameTotal = 6,
                              .cipherMethod = kCipherTripleDes};
    EXPECT_EQ(refusalOfFile(fileOf(header, deflated(""))), "fail to read section table.");
    const std::vector<std::string> lines = {
        "0[f]",
        "0version                 :[1.2.3.4]",
        "0# of section            :[5]",
        "0# of pattern names      :[6]",
        "0# of patttern           :[7]",
        "0build time              :[2038-01-19 03:14:08]",
        "0",
        "1fail to read section table, readlen[0]",
        "1Catch exception in parse pattern file, [fail to read section table.]",
        "1Fail to parse file sections, [f] is not a valid VQ pattern file"};
    EXPECT_EQ(sent, lines);
    EXPECT_EQ(container.patternVersion, 0U);
    header.sectionCount = 0;
    for (const uint32_t buildTime : {0x80000000U, 5U}) {
        header.buildTime = buildTime;
        EXPECT_EQ(refusalOfFile(fileOf(header, deflated(""))), "");
        EXPECT_EQ(container.patternVersion, 0x80000000);
    }
}

/// An enciphered file without its last 3 bytes; its digest is that of the body whose last block
/// zeros complete.
std::string cutInsideABlock(ContainerHeader header, const std::string& deflatedBody) {
    std::string body = fileOf(header, deflatedBody).substr(kContainerHeaderLength);
    body.replace(body.size() - 3, 3, 3, '\0');
    std::string deciphered = body;
    BodyCipher(header).decipher(reinterpret_cast<uint8_t*>(deciphered.data()), deciphered.size());
    header.bodyDigest = digestOf(deciphered);
    header.magic = kContainerMagic;
    header.bodyLength = static_cast<uint32_t>(body.size() - 3);
    return textOf(header.encode()) + body.substr(0, header.bodyLength);
}

TEST_F(ContainerFile, BodiesThatCannotBeRestored) {
    const std::string zlib = deflated(std::string(1000, 'a') + "b");
    const std::string sound = fileOf({}, zlib);
    const ContainerHeader enciphered = {.cipherMethod = kCipherDes};
    std::string flipped = sound;
    flipped[48] ^= 1;
    std::string dictionary = zlib;
    dictionary.replace(0, 2, "\x78\xBB");  // the flag that asks for one, the check bits adapted
    std::string method3 = sound;
    method3[80] = 3;
    const std::pair<std::string, std::string> cases[] = {
        {sound, ""},
        {fileOf({}, zlib + "behind"), ""},
        {cutInsideABlock(enciphered, zlib + std::string(40000, 'x')), ""},
        {flipped, "1md5 check failed."},
        {method3, "1cipher method[3] is unknown"},
        {fileOf({}, ""), "1compress fail : inflate: error-5: "},
        {fileOf({}, zlib.substr(0, zlib.size() - 1)), "1compress fail : inflate: error-5: "},
        {fileOf({}, "no zlib"), "1compress fail : inflate: error-3: incorrect header check"},
        {fileOf({}, dictionary), "1compress fail : inflate: need dictionary"},
    };
    for (const auto& [bytes, line] : cases) {
        EXPECT_EQ(refusalOfFile(bytes), line.empty() ? "" : "fail to restore file body.");
        if (line.empty()) continue;
        EXPECT_EQ(sent[sent.size() - 2], line);
        EXPECT_EQ(sent.back(), "1Fail to restore file body, [f] is not a valid VQ pattern file");
    }
}

TEST_F(ContainerFile, DeflateStreamsInsideOtherFiles) {
    const std::string text(100000, 'a');
    const std::string zlib = deflated(text);
    const std::string raw = zlib.substr(2, zlib.size() - 6);  // without header and checksum
    for (const bool isRaw : {false, true}) {
        const FilePtr in = openFile("front" + (isRaw ? raw : zlib) + "behind");
        const FilePtr out = openFile("out:");
        std::fseek(in.get(), 5, SEEK_SET);
        std::fseek(out.get(), 0, SEEK_END);
        DeflateDecompressor(isRaw).decompress(in.get(), out.get());
        std::string rest(10, '\0');
        rest.resize(std::fread(rest.data(), 1, rest.size(), in.get()));
        EXPECT_EQ(rest, "behind");
        EXPECT_EQ(std::ftell(out.get()), static_cast<long>(text.size() + 4));
        EXPECT_EQ(refusalOf([&] { DeflateDecompressor(isRaw).decompress(in.get(), nullptr); }),
                  "in or out is null");
    }
}

TEST_F(ContainerFile, BodiesThatDoNotFit) {
    const std::string large = fileOf({}, deflated(std::string(200000, 'a')));
    const FilePtr file = openFile(large);
    const auto isRestored = [&] {
        std::fseek(file.get(), kContainerHeaderLength, SEEK_SET);
        return PatternLoader::restoreBody(file.get(), headerOf(large)) != nullptr;
    };
    const auto expectFailure = [&] { EXPECT_FALSE(isRestored()); };
    withLimit(RLIMIT_NOFILE, static_cast<rlim_t>(fileno(file.get())) + 1, expectFailure);
    std::signal(SIGXFSZ, SIG_IGN);  // so that a write beyond the limit fails like on a full disk
    for (const rlim_t most : {100U, 100000U}) withLimit(RLIMIT_FSIZE, most, expectFailure);
    setenv("ZVK_BODY_LIMIT", "199999", 1);
    expectFailure();
    setenv("ZVK_BODY_LIMIT", "200000", 1);
    EXPECT_TRUE(isRestored());
    setenv("ZVK_BODY_LIMIT", "2 GiB", 1);
    EXPECT_EQ(bodyLimit(0), uint64_t{16} << 20);
    unsetenv("ZVK_BODY_LIMIT");
    EXPECT_EQ(bodyLimit(1 << 20), 100U << 20);
    EXPECT_EQ(bodyLimit(0xFFFFFFFF), uint64_t{1} << 30);
    const std::vector<std::string> lines = {
        "1fail to crt tmpfp.", "1fail to write tmpfp : File too large",
        "1compress fail : inflate: cannot write: File too large",
        "1compress fail : inflate: the output is longer than 199999 bytes, see ZVK_BODY_LIMIT"};
    EXPECT_EQ(sent, lines);
    std::signal(SIGXFSZ, SIG_DFL);
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
    const FilePtr source = openFile(text);
    PlainLineReader reader(source.get());
    std::vector<std::pair<uint32_t, std::string>> lines;
    while (reader.next()) lines.emplace_back(reader.lineNumber(), reader.line());
    const std::vector<std::pair<uint32_t, std::string>> expected = {
        {1, "one"}, {2, ""}, {3, std::string(8191, 'x')}, {3, "xxxxx"}, {4, "a"}, {5, "last"}};
    EXPECT_EQ(lines, expected);
}

}  // namespace

// Container files, right and wrong, as the loader reads them: what it logs, throws and keeps.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "pattern/ContainerBytes.h"
#include "pattern/PatternLoader.h"
#include "pattern/PlainLineReader.h"
#include "pattern/container/BodyRestoration.h"
#include "pattern/container/DeflateDecompressor.h"
#include "store/PatternContainer.h"
#include "support/EngineOption.h"
#include "support/FilePtr.h"
#include "support/Refusal.h"

namespace {

using namespace zvk_test;
using QLT_SPACE::FilePtr;
using Lines = std::vector<std::string>;

Lines sent;

FilePtr openFile(std::string_view content) {
    FilePtr file(std::tmpfile());
    std::fwrite(content.data(), 1, content.size(), file.get());
    std::rewind(file.get());
    return file;
}

class ContainerFile : public testing::Test {
  protected:
    void SetUp() override {
        ops.logFunction = [](const char* line) { sent.emplace_back(line); };
        ops.logLevel = 1;
    }
    void TearDown() override { ops = {}; }

    /// Loads a file whose name is "f".
    /// @return why it is refused; "" if it is not
    std::string load(std::FILE* file) {
        sent.clear();
        return refusalOf([&] { count = PatternLoader::loadVQPattern("f", file, container); });
    }
    std::string load(std::string_view bytes) { return load(openFile(bytes).get()); }

    /// The error lines of the newest load, without their kind.
    static Lines errors() {
        Lines errors;
        for (const std::string& line : sent) {
            if (line[0] == '1') errors.push_back(line.substr(1));
        }
        return errors;
    }

    PatternContainer container;
    int count = -1;  // what the newest load that was not refused returned
};

std::string oneSection(const Body& body) {
    return fileOf({.sectionCount = 1}, deflated(body.build()));
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

std::string withByte(std::string bytes, size_t offset, char byte) {
    bytes[offset] = byte;
    return bytes;
}

const std::string kZlib = deflated(std::string(1000, 'a') + "b");
const std::string kSound = fileOf({}, kZlib);
const std::string kRecord = "0:0:*:aabb??";

// That records get their names back is what the round trips see.
TEST_F(ContainerFile, SoundOnesLoad) {
    const Body oneRefused = {.records = {kRecord, "0:0:*:zz??"}, .names = "\x01n"};
    const Body md5 = {
        .magic = kMD5Section, .records = {std::string(32, 'a') + ":5:0"}, .names = "\x01n"};
    const std::string cut = cutInsideABlock({.cipherMethod = kCipherDes}, kZlib + kSound + kSound);
    const std::tuple<const char*, std::string, int, Lines> cases[] = {
        {"no section", kSound, 0, {}},
        {"bytes after the zlib stream", fileOf({}, kZlib + "more"), 0, {}},
        {"cut inside a block", cut, 0, {}},
        {"one line refused", oneSection(oneRefused), 2, {"Invalid hex string in [f:2]"}},
        {"unknown kind", oneSection({.magic = 7}), 0, {"table magic[00000007] is invalid"}},
        {"MD5 records", oneSection(md5), 1, {}},
    };
    for (const auto& [name, bytes, recordCount, lines] : cases) {
        EXPECT_EQ(load(bytes), "") << name;
        EXPECT_EQ(count, recordCount) << name;
        EXPECT_EQ(errors(), lines) << name;
    }
    EXPECT_EQ(container.trieTree.sigCount, 1);
    EXPECT_TRUE(container.md5List.isPooled());
}

TEST_F(ContainerFile, WrongHeadersAndBodies) {
    const std::string header = "invalid pattern file";
    const std::string body = "fail to restore file body.";
    const std::string wrongMagic = withByte(kSound, 9, 'x');
    const std::tuple<const char*, std::string, std::string, std::string> cases[] = {
        {"empty file", "", header, "[f] is not a VQ pattern file, filesize[0]"},
        {"header cut", kSound.substr(0, 83), header, "[f] is not a VQ pattern file, filesize[83]"},
        {"length before magic", wrongMagic + "x", header,
         "Fail to verify file length, [f] is not a valid VQ pattern file"},
        {"magic", wrongMagic, header, "[f] is not a VQ pattern file"},
        {"digest", withByte(kSound, 48, 'x'), body, "md5 check failed."},
        {"cipher", withByte(kSound, 80, 3), body, "cipher method[3] is unknown"},
        {"empty body", fileOf({}, ""), body, "compress fail : inflate: error-5: "},
        {"stream cut", fileOf({}, kZlib.substr(0, kZlib.size() - 1)), body,
         "compress fail : inflate: error-5: "},
        {"no stream", fileOf({}, "no zlib"), body,
         "compress fail : inflate: error-3: incorrect header check"},
        {"asks for a dictionary", fileOf({}, "\x78\xBB" + kZlib.substr(2)), body,
         "compress fail : inflate: need dictionary"},
    };
    for (const auto& [name, bytes, reason, line] : cases) {
        EXPECT_EQ(load(bytes), reason) << name;
        Lines lines = {line};
        if (reason == body)
            lines.emplace_back("Fail to restore file body, [f] is not a valid VQ pattern file");
        EXPECT_EQ(errors(), lines) << name;
    }
}

TEST_F(ContainerFile, WrongSections) {
    const auto record = [](std::string text) { return Body{.records = {std::move(text)}}; };
    const auto names = [](std::string table, NameTableHeader header = {}) {
        return Body{.records = {kRecord}, .names = std::move(table), .nameHeader = header};
    };
    const auto md5 = [](uint32_t missing) {
        return Body{.magic = kMD5Section, .extraRecords = missing};
    };
    const std::string noOffset = "fail to get name offset";
    const std::string noName = "fail to get name";
    const std::string shortRead = "fail to read vq pat file";
    const std::tuple<const char*, Body, std::string> cases[] = {
        {"record too long", record(std::string(4097, 'a')), "pat [4097] is to long"},
        {"no name field", record(std::string(4096, 'a')), noOffset},
        {"empty name field", record(":0:*:aabb??"), noOffset},
        {"17 digits", record("12345678901234567:0"), noOffset},
        {"letter in the name field", record("1a:0:*:aabb??"), noOffset},
        {"name after the body", record("9999999999999999:0"), noName},
        {"empty name", names(std::string("\0x", 2)), noName},
        {"name of 127 bytes", names("\x7f" + std::string(127, 'n')), noName},
        {"name cut", names("\x05"), noName},
        {"fixed size of 127", names("", {1, 127}), noName},
        {"name table cut", Body{.records = {kRecord}, .nameHeaderLength = 7}, noName},
        {"no record", Body{.nameHeaderLength = 0, .extraRecords = 1}, shortRead},
        {"record length cut", Body{.nameHeaderLength = 3, .extraRecords = 1}, shortRead},
        {"empty record", Body{.names = "x", .nameHeaderLength = 4, .extraRecords = 1}, noOffset},
        {"3 MD5 records in 8 bytes", md5(3), shortRead},
        {"2^31 - 1 MD5 records", md5(0x7FFFFFFF), shortRead},
        {"2^32 - 1 MD5 records", md5(0xFFFFFFFF), shortRead},
    };
    for (const auto& [name, body, line] : cases) {
        Lines lines = {line,
                       body.magic == kMD5Section ? "fail to parse section table[abab0002]."
                                                 : "fail to parse section table[abab0001].",
                       "Catch exception in parse pattern file, [fail to parse section table.]",
                       "Fail to parse file sections, [f] is not a valid VQ pattern file"};
        if (body.nameHeader.fixedNames == 1)
            lines.insert(lines.begin(), "fixedNameSize[127] is invalid");
        EXPECT_EQ(load(oneSection(body)), "fail to parse section table.") << name;
        EXPECT_EQ(errors(), lines) << name;
        EXPECT_FALSE(container.md5List.isPooled()) << name;  // room only for what can be there
    }
}

// A thousand sections that all name the same records may not multiply them.
TEST_F(ContainerFile, SectionsThatOverlap) {
    constexpr uint32_t kSections = 1000;
    Body body = {.names = "\x01n"};
    body.records.assign(200, kRecord);
    std::string bytes = body.build();
    const ContainerHeader header = {.sectionCount = kSections,
                                    .sectionTableOffset = static_cast<uint32_t>(bytes.size())};
    for (uint32_t i = 0; i < kSections; ++i) bytes += bytes.substr(0, kSectionEntryLength);
    ASSERT_EQ(load(fileOf(header, deflated(bytes))), "fail to parse section table.");
    EXPECT_EQ(errors().front(), "fail to read vq pat file");
    EXPECT_LE(static_cast<size_t>(container.trieTree.sigCount), bytes.size() / kRecord.size());
}

TEST_F(ContainerFile, HeaderIsLogged) {
    setenv("TZ", "UTC", 1);
    ContainerHeader header = {.version = {1, 2, 3, 4},
                              .buildTime = 0x80000000,
                              .sectionCount = 0xFFFFFFFF,
                              .patternTotal = 7,
                              .nameTotal = 6,
                              .cipherMethod = kCipherTripleDes};
    EXPECT_EQ(load(fileOf(header, deflated("28 bytes of a section entry."))),
              "fail to read section table.");
    const Lines lines = {"0[f]",
                         "0version                 :[1.2.3.4]",
                         "0# of section            :[-1]",
                         "0# of pattern names      :[6]",
                         "0# of patttern           :[7]",
                         "0build time              :[2038-01-19 03:14:08]",
                         "0",
                         "1fail to read section table, readlen[28]",
                         "1Catch exception in parse pattern file, [fail to read section table.]",
                         "1Fail to parse file sections, [f] is not a valid VQ pattern file"};
    EXPECT_EQ(sent, lines);
    EXPECT_EQ(container.patternVersion, 0U);
    header.sectionCount = 0;
    for (const uint32_t buildTime : {0x80000000U, 5U}) {
        header.buildTime = buildTime;
        EXPECT_EQ(load(fileOf(header, deflated(""))), "");
        EXPECT_EQ(container.patternVersion, 0x80000000);
    }
}

TEST_F(ContainerFile, BodiesThatDoNotFit) {
    const FilePtr file = openFile(fileOf({}, deflated(std::string(200000, 'a'))));
    const auto openFiles = static_cast<rlim_t>(fileno(file.get())) + 1;
    const struct {
        __rlimit_resource resource;
        rlim_t limit;
        const char* bodyLimit;
        const char* error;
    } cases[] = {
        {RLIMIT_FSIZE, 200000, "200000", ""},
        {RLIMIT_FSIZE, 100, "200000", "fail to write tmpfp : File too large"},
        {RLIMIT_FSIZE, 100000, "200000", "compress fail : inflate: cannot write: File too large"},
        {RLIMIT_FSIZE, 200000, "199999",
         "compress fail : inflate: the output is longer than 199999 bytes, see ZVK_BODY_LIMIT"},
        // Last: for the first object of each type UBSan needs a descriptor of its own.
        {RLIMIT_NOFILE, openFiles, "200000", "fail to crt tmpfp."},
    };
    std::signal(SIGXFSZ, SIG_IGN);  // so that a write beyond the limit fails like on a full disk
    for (const auto& row : cases) {
        setenv("ZVK_BODY_LIMIT", row.bodyLimit, 1);
        std::rewind(file.get());
        rlimit before{};
        getrlimit(row.resource, &before);
        const rlimit lowered = {row.limit, before.rlim_max};
        setrlimit(row.resource, &lowered);
        load(file.get());
        setrlimit(row.resource, &before);
        EXPECT_EQ(errors().empty() ? "" : errors().front(), row.error);
    }
    std::signal(SIGXFSZ, SIG_DFL);
    setenv("ZVK_BODY_LIMIT", "2 GiB", 1);
    EXPECT_EQ(bodyLimit(0), uint64_t{16} << 20);
    unsetenv("ZVK_BODY_LIMIT");
    EXPECT_EQ(bodyLimit(1 << 20), 100U << 20);
    EXPECT_EQ(bodyLimit(0xFFFFFFFF), uint64_t{1} << 30);
}

TEST(DeflateDecompressor, StreamsInsideOtherFiles) {
    const std::string text(100000, 'a');
    const std::string zlib = deflated(text);
    const std::string raw = zlib.substr(2, zlib.size() - 6);  // without header and checksum
    for (const bool isRaw : {false, true}) {
        const FilePtr in = openFile("front" + (isRaw ? raw : zlib) + "after");
        const FilePtr out = openFile("");
        std::fseek(in.get(), 5, SEEK_SET);
        DeflateDecompressor(isRaw).decompress(in.get(), out.get());
        std::string rest(10, '\0');
        rest.resize(std::fread(rest.data(), 1, rest.size(), in.get()));
        EXPECT_EQ(rest, "after") << isRaw;
        EXPECT_EQ(std::ftell(out.get()), static_cast<long>(text.size())) << isRaw;
    }
    EXPECT_EQ(refusalOf([] { DeflateDecompressor(false).decompress(nullptr, stdout); }),
              "in or out is null");
}

TEST(PatternType, ByName) {
    const std::pair<const char*, int> names[] = {
        {"a.db", 2}, {"a.b/x.hdb", 1}, {"x.ndb", 3}, {"x.hwinfo", 6}, {"hwinfo", 6}, {"/a.b/x", 5},
        {"x.DB", 0}, {"x.db.txt", 0},  {"x.", 0},    {".ndb", 3},     {"", 5},
    };
    for (const auto& [name, type] : names)
        EXPECT_EQ(PatternLoader::getPatternType(name), type) << name;
}

TEST(PlainLineReader, PiecesAndNumbers) {
    const std::string longLine(8191 + 5, 'x');
    const FilePtr source =
        openFile("one \t\r\n\n" + longLine + "\n" + std::string("a\0b\n", 4) + "last");
    PlainLineReader reader(source.get());
    std::vector<std::pair<uint32_t, std::string>> lines;
    while (reader.next()) lines.emplace_back(reader.lineNumber(), reader.line());
    const std::vector<std::pair<uint32_t, std::string>> expected = {
        {1, "one"}, {2, ""}, {3, std::string(8191, 'x')}, {3, "xxxxx"}, {4, "a"}, {5, "last"}};
    EXPECT_EQ(lines, expected);
}

}  // namespace

// What a container finds against what the plain files with the same lines find.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "interface/TestHost.h"
#include "pattern/PackedLines.h"
#include "support/Hex.h"
#include "support/Refusal.h"

namespace {

using namespace zvk_test;

const std::string kEndings[] = {"", ".hdb", ".db", ".ndb"};  // by PatternType

/// Random lines, some of them malformed, and texts that many of them match.
class Generator {
  public:
    explicit Generator(unsigned int seed) : random(seed) {}

    size_t below(size_t end) { return random() % end; }

    PlainFile file(int type, size_t lineCount) {
        PlainFile made = {type, {}};
        while (made.lines.size() < lineCount) made.lines.push_back(line(type));
        return made;
    }

    std::string stream() {
        std::string text = "x<br>" + std::string(300, '.');
        for (size_t i = below(30); i > 0 && !samples.empty(); --i)
            text += samples[below(samples.size())];
        return text;
    }

    std::vector<std::string> digested;  // whole streams that MD5 lines name

  private:
    std::string word(std::string_view letters, size_t least, size_t most) {
        std::string text(least + below(most - least + 1), 'a');
        for (char& c : text) c = letters[below(letters.size())];
        return text;
    }

    std::string signature() {
        const std::string head = word("abcde", 2, 12);
        const std::string tail = word("abcde", 2, 8);
        switch (below(8)) {
            case 0:
                return "zz";
            case 1:
            case 2:
                samples.push_back(head + "aa" + tail);
                return toHex(head) + "*" + toHex(tail);
            case 3:
                samples.push_back(head + "aa" + tail);
                return toHex(head) + "(61|62)??" + toHex(tail);
            default:
                samples.push_back(head + word("abcde", 8, 300));
                return toHex(samples.back());
        }
    }

    std::string line(int type) {
        const std::string name = word("0123456789", 1, below(4) == 0 ? 126 : 8);
        if (type == PATTERN_BASIC) return name + "=" + signature();
        if (type == PATTERN_EXTENDED) return name + ":0:*:" + signature();
        digested.push_back("x<br>" + word("abcde", 1, 300));
        const std::string& text = digested.back();
        return toHex(textOf(digestOf(text))) + ":" + std::to_string(text.size()) +
               (below(4) == 0 ? "::" : ":") + name + (below(4) == 0 ? ":more" : "");
    }

    std::mt19937 random;
    std::vector<std::string> samples;
};

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

/// Loads, scans all streams, and unloads.
/// @return the names found in each stream
std::vector<std::vector<std::string>> found(const _ZVKPatternFile& files,
                                            const std::vector<std::string>& streams,
                                            _ZVKPatternInfo& info) {
    EXPECT_EQ(loadPattern(&files), 0);
    EXPECT_EQ(getPatternInfo(&info), 0);
    std::vector<std::vector<std::string>> names;
    names.reserve(streams.size());
    Host host;
    for (const std::string& text : streams) names.push_back(host.found(text, 700));
    destroyEngine();
    return names;
}

TEST(ContainerRoundTrip, FindsWhatThePlainFilesFind) {
    const TempFolder folder;
    const std::string set = folder.path("set");
    size_t detections = 0;
    testing::internal::CaptureStdout();  // plain loads print refused lines there
    for (unsigned int seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Generator generator(seed);
        const size_t most = seed == 59 ? 5000 : 1 + generator.below(40);
        std::vector<PlainFile> files;
        std::vector<std::string> paths;
        for (const char* name : {"base", "update"}) {
            files.push_back(generator.file(1 + static_cast<int>(generator.below(3)),
                                           seed == 0 ? 0 : generator.below(most + 1)));
            paths.push_back(
                folder.write(name + kEndings[files.back().type], joined(files.back().lines)));
        }
        std::vector<std::string> streams = generator.digested;
        streams.resize(std::min<size_t>(streams.size(), 50));
        for (int i = 0; i < 20; ++i) streams.push_back(generator.stream());

        _ZVKPatternInfo plainInfo = {};
        const auto expected = found({paths[0].c_str(), paths[1].c_str()}, streams, plainInfo);
        for (const auto& names : expected) detections += names.size();
        for (const CipherMethod cipher : {kCipherNone, kCipherDes, kCipherTripleDes}) {
            const uint32_t packed = pack(set, files,
                                         {.version = {1, seed, 3, 0xFFFFFFFF},
                                          .buildTime = 1700000000 + seed,
                                          .cipherMethod = cipher,
                                          .fixedNames = (seed + cipher) % 2 == 0});
            _ZVKPatternInfo info = {};
            EXPECT_EQ(found({set.c_str(), nullptr}, streams, info), expected);
            EXPECT_EQ(info.patternCount, packed);
            EXPECT_EQ(info.patternCount, plainInfo.patternCount);
            EXPECT_EQ(info.patternVersion, 1700000000 + seed);
        }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(detections, 2000U);
}

// Of equal signatures the newest is reported: kinds that take turns have to keep their order.
TEST(ContainerRoundTrip, KeepsTheOrderOfKinds) {
    const TempFolder folder;
    const std::string set = folder.path("set");
    const std::string evil = toHex("evilcode(1)");
    pack(set,
         {{PATTERN_BASIC, {"A=" + evil}},
          {PATTERN_EXTENDED, {"B:0:*:" + evil}},
          {PATTERN_BASIC, {"C=" + evil}}},
         {});
    _ZVKPatternInfo info = {};
    const auto names = found({set.c_str(), nullptr}, {"x<br>evilcode(1)"}, info);
    EXPECT_EQ(names[0], std::vector<std::string>{"C"});
}

TEST(ContainerRoundTrip, DefaultFilesMakeOneSet) {
    const TempFolder folder;
    const HostLog log(1);
    unsetenv("ZVK_DIR");
    EXPECT_EQ(loadPattern(nullptr), ZVK_ERR_NULL_ARG);
    EXPECT_EQ(log.lines().back(), "1ZVKEngine::loadPatten, pf is NULL");
    setenv("ZVK_DIR", "/none/such", 1);
    EXPECT_EQ(reloadPattern(nullptr), ZVK_ERR_NULL_ARG);
    EXPECT_EQ(log.lines().back(), "1relaodPattrn, pf is NULL");
    setenv("ZVK_DIR", (" " + folder.path("") + " ").c_str(), 1);
    std::filesystem::create_directory(folder.path("pattern"));
    const std::string base = folder.path("pattern/base");
    const std::string update = folder.path("pattern/update");
    const auto write = [](const std::string& path, const std::string& evil, uint32_t buildTime) {
        pack(path, {{PATTERN_BASIC, {evil + "=" + toHex(evil)}}}, {.buildTime = buildTime});
    };
    const auto expectSet = [](uint32_t version, const std::vector<std::string>& names) {
        _ZVKPatternInfo info = {};
        EXPECT_EQ(getPatternInfo(&info), 0);
        EXPECT_EQ(info.patternVersion, version);
        EXPECT_EQ(info.patternCount, names.size());
        EXPECT_EQ(Host().found("x<br>evilcode(1)evilcode(2)evilcode(3)"), names);
    };
    write(base, "evilcode(1)", 2000);
    EXPECT_EQ(loadPattern(nullptr), ZVK_ERR_LOAD_FAILED);
    EXPECT_EQ(log.lines().back(),
              "1ZVKEngine::loadPattern, load pattern fail : [Cannot open " + update + "]");
    write(update, "evilcode(2)", 1000);
    ASSERT_EQ(loadPattern(nullptr), 0);
    expectSet(2000, {"evilcode(1)", "evilcode(2)"});
    write(update, "evilcode(3)", 3000);
    std::filesystem::remove(base);
    ASSERT_EQ(reloadPattern(nullptr), 0);
    expectSet(3000, {"evilcode(3)"});
    unsetenv("ZVK_DIR");
    destroyEngine();
}

TEST(ContainerWriter, LinesThatTheFormatCannotHold) {
    ContainerWriter writer({});
    const std::string digest(32, 'a');
    const std::string hex(4096, '6');
    const std::string name(126, 'n');
    const struct {
        const char* name;
        std::string line;
        int type;
        const char* reason;
    } cases[] = {
        {"longest name", name + "=6162", PATTERN_BASIC, ""},
        {"name too long", name + "n=6162", PATTERN_BASIC,
         "a name of 127 bytes, a container holds up to 126"},
        {"empty name", "=6162", PATTERN_BASIC, "no name"},
        {"no separator", "n" + hex, PATTERN_BASIC, "no name"},
        {"no colon", "n=6162", PATTERN_EXTENDED, "no name"},
        {"two fields", digest + ":5", PATTERN_MD5, "no name"},
        {"empty MD5 name", digest + ":5:", PATTERN_MD5, "no name"},
        // The name offset is 127, so the record has 2 bytes more than the line.
        {"longest record", "n=" + hex.substr(4), PATTERN_BASIC, ""},
        {"record too long", "n=" + hex.substr(3), PATTERN_BASIC,
         "a record of 4097 bytes, a container holds up to 4096"},
        {"long line, short record", name + "=" + hex.substr(2), PATTERN_BASIC, ""},
        {"no kind of section", "n=6162", PATTERN_HWINFO, "lines of type 6 cannot be packed"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(refusalOf([&] { writer.addLine(row.line, row.type); }), row.reason) << row.name;
    }
    EXPECT_EQ(writer.patternTotal(), 3U);
    EXPECT_EQ(writer.nameTotal(), 2U);
    const QLT_SPACE::FilePtr full(std::fopen("/dev/full", "wb"));
    EXPECT_THROW(writer.write(full.get()), QLT_SPACE::Exception);
}

}  // namespace

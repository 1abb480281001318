// What a container finds against what the plain files with the same lines find.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "interface/TestHost.h"
#include "pattern/PackedLines.h"
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
        for (size_t i = 0; i < lineCount; ++i) made.lines.push_back(line(type));
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
    std::string word(size_t least, size_t most) {
        std::string text(least + below(most - least + 1), 'a');
        for (char& c : text) c = "abcde"[below(5)];
        return text;
    }

    std::string name() {
        std::string text(1 + below(below(4) == 0 ? 126 : 8), 'n');
        for (char& c : text) c = static_cast<char>('0' + below(10));
        return text;
    }

    std::string signature() {
        const std::string head = word(2, 12);
        if (below(20) == 0) return "zz";
        if (below(2) == 0) {
            const std::string plain = head + word(8, 300);
            samples.push_back(plain);
            return hex(plain);
        }
        const std::string tail = word(2, 8);
        samples.push_back(head + "aa" + tail);
        return hex(head) + (below(2) == 0 ? "*" : "(61|62)??") + hex(tail);
    }

    std::string line(int type) {
        if (type == PATTERN_BASIC) return name() + "=" + signature();
        if (type == PATTERN_EXTENDED) return name() + ":0:*:" + signature();
        const std::string text = "x<br>" + word(1, 300);
        digested.push_back(text);
        const char* form = below(4) == 0 ? "::" : ":";
        return hex(textOf(digestOf(text))) + ":" + std::to_string(text.size()) + form + name() +
               (below(4) == 0 ? ":more" : "");
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
/// @return the names found in each stream, and the set's number of signatures
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
    size_t detections = 0;
    testing::internal::CaptureStdout();  // plain loads tell refused lines there
    for (unsigned int seed = 0; seed < 60; ++seed) {
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
            const ContainerSettings settings = {
                .version = {1, seed, 3, 0xFFFFFFFF},
                .buildTime = 1700000000 + seed,
                .cipherMethod = cipher,
                .fixedNames = (seed + cipher) % 2 == 0,
            };
            const uint32_t packed = pack(folder.path("set"), files, settings);
            _ZVKPatternInfo info = {};
            EXPECT_EQ(found({folder.path("set").c_str(), nullptr}, streams, info), expected)
                << seed;
            EXPECT_EQ(info.patternCount, packed);
            EXPECT_EQ(info.patternCount, plainInfo.patternCount);
            EXPECT_EQ(info.patternVersion, settings.buildTime);
        }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(detections, 2000U);
}

// Of equal signatures the newest is told: kinds that take turns have to stay in their order.
TEST(ContainerRoundTrip, KeepsTheOrderOfKinds) {
    const TempFolder folder;
    const std::string evil = hex("evilcode(1)");
    const std::vector<PlainFile> files = {{PATTERN_BASIC, {"A=" + evil}},
                                          {PATTERN_EXTENDED, {"B:0:*:" + evil}},
                                          {PATTERN_BASIC, {"C=" + evil}}};
    pack(folder.path("set"), files, {});
    _ZVKPatternInfo info = {};
    const auto names = found({folder.path("set").c_str(), nullptr}, {"x<br>evilcode(1)"}, info);
    EXPECT_EQ(names[0], std::vector<std::string>{"C"});
}

TEST(ContainerRoundTrip, DefaultFilesMakeOneSet) {
    const TempFolder folder;
    const HostLog log(1);
    unsetenv("ZVK_DIR");
    EXPECT_EQ(loadPattern(nullptr), ZVK_ERR_NULL_ARG);
    setenv("ZVK_DIR", "/none/such", 1);
    EXPECT_EQ(reloadPattern(nullptr), ZVK_ERR_NULL_ARG);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"1ZVKEngine::loadPatten, pf is NULL",
                                                     "1relaodPattrn, pf is NULL"}));
    setenv("ZVK_DIR", (" " + folder.path("") + " ").c_str(), 1);
    std::filesystem::create_directory(folder.path("pattern"));
    const std::string base = folder.path("pattern/base");
    const std::string update = folder.path("pattern/update");
    const auto write = [](const std::string& path, const std::string& evil, uint32_t buildTime) {
        pack(path, {{PATTERN_BASIC, {evil + "=" + hex(evil)}}}, {.buildTime = buildTime});
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
    ASSERT_EQ(reloadPattern(nullptr), 0);
    expectSet(3000, {"evilcode(1)", "evilcode(3)"});
    std::filesystem::remove(base);
    ASSERT_EQ(reloadPattern(nullptr), 0);
    expectSet(3000, {"evilcode(3)"});
    unsetenv("ZVK_DIR");
    destroyEngine();
}

TEST(ContainerWriter, LinesThatTheFormatCannotHold) {
    ContainerWriter writer({});
    const std::string longRest(4096, '6');
    const std::tuple<std::string, int, const char*> cases[] = {
        {std::string(126, 'n') + "=6162", PATTERN_BASIC, ""},
        {std::string(127, 'n') + "=6162", PATTERN_BASIC,
         "a name of 127 bytes, a container holds up to 126"},
        {"=6162", PATTERN_BASIC, "no name"},
        {"no separator", PATTERN_EXTENDED, "no name"},
        {std::string(32, 'a') + ":5", PATTERN_MD5, "no name"},
        {std::string(32, 'a') + ":5:", PATTERN_MD5, "no name"},
        {"n" + longRest, PATTERN_BASIC, "no name"},
        {"n=" + longRest.substr(4), PATTERN_BASIC, ""},  // its name offset is 127
        {"n=" + longRest.substr(3), PATTERN_BASIC,
         "a record of 4097 bytes, a container holds up to 4096"},
        {std::string(126, 'n') + "=" + longRest.substr(2), PATTERN_BASIC, ""},
        {"n=6162", PATTERN_HWINFO, "lines of type 6 cannot be packed"},
    };
    for (const auto& [line, type, reason] : cases) {
        EXPECT_EQ(refusalOf([&, &line = line, &type = type] { writer.addLine(line, type); }),
                  reason);
    }
    EXPECT_EQ(writer.patternTotal(), 3U);
    EXPECT_EQ(writer.nameTotal(), 2U);
    const QLT_SPACE::FilePtr full(std::fopen("/dev/full", "wb"));
    EXPECT_THROW(writer.write(full.get()), QLT_SPACE::Exception);
}

}  // namespace

// What a container finds against what the plain files with the same lines find.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>

#include "interface/TestHost.h"
#include "pattern/ContainerWriter.h"
#include "pattern/PatternType.h"
#include "store/ZVKPatternContainer.h"
#include "support/Exception.h"
#include "support/FilePtr.h"
#include "support/MD5.h"

namespace {

using namespace STREAMENGINE_SPACE;

constexpr const char* kEndings[] = {"", ".hdb", ".db", ".ndb"};  // by PatternType

struct PlainFile {
    int type;
    std::vector<std::string> lines;
};

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
        QLT_SPACE::MD5 md5;
        md5.update(reinterpret_cast<const unsigned char*>(text.data()), text.size());
        std::string digest(16, '\0');
        md5.final(reinterpret_cast<unsigned char*>(digest.data()));
        const char* form = below(4) == 0 ? "::" : ":";
        return hex(digest) + ":" + std::to_string(text.size()) + form + name() +
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

/// Writes a container with the lines that the engine takes.
/// @return their number
uint32_t pack(const std::string& path, const std::vector<PlainFile>& files,
              const ContainerSettings& settings) {
    PatternContainer parsed;
    ContainerWriter writer(settings);
    for (const auto& [type, lines] : files) {
        for (const std::string& line : lines) {
            try {
                parsed.addString(line.c_str(), type, false);
                writer.addLine(line, type);
            } catch (QLT_SPACE::Exception&) {
                continue;
            }
        }
    }
    const QLT_SPACE::FilePtr file(std::fopen(path.c_str(), "wb"));
    writer.write(file.get());
    return writer.patternTotal();
}

/// Loads, scans all streams, and unloads.
/// @return the names found in each stream, and the set's number of signatures
std::vector<std::vector<std::string>> found(const _ZVKPatternFile& files,
                                            const std::vector<std::string>& streams,
                                            _ZVKPatternInfo& info) {
    EXPECT_EQ(loadPattern(&files), 0);
    EXPECT_EQ(getPatternInfo(&info), 0);
    std::vector<std::vector<std::string>> names;
    {
        Host host;
        for (const std::string& text : streams) {
            host.names.clear();
            host.stream(text, 700);
            names.push_back(host.names);
        }
    }
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
        const auto someFile = [&] {
            const int type = 1 + static_cast<int>(generator.below(3));
            return generator.file(type, seed == 0 ? 0 : generator.below(most + 1));
        };
        const std::vector<PlainFile> files = {someFile(), someFile()};
        const std::string base =
            folder.write(std::string("base") + kEndings[files[0].type], joined(files[0].lines));
        const std::string update =
            folder.write(std::string("update") + kEndings[files[1].type], joined(files[1].lines));
        std::vector<std::string> streams = generator.digested;
        streams.resize(std::min<size_t>(streams.size(), 50));
        for (int i = 0; i < 20; ++i) streams.push_back(generator.stream());

        _ZVKPatternInfo plainInfo = {};
        const auto expected = found({base.c_str(), update.c_str()}, streams, plainInfo);
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
    std::filesystem::create_directory(folder.path("pattern"));
    const auto write = [&](const char* name, const std::string& evil, uint32_t buildTime) {
        const std::vector<PlainFile> lines = {{PATTERN_BASIC, {evil + "=" + hex(evil)}}};
        pack(folder.path(std::string("pattern/") + name), lines, {.buildTime = buildTime});
    };
    write("base", "evilcode(1)", 2000);
    write("update", "evilcode(2)", 1000);
    setenv("ZVK_DIR", folder.path("").c_str(), 1);
    ASSERT_EQ(loadPattern(nullptr), 0);
    _ZVKPatternInfo info = {};
    getPatternInfo(&info);
    EXPECT_EQ(info.patternVersion, 2000U);
    EXPECT_EQ(info.patternCount, 2U);
    write("update", "evilcode(3)", 3000);
    ASSERT_EQ(reloadPattern(nullptr), 0);
    getPatternInfo(&info);
    EXPECT_EQ(info.patternVersion, 3000U);
    {
        Host host;
        host.stream("x<br>" + std::string(300, '.') + "evilcode(1)evilcode(2)evilcode(3)");
        EXPECT_EQ(host.names, (std::vector<std::string>{"evilcode(1)", "evilcode(3)"}));
    }
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
        try {
            writer.addLine(line, type);
            EXPECT_STREQ(reason, "") << line;
        } catch (QLT_SPACE::Exception& refusal) {
            EXPECT_STREQ(refusal.toString(), reason);
        }
    }
    EXPECT_EQ(writer.patternTotal(), 3U);
    EXPECT_EQ(writer.nameTotal(), 2U);
    const QLT_SPACE::FilePtr full(std::fopen("/dev/full", "wb"));
    EXPECT_THROW(writer.write(full.get()), QLT_SPACE::Exception);
}

}  // namespace

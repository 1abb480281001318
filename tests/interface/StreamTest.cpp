// Streams from begin to end: accepted or refused, chunks, answers, digests and safe lengths.
#include <gtest/gtest.h>

#include "interface/TestHost.h"

namespace {

using Names = std::vector<std::string>;

const std::string kEvil = "<b>evilcode1</b>";  // not changed by plain normalisation
const std::string kLines = "Evil:0:*:" + hex("evilcode1") + "(3c|3d)\n";
constexpr size_t kHeader = 256;
// md5sum of "x<br>helloworld" and of "x<br>" with 300 dots after it.
const std::string kHelloDigest = "4f0e13dabeff846651dd75f5f6fab974";
const std::string kDotsDigest = "f595800d78cd155bad946cc0715a0fd7";

std::string filler(size_t length) {
    return std::string(length, '.');
}

class Stream : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(load(".ndb", kLines), 0); }
    void TearDown() override { destroyEngine(); }
    void reload(std::string_view ending, std::string_view lines) {
        destroyEngine();
        ASSERT_EQ(load(ending, lines), 0);
    }
    /// Scans each page in chunks of each length and compares what is found.
    void expect(const std::vector<std::pair<std::string, Names>>& pages,
                std::initializer_list<size_t> lengths) {
        for (const auto& [page, names] : pages) {
            for (const size_t length : lengths) {
                EXPECT_EQ(host.found(page, length), names) << page << " / " << length;
            }
        }
    }
    Host host;
};

const std::string kMarkup = "x<br>" + filler(295);
constexpr int32_t kNo = ZVK_ERR_NOT_SCANNABLE;
constexpr const char* kAtEnd = "end_scan, find scannable file type.";
constexpr const char* kNotAtEnd = "end_scan, not scanable file type.";
constexpr const char* kInChunk = "scan, find scannable file type.";
constexpr const char* kNotInChunk = "scan, not scanable file type.";

const struct {
    const char* name;
    Names chunks;
    std::vector<int32_t> results;  // of the chunks and of the end call
    const char* line;              // the engine's only line, after the class
} kTypeCases[] = {
    {"no_chunk", {}, {0}, "end_scan, scanned nothing."},
    {"empty_chunks", {"", ""}, {0, 0, 0}, "end_scan, scanned nothing."},
    {"short_markup", {"x<br>"}, {0, 5}, kAtEnd},
    {"short_text", {"hello"}, {0, kNo}, kNotAtEnd},
    {"tag_in_pieces", {"  <I", " FR AME "}, {0, 0, 12}, kAtEnd},
    {"other_tag", {"   <p>hello"}, {0, kNo}, kNotAtEnd},
    {"one_chunk", {kMarkup}, {0, 300}, kInChunk},
    {"three_chunks", {filler(9), kMarkup.substr(0, 99), filler(300)}, {0, 0, 0, 408}, kInChunk},
    {"exactly_256", {kMarkup.substr(0, 256), "<br>"}, {0, 0, 260}, kInChunk},
    {"tag_cut_by_the_256th", {filler(253) + "<br>"}, {kNo, kNo}, kNotInChunk},
    {"tag_ends_with_the_256th", {filler(252) + "<br>", "x"}, {0, 0, 257}, kInChunk},
    {"late_tag", {filler(300), "x<br>"}, {kNo, kNo, kNo}, kNotInChunk},
    {"executable",
     {"MZ" + filler(98), "x"},
     {kNo, kNo, kNo},
     "scan, not support type : DOS/W32 executable/library/driver."},
    {"long_executable",
     {"MZ" + filler(300)},
     {kNo, kNo},
     "scan, NOT support type : DOS/W32 executable/library/driver."},
    {"magic_in_pieces", {"B", "M", "x"}, {0, kNo, kNo, kNo}, "scan, not support type : BMP."},
    {"binary_byte", {"abc\x01"}, {kNo, kNo}, "scan, not support data [01] @ 0x3."},
    {"first_byte", {"\x7f" + filler(300)}, {kNo, kNo}, "scan, NOT support data [7f] @ (nil)."},
    {"binary_byte_later", {kMarkup, "\x01"}, {0, 0, 301}, kInChunk},
};

TEST_F(Stream, TypeDecidedByTheFirst256Bytes) {
    for (const auto& row : kTypeCases) {
        SCOPED_TRACE(row.name);
        const HostLog log(3);
        EXPECT_EQ(host.begin(), 0);
        std::vector<int32_t> results;
        for (const auto& chunk : row.chunks) results.push_back(host.feed(chunk));
        results.push_back(host.end());
        EXPECT_EQ(results, row.results);
        Names lines = log.lines();
        std::erase_if(lines, [](const auto& line) { return !line.starts_with("3[ZVKEngine]"); });
        EXPECT_EQ(lines, Names{"3[ZVKEngine]ZVKEngineInstance::" + std::string(row.line)});
        EXPECT_EQ(host.end(), ZVK_ERR_BAD_STATE);
    }
    EXPECT_TRUE(host.names.empty());
}

TEST_F(Stream, DetectionsInLongChunks) {
    std::string page = "x<br>";
    for (int i = 0; i < 40; ++i) page += filler(4000) + kEvil;
    expect({{page, Names(40, "Evil")}}, {16384, 65536, page.size()});
    host.answers = {0, 3};  // the second one ends the chunk
    EXPECT_EQ(host.found(page).size(), 2U);
}

TEST_F(Stream, SafeLength) {
    const std::string head = "x<br>" + filler(kHeader - 5);
    const struct {
        const char* name;
        Names chunks;
        int32_t length;
    } cases[] = {
        {"clean", {head, filler(744)}, 1000},
        {"blank_chunk", {head, "    "}, 260},
        {"later_chunk", {head, filler(10), filler(5) + kEvil, filler(10)}, 266},
        {"header", {"x<br>" + kEvil + filler(300)}, 0},
        {"rest_of_first_chunk", {head + kEvil}, 0},
        {"short_stream", {"x<br>" + kEvil}, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        host.begin();
        EXPECT_EQ(getSafeDataLength(host.handle()), 0);
        for (const auto& chunk : row.chunks) host.feed(chunk);
        EXPECT_EQ(host.end(), row.length);
        EXPECT_EQ(getSafeDataLength(host.handle()), row.length);
    }
}

TEST_F(Stream, ShortStreamsAreScannedAtTheirEnd) {
    host.begin();
    host.feed("x<br>" + kEvil);
    EXPECT_TRUE(host.names.empty());
    destroyInstance(host.handle());  // ends it first
    EXPECT_EQ(host.names, Names{"Evil"});
}

TEST_F(Stream, MarkupIsReducedToTagsAndScripts) {
    reload(".db", "Tag=" + hex("<b></b><i></i>") + "\nScript=" + hex("varx=1;evil()") + "\n");
    expect({{"<html> <B>text</B> more <I> x </I>", {"Tag"}},
            {"x <html> <B>text</B> more <I> x </I>", {}},
            {"<html><SCRIPT>var X = 1; evil()</script>", {"Script"}},
            {"<html>var X = 1; evil()", {}},
            {"<!-- one --><html>var X = 1; evil()", {"Script"}}},  // does not begin with a tag
           {1, 5, 4096});
}

TEST_F(Stream, DigestOfTheNormalisedStream) {
    reload(".hdb", kHelloDigest + ":15:Hello\n" + kHelloDigest + ":16:WrongSize\n" + kDotsDigest +
                       ":305:Dots\n");
    host.answers = {5};  // ignored for a digest
    expect({{"X <BR> Hello\n World", {"Hello"}},
            {"x<br>helloworl", {}},
            {"x<br>" + filler(300), {"Dots"}},
            {"x<br>" + filler(301), {}}},
           {1, 100, 4096});
    EXPECT_EQ(host.stream("x<br>helloworld"), 0);
    EXPECT_EQ(host.stream("x<br>helloworl"), 14);
}

TEST_F(Stream, OffsetsCountInTheNormalisedStream) {
    reload(".ndb", "Word:0:EP+0:" + hex("evilcode3") + "??\nNegative:0:-1:" + hex("evilcode4") +
                       "??\nHuge:0:4294967606:" + hex("evilcode5") + "??\n");
    expect({{"evilcode3!<br>", {"Word"}},
            {"xevilcode3!<br>", {}},
            {"x<br>evilcode4!" + filler(295) + "evilcode5!", {}}},
           {40});
}

TEST_F(Stream, DumpsWhatIsMatched) {
    const Options options({"", 1, 0, 0, 0});
    host.begin();
    host.feed("X <BR>");
    EXPECT_TRUE(host.dumps.empty());
    host.feed("\n" + filler(300));
    host.feed("  \n");
    host.feed(kEvil);
    host.end();
    EXPECT_EQ(host.dumps, (Names{"x<br>" + filler(249), filler(51), kEvil, ""}));
    const ZVKScanEngineCallbacks stopAlways = {
        [](void*, ZVK_ENGINE_EVENT_TYPE, const void*, void*) { return 1; }};
    beginScan(host.handle(), 0, &stopAlways, &host);
    host.feed("x<br>" + filler(300));
    EXPECT_EQ(host.feed(kEvil), 1) << "a dump's answer is ignored";
    host.end();
}

TEST_F(Stream, ExceptionsOfTheHostComeOutOfTheCall) {
    zvkengine::Instance instance;
    int count = 0;
    const auto refuse = [&count](std::string_view) -> zvkengine::Answer { throw ++count; };
    const std::string two = kEvil + filler(300) + kEvil;
    instance.begin(refuse);
    instance.scan("x<br>" + filler(kHeader));
    EXPECT_THROW(instance.scan(two), int);  // and leaves the rest of the chunk
    EXPECT_THROW(instance.scan(two), int);
    EXPECT_EQ(instance.end(), kHeader + 5);
    instance.begin(refuse);
    instance.scan("x<br>" + kEvil);
    EXPECT_THROW(instance.end(), int);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(codeOf([&] { return instance.end(); }), ZVK_ERR_BAD_STATE);
}

TEST_F(Stream, DetailTexts) {
    reload(".ndb", "Demo:0:*:" + hex("ab") + "??" + hex("c") + "(64|65)*" + hex("xyz") + "\n");
    const std::string parts =
        "Pat_unknow_type\tDemo\t\n\tSignature part 1:\n\t\tlen      :5\n\t\toffset   :0x5\n"
        "\t\tsig      :0061 0062 ff38 0063 ff37 \n\t\tsig      :ab?c|\n\t\tasc      :1\n"
        "\tSignature part 2:\n\t\tlen      :3\n\t\toffset   :0xb\n\t\tsig      :0078 0079 007a \n"
        "\t\tsig      :xyz\n\t\tasc      :1\n";
    const Options options({"", 0, 0, 1, 1});
    const HostLog log(0);
    EXPECT_EQ(host.found("x<br>ab.ce.xyz"), Names{parts});
    EXPECT_EQ(log.lines(), Names{"0" + parts});
    reload(".hdb", kHelloDigest + ":15:Demo\n");
    EXPECT_EQ(host.found("x<br>helloworld"), Names{"MD5_Pattern\tDemo\t\n"});
}

TEST_F(Stream, DebugLinesOfADetection) {
    reload(".ndb", "Evil:0:*:" + hex("evilcode1") + "??\n");
    const HostLog log(3);
    host.answers = {3};
    host.stream("x<br>evilcode1!");
    EXPECT_EQ(
        log.lines(),
        (Names{"3[StreamScanner]TrieScanner::virusFound, in_buf [x<br>evilcode1!], in_len[f]",
               "3[StreamScanner]current->simple_patterns[1]",
               "3[StreamScanner]StreamScanner::scanBuffer, find type name [HTML data].",
               "3[ZVKEngine]ZVKEngineInstance::end_scan, find scannable file type.",
               "3[StreamScanner]TrieScanner::virusFound, in_buf [x<br>evilcode1!], in_len[f]",
               "3[StreamScanner]send virus_found event [Malform.HTML][Evil]",
               "3[StreamScanner]ret of send event is [3]", "3[StreamScanner]ret of event = 3"}));
}

}  // namespace

// Streams from begin to end: the type gate, chunks, answers, digests and safe lengths.
#include <gtest/gtest.h>

#include "interface/TestHost.h"

namespace {

using Names = std::vector<std::string>;

const std::string kEvil = "<b>evilcode1</b>";  // normalised in plain mode as it stands
const std::string kLines = "Evil:0:*:" + hex("evilcode1") + "(3c|3d)\n";
constexpr size_t kHeader = 256;
// md5sum of "x<br>helloworld" and of "x<br>" with 300 dots behind it.
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
                host.names.clear();
                host.stream(page, length);
                EXPECT_EQ(host.names, names) << page << " / " << length;
            }
        }
    }
    Host host;
};

TEST_F(Stream, GateByTheHeader) {
    const std::string markup = "x<br>" + filler(295);
    const int32_t no = ZVK_ERR_NOT_SCANNABLE;
    struct Case {
        Names chunks;
        std::vector<int32_t> results;  // of the chunks and the end
        std::string line;              // what the gate logs last, behind its class
    };
    const Case cases[] = {
        {{}, {0}, "end_scan, scanned nothing."},
        {{"", ""}, {0, 0, 0}, "end_scan, scanned nothing."},
        {{"x<br>"}, {0, 5}, "end_scan, find scannable file type."},
        {{"hello"}, {0, no}, "end_scan, not scanable file type."},
        {{"  <I", " FR AME "}, {0, 0, 12}, "end_scan, find scannable file type."},
        {{"   <p>hello"}, {0, no}, "end_scan, not scanable file type."},
        {{markup}, {0, 300}, "scan, find scannable file type."},
        {{markup.substr(0, 100), markup.substr(100, 100), markup.substr(200)},
         {0, 0, 0, 300},
         "scan, find scannable file type."},
        {{markup.substr(0, 256), markup.substr(256)},
         {0, 0, 300},
         "scan, find scannable file type."},
        {{filler(253) + "<br>"}, {no, no}, "scan, not scanable file type."},
        {{filler(252) + "<br>"}, {0, 256}, "scan, find scannable file type."},
        {{filler(300), "x<br>"}, {no, no, no}, "scan, not scanable file type."},
        {{"MZ" + filler(98), "x"},
         {no, no, no},
         "scan, not support type : DOS/W32 executable/library/driver."},
        {{"MZ" + filler(300)},
         {no, no},
         "scan, NOT support type : DOS/W32 executable/library/driver."},
        {{"B", "M", "x"}, {0, no, no, no}, "scan, not support type : BMP."},
        {{"abc\x01"}, {no, no}, "scan, not support data [01] @ 0x3."},
        {{"\x7f" + filler(300)}, {no, no}, "scan, NOT support data [7f] @ (nil)."},
        {{markup, "\x01"}, {0, 0, 301}, "scan, find scannable file type."},
    };
    for (const Case& row : cases) {
        const Log log(3);
        EXPECT_EQ(host.begin(), 0);
        std::vector<int32_t> results;
        for (const auto& chunk : row.chunks) results.push_back(host.feed(chunk));
        results.push_back(host.end());
        EXPECT_EQ(results, row.results) << row.line;
        Names lines = log.lines();
        std::erase_if(lines, [](const auto& line) { return !line.starts_with("3[ZVKEngine]"); });
        EXPECT_EQ(lines, Names{"3[ZVKEngine]ZVKEngineInstance::" + row.line});
        EXPECT_EQ(host.end(), ZVK_ERR_BAD_STATE);
    }
    EXPECT_TRUE(host.names.empty());
}

TEST_F(Stream, DetectionsAtAnyCut) {
    expect({{"x<br>" + filler(290) + kEvil + filler(40) + kEvil, {"Evil", "Evil"}}},
           {1, 2, 3, 7, 11, 255, 256, 257, 300, 4096});
    std::string page = "x<br>";
    for (int i = 0; i < 40; ++i) page += filler(4000) + kEvil;
    expect({{page, Names(40, "Evil")}}, {16384, 65536, page.size()});
}

TEST_F(Stream, AnswersSteerTheChunk) {
    const std::string start = "x<br>" + filler(kHeader - 5);
    const std::string three = kEvil + kEvil + kEvil;
    struct Case {
        std::vector<int32_t> answers;
        int32_t result;  // of the chunk with the three
        int32_t next;    // of one more
    };
    // A stop forgets what its cycle added, not what the host had gone on into before it.
    const Case cases[] = {
        {{0, 0, 0}, 3, 1}, {{1}, 1, 1}, {{3}, 1, 1}, {{0, 1}, 2, 3}, {{0, 0, 3}, 3, 2}, {{2}, 1, 1},
    };
    for (const Case& row : cases) {
        host.answers = row.answers;
        host.names.clear();
        host.begin();
        EXPECT_EQ(host.feed(start), 0);
        EXPECT_EQ(host.feed(three), row.result);
        EXPECT_EQ(host.feed(kEvil), row.next);
        EXPECT_EQ(host.end(), static_cast<int32_t>(kHeader));
    }
}

TEST_F(Stream, SafeLength) {
    const std::string head = "x<br>" + filler(kHeader - 5);
    struct Case {
        const char* name;
        std::vector<std::string> chunks;
        int32_t safe;
    };
    const Case cases[] = {
        {"clean", {head, filler(744)}, 1000},
        {"blank_chunk", {head, "    "}, 260},
        {"later_chunk", {head, filler(10), filler(5) + kEvil, filler(10)}, 266},
        {"header", {"x<br>" + kEvil + filler(300)}, 0},
        {"rest_of_first_chunk", {head + kEvil}, 0},
        {"short_stream", {"x<br>" + kEvil}, 0},
    };
    for (const Case& row : cases) {
        host.begin();
        EXPECT_EQ(getSafeDataLength(host.instance), 0);
        for (const auto& chunk : row.chunks) host.feed(chunk);
        EXPECT_EQ(host.end(), row.safe) << row.name;
        EXPECT_EQ(getSafeDataLength(host.instance), row.safe);
    }
}

TEST_F(Stream, ShortStreamsAreScannedAtTheirEnd) {
    host.begin();
    EXPECT_EQ(host.feed("x<br>" + kEvil), 0);
    EXPECT_TRUE(host.names.empty());
    destroyInstance(host.instance);  // ends it first
    EXPECT_EQ(host.names, Names{"Evil"});
}

TEST_F(Stream, MarkupIsReducedToTagsAndScripts) {
    reload(".db", "Tag=" + hex("<b></b><i></i>") + "\nScript=" + hex("varx=1;evil()") + "\n");
    expect({{"<html> <B>text</B> more <I> x </I>", {"Tag"}},
            {"x <html> <B>text</B> more <I> x </I>", {}},
            {"x <html> <B> </B>\n<I> </I>", {"Tag"}},
            {"<html><SCRIPT>var X = 1; evil()</script>", {"Script"}},
            {"<html>var X = 1; evil()", {}},
            {"<!-- one -->\n<html>var X = 1; evil()", {}},
            {"<!-- one --><html>var X = 1; evil()", {"Script"}}},  // opens with no tag
           {1, 5, 4096});
}

TEST_F(Stream, DigestOfTheNormalisedStream) {
    reload(".hdb", kHelloDigest + ":15:Hello\n" + kHelloDigest + ":16:WrongSize\n" + kDotsDigest +
                       ":305:Dots\n");
    host.answers = {5};  // steers nothing
    expect({{"X <BR> Hello\n World", {"Hello"}},
            {"x<br>helloworl", {}},
            {"x<br>" + filler(300), {"Dots"}},
            {"x<br>" + filler(301), {}}},
           {1, 100, 4096});
    EXPECT_EQ(host.stream("x<br>helloworld"), 0);
    EXPECT_EQ(host.stream("x<br>helloworl"), 14);
}

TEST_F(Stream, OffsetsCountInTheNormalisedStream) {
    reload(".ndb", "At:0:10:" + hex("evilcode1") + "??\nAt300:0:300:" + hex("evilcode22") +
                       "\nWord:0:EP+0:" + hex("evilcode3") + "??\nNegative:0:-1:" +
                       hex("evilcode4") + "??\nHuge:0:4294967606:" + hex("evilcode5") + "??\n");
    expect({{"x<br>  ..\n ...evilcode1!", {"At"}},
            {"x<br>......evilcode1!", {}},
            {"x<br>" + filler(295) + "evilcode22", {"At300"}},
            {"x<br>" + filler(296) + "evilcode22", {}},
            {"evilcode3!<br>", {"Word"}},
            {"xevilcode3!<br>", {}},
            {"x<br>evilcode4!" + filler(295) + "evilcode5!", {}}},
           {1, 40});
}

TEST_F(Stream, GapsAndParts) {
    reload(".ndb", "Bound:0:*:" + hex("one1") + "{3-5}" + hex("two2") +
                       "\nExact:0:*:" + hex("six6") + "{4}" + hex("ten0") +
                       "\nZero:0:*:" + hex("aa11") + "{0}" + hex("bb22") +
                       "\nAny:0:*:" + hex("cc33") + "*" + hex("dd4") + "??*" + hex("ee") + "\n");
    expect({{"x<br>one1..two2!", {}},
            {"x<br>one1...two2!", {"Bound"}},
            {"x<br>one1.....two2!", {"Bound"}},
            {"x<br>one1......two2!", {}},
            {"x<br>one1.two2two2!", {"Bound"}},
            {"x<br>six6...ten0.ten0!", {}},
            {"x<br>six6....ten0!", {"Exact"}},
            {"x<br>bb22aa11!", {}},
            {"x<br>aa11bb22!", {"Zero"}},
            {"x<br>aa11" + filler(400) + "bb22!", {"Zero"}},
            {"x<br>ee.dd4.cc33.dd4.ee!", {"Any"}},
            {"x<br>cc33.dd4ee!", {}},
            {"x<br>cc33.dd4.ee.cc33.dd4.ee!", {"Any", "Any"}},
            {"x<br>cc33.dd4.aa11bb22ee!", {"Zero"}}},  // a detection ends what is under way
           {1, 3, 4096});
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
}

TEST_F(Stream, DetailTexts) {
    reload(".ndb", "Demo.A:0:*:" + hex("0123456789") + "\nDemo.B:0:*:" + hex("ab") + "??" +
                       hex("c") + "(64|65)*" + hex("xyz") + "\n");
    const std::string bm =
        "Pat_unknow_type\tDemo.A\t\n\tSignature part 1:\n\t\tlen      :10\n\t\toffset   :0x10\n"
        "\t\tsig      :0030 0031 0032 0033 0034 0035 0036 0037 0038 0039 \n"
        "\t\tsig      :0123456789\n\t\tasc      :1\n";
    const std::string parts =
        "Pat_unknow_type\tDemo.B\t\n\tSignature part 1:\n\t\tlen      :5\n\t\toffset   :0x5\n"
        "\t\tsig      :0061 0062 ff38 0063 ff37 \n\t\tsig      :ab?c|\n\t\tasc      :1\n"
        "\tSignature part 2:\n\t\tlen      :3\n\t\toffset   :0xb\n\t\tsig      :0078 0079 007a \n"
        "\t\tsig      :xyz\n\t\tasc      :1\n";
    const Options options({"", 0, 0, 1, 1});
    for (const size_t length : {1U, 4096U}) {
        const Log log(0);
        host.names.clear();
        host.stream("x<br>" + filler(11) + "0123456789", length);
        host.stream("x<br>ab.ce.xyz", length);
        EXPECT_EQ(host.names, (Names{bm, parts}));
        EXPECT_EQ(log.lines(), (Names{"0" + bm, "0" + parts}));
    }
    reload(".hdb", kHelloDigest + ":15:Demo.C\n");
    host.names.clear();
    host.stream("x<br>helloworld");
    EXPECT_EQ(host.names, Names{"MD5_Pattern\tDemo.C\t\n"});
}

}  // namespace

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <random>

#include "scan/normalise/Normaliser.h"

namespace {

using STREAMENGINE_SPACE::Normaliser;

std::string feed(Normaliser& normaliser, std::string_view raw, unsigned int room = 1 << 16) {
    std::string all;
    std::string out(room, '\0');
    const char* data = raw.data();
    auto length = static_cast<unsigned int>(raw.size());
    while (length != 0) all.append(out, 0, normaliser.getBuffer(data, length, out.data(), room));
    return all;
}

std::string normalise(std::string_view raw, bool markup) {
    Normaliser normaliser;
    normaliser.htmlMode = markup;
    return feed(normaliser, raw);
}

constexpr std::tuple<bool, std::string_view, std::string_view> kCases[] = {
    {false, "Hello World", "helloworld"},
    {false, "\t\n\v\f\r A[Z`a{\x08\x0e\x1b\xc0\xff", "a[z`a{\x08\x0e\x1b\xc0\xff"},
    {false, "a<B>c</B>", "a<b>c</b>"},
    {true, "<B>Bold</B> text", "<b></b>"},
    {true, "<A HREF=x>text</a>", "<a></a>"},
    {true, "<!-- x -->", "<!>"},
    {true, "<!-- > y -->z<b>", "<!><b>"},
    {true, "<!DOCTYPE html><i>", "<!><i>"},
    {true, "<! -- x>y-->", "<!>"},
    {true, "<!- -x>y<b>", "<!><b>"},
    {true, "<a--x>y--><b>", "<a><b>"},
    {true, "<Abbr title='>'>x", "<a>"},
    {true, "<!-- a --->x", "<!>"},
    {true, "<!--->x<b>", "<!"},
    {true, "<!---->x<b>", "<!><b>"},
    {true, "<!-- - -> -->x", "<!>"},
    {true, "<SCRIPT type=js>var a = 1;</SCRIPT>", "<scripttype=js>vara=1;</script>"},
    {true, "<script>a<b></script x>y<i>", "<script>a<b></scriptx><i>"},
    {true, "<script>a</scriptx>b</ script>c</script>d", "<script>a</scriptx>b</script>c</script>"},
    {true, "<script>a<</script>d<u>", "<script>a<</script><u>"},
    {true, "<script>a</script</script>d<u>", "<script>a</script</script><u>"},
    {true, "<scr ipt>x<u>", "<script><u>"},
    {true, "<scripts>x<u>", "<scripts><u>"},
    {true, "<x<script>y<u>", "<x<script><u>"},
    {true, "<s <script>y", "<s<script>"},
    {true, "text only", ""},
};

TEST(Normaliser, Table) {
    for (const auto& [markup, raw, expected] : kCases) {
        EXPECT_EQ(normalise(raw, markup), expected) << raw;
    }
}

RC_GTEST_PROP(Normaliser, IgnoresChunkBoundaries, (bool markup)) {
    const auto raw =
        *rc::gen::container<std::string>(rc::gen::elementOf(std::string("<<>>/!- \taScript")));
    const auto cut = *rc::gen::inRange<size_t>(0, raw.size() + 1);
    const auto room = *rc::gen::inRange<unsigned int>(1, 9);
    Normaliser cutInTwo;
    cutInTwo.htmlMode = markup;
    auto got = feed(cutInTwo, std::string_view(raw).substr(0, cut), room);
    got += feed(cutInTwo, std::string_view(raw).substr(cut), room);
    RC_ASSERT(got == normalise(raw, markup));
}

std::string markupLike(std::mt19937& random) {
    constexpr std::string_view kPieces[] = {
        "<script", "</script", "<SCRIPT>", "</scrIpt>", "<!--", "-->", "--",
        "-",       "<!",       "<a",       "<A ",       "<s",   "<b>", "<",
        "</",      ">",        ">",        " ",         "\n",   "x",   "Sc"};
    const size_t longest = random() % 2 == 0 ? 3 : 100;  // of the text in between
    std::string text;
    for (size_t length = random() % (random() % 8 == 0 ? 6000 : 600); text.size() < length;) {
        text += kPieces[random() % std::size(kPieces)];
        for (size_t i = random() % longest; i > 0; --i) text += "aB \xc3-"[random() % 5];
    }
    return text;
}

// Input and output lie in blocks of their own: the sanitizer sees what is read or written beyond.
TEST(Normaliser, KernelsGiveWhatPlainGives) {
    using QLT_SPACE::VectorUnit;
    for (const VectorUnit unit : {VectorUnit::Baseline, VectorUnit::Avx2, VectorUnit::Avx512}) {
        if (!hasVectorUnit(unit)) continue;
        for (uint32_t seed = 0; seed < 10000; ++seed) {
            std::mt19937 random(seed);
            Normaliser plain(VectorUnit::None);
            Normaliser fast(unit);
            plain.htmlMode = fast.htmlMode = random() % 4 != 0;
            const std::string raw = markupLike(random);
            const size_t mostRoom = random() % 3 == 0 ? 8 : 4000;
            const size_t longest = random() % 2 == 0 ? 500 : 6000;
            for (size_t at = 0; at < raw.size();) {
                const auto piece = std::string_view(raw).substr(at, 1 + random() % longest);
                const std::vector<char> chunk(piece.begin(), piece.end());
                const auto room = static_cast<unsigned int>(1 + random() % mostRoom);
                std::vector<char> outs[2] = {std::vector<char>(room), std::vector<char>(room)};
                size_t consumed[2];
                for (const int i : {0, 1}) {
                    const char* data = chunk.data();
                    auto length = static_cast<unsigned int>(chunk.size());
                    Normaliser& normaliser = i == 0 ? plain : fast;
                    outs[i].resize(normaliser.getBuffer(data, length, outs[i].data(), room));
                    consumed[i] = chunk.size() - length;
                    ASSERT_EQ(data, chunk.data() + consumed[i]);
                }
                ASSERT_EQ(outs[0], outs[1]) << vectorUnitName(unit) << ", seed " << seed;
                ASSERT_EQ(consumed[0], consumed[1]) << vectorUnitName(unit) << ", seed " << seed;
                at += consumed[0];
            }
        }
    }
}

TEST(Normaliser, TellsMarkupFromItsStart) {
    const std::pair<std::string_view, bool> cases[] = {
        {"  <!-- c -->\n<html>", true},
        {"<!--\r<b>", true},
        {"<!--\r<", false},
        {"<!-- c --><html>", false},
        {"<!--", false},
        {"<!-", false},
        {"<!", false},
        {"<", false},
        {"x<html>", false},
        {"<p", true},
        {"<px", true},
        {"<!x", true},
        {"<!-x", true},
        {"", false},
        {" \t\n\v\f\r", false},
        {"<!doctype html>", true},
        {"<!--a\n \n<!--b\n<i>", true},
    };
    for (const auto& [text, isMarkup] : cases) {
        EXPECT_EQ(Normaliser::checkHeader(text.data(), static_cast<unsigned int>(text.size())),
                  isMarkup)
            << text;
    }
}

}  // namespace

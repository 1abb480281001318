#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <array>

#include "scan/normalise/Normaliser.h"
#include "testing/Random.h"

namespace {

using STREAMENGINE_SPACE::Normaliser;

/// Calls getBuffer() once. Input and output lie in blocks of their own, so that the address
/// sanitizer sees what is read or written after their ends.
/// @return the bytes written and the number of bytes consumed
std::pair<std::string, size_t> feedOnce(Normaliser& normaliser, std::string_view raw,
                                        unsigned int room) {
    const std::vector<char> chunk(raw.begin(), raw.end());
    std::vector<char> out(room);
    const char* data = chunk.data();
    auto length = static_cast<unsigned int>(chunk.size());
    const unsigned int written = normaliser.getBuffer(data, length, out.data(), room);
    EXPECT_EQ(data + length, chunk.data() + chunk.size());
    return {{out.data(), written}, chunk.size() - length};
}

std::string feed(Normaliser& normaliser, std::string_view raw, unsigned int room = 1 << 16) {
    std::string all;
    while (!raw.empty()) {
        const auto [text, consumed] = feedOnce(normaliser, raw, room);
        all += text;
        raw.remove_prefix(consumed);
    }
    return all;
}

std::string normalise(std::string_view raw, bool markup) {
    Normaliser normaliser;
    normaliser.setMarkupMode(markup);
    return feed(normaliser, raw);
}

struct NormaliseCase {
    const char* name;
    bool markup;
    std::string_view raw, expected;
};
constexpr NormaliseCase kCases[] = {
    {"plain_lowered_unspaced", false, "Hello World", "helloworld"},
    {"plain_bytes", false, "\t\n\v\f\r A[Z`a{\x08\x0e\x1b\xc0\xff", "a[z`a{\x08\x0e\x1b\xc0\xff"},
    {"plain_keeps_tags", false, "a<B>c</B>", "a<b>c</b>"},
    {"text_dropped", true, "<B>Bold</B> text", "<b></b>"},
    {"text_only", true, "text only", ""},
    {"link_emptied", true, "<A HREF=x>text</a>", "<a></a>"},
    {"link_by_first_letter", true, "<Abbr title='>'>x", "<a>"},
    {"comment", true, "<!-- x -->", "<!>"},
    {"comment_with_bracket", true, "<!-- > y -->z<b>", "<!><b>"},
    {"comment_extra_dash", true, "<!-- a --->x", "<!>"},
    {"comment_three_dashes", true, "<!--->x<b>", "<!"},
    {"comment_four_dashes", true, "<!---->x<b>", "<!><b>"},
    {"comment_dashes_apart", true, "<!-- - -> -->x", "<!>"},
    {"declaration", true, "<!DOCTYPE html><i>", "<!><i>"},
    {"declaration_spaced_dashes", true, "<! -- x>y-->", "<!>"},
    {"declaration_dashes_apart", true, "<!- -x>y<b>", "<!><b>"},
    {"link_with_dashes", true, "<a--x>y--><b>", "<a><b>"},
    {"script", true, "<SCRIPT type=js>var a = 1;</SCRIPT>", "<scripttype=js>vara=1;</script>"},
    {"script_closed_by_space", true, "<script>a<b></script x>y<i>", "<script>a<b></scriptx><i>"},
    {"script_closing_name", true, "<script>a</scriptx>b</ script>c</script>d",
     "<script>a</scriptx>b</script>c</script>"},
    {"script_bracket_twice", true, "<script>a<</script>d<u>", "<script>a<</script><u>"},
    {"script_closing_twice", true, "<script>a</script</script>d<u>",
     "<script>a</script</script><u>"},
    {"script_name_spaced", true, "<scr ipt>x<u>", "<script><u>"},
    {"script_longer_name", true, "<scripts>x<u>", "<scripts><u>"},
    {"script_in_tag", true, "<x<script>y<u>", "<x<script><u>"},
    {"script_in_spaced_tag", true, "<s <script>y", "<s<script>"},
};

TEST(Normaliser, Table) {
    for (const auto& [name, markup, raw, expected] : kCases) {
        EXPECT_EQ(normalise(raw, markup), expected) << name;
    }
}

RC_GTEST_PROP(Normaliser, IgnoresChunkBoundaries, (bool markup)) {
    const auto raw =
        *rc::gen::container<std::string>(rc::gen::elementOf(std::string("<<>>/!- \taScript")));
    const auto cut = *rc::gen::inRange<size_t>(0, raw.size() + 1);
    const auto room = *rc::gen::inRange<unsigned int>(1, 9);
    Normaliser cutInTwo;
    cutInTwo.setMarkupMode(markup);
    auto got = feed(cutInTwo, std::string_view(raw).substr(0, cut), room);
    got += feed(cutInTwo, std::string_view(raw).substr(cut), room);
    RC_ASSERT(got == normalise(raw, markup));
}

std::string markupLike(Random& random) {
    constexpr std::array<std::string_view, 21> kPieces = {
        "<script", "</script", "<SCRIPT>", "</scrIpt>", "<!--", "-->", "--",
        "-",       "<!",       "<a",       "<A ",       "<s",   "<b>", "<",
        "</",      ">",        ">",        " ",         "\n",   "x",   "Sc"};
    const size_t longest = random.chance(50) ? 2 : 99;  // of the text between two pieces
    const size_t length = random.between(0, random.chance(12) ? 6000 : 600);
    std::string text;
    while (text.size() < length) {
        text += random.pick(kPieces);
        text += random.text("aB \xc3-", random.between(0, longest));
    }
    return text;
}

TEST(Normaliser, KernelsGiveWhatPlainGives) {
    using QLT_SPACE::VectorUnit;
    for (const VectorUnit unit : {VectorUnit::Baseline, VectorUnit::Avx2, VectorUnit::Avx512}) {
        if (!hasVectorUnit(unit)) continue;
        for (uint64_t seed = 0; seed < 10000; ++seed) {
            Random random(seed);
            Normaliser plain(VectorUnit::None), fast(unit);
            const bool isMarkup = random.chance(75);
            plain.setMarkupMode(isMarkup);
            fast.setMarkupMode(isMarkup);
            const std::string raw = markupLike(random);
            const size_t mostRoom = random.chance(33) ? 8 : 4000;
            const size_t longest = random.chance(50) ? 500 : 6000;
            for (size_t at = 0; at < raw.size();) {
                const auto piece = std::string_view(raw).substr(at, random.between(1, longest));
                const auto room = static_cast<unsigned int>(random.between(1, mostRoom));
                const auto expected = feedOnce(plain, piece, room);
                ASSERT_EQ(feedOnce(fast, piece, room), expected)
                    << vectorUnitName(unit) << ", seed " << seed;
                at += expected.second;
            }
        }
    }
}

TEST(Normaliser, ChoosesTheModeByTheHeader) {
    const std::vector<std::string_view> markup = {
        "  <!-- c -->\n<html>", "<!--\r<b>",           "<p", "<px", "<!x", "<!-x",
        "<!doctype html>",      "<!--a\n \n<!--b\n<i>"};
    const std::vector<std::string_view> plain = {
        "<!--\r<", "<!-- c --><html>", "<!--", "<!-", "<!", "<", "x<html>", "", " \t\n\v\f\r"};
    for (const auto* texts : {&markup, &plain}) {
        for (const std::string_view text : *texts) {
            const auto length = static_cast<unsigned int>(text.size());
            EXPECT_EQ(Normaliser::checkHeader(text.data(), length), texts == &markup) << text;
        }
    }
}

}  // namespace

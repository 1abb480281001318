#include "scan/filter/MarkupFilter.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <numeric>

#include "scan/filter/OpeningSearch.h"

namespace {

using namespace std::literals;
using STREAMENGINE_SPACE::MarkupFilter;
using Texts = std::vector<std::string>;

std::string join(const Texts& texts) {
    return std::accumulate(texts.begin(), texts.end(), std::string());
}

struct Filtered {
    Texts pieces;  // what each chunk gave, and the end
    bool isChanged = false;

    std::string all() const { return join(pieces); }
};

// Each buffer is just as large as promised, for the address sanitizer to guard.
Filtered filter(const Texts& chunks, uint8_t mode) {
    MarkupFilter filter;
    Filtered result;
    for (const auto& chunk : chunks) {
        const std::vector<char> in(chunk.begin(), chunk.end());
        std::vector<char> out(in.size() + MarkupFilter::kMostHeld);
        const auto length = static_cast<uint32_t>(in.size());
        const uint32_t written = filter.getBufferFilter(in.data(), length, out.data(), mode);
        result.pieces.emplace_back(out.data(), written);
    }
    std::vector<char> out(MarkupFilter::kMostHeld);
    result.pieces.emplace_back(out.data(), filter.getTagBufferFilter(out.data()));
    result.isChanged = filter.hasChanged();
    return result;
}

/// @return the pieces of a text that a "|" separates
Texts split(std::string text) {
    Texts pieces;
    for (size_t end = 0; (end = text.find('|')) != text.npos; text.erase(0, end + 1)) {
        pieces.push_back(text.substr(0, end));
    }
    pieces.push_back(text);
    return pieces;
}

struct FilterCase {
    const char* name;
    uint8_t mode;
    std::string_view chunks, expected;  // a piece for each chunk, and one for the end
};
// A "|" separates chunks, a "_" is a byte that was blanked.
constexpr FilterCase kFilterCases[] = {
    {"no_byte", 3, "", "|"},
    {"no_element", 2, "<span>x</span>", "<span>x</span>|"},
    {"element", 2, "a<script>x=1;</script>b", "a_____________________b|"},
    {"other_mode", 1, "a<script>x=1;</script>b", "a<script>x=1;</script>b|"},
    {"mode_0", 0, "<script><object>|<", "<script><object>||<"},
    {"mode_4", 4, "<script><object>", "<script><object>|"},
    {"applet", 1, "<applet\t>a</applet>|<noscript>", "___________________|<noscript>|"},
    {"embed_plugin", 1, "<EMBED/>a|<plugin\v/>b", "________a|__________b|"},
    {"embed_plugin_text", 1, "<Embed>a</embed>|<PLUGIN>a</plugin>b",
     "________________|__________________b|"},
    {"noscript", 2, "<NoScript>a</nOscript>b<embed>", "______________________b<embed>|"},
    {"cut_in_name", 2, "<scr||ipt>", "||________|"},
    {"cut_in_other_name", 2, "<s||<x", "||<s<x|"},
    {"cut_at_end", 2, "<|Sc", "||<Sc"},
    {"name_at_end", 2, "a<script", "a|<script"},
    {"never_closed", 2, "<script>x", "_________|"},
    {"closing_tag_at_end", 2, "<script>x</Scr", "_________|_____"},
    {"closing_tag_cut", 2, "<noscript></noscript|\n>y", "__________|____________y|"},
    {"longer_name", 2, "<scriptx>y|<scripts", "<scriptx>y|<scripts|"},
    {"longer_closing_name", 2, "<script>a</scriptx>b</script>c", "_____________________________c|"},
    // The byte that ends another name opens nothing.
    {"bracket_before", 2, "<<script>|<<<script>", "<<script>|<<________|"},
    {"bracket_before_closing", 2, "<script><</script>a</script/>b",
     "_____________________________b|"},
    {"name_before_closing", 2, "<script></scr</script>a</script>b",
     "________________________________b|"},
    // Only an element's own name closes it, and its closing tag runs to the next ">".
    {"closed_by_own_name", 3, "<object></script></object '>a'>b",
     "____________________________a'>b|"},
    // What ends a name, and what does not.
    {"name_ends", 2, "<script\t/>a|<script\r/>b", "__________a|__________b|"},
    {"name_goes_on", 2, "<script\0>|<script\x08>"sv, "<script\0>|<script\x08>|"sv},
    // "/>" closes the tag outside of quotes alone, and with no byte between.
    {"slash", 2, "<script src=a.js/>ok", "__________________ok|"},
    {"slash_cut", 2, "<script/|>a", "________|_a|"},
    {"slash_space", 2, "<script / >a", "____________|"},
    {"slash_after_quotes", 2, "<script a=\"'\"/>b", "_______________b|"},
    {"slash_before_quotes", 2, "<script /''|>a", "___________|__|"},
    {"slash_alone_in_quotes", 2, "<script '|/|'>a", "_________|_|___|"},
    {"bracket_in_quotes", 1, "<object data='a>b'>q</object>", "_____________________________|"},
};

TEST(MarkupFilter, Table) {
    for (const auto& [name, mode, raw, expectedText] : kFilterCases) {
        const Texts chunks = split(std::string(raw));
        std::string expected(expectedText);
        std::replace(expected.begin(), expected.end(), '_', ' ');
        const Filtered result = filter(chunks, mode);
        EXPECT_EQ(result.pieces, split(expected)) << name;
        EXPECT_EQ(result.isChanged, result.all() != join(chunks)) << name;
    }
}

TEST(MarkupFilter, TheModeDecidesWhenATagOpens) {
    const std::string text = "<script>", closing = "</object>";
    char out[32];
    MarkupFilter filter;
    EXPECT_EQ(filter.getBufferFilter("<", 1, out, 2), 0U);
    EXPECT_EQ(filter.getBufferFilter(&text[1], 7, out, 1), 8U);
    EXPECT_EQ(std::string(out, 8), text);
    filter.getBufferFilter(text.data(), 8, out, 2);
    EXPECT_EQ(std::string(out, filter.getBufferFilter(closing.data(), 9, out, 0)), "         ");
}

// reference() filters a whole text, element by element; the functions before it are its own.

bool endsName(char c) {
    return std::string_view("\t\n\v\f\r >/").find(c) != std::string_view::npos;
}

/// @return how many bytes of the text from `at` on are those of the word
size_t common(const std::string& lowered, size_t at, std::string_view word) {
    const std::string_view text = std::string_view(lowered).substr(at, word.size());
    const auto differing = std::mismatch(text.begin(), text.end(), word.begin()).first;
    return static_cast<size_t>(differing - text.begin());
}

/// The end of a tag whose name ends at `at`, and whether it ends in "/>".
std::pair<size_t, bool> tagEnd(const std::string& text, const size_t at) {
    size_t end = at;
    while ((end = text.find_first_of(">'\"", end)) != std::string::npos && text[end] != '>') {
        end = text.find(text[end], end + 1);
        if (end == std::string::npos) break;
        ++end;
    }
    if (end == std::string::npos) return {text.size(), false};
    return {end + 1, text[end - 1] == '/'};
}

size_t elementEnd(const std::string& text, size_t at, const std::string& name) {
    const std::string word = "</" + name;
    while ((at = text.find('<', at)) != std::string::npos) {
        at += common(text, at, word) + 1;  // just after the byte that decides
        if (at > text.size()) break;
        if (text.compare(at - 1 - word.size(), word.size(), word) == 0 && endsName(text[at - 1])) {
            const size_t end = text.find('>', at - 1);
            return end == std::string::npos ? text.size() : end + 1;
        }
    }
    return text.size();
}

std::string reference(const std::string& raw, int mode) {
    std::string text = raw;
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 32) : c; });
    Texts names;
    if ((mode & 1) != 0) names.insert(names.end(), {"applet", "embed", "plugin", "object"});
    if ((mode & 2) != 0) names.insert(names.end(), {"script", "noscript"});
    std::string result = raw;
    size_t at = 0;
    while ((at = text.find('<', at)) != std::string::npos) {
        const auto name = std::find_if(names.begin(), names.end(), [&](const std::string& word) {
            return at + 1 < text.size() && text[at + 1] == word[0];
        });
        const size_t length = name == names.end() ? 0 : common(text, at + 1, *name);
        const size_t last = at + 1 + length;
        if (name == names.end() || length < name->size() || last >= text.size() ||
            !endsName(text[last])) {
            at = last + 1;
            continue;
        }
        const auto [tag, closesItself] = tagEnd(text, last);
        const size_t end = closesItself ? tag : elementEnd(text, tag, *name);
        std::fill(result.begin() + static_cast<long>(at), result.begin() + static_cast<long>(end),
                  ' ');
        at = end;
    }
    return result;
}

rc::Gen<std::string> joined(const Texts& words) {
    return rc::gen::map(rc::gen::container<Texts>(rc::gen::elementOf(words)), join);
}

RC_GTEST_PROP(MarkupFilter, AgreesWithTheFilterOfWholeTexts, ()) {
    static const Texts words = {"<",          "</",        "/",         "/>",        ">",
                                " ",          "\"",        "'",         "x",         "<s",
                                "<script",    "<SCRIPT>",  "</script>", "</sCript ", "<nosCript ",
                                "</noscript", "<object ",  "</object>", "<embed/",   "</Embed>",
                                "<Plugin>",   "</plugin\n"};
    const auto mode = *rc::gen::element<uint8_t>(1, 2, 3, 3, 7);
    const std::string raw = *joined(words);
    const auto longest = *rc::gen::element<size_t>(1, 3, 40, 1000);
    Texts chunks;
    for (size_t at = 0; at < raw.size(); at += chunks.back().size()) {
        chunks.push_back(raw.substr(at, *rc::gen::inRange<size_t>(1, longest + 1)));
    }
    const Filtered result = filter(chunks, mode);
    RC_ASSERT(result.all() == reference(raw, mode));
    RC_ASSERT(result.isChanged == (result.all() != raw));
    size_t held = 0;
    for (size_t i = 0; i < chunks.size(); ++i) {
        held += chunks[i].size() - result.pieces[i].size();
        RC_ASSERT(held <= MarkupFilter::kMostHeld);
    }
}

RC_GTEST_PROP(OpeningSearch, AgreesWithTheOneByOneForm, ()) {
    using QLT_SPACE::VectorUnit;
    const auto oneByOne = STREAMENGINE_SPACE::openingSearch(VectorUnit::None);
    const auto inBlocks = STREAMENGINE_SPACE::openingSearch(VectorUnit::Baseline);
    const auto mode = *rc::gen::inRange<uint8_t>(0, 4);
    // Of its own size, for the address sanitizer to guard.
    const std::string words = *joined({"<", "<", "s", "sC", "o", "x", " \xa0"});
    const std::vector<char> text(words.begin(), words.end());
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at < end;) {
        const char* const found = inBlocks(at, end, mode);
        RC_ASSERT(found == oneByOne(at, end, mode));
        at = std::max(at, found) + 1;
    }
}

}  // namespace

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
    {"mode_4", 4, "<script>", "<script>|"},
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

/// A word that begins at a "<" of the text, or as much of it as there is.
struct Name {
    size_t end;    // the byte that decides: the first that is not the word's
    bool isWhole;  // the word is there and ends
};
Name nameAt(const std::string& text, size_t at, const std::string& word) {
    size_t length = 0;
    while (length < word.size() && text[at + length] == word[length]) ++length;
    const bool isEnded = text.find_first_of("\t\n\v\f\r >/", at + length) == at + length;
    return {at + length, length == word.size() && isEnded};
}

/// @return the end of a tag whose name ends at `at`, and whether it ends in "/>"
std::pair<size_t, bool> tagEnd(const std::string& text, size_t at) {
    for (; (at = text.find_first_of(">'\"", at)) < text.size(); ++at) {
        if (text[at] == '>') return {at + 1, text[at - 1] == '/'};
        at = std::min(text.find(text[at], at + 1), text.size());
    }
    return {text.size(), false};
}

/// @return the end of the first closing tag of this name from `at` on, or the end of the text
size_t elementEnd(const std::string& text, size_t at, const std::string& name) {
    while ((at = text.find('<', at)) < text.size()) {
        const Name found = nameAt(text, at, "</" + name);
        if (found.isWhole) return std::min(text.find('>', found.end), text.size() - 1) + 1;
        at = found.end + 1;
    }
    return text.size();
}

std::string reference(const std::string& raw, int mode) {
    std::string text = raw, result = raw;
    for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 32) : c;
    Texts names;
    if ((mode & 1) != 0) names = {"applet", "embed", "plugin", "object"};
    if ((mode & 2) != 0) names.insert(names.end(), {"script", "noscript"});
    size_t at = 0;
    while ((at = text.find('<', at)) < text.size()) {
        const auto name = std::find_if(names.begin(), names.end(), [&](const std::string& word) {
            return text.compare(at + 1, 1, word, 0, 1) == 0;
        });
        const Name found = nameAt(text, at, "<" + (name != names.end() ? *name : ""));
        size_t end = found.end + 1;
        if (name != names.end() && found.isWhole) {
            const auto [tag, closesItself] = tagEnd(text, found.end);
            end = closesItself ? tag : elementEnd(text, tag, *name);
            result.replace(at, end - at, end - at, ' ');
        }
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

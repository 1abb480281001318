#include "scan/filter/MarkupFilter.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <numeric>

#include "scan/filter/OpeningSearch.h"

namespace {

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
    result.isChanged = filter.filterChanged;
    return result;
}

std::string blanks(size_t count) {
    return std::string(count, ' ');
}

TEST(MarkupFilter, Table) {
    // The mode, the chunks, what each of them gives and what the end.
    const std::tuple<uint8_t, Texts, Texts> cases[] = {
        {2, {"a<script>x=1;</script>b"}, {"a" + blanks(21) + "b", ""}},
        {2, {"<script src=a.js/>ok"}, {blanks(18) + "ok", ""}},
        {2, {"<span>x</span>"}, {"<span>x</span>", ""}},
        {2, {"<SCRIPT>X</Script >"}, {blanks(19), ""}},
        {1, {"a<script>x=1;</script>b"}, {"a<script>x=1;</script>b", ""}},
        {1, {"<object data='a>b'>q</object>"}, {blanks(29), ""}},
        {3, {""}, {"", ""}},
        {2, {"<scr", "", "ipt>"}, {"", "", blanks(8), ""}},
        {2, {"<s", "", "<x"}, {"", "", "<s<x", ""}},
        {2, {"<", "Sc"}, {"", "", "<Sc"}},
        {2, {"a<script"}, {"a", "<script"}},
        {2, {"<script>x"}, {blanks(9), ""}},
        {2, {"<script>x</Scr"}, {blanks(9), blanks(5)}},
        {2, {"<noscript></noscript", "\n>y"}, {blanks(10), blanks(12) + "y", ""}},
        {2, {"<scriptx>y", "<scripts"}, {"<scriptx>y", "<scripts", ""}},
        {2, {"<script>a</scriptx>b</script>c"}, {blanks(29) + "c", ""}},
        {0, {"<script><object>", "<"}, {"<script><object>", "", "<"}},
        {4, {"<script><object>"}, {"<script><object>", ""}},
        // Each kind in its own mode.
        {1, {"<applet\t>a</applet>", "<noscript>"}, {blanks(19), "<noscript>", ""}},
        {1, {"<EMBED/>a", "<plugin\v/>b"}, {blanks(8) + "a", blanks(10) + "b", ""}},
        {1, {"<Embed>a</embed>", "<PLUGIN>a</plugin>b"}, {blanks(16), blanks(18) + "b", ""}},
        {2, {"<NoScript>a</nOscript>b<embed>"}, {blanks(22) + "b<embed>", ""}},
        // The byte that ends another name opens nothing.
        {2, {"<<script>", "<<<script>"}, {"<<script>", "<<" + blanks(8), ""}},
        {2, {"<s<script>", "<scr<script>"}, {"<s<script>", "<scr<script>", ""}},
        {2, {"<script><</script>a</script/>b"}, {blanks(29) + "b", ""}},
        {2, {"<script></scr</script>a</script>b"}, {blanks(32) + "b", ""}},
        // Only an element's own name closes it, and its closing tag runs to the next ">".
        {3, {"<object></script></object '>a'>b"}, {blanks(28) + "a'>b", ""}},
        // What ends a name, and what does not.
        {2, {"<script\t/>a", "<script\r/>b"}, {blanks(10) + "a", blanks(10) + "b", ""}},
        {2,
         {std::string("<script\0>", 9), "<script\x08>"},
         {std::string("<script\0>", 9), "<script\x08>", ""}},
        // "/>" closes the tag outside of quotes alone, and not with anything between.
        {2, {"<script/", ">a"}, {blanks(8), " a", ""}},
        {2, {"<script / >a"}, {blanks(12), ""}},
        {2, {"<script a='/>", "'/>b"}, {blanks(13), blanks(3) + "b", ""}},
        {2, {"<script \"/\">a"}, {blanks(13), ""}},
        {2, {"<script a=\"'\"/>b"}, {blanks(15) + "b", ""}},
        {2, {"<script /''", ">a"}, {blanks(11), blanks(2), ""}},
        {2, {"<script '", "/", "'>a"}, {blanks(9), " ", blanks(3), ""}},
    };
    for (const auto& [mode, chunks, expected] : cases) {
        const Filtered result = filter(chunks, mode);
        EXPECT_EQ(result.pieces, expected) << chunks[0];
        EXPECT_EQ(result.isChanged, result.all() != join(chunks)) << chunks[0];
    }
}

TEST(MarkupFilter, TheModeDecidesWhenATagOpens) {
    const std::string text = "<script>";
    char out[32];
    MarkupFilter filter;
    EXPECT_EQ(filter.getBufferFilter("<", 1, out, 2), 0U);
    EXPECT_EQ(filter.getBufferFilter(&text[1], 7, out, 1), 8U);
    EXPECT_EQ(std::string(out, 8), text);
    filter.getBufferFilter(text.data(), 8, out, 2);
    EXPECT_EQ(std::string(out, filter.getBufferFilter("</object>", 9, out, 0)), blanks(9));
}

// A filter of whole texts, element by element, from here to reference().

bool endsName(char c) {
    return std::string_view("\t\n\v\f\r >/").find(c) != std::string_view::npos;
}

/// Bytes of text from `at` that are the word, in any case.
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
        at += common(text, at, word) + 1;  // behind the byte that decides
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

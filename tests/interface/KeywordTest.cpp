// The keyword functions, through the public interface alone.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <optional>

#include "interface/TestHost.h"

namespace {

using zvkengine::setKeywords;
using Lines = std::vector<std::string>;

/// What a text has reported; one name at most.
Lines match(std::string_view text) {
    Lines names;
    const bool isFound = zvkengine::matchKeyword(text, [&names](std::string_view name) {
        names.emplace_back(name);
        return zvkengine::Answer::kGoOn;
    });
    EXPECT_EQ(names.size(), isFound ? 1U : 0U);
    return names;
}

const std::string k256 = std::string(255, 'k') + "Z";

// Keywords, a text, and the index that is reported.
const std::tuple<const char*, Lines, std::string, Lines> kCases[] = {
    {"index_counts_skipped_ones", {"Foo", "x", "BARbaz"}, "some barbaz here", {"2"}},
    {"any_case", {"Foo", "x", "BARbaz"}, "say FOO now", {"0"}},
    {"skipped_is_not_found", {"Foo", "x", "BARbaz"}, "xxx", {}},
    {"white_space_counts", {"a b", "cd"}, "ab c\td", {}},
    {"white_space_matches", {"a b\n"}, "xA B\nx", {"0"}},
    {"short_before_longer", {"abcdefghij", "012345678"}, "abcdefghij 012345678", {"1"}},
    {"head_of_three_before_two", {"ab", "xab"}, "xab", {"1"}},
    {"256_bytes", {k256}, "x" + k256, {"0"}},
    {"257_bytes", {"k" + k256, "yy"}, "kk" + k256, {}},
    {"both_ends_of_the_alphabet_fold", {"az AZ"}, "AZ az", {"0"}},
    {"nothing_else_folds", {"x@", "y[", "\xC3\x89t"}, "x` y{ \xC3\xA9T", {}},
    {"signs_of_patterns", {"a=b?*({)|", "0=??"}, "0=?? a=b?*({)|", {"1"}},
    {"any_byte", {"\x01\xFF\x80=\t9"}, std::string("a\0\x01\xFF\x80=\t9", 8), {"0"}},
    {"all_skipped", {"", "x"}, "x xx", {}},
};

TEST(KeywordSet, Table) {
    for (const auto& [name, keywords, text, found] : kCases) {
        ASSERT_TRUE(setKeywords(keywords));
        EXPECT_EQ(match(text), found) << name;
    }
}

TEST(KeywordSet, LogsWhatItRefuses) {
    ASSERT_FALSE(setKeywords({}));
    HostLog log(1);
    ASSERT_TRUE(setKeywords({"ok", "", "x", "k" + k256}));
    EXPECT_EQ(log.lines(),
              (Lines{"1keyword[] length[0] index[1]:too short or too long",
                     "1keyword[x] length[1] index[2]:too short or too long",
                     "1keyword[k" + k256 + "] length[257] index[3]:too short or too long"}));
    log.clear();
    EXPECT_FALSE(setKeywords({}));
    EXPECT_EQ(updateKeywords(nullptr), 0);
    const ZVKScanEngineCallbacks callbacks = {nullptr};
    char text[] = "ok";
    EXPECT_EQ(matchKeywords(nullptr, text, text, 2), ZVK_ERR_BAD_PARAM);
    EXPECT_EQ(matchKeywords(&callbacks, nullptr, text, 2), ZVK_ERR_BAD_PARAM);
    EXPECT_EQ(matchKeywords(&callbacks, text, nullptr, 2), ZVK_ERR_BAD_PARAM);
    EXPECT_EQ(match("o"), Lines{});
    EXPECT_EQ(log.lines(), (Lines{"1keywordsArray is NULL", "1Invalid pattern array",
                                  "1Invalid scan params", "1Invalid scan params",
                                  "1Invalid scan params", "1in_buf or _scanner is NULL"}));
    destroyEngine();
    EXPECT_EQ(match("ok"), Lines{"0"});  // the set is still there after the refused updates
}

TEST(KeywordSet, DetailAndDebugLines) {
    const Options options({"", 1, 0, 0, 1});
    ASSERT_TRUE(setKeywords({"gone"}));
    const HostLog log(3);
    ASSERT_TRUE(setKeywords({"x", "DEMO"}));
    EXPECT_TRUE(log.has("3[ZVKKeywordMatcher]Total keywords [2]"));
    EXPECT_TRUE(log.lines().back().starts_with("3[ZVKPatternContainer]ac wildcard pattern [0]"));
    const std::string detail =
        "Pat_unknow_type\t1\t\n\tSignature part 1:\n\t\tlen      :4\n\t\toffset   :0x2\n"
        "\t\tsig      :0064 0065 006d 006f \n\t\tsig      :demo\n\t\tasc      :1\n";
    EXPECT_EQ(match("a demo"), Lines{detail});
    EXPECT_TRUE(log.has("3[StreamScanner]send virus_found event [Malform.HTML][" + detail + "]"));
}

std::string lowered(std::string text) {
    for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return text;
}

/// What decides which keyword is reported, the least one: short ones first, then the offset of the
/// end of a short one's head, of the start of a longer one. Nothing if the keyword does not occur.
std::optional<std::pair<int, size_t>> rank(const std::string& keyword, const std::string& text) {
    const size_t at = keyword.size() < 2 ? text.npos : lowered(text).find(lowered(keyword));
    if (at == text.npos) return std::nullopt;
    const bool isShort = keyword.size() < 10;
    return std::pair(isShort ? 0 : 1, at + (isShort ? std::min<size_t>(3, keyword.size()) : 0));
}

RC_GTEST_PROP(KeywordSet, AgreesWithAPlainSearch, ()) {
    const auto textOver = [](const char* letters) {
        return rc::gen::container<std::string>(rc::gen::elementOf(std::string(letters)));
    };
    auto keywords = *rc::gen::nonEmpty(rc::gen::container<Lines>(textOver("abB")));
    const auto text = *textOver("aAbB ") + *rc::gen::element(std::string(), keywords.back()) + "\n";
    keywords.push_back(*rc::gen::element(text.substr(0, 12), std::string("BB"), keywords[0]));
    RC_ASSERT(setKeywords(keywords));
    std::optional<std::pair<int, size_t>> first;
    for (const auto& keyword : keywords) {
        const auto found = rank(keyword, text);
        if (found && (!first || *found < *first)) first = found;
    }
    const auto reported = match(text);
    RC_CLASSIFY(first.has_value());
    RC_ASSERT(reported.size() == (first && text.size() > 1 ? 1U : 0U));
    if (!reported.empty()) RC_ASSERT(rank(keywords.at(std::stoul(reported[0])), text) == first);
}

}  // namespace

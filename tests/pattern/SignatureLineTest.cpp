#include <gtest/gtest.h>

#include <span>
#include <sstream>
#include <thread>

#include "pattern/line/SignatureLine.h"
#include "store/PatternContainer.h"
#include "store/load/PatternLists.h"
#include "support/EngineOption.h"
#include "support/Hex.h"
#include "support/Refusal.h"
#include "support/ScrambledName.h"

namespace {

using namespace STREAMENGINE_SPACE;

constexpr int kMD5 = 1, kBasic = 2, kExtended = 3;

std::string hexByte(int value) {
    return toHex(std::string(1, static_cast<char>(value)));
}

/// "name[@offset][/target] sig [sigid:partno/parts min-max]", what is 0 or absent left out; a plain
/// string by its length.
void describePattern(const VQPattern& base, bool isPlain, std::ostream& out) {
    out << scrambled(base.virName);
    if (base.offset != nullptr) out << '@' << base.offset;
    if (base.targetType != 0) out << '/' << base.targetType;
    if (isPlain) {
        out << ' ' << base.length << ';';
        return;
    }
    const auto& pattern = static_cast<const TriePattern&>(base);
    out << " d" << int{pattern.depth} << ' ';
    auto group = pattern.groups.begin();
    for (uint32_t i = 0; i < base.length; ++i) {
        const Symbol symbol = pattern.symbolAt(i);
        if (symbol == kAnySymbol) out << "??";
        if (symbol == kGroupSymbol) {
            for (const int value : *group++) out << '|' << hexByte(value);
        }
        if (!isWildcardSymbol(symbol)) out << hexByte(symbol);
    }
    EXPECT_EQ(group, pattern.groups.end());
    if (pattern.sigid != 0)
        out << ' ' << pattern.sigid << ':' << pattern.partno << '/' << pattern.parts;
    if (pattern.minDistance + pattern.maxDistance != 0)
        out << ' ' << pattern.minDistance << '-' << pattern.maxDistance;
    out << ';';
}

void describeList(const VQPatternList& list, std::ostream& out) {
    for (auto* node = list.first(); node != nullptr; node = node->next)
        describePattern(*node->pat, node->getType() == VQPatternNode::kTypeBm, out);
}

void describeNode(const TrieNode* node, std::ostream& out) {
    if (node == nullptr) return;
    for (const auto* list : {&node->wildcardList, &node->shortList, &node->simpleList})
        describeList(*list, out);
    if (node->trans == nullptr) return;
    for (const TrieNode* child : *node->trans) describeNode(child, out);
}

/// What a container holds, before prepare().
std::string describe(const PatternContainer& container) {
    std::ostringstream out;
    describeNode(container.trieTree.root, out);
    for (const auto& bucket : container.bmList.bm_suffix) {
        if (!bucket.empty()) out << "bm ";
        describeList(bucket, out);
    }
    for (const auto* node : container.md5List.bm_suffix) {
        if (node != nullptr) {
            out << "md5 " << scrambled(node->pat->virName) << ' ' << node->pat->size;
        }
    }
    return out.str();
}

const std::string kTen = "61626364656667686970";
const std::string kDigest = "000102030405060708090A0b0c0d0e0f";

// Lines, and what each of them gives: the records that the container then holds, and the reason why
// the rest is refused.
using LineCase = std::pair<std::vector<std::string>, std::string>;
const LineCase kBasicLines[] = {
    {{"N=" + kTen}, "bm N 10;"},
    {{"N (Clam)x=" + kTen}, "bm N  10;"},
    {{"N=6162??"}, "N d2 6162??;"},
    {{"N=", "N==" + kTen}, ""},
    {{"no equals sign", ""}, "Malformed basic pattern line 0"},
    {{"=" + kTen}, "Malformed bm string at [:0]"},
    {{"N=" + kTen.substr(2)}, "Malformed bm string at [:0], sig too short than 10"},
    {{"N=616"}, "Malformed signature at [:0:616]"},
    {{"N=61zz", "N=61\xc3\xa9"}, "Invalid hex string in [:0]"},
};
const LineCase kMD5Lines[] = {
    {{kDigest + ":42:N(Clam):more"}, "md5 N(Clam) 42"},
    {{kDigest + ":-7:N"}, "md5 N -7"},
    {{kDigest + ":none:N", kDigest + ":::0:N:more"}, "md5 N 0"},
    {{kDigest + ":99999999999:N"}, "md5 N 2147483647"},
    {{""}, "Malformed md5 pattern []"},
    {{"# comment"}, "Malformed md5 pattern [# comment]"},
    {{kDigest + ":1:"}, "Malformed md5 pattern [" + kDigest + ":1:]"},
    {{kDigest + ":1"}, "Malformed md5 pattern [" + kDigest + ":1]"},
    {{kDigest + "0:1:N"}, "Malformed md5 pattern [" + kDigest + "0:1:N]"},
    {{kDigest.substr(1) + "x:1:N"},
     "Malformed [" + kDigest.substr(1) + "x] in chk-sum string at [:0]."},
};
const LineCase kExtendedLines[] = {
    {{"N:65537:12:" + kTen + ":more:fields"}, "bm N@12/1 10;"},
    {{"N:99999999999999999999x:EP+9:" + kTen}, "bm N@EP+9/65535 10;"},
    {{"N(Clam):0:*:" + kTen}, "bm N 10;"},
    {{"Foo(Clam):3:7:aabb??"}, "Foo@7/3 d2 aabb??;"},
    {{"", ":0:*:" + kTen, "N:x:*:" + kTen, "N:-1:*:" + kTen, "N:0:*", "N:0::" + kTen},
     "Malformed extended pattern line 0"},
    {{"(Clam):0:*:aabb??"}, "Malformed pattern at [:0]"},
};
// The signatures of extended lines "N:0:*:".
const LineCase kSignatures[] = {
    {{"AAbb??dD"}, "N d2 aabb??dd;"},
    {{"aabbcc?x"}, "N d3 aabbcc??;"},
    {{"aabb(cc|dd|ee)ff"}, "N d2 aabb|cc|dd|eeff;"},
    {{"aabb(41|c8)(0011|?a)"}, "N d2 aabb|41|c8|00|38;"},
    {{"aabb?(cc|dd)0"}, "N d2 aabb??|cc|dd;"},
    {{"aabb(cc)ff", "aabb(cc|)ff", "aabb(cc|dd", "aabb(cc|dd)@@", "aabb??@@", "aabb*@@ccdd",
      "aabb{@}ccdd"},
     "Malformed pattern at [:0]"},
    {{"aabb(cc|@@)", "aab(cc|dd)e", "aagg??"}, "Invalid hex string in [:0]"},
    {{"aa??b"}, "Malformed signature at [:0:L5::aa??b]"},
    {{"aa??", "(aa|bb)ccdd", "aa*bb"}, "Trie:addPattern failed, too short pattern"},
    {{"aabbcc*ddee"}, "N d3 aabbcc 1:1/2;N d2 ddee 1:2/2;"},
    {{"aabbcc{10-20}ddeeff{5}1122"},
     "N d2 1122 1:3/3 5-5;N d3 aabbcc 1:1/3;N d3 ddeeff 1:2/3 10-20;"},
    {{"aabb{-8}ccdd{8-}eeff"}, "N d2 aabb 1:1/3;N d2 ccdd 1:2/3 0-8;N d2 eeff 1:3/3 8-0;"},
    {{"aabb{0}ccdd*eeff", "aabb{x}ccdd{}eeff"}, "N d2 aabb 1:1/3;N d2 ccdd 1:2/3;N d2 eeff 1:3/3;"},
    {{"aabb{99999999999999999999-3--4}ccdd"}, "N d2 aabb 1:1/2;N d2 ccdd 1:2/2 4294967295-3;"},
    {{"aabbcc{5ddee"}, "N d3 aabbcc 1:1/2;Malformed pattern at [:0]"},
    {{"aabb{1- -5}ccdd"}, "N d2 aabb 1:1/2;Malformed pattern at [:0]"},
    {{"aabb{5{3}ccdd"}, "N d2 aabb 1:1/3;Malformed pattern at [:0]"},
    {{"aabb{5}"}, "N d2 aabb 1:1/2;Trie:addPattern failed, too short pattern"},
    {{"aabb**ccdd"},
     "N d2 aabb 1:1/3;N d2 ccdd 1:2/3;Can't extract part 3 of partial signature [:0]"},
    {{"*aabb"}, "Can't extract part 1 of partial signature [:0]"},
    {{"aabb*"}, "N d2 aabb 1:1/2;Can't extract part 2 of partial signature [:0]"},
};

void expectGiven(int type, const std::string& front, std::span<const LineCase> cases) {
    for (const auto& [lines, given] : cases) {
        for (const auto& text : lines) {
            PatternContainer container;
            const std::string line = front + text;
            const std::string refusal =
                refusalOf([&] { addSignatureLine(container, line.c_str(), type, false); });
            EXPECT_EQ(describe(container) + refusal, given) << line;
        }
    }
}

TEST(SignatureLine, GivesRecordsOrAReason) {
    ops.scrambleKey = 0x5A;
    // On a thread that has loaded nothing no file is named in the messages.
    std::thread([] {
        expectGiven(kBasic, "", kBasicLines);
        expectGiven(kMD5, "", kMD5Lines);
        expectGiven(kExtended, "", kExtendedLines);
        expectGiven(kExtended, "N:0:*:", kSignatures);
        const LineCase ignored[] = {{{"anything"}, ""}};
        for (const int other : {0, 6}) expectGiven(other, "", ignored);
    }).join();
}

TEST(SignatureLine, ShortBasicLinesGoToTheTrieOnDemand) {
    PatternContainer container;
    addSignatureLine(container, "N=616263", kBasic, true);
    addSignatureLine(container, ("L=" + kTen).c_str(), kBasic, true);
    EXPECT_EQ(describe(container), "N d3 616263;bm L 10;");
}

TEST(SignatureLine, NumbersOfRefusedSignaturesAreNotUsedAgain) {
    PatternContainer container;
    EXPECT_THROW(addSignatureLine(container, "A:0:*:aabb*", kExtended, false),
                 QLT_SPACE::Exception);
    addSignatureLine(container, "B:0:*:ccdd*eeff", kExtended, false);
    EXPECT_EQ(container.trieTree.lastSigid, 2U);
    EXPECT_EQ(container.trieTree.sigCount, 1);
}

}  // namespace

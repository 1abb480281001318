#include <gtest/gtest.h>

#include <sstream>

#include "engine/ZVKUtil.h"
#include "store/PatternParser.h"
#include "store/ZVKPatternContainer.h"
#include "support/Exception.h"
#include "support/Utils.h"

namespace {

using namespace STREAMENGINE_SPACE;

constexpr int kMD5 = 1, kBasic = 2, kExtended = 3;

void describeList(const VQPatternList& list, std::ostream& out);

/// "name@offset/target length sig sigid:partno/parts min-max" of each record in a tree or list.
void describePattern(const VQPattern& base, std::ostream& out) {
    out << EngUtil::scrambled(base.virName) << '@' << base.offset.value_or("*") << '/'
        << base.targetType << ' ' << base.length << ' ';
    if (const auto* pattern = dynamic_cast<const TriePattern*>(&base)) {
        size_t group = 0;
        for (uint32_t i = 0; i < base.length; ++i) {
            const Symbol symbol = pattern->symbolAt(i);
            if (symbol == kAnySymbol) out << "??";
            if (symbol == kGroupSymbol) {
                for (const int value : pattern->groups.at(group)) {
                    out << '|' << QLT_SPACE::Utils::formatString("%02x", value);
                }
                ++group;
            }
            if (!isWildcardSymbol(symbol)) out << QLT_SPACE::Utils::formatString("%02x", symbol);
        }
        EXPECT_EQ(group, pattern->groups.size());
        out << " d" << int{pattern->depth} << ' ' << pattern->sigid << ':' << pattern->partno << '/'
            << pattern->parts << ' ' << pattern->minDistance << '-' << pattern->maxDistance;
    }
    out << '\n';
}

void describeList(const VQPatternList& list, std::ostream& out) {
    for (auto* node = list.first(); node != nullptr; node = node->next.get()) {
        describePattern(*node->pat, out);
    }
}

void describeNode(const TrieNode* node, std::ostream& out) {
    if (node == nullptr) return;
    for (const auto* list : {&node->wildcardList, &node->shortList, &node->simpleList}) {
        describeList(*list, out);
    }
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
            out << "md5 " << EngUtil::scrambled(node->pat->virName) << ' ' << node->pat->size;
        }
    }
    return out.str();
}

struct LineCase {
    int type;
    std::string line;
    std::string records;  // what the container holds afterwards
    std::string refusal;  // or the reason why the line is refused
};

const std::string kTen = "61626364656667686970";
const std::string kDigest = "000102030405060708090A0b0c0d0e0f";

class SignatureLine : public testing::TestWithParam<LineCase> {};

TEST_P(SignatureLine, GivesRecordsOrAReason) {
    const LineCase& row = GetParam();
    ops.scrambleKey = 0x5A;
    PatternContainer container;
    std::string refusal;
    try {
        container.addString(row.line.c_str(), row.type, false);
    } catch (QLT_SPACE::Exception& reason) {
        refusal = reason.getMessage();
    }
    EXPECT_EQ(refusal, row.refusal) << row.line;
    EXPECT_EQ(describe(container), row.records) << row.line;
}

std::string extended(const std::string& body) {
    return "N:0:*:" + body;
}

const LineCase kLines[] = {
    // Basic lines.
    {kBasic, "N=" + kTen, "bm N@*/0 10 \n", ""},
    {kBasic, "N (Clam)x=" + kTen, "bm N @*/0 10 \n", ""},
    {kBasic, "N=", "", ""},
    {kBasic, "N==" + kTen, "", ""},
    {kBasic, "no equals sign", "", "Malformed basic pattern line 0"},
    {kBasic, "", "", "Malformed basic pattern line 0"},
    {kBasic, "=" + kTen, "", "Malformed bm string at [:0]"},
    {kBasic, "N=" + kTen.substr(2), "", "Malformed bm string at [:0], sig too short than 10"},
    {kBasic, "N=616", "", "Malformed signature at [:0:616]"},
    {kBasic, "N=61zz", "", "Invalid hex string in [:0]"},
    {kBasic, "N=61\xc3\xa9", "", "Invalid hex string in [:0]"},
    {kBasic, "N=6162??", "N@*/0 3 6162?? d2 0:0/0 0-0\n", ""},
    // Fields of extended lines.
    {kExtended, "N:65537:12:" + kTen + ":more:fields", "bm N@12/1 10 \n", ""},
    {kExtended, "N:99999999999999999999x:EP+9:" + kTen, "bm N@EP+9/65535 10 \n", ""},
    {kExtended, "N(Clam):0:*:" + kTen, "bm N@*/0 10 \n", ""},
    {kExtended, "", "", "Malformed extended pattern line 0"},
    {kExtended, ":0:*:" + kTen, "", "Malformed extended pattern line 0"},
    {kExtended, "N:x:*:" + kTen, "", "Malformed extended pattern line 0"},
    {kExtended, "N:-1:*:" + kTen, "", "Malformed extended pattern line 0"},
    {kExtended, "N:0:*", "", "Malformed extended pattern line 0"},
    {kExtended, "N:0::" + kTen, "", "Malformed extended pattern line 0"},
    // One part.
    {kExtended, extended("AAbb??dD"), "N@*/0 4 aabb??dd d2 0:0/0 0-0\n", ""},
    {kExtended, extended("aabbcc?x"), "N@*/0 4 aabbcc?? d3 0:0/0 0-0\n", ""},
    {kExtended, extended("aabb(cc|dd|ee)ff"), "N@*/0 4 aabb|cc|dd|eeff d2 0:0/0 0-0\n", ""},
    {kExtended,
     extended("aabb(41|c8)(0011|?"
              "?)"),
     "N@*/0 4 aabb|41|c8|00|38 d2 0:0/0 0-0\n", ""},
    {kExtended, extended("aabb?(cc|dd)0"), "N@*/0 4 aabb??|cc|dd d2 0:0/0 0-0\n", ""},
    {kExtended, extended("aabb(cc)ff"), "", "Malformed pattern at [:0]"},
    {kExtended, extended("aabb(cc|)ff"), "", "Malformed pattern at [:0]"},
    {kExtended, extended("aabb(cc|dd"), "", "Malformed pattern at [:0]"},
    {kExtended, extended("aabb(cc|dd)@@"), "", "Malformed pattern at [:0]"},
    {kExtended, extended("aabb??@@"), "", "Malformed pattern at [:0]"},
    {kExtended, extended("aabb*@@ccdd"), "", "Malformed pattern at [:0]"},
    {kExtended, extended("aabb{@}ccdd"), "", "Malformed pattern at [:0]"},
    {kExtended, extended("aabb(cc|@@)"), "", "Invalid hex string in [:0]"},
    {kExtended, extended("aab(cc|dd)e"), "", "Invalid hex string in [:0]"},
    {kExtended, extended("aa??b"), "", "Malformed signature at [:0:L5::aa??b]"},
    {kExtended, extended("aagg??"), "", "Invalid hex string in [:0]"},
    {kExtended, extended("aa??"), "", "Trie:addPattern failed, too short pattern"},
    {kExtended, extended("(aa|bb)ccdd"), "", "Trie:addPattern failed, too short pattern"},
    {kExtended, "(Clam):0:*:aabb??", "", "Malformed pattern at [:0]"},
    {kExtended, "Foo(Clam):3:7:aabb??", "Foo@7/3 3 aabb?? d2 0:0/0 0-0\n", ""},
    // Parts.
    {kExtended, extended("aabbcc*ddee"), "N@*/0 3 aabbcc d3 1:1/2 0-0\nN@*/0 2 ddee d2 1:2/2 0-0\n",
     ""},
    {kExtended, extended("aabbcc{10-20}ddeeff{5}1122"),
     "N@*/0 2 1122 d2 1:3/3 5-5\nN@*/0 3 aabbcc d3 1:1/3 0-0\nN@*/0 3 ddeeff d3 1:2/3 10-20\n", ""},
    {kExtended, extended("aabb{-8}ccdd{8-}eeff"),
     "N@*/0 2 aabb d2 1:1/3 0-0\nN@*/0 2 ccdd d2 1:2/3 0-8\nN@*/0 2 eeff d2 1:3/3 8-0\n", ""},
    {kExtended, extended("aabb{0}ccdd*eeff"),
     "N@*/0 2 aabb d2 1:1/3 0-0\nN@*/0 2 ccdd d2 1:2/3 0-0\nN@*/0 2 eeff d2 1:3/3 0-0\n", ""},
    {kExtended, extended("aabb{x}ccdd{}eeff"),
     "N@*/0 2 aabb d2 1:1/3 0-0\nN@*/0 2 ccdd d2 1:2/3 0-0\nN@*/0 2 eeff d2 1:3/3 0-0\n", ""},
    {kExtended, extended("aabb{99999999999999999999-3--4}ccdd"),
     "N@*/0 2 aabb d2 1:1/2 0-0\nN@*/0 2 ccdd d2 1:2/2 4294967295-3\n", ""},
    {kExtended, extended("aabbcc{5ddee"), "N@*/0 3 aabbcc d3 1:1/2 0-0\n",
     "Malformed pattern at [:0]"},
    {kExtended, extended("aabb{1- -5}ccdd"), "N@*/0 2 aabb d2 1:1/2 0-0\n",
     "Malformed pattern at [:0]"},
    {kExtended, extended("aabb{5{3}ccdd"), "N@*/0 2 aabb d2 1:1/3 0-0\n",
     "Malformed pattern at [:0]"},
    {kExtended, extended("aabb{5}"), "N@*/0 2 aabb d2 1:1/2 0-0\n",
     "Trie:addPattern failed, too short pattern"},
    {kExtended, extended("aabb**ccdd"), "N@*/0 2 aabb d2 1:1/3 0-0\nN@*/0 2 ccdd d2 1:2/3 0-0\n",
     "Can't extract part 3 of partial signature [:0]"},
    {kExtended, extended("*aabb"), "", "Can't extract part 1 of partial signature [:0]"},
    {kExtended, extended("aabb*"), "N@*/0 2 aabb d2 1:1/2 0-0\n",
     "Can't extract part 2 of partial signature [:0]"},
    {kExtended, extended("aa*bb"), "", "Trie:addPattern failed, too short pattern"},
    // Digests.
    {kMD5, kDigest + ":42:N(Clam):more", "md5 N(Clam) 42", ""},
    {kMD5, kDigest + ":-7:N", "md5 N -7", ""},
    {kMD5, kDigest + ":none:N", "md5 N 0", ""},
    {kMD5, kDigest + ":99999999999:N", "md5 N 2147483647", ""},
    {kMD5, "", "", "Malformed md5 pattern []"},
    {kMD5, "# comment", "", "Malformed md5 pattern [# comment]"},
    {kMD5, kDigest + ":1:", "", "Malformed md5 pattern [" + kDigest + ":1:]"},
    {kMD5, kDigest + ":1", "", "Malformed md5 pattern [" + kDigest + ":1]"},
    {kMD5, kDigest + "0:1:N", "", "Malformed md5 pattern [" + kDigest + "0:1:N]"},
    {kMD5, kDigest.substr(1) + "x:1:N", "",
     "Malformed [" + kDigest.substr(1) + "x] in chk-sum string at [:0]."},
    // Other types.
    {0, "anything", "", ""},
    {6, "anything", "", ""},
};
INSTANTIATE_TEST_SUITE_P(Table, SignatureLine, testing::ValuesIn(kLines));

TEST(SignatureLine, ShortBasicLinesGoToTheTrieOnDemand) {
    PatternContainer container;
    container.addString("N=616263", kBasic, true);
    container.addString(("L=" + kTen).c_str(), kBasic, true);
    EXPECT_EQ(describe(container), "N@*/0 3 616263 d3 0:0/0 0-0\nbm L@*/0 10 \n");
}

TEST(SignatureLine, NumbersOfRefusedSignaturesAreNotUsedAgain) {
    PatternContainer container;
    EXPECT_THROW(container.addString("A:0:*:aabb*", kExtended, false), QLT_SPACE::Exception);
    container.addString("B:0:*:ccdd*eeff", kExtended, false);
    EXPECT_EQ(container.trieTree.lastSigid, 2U);
    EXPECT_EQ(container.trieTree.sigCount, 1);
}

TEST(SignatureLine, DigestTextsOfOddLengths) {
    uint8_t out[4];
    const auto refusal = [&out](std::string_view text, unsigned int length) {
        try {
            PatternParser::hex2str(text, out, length);
        } catch (QLT_SPACE::Exception& reason) {
            return reason.getMessage();
        }
        return std::string();
    };
    EXPECT_EQ(refusal("abc", 3), "in PatternParser::hex2str, length = [3]");
    EXPECT_EQ(refusal("abc", 4), "Malformed signature at [:0], [abc] length is not 4");
    EXPECT_EQ(refusal("abCD", 4), "");
    EXPECT_EQ(out[1], 0xCD);
}

}  // namespace

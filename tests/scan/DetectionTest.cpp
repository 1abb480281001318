// Detail texts and events where a host's stream does not reach.
#include <gtest/gtest.h>

#include "engine/ZVKUtil.h"
#include "scan/StreamScanner.h"
#include "store/ZVKPatternContainer.h"

namespace {

using namespace STREAMENGINE_SPACE;

std::unique_ptr<SigInfo> part(uint32_t partId, int32_t offset, std::vector<int16_t> elements) {
    auto sig = std::make_unique<SigInfo>();
    sig->length = static_cast<int32_t>(elements.size());
    sig->offset = offset;
    sig->partId = partId;
    sig->elements = std::move(elements);
    return sig;
}

std::vector<std::string> sent;

class Details : public testing::Test {
  protected:
    void SetUp() override {
        sent.clear();
        ops.scrambleKey = 0x21;
        ops.logFunction = [](const char* line) { sent.emplace_back(line); };
    }
    void TearDown() override { ops = {}; }
};

TEST_F(Details, KeepWhatBelongsToTheDetection) {
    ops.logLevel = 3;
    ScanResult result;
    for (const int32_t offset : {1, 2, 3}) {
        result.addSigInfo(EngUtil::scrambled("N"), part(offset == 2 ? 9 : 5, offset, {'a'}));
    }
    const std::string two = result.getInfo(5);
    EXPECT_NE(two.find("Signature part 2:\n\t\tlen      :1\n\t\toffset   :0x3\n"), two.npos);
    EXPECT_EQ(two.find("part 3"), two.npos);
    result.addSigInfo(EngUtil::scrambled("N"), part(0, 0xffff, {'b'}));
    sent.clear();
    const std::string last = result.getInfo(0);
    EXPECT_NE(last.find("Signature part 1:\n\t\tlen      :1\n\t\toffset   :0xffff\n"), last.npos);
    EXPECT_EQ(last.find("part 2"), last.npos);
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_TRUE(sent[0].ends_with("]matched sig id[0]"));
    EXPECT_TRUE(sent[2].ends_with("]delete sig"));
}

TEST_F(Details, RenderElements) {
    struct Case {
        std::vector<int16_t> elements;
        std::string hex, text;
        char flag;
    };
    const Case cases[] = {
        {{'a', 'b', 'c'}, "0061 0062 0063 ", "abc", '1'},
        {{'<', -200, -201}, "003c ff38 ff37 ", "<?|", '1'},
        {{'<', -1}, "003c ffff ", "<.", '0'},
        {{0, 9, 10, 13}, "0000 0009 000a 000d ", "....", '1'},
        {{0x7f}, "007f ", ".", '0'},
        {{0xe9}, "00e9 ", ".", '0'},
        {{}, "", "", '1'},
    };
    for (const Case& row : cases) {
        ScanResult result;
        result.addSigInfo("", part(0, 16, row.elements));
        EXPECT_EQ(result.getInfo(0), "Pat_unknow_type\t\t\n\tSignature part 1:\n\t\tlen      :" +
                                         std::to_string(row.elements.size()) +
                                         "\n\t\toffset   :0x10\n\t\tsig      :" + row.hex +
                                         "\n\t\tsig      :" + row.text +
                                         "\n\t\tasc      :" + row.flag + "\n");
    }
}

TEST_F(Details, EventsByTheirType) {
    static std::vector<std::string> names;
    const ZVKScanEngineCallbacks callbacks = {
        [](void*, ZVK_ENGINE_EVENT_TYPE, const void* data, void* answer) {
            const auto& event = *static_cast<const _ZVKVirusEvent*>(data);
            names.emplace_back(event.name != nullptr ? event.name : "(null)");
            EXPECT_STREQ(event.label, "Malform.HTML");
            return *static_cast<int32_t*>(answer);
        }};
    PatternContainer container;
    container.prepare();
    int32_t answer = 5;
    StreamScanner scanner(container, &callbacks, &answer, 0);
    const std::string name = EngUtil::scrambled("Direct");
    ops.logLevel = 3;
    EXPECT_EQ(scanner.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, name.c_str()), 5);
    EXPECT_EQ(scanner.sendEngineEventEx(ZVK_EVENT_RESERVED, name.c_str()), 3);
    EXPECT_EQ(scanner.sendEngineEventEx(ZVK_EVENT_CLEAN_FAILURE, name.c_str()), 5);
    EXPECT_EQ(scanner.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, nullptr), 5);
    EXPECT_TRUE(sent[0].ends_with("]send virus_found event [Malform.HTML][Direct]"));
    EXPECT_TRUE(sent[1].ends_with("]ret of send event is [5]"));
    EXPECT_TRUE(sent[2].ends_with("]send clean_failure event [Malform.HTML][Direct]"));
    EXPECT_FALSE(scanner.searchNextVirus(name.c_str()));
    answer = 0;
    EXPECT_TRUE(scanner.searchNextVirus(name.c_str()));
    ops.detailEvent = 1;
    scanner.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, name.c_str());
    scanner.sendEngineEventEx(ZVK_EVENT_CLEAN_FAILURE, name.c_str());
    EXPECT_EQ(names, (std::vector<std::string>{"Direct", "Direct", "Direct", "(null)", "Direct",
                                               "Direct", "HardCode\tDirect\t\n", "Direct"}));
}

TEST_F(Details, DumpsOfRecords) {
    TriePattern trie;
    trie.virName = EngUtil::scrambled("T");
    trie.isWildcard = true;
    trie.symbols = {'A', 0x07, kAnySymbol};
    trie.length = 3;
    trie.sigid = 4;
    trie.parts = 2;
    trie.partno = 1;
    BmPattern bm;
    bm.virName = EngUtil::scrambled("B");
    bm.sig = {'x', 0xe9};
    bm.length = 2;
    ops.logLevel = 3;
    trie.printSigInfo(19);
    EXPECT_TRUE(sent.empty());
    ops.detailLog = 1;
    trie.printSigInfo(19);
    bm.printSigInfo(2);
    std::string all;
    for (const auto& line : sent) all += line.substr(line.find(']') + 1) + "\n";
    EXPECT_EQ(all,
              "pos    :0x00000010\n--Signature --\n    name   :T\n    length :3\n    sigid  :4\n"
              "    parts  :2\n    partno :1\n    type   :0\n    sig\t:410738\n    sig    :A..\n"
              "--------------\n"
              "pos     :0x00000000\n--Signature --\n    name    :B\n    length  :2\n"
              "    sig     :78e9\n    sig     :x.\n--------------\n");
    EXPECT_EQ(trie.virName, EngUtil::scrambled("T"));
}

}  // namespace

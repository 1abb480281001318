// Detail texts, events and dumps that no stream of a host can bring about.
#include <gtest/gtest.h>

#include "pattern/line/SignatureLine.h"
#include "scan/StreamScanner.h"
#include "store/PatternContainer.h"
#include "support/EngineOption.h"
#include "support/ScrambledName.h"
#include "support/Utils.h"

namespace {

using namespace STREAMENGINE_SPACE;

std::vector<std::string> sent;

class Details : public testing::Test {
  protected:
    void SetUp() override {
        sent.clear();
        ops.scrambleKey = 0x21;
        ops.logLevel = 3;
        ops.logFunction = [](const char* line) { sent.emplace_back(line); };
    }
    void TearDown() override { ops = {}; }
    void add(uint32_t partId, int32_t offset, std::vector<int16_t> elements) {
        auto sig = std::make_unique<SigInfo>();
        *sig = {static_cast<int32_t>(elements.size()), offset, partId, std::move(elements)};
        result.addSigInfo(scrambled("N"), std::move(sig));
    }
    ScanResult result;
};

// Which parts a detail text has is what the comparison with the plain matcher sees.
TEST_F(Details, LogWhatTheyLeaveOut) {
    for (const int32_t offset : {1, 2, 3}) add(5, offset, {'a'});
    sent.clear();
    result.getInfo(0);
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_TRUE(sent[0].ends_with("]matched sig id[0]"));
    EXPECT_TRUE(sent[2].ends_with("]delete sig"));
}

TEST_F(Details, RenderElements) {
    const std::tuple<const char*, std::vector<int16_t>, const char*, const char*> cases[] = {
        {"any_and_group", {'<', -200, -201}, "003c ff38 ff37 \n\t\tsig      :<?|", "1"},
        {"negative", {'<', -1}, "003c ffff \n\t\tsig      :<.", "0"},
        {"white_space", {0, 9, 10, 13}, "0000 0009 000a 000d \n\t\tsig      :....", "1"},
        {"delete", {0x7f}, "007f \n\t\tsig      :.", "0"},
        {"high_byte", {0xe9}, "00e9 \n\t\tsig      :.", "0"},
    };
    for (const auto& [name, elements, rendered, flag] : cases) {
        result.reset();
        add(0, 16, elements);
        const std::string text = result.getInfo(0);
        const std::string tail =
            QLT_SPACE::Utils::formatString("\t\tsig      :%s\n\t\tasc      :%s\n", rendered, flag);
        EXPECT_TRUE(text.ends_with(tail)) << name << ": " << text;
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
    const std::string name = scrambled("Direct");
    DetectionReporter reporter(&callbacks, &answer);
    EXPECT_EQ(reporter.sendEngineEventEx(ZVK_EVENT_RESERVED, name.c_str()), 3);
    EXPECT_EQ(reporter.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, nullptr), 5);
    EXPECT_FALSE(scanner.searchNextVirus(name.c_str()));
    answer = 0;
    EXPECT_TRUE(scanner.searchNextVirus(name.c_str()));
    ops.detailEvent = 1;
    reporter.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, name.c_str());
    EXPECT_EQ(reporter.sendEngineEventEx(ZVK_EVENT_CLEAN_FAILURE, name.c_str()), 0);
    EXPECT_TRUE(
        sent[sent.size() - 2].ends_with("]send clean_failure event [Malform.HTML][Direct]"));
    EXPECT_TRUE(sent.back().ends_with("]ret of send event is [0]"));
    EXPECT_EQ(names, (std::vector<std::string>{"Direct", "(null)", "Direct", "Direct",
                                               "HardCode\tDirect\t\n", "Direct"}));
}

TEST_F(Details, DumpsOfRecords) {
    PatternContainer container;
    addSignatureLine(container, "T:0:*:4107??*6162", 3, false);
    addSignatureLine(container, "B:0:*:7830303030303030e978", 3, false);
    container.prepare();
    sent.clear();
    DetectionReporter reporter;
    BodyMatcher matcher(container, reporter.details());
    ops.detailLog = 1;
    const auto record = [&](const char* bytes, uint32_t length, uint32_t offset) {
        const SearchText text = {reinterpret_cast<const uint8_t*>(bytes), length, offset};
        DigestFeed nothing;
        const BodyMatch match = matcher.virusFound(text, nothing);
        reporter.recordMatch(match, offset + match.end);
    };
    record("A\aXab", 5, 16);
    record("x0000000\xe9x", 10, 0);
    std::string all;
    for (const auto& line : sent) {
        const std::string message = line.substr(line.find(']') + 1);
        if (message.find("virusFound") == message.npos) all += message + "\n";
    }
    const std::string dump =
        "pos    :0x00000013\n--Signature --\n    name   :T\n    length :2\n    sigid  :1\n"
        "    parts  :2\n    partno :2\n    type   :0\n    sig\t:6162\n    sig    :ab\n"
        "--------------\n";
    EXPECT_EQ(all, "current->simple_patterns[0]\n" + dump + dump +  // as a candidate, as the match
                       "pos     :0x00000000\n--Signature --\n    name    :B\n    length  :10\n"
                       "    sig     :7830303030303030e978\n    sig     :x0000000.x\n"
                       "--------------\n");
}

}  // namespace

// The filtering calls as a host sees them: what they return and write in each mode and state.
#include <gtest/gtest.h>

#include <memory>

#include "interface/TestHost.h"

namespace {

const std::string kPage = "<script>text</script><embed/>";
const std::string kNoScript = std::string(21, ' ') + "<embed/>";
const std::string kNoEmbed = "<script>text</script>        ";

class Filter : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(load(".db", "Evil=" + hex("<br>evilcode1") + "\n"), 0); }
    void TearDown() override { destroyEngine(); }

    // Each call leaves in `written` what it wrote.
    int32_t feed(std::string_view chunk, uint8_t mode) {
        uint32_t length = 99;
        std::vector<char> out(chunk.size() + 10);
        const int32_t result =
            scanfilter(host->handle(), chunk.data(), static_cast<uint32_t>(chunk.size()),
                       out.data(), &length, mode);
        written.assign(out.data(), length);
        return result;
    }
    int32_t end(uint8_t mode) {
        uint32_t length = 99;
        char out[10];
        const int32_t result = endScanFilter2(host->handle(), out, &length, mode, &flag);
        written.assign(out, length);
        return result;
    }

    std::unique_ptr<Host> host = std::make_unique<Host>();
    std::string written;
    bool flag = false;
};

constexpr int32_t kNo = ZVK_ERR_BAD_PARAM;
constexpr int32_t kShut = ZVK_ERR_BAD_STATE;
constexpr int32_t kGate = ZVK_ERR_NOT_SCANNABLE;
constexpr int32_t kSafe = 29;  // bytes in kPage

const struct {
    const char* name;
    uint8_t mode;
    // Results of a chunk and of the end call: before any stream, on an open one, on a refused one,
    // and after the end.
    int32_t fresh, freshEnd, open, openEnd, refused, refusedEnd, ended, endedEnd;
    std::string out;  // in all states but the first
} kModeCases[] = {
    {"no_bit", 0, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, ""},
    {"unknown_bit", 8, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, ""},
    {"scan", 4, kShut, kShut, 0, kSafe, kGate, kGate, kShut, kShut, ""},
    {"scan_and_unknown", 12, kShut, kShut, 0, kSafe, kGate, kGate, kShut, kShut, ""},
    {"objects", 1, kShut, kShut, 0, 0, 0, kGate, 0, kShut, kNoEmbed},
    {"scripts", 2, kShut, kShut, 0, 0, 0, kGate, 0, kShut, kNoScript},
    {"all_but_scan", 0xFB, kShut, kShut, 0, 0, 0, kGate, 0, kShut, std::string(29, ' ')},
    {"objects_and_scan", 5, kShut, kShut, 0, kSafe, kGate, kGate, kShut, kShut, kNoEmbed},
    {"scripts_and_scan", 6, kShut, kShut, 0, kSafe, kGate, kGate, kShut, kShut, kNoScript},
};

TEST_F(Filter, ResultsByModeAndState) {
    for (const auto& row : kModeCases) {
        SCOPED_TRACE(row.name);
        const auto expect = [&](int32_t result, int32_t endResult, const std::string& out) {
            EXPECT_EQ(feed(kPage, row.mode), result);
            EXPECT_EQ(written, out);
            EXPECT_EQ(end(row.mode), endResult);
            EXPECT_EQ(written, "");
        };
        host = std::make_unique<Host>();
        flag = true;
        expect(row.fresh, row.freshEnd, "");
        EXPECT_TRUE(flag);
        host->begin();
        expect(row.open, row.openEnd, row.out);
        // Ended in every mode but a bad one.
        EXPECT_EQ(host->end(), row.openEnd == kNo ? 0 : kShut);
        host->begin();
        host->feed("MZ");
        expect(row.refused, row.refusedEnd, row.out);
        host->end();
        expect(row.ended, row.endedEnd, row.out);
    }
}

TEST_F(Filter, FindsAndBlanksInOneCall) {
    const std::string start = "x<br>" + std::string(251, '.');
    host->begin();
    EXPECT_EQ(host->instance.scanFilter(start + "<s", 6, written), 0U);
    EXPECT_EQ(written, start);
    written.clear();
    EXPECT_EQ(host->instance.scanFilter("cript/><br>evilcode1<noscript", 6, written), 1U);
    EXPECT_EQ(written, std::string(9, ' ') + "<br>evilcode1");
    EXPECT_EQ(host->instance.endFilter(6, written, &flag), 258U);
    EXPECT_TRUE(written.ends_with("evilcode1<noscript"));
    EXPECT_TRUE(flag);
    EXPECT_EQ(host->names, std::vector<std::string>{"Evil"});
}

TEST_F(Filter, TheFlagIsOfBytesBlankedSinceTheStreamWasAccepted) {
    const std::string script = "<br><script>text</script>";
    const std::string rest(300, '.');
    const struct {
        const char* name;
        uint8_t mode;
        std::vector<std::string> chunks;
        bool flag;
    } cases[] = {
        {"filter_only", 2, {script}, true},
        {"other_elements", 1, {script, rest}, false},
        {"nothing_to_blank", 2, {"<br>", rest}, false},
        {"accepted_by_the_end_call", 6, {script}, false},
        {"accepted_by_the_second_chunk", 6, {script, rest}, false},
        {"accepted_at_once", 6, {script + rest}, true},
        {"refused", 6, {rest, script}, true},
        {"blanked_by_the_end_call", 6, {"<br><script>", "</scr"}, true},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        host->begin();
        for (const auto& chunk : row.chunks) feed(chunk, row.mode);
        flag = !row.flag;
        end(row.mode);
        EXPECT_EQ(flag, row.flag);
        host->begin();  // resets the filter
        feed("<br>", 2);
        EXPECT_EQ(written, "<br>");
        end(2);
        EXPECT_FALSE(flag);
    }
}

}  // namespace

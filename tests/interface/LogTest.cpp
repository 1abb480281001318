// The debug lines of a stream, in their order.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "interface/TestHost.h"

namespace {

using Lines = std::vector<std::string>;

class StreamLog : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(load(".ndb", "Evil:0:*:" + hex("evilcode1") + "??\n"), 0); }
    void TearDown() override { destroyEngine(); }
};

TEST_F(StreamLog, OfADetection) {
    const HostLog log(3);
    Host host;
    host.answers = {3};
    host.stream("x<br>evilcode1!");
    EXPECT_EQ(
        log.lines(),
        (Lines{"3[StreamScanner]TrieScanner::virusFound, in_buf [x<br>evilcode1!], in_len[f]",
               "3[StreamScanner]current->simple_patterns[1]",
               "3[StreamScanner]StreamScanner::scanBuffer, find type name [HTML data].",
               "3[ZVKEngine]ZVKEngineInstance::end_scan, find scannable file type.",
               "3[StreamScanner]TrieScanner::virusFound, in_buf [x<br>evilcode1!], in_len[f]",
               "3[StreamScanner]send virus_found event [Malform.HTML][Evil]",
               "3[StreamScanner]ret of send event is [3]", "3[StreamScanner]ret of event = 3"}));
}

TEST_F(StreamLog, OfLoadsAndErrors) {
    destroyEngine();
    Host host;
    HostLog log(3);
    EXPECT_EQ(host.begin(), ZVK_ERR_NO_CONTAINER);
    EXPECT_EQ(log.lines(), Lines{"1ZVKEngineInstance::begin_scan, no pattern container."});
    log.clear();
    const TempFolder folder;
    const std::string path = folder.write("a.ndb", "A:0:*:616263*646566\nbad\n");
    const std::string unknown = folder.write("a.txt", "");
    const _ZVKPatternFile files = {path.c_str(), unknown.c_str()};
    testing::internal::CaptureStdout();
    ASSERT_EQ(loadPattern(&files), 0);
    testing::internal::GetCapturedStdout();
    auto lines = log.lines();
    std::erase(lines, "3[ZVKPatternContainer]in SetSortedList");
    // The numbers of signatures count all sets of the process, so they are compared as "#".
    for (auto& line : lines) line = std::regex_replace(line, std::regex("\\[\\d+\\]"), "[#]");
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    const std::string unit = "3[ZVKPatternContainer]";
    const std::string trees = unit + "ac_simple_patterns [#], ac_wildcard_patterns [#]";
    EXPECT_EQ(lines, (Lines{"3[ZVKPatternLoader]load pattern file : " + path,
                            "1container.addString :Malformed extended pattern line 1",
                            "3[ZVKPatternLoader]loaded pattern num : 1",
                            "1Unknown VQEngine pattern file:[" + unknown + "]",
                            unit + "in SetSortedList, simple_patterns[#]", trees,
                            unit + "bm sigs [#]", unit + "ac sigs [#]",
                            unit + "ac wildcard pattern [#], ac short pattern [#], ac simple "
                                   "pattern[#]",
                            "3[ZVKEngine]# of patterns: 1",
                            "3[ZVKEngine]ZVKEngine::loadPattern, success return"}));
}

}  // namespace

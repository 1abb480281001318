#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "support/EngUtil.h"
#include "support/EngineOption.h"
#include "support/Log.h"
#include "support/ScrambledName.h"

namespace {

using namespace STREAMENGINE_SPACE;

constexpr const char* kUnit = "ZVKEngine";
std::vector<std::string> sent;

class Logging : public testing::Test {
  protected:
    void SetUp() override {
        sent.clear();
        ops.logFunction = [](const char* line) {
            sent.emplace_back(line);
            throw 1;  // stays in the engine: a log function may throw
        };
    }
    void TearDown() override { ops = {}; }
};

TEST_F(Logging, EachKindAtItsLevel) {
    int evaluated = 0;
    for (const auto& [level, lines] : {std::pair{0, 1U}, {1, 2U}, {2, 2U}, {3, 3U}}) {
        sent.clear();
        ops.logLevel = level;
        ZVK_INFO("x=%d", 5);
        ZVK_ERROR("e");
        ZVK_DEBUG("%d", ++evaluated);
        const auto position = "3[ZVKEngine:" + std::to_string(__LINE__ - 1) + "]";
        const std::vector<std::string> all = {"0x=5", "1e", position + "1"};
        EXPECT_EQ(sent, std::vector<std::string>(all.begin(), all.begin() + lines)) << level;
    }
    EXPECT_EQ(evaluated, 1);
}

TEST_F(Logging, CutsMessageAndPrefix) {
    const std::string longText(5000, 'm');
    ops.logLevel = 3;
    LogFileName = longText.c_str();
    Log::debug("%s", longText.c_str());
    Log::info("%s", longText.c_str());
    EXPECT_EQ(sent[0], "3[" + std::string(125, 'm') + std::string(4095, 'm'));
    EXPECT_EQ(sent[1], "0" + std::string(4095, 'm'));
}

TEST_F(Logging, BoundsAllocations) {
    ops.logLevel = 3;
    for (const int size : {0, -1, 10485761}) {
        EXPECT_EQ(EngUtil::myAlloc(size), nullptr);
        EXPECT_TRUE(sent.back().ends_with("]bad size [" + std::to_string(size) + "] to allocate"));
    }
    void* memory = EngUtil::myAlloc(10485760);
    ASSERT_NE(memory, nullptr);
    std::free(memory);
}

TEST(EngUtil, FindsTheBaseDirectory) {
    const std::string longest(126, 'd');
    const std::tuple<const char*, std::string, bool, std::string> cases[] = {
        {"spaces", " /base ", true, "/base/"},
        {"slash_there", "/base/", true, "/base/"},
        {"spaces_only", "  ", false, ""},
        {"too_long", std::string(128, 'd'), false, "untouched"},
        {"longest", longest, true, longest + "/"},
        {"no_room_for_slash", longest + "d", false, longest + "d"},
    };
    for (const auto& [name, value, isFound, text] : cases) {
        char buffer[128] = "untouched";
        setenv("ZVK_TEST_DIR", value.c_str(), 1);
        EXPECT_EQ(EngUtil::getPathVar(buffer, 128, "ZVK_TEST_DIR"), isFound) << name;
        EXPECT_EQ(buffer, text) << name;
    }
    char buffer[8];
    EXPECT_FALSE(EngUtil::getPathVar(buffer, 8, "ZVK_TEST_UNSET"));
    EXPECT_FALSE(EngUtil::getPathVar(nullptr, 8, "HOME"));
}

TEST(EngUtil, ScramblesAndBack) {
    for (int key = 0; key < 256; ++key) {
        std::string name = "Name.\x80\xff~" + std::string(key != 0, static_cast<char>(key));
        const std::string plain = name;
        xorString(name.data(), static_cast<unsigned char>(key));
        EXPECT_EQ(std::strlen(name.c_str()), plain.size());
        EXPECT_EQ(name == plain, key == 0);
        EXPECT_EQ(xorString(name.data(), static_cast<unsigned char>(key)), plain);
    }
}

}  // namespace

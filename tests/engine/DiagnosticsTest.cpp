#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "engine/ZVKUtil.h"

namespace {

using namespace STREAMENGINE_SPACE;

constexpr const char* kUnit = "ZVKEngine";
std::vector<std::string> sent;

class Logging : public testing::Test {
  protected:
    void SetUp() override {
        sent.clear();
        ops.logFunction = [](const char* line) { sent.emplace_back(line); };
    }
    void TearDown() override {
        ops.logFunction = nullptr;
        ops.logLevel = 0;
    }
};

TEST_F(Logging, EachKindAtItsLevel) {
    const std::vector<std::vector<std::string>> expected = {
        {"0x=5"}, {"0x=5", "1e"}, {"0x=5", "1e"}, {"0x=5", "1e", "3[ZVKEngine:430]hello"}};
    for (int32_t level = 0; level <= 3; ++level) {
        sent.clear();
        ops.logLevel = level;
        ZVK_INFO("x=%d", 5);
        ZVK_ERROR("e");
        LogFileName = kUnit;
        LogLineNo = 430;
        EngUtil::DbgMsg("hello");
        EXPECT_EQ(sent, expected[static_cast<size_t>(level)]) << level;
    }
}

TEST_F(Logging, MacrosStoreThePositionAndSpareTheArguments) {
    int evaluated = 0;
    ZVK_DEBUG("%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    ops.logLevel = 3;
    ZVK_DEBUG("%d", ++evaluated);
    EXPECT_EQ(sent.back(), "3[ZVKEngine:" + std::to_string(__LINE__ - 1) + "]1");
}

TEST_F(Logging, CutsMessageAndPrefix) {
    const std::string longText(5000, 'm');
    EngUtil::InMsg("%s", longText.c_str());
    EXPECT_EQ(sent.back(), "0" + std::string(4095, 'm'));
    ops.logLevel = 3;
    LogFileName = longText.c_str();
    EngUtil::DbgMsg("%s", longText.c_str());
    EXPECT_EQ(sent.back(), "3[" + std::string(125, 'm') + std::string(4095, 'm'));
}

TEST_F(Logging, BoundsAllocations) {
    ops.logLevel = 3;
    for (const int size : {0, -1, 10485761}) {
        EXPECT_EQ(EngUtil::myAlloc(size), nullptr);
        EXPECT_TRUE(sent.back().ends_with("]bad size [" + std::to_string(size) + "] to allocate"));
    }
    for (const int size : {1, 10485760}) {
        void* memory = EngUtil::myAlloc(size);
        ASSERT_NE(memory, nullptr);
        std::memset(memory, 1, static_cast<size_t>(size));
        std::free(memory);
    }
}

TEST(EngUtil, Trims) {
    struct Case {
        const char *text, *right, *left, *both;
    };
    const Case cases[] = {{" a b \t\r\n", " a b", "a b \t\r\n", "a b"},
                          {"   ", "", "", ""},
                          {"", "", "", ""},
                          {"\va\v", "\va\v", "\va\v", "\va\v"}};
    for (const Case& row : cases) {
        const auto apply = [&row](auto function) {
            std::string text = row.text;
            return std::string(function(text.data()));
        };
        EXPECT_EQ(apply(EngUtil::rtrim), row.right);
        EXPECT_EQ(apply(EngUtil::ltrim), row.left);
        EXPECT_EQ(apply(EngUtil::trim), row.both);
    }
    EXPECT_EQ(EngUtil::trim(nullptr), nullptr);
}

TEST(EngUtil, FindsTheBaseDirectory) {
    struct Case {
        std::string value;
        bool isFound;
        std::string buffer;
    };
    const std::string room126(126, 'd');
    const Case cases[] = {
        {" /base ", true, "/base/"},
        {"/base/", true, "/base/"},
        {"  ", false, ""},
        {std::string(128, 'd'), false, "untouched"},
        {room126, true, room126 + "/"},
        {room126 + "d", false, room126 + "d"},  // no room for the "/"
    };
    for (const Case& row : cases) {
        char buffer[128] = "untouched";
        setenv("ZVK_TEST_DIR", row.value.c_str(), 1);
        EXPECT_EQ(EngUtil::getPathVar(buffer, 128, "ZVK_TEST_DIR"), row.isFound) << row.value;
        EXPECT_EQ(buffer, row.buffer);
    }
    unsetenv("ZVK_TEST_DIR");
    char buffer[8];
    EXPECT_FALSE(EngUtil::getPathVar(buffer, 8, "ZVK_TEST_DIR"));
    EXPECT_FALSE(EngUtil::getPathVar(buffer, 0, "HOME"));
    EXPECT_FALSE(EngUtil::getPathVar(nullptr, 8, "HOME"));
}

TEST(EngUtil, ScramblesAndBack) {
    for (int key = 0; key < 256; ++key) {
        std::string name = "Name.\x80\xff~" + std::string(key != 0, static_cast<char>(key));
        const std::string plain = name;
        EngUtil::XorString(name.data(), static_cast<unsigned char>(key));
        EXPECT_EQ(std::strlen(name.c_str()), plain.size());
        EXPECT_EQ(name == plain, key == 0);
        EXPECT_EQ(EngUtil::XorString(name.data(), static_cast<unsigned char>(key)), plain);
    }
    EXPECT_EQ(EngUtil::XorString(nullptr, 1), nullptr);
}

TEST(EngUtil, MeasuresFiles) {
    std::FILE* file = std::tmpfile();
    std::fputs(std::string(1000, 'x').c_str(), file);
    std::fseek(file, 10, SEEK_SET);
    EXPECT_EQ(EngUtil::getFileLength(file), 1000);
    EXPECT_EQ(std::ftell(file), 10);
    EXPECT_EQ(EngUtil::getFileLength(nullptr), 0);
    std::fclose(file);
}

}  // namespace

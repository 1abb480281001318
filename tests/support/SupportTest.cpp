#include <gtest/gtest.h>

#include "support/Crc.h"
#include "support/DecimalNumber.h"
#include "support/Exception.h"
#include "support/MD5.h"
#include "support/Mutex.h"
#include "support/StringHelper.h"
#include "support/Utils.h"
#include "support/io/File.h"

namespace {

using namespace QLT_SPACE;

TEST(Utils, PicksFields) {
    struct Case {
        const char* text;
        int index;
        std::optional<std::string> token;
    };
    const Case cases[] = {
        {"a:b:c", 0, "a"},     {"a:b:c", 2, "c"},       {"a::b", 1, "b"},
        {":::a::b::", 2, "b"}, {":a", 1, "a"},          {":a", 0, std::nullopt},
        {"a:", 0, "a"},        {"a:", 1, std::nullopt}, {"a", 1, std::nullopt},
        {"", 0, std::nullopt}, {"", 1, std::nullopt},   {"a:b", 5, std::nullopt},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(Utils::strToK(row.text, row.index, ":"), row.token) << row.text << row.index;
    }
    EXPECT_EQ(Utils::strToK("a-+b", 1, "+-"), "b");
}

TEST(Utils, CutsLongTexts) {
    const std::string text = Utils::formatString("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(text, std::string(4095, 'x'));
}

TEST(StringHelper, Suffixes) {
    EXPECT_TRUE(StringHelper::endsWith("file.ndb", ".ndb"));
    EXPECT_FALSE(StringHelper::endsWith("file.NDB", ".ndb"));
    EXPECT_TRUE(StringHelper::endsWith("x", ""));
    EXPECT_FALSE(StringHelper::endsWith("db", ".db"));
    EXPECT_FALSE(StringHelper::endsWith(nullptr, ""));
    EXPECT_FALSE(StringHelper::endsWith("", nullptr));
    EXPECT_EQ(StringHelper::ntoa(-2147483647 - 1), "-2147483648");
}

TEST(DecimalNumber, IsHeldToItsRange) {
    EXPECT_EQ(decimalInt32("99999999999999999999"), INT32_MAX);
    EXPECT_EQ(decimalInt32("-99999999999999999999"), INT32_MIN);
    EXPECT_EQ(decimalInt32(" -12:x"), -12);
    EXPECT_EQ(decimalInt32("none"), 0);
    EXPECT_EQ(decimalInt64("4294967296"), 4294967296);
}

std::string digestOf(std::string_view text, size_t pieceLength) {
    MD5 md5;
    for (size_t i = 0; i < text.size(); i += pieceLength) {
        const auto piece = text.substr(i, pieceLength);
        md5.update(reinterpret_cast<const unsigned char*>(piece.data()), piece.size());
    }
    unsigned char digest[MD5::kDigestLength];
    md5.final(digest);
    std::string hex;
    for (const unsigned char byte : digest) hex += Utils::formatString("%02x", byte);
    return hex;
}

// The test suite of RFC 1321, and lengths around a block's made with another implementation.
TEST(MD5, KnownDigests) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
        {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
        {std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
        {std::string(1000, 'a'), "cabe45dcc9ae5b66ba86600cca6b8ba8"},
    };
    for (const auto& [text, digest] : cases) {
        for (const size_t pieceLength : {1U, 7U, 63U, 64U, 65U, 4096U}) {
            EXPECT_EQ(digestOf(text, pieceLength), digest) << text.size() << "/" << pieceLength;
        }
    }
}

TEST(Crc, Iso3309) {
    STREAMENGINE_SPACE::Iso3309Crc crc;
    crc.add("123456789", 9);
    EXPECT_EQ(crc.crc(), 0xCBF43926);
    crc.reset();
    for (const char c : std::string("12345678")) crc.add(c);
    EXPECT_EQ(crc.add('9'), 0xCBF43926);
}

TEST(Exception, TellsMessageAndLocation) {
    Exception failure("broken");
    EXPECT_STREQ(failure.toString(), "broken");
    EXPECT_EQ(failure.getMessage(), "broken");
    EXPECT_EQ(failure.getErrorLocation(), ", line0");
    OutOfMemoryException memory;
    EXPECT_STREQ(memory.toString(), "Out of memory");
    EXPECT_STREQ(static_cast<const VQObject&>(memory).toString(),
                 typeid(OutOfMemoryException).name());
}

TEST(Mutex, MonitorLetsGoOnException) {
    Mutex mutex;
    try {
        const Monitor monitor(mutex);
        EXPECT_NE(mutex.trylock(), 0);
        throw Exception("left");
    } catch (Exception&) {
        EXPECT_EQ(mutex.trylock(), 0);
        mutex.unlock();
    }
}

TEST(File, Kinds) {
    EXPECT_TRUE(File("/").exists() && File("/").isDirectory() && !File("/").isFile());
    EXPECT_TRUE(File("/proc/self/exe").isFile());
    EXPECT_FALSE(File("/none").exists() || File("/none").isDirectory() || File("/none").isFile());
}

}  // namespace

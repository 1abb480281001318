#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "support/Arena.h"
#include "support/Crc.h"
#include "support/Exception.h"
#include "support/MD5.h"
#include "support/Mutex.h"
#include "support/Utils.h"

namespace {

using namespace QLT_SPACE;

TEST(Utils, CutsLongTexts) {
    EXPECT_EQ(Utils::formatString("%s", std::string(5000, 'x').c_str()), std::string(4095, 'x'));
}

RC_GTEST_PROP(Arena, KeepsWhatItIsGiven, ()) {
    Arena arena;
    std::vector<std::pair<std::vector<uint32_t>, std::span<uint32_t>>> numbers;
    std::vector<std::pair<std::string, std::string_view>> texts;
    for (const size_t size : *rc::gen::container<std::vector<size_t>>(rc::gen::inRange(0, 3000))) {
        const std::vector<uint32_t> source(size, static_cast<uint32_t>(size));
        const std::string text(size, static_cast<char>('a' + size % 26));
        arena.reserve(Arena::roomFor<uint32_t>(size) + size + 1);
        numbers.emplace_back(source, arena.copy(std::span(source)));
        texts.emplace_back(text, arena.copyText(text));
        RC_ASSERT(reinterpret_cast<uintptr_t>(arena.make<void*>()) % alignof(void*) == 0);
    }
    for (const auto& [source, copy] : numbers) RC_ASSERT(std::ranges::equal(source, copy));
    for (const auto& [source, copy] : texts) RC_ASSERT(source == copy);
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

// From the test suite of RFC 1321, and lengths around that of a block, made with md5sum.
TEST(MD5, KnownDigests) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
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
    crc.add("x", 1);
    crc.reset();
    crc.add("12345678", 8);
    EXPECT_EQ(crc.add('9'), 0xCBF43926);
}

TEST(Exception, HasMessageAndLocationAndUnlocks) {
    Mutex mutex;
    try {
        const Monitor monitor(mutex);
        EXPECT_NE(mutex.trylock(), 0);
        throw OutOfMemoryException();
    } catch (Exception& failure) {
        EXPECT_STREQ(failure.toString(), "Out of memory");
        EXPECT_EQ(failure.getErrorLocation(), ", line0");
        EXPECT_STREQ(std::as_const(failure).toString(), typeid(OutOfMemoryException).name());
    }
    EXPECT_EQ(mutex.trylock(), 0);
    mutex.unlock();
}

}  // namespace

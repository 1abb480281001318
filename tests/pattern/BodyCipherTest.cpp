// The cipher of container bodies against published vectors. How keys are derived and chained is
// what the programs' test sees, which deciphers containers by other means.
#include <gtest/gtest.h>

#include "pattern/container/BodyCipher.h"

namespace {

using namespace STREAMENGINE_SPACE;

DesBlock block(uint64_t bytes) {
    DesBlock out{};
    for (size_t i = 0; i < out.size(); ++i) out[i] = static_cast<uint8_t>(bytes >> (56 - 8 * i));
    return out;
}

TEST(BodyCipher, PublishedVectors) {
    struct Vector {
        uint64_t key, plain, enciphered;
    };
    const Vector vectors[] = {
        // FIPS 81, table B1: "Now is the time for all " in ECB mode
        {0x0123456789ABCDEF, 0x4E6F772069732074, 0x3FA40E8A984D4815},
        {0x0123456789ABCDEF, 0x68652074696D6520, 0x6A271787AB8883F9},
        {0x0123456789ABCDEF, 0x666F7220616C6C20, 0x893D51EC4B563B53},
        // NBS Special Publication 500-20: one of each table
        {0x0101010101010101, 0x95F8A5E5DD31D900, 0x8000000000000000},
        {0x8001010101010101, 0x0000000000000000, 0x95A8D72813DAA94D},
        {0x7CA110454A1A6E57, 0x01A1D6D039776742, 0x690F5B0D9A26939B},
    };
    for (const auto& [keyBytes, plain, enciphered] : vectors) {
        const DesKey key(block(keyBytes));
        DesBlock out{};
        DES(key, block(plain).data(), out.data());
        EXPECT_EQ(out, block(enciphered));
        _DES(key, out.data(), out.data());
        EXPECT_EQ(out, block(plain));
    }
}

TEST(BodyCipher, IncompleteBlocksAreLeftAlone) {
    const DesKey key(block(0x0123456789ABCDEF));
    const std::vector<uint8_t> in(20, 'x');
    std::vector<uint8_t> out(20, 'y');
    crypt(key, 0, in.data(), out.data(), in.size());
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + 8, out.begin() + 8));
    EXPECT_EQ(std::vector<uint8_t>(out.begin() + 16, out.end()), std::vector<uint8_t>(4, 'y'));
    crypt(key, 1, out.data(), out.data(), out.size());
    EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 16), std::vector<uint8_t>(16, 'x'));
}

}  // namespace

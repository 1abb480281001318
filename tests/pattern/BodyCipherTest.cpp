// The cipher of container bodies against published vectors.
#include <gtest/gtest.h>

#include "pattern/BodyCipher.h"

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
    // NIST SP 800-20 has no vector for three times enciphering: its three steps, one by one.
    const DesKey k1(block(0x0123456789ABCDEF));
    const DesKey k2(block(0x7CA110454A1A6E57));
    const DesKey k3(block(0x0131D9619DC1376E));
    DesBlock expected = block(0x4E6F772069732074);
    for (const DesKey* key : {&k1, &k2, &k3}) DES(*key, expected.data(), expected.data());
    DesBlock out{};
    DES3(k1, k2, k3, block(0x4E6F772069732074).data(), out.data());
    EXPECT_EQ(out, expected);
    _DES3(k1, k2, k3, out.data(), out.data());
    EXPECT_EQ(out, block(0x4E6F772069732074));
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

TEST(BodyCipher, KeysFromTheHeader) {
    ContainerHeader header;
    header.buildTime = 0x44332211;
    header.nameTotal = 0x08040201;
    header.patternTotal = 0x80402010;
    header.version = {0x20776F4E, 0x74207369, 0x74206568, 0x20656D69};  // "Now is the time "
    DesBlock k1{};
    DesBlock k2{};
    DesBlock k3{};
    getKey(header, k1, k2, k3);
    EXPECT_EQ(k1, block(0x3213402A233104A2));
    const DesKey first(k1);
    _DES(first, k2.data(), k2.data());
    _DES(first, k3.data(), k3.data());
    EXPECT_EQ(k2, block(0x4E6F772069732074));
    EXPECT_EQ(k3, block(0x68652074696D6520));
}

}  // namespace

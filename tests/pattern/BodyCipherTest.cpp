// The cipher of container bodies against published vectors. The test of the programs checks how
// keys are derived and chained: it deciphers containers with another program.
#include <gtest/gtest.h>

#include "pattern/container/BodyCipher.h"
#include "support/Hex.h"

namespace {

using namespace STREAMENGINE_SPACE;

DesBlock block(uint64_t bytes) {
    DesBlock out{};
    for (size_t i = 0; i < out.size(); ++i) out[i] = static_cast<uint8_t>(bytes >> (56 - 8 * i));
    return out;
}

TEST(BodyCipher, PublishedVectors) {
    struct Vector {
        const char* name;
        uint64_t key, plain, enciphered;
    };
    // FIPS 81, table B1, in ECB mode, and one of each table of NBS Special Publication 500-20.
    const Vector vectors[] = {
        {"Now is t", 0x0123456789ABCDEF, 0x4E6F772069732074, 0x3FA40E8A984D4815},
        {"he time ", 0x0123456789ABCDEF, 0x68652074696D6520, 0x6A271787AB8883F9},
        {"for all ", 0x0123456789ABCDEF, 0x666F7220616C6C20, 0x893D51EC4B563B53},
        {"initial permutation", 0x0101010101010101, 0x95F8A5E5DD31D900, 0x8000000000000000},
        {"variable key", 0x8001010101010101, 0x0000000000000000, 0x95A8D72813DAA94D},
        {"substitution table", 0x7CA110454A1A6E57, 0x01A1D6D039776742, 0x690F5B0D9A26939B},
    };
    for (const auto& [name, keyBytes, plain, enciphered] : vectors) {
        SCOPED_TRACE(name);
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
    std::string text = "Now is tNow is tNow";
    auto* bytes = reinterpret_cast<uint8_t*>(text.data());
    crypt(key, 0, bytes, bytes, text.size());
    EXPECT_EQ(toHex(text), "3fa40e8a984d48153fa40e8a984d4815" + toHex("Now"));
}

}  // namespace

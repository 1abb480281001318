#include "pattern/container/BodyRestoration.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

#include "pattern/container/BodyCipher.h"
#include "pattern/container/DeflateDecompressor.h"
#include "support/Exception.h"
#include "support/MD5.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

constexpr size_t kPieceLength = 32768;  // bytes, a multiple of every cipher's block

Exception writeFailure() {
    const std::string reason = std::generic_category().message(errno);
    return Exception(Utils::formatString("fail to write tmpfp : %s", reason.c_str()));
}

}  // namespace

// One pass with one buffer: each piece is deciphered in place, written and digested. A piece is a
// whole number of blocks, so ECB needs nothing from one piece to the next.
std::array<uint8_t, 16> decipherBody(std::FILE* in, const ContainerHeader& header, std::FILE* out) {
    const BodyCipher cipher(header);
    const size_t block = cipher.blockLength();
    QLT_SPACE::MD5 md5;
    std::array<uint8_t, kPieceLength> piece;  // NOLINT: read into right below
    while (size_t length = std::fread(piece.data(), 1, piece.size(), in)) {
        // Only the last piece can end inside a block. Zeros complete it.
        const size_t padding = (block - length % block) % block;
        std::memset(piece.data() + length, 0, padding);
        length += padding;
        cipher.decipher(piece.data(), length);
        if (std::fwrite(piece.data(), 1, length, out) != length) throw writeFailure();
        md5.update(piece.data(), length);
    }
    if (std::fflush(out) != 0) throw writeFailure();
    std::array<uint8_t, 16> digest{};
    md5.final(digest.data());
    return digest;
}

uint64_t bodyLimit(uint64_t storedLength) {
    const uint64_t usual =
        std::clamp(storedLength * kMostInflation, kLeastBodyLimit, kMostBodyLimit);
    const char* text = std::getenv(kBodyLimitVariable);  // NOLINT(concurrency-mt-unsafe): read only
    if (text == nullptr) return usual;
    uint64_t limit = 0;
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, limit);
    return error == std::errc() && stop == end ? limit : usual;
}

void inflateBody(std::FILE* deciphered, std::FILE* out, uint64_t storedLength) {
    std::rewind(deciphered);
    DeflateDecompressor(false, bodyLimit(storedLength)).decompress(deciphered, out);
    if (std::fflush(out) != 0) throw writeFailure();
}

}  // namespace STREAMENGINE_SPACE

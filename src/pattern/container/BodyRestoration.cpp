#include "pattern/container/BodyRestoration.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

#include "pattern/PatternLoader.h"
#include "pattern/container/BodyCipher.h"
#include "pattern/container/DeflateDecompressor.h"
#include "support/Exception.h"
#include "support/Log.h"
#include "support/MD5.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::FilePtr;
using QLT_SPACE::Utils;

constexpr const char* kUnit = "ZVKPatternLoader";
constexpr size_t kPieceLength = 32768;  // bytes, a multiple of every cipher's block

Exception writeFailure() {
    const std::string reason = std::generic_category().message(errno);
    return Exception(Utils::formatString("fail to write tmpfp : %s", reason.c_str()));
}

/// @return null, after a log line, if the folder for temporary files cannot be used
FilePtr createTemporaryFile() {
    FilePtr file(std::tmpfile());
    if (file == nullptr) ZVK_ERROR("fail to crt tmpfp.");
    return file;
}

}  // namespace

std::array<uint8_t, 16> decipherBody(std::FILE* in, const ContainerHeader& header, std::FILE* out) {
    const BodyCipher cipher(header);
    const size_t block = cipher.blockLength();
    QLT_SPACE::MD5 md5;
    std::array<uint8_t, kPieceLength> piece;  // NOLINT: read into right below
    while (size_t length = std::fread(piece.data(), 1, piece.size(), in)) {
        // Only the last piece can end inside a block; zeros complete it.
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

FilePtr PatternLoader::decryptBody(std::FILE* file, const ContainerHeader& header) {
    FilePtr deciphered = createTemporaryFile();
    if (deciphered == nullptr) return nullptr;
    try {
        if (decipherBody(file, header, deciphered.get()) != header.bodyDigest) {
            ZVK_ERROR("md5 check failed.");
            return nullptr;
        }
    } catch (Exception& failure) {
        ZVK_ERROR("%s", failure.toString());
        return nullptr;
    }
    return deciphered;
}

FilePtr PatternLoader::uncompressBody(const FilePtr deciphered, const ContainerHeader& header) {
    FilePtr body = createTemporaryFile();
    if (body == nullptr) return nullptr;
    try {
        inflateBody(deciphered.get(), body.get(), header.bodyLength);
    } catch (Exception& failure) {
        ZVK_ERROR("compress fail : %s", failure.toString());
        return nullptr;
    }
    return body;
}

FilePtr PatternLoader::restoreBody(std::FILE* file, const ContainerHeader& header) {
    FilePtr deciphered = decryptBody(file, header);
    if (deciphered == nullptr) return nullptr;
    return uncompressBody(std::move(deciphered), header);
}

}  // namespace STREAMENGINE_SPACE

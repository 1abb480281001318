#include "pattern/container/BodyWriter.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string>
#include <system_error>

#include "support/Exception.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

constexpr size_t kDeflatedRoom = 65536;  // bytes, a multiple of every cipher's block

}  // namespace

BodyWriter::BodyWriter(std::FILE* out, const ContainerHeader& header)
    : file(out), cipher(header), stream(std::make_unique<z_stream>()), deflated(kDeflatedRoom) {
    if (deflateInit(stream.get(), Z_DEFAULT_COMPRESSION) != Z_OK)
        throw QLT_SPACE::OutOfMemoryException();
    stream->next_out = deflated.data();
    stream->avail_out = kDeflatedRoom;
}

BodyWriter::~BodyWriter() {
    deflateEnd(stream.get());
}

void BodyWriter::write(const void* data, size_t length) {
    const auto* next = static_cast<const uint8_t*>(data);
    while (length > 0) {
        const size_t piece = std::min<size_t>(length, std::numeric_limits<uInt>::max());
        stream->next_in = const_cast<uint8_t*>(next);  // zlib only reads it
        stream->avail_in = static_cast<uInt>(piece);
        deflateAll(Z_NO_FLUSH);
        next += piece;
        length -= piece;
    }
}

void BodyWriter::finish(ContainerHeader& header) {
    deflateAll(Z_FINISH);
    drain();
    if (written > std::numeric_limits<uint32_t>::max()) {
        throw Exception(Utils::formatString(
            "the deflated body would have %llu bytes, but at most %u are allowed",
            static_cast<unsigned long long>(written), std::numeric_limits<uint32_t>::max()));
    }
    header.bodyLength = static_cast<uint32_t>(written);
    md5.final(header.bodyDigest.data());
}

void BodyWriter::deflateAll(int flush) {
    // zlib leaves room in the output only when it has read all input and, with Z_FINISH, has
    // written the whole stream.
    while (deflate(stream.get(), flush), stream->avail_out == 0) drain();
}

void BodyWriter::drain() {
    size_t length = kDeflatedRoom - stream->avail_out;
    while (length % cipher.blockLength() != 0) deflated[length++] = 0;
    md5.update(deflated.data(), length);
    cipher.encipher(deflated.data(), length);
    if (std::fwrite(deflated.data(), 1, length, file) != length) {
        const std::string reason = std::generic_category().message(errno);
        throw Exception(Utils::formatString("cannot write: %s", reason.c_str()));
    }
    written += length;
    stream->next_out = deflated.data();
    stream->avail_out = kDeflatedRoom;
}

}  // namespace STREAMENGINE_SPACE

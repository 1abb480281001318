// BodyWriter: writes a container's body: deflates it, digests it and enciphers it, piece by piece.
//
// The digest covers the deflated bytes with the zeros that complete the last block of the cipher.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "pattern/container/BodyCipher.h"
#include "support/MD5.h"

struct z_stream_s;  // zlib's state

namespace STREAMENGINE_SPACE {

class BodyWriter {
  public:
    /// @param out     borrowed; the body is written to its position
    /// @param header  names the cipher and holds the fields that its keys are made from
    /// @throws UnknownCipher
    BodyWriter(std::FILE* out, const ContainerHeader& header);
    ~BodyWriter();
    BodyWriter(const BodyWriter&) = delete;
    BodyWriter& operator=(const BodyWriter&) = delete;

    /// Appends to the body.
    /// @throws QLT_SPACE::Exception if the file cannot be written
    void write(const void* data, size_t length);
    template <class Array>
    void write(const Array& bytes) {
        write(bytes.data(), bytes.size());
    }

    /// Ends the body and sets its length and digest in the header. Call write() no more.
    /// @throws QLT_SPACE::Exception if the file cannot be written, or the body's length does not
    ///         fit into the header
    void finish(ContainerHeader& header);

  private:
    void deflateAll(int flush);
    /// Writes the deflated bytes to the file. Before the last call the buffer is full, which is a
    /// whole number of blocks; at the last one zeros complete the block.
    void drain();

    std::FILE* file;
    BodyCipher cipher;
    QLT_SPACE::MD5 md5;
    std::unique_ptr<z_stream_s> stream;
    std::vector<uint8_t> deflated;
    uint64_t written = 0;  // bytes
};

}  // namespace STREAMENGINE_SPACE

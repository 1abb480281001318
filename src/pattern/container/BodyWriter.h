// BodyWriter: a container's body on its way into the file: deflated, digested, enciphered.
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
    /// @param out     borrowed; the body goes to its position
    /// @param header  names the cipher, and gives what its keys are derived from
    /// @throws QLT_SPACE::Exception for an unknown cipher method
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

    /// Ends the body and tells the header its length and its digest. Nothing is written afterwards.
    /// @throws QLT_SPACE::Exception if the file cannot be written, or the body is too long for the
    ///         header to tell
    void finish(ContainerHeader& header);

  private:
    void deflateAll(int flush);
    /// Hands what is deflated on to the file; zeros complete the last block of the cipher.
    void drain();

    std::FILE* file;
    BodyCipher cipher;
    QLT_SPACE::MD5 md5;
    std::unique_ptr<z_stream_s> stream;
    std::vector<uint8_t> deflated;
    uint64_t written = 0;  // bytes
};

}  // namespace STREAMENGINE_SPACE

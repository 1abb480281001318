#include "pattern/container/DeflateDecompressor.h"

#include <zlib.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>

#include "support/Exception.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::OutOfMemoryException;
using QLT_SPACE::Utils;

constexpr const char* kUnit = "ZVKDeflate";
constexpr size_t kInputRoom = 33792;   // bytes
constexpr size_t kOutputRoom = 51200;  // bytes
constexpr int kRawWindowBits = -15;    // a negative size asks zlib for a raw stream

/// One inflation. Owns zlib's state.
///
/// The loop fills the input buffer when zlib has used it up and empties the output buffer when zlib
/// has filled it. At the end of the file zlib is called once more without input: if the stream is
/// not complete then, zlib can make no progress and answers Z_BUF_ERROR, which ends the loop.
class Inflation {
  public:
    Inflation(bool raw, std::FILE* in, std::FILE* out, uint64_t outputLimit)
        : input(in), output(out), limit(outputLimit), outputLeft(outputLimit) {
        const int result = raw ? inflateInit2(&stream, kRawWindowBits) : inflateInit(&stream);
        if (result == Z_MEM_ERROR) throw OutOfMemoryException(kUnit, __LINE__);
        if (result != Z_OK) fail(result);
    }
    ~Inflation() {
        if (!ended) inflateEnd(&stream);
    }
    Inflation(const Inflation&) = delete;
    Inflation& operator=(const Inflation&) = delete;

    void run() {
        startOutput();
        int result = Z_OK;
        while (result != Z_STREAM_END) {
            if (stream.avail_in == 0 && !inputEnded) readInput();
            result = inflate(&stream, Z_NO_FLUSH);
            if (result == Z_NEED_DICT)
                throw BrokenDeflateStream("inflate: need dictionary", kUnit, __LINE__);
            if (result == Z_MEM_ERROR) throw OutOfMemoryException(kUnit, __LINE__);
            if (result != Z_OK && result != Z_STREAM_END) fail(result);
            if (result == Z_STREAM_END || stream.avail_out == 0) writeOutput();
        }
        seekToEndOfStream();
        ended = true;
        const int endResult = inflateEnd(&stream);
        if (endResult != Z_OK) fail(endResult);
    }

  private:
    [[noreturn]] void fail(int result) const {
        throw BrokenDeflateStream(Utils::formatString("inflate: error%d: %s", result,
                                                      stream.msg != nullptr ? stream.msg : ""),
                                  kUnit, __LINE__);
    }

    Exception tooLong() const {
        return Exception(
            Utils::formatString("inflate: the output is longer than %llu bytes, see ZVK_BODY_LIMIT",
                                static_cast<unsigned long long>(limit)),
            kUnit, __LINE__);
    }

    void readInput() {
        inputPosition = ftello(input);
        inputLength = std::fread(inputBuffer.data(), 1, inputBuffer.size(), input);
        inputEnded = inputLength == 0;
        stream.next_in = inputBuffer.data();
        stream.avail_in = static_cast<uInt>(inputLength);
    }

    void startOutput() {
        stream.next_out = outputBuffer.data();
        stream.avail_out = kOutputRoom;
    }

    void writeOutput() {
        const size_t length = kOutputRoom - stream.avail_out;
        if (length > outputLeft) throw tooLong();
        outputLeft -= length;
        if (std::fwrite(outputBuffer.data(), 1, length, output) != length) {
            const std::string reason = std::generic_category().message(errno);
            throw Exception(Utils::formatString("inflate: cannot write: %s", reason.c_str()), kUnit,
                            __LINE__);
        }
        startOutput();
    }

    /// zlib may not need all bytes of the last read; the file's position goes back by the rest.
    void seekToEndOfStream() {
        const size_t consumed = inputLength - stream.avail_in;
        fseeko(input, inputPosition + static_cast<off_t>(consumed), SEEK_SET);
    }

    std::FILE* input;
    std::FILE* output;
    uint64_t limit;       // bytes
    uint64_t outputLeft;  // bytes that may still be written
    z_stream stream{};
    bool ended = false;
    bool inputEnded = false;
    off_t inputPosition = 0;  // of the first byte in inputBuffer
    size_t inputLength = 0;
    std::array<unsigned char, kInputRoom> inputBuffer;    // NOLINT: filled by readInput()
    std::array<unsigned char, kOutputRoom> outputBuffer;  // NOLINT: filled by inflate()
};

}  // namespace

void DeflateDecompressor::decompress(std::FILE* in, std::FILE* out) const {
    if (in == nullptr || out == nullptr) throw Exception("in or out is null", kUnit, __LINE__);
    Inflation(raw, in, out, limit).run();
}

}  // namespace STREAMENGINE_SPACE

// Md5Scanner: digests one stream and, when the stream ends, looks its digest and length up.
//
// A digest record names the length of its stream. What comes after the longest of these lengths is
// not digested: such a stream can match no record.
#pragma once

#include <cstdint>

#include "scan/digest/DigestFeed.h"
#include "scan/report/ScanResult.h"
#include "store/load/MD5List.h"
#include "support/MD5.h"

namespace STREAMENGINE_SPACE {

class Md5Scanner {
  public:
    /// Borrows both for its life.
    Md5Scanner(const MD5List& list, ScanResult* details) : md5List(&list), result(details) {}

    void MD5Init();
    void MD5Update(const char* data, unsigned int len) { feedOf(data, len).finish(); }
    /// Takes the stream's next bytes; the feed has to digest them before the next call.
    /// @param data  borrowed until the feed is finished
    /// @return an empty feed once the stream is longer than every record
    DigestFeed feedOf(const char* data, unsigned int len);
    void MD5Final(unsigned char digest[QLT_SPACE::MD5::kDigestLength]);

    /// Keeps everything: a digest runs over a whole stream, past its detections.
    void reset() {}

    /// Ends the digest and looks it up; a stream that is longer than every record is not looked up.
    /// @return the matching record, or null
    /// @throws QLT_SPACE::Exception if memory for its detail record runs out
    const MD5Pattern* virusFound();

    /// @param digest  QLT_SPACE::MD5::kDigestLength bytes
    const MD5Pattern* virusFoundMD5(const uint8_t* digest, int32_t size) const;

  private:
    static const MD5Pattern* matchPatternListMD5(const uint8_t* digest, int32_t size,
                                                 const MD5PatternNode* list);

    const MD5List* md5List;
    ScanResult* result;
    uint64_t totalSize = 0;  // bytes of the stream, digested or not
    QLT_SPACE::MD5 context;
};

}  // namespace STREAMENGINE_SPACE

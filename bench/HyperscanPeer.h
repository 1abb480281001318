// HyperscanPeer: libhyperscan on the same signatures and pages, for comparison.
//
// Each signature is one expression, in streaming mode. libhyperscan reports each signature once a
// stream, and all of several that overlap; the engine goes on after the first of them. So the two
// may report different names of the same text.
//
// Other ways to use it were measured and are not faster for 1,000 and 10,000 signatures: reporting
// each match instead of the first one, and plain strings in a database of their own.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Corpus.h"
#include "testing/Signature.h"

/// What the peer does with a chunk before it matches it.
enum class PeerWork {
    Raw,         // nothing
    Normalised,  // normalises it with RunNormaliser
    Digested     // the same, and digests the result with OpenSSL's MD5
};

class HyperscanPeer {
  public:
    HyperscanPeer() = default;
    HyperscanPeer(const HyperscanPeer&) = delete;
    HyperscanPeer& operator=(const HyperscanPeer&) = delete;
    virtual ~HyperscanPeer() = default;

    virtual void scanPages(const Pages& pages, PeerWork work) = 0;

    /// What the last scan found: the number of a page, and that of a signature in it.
    std::vector<std::pair<size_t, size_t>> found;
};

/// Compiles the signatures, or reads the database that an earlier call left in the cache folder.
/// @return null if the bench was built without libhyperscan
/// @throws std::runtime_error if it refuses a signature
std::unique_ptr<HyperscanPeer> makeHyperscanPeer(const std::vector<Signature>& signatures,
                                                 const std::filesystem::path& cache);

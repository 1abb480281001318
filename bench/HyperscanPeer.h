// HyperscanPeer: libhyperscan on the same signatures and pages, for comparison.
//
// A pattern for each signature, in streaming mode. It tells each signature once a stream, and of
// several that overlap all: what this engine tells of such text differs from it.
#pragma once

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Corpus.h"
#include "testing/Signature.h"

/// What is done with a chunk before it is matched.
enum class PeerWork {
    Raw,        // nothing
    Normalised  // normalised by RunNormaliser, and the digest of the result made with OpenSSL's MD5
};

class HyperscanPeer {
  public:
    HyperscanPeer() = default;
    HyperscanPeer(const HyperscanPeer&) = delete;
    HyperscanPeer& operator=(const HyperscanPeer&) = delete;
    virtual ~HyperscanPeer() = default;

    virtual void scanPages(const Pages& pages, PeerWork work) = 0;

    /// The page, and the number of a signature found in it, of the last scan.
    std::set<std::pair<size_t, size_t>> found;
};

/// Compiles the signatures, or takes what an earlier call has left in the cache folder.
/// @return null if the bench was built without libhyperscan
/// @throws std::runtime_error if it refuses a signature
std::unique_ptr<HyperscanPeer> makeHyperscanPeer(const std::vector<Signature>& signatures,
                                                 const std::filesystem::path& cache);

#include "HyperscanPeer.h"

#ifdef ZVK_HAVE_HYPERSCAN

#include <openssl/evp.h>

#include <algorithm>
#include <array>

#include "EngineHost.h"
#include "HyperscanDatabase.h"
#include "RunNormaliser.h"

namespace {

using ScratchPtr = std::unique_ptr<hs_scratch_t, Freer<hs_free_scratch>>;
using DigestKindPtr = std::unique_ptr<EVP_MD, Freer<EVP_MD_free>>;
using DigestPtr = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX_free>>;

class Peer : public HyperscanPeer {
  public:
    explicit Peer(DatabasePtr compiled) : database(std::move(compiled)) {
        hs_scratch_t* made = nullptr;
        checkHyperscan(hs_alloc_scratch(database.get(), &made), "cannot make a scratch");
        scratch.reset(made);
        checkHyperscan(hs_open_stream(database.get(), 0, &stream), "cannot open a stream");
    }
    ~Peer() override { hs_close_stream(stream, scratch.get(), nullptr, nullptr); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void scanPages(const Pages& pages, PeerWork work) override {
        found.clear();
        for (page = 0; page < pages.size(); ++page) {
            checkHyperscan(hs_reset_stream(stream, 0, scratch.get(), nullptr, nullptr),
                           "cannot reset");
            if (work == PeerWork::Raw) {
                scanRaw(pages[page]);
            } else {
                scanNormalised(pages[page], work == PeerWork::Digested);
            }
        }
    }

  private:
    static int onMatch(unsigned int id, unsigned long long /*from*/, unsigned long long /*to*/,
                       unsigned int /*flags*/, void* context) {
        auto& self = *static_cast<Peer*>(context);
        self.found.emplace_back(self.page, id);
        return 0;
    }

    void match(const char* data, size_t length) {
        checkHyperscan(hs_scan_stream(stream, data, static_cast<unsigned int>(length), 0,
                                      scratch.get(), onMatch, this),
                       "cannot scan");
    }

    void scanRaw(const std::string& text) {
        for (size_t i = 0; i < text.size(); i += kChunkLength) {
            match(&text[i], std::min(kChunkLength, text.size() - i));
        }
    }

    void scanNormalised(std::string_view text, bool isDigested) {
        normaliser.begin(text.substr(0, 256));
        if (isDigested) EVP_DigestInit_ex(digest.get(), md5.get(), nullptr);
        for (; !text.empty(); text.remove_prefix(std::min(kChunkLength, text.size()))) {
            const size_t kept = normaliser.feed(text.substr(0, kChunkLength), buffer.data());
            if (isDigested) EVP_DigestUpdate(digest.get(), buffer.data(), kept);
            match(buffer.data(), kept);
        }
        std::array<unsigned char, EVP_MAX_MD_SIZE> made = {};
        if (isDigested) EVP_DigestFinal_ex(digest.get(), made.data(), nullptr);
    }

    DatabasePtr database;
    ScratchPtr scratch;
    hs_stream_t* stream = nullptr;  // closed with the scratch, before both are freed
    DigestKindPtr md5{EVP_MD_fetch(nullptr, "MD5", nullptr)};  // once: it takes a microsecond
    DigestPtr digest{EVP_MD_CTX_new()};
    RunNormaliser normaliser;
    std::array<char, kChunkLength> buffer = {};
    size_t page = 0;
};

}  // namespace

std::unique_ptr<HyperscanPeer> makeHyperscanPeer(const std::vector<Signature>& signatures,
                                                 const std::filesystem::path& cache) {
    return std::make_unique<Peer>(makeDatabase(signatures, cache));
}

#else

std::unique_ptr<HyperscanPeer> makeHyperscanPeer(const std::vector<Signature>& /*signatures*/,
                                                 const std::filesystem::path& /*cache*/) {
    return nullptr;
}

#endif

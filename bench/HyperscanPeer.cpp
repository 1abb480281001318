#include "HyperscanPeer.h"

#ifdef ZVK_HAVE_HYPERSCAN

#include <hs/hs.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "EngineHost.h"
#include "RunNormaliser.h"

namespace {

namespace fs = std::filesystem;

template <auto kFree>
struct Freer {
    template <class T>
    void operator()(T* owned) const noexcept {
        kFree(owned);
    }
};
using DatabasePtr = std::unique_ptr<hs_database_t, Freer<hs_free_database>>;
using ScratchPtr = std::unique_ptr<hs_scratch_t, Freer<hs_free_scratch>>;
using DigestPtr = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX_free>>;

std::string escaped(char byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    return {'\\', 'x', kDigits[value >> 4], kDigits[value & 15]};
}

std::string expressionOf(const Gap& gap) {
    if (gap.form == Gap::Form::Any) return ".*";
    const std::string least = std::to_string(gap.least);
    if (gap.form == Gap::Form::Exactly) return ".{" + least + "}";
    const bool isBounded = gap.form != Gap::Form::AtLeast;
    return ".{" + least + "," + (isBounded ? std::to_string(gap.most) : "") + "}";
}

std::string expressionOf(const Signature& signature) {
    std::string out;
    for (const SignaturePart& part : signature.parts) {
        if (&part != signature.parts.data()) out += expressionOf(part.gap);
        for (const Element& element : part.elements) {
            if (element.size() != 1) out += element.empty() ? "." : "[";
            for (const char byte : element) out += escaped(byte);
            if (element.size() > 1) out += "]";
        }
    }
    return out;
}

uint64_t fnv1a(const std::vector<std::string>& texts) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const std::string& text : texts) {
        for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        hash *= 0x100000001B3;
    }
    return hash;
}

void check(hs_error_t result, const char* what) {
    if (result != HS_SUCCESS) throw std::runtime_error(std::string("libhyperscan: ") + what);
}

DatabasePtr compile(const std::vector<std::string>& expressions) {
    std::vector<const char*> texts;
    std::vector<unsigned int> flags, ids;
    texts.reserve(expressions.size());
    flags.reserve(expressions.size());
    ids.reserve(expressions.size());
    for (const std::string& expression : expressions) {
        ids.push_back(static_cast<unsigned int>(texts.size()));
        texts.push_back(expression.c_str());
        flags.push_back(HS_FLAG_DOTALL | HS_FLAG_SINGLEMATCH);
    }
    hs_database_t* database = nullptr;
    hs_compile_error_t* error = nullptr;
    const hs_error_t result = hs_compile_multi(texts.data(), flags.data(), ids.data(),
                                               static_cast<unsigned int>(texts.size()),
                                               HS_MODE_STREAM, nullptr, &database, &error);
    if (result == HS_SUCCESS) return DatabasePtr(database);
    const std::string message =
        error->expression < 0
            ? error->message
            : error->message + (" in " + expressions.at(static_cast<size_t>(error->expression)));
    hs_free_compile_error(error);
    throw std::runtime_error("libhyperscan: " + message);
}

/// @return null if there is no such file, or it was made by another version or for another machine
DatabasePtr readDatabase(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    hs_database_t* database = nullptr;
    if (bytes.empty()) return nullptr;
    if (hs_deserialize_database(bytes.data(), bytes.size(), &database) != HS_SUCCESS) {
        return nullptr;
    }
    return DatabasePtr(database);
}

void writeDatabase(const fs::path& file, const hs_database_t* database) {
    char* bytes = nullptr;
    size_t length = 0;
    check(hs_serialize_database(database, &bytes, &length), "cannot serialize");
    std::ofstream(file, std::ios::binary).write(bytes, static_cast<std::streamsize>(length));
    std::free(bytes);  // NOLINT(cppcoreguidelines-no-malloc): allocated by the library
}

class Peer : public HyperscanPeer {
  public:
    Peer(const std::vector<Signature>& signatures, const fs::path& cache) {
        std::vector<std::string> expressions;
        expressions.reserve(signatures.size());
        for (const Signature& signature : signatures) {
            expressions.push_back(expressionOf(signature));
        }
        const fs::path file = cache / ("hyperscan-" + std::to_string(fnv1a(expressions)));
        database = readDatabase(file);
        if (database == nullptr) {
            database = compile(expressions);
            writeDatabase(file, database.get());
        }
        hs_scratch_t* made = nullptr;
        check(hs_alloc_scratch(database.get(), &made), "cannot make a scratch");
        scratch.reset(made);
        check(hs_open_stream(database.get(), 0, &stream), "cannot open a stream");
    }
    ~Peer() override { hs_close_stream(stream, scratch.get(), nullptr, nullptr); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void scanPages(const Pages& pages, PeerWork work) override {
        found.clear();
        for (page = 0; page < pages.size(); ++page) {
            check(hs_reset_stream(stream, 0, scratch.get(), nullptr, nullptr), "cannot reset");
            if (work == PeerWork::Raw) {
                scanRaw(pages[page]);
            } else {
                scanNormalised(pages[page]);
            }
        }
    }

  private:
    static int onMatch(unsigned int id, unsigned long long /*from*/, unsigned long long /*to*/,
                       unsigned int /*flags*/, void* context) {
        auto& self = *static_cast<Peer*>(context);
        self.found.emplace(self.page, id);
        return 0;
    }

    void match(const char* data, size_t length) {
        check(hs_scan_stream(stream, data, static_cast<unsigned int>(length), 0, scratch.get(),
                             onMatch, this),
              "cannot scan");
    }

    void scanRaw(const std::string& text) {
        for (size_t i = 0; i < text.size(); i += kChunkLength) {
            match(&text[i], std::min(kChunkLength, text.size() - i));
        }
    }

    void scanNormalised(std::string_view text) {
        normaliser.begin(text.substr(0, 256));
        EVP_DigestInit_ex(digest.get(), EVP_md5(), nullptr);
        for (; !text.empty(); text.remove_prefix(std::min(kChunkLength, text.size()))) {
            const size_t kept = normaliser.feed(text.substr(0, kChunkLength), buffer.data());
            EVP_DigestUpdate(digest.get(), buffer.data(), kept);
            match(buffer.data(), kept);
        }
        std::array<unsigned char, EVP_MAX_MD_SIZE> made = {};
        EVP_DigestFinal_ex(digest.get(), made.data(), nullptr);
    }

    DatabasePtr database;
    ScratchPtr scratch;
    hs_stream_t* stream = nullptr;  // closed with the scratch, before both are freed
    DigestPtr digest{EVP_MD_CTX_new()};
    RunNormaliser normaliser;
    std::array<char, kChunkLength> buffer = {};
    size_t page = 0;
};

}  // namespace

std::unique_ptr<HyperscanPeer> makeHyperscanPeer(const std::vector<Signature>& signatures,
                                                 const fs::path& cache) {
    fs::create_directories(cache);
    return std::make_unique<Peer>(signatures, cache);
}

#else

std::unique_ptr<HyperscanPeer> makeHyperscanPeer(const std::vector<Signature>& /*signatures*/,
                                                 const std::filesystem::path& /*cache*/) {
    return nullptr;
}

#endif

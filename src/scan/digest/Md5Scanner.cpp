#include "scan/digest/Md5Scanner.h"

#include <cstring>

#include "support/Allocation.h"
#include "support/EngineOption.h"

namespace STREAMENGINE_SPACE {

void Md5Scanner::MD5Init() {
    totalSize = 0;
    context.init();
}

DigestFeed Md5Scanner::feedOf(const char* data, unsigned int len) {
    totalSize += len;
    if (totalSize > md5List->largestSize) return {};
    return {context, data, len};
}

void Md5Scanner::MD5Final(unsigned char digest[QLT_SPACE::MD5::kDigestLength]) {
    context.final(digest);
}

const MD5Pattern* Md5Scanner::virusFound() {
    if (totalSize > md5List->largestSize) return nullptr;
    std::array<uint8_t, QLT_SPACE::MD5::kDigestLength> digest{};
    MD5Final(digest.data());
    const MD5Pattern* found = virusFoundMD5(digest.data(), static_cast<int32_t>(totalSize));
    if (found == nullptr || !ops.wantsDetail()) return found;
    auto sig = QLT_SPACE::makeUniqueOr<SigInfo>("fail to new sig");
    sig->offset = SigInfo::kDigestOffset;
    result->reset();
    result->addSigInfo(found->virName, std::move(sig));
    return found;
}

const MD5Pattern* Md5Scanner::virusFoundMD5(const uint8_t* digest, int32_t size) const {
    if (!md5List->hasTables()) return nullptr;
    const uint16_t hash = blockHash(digest);
    if (md5List->bm_shift[hash] != 0) return nullptr;
    return matchPatternListMD5(digest, size, md5List->bm_suffix[hash]);
}

const MD5Pattern* Md5Scanner::matchPatternListMD5(const uint8_t* digest, int32_t size,
                                                  const MD5PatternNode* list) {
    for (const MD5PatternNode* node = list; node != nullptr; node = node->next) {
        const MD5Pattern& record = *node->pat;
        if (record.digest[0] > digest[0]) break;  // the list ascends by this byte
        if (record.size == size &&
            std::memcmp(record.digest.data(), digest, record.digest.size()) == 0) {
            return &record;
        }
    }
    return nullptr;
}

}  // namespace STREAMENGINE_SPACE

#include "store/MD5List.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "store/ByteSort.h"
#include "store/PatternParser.h"
#include "support/Allocation.h"
#include "support/DecimalNumber.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

constexpr size_t kDigestDigits = 32;  // the ":" stands right behind them, the size behind that
constexpr size_t kShortestLine = kDigestDigits + 3;

}  // namespace

void MD5List::addString(const char* line) {
    const auto malformed = [line] {
        return Exception(Utils::formatString("Malformed md5 pattern [%s]", line));
    };
    if (std::strlen(line) < kShortestLine || line[kDigestDigits] != ':') throw malformed();
    auto name = Utils::strToK(line, 2, ":");
    if (!name) throw malformed();
    const std::string virName = EngUtil::scrambled(std::move(*name));
    MD5Pattern* record = newRecord();
    try {
        PatternParser::hex2str({line, kDigestDigits}, record->digest.data(), kDigestDigits);
        record->size = QLT_SPACE::decimalInt32(line + kDigestDigits + 1);
        names.reserve(virName.size() + 1);  // once in its bucket, the record has to stay
        addPattern(record);
        record->virName = names.copyText(virName);
    } catch (...) {
        if (usePool) {
            *record = {};
        } else {
            ownRecords.pop_back();
        }
        throw;
    }
}

void MD5List::init() {
    if (hasTables()) return;
    // The blanks at both ends of the text are part of it.
    QLT_SPACE::allocateOr(" allocate bm_shift&bm_suffix fail ", [this] {
        bm_shift.assign(kBlockHashes, 1);
        bm_suffix.assign(kBlockHashes, nullptr);
    });
}

bool MD5List::allocate(int n) {
    if (!nodePool.allocate(n)) return false;
    if (!patternPool.allocate(n)) {
        nodePool.dropNewest();  // nodes of the older blocks are in use
        return false;
    }
    usePool = true;
    return true;
}

void MD5List::addPattern(const MD5Pattern* record) {
    init();
    MD5PatternNode* node = newNode();
    node->pat = record;
    const uint16_t hash = blockHash(record->digest.data());
    bm_shift[hash] = 0;
    node->next = bm_suffix[hash];
    bm_suffix[hash] = node;
    largestSize = std::max(largestSize, static_cast<uint32_t>(record->size));
}

void MD5List::prepare() {
    for (MD5PatternNode*& bucket : bm_suffix) {
        sortByByte(bucket, [](const MD5PatternNode& node) { return node.pat->digest[0]; });
    }
}

void MD5List::reset() {
    largestSize = 0;
    bm_suffix = std::vector<MD5PatternNode*>();
    bm_shift = std::vector<uint32_t>();
    nodePool.reset();
    patternPool.reset();
    ownNodes.clear();
    ownRecords.clear();
    names.reset();
    usePool = false;
}

MD5Pattern* MD5List::newRecord() {
    constexpr const char* kFailure = "Alloacate bm pattern fail";
    MD5Pattern* record =
        usePool ? patternPool.get()
                : QLT_SPACE::allocateOr(kFailure, [this] { return &ownRecords.emplace_back(); });
    if (record == nullptr) throw Exception(kFailure);
    return record;
}

MD5PatternNode* MD5List::newNode() {
    constexpr const char* kFailure = "Alloacate patternNode fail";
    MD5PatternNode* node =
        usePool ? nodePool.get()
                : QLT_SPACE::allocateOr(kFailure, [this] { return &ownNodes.emplace_back(); });
    if (node == nullptr) throw Exception(kFailure);
    return node;
}

}  // namespace STREAMENGINE_SPACE

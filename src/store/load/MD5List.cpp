#include "store/load/MD5List.h"

#include <algorithm>

#include "store/load/ByteSort.h"
#include "support/Allocation.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;

}  // namespace

void MD5List::init() {
    if (hasTables()) return;
    // The blanks at both ends of the text are part of it.
    QLT_SPACE::allocateOr(" allocate bm_shift&bm_suffix fail ", [this] {
        bm_shift.assign(kBlockHashes, 1);
        bm_suffix.assign(kBlockHashes, nullptr);
    });
}

// A file that announces its records has them made in pools. Either both pools get their block or
// neither: a record without a node could not be entered.
bool MD5List::allocate(int n) {
    if (!nodePool.allocate(n)) return false;
    if (!patternPool.allocate(n)) {
        nodePool.dropNewest();  // nodes of the older blocks are in use
        return false;
    }
    usePool = true;
    return true;
}

// A digest is already evenly distributed, so its first three bytes would do as a hash. They are
// hashed like the blocks of BmList all the same, which gives both tables one size.
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

void MD5List::addRecord(MD5Pattern& record, std::string_view scrambledName) {
    names.reserve(scrambledName.size() + 1);  // once in its bucket, the record has to stay
    addPattern(&record);
    record.virName = names.copyText(scrambledName);
}

void MD5List::dropRecord(MD5Pattern& record) {
    if (usePool) {
        record = {};  // a pool takes nothing back
    } else {
        ownRecords.pop_back();
    }
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

MD5Pattern& MD5List::newRecord() {
    constexpr const char* kFailure = "Alloacate bm pattern fail";
    MD5Pattern* record =
        usePool ? patternPool.get()
                : QLT_SPACE::allocateOr(kFailure, [this] { return &ownRecords.emplace_back(); });
    if (record == nullptr) throw Exception(kFailure);
    return *record;
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

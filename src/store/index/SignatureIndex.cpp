#include "store/index/SignatureIndex.h"

#include <atomic>
#include <utility>

#include "store/index/AnchorCompiler.h"
#include "store/index/UnitList.h"

namespace STREAMENGINE_SPACE {

void SignatureIndex::build(const TrieTree& trieTree, const BmList& bmList,
                           QLT_SPACE::VectorUnit unit) {
    static std::atomic<uint64_t> builds{0};
    reset();
    buildNumber = ++builds;
    vectorUnit = unit;
    UnitList list = listUnits(trieTree, bmList);
    units = std::move(list.units);
    tree = std::move(list.tree);
    singleRanks = std::move(list.singleRanks);
    compileAnchors(units, tree, QLT_SPACE::includesAvx2(unit), anchors);
    units.shrink_to_fit();
    singleRanks.shrink_to_fit();
}

void SignatureIndex::reset() {
    *this = SignatureIndex();
}

}  // namespace STREAMENGINE_SPACE

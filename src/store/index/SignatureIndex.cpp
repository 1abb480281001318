#include "store/index/SignatureIndex.h"

#include <utility>

#include "store/index/AnchorCompiler.h"
#include "store/index/UnitList.h"

namespace STREAMENGINE_SPACE {

void SignatureIndex::build(const TrieTree& trieTree, const BmList& bmList,
                           QLT_SPACE::VectorUnit unit) {
    reset();
    vectorUnit = unit;
    UnitList list = listUnits(trieTree, bmList);
    units = std::move(list.units);
    members = std::move(list.members);
    compileAnchors(units, anchors);
    units.shrink_to_fit();
}

void SignatureIndex::reset() {
    *this = SignatureIndex();
}

}  // namespace STREAMENGINE_SPACE

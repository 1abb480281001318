#include "store/PatternContainer.h"

#include <algorithm>

#include "support/Log.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Monitor;

constexpr const char* kUnit = "ZVKPatternContainer";

}  // namespace

void PatternContainer::prepare() {
    vectorUnit = QLT_SPACE::chooseVectorUnit();
    searchForm = isScalar(vectorUnit) ? SearchForm::Loaded : SearchForm::Compiled;
    typeTrieTree.prepare();
    maxPatternLength = std::max(static_cast<int32_t>(trieTree.maxPatternLength),
                                static_cast<int32_t>(bmList.maxPatternLength));
    trieTree.prepare();
    bmList.prepare();
    md5List.prepare();
    if (searchForm == SearchForm::Compiled) index.build(trieTree, bmList, vectorUnit);
    ZVK_DEBUG("bm sigs [%d]", bmList.sigCount);
    ZVK_DEBUG("ac sigs [%d]", trieTree.sigCount);
    ZVK_DEBUG("ac wildcard pattern [%d], ac short pattern [%d], ac simple pattern[%d]",
              trieTree.ac_wildcard_patterns, trieTree.shortPatternCount,
              trieTree.ac_simple_patterns);
}

void PatternContainer::reset() {
    index.reset();
    searchForm = SearchForm::Loaded;  // there is no index any more
    trieTree.reset();
    typeTrieTree.reset();
    bmList.reset();
    md5List.reset();
    maxPatternLength = 0;
    patternCount = 0;
    patternVersion = 0;
    const Monitor monitor(mutex);
    usingCount = 0;
}

void PatternContainer::increaseCount() {
    const Monitor monitor(mutex);
    ++usingCount;
}

void PatternContainer::decreaseCount() {
    const Monitor monitor(mutex);
    --usingCount;
}

int32_t PatternContainer::getUsingCount() {
    const Monitor monitor(mutex);
    return usingCount;
}

}  // namespace STREAMENGINE_SPACE

// The library's globals, in one unit because their order matters: the engine's constructor fills
// the options, and its destructor still logs by them.

#include "engine/ZVKEngine.h"
#include "keyword/ZVKKeywordMatcher.h"
#include "support/EngineOption.h"

namespace STREAMENGINE_SPACE {

_EngineOption ops;

}  // namespace STREAMENGINE_SPACE

STREAMENGINE_SPACE::ZVKEngine zvkeng;
STREAMENGINE_SPACE::ZVKKeywordMatcher keyword_matcher;

// The library's globals, in one file because their order matters: objects of one file are
// constructed in the order written and destroyed in reverse. The engine's constructor fills the
// options, and its destructor still logs with them.

#include "engine/ZVKEngine.h"
#include "keyword/ZVKKeywordMatcher.h"
#include "support/EngineOption.h"

namespace STREAMENGINE_SPACE {

_EngineOption ops;

}  // namespace STREAMENGINE_SPACE

STREAMENGINE_SPACE::ZVKEngine zvkeng;
STREAMENGINE_SPACE::ZVKKeywordMatcher keyword_matcher;

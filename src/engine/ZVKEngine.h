// ZVKEngine: the engine's one object, to which the exported functions hand over.
//
// It owns two pattern containers, so that a new signature set can be loaded into one while streams
// still scan with the other, see CurrentSet, and the registry of live instances. Loading never
// makes a scan wait, and streams never make a reload wait: a reload whose container is still in use
// is refused at once.
//
// Lock order: loadLock, then that of currentSet, then a container's own; that of the registry is
// never held together with another.
#pragma once

#include "engine/CurrentSet.h"
#include "engine/InstanceRegistry.h"
#include "store/PatternContainer.h"
#include "support/Mutex.h"
#include "zvkengine.h"

namespace STREAMENGINE_SPACE {

class ZVKEngineInstance;

class ZVKEngine {
  public:
    /// Also sets the options to their defaults and derives the byte that scrambles
    /// names from the clock.
    ZVKEngine();
    ~ZVKEngine();
    ZVKEngine(const ZVKEngine&) = delete;
    ZVKEngine& operator=(const ZVKEngine&) = delete;

    /// What the exported functions of these names do once their arguments are checked.
    int loadPattern(const _ZVKPatternFile* pf);
    int reloadPattern(const _ZVKPatternFile* pf);
    int getPatternInfo(_ZVKPatternInfo* info);
    int setOptions(int code, const void* value);

    /// Empties both containers and detaches every live instance from them. No other call may run at
    /// the same time: the locks are not taken.
    int resetEngine();

    /// @return a new instance, the caller's to delete
    ZVKEngineInstance* getInstance();
    /// @return whether ins is a live instance of this engine; only its address is read
    bool checkInsValid(const ZVKEngineInstance* ins);

  private:
    QLT_SPACE::Mutex loadLock;  // serialises loads and pattern information
    PatternContainer firstContainer;
    PatternContainer secondContainer;
    CurrentSet currentSet;  // one of the two, or none
    InstanceRegistry instances;
};

}  // namespace STREAMENGINE_SPACE

/// Constructed when the library is loaded, destroyed when it is unloaded.
ZVK_API extern STREAMENGINE_SPACE::ZVKEngine zvkeng;

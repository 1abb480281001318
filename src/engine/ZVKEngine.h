// ZVKEngine: the one object behind the exported functions.
//
// It owns two pattern containers, so that a new signature set can be loaded into one while streams
// still scan with the other, and the registry of live instances that makes handle checking
// possible. Loading never holds up scanning and running streams never hold up a reload: one that
// finds its target still in use is refused at once.
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
    /// Also sets the options to their defaults and takes the byte that scrambles names from the
    /// clock.
    ZVKEngine();
    ~ZVKEngine();
    ZVKEngine(const ZVKEngine&) = delete;
    ZVKEngine& operator=(const ZVKEngine&) = delete;

    /// As the exported functions of these names behind their checks.
    int loadPattern(const _ZVKPatternFile* pf);
    int reloadPattern(const _ZVKPatternFile* pf);
    int getPatternInfo(_ZVKPatternInfo* info);
    int setOptions(int code, const void* value);

    /// Empties both containers and takes every live instance off them. No other call may run: the
    /// loads' locks are not taken.
    int resetEngine();

    /// @return a new instance, the caller's to delete
    ZVKEngineInstance* getInstance();
    /// @return whether ins is a live instance of this engine; only its address is looked at
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

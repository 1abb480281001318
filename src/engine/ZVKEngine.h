// ZVKEngine: the one object behind the exported functions.
//
// It owns two pattern containers, so that a new signature set can be loaded into one while streams
// still scan with the other, and the registry of live instances that makes handle checking
// possible. Loading never holds up scanning and running streams never hold up a reload: one that
// finds its target still in use is refused at once.
//
// Lock order: loadLock, then swapLock, then a container's own; registryLock is never held together
// with another.
#pragma once

#include <cstdint>
#include <set>

#include "interface/zvkengine.h"
#include "store/ZVKPatternContainer.h"
#include "support/Mutex.h"

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

    /// What an instance needs to begin a stream.
    struct Binding {
        PatternContainer* container;  // null while nothing is loaded; else its use count is raised
        uint32_t generation;
    };
    Binding bindCurrent();

    /// Registers an instance.
    /// @return the generation that it starts from
    uint32_t enrol(const ZVKEngineInstance& instance);
    void strike(const ZVKEngineInstance& instance);

  private:
    /// @return the container that is not current, or null while a stream still uses it
    PatternContainer* idlePartner();

    QLT_SPACE::Mutex loadLock;      // serialises loads and pattern information
    QLT_SPACE::Mutex swapLock;      // guards currentContainer and generation
    QLT_SPACE::Mutex registryLock;  // guards instances
    PatternContainer firstContainer;
    PatternContainer secondContainer;
    PatternContainer* currentContainer = nullptr;  // null or one of the two
    uint32_t generation = 0;                       // successful reloads since the last reset
    std::set<uintptr_t> instances;                 // addresses of all live instances
};

}  // namespace STREAMENGINE_SPACE

/// Constructed when the library is loaded, destroyed when it is unloaded.
ZVK_API extern STREAMENGINE_SPACE::ZVKEngine zvkeng;

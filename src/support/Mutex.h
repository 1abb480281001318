// Mutex and Monitor: the engine's lock and its scoped holder.
#pragma once

#include <pthread.h>

#include "support/VQObject.h"

namespace QLT_SPACE {

/// A POSIX mutex with default attributes: not recursive, so a thread must not lock one it holds.
class Mutex : public VQObject {
  public:
    Mutex() = default;
    ~Mutex() override { pthread_mutex_destroy(&mutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Each returns the POSIX result, 0 on success.
    int lock() { return pthread_mutex_lock(&mutex); }
    int trylock() { return pthread_mutex_trylock(&mutex); }
    int unlock() { return pthread_mutex_unlock(&mutex); }

  private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

/// Holds a Mutex for one scope. Every critical section of the engine is the scope of one.
class Monitor : public VQObject {
  public:
    explicit Monitor(Mutex& held) : mutex(held) { mutex.lock(); }
    ~Monitor() override { mutex.unlock(); }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

  private:
    Mutex& mutex;
};

}  // namespace QLT_SPACE

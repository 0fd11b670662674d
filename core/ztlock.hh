// Locks for the data of the process. Objects belong to one thread at a time and need none.
#ifndef ZT_CORE_ZTLOCK_HH
#define ZT_CORE_ZTLOCK_HH

#include <pthread.h>
#include <sys/single_threaded.h>

namespace ztcore {

// Recursive, because a hook of a class may call `fork`, which takes every lock.
struct Lock {
  pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
  const char *holder = nullptr;  // of the thread that holds it
};

// Its address is a mark of the thread.
extern constinit thread_local const char lockHolder __attribute__((tls_model("initial-exec")));

// Holds a lock during a scope. A thread that holds it already does not take it again: the hooks of classes call the
// engine. A process with one thread does not take it, except where functions of a host run, which may start threads.
class Locked {
 public:
  enum Contents { ownCode, hostsCode };

  explicit Locked(Lock &wanted, Contents contents = ownCode)
      : lock(needsLock(wanted, contents) ? &wanted : nullptr) {
    if (lock == nullptr) return;
    pthread_mutex_lock(&lock->mutex);
    setHolder(&lockHolder);
  }
  ~Locked() {
    if (lock == nullptr) return;
    setHolder(nullptr);
    pthread_mutex_unlock(&lock->mutex);
  }
  Locked(const Locked &) = delete;
  Locked &operator=(const Locked &) = delete;

 private:
  // Other threads may be writing the holder, but never this thread's mark.
  static bool needsLock(const Lock &lock, Contents contents) {
    if (__libc_single_threaded && contents == ownCode) return false;
    return __atomic_load_n(&lock.holder, __ATOMIC_RELAXED) != &lockHolder;
  }

  void setHolder(const char *holder) {
    __atomic_store_n(&lock->holder, holder, __ATOMIC_RELAXED);
  }

  Lock *lock;
};

// In the order in which one thread may take several of them.
extern Lock engineLock;   // the registry, the filling of classes, static properties, property types
extern Lock tablesLock;   // tables of objects by address or number; the innermost of those above
extern Lock memoryLock;   // the records of the tracking form
extern Lock logLock;      // the log file
extern Lock idLock;       // the C library's random numbers, from the seed to the draw
extern Lock threadsLock;  // the list of thread blocks
extern Lock blocksLock;   // the table of live blocks; memory is allocated with any of the above held

// Makes every lock free in a child of `fork`. Called once, when the library is loaded.
void keepLocksAcrossFork();

}  // namespace ztcore

#endif

// Locks for the data of the process. Objects belong to one thread at a time and need none.
#ifndef ZT_CORE_ZTLOCK_HH
#define ZT_CORE_ZTLOCK_HH

#include <pthread.h>
#include <sys/single_threaded.h>

namespace ztcore {

// Recursive, because the hooks of classes call the engine again.
struct Lock {
  pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
};

// Holds a lock during a scope. A process with one thread does not take it, except where functions of a host
// run, which may start threads.
class Locked {
 public:
  enum Contents { ownCode, hostsCode };

  explicit Locked(Lock &wanted, Contents contents = ownCode)
      : lock(__libc_single_threaded && contents == ownCode ? nullptr : &wanted) {
    if (lock != nullptr) pthread_mutex_lock(&lock->mutex);
  }
  ~Locked() {
    if (lock != nullptr) pthread_mutex_unlock(&lock->mutex);
  }
  Locked(const Locked &) = delete;
  Locked &operator=(const Locked &) = delete;

 private:
  Lock *lock;
};

// In the order in which one thread may take several of them.
extern Lock engineLock;   // the registry, the filling of classes, static properties, property types
extern Lock tablesLock;   // tables of objects by address or number; the innermost of those above
extern Lock memoryLock;   // the records of the tracking form
extern Lock logLock;      // the log file
extern Lock idLock;       // the C library's random numbers, from the seed to the draw
extern Lock threadsLock;  // the list of thread blocks

// Makes every lock free in a child of `fork`. Called once, when the library is loaded.
void keepLocksAcrossFork();

}  // namespace ztcore

#endif

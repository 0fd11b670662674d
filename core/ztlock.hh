// Locks for what the process has once. Objects are confined to one thread at a time and need none.
#ifndef ZT_CORE_ZTLOCK_HH
#define ZT_CORE_ZTLOCK_HH

#include <pthread.h>
#include <sys/single_threaded.h>

namespace ztcore {

// One thread may take it several times, since the hooks of classes come back into the engine.
struct Lock {
  pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
};

// Holds a lock for as long as the scope lasts. While the process has one thread there is nothing to lock
// out, and the lock is not taken; it is where functions of a host's run, for those may start threads.
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
extern Lock tablesLock;   // tables that know objects by address or number: leaf of those above
extern Lock memoryLock;   // the records of the tracking form
extern Lock logLock;      // the log file
extern Lock idLock;       // the C library's random numbers, between seeding and drawing
extern Lock threadsLock;  // the list of what threads own

// Sees to it that a child of `fork` finds every lock free. Called once, when the library is loaded.
void keepLocksAcrossFork();

}  // namespace ztcore

#endif

#include "core/ztblocks.hh"

#include "core/ztlock.hh"
#include "core/ztmem.hh"
#include "core/ztpointermap.hh"

#include <dlfcn.h>
#include <errno.h>
#include <string.h>
#include <sys/uio.h>
#include <unistd.h>

using namespace ztcore;

bool ztcore::tracksBlocks;

namespace {

struct KnownSite {
  Site site;
  KnownSite *next;   // of the same hash
  KnownSite *older;  // of all
};

// blocksLock guards all of it.
struct State {
  MemoryFunctions system;
  BlockListener listener;
  PointerMap blocks;  // by address
  PointerMap sites;   // by hash; the first of its KnownSites
  KnownSite *newestSite;
  TrackedBlock *newest;
  uint64_t lastSerial;
  uint32_t lost;
  bool isHiding;
  bool isBusy;  // the tables themselves are allocating
};

constinit State state = {};

using ReadProcess = ssize_t (*)(pid_t process, const iovec *to, unsigned long toCount, const iovec *from,
                                unsigned long fromCount, unsigned long flags);

ReadProcess readProcess;

constinit thread_local bool isUnrecorded __attribute__((tls_model("initial-exec")));

// Holds the lock, unless this thread allocates for the tables: then nothing is recorded.
class Recording {
 public:
  Recording() : locked(blocksLock), isInner(state.isBusy) {
    state.isBusy = true;
  }
  ~Recording() {
    state.isBusy = isInner;
  }
  Recording(const Recording &) = delete;
  Recording &operator=(const Recording &) = delete;

  bool isWanted() const {
    return !isInner;
  }

 private:
  Locked locked;
  bool isInner;
};

}  // namespace

static uint64_t keyOf(const void *block) {
  return reinterpret_cast<uintptr_t>(block);
}

static TrackedBlock *find(const void *block) {
  return static_cast<TrackedBlock *>(state.blocks.find(keyOf(block)));
}

// Looked up while the library is loaded: the dynamic linker's lock may not be waited for with blocksLock held.
static void findReader() {
  void *found = dlvsym(RTLD_DEFAULT, "process_vm_readv", "GLIBC_2.15");
  memcpy(&readProcess, &found, sizeof found);
}

bool ztcore::readMemory(void *to, const void *from, size_t size) {
  const iovec target = {to, size};
  const iovec source = {const_cast<void *>(from), size};
  const ssize_t got = readProcess == nullptr ? -1 : readProcess(getpid(), &target, 1, &source, 1, 0);
  if (got == static_cast<ssize_t>(size)) return true;
  // Where a process may not read itself by this call, the memory has to be there.
  if (readProcess != nullptr && (got >= 0 || errno == EFAULT)) return false;
  memcpy(to, from, size);
  return true;
}

// NULL when memory is exhausted.
static KnownSite *addSite(const Site &site, KnownSite *next) {
  auto *fresh = static_cast<KnownSite *>(state.system.allocate(sizeof(KnownSite)));
  if (fresh == nullptr) return nullptr;
  *fresh = {site, next, state.newestSite};
  if (next != nullptr) {
    state.sites.replace(site.hash(), fresh);
  } else if (!state.sites.insert(site.hash(), fresh)) {
    state.system.release(fresh);
    return nullptr;
  }
  state.newestSite = fresh;
  return fresh;
}

static const Site *keepSite(const Site &site) {
  auto *first = static_cast<KnownSite *>(state.sites.find(site.hash()));
  KnownSite *known = first;
  while (known != nullptr && !(known->site == site)) known = known->next;
  if (known == nullptr) known = addSite(site, first);
  return known == nullptr ? nullptr : &known->site;
}

static void attach(TrackedBlock *block) {
  block->older = state.newest;
  block->newer = nullptr;
  if (state.newest != nullptr) state.newest->newer = block;
  state.newest = block;
}

static void detach(TrackedBlock *block) {
  (block->newer == nullptr ? state.newest : block->newer->older) = block->older;
  if (block->older != nullptr) block->older->newer = block->newer;
}

static void forget(TrackedBlock *block) {
  state.listener.forgotten(block);
  detach(block);
  state.system.release(block);
}

static void drop(TrackedBlock *block) {
  state.blocks.remove(keyOf(block->address));
  forget(block);
}

static void end(TrackedBlock *block) {
  state.listener.ended(block);
  drop(block);
}

// A block that is known at the address of a new one was freed by the host, past the library.
static void dropStale(const void *address) {
  TrackedBlock *stale = find(address);
  if (stale != nullptr) end(stale);
}

static void record(void *address, size_t size, const Site &site) {
  dropStale(address);
  auto *block = static_cast<TrackedBlock *>(state.system.allocate(sizeof(TrackedBlock)));
  if (block == nullptr || !state.blocks.insert(keyOf(address), block)) {
    state.system.release(block);
    ++state.lost;
    return;
  }
  *block = {};
  block->address = static_cast<char *>(address);
  block->size = size;
  block->serial = ++state.lastSerial;
  block->site = keepSite(site);
  block->maker = &lockHolder;
  block->isHidden = state.isHiding;
  attach(block);
  state.listener.made(block);
}

// Zeroed, so that no earlier object in the same memory is taken for one that lives.
static void *allocateTracked(size_t size) {
  const Site site = isUnrecorded ? Site() : currentSite();
  void *address = state.system.allocate(size);
  if (address != nullptr) memset(address, 0, size);
  const Recording recording;
  if (address == nullptr || !recording.isWanted()) return address;
  if (isUnrecorded) {
    dropStale(address);
  } else {
    record(address, size, site);
  }
  return address;
}

// Before the release: after it, another thread may get the address.
static void releaseTracked(void *address) {
  {
    const Recording recording;
    TrackedBlock *block = recording.isWanted() && address != nullptr ? find(address) : nullptr;
    if (block != nullptr) end(block);
  }
  state.system.release(address);
}

// A block keeps its serial number and its site.
static void moveRecord(TrackedBlock *block, void *address, size_t size) {
  if (size > block->size) memset(static_cast<char *>(address) + block->size, 0, size - block->size);
  block->size = size;
  if (block->address == address) return;
  state.blocks.remove(keyOf(block->address));
  dropStale(address);
  block->address = static_cast<char *>(address);
  if (state.blocks.insert(keyOf(address), block)) return;
  forget(block);
  ++state.lost;
}

static void *resizeTracked(void *old, size_t size) {
  if (old == nullptr) return allocateTracked(size);
  // Held until the record is updated: another thread may get the old address at once.
  const Recording recording;
  void *address = state.system.resize(old, size);
  TrackedBlock *block = recording.isWanted() ? find(old) : nullptr;
  if (block == nullptr) return address;
  if (address != nullptr) {
    moveRecord(block, address, size);
  } else if (size == 0) {
    // The system released it.
    end(block);
  }
  return address;
}

// Ignores other addresses.
static void hideBlock(const void *block) {
  const Locked locked(blocksLock);
  TrackedBlock *found = find(block);
  if (found != nullptr) found->isHidden = true;
}

void ztcore::trackBlocks(const BlockListener &listener) {
  prepareSites();
  findReader();
  state.system = memoryFunctions;
  state.listener = listener;
  state.isHiding = true;
  memoryFunctions = {allocateTracked, resizeTracked, releaseTracked, hideBlock};
  tracksBlocks = true;
}

void ztcore::showBlocks() {
  const Locked locked(blocksLock);
  state.isHiding = false;
  // Hidden blocks need no numbers.
  state.lastSerial = 0;
}

bool ztcore::hidesBlocks() {
  return state.isHiding;
}

const TrackedBlock *ztcore::newestBlock() {
  return state.newest;
}

Unrecorded::Unrecorded() {
  isUnrecorded = true;
}

Unrecorded::~Unrecorded() {
  isUnrecorded = false;
}

TrackedBlock *ztcore::blockAt(const void *address) {
  return find(address);
}

const TrackedBlock *ztcore::blockAround(const void *address) {
  const TrackedBlock *block = state.newest;
  while (block != nullptr && keyOf(address) - keyOf(block->address) >= block->size) block = block->older;
  return block;
}

uint32_t ztcore::lostBlocks() {
  return state.lost;
}

void ztcore::releaseBlocks() {
  if (!tracksBlocks) return;
  const Locked locked(blocksLock);
  tracksBlocks = false;
  memoryFunctions = state.system;
  while (state.newest != nullptr) drop(state.newest);
  state.sites.clear();
  while (state.newestSite != nullptr) {
    KnownSite *site = state.newestSite;
    state.newestSite = site->older;
    state.system.release(site);
  }
}

#include "core/zttrack.hh"

#include "core/ztbasec.h"
#include "core/ztcheck.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.hh"
#include "core/ztpointermap.hh"
#include "core/zttext.hh"
#include "core/zttextpart.hh"

#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>
#include <unistd.h>

using namespace ztcore;

bool ztcore::tracesEmissions;
bool ztcore::printsEnd;
static bool tracesLives;

// blocksLock guards it.
static constinit PointerMap classes;  // by address
static TrackedClass *newestClass;
static uint64_t firstAddress = UINT64_MAX;  // of the classes
static uint64_t lastAddress;

// The blocks that are too new to tell whether they hold an object, the oldest first. A header is written before the
// thread that made the block allocates again; that of a class that is being filled, a few allocations later.
static constexpr int32_t mostAge = 16;
static TrackedBlock *firstYoung;

namespace {

struct Told {
  const TrackedClass *klass;
  const Site *site;
};

}  // namespace

// What the last line of this thread told of.
static constinit thread_local Told lastMade __attribute__((tls_model("initial-exec"))) = {nullptr, nullptr};

// Classes -----------------------------------------------------------------------------------------

// Asked for every word of the program's memory.
const TrackedClass *ztcore::trackedClassAt(uint64_t address) {
  if (address < firstAddress || address > lastAddress) return nullptr;
  return static_cast<const TrackedClass *>(classes.find(address));
}

static const TrackedClass *trackedClass(const ztClass *klass) {
  return trackedClassAt(reinterpret_cast<uintptr_t>(klass));
}

// A new record at the address of a class whose code was unloaded takes its place.
static TrackedClass *recordOf(const ztClass *klass) {
  const auto address = reinterpret_cast<uintptr_t>(klass);
  auto *known = static_cast<TrackedClass *>(classes.find(address));
  if (known != nullptr) return known;
  auto *fresh = static_cast<TrackedClass *>(hidden(ztm_alloc(sizeof(TrackedClass))));
  if (fresh == nullptr || !classes.insert(address, fresh)) {
    ztm_free(fresh);
    return nullptr;
  }
  fresh->older = newestClass;
  newestClass = fresh;
  if (address < firstAddress) firstAddress = address;
  if (address > lastAddress) lastAddress = address;
  return fresh;
}

void ztcore::trackClass(const ztClass *klass) {
  const Locked locked(blocksLock);
  TrackedClass *record = recordOf(klass);
  if (record == nullptr) return;
  const TrackedClass *parent = trackedClass(klass->parent);
  copyText(record->name, klass->name);
  record->klass = klass;
  record->instanceSize = static_cast<int32_t>(klass->instanceSize);
  record->isLibrarys = hidesBlocks();
  const auto is = [=](const char *name, bool isParent) {
    return isParent || strcmp(record->name, name) == 0;
  };
  record->isItem = is("ztContainerItem", parent != nullptr && parent->isItem);
  record->isObject = is("ztObject", parent != nullptr && parent->isObject);
  record->isNode = is("ztRoot", parent != nullptr && parent->isNode);
}

// Lines -------------------------------------------------------------------------------------------

// One write, so that lines of several threads do not mix.
__attribute__((format(printf, 1, 2))) static void printLine(const char *format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(text, sizeof text - 1, format, arguments);
  va_end(arguments);
  size_t size = length < 0 ? 0 : static_cast<size_t>(length);
  if (size > sizeof text - 2) size = sizeof text - 2;
  text[size] = '\n';
  // Nobody can be told that standard error is closed.
  if (write(STDERR_FILENO, text, size + 1) < 0) return;
}

// The class of the object at the beginning of a block; NULL for another block.
static const TrackedClass *classIn(const TrackedBlock &block) {
  uint64_t word;
  if (block.isHidden || block.size < sizeof(ztBaseClass) || !readMemory(&word, block.address, sizeof word))
    return nullptr;
  const TrackedClass *klass = trackedClassAt(word);
  const bool fits = klass != nullptr && static_cast<size_t>(klass->instanceSize) <= block.size;
  return fits && !klass->isItem ? klass : nullptr;
}

// What the library makes inside the object that the last line told of is not told.
static bool isTold(const TrackedBlock &block, const TrackedClass &klass) {
  if (klass.isObject || !klass.isLibrarys || &klass == lastMade.klass) return true;
  return block.site == nullptr || lastMade.site == nullptr || !block.site->isWithin(*lastMade.site);
}

static void printMade(const TrackedBlock &block, const TrackedClass &klass) {
  char call[256];
  if (block.site == nullptr || nameCall(call, sizeof call, *block.site, 0) < 0) copyText(call, "unknown");
  printLine("zentova: made #%lu %s, by %s", static_cast<unsigned long>(block.serial), klass.name, call);
}

// The place of the pointer to a block; that of the last pointer for a block that is not young.
static TrackedBlock **youngPlace(const TrackedBlock *block) {
  TrackedBlock **place = &firstYoung;
  while (*place != nullptr && *place != block) place = &(*place)->nextYoung;
  return place;
}

static bool isYoung(const TrackedBlock *block) {
  return *youngPlace(block) != nullptr;
}

static void forgetYoung(TrackedBlock *block) {
  TrackedBlock **place = youngPlace(block);
  if (*place != nullptr) *place = block->nextYoung;
}

// Prints a young block that turned out to be an object.
static void tellYoung(TrackedBlock *block) {
  const TrackedClass *klass = classIn(*block);
  if (klass == nullptr) return;
  forgetYoung(block);
  if (!isTold(*block, *klass)) return;
  block->told = klass;
  lastMade = {klass, block->site};
  printMade(*block, *klass);
}

template <typename Visit>
static void forEachYoung(Visit visit) {
  TrackedBlock *next = nullptr;
  for (TrackedBlock *block = firstYoung; block != nullptr; block = next) {
    next = block->nextYoung;
    visit(block);
  }
}

static void tellOwn() {
  forEachYoung([](TrackedBlock *block) {
    if (block->maker == &lockHolder) tellYoung(block);
  });
}

// Each allocation of a thread makes its young blocks older.
static void growOlder() {
  forEachYoung([](TrackedBlock *block) {
    if (block->maker == &lockHolder && ++block->age > mostAge) forgetYoung(block);
  });
}

static void noteMade(TrackedBlock *block) {
  if (!tracesLives) return;
  tellOwn();
  growOlder();
  if (!block->isHidden) *youngPlace(nullptr) = block;
}

// The thread that ends a block may be another than the one that made it.
static void noteEnded(TrackedBlock *block) {
  if (!tracesLives) return;
  tellOwn();
  if (isYoung(block)) tellYoung(block);
  if (block->told != nullptr)
    printLine("zentova: ended #%lu %s", static_cast<unsigned long>(block->serial), block->told->name);
}

// Writes what a report calls an emitter. One that shares a block with others has the number of the block.
static void nameEmitter(char *text, size_t size, const void *emitter) {
  const char *name = ztOOP_classNameOf(emitter);
  const TrackedBlock *block = blockAt(emitter);
  const TrackedBlock *around = block == nullptr ? blockAround(emitter) : nullptr;
  if (block != nullptr) {
    snprintf(text, size, "#%lu %s", static_cast<unsigned long>(block->serial), name);
  } else if (around != nullptr) {
    snprintf(text, size, "%s in the block #%lu", name, static_cast<unsigned long>(around->serial));
  } else {
    snprintf(text, size, "%s in other memory", name);
  }
}

void ztcore::traceEmission(const void *emitter, const char *signalName, uint32_t slotCount) {
  const Locked locked(blocksLock);
  tellOwn();
  TrackedBlock *block = blockAt(emitter);
  if (block != nullptr && isYoung(block)) tellYoung(block);
  char name[160];
  nameEmitter(name, sizeof name, emitter);
  printLine("zentova: %s emits %s to %u %s", name, signalName, slotCount, slotCount == 1 ? "slot" : "slots");
}

// The environment ---------------------------------------------------------------------------------

static void readWord(const TextPart &word) {
  if (word.is(wholeOf("lives"))) {
    tracesLives = true;
  } else if (word.is(wholeOf("emissions"))) {
    tracesEmissions = true;
  } else if (!word.is(wholeOf("1")) && !word.isEmpty()) {
    printLine("zentova: ZENTOVA_TRACK knows no \"%.*s\", but 1, lives, emissions",
              static_cast<int>(word.length), word.begin);
  }
}

// A program with the rights of another user tells this one nothing about its memory.
static const char *wantedInEnvironment() {
  const char *wanted = getenv("ZENTOVA_TRACK");
  const bool isOff = wanted == nullptr || *wanted == '\0' || strcmp(wanted, "0") == 0;
  return isOff || getauxval(AT_SECURE) != 0 ? nullptr : wanted;
}

void ztcore::readTracking() {
  const char *wanted = wantedInEnvironment();
  if (wanted == nullptr) return;
  forEachWord(wanted, readWord);
  // Where standard error is closed, its number is that of the next file that is opened, which may be the program's.
  printsEnd = fcntl(STDERR_FILENO, F_GETFD) >= 0;
  tracesLives = tracesLives && printsEnd;
  tracesEmissions = tracesEmissions && printsEnd;
  watchesEmissions = watchesEmissions || tracesEmissions;
  trackBlocks({noteMade, noteEnded, forgetYoung});
}

void ztcore::beginTracking() {
  if (tracksBlocks) showBlocks();
}

void ztcore::tellLast() {
  const Locked locked(blocksLock);
  forEachYoung(tellYoung);
}

void ztcore::endTracking() {
  if (!tracksBlocks) return;
  // Other threads may still run, and go on with nothing told.
  const Locked locked(blocksLock);
  tracesLives = false;
  classes.clear();
  while (newestClass != nullptr) {
    TrackedClass *klass = newestClass;
    newestClass = klass->older;
    ztm_free(klass);
  }
  releaseBlocks();
}

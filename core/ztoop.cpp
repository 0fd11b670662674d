#include "core/ztoop.h"

#include "core/ztbasec.h"
#include "core/ztclassindex.hh"
#include "core/ztdescribed.hh"
#include "core/ztkept.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.hh"
#include "core/ztmem.hh"
#include "core/ztmessage.hh"
#include "core/ztoop.hh"
#include "core/zttext.hh"
#include "core/ztversion.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>
#include <unistd.h>

using namespace ztcore;

ZT_PIN_FIELD(ztClassEntry, ctor, 104);
ZT_PIN_FIELD(ztClassEntry, classDestroy, 112);
ZT_PIN_FIELD(ztClassEntry, prototype, 120);
ZT_PIN_FIELD(ztClassEntry, next, 128);

// The registry ------------------------------------------------------------------------------------

// Plain data: the tear-down has two steps, and no destructor may run between them. engineLock guards all of it.
static ztClassEntry *classlist;
static int32_t classcount;
static int32_t inited;
static pid_t startedBy;  // the process that started the engine; a child of `fork` is another one
static NameIndex<&IndexedEntry::byName> nameIndex;
static NameIndex<&IndexedEntry::byClass> classIndex;
static uint32_t listChanges;  // incremented by every change of the list, so that a walk notices it
static int32_t releasing;     // the number of hooks that are running now

// Entries for the library's own classes, which are registered first and seldom freed before the engine stops: one block
// less for each.
static IndexedEntry firstEntries[libraryClassCount];
static int32_t firstEntriesUsed;

static IndexedEntry *allocateEntry() {
  if (firstEntriesUsed < libraryClassCount) return &firstEntries[firstEntriesUsed++];
  return static_cast<IndexedEntry *>(ztm_alloc(sizeof(IndexedEntry)));
}

static bool isFirstEntry(const IndexedEntry *entry) {
  const auto offset = reinterpret_cast<uintptr_t>(entry) - reinterpret_cast<uintptr_t>(firstEntries);
  return offset < sizeof firstEntries;
}

static IndexedEntry *indexed(ztClassEntry *entry) {
  return reinterpret_cast<IndexedEntry *>(entry);
}

static IndexedEntry *findEntry(const CutName &name) {
  return nameIndex.find(name.hash, [&](const ztClassEntry &entry) { return name.isOf(entry); });
}

// A name that is too long for an entry finds none.
static IndexedEntry *findEntry(const char *name) {
  if (name == nullptr) return nullptr;
  const CutName cut(name);
  return cut.isCut() ? nullptr : findEntry(cut);
}

static void attach(IndexedEntry *entry) {
  entry->newer = nullptr;
  entry->entry.next = classlist;
  if (classlist != nullptr) indexed(classlist)->newer = entry;
  classlist = &entry->entry;
  nameIndex.add(entry);
  classIndex.add(entry);
  ++listChanges;
}

static void detach(IndexedEntry *entry) {
  ztClassEntry *older = entry->entry.next;
  (entry->newer == nullptr ? classlist : entry->newer->entry.next) = older;
  if (older != nullptr) indexed(older)->newer = entry->newer;
  nameIndex.remove(entry);
  classIndex.remove(entry);
  ++listChanges;
}

static const char *classNameOf(const ztClassEntry &entry) {
  const char *name = ztOOP_classNameOf(entry.prototype);
  return name == nullptr ? "" : name;
}

bool ztcore::isNameTaken(const char *name) {
  const Locked locked(engineLock);
  return findEntry(CutName(name == nullptr ? "" : name)) != nullptr;
}

bool ztcore::isWithin(const ztClass *klass, const ztClass *ancestor) {
  while (klass != nullptr && klass != ancestor) klass = klass->parent;
  return klass != nullptr;
}

int32_t ztAddNewClass(void *prototype, const char *name, ztCtor ctor, ztClassDestroyHook classDestroy) {
  if (prototype == nullptr || name == nullptr || ctor == nullptr) return 0;
  const Locked locked(engineLock, Locked::hostsCode);
  const CutName cut(name);
  if (findEntry(cut) != nullptr) return 0;
  IndexedEntry *entry = allocateEntry();
  if (entry == nullptr) return 0;
  copyText(entry->entry.name, name);
  if (cut.isCut()) {
    ztLc_log("ztOOP::ztAddNewClass - Warning, class name cut to '%s'\n", entry->entry.name);
  }
  entry->entry.ctor = ctor;
  entry->entry.classDestroy = classDestroy;
  entry->entry.prototype = prototype;
  hidden(prototype);
  entry->byName.hash = cut.hash;
  entry->byClass.hash = hashOf(classNameOf(entry->entry));
  entry->instanceDestroyed = false;
  entry->beingDestroyed = false;
  attach(entry);

  ztClass *klass = ztOOP_classOf(prototype);
  const ztBaseClassMethods *methods = ztBaseClass_of(prototype);
  if (methods->classInstanceCreate != nullptr) methods->classInstanceCreate(klass);
  ++classcount;
  return 1;
}

static bool isNewest(const char *name) {
  return classlist != nullptr && strcmp(classlist->name, name) == 0;
}

void ztcore::ensureRegistered(const char *name, ztCtor ctor) {
  const Locked locked(engineLock, Locked::hostsCode);
  if (ztOOP_isClassRegistered(name)) return;
  // The first object of a class fills the class and registers it. An object that is not created is only a
  // header on the stack, so the class is usable even if the registration fails.
  ztBaseClass header;
  ctor(&header, 0);
  if (isNewest(name) || ztOOP_isClassRegistered(name)) return;
  void *prototype = hidden(ctor(nullptr, 0));
  if (prototype == nullptr) return;
  const auto *functions = static_cast<const ztClassFunctions *>(header.klass->classTable);
  if (!ztAddNewClass(prototype, name, functions->ctor, functions->classDestroy)) ztm_free(prototype);
}

int32_t ztOOP_isClassRegistered(const char *name) {
  const Locked locked(engineLock);
  return findEntry(name) != nullptr;
}

ztClass *ztOOP_findClass(const char *name) {
  if (name == nullptr) return nullptr;
  const Locked locked(engineLock);
  const IndexedEntry *found = classIndex.find(
      hashOf(name), [=](const ztClassEntry &entry) { return strcmp(classNameOf(entry), name) == 0; });
  return found == nullptr ? nullptr : ztOOP_classOf(found->entry.prototype);
}

static ztCtor findCtor(const char *name) {
  const Locked locked(engineLock);
  const IndexedEntry *found = findEntry(name);
  return found == nullptr ? nullptr : found->entry.ctor;
}

void *ztNewFromName(const char *name) {
  const ztCtor ctor = findCtor(name);
  if (ctor != nullptr) return ctor(nullptr, 1);
  ztLc_log("ztOOP::ztNewFromName - Error, class '%s' not installed\n", name == nullptr ? "(null)" : name);
  return nullptr;
}

const ztClassEntry *ztOOP_classList(void) {
  const Locked locked(engineLock);
  return classlist;
}

int32_t ztOOP_classCount(void) {
  const Locked locked(engineLock);
  return classcount;
}

// Releasing classes -------------------------------------------------------------------------------
//
// Hooks of a host may look up, register and free classes, or free a class that is being released already. So
// no pointer into the list is kept across a hook.

static void callInstanceDestroy(IndexedEntry *entry) {
  if (entry->instanceDestroyed) return;
  entry->instanceDestroyed = true;
  const ztBaseClassMethods *methods = ztBaseClass_of(entry->entry.prototype);
  if (methods->classInstanceDestroy == nullptr) return;
  ++releasing;
  methods->classInstanceDestroy(ztOOP_classOf(entry->entry.prototype));
  --releasing;
}

static void callClassDestroy(const IndexedEntry *entry) {
  if (entry->entry.classDestroy == nullptr) return;
  ++releasing;
  entry->entry.classDestroy(entry->entry.prototype);
  --releasing;
}

// Does not call `destroy`, because the `create` of a prototype never ran.
static void freeEntry(IndexedEntry *entry) {
  ztm_free(entry->entry.prototype);
  if (!isFirstEntry(entry)) ztm_free(entry);
}

static void freeClass(IndexedEntry *entry) {
  if (entry == nullptr || entry->beingDestroyed) return;
  entry->beingDestroyed = true;
  callInstanceDestroy(entry);
  callClassDestroy(entry);
  detach(entry);
  freeEntry(entry);
}

void ztFreeClass(const char *name) {
  const Locked locked(engineLock, Locked::hostsCode);
  freeClass(findEntry(name));
}

static void destroyAllInstances() {
  ztClassEntry *entry = classlist;
  while (entry != nullptr) {
    const uint32_t before = listChanges;
    callInstanceDestroy(indexed(entry));
    entry = listChanges == before ? entry->next : classlist;
  }
}

static void freeAllClasses() {
  destroyAllInstances();
  while (classlist != nullptr) {
    IndexedEntry *entry = indexed(classlist);
    detach(entry);
    callInstanceDestroy(entry);  // for an entry that a hook registered meanwhile
    callClassDestroy(entry);
    freeEntry(entry);
  }
  firstEntriesUsed = 0;
}

// Code that is unloaded ---------------------------------------------------------------------------

// The program's own code is never unloaded. Its destructors run before the clean-up, which needs its classes.
static bool isOfProgram(const void *data) {
  Dl_info where;
  Dl_info program;
  return dladdr(data, &where) != 0 &&
         dladdr(reinterpret_cast<const void *>(getauxval(AT_ENTRY)), &program) != 0 &&
         where.dli_fbase == program.dli_fbase;
}

// The newest entry of a class or of a descendant.
static IndexedEntry *findEntryOf(const ztClass *klass) {
  for (ztClassEntry *entry = classlist; entry != nullptr; entry = entry->next) {
    if (!indexed(entry)->beingDestroyed && isWithin(ztOOP_classOf(entry->prototype), klass)) {
      return indexed(entry);
    }
  }
  return nullptr;
}

bool ztcore::isInUse(const ztClass *klass) {
  return (descriptionOf(klass) != nullptr || findEntryOf(klass) != nullptr) && klass->initialised;
}

void ztOOP_leaveRegistry(const ztClassDescription *description) {
  if (isOfProgram(description)) return;
  const Locked locked(engineLock, Locked::hostsCode);
  // Destructors that run later in the same library may still make objects of the class.
  __atomic_store_n(&description->state->registrationTried, 1, __ATOMIC_RELEASE);
  while (IndexedEntry *entry = findEntryOf(description->klass)) freeClass(entry);
  forgetClass(description->klass);
  forgetDescription(description);
}

// Start and clean-up ------------------------------------------------------------------------------

int32_t ztOOP_Init(const char *baseName) {
  static bool exitHandlerInstalled;
  const Locked locked(engineLock);
  if (inited) return 1;
  if (!exitHandlerInstalled) exitHandlerInstalled = atexit(ztOOP_CleanUp) == 0;
  inited = 1;
  startedBy = getpid();
  if (baseName != nullptr) openEnginesLog(makeMessage("%s.log", baseName));
  ztLc_log("# Zentova OOP Engine started - Version %s\n", ZT_VERSION);
  ztLc_log("# An object engine for procedural programs\n");
  ztLc_log("# Running Release Version\n\n");
  return 1;
}

void ztOOP_CleanUp(void) {
  const Locked locked(engineLock, Locked::hostsCode);
  // Do nothing when a hook calls this: at least the release of its own class is under way.
  if (!inited || releasing) return;
  const bool isTold = startedBy == getpid();
  if (isTold) ztLc_log("Cleaning up the system...\n");
  freeAllClasses();
  releaseKept();
  if (isTold) ztLc_log("Cleaning done\n");
  ztLc_closeLogFile();
  inited = 0;
}

void ztcore::releaseAfterStop() {
  const Locked locked(engineLock, Locked::hostsCode);
  if (inited || releasing) return;
  freeAllClasses();
  releaseKept();
  ztLc_closeLogFile();
}

// Diagnostics -------------------------------------------------------------------------------------

static const char *printable(const char *text) {
  return text == nullptr ? "(null)" : text;
}

void zt_assert(int32_t condition, const char *message) {
  if (!condition) ztLc_log("zt_assert: %s\n", printable(message));
}

int32_t ztOOP_HandleNullFuncPtr(const void *object, const char *memberName) {
  ztLc_log("ztOOP -> Error: Trying to call an uninitialized (NULL) function member: [%s] for class: [%s]\n",
           printable(memberName), printable(ztOOP_classNameOf(object)));
  ztLc_log("ztOOP -> Hint: Probably a missed ZT_OVERRIDE_METHOD in the classInit function\n");
  return 0;
}

void *ztOOP_ztVirtualFuncHandler(const void *object) {
  const char *name = nullptr;
  if (object != nullptr) {
    // Methods that take a class descriptor also come here. A descriptor begins with its parent, which is read
    // as its class. A descriptor without a parent stands for itself.
    const ztClass *klass = ztOOP_classOf(object);
    if (klass == nullptr) klass = static_cast<const ztClass *>(object);
    name = klass->name;
  }
  const char *text = makeMessage("ztOOP -> Error: Trying to call a virtual function member for class: %s\n",
                                 printable(name));
  return const_cast<char *>(text);
}

#include "core/ztclass.h"

#include "core/ztbasec.h"
#include "core/ztcalls.hh"
#include "core/ztdescribed.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.hh"
#include "core/ztoop.hh"
#include "core/ztshared.hh"
#include "core/zttrack.hh"

#include <string.h>

using namespace ztcore;

ZT_PIN_FIELD(ztClass, version, 8);
ZT_PIN_FIELD(ztClass, instanceSize, 12);
ZT_PIN_FIELD(ztClass, name, 16);
ZT_PIN_FIELD(ztClass, initialised, 24);
ZT_PIN_FIELD(ztClass, spare, 28);
ZT_PIN_FIELD(ztClass, classTable, 32);
ZT_PIN_FIELD(ztClass, methodTable, 40);
static_assert(sizeof(ztClass) == 48);

// The protocol -----------------------------------------------------------------------------------

static const ztBaseClassMethods *methodsOf(const ztClass *klass) {
  return static_cast<const ztBaseClassMethods *>(klass->methodTable);
}

static ztClassFunctions *functionsOf(const ztClass *klass) {
  return static_cast<ztClassFunctions *>(klass->classTable);
}

// Registers a class whose name is free. False when the registration must be tried again.
static bool registerClass(const ztClassDescription *description) {
  if (isNameTaken(*description->name)) return true;
  const ztClassFunctions *functions = functionsOf(description->klass);
  void *prototype = hidden(functions->ctor(nullptr, 0));
  if (prototype == nullptr) return false;
  const char *name = ztOOP_classOf(prototype)->name;
  if (ztAddNewClass(prototype, name, functions->ctor, functions->classDestroy)) return true;
  ztm_free(prototype);
  // Refused: memory is exhausted, or a hook registered the class meanwhile.
  return isNameTaken(name);
}

// Out of line, because it runs only for the first objects of a class. The store at the end publishes the class
// when it is complete; until then other threads also come here and wait.
__attribute__((noinline)) static void prepareClass(const ztClassDescription *description, void *object) {
  const Locked locked(engineLock, Locked::hostsCode);
  ztClassState *state = description->state;
  // The hooks of the class and its prototype may make objects of the class that is being prepared.
  if (state->filling || state->registrationTried) return;
  if (!description->klass->initialised) description->functions.InitTable(object);
  // A hook may have made an object of the class meanwhile.
  if (state->registrationTried) return;
  state->filling = 1;
  const bool tried = registerClass(description);
  state->filling = 0;
  if (tried) __atomic_store_n(&state->registrationTried, 1, __ATOMIC_RELEASE);
}

[[gnu::always_inline]] static inline void *construct(const ztClassDescription *description, void *object,
                                                     int32_t create, bool ownsBlock) {
  objectMade(object);
  auto *header = static_cast<ztBaseClass *>(object);
  header->klass = description->klass;
  header->refCount = 1;
  if (ownsBlock) ownBlock(object);
  // Set only after the class is initialised, so this one test covers both.
  if (!__atomic_load_n(&description->state->registrationTried, __ATOMIC_ACQUIRE)) [[unlikely]] {
    prepareClass(description, object);
  }
  if (create) methodsOf(header->klass)->create(object);
  return object;
}

[[gnu::noinline]] static void *constructIn(const ztClassDescription *description, void *memory,
                                           int32_t create) {
  // Without `create`, only the class and the count are written.
  return construct(description, memory, create, create && mayBePart(description->klass));
}

// Short for the most common case, an object of its own block.
void *ztOOP_construct(const ztClassDescription *description, void *object, int32_t create) {
  if (object != nullptr) return constructIn(description, object, create);
  void *made = ztm_alloc(description->instanceSize);
  return made == nullptr ? nullptr : construct(description, made, create, true);
}

static void fillDescriptor(const ztClassDescription *description) {
  ztClass *klass = description->klass;
  ztClassFunctions *functions = functionsOf(klass);
  void *allocator = functions->allocator;  // set by a host before the class was first used
  klass->spare = 0;
  klass->name = *description->name;
  klass->version = *description->version;
  klass->instanceSize = description->instanceSize;
  *functions = description->functions;
  functions->allocator = allocator;
  description->fillFunctions(functions);
  keepDescription(description);
}

[[gnu::noinline]] void ztOOP_initTable(const ztClassDescription *description, void *object) {
  if (object == nullptr) return;
  const Locked locked(engineLock, Locked::hostsCode);
  ztClass *klass = description->klass;
  ztClass *derived = ztOOP_classOf(object);
  const bool isRoot = klass == ztBaseClassClass_Instance();
  if (!isRoot) description->parentInitTable(object);
  if (derived->initialised) return;

  description->fillMethods(derived->methodTable);
  if (klass->initialised || description->state->filling) return;
  description->state->filling = 1;
  if (klass != derived) {
    memcpy(klass->methodTable, derived->methodTable,
           static_cast<size_t>(description->slotCount) * sizeof(void *));
  }
  fillDescriptor(description);
  const ztClassFunctions *functions = functionsOf(klass);
  if (functions->classInit != nullptr) functions->classInit(klass);
  klass->parent = isRoot ? nullptr : description->parent();
  if (derived->name != nullptr && strcmp(derived->name, klass->name) != 0) {
    methodsOf(derived)->classInstanceCreate(derived);
  }
  klass->initialised = 1;
  description->state->filling = 0;
  if (tracksBlocks) trackClass(klass);
}

int32_t ztOOP_registerClassOf(ztCtor ctor) {
  if (ctor == nullptr) {
    ztLc_log("ztOOP_registerClass - Error, the class is NULL\n");
    return 0;
  }
  // Without `create`, an object is only a header.
  ztBaseClass header;
  ctor(&header, 0);
  const ztClass *klass = header.klass;
  ensureRegistered(klass->name, ctor);
  if (ztOOP_findClass(klass->name) == klass) return 1;
  if (ztOOP_isClassRegistered(klass->name)) {
    ztLc_log("ztOOP_registerClass - Error, the name '%s' belongs to another class\n", klass->name);
  }
  return 0;
}

int32_t ztOOP_registerClass(const ztClassDescription *description) {
  return ztOOP_registerClassOf(description == nullptr ? nullptr : description->functions.ctor);
}

[[gnu::noinline]] uint32_t ztOOP_versionOf(const void *object) {
  return object == nullptr ? 0 : ztOOP_classOf(object)->version;
}

[[gnu::noinline]] const char *ztOOP_classNameOf(const void *object) {
  return object == nullptr ? nullptr : ztOOP_classOf(object)->name;
}

[[gnu::noinline]] void *ztOOP_allocatorOf(const void *object) {
  return object == nullptr ? nullptr : functionsOf(ztOOP_classOf(object))->allocator;
}

[[gnu::noinline]] int32_t ztOOP_isClass(const void *object, const char *name) {
  if (object == nullptr || name == nullptr) return 0;
  const char *own = ztOOP_classOf(object)->name;
  return own != nullptr && strcmp(own, name) == 0;
}

[[gnu::noinline]] int32_t ztOOP_isClassOf(const void *object, const char *name) {
  return object == nullptr ? 0 : ztOOP_isClassOfClass(ztOOP_classOf(object), name);
}

[[gnu::noinline]] int32_t ztOOP_isClassOfClass(const ztClass *klass, const char *name) {
  if (name == nullptr) return 0;
  for (; klass != nullptr; klass = klass->parent) {
    if (klass->name != nullptr && strcmp(klass->name, name) == 0) return 1;
  }
  return 0;
}

// Checked calls -----------------------------------------------------------------------------------

static const char *nameOf(const ztClass *klass) {
  return klass == nullptr || klass->name == nullptr ? "(null)" : klass->name;
}

void *ztOOP_cast(const void *object, const ztClass *klass) {
  if (object == nullptr) {
    ztLc_log("ztOOP_cast - Error, the object is NULL, not a '%s'\n", nameOf(klass));
    return nullptr;
  }
  if (isWithin(ztOOP_classOf(object), klass)) return const_cast<void *>(object);
  ztLc_log("ztOOP_cast - Error, the object is a '%s', not a '%s'\n", nameOf(ztOOP_classOf(object)),
           nameOf(klass));
  return nullptr;
}

namespace {

// A result of this type takes the registers of words and of doubles.
struct Nothing {
  int64_t word;
  double number;
};

using Refusal = Nothing (*)();

}  // namespace

static Nothing refuse() {
  return {0, 0};
}

// Filled on the first use, so that loading the library does not relocate it, and never written again: other threads
// read it without the lock.
static Refusal refusals[ZT_CHECKED_SLOTS];

static const void *refusingTable() {
  const Locked locked(engineLock);
  if (refusals[0] == nullptr) {
    for (Refusal &refusal : refusals) refusal = refuse;
  }
  return refusals;
}

const void *ztOOP_checkedTable(const void *object, const ztClass *klass) {
  if (object != nullptr && isWithin(ztOOP_classOf(object), klass)) return ztOOP_classOf(object)->methodTable;
  ztLc_log("ztOOP_checkedTable - Error, a method of '%s' was called for a '%s'\n", nameOf(klass),
           object == nullptr ? "(null)" : nameOf(ztOOP_classOf(object)));
  return refusingTable();
}

void ztOOP_setAbstract(void *slot) {
  // One handler serves operations of every signature, since every slot has the size of a pointer.
  void *(*handler)(const void *) = ztOOP_ztVirtualFuncHandler;
  memcpy(slot, &handler, sizeof handler);
}

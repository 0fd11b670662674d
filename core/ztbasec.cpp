#include "core/ztbasec.h"

#include "core/ztbasec.hh"
#include "core/ztcalls.hh"
#include "core/ztcheck.hh"
#include "core/ztcore.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "core/ztoop.hh"
#include "core/zttext.hh"
#include "io/ztfile.h"
#include "objects/ztobjbase.hh"

#include <string.h>

ZT_PIN_FIELD(ztClass, version, 8);
ZT_PIN_FIELD(ztClass, instanceSize, 12);
ZT_PIN_FIELD(ztClass, name, 16);
ZT_PIN_FIELD(ztClass, initialised, 24);
ZT_PIN_FIELD(ztClass, spare, 28);
ZT_PIN_FIELD(ztClass, classTable, 32);
ZT_PIN_FIELD(ztClass, methodTable, 40);
static_assert(sizeof(ztClass) == 48);

ZT_PIN_CLASS(ztBaseClass, 16, 16);
ZT_PIN_FIELD(ztBaseClass, refCount, 8);
ZT_PIN_SLOT(ztBaseClass, create, 4);
ZT_PIN_SLOT(ztBaseClass, destroy, 10);
ZT_PIN_SLOT(ztBaseClass, getRefCount, 15);
ZT_PIN_FUNCTION(ztBaseClass, allocator, 3);
ZT_PIN_FUNCTION(ztBaseClass, classInit, 8);
ZT_PIN_FUNCTION(ztBaseClass, classRead, 10);
static_assert(sizeof(ztBaseClassFunctions) == 12 * sizeof(void *));

// The protocol -----------------------------------------------------------------------------------

static const ztBaseClassMethods *methodsOf(const ztClass *klass) {
  return static_cast<const ztBaseClassMethods *>(klass->methodTable);
}

static ztClassFunctions *functionsOf(const ztClass *klass) {
  return static_cast<ztClassFunctions *>(klass->classTable);
}

// Registers a class whose name is free. Returns false when that is to be tried again.
static bool registerClass(const ztClassDescription *description) {
  if (ztOOP_isNameTaken(*description->name)) return true;
  const ztClassFunctions *functions = functionsOf(description->klass);
  void *prototype = functions->ctor(nullptr, 0);
  if (prototype == nullptr) return false;
  const char *name = ztOOP_classOf(prototype)->name;
  if (ztAddNewClass(prototype, name, functions->ctor, functions->classDestroy)) return true;
  ztm_free(prototype);
  // Refused for want of memory, or because a hook registered the class meanwhile.
  return ztOOP_isNameTaken(name);
}

// Out of line, since it runs for a handful of a class's objects only. Only what is complete is published, by
// the store at the end: until then other threads come here, too, and wait.
__attribute__((noinline)) static void prepareClass(const ztClassDescription *description, void *object) {
  const ztLocked locked(ztEngineLock, ztLocked::hostsCode);
  ztClassState *state = description->state;
  // The hooks of the class, and its prototype, may make objects of the very class that is being prepared.
  if (state->filling || state->registrationTried) return;
  if (!description->klass->initialised) description->functions.InitTable(object);
  // A hook may have made an object of the class meanwhile.
  if (state->registrationTried) return;
  state->filling = 1;
  const bool tried = registerClass(description);
  state->filling = 0;
  if (tried) __atomic_store_n(&state->registrationTried, 1, __ATOMIC_RELEASE);
}

void *ztOOP_construct(const ztClassDescription *description, void *object, int32_t create) {
  if (object == nullptr) {
    object = ztm_alloc(description->instanceSize);
    if (object == nullptr) return nullptr;
  }
  ztObjectMade(object);
  auto *header = static_cast<ztBaseClass *>(object);
  ztClass *klass = description->klass;
  header->klass = klass;
  header->refCount = 1;
  // Tried only once the class is initialised, so this one test covers both.
  if (!__atomic_load_n(&description->state->registrationTried, __ATOMIC_ACQUIRE)) {
    prepareClass(description, object);
  }
  if (create) methodsOf(klass)->create(object);
  return object;
}

static void fillDescriptor(const ztClassDescription *description) {
  ztClass *klass = description->klass;
  ztClassFunctions *functions = functionsOf(klass);
  void *allocator = functions->allocator;  // a host's own, set before the class was first used
  klass->spare = 0;
  klass->name = *description->name;
  klass->version = *description->version;
  klass->instanceSize = description->instanceSize;
  *functions = description->functions;
  functions->allocator = allocator;
  description->fillFunctions(functions);
}

void ztOOP_initTable(const ztClassDescription *description, void *object) {
  if (object == nullptr) return;
  const ztLocked locked(ztEngineLock, ztLocked::hostsCode);
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
}

uint32_t ztOOP_versionOf(const void *object) {
  return object == nullptr ? 0 : ztOOP_classOf(object)->version;
}

const char *ztOOP_classNameOf(const void *object) {
  return object == nullptr ? nullptr : ztOOP_classOf(object)->name;
}

void *ztOOP_allocatorOf(const void *object) {
  return object == nullptr ? nullptr : functionsOf(ztOOP_classOf(object))->allocator;
}

int32_t ztOOP_isClass(const void *object, const char *name) {
  if (object == nullptr || name == nullptr) return 0;
  const char *own = ztOOP_classOf(object)->name;
  return own != nullptr && strcmp(own, name) == 0;
}

int32_t ztOOP_isClassOf(const void *object, const char *name) {
  return object == nullptr ? 0 : ztOOP_isClassOfClass(ztOOP_classOf(object), name);
}

int32_t ztOOP_isClassOfClass(const ztClass *klass, const char *name) {
  if (name == nullptr) return 0;
  for (; klass != nullptr; klass = klass->parent) {
    if (klass->name != nullptr && strcmp(klass->name, name) == 0) return 1;
  }
  return 0;
}

void ztOOP_setAbstract(void *slot) {
  // One handler stands in for operations of every signature; a slot holds any of them alike.
  void *(*handler)(const void *) = ztOOP_ztVirtualFuncHandler;
  memcpy(slot, &handler, sizeof handler);
}

// New objects and copies -------------------------------------------------------------------------

void *ztMakeObject(ztCtor constructor) {
  void *object = constructor(nullptr, 0);
  if (object == nullptr || ztBaseClass_of(object)->create(object)) return object;
  ztBaseClass_of(object)->unRef(object);
  return nullptr;
}

void *ztCloneOnto(const void *source, void *target) {
  // A `clone` that looks at its target before it fills it finds no garbage there.
  auto *bytes = static_cast<char *>(target);
  const size_t size = static_cast<size_t>(ztOOP_classOf(target)->instanceSize);
  memset(bytes + sizeof(ztBaseClass), 0, size - sizeof(ztBaseClass));
  void *copy = ztBaseClass_of(source)->clone(source, target);
  if (copy != nullptr) static_cast<ztBaseClass *>(copy)->refCount = 1;
  return copy;
}

void *ztCopyObject(const void *source) {
  if (source == nullptr) return nullptr;
  void *fresh = functionsOf(ztOOP_classOf(source))->newop();
  if (fresh == nullptr) return nullptr;
  void *copy = ztCloneOnto(source, fresh);
  if (copy == nullptr) ztm_free(fresh);
  return copy;
}

bool ztIsWithin(const ztClass *klass, const ztClass *ancestor) {
  while (klass != nullptr && klass != ancestor) klass = klass->parent;
  return klass != nullptr;
}

// Whether the `assign` of a class is none of the library's.
static bool hasHostsAssign(const ztClass *klass) {
  const ztClass *ofLibrary = klass;
  while (ofLibrary != nullptr && !ztcoreIsLibraryClass(ofLibrary)) ofLibrary = ofLibrary->parent;
  return ofLibrary == nullptr || methodsOf(klass)->assign != methodsOf(ofLibrary)->assign;
}

int32_t ztAssignCommon(void *target, const void *source) {
  const ztClass *klass = ztOOP_classOf(target);
  const ztClass *common = klass;
  while (common != nullptr && !ztIsWithin(ztOOP_classOf(source), common)) common = common->parent;
  if (common != klass && hasHostsAssign(klass)) common = klass;
  return common == nullptr ? 0 : methodsOf(common)->assign(target, source);
}

// ztBaseClass ------------------------------------------------------------------------------------

static void baseClassInstanceCreate(ztClass *) {}

static void baseClassInstanceDestroy(ztClass *) {}

static int32_t baseCreate(void *object) {
  return object != nullptr;
}

static void *baseClone(const void *object, void *target) {
  if (object == nullptr || target == nullptr) return nullptr;
  return memmove(target, object, static_cast<size_t>(ztOOP_classOf(object)->instanceSize));
}

static int32_t baseAssign(void *object, const void *) {
  return object != nullptr;
}

static void baseDestroy(void *) {}

static int32_t baseRead(void *object, void *) {
  return object != nullptr;
}

static int32_t baseWrite(const void *object, void *) {
  return object != nullptr;
}

// A count that has come this far stays, and the object with it: beyond it, or back from it, nobody knows how
// many references there are.
constexpr int32_t mostReferences = INT32_MAX;

static void baseRef(ztBaseClass &self) {
  auto *header = &self;
  if (header->refCount != mostReferences) ++header->refCount;
}

ZT_OWN_FRAME static void endObject(void *object) {
  // What an object's `destroy` sets off may release the object once more.
  if (ztIsUnderWay(object, ztCallKind::release)) return;
  ztEndMark mark;
  const bool recorded = ztBeginEnd(&mark, ztCallKind::release, object);
  ztBaseClass_of(object)->destroy(object);
  if (!recorded || ztEndCall(mark.mark)) ztm_free(object);
}

__attribute__((cold, noinline)) static void checkRelease(void *object) {
  ztCheckThread(ztEmitterOf(object), "a release");
}

static void baseUnRef(ztBaseClass &self) {
  if (ztChecksThreads) checkRelease(&self);
  auto *header = &self;
  if (header->refCount == mostReferences) return;
  // Unsigned, since an &self may be released any number of times while it ends.
  header->refCount = static_cast<int32_t>(static_cast<uint32_t>(header->refCount) - 1);
  // 1, not 0: a new &self that was referenced once more ends at its first release.
  if (header->refCount > 1) return;
  if (ztBaseClass_of(&self)->destroy == baseDestroy) {
    ztm_free(&self);
  } else {
    endObject(&self);
  }
}

static int32_t baseGetRefCount(const ztBaseClass &self) {
  return self.refCount;
}

// A class identity in a file: the name in a field of fixed size, zero behind its text, and the version.
constexpr int32_t nameFieldSize = sizeof ztIdentity::name;

static int32_t baseClassWrite(const void *, const void *object, void *file) {
  if (object == nullptr || file == nullptr) return 0;
  const ztClass *klass = ztOOP_classOf(object);
  char field[nameFieldSize];
  ztCopyText(field, klass->name);
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->writeBuf(file, nameFieldSize, field) <= 0) return 0;
  return methods->writeInt(file, static_cast<int32_t>(klass->version)) > 0;
}

// Files that went through an editor end their lines; a name of one character is left alone.
static void cutLineEnd(char *name) {
  size_t length = strlen(name);
  if (length < 2) return;
  if (name[length - 1] == '\n') {
    name[--length] = '\0';
    if (name[length - 1] == '\r') name[length - 1] = '\0';
  } else if (name[length - 1] == '\r') {
    name[length - 1] = '\0';
  }
}

bool ztReadIdentity(void *file, ztIdentity *identity) {
  *identity = {};
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->readBuf(file, nameFieldSize, identity->name) != nameFieldSize) return false;
  identity->name[nameFieldSize - 1] = '\0';
  cutLineEnd(identity->name);
  return methods->readInt(file, &identity->version) > 0;
}

void *ztMakeIdentified(const ztIdentity &identity) {
  void *object = ztNewFromName(identity.name);
  if (object == nullptr) return nullptr;
  if (static_cast<uint32_t>(identity.version) == ztOOP_versionOf(object)) return object;
  ztBaseClass_of(object)->unRef(object);
  return nullptr;
}

static void *baseClassRead(const void *, void *file) {
  ztIdentity identity;
  return file != nullptr && ztReadIdentity(file, &identity) ? ztMakeIdentified(identity) : nullptr;
}

// Written only where they differ: other threads may be calling them.
static void baseFunctions(ztBaseClassFunctions *functions) {
  if (functions->classRead != baseClassRead) functions->classRead = baseClassRead;
  if (functions->classWrite != baseClassWrite) functions->classWrite = baseClassWrite;
}

static void baseMethods(ztBaseClassMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, baseClassInstanceCreate);
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, baseClassInstanceDestroy);
  ZT_OVERRIDE_METHOD(methods, create, baseCreate);
  ZT_OVERRIDE_METHOD(methods, clone, baseClone);
  ZT_OVERRIDE_METHOD(methods, assign, baseAssign);
  ZT_ABSTRACT_METHOD(methods, isEqual);
  ZT_ABSTRACT_METHOD(methods, isLess);
  ZT_ABSTRACT_METHOD(methods, isMajor);
  ZT_OVERRIDE_METHOD(methods, destroy, baseDestroy);
  ZT_OVERRIDE_METHOD(methods, read, baseRead);
  ZT_OVERRIDE_METHOD(methods, write, baseWrite);
  ZT_OVERRIDE_METHOD(methods, ref, ztMethod<baseRef>);
  ZT_OVERRIDE_METHOD(methods, unRef, ztMethod<baseUnRef>);
  ZT_OVERRIDE_METHOD(methods, getRefCount, ztMethod<baseGetRefCount>);
  // Also here, not only when the descriptor is filled: a host may reach for them through the class
  // table as soon as any class was used.
  baseFunctions(static_cast<ztBaseClassFunctions *>(ztBaseClassClass_Instance()->classTable));
}

ZT_DEFINE_CLASS_FULL(ztBaseClass, ztBaseClass, baseMethods, 1, ztBaseClassFunctions, baseFunctions)

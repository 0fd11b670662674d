#include "core/ztbasec.h"

#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/zttext.hh"
#include "io/ztfile.h"

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

static void registerClass(const ztClassDescription *description) {
  ztClassState *state = description->state;
  // Set ahead of the prototype, whose own construction comes through here again.
  state->registrationTried = 1;
  if (ztOOP_isClassRegistered(*description->name)) return;
  const ztClassFunctions *functions = functionsOf(description->klass);
  void *prototype = functions->ctor(nullptr, 0);
  if (prototype == nullptr) {
    state->registrationTried = 0;  // the next object tries again
    return;
  }
  const char *name = ztOOP_classOf(prototype)->name;
  if (ztAddNewClass(prototype, name, functions->ctor, functions->classDestroy)) return;
  ztm_free(prototype);
  // Refused for want of memory, or because a hook registered the class meanwhile.
  state->registrationTried = ztOOP_isClassRegistered(name);
}

// Out of line, since it runs for a handful of a class's objects only.
__attribute__((noinline)) static void prepareClass(const ztClassDescription *description, void *object) {
  // A classInit hook may make objects of the very class that is being filled.
  if (description->state->filling) return;
  if (!description->klass->initialised) description->functions.InitTable(object);
  if (!description->state->registrationTried) registerClass(description);
}

void *ztOOP_construct(const ztClassDescription *description, void *object, int32_t create) {
  if (object == nullptr) {
    object = ztm_alloc(description->instanceSize);
    if (object == nullptr) return nullptr;
  }
  auto *header = static_cast<ztBaseClass *>(object);
  ztClass *klass = description->klass;
  header->klass = klass;
  header->refCount = 1;
  // Tried only once the class is initialised, so this one test covers both.
  if (!description->state->registrationTried) prepareClass(description, object);
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

static bool isWithin(const ztClass *klass, const ztClass *ancestor) {
  while (klass != nullptr && klass != ancestor) klass = klass->parent;
  return klass != nullptr;
}

int32_t ztAssignCommon(void *target, const void *source) {
  const ztClass *klass = ztOOP_classOf(target);
  while (klass != nullptr && !isWithin(ztOOP_classOf(source), klass)) klass = klass->parent;
  return klass == nullptr ? 0 : methodsOf(klass)->assign(target, source);
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

static int32_t baseAssign(void *object, const void *other) {
  return object != nullptr && other != nullptr;
}

static void baseDestroy(void *) {}

static int32_t baseRead(void *object, void *) {
  return object != nullptr;
}

static int32_t baseWrite(const void *object, void *) {
  return object != nullptr;
}

static void baseRef(void *object) {
  if (object != nullptr) ++static_cast<ztBaseClass *>(object)->refCount;
}

namespace {

// An object whose release is under way, innermost first.
struct Release {
  const void *object;
  const Release *outer;
};

}  // namespace

static const Release *releases;

// What an object's `destroy` sets off may release the object once more.
static bool isBeingReleased(const void *object) {
  for (const Release *release = releases; release != nullptr; release = release->outer) {
    if (release->object == object) return true;
  }
  return false;
}

static void baseUnRef(void *object) {
  if (object == nullptr) return;
  // 1, not 0: a new object that was referenced once more ends at its first release.
  if (--static_cast<ztBaseClass *>(object)->refCount > 1 || isBeingReleased(object)) return;
  const Release release = {object, releases};
  releases = &release;
  ztBaseClass_of(object)->destroy(object);
  releases = release.outer;
  ztm_free(object);
}

static int32_t baseGetRefCount(const void *object) {
  return object == nullptr ? 0 : static_cast<const ztBaseClass *>(object)->refCount;
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

static void baseFunctions(ztBaseClassFunctions *functions) {
  functions->classRead = baseClassRead;
  functions->classWrite = baseClassWrite;
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
  ZT_OVERRIDE_METHOD(methods, ref, baseRef);
  ZT_OVERRIDE_METHOD(methods, unRef, baseUnRef);
  ZT_OVERRIDE_METHOD(methods, getRefCount, baseGetRefCount);
  // Also here, not only when the descriptor is filled: a host may reach for them through the class
  // table as soon as any class was used.
  baseFunctions(static_cast<ztBaseClassFunctions *>(ztBaseClassClass_Instance()->classTable));
}

ZT_DEFINE_CLASS_FULL(ztBaseClass, ztBaseClass, baseMethods, 1, ztBaseClassFunctions, baseFunctions)

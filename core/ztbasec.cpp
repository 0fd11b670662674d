#include "core/ztbasec.h"

#include "core/ztbasec.hh"
#include "core/ztcalls.hh"
#include "core/ztcheck.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "core/ztshared.hh"
#include "core/zttext.hh"
#include "io/ztfile.h"

#include <string.h>

using namespace ztcore;

ZT_PIN_CLASS(ztBaseClass, 16, 16);
ZT_PIN_FIELD(ztBaseClass, refCount, 8);
ZT_PIN_FUNCTION(ztBaseClass, allocator, 3);
ZT_PIN_FUNCTION(ztBaseClass, classInit, 8);
ZT_PIN_FUNCTION(ztBaseClass, classRead, 10);
static_assert(sizeof(ztBaseClassFunctions) == 12 * sizeof(void *));

static void baseClassInstanceCreate(ztClass *) {}

static void baseClassInstanceDestroy(ztClass *) {}

int32_t ztcore::baseCreate(ztBaseClass &) {
  return 1;
}

void *ztcore::baseClone(const ztBaseClass &object, void *target) {
  if (target == nullptr) return nullptr;
  memmove(target, &object, static_cast<size_t>(object.klass->instanceSize));
  // A host's `clone` may call this one only.
  if (mayBePart(object.klass)) ownBlock(target);
  return target;
}

static int32_t baseAssign(ztBaseClass &, const void *) {
  return 1;
}

void ztcore::baseDestroy(void *) {}

static int32_t baseRead(ztBaseClass &, void *) {
  return 1;
}

static int32_t baseWrite(const ztBaseClass &, void *) {
  return 1;
}

// A count that reaches this value stays, and the object is never released: the true number is unknown.
constexpr int32_t mostReferences = INT32_MAX;

static void baseRef(ztBaseClass &object) {
  if (object.refCount != mostReferences) ++object.refCount;
}

ZT_OWN_FRAME static void endObject(void *object) {
  ReleaseMark mark;
  const bool recorded = beginRelease(&mark, CallKind::release, object);
  ztBaseClass_of(object)->destroy(object);
  if (!recorded || endCall(mark.mark)) freeObject(object);
}

// Functions that `destroy` calls may release the object again: then the release under way ends it.
[[gnu::noinline]] static void endUnlessUnderWay(void *object) {
  if (!isUnderWay(object, CallKind::release)) endObject(object);
}

namespace {

struct KnownEnd {
  void (*destroy)(void *object);  // NULL until the first object
  bool (*end)(void *object);
};

}  // namespace

static KnownEnd knownEnds[4];

void ztcore::endPlainly(PlainEnd kind, void (*destroy)(void *object), bool (*end)(void *object)) {
  KnownEnd &known = knownEnds[static_cast<int>(kind)];
  // Other threads may be releasing objects of other classes.
  __atomic_store_n(&known.end, end, __ATOMIC_RELAXED);
  __atomic_store_n(&known.destroy, destroy, __ATOMIC_RELEASE);
}

// Out of line, so that the release of objects that own nothing stays short.
[[gnu::noinline]] static void releaseLast(void *object, void (*destroy)(void *object)) {
  if (hasCalls() && mayBeUnderWay(object)) return endUnlessUnderWay(object);
  for (const KnownEnd &known : knownEnds) {
    if (destroy != __atomic_load_n(&known.destroy, __ATOMIC_ACQUIRE)) continue;
    if (__atomic_load_n(&known.end, __ATOMIC_RELAXED)(object)) return;
    break;
  }
  endObject(object);
}

static void unRefUnchecked(ztBaseClass &object) {
  // Unsigned, because an object may be released any number of times while it is destroyed.
  const auto left = static_cast<int32_t>(static_cast<uint32_t>(object.refCount) - 1);
  // 1, not 0: one release destroys a new object, also one that was referenced once more.
  if (left > 1) {
    if (left != mostReferences - 1) object.refCount = left;
    return;
  }
  object.refCount = left;
  const auto destroy = ztBaseClass_of(&object)->destroy;
  if (destroy == baseDestroy) return freeSimple(&object);
  releaseLast(&object, destroy);
}

[[gnu::noinline]] static void checkAndUnRef(ztBaseClass &object) {
  releaseCheck(&object);
  unRefUnchecked(object);
}

void ztcore::baseUnRef(ztBaseClass &object) {
  if (releaseCheck != nullptr) [[unlikely]]
    return checkAndUnRef(object);
  unRefUnchecked(object);
}

static int32_t baseGetRefCount(const ztBaseClass &object) {
  return object.refCount;
}

// A class identity in a file: a name field of fixed size, zero behind the text, and the version.
constexpr int32_t nameFieldSize = sizeof Identity::name;

static int32_t baseClassWrite(const void *, const void *object, void *file) {
  if (object == nullptr || file == nullptr) return 0;
  const ztClass *klass = ztOOP_classOf(object);
  char field[nameFieldSize];
  copyText(field, klass->name);
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->writeBuf(file, nameFieldSize, field) <= 0) return 0;
  return methods->writeInt(file, static_cast<int32_t>(klass->version)) > 0;
}

// Files saved by an editor contain line ends. A name of one character is not changed.
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

bool ztcore::readIdentity(void *file, Identity *identity) {
  *identity = {};
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->readBuf(file, nameFieldSize, identity->name) != nameFieldSize) return false;
  identity->name[nameFieldSize - 1] = '\0';
  cutLineEnd(identity->name);
  return methods->readInt(file, &identity->version) > 0;
}

static void *makeIdentified(const Identity &identity) {
  void *object = ztNewFromName(identity.name);
  if (object == nullptr) return nullptr;
  if (static_cast<uint32_t>(identity.version) == ztOOP_versionOf(object)) return object;
  ztBaseClass_of(object)->unRef(object);
  return nullptr;
}

static void *baseClassRead(const void *, void *file) {
  Identity identity;
  return file != nullptr && readIdentity(file, &identity) ? makeIdentified(identity) : nullptr;
}

// Writes only what differs, because other threads may be calling these functions.
static void baseFunctions(ztBaseClassFunctions *functions) {
  if (functions->classRead != baseClassRead) functions->classRead = baseClassRead;
  if (functions->classWrite != baseClassWrite) functions->classWrite = baseClassWrite;
}

static void baseMethods(ztBaseClassMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, baseClassInstanceCreate);
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, baseClassInstanceDestroy);
  ZT_OVERRIDE_METHOD(methods, create, method<baseCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<baseClone>);
  ZT_OVERRIDE_METHOD(methods, assign, method<baseAssign>);
  ZT_ABSTRACT_METHOD(methods, isEqual);
  ZT_ABSTRACT_METHOD(methods, isLess);
  ZT_ABSTRACT_METHOD(methods, isMajor);
  ZT_OVERRIDE_METHOD(methods, destroy, baseDestroy);
  ZT_OVERRIDE_METHOD(methods, read, method<baseRead>);
  ZT_OVERRIDE_METHOD(methods, write, method<baseWrite>);
  ZT_OVERRIDE_METHOD(methods, ref, method<baseRef>);
  ZT_OVERRIDE_METHOD(methods, unRef, method<baseUnRef>);
  ZT_OVERRIDE_METHOD(methods, getRefCount, method<baseGetRefCount>);
  // Also here, not only when the descriptor is filled: a host may read the class table once any class was used.
  baseFunctions(static_cast<ztBaseClassFunctions *>(ztBaseClassClass_Instance()->classTable));
}

ZT_DEFINE_CLASS_FULL(ztBaseClass, ztBaseClass, baseMethods, 1, ztBaseClassFunctions, baseFunctions)

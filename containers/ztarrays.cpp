#include "containers/ztarrays.h"

#include "containers/ztchars.hh"
#include "containers/ztcompare.hh"
#include "containers/ztown.hh"
#include "containers/ztpointers.hh"
#include "containers/ztuse.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztmem.h"
#include "core/ztoop.hh"
#include "core/ztshared.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztPtrArray, 80, 42);
ZT_PIN_CLASS(ztIntArray, 80, 42);
ZT_PIN_CLASS(ztCharArray, 80, 42);
ZT_PIN_CLASS(ztFloatArray, 80, 42);

int32_t ztPtrArray_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztPtrArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}

int32_t ztIntArray_compare_func(const void *first, const void *second) {
  return compareAt<int32_t>(first, second);
}

int32_t ztIntArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<int32_t>(first, second);
}

int32_t ztCharArray_compare_func(const void *first, const void *second) {
  return compareAt<int8_t>(first, second);
}

int32_t ztCharArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<int8_t>(first, second);
}

int32_t ztFloatArray_compare_func(const void *first, const void *second) {
  return compareAt<double>(first, second);
}

int32_t ztFloatArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<double>(first, second);
}

static int32_t createByValue(void *array, int32_t elementSize, ztCompareFunc compare) {
  if (!ztArray_table()->create(array)) return 0;
  const ztArrayMethods *methods = ztArray_of(array);
  methods->setElementSize(array, elementSize, 0);
  methods->setCompareFunction(array, compare);
  return 1;
}

static int32_t ptrArrayCreate(void *object) {
  if (!ztArray_table()->create(object)) return 0;
  keepPointers(object, ztPtrArray_compare_func, ztPtrArray_compare_func_ptr);
  return 1;
}

static int32_t intArrayCreate(void *object) {
  return createByValue(object, sizeof(int32_t), ztIntArray_compare_func);
}

static int32_t charArrayCreate(void *object) {
  return createByValue(object, sizeof(int8_t), ztCharArray_compare_func);
}

static int32_t floatArrayCreate(void *object) {
  return createByValue(object, sizeof(double), ztFloatArray_compare_func);
}

static void ptrArrayMethods(ztPtrArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, ptrArrayCreate);
}

static void intArrayMethods(ztIntArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, intArrayCreate);
}

static void charArrayMethods(ztCharArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, charArrayCreate);
}

static void floatArrayMethods(ztFloatArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, floatArrayCreate);
}

ZT_DEFINE_CLASS(ztPtrArray, ztArray, ptrArrayMethods)
ZT_DEFINE_CLASS(ztIntArray, ztArray, intArrayMethods)
ZT_DEFINE_CLASS(ztCharArray, ztArray, charArrayMethods)
ZT_DEFINE_CLASS(ztFloatArray, ztArray, floatArrayMethods)

// Characters of strings ---------------------------------------------------------------------------

// The image of a new array.
static ztCharArray newArray;
static bool hasNewArray;

static bool createsOwnChars() {
  const ztClass *klass = ztCharArrayClass_Instance();
  return ztCharArray_table()->create == charArrayCreate && createsOwnArrays() && hasOwnArraySettings(klass) &&
         hasOwnSizes(klass);
}

// False also while the class is not registered, because its objects register it. The image owns nothing and is never
// destroyed.
[[gnu::noinline]] static bool takeNewArray() {
  if (!createsOwnChars() || !isNameTaken(ztCharArray_classname_)) return false;
  const Locked locked(engineLock);
  if (!hasNewArray) {
    ztCharArray_ctor(&newArray, 1);
    __atomic_store_n(&hasNewArray, true, __ATOMIC_RELEASE);
  }
  return true;
}

static bool hasImage() {
  return __atomic_load_n(&hasNewArray, __ATOMIC_ACQUIRE) || takeNewArray();
}

bool ztcore::createsCharsPlainly() {
  return usesUnderWay() == nullptr && createsOwnChars() && hasImage();
}

bool ztcore::copiesCharsPlainly() {
  const ztClass *klass = ztCharArrayClass_Instance();
  return static_cast<const ztClassFunctions *>(klass->classTable)->newop == ztCharArray_newop &&
         clonesOwnArrays(klass) && usesUnderWay() == nullptr && hasImage();
}

void ztcore::fillCharsLike(ztCharArray *chars, const ztCharArray *source, void *block) {
  objectMade(chars);
  *chars = *source;
  chars->refCount = 1;
  chars->itemManager = chars;
  chars->data = block;
}

void ztcore::fillChars(ztCharArray *chars, void *block, int32_t count) {
  fillCharsLike(chars, &newArray, block);
  chars->count = count;
}

bool ztcore::sizesCharsPlainly() {
  return usesUnderWay() == nullptr && hasOwnSizes(ztCharArrayClass_Instance());
}

bool ztcore::releasesCharsPlainly() {
  return ztCharArray_table()->unRef == method<baseUnRef> && destroysOwnArrays(ztCharArrayClass_Instance());
}

bool ztcore::endsPlainly(const ztCharArray *chars) {
  return hasChars(chars) && endsByRelease(chars, ztCharArrayClass_Instance()) && !isInUse(chars);
}

void ztcore::replaceChars(ztCharArray *chars, void *block, int32_t count) {
  ztm_free(chars->data);
  chars->data = block;
  chars->count = count;
}

void ztcore::freeChars(ztCharArray *chars) {
  ztm_free(chars->data);
  freePart(chars);
}

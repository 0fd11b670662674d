/*
 * Three classes with static properties, each derived from the one before, first used in the order that
 * the argument names: `static_properties LT` makes an object of Low, then of Top. Whatever the order,
 * each object lists its properties in the order of their declaration, ancestors' first.
 */
#include "objects/ztobject.h"
#include "tests/hosts/check.h"

#include <string.h>

#define Low_FIELDS \
  ztObject_FIELDS  \
  int32_t low;
#define Low_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Low)

#define Mid_FIELDS Low_FIELDS int32_t mid;
#define Mid_METHODS Low_METHODS
ZT_DECLARE_CLASS(Mid)

#define Top_FIELDS Mid_FIELDS int32_t top;
#define Top_METHODS Mid_METHODS
ZT_DECLARE_CLASS(Top)

static int32_t declare(ztClass *klass, const char *name) {
  const ztObjectMethods *methods = (const ztObjectMethods *)klass->methodTable;
  const ztGetter getter = {NULL};
  const ztSetter setter = {NULL};
  return methods->addProperty(klass, name, "ztInt", getter, setter, NULL, NULL);
}

static int32_t lowInitProperties(ztClass *klass) {
  return declare(klass, "zinc") && declare(klass, "alum");
}

static void lowMethods(LowMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, lowInitProperties);
}

ZT_DEFINE_CLASS(Low, ztObject, lowMethods)

static int32_t midInitProperties(ztClass *klass) {
  return declare(klass, "mica");
}

static void midMethods(MidMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, midInitProperties);
}

ZT_DEFINE_CLASS(Mid, Low, midMethods)

/* Its parent's come first, declared once more. */
static int32_t topInitProperties(ztClass *klass) {
  Mid_table()->initProperties(klass);
  return declare(klass, "bead") && declare(klass, "talc");
}

static void topMethods(TopMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, topInitProperties);
}

ZT_DEFINE_CLASS(Top, Mid, topMethods)

static void checkList(const void *object, const char *const *names, const char *const *owners, int count) {
  void *array = ztPropertyPtrArray_ctor(NULL, 1);
  const ztPropertyPtrArrayMethods *methods = ztPropertyPtrArray_of(array);
  CHECK(ztObject_of(object)->getProperties(object, array) == 1);
  CHECK(methods->getSize(array) == count);
  for (int i = 0; i < count && i < methods->getSize(array); ++i) {
    const ztProperty *property = (const ztProperty *)methods->getAt(array, i);
    CHECK(strcmp(ztString_of(property->name)->get(property->name), names[i]) == 0);
    CHECK(strcmp(property->ownerClassName, owners[i]) == 0);
    CHECK(property->index == i);
  }
  methods->unRef(array);
}

int main(int argc, char **argv) {
  static const char *const names[] = {"refCount", "zinc", "alum", "mica", "bead", "talc"};
  static const char *const owners[] = {"ztObject", "Low", "Low", "Mid", "Top", "Top"};
  const struct {
    char letter;
    ztCtor constructor;
    int count;
  } classes[] = {{'L', Low_ctor, 3}, {'M', Mid_ctor, 4}, {'T', Top_ctor, 6}};
  void *made[3] = {NULL, NULL, NULL};
  for (const char *order = argc > 1 ? argv[1] : ""; *order != '\0'; ++order) {
    for (int i = 0; i < 3; ++i) {
      if (classes[i].letter == *order) made[i] = classes[i].constructor(NULL, 1);
    }
    for (int i = 0; i < 3; ++i) {
      if (made[i] != NULL) checkList(made[i], names, owners, classes[i].count);
    }
  }
  for (int i = 0; i < 3; ++i) {
    if (made[i] != NULL) ztBaseClass_of(made[i])->unRef(made[i]);
  }
  return failedChecks != 0;
}

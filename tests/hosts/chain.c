/*
 * Three classes, each derived from the one before, first used in the order and the way that the
 * arguments name: `chain LMT ctor` makes an object of Low, then of Mid, then of Top. After every step
 * each class must be exactly as far as it should be, and each table the composition of its chain.
 */
#include "core/ztbasec.h"
#include "core/ztmem.h"
#include "tests/hosts/check.h"

#include <string.h>

#define Low_FIELDS   \
  ztBaseClass_FIELDS \
  int32_t low;
#define Low_METHODS                     \
  ztBaseClass_METHODS                   \
  int32_t (*level)(const void *object); \
  int32_t (*depth)(const void *object);
ZT_DECLARE_CLASS(Low)

#define Mid_FIELDS Low_FIELDS double mid;
#define Mid_METHODS Low_METHODS int32_t (*width)(const void *object);
ZT_DECLARE_CLASS(Mid)

#define Top_FIELDS Mid_FIELDS char top;
#define Top_METHODS Mid_METHODS int32_t (*height)(const void *object);
ZT_DECLARE_CLASS(Top)

static int32_t lowCreate(void *object) {
  if (!ztBaseClass_table()->create(object)) return 0;
  ((Low *)object)->low = 11;
  return 1;
}

static int32_t lowLevel(const void *object) {
  (void)object;
  return 1;
}

static int32_t lowDepth(const void *object) {
  return ((const Low *)object)->low;
}

static void lowMethods(LowMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, lowCreate);
  ZT_OVERRIDE_METHOD(methods, level, lowLevel);
  ZT_OVERRIDE_METHOD(methods, depth, lowDepth);
}

static int32_t midCreate(void *object) {
  if (!Low_table()->create(object)) return 0;
  ((Mid *)object)->mid = 2.5;
  return 1;
}

static int32_t midLevel(const void *object) {
  return Low_table()->level(object) + 1;
}

static void midMethods(MidMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, midCreate);
  ZT_OVERRIDE_METHOD(methods, level, midLevel);
  ZT_ABSTRACT_METHOD(methods, width);
}

static int32_t topCreate(void *object) {
  if (!Mid_table()->create(object)) return 0;
  ((Top *)object)->top = 't';
  return 1;
}

static int32_t topLevel(const void *object) {
  return Mid_table()->level(object) + 1;
}

static int32_t topWidth(const void *object) {
  (void)object;
  return 33;
}

static void topMethods(TopMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, topCreate);
  ZT_OVERRIDE_METHOD(methods, level, topLevel);
  ZT_OVERRIDE_METHOD(methods, width, topWidth);
  ZT_OVERRIDE_METHOD(methods, height, topLevel);
}

ZT_DEFINE_CLASS(Low, ztBaseClass, lowMethods)
ZT_DEFINE_CLASS(Mid, Low, midMethods)
ZT_DEFINE_CLASS(Top, Mid, topMethods)

typedef struct {
  ztClass *(*instance)(void);
  ztCtor ctor;
  void *(*newop)(void);
  const char *name;
  int32_t size;
  size_t slots;
  int32_t level;
  const char *written; /* one letter for each slot: w where the class itself writes it */
} Level;

static const Level levels[] = {
    {LowClass_Instance, Low_ctor, Low_newop, "Low", sizeof(Low), 18, 1, "w...w...........ww"},
    {MidClass_Instance, Mid_ctor, Mid_newop, "Mid", sizeof(Mid), 19, 2, "w...w...........w.w"},
    {TopClass_Instance, Top_ctor, Top_newop, "Top", sizeof(Top), 20, 3, "w...w...........w.ww"},
};

static int filledLevels; /* the highest level met so far, and so every level below it */
static int32_t constructed[3];

static int isZero(const void *memory, size_t size) {
  const char *bytes = memory;
  for (size_t i = 0; i < size; ++i) {
    if (bytes[i] != 0) return 0;
  }
  return 1;
}

static int entriesNamed(const char *name) {
  int count = 0;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != NULL; entry = entry->next) {
    if (strcmp(entry->name, name) == 0) ++count;
  }
  return count;
}

static void checkUntouched(const ztClass *klass, const Level *level) {
  CHECK(isZero(klass, offsetof(ztClass, classTable)));
  CHECK(isZero(klass->classTable, sizeof(ztClassFunctions)));
  CHECK(isZero(klass->methodTable, level->slots * sizeof(void *)));
}

static void checkFilled(const ztClass *klass, const Level *level) {
  const ztClass *parent = level == levels ? ztBaseClassClass_Instance() : level[-1].instance();
  CHECK(klass->parent == parent);
  CHECK(klass->version == 1);
  CHECK(klass->instanceSize == level->size);
  CHECK(strcmp(klass->name, level->name) == 0);
  CHECK(klass->initialised == 1);
  CHECK(klass->spare == 0);
  const ztClassFunctions *functions = klass->classTable;
  CHECK(functions->newop == level->newop);
  CHECK(functions->ctor == level->ctor);
  CHECK(functions->allocator == NULL);
  CHECK(functions->classInit == NULL && functions->classDestroy == NULL);

  void *const *own = klass->methodTable;
  void *const *inherited = parent->methodTable;
  const size_t shared = level == levels ? 16 : level[-1].slots;
  for (size_t slot = 0; slot < level->slots; ++slot) {
    if (level->written[slot] == 'w') {
      CHECK(own[slot] != NULL);
      CHECK(slot >= shared || own[slot] != inherited[slot]);
    } else {
      CHECK(slot < shared && own[slot] == inherited[slot]);
    }
  }
}

static void checkLevels(void) {
  for (int i = 0; i < 3; ++i) {
    const ztClass *klass = levels[i].instance();
    if (i < filledLevels) {
      checkFilled(klass, &levels[i]);
    } else {
      checkUntouched(klass, &levels[i]);
    }
    CHECK(entriesNamed(levels[i].name) == (constructed[i] != 0));
    CHECK((ztOOP_findClass(levels[i].name) == klass) == (constructed[i] != 0));
  }
}

static void checkObject(void *object, const Level *level) {
  CHECK(ztOOP_classOf(object) == level->instance());
  CHECK(ztBaseClass_of(object)->getRefCount(object) == 1);
  CHECK(Low_of(object)->level(object) == level->level);
  for (int i = 0; i < 3; ++i) {
    CHECK(TopIsClass(NULL, object, levels[i].name) == (levels[i].level == level->level));
    CHECK(LowIsClassOf(NULL, object, levels[i].name) == (levels[i].level <= level->level));
  }
  CHECK(MidIsClassOf(NULL, object, "ztBaseClass") == 1);
}

static void checkCreated(const void *object, const Level *level) {
  CHECK(Low_of(object)->depth(object) == 11);
  CHECK(level->level < 2 || ((const Mid *)object)->mid == 2.5);
  CHECK(level->level < 3 || (((const Top *)object)->top == 't' && Top_of(object)->height(object) == 3));
}

static void use(int number, const char *way) {
  const Level *level = &levels[number];
  if (filledLevels < level->level) filledLevels = level->level;
  const int32_t before = ztOOP_classCount();
  const int32_t expected = before + (constructed[number] == 0);
  constructed[number] = 1;
  union {
    Top top;
    char bytes[sizeof(Top)];
  } place;
  if (strcmp(way, "newop") == 0) {
    void *object = level->newop();
    checkLevels();
    checkObject(object, level);
    ztm_free(object);
  } else if (strcmp(way, "place") == 0) {
    CHECK(level->ctor(&place, 1) == (void *)&place);
    checkLevels();
    checkObject(&place, level);
    checkCreated(&place, level);
    ztBaseClass_of(&place)->destroy(&place);
  } else {
    void *object = level->ctor(NULL, 1);
    checkLevels();
    checkObject(object, level);
    checkCreated(object, level);
    ztBaseClass_of(object)->unRef(object);
  }
  CHECK(ztOOP_classCount() == expected);
}

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  checkLevels();
  for (int round = 0; round < 2; ++round) {
    for (const char *letter = argv[1]; *letter != '\0'; ++letter) {
      use(*letter == 'L' ? 0 : *letter == 'M' ? 1 : 2, argv[2]);
    }
  }
  for (int i = 0; i < 3; ++i) {
    if (constructed[i] == 0) continue;
    void *object = ztNewFromName(levels[i].name);
    checkObject(object, &levels[i]);
    checkCreated(object, &levels[i]);
    ztBaseClass_of(object)->unRef(object);
  }
  return failedChecks != 0;
}

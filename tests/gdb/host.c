// Makes objects of many classes and stops. The tests look at them through gdb; nothing here is checked.
#include "zentova.h"

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/** A class with a field, a property and a signal. */
#define Gauge_FIELDS \
  ztRoot_FIELDS      \
  int32_t level;     \
  ztString *unit;
#define Gauge_METHODS \
  ztRoot_METHODS      \
  int32_t (*fill)(void *gauge, int32_t level);
ZT_DECLARE_CLASS(Gauge)

static int32_t gaugeCreate(void *object) {
  if (!ztRoot_table()->create(object)) return 0;
  Gauge *gauge = object;
  gauge->level = 42;
  gauge->unit = ztString_new();
  ztString_of(gauge->unit)->set(gauge->unit, "litres");
  return 1;
}

static void gaugeDestroy(void *object) {
  ztString *unit = ((Gauge *)object)->unit;
  ztString_of(unit)->unRef(unit);
  ztRoot_table()->destroy(object);
}

static int32_t gaugeFill(void *gauge, int32_t level) {
  ((Gauge *)gauge)->level = level;
  return ztObject_emit(gauge, "levelChanged", level);
}

static int32_t gaugeGetLevel(const void *gauge) {
  return ((const Gauge *)gauge)->level;
}

static int32_t gaugeInitProperties(ztClass *klass) {
  ztRoot_table()->initProperties(klass);
  const ztGetter getter = ZT_GETTER(getInt, gaugeGetLevel);
  const ztSetter none = {NULL};
  return ztRoot_table()->addProperty(klass, "level", "ztInt", getter, none, NULL, NULL);
}

static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, gaugeCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, gaugeDestroy);
  ZT_OVERRIDE_METHOD(methods, initProperties, gaugeInitProperties);
  ZT_OVERRIDE_METHOD(methods, fill, gaugeFill);
}
ZT_DEFINE_CLASS(Gauge, ztRoot, gaugeMethods)

/** Elements of a size that no number has. */
typedef struct Triple {
  unsigned char bytes[3];
} Triple;

/** Compiled elsewhere: here it is a name only. */
struct Hidden;

/** All that gdb is asked for. */
static struct {
  Gauge *gauge;
  Gauge *inlet;
  Gauge *freed;
  Gauge *spoilt;
  Gauge embedded;
  ztObject *listener;
  ztSignal *signal;
  ztSignal *blocked;
  const ztRoot *asRoot;
  void *untyped;
  struct Hidden *hidden;
  ztString *text;
  ztString *noText;
  ztCharArray *characters;
  ztIntArray *numbers;
  ztFloatArray *reals;
  ztPtrArray *pointers;
  ztStringArray *strings;
  ztArray *triples;
  ztIntList *list;
  ztStringList *names;
  ztPtrList *objects;
  ztQueue *queue;
  ztStack *stack;
  ztDeque *deque;
  ztAvlTree *tree;
  ztMap *map;
  ztHashTable *table;
  ztIntArray *empty;
  ztIntArray *many;
  ztLink *link;
  ztTag *tag;
  ztPtrList *circle;
  ztIntArray *giant;
  ztAvlTree *knot;
  ztClass *klass;
  ztClassInfo *info;
} all;

static void onLevel(void *receiver, intptr_t level) {
  (void)receiver;
  (void)level;
}

static ztString *textOf(const char *characters) {
  ztString *string = ztString_new();
  ztString_of(string)->set(string, characters);
  return string;
}

static void makeNodes(void) {
  all.gauge = Gauge_new();
  Gauge_of(all.gauge)->setName(all.gauge, "boiler");
  all.inlet = Gauge_new();
  Gauge_of(all.inlet)->setName(all.inlet, "inlet \"B\"");
  Gauge_of(all.gauge)->addChild(all.gauge, all.inlet);
  all.listener = ztObject_new();
  const ztSlotFunction slot = {.call1 = onLevel};
  ztClass *klass = GaugeClass_Instance();
  Gauge_of(all.gauge)->connect(klass, all.gauge, "levelChanged", all.listener, "onLevel", slot, 1);
  Gauge_of(all.gauge)->connect(klass, all.gauge, "levelChanged", all.inlet, "onLevel", slot, 1);
  ztObject_blockSignal(all.inlet, "destroyed", 1);
  all.signal = Gauge_of(all.gauge)->addSignal(klass, all.gauge, "levelChanged", 1);
  all.blocked = Gauge_of(all.inlet)->addSignal(klass, all.inlet, "destroyed", 1);
  ztObject_addInt(all.gauge, "height", 7);
  ztObject_addFloat(all.gauge, "slope", 0.5);
  ztObject_addText(all.gauge, "place", "cellar");
  ztObject_addChar(all.inlet, "grade", -1);
  ztObject_addCharPtr(all.inlet, "maker", "us");
  ztObject_addBool(all.inlet, "open", 1);
  ztObject_addPointer(all.inlet, "peer", all.gauge);
  all.asRoot = (const ztRoot *)all.gauge;
  all.untyped = all.gauge;
  all.hidden = (struct Hidden *)all.gauge;
  all.klass = klass;
  all.info = ztOOP_classInfo(klass);
  Gauge_ctor(&all.embedded, 1);
  all.link = ztLink_new();
  ztLink_set(all.link, all.inlet);
  all.tag = ztTag_new();
  ztTagHandle handle;
  ztTag_of(all.tag)->insertNew(all.tag, "flow", ztIntTag_ctor(NULL, 1), &handle, 0, 3, &(int32_t){5});
}

static void makeArrays(void) {
  all.text = textOf("caf\xc3\xa9 \"au lait\"\n");
  all.noText = ztString_new();
  all.characters = ztCharArray_new();
  for (const char *at = "abc"; *at != '\0'; ++at)
    ztCharArray_of(all.characters)->pushBack(all.characters, at);
  all.numbers = ztIntArray_new();
  for (int32_t i = 1; i <= 3; ++i) ztIntArray_of(all.numbers)->pushBack(all.numbers, &(int32_t){i * -11});
  all.reals = ztFloatArray_new();
  ztFloatArray_of(all.reals)->pushBack(all.reals, &(double){2.5});
  all.pointers = ztPtrArray_new();
  ztPtrArray_of(all.pointers)->pushBack(all.pointers, all.gauge);
  ztPtrArray_of(all.pointers)->pushBack(all.pointers, NULL);
  ztPtrArray_of(all.pointers)->pushBack(all.pointers, "no object at all");
  all.strings = ztStringArray_new();
  ztStringArray_of(all.strings)->pushBack(all.strings, all.text);
  all.triples = ztArray_new();
  ztArray_of(all.triples)->setElementSize(all.triples, sizeof(Triple), 0);
  ztArray_of(all.triples)->pushBack(all.triples, &(Triple){{1, 2, 0xff}});
  all.empty = ztIntArray_new();
  all.many = ztIntArray_new();
  ztIntArray_of(all.many)->setSize(all.many, 1000);
}

static void makeLists(void) {
  all.list = ztIntList_new();
  for (int32_t i = 1; i <= 3; ++i) ztIntList_of(all.list)->pushBack(all.list, &i);
  all.names = ztStringList_new();
  ztStringList_of(all.names)->pushBack(all.names, all.text);
  all.objects = ztPtrList_new();
  ztPtrList_of(all.objects)->pushBack(all.objects, all.gauge);
  ztPtrList_of(all.objects)->pushBack(all.objects, all.objects);
  all.queue = ztQueue_new();
  all.stack = ztStack_new();
  all.deque = ztDeque_new();
  ztQueue_of(all.queue)->setElementSize(all.queue, sizeof(int64_t), 0);
  ztStack_of(all.stack)->setElementSize(all.stack, sizeof(int32_t), 0);
  ztDeque_of(all.deque)->setElementConstructor(all.deque, ztString_ctor);
  ztDeque_of(all.deque)->pushBack(all.deque, all.text);
  for (int32_t i = 1; i <= 2; ++i) {
    ztQueue_of(all.queue)->push(all.queue, &(int64_t){i * 5000000000});
    ztStack_of(all.stack)->push(all.stack, &i);
  }
}

static ztAvlTree *treeOf(int32_t count) {
  ztAvlTree *tree = ztAvlTree_new();
  ztAvlTree_of(tree)->setElementSize(tree, sizeof(int32_t), 0);
  ztAvlTree_of(tree)->setCompareFunction(tree, ztIntArray_compare_func);
  for (int32_t i = count; i > 0; --i) ztAvlTree_of(tree)->push(tree, &i);
  return tree;
}

static void makeMaps(void) {
  all.tree = treeOf(5);
  all.map = ztMap_new();
  const ztMapMethods *map = ztMap_of(all.map);
  map->setKeyConstructor(all.map, ztString_ctor);
  map->setValueSize(all.map, sizeof(int32_t), 0);
  map->setCompareFunction(all.map, ztStringList_compare_func);
  const char *const words[] = {"one", "two", "three"};
  for (int32_t i = 0; i < 3; ++i) {
    ztString *key = textOf(words[i]);
    map->pushBack(all.map, key, &(int32_t){i + 1});
    ztString_of(key)->unRef(key);
  }
  all.table = ztHashTable_new();
  const ztHashTableMethods *table = ztHashTable_of(all.table);
  table->setKeySize(all.table, sizeof(int32_t), 0);
  table->setValueSize(all.table, sizeof(void *), 1);
  table->setCompareFunction(all.table, ztIntArray_compare_func);
  table->setSize(all.table, 4);
  table->insert(all.table, &(int32_t){17}, all.gauge);
}

/** Objects that a mistake in the program has spoilt. */
static void spoil(void) {
  all.spoilt = Gauge_new();
  memset(all.spoilt, 0x41, sizeof(void *));
  all.freed = Gauge_new();
  all.circle = ztPtrList_new();
  for (int32_t i = 0; i < 3; ++i) ztPtrList_of(all.circle)->pushBack(all.circle, NULL);
  all.circle->tail->next = all.circle->head;
  all.giant = ztIntArray_new();
  ztIntArray_of(all.giant)->setSize(all.giant, 2);
  all.giant->count = 1000000000;
  all.knot = treeOf(3);
  all.knot->root->left->left = all.knot->root;
  Gauge_of(all.freed)->unRef(all.freed);
}

static void **makeMany(int count) {
  void **objects = malloc((size_t)count * sizeof *objects);
  for (int i = 0; i < count; ++i) objects[i] = ztLink_new();
  return objects;
}

void stop(void *gauge, ztRoot *node);
void stop(void *gauge, ztRoot *node) {
  printf("%p %p\n", gauge, (void *)node);
}

/** Releases an array of strings, whose memory then holds what is left of them. */
static void leaveStrings(int count) {
  ztStringArray *array = ztStringArray_new();
  for (int i = 0; i < count; ++i) ztStringArray_of(array)->pushBack(array, all.text);
  ztStringArray_of(array)->unRef(array);
}

/** Releases two connected objects. */
static void leaveConnection(void) {
  ztObject *sender = ztObject_new();
  ztObject *receiver = ztObject_new();
  ztObject_connect(sender, "levelChanged", receiver, ZT_SLOT(onLevel), 1);
  ztObject_of(sender)->unRef(sender);
  ztObject_of(receiver)->unRef(receiver);
}

/** Objects that another thread made: every second one is released, and one is on the stack. */
static void *runThread(void *unused) {
  (void)unused;
  /* Begins as an object does, but is too small for one. */
  void **record = malloc(2 * sizeof *record);
  record[0] = ztListItemClass_Instance();
  record[1] = (void *)1;
  ztLink *links[40];
  for (int i = 0; i < 40; ++i) links[i] = ztLink_new();
  for (int i = 0; i < 40; i += 2) ztLink_of(links[i])->unRef(links[i]);
  ztLink link;
  ztLink_ctor(&link, 1);
  leaveStrings(20);
  leaveStrings(200);
  ztString *strings[30];
  for (int i = 0; i < 30; ++i) strings[i] = textOf("short");
  for (int i = 0; i < 30; ++i) ztString_of(strings[i])->unRef(strings[i]);
  leaveConnection();
  stop(all.gauge, (ztRoot *)all.inlet);
  free(record);
  return NULL;
}

static void useThread(void) {
  pthread_t thread;
  pthread_create(&thread, NULL, runThread, NULL);
  pthread_join(thread, NULL);
}

int main(int argc, char **argv) {
  const char *what = argc > 1 ? argv[1] : "";
  ztProperty_registerTypes();
  makeNodes();
  makeArrays();
  makeLists();
  makeMaps();
  void **many = NULL;
  if (strcmp(what, "spoil") == 0) spoil();
  if (strcmp(what, "many") == 0) many = makeMany(100000);
  if (strcmp(what, "thread") == 0) useThread();
  stop(all.gauge, (ztRoot *)all.inlet);
  free(many);
  // What the objects need is left to the end of the process.
  _Exit(0);
}

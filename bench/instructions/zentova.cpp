// The library's operations.
#include "zentova.h"
#include "bench/instructions/operations.hh"
#include "bench/tempfile.hh"

namespace {

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// Objects -----------------------------------------------------------------------------------------

void baseObject(int rounds) {
  for (int i = 0; i < rounds; ++i) release(ztBaseClass_ctor(nullptr, 1));
}

void byName(int rounds) {
  for (int i = 0; i < rounds; ++i) release(ztNewFromName("ztBaseClass"));
}

void virtualCall(int rounds) {
  void *object = ztBaseClass_ctor(nullptr, 1);
  for (int i = 0; i < rounds; ++i) use(ztBaseClass_of(object)->getRefCount(object));
  release(object);
}

void object(int rounds) {
  for (int i = 0; i < rounds; ++i) release(ztObject_ctor(nullptr, 1));
}

// Signals -----------------------------------------------------------------------------------------

void take(void *receiver, intptr_t value) {
  use(receiver);
  use(value);
}

void connect(void *sender, void *receiver) {
  ztSlotFunction function;
  function.call1 = take;
  ztObject_of(sender)->connect(ztOOP_classOf(sender), sender, "changed", receiver, "take", function, 1);
}

void disconnect(void *sender, void *receiver) {
  ztSlotFunction function;
  function.call1 = take;
  ztObject_disconnect(sender, "changed", receiver, function);
}

void connectAndReleaseReceiver(int rounds) {
  void *sender = ztObject_ctor(nullptr, 1);
  for (int i = 0; i < rounds; ++i) {
    void *receiver = ztObject_ctor(nullptr, 1);
    connect(sender, receiver);
    release(receiver);
  }
  release(sender);
}

void connectAndDisconnect(int rounds) {
  void *sender = ztObject_ctor(nullptr, 1);
  void *receiver = ztObject_ctor(nullptr, 1);
  for (int i = 0; i < rounds; ++i) {
    connect(sender, receiver);
    disconnect(sender, receiver);
  }
  release(receiver);
  release(sender);
}

template <int slots>
void emit(int rounds) {
  void *sender = ztObject_ctor(nullptr, 1);
  void *receivers[slots];
  for (void *&receiver : receivers) {
    receiver = ztObject_ctor(nullptr, 1);
    connect(sender, receiver);
  }
  for (int i = 0; i < rounds; ++i) ztObject_emit(sender, "changed", i);
  for (void *receiver : receivers) release(receiver);
  release(sender);
}

// Properties --------------------------------------------------------------------------------------

void setProperty(int rounds) {
  void *gauge = ztObject_ctor(nullptr, 1);
  const ztObjectMethods *methods = ztObject_of(gauge);
  methods->setProperty(gauge, "extra", "ztInt", 0);
  for (int i = 0; i < rounds; ++i) methods->setProperty(gauge, "extra", "ztInt", i);
  release(gauge);
}

void getProperty(int rounds) {
  void *gauge = ztObject_ctor(nullptr, 1);
  const ztObjectMethods *methods = ztObject_of(gauge);
  methods->setProperty(gauge, "extra", "ztInt", 0);
  int32_t value = 0;
  for (int i = 0; i < rounds; ++i) {
    methods->getProperty(gauge, "extra", "ztInt", &value);
    use(value);
  }
  release(gauge);
}

// Trees and maps ----------------------------------------------------------------------------------

void *newTree() {
  void *tree = ztAvlTree_ctor(nullptr, 1);
  ztAvlTree_of(tree)->setElementSize(tree, sizeof(int32_t), 0);
  ztAvlTree_of(tree)->setCompareFunction(tree, ztIntArray_compare_func);
  return tree;
}

void *fill(void *tree) {
  for (const int32_t number : shuffled) ztAvlTree_of(tree)->push(tree, &number);
  return tree;
}

void treePushAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) release(fill(newTree()));
}

void treeFind(int rounds) {
  void *tree = fill(newTree());
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) use(ztAvlTree_of(tree)->find(tree, &number));
  }
  release(tree);
}

void treePushAndPop(int rounds) {
  void *tree = newTree();
  for (int i = 0; i < rounds; ++i) {
    fill(tree);
    for (const int32_t number : shuffled) ztAvlTree_of(tree)->pop(tree, &number);
  }
  release(tree);
}

void treeWalk(int rounds) {
  void *tree = fill(newTree());
  ztAvlIterator iterator;
  ztAvlIterator_ctor(&iterator, 1);
  const ztAvlIteratorMethods *methods = ztAvlIterator_of(&iterator);
  for (int i = 0; i < rounds; ++i) {
    for (void *item = methods->first(&iterator, tree); item != nullptr; item = methods->next(&iterator))
      use(item);
  }
  methods->destroy(&iterator);
  release(tree);
}

void *newMap() {
  void *map = ztMap_ctor(nullptr, 1);
  ztMap_of(map)->setKeySize(map, sizeof(int32_t), 0);
  ztMap_of(map)->setValueSize(map, sizeof(int32_t), 0);
  ztMap_of(map)->setCompareFunction(map, ztIntArray_compare_func);
  return map;
}

void *fillMap(void *map) {
  for (const int32_t number : shuffled) ztMap_of(map)->pushBack(map, &number, &number);
  return map;
}

void mapPushAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) release(fillMap(newMap()));
}

void mapFind(int rounds) {
  void *map = fillMap(newMap());
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) use(ztMap_of(map)->find(map, &number));
  }
  release(map);
}

void *newTable() {
  void *table = ztHashTable_ctor(nullptr, 1);
  ztHashTable_of(table)->setKeySize(table, sizeof(int32_t), 0);
  ztHashTable_of(table)->setValueSize(table, sizeof(int32_t), 0);
  ztHashTable_of(table)->setCompareFunction(table, ztIntArray_compare_func);
  ztHashTable_of(table)->setSize(table, 1024);
  return table;
}

void *fillTable(void *table) {
  for (const int32_t number : shuffled) ztHashTable_of(table)->insert(table, &number, &number);
  return table;
}

void hashInsertAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) release(fillTable(newTable()));
}

void hashFind(int rounds) {
  void *table = fillTable(newTable());
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) use(ztHashTable_of(table)->find(table, &number));
  }
  release(table);
}

// Lists and arrays --------------------------------------------------------------------------------

void list(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    void *list = ztIntList_ctor(nullptr, 1);
    for (const int32_t number : shuffled) ztIntList_of(list)->pushBack(list, &number);
    for (const ztListItem *item = static_cast<ztList *>(list)->head; item != nullptr; item = item->next)
      use(item);
    release(list);
  }
}

void queue(int rounds) {
  void *queue = ztPtrQueue_ctor(nullptr, 1);
  for (int i = 0; i < rounds; ++i) {
    ztQueue_of(queue)->push(queue, queue);
    ztQueue_of(queue)->pop(queue);
  }
  release(queue);
}

void stack(int rounds) {
  void *stack = ztPtrStack_ctor(nullptr, 1);
  for (int i = 0; i < rounds; ++i) {
    ztStack_of(stack)->push(stack, stack);
    ztStack_of(stack)->pop(stack);
  }
  release(stack);
}

void arrayPush(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    void *array = ztIntArray_ctor(nullptr, 1);
    for (const int32_t number : shuffled) ztIntArray_of(array)->pushBack(array, &number);
    release(array);
  }
}

void arraySetAndGet(int rounds) {
  void *array = ztIntArray_ctor(nullptr, 1);
  ztIntArray_of(array)->setSize(array, elementCount);
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) {
      ztIntArray_of(array)->setAt(array, &number, number);
      use(ztIntArray_of(array)->getAt(array, number));
    }
  }
  release(array);
}

void arrayOfStrings(int rounds) {
  void *array = ztStringArray_ctor(nullptr, 1);
  void *text = ztString_ctor(nullptr, 1);
  ztString_of(text)->set(text, "text");
  for (int i = 0; i < rounds; ++i) {
    ztStringArray_of(array)->pushBack(array, text);
    ztStringArray_of(array)->removeAt(array, 0);
  }
  release(text);
  release(array);
}

// Strings -----------------------------------------------------------------------------------------

void stringSet(int rounds) {
  void *text = ztString_ctor(nullptr, 1);
  for (int i = 0; i < rounds; ++i) ztString_of(text)->set(text, piece);
  release(text);
}

void stringCat(int rounds) {
  void *text = ztString_ctor(nullptr, 1);
  void *more = ztString_ctor(nullptr, 1);
  ztString_of(more)->set(more, piece);
  for (int i = 0; i < rounds; ++i) {
    ztString_of(text)->set(text, piece);
    for (int j = 0; j < 3; ++j) ztString_of(text)->cat(text, more);
  }
  release(more);
  release(text);
}

void string(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    void *text = ztString_ctor(nullptr, 1);
    ztString_of(text)->set(text, piece);
    release(text);
  }
}

// Files -------------------------------------------------------------------------------------------

template <typename Act>
void withFile(ztCtor constructor, Act act) {
  void *file = constructor(nullptr, 1);
  ztFile_of(file)->open(file, temporaryFile(), "w+b");
  act(file, ztFile_of(file));
  release(file);
}

template <auto constructor>
void writeInts(int rounds) {
  withFile(constructor, [rounds](void *file, const ztFileMethods *methods) {
    for (int i = 0; i < rounds; ++i) methods->writeInt(file, i);
  });
}

template <auto constructor>
void readInts(int rounds) {
  withFile(constructor, [rounds](void *file, const ztFileMethods *methods) {
    for (int i = 0; i < 1000; ++i) methods->writeInt(file, i);
    int32_t value = 0;
    for (int i = 0; i < rounds; ++i) {
      if (i % 1000 == 0) methods->goToBegin(file);
      methods->readInt(file, &value);
      use(value);
    }
  });
}

void storeAndLoad(int rounds) {
  withFile(ztFile_ctor, [rounds](void *file, const ztFileMethods *methods) {
    void *text = ztString_ctor(nullptr, 1);
    ztString_of(text)->set(text, piece);
    for (int i = 0; i < rounds; ++i) {
      methods->goToBegin(file);
      ztBaseClass_functions()->classWrite(nullptr, text, file);
      ztString_of(text)->write(text, file);
      methods->goToBegin(file);
      void *loaded = ztBaseClass_functions()->classRead(nullptr, file);
      ztString_of(loaded)->read(loaded, file);
      release(loaded);
    }
    release(text);
  });
}

// Nodes and tags ----------------------------------------------------------------------------------

void node(int rounds) {
  for (int i = 0; i < rounds; ++i) release(ztRoot_ctor(nullptr, 1));
}

void addAndDeleteChild(int rounds) {
  void *root = ztRoot_ctor(nullptr, 1);
  for (int i = 0; i < rounds; ++i) {
    void *child = ztRoot_ctor(nullptr, 1);
    ztRoot_of(root)->addChild(root, child);
    ztRoot_of(root)->deleteChild(root, child);
    release(child);
  }
  release(root);
}

void tag(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    void *tag = ztTag_ctor(nullptr, 1);
    ztTagHandle handle;
    const int32_t zero = 0;
    ztTag_of(tag)->insertNew(tag, "level", ztIntTag_ctor(nullptr, 1), &handle, 0, 1, &zero);
    release(tag);
  }
}

const Operation operations[] = {
    {"base object: new, release", baseObject},
    {"base object by name: new, release", byName},
    {"virtual call", virtualCall},
    {"object: new, release", object},
    {"connect, receiver released", connectAndReleaseReceiver},
    {"connect, disconnect", connectAndDisconnect},
    {"emit to 1 slot", emit<1>},
    {"emit to 10 slots", emit<10>},
    {"dynamic property: set", setProperty},
    {"dynamic property: get", getProperty},
    withEach("tree of 1,000: push, free", treePushAndFree),
    withEach("tree of 1,000: find", treeFind),
    withEach("tree of 1,000: push, pop", treePushAndPop),
    withEach("tree of 1,000: walk", treeWalk),
    withEach("map of 1,000: push, free", mapPushAndFree),
    withEach("map of 1,000: find", mapFind),
    withEach("hash table of 1,000: insert, free", hashInsertAndFree),
    withEach("hash table of 1,000: find", hashFind),
    withEach("list: push, walk, free", list),
    {"queue: push, pop", queue},
    {"stack: push, pop", stack},
    withEach("array: push", arrayPush),
    withEach("array: set, get", arraySetAndGet),
    {"array of strings: push, remove", arrayOfStrings},
    {"string: set", stringSet},
    {"string: set, 3 cat", stringCat},
    {"string: new, set, free", string},
    {"file: write an int", writeInts<ztFile_ctor>},
    {"file: read an int", readInts<ztFile_ctor>},
    {"text file: write an int", writeInts<ztTextFile_ctor>},
    {"text file: read an int", readInts<ztTextFile_ctor>},
    {"string: store, load", storeAndLoad},
    {"node: new, release", node},
    {"node: add and delete a child", addAndDeleteChild},
    {"tag with an attribute: new, release", tag},
};

}  // namespace

int main(int argc, char **argv) {
  return runOperations(operations, argc, argv);
}

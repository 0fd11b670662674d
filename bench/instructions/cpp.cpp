// The layer for C++ beside the same operations in C. What an operation takes in C++ may be at most a little more.
#include "bench/instructions/operations.hh"
#include "zentova.hpp"

#define CGauge_FIELDS \
  ztObject_FIELDS     \
  int32_t level;
#define CGauge_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(CGauge)

namespace {

int32_t gaugeCreate(void *object) {
  if (!ztObject_table()->create(object)) return 0;
  static_cast<CGauge *>(object)->level = 0;
  return 1;
}

void gaugeDestroy(void *object) {
  ztObject_table()->destroy(object);
}

int32_t gaugeLevel(const void *object) {
  return static_cast<const CGauge *>(object)->level;
}

void gaugeSetLevel(void *object, int32_t level) {
  static_cast<CGauge *>(object)->level = level;
}

int32_t gaugeIsEqual(const void *object, const void *other) {
  if (object == nullptr) return 0;
  return static_cast<const CGauge *>(object)->level == static_cast<const CGauge *>(other)->level;
}

int32_t gaugeProperties(ztClass *klass) {
  ztGetter getter;
  getter.getInt = gaugeLevel;
  ztSetter setter;
  setter.setInt = gaugeSetLevel;
  return CGauge_table()->addProperty(klass, "level", "ztInt", getter, setter, nullptr, nullptr);
}

void gaugeMethods(CGaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, gaugeCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, gaugeDestroy);
  ZT_OVERRIDE_METHOD(methods, isEqual, gaugeIsEqual);
  ZT_OVERRIDE_METHOD(methods, initProperties, gaugeProperties);
}

}  // namespace

ZT_DEFINE_CLASS(CGauge, ztObject, gaugeMethods)

namespace {

struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
  int32_t level = 0;
  void setLevel(int32_t value) {
    level = value;
  }
  int32_t isEqual(const void *other) const {
    return level == static_cast<const Gauge *>(other)->level;
  }
  static void define(zt::Def<Gauge> &c) {
    c.method<&Gauge::isEqual>(&Methods::isEqual);
    c.property<&Gauge::level, &Gauge::setLevel>("level");
  }
};

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// Objects -----------------------------------------------------------------------------------------

void makeInC(int rounds) {
  for (int i = 0; i < rounds; ++i) release(CGauge_new());
}

void makeInCpp(int rounds) {
  for (int i = 0; i < rounds; ++i) use(zt::make<Gauge>());
}

void makeBaseInC(int rounds) {
  for (int i = 0; i < rounds; ++i) release(ztBaseClass_new());
}

void makeBaseInCpp(int rounds) {
  for (int i = 0; i < rounds; ++i) use(zt::make<ztBaseClass>());
}

void callInC(int rounds) {
  CGauge *gauge = CGauge_new();
  for (int i = 0; i < rounds; ++i) use(CGauge_of(gauge)->isEqual(gauge, gauge));
  release(gauge);
}

void callInCpp(int rounds) {
  const auto owner = zt::make<Gauge>();
  Gauge *gauge = owner.get();
  for (int i = 0; i < rounds; ++i) use(zt::methods(gauge)->isEqual(gauge, gauge));
}

// Properties --------------------------------------------------------------------------------------

void setInC(int rounds) {
  CGauge *gauge = CGauge_new();
  for (int i = 0; i < rounds; ++i) use(ztObject_setInt(gauge, "level", i));
  release(gauge);
}

void setInCpp(int rounds) {
  auto gauge = zt::make<Gauge>();
  const zt::Property<int32_t> level("level");
  for (int i = 0; i < rounds; ++i) use(level.set(gauge, i));
}

void getInC(int rounds) {
  CGauge *gauge = CGauge_new();
  for (int i = 0; i < rounds; ++i) {
    int32_t level = 0;
    if (ztObject_getInt(gauge, "level", &level)) use(level);
  }
  release(gauge);
}

void getInCpp(int rounds) {
  auto gauge = zt::make<Gauge>();
  const zt::Property<int32_t> property("level");
  for (int i = 0; i < rounds; ++i) {
    if (auto level = property.get(gauge)) use(*level);
  }
}

// Signals -----------------------------------------------------------------------------------------

void take(void *receiver, intptr_t value) {
  use(static_cast<Gauge *>(receiver)->level);
  use(static_cast<int32_t>(value));
}

struct Taker : zt::Class<Taker, ztObject> {
  static constexpr auto className = "Taker";
  int32_t level = 0;
  void take(int32_t value) {
    use(level);
    use(value);
  }
};

ztSlotFunction takes() {
  ztSlotFunction function;
  function.call1 = take;
  return function;
}

void connectFunctionInC(int rounds) {
  CGauge *gauge = CGauge_new();
  for (int i = 0; i < rounds; ++i) {
    ztObject *receiver = ztObject_new();
    ztObject_connect(gauge, "changed", receiver, takes(), 1);
    release(receiver);
  }
  release(gauge);
}

void connectFunctionInCpp(int rounds) {
  auto gauge = zt::make<Gauge>();
  for (int i = 0; i < rounds; ++i) {
    use(zt::connect(gauge, "changed", [](int32_t value) { use(value); }));
  }
}

void connectInC(int rounds) {
  CGauge *gauge = CGauge_new();
  ztObject *receiver = ztObject_new();
  for (int i = 0; i < rounds; ++i) {
    use(ztObject_connect(gauge, "changed", receiver, takes(), 1));
    use(ztObject_disconnect(gauge, "changed", receiver, takes()));
  }
  release(receiver);
  release(gauge);
}

void connectInCpp(int rounds) {
  auto gauge = zt::make<Gauge>();
  auto receiver = zt::make<Taker>();
  for (int i = 0; i < rounds; ++i) {
    use(zt::connect<&Taker::take>(gauge, "changed", receiver));
    use(zt::disconnect<&Taker::take>(gauge, "changed", receiver));
  }
}

void emitInC(int rounds) {
  CGauge *gauge = CGauge_new();
  CGauge *receiver = CGauge_new();
  ztObject_connect(gauge, "changed", receiver, takes(), 1);
  for (int i = 0; i < rounds; ++i) use(ztObject_emit(gauge, "changed", i));
  release(receiver);
  release(gauge);
}

void emitInCpp(int rounds) {
  auto gauge = zt::make<Gauge>();
  auto receiver = zt::make<Taker>();
  zt::connect<&Taker::take>(gauge, "changed", receiver);
  for (int i = 0; i < rounds; ++i) use(gauge->emit("changed", i));
}

void emitToFunctionInCpp(int rounds) {
  auto gauge = zt::make<Gauge>();
  int32_t level = 0;
  auto seen = zt::connect(gauge, "changed", [&](int32_t value) {
    use(level);
    use(value);
  });
  for (int i = 0; i < rounds; ++i) use(gauge->emit("changed", i));
}

// Containers --------------------------------------------------------------------------------------

void arrayInC(int rounds) {
  ztIntArray *array = ztIntArray_new();
  for (const int32_t number : shuffled) ztIntArray_of(array)->pushBack(array, &number);
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) {
      use(*static_cast<const int32_t *>(ztIntArray_of(array)->getAt(array, number)));
    }
  }
  release(array);
}

void arrayInCpp(int rounds) {
  zt::Array<int32_t> array;
  for (const int32_t number : shuffled) array.push_back(number);
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) use(array[static_cast<size_t>(number)]);
  }
}

void arrayPushInC(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    ztIntArray *array = ztIntArray_new();
    for (const int32_t number : shuffled) ztIntArray_of(array)->pushBack(array, &number);
    release(array);
  }
}

void arrayPushInCpp(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    zt::Array<int32_t> array;
    for (const int32_t number : shuffled) array.push_back(number);
  }
}

void listWalkInC(int rounds) {
  ztIntList *list = ztIntList_new();
  for (const int32_t number : shuffled) ztIntList_of(list)->pushBack(list, &number);
  for (int i = 0; i < rounds; ++i) {
    for (ztListItem *item = ztIntList_of(list)->getItemAt(list, 0); item != nullptr; item = item->next) {
      use(*static_cast<const int32_t *>(item->data));
    }
  }
  release(list);
}

void listWalkInCpp(int rounds) {
  zt::List<int32_t> list;
  for (const int32_t number : shuffled) list.push_back(number);
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t &number : list) use(number);
  }
}

int32_t compareInts(const void *first, const void *second) {
  const int32_t a = *static_cast<const int32_t *>(first);
  const int32_t b = *static_cast<const int32_t *>(second);
  if (a == b) return 0;
  return a < b ? -1 : 1;
}

ztMap *filledMap() {
  ztMap *map = ztMap_new();
  const ztMapMethods *methods = ztMap_of(map);
  methods->setCompareFunction(map, compareInts);
  methods->setKeySize(map, sizeof(int32_t), 0);
  methods->setValueSize(map, sizeof(double), 0);
  for (const int32_t number : shuffled) {
    const double value = number;
    methods->pushBack(map, &number, &value);
  }
  return map;
}

zt::Map<int32_t, double> filledCppMap() {
  zt::Map<int32_t, double> map;
  for (const int32_t number : shuffled) map.insert(number, number);
  return map;
}

void mapPushInC(int rounds) {
  for (int i = 0; i < rounds; ++i) release(filledMap());
}

void mapPushInCpp(int rounds) {
  for (int i = 0; i < rounds; ++i) use(filledCppMap());
}

void mapFindInC(int rounds) {
  ztMap *map = filledMap();
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) {
      use(*static_cast<const double *>(ztMap_of(map)->findValue(map, &number)));
    }
  }
  release(map);
}

void mapFindInCpp(int rounds) {
  const auto map = filledCppMap();
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) use(*map.find(number));
  }
}

void mapWalkInC(int rounds) {
  ztMap *map = filledMap();
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *methods = ztMapIterator_of(&walk);
  for (int i = 0; i < rounds; ++i) {
    for (void *item = methods->first(&walk, map); item != nullptr; item = methods->next(&walk)) {
      use(*static_cast<const double *>(static_cast<const ztMapItem *>(item)->value));
    }
  }
  release(map);
}

void mapWalkInCpp(int rounds) {
  const auto map = filledCppMap();
  for (int i = 0; i < rounds; ++i) {
    for (auto [key, value] : map) use(value);
  }
}

ztHashTable *filledTable() {
  ztHashTable *table = ztHashTable_new();
  const ztHashTableMethods *methods = ztHashTable_of(table);
  methods->setCompareFunction(table, compareInts);
  methods->setKeySize(table, sizeof(int32_t), 0);
  methods->setValueSize(table, sizeof(double), 0);
  methods->setSize(table, 1024);
  for (const int32_t number : shuffled) {
    const double value = number;
    methods->insert(table, &number, &value);
  }
  return table;
}

void hashFindInC(int rounds) {
  ztHashTable *table = filledTable();
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) {
      use(*static_cast<const double *>(ztHashTable_of(table)->find(table, &number)->value));
    }
  }
  release(table);
}

void hashFindInCpp(int rounds) {
  zt::HashTable<int32_t, double> table(1024);
  for (const int32_t number : shuffled) table.insert(number, number);
  for (int i = 0; i < rounds; ++i) {
    for (const int32_t number : shuffled) use(*table.find(number));
  }
}

void addChildInC(int rounds) {
  ztRoot *house = ztRoot_new();
  for (int i = 0; i < rounds; ++i) {
    ztRoot *room = ztRoot_new();
    ztRoot_of(house)->addChild(house, room);
    release(room);
  }
  release(house);
}

void addChildInCpp(int rounds) {
  auto house = zt::make<ztRoot>();
  for (int i = 0; i < rounds; ++i) {
    release(zt::addChild(house, zt::make<ztRoot>()).get());
  }
}

// Of each operation, what it takes in C, and behind it what it takes in C++.
const Operation operations[] = {
    {"C: base object: new, release", makeBaseInC},
    {"C++: base object: new, release", makeBaseInCpp},
    {"C: object of an own class: new, release", makeInC},
    {"C++: object of an own class: new, release", makeInCpp},
    {"C: own method: call", callInC},
    {"C++: own method: call", callInCpp},
    {"C: own property: set", setInC},
    {"C++: own property: set", setInCpp},
    {"C: own property: get", getInC},
    {"C++: own property: get", getInCpp},
    {"C: connect a function, release", connectFunctionInC},
    {"C++: connect a function, release", connectFunctionInCpp},
    {"C: connect a receiver, disconnect", connectInC},
    {"C++: connect a receiver, disconnect", connectInCpp},
    {"C: emit to a receiver", emitInC},
    {"C++: emit to a receiver", emitInCpp},
    {"C: emit to a function", emitInC},
    {"C++: emit to a function", emitToFunctionInCpp},
    withEach("C: array: get", arrayInC),
    withEach("C++: array: get", arrayInCpp),
    withEach("C: array: push", arrayPushInC),
    withEach("C++: array: push", arrayPushInCpp),
    withEach("C: list: walk", listWalkInC),
    withEach("C++: list: walk", listWalkInCpp),
    withEach("C: map: push, free", mapPushInC),
    withEach("C++: map: push, free", mapPushInCpp),
    withEach("C: map: find", mapFindInC),
    withEach("C++: map: find", mapFindInCpp),
    withEach("C: map: walk", mapWalkInC),
    withEach("C++: map: walk", mapWalkInCpp),
    withEach("C: hash table: find", hashFindInC),
    withEach("C++: hash table: find", hashFindInCpp),
    {"C: node: add and release a child", addChildInC},
    {"C++: node: add and release a child", addChildInCpp},
};

}  // namespace

int main(int argc, char **argv) {
  return runOperations(operations, argc, argv);
}

// Sequences of operations on a container, each compared with what a plain model says.
//
// An input chooses the container, how it keeps its elements, and then the operations, with indices out of
// range, elements that cannot be copied and allocations that fail among them.
#include "fuzz/blocks.hh"
#include "fuzz/elements.hh"
#include "fuzz/objects.hh"
#include "tests/helpers/memory_file.hh"
#include "zentova.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Values = std::vector<int>;

const MemoryFile *storage;

// One container and its model.
class Subject {
 public:
  virtual ~Subject() = default;

  void run(Input &input) {
    while (!input.isEmpty()) {
      const uint8_t operation = input.byte();
      faultsBefore = allocationFaults.struck;
      if (operation == 255) {
        allocationFaults.before = static_cast<int32_t>(input.below(16));
        continue;
      }
      step(input, operation);
      settle();
    }
    allocationFaults.before = -1;
  }

 protected:
  virtual void step(Input &input, uint8_t operation) = 0;
  // Compares with the model; after an allocation that failed, the model takes over what is there.
  virtual void settle() = 0;

  bool failed() const {
    return allocationFaults.struck != faultsBefore;
  }
  bool everFailed() const {
    return allocationFaults.struck != faultsAtFirst;
  }
  // What has to hold unless an allocation failed.
  void expect(bool condition) const {
    ZT_REQUIRE(condition || failed());
  }

  void compare(const Values &found, Values &model) const {
    if (failed()) model = found;
    ZT_REQUIRE(found == model);
  }

 private:
  const int32_t faultsAtFirst = allocationFaults.struck;
  int32_t faultsBefore = 0;
};

// Arrays ------------------------------------------------------------------------------------------

class ArraySubject : public Subject {
 public:
  explicit ArraySubject(Input &input) {
    struct Typed {
      ztCtor ctor;
      Elements elements;
    };
    static const Typed typed[] = {{ztIntArray_ctor, {Elements::bytes, 4}},
                                  {ztCharArray_ctor, {Elements::bytes, 1}},
                                  {ztFloatArray_ctor, {Elements::bytes, 8}},
                                  {ztPtrArray_ctor, {Elements::pointers, 8}},
                                  {ztStringArray_ctor, {Elements::objects, sizeof(ztString)}}};
    const uint32_t choice = input.below(10);
    if (choice < 5) {
      elements = typed[choice].elements;
      array = typed[choice].ctor(nullptr, 1);
    } else {
      elements = Elements::from(input);
      array = ztArray_ctor(nullptr, 1);
      elements.configure(array);
    }
  }
  ~ArraySubject() override {
    unRef(array);
  }

 private:
  const ztArrayMethods *methods() const {
    return ztArray_of(array);
  }
  int32_t size() const {
    return static_cast<int32_t>(model.size());
  }
  bool has(int32_t index) const {
    return index >= 0 && index < size();
  }

  Values contents(const void *of) const {
    Values found;
    const int32_t count = methods()->getSize(of);
    for (int32_t i = 0; i < count; ++i) found.push_back(elements.read(methods()->getAt(of, i)));
    return found;
  }

  void settle() override {
    compare(contents(array), model);
    const bool isEmpty = model.empty();
    ZT_REQUIRE(methods()->isEmpty(array) == isEmpty);
    ZT_REQUIRE((methods()->getData(array) == nullptr) == isEmpty);
    if (isEmpty) {
      ZT_REQUIRE(methods()->getFront(array) == nullptr && methods()->getBack(array) == nullptr);
    } else {
      ZT_REQUIRE(elements.read(methods()->getFront(array)) == model.front());
      ZT_REQUIRE(elements.read(methods()->getBack(array)) == model.back());
    }
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 18) {
      case 0:
      case 1:
        pushBack(elements.value(input));
        break;
      case 2:
        if (elements.hasBad()) ZT_REQUIRE(methods()->pushBack(array, elements.giveBad(input)) == nullptr);
        break;
      case 3:
        pushUnique(elements.value(input));
        break;
      case 4:
        removeAt(input.count());
        break;
      case 5:
        getAt(input.count());
        break;
      case 6:
        setAt(elements.value(input), input.count());
        break;
      case 7:
        setBad(input);
        break;
      case 8:
        pushOwn(input.count());
        break;
      case 9:
        methods()->empty(array);
        model.clear();
        break;
      case 10:
        setSize(input.count());
        break;
      case 11:
        resize(input.count());
        break;
      case 12:
        sortAndSearch(elements.value(input));
        break;
      case 13:
        find(elements.value(input));
        break;
      case 14:
        copy(input.flag());
        break;
      case 15:
        assign(input);
        break;
      case 16:
        setOwn(input.count(), input.count());
        break;
      default:
        storeAndLoad();
    }
  }

  void pushBack(int value) {
    const void *slot = methods()->pushBack(array, elements.give(value));
    expect(slot != nullptr);
    if (slot != nullptr) model.push_back(value);
  }

  static int32_t matchSame(const void *stored, const void *given) {
    return matching->compare()(stored, given) == 0;
  }
  void pushUnique(int value) {
    matching = &elements;
    const bool isThere = std::find(model.begin(), model.end(), value) != model.end();
    const int32_t pushed = methods()->pushBackUnique(array, elements.give(value), matchSame);
    expect(pushed == !isThere);
    if (pushed) model.push_back(value);
  }

  void removeAt(int32_t index) {
    methods()->removeAt(array, index);
    if (has(index)) model.erase(model.begin() + index);
  }

  void getAt(int32_t index) {
    const void *element = methods()->getAt(array, index);
    if (has(index)) {
      ZT_REQUIRE(elements.read(element) == model[static_cast<size_t>(index)]);
    } else if (elements.kind == Elements::pointers) {
      ZT_REQUIRE(element == nullptr);
    }
  }

  void setAt(int value, int32_t index) {
    const void *slot = methods()->setAt(array, elements.give(value), index);
    expect((slot != nullptr) == has(index));
    if (slot != nullptr) model[static_cast<size_t>(index)] = value;
  }

  void setBad(Input &input) {
    const int32_t index = input.count();
    if (!elements.hasBad()) return;
    ZT_REQUIRE(methods()->setAt(array, elements.giveBad(input), index) == nullptr);
  }

  void pushOwn(int32_t index) {
    if (!has(index)) return;
    const void *slot = methods()->pushBack(array, methods()->getAt(array, index));
    expect(slot != nullptr);
    if (slot != nullptr) model.push_back(model[static_cast<size_t>(index)]);
  }

  void setOwn(int32_t from, int32_t to) {
    if (!has(from)) return;
    const void *slot = methods()->setAt(array, methods()->getAt(array, from), to);
    expect((slot != nullptr) == has(to));
    if (slot != nullptr) model[static_cast<size_t>(to)] = model[static_cast<size_t>(from)];
  }

  // Bounded for time; beyond that only what no array can hold.
  int32_t countFor(int32_t wanted) const {
    const bool isTooLarge = wanted > 1000 && int64_t{wanted} * elements.size > INT32_MAX;
    return wanted <= 1000 || isTooLarge ? wanted : 7;
  }
  bool canHold(int32_t count) const {
    return count >= 0 && int64_t{count} * elements.size <= INT32_MAX;
  }

  void setSize(int32_t wanted) {
    const int32_t count = countFor(wanted);
    const int32_t done = methods()->setSize(array, count);
    expect(done == canHold(count));
    if (done && (count != size() || count == 0)) model.assign(static_cast<size_t>(count), 0);
  }

  void resize(int32_t wanted) {
    const int32_t count = countFor(wanted);
    const int32_t done = methods()->resize(array, count);
    expect(done == canHold(count));
    if (done) model.resize(static_cast<size_t>(count), 0);
  }

  void sortAndSearch(int value) {
    // Elements of no bytes are nothing that a sort could tell apart.
    if (elements.size == 0) return;
    methods()->sort(array, elements.compareSlots());
    std::sort(model.begin(), model.end());
    const void *given = elements.give(value);
    const void *key = elements.kind == Elements::pointers ? static_cast<const void *>(&given) : given;
    const void *slot = methods()->search(array, key, elements.compareSlots());
    ZT_REQUIRE((slot != nullptr) == std::binary_search(model.begin(), model.end(), value));
  }

  void find(int value) {
    const auto at = std::find(model.begin(), model.end(), value);
    const void *found = methods()->find(array, elements.give(value));
    if (at == model.end()) {
      ZT_REQUIRE(found == nullptr);
    } else {
      ZT_REQUIRE(found == methods()->getAt(array, static_cast<int32_t>(at - model.begin())));
    }
  }

  void copy(bool goOnWithCopy) {
    void *made = newCopy(array);
    expect(made != nullptr);
    if (made == nullptr) return;
    ZT_REQUIRE(contents(made) == model);
    if (goOnWithCopy) std::swap(made, array);
    unRef(made);
  }

  void assign(Input &input) {
    void *other = newCopy(array);
    if (other == nullptr) return;
    const int32_t removed = static_cast<int32_t>(input.below(4));
    for (int32_t i = 0; i < removed; ++i) methods()->removeAt(other, 0);
    const int value = elements.value(input);
    if (methods()->setAt(other, elements.give(value), 0) != nullptr || !failed()) {
      const Values source = contents(other);
      ZT_REQUIRE(ztArray_of(array)->assign(array, other) == 1);
      std::copy_n(source.begin(), std::min(source.size(), model.size()), model.begin());
      // A string that was made without memory takes over nothing.
      if (everFailed()) model = contents(array);
    }
    unRef(other);
  }

  void storeAndLoad() {
    // Strings do not read back in binary form, and pointers that do are the process's own.
    if (elements.kind == Elements::objects) return;
    const NoFaults meanwhile;
    void *file = ztFile_ctor(nullptr, 1);
    ZT_REQUIRE(ztFile_of(file)->open(file, storage->path(), "w+b") == 1);
    ZT_REQUIRE(methods()->write(array, file) == 1);
    ztFile_of(file)->goToBegin(file);
    ZT_REQUIRE(methods()->read(array, file) == 1);
    unRef(file);
  }

  static const Elements *matching;

  Elements elements;
  void *array;
  Values model;
};

const Elements *ArraySubject::matching;

// Lists -------------------------------------------------------------------------------------------

class ListSubject : public Subject {
 public:
  explicit ListSubject(Input &input) {
    const uint32_t choice = input.below(8);
    if (choice == 0) {
      elements = {Elements::bytes, 4};
      list = ztIntList_ctor(nullptr, 1);
    } else if (choice == 1) {
      elements = {Elements::objects, sizeof(ztString)};
      list = ztStringList_ctor(nullptr, 1);
    } else if (choice == 2) {
      elements = {Elements::pointers, 8};
      list = ztPtrList_ctor(nullptr, 1);
    } else {
      elements = Elements::from(input);
      list = ztList_ctor(nullptr, 1);
      elements.configure(list);
    }
    manager = ztList_ctor(nullptr, 1);
    elements.configure(manager);
    if (choice == 3) methods()->setItemManager(list, manager);
  }
  ~ListSubject() override {
    unRef(list);
    unRef(manager);
  }

 private:
  const ztListMethods *methods() const {
    return ztList_of(list);
  }
  ztListItem *itemAt(int32_t index) const {
    return methods()->getItemAt(list, index);
  }
  bool has(int32_t index) const {
    return index >= 0 && index < static_cast<int32_t>(model.size());
  }

  Values contents(const void *of) const {
    Values found;
    const ztListItem *before = nullptr;
    for (const ztListItem *item = methods()->getItemAt(of, 0); item != nullptr; item = item->next) {
      ZT_REQUIRE(item->prev == before);
      found.push_back(elements.read(item->data));
      before = item;
    }
    ZT_REQUIRE(methods()->getSize(of) == static_cast<int32_t>(found.size()));
    ZT_REQUIRE(static_cast<const ztList *>(of)->tail == before);
    return found;
  }

  void settle() override {
    compare(contents(list), model);
    if (model.empty()) {
      ZT_REQUIRE(methods()->getFront(list) == nullptr && methods()->getBack(list) == nullptr);
    } else {
      ZT_REQUIRE(elements.read(methods()->getFront(list)) == model.front());
      ZT_REQUIRE(elements.read(methods()->getBack(list)) == model.back());
    }
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 14) {
      case 0:
      case 1:
        insert(methods()->pushBack(list, give(input)), model.size());
        break;
      case 2:
        insert(methods()->pushFront(list, give(input)), 0);
        break;
      case 3:
      case 4:
        insertAt(input, operation % 14 == 3);
        break;
      case 5:
        pushBad(input);
        break;
      case 6:
        popFront();
        break;
      case 7:
        popBack();
        break;
      case 8:
        remove(input.count());
        break;
      case 9:
        find(elements.value(input));
        break;
      case 10:
        getAt(input.count());
        break;
      case 11:
        methods()->empty(list);
        model.clear();
        break;
      case 12:
        copy(input.flag());
        break;
      default:
        ZT_REQUIRE(methods()->assign(list, manager) == 1);
    }
  }

  const void *give(Input &input) {
    given = elements.value(input);
    return elements.give(given);
  }

  void insert(const ztListItem *item, size_t index) {
    expect(item != nullptr);
    if (item == nullptr) return;
    ZT_REQUIRE(item == itemAt(static_cast<int32_t>(index)));
    model.insert(model.begin() + static_cast<ptrdiff_t>(index), given);
  }

  void insertAt(Input &input, bool before) {
    const int32_t index = input.count();
    const void *element = give(input);
    ztListItem *item = itemAt(index);
    const ztListItem *made =
        before ? methods()->insertPrev(list, item, element) : methods()->insertNext(list, item, element);
    if (has(index)) {
      insert(made, static_cast<size_t>(index) + !before);
    } else {
      ZT_REQUIRE(made == nullptr);
    }
  }

  void pushBad(Input &input) {
    if (!elements.hasBad()) return;
    const void *bad = elements.giveBad(input);
    ZT_REQUIRE(methods()->pushBack(list, bad) == nullptr);
    ZT_REQUIRE(methods()->pushFront(list, bad) == nullptr);
    ZT_REQUIRE(methods()->insertNext(list, itemAt(0), bad) == nullptr);
  }

  void popFront() {
    void *element = methods()->getFront(list);
    const bool isEmpty = model.empty();
    const ztListItem *head = methods()->popFront(list);
    ZT_REQUIRE(head == itemAt(0));
    if (isEmpty) return;
    elements.release(element);
    model.erase(model.begin());
  }

  void popBack() {
    const ztListItem *tail = methods()->popBack(list);
    ZT_REQUIRE(tail == static_cast<const ztList *>(list)->tail);
    if (!model.empty()) model.pop_back();
  }

  void remove(int32_t index) {
    ztListItem *item = itemAt(index);
    if (index == 0) {
      // It hands the element over as well.
      void *element = item == nullptr ? nullptr : item->data;
      methods()->removeItem(list, item);
      if (item != nullptr) elements.release(element);
    } else {
      methods()->removeItem(list, item);
    }
    if (has(index)) model.erase(model.begin() + index);
  }

  void find(int value) {
    const auto at = std::find(model.begin(), model.end(), value);
    const ztListItem *found = methods()->find(list, elements.give(value));
    if (at == model.end()) {
      ZT_REQUIRE(found == nullptr);
    } else {
      ZT_REQUIRE(found != nullptr && found == itemAt(static_cast<int32_t>(at - model.begin())));
    }
  }

  void getAt(int32_t index) {
    const void *element = methods()->getAt(list, index);
    if (has(index)) {
      ZT_REQUIRE(elements.read(element) == model[static_cast<size_t>(index)]);
    } else {
      ZT_REQUIRE(element == nullptr);
    }
  }

  void copy(bool goOnWithCopy) {
    void *made = newCopy(list);
    expect(made != nullptr);
    if (made == nullptr) return;
    ZT_REQUIRE(contents(made) == model);
    if (goOnWithCopy) std::swap(made, list);
    unRef(made);
  }

  Elements elements;
  void *list;
  void *manager;
  Values model;
  int given = 0;
};

// Queues, stacks and deques -----------------------------------------------------------------------

class AdaptorSubject : public Subject {
 public:
  explicit AdaptorSubject(Input &input) {
    static const ztCtor constructors[] = {ztDeque_ctor, ztQueue_ctor, ztStack_ctor, ztPtrQueue_ctor,
                                          ztPtrStack_ctor};
    static const Kind kinds[] = {deque, queue, stack, queue, stack};
    const uint32_t choice = input.below(5);
    kind = kinds[choice];
    elements = choice < 3 ? Elements::from(input) : Elements{Elements::pointers, 8};
    container = constructors[choice](nullptr, 1);
    if (choice < 3) elements.configure(container);
  }
  ~AdaptorSubject() override {
    unRef(container);
  }

 private:
  enum Kind { deque, queue, stack };

  const ztDequeMethods *asDeque() const {
    return ztDeque_of(container);
  }
  const ztQueueMethods *asQueue() const {
    return ztQueue_of(container);
  }
  const ztStackMethods *asStack() const {
    return ztStack_of(container);
  }

  const ztList *innerOf(const void *of) const {
    if (kind == deque) return static_cast<const ztDeque *>(of)->inner;
    const ztDeque *inner =
        kind == queue ? static_cast<const ztQueue *>(of)->inner : static_cast<const ztStack *>(of)->inner;
    return inner->inner;
  }
  Values contents(const void *of) const {
    Values found;
    for (const ztListItem *item = innerOf(of)->head; item != nullptr; item = item->next) {
      found.push_back(elements.read(item->data));
    }
    return found;
  }

  const void *front() const {
    return kind == deque ? asDeque()->getFront(container) : asQueue()->getFront(container);
  }
  const void *back() const {
    if (kind == stack) return asStack()->getTop(container);
    return kind == deque ? asDeque()->getBack(container) : asQueue()->getBack(container);
  }
  int32_t isEmpty() const {
    if (kind == stack) return asStack()->isEmpty(container);
    return kind == deque ? asDeque()->isEmpty(container) : asQueue()->isEmpty(container);
  }

  void settle() override {
    compare(contents(container), model);
    ZT_REQUIRE(isEmpty() == model.empty());
    ZT_REQUIRE(ztSequenceContainer_of(container)->getSize(container) == static_cast<int32_t>(model.size()));
    if (model.empty()) {
      ZT_REQUIRE(back() == nullptr);
    } else {
      ZT_REQUIRE(elements.read(back()) == model.back());
      if (kind != stack) ZT_REQUIRE(elements.read(front()) == model.front());
    }
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 8) {
      case 0:
      case 1:
      case 2:
        pushBack(elements.value(input));
        break;
      case 3:
        pushFront(elements.value(input));
        break;
      case 4:
        popBack();
        break;
      case 5:
        popFront();
        break;
      case 6:
        if (elements.hasBad()) ZT_REQUIRE(push(elements.giveBad(input)) == nullptr);
        break;
      default:
        copy(input.flag());
    }
  }

  const ztListItem *push(const void *element) {
    if (kind == stack) return asStack()->push(container, element);
    return kind == deque ? asDeque()->pushBack(container, element) : asQueue()->push(container, element);
  }

  void pushBack(int value) {
    const ztListItem *item = push(elements.give(value));
    expect(item != nullptr);
    if (item != nullptr) model.push_back(value);
  }

  void pushFront(int value) {
    if (kind != deque) return;
    const ztListItem *item = asDeque()->pushFront(container, elements.give(value));
    expect(item != nullptr);
    if (item != nullptr) model.insert(model.begin(), value);
  }

  void popBack() {
    if (kind == queue) return;
    if (kind == deque) {
      asDeque()->popBack(container);
    } else {
      asStack()->pop(container);
    }
    if (!model.empty()) model.pop_back();
  }

  void popFront() {
    if (kind == stack) return;
    void *element = const_cast<void *>(front());
    if (kind == deque) {
      asDeque()->popFront(container);
    } else {
      asQueue()->pop(container);
    }
    if (model.empty()) return;
    elements.release(element);
    model.erase(model.begin());
  }

  void copy(bool goOnWithCopy) {
    void *made = newCopy(container);
    expect(made != nullptr);
    if (made == nullptr) return;
    ZT_REQUIRE(contents(made) == model);
    if (goOnWithCopy) std::swap(made, container);
    unRef(made);
  }

  Kind kind;
  Elements elements;
  void *container;
  Values model;
};

// Trees -------------------------------------------------------------------------------------------

int32_t heightOf(const ztAvlTreeItem *item) {
  if (item == nullptr) return 0;
  const int32_t left = heightOf(item->left);
  const int32_t right = heightOf(item->right);
  ZT_REQUIRE(item->balance == right - left && item->balance >= -1 && item->balance <= 1);
  return 1 + std::max(left, right);
}

// The items in order, met in both directions.
std::vector<ztAvlTreeItem *> walk(const ztAvlTree *tree, const void *container, ztCtor iterator) {
  heightOf(tree->root);
  ztMapIterator there;
  iterator(&there, 1);
  const ztAvlIteratorMethods *methods = ztAvlIterator_of(&there);
  std::vector<ztAvlTreeItem *> items;
  for (void *item = methods->first(&there, container); item != nullptr; item = methods->next(&there)) {
    items.push_back(static_cast<ztAvlTreeItem *>(item));
  }
  ZT_REQUIRE(methods->next(&there) == nullptr && methods->prev(&there) == nullptr);
  size_t left = items.size();
  for (void *item = methods->last(&there, container); item != nullptr; item = methods->prev(&there)) {
    ZT_REQUIRE(left > 0 && items[--left] == item);
  }
  ZT_REQUIRE(left == 0 && tree->count == items.size());
  methods->destroy(&there);
  return items;
}

// The path of a walk leads on from wherever it stands: a few steps there and back.
void wander(const void *container, ztCtor iterator, Input &input) {
  ztMapIterator there;
  iterator(&there, 1);
  const ztAvlIteratorMethods *methods = ztAvlIterator_of(&there);
  const void *item = input.flag() ? methods->first(&there, container) : methods->last(&there, container);
  for (uint32_t i = input.below(8); i > 0 && item != nullptr; --i) {
    const void *before = item;
    const bool isForwards = input.flag();
    item = isForwards ? methods->next(&there) : methods->prev(&there);
    if (item == nullptr) break;
    ZT_REQUIRE((isForwards ? methods->prev(&there) : methods->next(&there)) == before);
    item = isForwards ? methods->next(&there) : methods->prev(&there);
  }
  methods->destroy(&there);
}

class TreeSubject : public Subject {
 public:
  explicit TreeSubject(Input &input) : elements(Elements::from(input)), tree(ztAvlTree_ctor(nullptr, 1)) {
    elements.configure(tree);
    hasDuplicates = input.flag();
    methods()->setAllowDuplicate(tree, hasDuplicates);
    manager = ztAvlTree_ctor(nullptr, 1);
    elements.configure(manager);
    if (input.below(4) == 0) methods()->setItemManager(tree, manager);
  }
  ~TreeSubject() override {
    unRef(tree);
    unRef(manager);
  }

 private:
  const ztAvlTreeMethods *methods() const {
    return ztAvlTree_of(tree);
  }

  Values contents(const void *of) const {
    Values found;
    for (const ztAvlTreeItem *item : walk(static_cast<const ztAvlTree *>(of), of, ztAvlIterator_ctor)) {
      found.push_back(elements.read(item->data));
    }
    return found;
  }

  void settle() override {
    compare(contents(tree), model);
    ZT_REQUIRE(methods()->getSize(tree) == static_cast<int32_t>(model.size()));
  }

  bool has(int value) const {
    return std::binary_search(model.begin(), model.end(), value);
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 10) {
      case 0:
      case 1:
      case 2:
        push(elements.value(input));
        break;
      case 3:
      case 4:
        pop(elements.value(input));
        break;
      case 5:
        find(elements.value(input));
        break;
      case 6:
        findAll(elements.value(input), input.below(3));
        break;
      case 7:
        copy(input.flag());
        break;
      case 8:
        wander(tree, ztAvlIterator_ctor, input);
        break;
      default:
        emptyOrPushBad(input);
    }
  }

  void push(int value) {
    const bool isRefused = !hasDuplicates && has(value);
    const ztAvlTreeItem *item = methods()->push(tree, elements.give(value));
    expect((item == nullptr) == isRefused);
    if (item == nullptr) return;
    ZT_REQUIRE(elements.read(item->data) == value);
    model.insert(std::lower_bound(model.begin(), model.end(), value), value);
  }

  void pop(int value) {
    const bool isThere = has(value);
    const int32_t popped = methods()->pop(tree, elements.give(value));
    expect(popped == (isThere || model.empty()));
    if (popped && isThere) model.erase(std::lower_bound(model.begin(), model.end(), value));
  }

  void find(int value) {
    const ztAvlTreeItem *item = methods()->find(tree, elements.give(value));
    ZT_REQUIRE((item != nullptr) == has(value));
    if (item != nullptr) ZT_REQUIRE(elements.read(item->data) == value);
  }

  void findAll(int value, uint32_t choice) {
    static const ztCtor constructors[] = {ztList_ctor, ztArray_ctor, ztAvlTree_ctor};
    void *output = constructors[choice](nullptr, 1);
    if (output == nullptr) return;
    elements.configure(output);
    ztSequenceContainer_of(output)->setAllowDuplicate(output, 1);
    const int32_t size = methods()->findAll(tree, elements.give(value), output);
    const auto [first, last] = std::equal_range(model.begin(), model.end(), value);
    ZT_REQUIRE(size <= last - first && (hasDuplicates || size == 0));
    expect(size > 0 || first == last || !hasDuplicates);
    ZT_REQUIRE(ztSequenceContainer_of(output)->getSize(output) == size || failed());
    unRef(output);
  }

  void copy(bool goOnWithCopy) {
    void *made = newCopy(tree);
    expect(made != nullptr);
    if (made == nullptr) return;
    ZT_REQUIRE(contents(made) == model);
    if (goOnWithCopy) std::swap(made, tree);
    unRef(made);
  }

  void emptyOrPushBad(Input &input) {
    if (input.below(4) == 0) {
      methods()->empty(tree);
      model.clear();
    } else if (elements.kind == Elements::objects) {
      ZT_REQUIRE(methods()->push(tree, nullptr) == nullptr);
    }
  }

  Elements elements;
  void *tree;
  void *manager;
  bool hasDuplicates;
  Values model;
};

// Maps --------------------------------------------------------------------------------------------

using Pairs = std::vector<std::pair<int, int>>;

class MapSubject : public Subject {
 public:
  explicit MapSubject(Input &input)
      : keys(Elements::from(input)), values(Elements::from(input)), map(ztMap_ctor(nullptr, 1)) {
    keys.configureKeys(map);
    values.configureValues(map);
    hasDuplicates = input.flag();
    methods()->setAllowDuplicate(map, hasDuplicates);
  }
  ~MapSubject() override {
    unRef(map);
  }

 private:
  const ztMapMethods *methods() const {
    return ztMap_of(map);
  }

  Pairs contents(const void *of) const {
    Pairs found;
    for (const ztAvlTreeItem *item : walk(static_cast<const ztMap *>(of)->tree, of, ztMapIterator_ctor)) {
      const auto *pair = reinterpret_cast<const ztMapItem *>(item);
      found.emplace_back(keys.read(pair->data), values.read(pair->value));
    }
    return found;
  }

  void settle() override {
    const Pairs found = contents(map);
    if (failed()) model = found;
    ZT_REQUIRE(found == model);
    ZT_REQUIRE(methods()->getSize(map) == static_cast<int32_t>(model.size()));
  }

  Pairs::iterator firstOf(int key) {
    return std::lower_bound(model.begin(), model.end(), key,
                            [](const std::pair<int, int> &pair, int wanted) { return pair.first < wanted; });
  }
  bool has(int key) {
    const auto at = firstOf(key);
    return at != model.end() && at->first == key;
  }
  bool hasPair(int key, int value) {
    return std::find(model.begin(), model.end(), std::make_pair(key, value)) != model.end();
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 9) {
      case 0:
      case 1:
      case 2:
        push(keys.value(input), values.value(input));
        break;
      case 3:
      case 4:
        pop(keys.value(input));
        break;
      case 5:
        find(keys.value(input));
        break;
      case 6:
        findAll(keys.value(input));
        break;
      case 7:
        copy(input.flag());
        break;
      default:
        if (input.below(4) == 0) {
          methods()->empty(map);
          model.clear();
        } else {
          wander(map, ztMapIterator_ctor, input);
        }
    }
  }

  void push(int key, int value) {
    const bool isRefused = !hasDuplicates && has(key);
    const ztMapItem *item = methods()->pushBack(map, keys.give(key), values.give(value));
    expect((item == nullptr) == isRefused);
    if (item == nullptr) return;
    ZT_REQUIRE(keys.read(item->data) == key && values.read(item->value) == value);
    model.insert(firstOf(key), {key, value});
  }

  // Which of several pairs of a key goes is seen only afterwards.
  void pop(int key) {
    const bool isThere = has(key);
    const int32_t popped = methods()->pop(map, keys.give(key));
    expect(popped == (isThere || model.empty()));
    if (!popped || !isThere) return;
    const Pairs found = contents(map);
    ZT_REQUIRE(found.size() + 1 == model.size());
    auto at = firstOf(key);
    while (at - model.begin() < static_cast<ptrdiff_t>(found.size()) &&
           *at == found[static_cast<size_t>(at - model.begin())])
      ++at;
    ZT_REQUIRE(at != model.end() && at->first == key);
    model.erase(at);
  }

  void find(int key) {
    const ztMapItem *item = methods()->find(map, keys.give(key));
    ZT_REQUIRE((item != nullptr) == has(key));
    const void *value = methods()->findValue(map, keys.give(key));
    if (item == nullptr) {
      ZT_REQUIRE(value == nullptr);
    } else {
      ZT_REQUIRE(value == item->value);
      ZT_REQUIRE(keys.read(item->data) == key && hasPair(key, values.read(value)));
    }
  }

  void findAll(int key) {
    void *output = ztMap_ctor(nullptr, 1);
    if (output == nullptr) return;
    keys.configureKeys(output);
    values.configureValues(output);
    const int32_t size = methods()->findAll(map, keys.give(key), output);
    expect((size > 0) == (hasDuplicates && has(key)));
    if (static_cast<const ztMap *>(output)->tree != nullptr) {
      for (const auto &[foundKey, value] : contents(output))
        ZT_REQUIRE(foundKey == key && hasPair(key, value));
    }
    unRef(output);
  }

  void copy(bool goOnWithCopy) {
    void *made = newCopy(map);
    expect(made != nullptr);
    if (made == nullptr) return;
    ZT_REQUIRE(contents(made) == model);
    if (goOnWithCopy) std::swap(made, map);
    unRef(made);
  }

  Elements keys;
  Elements values;
  void *map;
  bool hasDuplicates;
  Pairs model;
};

// Hash tables -------------------------------------------------------------------------------------

class HashTableSubject : public Subject {
 public:
  explicit HashTableSubject(Input &input)
      : keys(Elements::from(input)), values(Elements::from(input)), table(ztHashTable_ctor(nullptr, 1)) {
    // Objects are hashed by their addresses, and pointers by what they point to, if to anything.
    if (keys.kind == Elements::objects) keys.kind = Elements::bytes;
    keys.configureKeys(table);
    values.configureValues(table);
    hasDuplicates = input.flag();
    methods()->setAllowDuplicate(table, hasDuplicates);
  }
  ~HashTableSubject() override {
    unRef(table);
  }

 private:
  const ztHashTableMethods *methods() const {
    return ztHashTable_of(table);
  }
  int key(Input &input) const {
    const int value = keys.value(input);
    return keys.kind == Elements::pointers && value == 0 ? 1 : value;
  }

  // Every pair, those of one key the newest first.
  Pairs contents(const void *of) const {
    Pairs found;
    const auto *whole = static_cast<const ztHashTable *>(of);
    const ztPtrArray *slots = whole->buckets;
    for (int32_t i = 0; whole->count > 0 && i < ztPtrArray_of(slots)->getSize(slots); ++i) {
      const auto *item = static_cast<const ztHashTableItem *>(ztPtrArray_of(slots)->getAt(slots, i));
      for (; item != nullptr; item = item->next) {
        found.emplace_back(keys.read(item->data), values.read(item->value));
      }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto &one, const auto &other) { return one.first < other.first; });
    ZT_REQUIRE(found.size() == whole->count);
    return found;
  }

  void settle() override {
    const Pairs found = contents(table);
    if (failed()) model = found;
    ZT_REQUIRE(found == model);
  }

  Pairs::iterator firstOf(int wanted) {
    return std::lower_bound(model.begin(), model.end(), wanted,
                            [](const std::pair<int, int> &pair, int other) { return pair.first < other; });
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 8) {
      case 0:
      case 1:
      case 2:
        insert(key(input), values.value(input));
        break;
      case 3:
      case 4:
        find(key(input));
        break;
      case 5:
        setSize(input.count());
        break;
      case 6:
        copy(input.flag());
        break;
      default:
        if (input.below(4) != 0) return;
        methods()->empty(table);
        model.clear();
    }
  }

  void insert(int wanted, int value) {
    const auto at = firstOf(wanted);
    const bool isThere = at != model.end() && at->first == wanted;
    const bool isRefused = buckets == 0 || (isThere && !hasDuplicates);
    const int32_t done = methods()->insert(table, keys.give(wanted), values.give(value));
    expect(done == !isRefused);
    if (done) model.insert(at, {wanted, value});
  }

  void find(int wanted) {
    const auto at = firstOf(wanted);
    const bool isThere = at != model.end() && at->first == wanted;
    const ztHashTableItem *item = methods()->find(table, keys.give(wanted));
    ZT_REQUIRE((item != nullptr) == isThere);
    if (isThere) ZT_REQUIRE(values.read(item->value) == at->second);
  }

  void setSize(int32_t wanted) {
    const int32_t count = wanted > 1000 && wanted < INT32_MAX / 4 ? 16 : wanted;
    const bool isPossible = count >= 0 && count <= 1000;
    const int32_t done = methods()->setSize(table, count);
    expect(done == isPossible);
    if (done) {
      model.clear();
      buckets = count;
    }
    if (failed()) buckets = ztPtrArray_of(bucketsOf())->getSize(bucketsOf());
  }
  const ztPtrArray *bucketsOf() const {
    return static_cast<const ztHashTable *>(table)->buckets;
  }

  void copy(bool goOnWithCopy) {
    void *made = newCopy(table);
    expect(made != nullptr);
    if (made == nullptr) return;
    // The newest of a key comes first in the copy, too.
    ZT_REQUIRE(contents(made) == model);
    if (goOnWithCopy) std::swap(made, table);
    unRef(made);
  }

  Elements keys;
  Elements values;
  void *table;
  bool hasDuplicates;
  int32_t buckets = 0;
  Pairs model;
};

// Strings -----------------------------------------------------------------------------------------

class StringSubject : public Subject {
 public:
  explicit StringSubject(Input &) : string(ztString_ctor(nullptr, 1)) {}
  ~StringSubject() override {
    unRef(string);
  }

 private:
  const ztStringMethods *methods() const {
    return ztString_of(string);
  }
  std::string text(const void *of) const {
    const char *found = methods()->get(of);
    return found == nullptr ? "" : found;
  }

  void settle() override {
    if (failed()) model = text(string);
    ZT_REQUIRE(text(string) == model);
    ZT_REQUIRE(methods()->length(string) == model.size());
    ZT_REQUIRE(methods()->isEmpty(string) == model.empty());
  }

  void step(Input &input, uint8_t operation) override {
    if (model.size() > 4000) methods()->set(string, model.erase(8).c_str());
    switch (operation % 7) {
      case 0:
        set(input.text(40));
        break;
      case 1:
        cat(input.text(40));
        break;
      case 2:
        if (methods()->cat(string, string) != nullptr) model += model;
        break;
      case 3:
        setOwn(input.below(static_cast<uint32_t>(model.size()) + 1));
        break;
      case 4:
        methods()->set(string, nullptr);
        model.clear();
        ZT_REQUIRE(failed() || methods()->get(string) == nullptr);
        break;
      case 5:
        compareWith(input.flag() ? model : input.text(40));
        break;
      default:
        copy(input.flag());
    }
  }

  void set(const std::string &value) {
    const void *done = methods()->set(string, value.c_str());
    expect(done == string);
    if (done != nullptr) model = value;
  }

  void setOwn(uint32_t from) {
    if (methods()->get(string) == nullptr) return;
    const void *done = methods()->set(string, methods()->get(string) + from);
    expect(done == string);
    if (done != nullptr) model = model.substr(from);
  }

  void cat(const std::string &value) {
    void *other = ztString_ctor(nullptr, 1);
    if (other == nullptr) return;
    if (ztString_of(other)->set(other, value.c_str()) != nullptr) {
      const void *done = methods()->cat(string, other);
      expect(done == string);
      if (done != nullptr) model += value;
    }
    unRef(other);
  }

  void compareWith(const std::string &value) {
    const NoFaults meanwhile;
    void *other = ztString_ctor(nullptr, 1);
    ztString_of(other)->set(other, value.c_str());
    const int order = strcmp(model.c_str(), value.c_str());
    ZT_REQUIRE(methods()->isEqual(string, other) == (order == 0));
    ZT_REQUIRE(methods()->isLess(string, other) == (order < 0));
    ZT_REQUIRE(methods()->isMajor(string, other) == (order > 0));
    const int32_t sign = (order > 0) - (order < 0);
    ZT_REQUIRE(ztStringArray_compare_func(string, other) == sign);
    ZT_REQUIRE(ztStringList_compare_func(string, other) == sign);
    unRef(other);
  }

  void copy(bool byAssigning) {
    void *made = byAssigning ? ztString_ctor(nullptr, 1) : newCopy(string);
    expect(made != nullptr);
    if (made == nullptr) return;
    if (byAssigning) expect(ztString_of(made)->assign(made, string) == 1);
    expect(text(made) == model);
    if (!failed()) std::swap(made, string);
    unRef(made);
  }

  void *string;
  std::string model;
};

std::unique_ptr<Subject> choose(Input &input) {
  switch (input.below(8)) {
    case 0:
    case 1:
      return std::make_unique<ArraySubject>(input);
    case 2:
      return std::make_unique<ListSubject>(input);
    case 3:
      return std::make_unique<AdaptorSubject>(input);
    case 4:
      return std::make_unique<TreeSubject>(input);
    case 5:
      return std::make_unique<MapSubject>(input);
    case 6:
      return std::make_unique<HashTableSubject>(input);
    default:
      return std::make_unique<StringSubject>(input);
  }
}

}  // namespace

int LLVMFuzzerInitialize(int *, char ***) {
  static const MemoryFile file;
  storage = &file;
  ztLc_closeLogFile();
  forms.make();
  return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const NoBlocksLeft check;
  Input input(data, size);
  choose(input)->run(input);
  return 0;
}

// Sequences of operations on a container, each compared with what a plain model says.
//
// An input chooses the container, how it keeps its elements, and then the operations, with indices out of
// range, elements that cannot be copied and allocations that fail among them.
#include "fuzz/blocks.hh"
#include "fuzz/elements.hh"
#include "fuzz/objects.hh"
#include "tests/helpers/storage.hh"
#include "zentova.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Values = std::vector<int>;

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
  // What has to hold unless an allocation failed; whether it does.
  bool expect(bool condition) const {
    ZT_REQUIRE(condition || failed());
    return condition;
  }

 private:
  const int32_t faultsAtFirst = allocationFaults.struck;
  int32_t faultsBefore = 0;
};

// One whose contents are compared with a model of the type.
template <typename Object, typename Methods, typename Model>
class Modelled : public Subject {
 protected:
  virtual Model contents(const void *of) const = 0;
  // What else holds of a container whose contents are the model's.
  virtual void check() const = 0;

  void settle() final {
    const Model found = contents(container);
    if (failed()) model = found;
    ZT_REQUIRE(found == model);
    check();
  }

  void copy(bool goOnWithCopy) {
    Owned<Object, Methods> made(newCopy(container));
    if (!expect(made != nullptr)) return;
    ZT_REQUIRE(contents(made) == model);
    if (goOnWithCopy) std::swap(made, container);
  }

  void empty() {
    container->empty(container);
    model.clear();
  }

  Owned<Object, Methods> manager;  // which outlives the container
  Owned<Object, Methods> container;
  Model model;
};

// A class of containers, and the elements that it is made for.
struct Typed {
  ztCtor ctor;
  Elements elements;
};

// One of single elements.
template <typename Object, typename Methods>
class Sequence : public Modelled<Object, Methods, Values> {
 protected:
  using Container = Owned<Object, Methods>;

  // Of one of the classes or, where the choice is none of them, with elements of any kind.
  void make(std::initializer_list<Typed> classes, uint32_t choice, ztCtor other, Input &input) {
    const bool isTyped = choice < classes.size();
    elements = isTyped ? classes.begin()[choice].elements : Elements::from(input);
    this->container = Container(isTyped ? classes.begin()[choice].ctor : other);
    if (!isTyped) elements.configure(this->container);
  }
  void manageItems(ztCtor ctor, bool isUsed) {
    this->manager = Container(ctor);
    elements.configure(this->manager);
    if (isUsed) this->container->setItemManager(this->container, this->manager);
  }

  bool has(int32_t index) const {
    return index >= 0 && index < static_cast<int32_t>(this->model.size());
  }
  void checkEnds(const void *front, const void *back) const {
    if (this->model.empty()) {
      ZT_REQUIRE(front == nullptr && back == nullptr);
    } else {
      ZT_REQUIRE(elements.read(front) == this->model.front() && elements.read(back) == this->model.back());
    }
  }

  Elements elements;
};

const Elements ofInts = {Elements::bytes, 4};
const Elements ofPointers = {Elements::pointers, 8};
const Elements ofStrings = {Elements::objects, sizeof(ztString)};

// Arrays ------------------------------------------------------------------------------------------

class ArraySubject : public Sequence<ztArray, ztArrayMethods> {
 public:
  explicit ArraySubject(Input &input) {
    make({{ztIntArray_ctor, ofInts},
          {ztCharArray_ctor, {Elements::bytes, 1}},
          {ztFloatArray_ctor, {Elements::bytes, 8}},
          {ztPtrArray_ctor, ofPointers},
          {ztStringArray_ctor, ofStrings}},
         input.below(10), ztArray_ctor, input);
  }

 private:
  Values contents(const void *of) const override {
    Values found;
    const int32_t count = container->getSize(of);
    for (int32_t i = 0; i < count; ++i) found.push_back(elements.read(container->getAt(of, i)));
    return found;
  }

  void check() const override {
    ZT_REQUIRE(container->isEmpty(container) == model.empty());
    ZT_REQUIRE((container->getData(container) == nullptr) == model.empty());
    checkEnds(container->getFront(container), container->getBack(container));
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 18) {
      case 0:
      case 1:
        return push(elements.value(input));
      case 2:
        if (elements.hasBad()) ZT_REQUIRE(container->pushBack(container, elements.giveBad(input)) == nullptr);
        return;
      case 3:
        return pushUnique(elements.value(input));
      case 4:
        return removeAt(input.count());
      case 5:
        return getAt(input.count());
      case 6:
        return setAt(elements.value(input), input.count());
      case 7:
        return setBad(input);
      case 8:
        return pushOwn(input.count());
      case 9:
        return empty();
      case 10:
        return setSize(input.count());
      case 11:
        return resize(input.count());
      case 12:
        return sortAndSearch(elements.value(input));
      case 13:
        return find(elements.value(input));
      case 14:
        return copy(input.flag());
      case 15:
        return assign(input);
      case 16:
        return setOwn(input.count(), input.count());
      default:
        return storeAndLoad();
    }
  }

  void pushBack(const void *element, int value) {
    if (expect(container->pushBack(container, element) != nullptr)) model.push_back(value);
  }
  void push(int value) {
    pushBack(elements.give(value), value);
  }
  void pushOwn(int32_t index) {
    if (has(index)) pushBack(container->getAt(container, index), model[static_cast<size_t>(index)]);
  }

  static int32_t matchSame(const void *stored, const void *given) {
    return matching->compare()(stored, given) == 0;
  }
  void pushUnique(int value) {
    matching = &elements;
    const bool isThere = std::find(model.begin(), model.end(), value) != model.end();
    const int32_t pushed = container->pushBackUnique(container, elements.give(value), matchSame);
    expect(pushed == !isThere);
    if (pushed) model.push_back(value);
  }

  void removeAt(int32_t index) {
    container->removeAt(container, index);
    if (has(index)) model.erase(model.begin() + index);
  }

  void getAt(int32_t index) {
    const void *element = container->getAt(container, index);
    if (has(index)) {
      ZT_REQUIRE(elements.read(element) == model[static_cast<size_t>(index)]);
    } else if (elements.kind == Elements::pointers) {
      ZT_REQUIRE(element == nullptr);
    }
  }

  void set(const void *element, int value, int32_t index) {
    const void *slot = container->setAt(container, element, index);
    expect((slot != nullptr) == has(index));
    if (slot != nullptr) model[static_cast<size_t>(index)] = value;
  }
  void setAt(int value, int32_t index) {
    set(elements.give(value), value, index);
  }
  void setOwn(int32_t from, int32_t to) {
    if (has(from)) set(container->getAt(container, from), model[static_cast<size_t>(from)], to);
  }
  void setBad(Input &input) {
    const int32_t index = input.count();
    if (!elements.hasBad()) return;
    ZT_REQUIRE(container->setAt(container, elements.giveBad(input), index) == nullptr);
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
    const int32_t done = container->setSize(container, count);
    expect(done == canHold(count));
    const bool isKept = count != 0 && count == static_cast<int32_t>(model.size());
    if (done && !isKept) model.assign(static_cast<size_t>(count), 0);
  }

  void resize(int32_t wanted) {
    const int32_t count = countFor(wanted);
    const int32_t done = container->resize(container, count);
    expect(done == canHold(count));
    if (done) model.resize(static_cast<size_t>(count), 0);
  }

  void sortAndSearch(int value) {
    // Elements of no bytes are nothing that a sort could tell apart.
    if (elements.size == 0) return;
    container->sort(container, elements.compareSlots());
    std::sort(model.begin(), model.end());
    const void *given = elements.give(value);
    const void *key = elements.kind == Elements::pointers ? static_cast<const void *>(&given) : given;
    const void *slot = container->search(container, key, elements.compareSlots());
    ZT_REQUIRE((slot != nullptr) == std::binary_search(model.begin(), model.end(), value));
  }

  void find(int value) {
    const auto at = std::find(model.begin(), model.end(), value);
    const void *found = container->find(container, elements.give(value));
    const auto index = static_cast<int32_t>(at - model.begin());
    ZT_REQUIRE(found == (at == model.end() ? nullptr : container->getAt(container, index)));
  }

  void assign(Input &input) {
    const Container other(newCopy(container));
    if (other == nullptr) return;
    const int32_t removed = static_cast<int32_t>(input.below(4));
    for (int32_t i = 0; i < removed; ++i) container->removeAt(other, 0);
    const int value = elements.value(input);
    if (container->setAt(other, elements.give(value), 0) == nullptr && failed()) return;
    const Values source = contents(other);
    ZT_REQUIRE(container->assign(container, other) == 1);
    std::copy_n(source.begin(), std::min(source.size(), model.size()), model.begin());
    // A string that was made without memory takes over nothing.
    if (everFailed()) model = contents(container);
  }

  void storeAndLoad() {
    // Strings do not read back in binary form, and pointers that do are the process's own.
    if (elements.kind == Elements::objects) return;
    const NoFaults meanwhile;
    const Storage file;
    ZT_REQUIRE(container->write(container, file) == 1);
    file.rewind();
    ZT_REQUIRE(container->read(container, file) == 1);
  }

  static inline const Elements *matching;
};

// Lists -------------------------------------------------------------------------------------------

// The elements from an item on; the items have to be linked in both directions.
Values valuesFrom(const ztListItem *item, const Elements &elements, const ztListItem *tail) {
  Values found;
  const ztListItem *before = nullptr;
  for (; item != nullptr; item = item->next) {
    ZT_REQUIRE(item->prev == before);
    found.push_back(elements.read(item->data));
    before = item;
  }
  ZT_REQUIRE(tail == before);
  return found;
}

class ListSubject : public Sequence<ztList, ztListMethods> {
 public:
  explicit ListSubject(Input &input) {
    const uint32_t choice = input.below(8);
    make({{ztIntList_ctor, ofInts}, {ztStringList_ctor, ofStrings}, {ztPtrList_ctor, ofPointers}}, choice,
         ztList_ctor, input);
    manageItems(ztList_ctor, choice == 3);
  }

 private:
  ztListItem *itemAt(int32_t index) const {
    return container->getItemAt(container, index);
  }

  Values contents(const void *of) const override {
    const Values found =
        valuesFrom(container->getItemAt(of, 0), elements, static_cast<const ztList *>(of)->tail);
    ZT_REQUIRE(container->getSize(of) == static_cast<int32_t>(found.size()));
    return found;
  }

  void check() const override {
    checkEnds(container->getFront(container), container->getBack(container));
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 14) {
      case 0:
      case 1:
        return insert(container->pushBack(container, give(input)), model.size());
      case 2:
        return insert(container->pushFront(container, give(input)), 0);
      case 3:
      case 4:
        return insertAt(input, operation % 14 == 3);
      case 5:
        return pushBad(input);
      case 6:
        return popFront();
      case 7:
        return popBack();
      case 8:
        return remove(input.count());
      case 9:
        return find(elements.value(input));
      case 10:
        return getAt(input.count());
      case 11:
        return empty();
      case 12:
        return copy(input.flag());
      default:
        ZT_REQUIRE(container->assign(container, manager) == 1);
    }
  }

  const void *give(Input &input) {
    given = elements.value(input);
    return elements.give(given);
  }

  void insert(const ztListItem *item, size_t index) {
    if (!expect(item != nullptr)) return;
    ZT_REQUIRE(item == itemAt(static_cast<int32_t>(index)));
    model.insert(model.begin() + static_cast<ptrdiff_t>(index), given);
  }

  void insertAt(Input &input, bool before) {
    const int32_t index = input.count();
    const void *element = give(input);
    ztListItem *item = itemAt(index);
    const auto insertBeside = before ? container->insertPrev : container->insertNext;
    const ztListItem *made = insertBeside(container, item, element);
    if (has(index)) {
      insert(made, static_cast<size_t>(index) + !before);
    } else {
      ZT_REQUIRE(made == nullptr);
    }
  }

  void pushBad(Input &input) {
    if (!elements.hasBad()) return;
    const void *bad = elements.giveBad(input);
    ZT_REQUIRE(container->pushBack(container, bad) == nullptr);
    ZT_REQUIRE(container->pushFront(container, bad) == nullptr);
    ZT_REQUIRE(container->insertNext(container, itemAt(0), bad) == nullptr);
  }

  void popFront() {
    void *element = container->getFront(container);
    const ztListItem *head = container->popFront(container);
    ZT_REQUIRE(head == itemAt(0));
    if (model.empty()) return;
    elements.release(element);
    model.erase(model.begin());
  }

  void popBack() {
    const ztListItem *tail = container->popBack(container);
    ZT_REQUIRE(tail == container.fields().tail);
    if (!model.empty()) model.pop_back();
  }

  void remove(int32_t index) {
    ztListItem *item = itemAt(index);
    void *element = item == nullptr ? nullptr : item->data;
    container->removeItem(container, item);
    if (!has(index)) return;
    // The first hands its element over as well.
    if (index == 0) elements.release(element);
    model.erase(model.begin() + index);
  }

  void find(int value) {
    const auto at = std::find(model.begin(), model.end(), value);
    const ztListItem *found = container->find(container, elements.give(value));
    const auto index = static_cast<int32_t>(at - model.begin());
    ZT_REQUIRE((found != nullptr) == (at != model.end()));
    ZT_REQUIRE(found == nullptr || found == itemAt(index));
  }

  void getAt(int32_t index) {
    const void *element = container->getAt(container, index);
    if (has(index)) {
      ZT_REQUIRE(elements.read(element) == model[static_cast<size_t>(index)]);
    } else {
      ZT_REQUIRE(element == nullptr);
    }
  }

  int given = 0;
};

// Queues, stacks and deques -----------------------------------------------------------------------

class AdaptorSubject : public Sequence<ztBaseClass, ztSequenceContainerMethods> {
 public:
  explicit AdaptorSubject(Input &input) {
    static const ztCtor constructors[] = {ztDeque_ctor, ztQueue_ctor, ztStack_ctor};
    const uint32_t choice = input.below(5);
    kind = choice < 3 ? static_cast<Kind>(choice) : choice == 3 ? queue : stack;
    if (choice < 3) {
      make({}, 0, constructors[choice], input);
    } else {
      make({{ztPtrQueue_ctor, ofPointers}, {ztPtrStack_ctor, ofPointers}}, choice - 3, nullptr, input);
    }
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
  Values contents(const void *of) const override {
    const ztList *inner = innerOf(of);
    return valuesFrom(inner->head, elements, inner->tail);
  }

  void *front() const {
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

  void check() const override {
    ZT_REQUIRE(isEmpty() == model.empty());
    ZT_REQUIRE(container->getSize(container) == static_cast<int32_t>(model.size()));
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
        return pushBack(elements.value(input));
      case 3:
        return pushFront(elements.value(input));
      case 4:
        return popBack();
      case 5:
        return popFront();
      case 6:
        if (elements.hasBad()) ZT_REQUIRE(push(elements.giveBad(input)) == nullptr);
        return;
      default:
        return copy(input.flag());
    }
  }

  const ztListItem *push(const void *element) {
    if (kind == stack) return asStack()->push(container, element);
    return kind == deque ? asDeque()->pushBack(container, element) : asQueue()->push(container, element);
  }

  void pushBack(int value) {
    if (expect(push(elements.give(value)) != nullptr)) model.push_back(value);
  }

  void pushFront(int value) {
    if (kind != deque) return;
    const ztListItem *item = asDeque()->pushFront(container, elements.give(value));
    if (expect(item != nullptr)) model.insert(model.begin(), value);
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
    void *element = front();
    if (kind == deque) {
      asDeque()->popFront(container);
    } else {
      asQueue()->pop(container);
    }
    if (model.empty()) return;
    elements.release(element);
    model.erase(model.begin());
  }

  Kind kind;
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

class TreeSubject : public Sequence<ztAvlTree, ztAvlTreeMethods> {
 public:
  explicit TreeSubject(Input &input) {
    make({}, 0, ztAvlTree_ctor, input);
    hasDuplicates = input.flag();
    container->setAllowDuplicate(container, hasDuplicates);
    manageItems(ztAvlTree_ctor, input.below(4) == 0);
  }

 private:
  Values contents(const void *of) const override {
    Values found;
    for (const ztAvlTreeItem *item : walk(static_cast<const ztAvlTree *>(of), of, ztAvlIterator_ctor)) {
      found.push_back(elements.read(item->data));
    }
    return found;
  }

  void check() const override {
    ZT_REQUIRE(container->getSize(container) == static_cast<int32_t>(model.size()));
  }

  bool hasValue(int value) const {
    return std::binary_search(model.begin(), model.end(), value);
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 10) {
      case 0:
      case 1:
      case 2:
        return push(elements.value(input));
      case 3:
      case 4:
        return pop(elements.value(input));
      case 5:
        return find(elements.value(input));
      case 6:
        return findAll(elements.value(input), input.below(3));
      case 7:
        return copy(input.flag());
      case 8:
        return wander(container, ztAvlIterator_ctor, input);
      default:
        if (input.below(4) == 0) return empty();
        if (elements.kind == Elements::objects) ZT_REQUIRE(container->push(container, nullptr) == nullptr);
    }
  }

  void push(int value) {
    const bool isRefused = !hasDuplicates && hasValue(value);
    const ztAvlTreeItem *item = container->push(container, elements.give(value));
    expect((item == nullptr) == isRefused);
    if (item == nullptr) return;
    ZT_REQUIRE(elements.read(item->data) == value);
    model.insert(std::lower_bound(model.begin(), model.end(), value), value);
  }

  void pop(int value) {
    const bool isThere = hasValue(value);
    const int32_t popped = container->pop(container, elements.give(value));
    expect(popped == (isThere || model.empty()));
    if (popped && isThere) model.erase(std::lower_bound(model.begin(), model.end(), value));
  }

  void find(int value) {
    const ztAvlTreeItem *item = container->find(container, elements.give(value));
    ZT_REQUIRE((item != nullptr) == hasValue(value));
    if (item != nullptr) ZT_REQUIRE(elements.read(item->data) == value);
  }

  void findAll(int value, uint32_t choice) {
    static const ztCtor constructors[] = {ztList_ctor, ztArray_ctor, ztAvlTree_ctor};
    const Owned<ztBaseClass, ztSequenceContainerMethods> output(constructors[choice]);
    if (output == nullptr) return;
    elements.configure(output);
    output->setAllowDuplicate(output, 1);
    const int32_t size = container->findAll(container, elements.give(value), output);
    const auto [first, last] = std::equal_range(model.begin(), model.end(), value);
    ZT_REQUIRE(size <= last - first && (hasDuplicates || size == 0));
    expect(size > 0 || first == last || !hasDuplicates);
    expect(output->getSize(output) == size);
  }

  bool hasDuplicates;
};

// Maps and hash tables ----------------------------------------------------------------------------

using Pairs = std::vector<std::pair<int, int>>;

template <typename Object, typename Methods>
class Associative : public Modelled<Object, Methods, Pairs> {
 protected:
  explicit Associative(Input &input) : keys(Elements::from(input)), values(Elements::from(input)) {}
  // With keys and values as they are by then.
  void make(ztCtor ctor, Input &input) {
    this->container = Owned<Object, Methods>(ctor);
    keys.configureKeys(this->container);
    values.configureValues(this->container);
    hasDuplicates = input.flag();
    this->container->setAllowDuplicate(this->container, hasDuplicates);
  }

  Pairs::iterator firstOf(int key) {
    return std::lower_bound(this->model.begin(), this->model.end(), key,
                            [](const auto &pair, int wanted) { return pair.first < wanted; });
  }
  bool has(int key) {
    const auto at = firstOf(key);
    return at != this->model.end() && at->first == key;
  }
  bool hasPair(int key, int value) {
    return std::find(this->model.begin(), this->model.end(), std::make_pair(key, value)) != this->model.end();
  }

  Elements keys;
  Elements values;
  bool hasDuplicates = false;
};

class MapSubject : public Associative<ztMap, ztMapMethods> {
 public:
  explicit MapSubject(Input &input) : Associative(input) {
    make(ztMap_ctor, input);
  }

 private:
  Pairs contents(const void *of) const override {
    Pairs found;
    for (const ztAvlTreeItem *item : walk(static_cast<const ztMap *>(of)->tree, of, ztMapIterator_ctor)) {
      const auto *pair = reinterpret_cast<const ztMapItem *>(item);
      found.emplace_back(keys.read(pair->data), values.read(pair->value));
    }
    return found;
  }

  void check() const override {
    ZT_REQUIRE(container->getSize(container) == static_cast<int32_t>(model.size()));
  }

  void step(Input &input, uint8_t operation) override {
    switch (operation % 9) {
      case 0:
      case 1:
      case 2:
        return push(keys.value(input), values.value(input));
      case 3:
      case 4:
        return pop(keys.value(input));
      case 5:
        return find(keys.value(input));
      case 6:
        return findAll(keys.value(input));
      case 7:
        return copy(input.flag());
      default:
        if (input.below(4) == 0) return empty();
        wander(container, ztMapIterator_ctor, input);
    }
  }

  void push(int key, int value) {
    const bool isRefused = !hasDuplicates && has(key);
    const ztMapItem *item = container->pushBack(container, keys.give(key), values.give(value));
    expect((item == nullptr) == isRefused);
    if (item == nullptr) return;
    ZT_REQUIRE(keys.read(item->data) == key && values.read(item->value) == value);
    model.insert(firstOf(key), {key, value});
  }

  // Which of several pairs of a key goes is seen only afterwards.
  void pop(int key) {
    const bool isThere = has(key);
    const int32_t popped = container->pop(container, keys.give(key));
    expect(popped == (isThere || model.empty()));
    if (!popped || !isThere) return;
    const Pairs found = contents(container);
    ZT_REQUIRE(found.size() + 1 == model.size());
    const auto gone =
        std::mismatch(found.begin() + (firstOf(key) - model.begin()), found.end(), firstOf(key));
    ZT_REQUIRE(gone.second != model.end() && gone.second->first == key);
    model.erase(gone.second);
  }

  void find(int key) {
    const ztMapItem *item = container->find(container, keys.give(key));
    ZT_REQUIRE((item != nullptr) == has(key));
    const void *value = container->findValue(container, keys.give(key));
    ZT_REQUIRE(value == (item == nullptr ? nullptr : item->value));
    if (item != nullptr) ZT_REQUIRE(keys.read(item->data) == key && hasPair(key, values.read(value)));
  }

  void findAll(int key) {
    const Owned<ztMap, ztMapMethods> output(ztMap_ctor);
    if (output == nullptr) return;
    keys.configureKeys(output);
    values.configureValues(output);
    const int32_t size = container->findAll(container, keys.give(key), output);
    expect((size > 0) == (hasDuplicates && has(key)));
    if (output.fields().tree == nullptr) return;
    for (const auto &[foundKey, value] : contents(output)) ZT_REQUIRE(foundKey == key && hasPair(key, value));
  }
};

class HashTableSubject : public Associative<ztHashTable, ztHashTableMethods> {
 public:
  explicit HashTableSubject(Input &input) : Associative(input) {
    // Objects are hashed by their addresses, and pointers by what they point to, if to anything.
    if (keys.kind == Elements::objects) keys.kind = Elements::bytes;
    make(ztHashTable_ctor, input);
  }

 private:
  int key(Input &input) const {
    const int value = keys.value(input);
    return keys.kind == Elements::pointers && value == 0 ? 1 : value;
  }

  // Every pair, those of one key the newest first.
  Pairs contents(const void *of) const override {
    Pairs found;
    const auto *whole = static_cast<const ztHashTable *>(of);
    for (int32_t i = 0; whole->count > 0 && i < bucketsOf(whole); ++i) {
      const void *bucket = ztPtrArray_of(whole->buckets)->getAt(whole->buckets, i);
      const auto *item = static_cast<const ztHashTableItem *>(bucket);
      for (; item != nullptr; item = item->next) {
        found.emplace_back(keys.read(item->data), values.read(item->value));
      }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto &one, const auto &other) { return one.first < other.first; });
    ZT_REQUIRE(found.size() == whole->count);
    return found;
  }
  static int32_t bucketsOf(const ztHashTable *table) {
    return ztPtrArray_of(table->buckets)->getSize(table->buckets);
  }

  void check() const override {}

  void step(Input &input, uint8_t operation) override {
    switch (operation % 8) {
      case 0:
      case 1:
      case 2:
        return insert(key(input), values.value(input));
      case 3:
      case 4:
        return find(key(input));
      case 5:
        return setSize(input.count());
      case 6:
        return copy(input.flag());  // the newest of a key comes first in the copy, too
      default:
        if (input.below(4) == 0) empty();
    }
  }

  void insert(int wanted, int value) {
    const bool isRefused = buckets == 0 || (has(wanted) && !hasDuplicates);
    const int32_t done = container->insert(container, keys.give(wanted), values.give(value));
    expect(done == !isRefused);
    if (done) model.insert(firstOf(wanted), {wanted, value});
  }

  void find(int wanted) {
    const ztHashTableItem *item = container->find(container, keys.give(wanted));
    ZT_REQUIRE((item != nullptr) == has(wanted));
    if (item != nullptr) ZT_REQUIRE(values.read(item->value) == firstOf(wanted)->second);
  }

  void setSize(int32_t wanted) {
    const int32_t count = wanted > 1000 && wanted < INT32_MAX / 4 ? 16 : wanted;
    const int32_t done = container->setSize(container, count);
    expect(done == (count >= 0 && count <= 1000));
    if (done) model.clear();
    if (done) buckets = count;
    if (failed()) buckets = bucketsOf(&container.fields());
  }

  int32_t buckets = 0;
};

// Strings -----------------------------------------------------------------------------------------

class StringSubject : public Modelled<ztString, ztStringMethods, std::string> {
 public:
  explicit StringSubject(Input &) {
    container = String(ztString_ctor);
  }

 private:
  using String = Owned<ztString, ztStringMethods>;

  std::string contents(const void *of) const override {
    const char *found = container->get(of);
    return found == nullptr ? "" : found;
  }

  void check() const override {
    ZT_REQUIRE(container->length(container) == model.size());
    ZT_REQUIRE(container->isEmpty(container) == model.empty());
  }

  void step(Input &input, uint8_t operation) override {
    if (model.size() > 4000) container->set(container, model.erase(8).c_str());
    switch (operation % 7) {
      case 0:
        return set(input.text(40));
      case 1:
        return cat(input.text(40));
      case 2:
        if (container->cat(container, container) != nullptr) model += model;
        return;
      case 3:
        return setOwn(input.below(static_cast<uint32_t>(model.size()) + 1));
      case 4:
        container->set(container, nullptr);
        model.clear();
        expect(container->get(container) == nullptr);
        return;
      case 5:
        return compareWith(input.flag() ? model : input.text(40));
      default:
        if (!input.flag()) return copyByCloning();
        copyByAssigning();
    }
  }

  void setTo(const char *text, const std::string &expected) {
    const void *done = container->set(container, text);
    expect(done == container);
    if (done != nullptr) model = expected;
  }
  void set(const std::string &value) {
    setTo(value.c_str(), value);
  }
  void setOwn(uint32_t from) {
    const char *text = container->get(container);
    if (text != nullptr) setTo(text + from, model.substr(from));
  }

  void cat(const std::string &value) {
    const String other(ztString_ctor);
    if (other == nullptr || other->set(other, value.c_str()) == nullptr) return;
    const void *done = container->cat(container, other);
    expect(done == container);
    if (done != nullptr) model += value;
  }

  void compareWith(const std::string &value) {
    const NoFaults meanwhile;
    const String other(ztString_ctor);
    other->set(other, value.c_str());
    const int order = strcmp(model.c_str(), value.c_str());
    ZT_REQUIRE(container->isEqual(container, other) == (order == 0));
    ZT_REQUIRE(container->isLess(container, other) == (order < 0));
    ZT_REQUIRE(container->isMajor(container, other) == (order > 0));
    const int32_t sign = (order > 0) - (order < 0);
    ZT_REQUIRE(ztStringArray_compare_func(container, other) == sign);
    ZT_REQUIRE(ztStringList_compare_func(container, other) == sign);
  }

  void goOnWith(String made) {
    if (!expect(made != nullptr)) return;
    expect(contents(made) == model);
    if (!failed()) std::swap(made, container);
  }
  void copyByCloning() {
    goOnWith(String(newCopy(container)));
  }
  void copyByAssigning() {
    String made(ztString_ctor);
    if (made != nullptr) expect(made->assign(made, container) == 1);
    goOnWith(std::move(made));
  }
};

template <typename Kind>
std::unique_ptr<Subject> newSubject(Input &input) {
  return std::make_unique<Kind>(input);
}

std::unique_ptr<Subject> choose(Input &input) {
  static constexpr std::unique_ptr<Subject> (*kinds[])(Input &) = {
      newSubject<ArraySubject>,     newSubject<ArraySubject>, newSubject<ListSubject>,
      newSubject<AdaptorSubject>,   newSubject<TreeSubject>,  newSubject<MapSubject>,
      newSubject<HashTableSubject>, newSubject<StringSubject>};
  return kinds[input.below(8)](input);
}

}  // namespace

int LLVMFuzzerInitialize(int *, char ***) {
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

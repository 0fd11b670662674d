// Elements of containers, and the steps from one to the next.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_WALKS_HPP
#define ZT_CPP_WALKS_HPP

#include "cpp/class.hpp"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <concepts>
#include <cstddef>
#include <type_traits>

namespace zt {

/** @cond private */
namespace detail {

// What a container stores by itself: the bytes of a value, or a pointer.
template <typename T>
concept Element = std::is_trivially_copyable_v<T> && std::same_as<T, std::remove_cvref_t<T>> &&
                  alignof(T) <= alignof(max_align_t);

// An element in the caller's form: pointers are passed as they are, values by address.
template <Element T>
const void *given(const T &value) {
  if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<const void *>(value);
  } else {
    return &value;
  }
}

// An element as an item holds it.
template <Element T>
T &stored(void *&data) {
  if constexpr (std::is_pointer_v<T>) {
    return *static_cast<T *>(static_cast<void *>(&data));
  } else {
    return *static_cast<T *>(data);
  }
}

template <Element T>
constexpr uint32_t byPointer = std::is_pointer_v<T> ? 1 : 0;

template <Element T>
constexpr auto arrayCtor() {
  if constexpr (std::is_pointer_v<T>) {
    return ztPtrArray_ctor;
  } else if constexpr (std::same_as<T, int32_t>) {
    return ztIntArray_ctor;
  } else if constexpr (std::same_as<T, double>) {
    return ztFloatArray_ctor;
  } else if constexpr (std::same_as<T, char> || std::same_as<T, signed char>) {
    return ztCharArray_ctor;
  } else {
    return ztArray_ctor;
  }
}

template <Element T>
constexpr auto listCtor() {
  if constexpr (std::is_pointer_v<T>) {
    return ztPtrList_ctor;
  } else if constexpr (std::same_as<T, int32_t>) {
    return ztIntList_ctor;
  } else {
    return ztList_ctor;
  }
}

// A new sequence for elements of this type; see make().
template <Element T>
void *newSequence(ztCtor ctor, bool needsPolicy) {
  void *sequence = ctor(nullptr, 1);
  if (sequence == nullptr) [[unlikely]] {
    memoryIsExhausted();
  } else if (needsPolicy) {
    methodsOf<ztSequenceContainer>(sequence)->setElementSize(sequence, sizeof(T), byPointer<T>);
  }
  return sequence;
}

// Keys are compared as texts if they are texts, else by == and <.
template <Element K>
int32_t compareKeys(const void *first, const void *second) {
  if constexpr (std::same_as<K, const char *>) {
    return strcmp(static_cast<const char *>(first), static_cast<const char *>(second));
  } else {
    K a;
    K b;
    if constexpr (std::is_pointer_v<K>) {
      a = static_cast<K>(const_cast<void *>(first));
      b = static_cast<K>(const_cast<void *>(second));
    } else {
      a = *static_cast<const K *>(first);
      b = *static_cast<const K *>(second);
    }
    if (a == b) return 0;
    if constexpr (requires { a < b; }) {
      return a < b ? -1 : 1;
    } else {
      return 1;
    }
  }
}

// The library compares keys without a call where it knows the function.
template <Element K>
constexpr ztCompareFunc keyOrder() {
  if constexpr (std::same_as<K, int32_t>) {
    return ztIntArray_compare_func;
  } else {
    return compareKeys<K>;
  }
}

template <Element K, Element V>
void *newPairs(ztCtor ctor) {
  void *pairs = ctor(nullptr, 1);
  if (pairs == nullptr) [[unlikely]] {
    memoryIsExhausted();
    return nullptr;
  }
  const auto *methods = methodsOf<ztAssociativeContainer>(pairs);
  methods->setCompareFunction(pairs, keyOrder<K>());
  methods->setKeySize(pairs, sizeof(K), byPointer<K>);
  methods->setValueSize(pairs, sizeof(V), byPointer<V>);
  return pairs;
}

// An iterator over the items of a container, of which Walk knows the next and what an item holds.
template <typename Walk>
class Iterator : Walk {
 public:
  using value_type = typename Walk::Value;
  using reference = typename Walk::Reference;
  using pointer = void;
  using difference_type = ptrdiff_t;

  Iterator() = default;
  explicit Iterator(const Walk &walk) : Walk(walk) {}
  reference operator*() const {
    return Walk::value();
  }
  Iterator &operator++() {
    Walk::next();
    return *this;
  }
  Iterator operator++(int) {
    Iterator before(*this);
    Walk::next();
    return before;
  }
  Iterator &operator--() requires requires(Walk &walk) {
    walk.previous();
  }
  {
    Walk::previous();
    return *this;
  }
  Iterator operator--(int) requires requires(Walk &walk) {
    walk.previous();
  }
  {
    Iterator before(*this);
    Walk::previous();
    return before;
  }
  bool operator==(const Iterator &other) const {
    return this->item == other.item;
  }
  // The item of the container, or NULL at its end.
  auto *at() const {
    return this->item;
  }
};

template <Element T>
struct ListWalk {
  using Value = T;
  using Reference = T &;
  const ztList *list = nullptr;
  ztListItem *item = nullptr;

  Reference value() const {
    return stored<T>(item->data);
  }
  void next() {
    item = item->next;
  }
  void previous() {
    item = item == nullptr ? list->tail : item->prev;
  }
};

}  // namespace detail
/** @endcond */

/** A key and its value in a container. */
template <typename K, typename V>
struct Pair {
  /** The key. */
  const K &key;
  /** The value, which may be changed. */
  V &value;
};

/** @cond private */
namespace detail {

template <Element K, Element V>
struct MapWalk {
  using Value = Pair<K, V>;
  using Reference = Pair<K, V>;
  ztMapItem *item = nullptr;
  // The items above that come later. A tree of 64 levels would not fit into memory.
  uint32_t depth = 0;
  ztMapItem *later[64];

  MapWalk() {}
  explicit MapWalk(ztMapItem *root) {
    descend(root);
  }
  MapWalk(const MapWalk &other) : item(other.item), depth(other.depth) {
    copyPath(other);
  }
  MapWalk &operator=(const MapWalk &other) {
    item = other.item;
    depth = other.depth;
    copyPath(other);
    return *this;
  }

  Reference value() const {
    return {stored<K>(item->data), stored<V>(item->value)};
  }
  void next() {
    if (item->right != nullptr) {
      descend(asItem(item->right));
    } else {
      item = depth == 0 ? nullptr : later[--depth];
    }
  }

 private:
  static ztMapItem *asItem(ztAvlTreeItem *item) {
    return reinterpret_cast<ztMapItem *>(item);
  }
  void copyPath(const MapWalk &other) {
    for (uint32_t i = 0; i < other.depth; ++i) later[i] = other.later[i];
  }
  void descend(ztMapItem *from) {
    item = from;
    if (item == nullptr) return;
    for (; item->left != nullptr; item = asItem(item->left)) later[depth++] = item;
  }
};

template <Element K, Element V>
struct HashWalk {
  using Value = Pair<K, V>;
  using Reference = Pair<K, V>;
  const ztPtrArray *buckets = nullptr;
  int32_t bucket = 0;
  ztHashTableItem *item = nullptr;

  HashWalk() = default;
  explicit HashWalk(const ztHashTable *table) {
    // The buckets of an empty table are not valid.
    if (table == nullptr || table->count == 0) return;
    buckets = table->buckets;
    bucket = -1;
    nextBucket();
  }
  Reference value() const {
    return {stored<K>(item->data), stored<V>(item->value)};
  }
  void next() {
    item = item->next;
    if (item == nullptr) nextBucket();
  }

 private:
  void nextBucket() {
    auto *const *items = static_cast<ztHashTableItem *const *>(buckets->data);
    while (item == nullptr && ++bucket < buckets->count) item = items[bucket];
  }
};

}  // namespace detail
/** @endcond */

}  // namespace zt

#endif

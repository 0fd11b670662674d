// Containers of the engine as ranges.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_VIEWS_HPP
#define ZT_CPP_VIEWS_HPP

#include "cpp/walks.hpp"

#include <stddef.h>
#include <stdint.h>

namespace zt {

/** The elements of a C array as a range: zt::elements(). An iterator is a pointer, valid until an element is added or
 *  removed. */
template <detail::Element T>
class ArrayView {
 public:
  /** The type of the elements. */
  using value_type = T;

  /** Without array it is empty. */
  explicit ArrayView(ztArray *viewed) : array(viewed) {}
  /** The C array. */
  ztArray *get() const {
    return array;
  }
  /** The elements side by side. */
  T *data() const {
    return array == nullptr ? nullptr : static_cast<T *>(array->data);
  }
  /** The number of elements. */
  size_t size() const {
    return array == nullptr ? 0 : static_cast<size_t>(array->count);
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The first element. */
  T *begin() const {
    return data();
  }
  /** The end. */
  T *end() const {
    return data() + size();
  }
  /** The element at an index, which is not checked. */
  T &operator[](size_t index) const {
    return static_cast<T *>(array->data)[index];
  }
  /** Adds an element at the end. @return false when memory is exhausted */
  bool push_back(const T &value) const {
    return detail::methodsOf<ztArray>(array)->pushBack(array, detail::given(value)) != nullptr;
  }
  /** Removes the element at an index. */
  void erase(size_t index) const {
    detail::methodsOf<ztArray>(array)->removeAt(array, static_cast<int32_t>(index));
  }
  /** Removes all elements. */
  void clear() const {
    detail::methodsOf<ztArray>(array)->empty(array);
  }
  /** Adds zeros or removes elements at the end. @return false when memory is exhausted */
  bool resize(size_t count) const {
    return detail::methodsOf<ztArray>(array)->resize(array, static_cast<int32_t>(count)) != 0;
  }

 private:
  ztArray *array;
};

/** The elements of a C list as a range: zt::elements(). An iterator is valid as long as its element is in the list;
 *  it walks in both directions. */
template <detail::Element T>
class ListView {
 public:
  /** The type of the elements. */
  using value_type = T;
  /** Walks the list. */
  using iterator = detail::Iterator<detail::ListWalk<T>>;

  /** Without list it is empty. */
  explicit ListView(ztList *viewed) : list(viewed) {}
  /** The C list. */
  ztList *get() const {
    return list;
  }
  /** The number of elements. */
  size_t size() const {
    return list == nullptr ? 0 : list->count;
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The first element. */
  iterator begin() const {
    return iterator(detail::ListWalk<T>{list, list == nullptr ? nullptr : list->head});
  }
  /** The end. */
  iterator end() const {
    return iterator(detail::ListWalk<T>{list, nullptr});
  }
  /** The first element of a list that has one. */
  T &front() const {
    return detail::stored<T>(list->head->data);
  }
  /** The last element of a list that has one. */
  T &back() const {
    return detail::stored<T>(list->tail->data);
  }
  /** Adds an element at the end. @return false when memory is exhausted */
  bool push_back(const T &value) const {
    return detail::methodsOf<ztList>(list)->pushBack(list, detail::given(value)) != nullptr;
  }
  /** Adds an element at the front. @return false when memory is exhausted */
  bool push_front(const T &value) const {
    return detail::methodsOf<ztList>(list)->pushFront(list, detail::given(value)) != nullptr;
  }
  /** Removes an element. @return the one behind it */
  iterator erase(iterator at) const {
    ztListItem *item = at.at();
    ++at;
    // The list hands the element of its first item over.
    void *handedOver = item == list->head && !detail::byPointer<T> ? item->data : nullptr;
    detail::methodsOf<ztList>(list)->removeItem(list, item);
    // In brackets, so that the block is not taken for one of the program's.
    if (handedOver != nullptr) (ztm_free)(handedOver);
    return at;
  }
  /** Removes the first element of a list that has one. */
  void pop_front() const {
    erase(begin());
  }
  /** Removes the last element of a list that has one. */
  void pop_back() const {
    erase(--end());
  }
  /** Removes all elements. */
  void clear() const {
    detail::methodsOf<ztList>(list)->empty(list);
  }

 private:
  ztList *list;
};

/** The pairs of a C map as a range, in the order of their keys: zt::pairs(). An iterator gives a zt::Pair and is valid
 *  until a pair is added or removed. */
template <detail::Element K, detail::Element V>
class MapView {
 public:
  /** Walks the map. */
  using iterator = detail::Iterator<detail::MapWalk<K, V>>;

  /** Without map it is empty. */
  explicit MapView(ztMap *viewed) : map(viewed) {}
  /** The C map. */
  ztMap *get() const {
    return map;
  }
  /** The number of pairs. */
  size_t size() const {
    return map == nullptr || map->tree == nullptr ? 0 : map->tree->count;
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The pair with the smallest key. */
  iterator begin() const {
    auto *root = map == nullptr || map->tree == nullptr ? nullptr : map->tree->root;
    return iterator(detail::MapWalk<K, V>(reinterpret_cast<ztMapItem *>(root)));
  }
  /** The end. */
  iterator end() const {
    return iterator();
  }
  /** Adds a pair. @return false when the key exists, whose value stays, or memory is exhausted */
  bool insert(const K &key, const V &value) const {
    return detail::methodsOf<ztMap>(map)->pushBack(map, detail::given(key), detail::given(value)) != nullptr;
  }
  /** The value of a key, valid until a pair is added or removed; NULL when there is none. */
  V *find(const K &key) const {
    ztMapItem *item = detail::methodsOf<ztMap>(map)->find(map, detail::given(key));
    return item == nullptr ? nullptr : &detail::stored<V>(item->value);
  }
  /** Whether there is a pair with this key. */
  bool contains(const K &key) const {
    return find(key) != nullptr;
  }
  /** Removes a pair. @return false when there is none with this key */
  bool erase(const K &key) const {
    return !empty() && detail::methodsOf<ztMap>(map)->pop(map, detail::given(key)) != 0;
  }
  /** Removes all pairs. */
  void clear() const {
    detail::methodsOf<ztMap>(map)->empty(map);
  }

 private:
  ztMap *map;
};

/** The pairs of a C hash table as a range, in no order: zt::pairs(). An iterator gives a zt::Pair and is valid until a
 *  pair is added. */
template <detail::Element K, detail::Element V>
class HashTableView {
 public:
  /** Walks the table. */
  using iterator = detail::Iterator<detail::HashWalk<K, V>>;

  /** Without table it is empty. */
  explicit HashTableView(ztHashTable *viewed) : table(viewed) {}
  /** The C hash table. */
  ztHashTable *get() const {
    return table;
  }
  /** The number of pairs. */
  size_t size() const {
    return table == nullptr ? 0 : table->count;
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The first pair. */
  iterator begin() const {
    return iterator(detail::HashWalk<K, V>(table));
  }
  /** The end. */
  iterator end() const {
    return iterator();
  }
  /** Adds a pair. @return false when the key exists, whose value stays, or memory is exhausted */
  bool insert(const K &key, const V &value) const {
    return detail::methodsOf<ztHashTable>(table)->insert(table, detail::given(key), detail::given(value)) !=
           0;
  }
  /** The value of a key, valid until clear(); NULL when there is none. */
  V *find(const K &key) const {
    ztHashTableItem *item = detail::methodsOf<ztHashTable>(table)->find(table, detail::given(key));
    return item == nullptr ? nullptr : &detail::stored<V>(item->value);
  }
  /** Whether there is a pair with this key. */
  bool contains(const K &key) const {
    return find(key) != nullptr;
  }
  /** Removes all pairs; the buckets stay. */
  void clear() const {
    detail::methodsOf<ztHashTable>(table)->empty(table);
  }

 private:
  ztHashTable *table;
};

/** @cond private */
namespace detail {

template <typename C>
using TableOf = const MethodsOf<CBase<AddressOf<C>>> *;

template <typename C>
concept ArrayObject = Object<C> && requires(TableOf<C> methods) {
  methods->getData;
};
template <typename C>
concept ListObject = Object<C> && requires(TableOf<C> methods) {
  methods->insertPrev;
};
template <typename C>
concept MapObject = Object<C> && requires(TableOf<C> methods) {
  methods->findValue;
};
template <typename C>
concept HashTableObject = Object<C> && requires(TableOf<C> methods) {
  methods->setSize;
  methods->setKeySize;
};

}  // namespace detail
/** @endcond */

/** The elements of a C array: `zt::elements<int32_t>(array)`. The type must be that of the elements. */
template <detail::Element T, detail::ArrayObject C>
ArrayView<T> elements(C &&array) {
  return ArrayView<T>(reinterpret_cast<ztArray *>(detail::address(array)));
}
/** The elements of a C list: `zt::elements<int32_t>(list)`. The type must be that of the elements. */
template <detail::Element T, detail::ListObject C>
ListView<T> elements(C &&list) {
  return ListView<T>(reinterpret_cast<ztList *>(detail::address(list)));
}
/** The pairs of a C map: `zt::pairs<int32_t, double>(map)`. The types must be those of the pairs. */
template <detail::Element K, detail::Element V, detail::MapObject C>
MapView<K, V> pairs(C &&map) {
  return MapView<K, V>(reinterpret_cast<ztMap *>(detail::address(map)));
}
/** The pairs of a C hash table. The types must be those of the pairs. */
template <detail::Element K, detail::Element V, detail::HashTableObject C>
HashTableView<K, V> pairs(C &&table) {
  return HashTableView<K, V>(reinterpret_cast<ztHashTable *>(detail::address(table)));
}

}  // namespace zt

#endif

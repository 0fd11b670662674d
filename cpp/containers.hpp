// Containers of a program's own.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_CONTAINERS_HPP
#define ZT_CPP_CONTAINERS_HPP

#include "cpp/views.hpp"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <new>
#include <type_traits>
#include <utility>

namespace zt {

/** @cond private */
namespace detail {

// A view that owns its container.
template <typename View>
class Owned : public View {
 public:
  Owned(const Owned &) = delete;
  Owned &operator=(Owned &&other) noexcept(false) {
    Owned old(std::move(other));
    std::swap(static_cast<View &>(*this), static_cast<View &>(old));
    return *this;
  }

 protected:
  using View::View;
  Owned(Owned &&other) noexcept : View(std::exchange(static_cast<View &>(other), View(nullptr))) {}
  ~Owned() noexcept(false) {
    if (this->get() != nullptr) unRef(this->get());
  }
};

}  // namespace detail
/** @endcond */

/** An array of its own: `zt::Array<int32_t>` is a ztIntArray, one of char a ztCharArray, of double a ztFloatArray, of
 *  pointers a ztPtrArray, of other values that are copied as bytes a ztArray. One that was moved from may only be
 *  assigned or destroyed. */
template <detail::Element T>
class Array : public detail::Owned<ArrayView<T>> {
 public:
  /** An empty array. */
  Array()
      : detail::Owned<ArrayView<T>>(static_cast<ztArray *>(detail::newSequence<T>(
            detail::arrayCtor<T>(), detail::arrayCtor<T>() == static_cast<ztCtor>(ztArray_ctor)))) {}
};

/** A list of its own: `zt::List<int32_t>` is a ztIntList, one of pointers a ztPtrList, of other values that are copied
 *  as bytes a ztList. One that was moved from may only be assigned or destroyed. */
template <detail::Element T>
class List : public detail::Owned<ListView<T>> {
 public:
  /** An empty list. */
  List()
      : detail::Owned<ListView<T>>(static_cast<ztList *>(detail::newSequence<T>(
            detail::listCtor<T>(), detail::listCtor<T>() == static_cast<ztCtor>(ztList_ctor)))) {}
};

/** A ztMap of its own. Keys are values with == and <, or pointers; `const char *` keys are compared as texts, but stay
 *  the caller's. One that was moved from may only be assigned or destroyed. */
template <detail::Element K, detail::Element V>
class Map : public detail::Owned<MapView<K, V>> {
 public:
  /** An empty map. */
  Map() : detail::Owned<MapView<K, V>>(static_cast<ztMap *>(detail::newPairs<K, V>(ztMap_ctor))) {}
};

/** A ztHashTable of its own. Keys are values without padding whose bytes differ if they differ, so no floating-point
 *  numbers and no pointers. One that was moved from may only be assigned or destroyed. */
template <detail::Element K, detail::Element V>
requires(std::has_unique_object_representations_v<K> && !std::is_pointer_v<K>) class HashTable
    : public detail::Owned<HashTableView<K, V>> {
 public:
  /** An empty table with that many buckets, which it keeps: a power of two, about the number of pairs. */
  explicit HashTable(size_t buckets)
      : detail::Owned<HashTableView<K, V>>(
            static_cast<ztHashTable *>(detail::newPairs<K, V>(ztHashTable_ctor))) {
    ztHashTable *made = this->get();
    if (made != nullptr && !ztHashTable_of(made)->setSize(made, static_cast<int32_t>(buckets)))
      detail::memoryIsExhausted();
  }
};

/** A map from texts, of which it keeps copies. One that was moved from may only be assigned or destroyed. */
template <detail::Element V>
class TextMap : Map<const char *, V> {
  using Base = Map<const char *, V>;

 public:
  /** Walks the map. */
  using iterator = typename Base::iterator;
  using Base::begin;
  using Base::contains;
  using Base::empty;
  using Base::end;
  using Base::find;
  using Base::size;

  /** An empty map. */
  TextMap() = default;
  /** Takes over what the other has. */
  TextMap(TextMap &&other) noexcept = default;
  /** Ends its own pairs and takes over the other's. */
  TextMap &operator=(TextMap &&other) noexcept(false) {
    if (this == &other) return *this;
    freeKeys();
    Base::operator=(std::move(other));
    return *this;
  }
  /** Ends the pairs and the keys. */
  ~TextMap() noexcept(false) {
    freeKeys();
  }

  /** Adds a pair with a copy of the key. @return false when the key exists, whose value stays, or memory is
   *  exhausted */
  bool insert(const char *key, const V &value) {
    const size_t bytes = strlen(key) + 1;
    char *copy = new (std::nothrow) char[bytes];
    if (copy == nullptr) return false;
    if (Base::insert(static_cast<const char *>(memcpy(copy, key, bytes)), value)) return true;
    delete[] copy;
    return false;
  }
  /** Removes a pair. @return false when there is none with this key */
  bool erase(const char *key) {
    ztMapItem *item = detail::methodsOf<ztMap>(this->get())->find(this->get(), key);
    if (item == nullptr) return false;
    const char *copy = static_cast<const char *>(item->data);
    Base::erase(key);
    delete[] copy;
    return true;
  }
  /** Removes all pairs. */
  void clear() {
    freeKeys();
    Base::clear();
  }

 private:
  // Without its keys a map may only be emptied.
  void freeKeys() {
    for (const auto &pair : *this) delete[] pair.key;
  }
};

}  // namespace zt

#endif

// The parts of an object: other objects that it owns, each in a field. A class lists them once,
//
//   using SlotParts = Parts<&ztBaseClass_table, Part<&ztSlot::name, ztString_ctor>>;
//
// and uses the functions below as its `create`, `clone` and `destroy`, or calls them first.
#ifndef ZT_CORE_ZTPARTS_HH
#define ZT_CORE_ZTPARTS_HH

#include "core/ztcopy.hh"
#include "core/ztrelease.hh"

#include <type_traits>

namespace ztcore {

// The part in one field. A new object gets a new part, or none without a constructor. A copy gets a copy.
template <auto field, ztCtor constructor = nullptr>
struct Part {
  template <typename Object>
  static bool make(Object &object) {
    if constexpr (constructor != nullptr) {
      object.*field = static_cast<std::remove_reference_t<decltype(object.*field)>>(makeObject(constructor));
      return object.*field != nullptr;
    }
    return true;
  }

  template <typename Object>
  static bool copy(const Object &source, Object &copy) {
    copy.*field = static_cast<std::remove_reference_t<decltype(copy.*field)>>(copyObject(source.*field));
    return copy.*field != nullptr || source.*field == nullptr;
  }

  template <typename Object>
  static void clear(Object &object) {
    object.*field = nullptr;
  }

  template <typename Object>
  static void release(Object &object) {
    releasePart(object.*field);
  }
};

// The same, but a copy also gets a new part.
template <auto field, ztCtor constructor>
struct PartNotCopied : Part<field, constructor> {
  template <typename Object>
  static bool copy(const Object &, Object &copy) {
    return Part<field, constructor>::make(copy);
  }
};

// The parts of a class; `table` is its parent's method table.
template <auto table, typename... Each>
struct Parts {
  // The parent's `create`, then the parts. False when one of them fails.
  template <typename Object>
  static int32_t create(Object &object) {
    (Each::clear(object), ...);
    if (!table()->create(&object)) return 0;
    bool complete = true;
    ((complete &= Each::make(object)), ...);
    return complete;
  }

  // The parent's `clone`, then the parts. NULL when one of them fails; the target then owns nothing.
  template <typename Object>
  static Object *clone(const Object &object, void *target) {
    auto *copy = static_cast<Object *>(table()->clone(&object, target));
    if (copy == nullptr) return nullptr;
    bool complete = true;
    ((complete &= Each::copy(object, *copy)), ...);
    return complete ? copy : undo(*copy);
  }

  // Empties a copy that could not be completed. Returns NULL.
  template <typename Object>
  static Object *undo(Object &copy) {
    destroy(copy);
    return nullptr;
  }

  template <typename Object>
  static void destroy(Object &object) {
    (Each::release(object), ...);
    table()->destroy(&object);
  }
};

}  // namespace ztcore

#endif

#include "objects/ztproptype.h"

#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "io/ztstring.hh"
#include "objects/ztobject.hh"
#include "objects/ztproperty.h"

#include <string.h>

ZT_PIN_CLASS(ztPropertyType, 16, 21);
ZT_PIN_SLOT(ztPropertyType, getValue, 16);
ZT_PIN_SLOT(ztPropertyType, getType, 20);

static void propertyTypeMethods(ztPropertyTypeMethods *methods) {
  ZT_ABSTRACT_METHOD(methods, getValue);
  ZT_ABSTRACT_METHOD(methods, setValue);
}

ZT_DEFINE_CLASS(ztPropertyType, ztBaseClass, propertyTypeMethods)

// The kinds ---------------------------------------------------------------------------------------
//
// Six kinds keep a plain value and differ only in how it is read, handed to a setter and named; one
// set of operations serves them. The string kind stands by itself.

static const ztProperty *propertyOf(const void *property) {
  return static_cast<const ztProperty *>(property);
}

namespace {

template <typename V>
struct Kind {
  using Value = V;
  static ztWord wordOf(Value value) {
    return static_cast<ztWord>(value);
  }
  static void notify(void *object, Value value) {
    ztNotifyPropertyChange(object, EmittedValue(wordOf(value)));
  }
};

struct IntKind : Kind<int32_t> {
  static constexpr const char *name = "ztInt";
  static Value get(const ztProperty *property, void *object) {
    return property->getter.getIntOf(object, property);
  }
  static void set(const ztProperty *property, void *object, Value value) {
    property->setter.setInt(object, value);
  }
};

struct BoolKind : IntKind {
  static constexpr const char *name = "ztBool";
};

struct CharKind : Kind<signed char> {
  static constexpr const char *name = "ztChar";
  static Value get(const ztProperty *property, void *object) {
    return property->getter.getCharOf(object, property);
  }
  static void set(const ztProperty *property, void *object, Value value) {
    property->setter.setInt(object, value);
  }
};

struct VoidPtrKind : Kind<void *> {
  static constexpr const char *name = "ztVoid*";
  static ztWord wordOf(Value value) {
    return reinterpret_cast<ztWord>(value);
  }
  static Value get(const ztProperty *property, void *object) {
    return property->getter.getPointerOf(object, property);
  }
  static void set(const ztProperty *property, void *object, Value value) {
    property->setter.setPointer(object, value);
  }
  static void notify(void *object, Value value) {
    ztNotifyPropertyChange(object, EmittedValue(wordOf(value)));
  }
};

struct CharPtrKind : VoidPtrKind {
  static constexpr const char *name = "ztChar*";
  static void set(const ztProperty *property, void *object, Value value) {
    property->setter.setText(object, static_cast<const char *>(value));
  }
};

struct FloatKind : Kind<double> {
  static constexpr const char *name = "ztFloat";
  static ztWord wordOf(Value value) {
    return ztWordOfDouble(value);
  }
  static Value get(const ztProperty *property, void *object) {
    return property->getter.getFloatOf(object, property);
  }
  static void set(const ztProperty *property, void *object, Value value) {
    property->setter.setFloat(object, value);
  }
  static void notify(void *object, Value value) {
    ztNotifyPropertyChange(object, EmittedValue(value));
  }
};

template <typename K>
struct PlainOperations {
  using Value = typename K::Value;

  static ztWord getValue(ztClass *, const void *object, void *owner, void *out) {
    const ztProperty *property = propertyOf(object);
    if (property == nullptr) return 0;
    Value value;
    if (property->getter.getInt != nullptr) {
      value = K::get(property, owner);
    } else if (property->valuePointer != nullptr) {
      memcpy(&value, property->valuePointer, sizeof value);
    } else {
      return 0;
    }
    if (out != nullptr) memcpy(out, &value, sizeof value);
    return K::wordOf(value);
  }

  static ztWord setValue(ztClass *, void *object, void *owner, const ztWord *word) {
    const ztProperty *property = propertyOf(object);
    if (property == nullptr || word == nullptr) return 0;
    Value value;
    memcpy(&value, word, sizeof value);
    // A setter may destroy the object, and the property with it.
    ObjectWatch emitter(ztEmitterOf(owner));
    if (property->setter.setInt != nullptr) {
      K::set(property, owner, value);
    } else if (property->valuePointer != nullptr) {
      memcpy(property->valuePointer, &value, sizeof value);
    }
    if (emitter.isAlive()) K::notify(owner, value);
    return K::wordOf(value);
  }

  static void *allocDynamicProperty(ztClass *, void *object, const void *initial) {
    auto *property = static_cast<ztProperty *>(object);
    if (property == nullptr) return nullptr;
    property->valueSize = 0;
    property->valuePointer = ztm_alloc(sizeof(Value));
    if (property->valuePointer == nullptr) return nullptr;
    property->valueSize = sizeof(Value);
    Value value{};
    if (initial != nullptr) memcpy(&value, initial, sizeof value);
    memcpy(property->valuePointer, &value, sizeof value);
    return property->valuePointer;
  }

  static void freeDynamicProperty(ztClass *, void *object) {
    auto *property = static_cast<ztProperty *>(object);
    if (property == nullptr) return;
    ztm_free(property->valuePointer);
    property->valuePointer = nullptr;
    property->valueSize = 0;
  }

  static const char *getType(ztClass *) {
    return K::name;
  }
};

struct StringOperations {
  static ztWord getValue(ztClass *, const void *object, void *owner, void *out) {
    const ztProperty *property = propertyOf(object);
    if (property == nullptr) return 0;
    void *string;
    if (property->getter.getPointer != nullptr) {
      string = property->getter.getPointerOf(owner, property);
    } else if (property->valueSize != 0) {
      string = property->valuePointer;
    } else {
      return 0;
    }
    if (out != nullptr) memcpy(out, &string, sizeof string);
    return reinterpret_cast<ztWord>(string);
  }

  static ztWord setValue(ztClass *, void *object, void *owner, const ztWord *word) {
    const ztProperty *property = propertyOf(object);
    if (property == nullptr || word == nullptr) return 0;
    // Read first, since the setter may change the word.
    const ztWord value = *word;
    auto *source = reinterpret_cast<void *>(value);
    ObjectWatch emitter(ztEmitterOf(owner));
    if (property->setter.setString != nullptr) {
      property->setter.setString(owner, reinterpret_cast<void *const *>(word));
    } else if (property->valueSize != 0 && property->valuePointer != nullptr && source != nullptr) {
      ztString_of(property->valuePointer)->assign(property->valuePointer, source);
    }
    if (emitter.isAlive()) ztNotifyPropertyChange(owner, EmittedValue(value));
    return value;
  }

  static void *allocDynamicProperty(ztClass *, void *object, const void *initial) {
    auto *property = static_cast<ztProperty *>(object);
    if (property == nullptr) return nullptr;
    property->valueSize = 0;
    property->valuePointer = nullptr;
    ztString *string = ztNewString("");
    if (string == nullptr) return nullptr;
    if (initial != nullptr && !ztString_of(string)->assign(string, initial)) {
      ztString_of(string)->unRef(string);
      return nullptr;
    }
    property->valuePointer = string;
    property->valueSize = sizeof(ztString);
    return string;
  }

  // Leaves the pointer: a size of 0 alone tells that there is no string any more.
  static void freeDynamicProperty(ztClass *, void *object) {
    auto *property = static_cast<ztProperty *>(object);
    if (property == nullptr || property->valueSize == 0) return;
    property->valueSize = 0;
    ztString_of(property->valuePointer)->unRef(property->valuePointer);
  }

  static const char *getType(ztClass *) {
    return "ztString";
  }
};

}  // namespace

template <typename Operations, typename Methods>
static void fillOperations(Methods *methods) {
  ZT_OVERRIDE_METHOD(methods, getValue, Operations::getValue);
  ZT_OVERRIDE_METHOD(methods, setValue, Operations::setValue);
  ZT_OVERRIDE_METHOD(methods, allocDynamicProperty, Operations::allocDynamicProperty);
  ZT_OVERRIDE_METHOD(methods, freeDynamicProperty, Operations::freeDynamicProperty);
  ZT_OVERRIDE_METHOD(methods, getType, Operations::getType);
}

ZT_DEFINE_CLASS(ztIntPropertyType, ztPropertyType, fillOperations<PlainOperations<IntKind>>)
ZT_DEFINE_CLASS(ztCharPropertyType, ztPropertyType, fillOperations<PlainOperations<CharKind>>)
ZT_DEFINE_CLASS(ztCharPtrPropertyType, ztPropertyType, fillOperations<PlainOperations<CharPtrKind>>)
ZT_DEFINE_CLASS(ztBoolPropertyType, ztPropertyType, fillOperations<PlainOperations<BoolKind>>)
ZT_DEFINE_CLASS(ztFloatPropertyType, ztPropertyType, fillOperations<PlainOperations<FloatKind>>)
ZT_DEFINE_CLASS(ztVoidPtrPropertyType, ztPropertyType, fillOperations<PlainOperations<VoidPtrKind>>)
ZT_DEFINE_CLASS(ztStringPropertyType, ztPropertyType, fillOperations<StringOperations>)

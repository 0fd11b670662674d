#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "io/ztstring.hh"
#include "objects/ztchange.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztproperty.h"

#include <string.h>

using namespace ztcore;

// Six kinds store a plain value and differ only in how it is read, passed to a setter and named: they share one
// set of operations. The string kind has its own.

namespace {

// Like `method`, for operations whose property follows the class of its type.
template <auto operation>
struct OnProperty;

template <typename Result, typename Property, typename... Arguments,
          Result (*operation)(Property &, Arguments...)>
struct OnProperty<operation> {
  static Result call(ztClass *, Untyped<Property> *property, Arguments... arguments) {
    if (property == nullptr) [[unlikely]]
      return Result();
    return operation(*static_cast<Property *>(property), arguments...);
  }
};

template <typename V>
struct Kind {
  using Value = V;
  static ztWord wordOf(Value value) {
    return static_cast<ztWord>(value);
  }
};

struct IntKind : Kind<int32_t> {
  static constexpr const char *name = "ztInt";
  static Value get(const ztProperty &property, void *object) {
    return property.getter.getIntOf(object, &property);
  }
  static void set(const ztProperty &property, void *object, Value value) {
    property.setter.setInt(object, value);
  }
};

struct BoolKind : IntKind {
  static constexpr const char *name = "ztBool";
};

struct CharKind : Kind<signed char> {
  static constexpr const char *name = "ztChar";
  static Value get(const ztProperty &property, void *object) {
    return property.getter.getCharOf(object, &property);
  }
  static void set(const ztProperty &property, void *object, Value value) {
    property.setter.setInt(object, value);
  }
};

struct VoidPtrKind : Kind<void *> {
  static constexpr const char *name = "ztVoid*";
  static ztWord wordOf(Value value) {
    return reinterpret_cast<ztWord>(value);
  }
  static Value get(const ztProperty &property, void *object) {
    return property.getter.getPointerOf(object, &property);
  }
  static void set(const ztProperty &property, void *object, Value value) {
    property.setter.setPointer(object, value);
  }
};

struct CharPtrKind : VoidPtrKind {
  static constexpr const char *name = "ztChar*";
  static void set(const ztProperty &property, void *object, Value value) {
    property.setter.setText(object, static_cast<const char *>(value));
  }
};

struct FloatKind : Kind<double> {
  static constexpr const char *name = "ztFloat";
  static ztWord wordOf(Value value) {
    return ztWordOfDouble(value);
  }
  static Value get(const ztProperty &property, void *object) {
    return property.getter.getFloatOf(object, &property);
  }
  static void set(const ztProperty &property, void *object, Value value) {
    property.setter.setFloat(object, value);
  }
};

template <typename K>
struct PlainOperations {
  using Value = typename K::Value;

  static ztWord getValue(const ztProperty &property, void *owner, void *out) {
    Value value;
    if (property.getter.getInt != nullptr) {
      value = K::get(property, owner);
    } else if (property.valuePointer != nullptr) {
      memcpy(&value, property.valuePointer, sizeof value);
    } else {
      return 0;
    }
    if (out != nullptr) memcpy(out, &value, sizeof value);
    return K::wordOf(value);
  }

  static ztWord setValue(ztProperty &property, void *owner, const ztWord *word) {
    if (word == nullptr) return 0;
    Value value;
    memcpy(&value, word, sizeof value);
    // A setter may destroy the object and its property.
    ObjectWatch emitter(emitterOf(owner));
    if (property.setter.setInt != nullptr) {
      K::set(property, owner, value);
    } else if (property.valuePointer != nullptr) {
      memcpy(property.valuePointer, &value, sizeof value);
    }
    if (emitter.isAlive()) notifyPropertyChange(owner, &property, emitter, emitted(value));
    return K::wordOf(value);
  }

  static EmittedValue emitted(Value value) {
    if constexpr (std::is_same_v<Value, double>) return EmittedValue(value);
    return EmittedValue(K::wordOf(value));
  }

  static void *allocDynamicProperty(ztProperty &property, const void *initial) {
    property.valueSize = 0;
    property.valuePointer = ztm_alloc(sizeof(Value));
    if (property.valuePointer == nullptr) return nullptr;
    property.valueSize = sizeof(Value);
    Value value{};
    if (initial != nullptr) memcpy(&value, initial, sizeof value);
    memcpy(property.valuePointer, &value, sizeof value);
    return property.valuePointer;
  }

  static void freeDynamicProperty(ztProperty &property) {
    ztm_free(property.valuePointer);
    property.valuePointer = nullptr;
    property.valueSize = 0;
  }

  static const char *getType(ztClass *) {
    return K::name;
  }
};

struct StringOperations {
  static ztWord getValue(const ztProperty &property, void *owner, void *out) {
    void *string;
    if (property.getter.getPointer != nullptr) {
      string = property.getter.getPointerOf(owner, &property);
    } else if (property.valueSize != 0) {
      string = property.valuePointer;
    } else {
      return 0;
    }
    if (out != nullptr) memcpy(out, &string, sizeof string);
    return reinterpret_cast<ztWord>(string);
  }

  static ztWord setValue(ztProperty &property, void *owner, const ztWord *word) {
    if (word == nullptr) return 0;
    // Read first, because the setter may change the word.
    const ztWord value = *word;
    auto *source = reinterpret_cast<void *>(value);
    ObjectWatch emitter(emitterOf(owner));
    if (property.setter.setString != nullptr) {
      property.setter.setString(owner, reinterpret_cast<void *const *>(word));
    } else if (property.valueSize != 0 && property.valuePointer != nullptr && source != nullptr) {
      if (!ztString_of(property.valuePointer)->assign(property.valuePointer, source)) ++thisThread.lostTexts;
    }
    if (emitter.isAlive()) notifyPropertyChange(owner, &property, emitter, EmittedValue(value));
    return value;
  }

  static void *allocDynamicProperty(ztProperty &property, const void *initial) {
    property.valueSize = 0;
    property.valuePointer = nullptr;
    ztString *string = makeString("");
    if (string == nullptr) return nullptr;
    if (initial != nullptr && !ztString_of(string)->assign(string, initial)) {
      ztString_of(string)->unRef(string);
      return nullptr;
    }
    property.valuePointer = string;
    property.valueSize = sizeof(ztString);
    return string;
  }

  // The pointer stays: only the size of 0 tells that there is no string.
  static void freeDynamicProperty(ztProperty &property) {
    if (property.valueSize == 0) return;
    property.valueSize = 0;
    ztString_of(property.valuePointer)->unRef(property.valuePointer);
  }

  static const char *getType(ztClass *) {
    return "ztString";
  }
};

}  // namespace

template <typename Operations, typename Methods>
static void fillOperations(Methods *methods) {
  ZT_OVERRIDE_METHOD(methods, getValue, OnProperty<Operations::getValue>::call);
  ZT_OVERRIDE_METHOD(methods, setValue, OnProperty<Operations::setValue>::call);
  ZT_OVERRIDE_METHOD(methods, allocDynamicProperty, OnProperty<Operations::allocDynamicProperty>::call);
  ZT_OVERRIDE_METHOD(methods, freeDynamicProperty, OnProperty<Operations::freeDynamicProperty>::call);
  ZT_OVERRIDE_METHOD(methods, getType, Operations::getType);
}

ZT_DEFINE_CLASS(ztIntPropertyType, ztPropertyType, fillOperations<PlainOperations<IntKind>>)
ZT_DEFINE_CLASS(ztCharPropertyType, ztPropertyType, fillOperations<PlainOperations<CharKind>>)
ZT_DEFINE_CLASS(ztCharPtrPropertyType, ztPropertyType, fillOperations<PlainOperations<CharPtrKind>>)
ZT_DEFINE_CLASS(ztBoolPropertyType, ztPropertyType, fillOperations<PlainOperations<BoolKind>>)
ZT_DEFINE_CLASS(ztFloatPropertyType, ztPropertyType, fillOperations<PlainOperations<FloatKind>>)
ZT_DEFINE_CLASS(ztVoidPtrPropertyType, ztPropertyType, fillOperations<PlainOperations<VoidPtrKind>>)
ZT_DEFINE_CLASS(ztStringPropertyType, ztPropertyType, fillOperations<StringOperations>)

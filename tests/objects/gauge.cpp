#include "tests/objects/gauge.hh"

#include <algorithm>

static Gauge *gaugeOf(void *object) {
  return static_cast<Gauge *>(object);
}

static const Gauge *gaugeOf(const void *object) {
  return static_cast<const Gauge *>(object);
}

static int32_t gaugeCreate(void *object) {
  if (!ztObject_table()->create(object)) return 0;
  Gauge *gauge = gaugeOf(object);
  gauge->level = 0;
  gauge->open = 0;
  gauge->grade = 0;
  gauge->real = 0;
  gauge->label = nullptr;
  gauge->owner = nullptr;
  gauge->onSet = nullptr;
  gauge->note = static_cast<ztString *>(ztString_ctor(nullptr, 1));
  return gauge->note != nullptr;
}

static void gaugeDestroy(void *object) {
  ztString *note = std::exchange(gaugeOf(object)->note, nullptr);
  ztObject_table()->destroy(object);
  if (note != nullptr) release(note);
}

template <auto field, typename Value>
static Value get(const void *object) {
  return gaugeOf(object)->*field;
}

template <auto field, typename Value>
static void set(void *object, Value value) {
  Gauge *gauge = gaugeOf(object);
  gauge->*field = static_cast<std::decay_t<decltype(gauge->*field)>>(value);
  if (gauge->onSet != nullptr) gauge->onSet(object);
}

static char *setLabel(void *object, const char *label) {
  gaugeOf(object)->label = label;
  return nullptr;
}

static void setNote(void *object, void *const *string) {
  ztString *note = gaugeOf(object)->note;
  ztString_of(note)->assign(note, *string);
}

static int32_t gaugeInitProperties(ztClass *klass) {
  registerAllPropertyTypes();
  const auto declare = [=](const char *name, const char *type, ztGetter getter, ztSetter setter) {
    return ztObject_table()->addProperty(klass, name, type, getter, setter, nullptr, nullptr);
  };
  const ztGetter getLevel = {.getInt = get<&Gauge::level, int32_t>};
  const ztSetter setLevel = {.setInt = set<&Gauge::level, int32_t>};
  declare("level", "ztInt", getLevel, setLevel);
  declare("open", "ztBool", {.getInt = get<&Gauge::open, int32_t>}, {.setInt = set<&Gauge::open, int32_t>});
  declare("grade", "ztChar", {.getChar = get<&Gauge::grade, signed char>},
          {.setInt = set<&Gauge::grade, int32_t>});
  declare("real", "ztFloat", {.getFloat = get<&Gauge::real, double>},
          {.setFloat = set<&Gauge::real, double>});
  declare("label", "ztCharPtr", {.getText = get<&Gauge::label, const char *>}, {.setText = setLabel});
  declare("owner", "ztVoidPtr", {.getPointer = get<&Gauge::owner, void *>},
          {.setPointer = set<&Gauge::owner, void *>});
  declare("note", "ztString", {.getPointer = get<&Gauge::note, void *>}, {.setString = setNote});
  declare("fixed", "ztInt", getLevel, noSetter);
  return declare("hidden", "ztInt", noGetter, setLevel);
}

ZT_DEFINE_CLASS(Gauge, ztObject, [](auto *methods) {
  ZT_OVERRIDE_METHOD(methods, create, gaugeCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, gaugeDestroy);
  ZT_OVERRIDE_METHOD(methods, initProperties, gaugeInitProperties);
})

std::string logOf(const std::function<void()> &run) {
  CapturedLog log;
  run();
  return log.file();
}

testing::AssertionResult isRefused(const std::function<int32_t()> &call,
                                   const std::vector<std::string> &names) {
  int32_t result = -1;
  const std::string log = logOf([&] { result = call(); });
  if (result != 0) return testing::AssertionFailure() << "the result is " << result;
  if (std::count(log.begin(), log.end(), '\n') != 1) return testing::AssertionFailure() << "the log: " << log;
  for (const std::string &name : names) {
    if (log.find(name) == std::string::npos)
      return testing::AssertionFailure() << "no " << name << ": " << log;
  }
  return testing::AssertionSuccess();
}

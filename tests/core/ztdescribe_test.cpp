#include "core/ztdescribe.h"

#include "tests/helpers/captured_log.hh"
#include "tests/helpers/owned.hh"
#include "tests/hosts/boiler.h"
#include "tests/protocol/classes.h"
#include "zentova.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Info = std::unique_ptr<ztClassInfo, decltype(&ztOOP_freeClassInfo)>;

Info describe(ztClass *klass) {
  return {ztOOP_classInfo(klass), ztOOP_freeClassInfo};
}

struct Row {
  const char *name;
  const char *parent;
  int32_t instanceSize;
  int32_t methods;
  int32_t functions;
  const char *overridden;
  const char *abstract;
  const char *empty;
};

#define ROW(C, Parent, size, methods, functions, overridden, abstract, empty, bytes) \
  {#C, #Parent, size, methods, functions, overridden, abstract, empty},
const Row rows[] = {ZT_CLASSES(ROW)};

// "4,10,16-18" as a set.
std::set<int32_t> slotsIn(const std::string &ranges) {
  std::set<int32_t> slots;
  std::istringstream in(ranges);
  for (std::string range; std::getline(in, range, ',');) {
    const size_t dash = range.find('-');
    const int32_t first = std::stoi(range);
    const int32_t last = dash == std::string::npos ? first : std::stoi(range.substr(dash + 1));
    for (int32_t slot = first; slot <= last; ++slot) slots.insert(slot);
  }
  return slots;
}

// Struct to the lines "offset size name" and "slot name" of what it adds to its parent's.
std::map<std::string, std::vector<std::string>> expectedLayout() {
  std::map<std::string, std::vector<std::string>> layout;
  std::ifstream file(ZT_LAYOUT_FILE);
  std::string name;
  for (std::string line; std::getline(file, line);) {
    if (line.front() == ' ') {
      layout[name].push_back(line);
    } else {
      name = line.substr(0, line.find(':'));
    }
  }
  return layout;
}

std::string lastWordOf(const std::string &line) {
  return line.substr(line.rfind(' ') + 1);
}

const ztMethodInfo *methodOf(const Info &info, const std::string &name) {
  for (int32_t i = 0; i < info->methodCount; ++i) {
    if (info->methods[i].name == name) return &info->methods[i];
  }
  return nullptr;
}

const ztFieldInfo *fieldOf(const Info &info, const std::string &name) {
  for (int32_t i = 0; i < info->fieldCount; ++i) {
    if (info->fields[i].name == name) return &info->fields[i];
  }
  return nullptr;
}

}  // namespace

TEST(ClassInfo, TellsOfEachClassWhatItIs) {
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    ztClass *klass = ztOOP_findClass(row.name);
    const Info info = describe(klass);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->klass, klass);
    EXPECT_STREQ(info->name, row.name);
    EXPECT_STREQ(info->parent == nullptr ? "ztBaseClass" : info->parent->name, row.parent);
    EXPECT_EQ(info->version, klass->version);
    EXPECT_EQ(info->instanceSize, row.instanceSize);
    EXPECT_EQ(info->isDescribed, 1);
    EXPECT_EQ(info->methodCount, row.methods);
    EXPECT_EQ(info->functionCount, row.functions);
  }
}

TEST(ClassInfo, TellsWhoseMethodIsInEachSlot) {
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    const Info info = describe(ztOOP_findClass(row.name));
    std::set<int32_t> own;
    std::set<int32_t> abstract;
    std::set<int32_t> empty;
    for (int32_t slot = 0; slot < info->methodCount; ++slot) {
      const ztMethodInfo &method = info->methods[slot];
      EXPECT_EQ(method.slot, slot);
      EXPECT_EQ(method.definedBy == nullptr,
                method.state == ztMethodAbstract || method.state == ztMethodEmpty);
      if (method.state == ztMethodData) continue;
      if (method.definedBy == info->klass && slot != 0 && method.introducedBy != info->klass)
        own.insert(slot);
      if (method.state == ztMethodAbstract && method.introducedBy == info->klass) abstract.insert(slot);
      if (method.state == ztMethodEmpty && method.introducedBy == info->klass && slot != 3)
        empty.insert(slot);
    }
    std::set<int32_t> overridden = slotsIn(row.overridden);
    if (info->parent == nullptr) overridden.clear();
    // Slots that an ancestor left abstract or empty may be filled or emptied again.
    for (const int32_t slot : slotsIn(row.empty)) overridden.erase(slot);
    for (const int32_t slot : slotsIn(row.abstract)) overridden.erase(slot);
    EXPECT_EQ(own, overridden);
    for (const int32_t slot : abstract) EXPECT_EQ(slotsIn(row.abstract).count(slot), 1U) << slot;
    for (const int32_t slot : empty) EXPECT_EQ(slotsIn(row.empty).count(slot), 1U) << slot;
  }
}

TEST(ClassInfo, HasEachFieldAndMethodWhereTheCompilerHasIt) {
  const auto layout = expectedLayout();
  ASSERT_EQ(layout.count("ztBaseClassMethods"), 1U);
  for (const Row &row : rows) {
    SCOPED_TRACE(row.name);
    const Info info = describe(ztOOP_findClass(row.name));
    const auto own = layout.find(row.name);
    if (own != layout.end()) {
      for (const std::string &line : own->second) {
        const ztFieldInfo *field = fieldOf(info, lastWordOf(line));
        ASSERT_NE(field, nullptr) << line;
        EXPECT_EQ(field->offset, std::stoi(line)) << line;
        EXPECT_EQ(field->introducedBy, info->klass);
      }
    }
    const auto methods = layout.find(std::string(row.name) + "Methods");
    if (methods == layout.end()) continue;
    for (const std::string &line : methods->second) {
      const ztMethodInfo *method = methodOf(info, lastWordOf(line));
      ASSERT_NE(method, nullptr) << line;
      EXPECT_EQ(method->slot, std::stoi(line)) << line;
      EXPECT_EQ(method->introducedBy, info->klass);
    }
  }
}

TEST(ClassInfo, HasTheDeclarationsOfTheHeaders) {
  const Info info = describe(ztObjectClass_Instance());
  EXPECT_STREQ(methodOf(info, "getRefCount")->declaration, "int32_t (*getRefCount)(const void *object)");
  EXPECT_STREQ(methodOf(info, "initProperties")->declaration, "int32_t (*initProperties)(ztClass *klass)");
  EXPECT_EQ(methodOf(info, "staticProperties")->state, ztMethodData);
  EXPECT_EQ(methodOf(info, "reserved")->state, ztMethodEmpty);
  EXPECT_STREQ(fieldOf(info, "flags")->type, "uint32_t");
  EXPECT_STREQ(fieldOf(info, "signals")->type, "ztSignalMap *");
  EXPECT_STREQ(fieldOf(describe(ztPropertyClass_Instance()), "ownerClassName")->type, "char[104]");
}

TEST(ClassInfo, ListsTheClassFunctions) {
  const Info root = describe(ztBaseClassClass_Instance());
  EXPECT_STREQ(root->functions[0].name, "newop");
  EXPECT_STREQ(root->functions[9].name, "classDestroy");
  EXPECT_STREQ(root->functions[10].declaration,
               "ztOwned *(*classRead)(const void *ignored, ztBorrowed *file)");
  EXPECT_EQ(root->functions[11].slot, 11);
}

// Classes of hosts --------------------------------------------------------------------------------

namespace {

struct Point {
  int32_t x;
  int32_t y;
};

}  // namespace

#define Measured_FIELDS                                    \
  ztObject_FIELDS                                          \
  int32_t first, *second, third[2][3];                     \
  unsigned char byte;                                      \
  const char *const names[4];                              \
  double (*scale)(double value, int32_t (*callback)(int)); \
  unsigned long long large;
#define Measured_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Measured)

#define Placed_FIELDS          \
  Measured_FIELDS Point point; \
  int32_t behind;
#define Placed_METHODS Measured_METHODS struct Point (*where)(const void *placed, int32_t a, int32_t b);
ZT_DECLARE_CLASS(Placed)

#define Qualified_FIELDS           \
  ztBaseClass_FIELDS               \
  std::map<int, char *> *map;      \
  ::std::string *text, *other;     \
  std::pair<int32_t *, char> pair; \
  int32_t behind;
#define Qualified_METHODS \
  ztBaseClass_METHODS     \
  std::map<int, char *> *(*get)(const void *, std::pair<int, int> *);
ZT_DECLARE_CLASS(Qualified)

#define Flagged_FIELDS \
  ztBaseClass_FIELDS   \
  int32_t before;      \
  uint32_t one : 1, two : 2;
#define Flagged_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Flagged)

// Like a type that the library takes for another.
#define Squeezed_FIELDS \
  ztBaseClass_FIELDS    \
  char head;            \
  int32_t __attribute__((packed)) body;
#define Squeezed_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Squeezed)

// Compilers accept more semicolons than the language.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wextra-semi"
#define Paired_FIELDS \
  ztBaseClass_FIELDS; \
  ;                   \
  int32_t first;      \
  ;                   \
  int32_t second;
#define Paired_METHODS                                   \
  ztBaseClass_METHODS;                                   \
  int32_t (*first)(void *paired), *(*second)(int32_t n); \
  ;                                                      \
  void *data, (*third)(void);
ZT_DECLARE_CLASS(Paired)
#pragma GCC diagnostic pop

// A check and an array are no methods.
#define Checked_FIELDS ztBaseClass_FIELDS
#define Checked_METHODS            \
  ztBaseClass_METHODS              \
  static_assert(sizeof(int) == 4); \
  void (*only)(void);
ZT_DECLARE_CLASS(Checked)
#define Reserving_FIELDS Checked_FIELDS
#define Reserving_METHODS               \
  Checked_METHODS void (*before)(void); \
  void *reserved[3];                    \
  void (*behind)(void);
ZT_DECLARE_CLASS(Reserving)

namespace {

template <typename Methods>
void fillsNothing(Methods *) {}

}  // namespace

ZT_DEFINE_CLASS(Measured, ztObject, fillsNothing)
ZT_DEFINE_CLASS(Placed, Measured, fillsNothing)
ZT_DEFINE_CLASS(Flagged, ztBaseClass, fillsNothing)
ZT_DEFINE_CLASS(Squeezed, ztBaseClass, fillsNothing)
ZT_DEFINE_CLASS(Qualified, ztBaseClass, fillsNothing)
ZT_DEFINE_CLASS(Paired, ztBaseClass, fillsNothing)
ZT_DEFINE_CLASS(Checked, ztBaseClass, fillsNothing)
ZT_DEFINE_CLASS(Reserving, Checked, fillsNothing)

TEST(ClassInfo, ReadsWhatCDeclares) {
  ASSERT_EQ(ZT_REGISTER_CLASS(Measured), 1);
  const Info info = describe(MeasuredClass_Instance());
  const std::vector<std::tuple<std::string, std::string, size_t>> fields = {
      {"first", "int32_t", offsetof(Measured, first)},
      {"second", "int32_t *", offsetof(Measured, second)},
      {"third", "int32_t[2][3]", offsetof(Measured, third)},
      {"byte", "unsigned char", offsetof(Measured, byte)},
      {"names", "const char *const[4]", offsetof(Measured, names)},
      {"scale", "double (*)(double value, int32_t (*callback)(int))", offsetof(Measured, scale)},
      {"large", "unsigned long long", offsetof(Measured, large)}};
  ASSERT_EQ(info->fieldCount, 6 + static_cast<int32_t>(fields.size()));
  for (size_t i = 0; i < fields.size(); ++i) {
    const ztFieldInfo &field = info->fields[6 + i];
    EXPECT_EQ(std::make_tuple(std::string(field.name), std::string(field.type), size_t(field.offset)),
              fields[i]);
  }
}

TEST(ClassInfo, DoesNotGuessBehindAFieldOfAnUnknownType) {
  ASSERT_EQ(ZT_REGISTER_CLASS(Placed), 1);
  const Info info = describe(PlacedClass_Instance());
  EXPECT_EQ(fieldOf(info, "large")->offset, static_cast<int32_t>(offsetof(Placed, large)));
  EXPECT_EQ(fieldOf(info, "point")->offset, static_cast<int32_t>(offsetof(Placed, point)));
  EXPECT_STREQ(fieldOf(info, "point")->type, "Point");
  EXPECT_EQ(fieldOf(info, "behind")->offset, -1);
  EXPECT_STREQ(methodOf(info, "where")->declaration,
               "struct Point (*where)(const void *placed, int32_t a, int32_t b)");
}

TEST(ClassInfo, ReadsSeveralMethodsOfOneDeclarationAndEmptyOnes) {
  ASSERT_EQ(ZT_REGISTER_CLASS(Paired), 1);
  const Info info = describe(PairedClass_Instance());
  const std::vector<std::tuple<std::string, std::string, size_t>> methods = {
      {"first", "int32_t (*first)(void *paired)", offsetof(PairedMethods, first)},
      {"second", "int32_t *(*second)(int32_t n)", offsetof(PairedMethods, second)},
      {"data", "void *data", offsetof(PairedMethods, data)},
      {"third", "void (*third)(void)", offsetof(PairedMethods, third)}};
  ASSERT_EQ(info->methodCount, 16 + static_cast<int32_t>(methods.size()));
  for (size_t i = 0; i < methods.size(); ++i) {
    const ztMethodInfo &method = info->methods[16 + i];
    EXPECT_EQ(std::make_tuple(std::string(method.name), std::string(method.declaration),
                              static_cast<size_t>(method.slot) * sizeof(void *)),
              methods[i]);
    EXPECT_EQ(method.introducedBy, info->klass);
  }
  EXPECT_EQ(fieldOf(info, "second")->offset, static_cast<int32_t>(offsetof(Paired, second)));
}

TEST(ClassInfo, NamesNoMethodsWhereItCannotTellTheirSlots) {
  ASSERT_EQ(ZT_REGISTER_CLASS(Reserving), 1);
  const Info info = describe(ReservingClass_Instance());
  ASSERT_EQ(info->methodCount, 16 + 1 + 5);
  EXPECT_STREQ(info->methods[16].name, "only");
  EXPECT_EQ(info->methods[16].introducedBy, CheckedClass_Instance());
  for (int32_t i = 17; i < info->methodCount; ++i) {
    EXPECT_STREQ(info->methods[i].name, "") << i;
    EXPECT_STREQ(info->methods[i].declaration, "") << i;
    EXPECT_EQ(info->methods[i].introducedBy, info->klass) << i;
  }
}

TEST(ClassInfo, ReadsTheTypesOfHostsInCpp) {
  ASSERT_EQ(ZT_REGISTER_CLASS(Qualified), 1);
  const Info info = describe(QualifiedClass_Instance());
  const std::vector<std::tuple<std::string, std::string, int32_t>> fields = {
      {"map", "std::map<int, char *> *", static_cast<int32_t>(offsetof(Qualified, map))},
      {"text", "::std::string *", static_cast<int32_t>(offsetof(Qualified, text))},
      {"other", "::std::string *", static_cast<int32_t>(offsetof(Qualified, other))},
      {"pair", "std::pair<int32_t *, char>", -1},
      {"behind", "int32_t", -1}};
  ASSERT_EQ(info->fieldCount, 2 + static_cast<int32_t>(fields.size()));
  for (size_t i = 0; i < fields.size(); ++i) {
    const ztFieldInfo &field = info->fields[2 + i];
    EXPECT_EQ(std::make_tuple(std::string(field.name), std::string(field.type), field.offset), fields[i]);
  }
  ASSERT_EQ(info->methodCount, 17);
  EXPECT_STREQ(methodOf(info, "get")->declaration,
               "std::map<int, char *> *(*get)(const void *, std::pair<int, int> *)");
}

TEST(ClassInfo, LeavesOutBitFields) {
  ASSERT_EQ(ZT_REGISTER_CLASS(Flagged), 1);
  const Info info = describe(FlaggedClass_Instance());
  EXPECT_EQ(info->fieldCount, 3);
  EXPECT_EQ(fieldOf(info, "before")->offset, static_cast<int32_t>(offsetof(Flagged, before)));
}

TEST(ClassInfo, GivesNoOffsetsThatDoNotLeadToTheSizeOfTheClass) {
  ASSERT_EQ(ZT_REGISTER_CLASS(Squeezed), 1);
  const Info info = describe(SqueezedClass_Instance());
  EXPECT_EQ(fieldOf(info, "refCount")->offset, 8);
  EXPECT_NE(fieldOf(info, "body")->offset, 16);
}

TEST(ClassInfo, RefusesAClassThatIsNotInUse) {
  CapturedLog log;
  ztClass unused = {};
  EXPECT_EQ(ztOOP_classInfo(&unused), nullptr);
  EXPECT_EQ(ztOOP_classInfo(nullptr), nullptr);
  EXPECT_EQ(log.file(),
            "ztOOP_classInfo - Error, the class is not in use: see ZT_REGISTER_CLASS\n"
            "ztOOP_classInfo - Error, the class is not in use: see ZT_REGISTER_CLASS\n");
  ztOOP_freeClassInfo(nullptr);
}

TEST(ClassInfo, StaysWhileItsPluginGoes) {
  void *plugin = dlopen(ZT_HOSTS_FOLDER "/libplugin_pump.so", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(plugin, nullptr) << dlerror();
  const auto constructor = reinterpret_cast<ztCtor>(dlsym(plugin, "Pump_ctor"));
  ASSERT_EQ(ztOOP_registerClassOf(constructor), 1);
  const Info info = describe(ztOOP_findClass("Pump"));
  dlclose(plugin);
  EXPECT_STREQ(info->name, "Pump");
  EXPECT_STREQ(fieldOf(info, "pressure")->type, "int32_t");
  EXPECT_EQ(ztOOP_findClass("Pump"), nullptr);
  CapturedLog log;
  EXPECT_EQ(ztOOP_classInfo(info->klass), nullptr);
  EXPECT_EQ(ztObject_classInfo(info->klass), nullptr);
  EXPECT_EQ(log.file(),
            "ztOOP_classInfo - Error, the class is not in use: see ZT_REGISTER_CLASS\n"
            "ztObject_classInfo - Error, the class is not in use: see ZT_REGISTER_CLASS\n");
}

// Classes of earlier headers ----------------------------------------------------------------------

namespace {

class Earlier : public testing::Test {
 protected:
  Earlier() : plugin(dlopen(ZT_HOSTS_FOLDER "/libplugin_boiler.so", RTLD_NOW | RTLD_LOCAL)) {}
  ~Earlier() override {
    if (plugin != nullptr) dlclose(plugin);
  }
  ztCtor constructorOf(const char *klass) const {
    return reinterpret_cast<ztCtor>(dlsym(plugin, (std::string(klass) + "_ctor").c_str()));
  }

  void *plugin;
};

}  // namespace

TEST_F(Earlier, ClassRuns) {
  ASSERT_NE(plugin, nullptr) << dlerror();
  const Owned<Kettle, KettleMethods> kettle(constructorOf("Kettle"));
  EXPECT_EQ(kettle->heat(kettle, 10), 30);
  EXPECT_STREQ(ztOOP_classNameOf(kettle), "Kettle");
  EXPECT_EQ(ztOOP_isClassRegistered("Kettle"), 1);
}

TEST_F(Earlier, ClassHasTheDescriptionOfItsAncestors) {
  ASSERT_EQ(ztOOP_registerClassOf(constructorOf("Kettle")), 1);
  const Info info = describe(ztOOP_findClass("Kettle"));
  EXPECT_EQ(info->isDescribed, 0);
  EXPECT_EQ(info->methodCount, 16);
  EXPECT_EQ(info->fieldCount, 2);
  EXPECT_EQ(info->functionCount, 10);
  EXPECT_EQ(methodOf(info, "create")->definedBy, info->klass);
}

TEST_F(Earlier, ClassHasSlotsWithoutNamesInTheDescriptionOfADescendant) {
  const Owned<Boiler, BoilerMethods> boiler(constructorOf("Boiler"));
  EXPECT_EQ(boiler->heat(boiler, 10), 60);
  ztClass *klass = ztOOP_classOf(boiler);
  const Info info = describe(klass);
  ASSERT_EQ(info->methodCount, 18);
  EXPECT_STREQ(info->methods[16].name, "");
  EXPECT_STREQ(info->methods[16].declaration, "");
  EXPECT_EQ(info->methods[16].introducedBy, klass->parent);
  EXPECT_EQ(info->methods[16].definedBy, klass);
  EXPECT_STREQ(info->methods[17].name, "fill");
  EXPECT_EQ(fieldOf(info, "litres")->offset, -1);
}

// Registering, casting, checked calls -------------------------------------------------------------

#define Lamp_FIELDS ztBaseClass_FIELDS
#define Lamp_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Lamp)
ZT_DEFINE_CLASS(Lamp, ztBaseClass, fillsNothing)

TEST(RegisterClass, MakesAClassKnownBeforeItsFirstObject) {
  ASSERT_EQ(ztOOP_isClassRegistered("Lamp"), 0);
  EXPECT_EQ(ztOOP_registerClass(&LampClass_Description), 1);
  EXPECT_EQ(ztOOP_findClass("Lamp"), LampClass_Instance());
  EXPECT_EQ(ZT_REGISTER_CLASS(Lamp), 1);
  ztFreeClass("Lamp");
  EXPECT_EQ(ztOOP_isClassRegistered("Lamp"), 0);
  EXPECT_EQ(ZT_REGISTER_CLASS(Lamp), 1);
  EXPECT_EQ(ztOOP_isClassRegistered("Lamp"), 1);
  ztFreeClass("Lamp");
}

TEST(RegisterClass, RefusesANameOfAnotherClass) {
  void *prototype = ztBaseClass_ctor(nullptr, 0);
  ASSERT_EQ(ztAddNewClass(prototype, "Lamp", ztBaseClass_ctor, nullptr), 1);
  CapturedLog log;
  EXPECT_EQ(ZT_REGISTER_CLASS(Lamp), 0);
  EXPECT_EQ(log.file(), "ztOOP_registerClass - Error, the name 'Lamp' belongs to another class\n");
  ztFreeClass("Lamp");
}

TEST(RegisterClass, RefusesNull) {
  CapturedLog log;
  EXPECT_EQ(ztOOP_registerClass(nullptr), 0);
  EXPECT_EQ(ztOOP_registerClassOf(nullptr), 0);
  EXPECT_EQ(log.file(),
            "ztOOP_registerClass - Error, the class is NULL\n"
            "ztOOP_registerClass - Error, the class is NULL\n");
}

TEST(Cast, GivesTheObjectOfTheClassOrOfADescendant) {
  const Owned<ztRoot, ztRootMethods> node(ztRoot_new());
  EXPECT_EQ(ztRoot_cast(node), &node.fields());
  EXPECT_EQ(static_cast<void *>(ztObject_cast(node)), &node.fields());
}

TEST(Cast, RefusesAnotherClassWithALine) {
  const Owned<ztObject, ztObjectMethods> object(ztObject_new());
  CapturedLog log;
  EXPECT_EQ(ztRoot_cast(object), nullptr);
  EXPECT_EQ(ztRoot_cast(nullptr), nullptr);
  EXPECT_EQ(ztOOP_cast(object, nullptr), nullptr);
  EXPECT_EQ(log.file(),
            "ztOOP_cast - Error, the object is a 'ztObject', not a 'ztRoot'\n"
            "ztOOP_cast - Error, the object is NULL, not a 'ztRoot'\n"
            "ztOOP_cast - Error, the object is a 'ztObject', not a '(null)'\n");
}

TEST(CheckedTable, CallsWhatTheObjectHas) {
  const Owned<ztRoot, ztRootMethods> node(ztRoot_new());
  EXPECT_EQ(ztOOP_checkedTable(node, ztObjectClass_Instance()), ztRoot_of(node));
}

TEST(CheckedTable, RefusesCallsForAnotherObject) {
  const Owned<ztObject, ztObjectMethods> object(ztObject_new());
  CapturedLog log;
  const void *wrong[] = {object, nullptr};
  for (const void *one : wrong) {
    const auto *methods = static_cast<const ztRootMethods *>(ztOOP_checkedTable(one, ztRootClass_Instance()));
    EXPECT_EQ(methods->getUid(one), 0);
    EXPECT_EQ(methods->getName(one), nullptr);
    const auto *tags =
        static_cast<const ztFloatTagMethods *>(ztOOP_checkedTable(one, ztFloatTagClass_Instance()));
    EXPECT_EQ(tags->getRefCount(one), 0);
  }
  EXPECT_NE(log.file().find("a method of 'ztRoot' was called for a 'ztObject'\n"), std::string::npos);
  EXPECT_NE(log.file().find("a method of 'ztRoot' was called for a '(null)'\n"), std::string::npos);
}

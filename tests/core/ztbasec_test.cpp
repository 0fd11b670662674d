#include "core/ztbasec.h"

#include "core/ztmem.h"
#include "io/ztfile.h"
#include "support/ztalloc.h"
#include "support/ztstdalloc.h"
#include "tests/helpers/abstract_slot.hh"
#include "tests/helpers/captured_log.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

// Host classes ------------------------------------------------------------------------------------

namespace {

// What the operations of the classes below did, in order.
std::vector<std::string> events;

bool createFails;

// The registry frees classes again at the end of the process, when the events are gone.
bool recordsFreedClasses;

}  // namespace

// Hill, Peak and Summit: a chain with fields, abstract methods and super calls.
#define Hill_FIELDS  \
  ztBaseClass_FIELDS \
  int32_t height;
#define Hill_METHODS            \
  ztBaseClass_METHODS           \
  int32_t (*climb)(void *hill); \
  const char *(*shape)(const void *hill);
ZT_DECLARE_CLASS(Hill)

#define Peak_FIELDS Hill_FIELDS double snow;
#define Peak_METHODS Hill_METHODS
ZT_DECLARE_CLASS(Peak)

#define Summit_FIELDS Peak_FIELDS int32_t flag;
#define Summit_METHODS Peak_METHODS int32_t (*wave)(void *summit);
ZT_DECLARE_CLASS(Summit)

static int32_t hillCreate(void *hill) {
  if (!ztBaseClass_table()->create(hill)) return 0;
  events.push_back("hill created");
  if (createFails) return 0;
  static_cast<Hill *>(hill)->height = 100;
  return 1;
}

static void hillDestroy(void *hill) {
  ztBaseClass_table()->destroy(hill);
  events.push_back("hill destroyed");
}

static void hillMethods(HillMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, hillCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, hillDestroy);
  ZT_ABSTRACT_METHOD(methods, climb);
  ZT_ABSTRACT_METHOD(methods, shape);
}

ZT_DEFINE_CLASS(Hill, ztBaseClass, hillMethods)

static int32_t peakCreate(void *peak) {
  if (!Hill_table()->create(peak)) return 0;
  events.push_back("peak created");
  static_cast<Peak *>(peak)->snow = 0.5;
  return 1;
}

static int32_t peakClimb(void *) {
  return 7;
}

static int32_t peakRead(void *peak, void *file) {
  if (!Hill_table()->read(peak, file)) return 0;
  return ztFile_of(file)->readFloat(file, &static_cast<Peak *>(peak)->snow);
}

static int32_t peakWrite(const void *peak, void *file) {
  if (!Hill_table()->write(peak, file)) return 0;
  return ztFile_of(file)->writeFloat(file, static_cast<const Peak *>(peak)->snow);
}

static void peakMethods(PeakMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, peakCreate);
  ZT_OVERRIDE_METHOD(methods, climb, peakClimb);
  ZT_OVERRIDE_METHOD(methods, read, peakRead);
  ZT_OVERRIDE_METHOD(methods, write, peakWrite);
}

ZT_DEFINE_CLASS(Peak, Hill, peakMethods)

static void summitMethods(SummitMethods *methods) {
  methods->wave = nullptr;
}

ZT_DEFINE_CLASS(Summit, Peak, summitMethods)

// A class of version 7 with all class functions of its own.
#define Cave_FIELDS ztBaseClass_FIELDS
#define Cave_METHODS ztBaseClass_METHODS
#define Cave_FUNCTIONS int32_t (*depthOf)(const void *ignored, int32_t level);
ZT_DECLARE_CLASS(Cave)
ZT_DECLARE_CLASS_FUNCTIONS(Cave)

static void caveMethods(CaveMethods *) {}

static void caveInit(ztClass *klass) {
  events.push_back(std::string("init ") + klass->name +
                   (klass->parent == nullptr ? " no parent" : " parent") +
                   (klass->initialised ? " initialised" : " not initialised"));
}

static void caveDestroyed(void *prototype) {
  if (!recordsFreedClasses) return;
  events.push_back(std::string("destroy ") + ztOOP_classOf(prototype)->name);
}

static int32_t caveDepthOf(const void *, int32_t level) {
  return 10 * level;
}

static void caveFunctions(CaveFunctions *functions) {
  functions->classInit = caveInit;
  functions->classDestroy = caveDestroyed;
  functions->depthOf = caveDepthOf;
}

ZT_DEFINE_CLASS_FULL(Cave, ztBaseClass, caveMethods, 7, CaveFunctions, caveFunctions)

// A class whose instances and parts nothing uses but one test.
#define Island_FIELDS ztBaseClass_FIELDS
#define Island_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Island)
#define Atoll_FIELDS Island_FIELDS
#define Atoll_METHODS Island_METHODS
ZT_DECLARE_CLASS(Atoll)

static void islandMethods(IslandMethods *) {}
static void atollMethods(AtollMethods *) {}
ZT_DEFINE_CLASS(Island, ztBaseClass, islandMethods)
ZT_DEFINE_CLASS(Atoll, Island, atollMethods)

// Classes whose classInit hook makes objects while its class is being filled.
#define Brook_FIELDS \
  ztBaseClass_FIELDS \
  int32_t length;
#define Brook_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Brook)
#define River_FIELDS \
  ztBaseClass_FIELDS \
  int32_t length;
#define River_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(River)
#define Stream_FIELDS River_FIELDS int32_t width;
#define Stream_METHODS River_METHODS
ZT_DECLARE_CLASS(Stream)
#define Delta_FIELDS Stream_FIELDS int32_t arms;
#define Delta_METHODS Stream_METHODS
ZT_DECLARE_CLASS(Delta)

static int32_t waterCreate(void *water) {
  if (!ztBaseClass_table()->create(water)) return 0;
  static_cast<Brook *>(water)->length = 5;
  return 1;
}

static void makeWhileFilling(ztCtor ctor, const char *name) {
  void *object = ctor(nullptr, 1);
  ASSERT_NE(object, nullptr);
  EXPECT_STREQ(ztBaseClassClassName(nullptr, object), name);
  EXPECT_EQ(static_cast<Brook *>(object)->length, 5);
  ztBaseClass_of(object)->unRef(object);
}

static void brookMethods(BrookMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, waterCreate);
}

static void brookInit(ztClass *klass) {
  events.push_back(std::string("init ") + klass->name);
  makeWhileFilling(Brook_ctor, "Brook");
  EXPECT_FALSE(ztOOP_isClassRegistered("Brook"));  // before it is complete
}

static void brookFunctions(ztClassFunctions *functions) {
  functions->classInit = brookInit;
}

ZT_DEFINE_CLASS_FULL(Brook, ztBaseClass, brookMethods, 1, ztClassFunctions, brookFunctions)

static void riverMethods(RiverMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, waterCreate);
}

// Its own class, a subclass, and, when a Delta is the first to be made, the class on whose way it is.
static void riverInit(ztClass *klass) {
  events.push_back(std::string("init ") + klass->name);
  makeWhileFilling(River_ctor, "River");
  makeWhileFilling(Stream_ctor, "Stream");
  makeWhileFilling(Delta_ctor, "Delta");
}

static void riverFunctions(ztClassFunctions *functions) {
  functions->classInit = riverInit;
}

ZT_DEFINE_CLASS_FULL(River, ztBaseClass, riverMethods, 1, ztClassFunctions, riverFunctions)

static void streamMethods(StreamMethods *) {}

static void streamInit(ztClass *klass) {
  events.push_back(std::string("init ") + klass->name);
}

static void streamFunctions(ztClassFunctions *functions) {
  functions->classInit = streamInit;
}

ZT_DEFINE_CLASS_FULL(Stream, River, streamMethods, 1, ztClassFunctions, streamFunctions)

static void deltaMethods(DeltaMethods *) {}

static void deltaFunctions(ztClassFunctions *functions) {
  functions->classInit = streamInit;
}

ZT_DEFINE_CLASS_FULL(Delta, Stream, deltaMethods, 1, ztClassFunctions, deltaFunctions)

// A class whose name a test may change.
#define Alias_FIELDS ztBaseClass_FIELDS
#define Alias_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Alias)

static void aliasMethods(AliasMethods *) {}
ZT_DEFINE_CLASS(Alias, ztBaseClass, aliasMethods)

namespace {

void release(void *object) {
  if (object != nullptr) ztBaseClass_of(object)->unRef(object);
}

// An empty entry for a name that is not registered.
const ztClassEntry &entryOf(const std::string &name) {
  static const ztClassEntry none{};
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    if (entry->name == name) return *entry;
  }
  return none;
}

bool isZero(const void *memory, size_t size) {
  const auto *bytes = static_cast<const char *>(memory);
  return std::all_of(bytes, bytes + size, [](char byte) { return byte == 0; });
}

// The base class ----------------------------------------------------------------------------------

TEST(BaseClass, NewObjectHasCountOne) {
  void *object = ztBaseClass_ctor(nullptr, 1);
  EXPECT_EQ(ztBaseClass_of(object)->getRefCount(object), 1);
  ztBaseClass_of(object)->unRef(object);
}

TEST(BaseClass, DescriptorIsFilled) {
  const ztClass *klass = ztBaseClassClass_Instance();
  EXPECT_EQ(klass->parent, nullptr);
  EXPECT_EQ(klass->version, 1U);
  EXPECT_EQ(klass->instanceSize, 16);
  EXPECT_STREQ(klass->name, "ztBaseClass");
  EXPECT_EQ(klass->name, ztBaseClass_classname_);
  EXPECT_EQ(klass->initialised, 1U);
  EXPECT_EQ(klass->spare, 0U);
}

TEST(BaseClass, FillsAllMethodSlotsButTheFourth) {
  const auto *slots = static_cast<void *const *>(ztBaseClassClass_Instance()->methodTable);
  for (int slot = 0; slot < 16; ++slot) EXPECT_EQ(slots[slot] == nullptr, slot == 3) << slot;
}

TEST(BaseClass, ReadsAndWritesIdentitiesInClassSlotsTenAndEleven) {
  const auto *slots = static_cast<void *const *>(ztBaseClassClass_Instance()->classTable);
  EXPECT_NE(slots[10], nullptr);
  EXPECT_NE(slots[11], nullptr);
  EXPECT_EQ(slots[3], nullptr);
  EXPECT_EQ(slots[8], nullptr);
  EXPECT_EQ(slots[9], nullptr);
}

TEST(BaseClass, DefaultOperationsSucceedAndDoNothing) {
  void *object = ztBaseClass_ctor(nullptr, 1);
  void *other = ztBaseClass_ctor(nullptr, 1);
  const ztBaseClassMethods *methods = ztBaseClass_of(object);
  EXPECT_EQ(methods->create(object), 1);
  EXPECT_EQ(methods->assign(object, other), 1);
  EXPECT_EQ(methods->read(object, nullptr), 1);
  EXPECT_EQ(methods->write(object, nullptr), 1);
  EXPECT_EQ(methods->Allocator(object), nullptr);
  methods->classInstanceCreate(ztOOP_classOf(object));
  methods->classInstanceDestroy(ztOOP_classOf(object));
  methods->destroy(object);
  EXPECT_EQ(methods->getRefCount(object), 1);
  methods->unRef(other);
  methods->unRef(object);
}

TEST(BaseClass, ComparisonsAreAbstract) {
  void *object = ztBaseClass_ctor(nullptr, 1);
  const ztBaseClassMethods *methods = ztBaseClass_of(object);
  EXPECT_EQ(textOfAbstract(methods->isEqual, object), virtualCall("ztBaseClass"));
  EXPECT_EQ(textOfAbstract(methods->isLess, object), virtualCall("ztBaseClass"));
  EXPECT_EQ(textOfAbstract(methods->isMajor, object), virtualCall("ztBaseClass"));
  release(object);
}

TEST(BaseClass, CloneCopiesTheWholeInstanceWithItsHeader) {
  auto *peak = static_cast<Peak *>(Peak_ctor(nullptr, 1));
  peak->height = 4810;
  peak->snow = 3.25;
  Peak_of(peak)->ref(peak);
  Peak target;
  memset(&target, 0xee, sizeof target);
  EXPECT_EQ(Peak_of(peak)->clone(peak, &target), &target);
  EXPECT_EQ(memcmp(&target, peak, sizeof target), 0);
  EXPECT_EQ(target.klass, PeakClass_Instance());
  EXPECT_EQ(Peak_of(&target)->getRefCount(&target), 2);
  release(peak);
}

TEST(BaseClass, CloneOntoItselfChangesNothing) {
  auto *peak = static_cast<Peak *>(Peak_ctor(nullptr, 1));
  peak->snow = 3.25;
  EXPECT_EQ(Peak_of(peak)->clone(peak, peak), peak);
  EXPECT_EQ(peak->snow, 3.25);
  release(peak);
}

// Of the library; what a host's does with NULL is the host's.
TEST(EveryClass, AnswersNullWithNothing) {
  std::vector<std::pair<std::string, ztCtor>> classes;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    if (strncmp(entry->name, "zt", 2) == 0) classes.emplace_back(entry->name, entry->ctor);
  }
  EXPECT_GE(classes.size(), 62U);
  for (const auto &[name, ctor] : classes) {
    SCOPED_TRACE(name);
    void *object = ctor(nullptr, 1);
    const ztBaseClassMethods *methods = ztBaseClass_of(object);
    EXPECT_EQ(methods->create(nullptr), 0);
    EXPECT_EQ(methods->clone(nullptr, nullptr), nullptr);
    EXPECT_EQ(methods->assign(nullptr, nullptr), 0);
    EXPECT_EQ(methods->read(nullptr, nullptr), 0);
    EXPECT_EQ(methods->write(nullptr, nullptr), 0);
    methods->destroy(nullptr);
    methods->ref(nullptr);
    methods->unRef(nullptr);
    EXPECT_EQ(methods->getRefCount(nullptr), 0);
    release(object);
  }
}

TEST(BaseClass, OperationsTakeNull) {
  void *object = ztBaseClass_ctor(nullptr, 1);
  const ztBaseClassMethods *methods = ztBaseClass_of(object);
  EXPECT_EQ(methods->Allocator(nullptr), nullptr);
  EXPECT_EQ(methods->clone(nullptr, object), nullptr);
  EXPECT_EQ(methods->clone(object, nullptr), nullptr);
  EXPECT_EQ(methods->create(nullptr), 0);
  EXPECT_EQ(methods->assign(nullptr, object), 0);
  EXPECT_EQ(methods->assign(nullptr, nullptr), 0);
  EXPECT_EQ(methods->read(nullptr, nullptr), 0);
  EXPECT_EQ(methods->write(nullptr, nullptr), 0);
  methods->destroy(nullptr);
  methods->ref(nullptr);
  methods->unRef(nullptr);
  EXPECT_EQ(methods->getRefCount(nullptr), 0);
  EXPECT_EQ(ztBaseClassVersion(nullptr, nullptr), 0U);
  EXPECT_EQ(ztBaseClassClassName(nullptr, nullptr), nullptr);
  EXPECT_EQ(ztBaseClassAllocator(nullptr), nullptr);
  EXPECT_EQ(ztBaseClassIsClass(nullptr, nullptr, "ztBaseClass"), 0);
  EXPECT_EQ(ztBaseClassIsClassOf(nullptr, nullptr, "ztBaseClass"), 0);
  EXPECT_EQ(ztBaseClassIsClass(nullptr, object, nullptr), 0);
  EXPECT_EQ(ztBaseClassIsClassOf(nullptr, object, nullptr), 0);
  EXPECT_EQ(ztOOP_isClassOfClass(nullptr, "ztBaseClass"), 0);
  ztBaseClassInitTable(nullptr);
  PeakInitTable(nullptr);
  EXPECT_EQ(methods->getRefCount(object), 1);
  methods->unRef(object);
}

// Every registered class --------------------------------------------------------------------------

TEST(EveryClass, FollowsTheProtocol) {
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    SCOPED_TRACE(entry->name);
    const ztClass *klass = ztOOP_classOf(entry->prototype);
    if (strncmp(klass->name, "zt", 2) != 0) continue;
    EXPECT_STREQ(klass->name, entry->name);
    EXPECT_EQ(klass->version, 1U);
    EXPECT_EQ(klass->initialised, 1U);
    EXPECT_EQ(klass->spare, 0U);
    EXPECT_EQ(ztOOP_findClass(entry->name), klass);
    EXPECT_EQ(static_cast<ztBaseClass *>(entry->prototype)->refCount, 1);

    const auto *functions = static_cast<const ztClassFunctions *>(klass->classTable);
    EXPECT_EQ(functions->ctor, entry->ctor);
    EXPECT_EQ(functions->classDestroy, entry->classDestroy);
    EXPECT_EQ(functions->allocator, nullptr);
    EXPECT_NE(functions->InitTable, nullptr);
    EXPECT_EQ(ztBaseClass_of(entry->prototype)->emptySlot, nullptr);

    void *object = functions->newop();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(ztOOP_classOf(object), klass);
    EXPECT_EQ(static_cast<ztBaseClass *>(object)->refCount, 1);
    EXPECT_EQ(functions->Version(nullptr, object), 1U);
    EXPECT_STREQ(functions->ClassName(nullptr, object), entry->name);
    EXPECT_EQ(functions->IsClass(nullptr, object, entry->name), 1);
    EXPECT_EQ(functions->IsClassOf(nullptr, object, entry->name), 1);
    EXPECT_EQ(functions->IsClassOf(nullptr, object, "ztBaseClass"), 1);
    EXPECT_EQ(functions->IsClass(nullptr, object, "ztBaseClass"), strcmp(entry->name, "ztBaseClass") == 0);
    EXPECT_EQ(functions->IsClassOf(nullptr, object, "zt"), 0);
    EXPECT_EQ(ztBaseClass_of(object)->Allocator(object), nullptr);
    ztm_free(object);

    object = functions->ctor(nullptr, 1);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(ztBaseClass_of(object)->getRefCount(object), 1);
    ztBaseClass_of(object)->unRef(object);
  }
}

TEST(EveryClass, BuildsTheSameTableAgain) {
  void *summit = Summit_ctor(nullptr, 1);
  SummitMethods before;
  memcpy(&before, Summit_table(), sizeof before);
  events.clear();
  SummitInitTable(summit);
  HillInitTable(summit);
  ztBaseClassInitTable(summit);
  EXPECT_EQ(memcmp(&before, Summit_table(), sizeof before), 0);
  EXPECT_TRUE(events.empty());
  release(summit);
}

// Host classes ------------------------------------------------------------------------------------

TEST(HostClass, IsZeroButForItsTablesUntilItIsUsed) {
  const ztClass *island = IslandClass_Instance();
  EXPECT_TRUE(isZero(island, offsetof(ztClass, classTable)));
  EXPECT_TRUE(isZero(island->classTable, sizeof(ztClassFunctions)));
  EXPECT_TRUE(isZero(island->methodTable, sizeof(IslandMethods)));
  EXPECT_EQ(ztOOP_findClass("Island"), nullptr);

  release(Atoll_ctor(nullptr, 1));
  EXPECT_EQ(island->initialised, 1U);
  EXPECT_STREQ(island->name, "Island");
  EXPECT_EQ(island->parent, ztBaseClassClass_Instance());
  EXPECT_EQ(island->instanceSize, 16);
  EXPECT_FALSE(ztOOP_isClassRegistered("Island"));
  EXPECT_TRUE(ztOOP_isClassRegistered("Atoll"));

  release(Island_newop());
  EXPECT_TRUE(ztOOP_isClassRegistered("Island"));
  const auto *functions = static_cast<const ztClassFunctions *>(island->classTable);
  EXPECT_EQ(functions->newop, Island_newop);
  EXPECT_EQ(functions->ctor, Island_ctor);
  EXPECT_EQ(functions->InitTable, IslandInitTable);
  EXPECT_EQ(functions->allocator, nullptr);
  EXPECT_EQ(functions->Version, IslandVersion);
  EXPECT_EQ(functions->ClassName, IslandClassName);
  EXPECT_EQ(functions->IsClass, IslandIsClass);
  EXPECT_EQ(functions->IsClassOf, IslandIsClassOf);
  EXPECT_EQ(functions->classInit, nullptr);
  EXPECT_EQ(functions->classDestroy, nullptr);
}

TEST(HostClass, TableHoldsItsOwnAndItsParentsMethods) {
  release(Summit_ctor(nullptr, 1));
  EXPECT_EQ(Hill_table()->Allocator, HillAllocator);
  EXPECT_EQ(Peak_table()->Allocator, PeakAllocator);
  EXPECT_EQ(Summit_table()->Allocator, SummitAllocator);
  EXPECT_EQ(Hill_table()->create, hillCreate);
  EXPECT_EQ(Peak_table()->create, peakCreate);
  EXPECT_EQ(Summit_table()->create, peakCreate);
  EXPECT_EQ(Summit_table()->destroy, hillDestroy);
  EXPECT_EQ(Summit_table()->climb, peakClimb);
  EXPECT_EQ(Hill_table()->ref, ztBaseClass_table()->ref);
  EXPECT_EQ(Summit_table()->wave, nullptr);
}

TEST(HostClass, AbstractMethodsGiveTheHandlersText) {
  void *hill = Hill_ctor(nullptr, 1);
  void *peak = Peak_ctor(nullptr, 1);
  EXPECT_EQ(textOfAbstract(Hill_of(hill)->climb, hill), virtualCall("Hill"));
  EXPECT_STREQ(Hill_of(hill)->shape(hill), virtualCall("Hill").c_str());
  EXPECT_EQ(Hill_of(peak)->climb(peak), 7);
  EXPECT_STREQ(Hill_of(peak)->shape(peak), virtualCall("Peak").c_str());
  release(peak);
  release(hill);
}

TEST(VirtualFunctionHandler, LogsNothing) {
  CapturedLog log;
  void *hill = Hill_ctor(nullptr, 1);
  EXPECT_STREQ(Hill_of(hill)->shape(hill), virtualCall("Hill").c_str());
  release(hill);
  EXPECT_EQ(log.output(), "");
}

TEST(VirtualFunctionHandler, TakesAnythingAnAbstractMethodTakes) {
  EXPECT_STREQ(static_cast<char *>(ztOOP_ztVirtualFuncHandler(nullptr)), virtualCall("(null)").c_str());
  EXPECT_STREQ(static_cast<char *>(ztOOP_ztVirtualFuncHandler(ztBaseClassClass_Instance())),
               virtualCall("ztBaseClass").c_str());
  // Read as an object, a descriptor is one of its parent's.
  EXPECT_STREQ(static_cast<char *>(ztOOP_ztVirtualFuncHandler(ztStdAllocatorClass_Instance())),
               virtualCall("ztAllocator").c_str());
}

TEST(HasMethod, LogsAnEmptySlotAndGivesZero) {
  void *summit = Summit_ctor(nullptr, 1);
  CapturedLog log;
  EXPECT_EQ(ZT_HAS_METHOD(Summit, summit, wave), 0);
  const std::string lines =
      "ztOOP -> Error: Trying to call an uninitialized (NULL) function member: [wave] for class: [Summit]\n"
      "ztOOP -> Hint: Probably a missed ZT_OVERRIDE_METHOD in the classInit function\n";
  EXPECT_EQ(log.output(), lines);
  EXPECT_EQ(log.file(), lines);
  release(summit);
}

TEST(HasMethod, IsSilentForAFilledSlot) {
  void *summit = Summit_ctor(nullptr, 1);
  CapturedLog log;
  EXPECT_EQ(ZT_HAS_METHOD(Summit, summit, climb), 1);
  EXPECT_EQ(log.output(), "");
  release(summit);
}

TEST(HasMethod, ReportTakesNull) {
  CapturedLog log;
  EXPECT_EQ(ztOOP_HandleNullFuncPtr(nullptr, nullptr), 0);
  EXPECT_EQ(log.file().substr(0, log.file().find('\n')),
            "ztOOP -> Error: Trying to call an uninitialized (NULL) function member: [(null)] for class: "
            "[(null)]");
}

// Making and releasing objects --------------------------------------------------------------------

TEST(Construction, CtorCreatesWhenAsked) {
  release(Peak_ctor(nullptr, 1));
  events.clear();
  auto *peak = static_cast<Peak *>(Peak_ctor(nullptr, 1));
  EXPECT_EQ(events, (std::vector<std::string>{"hill created", "peak created"}));
  EXPECT_EQ(peak->height, 100);
  EXPECT_EQ(peak->snow, 0.5);
  release(peak);

  events.clear();
  void *raw = Peak_ctor(nullptr, 0);
  EXPECT_TRUE(events.empty());
  ztm_free(raw);
}

TEST(Construction, NewopDoesNotCreate) {
  release(Peak_ctor(nullptr, 1));
  events.clear();
  auto *peak = static_cast<Peak *>(Peak_newop());
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(peak->klass, PeakClass_Instance());
  EXPECT_EQ(peak->refCount, 1);
  ztm_free(peak);
}

TEST(Construction, CreatesInTheCallersMemory) {
  Peak peak;
  events.clear();
  EXPECT_EQ(Peak_ctor(&peak, 1), &peak);
  EXPECT_EQ(events.size(), 2U);
  EXPECT_EQ(peak.refCount, 1);
  EXPECT_EQ(peak.height, 100);
  Peak_of(&peak)->destroy(&peak);
}

TEST(Construction, InTheCallersMemoryWithoutCreateTouchesTheHeaderOnly) {
  Peak peak;
  memset(&peak, 0x5a, sizeof peak);
  events.clear();
  EXPECT_EQ(Peak_ctor(&peak, 0), &peak);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(peak.klass, PeakClass_Instance());
  EXPECT_EQ(peak.refCount, 1);
  EXPECT_EQ(peak.height, 0x5a5a5a5a);
}

TEST(Construction, IgnoresTheResultOfCreate) {
  createFails = true;
  events.clear();
  auto *peak = static_cast<Peak *>(Peak_ctor(nullptr, 1));
  createFails = false;
  ASSERT_NE(peak, nullptr);
  EXPECT_EQ(events, std::vector<std::string>{"hill created"});
  release(peak);
}

TEST(Construction, CreateFailsWhenTheParentsDoes) {
  void *peak = Peak_newop();
  createFails = true;
  EXPECT_EQ(Peak_of(peak)->create(peak), 0);
  createFails = false;
  EXPECT_EQ(Peak_of(peak)->create(peak), 1);
  release(peak);
}

TEST(Construction, MakesOnePrototypeForEachClass) {
  release(Hill_ctor(nullptr, 1));
  const ztClassEntry &entry = entryOf("Hill");
  const void *prototype = entry.prototype;
  ASSERT_NE(prototype, nullptr);
  EXPECT_EQ(ztOOP_classOf(prototype), HillClass_Instance());
  EXPECT_EQ(entry.ctor, Hill_ctor);
  EXPECT_EQ(entry.classDestroy, nullptr);
  const int32_t count = ztOOP_classCount();
  const ztClassEntry *newest = ztOOP_classList();
  release(Hill_ctor(nullptr, 1));
  release(Hill_newop());
  EXPECT_EQ(ztOOP_classCount(), count);
  EXPECT_EQ(ztOOP_classList(), newest);
  EXPECT_EQ(entryOf("Hill").prototype, prototype);
}

// Echo: its end has it released once more, as a peer that is told of it may do.
#define Echo_FIELDS ztBaseClass_FIELDS
#define Echo_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Echo)

static void echoDestroy(void *echo) {
  events.push_back("echo destroyed");
  Echo_of(echo)->unRef(echo);
  static_cast<Echo *>(echo)->refCount = 100;
  Echo_of(echo)->unRef(echo);
  ztBaseClass_table()->destroy(echo);
}

static void echoMethods(EchoMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, echoDestroy);
}

ZT_DEFINE_CLASS(Echo, ztBaseClass, echoMethods)

TEST(ReferenceCount, ReleaseWithinTheObjectsOwnEndDoesNothingMore) {
  events.clear();
  void *echo = Echo_ctor(nullptr, 1);
  Echo_of(echo)->unRef(echo);
  EXPECT_EQ(events, std::vector<std::string>({"echo destroyed"}));
}

TEST(ReferenceCount, NewObjectEndsAtTheFirstRelease) {
  void *hill = Hill_ctor(nullptr, 1);
  events.clear();
  Hill_of(hill)->unRef(hill);
  EXPECT_EQ(events, std::vector<std::string>{"hill destroyed"});
}

TEST(ReferenceCount, ObjectReferencedOnceEndsAtTheFirstRelease) {
  void *hill = Hill_ctor(nullptr, 1);
  Hill_of(hill)->ref(hill);
  EXPECT_EQ(Hill_of(hill)->getRefCount(hill), 2);
  events.clear();
  Hill_of(hill)->unRef(hill);
  EXPECT_EQ(events, std::vector<std::string>{"hill destroyed"});
}

TEST(ReferenceCount, ObjectReferencedTwiceEndsAtTheSecondRelease) {
  void *hill = Hill_ctor(nullptr, 1);
  Hill_of(hill)->ref(hill);
  Hill_of(hill)->ref(hill);
  EXPECT_EQ(Hill_of(hill)->getRefCount(hill), 3);
  events.clear();
  Hill_of(hill)->unRef(hill);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(Hill_of(hill)->getRefCount(hill), 2);
  Hill_of(hill)->unRef(hill);
  EXPECT_EQ(events, std::vector<std::string>{"hill destroyed"});
}

#define Taken_FIELDS ztBaseClass_FIELDS
#define Taken_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Taken)

static void takenMethods(TakenMethods *) {}

ZT_DEFINE_CLASS(Taken, ztBaseClass, takenMethods)

TEST(Construction, OfAClassWhoseNameIsTakenLeavesTheNameToTheOther) {
  ASSERT_EQ(ztAddNewClass(ztBaseClass_ctor(nullptr, 0), "Taken", ztBaseClass_ctor, nullptr), 1);
  const int32_t count = ztOOP_classCount();
  void *taken = Taken_ctor(nullptr, 1);
  EXPECT_EQ(TakenIsClass(nullptr, taken, "Taken"), 1);
  EXPECT_EQ(ztOOP_classCount(), count);
  void *other = ztNewFromName("Taken");
  EXPECT_EQ(TakenIsClass(nullptr, other, "ztBaseClass"), 1);
  release(taken);
  release(other);
  ztFreeClass("Taken");
  release(Taken_ctor(nullptr, 1));
  EXPECT_EQ(ztOOP_classCount(), count) << "a class tries once";
}

TEST(ClassTest, IsByExactName) {
  void *peak = Peak_ctor(nullptr, 1);
  EXPECT_EQ(PeakIsClass(nullptr, peak, "Peak"), 1);
  for (const char *name : {"Hill", "ztBaseClass", "Summit", "peak", "Pea", "Peaks", ""}) {
    EXPECT_EQ(PeakIsClass(nullptr, peak, name), 0) << name;
  }
  for (const char *name : {"Peak", "Hill", "ztBaseClass"}) {
    EXPECT_EQ(PeakIsClassOf(nullptr, peak, name), 1) << name;
    EXPECT_EQ(ztOOP_isClassOfClass(PeakClass_Instance(), name), 1) << name;
  }
  for (const char *name : {"Summit", "hill", "Hil", "Hills", ""}) {
    EXPECT_EQ(PeakIsClassOf(nullptr, peak, name), 0) << name;
    EXPECT_EQ(ztOOP_isClassOfClass(PeakClass_Instance(), name), 0) << name;
  }
  release(peak);
}

TEST(ClassTest, FindsNoNameInAClassWithoutOne) {
  auto *peak = static_cast<ztBaseClass *>(Peak_ctor(nullptr, 1));
  ztClass nameless = *PeakClass_Instance();
  nameless.name = nullptr;
  peak->klass = &nameless;
  EXPECT_EQ(PeakClassName(nullptr, peak), nullptr);
  for (const char *name : {"Peak", ""}) {
    EXPECT_EQ(PeakIsClass(nullptr, peak, name), 0) << name;
    EXPECT_EQ(PeakIsClassOf(nullptr, peak, name), 0) << name;
  }
  EXPECT_EQ(PeakIsClassOf(nullptr, peak, "Hill"), 1) << "its ancestors have theirs";
  peak->klass = PeakClass_Instance();
  release(peak);
}

TEST(ClassTest, LooksAtTheObjectNotAtTheClassWhoseFunctionIsCalled) {
  void *peak = Peak_ctor(nullptr, 1);
  void *cave = Cave_ctor(nullptr, 1);
  EXPECT_EQ(HillIsClass(nullptr, peak, "Peak"), 1);
  EXPECT_EQ(CaveIsClassOf("ignored", peak, "Hill"), 1);
  EXPECT_STREQ(ztBaseClassClassName(nullptr, peak), "Peak");
  EXPECT_EQ(HillVersion(nullptr, cave), 7U);
  EXPECT_EQ(CaveVersion(nullptr, peak), 1U);
  release(cave);
  release(peak);
}

// Class functions of a class's own ----------------------------------------------------------------

TEST(ClassFunctions, AreFilledOnceWithTheHostsOwn) {
  release(Cave_ctor(nullptr, 1));
  const CaveFunctions *functions = Cave_functions();
  EXPECT_EQ(functions->depthOf(nullptr, 4), 40);
  EXPECT_EQ(functions->classInit, caveInit);
  EXPECT_EQ(functions->classDestroy, caveDestroyed);
  EXPECT_EQ(functions->ctor, Cave_ctor);
  EXPECT_EQ(CaveClass_Instance()->version, 7U);
  EXPECT_EQ(Cave_version_, 7U);
  EXPECT_EQ(entryOf("Cave").classDestroy, caveDestroyed);
}

#define Grotto_FIELDS ztBaseClass_FIELDS
#define Grotto_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Grotto)
static void grottoMethods(GrottoMethods *) {}
static void grottoFunctions(ztClassFunctions *functions) {
  functions->classInit = caveInit;
  functions->classDestroy = caveDestroyed;
}
ZT_DEFINE_CLASS_FULL(Grotto, ztBaseClass, grottoMethods, 1, ztClassFunctions, grottoFunctions)

TEST(ClassFunctions, InitRunsOnceBeforeTheClassHasItsParent) {
  events.clear();
  release(Grotto_ctor(nullptr, 1));
  release(Grotto_ctor(nullptr, 1));
  EXPECT_EQ(events, std::vector<std::string>{"init Grotto no parent not initialised"});
  events.clear();
  recordsFreedClasses = true;
  ztFreeClass("Grotto");
  recordsFreedClasses = false;
  EXPECT_EQ(events, std::vector<std::string>{"destroy Grotto"});
  events.clear();
  release(Grotto_ctor(nullptr, 1));
  EXPECT_FALSE(ztOOP_isClassRegistered("Grotto"));
  EXPECT_TRUE(events.empty());
}

TEST(ClassFunctions, InitMayMakeObjectsOfTheClassItself) {
  events.clear();
  makeWhileFilling(Brook_ctor, "Brook");
  EXPECT_EQ(events, std::vector<std::string>{"init Brook"});
  EXPECT_EQ(BrookClass_Instance()->parent, ztBaseClassClass_Instance());
  EXPECT_TRUE(ztOOP_isClassRegistered("Brook"));
  EXPECT_EQ(ztOOP_findClass("Brook"), BrookClass_Instance());
}

TEST(ClassFunctions, InitMayMakeObjectsOfSubclassesAndOfTheClassOnTheWay) {
  events.clear();
  makeWhileFilling(Delta_ctor, "Delta");
  EXPECT_EQ(events, (std::vector<std::string>{"init River", "init Stream", "init Delta"}));
  EXPECT_EQ(RiverClass_Instance()->parent, ztBaseClassClass_Instance());
  EXPECT_EQ(StreamClass_Instance()->parent, RiverClass_Instance());
  EXPECT_EQ(DeltaClass_Instance()->parent, StreamClass_Instance());
  EXPECT_TRUE(ztOOP_isClassRegistered("Stream"));
  EXPECT_TRUE(ztOOP_isClassRegistered("Delta"));
  EXPECT_EQ(River_table()->Allocator, RiverAllocator);
  EXPECT_EQ(Stream_table()->Allocator, StreamAllocator);
  EXPECT_EQ(Delta_table()->Allocator, DeltaAllocator);
  EXPECT_EQ(Delta_table()->create, waterCreate);
  makeWhileFilling(River_ctor, "River");
  EXPECT_TRUE(ztOOP_isClassRegistered("River"));
}

#define Ridge_FIELDS ztBaseClass_FIELDS
#define Ridge_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Ridge)
#define Spur_FIELDS Ridge_FIELDS
#define Spur_METHODS Ridge_METHODS
ZT_DECLARE_CLASS(Spur)
static void ridgeMethods(RidgeMethods *) {}
static void spurMethods(SpurMethods *) {}
ZT_DEFINE_CLASS(Ridge, ztBaseClass, ridgeMethods)
ZT_DEFINE_CLASS(Spur, Ridge, spurMethods)

TEST(ClassAllocator, SurvivesTheFillingOfTheClass) {
  void *allocator = ztStdAllocator_ctor(nullptr, 1);
  static_cast<ztClassFunctions *>(RidgeClass_Instance()->classTable)->allocator = allocator;
  void *spur = Spur_ctor(nullptr, 1);  // fills Ridge as an ancestor
  void *ridge = Ridge_ctor(nullptr, 1);
  EXPECT_EQ(Ridge_of(ridge)->Allocator(ridge), allocator);
  EXPECT_EQ(RidgeAllocator(ridge), allocator);
  EXPECT_EQ(SpurAllocator(ridge), allocator);
  EXPECT_EQ(Spur_of(spur)->Allocator(spur), nullptr);
  EXPECT_EQ(RidgeAllocator(spur), nullptr);

  static_cast<ztClassFunctions *>(SpurClass_Instance()->classTable)->allocator = allocator;
  EXPECT_EQ(Spur_of(spur)->Allocator(spur), allocator);
  static_cast<ztClassFunctions *>(RidgeClass_Instance()->classTable)->allocator = nullptr;
  static_cast<ztClassFunctions *>(SpurClass_Instance()->classTable)->allocator = nullptr;
  EXPECT_EQ(ztBaseClass_of(allocator)->getRefCount(allocator), 1);
  release(ridge);
  release(spur);
  release(allocator);
}

// Class identities in a file ----------------------------------------------------------------------

class Identity : public testing::Test {
 protected:
  Identity() : file(ztFile_ctor(nullptr, 1)) {
    release(Peak_ctor(nullptr, 1));
    release(Cave_ctor(nullptr, 1));
    release(Alias_ctor(nullptr, 1));
  }
  ~Identity() override {
    release(file);
  }

  std::string written(const void *object) {
    EXPECT_EQ(methods->open(file, path.c_str(), "wb"), 1);
    EXPECT_EQ(functions->classWrite(nullptr, object, file), 1);
    methods->close(file);
    return contentsOf(path);
  }

  // What is made of the bytes; the file stays open behind the identity.
  void *read(const std::string &bytes) {
    writeContents(path, bytes);
    EXPECT_EQ(methods->open(file, path.c_str(), "rb"), 1);
    return functions->classRead(nullptr, file);
  }

  // The name of the class whose object is made of an identity, or "none".
  std::string classRead(std::string name, uint32_t version = 1) {
    name.resize(100);
    void *object = read(name + std::string(reinterpret_cast<char *>(&version), 4));
    if (object == nullptr) return "none";
    EXPECT_EQ(ztBaseClass_of(object)->getRefCount(object), 1);
    const std::string found = ztBaseClassClassName(nullptr, object);
    release(object);
    return found;
  }

  const ztBaseClassFunctions *functions = ztBaseClass_functions();
  TempFolder folder;
  std::string path = folder.path("identity");
  void *file;
  const ztFileMethods *methods = ztFile_of(file);
};

// Gives the class Alias another name for one test, and registers it under it.
class Renamed {
 public:
  explicit Renamed(const std::string &text) : name(text) {
    void *prototype = Alias_ctor(nullptr, 0);
    AliasClass_Instance()->name = name.c_str();
    EXPECT_EQ(ztAddNewClass(prototype, name.c_str(), Alias_ctor, nullptr), 1);
  }
  ~Renamed() {
    ztFreeClass(name.substr(0, 103).c_str());
    AliasClass_Instance()->name = Alias_classname_;
  }
  Renamed(const Renamed &) = delete;
  Renamed &operator=(const Renamed &) = delete;

 private:
  std::string name;
};

TEST_F(Identity, IsTheNameFieldAndTheVersion) {
  void *peak = Peak_ctor(nullptr, 1);
  void *cave = Cave_ctor(nullptr, 1);
  EXPECT_EQ(written(peak), "Peak" + std::string(96, '\0') + std::string("\1\0\0\0", 4));
  EXPECT_EQ(written(cave), "Cave" + std::string(96, '\0') + std::string("\7\0\0\0", 4));
  release(cave);
  release(peak);
}

TEST_F(Identity, WritingFailsWithoutAnOpenFile) {
  void *peak = Peak_ctor(nullptr, 1);
  EXPECT_EQ(functions->classWrite(nullptr, peak, file), 0);
  writeContents(path, "");
  ASSERT_EQ(methods->open(file, path.c_str(), "rb"), 1);
  EXPECT_EQ(functions->classWrite(nullptr, peak, file), 0);
  EXPECT_EQ(functions->classWrite(nullptr, nullptr, file), 0);
  EXPECT_EQ(functions->classWrite(nullptr, peak, nullptr), 0);
  release(peak);
}

TEST_F(Identity, ReadingFailsWithoutAnOpenFile) {
  EXPECT_EQ(functions->classRead(nullptr, file), nullptr);
  EXPECT_EQ(functions->classRead(nullptr, nullptr), nullptr);
}

TEST_F(Identity, ReadingMakesACreatedObject) {
  events.clear();
  void *peak = Peak_ctor(nullptr, 1);
  const std::string bytes = written(peak);
  release(peak);
  events.clear();
  auto *made = static_cast<Peak *>(read(bytes));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->klass, PeakClass_Instance());
  EXPECT_EQ(made->height, 100);
  EXPECT_EQ(events, (std::vector<std::string>{"hill created", "peak created"}));
  release(made);
}

TEST_F(Identity, ReadingComparesTheVersions) {
  EXPECT_EQ(classRead("Cave", 7), "Cave");
  EXPECT_EQ(classRead("Peak", 1), "Peak");
  for (const uint32_t version : {0U, 2U, 7U, 0x01000000U, 0xffffffffU}) {
    events.clear();
    EXPECT_EQ(classRead("Peak", version), "none") << version;
    EXPECT_EQ(events.back(), "hill destroyed");  // what was made is released
  }
}

TEST_F(Identity, ReadingAnUnknownClassGivesNullAndIsLogged) {
  CapturedLog log;
  EXPECT_EQ(classRead("Nowhere"), "none");
  EXPECT_EQ(log.file(), "ztOOP::ztNewFromName - Error, class 'Nowhere' not installed\n");
}

TEST_F(Identity, AHostileNameIsLoggedHarmlessly) {
  CapturedLog log;
  EXPECT_EQ(classRead("%s%n%d%5000x"), "none");
  EXPECT_EQ(log.file(), "ztOOP::ztNewFromName - Error, class '%s%n%d%5000x' not installed\n");
  EXPECT_EQ(log.output(),
            "ztOOP::ztNewFromName - Error, class '(null)0" + std::string(511, ' ') + "0' not installed\n");
}

TEST_F(Identity, OneLineEndBehindTheNameIsCut) {
  testing::internal::CaptureStdout();
  for (const char *name : {"Peak", "Peak\n", "Peak\r", "Peak\r\n"}) EXPECT_EQ(classRead(name), "Peak");
  for (const char *name :
       {"Peak\n\n", "Peak\r\r", "Peak\n\r", "Peak\r\n\n", "Peak\r\n\r\n", "\nPeak", "Pe\nak"}) {
    EXPECT_EQ(classRead(name), "none") << name;
  }
  testing::internal::GetCapturedStdout();
}

TEST_F(Identity, BytesBehindTheNamesTerminatorDoNotCount) {
  EXPECT_EQ(classRead(std::string("Peak\0Hill\n", 10) + std::string(90, 'x')), "Peak");
}

TEST_F(Identity, ANameOfOneCharacterIsLeftAlone) {
  for (const char *name : {"\n", "\r", "X"}) {
    const Renamed renamed(name);
    EXPECT_EQ(classRead(name), name);
  }
  const Renamed renamed("X");
  EXPECT_EQ(classRead("X\n"), "X");
  EXPECT_EQ(classRead("X\r"), "X");
  EXPECT_EQ(classRead("X\r\n"), "X");
}

TEST_F(Identity, ANameOf99CharactersFitsTheField) {
  const std::string name(99, 'n');
  const Renamed renamed(name);
  void *object = Alias_ctor(nullptr, 1);
  const std::string bytes = written(object);
  EXPECT_EQ(bytes, name + std::string("\0\1\0\0\0", 5));
  EXPECT_EQ(classRead(name), name);
  release(object);
}

TEST_F(Identity, ALongerNameIsCut) {
  for (const size_t length : {100U, 101U, 103U, 104U, 5000U}) {
    const std::string cut(99, 'n');
    CapturedLog log;
    const Renamed renamed(std::string(length, 'n'));
    void *object = Alias_ctor(nullptr, 1);
    EXPECT_EQ(written(object), cut + std::string("\0\1\0\0\0", 5));
    release(object);
    // What was cut is another name.
    EXPECT_EQ(classRead(cut), "none");
  }
}

TEST_F(Identity, AFieldWithoutTerminatorEndsAtItsLastByte) {
  const Renamed renamed(std::string(99, 'n'));
  EXPECT_EQ(classRead(std::string(100, 'n')), std::string(99, 'n'));
}

TEST_F(Identity, EveryPrefixOfARecordIsReadSafely) {
  auto *peak = static_cast<Peak *>(Peak_ctor(nullptr, 1));
  peak->snow = 12.75;
  ASSERT_EQ(methods->open(file, path.c_str(), "wb"), 1);
  ASSERT_EQ(functions->classWrite(nullptr, peak, file), 1);
  ASSERT_EQ(Peak_of(peak)->write(peak, file), 1);
  methods->close(file);
  release(peak);
  const std::string record = contentsOf(path);
  ASSERT_EQ(record.size(), 112U);
  for (size_t length = 0; length <= record.size(); ++length) {
    auto *made = static_cast<Peak *>(read(record.substr(0, length)));
    EXPECT_EQ(made != nullptr, length >= 104) << length;
    if (made == nullptr) continue;
    EXPECT_EQ(Peak_of(made)->read(made, file), length == record.size()) << length;
    EXPECT_TRUE(length < record.size() || made->snow == 12.75);
    release(made);
  }
}

TEST_F(Identity, EveryChangedByteIsReadSafely) {
  void *peak = Peak_ctor(nullptr, 1);
  const std::string original = written(peak);
  release(peak);
  testing::internal::CaptureStdout();
  for (size_t at = 0; at < original.size(); ++at) {
    for (const int value : {0, 1, 7, 10, 13, int{'%'}, int{'n'}, int{'s'}, int{'P'}, 127, 128, 255}) {
      std::string bytes = original;
      bytes[at] = static_cast<char>(value);
      void *object = read(bytes);
      // Behind the terminator nothing counts; a line end in its place is cut.
      const bool whole = bytes == original || (at > 4 && at < 100) ||
                         (at == 4 && (value == '\n' || value == '\r' || value == 0));
      EXPECT_EQ(object != nullptr, whole) << at << ": " << value;
      release(object);
    }
  }
  testing::internal::GetCapturedStdout();
}

}  // namespace

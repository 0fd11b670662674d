#include "core/ztbasec.h"

#include "core/ztmem.h"
#include "io/ztfile.h"
#include "objects/ztlink.h"
#include "support/ztalloc.h"
#include "support/ztstdalloc.h"
#include "tests/helpers/abstract_slot.hh"
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/host_class.hh"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

// Host classes ------------------------------------------------------------------------------------

namespace {

using Events = std::vector<std::string>;

// What the operations of the classes below did, in order.
Events events;
bool createFails;
// The registry frees classes again at the end of the process, when the events are gone.
bool recordsFreedClasses;

}  // namespace

// Hill and Peak: a chain with fields, abstract methods, an empty slot and super calls.
#define Hill_FIELDS  \
  ztBaseClass_FIELDS \
  int32_t height;
#define Hill_METHODS            \
  ztBaseClass_METHODS           \
  int32_t (*climb)(void *hill); \
  const char *(*shape)(const void *hill);
ZT_DECLARE_CLASS(Hill)
#define Peak_FIELDS Hill_FIELDS double snow;
#define Peak_METHODS Hill_METHODS int32_t (*wave)(void *peak);
ZT_DECLARE_CLASS(Peak)

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

static int32_t peakCreate(void *peak) {
  if (!Hill_table()->create(peak)) return 0;
  events.push_back("peak created");
  static_cast<Peak *>(peak)->snow = 0.5;
  return 1;
}

static int32_t peakClimb(void *) {
  return 7;
}

static void peakMethods(PeakMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, peakCreate);
  ZT_OVERRIDE_METHOD(methods, climb, peakClimb);
  methods->wave = nullptr;
}

ZT_DEFINE_CLASS(Hill, ztBaseClass, hillMethods)
ZT_DEFINE_CLASS(Peak, Hill, peakMethods)

// Cave, of version 7 with all class functions of its own; Grotto has them too, and one test uses it.
#define Cave_FIELDS ztBaseClass_FIELDS
#define Cave_METHODS ztBaseClass_METHODS
#define Cave_FUNCTIONS int32_t (*depthOf)(const void *ignored, int32_t level);
ZT_DECLARE_CLASS(Cave)
ZT_DECLARE_CLASS_FUNCTIONS(Cave)
#define Grotto_FIELDS ztBaseClass_FIELDS
#define Grotto_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Grotto)

static void caveInit(ztClass *klass) {
  events.push_back(std::string("init ") + klass->name +
                   (klass->parent == nullptr ? " no parent" : " parent") +
                   (klass->initialised ? " initialised" : " not initialised"));
}

static void caveDestroyed(void *prototype) {
  if (recordsFreedClasses) events.push_back(std::string("destroy ") + ztOOP_classNameOf(prototype));
}

static int32_t caveDepthOf(const void *, int32_t level) {
  return 10 * level;
}

static void caveFunctions(CaveFunctions *functions) {
  functions->classInit = caveInit;
  functions->classDestroy = caveDestroyed;
  functions->depthOf = caveDepthOf;
}

ZT_DEFINE_CLASS_FULL(Cave, ztBaseClass, noMethods, 7, CaveFunctions, caveFunctions)
ZT_DEFINE_CLASS_FULL(Grotto, ztBaseClass, noMethods, 1, CaveFunctions, caveFunctions)

// Ridge, Spur and Taken are used by one test only; the name of Alias a test may change.
#define Ridge_FIELDS ztBaseClass_FIELDS
#define Ridge_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Ridge)
#define Spur_FIELDS Ridge_FIELDS
#define Spur_METHODS Ridge_METHODS
ZT_DECLARE_CLASS(Spur)
#define Taken_FIELDS ztBaseClass_FIELDS
#define Taken_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Taken)
#define Alias_FIELDS ztBaseClass_FIELDS
#define Alias_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Alias)

ZT_DEFINE_CLASS(Ridge, ztBaseClass, noMethods)
ZT_DEFINE_CLASS(Spur, Ridge, noMethods)
ZT_DEFINE_CLASS(Taken, ztBaseClass, noMethods)
ZT_DEFINE_CLASS(Alias, ztBaseClass, noMethods)

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

template <typename Methods>
static void waterMethods(Methods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, waterCreate);
}

static void makeWhileFilling(ztCtor ctor, const char *name) {
  const Owned<Brook, BrookMethods> water(ctor);
  EXPECT_STREQ(ztBaseClassClassName(nullptr, water), name);
  EXPECT_EQ(water.fields().length, 5);
}

static void streamInit(ztClass *klass) {
  events.push_back(std::string("init ") + klass->name);
}

static void brookInit(ztClass *klass) {
  streamInit(klass);
  makeWhileFilling(Brook_ctor, "Brook");
  EXPECT_FALSE(ztOOP_isClassRegistered("Brook"));  // before it is complete
}

// Its own class, a subclass, and, when a Delta is the first to be made, the class on whose way it is.
static void riverInit(ztClass *klass) {
  streamInit(klass);
  makeWhileFilling(River_ctor, "River");
  makeWhileFilling(Stream_ctor, "Stream");
  makeWhileFilling(Delta_ctor, "Delta");
}

template <void (*init)(ztClass *)>
static void waterFunctions(ztClassFunctions *functions) {
  functions->classInit = init;
}

ZT_DEFINE_CLASS_FULL(Brook, ztBaseClass, waterMethods, 1, ztClassFunctions, waterFunctions<brookInit>)
ZT_DEFINE_CLASS_FULL(River, ztBaseClass, waterMethods, 1, ztClassFunctions, waterFunctions<riverInit>)
ZT_DEFINE_CLASS_FULL(Stream, River, noMethods, 1, ztClassFunctions, waterFunctions<streamInit>)
ZT_DEFINE_CLASS_FULL(Delta, Stream, noMethods, 1, ztClassFunctions, waterFunctions<streamInit>)

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

namespace {

using OwnedPeak = Owned<Peak, PeakMethods>;

// What the classes note while the work is done.
Events eventsOf(const std::function<void()> &work) {
  events.clear();
  work();
  return events;
}

ztClassFunctions *functionsOf(const ztClass *klass) {
  return static_cast<ztClassFunctions *>(klass->classTable);
}

// The base class ----------------------------------------------------------------------------------

TEST(ztBaseClass, DefaultOperationsSucceedAndDoNothing) {
  const Object object(ztBaseClass_ctor);
  const Object other(ztBaseClass_ctor);
  EXPECT_EQ(object->create(object), 1);
  EXPECT_EQ(object->assign(object, other), 1);
  EXPECT_EQ(object->assign(object, nullptr), 1);
  EXPECT_EQ(object->read(object, nullptr), 1);
  EXPECT_EQ(object->write(object, nullptr), 1);
  EXPECT_EQ(object->Allocator(object), nullptr);
  object->classInstanceCreate(ztOOP_classOf(object));
  object->classInstanceDestroy(ztOOP_classOf(object));
  object->destroy(object);
  EXPECT_EQ(object->getRefCount(object), 1);
}

TEST(ztBaseClass, CloneCopiesTheWholeInstanceWithItsHeader) {
  const OwnedPeak peak(Peak_ctor);
  peak.fields().height = 4810;
  peak.fields().snow = 3.25;
  peak->ref(peak);
  Peak target;
  memset(&target, 0xee, sizeof target);
  EXPECT_EQ(peak->clone(peak, &target), &target);
  EXPECT_EQ(memcmp(&target, peak, sizeof target), 0);
  EXPECT_EQ(target.klass, PeakClass_Instance());
  EXPECT_EQ(Peak_of(&target)->getRefCount(&target), 2);
  EXPECT_EQ(peak->clone(peak, peak), peak) << "onto itself, which changes nothing";
  EXPECT_EQ(memcmp(&target, peak, sizeof target), 0);
}

TEST(ztBaseClass, OperationsTakeNull) {
  const Object object(ztBaseClass_ctor);
  EXPECT_EQ(object->Allocator(nullptr), nullptr);
  EXPECT_EQ(object->clone(nullptr, object), nullptr);
  EXPECT_EQ(object->clone(object, nullptr), nullptr);
  EXPECT_EQ(object->assign(nullptr, object), 0);
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
  EXPECT_EQ(object->getRefCount(object), 1);
}

// Of the library; what a host's does with NULL is the host's.
TEST(EveryClass, AnswersNullWithNothing) {
  int classes = 0;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    if (strncmp(entry->name, "zt", 2) != 0) continue;
    ++classes;
    SCOPED_TRACE(entry->name);
    const Object object(entry->ctor);
    EXPECT_EQ(object->create(nullptr), 0);
    EXPECT_EQ(object->clone(nullptr, nullptr), nullptr);
    EXPECT_EQ(object->assign(nullptr, nullptr), 0);
    EXPECT_EQ(object->read(nullptr, nullptr), 0);
    EXPECT_EQ(object->write(nullptr, nullptr), 0);
    object->destroy(nullptr);
    object->ref(nullptr);
    object->unRef(nullptr);
    EXPECT_EQ(object->getRefCount(nullptr), 0);
    EXPECT_EQ(object->getRefCount(object), 1);
  }
  EXPECT_GE(classes, 62);
}

// Host classes ------------------------------------------------------------------------------------

TEST(HostClass, BuildsTheSameTableAgain) {
  const Object peak(Peak_ctor);
  PeakMethods before;
  memcpy(&before, Peak_table(), sizeof before);
  events.clear();
  PeakInitTable(peak);
  HillInitTable(peak);
  ztBaseClassInitTable(peak);
  EXPECT_EQ(memcmp(&before, Peak_table(), sizeof before), 0);
  EXPECT_EQ(events, Events());
}

TEST(HostClass, AbstractMethodsGiveTheHandlersTextAndLogNothing) {
  const Owned<Hill, HillMethods> hill(Hill_ctor);
  const OwnedPeak peak(Peak_ctor);
  CapturedLog log;
  EXPECT_EQ(textOfAbstract(hill->climb, hill), virtualCall("Hill"));
  EXPECT_EQ(hill->shape(hill), virtualCall("Hill"));
  EXPECT_EQ(peak->climb(peak), 7);
  EXPECT_EQ(peak->shape(peak), virtualCall("Peak"));
  EXPECT_EQ(log.output(), "");
}

TEST(HostClass, VirtualFunctionHandlerTakesAnythingAnAbstractMethodTakes) {
  const auto textFor = [](void *object) {
    return std::string(static_cast<char *>(ztOOP_ztVirtualFuncHandler(object)));
  };
  EXPECT_EQ(textFor(nullptr), virtualCall("(null)"));
  EXPECT_EQ(textFor(ztBaseClassClass_Instance()), virtualCall("ztBaseClass"));
  // Read as an object, a descriptor is one of its parent's.
  EXPECT_EQ(textFor(ztStdAllocatorClass_Instance()), virtualCall("ztAllocator"));
}

TEST(HasMethod, IsSilentForAFilledSlotAndLogsAnEmptyOne) {
  const Object peak(Peak_ctor);
  CapturedLog log;
  EXPECT_EQ(ZT_HAS_METHOD(Peak, peak, climb), 1);
  EXPECT_EQ(ZT_HAS_METHOD(Peak, peak, wave), 0);
  const std::string lines =
      "ztOOP -> Error: Trying to call an uninitialized (NULL) function member: [wave] for class: [Peak]\n"
      "ztOOP -> Hint: Probably a missed ZT_OVERRIDE_METHOD in the classInit function\n";
  EXPECT_EQ(log.output(), lines);
  EXPECT_EQ(log.file(), lines);
}

TEST(HasMethod, ReportTakesNull) {
  CapturedLog log;
  EXPECT_EQ(ztOOP_HandleNullFuncPtr(nullptr, nullptr), 0);
  EXPECT_EQ(log.file().substr(0, log.file().find('\n')),
            "ztOOP -> Error: Trying to call an uninitialized (NULL) function member: [(null)] for class: "
            "[(null)]");
}

// Making and releasing objects --------------------------------------------------------------------

class Construction : public testing::Test {
 protected:
  Construction() {
    use(Peak_ctor);
    events.clear();
  }
};

TEST_F(Construction, CtorCreatesWhenAskedAndNewopDoesNot) {
  void *raw = Peak_ctor(nullptr, 0);
  EXPECT_EQ(events, Events());
  ztm_free(raw);
  auto *fresh = static_cast<Peak *>(Peak_newop());
  EXPECT_EQ(events, Events());
  EXPECT_EQ(fresh->klass, PeakClass_Instance());
  EXPECT_EQ(fresh->refCount, 1);
  ztm_free(fresh);
  const OwnedPeak peak(Peak_ctor);
  EXPECT_EQ(events, (Events{"hill created", "peak created"}));
  EXPECT_EQ(peak.fields().height, 100);
  EXPECT_EQ(peak.fields().snow, 0.5);
}

TEST_F(Construction, IgnoresTheResultOfCreateWhichFailsWhenTheParentsDoes) {
  createFails = true;
  const OwnedPeak peak(Peak_ctor);
  ASSERT_NE(peak, nullptr);
  EXPECT_EQ(events, Events{"hill created"});
  EXPECT_EQ(peak->create(peak), 0);
  createFails = false;
  EXPECT_EQ(peak->create(peak), 1);
}

TEST_F(Construction, OfAClassWhoseNameIsTakenLeavesTheNameToTheOther) {
  ASSERT_EQ(ztAddNewClass(ztBaseClass_ctor(nullptr, 0), "Taken", ztBaseClass_ctor, nullptr), 1);
  const int32_t count = ztOOP_classCount();
  const Object taken(Taken_ctor);
  EXPECT_EQ(TakenIsClass(nullptr, taken, "Taken"), 1);
  EXPECT_EQ(ztOOP_classCount(), count);
  const Object other(ztNewFromName("Taken"));
  EXPECT_EQ(TakenIsClass(nullptr, other, "ztBaseClass"), 1);
  ztFreeClass("Taken");
  use(Taken_ctor);
  EXPECT_EQ(ztOOP_classCount(), count) << "a class tries once";
}

TEST(ReferenceCount, EndsTheObjectWhenItComesDownToOne) {
  for (int references = 0; references < 3; ++references) {
    SCOPED_TRACE(references);
    void *hill = Hill_ctor(nullptr, 1);
    const auto release = [hill] { Hill_of(hill)->unRef(hill); };
    for (int i = 0; i < references; ++i) Hill_of(hill)->ref(hill);
    EXPECT_EQ(Hill_of(hill)->getRefCount(hill), 1 + references);
    if (references == 2) {
      EXPECT_EQ(eventsOf(release), Events());
      EXPECT_EQ(Hill_of(hill)->getRefCount(hill), 2);
    }
    EXPECT_EQ(eventsOf(release), Events{"hill destroyed"});
  }
}

TEST(ReferenceCount, ReleaseWithinTheObjectsOwnEndDoesNothingMore) {
  EXPECT_EQ(eventsOf([] { use(Echo_ctor); }), Events{"echo destroyed"});
}

TEST(ClassTest, IsByExactName) {
  const Object peak(Peak_ctor);
  EXPECT_EQ(PeakIsClass(nullptr, peak, "Peak"), 1);
  for (const char *name : {"Hill", "ztBaseClass", "Summit", "peak", "Pea", "Peaks", ""}) {
    EXPECT_EQ(PeakIsClass(nullptr, peak, name), 0) << name;
  }
  const auto isClassOf = [&peak](const char *name) {
    const int32_t result = PeakIsClassOf(nullptr, peak, name);
    EXPECT_EQ(ztOOP_isClassOfClass(PeakClass_Instance(), name), result) << name;
    return result;
  };
  for (const char *name : {"Peak", "Hill", "ztBaseClass"}) EXPECT_EQ(isClassOf(name), 1) << name;
  for (const char *name : {"Summit", "hill", "Hil", "Hills", ""}) EXPECT_EQ(isClassOf(name), 0) << name;
}

TEST(ClassTest, FindsNoNameInAClassWithoutOne) {
  Peak peak;
  Peak_ctor(&peak, 0);
  ztClass nameless = *PeakClass_Instance();
  nameless.name = nullptr;
  peak.klass = &nameless;
  EXPECT_EQ(PeakClassName(nullptr, &peak), nullptr);
  for (const char *name : {"Peak", ""}) {
    EXPECT_EQ(PeakIsClass(nullptr, &peak, name), 0) << name;
    EXPECT_EQ(PeakIsClassOf(nullptr, &peak, name), 0) << name;
  }
  EXPECT_EQ(PeakIsClassOf(nullptr, &peak, "Hill"), 1) << "its ancestors have theirs";
}

TEST(ClassTest, LooksAtTheObjectNotAtTheClassWhoseFunctionIsCalled) {
  const Object peak(Peak_ctor);
  const Object cave(Cave_ctor);
  EXPECT_EQ(HillIsClass(nullptr, peak, "Peak"), 1);
  EXPECT_EQ(CaveIsClassOf("ignored", peak, "Hill"), 1);
  EXPECT_STREQ(ztBaseClassClassName(nullptr, peak), "Peak");
  EXPECT_EQ(HillVersion(nullptr, cave), 7U);
  EXPECT_EQ(CaveVersion(nullptr, peak), 1U);
}

// Class functions of a class's own ----------------------------------------------------------------

TEST(ClassFunctions, AreFilledOnceWithTheHostsOwn) {
  use(Cave_ctor);
  const CaveFunctions *functions = Cave_functions();
  EXPECT_EQ(functions->depthOf(nullptr, 4), 40);
  EXPECT_EQ(functions->classInit, caveInit);
  EXPECT_EQ(functions->classDestroy, caveDestroyed);
  EXPECT_EQ(functions->ctor, Cave_ctor);
  EXPECT_EQ(CaveClass_Instance()->version, 7U);
  EXPECT_EQ(Cave_version_, 7U);
}

TEST(ClassFunctions, InitRunsOnceBeforeTheClassHasItsParent) {
  const auto useGrotto = [] { use(Grotto_ctor); };
  EXPECT_EQ(eventsOf(useGrotto), Events{"init Grotto no parent not initialised"});
  EXPECT_EQ(eventsOf(useGrotto), Events());
  recordsFreedClasses = true;
  EXPECT_EQ(eventsOf([] { ztFreeClass("Grotto"); }), Events{"destroy Grotto"});
  recordsFreedClasses = false;
  EXPECT_EQ(eventsOf(useGrotto), Events());
  EXPECT_FALSE(ztOOP_isClassRegistered("Grotto"));
}

TEST(ClassFunctions, InitMayMakeObjectsOfTheClassItself) {
  EXPECT_EQ(eventsOf([] { makeWhileFilling(Brook_ctor, "Brook"); }), Events{"init Brook"});
  EXPECT_EQ(BrookClass_Instance()->parent, ztBaseClassClass_Instance());
  EXPECT_TRUE(ztOOP_isClassRegistered("Brook"));
  EXPECT_EQ(ztOOP_findClass("Brook"), BrookClass_Instance());
}

TEST(ClassFunctions, InitMayMakeObjectsOfSubclassesAndOfTheClassOnTheWay) {
  EXPECT_EQ(eventsOf([] { makeWhileFilling(Delta_ctor, "Delta"); }),
            (Events{"init River", "init Stream", "init Delta"}));
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

TEST(ClassAllocator, SurvivesTheFillingOfTheClass) {
  const Object allocator(ztStdAllocator_ctor);
  functionsOf(RidgeClass_Instance())->allocator = allocator;
  const Object spur(Spur_ctor);  // fills Ridge as an ancestor
  const Object ridge(Ridge_ctor);
  EXPECT_EQ(ridge->Allocator(ridge), allocator);
  EXPECT_EQ(RidgeAllocator(ridge), allocator);
  EXPECT_EQ(SpurAllocator(ridge), allocator);
  EXPECT_EQ(spur->Allocator(spur), nullptr);
  EXPECT_EQ(RidgeAllocator(spur), nullptr);

  functionsOf(SpurClass_Instance())->allocator = allocator;
  EXPECT_EQ(spur->Allocator(spur), allocator);
  functionsOf(RidgeClass_Instance())->allocator = nullptr;
  functionsOf(SpurClass_Instance())->allocator = nullptr;
  EXPECT_EQ(allocator->getRefCount(allocator), 1);
}

// Class identities in a file ----------------------------------------------------------------------

class Identity : public testing::Test {
 protected:
  Identity() {
    use(Peak_ctor);
    use(Cave_ctor);
    use(Alias_ctor);
  }

  // What the file holds of an object of the class.
  std::string written(ztCtor constructor) {
    const Object object(constructor);
    EXPECT_EQ(file->open(file, path.c_str(), "wb"), 1);
    EXPECT_EQ(functions->classWrite(nullptr, object, file), 1);
    file->close(file);
    return contentsOf(path);
  }

  // What is made of the bytes; the file stays open behind the identity.
  template <typename Made = OwnedPeak>
  Made read(const std::string &bytes) {
    writeContents(path, bytes);
    EXPECT_EQ(file->open(file, path.c_str(), "rb"), 1);
    return Made(functions->classRead(nullptr, file));
  }

  // The name of the class whose object is made of an identity, or "none".
  std::string classRead(std::string name, uint32_t version = 1) {
    name.resize(100);
    const Object made = read<Object>(name + std::string(reinterpret_cast<char *>(&version), 4));
    if (made == nullptr) return "none";
    EXPECT_EQ(made->getRefCount(made), 1);
    return ztBaseClassClassName(nullptr, made);
  }

  const ztBaseClassFunctions *functions = ztBaseClass_functions();
  TempFolder folder;
  std::string path = folder.path("identity");
  Owned<ztFile, ztFileMethods> file{ztFile_ctor};
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
  EXPECT_EQ(written(Peak_ctor), "Peak" + std::string(96, '\0') + std::string("\1\0\0\0", 4));
  EXPECT_EQ(written(Cave_ctor), "Cave" + std::string(96, '\0') + std::string("\7\0\0\0", 4));
}

TEST_F(Identity, NeedsAnOpenFile) {
  const OwnedPeak peak(Peak_ctor);
  EXPECT_EQ(functions->classRead(nullptr, file), nullptr);
  EXPECT_EQ(functions->classRead(nullptr, nullptr), nullptr);
  EXPECT_EQ(functions->classWrite(nullptr, peak, file), 0);
  writeContents(path, "");
  ASSERT_EQ(file->open(file, path.c_str(), "rb"), 1);
  EXPECT_EQ(functions->classWrite(nullptr, peak, file), 0) << "that is open for reading only";
  EXPECT_EQ(functions->classWrite(nullptr, nullptr, file), 0);
  EXPECT_EQ(functions->classWrite(nullptr, peak, nullptr), 0);
}

TEST_F(Identity, ReadingMakesACreatedObject) {
  const std::string bytes = written(Peak_ctor);
  events.clear();
  const OwnedPeak made = read(bytes);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made.fields().klass, PeakClass_Instance());
  EXPECT_EQ(made.fields().height, 100);
  EXPECT_EQ(events, (Events{"hill created", "peak created"}));
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

TEST_F(Identity, ReadingAnUnknownClassGivesNullAndLogsItsNameHarmlessly) {
  CapturedLog log;
  EXPECT_EQ(classRead("%s%n%d%5000x"), "none");
  EXPECT_EQ(log.file(), "ztOOP::ztNewFromName - Error, class '%s%n%d%5000x' not installed\n");
  EXPECT_EQ(log.output(),
            "ztOOP::ztNewFromName - Error, class '(null)0" + std::string(511, ' ') + "0' not installed\n");
}

TEST_F(Identity, OneLineEndBehindTheNameIsCut) {
  CapturedLog log;
  for (const char *name : {"Peak", "Peak\n", "Peak\r", "Peak\r\n"}) EXPECT_EQ(classRead(name), "Peak");
  for (const char *name :
       {"Peak\n\n", "Peak\r\r", "Peak\n\r", "Peak\r\n\n", "Peak\r\n\r\n", "\nPeak", "Pe\nak"}) {
    EXPECT_EQ(classRead(name), "none") << name;
  }
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
  for (const char *name : {"X\n", "X\r", "X\r\n"}) EXPECT_EQ(classRead(name), "X");
}

TEST_F(Identity, ANameLongerThan99CharactersIsCut) {
  const std::string cut(99, 'n');
  for (const size_t length : {99U, 100U, 101U, 103U, 104U, 5000U}) {
    CapturedLog log;
    const Renamed renamed(std::string(length, 'n'));
    EXPECT_EQ(written(Alias_ctor), cut + std::string("\0\1\0\0\0", 5));
    EXPECT_EQ(classRead(cut), length == 99 ? cut : "none") << "what was cut is another name";
  }
}

TEST_F(Identity, AFieldWithoutTerminatorEndsAtItsLastByte) {
  const Renamed renamed(std::string(99, 'n'));
  EXPECT_EQ(classRead(std::string(100, 'n')), std::string(99, 'n'));
}

TEST_F(Identity, EveryPrefixOfARecordIsReadSafely) {
  using OwnedLink = Owned<ztLink, ztLinkMethods>;
  const OwnedLink link(ztLink_ctor);
  link.fields().targetId = 4810;
  ASSERT_EQ(file->open(file, path.c_str(), "wb"), 1);
  ASSERT_EQ(functions->classWrite(nullptr, link, file), 1);
  ASSERT_EQ(link->write(link, file), 1);
  file->close(file);
  const std::string record = contentsOf(path);
  ASSERT_EQ(record.size(), 108U);
  for (size_t length = 0; length <= record.size(); ++length) {
    const OwnedLink made = read<OwnedLink>(record.substr(0, length));
    EXPECT_EQ(made != nullptr, length >= 104) << length;
    if (made == nullptr) continue;
    EXPECT_EQ(made->read(made, file), length == record.size()) << length;
    EXPECT_TRUE(length < record.size() || made.fields().targetId == 4810);
  }
}

TEST_F(Identity, EveryChangedByteIsReadSafely) {
  const std::string original = written(Peak_ctor);
  CapturedLog log;
  for (size_t at = 0; at < original.size(); ++at) {
    for (const int value : {0, 1, 7, 10, 13, int{'%'}, int{'n'}, int{'s'}, int{'P'}, 127, 128, 255}) {
      std::string bytes = original;
      bytes[at] = static_cast<char>(value);
      // Behind the terminator nothing counts; a line end in its place is cut.
      const bool whole = bytes == original || (at > 4 && at < 100) ||
                         (at == 4 && (value == '\n' || value == '\r' || value == 0));
      EXPECT_EQ(read(bytes) != nullptr, whole) << at << ": " << value;
    }
  }
}

}  // namespace

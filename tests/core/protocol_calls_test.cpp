// Which functions of a host's the protocol calls, in which order, and which it leaves out.
#include "core/ztbasec.h"

#include "containers/ztarray.h"
#include "io/ztfile.h"
#include "objects/ztroot.h"
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/host_class.hh"

#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

namespace {

using Calls = std::vector<std::string>;

Calls calls;

}  // namespace

// A host's file --------------------------------------------------------------------------------------

// Records what is asked of it; a write fails when it is the one that is told to, and every read of a number.
#define Ledger_FIELDS \
  ztFile_FIELDS       \
  const char *failing;
#define Ledger_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(Ledger)

static int32_t ledgerCall(const void *file, const char *call) {
  calls.push_back(call);
  return strcmp(static_cast<const Ledger *>(file)->failing, call) != 0;
}

static int32_t ledgerWriteBuf(void *file, int32_t size, const void *) {
  return ledgerCall(file, "writeBuf") ? size : 0;
}

static int32_t ledgerWriteInt(void *file, int32_t) {
  return ledgerCall(file, "writeInt");
}

static int32_t ledgerReadBuf(void *file, int32_t size, void *buffer) {
  memset(buffer, 0, static_cast<size_t>(size));
  memcpy(buffer, "Nowhere", 7);
  return ledgerCall(file, "readBuf") ? size : 0;
}

static int32_t ledgerReadInt(void *file, int32_t *number) {
  *number = 1;
  return ledgerCall(file, "readInt");
}

static void ledgerMethods(LedgerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, writeBuf, ledgerWriteBuf);
  ZT_OVERRIDE_METHOD(methods, writeInt, ledgerWriteInt);
  ZT_OVERRIDE_METHOD(methods, readBuf, ledgerReadBuf);
  ZT_OVERRIDE_METHOD(methods, readInt, ledgerReadInt);
}

ZT_DEFINE_CLASS(Ledger, ztFile, ledgerMethods)

namespace {

bool writes(void *file) {
  return ztBaseClass_functions()->classWrite(nullptr, file, file) != 0;
}

bool reads(void *file) {
  return ztBaseClass_functions()->classRead(nullptr, file) != nullptr;
}

// What is asked of a file that fails at one call, or at none, when an identity is written or read.
Calls callsOf(bool (*succeeds)(void *file), const char *failing = "") {
  const Owned<Ledger, LedgerMethods> ledger(Ledger_ctor);
  ledger.fields().failing = failing;
  calls.clear();
  EXPECT_EQ(succeeds(ledger), *failing == '\0');
  return calls;
}

TEST(IdentityCalls, WriteTheNameAndThenTheVersion) {
  EXPECT_EQ(callsOf(writes), (Calls{"writeBuf", "writeInt"}));
  EXPECT_EQ(callsOf(writes, "writeBuf"), Calls{"writeBuf"});
}

TEST(IdentityCalls, ReadTheVersionBeforeTheyLookTheNameUp) {
  CapturedLog log;
  EXPECT_EQ(callsOf(reads, "readInt"), (Calls{"readBuf", "readInt"}));
  EXPECT_EQ(callsOf(reads, "readBuf"), Calls{"readBuf"});
  EXPECT_EQ(log.file(), "");  // the name is unknown, and nobody asked
}

}  // namespace

// The filling of classes -----------------------------------------------------------------------------

// Each is first used in one test.
#define Knoll_FIELDS ztBaseClass_FIELDS
#define Knoll_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Knoll)
#define Rise_FIELDS ztBaseClass_FIELDS
#define Rise_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Rise)
#define Mound_FIELDS Rise_FIELDS
#define Mound_METHODS Rise_METHODS
ZT_DECLARE_CLASS(Mound)

static int32_t classesBefore;

static void riseCreated(ztClass *klass) {
  calls.push_back(klass->name + (ztOOP_isClassRegistered(klass->name) ? std::string(" registered") : ""));
  classesBefore = ztOOP_classCount();
}

static int32_t riseCreate(void *) {
  return 0;
}

static void riseMethods(RiseMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, riseCreated);
  ZT_OVERRIDE_METHOD(methods, create, riseCreate);
}

ZT_DEFINE_CLASS(Knoll, ztBaseClass, noMethods)
ZT_DEFINE_CLASS(Rise, ztBaseClass, riseMethods)
ZT_DEFINE_CLASS(Mound, Rise, noMethods)

namespace {

TEST(Filling, OfAnyClassWritesWhatReadsAndWritesIdentities) {
  auto *functions = static_cast<ztBaseClassFunctions *>(ztBaseClassClass_Instance()->classTable);
  const ztBaseClassFunctions before = *functions;
  functions->classRead = nullptr;
  functions->classWrite = nullptr;
  use(Knoll_ctor);
  EXPECT_EQ(functions->classRead, before.classRead);
  EXPECT_EQ(functions->classWrite, before.classWrite);
  EXPECT_NE(before.classRead, nullptr);
}

TEST(Filling, OfAClassThatBearsItsNameAlreadyCreatesItsInstances) {
  calls.clear();
  MoundClass_Instance()->name = Mound_classname_;
  use(Mound_ctor);
  EXPECT_EQ(calls, (Calls{"Mound", "Mound registered"}));
  EXPECT_EQ(ztOOP_classCount(), classesBefore + 1);  // counted when its instances are created
}

TEST(NewFromName, IgnoresTheResultOfCreate) {
  use(Rise_ctor);
  EXPECT_STREQ(ztOOP_classNameOf(Object(ztNewFromName("Rise"))), "Rise");
}

}  // namespace

// Assignment between two classes ---------------------------------------------------------------------

#define Branch_FIELDS ztBaseClass_FIELDS
#define Branch_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Branch)
#define Twig_FIELDS Branch_FIELDS
#define Twig_METHODS Branch_METHODS
ZT_DECLARE_CLASS(Twig)
#define Sprig_FIELDS ztRoot_FIELDS
#define Sprig_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Sprig)

static int32_t branchAssign(void *, const void *other) {
  calls.push_back(std::string("from ") + ztOOP_classNameOf(other));
  return 5;
}

static void branchMethods(BranchMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, assign, branchAssign);
}

ZT_DEFINE_CLASS(Branch, ztBaseClass, branchMethods)
ZT_DEFINE_CLASS(Twig, Branch, noMethods)
ZT_DEFINE_CLASS(Sprig, ztRoot, noMethods)

namespace {

Owned<ztArray, ztArrayMethods> arrayOfOne(ztCtor constructor) {
  Owned<ztArray, ztArrayMethods> array(ztArray_ctor);
  const Object object(constructor);
  array->setElementConstructor(array, constructor);
  array->setElementSize(array, ztOOP_classOf(object)->instanceSize, 0);
  EXPECT_NE(array->pushBack(array, object), nullptr);
  return array;
}

// Has an object of the one class take over the contents of one of the other, as elements of arrays do.
Calls callsOfAssignment(ztCtor target, ztCtor source) {
  const auto to = arrayOfOne(target);
  const auto from = arrayOfOne(source);
  calls.clear();
  EXPECT_EQ(to->assign(to, from), 1);
  return calls;
}

TEST(AssignmentOfTwoClasses, CallsTheHostsOwnAlsoInASubclass) {
  EXPECT_EQ(callsOfAssignment(Branch_ctor, ztBaseClass_ctor), Calls{"from ztBaseClass"});
  EXPECT_EQ(callsOfAssignment(Branch_ctor, ztRoot_ctor), Calls{"from ztRoot"});
  EXPECT_EQ(callsOfAssignment(Twig_ctor, ztRoot_ctor), Calls{"from ztRoot"});
  EXPECT_EQ(callsOfAssignment(Twig_ctor, Branch_ctor), Calls{"from Branch"});
}

// The nodes' own would look for children behind the end of the other.
TEST(AssignmentOfTwoClasses, StaysWithWhatBothHaveInTheLibrarysOwn) {
  EXPECT_EQ(callsOfAssignment(ztRoot_ctor, ztBaseClass_ctor), Calls());
  EXPECT_EQ(callsOfAssignment(Sprig_ctor, Branch_ctor), Calls());
  EXPECT_EQ(callsOfAssignment(ztBaseClass_ctor, Branch_ctor), Calls());
  EXPECT_EQ(callsOfAssignment(Sprig_ctor, ztRoot_ctor), Calls());
}

}  // namespace

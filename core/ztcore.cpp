#include "core/ztcore.h"

#include "core/ztcheck.hh"
#include "core/ztcore.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.hh"
#include "core/ztoop.hh"
#include "core/ztthread.hh"
#include "core/zttrack.hh"
#include "objects/ztreport.hh"
#include "zentova.h"

#include <dlfcn.h>
#include <link.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

using namespace ztcore;

namespace {

struct LibraryClass {
  const char *name;
  const char *freeName;  // the name that ztcoreClassFree uses
  ztCtor ctor;
  ztClass *(*instance)();
};

}  // namespace

// One class a line.
// clang-format off
#define CLASS(C) {#C, #C, C##_ctor, C##Class_Instance}
#define PROPERTY_TYPE(C, freeName) {#C, freeName, C##_ctor, C##Class_Instance}

// In the order of registration. `freeName` of a property type is the name that properties are declared with:
// six of these name no class, and "ztString" frees the string class early.
static const LibraryClass libraryClasses[] = {
    CLASS(ztHashTableItem),
    CLASS(ztAvlIterator),
    CLASS(ztObject),
    PROPERTY_TYPE(ztCharPropertyType, "ztChar"),
    PROPERTY_TYPE(ztCharPtrPropertyType, "ztCharPtr"),
    PROPERTY_TYPE(ztIntPropertyType, "ztInt"),
    PROPERTY_TYPE(ztBoolPropertyType, "ztBool"),
    PROPERTY_TYPE(ztFloatPropertyType, "ztFloat"),
    PROPERTY_TYPE(ztVoidPtrPropertyType, "ztVoidPtr"),
    PROPERTY_TYPE(ztStringPropertyType, "ztString"),
    CLASS(ztIntTag),
    CLASS(ztMap),
    CLASS(ztString),
    CLASS(ztStringArray),
    CLASS(ztMapIterator),
    CLASS(ztPtrStack),
    CLASS(ztTagAttribute),
    CLASS(ztPtrArray),
    CLASS(ztCharArray),
    CLASS(ztIntArray),
    CLASS(ztFloatArray),
    CLASS(ztRoot),
    CLASS(ztRootPtrList),
    CLASS(ztSequenceContainer),
    CLASS(ztBaseClass),
    CLASS(ztPtrList),
    CLASS(ztIntList),
    CLASS(ztStringList),
    CLASS(ztBaseView),
    CLASS(ztSignal),
    CLASS(ztSignalMap),
    CLASS(ztContainerItem),
    CLASS(ztHashTable),
    CLASS(ztBaseModel),
    CLASS(ztProperty),
    CLASS(ztPropertyTypeMap),
    CLASS(ztPropertyMap),
    CLASS(ztPropertyPtrArray),
    CLASS(ztStdAllocator),
    CLASS(ztFloatTag),
    CLASS(ztDeque),
    CLASS(ztContainer),
    CLASS(ztMapItem),
    CLASS(ztAssociativeContainer),
    CLASS(ztListItem),
    CLASS(ztTextFile),
    CLASS(ztPropertyType),
    CLASS(ztList),
    CLASS(ztStack),
    CLASS(ztFile),
    CLASS(ztAvlTreeItem),
    CLASS(ztSlot),
    CLASS(ztSlotMap),
    CLASS(ztArray),
    CLASS(ztQueue),
    CLASS(ztLink),
    CLASS(ztLinkArray),
    CLASS(ztIterator),
    CLASS(ztPtrQueue),
    CLASS(ztTag),
    CLASS(ztAvlTree),
    CLASS(ztAllocator),
};
// clang-format on

static_assert(sizeof libraryClasses / sizeof libraryClasses[0] == libraryClassCount);

void ztcoreClassInit(void) {
  const Locked locked(engineLock, Locked::hostsCode);
  for (const LibraryClass &libraryClass : libraryClasses) {
    ensureRegistered(libraryClass.name, libraryClass.ctor);
  }
}

void ztcoreClassFree(void) {
  const Locked locked(engineLock, Locked::hostsCode);
  for (const LibraryClass &libraryClass : libraryClasses) ztFreeClass(libraryClass.freeName);
}

bool ztcore::isLibraryClass(const ztClass *klass) {
  for (const LibraryClass &libraryClass : libraryClasses) {
    if (libraryClass.instance() == klass) return true;
  }
  return false;
}

// A program that is not position-independent has another address for a function of the library: that of a stub of
// its own. It compares such addresses with those in the tables of classes.

// The program comes first.
static int isAtFixedAddress(dl_phdr_info *program, size_t, void *fixed) {
  *static_cast<bool *>(fixed) = program->dlpi_addr == 0;
  return 1;
}

static bool programIsAtFixedAddress() {
  bool fixed = false;
  dl_iterate_phdr(isAtFixedAddress, &fixed);
  return fixed;
}

template <typename Function>
static void setAddressInProgram(Function *&function, const char *className, const char *suffix) {
  char name[64];
  snprintf(name, sizeof name, "%s%s", className, suffix);
  void *address = dlvsym(RTLD_DEFAULT, name, "ZTCORE_1.0");
  if (address != nullptr) memcpy(&function, &address, sizeof address);
}

static void setAddressesInProgram(ztClassEntry *entry) {
  const ztClass *klass = ztOOP_classOf(entry->prototype);
  auto *functions = static_cast<ztClassFunctions *>(klass->classTable);
  auto *methods = static_cast<ztBaseClassMethods *>(klass->methodTable);
  setAddressInProgram(functions->newop, klass->name, "_newop");
  setAddressInProgram(functions->ctor, klass->name, "_ctor");
  setAddressInProgram(functions->InitTable, klass->name, "InitTable");
  setAddressInProgram(functions->Version, klass->name, "Version");
  setAddressInProgram(functions->ClassName, klass->name, "ClassName");
  setAddressInProgram(functions->IsClass, klass->name, "IsClass");
  setAddressInProgram(functions->IsClassOf, klass->name, "IsClassOf");
  setAddressInProgram(methods->Allocator, klass->name, "Allocator");
  entry->ctor = functions->ctor;
}

// Binding the functions as the linker does would take a third of the time of a start, in every program.
static void setAddressesInProgram() {
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    setAddressesInProgram(const_cast<ztClassEntry *>(entry));
  }
}

static pid_t loadedBy;

__attribute__((constructor)) void ztcore_lnx_init(void) {
  keepLocksAcrossFork();
  readChecks();
  readTracking();
  chooseLog();
  loadedBy = getpid();
  ztLc_log("Zentova - Loading library: %s\n", "ztcore");
  ztOOP_Init("zentova");
  ztcoreClassInit();
  if (programIsAtFixedAddress()) setAddressesInProgram();
  beginTracking();
}

__attribute__((destructor)) void ztcore_lnx_free(void) {
  if (loadedBy == getpid()) ztLc_log("Zentova - Freeing library: %s\n", "ztcore");
  ztcoreClassFree();
  releaseAfterStop();
}

// Runs after the clean-up. Where the library is linked, the clean-up runs after the function above, and its
// hooks may use the data of threads.
__attribute__((destructor(101))) static void releaseLast() {
  // First, because threads that still run use their data meanwhile.
  if (printsEnd && loadedBy == getpid()) {
    tellLast();
    printLiveObjects();
  }
  endTracking();
  releaseThreads();
  closeChosenLog();
}

// What the environment asks to be told: ZENTOVA_TRACK is a list of words, separated by commas.
//
//   1          the live objects are known, with the calls that made them (objects/ztreport.h); a summary is printed when
//              the program ends
//   lives      the same, and a line is printed when an object is made or ends
//   emissions  the same, and a line is printed for each emission
//
// The lines go to standard error. Nothing here costs an instruction in a program that asks for nothing: the memory
// functions are exchanged when the library is loaded, and an emission has one test for all who watch it.
#ifndef ZT_CORE_ZTTRACK_HH
#define ZT_CORE_ZTTRACK_HH

#include "core/ztblocks.hh"
#include "core/ztclass.h"

namespace ztcore {

// A class that objects may be of. Its own copy, because the code of a class may be unloaded before its objects end.
struct TrackedClass {
  const ztClass *klass;
  TrackedClass *older;
  int32_t instanceSize;
  bool isLibrarys;
  bool isItem;    // of a container
  bool isObject;  // a ztObject or a descendant
  bool isNode;    // a ztRoot or a descendant
  char name[104];
};

// Reads the environment. Called once, when the library is loaded, before the first class is filled.
void readTracking();

// The end of the loading: objects that are made from now on are the program's.
void beginTracking();

// Called for each class when it is filled.
void trackClass(const ztClass *klass);

// The class at an address; NULL for any other address. With blocksLock held.
const TrackedClass *trackedClassAt(uint64_t address);

// Set when a line is printed for each emission. Constant after the library is loaded.
extern bool tracesEmissions;
void traceEmission(const void *emitter, const char *signalName, uint32_t slotCount);

// Set when what is left is printed at the end. Constant after the library is loaded.
extern bool printsEnd;

// Prints the objects that no line told of: a line comes with the next allocation of its thread. Called when the program
// ends, before `endTracking`.
void tellLast();

// Frees the records. Called once when the library is unloaded, after the clean-up.
void endTracking();

}  // namespace ztcore

#endif

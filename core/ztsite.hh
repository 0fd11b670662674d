// Where blocks are made: the calls that led to an allocation.
#ifndef ZT_CORE_ZTSITE_HH
#define ZT_CORE_ZTSITE_HH

#include <stddef.h>
#include <stdint.h>

namespace ztcore {

// Return addresses, the innermost first. Those inside the library are left out, unless there are no others.
struct Site {
  static constexpr int32_t mostFrames = 6;
  uintptr_t frames[mostFrames];
  int32_t count;

  bool operator==(const Site &other) const;
  // Whether the calls of the other one led to this one, as to what a method made inside an object.
  bool isWithin(const Site &other) const;
  uint64_t hash() const;
};

// Looks up what the functions below need. Called once, before them.
void prepareSites();

// The calls under way.
Site currentSite();

// Whether an address is in the library's own code.
bool isOwnCode(const void *address);

// Names the call at an index or the next one outwards that is worth telling: not those of functions that only make an
// object, such as C_new. Returns its index; -1, with nothing written, when there is none.
int32_t nameCall(char *text, size_t size, const Site &site, int32_t index);

// Writes a call as "function+0x2f (file)", or "file+0x12af" where the file has no name for it.
void nameFrame(char *text, size_t size, uintptr_t frame);

}  // namespace ztcore

#endif

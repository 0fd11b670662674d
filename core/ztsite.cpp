#include "core/ztsite.hh"

#include "core/ztsymbol.hh"

#include <dlfcn.h>
#include <elf.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>

using namespace ztcore;

// The ends of the library's file in memory, made by the linker.
extern "C" __attribute__((visibility("hidden"))) const char __ehdr_start[];  // NOLINT
extern "C" __attribute__((visibility("hidden"))) const char _end[];          // NOLINT

// Looked up only where blocks are tracked, so that no other program pays for it when the library is loaded.
static struct {
  int (*backtrace)(void **frames, int most);
  char *(*demangle)(const char *name, char *output, size_t *size, int *status);
} helpers;

template <typename Function>
static void lookUp(Function *&function, const char *name, const char *version) {
  void *found = dlvsym(RTLD_DEFAULT, name, version);
  memcpy(&function, &found, sizeof found);
}

void ztcore::prepareSites() {
  lookUp(helpers.backtrace, "backtrace", "GLIBC_2.2.5");
  // The first call loads what it needs.
  if (helpers.backtrace != nullptr) currentSite();
}

bool Site::operator==(const Site &other) const {
  return count == other.count && memcmp(frames, other.frames, sizeof frames) == 0;
}

uint64_t Site::hash() const {
  uint64_t mixed = 0;
  for (const uintptr_t frame : frames) mixed = (mixed ^ frame) * 0x9E3779B97F4A7C15U;
  return mixed;
}

bool Site::isWithin(const Site &other) const {
  if (other.count == 0) return false;
  for (int32_t skipped = 0; skipped < count; ++skipped) {
    const auto compared = static_cast<size_t>(count - skipped < other.count ? count - skipped : other.count);
    if (memcmp(frames + skipped, other.frames, compared * sizeof frames[0]) == 0) return true;
  }
  return false;
}

bool ztcore::isOwnCode(const void *address) {
  return address >= __ehdr_start && address < _end;
}

static void keepFrames(Site *site, void *const *frames, int count, bool keepOwn) {
  for (int i = 0; i < count && site->count < Site::mostFrames; ++i) {
    if (keepOwn || !isOwnCode(frames[i]))
      site->frames[site->count++] = reinterpret_cast<uintptr_t>(frames[i]);
  }
}

Site ztcore::currentSite() {
  Site site = {};
  if (helpers.backtrace == nullptr) return site;
  void *frames[32];
  const int count = helpers.backtrace(frames, sizeof frames / sizeof frames[0]);
  keepFrames(&site, frames, count, false);
  // The library is part of the program's file, or nobody called it.
  if (site.count == 0) keepFrames(&site, frames, count, true);
  return site;
}

static bool isProgram(const Dl_info &where) {
  Dl_info program;
  return dladdr(reinterpret_cast<const void *>(getauxval(AT_ENTRY)), &program) != 0 &&
         program.dli_fbase == where.dli_fbase;
}

// The address in the file, which for a program at a fixed address is the one in memory.
static uint64_t addressInFile(const Dl_info &where, uintptr_t address) {
  const auto base = reinterpret_cast<uintptr_t>(where.dli_fbase);
  const bool isFixed = isProgram(where) && reinterpret_cast<const Elf64_Ehdr *>(base)->e_type == ET_EXEC;
  return isFixed ? address : address - base;
}

static const char *fileNameOf(const Dl_info &where) {
  const char *slash = strrchr(where.dli_fname, '/');
  return slash == nullptr ? where.dli_fname : slash + 1;
}

// C++ names as in the source, where the program has the C++ runtime.
static void writeCall(char *text, size_t size, const char *name, uint64_t offset, const char *file) {
  lookUp(helpers.demangle, "__cxa_demangle", "CXXABI_1.3");
  int status = -1;
  char *clear = nullptr;
  if (helpers.demangle != nullptr && strncmp(name, "_Z", 2) == 0) {
    clear = helpers.demangle(name, nullptr, nullptr, &status);
  }
  snprintf(text, size, "%s+%#lx (%s)", clear == nullptr ? name : clear, static_cast<unsigned long>(offset),
           file);
  free(clear);
}

static bool endsWith(const char *text, size_t length, const char *end) {
  const size_t endLength = strlen(end);
  return length >= endLength && memcmp(text + length - endLength, end, endLength) == 0;
}

static bool onlyMakes(const char *call) {
  const size_t length = strcspn(call, "+");
  return endsWith(call, length, "_new") || endsWith(call, length, "_ctor") ||
         endsWith(call, length, "_newop") || strncmp(call, "zt::", 4) == 0;
}

int32_t ztcore::nameCall(char *text, size_t size, const Site &site, int32_t index) {
  for (; index < site.count; ++index) {
    nameFrame(text, size, site.frames[index]);
    if (!onlyMakes(text)) return index;
  }
  return -1;
}

void ztcore::nameFrame(char *text, size_t size, uintptr_t frame) {
  // The address behind a call may be that of the next function.
  const uintptr_t call = frame - 1;
  Dl_info where;
  if (dladdr(reinterpret_cast<const void *>(call), &where) == 0) {
    snprintf(text, size, "%#lx", static_cast<unsigned long>(frame));
    return;
  }
  const char *file = fileNameOf(where);
  if (where.dli_sname != nullptr) {
    writeCall(text, size, where.dli_sname, frame - reinterpret_cast<uintptr_t>(where.dli_saddr), file);
    return;
  }
  char name[256];
  const uint64_t address = addressInFile(where, call);
  const uint64_t start =
      findFunction(isProgram(where) ? "/proc/self/exe" : where.dli_fname, address, name, sizeof name);
  if (start != 0) {
    writeCall(text, size, name, address + 1 - start, file);
  } else {
    snprintf(text, size, "%s+%#lx", file, static_cast<unsigned long>(address + 1));
  }
}

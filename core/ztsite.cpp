#include "core/ztsite.hh"

#include "core/ztnamehash.hh"
#include "core/ztsymbol.hh"
#include "core/zttext.hh"

#include <dlfcn.h>
#include <link.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>

using namespace ztcore;

// Made by the linker: the ends of the library's file in memory, and those of its code in the file of a program that is
// linked with the static library.
#pragma GCC visibility push(hidden)
extern "C" {
extern const char __ehdr_start[];                           // NOLINT
extern const char _end[];                                   // NOLINT
extern const char __start_zt_text[] __attribute__((weak));  // NOLINT
extern const char __stop_zt_text[] __attribute__((weak));   // NOLINT
}
#pragma GCC visibility pop

// Looked up only where blocks are tracked, so that no other program pays for it when the library is loaded. Not later:
// calls are named with locks held, and the dynamic linker's lock is held by a thread that loads a plugin, whose
// constructors wait for those locks.
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
  lookUp(helpers.demangle, "__cxa_demangle", "CXXABI_1.3");
  // The first call loads what it needs.
  if (helpers.backtrace != nullptr) currentSite();
}

bool Site::operator==(const Site &other) const {
  return count == other.count && memcmp(frames, other.frames, sizeof frames) == 0;
}

uint64_t Site::hash() const {
  uint64_t result = 0;
  for (const uintptr_t frame : frames) result = mixed(result, frame);
  return result;
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
  const bool isStatic = __start_zt_text != nullptr;
  return address >= (isStatic ? __start_zt_text : __ehdr_start) &&
         address < (isStatic ? __stop_zt_text : _end);
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
  // Nobody called the library.
  if (site.count == 0) keepFrames(&site, frames, count, true);
  return site;
}

namespace {

// A file in memory that an address belongs to.
struct LoadedFile {
  uintptr_t address;
  uint64_t addressInFile;
  const char *path;  // empty for the program
  bool isFound;
};

}  // namespace

static bool covers(const dl_phdr_info &file, const Elf64_Phdr &segment, uintptr_t address) {
  return segment.p_type == PT_LOAD && address - file.dlpi_addr - segment.p_vaddr < segment.p_memsz;
}

static int findLoaded(dl_phdr_info *file, size_t, void *wanted) {
  auto *found = static_cast<LoadedFile *>(wanted);
  for (int i = 0; i < file->dlpi_phnum && !found->isFound; ++i) {
    if (!covers(*file, file->dlpi_phdr[i], found->address)) continue;
    *found = {found->address, found->address - file->dlpi_addr, file->dlpi_name, true};
  }
  return found->isFound;
}

// The paths of files are those of the dynamic linker, and stay while the calls of their code are under way.
static LoadedFile loadedFileOf(uintptr_t address) {
  LoadedFile file = {address, 0, "", false};
  dl_iterate_phdr(findLoaded, &file);
  return file;
}

static const char *shortNameOf(const LoadedFile &file) {
  const char *path = *file.path == '\0' ? reinterpret_cast<const char *>(getauxval(AT_EXECFN)) : file.path;
  const char *slash = strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

// C++ names as in the source, where the program has the C++ runtime.
static void writeCall(char *text, size_t size, const char *name, uint64_t offset, const char *file) {
  int status = -1;
  char *clear = nullptr;
  if (helpers.demangle != nullptr && beginsWith(name, "_Z")) {
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
  // C++ names have their arguments behind them.
  const size_t length = strcspn(call, "+(");
  return endsWith(call, length, "_new") || endsWith(call, length, "_ctor") ||
         endsWith(call, length, "_newop") || beginsWith(call, "zt::");
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
  const LoadedFile file = loadedFileOf(frame - 1);
  if (!file.isFound) {
    snprintf(text, size, "%#lx", static_cast<unsigned long>(frame));
    return;
  }
  char name[256];
  const char *path = *file.path == '\0' ? "/proc/self/exe" : file.path;
  const uint64_t start = findFunction(path, file.addressInFile, name, sizeof name);
  const uint64_t address = file.addressInFile + 1;
  if (start != 0) {
    writeCall(text, size, name, address - start, shortNameOf(file));
  } else {
    snprintf(text, size, "%s+%#lx", shortNameOf(file), static_cast<unsigned long>(address));
  }
}

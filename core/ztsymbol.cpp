#include "core/ztsymbol.hh"

#include <elf.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

using namespace ztcore;

namespace {

// Parts of an ELF file. Files of hosts are read as any other input: what does not fit is not there.
class ElfFile {
 public:
  explicit ElfFile(const char *path) : file(open(path, O_RDONLY | O_CLOEXEC)) {}
  ~ElfFile() {
    if (file >= 0) close(file);
  }
  ElfFile(const ElfFile &) = delete;
  ElfFile &operator=(const ElfFile &) = delete;

  template <typename Value>
  bool read(Value *value, uint64_t offset) const {
    return pread(file, value, sizeof *value, static_cast<off_t>(offset)) == sizeof *value;
  }
  // A text that is cut to the buffer.
  void readText(char *text, size_t size, uint64_t offset) const {
    const ssize_t length = pread(file, text, size - 1, static_cast<off_t>(offset));
    text[length > 0 ? length : 0] = '\0';
  }
  // A section; the caller frees it. NULL when it cannot be read. Past `ztm_alloc`, whose blocks are tracked: that of
  // a new block may be waiting for its name.
  template <typename Element>
  Element *readAll(const Elf64_Shdr &section) const {
    constexpr uint64_t most = 1U << 30;
    if (section.sh_size > most) return nullptr;
    auto *elements = static_cast<Element *>(malloc(section.sh_size + 1));
    const auto wanted = static_cast<ssize_t>(section.sh_size);
    if (elements == nullptr ||
        pread(file, elements, section.sh_size, static_cast<off_t>(section.sh_offset)) == wanted) {
      return elements;
    }
    free(elements);
    return nullptr;
  }

  bool readHeader(Elf64_Ehdr *header) const {
    return read(header, 0) && memcmp(header->e_ident, ELFMAG, SELFMAG) == 0 &&
           header->e_ident[EI_CLASS] == ELFCLASS64 && header->e_shentsize == sizeof(Elf64_Shdr);
  }
  // Finds a table of symbols, and the section with their names.
  bool findSymbols(uint32_t type, Elf64_Shdr *symbols, Elf64_Shdr *names) const;

 private:
  int file;
};

bool ElfFile::findSymbols(uint32_t type, Elf64_Shdr *symbols, Elf64_Shdr *names) const {
  Elf64_Ehdr header;
  if (!readHeader(&header)) return false;
  for (uint64_t i = 0; i < header.e_shnum; ++i) {
    if (!read(symbols, header.e_shoff + i * sizeof(Elf64_Shdr))) return false;
    if (symbols->sh_type != type) continue;
    return read(names, header.e_shoff + symbols->sh_link * sizeof(Elf64_Shdr));
  }
  return false;
}

bool holds(const Elf64_Sym &symbol, uint64_t address) {
  return ELF64_ST_TYPE(symbol.st_info) == STT_FUNC && symbol.st_value <= address &&
         address < symbol.st_value + symbol.st_size;
}

}  // namespace

// Local functions come first: a function may have a second name that only its file knows.
static const Elf64_Sym *findSymbol(const Elf64_Sym *symbols, uint64_t count, uint64_t address) {
  const Elf64_Sym *found = nullptr;
  for (uint64_t i = 0; i < count; ++i) {
    if (!holds(symbols[i], address)) continue;
    if (found == nullptr || ELF64_ST_BIND(found->st_info) == STB_LOCAL) found = &symbols[i];
    if (ELF64_ST_BIND(found->st_info) != STB_LOCAL) break;
  }
  return found;
}

static uint64_t findIn(const ElfFile &file, uint32_t type, uint64_t address, char *name, size_t size) {
  Elf64_Shdr section;
  Elf64_Shdr names;
  if (!file.findSymbols(type, &section, &names)) return 0;
  auto *symbols = file.readAll<Elf64_Sym>(section);
  if (symbols == nullptr) return 0;
  const Elf64_Sym *found = findSymbol(symbols, section.sh_size / sizeof(Elf64_Sym), address);
  const uint64_t start = found == nullptr ? 0 : found->st_value;
  if (found != nullptr) file.readText(name, size, names.sh_offset + found->st_name);
  free(symbols);
  return start;
}

uint64_t ztcore::findFunction(const char *path, uint64_t address, char *name, size_t size) {
  const ElfFile file(path);
  const uint64_t start = findIn(file, SHT_SYMTAB, address, name, size);
  return start != 0 ? start : findIn(file, SHT_DYNSYM, address, name, size);
}

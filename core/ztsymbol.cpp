#include "core/ztsymbol.hh"

#include "core/ztmem.h"

#include <elf.h>
#include <fcntl.h>
#include <stdio.h>
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
  // A section; the caller frees it. NULL when it cannot be read.
  template <typename Element>
  Element *readAll(const Elf64_Shdr &section) const {
    constexpr uint64_t most = 1U << 30;
    if (section.sh_size > most) return nullptr;
    auto *elements = static_cast<Element *>(ztm_alloc(static_cast<int32_t>(section.sh_size)));
    const auto wanted = static_cast<ssize_t>(section.sh_size);
    if (elements == nullptr ||
        pread(file, elements, section.sh_size, static_cast<off_t>(section.sh_offset)) == wanted) {
      return elements;
    }
    ztm_free(elements);
    return nullptr;
  }

  bool readHeader(Elf64_Ehdr *header) const {
    return read(header, 0) && header->e_ident[EI_CLASS] == ELFCLASS64 &&
           header->e_shentsize == sizeof(Elf64_Shdr);
  }
  // Finds the table of all symbols, and the section with their names.
  bool findSymbols(Elf64_Shdr *symbols, Elf64_Shdr *names) const;

 private:
  int file;
};

bool ElfFile::findSymbols(Elf64_Shdr *symbols, Elf64_Shdr *names) const {
  Elf64_Ehdr header;
  if (!readHeader(&header)) return false;
  for (uint64_t i = 0; i < header.e_shnum; ++i) {
    if (!read(symbols, header.e_shoff + i * sizeof(Elf64_Shdr))) return false;
    if (symbols->sh_type != SHT_SYMTAB) continue;
    return read(names, header.e_shoff + symbols->sh_link * sizeof(Elf64_Shdr));
  }
  return false;
}

bool holds(const Elf64_Sym &symbol, uint64_t address) {
  return ELF64_ST_TYPE(symbol.st_info) == STT_FUNC && symbol.st_value <= address &&
         address < symbol.st_value + symbol.st_size;
}

}  // namespace

uint64_t ztcore::findFunction(const char *path, uint64_t address, char *name, size_t size) {
  const ElfFile file(path);
  Elf64_Shdr section;
  Elf64_Shdr names;
  if (!file.findSymbols(&section, &names)) return 0;
  auto *symbols = file.readAll<Elf64_Sym>(section);
  if (symbols == nullptr) return 0;
  const uint64_t count = section.sh_size / sizeof(Elf64_Sym);
  uint64_t at = 0;
  while (at < count && !holds(symbols[at], address)) ++at;
  uint64_t start = 0;
  if (at < count) {
    start = symbols[at].st_value;
    file.readText(name, size, names.sh_offset + symbols[at].st_name);
  }
  ztm_free(symbols);
  return start;
}

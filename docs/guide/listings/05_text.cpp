#include <zentova.hpp>

#include <cstdio>
#include <string>

// The strings of C++ serve within a program. A ztString is for what C shares, and for files.
static zt::Own<ztString> newString(const std::string &text) {
  auto string = zt::make<ztString>();
  zt::methods(string)->set(string.get(), text.c_str());
  return string;
}

static const char *textOf(const zt::Own<ztString> &string) {
  return zt::methods(string)->get(string.get());
}

static bool storeAndLoad(const zt::Own<ztString> &path, const zt::Own<ztString> &note) {
  auto file = zt::make<ztTextFile>();
  auto loaded = zt::make<ztString>();
  const auto *methods = zt::methods(file);
  if (!methods->open(file.get(), "notes.txt", "w+")) return false;
  bool done = ztString_store(path.get(), file.get()) && ztString_store(note.get(), file.get()) &&
              methods->writeFloat(file.get(), 412.5) > 0;
  methods->goToBegin(file.get());
  for (int i = 0; i < 2 && done; ++i) {
    done = ztString_load(loaded.get(), file.get()) != 0;
    std::printf("loaded: %s\n", textOf(loaded));
  }
  return done;
}

int main() {
  const auto path = newString(std::string("Waterworks") + " / " + "Intake");
  const auto note = newString("cleaned,\nthen measured");
  std::printf("%s: %u characters\n", textOf(path), zt::methods(path)->length(path.get()));
  std::printf("equal: %d, less: %d\n", zt::methods(path)->isEqual(path.get(), note.get()),
              zt::methods(path)->isLess(path.get(), note.get()));
  return storeAndLoad(path, note) ? 0 : 1;
}

// What the C library takes for the same.
#include "bench/instructions/operations.hh"
#include "bench/tempfile.hh"
#include "core/ztbasec.h"

namespace {

void mallocAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    void *block = malloc(sizeof(ztBaseClass));
    use(block);
    free(block);
  }
}

void reallocPerPush(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    int *numbers = nullptr;
    size_t count = 0;
    for (const int number : shuffled) {
      numbers = static_cast<int *>(realloc(numbers, (count + 1) * sizeof *numbers));
      if (numbers == nullptr) abort();
      numbers[count++] = number;
    }
    free(numbers);
  }
}

template <typename Act>
void withFile(Act act) {
  FILE *file = fopen(temporaryFile(), "w+b");
  if (file == nullptr) abort();
  act(file);
  fclose(file);
}

void writeInts(int rounds) {
  withFile([rounds](FILE *file) {
    for (int i = 0; i < rounds; ++i) fwrite(&i, sizeof i, 1, file);
  });
}

void readInts(int rounds) {
  withFile([rounds](FILE *file) {
    for (int i = 0; i < 1000; ++i) fwrite(&i, sizeof i, 1, file);
    int value = 0;
    for (int i = 0; i < rounds; ++i) {
      if (i % 1000 == 0) rewind(file);
      use(fread(&value, sizeof value, 1, file));
      use(value);
    }
  });
}

const Operation operations[] = {
    {"base object: new, release/malloc, free", mallocAndFree},
    withEach("array: push/realloc", reallocPerPush),
    {"file: write an int/fwrite", writeInts},
    {"file: read an int/fread", readInts},
};

}  // namespace

int main(int argc, char **argv) {
  return runOperations(operations, argc, argv);
}

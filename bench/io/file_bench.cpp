// A million integers to and from a file.
#include "bench/tempfile.hh"
#include "io/ztfile.h"

#include <benchmark/benchmark.h>
#include <stdio.h>

static constexpr int32_t valueCount = 1000000;

static void *openFile(const char *mode) {
  void *file = ztFile_ctor(nullptr, 1);
  if (!ztFile_of(file)->open(file, temporaryFile(), mode)) abort();
  return file;
}

static FILE *openStream(const char *mode) {
  FILE *stream = fopen(temporaryFile(), mode);
  if (stream == nullptr) abort();
  return stream;
}

static void writeAll(void *file) {
  for (int32_t value = 0; value < valueCount; ++value) ztFile_of(file)->writeInt(file, value);
}

static void writeAll(FILE *stream) {
  for (int32_t value = 0; value < valueCount; ++value) fwrite(&value, sizeof value, 1, stream);
}

static void prepareValues() {
  FILE *stream = openStream("wb");
  writeAll(stream);
  fclose(stream);
}

static void writeInts(benchmark::State &state) {
  void *file = openFile("wb");
  for ([[maybe_unused]] auto turn : state) {
    ztFile_of(file)->goToBegin(file);
    writeAll(file);
    ztFile_of(file)->flush(file);
  }
  ztFile_of(file)->unRef(file);
}
BENCHMARK(writeInts)->Name("write a million ints/zentova")->Unit(benchmark::kMillisecond);

static void writeIntsToStream(benchmark::State &state) {
  FILE *stream = openStream("wb");
  for ([[maybe_unused]] auto turn : state) {
    rewind(stream);
    writeAll(stream);
    fflush(stream);
  }
  fclose(stream);
}
BENCHMARK(writeIntsToStream)->Name("write a million ints/fwrite")->Unit(benchmark::kMillisecond);

static void readInts(benchmark::State &state) {
  prepareValues();
  void *file = openFile("rb");
  int64_t sum = 0;
  for ([[maybe_unused]] auto turn : state) {
    ztFile_of(file)->goToBegin(file);
    int32_t value = 0;
    while (ztFile_of(file)->readInt(file, &value)) sum += value;
  }
  benchmark::DoNotOptimize(sum);
  ztFile_of(file)->unRef(file);
}
BENCHMARK(readInts)->Name("read a million ints/zentova")->Unit(benchmark::kMillisecond);

static void readIntsFromStream(benchmark::State &state) {
  prepareValues();
  FILE *stream = openStream("rb");
  int64_t sum = 0;
  for ([[maybe_unused]] auto turn : state) {
    rewind(stream);
    int32_t value = 0;
    while (fread(&value, sizeof value, 1, stream) == 1) sum += value;
  }
  benchmark::DoNotOptimize(sum);
  fclose(stream);
}
BENCHMARK(readIntsFromStream)->Name("read a million ints/fread")->Unit(benchmark::kMillisecond);

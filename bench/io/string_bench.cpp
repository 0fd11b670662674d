// Short texts in strings.
#include "io/ztstring.h"

#include <benchmark/benchmark.h>

#ifdef ZT_BENCH_GLIB
#include <glib.h>
#endif

static const char *const texts[] = {"short", "a little longer", "and a text of thirty characters"};

static void setText(benchmark::State &state) {
  void *string = ztString_ctor(nullptr, 1);
  for ([[maybe_unused]] auto turn : state) {
    for (const char *text : texts) ztString_of(string)->set(string, text);
    benchmark::DoNotOptimize(ztString_of(string)->get(string));
  }
  ztString_of(string)->unRef(string);
}
BENCHMARK(setText)->Name("set three short texts/zentova");

static void catTexts(benchmark::State &state) {
  void *parts[3];
  for (int i = 0; i < 3; ++i) {
    parts[i] = ztString_ctor(nullptr, 1);
    ztString_of(parts[i])->set(parts[i], texts[i]);
  }
  void *string = ztString_ctor(nullptr, 1);
  for ([[maybe_unused]] auto turn : state) {
    ztString_of(string)->set(string, "");
    for (void *part : parts) ztString_of(string)->cat(string, part);
    benchmark::DoNotOptimize(ztString_of(string)->get(string));
  }
  for (void *part : parts) ztString_of(part)->unRef(part);
  ztString_of(string)->unRef(string);
}
BENCHMARK(catTexts)->Name("join three short texts/zentova");

static void makeString(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    void *string = ztString_ctor(nullptr, 1);
    ztString_of(string)->set(string, texts[1]);
    benchmark::DoNotOptimize(string);
    ztString_of(string)->unRef(string);
  }
}
BENCHMARK(makeString)->Name("make, set and release a string/zentova");

#ifdef ZT_BENCH_GLIB
static void setTextOfPeer(benchmark::State &state) {
  GString *string = g_string_new("");
  for ([[maybe_unused]] auto turn : state) {
    for (const char *text : texts) g_string_assign(string, text);
    benchmark::DoNotOptimize(string->str);
  }
  g_string_free(string, TRUE);
}
BENCHMARK(setTextOfPeer)->Name("set three short texts/GLib");

static void catTextsOfPeer(benchmark::State &state) {
  GString *parts[3];
  for (int i = 0; i < 3; ++i) parts[i] = g_string_new(texts[i]);
  GString *string = g_string_new("");
  for ([[maybe_unused]] auto turn : state) {
    g_string_assign(string, "");
    for (const GString *part : parts) g_string_append(string, part->str);
    benchmark::DoNotOptimize(string->str);
  }
  for (GString *part : parts) g_string_free(part, TRUE);
  g_string_free(string, TRUE);
}
BENCHMARK(catTextsOfPeer)->Name("join three short texts/GLib");

static void makeStringOfPeer(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    GString *string = g_string_new("");
    g_string_assign(string, texts[1]);
    benchmark::DoNotOptimize(string);
    g_string_free(string, TRUE);
  }
}
BENCHMARK(makeStringOfPeer)->Name("make, set and release a string/GLib");
#endif

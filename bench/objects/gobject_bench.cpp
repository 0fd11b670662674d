// The same with GObject.
#ifdef ZT_BENCH_GLIB

#include "bench/objects/sizes.hh"

#include <benchmark/benchmark.h>
#include <glib-object.h>

#include <vector>

namespace {

// A gauge with one property, "level", and a signal of its own.
struct GaugeObject {
  GObject parent;
  int level;
};

struct GaugeObjectClass {
  GObjectClass parent;
};

constexpr guint levelProperty = 1;
guint levelSignal;

void getLevel(GObject *object, guint, GValue *value, GParamSpec *) {
  g_value_set_int(value, reinterpret_cast<GaugeObject *>(object)->level);
}

void setLevel(GObject *object, guint, const GValue *value, GParamSpec *) {
  reinterpret_cast<GaugeObject *>(object)->level = g_value_get_int(value);
}

void initClass(void *given, void *) {
  auto *klass = static_cast<GObjectClass *>(given);
  klass->get_property = getLevel;
  klass->set_property = setLevel;
  g_object_class_install_property(
      klass, levelProperty,
      g_param_spec_int("level", nullptr, nullptr, G_MININT, G_MAXINT, 0, G_PARAM_READWRITE));
  levelSignal = g_signal_new("level-changed", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr,
                             nullptr, nullptr, G_TYPE_NONE, 1, G_TYPE_INT);
}

GType gaugeType() {
  static const GType type =
      g_type_register_static_simple(G_TYPE_OBJECT, "BenchGauge", sizeof(GaugeObjectClass), initClass,
                                    sizeof(GaugeObject), nullptr, static_cast<GTypeFlags>(0));
  return type;
}

void *newGauge() {
  return g_object_new(gaugeType(), nullptr);
}

void takeChange(GaugeObject *sender, GParamSpec *, GaugeObject *receiver) {
  receiver->level = sender->level;
}

void takeLevel(GaugeObject *, int level, GaugeObject *receiver) {
  receiver->level = level;
}

void createAndRelease(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) g_object_unref(g_object_new(G_TYPE_OBJECT, nullptr));
}

void setProperty(benchmark::State &state) {
  void *gauge = newGauge();
  int value = 0;
  for ([[maybe_unused]] auto turn : state) g_object_set(gauge, "level", ++value, nullptr);
  g_object_unref(gauge);
}

void getProperty(benchmark::State &state) {
  void *gauge = newGauge();
  int value = 0;
  for ([[maybe_unused]] auto turn : state) {
    g_object_get(gauge, "level", &value, nullptr);
    benchmark::DoNotOptimize(value);
  }
  g_object_unref(gauge);
}

std::vector<void *> newReceivers(void *sender, const char *signal, GCallback callback, int64_t count) {
  std::vector<void *> receivers(static_cast<size_t>(count));
  for (void *&receiver : receivers) {
    receiver = newGauge();
    g_signal_connect_object(sender, signal, callback, receiver, static_cast<GConnectFlags>(0));
  }
  return receivers;
}

void deliverChange(benchmark::State &state) {
  void *sender = newGauge();
  const std::vector<void *> receivers =
      newReceivers(sender, "notify::level", G_CALLBACK(takeChange), state.range(0));
  int value = 0;
  for ([[maybe_unused]] auto turn : state) g_object_set(sender, "level", ++value, nullptr);
  for (void *receiver : receivers) g_object_unref(receiver);
  g_object_unref(sender);
}

void emitSignal(benchmark::State &state) {
  void *sender = newGauge();
  const std::vector<void *> receivers =
      newReceivers(sender, "level-changed", G_CALLBACK(takeLevel), state.range(0));
  int value = 0;
  for ([[maybe_unused]] auto turn : state) g_signal_emit(sender, levelSignal, 0, ++value);
  for (void *receiver : receivers) g_object_unref(receiver);
  g_object_unref(sender);
}

void connectAndDestroy(benchmark::State &state) {
  void *sender = newGauge();
  for ([[maybe_unused]] auto turn : state) {
    void *receiver = g_object_new(G_TYPE_OBJECT, nullptr);
    g_signal_connect_object(sender, "level-changed", G_CALLBACK(takeLevel), receiver,
                            static_cast<GConnectFlags>(0));
    g_object_unref(receiver);
  }
  g_object_unref(sender);
}

}  // namespace

BENCHMARK(createAndRelease)->Name("create and release an object/GObject");
BENCHMARK(setProperty)->Name("set a static property/GObject");
BENCHMARK(getProperty)->Name("get a static property/GObject");
ZT_BENCH_OVER_SLOT_COUNTS(deliverChange, "deliver a property change/GObject");
ZT_BENCH_OVER_SLOT_COUNTS(emitSignal, "emit a signal/GObject");
BENCHMARK(connectAndDestroy)->Name("connect and destroy the receiver/GObject");

#endif

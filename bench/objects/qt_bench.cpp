// The same with Qt.
#ifdef ZT_BENCH_QT

#include "bench/objects/qtgauge.hh"
#include "bench/objects/sizes.hh"

#include <benchmark/benchmark.h>
#include <QVariant>

#include <memory>
#include <vector>

namespace {

void createAndRelease(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) benchmark::DoNotOptimize(std::make_unique<QObject>());
}

void setProperty(benchmark::State &state, const char *property) {
  QtGauge gauge;
  int value = 0;
  for ([[maybe_unused]] auto turn : state) gauge.setProperty(property, ++value);
}

void getProperty(benchmark::State &state, const char *property) {
  QtGauge gauge;
  gauge.setProperty(property, 1);
  for ([[maybe_unused]] auto turn : state) benchmark::DoNotOptimize(gauge.property(property).toInt());
}

std::vector<std::unique_ptr<QtGauge>> newReceivers(const QtGauge &sender, int64_t count) {
  std::vector<std::unique_ptr<QtGauge>> receivers(static_cast<size_t>(count));
  for (auto &receiver : receivers) {
    receiver = std::make_unique<QtGauge>();
    QObject::connect(&sender, &QtGauge::levelChanged, receiver.get(), &QtGauge::take);
  }
  return receivers;
}

void deliverChange(benchmark::State &state) {
  QtGauge sender;
  const auto receivers = newReceivers(sender, state.range(0));
  int value = 0;
  for ([[maybe_unused]] auto turn : state) sender.setProperty("level", ++value);
}

void emitSignal(benchmark::State &state) {
  QtGauge sender;
  const auto receivers = newReceivers(sender, state.range(0));
  int value = 0;
  for ([[maybe_unused]] auto turn : state) Q_EMIT sender.levelChanged(++value);
}

void connectAndDestroy(benchmark::State &state) {
  QtGauge sender;
  for ([[maybe_unused]] auto turn : state) {
    QtGauge receiver;
    QObject::connect(&sender, &QtGauge::levelChanged, &receiver, &QtGauge::take);
  }
}

}  // namespace

BENCHMARK(createAndRelease)->Name("create and release an object/QObject");
BENCHMARK_CAPTURE(setProperty, dynamicOne, "extra")->Name("set a dynamic property/QObject");
BENCHMARK_CAPTURE(getProperty, dynamicOne, "extra")->Name("get a dynamic property/QObject");
BENCHMARK_CAPTURE(setProperty, staticOne, "level")->Name("set a static property/QObject");
BENCHMARK_CAPTURE(getProperty, staticOne, "level")->Name("get a static property/QObject");
ZT_BENCH_OVER_SLOT_COUNTS(deliverChange, "deliver a property change/QObject");
ZT_BENCH_OVER_SLOT_COUNTS(emitSignal, "emit a signal/QObject");
BENCHMARK(connectAndDestroy)->Name("connect and destroy the receiver/QObject");

#endif

// To how many slots a change or a signal goes.
#ifndef ZT_BENCH_OBJECTS_SIZES_HH
#define ZT_BENCH_OBJECTS_SIZES_HH

#define ZT_BENCH_OVER_SLOT_COUNTS(operation, title) \
  BENCHMARK(operation)->Name(title)->ArgName("slots")->Arg(1)->Arg(10)->Arg(100)

#endif

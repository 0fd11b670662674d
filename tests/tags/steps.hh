// Counts the instructions that a call takes in this process.
#ifndef ZT_TESTS_STEPS_HH
#define ZT_TESTS_STEPS_HH

#include <signal.h>
#include <stdint.h>

inline volatile int64_t stepsTaken;

// With the trap flag set the processor raises a signal after each instruction.
inline void setTrapFlag() {
  __asm__ volatile(
      "leaq -128(%%rsp), %%rsp\n pushfq\n orq $0x100, (%%rsp)\n popfq\n leaq 128(%%rsp), %%rsp" ::
          : "memory", "cc");
}

inline void clearTrapFlag() {
  __asm__ volatile(
      "leaq -128(%%rsp), %%rsp\n pushfq\n andq $~0x100, (%%rsp)\n popfq\n leaq 128(%%rsp), %%rsp" ::
          : "memory", "cc");
}

// 0 where the flag has no effect, as under an emulator.
template <typename Call>
int64_t stepsOf(Call call) {
  struct sigaction counting = {}, before = {};
  counting.sa_handler = [](int) { stepsTaken = stepsTaken + 1; };
  sigaction(SIGTRAP, &counting, &before);
  stepsTaken = 0;
  setTrapFlag();
  call();
  clearTrapFlag();
  sigaction(SIGTRAP, &before, nullptr);
  return stepsTaken;
}

#endif

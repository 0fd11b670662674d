// Where the library logs to, which the environment or the program chooses.
#ifndef ZT_CORE_ZTLOGCTRL_HH
#define ZT_CORE_ZTLOGCTRL_HH

#include "core/ztlogctrl.h"

namespace ztcore {

// Takes the choice of ZENTOVA_LOG or of ZT_LOG_TO. Called once, before the first text.
void chooseLog();

// Opens the engine's log file, unless another place was chosen.
void openEnginesLog(const char *path);

// Called once, after the last text.
void closeChosenLog();

}  // namespace ztcore

#endif

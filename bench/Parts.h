#pragma once

#include "bench/Measure.h"

#include <string>

/// What is measured. Each part runs in a process of its own and reports its rows; a failure is an exception.
namespace bench {

void MeasureLoad(const Effort& effort);
void MeasureCallbacks(const Effort& effort);
void MeasurePress(const Effort& effort);
void MeasureLog(const Effort& effort);
void MeasureChannel(const Effort& effort);
void MeasureLibrary(const Effort& effort);
void MeasureCipher(const Effort& effort);
void MeasureModule(const Effort& effort);

/// Body of the process that loads a module once and prints how long it took. @param what "addin",
/// "bare" or "platform" (the bare class and the calls into the platform that the add-in cannot avoid).
int RunLoadSample(const std::string& what);

} // namespace bench

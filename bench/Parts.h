#pragma once

#include "bench/Measure.h"

#include <string>

/// The parts of the benchmark. Each part runs in a process of its own and reports its rows; a failure is an exception.
namespace bench {

void MeasureLoad(const Effort& effort);
void MeasureCallbacks(const Effort& effort);
void MeasurePress(const Effort& effort);
void MeasureLog(const Effort& effort);
void MeasureCalls(const Effort& effort);
void MeasureChannel(const Effort& effort);
void MeasureIncoming(const Effort& effort);
void MeasureIdle(const Effort& effort);
void MeasureMemory(const Effort& effort);
void MeasureLibrary(const Effort& effort);
void MeasureCipher(const Effort& effort);
void MeasureModule(const Effort& effort);

/// Body of a process that measures one thing once and prints it. @param what names the sample, "load-addin" and the
/// like.
int RunSample(const std::string& what);

} // namespace bench

#ifndef BENCHOPERATIONS_H
#define BENCHOPERATIONS_H

#include "benchsupport.h"

// Each operation works in the window on context's database, already loaded,
// and returns its time and its baseline's. One file per operation.
BenchResult benchOpen(BenchContext &context);
BenchResult benchCalc(BenchContext &context);
BenchResult benchFilter(BenchContext &context);

#endif // BENCHOPERATIONS_H

#ifndef BENCHOPERATIONS_H
#define BENCHOPERATIONS_H

#include "benchsupport.h"

// Each operation works in the window on context's database, already loaded,
// and returns its time and its baseline's. One file per operation.
BenchResult benchOpen(BenchContext &context);
BenchResult benchCalc(BenchContext &context);
BenchResult benchFilter(BenchContext &context);
BenchResult benchLaunch(BenchContext &context);
BenchResult benchSafety(BenchContext &context);

// The launch's child process: "tessaro-bench --launch-child" in the folder
// to start from.
bool isLaunchChild(int argc, char **argv);
int runLaunchChild(int argc, char **argv);
BenchResult benchExport(BenchContext &context);
BenchResult benchImport(BenchContext &context);
BenchResult benchBackup(BenchContext &context);
BenchResult benchSubtable(BenchContext &context);
BenchResult benchFirst(BenchContext &context);
BenchResult benchCsvExport(BenchContext &context);
BenchResult benchCsvImport(BenchContext &context);
BenchResult benchPdf(BenchContext &context);
BenchResult benchGrid(BenchContext &context);
BenchResult benchHuge(BenchContext &context);

#endif // BENCHOPERATIONS_H

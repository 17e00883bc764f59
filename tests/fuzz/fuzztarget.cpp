// libFuzzer target: one file reader (FUZZ_ENTRY, set by the build) on a real
// database made once per process.
#include "fuzzentries.h"

static DbConnection *database = nullptr;

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    new QCoreApplication(*argc, *argv);
    database = new DbConnection;
    makeFuzzDatabase(*database);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FUZZ_ENTRY(*database, QByteArray(reinterpret_cast<const char *>(data), int(size)));
    return 0;
}

// The native build of one target, KORVANE_FUZZ_TARGET, for libFuzzer.
#include "target.h"

#include <cstdio>
#include <cstdlib>

void fuzz::Fail(const char* pszWhat)
{
    std::fprintf(stderr, "broken promise: %s\n", pszWhat);
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::KORVANE_FUZZ_TARGET(data, size);
    return 0;
}

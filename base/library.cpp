#include "base/library.h"

#include "base/logutil.h"
#include "registry/registrykey.h"

#include <new>

void InitLib(const char* logFileName)
{
    DeInitLib();
    theLogStream = new (std::nothrow) CStreamWriter(logFileName);
    const CRegistryKey_Initializer roots;
}

void DeInitLib()
{
    theLogStream = nullptr;
}

#include "kvol_module.h"

#include "run.h"

int KvolRequest(const kvol::Request& request)
{
    return kvol::RunRequest(request);
}

int KvolArguments(const std::vector<std::string>& arguments)
{
    return kvol::RunArguments(arguments);
}

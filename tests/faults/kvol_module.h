// kvol's commands in this process, as a module of their own: kvol_faults.dll.
#ifndef KORVANE_TESTS_FAULTS_KVOL_MODULE_H
#define KORVANE_TESTS_FAULTS_KVOL_MODULE_H

#include "options.h"

#ifdef kvol_faults_EXPORTS
#define KVOL_FAULTS_API __declspec(dllexport)
#else
#define KVOL_FAULTS_API __declspec(dllimport)
#endif

// As kvol::RunRequest and kvol::RunArguments.
KVOL_FAULTS_API int KvolRequest(const kvol::Request& request);
KVOL_FAULTS_API int KvolArguments(const std::vector<std::string>& arguments);

#endif

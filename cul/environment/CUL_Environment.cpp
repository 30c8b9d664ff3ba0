#include "cul/environment/CUL_Environment.h"

#include "cul/environment/UNIX_Environment.h"

CUL_Environment* CUL_Environment::newEnvironment() { return new UNIX_Environment; }

CUL_Environment::~CUL_Environment() = default;

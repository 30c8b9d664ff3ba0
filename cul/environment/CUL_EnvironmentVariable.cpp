#include "cul/environment/CUL_EnvironmentVariable.h"

CUL_EnvironmentVariable::~CUL_EnvironmentVariable() = default;

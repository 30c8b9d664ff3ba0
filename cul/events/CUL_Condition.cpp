#include "cul/events/CUL_Condition.h"

CUL_Condition::~CUL_Condition() = default;

bool CUL_Condition::has_expired() const { return false; }

bool CUL_Condition::is_true(DSL_Thread& /*thread*/) const { return true; }

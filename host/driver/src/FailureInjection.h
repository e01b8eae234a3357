// The failures in force: which operations fail, and with which errno. Read on every call, so the
// table is a row of atomics; reloads replace it as a whole.
#pragma once

#include "Operation.h"

namespace dravik::reference {

// 0 when operation is not to fail, else the errno it fails with.
int injectedFailure(Operation operation);

// Replaces the failures in force with those DRAVIK_MDW_FAIL lists; answers how many entries were
// ignored.
int reloadFailureInjection();

void resetFailureInjection();

}  // namespace dravik::reference

// Included before a source of the program, takes every call of the debug log out of it, with its arguments.
#pragma once

#include "LogSource.h"

/** In the place of CLogSource: writes nothing. */
class CSilentLogSource {};

#define CLogSource CSilentLogSource
// Leaves the declaration `CLogSource debugLog("...")` an object, and a call a statement without effect.
#define debugLog(...) debugLog

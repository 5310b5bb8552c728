// Internal side of the export convention: every export is defined with
// VELA_EXPORT so that the one macro decides visibility and linkage.
#pragma once

#include "vela/base.h"

#define VELA_EXPORT extern "C" __attribute__((visibility("default")))

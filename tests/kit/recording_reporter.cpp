// The recording reporter is header-only; this unit keeps the kit a real
// archive even before its other pieces exist.
#include "kit/recording_reporter.h"

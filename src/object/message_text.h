// Moved to the support layer; kept while work in progress still includes it.
#pragma once
#include "support/message_text.h"

#include "object/live_list.h"

namespace vela {

RuntimeObject* gLiveListHead = nullptr;
uint64_t gLiveListGeneration = 0;

}  // namespace vela

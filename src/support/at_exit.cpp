#include "support/at_exit.h"

namespace vela {
namespace {
AtExitObject* gHead = nullptr;
}

AtExitObject::AtExitObject() : mNext(gHead) {
  if (gHead) gHead->mPrevious = this;
  gHead = this;
}

AtExitObject::~AtExitObject() {
  if (mPrevious) mPrevious->mNext = mNext;
  else if (gHead == this) gHead = mNext;
  if (mNext) mNext->mPrevious = mPrevious;
}

int AtExitObject::DeleteAll() {
  int count = 0;
  while (gHead) {
    delete gHead;  // the destructor unlinks it
    ++count;
  }
  return count;
}

}  // namespace vela

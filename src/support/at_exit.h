// Objects that must not outlive the process, such as temporary data files.
// Each joins a process-wide list when made and leaves it when destroyed;
// MainExport deletes whatever is left, always the head, before it returns.
#pragma once

namespace vela {

class AtExitObject {
 public:
  AtExitObject();
  virtual ~AtExitObject();
  AtExitObject(const AtExitObject&) = delete;
  AtExitObject& operator=(const AtExitObject&) = delete;

  // Deletes every object on the list; returns how many there were.
  static int DeleteAll();

 private:
  AtExitObject* mNext = nullptr;
  AtExitObject* mPrevious = nullptr;
};

}  // namespace vela

// Records assertion reports instead of printing them, for as long as it is in
// scope, and restores the previous reporter afterwards.
#pragma once

#include <string>
#include <vector>

#include "support/assert.h"

namespace vela::testkit {

struct AssertReport {
  std::string path;
  int line = 0;
  std::string condition;
  std::string message;
};

class RecordingReporter final : public AssertReporter {
 public:
  RecordingReporter() : mPrevious(SetAssertReporter(this)) {}
  ~RecordingReporter() override { SetAssertReporter(mPrevious); }
  RecordingReporter(const RecordingReporter&) = delete;
  RecordingReporter& operator=(const RecordingReporter&) = delete;

  void Report(const char* path, int line, const char* condition, const char* message) override {
    mReports.push_back({path, line, condition, message});
  }

  const std::vector<AssertReport>& reports() const { return mReports; }
  size_t count() const { return mReports.size(); }
  // True when some report has exactly this condition text.
  bool Saw(const std::string& condition) const {
    for (const auto& r : mReports)
      if (r.condition == condition) return true;
    return false;
  }
  // True when some report's message contains `text`.
  bool SawMessage(const std::string& text) const {
    for (const auto& r : mReports)
      if (r.message.find(text) != std::string::npos) return true;
    return false;
  }
  void Clear() { mReports.clear(); }

 private:
  AssertReporter* mPrevious;
  std::vector<AssertReport> mReports;
};

}  // namespace vela::testkit

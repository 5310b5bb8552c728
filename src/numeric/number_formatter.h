// NumberFormatter: a locale's number service over ICU, shared by every
// user of the locale object. Three formatters (integer, double, currency)
// open on first use, all with lenient parsing. Formatting gives a Text;
// parsing and formatting with a pattern give an ErrorOr, whose exception
// class follows the classic-exceptions flag (the String forms set it for
// their call, the Text forms leave it clear).
//
// The virtual operations keep this order, destructor first.
#pragma once

#include <unicode/unum.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "object/error_or.h"
#include "vela/numbers.h"

struct TextRecord;

namespace vela {

class NumberFormatter {
 public:
  // Fails (nullptr) when ICU cannot open a formatter for the locale.
  static std::shared_ptr<NumberFormatter> Open(const std::string& localeName);
  virtual ~NumberFormatter();

  virtual ErrorOr<TextRecord*> FormatUInt64WithPattern(uint64_t value, std::u16string_view pattern);
  virtual TextRecord* FormatUInt64(uint64_t value);
  virtual ErrorOr<TextRecord*> FormatInt64WithPattern(int64_t value, std::u16string_view pattern);
  virtual TextRecord* FormatInt64(int64_t value);
  virtual TextRecord* FormatCurrency(VelaCurrency value);
  virtual ErrorOr<TextRecord*> FormatDoubleWithPattern(double value, std::u16string_view pattern);
  virtual TextRecord* FormatDouble(double value);
  virtual ErrorOr<uint64_t> ParseUInt64(std::u16string_view text);
  virtual ErrorOr<int64_t> ParseInt64(std::u16string_view text);
  virtual ErrorOr<VelaCurrency> ParseCurrency(std::u16string_view text);
  virtual ErrorOr<double> ParseDouble(std::u16string_view text);
  virtual void SetIgnoreErrors(bool ignore);
  virtual bool ClassicExceptions() const;
  virtual void SetClassicExceptions(bool classic);

  const std::string& localeName() const { return mLocale; }

  NumberFormatter(const NumberFormatter&) = delete;
  NumberFormatter& operator=(const NumberFormatter&) = delete;

 private:
  explicit NumberFormatter(std::string localeName) : mLocale(std::move(localeName)) {}
  enum class Kind { kInteger, kDouble, kCurrency };
  UNumberFormat* Formatter(Kind kind);
  const char* ErrorClass() const;
  template <typename T, typename Parse>
  ErrorOr<T> Parse(Kind kind, std::u16string_view text, Parse parse);
  template <typename Format>
  ErrorOr<TextRecord*> FormatWithPattern(std::u16string_view pattern, Format format);

  bool mIgnoreErrors = false;
  bool mClassicExceptions = false;
  std::string mLocale;
  UNumberFormat* mInteger = nullptr;
  UNumberFormat* mDouble = nullptr;
  UNumberFormat* mCurrency = nullptr;
};

// Sets the classic-exceptions flag for a scope and restores it after.
class ClassicExceptionsScope {
 public:
  ClassicExceptionsScope(NumberFormatter& formatter, bool classic)
      : mFormatter(formatter), mSaved(formatter.ClassicExceptions()) {
    formatter.SetClassicExceptions(classic);
  }
  ~ClassicExceptionsScope() { mFormatter.SetClassicExceptions(mSaved); }

 private:
  NumberFormatter& mFormatter;
  bool mSaved;
};

// Sets ignore-errors for one lenient call and clears it after, so that the
// strict readers that share the formatter always find it clear.
class IgnoreErrorsScope {
 public:
  explicit IgnoreErrorsScope(NumberFormatter& formatter) : mFormatter(formatter) {
    formatter.SetIgnoreErrors(true);
  }
  ~IgnoreErrorsScope() { mFormatter.SetIgnoreErrors(false); }

 private:
  NumberFormatter& mFormatter;
};

}  // namespace vela

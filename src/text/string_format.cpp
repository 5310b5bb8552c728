// Format: a number laid out by a pattern of digit places.
//
// Two passes over the chosen section. The survey counts integer and decimal
// places and notes "%", "," and an exponent marker; the number is then
// printed once with as many decimals as the section has decimal places. The
// emitter walks the section again and lines the printed digits up with the
// places: integer places from the right (the leftmost place takes any
// surplus digits), decimal places from the left.
//
// Sections are separated by ";" (positive; negative; zero). The value's sign
// shows only where the section asks for it, through "+", "-" or literal
// parentheses; characters other than places, ".", "+", "-", "%", "(", ")",
// the exponent marker and "\"-escaped ones are dropped.
#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "platform/locale.h"
#include "support/export.h"
#include "text/encoding_convert.h"
#include "text/string_create.h"
#include "text/string_holder.h"
#include "text/string_numbers.h"
#include "vela/classic_strings.h"

namespace vela {
namespace {

struct Survey {
  int intPlaces = 0;
  int decPlaces = 0;
  bool percent = false;
  bool grouping = false;
  bool exponent = false;
};

std::vector<std::string_view> Sections(std::string_view format) {
  std::vector<std::string_view> sections;
  size_t start = 0;
  for (size_t i = 0; i < format.size(); ++i) {
    if (format[i] == '\\') {
      ++i;
    } else if (format[i] == ';' && sections.size() < 2) {
      sections.push_back(format.substr(start, i - start));
      start = i + 1;
    }
  }
  sections.push_back(format.substr(start));
  return sections;
}

Survey SurveySection(std::string_view section) {
  Survey s;
  bool afterPoint = false;
  for (size_t i = 0; i < section.size(); ++i) {
    char c = section[i];
    if (c == '\\') {
      ++i;
    } else if (c == '#' || c == '0') {
      if (s.exponent) continue;
      (afterPoint ? s.decPlaces : s.intPlaces)++;
    } else if (c == '.') {
      afterPoint = true;
    } else if (c == '%') {
      s.percent = true;
    } else if (c == ',') {
      s.grouping = true;
    } else if (c == 'e' || c == 'E') {
      s.exponent = true;
    }
  }
  return s;
}

// printf of one double with `precision` digits, in "%.Nf" or "%.Ne" form.
std::string PrintF(char conversion, int precision, double value) {
  const char format[] = {'%', '.', '*', conversion, '\0'};
  int size = std::snprintf(nullptr, 0, format, precision, value);
  std::string text(size_t(size) + 1, '\0');
  std::snprintf(text.data(), text.size(), format, precision, value);
  text.resize(size_t(size));
  return text;
}

// The magnitude printed for the section, trimmed as the emitter wants it.
std::string PrintDigits(double magnitude, const Survey& s) {
  std::string text;
  if (s.exponent) {
    text = PrintF('e', s.decPlaces, magnitude);
    size_t e = text.find('e');
    if (e != std::string::npos) {
      size_t first = e + 2;  // behind the exponent's sign
      size_t nonzero = text.find_first_not_of('0', first);
      text.erase(first, (nonzero == std::string::npos ? text.size() : nonzero) - first);
      size_t z = e;
      while (z > 0 && text[z - 1] == '0') --z;
      text.erase(z, e - z);
    }
    if (text.back() == 'e') text += "+0";
    if (text.back() == '+' || text.back() == '-') text += '0';
  } else {
    text = PrintF('f', s.decPlaces, magnitude);
    if (s.decPlaces > 0)
      while (!text.empty() && text.back() == '0') text.pop_back();
  }
  size_t lead = text.find_first_not_of(' ');
  return lead == std::string::npos ? std::string() : text.substr(lead);
}

}  // namespace

std::string FormatNumber(double value, std::string_view format, bool localised) {
  // Infinities and NaN have no digits to place: they print as Str prints them.
  if (!std::isfinite(value)) return FormatNumberAuto(value, 7);
  if (format == "Scientific") format = "-#.000000E+";
  std::vector<std::string_view> sections = Sections(format);
  int sign = value < 0 ? -1 : (value > 0 ? 1 : 0);
  std::string_view section = sections[0];
  if (sign < 0 && sections.size() >= 2) section = sections[1];
  if (sign == 0 && sections.size() == 3) section = sections[2];

  Survey survey = SurveySection(section);
  double magnitude = std::fabs(value);
  if (survey.percent) magnitude *= 100;
  // A percentage can scale a finite value to infinity: it prints as Str does.
  if (!std::isfinite(magnitude)) return FormatNumberAuto(sign < 0 ? -magnitude : magnitude, 7);
  std::string printed = PrintDigits(magnitude, survey);
  const platform::NumberSeparators sep =
      localised ? platform::SystemNumberSeparators() : platform::NumberSeparators{};

  size_t point = printed.find('.');
  size_t expAt = printed.find('e');
  if (point == std::string::npos) point = expAt == std::string::npos ? printed.size() : expAt;
  std::string intDigits = printed.substr(0, point);
  std::string fracDigits;
  if (point < printed.size() && printed[point] == '.')
    fracDigits = printed.substr(point + 1, (expAt == std::string::npos ? printed.size() : expAt) -
                                               point - 1);
  std::string expText = expAt == std::string::npos ? std::string() : printed.substr(expAt + 1);

  // What each integer place emits (a place without a digit: "0" pads, "#"
  // stays empty), so that group separators can be placed by the count of
  // integer digits still to come before the point.
  std::vector<std::string> placeText;
  {
    std::string placeChars;
    bool afterPoint = false;
    bool inExponent = false;
    for (size_t i = 0; i < section.size(); ++i) {
      char c = section[i];
      if (c == '\\') ++i;
      else if (c == '.') afterPoint = true;
      else if ((c == 'e' || c == 'E') && !expText.empty()) inExponent = true;
      else if ((c == '#' || c == '0') && !afterPoint && !inExponent) placeChars += c;
    }
    int places = int(placeChars.size());
    int count = int(intDigits.size());
    placeText.resize(size_t(places));
    for (int k = 0; k < places; ++k) {
      int index = count - (places - k);  // the digit lined up with place k
      std::string& text = placeText[size_t(k)];
      if (k == 0 && index > 0) text = intDigits.substr(0, size_t(index) + 1);
      else if (index >= 0) text = intDigits[size_t(index)];
      else if (placeChars[size_t(k)] == '0') text = "0";
    }
  }
  size_t digitsToCome = 0;
  for (const std::string& t : placeText) digitsToCome += t.size();

  std::string out;
  bool afterPoint = false;
  bool inExponent = false;
  int intPlace = 0;
  int decPlace = 0;
  for (size_t i = 0; i < section.size(); ++i) {
    char c = section[i];
    if (c == '\\') {
      if (i + 1 < section.size()) out += section[++i];
    } else if (c == '#' || c == '0') {
      if (inExponent) continue;
      if (!afterPoint) {
        // Both passes count the same places: the marker starts an exponent
        // only when the number has one (a percentage scaled to infinity has
        // none).
        if (size_t(intPlace) >= placeText.size()) continue;
        for (char d : placeText[size_t(intPlace)]) {
          out += d;
          --digitsToCome;
          if (survey.grouping && digitsToCome > 0 && digitsToCome % 3 == 0) out += sep.group;
        }
        ++intPlace;
      } else {
        if (size_t(decPlace) < fracDigits.size()) out += fracDigits[size_t(decPlace)];
        else if (c == '0') out += '0';
        ++decPlace;
      }
    } else if (c == '.') {
      if (!afterPoint) out += sep.decimal;
      afterPoint = true;
    } else if (c == '+') {
      if (sign < 0) out += '-';
      else if (sign > 0) out += '+';
    } else if (c == '-') {
      if (sign < 0) out += '-';
    } else if (c == '%' || c == '(' || c == ')') {
      out += c;
    } else if ((c == 'e' || c == 'E') && !expText.empty()) {
      inExponent = true;
      out += c;
      std::string exp = expText;
      if (i + 1 < section.size() && section[i + 1] == '+') {
        ++i;
        if (exp[0] != '+' && exp[0] != '-') exp.insert(0, 1, '+');
      } else if (i + 1 < section.size() && section[i + 1] == '-') {
        ++i;
        if (exp[0] == '+') exp.erase(0, 1);
      }
      out += exp;
    }
  }
  return out;
}

}  // namespace vela

using namespace vela;

VELA_EXPORT TESSstring StringFormat(double value, TESSstring format, VelaBoolean localised) {
  std::string pattern;
  if (format) {
    StringHolder u = StringHolder::Adopt(ConvertString(format, kEncodingUTF8));
    if (u) pattern.assign(StringText(u.get()), size_t(StringLength(u.get())));
  }
  std::string text = FormatNumber(value, pattern, localised);
  return NewString(text.data(), int32_t(text.size()), kEncodingUTF8);
}

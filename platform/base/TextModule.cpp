#include <unicode/brkiter.h>
#include <unicode/calendar.h>
#include <unicode/decimfmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

#include <cmath>
#include <memory>

#include "base/TextEngine.hpp"

namespace kestrelune {
namespace {

icu::Locale localeOf(std::string_view name) { return icu::Locale(std::string(name).c_str()); }

/// Characters of one UTF-8 text, without a copy of it.
class Characters {
 public:
  explicit Characters(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    text_ = utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status);
    iterator_.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_SUCCESS(status)) iterator_->setText(text_, status);
    good_ = U_SUCCESS(status);
  }
  ~Characters() { utext_close(text_); }
  Characters(const Characters&) = delete;
  Characters& operator=(const Characters&) = delete;

  bool good() const { return good_; }
  icu::BreakIterator& operator*() { return *iterator_; }

 private:
  UText* text_ = nullptr;
  std::unique_ptr<icu::BreakIterator> iterator_;
  bool good_ = false;
};

std::unique_ptr<icu::TimeZone> zoneOf(const std::string& name) {
  if (!name.empty()) return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(name.c_str()));
  return std::unique_ptr<icu::TimeZone>(icu::TimeZone::detectHostTimeZone());
}

std::string toUtf8(const icu::UnicodeString& text) {
  std::string result;
  text.toUTF8String(result);
  return result;
}

class IcuEngine final : public TextEngine {
 public:
  std::size_t count(std::string_view text, std::size_t limit) const override {
    Characters characters(text);
    if (!characters.good()) return text.size();
    std::size_t found = 0;
    while (found < limit && (*characters).next() != icu::BreakIterator::DONE) ++found;
    return found;
  }

  std::size_t prefixLength(std::string_view text, std::size_t count) const override {
    Characters characters(text);
    if (!characters.good()) return text.size();
    for (std::size_t i = 0; i < count; ++i) {
      if ((*characters).next() == icu::BreakIterator::DONE) return text.size();
    }
    return static_cast<std::size_t>((*characters).current());
  }

  std::size_t suffixLength(std::string_view text, std::size_t count) const override {
    Characters characters(text);
    if (!characters.good()) return text.size();
    (*characters).last();
    for (std::size_t i = 0; i < count; ++i) {
      if ((*characters).previous() == icu::BreakIterator::DONE) return text.size();
    }
    return text.size() - static_cast<std::size_t>((*characters).current());
  }

  bool isSpace(char32_t character, bool lineEnds) const override {
    const auto code = static_cast<UChar32>(character);
    if (u_charType(code) == U_SPACE_SEPARATOR || code == '\t') return true;
    return lineEnds && u_isUWhiteSpace(code);
  }

  std::string decimal(double value, int mostFractionDigits, std::string_view locale) const override {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> format(
        icu::NumberFormat::createInstance(localeOf(locale), UNUM_DECIMAL, status));
    if (U_FAILURE(status)) return std::to_string(value);
    format->setMinimumFractionDigits(0);
    format->setMaximumFractionDigits(mostFractionDigits);
    format->setRoundingMode(icu::NumberFormat::kRoundHalfEven);
    icu::UnicodeString text;
    return toUtf8(format->format(value, text));
  }

  std::string formatDate(double seconds, std::string_view pattern, std::string_view locale,
                         const std::string& zone) const override {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString::fromUTF8(std::string(pattern)), localeOf(locale), status);
    if (U_FAILURE(status)) return "";
    format.adoptTimeZone(zoneOf(zone).release());
    icu::UnicodeString text;
    return toUtf8(format.format(seconds * 1000, text));
  }

  long long day(double seconds, const std::string& zone) const override {
    std::int32_t raw = 0, saving = 0;
    UErrorCode status = U_ZERO_ERROR;
    zoneOf(zone)->getOffset(seconds * 1000, false, raw, saving, status);
    const double offset = U_SUCCESS(status) ? (raw + saving) / 1000.0 : 0;
    return static_cast<long long>(std::floor((seconds + offset) / 86400));
  }
};

}  // namespace
}  // namespace kestrelune

[[gnu::visibility("default")]] const kestrelune::TextEngine* kestreluneTextEngine() {
  static const kestrelune::IcuEngine engine;
  return &engine;
}

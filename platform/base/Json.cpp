#include "base/Json.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/Text.hpp"

namespace kestrelune {
namespace {

using Nlohmann = nlohmann::json;

constexpr std::size_t kDeepest = 512;

/// The value of an escape such as \\ud83d at this place; absent: there is none.
std::optional<unsigned> escapedUnit(std::string_view text, std::size_t at) {
  if (text.substr(at, 2) != "\\u" || text.size() < at + 6) return std::nullopt;
  unsigned unit = 0;
  const char* const end = text.data() + at + 6;
  const auto [rest, error] = std::from_chars(end - 4, end, unit, 16);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return unit;
}

bool isHigh(std::optional<unsigned> unit) { return unit && *unit >= 0xd800 && *unit < 0xdc00; }
bool isLow(std::optional<unsigned> unit) { return unit && *unit >= 0xdc00 && *unit < 0xe000; }

/// The text with U+FFFD for each half of a surrogate pair, as a program that cuts UTF-16 leaves it: one damaged
/// character hides nothing else. Empty: it has none.
std::string withoutHalfPairs(std::string_view text) {
  std::string repaired;
  for (std::size_t at = text.find('\\'); at < text.size(); at = text.find('\\', at)) {
    const auto unit = escapedUnit(text, at);
    const bool isPair = isHigh(unit) && isLow(escapedUnit(text, at + 6));
    if (!isPair && (isHigh(unit) || isLow(unit))) {
      if (repaired.empty()) repaired = text;
      repaired.replace(at, 6, "\\ufffd");
    }
    at += isPair ? 12 : unit ? 6 : 2;
  }
  return repaired;
}

/// Builds our value straight from the events of the parser. Stops, by returning false, where the text is no JSON or
/// nests too deep.
class Builder final : public nlohmann::json_sax<Nlohmann> {
 public:
  Builder() = default;
  Builder(std::string_view list, const std::function<void(Json)>& take) : list_(list), take_(&take) {}

  Json root;

  void build(std::string_view text) {
    const std::string repaired = withoutHalfPairs(text);
    if (!repaired.empty()) text = repaired;
    // The parser takes a zero byte for the end, and whatever follows would be let through unread.
    if (text.find('\0') != std::string_view::npos || !Nlohmann::sax_parse(text.begin(), text.end(), this))
      throw JsonError("not JSON");
  }

  bool null() override { return put(Json()); }
  bool boolean(bool value) override { return put(Json(value)); }
  bool number_integer(number_integer_t value) override { return put(Json(static_cast<std::int64_t>(value))); }
  bool number_unsigned(number_unsigned_t value) override {
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      return put(Json(static_cast<double>(value)));
    }
    return put(Json(static_cast<std::int64_t>(value)));
  }
  bool number_float(number_float_t value, const string_t&) override { return put(Json(value)); }
  bool string(string_t& value) override { return put(Json(std::move(value))); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return open(Json(Json::Object{})); }
  bool key(string_t& value) override {
    key_ = std::move(value);
    return true;
  }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(Json(Json::Array{})); }
  bool end_array() override { return close(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

 private:
  Json* place(Json value) {
    if (open_.empty()) {
      root = std::move(value);
      return &root;
    }
    if (Json::Array* array = open_.back()->array()) {
      array->push_back(std::move(value));
      return &array->back();
    }
    Json& slot = (*open_.back()->object())[std::move(key_)];
    slot = std::move(value);
    return &slot;
  }
  bool put(Json value) {
    place(std::move(value));
    handOver();
    return true;
  }
  // Only the last container of each level grows, so the pointers to the open ones stay valid.
  bool open(Json value) {
    if (open_.size() == kDeepest) return false;
    const bool streams = take_ && open_.size() == 1 && key_ == list_ && root.object() && value.array();
    open_.push_back(place(std::move(value)));
    if (streams) streamed_ = open_.back();
    return true;
  }
  bool close() {
    if (open_.back() == streamed_) streamed_ = nullptr;
    open_.pop_back();
    handOver();
    return true;
  }
  /// The element that has just been finished, if it is one of the long array.
  void handOver() {
    if (!streamed_ || open_.back() != streamed_) return;
    Json::Array& array = *streamed_->array();
    (*take_)(std::move(array.back()));
    array.clear();
  }

  std::vector<Json*> open_;
  std::string key_;
  std::string_view list_;
  const std::function<void(Json)>* take_ = nullptr;
  Json* streamed_ = nullptr;  ///< the long array, while it is open
};

void writeString(const std::string& text, std::string& out) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  for (const char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          out += "\\u00";
          out += kHex[(c >> 4) & 15];
          out += kHex[c & 15];
        } else {
          out += c;
        }
    }
  }
  out += '"';
}

void writeValue(const Json& json, std::string& out) {
  if (json.isNull()) {
    out += "null";
  } else if (const bool* boolean = json.boolean()) {
    out += *boolean ? "true" : "false";
  } else if (const std::int64_t* integer = json.integer()) {
    out += std::to_string(*integer);
  } else if (const double* number = json.number()) {
    out += std::isfinite(*number) ? Nlohmann(*number).dump() : "null";
  } else if (const std::string* string = json.string()) {
    writeString(text::isValidUtf8(*string) ? *string : text::repairedUtf8(*string), out);
  } else if (const Json::Array* array = json.array()) {
    out += '[';
    for (const Json& element : *array) {
      if (&element != &array->front()) out += ',';
      writeValue(element, out);
    }
    out += ']';
  } else {
    out += '{';
    bool first = true;
    for (const auto& [key, value] : *json.object()) {
      if (!first) out += ',';
      first = false;
      writeString(key, out);
      out += ':';
      writeValue(value, out);
    }
    out += '}';
  }
}

std::int64_t integral(const Json& json) {
  if (const std::int64_t* integer = json.integer()) return *integer;
  const double* number = json.number();
  // The bounds are the doubles next to the ends of the range.
  if (!number || *number < -9223372036854775808.0 || *number >= 9223372036854775808.0 ||
      std::trunc(*number) != *number) {
    throw JsonError("expected an integer");
  }
  return static_cast<std::int64_t>(*number);
}

}  // namespace

const Json* Json::find(std::string_view key) const {
  const Object* members = object();
  if (!members) return nullptr;
  const auto found = members->find(key);
  return found == members->end() ? nullptr : &found->second;
}

void Json::set(std::string key, Json value) {
  if (isNull()) value_ = Object{};
  if (Object* members = object()) members->insert_or_assign(std::move(key), std::move(value));
}

Json Json::parse(std::string_view text) {
  Builder builder;
  builder.build(text);
  return std::move(builder.root);
}

Json Json::parse(std::string_view text, std::string_view list, const std::function<void(Json)>& take) {
  Builder builder(list, take);
  builder.build(text);
  return std::move(builder.root);
}

std::string Json::write() const {
  std::string out;
  writeValue(*this, out);
  return out;
}

void requireObject(const Json& json) {
  if (!json.object()) throw JsonError("expected an object");
}

void decodeJson(const Json& json, bool& value) {
  const bool* boolean = json.boolean();
  if (!boolean) throw JsonError("expected true or false");
  value = *boolean;
}

void decodeJson(const Json& json, std::int32_t& value) {
  const std::int64_t wide = integral(json);
  if (wide < std::numeric_limits<std::int32_t>::min() || wide > std::numeric_limits<std::int32_t>::max()) {
    throw JsonError("integer out of range");
  }
  value = static_cast<std::int32_t>(wide);
}

void decodeJson(const Json& json, std::int64_t& value) { value = integral(json); }

void decodeJson(const Json& json, double& value) {
  if (const std::int64_t* integer = json.integer()) {
    value = static_cast<double>(*integer);
  } else if (const double* number = json.number()) {
    value = *number;
  } else {
    throw JsonError("expected a number");
  }
}

void decodeJson(const Json& json, std::string& value) {
  const std::string* string = json.string();
  if (!string) throw JsonError("expected a text");
  value = *string;
}

}  // namespace kestrelune

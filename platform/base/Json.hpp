#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kestrelune {

/// Text that isn't JSON, or a value of another type than asked for. `what()` names the key.
class JsonError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A JSON value. Objects are kept sorted by key, so that what is written is the same for equal values.
class Json {
 public:
  using Array = std::vector<Json>;
  using Object = std::map<std::string, Json, std::less<>>;

  Json() = default;
  Json(std::nullptr_t) {}
  Json(bool value) : value_(value) {}
  Json(int value) : value_(static_cast<std::int64_t>(value)) {}
  Json(std::int64_t value) : value_(value) {}
  Json(double value) : value_(value) {}
  Json(const char* value) : value_(std::string(value)) {}
  Json(std::string value) : value_(std::move(value)) {}
  Json(std::string_view value) : value_(std::string(value)) {}
  Json(Array value) : value_(std::move(value)) {}
  Json(Object value) : value_(std::move(value)) {}

  bool operator==(const Json&) const = default;

  bool isNull() const { return std::holds_alternative<std::monostate>(value_); }
  /// The value as that alternative, or null when it is of another type. An integral number is only found as the type
  /// in which it was written; use `decodeJson` to read numbers.
  const bool* boolean() const { return std::get_if<bool>(&value_); }
  const std::int64_t* integer() const { return std::get_if<std::int64_t>(&value_); }
  const double* number() const { return std::get_if<double>(&value_); }
  const std::string* string() const { return std::get_if<std::string>(&value_); }
  const Array* array() const { return std::get_if<Array>(&value_); }
  const Object* object() const { return std::get_if<Object>(&value_); }
  Array* array() { return std::get_if<Array>(&value_); }
  Object* object() { return std::get_if<Object>(&value_); }

  /// The member of an object; null for an absent member and for anything that is no object.
  const Json* find(std::string_view key) const;
  /// Sets a member; a null value becomes an object first.
  void set(std::string key, Json value);
  /// Sets a member only when there is a value.
  template <class T>
  void setIfPresent(std::string key, const std::optional<T>& value) {
    if (value) set(std::move(key), Json(*value));
  }

  /// Reads one whole UTF-8 JSON text. Throws `JsonError` for anything else: invalid UTF-8, trailing text, nesting
  /// deeper than 512.
  static Json parse(std::string_view text);
  /// The same for an object with a long array in its member `list`: each element is handed to `take` as it is read and
  /// isn't kept, so that the array is empty in what comes back. What `take` throws ends the reading.
  static Json parse(std::string_view text, std::string_view list, const std::function<void(Json)>& take);
  /// Compact, keys sorted, no trailing line feed. Invalid UTF-8 in strings is repaired.
  std::string write() const;

 private:
  std::variant<std::monostate, bool, std::int64_t, double, std::string, Array, Object> value_;
};

/// Strict decoding of one value: a wrong type, or an integer that doesn't fit, throws `JsonError`. A number with an
/// integral value is an integer.
void decodeJson(const Json& json, bool& value);
void decodeJson(const Json& json, std::int32_t& value);
void decodeJson(const Json& json, std::int64_t& value);
void decodeJson(const Json& json, double& value);
void decodeJson(const Json& json, std::string& value);

/// A record is decoded by a `decodeJson(const Json&, Record&)` in its own namespace.
template <class T>
void decodeJson(const Json& json, std::vector<T>& values) {
  const Json::Array* array = json.array();
  if (!array) throw JsonError("expected an array");
  values.clear();
  values.reserve(array->size());
  for (const Json& element : *array) {
    T value{};
    decodeJson(element, value);
    values.push_back(std::move(value));
  }
}

/// Reads an optional member: absent and null are one.
template <class T>
void decodeMember(const Json& object, std::string_view key, std::optional<T>& value) {
  const Json* member = object.find(key);
  value.reset();
  if (!member || member->isNull()) return;
  try {
    T decoded{};
    decodeJson(*member, decoded);
    value = std::move(decoded);
  } catch (const JsonError& error) {
    throw JsonError(std::string(key) + ": " + error.what());
  }
}

/// Reads a required member; an absent or null one throws.
template <class T>
void decodeMember(const Json& object, std::string_view key, T& value) {
  std::optional<T> member;
  decodeMember(object, key, member);
  if (!member) throw JsonError(std::string(key) + ": missing");
  value = std::move(*member);
}

/// Throws unless the value is an object. The first line of each record's `decodeJson`.
void requireObject(const Json& json);

}  // namespace kestrelune

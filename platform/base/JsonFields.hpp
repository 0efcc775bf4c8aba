#pragma once

#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/Json.hpp"

/// Writes and reads a record by one list of its fields: `template <class F> void fields(F& field, Record& record)`
/// calls `field("key", record.member)` for each. A member that equals its default is left out, and an absent one is
/// that default; a wrong type throws `JsonError`.
namespace kestrelune::jsonFields {

/// An enumeration travels as its number, up to that of its last value.
template <class Enum>
struct Choice {
  Enum& value;
  Enum last;
};

class Writer {
 public:
  explicit Writer(Json& object) : object_(object) {}

  template <class T>
  void operator()(const char* key, T& member) {
    if (member != T{}) object_.set(key, encode(member));
  }
  template <class T>
  void operator()(const char* key, T& member, const T& usual) {
    if (member != usual) object_.set(key, encode(member));
  }
  template <class Enum>
  void operator()(const char* key, Choice<Enum> choice) {
    if (choice.value != Enum{}) object_.set(key, static_cast<int>(choice.value));
  }

  template <class T>
  static Json encode(T& member) {
    if constexpr (std::is_constructible_v<Json, const T&>) {
      return Json(member);
    } else {
      return encodeRecord(member);
    }
  }
  template <class T>
  static Json encode(std::optional<T>& member) {
    return encode(*member);
  }
  static Json encode(std::string& member) { return Json(member); }
  template <class T>
  static Json encode(std::vector<T>& member) {
    Json::Array array;
    array.reserve(member.size());
    for (T& element : member) array.push_back(encode(element));
    return Json(std::move(array));
  }
  template <class T>
  static Json encodeRecord(T& record) {
    Json object = Json::Object{};
    Writer writer(object);
    fields(writer, record);
    return object;
  }

 private:
  Json& object_;
};

class Reader {
 public:
  /// `levels`: how deep records may nest from here.
  Reader(const Json& object, int levels) : object_(object), levels_(levels) {
    requireObject(object);
    if (levels < 0) throw JsonError("nested too deep");
  }

  template <class T>
  void operator()(const char* key, T& member) {
    const Json* json = object_.find(key);
    if (json && !json->isNull()) read(*json, member);
  }
  template <class T>
  void operator()(const char* key, T& member, const T& usual) {
    member = usual;
    (*this)(key, member);
  }
  template <class Enum>
  void operator()(const char* key, Choice<Enum> choice) {
    std::int32_t number = 0;
    (*this)(key, number);
    if (number < 0 || number > static_cast<int>(choice.last)) throw JsonError(std::string(key) + ": unknown value");
    choice.value = static_cast<Enum>(number);
  }

 private:
  template <class T>
  void read(const Json& json, T& member) {
    if constexpr (std::is_class_v<T> && !std::is_same_v<T, std::string>) {
      Reader reader(json, levels_ - 1);
      fields(reader, member);
    } else {
      decodeJson(json, member);
    }
  }
  template <class T>
  void read(const Json& json, std::optional<T>& member) {
    member = T();
    read(json, *member);
  }
  template <class T>
  void read(const Json& json, std::vector<T>& member) {
    const Json::Array* array = json.array();
    if (!array) throw JsonError("expected an array");
    member.reserve(array->size());
    for (const Json& element : *array) read(element, member.emplace_back());
  }

  const Json& object_;
  const int levels_;
};

template <class T>
Json write(const T& record) {
  // The list of fields serves both ways and so takes the record unqualified; writing changes nothing.
  return Writer::encodeRecord(const_cast<T&>(record));
}

template <class T>
void read(const Json& json, T& record, int levels) {
  Reader reader(json, levels);
  fields(reader, record);
}

}  // namespace kestrelune::jsonFields

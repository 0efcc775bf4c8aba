#pragma once

#include <cstddef>
#include <utility>

namespace kestrelune {

/// An open descriptor that is closed with its owner.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { reset(); }

  int number() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }
  void reset();

 private:
  int number_ = -1;
};

/// Writes all bytes, waiting where it must. A reader that has gone is an error number (EPIPE), never a signal.
int writeAll(int descriptor, const char* bytes, std::size_t size);

}  // namespace kestrelune

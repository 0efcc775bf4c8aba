#include <cstdio>
#include <cstring>

#include "base/Move.hpp"

/// Gives a file or folder another path, also across file systems, so that at each moment a whole one stands at one of
/// the two. Nothing may stand at the new path.
int main(int count, char** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: %s FROM TO\n", arguments[0]);
    return 2;
  }
  const int error = kestrelune::moveItem(kestrelune::systemFiles(), arguments[1], arguments[2]);
  if (error != 0) std::fprintf(stderr, "move: %s: %s\n", arguments[1], std::strerror(error));
  return error == 0 ? 0 : 1;
}

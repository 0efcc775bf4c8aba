#include <fstream>

#include "screen/Rights.hpp"

namespace {

/// False: it can't be made.
bool write(std::ofstream& out, const char* name, bool hasNetwork) {
  const auto program = kestrelune::calls::compiled(kestrelune::screenFilter(hasNetwork));
  out << "constexpr sock_filter " << name << "[] = {\n";
  for (const sock_filter& step : program)
    out << "    {" << step.code << ", " << int{step.jt} << ", " << int{step.jf} << ", " << step.k << "u},\n";
  out << "};\n";
  return !program.empty();
}

}  // namespace

/// Writes the screen's filters of system calls as a header: it starts too often, and in front of the user, to make them
/// each time.
int main(int count, char** arguments) {
  if (count != 2) return 2;
  std::ofstream out(arguments[1]);
  out << "#pragma once\n\n#include <linux/filter.h>\n\nnamespace kestrelune {\n\n";
  const bool made = write(out, "kScreenFilter", false) && write(out, "kScreenFilterWithNetwork", true);
  out << "\n}  // namespace kestrelune\n";
  return made && out.flush() ? 0 : 1;
}

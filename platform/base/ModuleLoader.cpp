#include "base/ModuleLoader.hpp"

#include <dlfcn.h>

namespace kestrelune {

void* loadModule(const char* file, const char* function) {
  void* module = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  return module ? dlsym(module, function) : nullptr;
}

}  // namespace kestrelune

#pragma once

namespace kestrelune {

/// Loads a module of ours that lies where the program's library path points, and gives the address of its one
/// function. Null where it can't be loaded. A loaded module stays.
void* loadModule(const char* file, const char* function);

}  // namespace kestrelune

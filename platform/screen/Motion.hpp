#pragma once

/// Whether what moves may move.
namespace kestrelune::motion {

/// The user wants things to stand still.
void setReduced(bool reduced);
bool isReduced();

}  // namespace kestrelune::motion

#pragma once

/// Questions to the X server that the toolkit doesn't ask, or asks only once. All are false elsewhere.
namespace kestrelune::xserver {

bool inUse();
/// A tray of the old kind, for icons that are windows.
bool hasTray();
/// Somebody who takes over the clipboard from programs that end.
bool hasClipboardManager();
/// Somebody who blends windows: without one, what is transparent is black.
bool hasCompositor();

}  // namespace kestrelune::xserver

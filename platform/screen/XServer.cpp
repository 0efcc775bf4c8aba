#include "XServer.hpp"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace kestrelune::xserver {
namespace {

struct Free {
  void operator()(void* answer) const { std::free(answer); }
};

bool hasOwner(const QByteArray& selection) {
  if (!inUse()) return false;
  const auto* application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  xcb_connection_t* server = application->connection();
  const std::unique_ptr<xcb_intern_atom_reply_t, Free> atom(xcb_intern_atom_reply(
      server, xcb_intern_atom(server, 1, static_cast<std::uint16_t>(selection.size()), selection.constData()),
      nullptr));
  if (!atom || atom->atom == XCB_ATOM_NONE) return false;
  const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> owner(
      xcb_get_selection_owner_reply(server, xcb_get_selection_owner(server, atom->atom), nullptr));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

}  // namespace

bool inUse() { return QGuiApplication::platformName() == "xcb"; }
bool hasTray() { return hasOwner("_NET_SYSTEM_TRAY_S0"); }
bool hasClipboardManager() { return hasOwner("CLIPBOARD_MANAGER"); }
bool hasCompositor() { return hasOwner("_NET_WM_CM_S0"); }

}  // namespace kestrelune::xserver

#include "XServer.hpp"

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <QGuiApplication>
#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

namespace kestrelune::xserver {
namespace {

/// In milliseconds: a tray takes its selection before it is ready for icons.
constexpr int kSettles = 200;

struct Free {
  void operator()(void* answer) const { std::free(answer); }
};

xcb_connection_t* server() { return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection(); }

/// The server's numbers for the names that are asked about. It is asked for all at once, since at a start each answer
/// is waited for.
struct Atoms {
  xcb_atom_t tray = XCB_ATOM_NONE, clipboardManager = XCB_ATOM_NONE, compositor = XCB_ATOM_NONE;
};

Atoms askForAtoms() {
  constexpr std::array<std::string_view, 3> kNames = {"_NET_SYSTEM_TRAY_S0", "CLIPBOARD_MANAGER", "_NET_WM_CM_S0"};
  std::array<xcb_intern_atom_cookie_t, kNames.size()> asked{};
  std::array<xcb_atom_t, kNames.size()> got{};
  for (std::size_t i = 0; i < kNames.size(); ++i)
    asked[i] = xcb_intern_atom(server(), 0, static_cast<std::uint16_t>(kNames[i].size()), kNames[i].data());
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> answer(xcb_intern_atom_reply(server(), asked[i], nullptr));
    if (answer) got[i] = answer->atom;
  }
  return {got[0], got[1], got[2]};
}

const Atoms& atoms() {
  static const Atoms known = askForAtoms();
  return known;
}

bool hasOwner(xcb_atom_t Atoms::*selection) {
  if (!inUse()) return false;
  const std::unique_ptr<xcb_get_selection_owner_reply_t, Free> owner(
      xcb_get_selection_owner_reply(server(), xcb_get_selection_owner(server(), atoms().*selection), nullptr));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

}  // namespace

bool inUse() { return QGuiApplication::platformName() == "xcb"; }
bool isXwayland() { return inUse() && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"); }
bool hasTray() { return hasOwner(&Atoms::tray); }
bool hasClipboardManager() { return hasOwner(&Atoms::clipboardManager); }
bool hasCompositor() { return hasOwner(&Atoms::compositor); }

TrayWatch::TrayWatch(std::function<void()> changed) {
  settled_.setSingleShot(true);
  settled_.setInterval(kSettles);
  QObject::connect(&settled_, &QTimer::timeout, std::move(changed));
  if (!inUse()) return;
  xcb_prefetch_extension_data(server(), &xcb_xfixes_id);
  selection_ = atoms().tray;
  const xcb_query_extension_reply_t* extension = xcb_get_extension_data(server(), &xcb_xfixes_id);
  if (!extension || !extension->present) return;
  // The server answers nothing of an extension before it was told a version, and the toolkit has told it this one.
  const auto told = xcb_xfixes_query_version(server(), XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION);
  xcb_discard_reply(server(), told.sequence);
  event_ = static_cast<std::uint8_t>(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
  const std::uint32_t kinds = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
  xcb_xfixes_select_selection_input(server(), xcb_setup_roots_iterator(xcb_get_setup(server())).data->root, selection_,
                                    kinds);
  xcb_flush(server());
  qGuiApp->installNativeEventFilter(this);
}

TrayWatch::~TrayWatch() {
  if (qGuiApp) qGuiApp->removeNativeEventFilter(this);
}

bool TrayWatch::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
  if (type != "xcb_generic_event_t") return false;
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  const bool told = (event->response_type & 0x7f) == event_ &&
                    reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event)->selection == selection_;
  if (told) settled_.start();
  return false;
}

}  // namespace kestrelune::xserver

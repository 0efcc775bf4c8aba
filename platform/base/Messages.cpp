#include "base/Messages.hpp"

#include <utility>

#include "base/ViewFields.hpp"

namespace kestrelune {

template <class F>
void fields(F& field, Rect& rect) {
  field("x", rect.x);
  field("y", rect.y);
  field("width", rect.width);
  field("height", rect.height);
}

template <class F>
void fields(F& field, Color& color) {
  int red = color.red, green = color.green, blue = color.blue;
  field("red", red);
  field("green", green);
  field("blue", blue);
  color = {static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green), static_cast<std::uint8_t>(blue)};
}

template <class F>
void fields(F& field, StatusItemLook& look) {
  field("dot", look.dot);
  field("pill", look.pill);
  field("tone", jsonFields::Choice<StatusItemLook::PillTone>{look.tone, StatusItemLook::PillTone::running});
  field("toolTip", look.toolTip);
  field("accessibilityLabel", look.accessibilityLabel);
}

template <class F>
void fields(F& field, WindowSpec& spec) {
  field("id", spec.id);
  field("title", spec.title);
  field("width", spec.width, 520.0);
  field("height", spec.height, 320.0);
  field("minWidth", spec.minWidth);
  field("minHeight", spec.minHeight);
  field("resizable", spec.resizable);
  field("heightFollowsContent", spec.heightFollowsContent);
  field("frame", spec.frame);
}

template <class F>
void fields(F& field, ViewEvent& event) {
  field("node", event.node);
  field("value", event.value);
}

template <class F>
void fields(F& field, Question::Field& editable) {
  field("text", editable.text);
  field("placeholder", editable.placeholder);
  field("width", editable.width, 300.0);
  field("height", editable.height, 24.0);
  field("multiline", editable.multiline);
}

template <class F>
void fields(F& field, Question& question) {
  field("title", question.title);
  field("text", question.text);
  field("buttons", question.buttons);
  field("cancelButton", question.cancelButton, -1);
  field("field", question.field);
}

template <class F>
void fields(F& field, MenuChoice& choice) {
  field("part", jsonFields::Choice<MenuChoice::Part>{choice.part, MenuChoice::Part::done});
  field("represented", choice.represented);
  field("settleKey", choice.settleKey);
}

namespace messages {

// The fields of each message.
// clang-format off
template <class F> void fields(F& field, Hello& m) { field("version", m.version, 0); field("language", m.language); }
template <class F> void fields(F& field, ShowWindow& m) { field("spec", m.spec); field("tree", m.tree); field("activationToken", m.activationToken); }
template <class F> void fields(F& field, RaiseWindow& m) { field("id", m.id); field("activationToken", m.activationToken); }
template <class F> void fields(F& field, CloseWindow& m) { field("id", m.id); }
template <class F> void fields(F& field, Ask& m) { field("id", m.id); field("question", m.question); field("activationToken", m.activationToken); }
template <class F> void fields(F& field, RaiseQuestion& m) { field("id", m.id); field("activationToken", m.activationToken); }
template <class F> void fields(F& field, MenuPlace& m) { field("x", m.x); field("y", m.y); }
template <class F> void fields(F& field, ShowMenu& m) { field("id", m.id); field("menu", m.menu); field("place", m.place); }
template <class F> void fields(F& field, UpdateMenu& m) { field("id", m.id); field("menu", m.menu); }
template <class F> void fields(F&, CloseMenu&) {}
template <class F> void fields(F& field, ShowStatusItem& m) { field("visible", m.visible); field("look", m.look); }
template <class F> void fields(F& field, Copy& m) { field("text", m.text); }
template <class F> void fields(F& field, AskBounds& m) { field("id", m.id); }
template <class F> void fields(F&, Quit&) {}
template <class F> void fields(F& field, Ready& m) { field("version", m.version, 0); field("placesPopups", m.placesPopups); field("throughXwayland", m.throughXwayland); field("statusItemForm", m.statusItemForm); }
template <class F> void fields(F& field, WindowEvent& m) { field("window", m.window); field("event", m.event); }
template <class F> void fields(F& field, WindowClosed& m) { field("window", m.window); }
template <class F> void fields(F& field, WindowFrame& m) { field("window", m.window); field("frame", m.frame); }
template <class F> void fields(F& field, Answered& m) { field("id", m.id); field("button", m.button); field("text", m.text); }
template <class F> void fields(F&, StatusItemClicked&) {}
template <class F> void fields(F& field, MenuOpened& m) { field("id", m.id); }
template <class F> void fields(F& field, MenuClosed& m) { field("id", m.id); }
template <class F> void fields(F& field, MenuChosen& m) { field("id", m.id); field("choice", m.choice); }
template <class F> void fields(F& field, Bounds& m) { field("id", m.id); field("frames", m.frames); }
template <class F> void fields(F& field, StatusItemForm& m) { field("form", m.form); }
template <class F> void fields(F&, Idle&) {}
// clang-format on

namespace {

/// More than the deepest view and what holds it.
constexpr int kDeepest = 68;

// The name of each message.
const char* typeOf(const Hello&) { return "hello"; }
const char* typeOf(const ShowWindow&) { return "showWindow"; }
const char* typeOf(const RaiseWindow&) { return "raiseWindow"; }
const char* typeOf(const CloseWindow&) { return "closeWindow"; }
const char* typeOf(const Ask&) { return "ask"; }
const char* typeOf(const RaiseQuestion&) { return "raiseQuestion"; }
const char* typeOf(const ShowMenu&) { return "showMenu"; }
const char* typeOf(const UpdateMenu&) { return "updateMenu"; }
const char* typeOf(const CloseMenu&) { return "closeMenu"; }
const char* typeOf(const ShowStatusItem&) { return "showStatusItem"; }
const char* typeOf(const Copy&) { return "copy"; }
const char* typeOf(const AskBounds&) { return "askBounds"; }
const char* typeOf(const Quit&) { return "quit"; }
const char* typeOf(const Ready&) { return "ready"; }
const char* typeOf(const WindowEvent&) { return "windowEvent"; }
const char* typeOf(const WindowClosed&) { return "windowClosed"; }
const char* typeOf(const WindowFrame&) { return "windowFrame"; }
const char* typeOf(const Answered&) { return "answered"; }
const char* typeOf(const StatusItemClicked&) { return "statusItemClicked"; }
const char* typeOf(const MenuOpened&) { return "menuOpened"; }
const char* typeOf(const MenuClosed&) { return "menuClosed"; }
const char* typeOf(const MenuChosen&) { return "menuChosen"; }
const char* typeOf(const Bounds&) { return "bounds"; }
const char* typeOf(const StatusItemForm&) { return "statusItemForm"; }
const char* typeOf(const Idle&) { return "idle"; }

template <class Message>
std::string encodeAny(const Message& message) {
  Json json = std::visit([](const auto& each) { return jsonFields::write(each); }, message);
  json.set("type", std::visit([](const auto& each) { return typeOf(each); }, message));
  return json.write() + "\n";
}

template <class Message, std::size_t index = 0>
Message decodeAs(const Json& json, const std::string& type) {
  if constexpr (index < std::variant_size_v<Message>) {
    std::variant_alternative_t<index, Message> each{};
    if (type == typeOf(each)) {
      jsonFields::read(json, each, kDeepest);
      return each;
    }
    return decodeAs<Message, index + 1>(json, type);
  } else {
    throw JsonError("unknown message: " + type);
  }
}

template <class Message>
Message decodeAny(std::string_view line) {
  const Json json = Json::parse(line);
  requireObject(json);
  std::string type;
  decodeMember(json, "type", type);
  return decodeAs<Message>(json, type);
}

}  // namespace

std::string encode(const Down& message) { return encodeAny(message); }
std::string encode(const Up& message) { return encodeAny(message); }
Down decodeDown(std::string_view line) { return decodeAny<Down>(line); }
Up decodeUp(std::string_view line) { return decodeAny<Up>(line); }

}  // namespace messages
}  // namespace kestrelune

#include "FakeSession.hpp"

namespace kestrelune {
namespace {

const MenuRow* findRow(const MenuTree& menu, const std::string& title) {
  for (const MenuRow& row : menu) {
    if (row.title == title) return &row;
    if (const MenuRow* child = findRow(row.children, title)) return child;
  }
  return nullptr;
}

void collectTexts(const View& view, std::string& texts) {
  for (const std::string* text : {&view.text, &view.detail})
    if (!text->empty()) texts += *text + "\n";
  for (const View& child : view.children) collectTexts(child, texts);
}

}  // namespace

void FakeStatusItem::show(const StatusItemLook& newLook) {
  if (newLook == look) return;
  look = newLook;
  ++looks;
}

void FakeStatusItem::setMenu(const MenuTree& newMenu) {
  menu = newMenu;
  ++menus;
}

void FakeStatusItem::openMenu() {
  events_.menuWillOpen();
  open = true;
}

void FakeStatusItem::cancelTracking() {
  open = false;
  ++cancels;
}

const MenuRow* FakeStatusItem::row(const std::string& title) const { return findRow(menu, title); }

bool FakeStatusItem::choose(const std::string& title) { return press(title, MenuChoice::Part::row); }

bool FakeStatusItem::press(const std::string& title, MenuChoice::Part part) {
  const MenuRow* row = findRow(menu, title);
  if (!row) return false;
  const bool isButton = part != MenuChoice::Part::row;
  if (isButton ? row->settleKey.empty() : !row->enabled) return false;
  const MenuChoice choice{part, row->represented, row->settleKey};
  open = false;
  events_.chosen(choice);
  return true;
}

void FakeWindows::show(const WindowSpec& spec, const View& tree, Events events) {
  shown[spec.id] = Shown{spec, tree, std::move(events)};
}

void FakeWindows::update(const std::string& id, const View& tree) {
  const auto found = shown.find(id);
  if (found == shown.end() || found->second.tree == tree) return;
  found->second.tree = tree;
  ++updates;
}

void FakeWindows::bounds(std::function<void(std::vector<Rect>)> answer) {
  loop_.post([answer = std::move(answer), found = frames] { answer(found); });
}

const View* FakeWindows::node(const std::string& window, const std::string& key) const {
  const auto found = shown.find(window);
  return found == shown.end() ? nullptr : findView(found->second.tree, key);
}

bool FakeWindows::press(const std::string& window, const std::string& key, const std::string& value) {
  const View* pressed = node(window, key);
  if (!pressed || !pressed->enabled) return false;
  const auto event = shown.at(window).events.event;
  event(ViewEvent{key, value});
  return true;
}

void FakeWindows::userCloses(const std::string& window) {
  const auto found = shown.find(window);
  if (found == shown.end()) return;
  const auto closed = found->second.events.closed;
  shown.erase(found);
  if (closed) closed();
}

std::string FakeWindows::texts(const std::string& window) const {
  std::string all;
  const auto found = shown.find(window);
  if (found != shown.end()) collectTexts(found->second.tree, all);
  return all;
}

void FakeAlert::ask(const Question& question, std::function<void(const Answer&)> answered) {
  asked.push_back(question);
  open_.push_back(std::move(answered));
  if (answers.empty()) return;
  const Answer next = answers.front();
  answers.pop_front();
  answer(next);
}

void FakeAlert::answer(const Answer& given) {
  const auto answered = std::move(open_.front());
  open_.pop_front();
  loop_.post([answered, given] { answered(given); });
}

bool FakePasteboard::copy(const std::string& copied) {
  if (available) text = copied;
  return available;
}

void FakeWorkspace::open(const Url& url, std::function<void(bool)> opened) {
  links.push_back(url.text());
  loop_.post([opened = std::move(opened), done = opens] { opened(done); });
}

void FakeWorkspace::canOpen(const Url&, std::function<void(bool)> answer) {
  loop_.post([answer = std::move(answer), handled = handles] { answer(handled); });
}

void FakeWorkspace::openApplication(const std::string& identifier, std::function<void(bool)> opened) {
  applications.push_back(identifier);
  loop_.post([opened = std::move(opened), done = hasApplications] { opened(done); });
}

void FakeNotificationCenter::deliver(const Notification& notification, std::function<void(const std::string&)> failed) {
  if (failure.empty()) {
    delivered.push_back(notification);
    return;
  }
  loop_.post([failed = std::move(failed), reason = failure] { failed(reason); });
}

std::string FakeLoginItem::registerItem(bool asked) {
  calls.push_back(asked ? "register, asked" : "register");
  if (failure.empty() && (asked || state != Status::requiresApproval)) state = Status::enabled;
  return failure;
}

std::string FakeLoginItem::unregister() {
  calls.push_back("unregister");
  if (failure.empty()) state = Status::notRegistered;
  return failure;
}

void FakeTerminal::run(const std::string& command, std::function<void(const std::string&)> failed) {
  commands.push_back(command);
  if (failure.empty()) return;
  loop_.post([failed = std::move(failed), reason = failure] { failed(reason); });
}

}  // namespace kestrelune

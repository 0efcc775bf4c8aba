#include "SetupWindowViews.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "SetupCopy.hpp"
#include "Strings.hpp"
#include "ViewParts.hpp"
#include "base/Text.hpp"

namespace kestrelune::SetupWindowViews {
namespace {

using Key = SetupCopy::Key;
using Kind = View::Kind;
using namespace ViewParts;

/// Between an icon and its text; the room of a check box before its title.
constexpr double kIconGap = 9, kBoxRoom = 26;

std::string copy(Key key) { return SetupCopy::text(key); }
std::string copy(Key key, const std::string& value) { return SetupCopy::filled(key, {value}); }

View heading(const std::string& text) { return label(text, View::Role::title, true); }

View button(const char* key, const std::string& title, View::ButtonStyle style = View::ButtonStyle::normal) {
  return {.kind = Kind::button, .key = key, .text = title, .style = style};
}
View primary(const char* key, const std::string& title) { return button(key, title, View::ButtonStyle::primary); }

View statusLine(const std::string& text, bool ok) {
  return {.kind = Kind::row,
          .oneElement = true,
          .spacing = kIconGap,
          .children = {{.kind = Kind::icon,
                        .tint = ok ? View::Tint::green : View::Tint::orange,
                        .icon = ok ? View::Icon::checkCircle : View::Icon::exclamationCircle},
                       label(text)}};
}

View progress(SetupStep step) {
  const int number = static_cast<int>(step) + 1;
  const std::string said = text::filled(copy(Key::stepOf), {static_cast<long long>(number)});
  return stack({secondary(said), {.kind = Kind::progress, .name = said, .count = number, .total = 3}}, 4);
}

/// Back at the left, then what else can be done, the primary button last.
View buttons(View primaryButton, std::vector<View> others = {}, std::optional<View> back = std::nullopt) {
  View row{.kind = Kind::row, .key = "buttons", .spacing = 8};
  if (back) row.children.push_back(std::move(*back));
  row.children.push_back({.kind = Kind::spacer});
  for (View& each : others) row.children.push_back(std::move(each));
  row.children.push_back(std::move(primaryButton));
  return row;
}

using Children = std::vector<View>;

void renderAccount(const SetupWindowModel& model, Children& children) {
  const bool done = SetupFlow::accountDone(model.snapshot);
  using State = SetupRunner::State;
  if (model.install.kind == State::Case::running) {
    children.insert(children.end(), {heading(copy(Key::waitingTitle)), label(copy(Key::waitingBody)),
                                     View{.kind = Kind::spinner, .name = copy(Key::waitingTitle)}});
    return;
  }
  if (model.needsMove && !done) {
    children.insert(children.end(), {heading(copy(Key::moveTitle)), label(copy(Key::moveBody)),
                                     buttons(primary(SetupKeys::kOpenApplications, copy(Key::openApplications)),
                                             {button(SetupKeys::kQuit, copy(Key::quitApp))})});
    return;
  }
  children.push_back(heading(copy(Key::welcomeTitle)));
  children.push_back(label(copy(Key::welcomeBody)));
  if (done) {
    children.push_back(statusLine(copy(Key::accountDone), true));
    children.push_back(buttons(primary(SetupKeys::kContinueFromAccount, copy(Key::continueButton))));
    return;
  }
  const bool failed = model.install.kind == State::Case::finished && model.install.code != 0;
  if (failed) {
    const std::string& line = model.install.lastLine;
    children.push_back(
        statusLine(copy(Key::accountFailed, line.empty() ? Copy::text(Copy::Key::setupFailed) : line), false));
  }
  View signIn = primary(SetupKeys::kSignIn, copy(failed ? Key::tryAgain : Key::signIn));
  signIn.enabled = !model.checkingUpdate;
  children.push_back(buttons(std::move(signIn)));
  children.push_back(footnote(copy(Key::signInNote)));
}

View assistants(const SetupWindowModel& model) {
  View group{.kind = Kind::radioGroup, .key = SetupKeys::kAssistants, .name = copy(Key::aiTitle), .spacing = 8};
  for (const auto id : SetupFlow::kAssistants) {
    const std::string family(id);
    const bool connected = SetupFlow::connected(family, model.snapshot);
    const std::string detail = (connected ? "✓ " : "") + SetupFlow::tileDetail(family);
    group.children.push_back({.kind = Kind::option,
                              .key = family,
                              .text = Copy::familyName(family),
                              .detail = detail,
                              .help = detail,
                              .on = model.chosen == family});
  }
  return group;
}

void renderAI(const SetupWindowModel& model, Children& children) {
  children.push_back(heading(copy(Key::aiTitle)));
  children.push_back(label(copy(Key::aiBody)));
  children.push_back(assistants(model));

  View next = primary(SetupKeys::kContinueFromAI, copy(Key::continueButton));
  if (!model.chosen) {
    next = primary(SetupKeys::kConnect, copy(Key::connect, "…"));
    next.enabled = false;
  } else {
    const std::string name = Copy::familyName(*model.chosen);
    if (SetupFlow::connected(*model.chosen, model.snapshot)) {
      children.push_back(statusLine(copy(Key::aiConnected, name), true));
    } else if (!model.opened.contains(*model.chosen)) {
      next = primary(SetupKeys::kConnect, copy(Key::connect, name));
    } else {
      children.push_back(label(SetupFlow::guide(*model.chosen).value_or(copy(Key::connectOpened))));
    }
  }
  children.push_back(buttons(std::move(next), {button(SetupKeys::kSkip, copy(Key::skip))},
                             button(SetupKeys::kBackToAccount, copy(Key::back))));
}

View appIcon(SetupAppRow::Kind kind) {
  using RowKind = SetupAppRow::Kind;
  switch (kind) {
    case RowKind::ready: return {.kind = Kind::icon, .tint = View::Tint::green, .icon = View::Icon::checkCircle};
    case RowKind::needsUpdate:
    case RowKind::signedOut:
      return {.kind = Kind::icon, .tint = View::Tint::orange, .icon = View::Icon::exclamationCircle};
    case RowKind::limited: return {.kind = Kind::icon, .tint = View::Tint::orange, .icon = View::Icon::clock};
    case RowKind::notInstalled:
    case RowKind::unknown: break;
  }
  return {.kind = Kind::icon, .tint = View::Tint::tertiary, .icon = View::Icon::minusCircle};
}

View appRow(const SetupAppRow& row, std::size_t index) {
  View texts = stack({label(row.title)}, 1);
  View detail = secondary(row.detail);
  detail.role = View::Role::caption;
  texts.children.push_back(std::move(detail));
  View view{.kind = Kind::row,
            .key = "row/" + row.host + "/" + std::to_string(index),
            .name = row.title + ", " + row.detail,
            .spacing = kIconGap};
  view.children = {appIcon(row.kind), std::move(texts), View{.kind = Kind::spacer}};
  if (const auto title = row.actionTitle()) {
    const std::string key = SetupKeys::kAppRow + std::to_string(index);
    View act = button(key.c_str(), *title);
    act.help = view.name;
    view.children.push_back(std::move(act));
  } else if (row.kind == SetupAppRow::Kind::ready) {
    view.children.push_back({.kind = Kind::text, .text = copy(Key::ready), .tint = View::Tint::green});
  }
  return view;
}

/// As far from the edge as the text of a check box.
View indented(View view) {
  return {.kind = Kind::row,
          .spacing = 0,
          .children = {{.kind = Kind::spacer, .width = kBoxRoom}, stack({std::move(view)})}};
}

void addSharedTools(const std::optional<SharedToolsState>& state, Children& children) {
  if (!state) return;
  const std::vector<SharedTool> shown = state->shown();
  if (shown.empty()) return;
  View block =
      stack({sectionTitle(Copy::text(Copy::Key::setupToolsTitle)), label(Copy::text(Copy::Key::setupToolsBody))});
  block.key = "tools";
  for (std::size_t index = 0; index < shown.size(); ++index) {
    const SharedTool& tool = shown[index];
    View detail = secondary(ShareTools::detail(tool));
    detail.role = View::Role::caption;
    if (tool.mode == "task") {
      block.children.push_back(indented(stack({label(ShareTools::title(tool.id)), std::move(detail)}, 1)));
      continue;
    }
    View toggle{.kind = Kind::toggle,
                .key = SetupKeys::kTool + tool.id,
                .text = ShareTools::title(tool.id),
                .help = detail.text,
                .on = tool.on};
    block.children.push_back(stack({std::move(toggle), indented(std::move(detail))}, 1));
  }
  children.push_back(std::move(block));
}

void renderMac(const SetupWindowModel& model, Children& children) {
  const std::vector<SetupAppRow> rows = SetupFlow::rows(model.snapshot);
  const bool canWork = std::any_of(rows.begin(), rows.end(), [](const SetupAppRow& row) {
    return row.kind == SetupAppRow::Kind::ready || row.kind == SetupAppRow::Kind::limited;
  });
  children.push_back(heading(copy(Key::macTitle)));
  children.push_back(label(copy(Key::macBody)));
  if (rows.empty()) children.push_back(secondary(copy(Key::noApps)));
  if (!rows.empty()) {
    View list = stack({}, 10);
    list.key = "apps";
    for (std::size_t index = 0; index < rows.size(); ++index) list.children.push_back(appRow(rows[index], index));
    children.push_back(std::move(list));
    if (!canWork) children.push_back(statusLine(copy(Key::noAppReady), false));
  }
  if (const auto projects = SetupFlow::projectsLine(model.snapshot.status)) {
    children.push_back(statusLine(*projects, true));
  }
  addSharedTools(model.sharedTools, children);
  children.push_back(footnote(copy(Key::macNote)));
  if (model.firstTaskCopied) {
    children.push_back(statusLine(copy(Key::firstTaskCopied, Copy::familyName(model.chosen.value_or("claude"))), true));
  }
  View back = button(SetupKeys::kBackToAI, copy(Key::back));
  if (canWork && !model.firstTaskCopied) {
    children.push_back(buttons(primary(SetupKeys::kFirstTask, copy(Key::firstTask)),
                               {button(SetupKeys::kDone, copy(Key::done))}, std::move(back)));
  } else {
    children.push_back(buttons(primary(SetupKeys::kDone, copy(Key::done)), {}, std::move(back)));
  }
  children.push_back(footnote(copy(Key::doneNote)));
}

}  // namespace

View tree(const SetupWindowModel& model) {
  View root = stack({progress(model.step)}, 14, 24);
  root.key = "setup/" + std::to_string(static_cast<int>(model.step));
  switch (model.step) {
    case SetupStep::account: renderAccount(model, root.children); break;
    case SetupStep::ai: renderAI(model, root.children); break;
    case SetupStep::mac: renderMac(model, root.children); break;
  }
  return root;
}

}  // namespace kestrelune::SetupWindowViews

#pragma once

#include <QObject>
#include <QTimer>
#include <map>
#include <memory>
#include <string>

#include "ClipboardKeeper.hpp"
#include "Connection.hpp"
#include "MenuPopup.hpp"
#include "QuestionDialog.hpp"
#include "StatusForms.hpp"
#include "WindowHost.hpp"
#include "base/Messages.hpp"

namespace kestrelune {

/// Shows what the companion asks for and tells it what the user does. Ends a minute after nothing is shown.
class Screen final : public QObject {
  Q_OBJECT
 public:
  explicit Screen(int descriptor);

  void handle(const messages::Down& message);

 private:
  void on(const messages::Hello& message);
  void on(const messages::ShowWindow& message);
  void on(const messages::RaiseWindow& message);
  void on(const messages::CloseWindow& message);
  void on(const messages::Ask& message);
  void on(const messages::RaiseQuestion& message);
  void on(const messages::ShowMenu& message);
  void on(const messages::UpdateMenu& message);
  void on(const messages::CloseMenu& message);
  void on(const messages::ShowStatusItem& message);
  void on(const messages::Copy& message);
  void on(const messages::AskBounds& message);
  void on(const messages::Quit& message);

  void wire(WindowHost& window, const std::string& id);
  void closeMenu();
  bool isNeeded() const;
  void considerEnd();

  CompanionConnection connection_;
  StatusForms statusForms_;
  ClipboardKeeper clipboard_;
  std::map<std::string, std::unique_ptr<WindowHost>> windows_;
  std::map<int, std::unique_ptr<QuestionDialog>> questions_;
  std::unique_ptr<MenuPopup> menu_;
  int menuId_ = 0;
  QTimer idle_;
};

}  // namespace kestrelune

#pragma once

#include <QDialog>
#include <functional>
#include <optional>
#include <string>

#include "base/Session.hpp"

class QLineEdit;
class QPlainTextEdit;

namespace kestrelune {

/// One question, with up to three buttons and an optional field. Modal for nobody: the asker is told when it is
/// answered.
class QuestionDialog final : public QDialog {
  Q_OBJECT
 public:
  explicit QuestionDialog(Question question);

  /// Called once; no button: closed unanswered.
  std::function<void(std::optional<int> button, const std::string& text)> onAnswered;

  void reject() override;

 protected:
  bool event(QEvent* event) override;

 private:
  void build();
  void addField(const Question::Field& field);
  void answer(std::optional<int> button);
  std::string fieldText() const;

  Question question_;
  QWidget* content_ = nullptr;
  QLineEdit* line_ = nullptr;
  QPlainTextEdit* lines_ = nullptr;
  bool answered_ = false;
};

}  // namespace kestrelune

#pragma once

#include <QColor>
#include <QString>
#include <memory>
#include <string>

#include "ViewNode.hpp"

/// What all nodes share, and the makers of their families.
namespace kestrelune::viewStyle {

QString text(const std::string& value);
/// An ampersand in a name is no shortcut.
QString caption(const std::string& value);
/// The text with places where a word that is longer than a line may break. They are taken out of what is copied.
QString breakable(const QString& text);
QString unbroken(QString text);
double pointsOf(View::Role role);
void colour(QWidget& widget, const QColor& color);
/// What every widget takes over from its view.
void applyCommon(QWidget& widget, const View& view);

/// Null for a kind that isn't one of the family.
std::unique_ptr<ViewNode> makeControl(View::Kind kind, const ViewNode::Emit& emit);
std::unique_ptr<ViewNode> makeContainer(View::Kind kind, const ViewNode::Emit& emit);

}  // namespace kestrelune::viewStyle

#pragma once

#include <QProxyStyle>

namespace kestrelune {

/// The same look on every desktop: scroll bars that are no more than a thumb, and fields with an edge that can be seen
/// and shows the focus.
class Style final : public QProxyStyle {
  Q_OBJECT
 public:
  Style();

  int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
  QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                       const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                          const QWidget* widget) const override;
};

}  // namespace kestrelune

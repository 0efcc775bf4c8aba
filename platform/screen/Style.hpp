#pragma once

#include <QProxyStyle>

namespace kestrelune {

/// The same look on every desktop, with scroll bars that are no more than a thumb.
class Style final : public QProxyStyle {
  Q_OBJECT
 public:
  Style();

  int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
  QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                       const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                          const QWidget* widget) const override;
};

}  // namespace kestrelune

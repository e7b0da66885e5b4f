// SPDX-License-Identifier: MIT
#include "widgets/contrast.h"

#include <QApplication>
#include <QColor>
#include <QEvent>
#include <QPalette>

#include <algorithm>
#include <cmath>

namespace {
/// Of one channel, by the formula of the guidelines.
double Linear(float channel)
{
    const double value = channel;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor &colour)
{
    return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) +
           0.0722 * Linear(colour.blueF());
}

QColor Blend(const QColor &upper, const QColor &lower, float share)
{
    const auto mix = [share](float above, float below) {
        return above * share + below * (1 - share);
    };
    return QColor::fromRgbF(mix(upper.redF(), lower.redF()), mix(upper.greenF(), lower.greenF()),
                            mix(upper.blueF(), lower.blueF()));
}

class PlaceholderKeeper final : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::ApplicationPaletteChange)
            Mend();
        return QObject::eventFilter(watched, event);
    }

    static void Mend()
    {
        QPalette palette = QApplication::palette();
        const QColor colour = KilnUtil_Contrast::PlaceholderColour(palette);
        if (colour == palette.color(QPalette::PlaceholderText))
            return;
        // Sets this colour alone: the others go on following the desktop.
        palette.setColor(QPalette::PlaceholderText, colour);
        QApplication::setPalette(palette);
    }
};
} // namespace

double KilnUtil_Contrast::Ratio(const QColor &one, const QColor &other)
{
    const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor KilnUtil_Contrast::PlaceholderColour(const QPalette &palette)
{
    const QColor base = palette.color(QPalette::Base);
    const QColor wanted = palette.color(QPalette::PlaceholderText);
    QColor colour = Blend(wanted, base, wanted.alphaF());
    for (const float share : {0.6F, 0.7F, 0.8F, 0.9F, 1.0F}) {
        if (Ratio(colour, base) >= LeastRatio)
            break;
        colour = Blend(palette.color(QPalette::Text), base, share);
    }
    return colour;
}

void KilnUtil_Contrast::KeepPlaceholdersReadable()
{
    PlaceholderKeeper::Mend();
    qApp->installEventFilter(new PlaceholderKeeper{qApp});
}

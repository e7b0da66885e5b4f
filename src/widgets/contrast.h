// SPDX-License-Identifier: MIT
#pragma once

class QColor;
class QPalette;

/// Colours that can be read whatever the desktop's palette says.
class KilnUtil_Contrast
{
public:
    /// What small text needs, as the WCAG 2.1 guidelines have it (1.4.3).
    static constexpr double LeastRatio = 4.5;

    /// The contrast ratio of these guidelines, from 1 (none) to 21. Both colours are opaque.
    [[nodiscard]] static double Ratio(const QColor &one, const QColor &other);

    /// The palette's colour for hints in place of contents, where it can be read on the base colour; else a
    /// dimmed colour of the text. Opaque.
    [[nodiscard]] static QColor PlaceholderColour(const QPalette &palette);

    /// Gives the palette of the application that colour, now and whenever the desktop changes its colours: a
    /// dark desktop may leave it at black.
    static void KeepPlaceholdersReadable();
};

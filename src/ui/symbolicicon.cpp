// SPDX-License-Identifier: MIT
#include "ui/symbolicicon.h"

#include <QIcon>
#include <QIconEngine>
#include <QPainter>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr QLatin1StringView symbolicName = "taskmill-symbolic"_L1;

/// Another icon under that name. Qt gives trays the name and the pictures, and they use the pictures where
/// they do not find the name.
class SymbolicEngine final : public QIconEngine
{
public:
    explicit SymbolicEngine(QIcon icon)
        : m_icon{std::move(icon)}
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        m_icon.paint(painter, rect, Qt::AlignCenter, mode, state);
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return m_icon.pixmap(size, 1.0, mode, state);
    }
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override
    {
        return m_icon.availableSizes(mode, state);
    }
    QString iconName() override { return symbolicName; }
    [[nodiscard]] QIconEngine *clone() const override { return new SymbolicEngine{m_icon}; }

private:
    const QIcon m_icon;
};

bool HasTrayOfOneColour()
{
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':');
    return std::ranges::any_of(
        desktops, [](const QString &desktop) { return desktop == "GNOME"_L1 || desktop == "Unity"_L1; });
}
} // namespace

QIcon Taskmill_SymbolicInTray(const QIcon &icon)
{
    const QString file = u"icons/hicolor/symbolic/apps/"_s + symbolicName + u".svg"_s;
    const bool isSymbolic =
        HasTrayOfOneColour() && !QStandardPaths::locate(QStandardPaths::GenericDataLocation, file).isEmpty();
    return isSymbolic ? QIcon{new SymbolicEngine{icon}} : icon;
}

#pragma once

#include <QDBusConnection>
#include <QRect>
#include <QString>

#include <functional>
#include <optional>

class QDBusMessage;

/// A control as the accessibility bus tells of it.
struct ScreenControl
{
    QString Role = {}; ///< such as "push button", "page tab" or "cell"
    QString Name = {};
    QRect Geometry = {}; ///< on the screen
    bool IsEnabled = false;
    bool IsFocused = false;
    bool IsSelected = false;
};

/// Reads the windows of Taskmill from the accessibility bus, as a screen reader does. Menus are not among
/// what it finds.
class ScreenReader
{
public:
    /// The address of a session bus.
    explicit ScreenReader(const QString &busAddress);
    ~ScreenReader();
    Q_DISABLE_COPY_MOVE(ScreenReader)

    /// All controls that are shown now.
    [[nodiscard]] QList<ScreenControl> Controls() const;
    /// Waits for a control with this role whose name, without marks for keys, begins with the text.
    [[nodiscard]] std::optional<ScreenControl> WaitFor(const QString &role, const QString &name) const;
    /// Waits until there is none.
    [[nodiscard]] bool WaitUntilGone(const QString &role, const QString &name) const;

private:
    struct Address
    {
        QString service;
        QString path;
    };

    [[nodiscard]] QDBusMessage Call(const Address &object, const QString &interface, const QString &method,
                                    const QVariantList &arguments = {}) const;
    [[nodiscard]] QList<Address> Children(const Address &object) const;
    void Collect(const Address &object, QList<ScreenControl> &controls) const;

    QDBusConnection m_bus;
};

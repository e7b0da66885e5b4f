// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QCheckBox;
class QLineEdit;
class QPushButton;

/// The row of controls in which the user enters what to find.
class KilnUtil_FindBar final : public QWidget
{
    Q_OBJECT

public:
    explicit KilnUtil_FindBar(QWidget *parent);

    /// Shows the bar with the keyboard in it; a text that is not empty replaces the one in the field.
    void Activate(const QString &text);

    [[nodiscard]] QString Text() const;
    [[nodiscard]] Qt::CaseSensitivity Sensitivity() const;

Q_SIGNALS:
    /// Never with an empty text in the field.
    void FindSignal(bool forward);
    void ClosedSignal();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private Q_SLOTS:
    void TextChangedSlot();

private:
    void Find(bool forward);

    QLineEdit *m_text;
    QCheckBox *m_matchCase;
    QPushButton *m_previous;
    QPushButton *m_next;
};

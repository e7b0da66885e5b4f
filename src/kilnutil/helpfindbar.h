#pragma once

#include <QTextDocument>
#include <QWidget>

class QLabel;
class QLineEdit;
class QTextEdit;

/// A row with a field that finds text in one page of the help, hidden until it is wanted.
class KilnUtil_HelpFindBar final : public QWidget
{
    Q_OBJECT

public:
    /// `view` is searched and outlives the bar.
    explicit KilnUtil_HelpFindBar(QTextEdit &view, QWidget *parent = nullptr);

public Q_SLOTS:
    /// Shows the bar with its text selected, or with the text that is selected in the page.
    void OpenSlot();
    /// From the present place on; goes on at the other end of the page. Opens the bar when it has no text
    /// yet.
    void FindNextSlot();
    void FindPreviousSlot();
    void CloseSlot();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private Q_SLOTS:
    void TextChangedSlot();

private:
    void Find(QTextDocument::FindFlags flags);

    QTextEdit &m_view;
    QLineEdit *m_field;
    QLabel *m_message;
};

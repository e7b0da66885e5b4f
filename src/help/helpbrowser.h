// SPDX-License-Identifier: MIT
#pragma once

#include <QTextBrowser>

/// Shows pages of the manual. It reads nothing outside the manual's directory and opens no other program.
class KilnUtil_HelpBrowser final : public QTextBrowser
{
    Q_OBJECT

public:
    static constexpr int LeastZoom = -4;
    static constexpr int MostZoom = 20;

    explicit KilnUtil_HelpBrowser(QWidget *parent = nullptr);

    /// The directory of the pages; what is shown stays.
    void SetDirectory(const QString &directory);
    /// A file that is no page of the manual shows a message in its place.
    void ShowFile(const QString &filePath);
    /// Local path of what is shown.
    [[nodiscard]] QString FilePath() const { return source().toLocalFile(); }

    enum class FindResult
    {
        Found,
        FoundAtOtherEnd, ///< beyond the end of the page, or before its beginning
        NotFound
    };
    /// Selects the next place of the text, from the present one on. NotFound changes nothing.
    FindResult Find(const QString &text, Qt::CaseSensitivity sensitivity, bool forward);

    /// Steps away from the usual text size.
    [[nodiscard]] int Zoom() const { return m_zoom; }
    void SetZoom(int steps);

    /// Marks the words wherever they stand in the page and shows the first of them. The marks go with the
    /// page.
    void MarkWords(const QString &words);

Q_SIGNALS:
    /// The user has clicked a link that leads out of the manual.
    void OutsideLinkSignal(const QUrl &link);

protected:
    QVariant loadResource(int type, const QUrl &name) override;
    void changeEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private Q_SLOTS:
    void LinkClickedSlot(const QUrl &link);

private:
    [[nodiscard]] bool IsInManual(const QUrl &url) const;
    [[nodiscard]] QString MissingPageText(const QString &filePath) const;

    QString m_directory;
    int m_zoom = 0;
};

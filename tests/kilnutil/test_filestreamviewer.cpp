#include "kilnutil/filesource.h"
#include "kilnutil/filestreamviewer.h"
#include "kilnutil/process.h"
#include "kilnutil/textview.h"
#include "support/scriptedprompt.h"
#include "support/testutil.h"

#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QScrollBar>
#include <QtTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Far longer than any test takes: the tests refresh themselves.
constexpr int streaming = 3'600'000;

QByteArray Lines(int first, int last)
{
    QByteArray text;
    for (int line = first; line <= last; ++line)
        text += "line " + QByteArray::number(line) + '\n';
    return text;
}

/// Counts what is read of a file.
class CountingSource final : public KilnUtil_TextSource
{
public:
    explicit CountingSource(const QString &path)
        : m_file{path}
    {
    }

    [[nodiscard]] bool Open() override { return m_file.Open(); }
    [[nodiscard]] qint64 End() const override { return m_file.End(); }
    [[nodiscard]] QByteArray Read(qint64 offset, qint64 count) override
    {
        m_bytesRead += count;
        return m_file.Read(offset, count);
    }
    Change Refresh() override { return m_file.Refresh(); }
    [[nodiscard]] QString StateText() const override { return m_file.StateText(); }

    qint64 m_bytesRead = 0;

private:
    KilnUtil_FileSource m_file;
};
} // namespace

class TestFileStreamViewer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void OpensHugeFileByReadingLittle();
    void FollowsUntilTheUserScrollsUp();
    void OneTimeViewBeginsAtTheBeginning();
    void GoesOnAfterReplacementAndDeletion();
    void ShowsGivenText();
    void DoesNotStartWithoutSource();
    void DeletesItselfWhenClosed();
    void ShowsProcessThatIsDeleted();
    void TakesVeryLongLines();
    void ScrollsByKeysAndWheel();
    void ScrollBarReachesEveryRow();
    void SelectsWithTheMouse();
    void SelectsWithTheKeyboard();
    void FindsForwardAndBackward();
    void TellsWhatIsNotFound();
    void SavesCopies();

private:
    void View(const QByteArray &content, int interval);
    void Append(const QByteArray &bytes);
    [[nodiscard]] QString FirstRow() { return m_viewer->View().VisibleText().value(0); }
    [[nodiscard]] QString LastRow() { return m_viewer->View().VisibleText().value(m_fullRows - 1); }
    void PressKey(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    /// Of a character of a row in sight.
    [[nodiscard]] QPoint PointAt(int row, int column);
    [[nodiscard]] QString Status(const QString &name) const;

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<QWidget> m_parent;
    QString m_path;
    QPointer<KilnUtil_FileStreamViewer> m_viewer;
    int m_fullRows = 0;
};

void TestFileStreamViewer::init()
{
    FailOnQtWarnings();
    m_directory = std::make_unique<QTemporaryDir>();
    m_parent = std::make_unique<QWidget>();
    m_path = m_directory->filePath(u"run.out"_s);
}

void TestFileStreamViewer::cleanup()
{
    m_parent.reset();
    QVERIFY(!m_viewer);
    m_directory.reset();
}

void TestFileStreamViewer::View(const QByteArray &content, int interval)
{
    WriteTestFile(m_path, content);
    m_viewer = new KilnUtil_FileStreamViewer{m_parent.get(), m_path, u"Streaming "_s + m_path, interval,
                                             u"File Stream Viewer"_s};
    QVERIFY(m_viewer->Start());
    QVERIFY(QTest::qWaitForWindowActive(m_viewer));
    const KilnUtil_TextView &view = m_viewer->View();
    m_fullRows = view.viewport()->height() / view.fontMetrics().lineSpacing();
    QVERIFY(m_fullRows > 5);
}

void TestFileStreamViewer::Append(const QByteArray &bytes)
{
    QFile file{m_path};
    QVERIFY(file.open(QIODevice::Append));
    QCOMPARE(file.write(bytes), bytes.size());
    file.close();
    m_viewer->RefreshSlot();
}

void TestFileStreamViewer::PressKey(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(&m_viewer->View(), key, modifiers);
}

QPoint TestFileStreamViewer::PointAt(int row, int column)
{
    const QFontMetricsF metrics{m_viewer->View().font()};
    return {qRound(column * metrics.horizontalAdvance(u'x')) + 1,
            m_viewer->View().fontMetrics().lineSpacing() * row + 3};
}

QString TestFileStreamViewer::Status(const QString &name) const
{
    for (const QLabel *label : m_viewer->findChildren<QLabel *>()) {
        if (label->accessibleName() == name)
            return label->text();
    }
    return {};
}

void TestFileStreamViewer::OpensHugeFileByReadingLittle()
{
    constexpr qint64 twoGibibytes = 2LL * 1024 * 1024 * 1024;
    QFile file{m_path};
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(twoGibibytes));
    QVERIFY(file.seek(twoGibibytes));
    file.write("\n" + Lines(1, 500));
    file.close();

    CountingSource source{m_path};
    QVERIFY(source.Open());
    KilnUtil_TextView view{source, nullptr};
    view.resize(600, 400);
    view.SetFollowsEnd(true);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QVERIFY(view.IsFollowing());
    QVERIFY(view.VisibleText().contains(u"line 500"_s));
    QVERIFY(view.TopOffset() > twoGibibytes);

    view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
    QVERIFY(qAbs(view.TopOffset() - twoGibibytes / 2) < 100'000);
    view.ScrollToBeginSlot();
    QCOMPARE(view.TopOffset(), 0);
    view.ScrollToEndSlot();
    QVERIFY(view.VisibleText().contains(u"line 500"_s));
    QVERIFY2(source.m_bytesRead < 64LL * 1024 * 1024, QByteArray::number(source.m_bytesRead).constData());
}

void TestFileStreamViewer::FollowsUntilTheUserScrollsUp()
{
    View(Lines(1, 300), streaming);
    QCOMPARE(LastRow(), u"line 300"_s);
    QCOMPARE(Status(u"Following"_s), u"Following"_s);
    Append(Lines(301, 400));
    QCOMPARE(LastRow(), u"line 400"_s);

    PressKey(Qt::Key_Up);
    QCOMPARE(LastRow(), u"line 399"_s);
    QCOMPARE(Status(u"Following"_s), u"Not following"_s);
    Append(Lines(401, 500) + "line 5");
    QCOMPARE(LastRow(), u"line 399"_s);

    PressKey(Qt::Key_End);
    QCOMPARE(LastRow(), u"line 5"_s);
    Append("01\n");
    QCOMPARE(LastRow(), u"line 501"_s);
    QCOMPARE(Status(u"Following"_s), u"Following"_s);
    QCOMPARE(Status(u"Position"_s), u"End"_s);
    m_viewer->resize(m_viewer->width(), m_viewer->height() * 2 / 3);
    QTRY_VERIFY(m_viewer->View().VisibleText().size() < m_fullRows);
    QCOMPARE(m_viewer->View().VisibleText().last(), u"line 501"_s);
}

void TestFileStreamViewer::OneTimeViewBeginsAtTheBeginning()
{
    View(Lines(1, 300), KilnUtil_FileStreamViewer::OneTimeView);
    QCOMPARE(FirstRow(), u"line 1"_s);
    QCOMPARE(Status(u"Position"_s), u"Beginning"_s);
    PressKey(Qt::Key_End);
    QCOMPARE(LastRow(), u"line 300"_s);
    QCOMPARE(Status(u"Following"_s), u"Not following"_s);
    // A file that shrinks unnoticed just ends earlier.
    WriteTestFile(m_path, "short\n");
    PressKey(Qt::Key_PageUp);
    PressKey(Qt::Key_Home);
    QCOMPARE(FirstRow(), u"short"_s);
}

void TestFileStreamViewer::GoesOnAfterReplacementAndDeletion()
{
    if (RunsUnderWine())
        QSKIP("Wine keeps the name of a file that is open");
    View(Lines(1, 300), streaming);
    WriteTestFile(m_path, Lines(1, 3));
    m_viewer->RefreshSlot();
    QCOMPARE(m_viewer->View().VisibleText(), (QStringList{u"line 1"_s, u"line 2"_s, u"line 3"_s}));
    QCOMPARE(m_viewer->StateText(), u"The file has been written anew."_s);

    QVERIFY(QFile::remove(m_path));
    m_viewer->RefreshSlot();
    QCOMPARE(m_viewer->StateText(), u"The file has been deleted or renamed."_s);
    QCOMPARE(FirstRow(), u"line 1"_s);

    WriteTestFile(m_path, "back again\n");
    m_viewer->RefreshSlot();
    QCOMPARE(m_viewer->View().VisibleText(), QStringList{u"back again"_s});
    Append("and growing\n");
    QCOMPARE(m_viewer->View().VisibleText().last(), u"and growing"_s);
}

void TestFileStreamViewer::ShowsGivenText()
{
    m_viewer = new KilnUtil_FileStreamViewer{m_parent.get(), QString{}, u"Log of w"_s,
                                             KilnUtil_FileStreamViewer::OneTimeView, u"File Stream Viewer"_s};
    QVERIFY(m_viewer->Start());
    m_viewer->AppendLine(QString::fromUtf8(Lines(1, 200)), false);
    m_viewer->AppendLine(u"Größe "_s, false);
    m_viewer->AppendLine(u"12 kcal\u001B"_s, true);
    m_viewer->AppendLine(u"end"_s, false);
    QCOMPARE(FirstRow(), u"line 1"_s);
    m_viewer->View().ScrollToEndSlot();
    QVERIFY(m_viewer->View().VisibleText().join(u'\n').endsWith(u"line 200\nGröße 12 kcal␛\nend"_s));
    QCOMPARE(m_viewer->windowTitle(), u"File Stream Viewer"_s);
}

void TestFileStreamViewer::DoesNotStartWithoutSource()
{
    KilnUtil_FileStreamViewer noFile{m_parent.get(), m_path, {}, streaming, {}};
    QVERIFY(!noFile.Start());
    KilnUtil_FileStreamViewer noProcess{m_parent.get(), static_cast<KilnUtil_Process *>(nullptr), {}, 1, {}};
    QVERIFY(!noProcess.Start());
    QVERIFY(!noFile.isVisible() && !noProcess.isVisible());
}

void TestFileStreamViewer::DeletesItselfWhenClosed()
{
    View(Lines(1, 3), streaming);
    QTest::keyClick(m_viewer, Qt::Key_W, Qt::ControlModifier);
    QTRY_VERIFY(!m_viewer);
}

void TestFileStreamViewer::ShowsProcessThatIsDeleted()
{
    auto process = std::make_unique<KilnUtil_Process>(nullptr, u"type"_s, u"name"_s);
    process->SetProgramText(TestProgramPath());
    process->SetArgumentText(u"print first waitfor \"%1\" print second"_s.arg(m_path));
    QSignalSpy output{process.get(), &KilnUtil_Process::OutputSignal};
    QSignalSpy finished{process.get(), &KilnUtil_Process::FinishedSignal};
    process->Start();
    QTRY_VERIFY(!output.isEmpty());

    m_viewer = new KilnUtil_FileStreamViewer{m_parent.get(), process.get(), u"Log of w"_s, streaming, {}};
    QVERIFY(m_viewer->Start());
    QCOMPARE(m_viewer->View().VisibleText(), QStringList{u"first"_s});
    QVERIFY(m_viewer->StateText().isEmpty());
    WriteTestFile(m_path, {});
    QTRY_VERIFY(!finished.isEmpty());
    QCOMPARE(process->Output().Content(), "first\nsecond\n");
    process.reset();
    m_viewer->RefreshSlot();
    QCOMPARE(m_viewer->View().VisibleText(), (QStringList{u"first"_s, u"second"_s}));
    QCOMPARE(m_viewer->StateText(), u"The process has ended."_s);
}

void TestFileStreamViewer::TakesVeryLongLines()
{
    const QByteArray longLine = QByteArray{"0123456789"}.repeated(100'000);
    View("a\n" + longLine + "\nb\n", KilnUtil_FileStreamViewer::OneTimeView);
    KilnUtil_TextView &view = m_viewer->View();
    QVERIFY(view.horizontalScrollBar()->maximum() > 0);
    PressKey(Qt::Key_Right);
    QVERIFY(view.horizontalScrollBar()->value() > 0);
    PressKey(Qt::Key_End);
    QVERIFY(view.VisibleText().contains(u"b"_s));

    // What is copied has no line breaks of the view.
    view.SelectAll();
    m_viewer->CopySlot();
    QVERIFY(QGuiApplication::clipboard()->text() == QString::fromLatin1("a\n" + longLine + "\nb\n"));
}

void TestFileStreamViewer::ScrollsByKeysAndWheel()
{
    View(Lines(1, 300), KilnUtil_FileStreamViewer::OneTimeView);
    PressKey(Qt::Key_PageDown);
    QCOMPARE(FirstRow(), u"line %1"_s.arg(m_fullRows));
    PressKey(Qt::Key_PageUp);
    PressKey(Qt::Key_Down);
    QCOMPARE(FirstRow(), u"line 2"_s);
    QWidget *viewport = m_viewer->View().viewport();
    QWheelEvent wheel{QPointF{5, 5},
                      viewport->mapToGlobal(QPointF{5, 5}),
                      {},
                      {0, -240},
                      Qt::NoButton,
                      {},
                      Qt::NoScrollPhase,
                      false};
    QCoreApplication::sendEvent(viewport, &wheel);
    QCOMPARE(FirstRow(), u"line %1"_s.arg(2 + 2 * QApplication::wheelScrollLines()));
}

void TestFileStreamViewer::ScrollBarReachesEveryRow()
{
    View(Lines(1, 100), KilnUtil_FileStreamViewer::OneTimeView);
    QScrollBar *bar = m_viewer->View().verticalScrollBar();
    for (int line = 2; line <= 100 - m_fullRows + 1; ++line) {
        bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
        QCOMPARE(FirstRow(), u"line %1"_s.arg(line));
    }
    QCOMPARE(bar->value(), bar->maximum());
    QVERIFY(m_viewer->View().IsAtEnd());
    bar->setValue(0);
    bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
    QCOMPARE(FirstRow(), u"line %1"_s.arg(m_fullRows));
}

void TestFileStreamViewer::SelectsWithTheMouse()
{
    View("the first line\nGröße of it\r\nGr\xF6\xDF\x65 again\n", KilnUtil_FileStreamViewer::OneTimeView);
    QWidget *viewport = m_viewer->View().viewport();
    QTest::mousePress(viewport, Qt::LeftButton, {}, PointAt(0, 4));
    QTest::mouseMove(viewport, PointAt(2, 5));
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, PointAt(2, 5));
    QTest::keyClick(m_viewer, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), u"first line\nGröße of it\nGröße"_s);

    QTest::mouseDClick(viewport, Qt::LeftButton, {}, PointAt(1, 2));
    QCOMPARE(m_viewer->View().SelectedText(), u"Größe"_s);
    QTest::mousePress(viewport, Qt::LeftButton, {}, PointAt(1, 2));
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, PointAt(1, 2));
    QCOMPARE(m_viewer->View().SelectedText(), u"Größe of it\n"_s);
}

void TestFileStreamViewer::SelectsWithTheKeyboard()
{
    View("äbc\ndefghi\njkl\n", KilnUtil_FileStreamViewer::OneTimeView);
    const auto selected = [this] {
        return m_viewer->View().SelectedText();
    };
    PressKey(Qt::Key_Left, Qt::ShiftModifier);
    QCOMPARE(selected(), QString{});
    PressKey(Qt::Key_Right, Qt::ShiftModifier);
    QCOMPARE(selected(), u"ä"_s);
    PressKey(Qt::Key_Down, Qt::ShiftModifier);
    QCOMPARE(selected(), u"äbc\nd"_s);
    PressKey(Qt::Key_End, Qt::ShiftModifier);
    PressKey(Qt::Key_Right, Qt::ShiftModifier);
    QCOMPARE(selected(), u"äbc\ndefghi\n"_s);
    PressKey(Qt::Key_Left, Qt::ShiftModifier);
    QCOMPARE(selected(), u"äbc\ndefghi"_s);
    PressKey(Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
    QCOMPARE(selected(), u"äbc\ndefghi\njkl\n"_s);
    PressKey(Qt::Key_Home, Qt::ShiftModifier | Qt::ControlModifier);
    QCOMPARE(selected(), QString{});
}

void TestFileStreamViewer::FindsForwardAndBackward()
{
    View(Lines(1, 2000), KilnUtil_FileStreamViewer::OneTimeView);
    const auto found = [this] {
        const qint64 begin = m_viewer->View().SelectionBegin();
        return QString::fromLatin1(Lines(1, 2000).mid(begin)).section(u'\n', 0, 0);
    };
    QTest::keyClick(m_viewer, Qt::Key_F, Qt::ControlModifier);
    auto *field = qobject_cast<QLineEdit *>(QApplication::focusWidget());
    QVERIFY(field);
    QTest::keyClicks(field, u"INE 777"_s);
    QTest::keyClick(field, Qt::Key_Return);
    QTRY_COMPARE(found(), u"ine 777"_s);
    QVERIFY(m_viewer->View().VisibleText().contains(u"line 777"_s));
    QTest::keyClick(m_viewer, Qt::Key_F3);
    QTRY_VERIFY(!m_viewer->IsBusy());
    QCOMPARE(m_viewer->StateText(), u"Found beyond the end of the text."_s);
    field->setText(u"line 7"_s);
    QTest::keyClick(m_viewer, Qt::Key_F3, Qt::ShiftModifier);
    QTRY_COMPARE(found(), u"line 777"_s);
    QTest::keyClick(m_viewer, Qt::Key_F3, Qt::ShiftModifier);
    QTRY_COMPARE(found(), u"line 776"_s);

    QTest::keyClick(m_viewer, Qt::Key_Escape);
    QVERIFY(!field->isVisible());
    QVERIFY(m_viewer->View().hasFocus());
}

void TestFileStreamViewer::TellsWhatIsNotFound()
{
    View(Lines(1, 100), streaming);
    QTest::keyClick(m_viewer, Qt::Key_F3);
    auto *field = qobject_cast<QLineEdit *>(QApplication::focusWidget());
    QVERIFY(field);
    field->setText(u"nowhere"_s);
    m_viewer->FindNextSlot();
    QVERIFY(m_viewer->IsBusy());
    QTRY_VERIFY(!m_viewer->IsBusy());
    QCOMPARE(m_viewer->StateText(), u"“nowhere” was not found."_s);

    m_viewer->FindNextSlot();
    m_viewer->StopSlot();
    QVERIFY(!m_viewer->IsBusy());
    QCOMPARE(m_viewer->StateText(), u"Stopped."_s);
    m_viewer->FindNextSlot();
    WriteTestFile(m_path, {});
    m_viewer->RefreshSlot();
    QVERIFY(!m_viewer->IsBusy());
}

void TestFileStreamViewer::SavesCopies()
{
    ScriptedPrompt prompt;
    View(Lines(1, 300), streaming);
    const QString copy = m_directory->filePath(u"copy.out"_s);
    prompt.texts = {copy, m_path, m_directory->filePath(u"missing/copy.out"_s)};
    QTest::keyClick(m_viewer, Qt::Key_S, Qt::ControlModifier);
    QTRY_COMPARE(m_viewer->StateText(), u"Saved as %1."_s.arg(copy));
    QCOMPARE(ReadTestFile(copy), Lines(1, 300));

    // The program that writes the file would go on writing to what is then gone.
    m_viewer->SaveCopySlot();
    QVERIFY(!m_viewer->IsBusy());
    QVERIFY(prompt.asked.last().text.startsWith(u"A copy cannot replace the file that is shown."_s));
    m_viewer->SaveCopySlot();
    QTRY_VERIFY(!m_viewer->IsBusy());
    QVERIFY(prompt.asked.last().text.contains(u"could not be written"_s));
}

QTEST_MAIN(TestFileStreamViewer)
#include "test_filestreamviewer.moc"

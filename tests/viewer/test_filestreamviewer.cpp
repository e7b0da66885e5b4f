// SPDX-License-Identifier: MIT
#include "kilnutil/textsource.h"
#include "processes/process.h"
#include "support/scriptedprompt.h"
#include "support/testcase.h"
#include "viewer/filestreamviewer.h"
#include "viewer/textview.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QWheelEvent>

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

/// One line of two gibibytes; counts what is read of it.
class EndlessLine final : public KilnUtil_TextSource
{
public:
    [[nodiscard]] qint64 End() const override { return 2LL * 1024 * 1024 * 1024; }
    [[nodiscard]] QByteArray Read(qint64 offset, qint64 count) override
    {
        const qint64 size = qBound(0LL, count, End() - offset);
        bytesRead += size;
        return QByteArray(size, 'x');
    }
    Change Refresh() override { return Change::None; }
    [[nodiscard]] QString StateText() const override { return {}; }

    qint64 bytesRead = 0;
};
} // namespace

class TestFileStreamViewer : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() override
    {
        TestCase::init();
        m_path = Path(u"run.out"_s);
    }

    void cleanup() override
    {
        delete m_viewer;
        TestCase::cleanup();
    }

    void OpensHugeTextByReadingLittle()
    {
        EndlessLine source;
        KilnUtil_TextView view{source, nullptr};
        view.resize(600, 400);
        view.SetFollowsEnd(true);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QVERIFY(view.IsAtEnd());
        QVERIFY(source.End() - view.TopOffset() < 1'000'000);
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
        QVERIFY(qAbs(view.TopOffset() - source.End() / 2) < 1'000'000);
        view.ScrollToBeginSlot();
        QCOMPARE(view.TopOffset(), 0);
        QVERIFY2(source.bytesRead < 64LL * 1024 * 1024, QByteArray::number(source.bytesRead).constData());
    }

    void FollowsUntilTheUserScrollsUp()
    {
        View(Lines(1, 300));
        QVERIFY(Shows(u"line 300"_s));
        Append(Lines(301, 400));
        QVERIFY(Shows(u"line 400"_s));
        PressKey(Qt::Key_Up);
        Append(Lines(401, 500) + "line 5");
        QVERIFY(Shows(u"line 399"_s));
        QVERIFY(!Shows(u"line 401"_s));
        PressKey(Qt::Key_End);
        Append("01\n");
        QVERIFY(Shows(u"line 501"_s));

        WriteTestFile(m_path, Lines(1, 3));
        m_viewer->RefreshSlot();
        QCOMPARE(m_viewer->View().VisibleText(), (QStringList{u"line 1"_s, u"line 2"_s, u"line 3"_s}));
        QCOMPARE(m_viewer->StateText(), u"The file has been written anew."_s);
        QTest::keyClick(m_viewer, Qt::Key_W, Qt::ControlModifier);
        QTRY_VERIFY(!m_viewer);
    }

    void KeysScroll_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<int>("rows"); // a page is 100
        QTest::newRow("Up") << Qt::Key_Up << -1;
        QTest::newRow("Down") << Qt::Key_Down << 1;
        QTest::newRow("Page Up") << Qt::Key_PageUp << -100;
        QTest::newRow("Page Down") << Qt::Key_PageDown << 100;
        QTest::newRow("Home") << Qt::Key_Home << -1000;
        QTest::newRow("End") << Qt::Key_End << 1000;
    }

    void KeysScroll()
    {
        View(Lines(1000, 1999));
        KilnUtil_TextView &view = m_viewer->View();
        const auto top = [&] {
            return view.VisibleText().first().section(u' ', 1).toInt();
        };
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
        const int before = top();
        const auto page = static_cast<int>(view.VisibleText().size());
        QFETCH(const Qt::Key, key);
        QFETCH(const int, rows);
        PressKey(key);
        const int moved = top() - before;
        if (qAbs(rows) == 1)
            QCOMPARE(moved, rows);
        else if (qAbs(rows) == 100)
            QVERIFY2(qAbs(moved - rows / 100 * page) <= 2, qPrintable(QString::number(moved)));
        else
            QVERIFY(Shows(rows < 0 ? u"line 1000"_s : u"line 1999"_s));
    }

    void KeysSelect_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<bool>("control");
        QTest::addColumn<QString>("selected");
        QTest::newRow("Left") << Qt::Key_Left << false << u" "_s;
        QTest::newRow("Right") << Qt::Key_Right << false << u"1"_s;
        QTest::newRow("Up") << Qt::Key_Up << false << u"099\nline "_s;
        QTest::newRow("Down") << Qt::Key_Down << false << u"100\nline "_s;
        QTest::newRow("Home") << Qt::Key_Home << false << u"line "_s;
        QTest::newRow("End") << Qt::Key_End << false << u"100"_s;
        QTest::newRow("Page Up") << Qt::Key_PageUp << false << u"... 099\nline "_s;
        QTest::newRow("Page Down") << Qt::Key_PageDown << false << u"100\nline 101\n..."_s;
        QTest::newRow("Control and Home") << Qt::Key_Home << true << u"line 001\n..."_s;
        QTest::newRow("Control and End") << Qt::Key_End << true << u"... 200\n"_s;
    }

    void KeysSelect()
    {
        View(Lines(1001, 1200).replace("line 1", "line "));
        KilnUtil_TextView &view = m_viewer->View();
        constexpr qint64 place = 99 * 9 + 5; // before the number of the line 100
        view.Select(place, place);
        QFETCH(const Qt::Key, key);
        QFETCH(const bool, control);
        QFETCH(const QString, selected);
        QTest::keyClick(&view, key, Qt::ShiftModifier | (control ? Qt::ControlModifier : Qt::NoModifier));
        const QString text = view.Selection().Text().value_or(QString{});
        const QString begin = selected.section(u"..."_s, 0, 0);
        const QString end = selected.section(u"..."_s, -1);
        QVERIFY2(text.startsWith(begin), qPrintable(text));
        QVERIFY2(text.endsWith(end), qPrintable(text));
        if (begin == end)
            QCOMPARE(text, selected);
    }

    void ShowsProcessThatIsDeleted()
    {
        auto process = std::make_unique<KilnUtil_Process>(nullptr, u"name"_s);
        process->SetProgramText(TestProgramPath());
        process->SetArgumentText(u"print first waitfor \"%1\" print second"_s.arg(m_path));
        const QSignalSpy finished{process.get(), &KilnUtil_Process::FinishedSignal};
        process->Start();
        QTRY_VERIFY(process->Output().TotalSize() > 0);
        m_viewer = new KilnUtil_FileStreamViewer{nullptr, process.get(), u"Log of w"_s, streaming, {}};
        QVERIFY(m_viewer->Start());
        QCOMPARE(m_viewer->View().VisibleText(), QStringList{u"first"_s});
        QCOMPARE(FollowText(), u"Following"_s);
        WriteTestFile(m_path, {});
        QTRY_VERIFY(!finished.isEmpty());
        QCOMPARE(FollowText(), u"Not following"_s);
        process.reset();
        m_viewer->RefreshSlot();
        QCOMPARE(m_viewer->View().VisibleText(), (QStringList{u"first"_s, u"second"_s}));
        QCOMPARE(m_viewer->StateText(), u"The process has ended."_s);
    }

    void FollowsAFileUntilItsProcessEnds()
    {
        KilnUtil_Process process{nullptr, u"name"_s};
        process.SetProgramText(TestProgramPath());
        process.SetArgumentText(u"waitfor \"%1.go\""_s.arg(m_path));
        process.Start();
        WriteTestFile(m_path, "first\n");
        m_viewer = new KilnUtil_FileStreamViewer{nullptr, m_path, u"Streaming"_s, streaming, {}};
        m_viewer->FollowUntilEndOf(process);
        QVERIFY(m_viewer->Start());
        QCOMPARE(FollowText(), u"Following"_s);
        WriteTestFile(m_path, "first\nlast\n");
        WriteTestFile(m_path + u".go"_s, {});
        QTRY_COMPARE(FollowText(), u"Not following"_s);
        QTRY_COMPARE(m_viewer->View().VisibleText(), (QStringList{u"first"_s, u"last"_s}));
        QCOMPARE(m_viewer->StateText(), u"The process has ended."_s);
    }

    void Zooms()
    {
        View(Lines(1, 300));
        KilnUtil_TextView &view = m_viewer->View();
        const int usual = view.RowHeight();
        QTest::keyClick(m_viewer, Qt::Key_Plus, Qt::ControlModifier);
        QTest::keyClick(m_viewer, Qt::Key_Equal, Qt::ControlModifier);
        QCOMPARE(view.Zoom(), 2);
        QVERIFY(view.RowHeight() > usual);
        // It shows the end as before.
        QVERIFY(Shows(u"line 300"_s));
        const auto wheel = [&view](int delta) {
            QWheelEvent event{QPointF{5, 5}, QPointF{5, 5},       QPoint{},          QPoint{0, delta},
                              Qt::NoButton,  Qt::ControlModifier, Qt::NoScrollPhase, false};
            QApplication::sendEvent(view.viewport(), &event);
        };
        wheel(-120);
        QCOMPARE(view.Zoom(), 1);
        QTest::keyClick(m_viewer, Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(view.RowHeight(), usual);
        for (int step = 0; step < 50; ++step)
            QTest::keyClick(m_viewer, Qt::Key_Minus, Qt::ControlModifier);
        QCOMPARE(view.Zoom(), KilnUtil_TextView::LeastZoom);
    }

    void FindsForwardAndBackward()
    {
        View(Lines(1, 2000));
        QTest::keyClick(m_viewer, Qt::Key_F, Qt::ControlModifier);
        auto *field = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        QVERIFY(field);
        QTest::keyClicks(field, u"INE 777"_s);
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_VERIFY(Shows(u"line 777"_s));
        QCOMPARE(m_viewer->View().Selection().Text(), u"ine 777"_s);
        field->setText(u"line 5"_s);
        QTest::keyClick(m_viewer, Qt::Key_F3, Qt::ShiftModifier);
        QTRY_VERIFY(Shows(u"line 599"_s));
        field->setText(u"nowhere"_s);
        m_viewer->FindNextSlot();
        QTRY_COMPARE(m_viewer->StateText(), u"“nowhere” was not found."_s);
        m_viewer->FindNextSlot();
        QVERIFY(m_viewer->IsBusy());
        m_viewer->StopSlot();
        QVERIFY(!m_viewer->IsBusy());
        // The file begins anew while it is searched from its middle.
        m_viewer->FindNextSlot();
        WriteTestFile(m_path, {});
        m_viewer->RefreshSlot();
        QVERIFY(!m_viewer->IsBusy());
    }

    void MarksTheLineThatDecides()
    {
        const QByteArray text = Lines(1, 2000) + "  *** NOT CONVERGED ***\n" + Lines(2001, 90'000);
        View(text);
        m_viewer->MarkLine(u"NOT CONVERGED"_s, u"It says why."_s);
        QTRY_COMPARE(m_viewer->StateText(), u"It says why."_s);
        QVERIFY(Shows(u"  *** NOT CONVERGED ***"_s));
        QCOMPARE(m_viewer->View().MarkedText(), u"NOT CONVERGED"_s);
        // It stays while the user looks around, and can be found again.
        QVERIFY(m_viewer->View().Selection().IsEmpty());
        PressKey(Qt::Key_End);
        QVERIFY(!Shows(u"  *** NOT CONVERGED ***"_s));
        QTest::keyClick(m_viewer, Qt::Key_M, Qt::ControlModifier);
        QVERIFY(Shows(u"  *** NOT CONVERGED ***"_s));
        const QImage picture = m_viewer->View().viewport()->grab().toImage();
        const int row =
            static_cast<int>(m_viewer->View().VisibleText().indexOf(u"  *** NOT CONVERGED ***"_s));
        const auto groundOf = [&](int number) {
            const qreal ratio = picture.devicePixelRatio();
            return picture.pixelColor(picture.width() - 2,
                                      qRound((number + 0.5) * m_viewer->View().RowHeight() * ratio));
        };
        QVERIFY(groundOf(row) != groundOf(row + 1));

        m_viewer->MarkLine(u"nowhere"_s, u"It says why."_s);
        QTRY_VERIFY(!m_viewer->IsBusy());
        QCOMPARE(m_viewer->StateText(), QString{});
        WriteTestFile(m_path, Lines(1, 3));
        m_viewer->RefreshSlot();
        QVERIFY(!m_viewer->View().HasMark());
    }

    void SavesCopies()
    {
        ScriptedPrompt prompt;
        View(Lines(1, 300));
        const QString copy = Path(u"copy.out"_s);
        prompt.texts = {copy, m_path, Path(u"missing/copy.out"_s)};
        QTest::keyClick(m_viewer, Qt::Key_S, Qt::ControlModifier);
        QTRY_COMPARE(m_viewer->StateText(), u"Saved as %1."_s.arg(copy));
        QCOMPARE(ReadTestFile(copy), Lines(1, 300));
        // The program that writes the file would go on writing to what is then gone.
        m_viewer->SaveCopySlot();
        QVERIFY(prompt.asked.last().text.startsWith(u"A copy cannot replace the file that is shown."_s));
        m_viewer->SaveCopySlot();
        QTRY_VERIFY(!m_viewer->IsBusy());
        QVERIFY(prompt.asked.last().text.contains(u"could not be written"_s));
        // A copy that is not completed leaves the older one.
        Append(Lines(301, 400));
        prompt.texts = {copy};
        m_viewer->SaveCopySlot();
        QVERIFY(m_viewer->IsBusy());
        m_viewer->StopSlot();
        QCOMPARE(ReadTestFile(copy), Lines(1, 300));
    }

private:
    void View(const QByteArray &content)
    {
        WriteTestFile(m_path, content);
        m_viewer = new KilnUtil_FileStreamViewer{nullptr, m_path, u"Streaming"_s, streaming, u"Viewer"_s};
        QVERIFY(m_viewer->Start());
        QVERIFY(QTest::qWaitForWindowActive(m_viewer));
    }
    void Append(const QByteArray &bytes)
    {
        QFile file{m_path};
        QVERIFY(file.open(QIODevice::Append));
        QCOMPARE(file.write(bytes), bytes.size());
        file.close();
        m_viewer->RefreshSlot();
    }
    [[nodiscard]] QString FollowText() const
    {
        const auto labels = m_viewer->findChildren<QLabel *>();
        const auto label = std::ranges::find(labels, u"Following"_s, &QWidget::accessibleName);
        return (*label)->text();
    }
    [[nodiscard]] bool Shows(const QString &row) { return m_viewer->View().VisibleText().contains(row); }
    void PressKey(Qt::Key key) { QTest::keyClick(&m_viewer->View(), key); }
    QString m_path;
    QPointer<KilnUtil_FileStreamViewer> m_viewer;

    /// Those who hear what is on the screen hear what others see.
    void IsReadByScreenReaders()
    {
        KilnUtil_FileStreamViewer viewer{nullptr, Path(u"a.out"_s), u"Output"_s,
                                         KilnUtil_FileStreamViewer::OneTimeView, u"Title"_s};
        WriteTestFile(Path(u"a.out"_s), "erste Z\u00e4hlung\n" + Lines(2, 5000) + "NOT CONVERGED\n");
        QVERIFY(viewer.Start());
        KilnUtil_TextView &view = viewer.View();
        QAccessibleInterface *reader = QAccessible::queryAccessibleInterface(&view);
        QCOMPARE(reader->text(QAccessible::Name), u"Output"_s);
        QVERIFY(reader->state().readOnly);
        QAccessibleTextInterface *text = reader->textInterface();
        QVERIFY(text);
        QCOMPARE(text->text(0, text->characterCount()), view.VisibleText().join(u'\n'));
        // Bytes are not characters.
        const auto second = static_cast<int>(text->text(0, -1).indexOf(u"line 2"_s));
        text->setSelection(0, second, second + 4);
        QCOMPARE(view.Selection().Text(), u"line"_s);
        int begin = 0;
        int end = 0;
        text->selection(0, &begin, &end);
        QCOMPARE(std::pair(begin, end), std::pair(second, second + 4));
        QCOMPARE(text->offsetAtPoint(text->characterRect(second + 2).center()), second + 2);
        QCOMPARE(text->textAtOffset(second, QAccessible::LineBoundary, &begin, &end).trimmed(), u"line 2"_s);

        viewer.MarkLine(u"NOT CONVERGED"_s, u"Why."_s);
        QTRY_VERIFY(view.HasMark());
        QCOMPARE(reader->text(QAccessible::Description), u"The marked line is: NOT CONVERGED"_s);
        QVERIFY(text->text(0, -1).contains(u"NOT CONVERGED"_s));
        QVERIFY(text->text(-5, 1'000'000).endsWith(u"NOT CONVERGED"_s));
    }
};

QTEST_MAIN(TestFileStreamViewer)
#include "test_filestreamviewer.moc"

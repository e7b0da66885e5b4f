// SPDX-License-Identifier: MIT
#include "support/testcase.h"
#include "widgets/plotwidget.h"

#include <QApplication>
#include <QClipboard>
#include <QPixmap>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {
using Scale = KilnUtil_PlotAxis::Scale;

constexpr double nothing = std::numeric_limits<double>::quiet_NaN();

KilnUtil_PlotSeries Energies(const QList<double> &values)
{
    KilnUtil_PlotSeries series;
    series.Title = u"Energy"_s;
    series.StepName = u"step"_s;
    series.Unit = u"hartree"_s;
    series.EmptyText = u"No energies so far."_s;
    series.FirstStep = 10;
    series.Values = values;
    return series;
}

void MoveTo(KilnUtil_PlotWidget &plot, QPointF place)
{
    QMouseEvent move{QEvent::MouseMove, place,        plot.mapToGlobal(place),
                     Qt::NoButton,      Qt::NoButton, Qt::NoModifier};
    QApplication::sendEvent(&plot, &move);
}
} // namespace

class TestPlot : public TestCase
{
    Q_OBJECT

private Q_SLOTS:
    void MarksStandAtRoundNumbers_data()
    {
        QTest::addColumn<Scale>("scale");
        QTest::addColumn<double>("least");
        QTest::addColumn<double>("most");
        QTest::addColumn<int>("marks");
        QTest::addColumn<QString>("texts");
        QTest::newRow("energies") << Scale::Linear << -40.1234 << -40.1198 << 5
                                  << u"-40.123 -40.122 -40.121 -40.120"_s;
        QTest::newRow("across zero") << Scale::Linear << -0.25 << 0.31 << 3 << u"-0.2 0.0 0.2"_s;
        QTest::newRow("large and close")
            << Scale::Linear << -5012.0000031 << -5012.0000012 << 2 << u"-5012.000003 -5012.000002"_s;
        QTest::newRow("one value") << Scale::Linear << -76.3 << -76.3 << 4
                                   << u"-76.30005 -76.30000 -76.29995"_s;
        QTest::newRow("few steps") << Scale::Counting << 1.0 << 4.0 << 10 << u"1 2 3 4"_s;
        QTest::newRow("many steps") << Scale::Counting << 1.0 << 340.0 << 4 << u"100 200 300"_s;
        QTest::newRow("changes") << Scale::Logarithmic << 3e-7 << 2e-2 << 3 << u"10⁻⁷ 10⁻⁵ 10⁻³ 10⁻¹"_s;
        QTest::newRow("one change") << Scale::Logarithmic << 1e-3 << 1e-3 << 5 << u"10⁻³ 10⁻²"_s;
    }

    void MarksStandAtRoundNumbers()
    {
        QFETCH(const Scale, scale);
        QFETCH(const double, least);
        QFETCH(const double, most);
        QFETCH(const int, marks);
        const KilnUtil_PlotAxis axis{scale, least, most, marks};
        QStringList texts;
        for (const double mark : axis.Marks())
            texts += axis.Text(mark);
        QTEST(texts.join(u' '), "texts");
        QVERIFY(axis.Place(least) >= 0);
        QVERIFY(axis.Place(most) <= 1);
    }

    void ShowsTheValueUnderThePointerAndUnderTheKeys()
    {
        KilnUtil_PlotWidget plot{nullptr};
        plot.resize(500, 220);
        plot.SetSeries(Energies({-40.1, -40.15, nothing, -40.18, -40.19}));
        plot.show();
        QVERIFY(QTest::qWaitForWindowActive(&plot));
        // Upwards and to the right the values grow.
        QVERIFY(plot.PointOf(0).y() < plot.PointOf(1).y());
        QVERIFY(plot.PointOf(0).x() < plot.PointOf(1).x());
        MoveTo(plot, plot.PointOf(1) + QPointF{3, 40});
        QCOMPARE(plot.MarkedIndex(), 1);
        QCOMPARE(plot.TextOf(1), u"step 11: -40.150000 hartree"_s);
        QVERIFY(plot.accessibleDescription().contains(u"Step 11: -40.150000 hartree"_s));
        // There is no value at the third step.
        const auto press = [&](Qt::Key key) {
            QTest::keyClick(&plot, key);
            return plot.MarkedIndex();
        };
        QCOMPARE(press(Qt::Key_Right), 3);
        QCOMPARE(press(Qt::Key_Left), 1);
        QCOMPARE(press(Qt::Key_Home), 0);
        QCOMPARE(press(Qt::Key_Left), 0);
        QCOMPARE(press(Qt::Key_PageDown), 4);
        // The job goes on.
        plot.SetSeries(Energies({-40.1, -40.15, nothing, -40.18, -40.19, -40.2}));
        QCOMPARE(plot.MarkedIndex(), 4);
        QCOMPARE(press(Qt::Key_Escape), -1);
        QCOMPARE(press(Qt::Key_Left), 5);
        const QRgb drawn =
            plot.Picture().toImage().pixel((plot.PointOf(5) * plot.devicePixelRatioF()).toPoint());
        QCOMPARE(QColor{drawn}, QColor(0x2a, 0x7d, 0xe1));
    }

    void IsCopied()
    {
        KilnUtil_PlotWidget plot{nullptr};
        plot.resize(400, 200);
        plot.SetSeries(Energies({-40.123456789, nothing}));
        QCOMPARE(plot.Csv(), u"step,energy (hartree)\n10,-40.123456789\n11,\n"_s);
        plot.CopyCsvSlot();
        QCOMPARE(QApplication::clipboard()->text(), plot.Csv());
        plot.CopyPictureSlot();
        QCOMPARE(QApplication::clipboard()->pixmap().size(), plot.size() * plot.devicePixelRatioF());
    }

    void DrawsNothingAndVeryMuch()
    {
        KilnUtil_PlotWidget plot{nullptr};
        plot.resize(400, 200);
        KilnUtil_PlotSeries changes = Energies({0, -1, nothing});
        changes.Scale = Scale::Logarithmic;
        plot.SetSeries(changes);
        QCOMPARE(plot.TextOf(0), QString{});
        QCOMPARE(plot.accessibleDescription(), u"No energies so far."_s);
        MoveTo(plot, {200, 100});
        QTest::keyClick(&plot, Qt::Key_Left);
        QCOMPARE(plot.MarkedIndex(), -1);
        (void)plot.Picture();

        QList<double> values(40'000, 0.5);
        values[20'001] = 1;
        plot.SetSeries(Energies(values));
        // One value among a hundred in the width of a pixel is seen.
        const QImage picture = plot.Picture().toImage();
        const QPoint peak = (plot.PointOf(20'001) * picture.devicePixelRatio()).toPoint();
        bool isSeen = false;
        for (int x = peak.x() - 2; x <= peak.x() + 2; ++x)
            isSeen = isSeen || picture.pixelColor(x, peak.y() + 2).blue() >
                                   picture.pixelColor(x, peak.y() + 2).red() + 40;
        QVERIFY(isSeen);
    }
};

QTEST_MAIN(TestPlot)
#include "test_plot.moc"

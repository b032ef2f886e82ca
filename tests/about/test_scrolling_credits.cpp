// The rolling credits: how the text climbs and wraps, how each line is
// coloured, sized and centred, the text of the About box, and lines that a
// translation spoils.
#include <QLabel>
#include <QTest>
#include <QTimer>

#include "about/frm_credits.h"
#include "about/scrolling_credits_widget.h"

namespace {

QFont BoxFont(qreal points)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(points);
    return font;
}

int LineHeight(const QFont &font, qreal points, const QWidget *box)
{
    QFont sized = font;
    sized.setPointSizeF(points);
    return QFontMetrics(sized, box).height();
}

// Ticks until ScrollY jumps back up to the bottom edge.
int TicksToWrap()
{
    for (int tick = 1; tick < 100000; ++tick) {
        const int before = Scroller().ScrollY;
        ScrollCredits();
        if (Scroller().ScrollY > before) return tick;
    }
    return -1;
}

}  // namespace

class TestScrollingCredits : public QObject {
    Q_OBJECT

    CreditsBox *box = nullptr;

private slots:
    void init()
    {
        box = new CreditsBox;
        box->resize(202, 102);  // 200 × 100 inside the border
        box->setFont(BoxFont(12));
        box->SetForeColor(QColor(0, 100, 0));
    }
    void cleanup()
    {
        StopCredits();
        delete box;
    }

    void climbsOnePixelPerTick_data()
    {
        QTest::addColumn<int>("ticks");
        QTest::newRow("start") << 0;
        QTest::newRow("a second") << 25;
        QTest::newRow("past the top") << 130;
    }
    void climbsOnePixelPerTick()
    {
        QFETCH(int, ticks);
        StartCredits(box, QStringLiteral("a|b|c|d|e|f|g|h"), 40);
        QCOMPARE(Scroller().ScrollY, 100);
        for (int i = 0; i < ticks; ++i) ScrollCredits();
        QCOMPARE(Scroller().ScrollY, 100 - ticks);
        const QVector<CreditsLine> frame = CreditsFrame();
        QCOMPARE(frame.size(), 8);
        QCOMPARE(frame.first().y, 100 - ticks);
        for (qsizetype i = 1; i < frame.size(); ++i)
            QCOMPARE(frame[i].y, frame[i - 1].y + frame[i - 1].height);
    }

    void wrapsBelowTheLastLine_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qreal>("boxPoints");
        QTest::newRow("one line wraps on leaving the top") << "alone" << 12.0;
        QTest::newRow("three lines") << "a|b|c" << 12.0;
        QTest::newRow("empty lines count") << "a||||b" << 12.0;
        QTest::newRow("line 0's own size plays no part") << "0,0,0,40#big|b|c" << 12.0;
        QTest::newRow("a larger box font") << "a|b|c" << 24.0;
        QTest::newRow("fourteen lines") << "1|2|3|4|5|6|7|8|9|10|11|12|13|14" << 12.0;
    }
    void wrapsBelowTheLastLine()
    {
        QFETCH(QString, text);
        QFETCH(qreal, boxPoints);
        box->setFont(BoxFont(boxPoints));
        const int last = int(text.count(u'|'));
        const double depth = last * 1.2 * LineHeight(box->font(), boxPoints, box);
        StartCredits(box, text, 40);
        QCOMPARE(TicksToWrap(), int(100 + depth) + 1);
        QCOMPARE(Scroller().ScrollY, 100);
        // Three more lines go further up before the text starts again.
        StartCredits(box, text + QStringLiteral("|x|y|z"), 40);
        const int longer = TicksToWrap();
        QVERIFY(longer > int(100 + depth) + 1);
        // A larger font of the box wraps later too.
        box->setFont(BoxFont(boxPoints * 2));
        StartCredits(box, text + QStringLiteral("|x|y|z"), 40);
        QVERIFY(TicksToWrap() > longer);
    }

    void eachLineHasItsOwnLook_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("printed");
        QTest::addColumn<QColor>("colour");
        QTest::addColumn<qreal>("points");
        const QColor own(0, 100, 0);
        QTest::newRow("four fields: colour and size") << "0,0,128,20#Title|next" << 0 << "Title" << QColor(0, 0, 128) << 20.0;
        QTest::newRow("the size ends with its line") << "0,0,128,20#Title|next" << 1 << "next" << own << 12.0;
        QTest::newRow("three fields keep the font") << "128,0,0#red" << 0 << "red" << QColor(128, 0, 0) << 12.0;
        QTest::newRow("no prefix after a coloured line") << "255,0,0#red|plain" << 1 << "plain" << own << 12.0;
        QTest::newRow("empty line") << "a||b" << 1 << "" << own << 12.0;
        QTest::newRow("empty after a large line") << "0,0,0,30#big||b" << 1 << "" << own << 12.0;
        QTest::newRow("an opening # is no prefix") << "#1 fan" << 0 << "#1 fan" << own << 12.0;
        QTest::newRow("text after the first # only") << "0,0,255#a#b" << 0 << "a#b" << QColor(0, 0, 255) << 12.0;
        QTest::newRow("blanks around fields") << " 10 , 20 ,30 , 14 #x" << 0 << "x" << QColor(10, 20, 30) << 14.0;
        QTest::newRow("five fields: colour, no size") << "1,2,3,30,5#x" << 0 << "x" << QColor(1, 2, 3) << 12.0;
    }
    void eachLineHasItsOwnLook()
    {
        QFETCH(QString, text);
        QFETCH(int, line);
        QFETCH(QString, printed);
        QFETCH(QColor, colour);
        QFETCH(qreal, points);
        StartCredits(box, text, 40);
        const CreditsLine drawn = CreditsFrame().at(line);
        QCOMPARE(drawn.text, printed);
        QCOMPARE(drawn.color, colour);
        QCOMPARE(drawn.pointSize, points);
        QCOMPARE(drawn.height, LineHeight(box->font(), points, box));
    }

    void linesAreCentred_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<qreal>("points");
        QTest::newRow("short") << "MPQDraft" << 12.0;
        QTest::newRow("long") << "Questo programma utilizza" << 12.0;
        QTest::newRow("large") << "0,0,128,20#Arcavera" << 20.0;
        QTest::newRow("wider than the box") << "0,0,0,30#A line far too wide for the box" << 30.0;
    }
    void linesAreCentred()
    {
        QFETCH(QString, line);
        QFETCH(qreal, points);
        StartCredits(box, line, 40);
        const CreditsLine drawn = CreditsFrame().first();
        QFont font = box->font();
        font.setPointSizeF(points);
        const int width = QFontMetrics(font, box).horizontalAdvance(drawn.text);
        // As much room on the left as on the right, to the pixel.
        QVERIFY(qAbs(drawn.x - (200 - drawn.x - width)) <= 1);
    }

    void buildsTheAboutText_data()
    {
        QTest::addColumn<QString>("author");
        QTest::addColumn<int>("lines");
        QTest::newRow("no translator") << "" << 12;
        QTest::newRow("with translator") << "English by J. Doe" << 14;
    }
    void buildsTheAboutText()
    {
        QFETCH(QString, author);
        QFETCH(int, lines);
        const QString engine = EngineVersionText();
        QVERIFY(!engine.isEmpty());
        QVERIFY(!engine.contains(QChar(0)));
        const QStringList text =
            BuildCreditsText(QStringLiteral("VERSIONE"), QStringLiteral("Uses"), author, engine).split(u'|');
        QCOMPARE(text.size(), lines);
        QCOMPARE(text[0], QStringLiteral("0,0,128,20#Arcavera"));
        QCOMPARE(text[1], QStringLiteral("128,0,0#versione %1.%2").arg(ARCAVERA_VERSION_MAJOR).arg(ARCAVERA_VERSION_MINOR));
        for (int own : {2, 4, 8}) QVERIFY(!text[own].isEmpty() && !text[own].contains(u'#'));
        QCOMPARE(text[7], QStringLiteral("MPQDraft"));
        QCOMPARE(text[6], QStringLiteral("Uses"));
        QCOMPARE(text[10], QStringLiteral("Uses"));
        QCOMPARE(text[11], engine);
        if (lines == 14) {
            QVERIFY(text[12].isEmpty());
            QCOMPARE(text[13], author);
        }
    }

    void spoiledPrefixesAreHarmless_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("printed");
        QTest::addColumn<QColor>("colour");  // invalid: the box's own
        QTest::addColumn<qreal>("points");   // 0: the box's own
        const QColor none;
        QTest::newRow("words before #") << "Versione #2" << "Versione #2" << none << 0.0;
        QTest::newRow("letters in fields") << "a,b,c#x" << "a,b,c#x" << none << 0.0;
        QTest::newRow("two fields") << "1,2#x" << "1,2#x" << none << 0.0;
        QTest::newRow("empty fields") << ",,#x" << ",,#x" << none << 0.0;
        QTest::newRow("a | inside") << "Ver|sione #2" << "Ver|sione #2" << none << 0.0;
        QTest::newRow("lone #") << "#" << "#" << none << 0.0;
        QTest::newRow("# then fields") << "#0,0,0#x" << "#0,0,0#x" << none << 0.0;
        QTest::newRow("number too large") << "99999999999,0,0#x" << "99999999999,0,0#x" << none << 0.0;
        QTest::newRow("size not a number") << "0,0,0,nan#x" << "0,0,0,nan#x" << none << 0.0;
        QTest::newRow("colours out of range") << "300,-5,128#x" << "x" << QColor(255, 0, 128) << 0.0;
        QTest::newRow("size below the smallest") << "0,0,0,-12#x" << "x" << QColor(0, 0, 0) << 4.0;
        QTest::newRow("size huge") << "0,0,0,1e308#x" << "x" << QColor(0, 0, 0) << 96.0;
        QTest::newRow("size with decimals") << "0,0,0,12.5#x" << "x" << QColor(0, 0, 0) << 12.5;
        QTest::newRow("nothing behind #") << "0,0,0#" << "" << QColor(0, 0, 0) << 0.0;
    }
    void spoiledPrefixesAreHarmless()
    {
        QFETCH(QString, line);
        QFETCH(QString, printed);
        QFETCH(QColor, colour);
        QFETCH(qreal, points);
        const CreditsMarkup markup = ParseCreditsLine(line);
        QCOMPARE(markup.text, printed);
        QCOMPARE(markup.color.value_or(QColor()), colour);
        QCOMPARE(markup.pointSize.value_or(0.0), points);
        // The same value as a translation, rolled and drawn for a while.
        StartCredits(box, BuildCreditsText(line, line, line, QStringLiteral("engine")), 40);
        for (int tick = 0; tick < 150; ++tick) ScrollCredits();
        QCOMPARE(box->grab().size(), box->size());
        QVERIFY(CreditsFrame().size() >= 14);
    }

    void theWindowCloses_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("click on the credits") << "box";
        QTest::newRow("click on the window") << "window";
        QTest::newRow("escape") << "escape";
    }
    void theWindowCloses()
    {
        QFETCH(QString, how);
        frmCredits window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(Scroller().ScrollBox.data(), window.picCredits);
        QVERIFY(!Scroller().ScrollTimer.isNull() && Scroller().ScrollTimer->isActive());
        QCOMPARE(window.lblVersion->x(), window.lblTitle->x() + qRound(window.lblTitle->width() / 1.25));
        if (how == "box") QTest::mouseClick(window.picCredits, Qt::LeftButton);
        if (how == "window") QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(5, 200));
        if (how == "escape") QTest::keyClick(&window, Qt::Key_Escape);
        QVERIFY(!window.isVisible());
        QVERIFY(Scroller().ScrollTimer.isNull());
    }
};

QTEST_MAIN(TestScrollingCredits)
#include "test_scrolling_credits.moc"

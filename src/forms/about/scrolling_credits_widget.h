// The rolling credits: a box that shows a text climbing upward one pixel per
// tick, over and over, and the scroller that drives it.
//
// A credits text is one string of lines separated by "|"; two separators in
// a row give an empty line. A line may open with a prefix closed by "#":
// "red,green,blue#" sets the colour of that line, "red,green,blue,size#" its
// colour and its font size in points. A "#" counts only from the line's
// second character on, so a line that opens with "#" has no prefix. A line
// without a prefix is drawn in the colour the box had when the scroller
// started, in the box's own font. Every line is centred in the box.
//
// There is one scroller at a time. StartCredits hands it a box and a text,
// a timer calls ScrollCredits once per tick, StopCredits ends it.
#pragma once

#include <QColor>
#include <QFont>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QWidget>

#include <optional>

class QTimer;

// The picture box the credits roll in: a plain white area with a thin grey
// border, one pixel wide, inside which the text is drawn and clipped. It
// draws the running scroller's frame whenever it is the scroller's box.
class CreditsBox : public QWidget {
    Q_OBJECT
public:
    explicit CreditsBox(QWidget *parent = nullptr);

    // The area inside the border, in pixels: where the text stands.
    int ScaleWidth() const;
    int ScaleHeight() const;
    // The text colour of lines without a prefix, the palette's WindowText.
    QColor ForeColor() const;
    void SetForeColor(const QColor &color);

signals:
    void clicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
};

// One line's prefix read apart from its text.
struct CreditsMarkup {
    QString text;                     // what is printed
    std::optional<QColor> color;      // from the prefix, else the box's colour
    std::optional<qreal> pointSize;   // from a four-field prefix, else the box's size
};

// Reads the prefix of one line (a line of the text, without "|").
CreditsMarkup ParseCreditsLine(const QString &line);

// One line as a frame draws it. x and y are the top left corner of the
// text, in pixels from the top left of the box's inner area; height is how
// far the line moves the next one down.
struct CreditsLine {
    QString text;
    QColor color;
    qreal pointSize = 0;
    int x = 0;
    int y = 0;
    int height = 0;
};

// Lays out `lines` from `top` down in an area `innerWidth` wide: lines
// without a prefix in `font` and `plainColor`. Measures are taken as `device`
// would draw them (its resolution), or the screen's when it is null.
QVector<CreditsLine> LayOutCredits(const QStringList &lines, const QFont &font,
                                   const QColor &plainColor, int innerWidth, int top,
                                   const QPaintDevice *device = nullptr);

// The state of the scroller, set by StartCredits. StopCredits ends only the
// timer: the box keeps showing the last frame.
struct CreditsScroller {
    QPointer<CreditsBox> ScrollBox;
    QStringList ScrollLines;
    int ScrollY = 0;       // top of the first line, pixels from the box's inner top
    QColor ScrollColor;    // the box's text colour when the scroller started
    QPointer<QTimer> ScrollTimer;
};
const CreditsScroller &Scroller();

// Starts rolling `text` in `box`, one frame every `interval` milliseconds,
// from the box's bottom edge. A scroller that runs already is stopped first.
void StartCredits(CreditsBox *box, const QString &text, int interval);
// Stops the timer of the scroller. Harmless when none runs.
void StopCredits();
// One frame: the text climbs one pixel, and once it has gone far enough
// above the box it enters again from below. The box redraws itself.
void ScrollCredits();
// The lines of the current frame, as the box draws them; empty when no
// scroller has a box.
QVector<CreditsLine> CreditsFrame();
// How far above the box's top the first line goes before the text starts
// again from below: (lines − 1) × 1.2 × the height of line 0 in the box's
// own font.
double CreditsWrapDepth();

#include "about/scrolling_credits_widget.h"

#include <QFontMetrics>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

CreditsScroller g_scroller;

// Bounds of a size from a prefix. A translator's text can put anything in
// front of a "#"; a size outside these bounds is brought to the nearer one,
// so a line stays readable and never outgrows the box by far.
constexpr qreal kSmallestPointSize = 4;
constexpr qreal kLargestPointSize = 96;
// Shortest timer interval: a tick has to leave time to draw the frame.
constexpr int kShortestInterval = 10;

QFontMetrics MetricsFor(const QFont &font, const QPaintDevice *device)
{
    return device != nullptr ? QFontMetrics(font, device) : QFontMetrics(font);
}

QFont LineFont(const QFont &font, qreal pointSize)
{
    QFont lineFont = font;
    if (pointSize > 0 && pointSize != font.pointSizeF()) lineFont.setPointSizeF(pointSize);
    return lineFont;
}

}  // namespace

CreditsBox::CreditsBox(QWidget *parent) : QWidget(parent)
{
    setContentsMargins(1, 1, 1, 1);
    setAutoFillBackground(true);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, Qt::white);
    colours.setColor(QPalette::WindowText, Qt::black);
    setPalette(colours);
}

int CreditsBox::ScaleWidth() const { return contentsRect().width(); }

int CreditsBox::ScaleHeight() const { return contentsRect().height(); }

QColor CreditsBox::ForeColor() const { return palette().color(QPalette::WindowText); }

void CreditsBox::SetForeColor(const QColor &color)
{
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, color);
    setPalette(colours);
}

void CreditsBox::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(QColor(192, 192, 192));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    if (g_scroller.ScrollBox != this) return;

    const QRect inner = contentsRect();
    painter.setClipRect(inner);
    painter.setRenderHint(QPainter::TextAntialiasing);
    for (const CreditsLine &line : CreditsFrame()) {
        if (line.y + line.height < 0 || line.y > inner.height() || line.text.isEmpty()) continue;
        const QFont lineFont = LineFont(font(), line.pointSize);
        painter.setFont(lineFont);
        painter.setPen(line.color);
        const int baseline = line.y + QFontMetrics(lineFont, this).ascent();
        painter.drawText(QPoint(inner.left() + line.x, inner.top() + baseline), line.text);
    }
}

void CreditsBox::mousePressEvent(QMouseEvent *event)
{
    event->accept();
    if (event->button() == Qt::LeftButton) emit clicked();
}

// A prefix counts only when it reads as one: at least three fields, every
// one a whole number, the fourth (the size) possibly with decimals. Such a
// front of a line is the translator's own text that happens to hold a "#",
// so the line is then printed whole, in the box's colour and font, rather
// than losing its front. Colour values outside 0..255 are brought to the
// nearer end; more than four fields set the colour and no size.
CreditsMarkup ParseCreditsLine(const QString &line)
{
    CreditsMarkup markup{line, std::nullopt, std::nullopt};
    const qsizetype hash = line.indexOf(u'#', 1);
    if (hash < 0) return markup;
    const QStringList fields = line.left(hash).split(u',');
    if (fields.size() < 3) return markup;

    int channels[3] = {0, 0, 0};
    for (qsizetype i = 0; i < fields.size(); ++i) {
        bool whole = false;
        const int value = fields[i].trimmed().toInt(&whole);
        if (i < 3 && whole) channels[i] = std::clamp(value, 0, 255);
        if (whole) continue;
        if (i != 3 || fields.size() != 4) return markup;
        bool number = false;
        const double size = fields[i].trimmed().toDouble(&number);
        if (!number || !std::isfinite(size)) return markup;
    }

    markup.text = line.mid(hash + 1);
    markup.color = QColor(channels[0], channels[1], channels[2]);
    if (fields.size() == 4)
        markup.pointSize = std::clamp<qreal>(fields[3].trimmed().toDouble(), kSmallestPointSize,
                                             kLargestPointSize);
    return markup;
}

QVector<CreditsLine> LayOutCredits(const QStringList &lines, const QFont &font,
                                   const QColor &plainColor, int innerWidth, int top,
                                   const QPaintDevice *device)
{
    QVector<CreditsLine> frame;
    frame.reserve(lines.size());
    int y = top;
    for (const QString &line : lines) {
        const CreditsMarkup markup = ParseCreditsLine(line);
        // A prefix's size holds for its own line only: every line starts
        // from the box's font.
        const QFont lineFont = LineFont(font, markup.pointSize.value_or(font.pointSizeF()));
        const QFontMetrics metrics = MetricsFor(lineFont, device);
        CreditsLine drawn;
        drawn.text = markup.text;
        drawn.color = markup.color.value_or(plainColor);
        drawn.pointSize = lineFont.pointSizeF();
        drawn.x = (innerWidth - metrics.horizontalAdvance(markup.text)) / 2;
        drawn.y = y;
        drawn.height = metrics.height();
        y += drawn.height;
        frame.append(drawn);
    }
    return frame;
}

const CreditsScroller &Scroller() { return g_scroller; }

void StartCredits(CreditsBox *box, const QString &text, int interval)
{
    StopCredits();
    g_scroller.ScrollBox = box;
    g_scroller.ScrollLines = text.split(u'|');
    if (box == nullptr) return;
    g_scroller.ScrollY = box->ScaleHeight();
    g_scroller.ScrollColor = box->ForeColor();

    auto *timer = new QTimer(box);
    timer->setInterval(std::max(interval, kShortestInterval));
    QObject::connect(timer, &QTimer::timeout, box, [] { ScrollCredits(); });
    g_scroller.ScrollTimer = timer;
    timer->start();
    box->update();
}

void StopCredits()
{
    if (g_scroller.ScrollTimer.isNull()) return;
    g_scroller.ScrollTimer->stop();
    g_scroller.ScrollTimer->deleteLater();
    g_scroller.ScrollTimer = nullptr;
}

double CreditsWrapDepth()
{
    if (g_scroller.ScrollBox.isNull() || g_scroller.ScrollLines.isEmpty()) return 0;
    const qsizetype last = g_scroller.ScrollLines.size() - 1;
    const int lineHeight = QFontMetrics(g_scroller.ScrollBox->font(), g_scroller.ScrollBox).height();
    return static_cast<double>(last) * 1.2 * lineHeight;
}

void ScrollCredits()
{
    CreditsBox *box = g_scroller.ScrollBox;
    if (box == nullptr) {
        StopCredits();
        return;
    }
    g_scroller.ScrollY -= 1;
    if (g_scroller.ScrollY < -CreditsWrapDepth()) g_scroller.ScrollY = box->ScaleHeight();
    box->update();
}

QVector<CreditsLine> CreditsFrame()
{
    const CreditsBox *box = g_scroller.ScrollBox;
    if (box == nullptr) return {};
    return LayOutCredits(g_scroller.ScrollLines, box->font(), g_scroller.ScrollColor,
                         box->ScaleWidth(), g_scroller.ScrollY, box);
}

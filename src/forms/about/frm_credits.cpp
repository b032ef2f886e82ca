#include "about/frm_credits.h"

#include <QGuiApplication>
#include <QLabel>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QRadialGradient>
#include <QScreen>

#include <string>

#include "about/scrolling_credits_widget.h"
#include "config/catalogue.h"
#include "dialogs/dialogs_qt.h"
#include "mpq/mpq_library.h"
#include "config/startup.h"
#include "tools/archive_drum_widget.h"

namespace {

constexpr int kCreditsWidth = 420;
constexpr int kCreditsHeight = 330;
constexpr int kBannerHeight = 78;
constexpr int kIconSize = 32;
constexpr int kCreditsInterval = 40;

QString VersionNumber()
{
    return QString::number(ARCAVERA_VERSION_MAJOR) + u'.' + QString::number(ARCAVERA_VERSION_MINOR);
}

QFont Verdana(qreal points)
{
    QFont font(QStringLiteral("Verdana"));
    font.setPointSizeF(points);
    font.setBold(true);
    return font;
}

// The window's icon, or a drawn drum of discs when the program has none.
QPixmap TitlePicture(const QIcon &icon, qreal scale)
{
    if (!icon.isNull()) return icon.pixmap(QSize(kIconSize, kIconSize), scale);
    QPixmap picture(QSize(kIconSize, kIconSize) * scale);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    DrawArchiveDrum(painter, 2, 5, kIconSize - 4);
    return picture;
}

}  // namespace

QString BuildCreditsText(const QString &version, const QString &thisProgramUse,
                         const QString &author, const QString &engineVersion)
{
    QStringList lines = {
        QStringLiteral("0,0,128,20#") + kProgramName,
        QStringLiteral("128,0,0#") + version.toLower() + u' ' + VersionNumber(),
        QStringLiteral("Written by the Arcavera developers"),
        QString(),
        QString::fromLatin1(kHomePage),
        QString(),
        thisProgramUse,
        QStringLiteral("MPQDraft"),
        QStringLiteral("by Team MoPaQ"),
        QString(),
        thisProgramUse,
        engineVersion,
    };
    if (!author.isEmpty()) lines << QString() << author;
    return lines.join(u'|');
}

QString EngineVersionText()
{
    std::string buffer(255, '\0');
    const std::uint32_t length =
        mpq::SFMpqGetVersionString2(buffer.data(), static_cast<std::uint32_t>(buffer.size()));
    if (length == 0) return {};
    buffer.resize(std::min<std::size_t>(length - 1, buffer.size()));
    return QString::fromUtf8(buffer.data(), static_cast<qsizetype>(buffer.size()));
}

frmCredits::frmCredits(QWidget *parent) : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("frmCredits"));
    setFixedSize(kCreditsWidth, kCreditsHeight);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, Qt::white);
    setPalette(colours);

    imgTitle = new QLabel(this);
    imgTitle->setObjectName(QStringLiteral("imgTitle"));
    imgTitle->setGeometry(18, 22, kIconSize, kIconSize);

    lblTitle = new QLabel(this);
    lblTitle->setObjectName(QStringLiteral("lblTitle"));
    lblTitle->setFont(Verdana(15.75));
    QPalette grey = lblTitle->palette();
    grey.setColor(QPalette::WindowText, QColor(128, 128, 128));
    lblTitle->setPalette(grey);
    lblTitle->move(62, 14);

    lblVersion = new QLabel(this);
    lblVersion->setObjectName(QStringLiteral("lblVersion"));
    lblVersion->setFont(Verdana(8.25));
    QPalette darkRed = lblVersion->palette();
    darkRed.setColor(QPalette::WindowText, QColor(128, 0, 0));
    lblVersion->setPalette(darkRed);

    picCredits = new CreditsBox(this);
    picCredits->setObjectName(QStringLiteral("picCredits"));
    // Where Comic Sans is not installed, an upright sans reads better than
    // the slanted script that the desktop tends to put in its place.
    QFont comic(QStringLiteral("Comic Sans MS"));
    comic.setFamilies({QStringLiteral("Comic Sans MS"), QStringLiteral("Comic Neue"),
                       QStringLiteral("DejaVu Sans")});
    comic.setPointSizeF(12);
    picCredits->setFont(comic);
    picCredits->setGeometry(16, kBannerHeight + 12, kCreditsWidth - 32, kCreditsHeight - kBannerHeight - 28);
    connect(picCredits, &CreditsBox::clicked, this, &frmCredits::picCredits_Click);

    const QScreen *screen = parent != nullptr ? parent->screen() : QGuiApplication::primaryScreen();
    if (screen != nullptr) move(screen->availableGeometry().center() - rect().center());

    Form_Load();
}

frmCredits::~frmCredits() { Form_Unload(); }

void frmCredits::Form_Load()
{
    imgTitle->setPixmap(TitlePicture(windowIcon(), devicePixelRatioF()));
    lblTitle->setText(kProgramName);
    lblTitle->adjustSize();
    lblVersion->setText(Texts().VariousVersion + u' ' + VersionNumber());
    lblVersion->adjustSize();
    lblVersion->move(lblTitle->x() + qRound(lblTitle->width() / 1.25),
                     lblTitle->y() + lblTitle->height());

    const MessageStrings &texts = Texts();
    StartCredits(picCredits,
                 BuildCreditsText(texts.VariousVersion, texts.VariousThisProgramUse,
                                  texts.LanguageAuthor, EngineVersionText()),
                 kCreditsInterval);
}

void frmCredits::Form_Click() { reject(); }

void frmCredits::picCredits_Click() { reject(); }

void frmCredits::Form_Unload()
{
    // Only this window's credits: a newer About box may be rolling by now.
    if (Scroller().ScrollBox == picCredits) StopCredits();
}

void frmCredits::done(int result)
{
    Form_Unload();
    QDialog::done(result);
}

void frmCredits::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), Qt::white);

    // The banner: a band of pale blue that fades into the white toward the
    // right, with a few soft rings behind the right end, and a thin rule of
    // dark blue that fades out along its lower edge.
    const QRectF band(0, 0, width(), kBannerHeight);
    QLinearGradient wash(band.topLeft(), band.topRight());
    wash.setColorAt(0.0, QColor(206, 220, 240));
    wash.setColorAt(0.6, QColor(232, 239, 249));
    wash.setColorAt(1.0, QColor(250, 252, 255));
    painter.fillRect(band, wash);

    painter.save();
    painter.setClipRect(band);
    const QPointF centre(band.right() - 46, band.center().y() + 6);
    for (int ring = 4; ring >= 1; --ring) {
        const qreal radius = 22.0 * ring;
        QRadialGradient glow(centre, radius);
        glow.setColorAt(0.0, QColor(255, 255, 255, 0));
        glow.setColorAt(0.85, QColor(255, 255, 255, 0));
        glow.setColorAt(1.0, QColor(170, 190, 225, 70));
        painter.setPen(Qt::NoPen);
        painter.setBrush(glow);
        painter.drawEllipse(centre, radius, radius);
    }
    painter.restore();

    QLinearGradient rule(band.bottomLeft(), band.bottomRight());
    rule.setColorAt(0.0, QColor(0, 0, 128));
    rule.setColorAt(1.0, QColor(0, 0, 128, 0));
    painter.fillRect(QRectF(0, band.bottom() - 2, width(), 2), rule);

    // No frame from the desktop: a line of grey around the window.
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QColor(160, 160, 160));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void frmCredits::mousePressEvent(QMouseEvent *event)
{
    event->accept();
    if (event->button() == Qt::LeftButton) Form_Click();
}

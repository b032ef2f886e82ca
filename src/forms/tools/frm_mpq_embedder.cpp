#include "tools/frm_mpq_embedder.h"

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QLinearGradient>
#include <QPainter>
#include <QPushButton>

#include "config/catalogue.h"
#include "dialogs/dialogs.h"
#include "tools/archive_drum_widget.h"
#include "tools/embed_archive.h"
#include "tools/mpq_header.h"

namespace {

// The fixed layout, in pixels.
constexpr int kEmbedderWidth = 600;
constexpr int kEmbedderHeight = 200;
constexpr int kPictureWidth = 100;
constexpr int kMargin = 12;
constexpr int kLeft = kPictureWidth + kMargin;
constexpr int kGap = 8;
constexpr int kButtonHeight = 28;

// The strip along the left edge: a dusk gradient with an archive drum
// sliding into the bottom of an executable's window.
class EmbedderPicture final : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF area = rect();
        QLinearGradient sky(area.topLeft(), area.bottomLeft());
        sky.setColorAt(0, QColor(0x2b, 0x4c, 0x7e));
        sky.setColorAt(1, QColor(0x0d, 0x17, 0x28));
        painter.fillRect(area, sky);

        const qreal x = area.width() * 0.2;
        const qreal w = area.width() * 0.6;
        // The executable: a window with its title bar.
        const QRectF window(x, 24, w, w * 0.8);
        painter.setPen(QPen(QColor(0xd8, 0xe3, 0xf0), 2));
        painter.setBrush(QColor(0x3d, 0x63, 0x9a));
        painter.drawRoundedRect(window, 4, 4);
        painter.fillRect(QRectF(window.left() + 1, window.top() + 1, window.width() - 2, 10), QColor(0xd8, 0xe3, 0xf0));

        // An arrow from the archive up into the window.
        const qreal mid = x + w / 2;
        const qreal arrowTop = window.bottom() + 8;
        painter.setPen(QPen(QColor(0xf2, 0xb1, 0x3b), 3, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(mid, arrowTop + 26), QPointF(mid, arrowTop));
        painter.drawLine(QPointF(mid - 7, arrowTop + 7), QPointF(mid, arrowTop));
        painter.drawLine(QPointF(mid + 7, arrowTop + 7), QPointF(mid, arrowTop));

        // The archive: a drum of stacked discs.
        DrawArchiveDrum(painter, x, arrowTop + 38, w);
        QFont font = painter.font();
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(QColor(0xd8, 0xe3, 0xf0));
        painter.drawText(QRectF(0, area.height() - 30, area.width(), 20), Qt::AlignCenter, QStringLiteral("MPQ"));
    }
};

// The wait cursor for as long as a copy runs.
struct WaitCursor {
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor &) = delete;
    WaitCursor &operator=(const WaitCursor &) = delete;
};

// What the user is told when a command could not be done; empty when it was
// done, and for an archive to add that is not plain, which is passed over
// without a word.
QString FailureText(const EmbedResult &result)
{
    switch (result.status) {
    case EmbedStatus::OpenFailed:
        return ReplaceValue(Texts().EmbedderOpenFailed, result.path);
    case EmbedStatus::ReadFailed:
        return ReplaceValue(Texts().EmbedderReadFailed, result.path);
    case EmbedStatus::WriteFailed:
        return ReplaceValue(Texts().EmbedderWriteFailed, result.path);
    case EmbedStatus::SameFile:
        return ReplaceValue(Texts().EmbedderSameFile, result.path);
    case EmbedStatus::NoEmbeddedArchive:
        return Texts().EmbedderNoMPQ;
    case EmbedStatus::Done:
    case EmbedStatus::NotPlainArchive:
        break;
    }
    return QString();
}

QPushButton *MakeButton(QWidget *parent, const char *name, int index)
{
    constexpr int width = (kEmbedderWidth - kLeft - kMargin - 3 * kGap) / 4;
    auto *button = new QPushButton(parent);
    button->setObjectName(QString::fromLatin1(name));
    button->setGeometry(kLeft + index * (width + kGap), kEmbedderHeight - kMargin - kButtonHeight, width, kButtonHeight);
    button->setAutoDefault(false);
    return button;
}

}  // namespace

frmMPQEmbedder::frmMPQEmbedder(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmMPQEmbedder"));
    setWindowTitle(QStringLiteral("MPQ Embedder"));
    setFixedSize(kEmbedderWidth, kEmbedderHeight);

    Picture1 = new EmbedderPicture(this);
    Picture1->setObjectName(QStringLiteral("Picture1"));
    Picture1->setGeometry(0, 0, kPictureWidth, kEmbedderHeight);

    lblFile = new QLabel(this);
    lblFile->setObjectName(QStringLiteral("lblFile"));
    lblFile->setGeometry(kLeft, kMargin, kEmbedderWidth - kLeft - kMargin, 18);

    constexpr int browseWidth = 34;
    txtFile = new QLineEdit(this);
    txtFile->setObjectName(QStringLiteral("txtFile"));
    txtFile->setReadOnly(true);
    txtFile->setGeometry(kLeft, kMargin + 22, kEmbedderWidth - kLeft - kMargin - browseWidth - kGap, 24);

    cmdBrowse = new QPushButton(QStringLiteral("..."), this);
    cmdBrowse->setObjectName(QStringLiteral("cmdBrowse"));
    cmdBrowse->setGeometry(kEmbedderWidth - kMargin - browseWidth, kMargin + 22, browseWidth, 24);
    cmdBrowse->setAutoDefault(false);

    frmMessage = new QGroupBox(this);
    frmMessage->setObjectName(QStringLiteral("frmMessage"));
    const int frameTop = kMargin + 56;
    const int frameHeight = kEmbedderHeight - kMargin - kButtonHeight - kGap - frameTop;
    frmMessage->setGeometry(kLeft, frameTop, kEmbedderWidth - kLeft - kMargin, frameHeight);
    lblMessage = new QLabel(frmMessage);
    lblMessage->setObjectName(QStringLiteral("lblMessage"));
    lblMessage->setWordWrap(true);
    lblMessage->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    lblMessage->setGeometry(10, 20, frmMessage->width() - 20, frameHeight - 26);

    cmdAddMPQ = MakeButton(this, "cmdAddMPQ", 0);
    cmdSaveMPQ = MakeButton(this, "cmdSaveMPQ", 1);
    cmdSaveEXE = MakeButton(this, "cmdSaveEXE", 2);
    cmdClose = MakeButton(this, "cmdClose", 3);

    connect(cmdBrowse, &QPushButton::clicked, this, &frmMPQEmbedder::cmdBrowse_Click);
    connect(cmdAddMPQ, &QPushButton::clicked, this, &frmMPQEmbedder::cmdAddMPQ_Click);
    connect(cmdSaveMPQ, &QPushButton::clicked, this, &frmMPQEmbedder::cmdSaveMPQ_Click);
    connect(cmdSaveEXE, &QPushButton::clicked, this, &frmMPQEmbedder::cmdSaveEXE_Click);
    connect(cmdClose, &QPushButton::clicked, this, &frmMPQEmbedder::cmdClose_Click);
    connect(&LanguageEvents::Instance(), &LanguageEvents::Loaded, this, &frmMPQEmbedder::ApplyTexts);
    ApplyTexts();

    Form_Load();
}

// The captions, from the texts in force. The verdict on screen keeps its
// language until the next one is shown.
void frmMPQEmbedder::ApplyTexts()
{
    const MessageStrings &t = Texts();
    lblFile->setText(t.EmbedderFileName);
    frmMessage->setTitle(t.EmbedderInformation);
    cmdAddMPQ->setText(t.EmbedderAdd);
    cmdSaveEXE->setText(t.EmbedderExportEXE);
    cmdSaveMPQ->setText(t.EmbedderExportMPQ);
    cmdClose->setText(t.EmbedderClose);
}

void frmMPQEmbedder::Form_Load()
{
    SetCommands(false, false);
    ShowVerdict(Texts().EmbedderNoFile);
}

void frmMPQEmbedder::SetCommands(bool add, bool exports)
{
    cmdAddMPQ->setEnabled(add);
    cmdSaveMPQ->setEnabled(exports);
    cmdSaveEXE->setEnabled(exports);
}

void frmMPQEmbedder::ShowVerdict(const QString &text)
{
    lblMessage->setText(text);
}

void frmMPQEmbedder::ReportFailure(const EmbedResult &result)
{
    const QString text = FailureText(result);
    if (!text.isEmpty())
        ShowMessageBox(this, text, QString(), MessageButton::OK, MessageIcon::Exclamation, MessageButton::OK);
}

void frmMPQEmbedder::cmdBrowse_Click()
{
    const QString path = OpenFileDialog(this, kOpenFileTitle, Texts().FilterEXE, QString(), false);
    if (path.isEmpty()) return;
    ExePath = path;
    txtFile->setText(path);
    if (!IsExecutable(path)) {
        // The buttons follow the file now shown: none applies to this one.
        SetCommands(false, false);
        ShowVerdict(Texts().EmbedderNoEXE);
        return;
    }
    // An executable begins with "MZ", so its header, if any, stands above 0.
    const bool holdsArchive = FindMPQHeader(path) >= 0;
    SetCommands(!holdsArchive, holdsArchive);
    ShowVerdict(holdsArchive ? Texts().EmbedderOkMPQ : Texts().EmbedderNoMPQ);
}

void frmMPQEmbedder::cmdAddMPQ_Click()
{
    const QString path = OpenFileDialog(this, kOpenFileTitle, Texts().FilterMPQ, QString(), false);
    if (path.isEmpty()) return;
    MPQPath = path;
    EmbedResult result;
    {
        WaitCursor wait;
        result = EmbedArchive(ExePath, MPQPath);
    }
    if (!result.ok()) {
        ReportFailure(result);
        return;
    }
    SetCommands(false, true);
    ShowVerdict(Texts().EmbedderOkMPQ);
}

void frmMPQEmbedder::cmdSaveEXE_Click()
{
    const QString target = SaveFileDialog(this, kSaveFileTitle, Texts().FilterEXE);
    if (target.isEmpty()) return;
    EmbedResult result;
    {
        WaitCursor wait;
        result = ExportExecutablePart(ExePath, target);
    }
    ReportFailure(result);
}

void frmMPQEmbedder::cmdSaveMPQ_Click()
{
    const QString target = SaveFileDialog(this, kSaveFileTitle, Texts().FilterMPQ);
    if (target.isEmpty()) return;
    MPQPath = target;
    EmbedResult result;
    {
        WaitCursor wait;
        result = ExportArchivePart(ExePath, MPQPath);
    }
    ReportFailure(result);
}

void frmMPQEmbedder::cmdClose_Click()
{
    hide();
}

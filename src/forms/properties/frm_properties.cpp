#include "properties/frm_properties.h"

#include <QLabel>
#include <QPushButton>

#include <algorithm>

#include "properties/archive_properties.h"
#include "layout/twips.h"

namespace {

constexpr double kDialogWidth = 7800;
constexpr double kDialogHeight = 4320;
// The bar's column is wider than the 1215 twips of old: its bold caption
// needs the room in the fonts of today. The bar stays centred below it.
constexpr double kBarColumnWidth = 1560;
constexpr double kBarWidth = 375;
constexpr double kLabelLeft = 1680;
constexpr double kValueLeft = 3240;
constexpr double kLineTop = 240;
constexpr double kLineStep = 420;
constexpr double kLineHeight = 255;

QWidget *FilledBox(QWidget *parent, const char *name, const QColor &colour)
{
    auto *box = new QWidget(parent);
    box->setObjectName(QLatin1String(name));
    QPalette palette = box->palette();
    palette.setColor(QPalette::Window, colour);
    box->setPalette(palette);
    box->setAutoFillBackground(true);
    return box;
}

QLabel *BoldCentred(QWidget *parent, const char *name, const QString &text)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(QLatin1String(name));
    label->setAlignment(Qt::AlignCenter);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

}  // namespace

frmProperties::frmProperties(QWidget *parent) : QDialog(parent)
{
    setWindowFlags(Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint |
                   Qt::WindowCloseButtonHint);
    setModal(true);
    setFixedSize(X(kDialogWidth), Y(kDialogHeight));

    lblCompression_ = BoldCentred(this, "lblCompression", QString());
    lblCompression_->setGeometry(X(0), Y(240), X(kBarColumnWidth), Y(255));
    // The whole bar in the colour of an inactive title, the saved part in
    // the colour of a selection.
    picSize_ = FilledBox(this, "picSize", palette().color(QPalette::Inactive, QPalette::Mid));
    picSize_->setGeometry(X((kBarColumnWidth - kBarWidth) / 2), Y(600), X(kBarWidth), Y(kBarHeight));
    picRatio_ = FilledBox(picSize_, "picRatio", palette().color(QPalette::Active, QPalette::Highlight));
    lblRatio_ = BoldCentred(this, "lblRatio", QStringLiteral("0%"));
    lblRatio_->setGeometry(X(0), Y(3240), X(kBarColumnWidth), Y(255));
    SetSavingBar(0);

    cmdOK_ = new QPushButton(QStringLiteral("Ok"), this);
    cmdOK_->setObjectName(QStringLiteral("cmdOK"));
    cmdOK_->setGeometry(X(kDialogWidth - 1440), Y(kDialogHeight - 600), X(1215), Y(375));
    cmdOK_->setDefault(true);
    connect(cmdOK_, &QPushButton::clicked, this, &frmProperties::cmdOK_Click);
}

int frmProperties::X(double twips) const { return TwipsToPixels(twips, logicalDpiX()); }
int frmProperties::Y(double twips) const { return TwipsToPixels(twips, logicalDpiY()); }

QLabel *frmProperties::AddLine(int line, int labelIndex, const char *valueName, const QString &designCaption)
{
    const double top = kLineTop + line * kLineStep;
    auto *label = new QLabel(this);
    label->setObjectName(QStringLiteral("lblLabel%1").arg(labelIndex));
    label->setGeometry(X(kLabelLeft), Y(top), X(kValueLeft - kLabelLeft - 60), Y(kLineHeight));
    labels_[static_cast<std::size_t>(labelIndex)] = label;

    auto *value = new QLabel(designCaption, this);
    value->setObjectName(QLatin1String(valueName));
    value->setTextFormat(Qt::PlainText);
    value->setGeometry(X(kValueLeft), Y(top), X(kDialogWidth - kValueLeft - 120), Y(kLineHeight));
    return value;
}

void frmProperties::SetCaptions(const QString &title, const QString &compression,
                                std::initializer_list<QString> labels)
{
    setWindowTitle(title);
    lblCompression_->setText(compression);
    std::size_t index = 0;
    for (const QString &caption : labels)
        if (index < labels_.size() && labels_[index]) labels_[index++]->setText(caption);
}

void frmProperties::FitLines(int lines)
{
    constexpr double kRoomBelowLines = 720;
    const double height = std::max(kDialogHeight, kLineTop + lines * kLineStep + kRoomBelowLines);
    setFixedSize(X(kDialogWidth), Y(height));
    cmdOK_->move(X(kDialogWidth - 1440), Y(height - 600));
}

void frmProperties::SetSavingBar(double share)
{
    ratioHeight_ = SavingHeight(share, kBarHeight);
    const int barPixels = picSize_->height();
    const int ratioPixels = Y(ratioHeight_);
    picRatio_->setGeometry(0, barPixels - ratioPixels, picSize_->width(), ratioPixels);
}

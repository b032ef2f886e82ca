// What the two property dialogs share: a fixed dialog with the saving bar
// at its left, a column of labels with their values beside it, and "Ok",
// which hides the dialog so that it stays loaded for the next showing.
#pragma once

#include <QDialog>

#include <array>
#include <initializer_list>

class QLabel;
class QPushButton;

class frmProperties : public QDialog {
    Q_OBJECT
public:
    // The static labels lblLabel(0), lblLabel(1), ... (seven of them or more)
    // and the value labels.
    QLabel *lblLabel(int index) const { return labels_[static_cast<std::size_t>(index)]; }
    // The saving bar: its caption, the whole bar, the saved part inside it,
    // and the percentage below.
    QLabel *lblCompression() const { return lblCompression_; }
    QWidget *picSize() const { return picSize_; }
    QWidget *picRatio() const { return picRatio_; }
    QLabel *lblRatio() const { return lblRatio_; }
    QPushButton *cmdOK() const { return cmdOK_; }
    // The heights of the bar and of its saved part, in twips.
    float SizeHeight() const { return kBarHeight; }
    float RatioHeight() const { return ratioHeight_; }

    void cmdOK_Click() { hide(); }

protected:
    explicit frmProperties(QWidget *parent);

    // A static label and its value label on the `line`-th line from the top.
    // The value shows its design caption until it is first set.
    QLabel *AddLine(int line, int labelIndex, const char *valueName, const QString &designCaption);
    // The captions in the language in force: the title, the bar's caption and
    // the static labels lblLabel(0), lblLabel(1), ... in their index order.
    void SetCaptions(const QString &title, const QString &compression, std::initializer_list<QString> labels);
    // The saved part takes `share` of the bar, from its bottom up; a share
    // of 0 or less leaves the bar empty.
    void SetSavingBar(double share);
    // Makes the dialog tall enough for `lines` lines, "Ok" below them.
    void FitLines(int lines);

private:
    static constexpr float kBarHeight = 2415.0f;
    int X(double twips) const;
    int Y(double twips) const;

    std::array<QLabel *, 22> labels_{};
    QLabel *lblCompression_ = nullptr;
    QWidget *picSize_ = nullptr;
    QWidget *picRatio_ = nullptr;
    QLabel *lblRatio_ = nullptr;
    QPushButton *cmdOK_ = nullptr;
    float ratioHeight_ = 0;
};

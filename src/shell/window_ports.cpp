#include "shell/window_ports.h"

#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QStatusBar>

#include "base/text_encoding.h"
#include "shell/folder_tree_widget.h"

StatusReport::StatusReport(QWidget *client, int panel1MinWidth, int panel2Width)
{
    bar_ = new QStatusBar(client);
    bar_->setObjectName(QStringLiteral("StatusBar1"));
    bar_->setSizeGripEnabled(false);
    panel1_ = new QLabel(bar_);
    panel1_->setObjectName(QStringLiteral("StatusBar1Panel1"));
    panel1_->setMinimumWidth(panel1MinWidth - 8);
    panel1_->setTextFormat(Qt::PlainText);
    bar_->addWidget(panel1_, 1);
    auto *panel2 = new QWidget(bar_);
    panel2->setObjectName(QStringLiteral("StatusBar1Panel2"));
    panel2->setFixedWidth(panel2Width);
    bar_->addPermanentWidget(panel2);

    // The progress bar stands over panel 2, not inside it.
    progress_ = new QProgressBar(client);
    progress_->setObjectName(QStringLiteral("pbStatus"));
    progress_->setRange(0, 100);
    progress_->setTextVisible(false);
    progress_->setVisible(false);
    progress_->raise();
}

void StatusReport::SetStatusText(const QString &status)
{
    const QString text = MarkControls(status);  // the names in it may hold controls
    if (panel1_->text() == text) return;
    panel1_->setText(text);
    // The listings and a delete do not yield: the panel shows a new text at
    // once, as often as a screen shows frames; a text between two frames is
    // seen only by the next (a delete of every row would paint 100,000).
    constexpr qint64 kFrame = 16;  // milliseconds
    if (panel1_->isVisible() && (!painted_.isValid() || painted_.elapsed() >= kFrame)) {
        panel1_->repaint();
        painted_.start();
    }
}

void StatusReport::SetProgressMax(int max) { progress_->setMaximum(std::max(max, 1)); }
// The listings set the bar only as the percentage moves: each time, the
// window paints (a menu closed before the listing leaves no trace) without
// taking input, so no second command starts meanwhile.
void StatusReport::SetProgressValue(int value)
{
    progress_->setValue(value);
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}
void StatusReport::SetProgressVisible(bool visible) { progress_->setVisible(visible); }

void StatusReport::Yield() { QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); }

void TreePort::AddRootNode(const QString &key, const QString &text) { tree_->AddRootNode(key, text); }

void TreePort::AddFolderNode(const QString &parentKey, const QString &key, const QString &text)
{
    tree_->AddFolderNode(parentKey, key, text);
}

bool TreePort::NodeExists(const QString &key) const { return tree_->NodeExists(key); }
void TreePort::ClearNodes() { tree_->ClearNodes(); }

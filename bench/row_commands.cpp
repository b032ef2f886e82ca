// Times the row commands of the window on a big archive, offscreen: select
// all, invert, find with no match (a walk over every row), find next, the
// sort of each column both ways, and delete of a scattered thousand rows and
// of every row. Questions are answered Yes by a provider of its own.
// Usage: arcavera-bench-rows ARCHIVE  (the archive is changed: pass a copy)
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QItemSelectionModel>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>

#include "dialogs/dialogs.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "bench_window.h"
#include "shell/frm_main.h"

namespace {

struct AnswerYes final : DialogProvider {
    QString text;  // the answer of the input box
    QString ChooseOpenFile(QObject *, const QString &, const QStringList &, const QString &) override { return {}; }
    QStringList ChooseOpenFiles(QObject *, const QString &, const QStringList &, const QString &) override
    {
        return {};
    }
    QString ChooseSaveFile(QObject *, const QString &, const QStringList &) override { return {}; }
    QString ChooseFolder(QObject *, const QString &) override { return {}; }
    MessageButton Message(QObject *, const QString &, const QString &, MessageButtons, MessageIcon,
                          MessageButton) override
    {
        return MessageButton::Yes;
    }
    InputAnswer Input(QObject *, const QString &, const QString &, const QString &) override { return {true, text}; }
    NewArchiveChoice ChooseNewArchive(QObject *, const NewArchiveChoice &preset) override { return preset; }
};

double Time(const char *what, const std::function<void()> &step)
{
    QElapsedTimer timer;
    timer.start();
    step();
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    std::printf("%-34s %8.3f s\n", what, seconds);
    return seconds;
}

}  // namespace

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fputs("usage: arcavera-bench-rows ARCHIVE\n", stderr);
        return 1;
    }
    QTemporaryDir home;
    const StartupPaths paths = BenchWindowPaths(home);
    AnswerYes answers;
    SetDialogProvider(&answers);
    frmMain window(paths);
    window.resize(1000, 700);
    window.show();
    double slowest = 0;
    auto step = [&](const char *what, const std::function<void()> &fn) { slowest = std::max(slowest, Time(what, fn)); };
    step("open and list", [&] { window.Form_Load(QString::fromLocal8Bit(argv[1])); });
    const int rows = window.Model()->rowCount();
    std::printf("%-34s %8d\n", "rows", rows);
    step("select all", [&] { window.mnuSelectAll_Click(); });
    step("invert", [&] { window.mnuReverse_Click(); });
    step("invert again", [&] { window.mnuReverse_Click(); });
    answers.text = QStringLiteral("no such name");
    step("find, no match", [&] { window.mnuFind_Click(); });
    answers.text = QStringLiteral("file");
    step("find", [&] { window.mnuFind_Click(); });
    step("find next x100", [&] {
        for (int i = 0; i < 100; ++i) window.mnuFindNext_Click();
    });
    for (int column = 1; column <= 6; ++column) {
        const QByteArray label = QByteArray("sort by column ") + QByteArray::number(column) + " twice";
        step(label.constData(), [&] {
            window.lwMPQ_ColumnClick(column);
            window.lwMPQ_ColumnClick(column);
        });
    }
    window.mnuDeselectAll_Click();
    QItemSelectionModel *selection = window.List()->selectionModel();
    for (int row = 0; row < rows; row += std::max(1, rows / 1000))
        selection->select(window.Model()->index(row, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    selection->setCurrentIndex(window.Model()->index(0, 0), QItemSelectionModel::NoUpdate);
    step("delete 1000 scattered rows", [&] { window.mnuDelete_Click(); });
    window.mnuSelectAll_Click();
    step("delete every row", [&] { window.mnuDelete_Click(); });
    std::printf("%-34s %8d\n", "rows left", window.Model()->rowCount());
    step("refresh", [&] { window.mnuRefresh_Click(); });
    std::printf("%-34s %8d\n", "rows after refresh", window.Model()->rowCount());
    std::printf("%-34s %8.3f s (target: 2 s or less per command)\n", "slowest", slowest);
    window.Form_Unload();
    SetDialogProvider(nullptr);
    return 0;
}

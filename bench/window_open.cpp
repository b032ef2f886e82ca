// The window on a big archive, offscreen, as a user starts it: in Classic
// style it opens the archive, fills and paints the list, and ends (the
// benchmark times the whole run). With --explorer it opens the archive in
// Explorer style, then clicks folders of the tree one after the other and
// prints the time of each click until the folder's list is painted.
// Usage: arcavera-bench-window ARCHIVE [--explorer]
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTreeWidgetItem>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/folder_tree_widget.h"
#include "bench_window.h"
#include "shell/frm_main.h"

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const bool explorer = argc == 3 && QByteArray(argv[2]) == "--explorer";
    if (argc != 2 && !explorer) {
        std::fputs("usage: arcavera-bench-window ARCHIVE [--explorer]\n", stderr);
        return 1;
    }
    QTemporaryDir home;
    const StartupPaths paths = BenchWindowPaths(home);
    frmMain window(paths);
    window.resize(1000, 700);
    window.show();
    window.Form_Load(QString::fromLocal8Bit(argv[1]));
    if (explorer) window.mnuExplorerStyle_Click();  // lists the archive again, in that style
    window.repaint();
    std::fprintf(stderr, "%d rows\n", window.Model()->rowCount());
    if (!explorer) return window.Model()->rowCount() > 0 ? 0 : 1;

    // Every folder below the root, clicked in turn.
    std::vector<QTreeWidgetItem *> folders;
    QTreeWidgetItem *root = window.Tree()->topLevelItem(0);
    for (int i = 0; root != nullptr && i < root->childCount(); ++i) folders.push_back(root->child(i));
    std::vector<double> times;
    for (std::size_t i = 0; i < folders.size() && i < 50; ++i) {
        QElapsedTimer timer;
        timer.start();
        window.tvMPQ_NodeClick(folders[i * folders.size() / std::min<std::size_t>(folders.size(), 50)]);
        window.List()->repaint();
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    if (times.empty()) return 1;
    std::sort(times.begin(), times.end());
    std::printf("%zu %.1f %.1f %d\n", times.size(), times[times.size() / 2], times.back(), window.Model()->rowCount());
    return 0;
}

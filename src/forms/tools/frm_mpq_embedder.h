// The MPQ Embedder: looks into an executable, appends an archive to one that
// holds none, or cuts one that holds an archive into its two parts.
//
// The three command buttons are the dialog's state: Add enabled means an
// executable without an archive is shown, the two exports enabled mean one
// with an archive. A file that is no executable leaves all three disabled.
// Closing only hides the dialog, so its next showing finds the file, the
// buttons and the verdict as they stood. The dialog works on files alone,
// never on the archive open in the main window.
#pragma once

#include <QDialog>

class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;
struct EmbedResult;

class frmMPQEmbedder : public QDialog {
    Q_OBJECT
public:
    explicit frmMPQEmbedder(QWidget *parent = nullptr);

    // The file under examination, and the archive picked to be added or the
    // target of the last archive export.
    QString ExePath;
    QString MPQPath;

    // The first state: no file, no command.
    void Form_Load();
    // Picks the executable and shows the verdict on it.
    void cmdBrowse_Click();
    // Appends a plain archive to the executable, in place.
    void cmdAddMPQ_Click();
    // Write the executable part, or the archive part, to a new file.
    void cmdSaveEXE_Click();
    void cmdSaveMPQ_Click();
    void cmdClose_Click();

private:
    void ApplyTexts();
    void SetCommands(bool add, bool exports);
    void ShowVerdict(const QString &text);
    // A message box for a command that failed or was refused, if it says anything.
    void ReportFailure(const EmbedResult &result);

    QWidget *Picture1 = nullptr;
    QLabel *lblFile = nullptr;
    QLineEdit *txtFile = nullptr;
    QPushButton *cmdBrowse = nullptr;
    QGroupBox *frmMessage = nullptr;
    QLabel *lblMessage = nullptr;
    QPushButton *cmdAddMPQ = nullptr;
    QPushButton *cmdSaveMPQ = nullptr;
    QPushButton *cmdSaveEXE = nullptr;
    QPushButton *cmdClose = nullptr;
};

// The configuration dialog: the compression rules, the defaults of a new
// archive, the external list files, the association of ".mpq" files and the
// language.
//
// The dialog is also the routine that fills AppConfig: the main window makes
// it at start-up, shown or not, and its Form_Load reads the settings file
// into AppConfig and into the controls and loads the configured language.
// From then on it stays made. The rule controls change AppConfig's rules at
// once; OK takes the other controls into AppConfig, writes everything to the
// settings file, applies the association and the language, and hides the
// dialog as it stands. Cancel, or closing the window, loads everything anew
// from the file, which drops every edit and a previewed language, and hides
// the dialog on its first tab.
#pragma once

#include <QDialog>

#include <array>

#include "config/app_config.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QTabBar;

class frmConfig : public QDialog {
    Q_OBJECT
public:
    // `config` is the record the dialog fills and keeps up to date; its
    // IniPath names the settings file. The language files are looked for
    // from `programFolder`, which with `executableName` also makes the
    // association's open command. Runs Form_Load.
    frmConfig(AppConfig &config, QString programFolder, QString executableName, QWidget *parent = nullptr);

    void Form_Load();
    // Shows the panel of the selected tab (0 to 3) and hides the others.
    void tabConfig_Click();
    void SelectTab(int index);
    // Selects the language of the system's locale `locale` ("en_GB") in the
    // language list when a language file speaks it, else the built-in Italian.
    void SelectLanguageOfLocale(const QString &locale);
    void lstExtensions_Click();
    void cmbCompression_Click();
    void optAudio_Click(int index);
    void cmdAdd_Click();
    void cmdRemove_Click();
    void cmdAddList_Click();
    void cmdDelList_Click();
    // A typed character: `keyAscii` comes back 0 when the key is swallowed.
    void txtMaxFiles_KeyPress(int &keyAscii);
    void lvLanguages_DblClick();
    void cmdOK_Click();
    void cmdCancel_Click();

protected:
    // Escape and the window's close button cancel.
    void reject() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void BuildControls();
    void ApplyTexts();
    // The rule whose extension is exactly `extension`, from rule 1 up; 0 when none.
    qsizetype FindRule(const QString &extension) const;
    // The rule of the selected entry of lstExtensions; 0 when none is selected.
    qsizetype SelectedRule() const;
    void FillLanguages();
    QStringList ListFilePaths() const;
    QString SelectedLanguageTag() const;

    AppConfig &config_;
    QString programFolder_;
    QString executableName_;
    QString languagesFolder_;

    QTabBar *tabConfig = nullptr;
    QWidget *picGeneral = nullptr;
    QWidget *picCompression = nullptr;
    QWidget *picFileList = nullptr;
    QWidget *picLanguage = nullptr;
    QCheckBox *chkEncrypt = nullptr;
    QCheckBox *chkAssociate = nullptr;
    QLabel *lblMaxFiles = nullptr;
    QLineEdit *txtMaxFiles = nullptr;
    QGroupBox *frmDefault = nullptr;
    QComboBox *cmbDefaultComp = nullptr;
    QComboBox *cmbDeflateLevel = nullptr;
    QGroupBox *frmCustom = nullptr;
    QListWidget *lstExtensions = nullptr;
    QLineEdit *txtExtension = nullptr;
    QPushButton *cmdAdd = nullptr;
    QPushButton *cmdRemove = nullptr;
    QComboBox *cmbCompression = nullptr;
    QGroupBox *frmAudioComp = nullptr;
    std::array<QRadioButton *, 3> optAudio{};
    std::array<QLabel *, 4> lblLabel{};
    QLabel *lblFileList = nullptr;
    QListWidget *lstFileLists = nullptr;
    QPushButton *cmdAddList = nullptr;
    QPushButton *cmdDelList = nullptr;
    QCheckBox *chkUse = nullptr;
    QCheckBox *chkAutoDetectFile = nullptr;
    QCheckBox *chkRecoverNames = nullptr;
    QLabel *lblLanguage = nullptr;
    QListWidget *lvLanguages = nullptr;
    QPushButton *cmdOK = nullptr;
    QPushButton *cmdCancel = nullptr;
};

#include "config/frm_config.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>

#include "config/catalogue.h"
#include "config/file_association.h"
#include "dialogs/dialogs.h"

namespace {

constexpr int kConfigWidth = 520;
constexpr int kConfigHeight = 400;
constexpr int kMargin = 10;
constexpr int kTabHeight = 26;
constexpr int kPanelWidth = kConfigWidth - 2 * kMargin;
constexpr int kPanelHeight = 310;
constexpr int kButtonWidth = 90;
constexpr int kButtonHeight = 26;

// The background of the panels, frames, check boxes and option buttons.
const QColor kPanelColour(252, 252, 254);

// The drop-down entries, the same in every language.
const char *const kDefaultCompressions[] = {"Standard", "Deflate"};
const char *const kDeflateLevels[] = {"Default", "0 (none)", "1 (best speed)", "2", "3", "4", "5", "6",
                                      "7", "8", "9 (best compression)"};
const char *const kCompressionTypes[] = {"None", "Standard", "Deflate", "Audio"};
constexpr int kAudioType = 3;

// The list-file dialog's title and filter, the same in every language.
const QString kListFilter = QStringLiteral("File di testo (*.txt)") + QChar(0) + QStringLiteral("*.txt") +
                            QChar(0) + QStringLiteral("Titti i files (*.*)") + QChar(0) + QStringLiteral("*.*");

template <typename T>
T *Make(QWidget *parent, const char *name, QRect geometry)
{
    auto *control = new T(parent);
    control->setObjectName(QLatin1String(name));
    control->setGeometry(geometry);
    return control;
}

// A panel fills itself with the colour; the controls on it take the colour
// too and let the panel show through, so the whole page is one surface.
void Paint(QWidget *control, bool fill)
{
    QPalette palette = control->palette();
    palette.setColor(QPalette::Window, kPanelColour);
    control->setPalette(palette);
    control->setAutoFillBackground(fill);
}

template <std::size_t N>
void Fill(QComboBox *box, const char *const (&entries)[N])
{
    box->clear();
    for (const char *entry : entries) box->addItem(QLatin1String(entry));
    box->setCurrentIndex(0);
}

// A list kept in alphabetical order: without regard to case, then by case.
bool Before(const QString &a, const QString &b)
{
    const int folded = a.compare(b, Qt::CaseInsensitive);
    return folded != 0 ? folded < 0 : a < b;
}

QListWidgetItem *InsertSorted(QListWidget *list, const QString &text)
{
    int row = 0;
    while (row < list->count() && !Before(text, list->item(row)->text())) ++row;
    auto *item = new QListWidgetItem(text);
    list->insertItem(row, item);
    return item;
}

QString SelectedText(const QListWidget *list)
{
    const QList<QListWidgetItem *> selected = list->selectedItems();
    return selected.isEmpty() ? QString() : selected.first()->text();
}

}  // namespace

frmConfig::frmConfig(AppConfig &config, QString programFolder, QString executableName, QWidget *parent)
    : QDialog(parent), config_(config), programFolder_(std::move(programFolder)),
      executableName_(std::move(executableName)), languagesFolder_(LanguagesFolder(programFolder_))
{
    setObjectName(QStringLiteral("frmConfig"));
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    setFixedSize(kConfigWidth, kConfigHeight);
    setModal(true);
    BuildControls();
    connect(&LanguageEvents::Instance(), &LanguageEvents::Loaded, this, &frmConfig::ApplyTexts);
    ApplyTexts();
    Form_Load();
}

void frmConfig::BuildControls()
{
    tabConfig = Make<QTabBar>(this, "tabConfig", QRect(kMargin, kMargin, kPanelWidth, kTabHeight));
    tabConfig->setExpanding(false);
    tabConfig->setDrawBase(false);
    for (int i = 0; i < 4; ++i) tabConfig->addTab(QString());
    connect(tabConfig, &QTabBar::currentChanged, this, [this] { tabConfig_Click(); });

    const QRect panel(kMargin, kMargin + kTabHeight, kPanelWidth, kPanelHeight);
    picGeneral = Make<QWidget>(this, "picGeneral", panel);
    picCompression = Make<QWidget>(this, "picCompression", panel);
    picFileList = Make<QWidget>(this, "picFileList", panel);
    picLanguage = Make<QWidget>(this, "picLanguage", panel);
    const int inner = kPanelWidth - 24;

    // General
    chkEncrypt = Make<QCheckBox>(picGeneral, "chkEncrypt", QRect(12, 16, inner, 22));
    chkAssociate = Make<QCheckBox>(picGeneral, "chkAssociate", QRect(12, 46, inner, 22));
    lblMaxFiles = Make<QLabel>(picGeneral, "lblMaxFiles", QRect(12, 90, inner, 40));
    lblMaxFiles->setWordWrap(true);
    txtMaxFiles = Make<QLineEdit>(picGeneral, "txtMaxFiles", QRect(12, 134, 90, 24));
    txtMaxFiles->setMaxLength(6);
    txtMaxFiles->installEventFilter(this);

    // Compression: the defaults, then the rules.
    frmDefault = Make<QGroupBox>(picCompression, "frmDefault", QRect(8, 6, kPanelWidth - 16, 82));
    lblLabel[0] = Make<QLabel>(frmDefault, "lblLabel0", QRect(12, 22, 220, 18));
    cmbDefaultComp = Make<QComboBox>(frmDefault, "cmbDefaultComp", QRect(12, 44, 220, 26));
    lblLabel[1] = Make<QLabel>(frmDefault, "lblLabel1", QRect(248, 22, 224, 18));
    cmbDeflateLevel = Make<QComboBox>(frmDefault, "cmbDeflateLevel", QRect(248, 44, 224, 26));

    frmCustom = Make<QGroupBox>(picCompression, "frmCustom", QRect(8, 94, kPanelWidth - 16, 210));
    lblLabel[2] = Make<QLabel>(frmCustom, "lblLabel2", QRect(12, 22, 230, 18));
    lstExtensions = Make<QListWidget>(frmCustom, "lstExtensions", QRect(12, 44, 110, 156));
    lstExtensions->setSelectionMode(QAbstractItemView::SingleSelection);
    txtExtension = Make<QLineEdit>(frmCustom, "txtExtension", QRect(130, 44, 100, 24));
    cmdAdd = Make<QPushButton>(frmCustom, "cmdAdd", QRect(130, 74, 100, kButtonHeight));
    cmdRemove = Make<QPushButton>(frmCustom, "cmdRemove", QRect(130, 104, 100, kButtonHeight));
    lblLabel[3] = Make<QLabel>(frmCustom, "lblLabel3", QRect(244, 22, 228, 18));
    cmbCompression = Make<QComboBox>(frmCustom, "cmbCompression", QRect(244, 44, 228, 26));
    frmAudioComp = Make<QGroupBox>(frmCustom, "frmAudioComp", QRect(244, 78, 228, 122));
    // From the best quality down to the smallest size.
    const int audioTop[3] = {54, 86, 22};
    for (int i = 0; i < 3; ++i) {
        const QByteArray name = "optAudio" + QByteArray::number(i);
        optAudio[i] = Make<QRadioButton>(frmAudioComp, name.constData(), QRect(10, audioTop[i], 212, 26));
        connect(optAudio[i], &QRadioButton::clicked, this, [this, i] { optAudio_Click(i); });
    }
    frmAudioComp->setVisible(false);
    for (QPushButton *button : {cmdAdd, cmdRemove}) button->setAutoDefault(false);
    connect(lstExtensions, &QListWidget::itemSelectionChanged, this, &frmConfig::lstExtensions_Click);
    connect(cmbCompression, &QComboBox::activated, this, [this] { cmbCompression_Click(); });
    connect(cmdAdd, &QPushButton::clicked, this, &frmConfig::cmdAdd_Click);
    connect(cmdRemove, &QPushButton::clicked, this, &frmConfig::cmdRemove_Click);

    // List files
    lblFileList = Make<QLabel>(picFileList, "lblFileList", QRect(12, 10, inner, 18));
    lstFileLists = Make<QListWidget>(picFileList, "lstFileLists", QRect(12, 32, inner, 142));
    lstFileLists->setSelectionMode(QAbstractItemView::SingleSelection);
    cmdAddList = Make<QPushButton>(picFileList, "cmdAddList", QRect(12, 182, 160, kButtonHeight));
    cmdDelList = Make<QPushButton>(picFileList, "cmdDelList", QRect(180, 182, 160, kButtonHeight));
    chkUse = Make<QCheckBox>(picFileList, "chkUse", QRect(12, 218, inner, 22));
    chkAutoDetectFile = Make<QCheckBox>(picFileList, "chkAutoDetectFile", QRect(12, 246, inner, 22));
    chkRecoverNames = Make<QCheckBox>(picFileList, "chkRecoverNames", QRect(12, 274, inner, 22));
    for (QPushButton *button : {cmdAddList, cmdDelList}) button->setAutoDefault(false);
    connect(cmdAddList, &QPushButton::clicked, this, &frmConfig::cmdAddList_Click);
    connect(cmdDelList, &QPushButton::clicked, this, &frmConfig::cmdDelList_Click);

    // Language
    lblLanguage = Make<QLabel>(picLanguage, "lblLanguage", QRect(12, 10, inner, 18));
    lvLanguages = Make<QListWidget>(picLanguage, "lvLanguages", QRect(12, 32, inner, 266));
    lvLanguages->setSelectionMode(QAbstractItemView::SingleSelection);
    connect(lvLanguages, &QListWidget::itemDoubleClicked, this, &frmConfig::lvLanguages_DblClick);

    const int buttonTop = kConfigHeight - kMargin - kButtonHeight;
    cmdOK = Make<QPushButton>(this, "cmdOK", QRect(kConfigWidth - kMargin - 2 * kButtonWidth - 8, buttonTop,
                                                   kButtonWidth, kButtonHeight));
    cmdCancel = Make<QPushButton>(this, "cmdCancel",
                                  QRect(kConfigWidth - kMargin - kButtonWidth, buttonTop, kButtonWidth, kButtonHeight));
    cmdOK->setDefault(true);
    connect(cmdOK, &QPushButton::clicked, this, &frmConfig::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmConfig::cmdCancel_Click);
}

// The captions, from the texts in force.
void frmConfig::ApplyTexts()
{
    const MessageStrings &t = Texts();
    setWindowTitle(t.ConfigConfiguration);
    tabConfig->setTabText(0, t.ConfigGeneral);
    tabConfig->setTabText(1, t.ConfigCompression);
    tabConfig->setTabText(2, t.ConfigFileListTab);
    tabConfig->setTabText(3, t.ConfigLanguage);
    lblMaxFiles->setText(t.ConfigMaxFiles);
    chkEncrypt->setText(t.ConfigEncrypt);
    chkAssociate->setText(t.ConfigAssociate);
    frmDefault->setTitle(t.ConfigStandard);
    lblLabel[0]->setText(t.ConfigDefault);
    lblLabel[1]->setText(t.ConfigDeflate);
    frmCustom->setTitle(t.ConfigCustom);
    lblLabel[2]->setText(t.ConfigExtension);
    lblLabel[3]->setText(t.ConfigCompressionType);
    frmAudioComp->setTitle(t.ConfigAudio);
    optAudio[2]->setText(t.ConfigLowest);
    optAudio[0]->setText(t.ConfigMedium);
    optAudio[1]->setText(t.ConfigHighest);
    cmdAdd->setText(t.ConfigAddExt);
    cmdRemove->setText(t.ConfigRemoveExt);
    lblFileList->setText(t.ConfigFileList);
    cmdAddList->setText(t.ConfigAddList);
    cmdDelList->setText(t.ConfigRemoveList);
    chkUse->setText(t.ConfigUseList);
    chkAutoDetectFile->setText(t.ConfigAutoDetectFile);
    chkRecoverNames->setText(t.ConfigRecoverNames);
    lblLanguage->setText(t.ConfigSelectLanguage);
    cmdOK->setText(t.ConfigOk);
    cmdCancel->setText(t.ConfigCancel);
}

void frmConfig::Form_Load()
{
    for (QWidget *control : {picGeneral, picCompression, picFileList, picLanguage}) Paint(control, true);
    for (QWidget *control : std::initializer_list<QWidget *>{frmDefault, frmCustom, frmAudioComp, chkEncrypt,
                                                             chkAssociate, chkUse, chkAutoDetectFile, chkRecoverNames,
                                                             optAudio[0], optAudio[1], optAudio[2]})
        Paint(control, false);

    // The settings file into AppConfig: rules, numbers, switches, list files.
    QStringList listPaths;
    LoadAppConfig(config_, &listPaths);

    lstExtensions->blockSignals(true);
    lstExtensions->clear();
    lstExtensions->blockSignals(false);
    for (qsizetype n = 1; n < config_.ExtensionRules.size(); ++n)
        InsertSorted(lstExtensions, config_.ExtensionRules[n].Extension);
    txtExtension->clear();
    cmbCompression->setEnabled(true);
    frmAudioComp->setVisible(false);
    for (QRadioButton *option : optAudio) {
        option->setAutoExclusive(false);
        option->setChecked(false);
        option->setAutoExclusive(true);
    }

    txtMaxFiles->setText(QString::number(config_.DefaultMaxFiles));
    chkAssociate->setChecked(ReadAssociate(config_.IniPath));
    chkEncrypt->setChecked(config_.Encrypt);

    Fill(cmbDefaultComp, kDefaultCompressions);
    Fill(cmbDeflateLevel, kDeflateLevels);
    Fill(cmbCompression, kCompressionTypes);
    cmbDefaultComp->setCurrentIndex(config_.DefaultCompression);
    cmbDeflateLevel->setCurrentIndex(config_.DefaultDeflateLevel);

    // The configured language on screen, and the list to choose another.
    LoadLanguage(LanguageFilePath(languagesFolder_, ReadLanguage(config_.IniPath)));
    FillLanguages();

    lstFileLists->clear();
    lstFileLists->addItems(listPaths);
    chkUse->setChecked(config_.UseLists != 0);
    chkAutoDetectFile->setChecked(config_.AutoDetectFile != 0);
    chkRecoverNames->setChecked(config_.RecoverNames != 0);

    tabConfig->blockSignals(true);
    tabConfig->setCurrentIndex(0);
    tabConfig->blockSignals(false);
    tabConfig_Click();
}

void frmConfig::FillLanguages()
{
    const LanguageList languages = ListLanguages(languagesFolder_, ReadLanguage(config_.IniPath));
    lvLanguages->clear();
    QListWidgetItem *selected = nullptr;
    for (qsizetype i = 0; i < languages.items.size(); ++i) {
        QListWidgetItem *item = InsertSorted(lvLanguages, languages.items[i].text);
        item->setData(Qt::UserRole, languages.items[i].tag);
        if (i == languages.selected) selected = item;
    }
    lvLanguages->setCurrentItem(selected);
}

QString frmConfig::SelectedLanguageTag() const
{
    const QList<QListWidgetItem *> selected = lvLanguages->selectedItems();
    return selected.isEmpty() ? QString() : selected.first()->data(Qt::UserRole).toString();
}

void frmConfig::SelectTab(int index) { tabConfig->setCurrentIndex(index); }

void frmConfig::SelectLanguageOfLocale(const QString &locale)
{
    const LanguageList languages = ListLanguages(languagesFolder_, ReadLanguage(config_.IniPath));
    const QString tag = languages.items.value(LanguageOfLocale(languages, locale)).tag;
    for (int row = 0; row < lvLanguages->count(); ++row) {
        if (lvLanguages->item(row)->data(Qt::UserRole).toString() == tag) {
            lvLanguages->setCurrentRow(row);
            return;
        }
    }
}

void frmConfig::tabConfig_Click()
{
    QWidget *const panels[] = {picGeneral, picCompression, picFileList, picLanguage};
    for (int i = 0; i < 4; ++i) panels[i]->setVisible(i == tabConfig->currentIndex());
}

qsizetype frmConfig::FindRule(const QString &extension) const
{
    for (qsizetype n = 1; n < config_.ExtensionRules.size(); ++n)
        if (config_.ExtensionRules[n].Extension == extension) return n;
    return 0;
}

qsizetype frmConfig::SelectedRule() const
{
    if (lstExtensions->selectedItems().isEmpty()) return 0;
    return FindRule(SelectedText(lstExtensions));
}

void frmConfig::lstExtensions_Click()
{
    if (lstExtensions->selectedItems().isEmpty()) {
        cmbCompression->setCurrentIndex(1);
        cmbCompression->setEnabled(false);
        return;
    }
    cmbCompression->setEnabled(true);
    const qsizetype n = SelectedRule();
    if (n == 0) return;
    const ExtensionRule rule = config_.ExtensionRules[n];
    // As if the user had made the choices: the audio frame follows the rule.
    cmbCompression->setCurrentIndex(rule.CompressionType);
    cmbCompression_Click();
    optAudio[static_cast<std::size_t>(rule.CompressionLevel)]->setChecked(true);
    optAudio_Click(rule.CompressionLevel);
}

void frmConfig::cmbCompression_Click()
{
    const qsizetype n = SelectedRule();
    if (n == 0) return;
    const int type = cmbCompression->currentIndex();
    config_.ExtensionRules[n].CompressionType = static_cast<qint16>(type);
    frmAudioComp->setVisible(type == kAudioType);
}

void frmConfig::optAudio_Click(int index)
{
    const qsizetype n = SelectedRule();
    if (n == 0) return;
    config_.ExtensionRules[n].CompressionLevel = static_cast<qint16>(index);
}

void frmConfig::cmdAdd_Click()
{
    // Blanks cannot stand in the settings file around an extension.
    QString extension = txtExtension->text().trimmed();
    if (extension.isEmpty()) return;
    if (!extension.startsWith(u'.')) {
        extension.prepend(u'.');
        txtExtension->setText(extension);
    }
    // A comma would end the extension in the settings file.
    if (extension.contains(u',') || FindRule(extension) != 0) return;

    InsertSorted(lstExtensions, extension);
    ExtensionRule rule;
    rule.Extension = extension;
    rule.CompressionType = static_cast<qint16>(cmbCompression->currentIndex());
    if (rule.CompressionType == kAudioType) {
        // With no button on yet, the normal quality.
        for (int i = 0; i < 3; ++i)
            if (optAudio[static_cast<std::size_t>(i)]->isChecked()) rule.CompressionLevel = static_cast<qint16>(i);
    }
    config_.ExtensionRules.append(rule);
    txtExtension->clear();
}

void frmConfig::cmdRemove_Click()
{
    const QList<QListWidgetItem *> selected = lstExtensions->selectedItems();
    if (selected.isEmpty()) return;
    const qsizetype n = FindRule(selected.first()->text());
    if (n != 0) config_.ExtensionRules.remove(n);
    // The entry goes without a click: the drop-down keeps the type it shows.
    lstExtensions->blockSignals(true);
    delete lstExtensions->takeItem(lstExtensions->row(selected.first()));
    lstExtensions->clearSelection();
    lstExtensions->blockSignals(false);
}

void frmConfig::cmdAddList_Click()
{
    const QString path = OpenFileDialog(this, kOpenFileTitle, kListFilter, QString(), false);
    if (path.isEmpty()) return;
    if (!lstFileLists->findItems(path, Qt::MatchExactly | Qt::MatchCaseSensitive).isEmpty()) return;
    lstFileLists->addItem(path);
}

void frmConfig::cmdDelList_Click()
{
    const QList<QListWidgetItem *> selected = lstFileLists->selectedItems();
    if (selected.isEmpty()) return;
    if (ShowMessageBox(this, Texts().MessageRemoveFileList, QString(), MessageButton::Yes | MessageButton::No,
                       MessageIcon::Question, MessageButton::No) != MessageButton::Yes)
        return;
    delete lstFileLists->takeItem(lstFileLists->row(selected.first()));
}

void frmConfig::txtMaxFiles_KeyPress(int &keyAscii)
{
    constexpr int kBackspace = 8;
    if ((keyAscii >= '0' && keyAscii <= '9') || keyAscii == kBackspace) return;
    keyAscii = 0;
}

bool frmConfig::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == txtMaxFiles && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        // Only keys that type a character reach the handler: moving, deleting
        // and the shortcuts of the box pass as they are.
        const QString text = key->text();
        if (key->key() == Qt::Key_Backspace || text.isEmpty() || !text.at(0).isPrint() ||
            (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier)))
            return QDialog::eventFilter(watched, event);
        int keyAscii = text.at(0).unicode();
        txtMaxFiles_KeyPress(keyAscii);
        if (keyAscii == 0) return true;
    }
    return QDialog::eventFilter(watched, event);
}

void frmConfig::lvLanguages_DblClick()
{
    if (lvLanguages->selectedItems().isEmpty()) return;
    LoadLanguage(LanguageFilePath(languagesFolder_, SelectedLanguageTag()));
}

QStringList frmConfig::ListFilePaths() const
{
    QStringList paths;
    for (int row = 0; row < lstFileLists->count(); ++row) paths.append(lstFileLists->item(row)->text());
    return paths;
}

void frmConfig::cmdOK_Click()
{
    config_.DefaultCompression = static_cast<qint16>(std::max(cmbDefaultComp->currentIndex(), 0));
    config_.DefaultDeflateLevel = static_cast<qint16>(std::max(cmbDeflateLevel->currentIndex(), 0));
    // A box left empty, or holding no number after a paste, keeps the old value.
    bool number = false;
    const int maxFiles = txtMaxFiles->text().toInt(&number, 10);
    if (number && maxFiles >= 0 && txtMaxFiles->text().size() <= 6) config_.DefaultMaxFiles = maxFiles;
    txtMaxFiles->setText(QString::number(config_.DefaultMaxFiles));

    const bool associate = chkAssociate->isChecked();
    if (associate) WriteAssociation(programFolder_, executableName_);
    else RemoveAssociation();
    config_.Encrypt = chkEncrypt->isChecked();

    const QString language = SelectedLanguageTag();
    LoadLanguage(LanguageFilePath(languagesFolder_, language));
    config_.UseLists = chkUse->isChecked() ? 1 : 0;

    // List files that have gone drop out of the list, the others keep their order.
    const QStringList kept = ExistingFiles(ListFilePaths());
    for (int row = lstFileLists->count() - 1; row >= 0; --row)
        if (!kept.contains(lstFileLists->item(row)->text())) delete lstFileLists->takeItem(row);
    config_.ListFiles = ListFilesText(kept);
    config_.AutoDetectFile = chkAutoDetectFile->isChecked() ? 1 : 0;
    config_.RecoverNames = chkRecoverNames->isChecked() ? 1 : 0;

    SaveAppConfig(config_, kept, associate, language);
    QDialog::accept();
}

void frmConfig::cmdCancel_Click()
{
    Form_Load();
    QDialog::reject();
}

void frmConfig::reject() { cmdCancel_Click(); }

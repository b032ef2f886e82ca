#include "pane/preview_pane_widget.h"

#include <QAudioOutput>
#include <QDir>
#include <QElapsedTimer>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QMediaPlayer>
#include <QPainter>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTemporaryFile>
#include <QTextBrowser>
#include <QThread>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <atomic>

#include "config/catalogue.h"
#include "base/text_encoding.h"
#include "pane/code_highlighter.h"
#include "preview/map_preview.h"
#include "properties/file_properties.h"

// One read under way: what its thread tells the pane, and the pane's wish
// that it stop.
struct PreviewRead {
    std::atomic<bool> leave{false};
    std::atomic<int> max{0}, value{0};
    QElapsedTimer started;
};

namespace {

enum Page { MessagePage, TextPage, ImagePage, SoundPage, MapPage };

constexpr int kStartDelayMs = 120;     // a row passed over with the arrow keys is not read
constexpr int kProgressAfterMs = 300;  // a read that lasts shows its progress line
constexpr double kZoomStep = 1.25;
constexpr qsizetype kMostHighlighted = 512 * 1024;  // characters

// The ports of a read on its own thread: the progress goes to the pane
// through the record, and the pane's Leave is its Cancel.
class ReadPorts final : public StatusPanel, public ProgressBar, public EventQueue {
public:
    explicit ReadPorts(PreviewRead &read) : read_(read) {}
    void SetStatusText(const QString &) override {}
    void SetProgressMax(int max) override { read_.max = max; }
    void SetProgressValue(int value) override { read_.value = value; }
    void SetProgressVisible(bool) override {}
    void Yield() override {}
    bool Cancelled() override { return read_.leave; }

private:
    PreviewRead &read_;
};

// The squares behind an image's transparent parts.
QBrush Checkerboard()
{
    QPixmap tile(16, 16);
    tile.fill(QColor(0xcc, 0xcc, 0xcc));
    QPainter painter(&tile);
    painter.fillRect(0, 0, 8, 8, QColor(0x99, 0x99, 0x99));
    painter.fillRect(8, 8, 8, 8, QColor(0x99, 0x99, 0x99));
    return QBrush(tile);
}

QString DetailsHtml(const MapDetails &details)
{
    QString html = QStringLiteral("<h3>%1</h3><table cellspacing=\"4\">").arg(Texts().MapTitle.toHtmlEscaped());
    for (const auto &[label, value] : MapDetailLines(details, true)) {
        html += QStringLiteral("<tr><td valign=\"top\"><b>%1</b></td><td>%2</td></tr>")
                    .arg(label.toHtmlEscaped(), value.toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br>")));
    }
    return html + QStringLiteral("</table>");
}

}  // namespace

PreviewPane::PreviewPane(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("preview"));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(4, 0, 0, 0);
    title_ = new QLabel(this);
    title_->setTextFormat(Qt::PlainText);
    title_->setWordWrap(true);
    column->addWidget(title_);

    pages_ = new QStackedWidget(this);
    message_ = new QLabel(pages_);
    message_->setWordWrap(true);
    message_->setAlignment(Qt::AlignCenter);
    message_->setTextFormat(Qt::PlainText);
    pages_->addWidget(message_);

    textView_ = new QPlainTextEdit(pages_);
    textView_->setReadOnly(true);
    textView_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    pages_->addWidget(textView_);

    auto *imagePage = new QWidget(pages_);
    auto *imageColumn = new QVBoxLayout(imagePage);
    imageColumn->setContentsMargins(0, 0, 0, 0);
    imageArea_ = new QScrollArea(imagePage);
    imageArea_->setAlignment(Qt::AlignCenter);
    imageView_ = new QLabel(imageArea_);
    imageView_->setAutoFillBackground(true);
    QPalette checkers = imageView_->palette();
    checkers.setBrush(QPalette::Window, Checkerboard());
    imageView_->setPalette(checkers);
    imageArea_->setWidget(imageView_);
    imageArea_->viewport()->installEventFilter(this);
    imageColumn->addWidget(imageArea_, 1);
    auto *zoomRow = new QHBoxLayout;
    fit_ = new QPushButton(imagePage);
    actualSize_ = new QPushButton(QStringLiteral("100%"), imagePage);
    auto *zoomOut = new QPushButton(QStringLiteral("−"), imagePage);
    auto *zoomIn = new QPushButton(QStringLiteral("+"), imagePage);
    for (QPushButton *button : {fit_, actualSize_, zoomOut, zoomIn}) zoomRow->addWidget(button);
    zoomRow->addStretch();
    imageColumn->addLayout(zoomRow);
    connect(fit_, &QPushButton::clicked, this, [this] { SetZoom(0); });
    connect(actualSize_, &QPushButton::clicked, this, [this] { SetZoom(1); });
    connect(zoomOut, &QPushButton::clicked, this, [this] { SetZoom(-1 / kZoomStep); });
    connect(zoomIn, &QPushButton::clicked, this, [this] { SetZoom(-kZoomStep); });
    pages_->addWidget(imagePage);

    soundPage_ = new QWidget(pages_);
    auto *soundColumn = new QVBoxLayout(soundPage_);
    auto *soundRow = new QHBoxLayout;
    play_ = new QPushButton(soundPage_);
    stop_ = new QPushButton(soundPage_);
    soundRow->addWidget(play_);
    soundRow->addWidget(stop_);
    soundRow->addStretch();
    soundColumn->addLayout(soundRow);
    soundState_ = new QLabel(soundPage_);
    soundState_->setWordWrap(true);
    soundColumn->addWidget(soundState_);
    soundColumn->addStretch();
    connect(play_, &QPushButton::clicked, this, &PreviewPane::Play);
    connect(stop_, &QPushButton::clicked, this, &PreviewPane::Stop);
    pages_->addWidget(soundPage_);

    details_ = new QTextBrowser(pages_);
    pages_->addWidget(details_);
    column->addWidget(pages_, 1);

    note_ = new QLabel(this);
    note_->setTextFormat(Qt::PlainText);
    column->addWidget(note_);

    progressLine_ = new QWidget(this);
    auto *progressRow = new QHBoxLayout(progressLine_);
    progressRow->setContentsMargins(0, 0, 0, 0);
    progressText_ = new QLabel(progressLine_);
    progressText_->setTextFormat(Qt::PlainText);
    progress_ = new QProgressBar(progressLine_);
    progress_->setTextVisible(false);
    leave_ = new QPushButton(progressLine_);
    progressRow->addWidget(progressText_, 1);
    progressRow->addWidget(progress_);
    progressRow->addWidget(leave_);
    progressLine_->hide();
    column->addWidget(progressLine_);
    connect(leave_, &QPushButton::clicked, this, &PreviewPane::Leave);

    startTimer_.setSingleShot(true);
    connect(&startTimer_, &QTimer::timeout, this, &PreviewPane::Start);
    connect(&progressTimer_, &QTimer::timeout, this, &PreviewPane::ShowProgress);
    connect(&LanguageEvents::Instance(), &LanguageEvents::Loaded, this, &PreviewPane::ApplyTexts);
    ApplyTexts();
    Clear();
}

PreviewPane::~PreviewPane()
{
    Stop();
    EndReads();
}

void PreviewPane::ApplyTexts()
{
    const MessageStrings &t = Texts();
    fit_->setText(t.PreviewFit);
    play_->setText(t.PreviewPlay);
    stop_->setText(t.PreviewStop);
    leave_->setText(t.PreviewLeave);
}

void PreviewPane::ShowStoredFile(const QString &archive, const QByteArray &name)
{
    archive_ = archive;
    name_ = name;
    startTimer_.start(kStartDelayMs);
}

void PreviewPane::ShowArchive(const QString &archive)
{
    ShowStoredFile(archive, {});
}

void PreviewPane::Clear()
{
    archive_.clear();
    name_.clear();
    startTimer_.stop();
    Abandon();
    Stop();
    title_->clear();
    ShowMessage(QString());
}

void PreviewPane::Leave()
{
    const bool wasReading = Reading();
    Abandon();
    if (wasReading) ShowMessage(Texts().PreviewLeft);
}

void PreviewPane::Abandon()
{
    ++generation_;  // what the read still brings is not shown
    if (reading_) reading_->leave = true;
    reading_.reset();
    progressTimer_.stop();
    progressLine_->hide();
}

void PreviewPane::Start()
{
    Abandon();
    Stop();
    if (archive_.isEmpty()) return;
    const QString shownName = DecodeBytes(name_);
    title_->setText(name_.isEmpty() ? QString() : shownName + QStringLiteral(" — ") + GetFileTypeName(shownName));

    auto read = std::make_shared<PreviewRead>();
    read->started.start();
    reading_ = read;
    const quint64 generation = ++generation_;
    const QString archive = archive_;
    const QByteArray name = name_;
    // The thread words its look with a copy of the texts in force now.
    QThread *thread = QThread::create([this, read, generation, archive, name, texts = Texts()] {
        PreviewContent content;
        ReadPorts ports(*read);
        if (name.isEmpty()) {
            QString why;
            const std::optional<MapDetails> details = ReadArchiveMapDetails(archive, &why, &ports);
            content = details ? MapPreview(details, why, texts) : MessagePreview(texts.PreviewEmpty);
        } else {
            const StoredBytes bytes = ReadStoredFiles(archive, {name}, LookLimits{}, ports, &ports, ports).front();
            content = MakePreview(DecodeBytes(name), bytes, texts);
        }
        // The pane waits for its threads before it goes, so it is there.
        QMetaObject::invokeMethod(this, [this, generation, content] { Deliver(generation, content); },
                                  Qt::QueuedConnection);
    });
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    threads_.append(thread);
    thread->start();
    progressTimer_.start(100);
}

void PreviewPane::EndReads()
{
    Abandon();
    for (const QPointer<QThread> &thread : std::as_const(threads_))
        if (thread) thread->wait();
    threads_.clear();
}

void PreviewPane::ShowProgress()
{
    threads_.removeAll(nullptr);
    if (!reading_ || reading_->started.elapsed() < kProgressAfterMs) return;
    progressText_->setText(ReplaceValue(Texts().PreviewReading, DecodeBytes(name_)));
    progress_->setMaximum(reading_->max);  // 0: a bar that only moves
    progress_->setValue(reading_->value);
    progressLine_->show();
}

void PreviewPane::Deliver(quint64 generation, const PreviewContent &content)
{
    threads_.removeAll(nullptr);
    if (generation != generation_) return;
    reading_.reset();
    progressTimer_.stop();
    progressLine_->hide();
    ShowContent(content);
}

void PreviewPane::ShowContent(const PreviewContent &content)
{
    kind_ = content.kind;
    note_->setText(content.note);
    note_->setVisible(!content.note.isEmpty());
    delete highlighter_;
    highlighter_ = nullptr;
    image_ = QImage();
    sound_.clear();
    switch (content.kind) {
    case PreviewKind::Message:
        message_->setText(content.text);
        pages_->setCurrentIndex(MessagePage);
        break;
    case PreviewKind::Text:
    case PreviewKind::Hex:
        // Prose wraps; code and hex keep their lines.
        textView_->setLineWrapMode(content.kind == PreviewKind::Text && content.language == CodeLanguage::None
                                       ? QPlainTextEdit::WidgetWidth
                                       : QPlainTextEdit::NoWrap);
        // Colouring a script of megabytes would hold the window for seconds.
        if (content.language != CodeLanguage::None && content.text.size() <= kMostHighlighted)
            highlighter_ = new CodeHighlighter(textView_->document(), content.language);
        textView_->setPlainText(content.text);
        pages_->setCurrentIndex(TextPage);
        break;
    case PreviewKind::Image:
        // The pixels are copied: the image outlives the content.
        image_ = QImage(reinterpret_cast<const uchar *>(content.image.pixels.data()),
                        static_cast<int>(content.image.width), static_cast<int>(content.image.height),
                        static_cast<qsizetype>(content.image.width) * 4, QImage::Format_ARGB32)
                     .copy();
        zoom_ = 0;
        pages_->setCurrentIndex(ImagePage);
        ShowImage();
        break;
    case PreviewKind::Sound:
        sound_ = content.sound;
        soundState_->clear();
        pages_->setCurrentIndex(SoundPage);
        break;
    case PreviewKind::Map:
        title_->setText(Texts().MapTitle);
        details_->setHtml(DetailsHtml(*content.map));
        pages_->setCurrentIndex(MapPage);
        break;
    }
    emit Shown();
}

void PreviewPane::ShowMessage(const QString &message)
{
    ShowContent(MessagePreview(message));
}

QString PreviewPane::Title() const { return title_->text(); }
QString PreviewPane::Note() const { return note_->text(); }

QString PreviewPane::Text() const
{
    switch (kind_) {
    case PreviewKind::Text:
    case PreviewKind::Hex: return textView_->toPlainText();
    case PreviewKind::Map: return details_->toPlainText();
    case PreviewKind::Sound: return soundState_->text();
    case PreviewKind::Image: return {};
    case PreviewKind::Message: break;
    }
    return message_->text();
}

void PreviewPane::SetZoom(double zoom)
{
    if (image_.isNull()) return;
    if (zoom < 0) {
        // A step from the scale shown now, the fitted one included.
        const double now = zoom_ > 0 ? zoom_ : double(imageView_->width()) / std::max(1, image_.width());
        zoom = std::clamp(now * -zoom, 1.0 / 16, 16.0);
    }
    zoom_ = zoom;
    ShowImage();
}

void PreviewPane::ShowImage()
{
    if (image_.isNull()) return;
    QSize size = image_.size();
    if (zoom_ == 0) {
        size = size.scaled(imageArea_->viewport()->size().boundedTo(image_.size() * 8), Qt::KeepAspectRatio);
    } else {
        size = (QSizeF(image_.size()) * zoom_).toSize();
    }
    size = size.expandedTo(QSize(1, 1));
    // Scaled up, the pixels stay sharp: a texture's texels are what matter.
    const Qt::TransformationMode mode =
        size.width() < image_.width() ? Qt::SmoothTransformation : Qt::FastTransformation;
    imageView_->setPixmap(QPixmap::fromImage(size == image_.size() ? image_ : image_.scaled(size, Qt::IgnoreAspectRatio, mode)));
    imageView_->resize(size);
}

bool PreviewPane::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == imageArea_->viewport()) {
        if (event->type() == QEvent::Resize && zoom_ == 0) ShowImage();
        if (event->type() == QEvent::Wheel) {
            auto *wheel = static_cast<QWheelEvent *>(event);
            if (wheel->modifiers() & Qt::ControlModifier) {
                SetZoom(wheel->angleDelta().y() > 0 ? -kZoomStep : -1 / kZoomStep);
                return true;
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}

void PreviewPane::Play()
{
    if (sound_.isEmpty()) return;
    Stop();
    // The media backend reads from a file: the sound goes to one of the
    // user's temporary files, removed with the next look.
    soundFile_ = std::make_unique<QTemporaryFile>(QDir::tempPath() + QStringLiteral("/arcavera-sound-XXXXXX"));
    if (!soundFile_->open() || soundFile_->write(sound_) != sound_.size() || !soundFile_->flush()) {
        soundState_->setText(ReplaceValue(Texts().PreviewSoundFailed, soundFile_->errorString()));
        return;
    }
    if (!player_) {
        player_ = new QMediaPlayer(this);
        audio_ = new QAudioOutput(this);
        player_->setAudioOutput(audio_);
        connect(player_, &QMediaPlayer::errorOccurred, this, [this](QMediaPlayer::Error, const QString &why) {
            soundState_->setText(ReplaceValue(Texts().PreviewSoundFailed, why));
            emit Shown();
        });
        connect(player_, &QMediaPlayer::mediaStatusChanged, this, [this](QMediaPlayer::MediaStatus status) {
            if (status == QMediaPlayer::InvalidMedia) {
                soundState_->setText(ReplaceValue(Texts().PreviewSoundFailed, player_->errorString()));
                emit Shown();
            }
        });
    }
    player_->setSource(QUrl::fromLocalFile(soundFile_->fileName()));
    player_->play();
}

void PreviewPane::Stop()
{
    if (player_) {
        player_->stop();
        player_->setSource(QUrl());
    }
    soundFile_.reset();
}

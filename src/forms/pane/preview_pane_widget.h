// The preview pane beside the archive list: what the current row holds
// (text with its script coloured, an image to fit or zoom, a sound to play,
// the first bytes as hex) or, with no row, a WarCraft III map's details.
// Each look reads through the engine's child process on a thread of its
// own, so the window never waits: a long read shows a progress line that
// can be left, and a new row leaves the read of the one before.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <memory>

#include "preview/preview_content.h"

class QAudioOutput;
class QLabel;
class QMediaPlayer;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QScrollArea;
class QStackedWidget;
class QTemporaryFile;
class QTextBrowser;
class QThread;
class CodeHighlighter;
struct PreviewRead;

class PreviewPane : public QWidget {
    Q_OBJECT
public:
    explicit PreviewPane(QWidget *parent = nullptr);
    ~PreviewPane() override;

    // The stored file `name` of the archive at `archive`, shown once read.
    void ShowStoredFile(const QString &archive, const QByteArray &name);
    // The archive as a whole: a map's details, or the hint to pick a file.
    void ShowArchive(const QString &archive);
    // No archive: the pane is empty and no read goes on.
    void Clear();
    // Leaves the read under way; the pane says so.
    void Leave();
    void ApplyTexts();

    // What the pane shows now, for the window's tests.
    PreviewKind Kind() const { return kind_; }
    bool Reading() const { return reading_ != nullptr; }
    QString Title() const;
    QString Note() const;
    QString Text() const;           // the message, the text, the hex or the details
    const QImage &Image() const { return image_; }
    double Zoom() const { return zoom_; }  // 0 fits the image to the pane
    void SetZoom(double zoom);
    QPushButton *PlayButton() const { return play_; }
    QPushButton *LeaveButton() const { return leave_; }
    QPlainTextEdit *TextView() const { return textView_; }

signals:
    // A look has been put in place (or said why it could not be).
    void Shown();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void Start();
    // Stops the read under way, if any, and drops what it would bring.
    void Abandon();
    void Deliver(quint64 generation, const PreviewContent &content);
    void ShowContent(const PreviewContent &content);
    void ShowMessage(const QString &message);
    void ShowImage();
    void ShowProgress();
    void Play();
    void Stop();
    void EndReads();

    // What the next read looks at.
    QString archive_;
    QByteArray name_;  // empty: the archive as a whole
    quint64 generation_ = 0;
    std::shared_ptr<PreviewRead> reading_;
    QList<QPointer<QThread>> threads_;
    QTimer startTimer_, progressTimer_;

    PreviewKind kind_ = PreviewKind::Message;
    QImage image_;
    double zoom_ = 0;
    QByteArray sound_;

    QLabel *title_ = nullptr;
    QStackedWidget *pages_ = nullptr;
    QLabel *message_ = nullptr;
    QPlainTextEdit *textView_ = nullptr;
    CodeHighlighter *highlighter_ = nullptr;
    QScrollArea *imageArea_ = nullptr;
    QLabel *imageView_ = nullptr;
    QPushButton *fit_ = nullptr;
    QPushButton *actualSize_ = nullptr;
    QWidget *soundPage_ = nullptr;
    QPushButton *play_ = nullptr;
    QPushButton *stop_ = nullptr;
    QLabel *soundState_ = nullptr;
    QMediaPlayer *player_ = nullptr;
    QAudioOutput *audio_ = nullptr;
    std::unique_ptr<QTemporaryFile> soundFile_;
    QTextBrowser *details_ = nullptr;
    QLabel *note_ = nullptr;
    QWidget *progressLine_ = nullptr;
    QLabel *progressText_ = nullptr;
    QProgressBar *progress_ = nullptr;
    QPushButton *leave_ = nullptr;
};
